#include <gtest/gtest.h>

#include "fit/form_rfactor.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

// Column 1 "Beam Energy", 2..4 intensities labelled I.total_a, I.total_b, I.max_a.
void Fill(Form_Worksheet& sheet, float scale3) {
  sheet.Cols(5);
  sheet.Rows(6);
  const float e[5] = {0, 1, 2, 3, 4}, a[5] = {1, 2, 4, 3, 2}, b[5] = {2, 2, 3, 3, 1};
  sheet.Record(1).Label = "Beam Energy";
  sheet.Record(2).Label = "I.total_a";
  sheet.Record(3).Label = "I.total_b";
  sheet.Record(4).Label = "I.max_a";
  for (long r = 1; r <= 5; ++r) {
    sheet.TextMatrix(r, 1, Cell(e[r - 1]));
    sheet.TextMatrix(r, 2, Cell(a[r - 1]));
    sheet.TextMatrix(r, 3, Cell(b[r - 1]));
    sheet.TextMatrix(r, 4, Cell(a[r - 1] * scale3));
  }
}

TEST(RFactorForm, LoadSelectValidateAndReport) {
  test::ScriptedHost host;
  Form_Worksheet sheet;
  Fill(sheet, 1.0f);
  Form_RFactor f;
  f.Form_Load(sheet, 0, -1);
  EXPECT_EQ(f.EColumn, 1);
  EXPECT_EQ(f.Text_Voi, "4");
  EXPECT_EQ(f.Text_Threshold, "1");
  EXPECT_EQ(f.List_Columns[1], "2: " + sheet.ColName(2));
  f.SelMode(0);
  EXPECT_EQ(f.SelectedColumns(), (std::vector<long>{2, 3}));
  EXPECT_EQ(f.Label_IColumns, "2 Column(s) selected");
  // Smoothing: empty counts as 0; 100 or a fraction is refused.
  f.Check_Smooth = true;
  f.Text_Smooth = "";
  EXPECT_TRUE(f.Command_Calculate());
  EXPECT_EQ(f.Tag, "OK");
  EXPECT_EQ(f.Degree(), 0);
  f.Tag.clear();
  f.Text_Smooth = "100";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(f.Command_Calculate());
  EXPECT_EQ(f.FocusedControl, "Text_Smooth");
  EXPECT_EQ(f.Tag, "");
  ASSERT_EQ(host.messages.size(), 1u);
  f.Text_Smooth = "0";
  f.Check_Smooth = false;
  ASSERT_TRUE(f.Command_Calculate());
  EXPECT_EQ(f.Report(),
            "R.Pendry Factor\nVoi = 4eV\nThreshold = 1%\nSmooth = (none)\n\n"
            "I.total_a & I.total_b:\tR.Pendry = 0.450\n");
  // R-squared, three columns: each pair once; a failed pair is a blank line.
  f.Option_Factor = 1;
  f.SelectColumn(4, true);
  sheet.TextMatrix(2, 4, Cell(std::string("n/a")));
  EXPECT_EQ(f.Report(),
            "R\xC2\xB2 Factor\nThreshold = 1%\nSmooth = (none)\n\n"
            "I.total_a & I.total_b:\tR2 = 0.049\n\n\n");
  // One column: the head only.
  f.SelMode(1);
  EXPECT_EQ(f.Report(), "R\xC2\xB2 Factor\nThreshold = 1%\nSmooth = (none)\n\n");
}

TEST(RFactorForm, SheetAgainstSheetWithShift) {
  test::ScriptedHost host;
  Form_Worksheet a, b;
  Fill(a, 1.0f);
  Fill(b, 1.0f);
  b.Record(4).Label = "I.max_zz";  // beam 3 of a has no match, by label or name
  b.Record(4).Name = "ZZ";
  Form_RFactor f;
  f.Form_Load(a, 4, 0.01f, {&b});
  f.Check_CompareSheet = true;
  f.SelectColumn(2, true);
  f.SelectColumn(3, true);
  f.SelectColumn(4, true);
  f.Text_ShiftFrom = "-1";
  f.Text_ShiftTo = "1";
  f.Text_ShiftStep = "0";  // a range needs a step
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(f.Command_Calculate());
  EXPECT_EQ(f.FocusedControl, "Text_ShiftStep");
  f.Text_ShiftStep = "1";
  ASSERT_TRUE(f.Command_Calculate());
  EXPECT_EQ(f.Report(),
            "R.Pendry Factor\nVoi = 4eV\nThreshold = 1%\nSmooth = (none)\n\n"
            "I.total_a & I.total_a:\tR.Pendry = 0.000\tshift = 0.00 eV\n"
            "I.total_b & I.total_b:\tR.Pendry = 0.000\tshift = 0.00 eV\n"
            "I.max_a: no match\n"
            "overall:\tR.Pendry = 0.000\tshift = 0.00 eV\n");
}

}  // namespace
}  // namespace sv
