#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "core/globals.h"
#include "fit/form_fit.h"
#include "fit/form_fit_status.h"
#include "plot/form_plot.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {
namespace {

float Lorentz(float x, float xc, float h, float w) {
  const float d = 2 * (x - xc);
  return h * w * w / (d * d + w * w);
}

class PeakFitForm : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    SetPlotFactory([](Form_Worksheet& sheet, bool threeD) -> std::unique_ptr<SheetPlot> {
      auto plot = std::make_unique<Form_Plot>(nullptr, threeD);
      plot->SetWorksheet(&sheet);
      return plot;
    });
    FitWindows() = FitDialogs();
  }
  void TearDown() override {
    FitWindows() = FitDialogs();
    SetPlotFactory(nullptr);
  }
  // Column 1 X (0 .. 199), column 2 Y: a slope and two Lorentzians.
  void TwoPeaks() {
    sheet.Cols(3);
    sheet.Rows(201);
    for (long r = 1; r <= 200; ++r) {
      const float x = float(r - 1);
      sheet.TextMatrix(r, 1, Cell(x));
      sheet.TextMatrix(r, 2, Cell(50 + 0.1f * x + Lorentz(x, 60, 1000, 8) +
                                  Lorentz(x, 140, 600, 12)));
    }
    sheet.SetSelection(-1, 2, -1, 2);
  }
  Form_Plot* PlotOf(const Form_Fit& f) { return f.Plot(); }

  test::ScriptedHost host;
  Form_Worksheet sheet;
};

TEST_F(PeakFitForm, AutoInputFitResultAndPlot) {
  TwoPeaks();
  Form_Fit f;
  ASSERT_TRUE(f.Start(sheet));
  // The fit column comes right after Y, under "<name>.fit".
  ASSERT_EQ(sheet.Cols(), 4);
  EXPECT_EQ(sheet.ColName(3), sheet.ColName(2) + ".fit");
  EXPECT_EQ(f.FitCol(), 3);
  EXPECT_EQ(f.Points(), 200);
  ASSERT_EQ(f.Peaks(), 2);
  EXPECT_EQ(f.List_Parameter.size(), 11u);
  EXPECT_EQ(f.List_Parameter[0].rfind("Location\t", 0), 0u);

  Form_Plot* plot = PlotOf(f);
  ASSERT_NE(plot, nullptr);
  EXPECT_EQ(plot->TitleText(), "Peak Fit");
  EXPECT_EQ(plot->XLabelText(), "location (pixel)");
  EXPECT_EQ(plot->YLabelText(), "intensity (a.u.)");
  ASSERT_EQ(plot->Curves(), 2);
  EXPECT_EQ(plot->CurveRecords()[0].YCol, 2);
  EXPECT_EQ(plot->CurveRecords()[1].YCol, 3);
  EXPECT_EQ(plot->CurveRecords()[0].XCol, 1);
  EXPECT_EQ(plot->CurveRecords()[1].XCol, 1);

  int ticks = 0;
  FitWindows().showStatus = [&](Form_FitStatus& st) {
    while (!st.Finished()) {
      host.FireTimers();
      ++ticks;
    }
  };
  f.Command_Calculate();
  EXPECT_GT(ticks, 2);
  ASSERT_GE(f.LastStatus(), 0) << f.RichTextBox1;
  const auto& par = FitG().Par;
  EXPECT_NEAR(par[4].Value, 60, 0.05);
  EXPECT_NEAR(par[8].Value, 140, 0.05);
  EXPECT_NEAR(par[5].Value, 1000, 5);
  // With Status not below 0 the results become the inputs.
  EXPECT_EQ(par[4].Input, par[4].Value);
  EXPECT_EQ(f.RichTextBox1.substr(0, 5), "Date ");
  EXPECT_NE(f.RichTextBox1.find("\n" + fiterrorStr(f.LastStatus()) + "\n"), std::string::npos);
  EXPECT_EQ(f.LastRunText().find("Fit Error"), std::string::npos);

  // The fit column holds the model at each data row.
  double v = 0;
  ASSERT_TRUE(sheet.NumberAt(61, 3, v));
  EXPECT_FLOAT_EQ(float(v), CalcYFit(f.Model(), 60.0f));
  // The data stay as they were (auto input smooths only its own copy).
  ASSERT_TRUE(sheet.NumberAt(61, 2, v));
  EXPECT_FLOAT_EQ(float(v), 50 + 6.0f + 1000 + Lorentz(60, 140, 600, 12));

  // A second run reuses the ".fit" column.
  Form_Fit again;
  ASSERT_TRUE(again.Start(sheet));
  EXPECT_EQ(sheet.Cols(), 4);
  EXPECT_EQ(again.FitCol(), 3);
}

TEST_F(PeakFitForm, ColumnWithoutNumbersKeepsTheSheet) {
  sheet.Cols(3);
  sheet.Rows(6);
  for (long r = 1; r <= 5; ++r) {
    sheet.TextMatrix(r, 1, Cell(float(r)));
    sheet.TextMatrix(r, 2, Cell(std::string("n/a")));
  }
  sheet.SetSelection(-1, 2, -1, 2);
  Form_Fit f;
  ASSERT_TRUE(f.Start(sheet));
  EXPECT_EQ(f.Points(), 0);
  f.Command_Calculate();
  EXPECT_EQ(f.LastStatus(), kFitNoData);
  EXPECT_EQ(f.LastRunText(), "Fit Error: Fit unsuccessful, there is no data to fit");
  EXPECT_NE(f.RichTextBox1.find("\nFit unsuccessful, there is no data to fit\n"),
            std::string::npos);
  for (long r = 1; r <= 5; ++r) {
    double x = 0;
    ASSERT_TRUE(sheet.NumberAt(r, 1, x));
    EXPECT_EQ(x, r);
    EXPECT_EQ(sheet.CellAt(r, 2).Text(), "n/a");
  }
}

TEST_F(PeakFitForm, TooManyPeaksKeepsTwenty) {
  sheet.Cols(3);
  // Square peaks survive the smoothing of auto input.
  std::vector<float> ys;
  for (int k = 0; k < 21; ++k) ys.insert(ys.end(), {0, 0, 0, 0, 0, 1000, 1000, 1000, 1000, 1000});
  ys.insert(ys.end(), {0, 0, 0, 0, 0});
  sheet.Rows(long(ys.size()) + 1);
  for (size_t i = 0; i < ys.size(); ++i) {
    sheet.TextMatrix(long(i) + 1, 1, Cell(float(i)));
    sheet.TextMatrix(long(i) + 1, 2, Cell(ys[i]));
  }
  sheet.SetSelection(-1, 2, -1, 2);
  host.Answer(MsgResult::OK);
  Form_Fit f;
  ASSERT_TRUE(f.Start(sheet));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "Fit: Auto Input");
  EXPECT_EQ(host.messages[0].text,
            "Error: Too many Peaks (21) found.\nmax. number of peaks are 20.");
  EXPECT_EQ(f.Peaks(), 20);
  EXPECT_EQ(f.List_Parameter.size(), 83u);
}

TEST_F(PeakFitForm, EditingTiesFixesShapesAndAddsPeaks) {
  TwoPeaks();
  Form_Fit f;
  ASSERT_TRUE(f.Start(sheet));
  auto& par = FitG().Par;

  // Tie 2W to 1W.
  f.List_ParameterIndex = 9;  // entry 10, "2W"
  f.List_Parameter_Click();
  EXPECT_EQ(f.Label_ini, "2W");
  EXPECT_TRUE(f.Combo_fswEnabled);
  ASSERT_EQ(f.Combo_fsw.size(), 3u);
  EXPECT_EQ(f.Combo_fsw[0], "= const");
  EXPECT_EQ(f.Combo_fsw[1], "= ?");
  EXPECT_EQ(f.Combo_fsw[2], "= 1W");
  EXPECT_EQ(f.Combo_fswIndex, 1);
  f.Combo_fswIndex = 2;
  f.Command_Accept();
  EXPECT_EQ(par[10].Link, -6);
  EXPECT_EQ(f.List_Parameter[9], "2W\t= 1W");
  f.List_Parameter_Click();
  EXPECT_EQ(f.Combo_fswIndex, 2);

  // Fix Y0 at a typed value with a decimal comma.
  f.List_ParameterIndex = 1;
  f.List_Parameter_Click();
  f.Text_ini = "40,5";
  f.Combo_fswIndex = 0;
  f.Command_Accept();
  EXPECT_EQ(par[2].Link, 0);
  EXPECT_EQ(par[2].Input, 40.5f);
  EXPECT_EQ(f.List_Parameter[1], "Y0\t40.5 = const");

  // A shape line: the shape list, no behaviour choice.
  f.List_ParameterIndex = 6;  // "1Peak"
  f.List_Parameter_Click();
  EXPECT_TRUE(f.Combo_iniVisible);
  EXPECT_FALSE(f.Combo_fswEnabled);
  EXPECT_EQ(f.Combo_iniIndex, 1);
  f.Combo_iniIndex = 2;
  f.Command_Accept();
  EXPECT_EQ(par[7].Input, 2.0f);
  EXPECT_EQ(f.List_Parameter[6].rfind("1Peak\tGaussian   (A1 = ", 0), 0u);
  EXPECT_EQ(f.List_Parameter[10].rfind("2Peak\tLorenzian  (A2 = ", 0), 0u);

  // Choosing peak 3 adds it, without a shape.
  f.Combo_LinesIndex = 3;
  f.Combo_Lines_Click();
  EXPECT_EQ(f.Peaks(), 3);
  EXPECT_EQ(f.List_Parameter.size(), 15u);
  EXPECT_EQ(f.List_Parameter[14], "3Peak\t(none)");
  EXPECT_EQ(f.Label_ini, "3Xc");

  // The tied width gets no error of its own.
  FitWindows().showStatus = [&](Form_FitStatus& st) {
    while (!st.Finished()) host.FireTimers();
  };
  f.Command_Calculate();
  EXPECT_EQ(par[10].Error, 0.0f);
  EXPECT_EQ(par[10].Value, par[6].Value);
}

TEST_F(PeakFitForm, CancelAndTheSheetOperation) {
  TwoPeaks();
  RegisterPeakFit();
  EXPECT_TRUE(sheet.Offers("MathPeakFit"));
  bool shown = false;
  std::string runText;
  FitWindows().showFit = [&](Form_Fit& f) {
    shown = true;
    EXPECT_EQ(f.Peaks(), 2);
    // Cancelled after one tick.
    FitWindows().showStatus = [&](Form_FitStatus& st) {
      host.FireTimers();
      st.Command_Cancel_Click();
    };
    f.Command_Calculate();
    runText = f.LastRunText();
    EXPECT_EQ(f.LastStatus(), kFitCanceled);
  };
  sheet.Invoke("MathPeakFit");
  EXPECT_TRUE(shown);
  EXPECT_EQ(runText, "Fit Error: Fit canceld by user");
  // Closing the dialog erased the arrays.
  EXPECT_TRUE(FitG().Points.empty());
  Form_Worksheet::RegisterOperation("MathPeakFit", nullptr);
}

}  // namespace
}  // namespace sv
