// The peak analysis over the selected rows of a column.
#include <gtest/gtest.h>

#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

// Column A (X) and B (Y) from the pairs; an empty text leaves a gap.
void Put(Form_Worksheet& s, const std::vector<std::pair<Cell, Cell>>& rows) {
  s.Cols(3);
  s.Rows(long(rows.size()) + 1);
  for (size_t i = 0; i < rows.size(); ++i) {
    s.TextMatrix(long(i) + 1, 1, rows[i].first);
    s.TextMatrix(long(i) + 1, 2, rows[i].second);
  }
}

TEST(WorksheetPeak, TriangleOnASlopedBaseline) {
  test::ScriptedHost host;
  Form_Worksheet s;
  // A triangle of height 4 over the line from (0,1) to (4,3).
  Put(s, {{0.0, 1.0}, {1.0, 3.5}, {2.0, 6.0}, {3.0, 4.5}, {4.0, 3.0}});
  s.SetSelection(5, 2, 1, 2);  // given high to low: walked low to high
  double area, base, px, py;
  long maxRow, rows;
  s.PeakAnalysis(area, base, maxRow, px, py, rows);
  EXPECT_DOUBLE_EQ(area, 2.25 + 4.75 + 5.25 + 3.75);
  EXPECT_DOUBLE_EQ(base, 8.0);
  EXPECT_EQ(std::tuple(maxRow, px, py, rows), std::tuple(3L, 2.0, 6.0, 5L));
  const Form_Worksheet::PeakSummary sum = s.PeakAnalysis();
  EXPECT_DOUBLE_EQ(sum.Height(), 4.0);
  EXPECT_EQ(std::tuple(sum.firstRow, sum.lastRow), std::tuple(1L, 5L));
}

TEST(WorksheetPeak, GapsAndXOutsideTheEndsAreLeftOut) {
  test::ScriptedHost host;
  Form_Worksheet s;
  // Row 2 has no Y, row 3 lies beyond the end X, row 4 is text.
  Put(s, {{0.0, 0.0}, {1.0, Cell()}, {9.0, 100.0}, {Cell("x"), 7.0}, {2.0, 2.0}});
  s.SetSelection(1, 2, 5, 2);
  const Form_Worksheet::PeakSummary sum = s.PeakAnalysis();
  EXPECT_EQ(sum.rows, 2);
  EXPECT_DOUBLE_EQ(sum.area, 2.0);
  EXPECT_EQ(std::tuple(sum.maxRow, sum.peakY), std::tuple(5L, 2.0));
}

TEST(WorksheetPeak, EqualMaximaKeepTheFirstAndOneRowHasNoBaseline) {
  test::ScriptedHost host;
  Form_Worksheet s;
  Put(s, {{0.0, 1.0}, {1.0, 5.0}, {2.0, 5.0}, {3.0, 1.0}});
  s.SetSelection(1, 2, 4, 2);
  EXPECT_EQ(s.PeakAnalysis().maxRow, 2);

  s.SetSelection(2, 2, 2, 2);
  const Form_Worksheet::PeakSummary one = s.PeakAnalysis();
  EXPECT_EQ(std::tuple(one.rows, one.area, one.baselineArea), std::tuple(1L, 0.0, 0.0));
  // No selection at all, or one outside the sheet: nothing counted.
  s.SetSelection(-1, -1, -1, -1);
  EXPECT_EQ(s.PeakAnalysis().rows, 0);
  s.SetSelection(1, 7, 4, 7);
  EXPECT_EQ(s.PeakAnalysis().rows, 0);
}

}  // namespace
}  // namespace sv
