#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <string>

#include "core/globals.h"
#include "fit/form_growth_rate.h"
#include "plot/form_plot.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::test {
namespace {

namespace fs = std::filesystem;

// A plot of an oscillating intensity: 400 samples 0.05 s apart, period 2 s.
struct GrowthForm : ::testing::Test {
  void SetUp() override {
    ResetGlobals();
    SetPlotFactory([](Form_Worksheet& s, bool threeD) -> std::unique_ptr<SheetPlot> {
      auto plot = std::make_unique<Form_Plot>(nullptr, threeD);
      plot->SetWorksheet(&s);
      return plot;
    });
    dir = fs::temp_directory_path() / ("sv_growth_form_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    host.configFolder = dir.string();
    host.programFolder = dir.string();
    sheet.Cols(3);
    sheet.Rows(401);
    for (long r = 1; r <= 400; ++r) {
      const double t = 0.05 * double(r - 1);
      sheet.TextMatrix(r, 1, Cell(float(t)));
      sheet.TextMatrix(r, 2, Cell(float(100 + 10 * std::sin(std::numbers::pi * t) * std::exp(-t / 40))));
    }
    sheet.Col(2);
    SheetPlot* made = nullptr;
    ASSERT_TRUE(sheet.NewPlot(made));
    plot = dynamic_cast<Form_Plot*>(made);
    ASSERT_NE(plot, nullptr);
    plot->AddCurve();
    plot->CurveXCol(1);
  }
  void TearDown() override {
    SetPlotFactory(nullptr);
    fs::remove_all(dir);
  }
  ScriptedHost host;
  fs::path dir;
  Form_Worksheet sheet;
  Form_Plot* plot = nullptr;
};

TEST_F(GrowthForm, MinMaxFillsSheetPlotAndGrowth) {
  Form_GrowthRate f;
  f.SetPlotForm(plot);
  ASSERT_EQ(f.Combo_Curve.size(), 1u);
  EXPECT_EQ(f.Text_t1, "0");
  EXPECT_EQ(f.Text_t2, "19.95");
  EXPECT_EQ(f.Combo_Material(), std::vector<std::string>{"(User)"});
  f.Text_Delta = "5";
  f.Check_Fit = true;
  f.Text_MonolayerThickness = "3";
  ASSERT_TRUE(f.Command_Calculate());
  EXPECT_NEAR(f.Rate(), 0.5, 0.003);
  EXPECT_NE(f.Text_GrowthRate.find(" \xC2\xB1"), std::string::npos);
  EXPECT_NEAR(f.Growth(), 1.5, 0.01);
  Form_Worksheet* s = f.Sheet();
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->Cols(), 6);
  EXPECT_EQ(s->Rows(), 402);
  EXPECT_EQ(s->ColName(1), "time (s)");
  EXPECT_EQ(s->ColName(4), "min/max");
  double first = 0;
  ASSERT_TRUE(s->NumberAt(1, 3, first));
  EXPECT_NEAR(first, 0.5, 0.02);  // the first maximum
  ASSERT_NE(f.ResultPlot(), nullptr);
  EXPECT_EQ(f.ResultPlot()->TitleText(), "Min/Max Analysis");
  EXPECT_EQ(f.ResultPlot()->Curves(), 2);
  // Scaled to the analysed range, with ticks to label it.
  EXPECT_EQ(f.ResultPlot()->XAxis.From, 0.0f);
  EXPECT_EQ(f.ResultPlot()->XAxis.To, 19.95f);
  EXPECT_GT(f.ResultPlot()->XAxis.Inc, 0.0f);
  EXPECT_GT(f.ResultPlot()->YAxis.Inc, 0.0f);
  // The sheet shows and hides; the caption tells what a press does.
  EXPECT_EQ(f.ShowShtCaption(), "Show &SHT");
  f.Command_ShowSht();
  EXPECT_TRUE(s->Visible());
  EXPECT_EQ(f.ShowShtCaption(), "Hide &SHT");
  // FFT on the same curve replaces the sheet and plot.
  f.Option_Analysis = 1;
  ASSERT_TRUE(f.Command_Calculate());
  EXPECT_EQ(f.Status.substr(0, 54), "FFT: 400 data points expanded to 512 data points. DC: ");
  EXPECT_NEAR(f.Rate(), 0.5, 1 / (512 * 0.05));
  EXPECT_EQ(s->ColName(1), "frequency (Hz)");
  EXPECT_EQ(s->Rows(), 258);
  EXPECT_EQ(f.ResultPlot()->TitleText(), "FFT Analysis");
  // The same plot scales anew to the spectrum, up to 10 Hz.
  f.ResultPlot()->Plot();
  EXPECT_LE(f.ResultPlot()->XAxis.To, 11.0f);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(GrowthForm, RefusedValuesKeepLastResults) {
  Form_GrowthRate f;
  f.SetPlotForm(plot);
  f.Text_Delta = "5";
  ASSERT_TRUE(f.Command_Calculate());
  const std::string rate = f.Text_GrowthRate;
  struct Case {
    const char* delta;
    const char* t1;
    const char* message;
  } cases[] = {
      {"0", "0", "Invalid value of Ampl. Threshold.\n(0 < Ampl. Threshold)"},
      {"5", "19.9", "Not enough data selected"},
      {"50", "0", "No Min/Max found. Check Range and Amplidute Threshold Value."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    host.messages.clear();
    host.Answer(MsgResult::OK);
    f.Text_Delta = c.delta;
    f.Text_t1 = c.t1;
    EXPECT_FALSE(f.Command_Calculate());
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0].text, c.message);
    EXPECT_EQ(host.messages[0].title, "Growthrate Calculation");
    EXPECT_EQ(f.Text_GrowthRate, rate);
  }
  EXPECT_EQ(f.FocusedControl, "Text_Delta");
}

TEST_F(GrowthForm, MaterialsAddDeleteAndSaveOnClose) {
  Form_GrowthRate f;
  f.SetPlotForm(plot);
  f.Text_MonolayerThickness = "2.5";
  host.AnswerInput(std::string("Ag(111)"));
  ASSERT_TRUE(f.Command_Add());
  host.AnswerInput(std::string("Si(111)"));
  f.Text_MonolayerThickness = "3.135";
  ASSERT_TRUE(f.Command_Add());
  EXPECT_EQ(f.Materials.Index, 2);
  ASSERT_TRUE(f.Command_Delete());
  EXPECT_EQ(f.Materials.Index, 1);
  EXPECT_EQ(f.Text_MonolayerThickness, "2.5");
  f.Close();
  Form_GrowthRate again;
  again.SetPlotForm(plot);
  EXPECT_EQ(again.Combo_Material(), (std::vector<std::string>{"(User)", "Ag(111)"}));
  EXPECT_EQ(again.Materials.Index, 1);
  // "(User)" cannot be deleted.
  again.SelectMaterial(0);
  EXPECT_FALSE(again.Command_Delete());
}

TEST_F(GrowthForm, PlotOperationOpensWindowOnThatPlot) {
  EXPECT_FALSE(plot->Offers("MathGrowthRate"));
  RegisterGrowthRate();
  std::string curve;
  GrowthWindows().show = [&](Form_GrowthRate& f) {
    curve = f.Combo_Curve.at(0);
    f.Materials.Entries.push_back({"Cu(001)", 1.807f});
  };
  EXPECT_TRUE(plot->Invoke("MathGrowthRate"));
  GrowthWindows() = GrowthRateWindows();
  Form_Plot::RegisterOperation("MathGrowthRate", nullptr);
  EXPECT_EQ(curve, sheet.ColName(2));
  // Closing saved the list to the config folder.
  EXPECT_TRUE(fs::exists(dir / "Material.dtb"));
  EXPECT_FALSE(plot->Offers("MathGrowthRate"));
}

}  // namespace
}  // namespace sv::test
