// What the run tests start from: a scripted host whose yields can run the
// test's events, a main window with images, sheets and plots, the dummy
// grabber up, and a form with one window on the simulated screen.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/form_window_setup.h"
#include "analysis/scan_lines.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "experiment/experiment_run.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "image/form_camera.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv::test {

// A yield of the loop (DoEvents) runs `onYield` too, so that a test can
// press Stop exactly there.
class RunHost : public ScriptedHost {
 public:
  std::function<void()> onYield;
  void DoEvents() override {
    ScriptedHost::DoEvents();
    if (onYield) {
      auto f = onYield;
      f();
    }
  }
};

class RunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetGrabberGlobals();
    ResetLiveGlobals();
    ResetWindowGlobals();
    ResetLineGlobals();
    ResetHardware();
    ResetExperimentSettings();
    ClearSettingsSections();
    Environment() = StartupEnvironment();
    SetMainForm(&main);
    RegisterImageDocuments(main);
    RegisterWorksheetDocuments(main);
    RegisterPlotDocuments(main);
    RegisterGrabberCommands(main);
    RegisterLiveCommands(main);
    G().SheetsPath = host.root + "/sheets/";
    std::filesystem::create_directories(G().SheetsPath);
    ASSERT_TRUE(StartGrabber("DummyGrb"));
    GB().DummyFramePeriod = 0;  // the run's own waits keep the clock
    ExperimentDoHook() = nullptr;
    RunRowHook() = [this](const RunRow& r) {
      rows.push_back(r);
      if (onRow) onRow(r);
    };
    RunEndHook() = [this](const RunEnd& e) { ends.push_back(e); };
    GrabMode() = 0;
    SetFilmSource(nullptr);
    SetWindowBoard(nullptr);
    StopCode() = 0;
  }
  void TearDown() override {
    RunRowHook() = nullptr;
    RunEndHook() = nullptr;
    SetFilmSource(nullptr);
    SetWindowBoard(nullptr);
    GrabMode() = 0;
    form.ExperimentExit();
    SetMainForm(nullptr);
    ResetLiveGlobals();
    ResetGrabberGlobals();
    ClearSettingsSections();
    Environment() = StartupEnvironment();
    ResetGlobals();
  }

  // Window i on the simulated screen's (0,0) spot, which sits in the middle.
  static ScanWindow& Window(int i, int32_t mode = kModeFixed, int32_t plot = 1) {
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    w.W = 24;
    w.H = 24;
    w.X1 = int32_t(kDummyWidth / 2 - 12 + 40 * i);
    w.Y1 = int32_t(kDummyHeight / 2 - 12);
    w.Mode = mode;
    w.Plot = plot;
    w.Select = 1;
    return w;
  }
  // An I(t) definition: steps every `stepMs`, to `stopMs`.
  void DefineIt(int32_t stepMs, int32_t stopMs) {
    ES().ExperimentType = kExperimentIt;
    ES().tStep = stepMs;
    ES().tStop = stopMs;
    form.LoadControls();
    form.Command_Accept();
  }
  void DefineIE(float from, float to, float step) {
    ES().ExperimentType = kExperimentIE;
    ES().EStart = from;
    ES().EStop = to;
    ES().EStep = step;
    form.LoadControls();
    form.Command_Accept();
  }
  Form_Worksheet& Sheet() { return *form.Worksheet(); }
  // A new sheet; the old one's rows are dropped unsaved.
  void NewSheet() {
    if (form.Worksheet()) host.Answer(MsgResult::No);
    form.Command_New();
  }
  double CellNumber(long row, long col) {
    double v = -1;
    EXPECT_TRUE(Sheet().NumberAt(row, col, v)) << row << "," << col;
    return v;
  }
  std::vector<float> Column(long col) {
    std::vector<float> out;
    for (long r = 1; r < Sheet().Rows(); ++r) out.push_back(float(CellNumber(r, col)));
    return out;
  }

  RunHost host;
  MDIForm_Main main;
  Form_Experiment form;
  std::vector<RunRow> rows;
  std::vector<RunEnd> ends;
  std::function<void(const RunRow&)> onRow;
};

}  // namespace sv::test
