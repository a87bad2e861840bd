// Private to the column arithmetic: reading a column's numbers and writing
// results back, and the compiler's per-processor copies of the hot loops.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/kernel/numbers.h"
#include "worksheet/form_worksheet.h"

// A whole-column loop is a lambda marked SV_COLUMN_BODY and run through
// Run(), which has it compiled for AVX-512 (512-bit vectors), AVX2 and the
// baseline and takes the best the processor has. Results are the same on
// every copy: the operations are the same, none fused.
#define SV_COLUMN_BODY __attribute__((always_inline))

namespace sv::column_cells {

#if defined(__x86_64__)
#if defined(__clang__)
#define SV_COLUMN_WIDE ""
#else
#define SV_COLUMN_WIDE ",prefer-vector-width=512"
#endif
template <class F, class... A>
__attribute__((target("avx512f,avx512bw,avx512vl,avx512dq,avx2,bmi2,popcnt" SV_COLUMN_WIDE)))
uint32_t OnAvx512(F& f, A... args) {
  return f(args...);
}
template <class F, class... A>
__attribute__((target("avx2,bmi2,popcnt"))) uint32_t OnAvx2(F& f, A... args) {
  return f(args...);
}

// 2 AVX-512, 1 AVX2, 0 the baseline.
inline int Level() {
  static const int level = [] {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq"))
      return 2;
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") ? 1 : 0;
  }();
  return level;
}
#endif

// Runs the body with the arguments on the best copy; the body returns a count.
template <class F, class... A>
uint32_t Run(F f, A... args) {
#if defined(__x86_64__)
  switch (Level()) {
    case 2: return OnAvx512(f, args...);
    case 1: return OnAvx2(f, args...);
    default: break;
  }
#endif
  return f(args...);
}

// The derivative of n gapless points straight into `out` on the widest
// vectors, when X never repeats and every result is a finite number; false
// (with `out` partly written) otherwise, or where those vectors are missing.
// The results are those of the general way to the bit.
bool FastDerivative(const uint32_t* x, const uint32_t* y, uint32_t* out, size_t n);

// One smoothing pass over a column on the widest vectors, from the start
// until a result that is no finite number (a gap or a number too large
// meets one). Returns n when the pass is done; 0 when nothing is written (too
// short, no such vectors, or trouble at once); otherwise the row k >= 2 where
// it stopped: the results before k are written, `left` is the old value at
// k - 1, and the rows from k on are untouched. `dst` may be `src`. The
// results are those of the general way to the bit.
size_t FastSmooth(const uint32_t* src, uint32_t* dst, size_t n, float& left);

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
