// Column arithmetic on a full-height column of 65520 rows: smoothing
// (degree 1) and the derivative against a memcpy of the column, sorting
// against std::sort of the same floats. The derivative's row also takes its
// result column away again, so that every round starts from the same sheet.
#include <algorithm>
#include <cstring>
#include <iostream>
#include <random>
#include <vector>

#include "cli/batch_host.h"
#include "harness.h"
#include "worksheet/column_math.h"
#include "worksheet/form_worksheet.h"

namespace {

constexpr long kRows = sv::kMaxSheetRows;  // header row included
constexpr size_t kValues = size_t(kRows) - 1;
constexpr size_t kColumnBytes = kValues * sizeof(float);

// Distinct floats in a shuffled order.
const std::vector<float>& Shuffled() {
  static const std::vector<float> v = [] {
    std::vector<float> s(kValues);
    for (size_t i = 0; i < kValues; ++i) s[i] = float(i) * 0.37f - 9000.0f;
    std::mt19937 rng(42);
    std::shuffle(s.begin(), s.end(), rng);
    return s;
  }();
  return v;
}

// X ascending in A, the shuffled values in B.
sv::Form_Worksheet& Sheet() {
  static sv::Form_Worksheet* sheet = [] {
    auto* s = new sv::Form_Worksheet();
    s->Redraw(false);
    s->Cols(3);
    s->Rows(kRows);
    for (long r = 1; r < kRows; ++r) {
      s->TextMatrix(r, 1, sv::Cell(float(r) * 0.5f));
      s->TextMatrix(r, 2, sv::Cell(Shuffled()[size_t(r - 1)]));
    }
    s->Col(2);
    return s;
  }();
  return *sheet;
}

// Sorting writes the status line.
sv::cli::BatchHost& BenchHost() {
  static sv::cli::BatchHost host(std::cerr);
  return host;
}

// A sheet of the key column alone, for sorting.
sv::Form_Worksheet& SortSheet() {
  static sv::Form_Worksheet* sheet = [] {
    auto* s = new sv::Form_Worksheet();
    s->Redraw(false);
    s->Cols(2);
    s->Rows(kRows);
    s->SetSelection(1, 1, kRows - 1, 1);
    return s;
  }();
  return *sheet;
}

}  // namespace

SVBENCH_ROWS(ColumnRows) {
  const std::string smooth = "Smooth 1 (65520 rows)";
  svbench::Kernel(smooth, kColumnBytes, [] {
    sv::Form_Worksheet& s = Sheet();
    s.SetSelection(-1, -1, -1, -1);
    sv::Smooth(s, 1, false);
    svbench::Use(s.FloatBody(2));
  });
  svbench::Target(smooth, 3.0, 0);

  const std::string diff = "Differentiate (65520 rows)";
  svbench::Kernel(diff, kColumnBytes, [] {
    sv::Form_Worksheet& s = Sheet();
    s.Col(2);
    sv::Differentiate(s);
    svbench::Use(s.FloatBody(3));
    s.SetSelection(0, 3, kRows - 1, 3);
    s.DeleteColumn();
  });
  svbench::Target(diff, 3.0, 0);

  const std::string plain = "std::sort (65520 floats)";
  svbench::Kernel(plain, kColumnBytes, [] {
    static std::vector<float> v(kValues);
    std::memcpy(v.data(), Shuffled().data(), kColumnBytes);
    std::sort(v.begin(), v.end());
    svbench::Use(v.data());
  });
  const std::string sort = "Sort (65520 rows)";
  svbench::Kernel(sort, kColumnBytes, [] {
    sv::cli::HostScope scope(&BenchHost());
    sv::Form_Worksheet& s = SortSheet();
    std::memcpy(s.FloatBody(1), Shuffled().data(), kColumnBytes);
    sv::Sort(s, 0, 0);
    svbench::Use(s.FloatBody(1));
  });
  svbench::TargetAgainst(sort, plain, 1.5);
}
