// Sorting: the result of a plain selection sort, equal keys and gaps
// included, in both directions and scopes.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "core/globals.h"
#include "support/scripted_host.h"
#include "worksheet/column_math.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

// The selection sort itself, on cells: a comparison with a gap is false
// both ways; numbers come before texts.
bool VariantLess(const Cell& a, const Cell& b) {
  if (a.IsNull() || b.IsNull()) return false;
  if (a.IsText() != b.IsText()) return !a.IsText();
  return a.IsText() ? a.RawText() < b.RawText() : a.Value() < b.Value();
}

// The rows of [first, last] in their sorted order.
std::vector<long> ReferenceOrder(std::vector<Cell> keys, long first, bool descending) {
  std::vector<long> rows(keys.size());
  for (size_t i = 0; i < rows.size(); ++i) rows[i] = first + long(i);
  for (size_t i = 0; i < keys.size(); ++i) {
    size_t m = i;
    for (size_t j = i + 1; j < keys.size(); ++j)
      if (descending ? VariantLess(keys[m], keys[j]) : VariantLess(keys[j], keys[m])) m = j;
    std::swap(keys[i], keys[m]);
    std::swap(rows[i], rows[m]);
  }
  return rows;
}

class ColumnSortTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetGlobals(); }

  // Column 1 the keys, column 2 the row numbers, column 3 their tens.
  void Fill(const std::vector<Cell>& keys) {
    sheet.Cols(4);
    sheet.Rows(long(keys.size()) + 1);
    for (size_t i = 0; i < keys.size(); ++i) {
      const long r = long(i) + 1;
      sheet.TextMatrix(r, 1, keys[i]);
      sheet.TextMatrix(r, 2, Cell(float(r)));
      sheet.TextMatrix(r, 3, Cell(float(r * 10)));
    }
  }
  std::vector<Cell> Keys() const {
    std::vector<Cell> k;
    for (long r = 1; r < sheet.Rows(); ++r) k.push_back(sheet.CellAt(r, 1));
    return k;
  }
  // Sorts rows [first, last] and checks every column against the reference.
  void Check(long first, long last, bool descending, long scope) {
    const std::vector<Cell> before = Keys();
    std::vector<Cell> part(before.begin() + (first - 1), before.begin() + last);
    const std::vector<long> order = ReferenceOrder(part, first, descending);
    sheet.SetSelection(first, 1, last, 1);
    ASSERT_EQ(Sort(sheet, descending ? 1 : 0, scope), 1);
    for (long r = 1; r < sheet.Rows(); ++r) {
      const long from = r >= first && r <= last ? order[size_t(r - first)] : r;
      EXPECT_EQ(sheet.CellAt(r, 1), before[size_t(from - 1)]) << "key at row " << r;
      const long other = scope == 0 ? from : r;
      EXPECT_EQ(sheet.CellAt(r, 2).Number(), double(other)) << "row " << r;
      EXPECT_EQ(sheet.CellAt(r, 3).Number(), double(other * 10)) << "row " << r;
    }
  }

  test::ScriptedHost host;
  Form_Worksheet sheet;
};

TEST_F(ColumnSortTest, DistinctKeysAscendAndDescendWithTheirRows) {
  Fill({Cell(3.0f), Cell(-1.0f), Cell(2.5f), Cell(0.0f), Cell(-0.5f)});
  Check(1, 5, false, 0);
  Fill({Cell(3.0f), Cell(-1.0f), Cell(2.5f), Cell(0.0f), Cell(-0.5f)});
  Check(1, 5, true, 0);
  EXPECT_EQ(sheet.CellAt(1, 1).Number(), 3.0);
  EXPECT_EQ(host.status.front(), "Sorting...");
  EXPECT_TRUE(sheet.ColChanged(1) || sheet.Changed());
}

TEST_F(ColumnSortTest, EqualKeysEndWhereTheSwapsLeaveThem) {
  // 2 1 2 1 2: the second swap sends the first 2 behind the second.
  Fill({Cell(2.0f), Cell(1.0f), Cell(2.0f), Cell(1.0f), Cell(2.0f)});
  Check(1, 5, false, 0);
  EXPECT_EQ(sheet.CellAt(3, 2).Number(), 3.0);
  EXPECT_EQ(sheet.CellAt(4, 2).Number(), 1.0);
  EXPECT_EQ(sheet.CellAt(5, 2).Number(), 5.0);
  Fill({Cell(2.0f), Cell(1.0f), Cell(2.0f), Cell(1.0f), Cell(2.0f)});
  Check(1, 5, true, 0);
  // Zero and minus zero are equal keys.
  Fill({Cell(0.0f), Cell(-0.0f), Cell(-1.0f), Cell(0.0f)});
  Check(1, 4, false, 0);
}

TEST_F(ColumnSortTest, GapsKeepTheirRows) {
  Fill({Cell(5.0f), Cell(), Cell(1.0f), Cell(), Cell(3.0f), Cell(1.0f)});
  Check(1, 6, false, 0);
  EXPECT_TRUE(sheet.CellAt(2, 1).IsNull());
  EXPECT_EQ(sheet.CellAt(2, 2).Number(), 2.0);
  Fill({Cell(), Cell(5.0f), Cell(1.0f), Cell(), Cell(3.0f)});
  Check(1, 5, true, 1);
}

TEST_F(ColumnSortTest, KeyOnlyScopeDetachesTheKeyColumn) {
  Fill({Cell(3.0f), Cell(1.0f), Cell(2.0f)});
  Check(1, 3, false, 1);
  EXPECT_EQ(sheet.CellAt(1, 1).Number(), 1.0);
  EXPECT_EQ(sheet.CellAt(1, 2).Number(), 1.0);  // the neighbours stayed
}

TEST_F(ColumnSortTest, ARowRangeLeavesTheRestAndIsCapped) {
  Fill({Cell(9.0f), Cell(4.0f), Cell(3.0f), Cell(2.0f), Cell(1.0f), Cell(0.0f)});
  Check(2, 4, false, 0);
  EXPECT_EQ(sheet.CellAt(1, 1).Number(), 9.0);
  EXPECT_EQ(sheet.CellAt(5, 1).Number(), 1.0);
  // The selection's end beyond the sheet is cut to the last row.
  Fill({Cell(9.0f), Cell(4.0f), Cell(3.0f)});
  sheet.SetSelection(0, 1, 50, 1);
  ASSERT_EQ(Sort(sheet, 0, 0), 1);
  EXPECT_EQ(sheet.CellAt(1, 1).Number(), 3.0);
  EXPECT_EQ(sheet.CellAt(3, 1).Number(), 9.0);
  // No selection: nothing.
  sheet.SetSelection(-1, -1, -1, -1);
  EXPECT_EQ(Sort(sheet, 1, 0), 0);
}

TEST_F(ColumnSortTest, TextsSortAfterNumbersByTheirBytes) {
  Fill({Cell("b"), Cell(2.0), Cell("B"), Cell(), Cell(1.0f), Cell("a"), Cell("b")});
  ASSERT_EQ(sheet.FloatBody(1), nullptr);
  Check(1, 7, false, 0);
  EXPECT_EQ(sheet.CellAt(1, 1).Number(), 1.0);
  EXPECT_EQ(sheet.CellAt(3, 1).Text(), "B");
  Fill({Cell("b"), Cell(2.0), Cell("B"), Cell(), Cell(1.0f), Cell("a"), Cell("b")});
  Check(1, 7, true, 1);
}

TEST_F(ColumnSortTest, RandomColumnsWithManyTiesMatchTheSelectionSort) {
  std::mt19937 rng(7);
  for (int round = 0; round < 30; ++round) {
    const int n = 1 + int(rng() % 60);
    std::vector<Cell> keys;
    for (int i = 0; i < n; ++i) {
      const int v = int(rng() % 6);
      keys.push_back(v == 0 ? Cell() : Cell(float(v % 4)));
    }
    Fill(keys);
    Check(1, n, round % 2 == 1, round % 3 == 0 ? 1 : 0);
  }
}

TEST_F(ColumnSortTest, SelectionOrderReplaysTheSwaps) {
  std::mt19937 rng(11);
  for (int round = 0; round < 200; ++round) {
    const size_t n = 1 + rng() % 40;
    std::vector<uint32_t> keys(n);
    for (auto& k : keys) k = rng() % 5;
    // The plain scan.
    std::vector<uint32_t> a = keys, idx(n);
    for (size_t i = 0; i < n; ++i) idx[i] = uint32_t(i);
    for (size_t i = 0; i < n; ++i) {
      size_t m = i;
      for (size_t j = i + 1; j < n; ++j)
        if (a[j] < a[m]) m = j;
      std::swap(a[i], a[m]);
      std::swap(idx[i], idx[m]);
    }
    ASSERT_EQ(SelectionOrder(keys), idx) << "round " << round;
  }
}

}  // namespace
}  // namespace sv
