// The transform's sheet, two-column arithmetic, and the Data menu's column
// commands through the main window.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "support/scripted_host.h"
#include "worksheet/column_math.h"
#include "worksheet/form_simple_math.h"
#include "worksheet/form_sort.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

class ColumnMenuTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetGlobals(); }
  void TearDown() override { ColumnMathDialogs() = ColumnDialogs(); }

  // X 0, 0.5, 1, ... and Y = f(X) in columns 1 and 2.
  template <class F>
  static void Fill(Form_Worksheet& s, long n, F f) {
    s.Cols(3);
    s.Rows(n + 1);
    for (long r = 1; r <= n; ++r) {
      const float x = float(r - 1) * 0.5f;
      s.TextMatrix(r, 1, Cell(x));
      s.TextMatrix(r, 2, Cell(float(f(x))));
    }
    s.Col(2);
  }

  test::ScriptedHost host;
  Form_Worksheet sheet;
};

TEST_F(ColumnMenuTest, TransformOfASineHasItsPeakAtItsFrequency) {
  // 64 samples, 0.5 s apart, 0.25 Hz: eight periods, bin 8.
  Fill(sheet, 64, [](float x) { return 3.0 * std::sin(2 * M_PI * 0.25 * x); });
  Form_Worksheet out;
  ASSERT_TRUE(CalcFFTInto(sheet, out));
  ASSERT_EQ(out.Cols(), 6);
  ASSERT_EQ(out.Rows(), 64 / 2 + 1 + 1);
  const char* names[] = {"Freq", "Real", "Imag", "Ampl", "Phi"};
  for (long c = 1; c <= 5; ++c) EXPECT_EQ(out.ColName(c), names[c - 1]);
  EXPECT_EQ(out.Record(1).Typ, kTypX);
  EXPECT_EQ(out.Record(4).Typ, kTypY);
  long peak = 1;
  for (long r = 1; r < out.Rows(); ++r)
    if (out.CellAt(r, 4).Number() > out.CellAt(peak, 4).Number()) peak = r;
  EXPECT_EQ(peak, 9);
  EXPECT_NEAR(out.CellAt(peak, 1).Number(), 0.25, 1e-6);  // k / (N dx)
  EXPECT_NEAR(out.CellAt(peak, 4).Number(), 3.0, 1e-3);
  EXPECT_NEAR(out.CellAt(2, 1).Number(), 1.0 / 32, 1e-7);
  // 50 points are padded to 64; the step stays.
  Fill(sheet, 50, [](float x) { return x; });
  ASSERT_TRUE(CalcFFTInto(sheet, out));
  EXPECT_EQ(out.Rows(), 34);
  EXPECT_NEAR(out.CellAt(2, 1).Number(), 1.0 / 32, 1e-7);
  // No numbers: nothing.
  sheet.Cols(3);
  sheet.Rows(3);
  for (long r = 1; r < 3; ++r) sheet.TextMatrix(r, 2, Cell());
  EXPECT_FALSE(CalcFFTInto(sheet, out));
}

TEST_F(ColumnMenuTest, TransformSheetComesFromTheMainWindow) {
  MDIForm_Main main;
  RegisterWorksheetDocuments(main);
  RegisterColumnMath(&main);
  main.Click("mnuNewWorksheet");
  auto* s = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  ASSERT_NE(s, nullptr);
  Fill(*s, 16, [](float x) { return std::cos(x); });
  main.Click("mnuFFT");
  auto* t = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  ASSERT_NE(t, nullptr);
  ASSERT_NE(t, s);
  EXPECT_EQ(t->Filename(), "Data1_FFT.sht");
  EXPECT_EQ(t->Rows(), 10);
  EXPECT_EQ(host.status.front(), "Calculating FFT...");
}

TEST_F(ColumnMenuTest, SimpleMathByNameIntoANewOrAnOldColumn) {
  sheet.Cols(3);
  sheet.Rows(5);
  const float a[] = {1, 2, 3, 4}, b[] = {2, 0, 5, NAN};
  for (long r = 1; r <= 4; ++r) {
    sheet.TextMatrix(r, 1, Cell(a[r - 1]));
    sheet.TextMatrix(r, 2, std::isnan(b[r - 1]) ? Cell() : Cell(b[r - 1]));
  }
  ASSERT_EQ(SimpleMathOperators().size(), 5u);
  ASSERT_EQ(SimpleMath(sheet, "Q", "A", "B", 3), 1);  // "/"
  ASSERT_EQ(sheet.Cols(), 4);
  EXPECT_EQ(sheet.ColName(3), "Q");
  EXPECT_EQ(sheet.CellAt(1, 3).Number(), 0.5);
  EXPECT_TRUE(sheet.CellAt(2, 3).IsNull());  // division by zero stays in its row
  EXPECT_EQ(sheet.CellAt(3, 3).Number(), 0.6f);
  EXPECT_TRUE(sheet.CellAt(4, 3).IsNull());  // a gap operand
  // Into an existing column, with a number for an operand.
  ASSERT_EQ(SimpleMath(sheet, "q", "a", "2,5", 0), 1);
  EXPECT_EQ(sheet.Cols(), 4);
  EXPECT_EQ(sheet.CellAt(4, 3).Number(), 6.5);
  ASSERT_EQ(SimpleMath(sheet, "Q", "A", "A", 4), 1);
  EXPECT_EQ(sheet.CellAt(3, 3).Number(), 27.0);
  // Unknown operands or operators refuse.
  EXPECT_EQ(SimpleMath(sheet, "Q", "Nope", "A", 0), 0);
  EXPECT_EQ(SimpleMath(sheet, "Q", "A", "B", 5), 0);
  EXPECT_EQ(SimpleMath(sheet, "", "A", "B", 0), 0);
}

TEST_F(ColumnMenuTest, SimpleMathFormTakesNamesFromTheList) {
  sheet.Cols(4);
  sheet.Col(2);
  Form_SimpleMath f;
  f.Load(sheet);
  EXPECT_EQ(f.List_Columns, (std::vector<std::string>{"A", "B", "C1"}));
  EXPECT_EQ(f.Text_Y1, "B");
  f.List_ColumnsIndex = 2;
  f.Command_SetY2();
  f.List_ColumnsIndex = 0;
  f.Command_SetY();
  EXPECT_EQ(f.Text_Y2, "C1");
  EXPECT_EQ(f.Text_Y, "A");
  f.List_ColumnsIndex = -1;
  f.Command_SetY1();
  EXPECT_EQ(f.Text_Y1, "B");
  EXPECT_EQ(Form_SimpleMath::Operators()[0], "+");
}

TEST_F(ColumnMenuTest, DataMenuFollowsTheSelection) {
  sheet.Cols(3);
  sheet.Rows(4);
  sheet.SetSelection(-1, -1, -1, -1);
  sheet.Col(2);
  MathMenuState m = Math(sheet);
  EXPECT_TRUE(m.functions && m.smooth && m.differentiate && m.fft && m.simpleMath);
  EXPECT_FALSE(m.sort);
  sheet.SetSelection(1, 2, 3, 2);
  EXPECT_TRUE(Math(sheet).sort);
  sheet.Col(0);
  sheet.SetSelection(-1, -1, -1, -1);
  m = Math(sheet);
  EXPECT_FALSE(m.functions || m.differentiate || m.integrate || m.fft || m.sort);
}

TEST_F(ColumnMenuTest, FunctionsMenuHasAnEntryAFunctionAndRoutesItsIndex) {
  MDIForm_Main main;
  RegisterWorksheetDocuments(main);
  RegisterColumnMath(&main);
  MenuEntry* fkt = main.FindMenu("mnuFkt");
  ASSERT_NE(fkt, nullptr);
  ASSERT_EQ(fkt->children.size(), 12u);
  EXPECT_EQ(fkt->children[2].caption, "LO&G(X)");
  main.Click("mnuNewWorksheet");
  auto* s = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  ASSERT_NE(s, nullptr);
  s->TextMatrix(1, 2, Cell(100.0f));
  s->Col(2);
  main.PrepareMenu("mnuData");
  EXPECT_TRUE(main.FindMenu("mnuFkt", 2)->enabled);
  EXPECT_FALSE(main.FindMenu("mnuSort")->enabled);  // no rows selected
  main.Click("mnuFkt", 2);
  EXPECT_NEAR(s->CellAt(1, 2).Number(), 4.60517, 1e-5);
  // A plain Invoke is no entry of the array: the value stays (index -1).
  s->TextMatrix(1, 2, Cell(3.0f));
  ASSERT_TRUE(s->Invoke("MathFkt"));
  EXPECT_EQ(s->MenuIndex(), -1);
  EXPECT_EQ(s->CellAt(1, 2).Number(), 3.0);
}

TEST_F(ColumnMenuTest, SmoothAsksForTheDegree) {
  MDIForm_Main main;
  RegisterWorksheetDocuments(main);
  RegisterColumnMath(&main);
  main.Click("mnuNewWorksheet");
  auto* s = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  ASSERT_NE(s, nullptr);
  for (long r = 1; r <= 3; ++r) s->TextMatrix(r, 2, Cell(r == 2 ? 8.0f : 0.0f));
  s->Col(2);
  host.AnswerInput("101");
  main.Click("mnuSmooth");
  ASSERT_EQ(host.inputPrompts.size(), 1u);
  EXPECT_EQ(host.inputPrompts[0], "Degree of smoothing:");
  EXPECT_EQ(s->CellAt(2, 2).Number(), 8.0);  // ignored
  host.AnswerInput("1");
  main.Click("mnuSmooth");
  EXPECT_EQ(s->CellAt(2, 2).Number(), 4.0);
}

TEST_F(ColumnMenuTest, SortRunsThroughItsDialog) {
  MDIForm_Main main;
  RegisterWorksheetDocuments(main);
  RegisterColumnMath(&main);
  main.Click("mnuNewWorksheet");
  auto* s = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  ASSERT_NE(s, nullptr);
  for (long r = 1; r <= 3; ++r) s->TextMatrix(r, 1, Cell(float(r)));
  s->SetSelection(0, 1, 3, 1);
  int shown = 0;
  ColumnMathDialogs().sort = [&](Form_Sort& f) {
    ++shown;
    EXPECT_EQ(Form_Sort::SortItems().size(), 2u);
    f.Combo_Sort = 1;
    return shown > 1;  // the first one is cancelled
  };
  main.Click("mnuSort");
  EXPECT_EQ(s->CellAt(1, 1).Number(), 1.0);
  main.Click("mnuSort");
  EXPECT_EQ(s->CellAt(1, 1).Number(), 3.0);
  EXPECT_EQ(shown, 2);
}

}  // namespace
}  // namespace sv
