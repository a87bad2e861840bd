#include "experiment/form_experiment.h"

#include <gtest/gtest.h>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {
namespace {

class FormExperimentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetWindowGlobals();
    ResetLineGlobals();
    ResetHardware();
    ResetExperimentSettings();
    RegisterPlotDocuments(plots_);
    ExperimentDoHook() = [this](int flags) { runs.push_back(flags); };
  }
  void TearDown() override {
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    ExperimentDoHook() = nullptr;
  }
  static ScanWindow& Window(int i, int32_t mode = kModeFixed, int32_t plot = 1) {
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    w.X1 = 10 + 20 * i;
    w.Y1 = 20;
    w.W = 16;
    w.H = 12;
    w.Mode = mode;
    w.Plot = plot;
    w.Select = 1;
    return w;
  }
  std::vector<std::string> Columns() const {
    std::vector<std::string> names;
    Form_Worksheet* sheet = form.Worksheet();
    if (!sheet) return names;
    for (long c = 1; c < sheet->Cols(); ++c) names.push_back(sheet->ColName(c));
    return names;
  }

  test::ScriptedHost host;
  MDIForm_Main plots_;  // only for the plot factory
  Form_Experiment form;
  std::vector<int> runs;
};

TEST_F(FormExperimentTest, AcceptIEBuildsColumnsCurvesAndLabels) {
  Window(0, kModeFixed, 1).RGBColor = 0x0000FF;
  Window(2, kModeFollow, 4).RGBColor = 0x00FF00;
  Window(5).Select = 0;  // defined, not ticked
  WG().ScanWindows[2].Averaging = 4;
  form.Load();
  EXPECT_EQ(host.LastStatus(), "Default Worksheet Path: *.sht");
  EXPECT_FALSE(form.Ctl_Check_Window[1].Enabled);  // an empty window
  form.Text_EStart = "30";
  form.Text_EStop = "120,5";
  form.Text_Change();
  form.Command_Accept();

  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(Columns(), (std::vector<std::string>{"energy (eV)", "time (s)", "I.max_1",
                                                 "I.total_1", "I.back_1", "I.max-I.back_3",
                                                 "I.total-I.back_3", "I.back_3"}));
  EXPECT_EQ(form.ColumnCount, 8);
  EXPECT_EQ(ES().ExperimentActive, kActiveIE);
  EXPECT_FLOAT_EQ(ES().EStop, 120.5f);
  EXPECT_EQ(ES().SelectedWindows, (std::vector<int16_t>{0, 2}));
  EXPECT_EQ(ES().MaxAveraging, 4);
  EXPECT_EQ(WG().ScanWindows[5].RunState, 2);
  EXPECT_EQ(WG().ScanWindows[0].RunState, 0);
  EXPECT_EQ(form.Label_WScans, "2 window(s)");
  EXPECT_EQ(form.Label_LScans, "0 line(s)");
  EXPECT_EQ(form.Label_ADScans, "0 A/D-channel(s)");
  EXPECT_EQ(form.Label_avmax, "x4");
  EXPECT_FALSE(form.Ctl_Command_Accept.Enabled);
  EXPECT_FALSE(form.Ctl_Command_Cancel.Enabled);
  EXPECT_TRUE(form.Ctl_Command_Start[0].Enabled);

  Form_Plot* plot = form.IntensityPlot();
  ASSERT_NE(plot, nullptr);
  EXPECT_EQ(form.ADPlot(), nullptr);
  ASSERT_EQ(plot->Curves(), 2);
  EXPECT_EQ(plot->CurveRecords()[0].YCol, 3);
  EXPECT_EQ(plot->CurveRecords()[0].XCol, 1);
  EXPECT_EQ(plot->CurveRecords()[0].Color, 0x0000FF);
  EXPECT_EQ(plot->CurveRecords()[1].YCol, 6);
  EXPECT_EQ(plot->CurveRecords()[1].Color, 0x00FF00);
  EXPECT_FLOAT_EQ(plot->XAxis.From, 30);
  EXPECT_GE(plot->XAxis.To, 120.5f);  // the ticks may round it up
  EXPECT_LE(plot->XAxis.To, 130);
  EXPECT_EQ(plot->XLabelText(), "energy (eV)");
  EXPECT_EQ(plot->YLabelText(), "intensity (a.u.)");

  // A second accept rebuilds rather than adds.
  form.Text_Change();
  form.Command_Accept();
  EXPECT_EQ(form.Worksheet()->Plots(), 1);
  EXPECT_EQ(form.IntensityPlot()->Curves(), 2);
}

TEST_F(FormExperimentTest, ColumnNamesByPlotAndSaveXY) {
  struct Case {
    int32_t plot;
    bool saveXY;
    std::vector<std::string> names;
  } cases[] = {
      {1, false, {"time (s)", "I.max_2", "I.total_2", "I.back_2"}},
      {3, false, {"time (s)", "I.max_2", "I.total_2", "I.back_2"}},
      {4, false, {"time (s)", "I.max-I.back_2", "I.total-I.back_2", "I.back_2"}},
      {5, true,
       {"time (s)", "I.max-I.back_2", "I.total-I.back_2", "I.back_2", "X.max_2", "Y.max_2"}},
      {0, true, {"time (s)", "I.max_2", "I.total_2", "I.back_2", "X.max_2", "Y.max_2"}},
  };
  for (const Case& c : cases) {
    ExperimentSettings es;
    es.ExperimentType = kExperimentIt;
    es.SaveXY = c.saveXY;
    es.SelectedWindows = {1};
    WG().ScanWindows[1].Plot = c.plot;
    EXPECT_EQ(ExperimentColumnNames(es, "I"), c.names) << c.plot;
  }
  ExperimentSettings es;
  es.SelectedWindows = {0};
  EXPECT_EQ(ExperimentColumnNames(es, "cps")[2], "cps.max_1");
}

TEST_F(FormExperimentTest, SaveXYAndTimeAxisInIt) {
  Window(0);
  ES().ExperimentType = kExperimentIt;
  ES().tStart = 2000;
  ES().tStop = 30000;
  form.Load();
  EXPECT_EQ(form.Caption, "I(t)-Experiment");
  EXPECT_TRUE(form.Picture_SweepTime.Visible);
  EXPECT_FALSE(form.Picture_SweepEnergy.Visible);
  form.Check_SaveXY = true;
  form.Control_Click();
  form.Command_Accept();
  EXPECT_EQ(Columns(), (std::vector<std::string>{"time (s)", "I.max_1", "I.total_1", "I.back_1",
                                                 "X.max_1", "Y.max_1"}));
  EXPECT_EQ(ES().ExperimentActive, kActiveIt);
  ASSERT_NE(form.IntensityPlot(), nullptr);
  EXPECT_FLOAT_EQ(form.IntensityPlot()->XAxis.From, 2);
  EXPECT_FLOAT_EQ(form.IntensityPlot()->XAxis.To, 30);
  EXPECT_EQ(form.IntensityPlot()->XLabelText(), "time (s)");

  form.Text_tStop = "0";
  form.Text_Change();
  form.Command_Accept();
  EXPECT_FLOAT_EQ(form.IntensityPlot()->XAxis.From, 0);
  EXPECT_FLOAT_EQ(form.IntensityPlot()->XAxis.To, 10);
}

TEST_F(FormExperimentTest, FollowWindowInItIsDroppedOthersGoOn) {
  Window(0);
  Window(1, kModeFollow);
  Window(3, kModeTarget, 0);
  ES().ExperimentType = kExperimentIt;
  form.Load();
  host.Answer(MsgResult::OK);
  host.Answer(MsgResult::OK);
  form.Command_Accept();
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[0].title, "I(t) Experiment");
  EXPECT_EQ(host.messages[0].text,
            "Cannot analyse Window #2 in Follow Mode, Repeat Mode or Target Mode during an I(t) "
            "experiment.\rWindow is disabled.");
  EXPECT_NE(host.messages[1].text.find("Window #4 "), std::string::npos);
  EXPECT_FALSE(form.Check_Window[1]);
  EXPECT_EQ(WG().ScanWindows[1].Select, 0);
  // This pass still counts them.
  EXPECT_EQ(ES().SelectedWindows, (std::vector<int16_t>{0, 1, 3}));
  EXPECT_EQ(form.Label_WScans, "3 window(s)");
  EXPECT_EQ(form.ColumnCount, 10);

  form.Text_Change();
  form.Command_Accept();  // no new message: they are off now
  EXPECT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(ES().SelectedWindows, (std::vector<int16_t>{0}));
  EXPECT_EQ(Columns().size(), 4u);
}

TEST_F(FormExperimentTest, RepeatWindowInIEStartsOnItsLine) {
  ScanWindow& w = Window(0, kModeRepeat);
  SumAdd(w.Sum, 25, 100, 80);
  SumAdd(w.Sum, 100, 120, 90);
  long x = 0, y = 0;
  ASSERT_TRUE(SumPosition(w.Sum, 50, x, y));
  form.Load();
  form.Text_EStart = "50";
  form.Command_Accept();
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(w.CenterX, x);
  EXPECT_EQ(w.CenterY, y);
}

TEST_F(FormExperimentTest, LineModesThatCannotWork) {
  Window(0);
  WG().ScanWindows[2].W = 10;  // defined but not ticked
  ScanLine& linked = LG().ScanLines[0];
  linked.Mode = 3;
  linked.Enabled = 1;
  ScanLine& bad = LG().ScanLines[1];
  bad.Mode = 12;
  bad.Enabled = 1;
  ScanLine& good = LG().ScanLines[2];
  good.Mode = 1;
  good.Enabled = 1;
  good.Averaging = 8;
  form.Load();
  host.Answer(MsgResult::OK);
  host.Answer(MsgResult::Cancel);
  form.Command_Accept();
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[0].title, "Line 1");
  EXPECT_EQ(host.messages[0].text,
            "Window3 must be defined and enabled to use 'Link to' mode\rPress 'OK' for 'Fixed "
            "Position' mode");
  EXPECT_EQ(host.messages[1].title, "Line 2");
  EXPECT_EQ(host.messages[1].text, "Press 'OK' for 'Fixed Position' mode");
  EXPECT_EQ(linked.Mode, 0);  // OK: fixed from now on
  EXPECT_EQ(bad.Enabled, 0);  // Cancel: left out
  EXPECT_FALSE(form.Check_Line[1]);
  EXPECT_EQ(good.Mode, 1);
  EXPECT_EQ(ES().SelectedLines, (std::vector<int16_t>{0, 2}));
  EXPECT_EQ(form.Label_LScans, "2 line(s)");
  EXPECT_EQ(form.Label_avmax, "x8");
  EXPECT_EQ(Columns().size(), 5u);  // lines add no columns
}

TEST_F(FormExperimentTest, StartChecksAndHandsOver) {
  form.Load();
  host.Answer(MsgResult::OK);
  form.Command_Start();  // the pending accept runs first
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Nothing to scan for.");
  EXPECT_TRUE(runs.empty());

  Window(4);
  form.LoadControls();
  form.Text_Change();
  form.Command_Start();
  EXPECT_EQ(runs, (std::vector<int>{1}));
  EXPECT_EQ(Columns().size(), 5u);

  // A sheet that lost a column gets it back, with its rows.
  Form_Worksheet* sheet = form.Worksheet();
  sheet->Rows(3);
  sheet->TextMatrix(1, 1, Cell(20.0f));
  sheet->Cols(4);
  host.Answer(MsgResult::Yes);  // the restart question
  form.Command_Start(1);
  EXPECT_EQ(sheet->Cols(), 6);
  EXPECT_EQ(sheet->TextMatrix(1, 1), Cell(20.0f));
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[1].text,
            "You have to Restart the experiment after this edit. Proceed anyway?");
  EXPECT_EQ(runs.back(), 1);  // counts as a fresh start
  form.Command_Start(1);
  EXPECT_EQ(runs.back(), 0);
  form.Command_Start(2);
  EXPECT_EQ(runs.back(), 3);
}

TEST_F(FormExperimentTest, RestartQuestionNoKeepsTheEdit) {
  Window(0);
  form.Load();
  form.Command_Accept();
  form.Worksheet()->Rows(4);
  form.Text_EStart = "40";
  form.Text_Change();
  EXPECT_FALSE(form.Ctl_Command_Start[0].Enabled);
  host.Answer(MsgResult::No);
  form.Command_Accept();
  EXPECT_FLOAT_EQ(ES().EStart, 20);
  EXPECT_TRUE(form.AcceptPending());
  host.Answer(MsgResult::No);
  form.Command_Start();  // the accept stays pending: no start
  EXPECT_TRUE(runs.empty());
}

TEST_F(FormExperimentTest, FieldLimitsBeepAndRestore) {
  struct Case {
    Form_Experiment::Field field;
    const char* text;
    bool taken;
  } cases[] = {
      {Form_Experiment::tStart, "100000", true},  // no upper bound
      {Form_Experiment::tStart, "x", false},
      {Form_Experiment::tStop, "86400", true},
      {Form_Experiment::tStop, "86400.5", false},
      {Form_Experiment::tStop, "-1", false},
      {Form_Experiment::DwellTime, "0,5", true},
      {Form_Experiment::DwellTime, "90000", false},
      {Form_Experiment::tStep, "1e6", true},
      {Form_Experiment::tStep, "-0.1", false},
      {Form_Experiment::EStart, "5", true},
      {Form_Experiment::EStart, "4.99", false},
      {Form_Experiment::EStop, "1000", true},
      {Form_Experiment::EStop, "1000,1", false},
      {Form_Experiment::EStep, "0", true},
      {Form_Experiment::EStep, "1001", false},
      {Form_Experiment::EStep, "", false},
  };
  form.Load();
  for (const Case& c : cases) {
    form.LoadControls();
    const std::string held = form.Text(c.field);
    const int beeps = host.beeps;
    form.Text(c.field) = c.text;
    EXPECT_EQ(form.Text_LostFocus(c.field), c.taken) << c.text;
    EXPECT_EQ(host.beeps - beeps, c.taken ? 0 : 1) << c.text;
    EXPECT_EQ(form.Text(c.field), c.taken ? std::string(c.text) : held) << c.text;
  }
  form.LoadControls();
  EXPECT_EQ(form.Text_tStop, "60");
  form.Text_tStart = "100000";
  form.Text_DwellTime = "0,25";
  form.Text_tStep = "0.0005";
  form.Command_Accept();
  EXPECT_EQ(ES().tStart, 100000000);
  EXPECT_FLOAT_EQ(ES().DwellTime, 250);
  EXPECT_EQ(ES().tStep, 0);  // 0.5 ms rounds to even
}

TEST_F(FormExperimentTest, CancelBringsTheHeldValuesBack) {
  Window(0);
  form.Load();
  form.Text_EStart = "33";
  form.Option_Experiment_Click(kExperimentIt);
  form.Check_Window[0] = false;
  form.Combo_Plot[0] = 3;
  form.Check_SaveXY = true;
  EXPECT_TRUE(form.Ctl_Command_Cancel.Enabled);
  form.Command_Cancel();
  EXPECT_EQ(form.Text_EStart, "20");
  EXPECT_EQ(form.Option_Experiment, kExperimentIE);
  EXPECT_EQ(form.Caption, "I(E)-Experiment");
  EXPECT_TRUE(form.Check_Window[0]);
  EXPECT_EQ(form.Combo_Plot[0], 1);
  EXPECT_FALSE(form.Check_SaveXY);
  EXPECT_FALSE(form.Ctl_Command_Accept.Enabled);
  EXPECT_TRUE(form.Ctl_Command_Start[0].Enabled);
}

TEST_F(FormExperimentTest, TriggerListsAndTimers) {
  form.Load();
  form.Command_Accept();
  EXPECT_EQ(host.RunningTimers(), 2u);
  EXPECT_EQ(form.Combo_TriggerModeList[2], "Trigger every Step of Sweep");
  EXPECT_EQ(form.Combo_TriggerSourceList[0], "N/A");  // no I/O
  EXPECT_EQ(form.Combo_TriggerSourceList[6], "File Trigger");
  EXPECT_EQ(form.Label_TriggerStatus, "low");
  form.Combo_TriggerMode = 1;
  form.Combo_TriggerMode_Click();
  form.Combo_TriggerSource = 5;
  form.Combo_TriggerSource_Click();
  EXPECT_EQ(ES().TriggerMode, 1);
  EXPECT_EQ(ES().TriggerSource, 5);
  host.FireTimers();
  EXPECT_EQ(form.Label_TriggerStatus, "low *");
  EXPECT_FALSE(form.AcceptPending());  // the trigger takes effect at once
  WG().ScanWindows[0].BufferBytes = 4;
  WG().ScanWindows[0].Buffer.resize(1);
  form.Unload();
  EXPECT_EQ(host.RunningTimers(), 0u);
  EXPECT_EQ(WG().ScanWindows[0].BufferBytes, 0);
}

TEST_F(FormExperimentTest, SweepFileRangeAndEmpty) {
  const std::string good = host.root + "/good.swp", bad = host.root + "/bad.swp",
                    empty = host.root + "/empty.swp";
  test::WriteFile(good, "20\r\n30,40\n1000\n");
  test::WriteFile(bad, "20\n4.99\n30\n");
  test::WriteFile(empty, "");
  form.Load();
  EXPECT_TRUE(form.OpenSweepFile(good));
  EXPECT_EQ(form.List_Sweep, (std::vector<std::string>{"20", "30", "40", "1000"}));
  EXPECT_EQ(form.Text_File, "good.swp");
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.OpenSweepFile(bad));
  EXPECT_EQ(host.messages.back().text, "Energy[1] = 4.99 eV is out of range");
  EXPECT_EQ(host.messages.back().title, "Open Sweep File");
  EXPECT_TRUE(form.List_Sweep.empty());
  EXPECT_TRUE(form.Text_File.empty());

  host.AnswerFile(empty);
  form.Check_UserSweep = true;
  form.Check_UserSweep_Click();
  EXPECT_FALSE(form.Check_UserSweep);
  EXPECT_FALSE(form.Picture_UserSweep.Visible);

  form.Option_Experiment_Click(kExperimentIt);
  test::WriteFile(bad, "0\n86400\n86400.5\n");
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.OpenSweepFile(bad));
  EXPECT_EQ(host.messages.back().text, "Time[2] = 86400.5 s is out of range");
}

}  // namespace
}  // namespace sv
