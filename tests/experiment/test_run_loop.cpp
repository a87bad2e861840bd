// The measuring loop on the dummy grabber, timed by the scripted clock: its
// rows and ends, where it yields, its messages, the start buttons, going on
// after a stop, a new sheet, and what the rest of the workbench sees while it
// runs.
#include <gtest/gtest.h>

#include <cmath>
#include <regex>

#include "core/error_table.h"
#include "experiment/run_journal.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"
#include "image/kernel/test_image.h"
#include "run_fixture.h"

namespace sv {
namespace {

using test::ReadFile;
using test::RunTest;

TEST_F(RunTest, AnItRunStepsOnTheClockAndEndsAtTStop) {
  Window(0);
  DefineIt(100, 1000);
  host.status.clear();
  form.Command_Start(0);

  EXPECT_TRUE(host.messages.empty());
  ASSERT_EQ(Sheet().Rows(), 11);  // ten rows at 0.1 s .. 1 s, never drifting
  const std::vector<float> times = Column(1);
  for (size_t i = 0; i < times.size(); ++i) EXPECT_FLOAT_EQ(float(times[i]), 0.1f * float(i + 1));
  EXPECT_GT(CellNumber(1, 2), 0);  // I.max of the (0,0) spot
  EXPECT_EQ(Sheet().Cols(), 5);
  EXPECT_EQ(form.Text_Time, "1 s");
  EXPECT_EQ(form.Text_Rate, "10.0 Hz (10)");
  EXPECT_EQ(host.LastStatus(), "10 Records");
  EXPECT_NE(std::find(host.status.begin(), host.status.end(), "Initializing..."), host.status.end());
  EXPECT_NE(std::find(host.status.begin(), host.status.end(), "Experiment running..."),
            host.status.end());
  EXPECT_FALSE(form.Running());
  EXPECT_EQ(form.MainCaption, G().AppTitle);
  ASSERT_EQ(rows.size(), 10u);
  EXPECT_EQ(rows.back().row, 10);
  EXPECT_DOUBLE_EQ(rows.back().seconds, 1.0);
  ASSERT_EQ(ends.size(), 1u);
  EXPECT_EQ(ends[0].stopCode, 0);
  EXPECT_EQ(ends[0].rows, 10);
  EXPECT_FALSE(ends[0].saved);
  // The sheet's name: the run's type and the time it began.
  const std::string name = std::filesystem::path(ends[0].sheetPath).filename().string();
  EXPECT_TRUE(std::regex_match(name, std::regex(R"(I\(t\)-Experiment_(\d\d-){5}\d\d\.sht)"))) << name;
  EXPECT_EQ(ends[0].sheetPath, G().SheetsPath + name);
  // Every row went to the journal beside it, which ends with the run.
  std::string error;
  auto journal = ReadJournal(RunJournal::PathFor(ends[0].sheetPath), error);
  ASSERT_TRUE(journal) << error;
  EXPECT_TRUE(journal->ended);
  EXPECT_EQ(journal->stopCode, 0);
  ASSERT_EQ(journal->rows.size(), 10u);
  EXPECT_EQ(journal->rows[3].first, 4);
  EXPECT_FLOAT_EQ(float(journal->rows[3].second[0]), 0.4f);
  EXPECT_EQ(journal->header.columns[0].name, "time (s)");
}

TEST_F(RunTest, AutoSaveWritesTheSheetAndTheJournalGoes) {
  Window(0);
  ES().AutoSave = 1;
  DefineIt(200, 600);
  form.Command_Start(0);
  ASSERT_EQ(ends.size(), 1u);
  EXPECT_TRUE(ends[0].saved);
  EXPECT_TRUE(std::filesystem::exists(ends[0].sheetPath));
  EXPECT_FALSE(std::filesystem::exists(RunJournal::PathFor(ends[0].sheetPath)));
  EXPECT_EQ(host.LastStatus(), "3 Records saved to " + ends[0].sheetPath);
  EXPECT_FALSE(Sheet().Changed());
}

TEST_F(RunTest, TheJournalGoesOnceTheSheetIsSavedOrDiscarded) {
  Window(0);
  DefineIt(200, 400);
  form.Command_Start(0);
  const std::string journal = RunJournal::PathFor(ends.at(0).sheetPath);
  ASSERT_TRUE(std::filesystem::exists(journal));
  form.Timer_ADScan();  // the sheet still holds unsaved rows
  EXPECT_TRUE(std::filesystem::exists(journal));
  ASSERT_EQ(Sheet().SaveWorksheet(host.root + "/kept.sht"), 0);
  form.Timer_ADScan();
  EXPECT_FALSE(std::filesystem::exists(journal));

  // Command_New on unsaved rows: discarded, and the journal goes.
  form.Command_Start(1);  // nothing to go on with? it goes on: tStop passed
  const std::string second = RunJournal::PathFor(ends.back().sheetPath);
  ASSERT_TRUE(std::filesystem::exists(second));
  host.Answer(MsgResult::No);  // don't save
  form.Command_New();
  EXPECT_FALSE(std::filesystem::exists(second));
}

// A finished I(E) run sets the energy back to EStart and the windows home; a
// stopped one leaves both where the last step had them.
TEST_F(RunTest, AFinishedIERunGoesHomeAStoppedOneStays) {
  for (bool stop : {false, true}) {
    SCOPED_TRACE(stop ? "stopped" : "finished");
    NewSheet();
    ResetWindowGlobals();
    ends.clear();
    rows.clear();
    host.messages.clear();
    // A window on spot (1,0), which moves in as the energy rises.
    const SpotPlace at = SpotPosition(1, 0, 40, {kDummyWidth, kDummyHeight});
    ScanWindow& w = Window(0, kModeStopAbs);
    w.X1 = int32_t(std::lround(at.x)) - 12;
    w.Y1 = int32_t(std::lround(at.y)) - 12;
    w.Threshold = 1;
    const int32_t homeX = w.X1 + w.W / 2;
    DefineIE(40, 60, 5);
    int32_t lastX = 0;
    onRow = [&](const RunRow& r) {
      lastX = w.CenterX;
      if (stop && r.row == 3) form.Command_Stop();
    };
    if (stop) host.Answer(MsgResult::OK);
    form.Command_Start(0);
    if (stop) {
      ASSERT_EQ(host.messages.size(), 1u);
      EXPECT_EQ(host.messages[0].text, "Experiment canceled by user");
      EXPECT_EQ(host.messages[0].title, G().AppTitle);
      EXPECT_EQ(host.messages[0].buttons, MsgButtons::OK);
      EXPECT_EQ(rows.size(), 3u);
      EXPECT_FLOAT_EQ(ES().Energy, 50);
      EXPECT_FLOAT_EQ(G().ElectronEnergy, 50);
      EXPECT_EQ(w.CenterX, lastX);
      EXPECT_NE(w.CenterX, homeX);  // the spot drew it in
      EXPECT_EQ(ends.at(0).stopCode, kErrExperimentCanceled);
    } else {
      EXPECT_TRUE(host.messages.empty());
      EXPECT_EQ(Column(1), (std::vector<float>{40, 45, 50, 55, 60}));
      EXPECT_FLOAT_EQ(ES().Energy, 40);
      EXPECT_FLOAT_EQ(G().ElectronEnergy, 40);
      EXPECT_EQ(w.CenterX, homeX);
      EXPECT_NE(lastX, homeX);
    }
    onRow = nullptr;
  }
}

// Stop reaches the loop only where it yields. In a dwell the wait ends at
// once and no test follows: one more row, then the message; unless the
// once-a-second display falls due in that pass, which leaves without a row
// and without a message.
TEST_F(RunTest, AStopInTheDwellGivesOneMoreRowUnlessTheDisplayIsDue) {
  struct Case {
    uint32_t stopAt;  // ms after the start
    size_t rows;
    bool message;
  } cases[] = {
      {150, 0, false},  // first pass: the display is due at once
      {450, 2, true},   // second pass: one more row
  };
  Window(0);
  ES().DwellTime = 300;
  DefineIt(0, 0);  // no end of its own
  for (const Case& c : cases) {
    SCOPED_TRACE(c.stopAt);
    rows.clear();
    host.messages.clear();
    const uint32_t start = host.clock;
    host.At(start + c.stopAt, [this] { form.Command_Stop(); });
    if (c.message) host.Answer(MsgResult::OK);
    form.Command_Start(0);
    EXPECT_EQ(rows.size(), c.rows);
    EXPECT_EQ(Sheet().Rows(), long(c.rows) + 1);
    ASSERT_EQ(host.messages.size(), c.message ? 1u : 0u);
    if (c.message) {
      EXPECT_EQ(host.messages[0].text, "Experiment canceled by user");
    }
    if (c.rows == 2) {
      EXPECT_FLOAT_EQ(float(CellNumber(2, 1)), float(c.stopAt) / 1000.0f);
    }
    EXPECT_EQ(StopCode(), kErrExperimentCanceled);
  }
}

TEST_F(RunTest, AStopAtTheTopOfThePassEndsWithoutARow) {
  Window(0);
  DefineIt(100, 0);
  int yields = 0;
  host.onYield = [&] {
    // Yield 1 is before StopCode is cleared; 2 is the top of the first pass,
    // 3 its display, 4 the top of the second pass.
    if (++yields == 4) StopCode() = kErrExperimentCanceled;
  };
  form.Command_Start(0);
  host.onYield = nullptr;
  EXPECT_EQ(rows.size(), 1u);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(ends.at(0).stopCode, kErrExperimentCanceled);
  EXPECT_EQ(ends.at(0).rows, 1);
}

TEST_F(RunTest, TheStopButtonSetsItsCodeAndYieldsOnce) {
  const int before = host.doEvents;
  form.Command_Stop();
  EXPECT_EQ(StopCode(), kErrExperimentCanceled);
  EXPECT_EQ(host.doEvents, before + 1);
}

// Start gives a fresh start, Continue goes on, Step one step: a fresh one
// while Start is still offered, else one more. An empty sheet always starts
// afresh.
TEST_F(RunTest, TheStartButtonsAndGoingOnAfterAPause) {
  Window(0);
  DefineIt(100, 0);
  EXPECT_TRUE(form.Ctl_Command_Start[0].Enabled);
  EXPECT_FALSE(form.Ctl_Command_Start[1].Enabled);
  form.Command_Start(2);  // 3: a fresh start, one step
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_DOUBLE_EQ(rows[0].seconds, 0.1);
  const uint32_t started = form.StartTime();
  EXPECT_FALSE(form.Ctl_Command_Start[0].Enabled);  // New starts afresh now
  EXPECT_TRUE(form.Ctl_Command_Start[1].Enabled);
  EXPECT_TRUE(form.Ctl_Command_Start[2].Enabled);

  // A long pause shows as a jump in the time: Time counts from the old start.
  host.clock += 5000;
  form.Command_Start(2);  // 2: one more step
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(form.StartTime(), started);
  EXPECT_DOUBLE_EQ(rows[1].seconds, 5.1);
  EXPECT_EQ(Sheet().Rows(), 3);

  // Continue runs until stopped.
  onRow = [this](const RunRow& r) {
    if (r.row == 4) form.Command_Stop();
  };
  host.Answer(MsgResult::OK);
  form.Command_Start(1);
  EXPECT_EQ(Column(1), (std::vector<float>{0.1f, 5.1f, 5.2f, 5.3f}));

  // A sheet without rows: Continue counts as Start.
  onRow = nullptr;
  host.Answer(MsgResult::No);  // the unsaved rows are dropped
  form.Command_New();
  EXPECT_TRUE(form.Ctl_Command_Start[0].Enabled);
  EXPECT_FALSE(form.Ctl_Command_Start[1].Enabled);
  host.clock += 777;
  form.Command_Start(2);
  ASSERT_EQ(rows.size(), 5u);
  EXPECT_DOUBLE_EQ(rows[4].seconds, 0.1);
  EXPECT_NE(form.StartTime(), started);
}

TEST_F(RunTest, MenusAndDocumentsAreClosedWhileRunning) {
  Window(0);
  DefineIt(100, 300);
  main.FindMenu("mnuScan")->enabled = false;  // as it was before the run
  bool checked = false;
  onRow = [&](const RunRow&) {
    if (checked) return;
    checked = true;
    EXPECT_TRUE(form.Running());
    EXPECT_FALSE(main.FindMenu("mnuFile")->enabled);
    EXPECT_FALSE(main.FindToolbar("Toolbar_File")->enabled);
    EXPECT_TRUE(Sheet().Locked());
    EXPECT_TRUE(form.IntensityPlot()->Locked());
    EXPECT_EQ(form.MainCaption, "SV4200 - Experiment running");
    EXPECT_TRUE(form.Ctl_Command_Stop.Enabled);
    EXPECT_FALSE(form.Ctl_Command_Start[0].Enabled);
    EXPECT_FALSE(form.Ctl_Command_Close.Enabled);
    EXPECT_FALSE(form.Ctl_Text_tStop.Enabled);
    EXPECT_FALSE(form.Ctl_TabStrip.Enabled);
    EXPECT_FALSE(PreviewRunning());
    // Buttons pressed in a yield do not start a second run.
    form.Command_Start(0);
    form.Command_New();
  };
  Preview(*PreviewImage(&main));
  form.Command_Start(0);
  EXPECT_TRUE(checked);
  EXPECT_EQ(rows.size(), 3u);
  EXPECT_EQ(ends.size(), 1u);
  EXPECT_TRUE(main.FindMenu("mnuFile")->enabled);
  EXPECT_FALSE(main.FindMenu("mnuScan")->enabled);
  EXPECT_TRUE(main.FindToolbar("Toolbar_File")->enabled);
  EXPECT_FALSE(Sheet().Locked());
  EXPECT_FALSE(form.IntensityPlot()->Locked());
  EXPECT_FALSE(form.Ctl_Command_Stop.Enabled);
  EXPECT_TRUE(form.Ctl_Command_Close.Enabled);
  EXPECT_TRUE(PreviewRunning());  // the live picture is back
}

TEST_F(RunTest, AWindowWithoutABufferStopsTheStart) {
  Window(0);
  DefineIt(100, 300);
  WG().ScanWindows[0].W = 0;  // cannot have a buffer
  host.Answer(MsgResult::OK);
  form.Command_Start(0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Cannot allocate memory");
  EXPECT_EQ(host.messages[0].title, "Error");
  EXPECT_EQ(host.LastStatus(), "");
  EXPECT_FALSE(host.busy);
  EXPECT_TRUE(rows.empty());
  EXPECT_TRUE(ends.empty());
  EXPECT_TRUE(main.FindMenu("mnuFile")->enabled);
}

// The sheet holds 65519 rows: the step that finds it full keeps them all and
// adds none, with the table's text.
TEST_F(RunTest, AFullSheetEndsTheRunWithItsRowsKept) {
  Window(0);
  DefineIt(100, 0);
  form.Command_Start(2);
  Form_Worksheet& sheet = Sheet();
  sheet.Rows(kMaxSheetRows - 1);
  sheet.Row(kMaxSheetRows - 2);  // one row left
  host.Answer(MsgResult::OK);
  form.Command_Start(1);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Max. number of Sheet rows reached");
  EXPECT_EQ(host.messages[0].title, G().AppTitle);
  EXPECT_EQ(sheet.Rows(), kMaxSheetRows);
  EXPECT_EQ(sheet.Row(), kMaxSheetRows - 1);
  EXPECT_EQ(ends.back().stopCode, kErrMaxRows);
  EXPECT_EQ(ends.back().rows, 65519);
  EXPECT_EQ(rows.back().row, 65519);
  std::string error;
  auto journal = ReadJournal(RunJournal::PathFor(ends.back().sheetPath), error);
  ASSERT_TRUE(journal) << error;
  EXPECT_EQ(journal->rows.size(), 65519u);
  EXPECT_EQ(journal->endRows, 65519);
}

TEST_F(RunTest, TheTriggerBoxCancelledEndsWithoutARow) {
  Window(0);
  DefineIt(100, 0);
  ES().TriggerMode = 1;  // at the start of the sweep
  ES().TriggerSource = 4;
  host.Answer(MsgResult::Cancel);
  form.Command_Start(0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "Manual Trigger");
  EXPECT_TRUE(rows.empty());
  EXPECT_EQ(ends.at(0).stopCode, -1);
  EXPECT_FALSE(form.Running());
}

}  // namespace
}  // namespace sv

namespace sv::test {
namespace {

// Points outside an autoscaled plot widen its ranges while the run goes on,
// so that each new point is in sight; without autoscale the ranges stay.
TEST_F(RunTest, AutoscaledPlotsWidenToTakeEachPoint) {
  Window(0);
  DefineIt(100, 3000);  // 30 s of time on an X axis that starts at 0..3 s
  std::vector<std::string> outside;
  onRow = [&](const RunRow& r) {
    Form_Plot* plot = form.IntensityPlot();
    ASSERT_NE(plot, nullptr);
    const double y = CellNumber(r.row, 2);
    const auto& x = plot->XAxis;
    const auto& ya = plot->YAxis;
    if (r.seconds < x.From || r.seconds > x.To || y < ya.From || y > ya.To)
      outside.push_back(std::to_string(r.row));
  };
  form.Command_Start(0);
  EXPECT_TRUE(outside.empty()) << outside.size() << " rows outside, first " << outside[0];

  host.Answer(MsgResult::No);  // don't save
  form.Command_New();
  form.Check_IPlotAutoScale = false;
  Window(0);
  DefineIt(100, 1000);
  form.Command_Accept();
  Form_Plot* plot = form.IntensityPlot();
  ASSERT_NE(plot, nullptr);
  plot->SetYRange(0, 1);
  form.Command_Start(0);
  EXPECT_EQ(plot->YAxis.To, 1.0f);
}

// A field typed in while the loop runs cannot light Accept under it.
TEST_F(RunTest, NoEditCanBeAcceptedWhileRunning) {
  Window(0);
  DefineIt(100, 500);
  bool lit = false;
  host.onYield = [&] {
    form.Text_Change();
    lit = lit || form.Ctl_Command_Accept.Enabled || form.Ctl_Command_Cancel.Enabled;
  };
  form.Command_Start(0);
  host.onYield = nullptr;
  EXPECT_FALSE(lit);
  EXPECT_EQ(Sheet().Rows(), 6);
  form.Text_Change();  // after the run an edit counts again
  EXPECT_TRUE(form.Ctl_Command_Accept.Enabled);
}

}  // namespace
}  // namespace sv::test
