// The Auger dialog's run: sheet and plot, buttons, pause and continue, the
// restart question, autosave and the user's settings, on the scripted clock.
#include <gtest/gtest.h>

#include <cstdio>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "plot/plot_documents.h"
#include "worksheet/sheet_plot.h"
#include "experiment/form_auger.h"
#include "plot/form_plot.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

class AugerRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    G().MinEnergyAUGER = 5;
    G().MaxEnergyAUGER = 1000;
    host.tick = 1;
    RegisterPlotDocuments(plots_);
    AugerScanIO io;
    io.setEnergy = [this](float e) {
      energy = e;
      return true;
    };
    io.readAD = [this] {
      ++reads;
      if (onRead) onRead();
      return static_cast<double>(energy) * 0.01;
    };
    form.SetIO(io);
  }
  void TearDown() override {
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    ResetGlobals();
  }

  // Sheet row r + 1 holds the scan's row r (row 0 is the header).
  // One sweep 100 .. 110 by 5 (three points), `iterations` passes.
  void Ramp(const char* iterations) {
    form.Text_Start = "100", form.Text_Stop = "110", form.Text_Step = "5", form.Text_IntTime = "0.002";
    ASSERT_TRUE(form.AddSweep());
    form.Text_Iterations = iterations;
    ASSERT_TRUE(form.AcceptGeneral());
  }
  double Y(long row) {
    double v = -1;
    form.Worksheet()->NumberAt(row, 2, v);
    return v;
  }

  test::ScriptedHost host;
  MDIForm_Main plots_;  // only for the plot factory
  Form_Auger form;
  float energy = 0;
  long reads = 0;
  std::function<void()> onRead;
};

TEST_F(AugerRunTest, RunFillsSheetAndPlotAndRestoresButtons) {
  Ramp("2");
  form.Check_ReverseScaling = true;
  form.StartScan();
  ASSERT_NE(form.Worksheet(), nullptr);
  ASSERT_NE(form.Plot(), nullptr);
  EXPECT_FALSE(form.Running());
  EXPECT_TRUE(form.Command_Start);
  EXPECT_FALSE(form.Command_Stop || form.Command_Continue || form.Command_Abort);
  EXPECT_EQ(form.Scan()->Iteration(), 2);
  Form_Worksheet& sheet = *form.Worksheet();
  sheet.Col(1);
  EXPECT_EQ(sheet.ColLabel(), "energy (eV)");
  sheet.Col(2);
  EXPECT_EQ(sheet.ColLabel(), "AES (V/eV)");
  double x = 0;
  ASSERT_TRUE(sheet.NumberAt(3, 1, x));
  EXPECT_DOUBLE_EQ(x, 110);
  EXPECT_NEAR(Y(3), 1.1, 1e-5);  // two passes averaged
  Form_Plot& plot = *form.Plot();
  EXPECT_EQ(plot.XLabelText(), "energy (eV)");
  EXPECT_GT(plot.XAxis.From, plot.XAxis.To);  // reversed: high energy on the left
}

TEST_F(AugerRunTest, PauseContinueAndAbort) {
  Ramp("1");
  onRead = [this] {
    if (reads == 2) form.StopScan();
  };
  form.StartScan();
  EXPECT_TRUE(form.Paused());
  EXPECT_TRUE(form.Command_Continue);
  EXPECT_TRUE(form.Command_Abort);
  EXPECT_FALSE(form.Command_Start);
  // Editing during the pause asks first; No keeps the pause.
  host.Answer(MsgResult::No);
  EXPECT_FALSE(form.MayEdit());
  EXPECT_TRUE(form.Paused());
  onRead = nullptr;
  form.ContinueScan();
  EXPECT_FALSE(form.Paused());
  EXPECT_EQ(form.Scan()->Iteration(), 1);
  EXPECT_NEAR(Y(2), 1.05, 1e-5);

  // A restart asks; an abort during the first reading leaves the rest unread.
  onRead = [this] { form.AbortScan(); };
  const long before = reads;
  host.Answer(MsgResult::Yes);
  form.StartScan();
  EXPECT_EQ(reads, before + 1);
  EXPECT_FALSE(form.Running() || form.Paused());
  EXPECT_TRUE(form.Command_Start);
}

TEST_F(AugerRunTest, NoSweepsNoRun) {
  host.Answer(MsgResult::OK);
  form.StartScan();
  EXPECT_EQ(reads, 0);
  EXPECT_EQ(form.Worksheet(), nullptr);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "Auger");
}

TEST_F(AugerRunTest, AutoSaveSettingsAndCloseQuestion) {
  Ramp("1");
  G().SheetsPath = ::testing::TempDir();
  form.Check_AutoSave = true;
  form.Derivative = true;
  form.StartScan();
  ASSERT_FALSE(form.LastSaved.empty());
  EXPECT_NE(form.LastSaved.find("/AES_"), std::string::npos);
  EXPECT_NE(form.Label_Status.find(" Records saved to "), std::string::npos);
  std::remove(form.LastSaved.c_str());
  // The derivative leaves the first row empty.
  double v = 0;
  EXPECT_FALSE(form.Worksheet()->NumberAt(1, 2, v));
  EXPECT_NEAR(Y(2), 0.01, 1e-5);

  // A changed ramp asks on close; Cancel keeps the form open.
  host.Answer(MsgResult::Cancel);
  EXPECT_FALSE(form.QueryUnload());
  host.Answer(MsgResult::No);
  EXPECT_TRUE(form.QueryUnload());
  Form_Auger other;
  other.LoadSettings();
  EXPECT_TRUE(other.Derivative);
  EXPECT_FALSE(other.Check_ReverseScaling);
}

}  // namespace
}  // namespace sv
