// The cell store: columns of floats keep 4 bytes a cell; the first value such
// a column cannot hold turns it into 16-byte cells, and moving cells between
// the two forms keeps every value.
#include "worksheet/form_worksheet.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include "core/globals.h"
#include "image/kernel/cpu_paths.h"
#include "image/kernel/numbers.h"
#include "support/scripted_host.h"
#include "worksheet/sheet_plot.h"

namespace sv {
namespace {

class WorksheetStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    SetPlotFactory(nullptr);
  }
  void TearDown() override { SetPlotFactory(nullptr); }

  // Rows 1 .. of column c as kind and shown text.
  static std::vector<std::string> Column(const Form_Worksheet& s, long c) {
    std::vector<std::string> v;
    for (long r = 1; r < s.Rows(); ++r) {
      const Cell x = s.CellAt(r, c);
      v.push_back(std::to_string(int(x.Kind())) + ":" + x.Text());
    }
    return v;
  }
  static std::vector<std::vector<std::string>> Columns(const Form_Worksheet& s) {
    std::vector<std::vector<std::string>> v;
    for (long c = 1; c < s.Cols(); ++c) v.push_back(Column(s, c));
    return v;
  }

  test::ScriptedHost host;
};

TEST_F(WorksheetStoreTest, ColumnsTurnGeneralOnTextsDoublesAndTheGapsOwnBits) {
  Form_Worksheet s;
  s.Redraw(false);
  s.Cols(5);
  s.Rows(4);
  for (long r = 1; r <= 3; ++r)
    for (long c = 1; c <= 4; ++c) s.TextMatrix(r, c, Cell(float(r * 10 + c)));
  s.TextMatrix(3, 4, Cell());
  // Only a float row carries the gap's bits unchanged.
  s.SetMatrixRow(2, {2.0f, 21.0f, 22.0f, std::bit_cast<float>(kGapBits), 24.0f});
  s.TextMatrix(2, 1, Cell("abc"));
  s.TextMatrix(2, 2, Cell(0.25));
  EXPECT_EQ(s.KindOf(2, 3), CellKind::F32);  // a number, not a gap
  double v = 0;
  EXPECT_TRUE(s.NumberAt(2, 3, v));
  s.TextMatrix(2, 3, Cell(23.0f));
  EXPECT_EQ(Columns(s), (std::vector<std::vector<std::string>>{{"1:11", "3:abc", "1:31"},
                                                                {"1:12", "2:0.25", "1:32"},
                                                                {"1:13", "1:23", "1:33"},
                                                                {"1:14", "1:24", "0:"}}));
  // The header row stays apart from the cells below it.
  EXPECT_EQ(s.KindOf(0, 4), CellKind::Text);
  s.TextMatrix(3, 4, Cell(7.5f));
  EXPECT_EQ(s.CellAt(3, 4), Cell(7.5f));
}

TEST_F(WorksheetStoreTest, MovesAndDeletesAcrossCompactAndGeneralColumns) {
  Form_Worksheet s;
  s.Redraw(false);
  s.Cols(4);
  s.Rows(6);
  for (long r = 1; r <= 5; ++r) {
    s.TextMatrix(r, 1, Cell(float(r)));
    s.TextMatrix(r, 3, Cell(float(r * 100)));
  }
  s.TextMatrix(2, 1, Cell());
  s.TextMatrix(1, 2, Cell("t1"));
  s.TextMatrix(2, 2, Cell(2.5f));
  s.TextMatrix(3, 2, Cell(0.125));
  s.TextMatrix(5, 2, Cell("t5"));
  const auto a = Column(s, 1), b = Column(s, 2), c = Column(s, 3);
  const std::vector<std::string> heads = {s.CellAt(0, 1).Text(), s.CellAt(0, 2).Text(),
                                          s.CellAt(0, 3).Text()};

  ASSERT_TRUE(s.MoveColumn(1, 3));
  EXPECT_EQ(Columns(s), (std::vector<std::vector<std::string>>{b, c, a}));
  EXPECT_EQ(s.CellAt(0, 3).Text(), heads[0]);
  ASSERT_TRUE(s.MoveColumn(3, 1));
  EXPECT_EQ(Columns(s), (std::vector<std::vector<std::string>>{a, b, c}));
  ASSERT_TRUE(s.MoveColumn(2, 3));
  ASSERT_TRUE(s.MoveColumn(3, 2));
  EXPECT_EQ(Columns(s), (std::vector<std::vector<std::string>>{a, b, c}));

  // Rows 2 .. 3 go: everything below moves up in every column.
  ASSERT_EQ(s.DeleteRow(2, 3), 2);
  auto drop = [](std::vector<std::string> v) {
    v.erase(v.begin() + 1, v.begin() + 3);
    return v;
  };
  EXPECT_EQ(Columns(s), (std::vector<std::vector<std::string>>{drop(a), drop(b), drop(c)}));

  // A cell deleted in columns 1 .. 2 takes the one below (a copy each);
  // the bottom cell keeps its value, a text included.
  s.SelStartRow(1);
  s.SelStartCol(1);
  s.SelEndCol(2);
  s.Delete();
  EXPECT_EQ(Columns(s), (std::vector<std::vector<std::string>>{
                            {a[3], a[4], a[4]}, {b[3], b[4], b[4]}, drop(c)}));
  s.TextMatrix(3, 2, Cell("other"));
  EXPECT_EQ(s.CellAt(2, 2).Text(), "t5");
}

TEST_F(WorksheetStoreTest, AFullSheetOfFloatsTakesFourBytesACellAndComesBackFromItsFile) {
  constexpr long kRows = 65520, kCols = 101;
  Form_Worksheet s;
  s.Redraw(false);
  s.Cols(kCols);
  s.Rows(kRows);
  std::vector<float> row(kCols);
  for (long r = 1; r < kRows; ++r) {
    for (long c = 0; c < kCols; ++c) row[size_t(c)] = float(r) + float(c) / 128.0f;
    s.SetMatrixRow(r, row);
  }
  s.TextMatrix(7, 5, Cell());
  const double cells = double(kRows) * kCols;
  EXPECT_LE(double(s.CellStorageBytes()), 4.5 * cells);
  const std::string path = host.root + "/full.sht";
  ASSERT_EQ(s.SaveWorksheet(path, true), 0);

  Form_Worksheet t;
  t.Redraw(false);
  ASSERT_EQ(t.OpenWorksheet(path), 0);
  ASSERT_EQ(t.Rows(), kRows);
  ASSERT_EQ(t.Cols(), kCols);
  EXPECT_LE(double(t.CellStorageBytes()), 4.5 * cells);
  for (long r : {1L, 2L, 63L, 64L, 65L, 4097L, kRows - 1})
    for (long c : {1L, 2L, 50L, kCols - 1})
      EXPECT_EQ(t.CellAt(r, c), s.CellAt(r, c)) << r << "," << c;
  EXPECT_EQ(t.KindOf(7, 5), CellKind::Null);
  EXPECT_EQ(t.CellAt(0, 3), s.CellAt(0, 3));
}

// Eight float columns move eight rows at a time, with vector instructions
// where the processor has them: both ways give the same file and the same
// cells back, around a general column, a short last block and a NaN.
TEST_F(WorksheetStoreTest, BlockMovesMatchThePlainPath) {
  constexpr long kRows = 140, kCols = 21;  // 19 float columns and one of texts
  Form_Worksheet s;
  s.Redraw(false);
  s.Cols(kCols);
  s.Rows(kRows);
  for (long r = 1; r < kRows; ++r)
    for (long c = 1; c < kCols; ++c)
      s.TextMatrix(r, c, Cell(float(r * 100 + c)));
  s.TextMatrix(9, 11, Cell("12.5"));               // column 11 turns general
  s.TextMatrix(70, 3, Cell(std::bit_cast<float>(0x7FC00001u)));  // a NaN other than the gap
  s.TextMatrix(71, 4, Cell());
  std::string files[2];
  std::vector<std::vector<std::string>> back[2];
  for (int limit : {0, 2}) {
    const int saved = cpu::pathLimit;
    cpu::pathLimit = limit;
    const std::string path = host.root + "/paths" + std::to_string(limit) + ".sht";
    ASSERT_EQ(s.SaveWorksheet(path, true), 0);
    Form_Worksheet t;
    ASSERT_EQ(t.OpenWorksheet(path), 0);
    cpu::pathLimit = saved;
    files[limit / 2] = test::ReadFile(path);
    back[limit / 2] = Columns(t);
    EXPECT_EQ(t.KindOf(70, 3), CellKind::Null);  // every NaN read is a gap
    EXPECT_EQ(t.CellAt(9, 11).Number(), 12.5);
  }
  EXPECT_EQ(files[0], files[1]);
  EXPECT_EQ(back[0], back[1]);
}

}  // namespace
}  // namespace sv
