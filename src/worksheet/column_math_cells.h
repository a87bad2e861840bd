// Private to the column arithmetic: reading a column's numbers and writing
// results back, and the compiler's per-processor copies of the hot loops.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "image/kernel/numbers.h"
#include "worksheet/form_worksheet.h"

// The whole-column loops are compiled once more for AVX2; the processor picks
// at load time. Results are the same on either copy (no fused operations).
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && \
    !defined(__SANITIZE_ADDRESS__)
#define SV_COLUMN_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define SV_COLUMN_CLONES
#endif

namespace sv::column_cells {

// A result as compact bits: no finite number is a gap.
inline uint32_t Store(float v) {
  const uint32_t b = std::bit_cast<uint32_t>(v);
  return (b & 0x7F800000u) == 0x7F800000u ? kGapBits : b;
}

// A result into a cell: no finite number makes the cell a gap.
inline void Put(Form_Worksheet& sheet, long row, long col, float v) {
  if (uint32_t* bits = sheet.FloatBody(col)) {
    if (row >= 1 && row < sheet.Rows()) bits[row - 1] = Store(v);
    return;
  }
  sheet.TextMatrix(row, col, std::isfinite(v) ? Cell(v) : Cell());
}

// The numeric cells of a column, in row order, with their rows.
inline void Collect(const Form_Worksheet& sheet, long col, std::vector<float>& values,
                    std::vector<long>& rows) {
  const long n = sheet.Rows();
  values.clear();
  rows.clear();
  if (const uint32_t* bits = sheet.FloatBody(col)) {
    for (long i = 0; i + 1 < n; ++i)
      if (bits[i] != kGapBits) {
        values.push_back(std::bit_cast<float>(bits[i]));
        rows.push_back(i + 1);
      }
    return;
  }
  for (long r = 1; r < n; ++r) {
    double v;
    if (sheet.NumberAt(r, col, v)) {
      values.push_back(float(v));
      rows.push_back(r);
    }
  }
}

}  // namespace sv::column_cells
