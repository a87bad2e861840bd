#include "worksheet/form_worksheet.h"

#include <cstdio>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "support/scripted_host.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_dialogs.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

// A plot that notes what the sheet asks of it.
struct FakePlot : SheetPlot {
  std::vector<long>* log;
  long curves = 1;
  int updates = 0, clears = 0, unloads = 0, renames = 0;
  Form_Worksheet* sheet = nullptr;
  std::string name;
  std::vector<std::pair<long, long>> added;
  explicit FakePlot(std::vector<long>* l) : log(l) {}
  bool Invoke(const std::string&) override { return false; }
  bool Offers(const std::string&) const override { return false; }
  std::string Caption() const override { return name; }
  void SetWorksheet(Form_Worksheet* s) override { sheet = s; }
  void RemoveCurve(long column) override {
    log->push_back(Handle() * 1000 + column);
    if (curves > 0) --curves;
  }
  void ColsAdded(long first, long count) override { added.emplace_back(first, count); }
  long Curves() const override { return curves; }
  void ClearPlot() override { ++clears; }
  void Update() override { ++updates; }
  std::string PlotName() const override { return name; }
  void SetPlotName(const std::string& n) override {
    name = n;
    ++renames;
  }
  long SavePlot(BinaryOut&) override { return 0; }
  long OpenPlot(BinaryIn&) override { return 0; }
  void Unload() override { ++unloads; }
};

class SheetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    SetPlotFactory([this](Form_Worksheet&, bool) -> std::unique_ptr<SheetPlot> {
      return std::make_unique<FakePlot>(&removed);
    });
  }
  void TearDown() override {
    SetPlotFactory(nullptr);
    Dialogs() = WorksheetDialogs();
  }
  // A sheet of `cols` data columns and `rows` data rows.
  void Shape(long cols, long rows) {
    sheet.Cols(cols + 1);
    sheet.Rows(rows + 1);
  }
  FakePlot* AddPlot() {
    SheetPlot* p = nullptr;
    EXPECT_TRUE(sheet.NewPlot(p));
    return static_cast<FakePlot*>(p);
  }
  void Put(long col, const std::vector<const char*>& cells) {
    for (size_t i = 0; i < cells.size(); ++i)
      sheet.TextMatrix(static_cast<long>(i) + 1, col, cells[i] ? Cell(cells[i]) : Cell());
  }
  std::string At(long row, long col) { return sheet.TextMatrix(row, col).Text(); }

  test::ScriptedHost host;
  std::vector<long> removed;
  Form_Worksheet sheet;
};

TEST(CellTest, NumericTest) {
  struct Case {
    const char* text;
    bool numeric;
    double value;
  } cases[] = {{"1.5", true, 1.5},   {"1,5", true, 1.5},     {" -2e3 ", true, -2000},
               {"+.5", true, 0.5},   {"7.", true, 7},         {"", false, 0},
               {"1.2.3", false, 0},  {"1,000.5", false, 0},  {"abc", false, 0},
               {"1e", false, 0},     {"inf", false, 0},       {"1e999", false, 0}};
  for (const Case& c : cases) {
    Cell cell(c.text);
    EXPECT_EQ(cell.IsNumeric(), c.numeric) << c.text;
    if (c.numeric) {
      EXPECT_DOUBLE_EQ(cell.Number(), c.value) << c.text;
    }
  }
  EXPECT_FALSE(Cell().IsNumeric());
  EXPECT_EQ(Cell(0.1f).Text(), "0.1");
  EXPECT_EQ(Cell(0.1 * 3).Text(), "0.3");
  EXPECT_EQ(Cell(1.0f / 3).Text(), "0.3333333");
  EXPECT_EQ(Cell().Text(), "");
}

TEST_F(SheetTest, NewSheetAndIndexSeries) {
  EXPECT_EQ(sheet.Rows(), 1);
  EXPECT_EQ(sheet.Cols(), 1);
  Shape(2, 3);
  EXPECT_EQ(At(3, 0), "3");  // increment 1, initial 1
  EXPECT_EQ(At(0, 1), "A[X]");
  EXPECT_EQ(At(0, 2), "B[Y]");
  // Growth continues the series from cell (1, 0) and the increment.
  sheet.TextMatrix(0, 0, 0.5);
  sheet.TextMatrix(1, 0, 10.0);
  sheet.Rows(2);
  sheet.Rows(4);
  EXPECT_EQ(sheet.TextMatrix(3, 0).Number(), 11.0);
}

TEST_F(SheetTest, AnIndexWithoutRowOneStartsAtOne) {
  // Growing from a sheet of one row: the increment is already in cell (0, 0)
  // but row 1, which holds the initial value, is new.
  sheet.Rows(1);
  sheet.Cols(3);
  sheet.Rows(4);
  EXPECT_EQ(At(1, 0), "1");
  EXPECT_EQ(At(3, 0), "3");
  // Every row deleted and rows added again.
  sheet.TextMatrix(0, 0, 0.5);
  EXPECT_EQ(sheet.DeleteRow(1, 3), 3);
  ASSERT_EQ(sheet.Rows(), 1);
  sheet.Rows(3);
  EXPECT_EQ(sheet.TextMatrix(1, 0).Number(), 1.0);
  EXPECT_EQ(sheet.TextMatrix(2, 0).Number(), 1.5);
}

TEST_F(SheetTest, RowsAreCut) {
  Shape(1, 5);
  sheet.Rows(0);
  EXPECT_EQ(sheet.Rows(), 1);
  EXPECT_EQ(G().LastErrorCode, 0);
  sheet.Rows(70000);
  EXPECT_EQ(sheet.Rows(), kMaxSheetRows);
  EXPECT_EQ(G().LastErrorCode, kErrMaxSheetRows);
  // A full sheet has no row left for another record.
  sheet.Row(kMaxSheetRows - 1);
  sheet.SetRowData(std::vector<float>{0, 42});
  EXPECT_EQ(sheet.Row(), kMaxSheetRows - 1);
  EXPECT_TRUE(sheet.TextMatrix(kMaxSheetRows - 1, 1).IsNull());
}

TEST_F(SheetTest, FullSheetStaysWithin24BytesACell) {
  sheet.Cols(100);
  sheet.Rows(kMaxSheetRows);
  for (long r = 1; r < 100; ++r) sheet.TextMatrix(r, 3, "some text");
  EXPECT_LE(sheet.CellStorageBytes(), size_t(24) * kMaxSheetRows * 100);
}

TEST_F(SheetTest, ColsShrinkRemovesCurvesFromTheHighest) {
  Shape(3, 2);
  FakePlot* p1 = AddPlot();
  FakePlot* p2 = AddPlot();
  EXPECT_EQ(p1->name, "Plot1");
  EXPECT_EQ(p2->name, "Plot2");
  sheet.SelStartCol(3);
  sheet.Cols(2);
  EXPECT_EQ(removed, (std::vector<long>{p1->Handle() * 1000 + 3, p2->Handle() * 1000 + 3,
                                        p1->Handle() * 1000 + 2, p2->Handle() * 1000 + 2}));
  EXPECT_EQ(sheet.SelStartCol(), -1);
  EXPECT_EQ(sheet.SelEndCol(), 1);
}

TEST_F(SheetTest, SelectionAndPositionRules) {
  Shape(3, 4);
  sheet.SelStartCol(0);
  EXPECT_EQ(sheet.SelEndCol(), 3);
  sheet.SelStartRow(0);
  EXPECT_EQ(sheet.SelEndRow(), 4);
  sheet.SelStartRow(2);
  EXPECT_EQ(sheet.SelEndRow(), 2);
  sheet.SelEndRow(3);
  EXPECT_EQ(sheet.SelStartRow(), 2);
  EXPECT_EQ(sheet.SelCountRow(), 2);
  sheet.Col(4);
  EXPECT_EQ(sheet.Col(), 1);
  sheet.Row(9);
  EXPECT_EQ(sheet.Rows(), 10);
  EXPECT_EQ(sheet.Row(), 9);
  sheet.Rows(3);  // the current row falls off: back to 1
  EXPECT_EQ(sheet.Row(), 1);
  EXPECT_EQ(sheet.SelEndRow(), 2);
}

TEST_F(SheetTest, ColumnLookupAndChangeMarks) {
  Shape(5, 1);
  sheet.Col(1);
  sheet.ColLabel("E (eV)");
  EXPECT_EQ(At(0, 1), "A[X]|E (eV)");
  EXPECT_EQ(sheet.ColOf("a"), 1);
  EXPECT_EQ(sheet.ColOf(""), -1);
  EXPECT_EQ(sheet.ColOf("C3"), 5);
  // Columns: 1 X, 2 Y, 3 X, 4 Y, 5 Y.
  sheet.Col(3);
  sheet.ColTyp(kTypX);
  EXPECT_EQ(sheet.XColOf(5), 3);
  EXPECT_EQ(sheet.XColOf(2), 1);
  EXPECT_EQ(sheet.XColOf(0), 0);
  sheet.UpdatePlots();
  sheet.ColChanged(1, true);
  EXPECT_TRUE(sheet.ColChanged(2));
  EXPECT_FALSE(sheet.ColChanged(4));  // past the next X column
}

TEST_F(SheetTest, XYStretches) {
  Shape(2, 8);
  Put(1, {"1", "2", "3", "4", nullptr, "6", "7", "8"});
  Put(2, {nullptr, "b", "3", "4", "5", "6", "x", "8"});
  std::vector<float> x, y;
  long row = 1, count = 0;
  sheet.GetXYColData(1, 2, row, 100, x, y, count);  // gaps before the first pair are skipped
  EXPECT_EQ(count, 2);
  EXPECT_EQ(x[0], 3.0f);
  EXPECT_EQ(row, 6);
  sheet.GetXYColData(1, 2, row, 100, x, y, count);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(y[0], 6.0f);
  EXPECT_EQ(row, 8);
  sheet.GetXYColData(1, 2, row, 100, x, y, count);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(row, 9);
  EXPECT_GE(x.size(), 8u);
  sheet.GetXYColDataAll(1, 2, x, y, count);
  EXPECT_EQ(count, 4);
}

TEST_F(SheetTest, ColDataTakesRisingXInRange) {
  Shape(2, 6);
  Put(1, {"1", "2", "3", "4", "2", "5"});
  Put(2, {"10", "20", "30", "40", "50", "60"});
  std::vector<float> v;
  long count = 0;
  double from = 2, to = 10;
  sheet.GetColData(2, from, to, v, count);
  EXPECT_EQ(count, 3);  // stops where X falls
  EXPECT_EQ(from, 2);
  EXPECT_EQ(to, 4);
  from = 0, to = 2.5;
  sheet.GetColData(2, from, to, v, count);
  EXPECT_EQ(count, 2);  // stops at the first X above the range
  from = 7, to = 9;
  sheet.GetColData(2, from, to, v, count);
  EXPECT_EQ(count, 0);
  EXPECT_TRUE(v.empty());
}

TEST_F(SheetTest, MinMaxOfCol) {
  Shape(4, 4);
  Put(2, {"5", "-1", "x", "3"});
  sheet.Col(3);
  sheet.ColTyp(kTypZ);
  sheet.Col(4);
  sheet.ColTyp(kTypL);
  double lo, hi;
  sheet.MinMaxOfCol(3, lo, hi, true);  // empty
  EXPECT_EQ(lo, 0);
  EXPECT_EQ(hi, -1);
  sheet.MinMaxOfCol(4, lo, hi, true);  // a label column ranges as the Y column to its left
  EXPECT_EQ(lo, -1);
  EXPECT_EQ(hi, 5);
  EXPECT_EQ(sheet.Record(4).MaxValue, 5.0f);
  sheet.SelStartRow(3);
  sheet.SelEndRow(4);
  EXPECT_EQ(sheet.MaxOfCol(2), 3);   // the selected rows
  EXPECT_EQ(sheet.MaxOfCol(2, true), 5);
  sheet.Col(2);
  sheet.ColTyp(kTypZ);  // no Y column left of the label column any more
  EXPECT_EQ(sheet.MaxOfCol(4, true), -1);
}

TEST_F(SheetTest, MinMaxOfWorksheetAsksTheCurrentColumn) {
  Shape(2, 2);
  Put(1, {"1", "2"});
  Put(2, {"10", "20"});
  double x0, x1, y0, y1, z0, z1;
  sheet.Col(1);  // role X: every column feeds the X range
  sheet.MinMaxOfWorksheet(x0, x1, y0, y1, z0, z1);
  EXPECT_EQ(x0, 1);
  EXPECT_EQ(x1, 20);
  EXPECT_EQ(y0, 0);
  EXPECT_EQ(y1, -1);
  EXPECT_EQ(z1, 1);
  sheet.Col(2);
  sheet.MinMaxOfWorksheet(x0, x1, y0, y1, z0, z1);
  EXPECT_EQ(x1, -1);
  EXPECT_EQ(y1, 20);
}

TEST_F(SheetTest, MatrixRowRepeatsGaps) {
  Shape(3, 1);
  Put(2, {"7"});
  std::vector<float> v;
  ASSERT_TRUE(sheet.GetMatrixRow(1, v));
  EXPECT_EQ(v, (std::vector<float>{0, 7, 7}));
  ASSERT_TRUE(sheet.GetMatrixRow(0, v));
  EXPECT_EQ(v, (std::vector<float>{1, 2, 3}));
}

TEST_F(SheetTest, DeleteOfInnerCellsLeavesStaleBottomCells) {
  Shape(2, 5);
  Put(1, {"1", "2", "3", "4", "5"});
  Put(2, {"a", "b", "c", "d", "e"});
  sheet.SetSelection(2, 2, 3, 2);
  sheet.Delete();
  EXPECT_EQ(sheet.Rows(), 6);
  std::vector<std::string> col2;
  for (long r = 1; r <= 5; ++r) col2.push_back(At(r, 2));
  EXPECT_EQ(col2, (std::vector<std::string>{"a", "d", "e", "d", "e"}));
  EXPECT_EQ(At(2, 1), "2");  // other columns stay
  sheet.TextMatrix(4, 2, "new");
  EXPECT_EQ(At(2, 2), "d");  // the stale copy is a cell of its own
}

TEST_F(SheetTest, DeleteWithColumnsSelectedDeletesColumns) {
  Shape(3, 2);
  FakePlot* p = AddPlot();
  sheet.SelStartCol(2);
  sheet.SelEndCol(3);
  sheet.SelStartRow(0);
  sheet.Delete();
  EXPECT_EQ(sheet.Rows(), 3);
  EXPECT_EQ(sheet.Cols(), 2);
  EXPECT_EQ(removed, (std::vector<long>{p->Handle() * 1000 + 3, p->Handle() * 1000 + 2}));
  EXPECT_EQ(p->clears, 1);  // left without curves
}

TEST_F(SheetTest, DeleteRowAndMoveColumn) {
  Shape(3, 4);
  Put(1, {"1", "2", "3", "4"});
  EXPECT_EQ(sheet.DeleteRow(0, 1), 0);
  EXPECT_EQ(sheet.DeleteRow(3, 2), 0);
  EXPECT_EQ(sheet.DeleteRow(2, 5), 0);
  EXPECT_EQ(sheet.DeleteRow(2, 3), 2);
  EXPECT_EQ(sheet.Rows(), 3);
  EXPECT_EQ(At(2, 1), "4");
  EXPECT_EQ(At(2, 0), "4");  // the index column moves with the rows

  sheet.Col(3);
  sheet.ColLabel("third");
  Put(3, {"c"});
  EXPECT_FALSE(sheet.MoveColumn(1, 1));
  EXPECT_FALSE(sheet.MoveColumn(0, 2));
  EXPECT_TRUE(sheet.MoveColumn(3, 1));
  EXPECT_EQ(At(0, 1), "C1[Y]|third");
  EXPECT_EQ(At(1, 1), "c");
  EXPECT_EQ(At(0, 2), "A[X]");
  EXPECT_EQ(At(1, 2), "1");
  EXPECT_EQ(At(0, 3), "B[Y]");
}

TEST_F(SheetTest, InsertColumnsAndRows) {
  Shape(2, 3);
  Put(2, {"x", "y", "z"});
  FakePlot* p = AddPlot();
  EXPECT_FALSE(sheet.InsertColumn(1, 0));
  EXPECT_TRUE(sheet.InsertColumn(2, 2));
  EXPECT_EQ(sheet.Cols(), 5);
  EXPECT_EQ(At(1, 4), "x");
  EXPECT_EQ(At(0, 4), "B[Y]");
  EXPECT_EQ(At(0, 2), "B[Y]");  // the new columns take the defaults of their place
  EXPECT_TRUE(sheet.TextMatrix(1, 2).IsNull());
  EXPECT_EQ(p->added, (std::vector<std::pair<long, long>>{{2, 2}}));

  // Rows: only the selected columns move down.
  Put(1, {"1", "2", "3"});
  sheet.SetSelection(2, 4, 3, 4);
  sheet.Insert();
  EXPECT_EQ(sheet.Rows(), 6);
  EXPECT_EQ(At(1, 4), "x");
  EXPECT_TRUE(sheet.TextMatrix(2, 4).IsNull());
  EXPECT_TRUE(sheet.TextMatrix(3, 4).IsNull());
  EXPECT_EQ(At(4, 4), "y");
  EXPECT_EQ(At(5, 4), "z");
  EXPECT_EQ(At(3, 1), "3");
  EXPECT_GT(p->updates, 0);
}

TEST_F(SheetTest, RenameColumn) {
  Shape(4, 1);
  Form_ColumnRename seen;
  std::string name = "B";
  bool numbering = false;
  Dialogs().columnRename = [&](Form_ColumnRename& f) {
    seen = f;
    f.Text_Name = name;
    f.Text_Label = "lbl";
    f.Check_Numbering = numbering;
    return true;
  };
  sheet.SelStartCol(1);
  host.Answer(MsgResult::OK);
  sheet.ColumnRename();
  EXPECT_EQ(seen.Text_Name, "A");
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text,
            "The new column name B is not unique.\r\nThe old name A will be used.");
  EXPECT_EQ(host.messages[0].title, "Rename Column");
  EXPECT_EQ(At(0, 1), "A[X]|lbl");  // the label is taken all the same

  // Numbering from column 2 on skips names the columns to the left hold.
  sheet.ColName(1, "T2");
  name = "T";
  numbering = true;
  sheet.SelStartCol(2);
  sheet.ColumnRename();
  EXPECT_EQ(sheet.ColName(2), "T1");
  EXPECT_EQ(sheet.ColName(3), "T3");
  EXPECT_EQ(sheet.ColName(4), "T4");
}

TEST_F(SheetTest, QueryCloseAnswers) {
  bool cancel = true;
  sheet.QueryClose(cancel);  // a saved sheet asks nothing
  EXPECT_FALSE(cancel);
  sheet.Filename(host.root + "/no such folder/x.sht");
  sheet.SetChanged();
  host.Answer(MsgResult::No);
  sheet.QueryClose(cancel);
  EXPECT_FALSE(cancel);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_NE(host.messages[0].text.find("Save Changes to Worksheet "), std::string::npos);
  EXPECT_NE(host.messages[0].text.find("/NO SUCH FOLDER/X.SHT ?"), std::string::npos);
  EXPECT_EQ(host.messages[0].buttons, MsgButtons::YesNoCancel);
  host.Answer(MsgResult::Cancel);
  sheet.QueryClose(cancel);
  EXPECT_TRUE(cancel);
  host.lenient = true;  // the failed save may tell why
  host.Answer(MsgResult::Yes);
  sheet.QueryClose(cancel);
  EXPECT_TRUE(cancel);
}

TEST_F(SheetTest, CaptionAndPlotNamesFollowTheFile) {
  sheet.Filename("/data/run1.sht");
  EXPECT_EQ(sheet.Caption(), "run1.sht");
  sheet.SetChanged();
  EXPECT_EQ(sheet.Caption(), "run1.sht *");
  FakePlot* p = AddPlot();
  const int before = p->renames;
  sheet.Filename("/data/run2.sht");
  EXPECT_EQ(p->renames, before + 1);
  EXPECT_EQ(p->name, "Plot1");
  sheet.Saved();
  EXPECT_EQ(sheet.Caption(), "run2.sht");
  sheet.RemovePlot(p->Handle());
  EXPECT_EQ(sheet.Plots(), 0);
}

TEST_F(SheetTest, InputBoxesAndProtection) {
  Shape(2, 1);
  host.AnswerInput("3");
  sheet.AddColumns();
  EXPECT_EQ(sheet.Cols(), 6);
  EXPECT_EQ(host.inputPrompts.size(), 1u);
  for (const char* bad : {"abc", "0", "101"}) {
    host.AnswerInput(std::string(bad));
    sheet.AddColumns();
  }
  EXPECT_EQ(sheet.Cols(), 6);

  sheet.Col(2);
  sheet.Protected(true);
  host.Answer(MsgResult::OK);
  sheet.ClearWorkSheet();  // refused
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "At least one column is write protected!");
  EXPECT_EQ(host.messages[0].title, "Worksheet");
}

TEST_F(SheetTest, SetWorksheetXAndShowXData) {
  Shape(1, 3);
  Put(1, {"7"});
  Dialogs().setWorksheetX = [](Form_SetWorksheetX& f) {
    EXPECT_EQ(f.Text_Initial, "1");
    f.Text_Initial = "100";
    f.Text_Increment = "0";
    return true;
  };
  sheet.SetWorksheetX();
  EXPECT_EQ(host.beeps, 1);
  EXPECT_EQ(At(3, 0), "3");
  Dialogs().setWorksheetX = [](Form_SetWorksheetX& f) {
    f.Text_Initial = "100";
    f.Text_Increment = "-2.5";
    return true;
  };
  sheet.SetWorksheetX();
  EXPECT_EQ(At(3, 0), "95");
  sheet.ShowXData();
  EXPECT_EQ(sheet.Cols(), 3);
  EXPECT_EQ(At(0, 1), "A[X]");
  EXPECT_EQ(At(2, 1), "97.5");
  EXPECT_EQ(At(1, 2), "7");
}

TEST_F(SheetTest, PlotsWithoutAMainWindowBelongToTheSheet) {
  Shape(1, 1);
  FakePlot* a = AddPlot();
  FakePlot* b = AddPlot();
  EXPECT_NE(a->Handle(), b->Handle());
  EXPECT_EQ(a->sheet, &sheet);
  sheet.Col(1);
  sheet.text("5");
  EXPECT_TRUE(sheet.ColChanged(1));
  sheet.UpdatePlots();
  EXPECT_EQ(a->updates, 1);
  EXPECT_FALSE(sheet.ColChanged(1));
  const long handle = a->Handle();
  sheet.ClearAllPlots();
  EXPECT_EQ(sheet.Plots(), 0);
  EXPECT_EQ(sheet.FindPlot(handle), nullptr);
}

TEST_F(SheetTest, MainWindowRoutesAndNames) {
  MDIForm_Main main;
  RegisterWorksheetDocuments(main);
  main.Click("mnuNewWorksheet");
  auto* s = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->Caption(), "Data1.sht *");
  EXPECT_EQ(s->Cols(), 3);
  SheetPlot* p = nullptr;
  ASSERT_TRUE(s->NewPlot(p));
  EXPECT_EQ(main.Child(p->Handle()), p);
  host.AnswerInput("2");
  main.Click("mnuAddRows");
  EXPECT_EQ(s->Rows(), 23);
  EXPECT_EQ(host.inputPrompts.size(), 1u);
  s->TextMatrix(2, 2, 4.5);
  Form_Worksheet* m = s->Convert();
  ASSERT_NE(m, nullptr);
  EXPECT_TRUE(m->IsMatrix());
  EXPECT_EQ(m->Rows(), 23);
  EXPECT_EQ(m->ColName(2), "2");
  EXPECT_EQ(m->TextMatrix(2, 2).Number(), 4.5);
  EXPECT_EQ(main.SheetCount, 2);
  host.Answer(MsgResult::No);
  EXPECT_TRUE(main.CloseChild(s->Handle()));
}

// A ".sht" named on the command line or in the last files opens in a new
// sheet; a broken one still shows what was read, after the sheet's message.
TEST_F(SheetTest, SheetFilesOpenByExtension) {
  MDIForm_Main main;
  RegisterWorksheetDocuments(main);
  main.PrepareAllMenus();
  Form_Worksheet source;
  source.Cols(3);
  source.Rows(3);
  source.TextMatrix(2, 2, 7.0);
  const std::string path = host.root + "/run.sht";
  ASSERT_EQ(source.SaveWorksheet(path, true), 0);
  ASSERT_TRUE(main.OpenDocument(path));
  auto* s = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->TextMatrix(2, 2).Number(), 7.0);

  const std::string broken = host.root + "/broken.sht";
  std::FILE* f = std::fopen(broken.c_str(), "wb");
  ASSERT_NE(f, nullptr);
  std::fputs("NOT A SHEET", f);
  std::fclose(f);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(main.OpenDocument(broken));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "Open Worksheet");
  EXPECT_NE(main.ActiveChild(), s);
}

}  // namespace
}  // namespace sv
