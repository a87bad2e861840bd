#include <gtest/gtest.h>

#include <set>

#include "fit/engine_model.h"
#include "fit/form_fit_status.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

using test::ScriptedHost;

struct StatusRun {
  int builds = 0, redraws = 0, changes = 0, finishes = 0;
  std::unique_ptr<Form_FitStatus> form;
  explicit StatusRun(std::function<void()> build) {
    form = std::make_unique<Form_FitStatus>(Form_FitStatus::Hooks{
        [this, build] {
          ++builds;
          build();
        },
        [this] { ++redraws; }, [this] { ++changes; }, [this] { ++finishes; }});
  }
};

void BuildTwoPeaks() {
  FitG().Settings = FitSettings{};
  svtest::UsePeakModel(2);
  svtest::MakePoints(200, 0.0f, 0.5f, 10.0f, 0.2f, {{40.0f, 1000.0f, 8.0f}, {50.0f, 600.0f, 10.0f}});
  svtest::SetInputs({5.0f, 0.1f, 41.0f, 900.0f, 7.0f, 49.0f, 500.0f, 11.0f});
}

TEST(FitStatus, TicksRunTheFitToItsEnd) {
  ScriptedHost h;
  h.tick = 100;  // each clock read moves 100 ms on
  StatusRun run(BuildTwoPeaks);
  run.form->Form_Load();
  ASSERT_TRUE(run.form->Running());
  EXPECT_EQ(run.builds, 0);  // nothing before the first tick

  std::set<std::string> iterationLabels;
  int ticks = 0;
  while (run.form->Running() && ticks < 100) {
    h.FireTimers();
    ++ticks;
    iterationLabels.insert(run.form->Label_Iterations);
    if (ticks == 1) {
      EXPECT_EQ(run.builds, 1);
      EXPECT_EQ(run.form->Label_Iterations, "0: Iterations");
      EXPECT_EQ(run.form->Label_Calls, "1: Function calls");
      EXPECT_EQ(run.form->Label_Parameters, "8: Parameters");
      EXPECT_EQ(run.form->Label_Data, "200: Data points");
      EXPECT_EQ(run.form->Label_Status, "Fitting ... ");
    }
  }
  EXPECT_EQ(run.builds, 1);
  EXPECT_TRUE(run.form->Finished());
  EXPECT_FALSE(run.form->Failed());
  EXPECT_EQ(run.finishes, 1);
  EXPECT_EQ(h.RunningTimers(), 0u);
  EXPECT_EQ(h.beeps, 0);
  EXPECT_GT(FitG().Run.Status, 0);
  // Start, one iteration a tick (the last, ending one not counted), the
  // errors: the count moved on every counted iteration.
  EXPECT_EQ(ticks, FitG().Run.Iterations + 3);
  EXPECT_EQ(int(iterationLabels.size()), FitG().Run.Iterations + 1);
  EXPECT_EQ(run.redraws, ticks - 1);  // not after the last tick (Stage 0)
  EXPECT_EQ(run.changes, ticks - 1);
  EXPECT_EQ(run.form->ResultText(), "0.1 s");  // one clock read from start to end
  EXPECT_GT(FitG().Par[4].Error, 0.0f);
}

TEST(FitStatus, CancelMidFit) {
  ScriptedHost h;
  StatusRun run(BuildTwoPeaks);
  run.form->Form_Load();
  h.FireTimers();
  h.FireTimers();
  ASSERT_TRUE(run.form->Running());
  run.form->Command_Cancel_Click();
  EXPECT_FALSE(run.form->Running());
  EXPECT_EQ(h.RunningTimers(), 0u);
  EXPECT_TRUE(run.form->Failed());
  EXPECT_EQ(FitG().Run.Status, kFitCanceled);
  EXPECT_EQ(run.form->ResultText(), "Fit Error: Fit canceld by user");
  EXPECT_EQ(run.finishes, 1);
  run.form->Form_Unload();  // closing afterwards changes nothing
  EXPECT_EQ(run.finishes, 1);
  h.FireTimers();
  EXPECT_EQ(run.builds, 1);
}

TEST(FitStatus, FailureBeepsWhenAsked) {
  for (int beep : {1, 0}) {
    ScriptedHost h;
    StatusRun run([beep] {
      BuildTwoPeaks();
      FitG().Settings.Beep = beep;
      for (int i = 1; i <= kFitParMax; ++i) FitG().Par[size_t(i)].Link = 0;
    });
    run.form->Form_Load();
    h.FireTimers();
    EXPECT_TRUE(run.form->Finished());
    EXPECT_EQ(run.form->ResultText(), "Fit Error: Fit unsuccessful, there is no parameter to fit");
    EXPECT_EQ(run.form->Label_Status, "Fit unsuccessful, there is no parameter to fit");
    EXPECT_EQ(h.beeps, beep);
  }
}

TEST(FitStatus, ClosingWhileRunningStopsTheTimer) {
  ScriptedHost h;
  {
    StatusRun run(BuildTwoPeaks);
    run.form->Form_Load();
    h.FireTimers();
  }
  EXPECT_EQ(h.RunningTimers(), 0u);
  EXPECT_EQ(FitG().Run.Stage, 0);
}

}  // namespace
}  // namespace sv
