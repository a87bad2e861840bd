// The shared steps of a run on the simulated clock, without a form: when
// the records fall, how a sweep ends, what a stop shows.
#include <gtest/gtest.h>

#include <vector>

#include "core/error_table.h"
#include "experiment/experiment_settings.h"
#include "experiment/run_steps.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class RunStepsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetExperimentSettings();
    ES().TriggerMode = 0;
    hooks.record = [this] {
      times.push_back(time);
      energies.push_back(energy);
      if (onRecord) onRecord();
      return true;
    };
    hooks.stopped = [] { return StopCode() != 0; };
    hooks.stopCode = [] { return int(StopCode()); };
    hooks.setEnergy = [this](float e) { set.push_back(e); };
  }
  void TearDown() override { ResetExperimentSettings(); }
  bool Run() {
    StepState s{host.clock, time, energy, index, nextDisplay};
    return RunSteps(sweep, s, hooks);
  }

  test::ScriptedHost host;
  StepSweep sweep;
  StepHooks hooks;
  int32_t time = 0, nextDisplay = 0;
  float energy = 0;
  int index = 0;
  std::vector<int32_t> times;
  std::vector<float> energies, set;
  std::function<void()> onRecord;
};

// Steps fall on the interval counted from when each was due: a record that
// takes 30 ms does not push the later ones back; the run ends at tStop.
TEST_F(RunStepsTest, TimeStepsKeepTheirGridAndEndAtTStop) {
  sweep.tStep = 100;
  sweep.tStop = 400;
  onRecord = [this] { host.clock += 30; };
  int displays = 0;
  hooks.display = [&displays] { ++displays; };
  EXPECT_TRUE(Run());
  EXPECT_EQ(times, (std::vector<int32_t>{100, 200, 300, 400}));
  EXPECT_EQ(displays, 1);  // at most once a second
  EXPECT_TRUE(set.empty());
}

TEST_F(RunStepsTest, EnergyStepsEndPastTheStopWithTheStartSetAgain) {
  sweep.ie = true;
  sweep.EStart = energy = 20;
  sweep.EStop = 23;
  sweep.EStep = 1.5f;
  EXPECT_TRUE(Run());
  EXPECT_EQ(energies, (std::vector<float>{20, 21.5f, 23}));
  EXPECT_EQ(set, (std::vector<float>{21.5f, 23, 20}));
  EXPECT_EQ(energy, 20);

  // The user list: its entries in turn, the end after the last.
  energies.clear();
  set.clear();
  sweep.userSweep = true;
  sweep.sweepCount = 3;
  hooks.sweepEnergy = [](long i, float& e) {
    e = 50.0f - 10.0f * float(i);
    return true;
  };
  energy = 50;
  index = 0;
  EXPECT_TRUE(Run());
  EXPECT_EQ(energies, (std::vector<float>{50, 40, 30}));
  EXPECT_EQ(set, (std::vector<float>{40, 30}));
  EXPECT_EQ(index, 2);
}

// A stop after a record shows its text, unless the code told its reason
// itself; a failed record and `leave` end the run unended, silently.
TEST_F(RunStepsTest, StopsFailuresAndLimitsEndTheRunUnended) {
  onRecord = [] { StopCode() = int16_t(kErrExperimentCanceled); };
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(Run());
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, ErrorText(kErrExperimentCanceled));
  for (int code : {-1, 1, int(kErrEndOfClip)}) {
    StopCode() = 0;
    times.clear();
    onRecord = [code] { StopCode() = int16_t(code); };
    EXPECT_FALSE(Run());
    EXPECT_EQ(times.size(), 1u);
  }
  EXPECT_EQ(host.messages.size(), 1u);

  StopCode() = 0;
  onRecord = nullptr;
  times.clear();
  int left = 0;
  hooks.leave = [&left] { return ++left == 3; };
  EXPECT_FALSE(Run());
  EXPECT_EQ(times.size(), 3u);
  hooks.leave = nullptr;
  hooks.record = [] { return false; };
  EXPECT_FALSE(Run());
  EXPECT_EQ(host.messages.size(), 1u);
}

}  // namespace
}  // namespace sv
