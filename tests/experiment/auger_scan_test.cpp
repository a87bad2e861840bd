// The Auger scan's loop on the scripted host's clock.
#include <gtest/gtest.h>

#include <map>

#include "experiment/auger_scan.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

AugerSweep Sweep(float from, float to, float step, float intTime = 0.002f) {
  AugerSweep s;
  s.From = from, s.To = to, s.Step = step;
  s.IntTime[0] = s.IntTime[1] = s.IntTime[2] = intTime;
  return s;
}

struct Row {
  double x, y;
};

class AugerScanTest : public ::testing::Test {
 protected:
  void SetUp() override { host.tick = 1; }

  AugerScanIO IO() {
    AugerScanIO io;
    io.setEnergy = [this](float e) {
      energy = e;
      set.push_back(e);
      return true;
    };
    io.readAD = [this] {
      ++reads;
      return signal(energy);
    };
    io.setRow = [this](long row, double x, double y) { rows[row] = {x, y}; };
    io.sweepEnded = [this](int it, int sw) { ended.push_back(it * 100 + sw); };
    return io;
  }

  test::ScriptedHost host;
  float energy = 0;
  std::vector<float> set;
  std::vector<int> ended;
  std::map<long, Row> rows;
  long reads = 0;
  std::function<double(float)> signal = [](float e) { return e; };
};

std::vector<float> Energies(const AugerScan& scan) {
  std::vector<float> e;
  for (const AugerPoint& p : scan.Points()) e.push_back(p.Energy);
  return e;
}

TEST_F(AugerScanTest, RisingAndFallingSweepsNeverPassTo) {
  AugerRamp ramp;
  // The falling sweep walks down by |Step| whatever the sign in the file;
  // a step larger than its sweep gives one point at From.
  ramp.Sweeps = {Sweep(100, 101, 0.5f), Sweep(105, 103.9f, -0.5f), Sweep(200, 210, 50)};
  AugerScan scan(ramp, false, IO());
  std::string message;
  ASSERT_TRUE(scan.Init(message));
  EXPECT_EQ(set, std::vector<float>{100});
  ASSERT_EQ(scan.Do(true), AugerScan::End::Done);
  EXPECT_EQ(Energies(scan), (std::vector<float>{100, 100.5f, 101, 105, 104.5f, 104, 200}));
  ASSERT_EQ(rows.size(), 7u);
  EXPECT_DOUBLE_EQ(rows[5].x, 104);
  EXPECT_DOUBLE_EQ(rows[5].y, 104);
  EXPECT_EQ(ended, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(scan.Iteration(), 1);
}

TEST_F(AugerScanTest, IterationsAverageIntoTheSameRows) {
  AugerRamp ramp;
  ramp.Iterations = 3;
  ramp.Sweeps = {Sweep(10, 12, 1)};
  int pass = 0;
  signal = [&pass](float e) { return e + 3.0 * pass; };  // 0, 3, 6 above the energy
  AugerScanIO io = IO();
  io.sweepEnded = [&pass](int, int) { ++pass; };
  AugerScan scan(ramp, false, io);
  ASSERT_EQ(scan.Do(true), AugerScan::End::Done);
  ASSERT_EQ(scan.Points().size(), 3u);
  for (const AugerPoint& p : scan.Points()) EXPECT_EQ(p.Count, 3);
  EXPECT_DOUBLE_EQ(rows[1].y, 11 + 3);
  EXPECT_DOUBLE_EQ(rows[2].x, 12);
}

TEST_F(AugerScanTest, DerivativeRows) {
  AugerRamp ramp;
  // The second sweep starts at the first's last energy: no row there.
  ramp.Sweeps = {Sweep(10, 12, 1), Sweep(12, 14, 2)};
  signal = [](float e) { return double(e) * e; };
  AugerScan scan(ramp, true, IO());
  std::string message;
  ASSERT_TRUE(scan.Init(message));
  ASSERT_EQ(scan.Do(true), AugerScan::End::Done);
  EXPECT_EQ(rows.count(0), 0u);  // the first row stays empty
  EXPECT_EQ(rows.count(3), 0u);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_DOUBLE_EQ(rows[1].x, 10.5);
  EXPECT_DOUBLE_EQ(rows[1].y, 21);   // (121 - 100) / 1
  EXPECT_DOUBLE_EQ(rows[2].y, 23);
  EXPECT_DOUBLE_EQ(rows[4].x, 13);
  EXPECT_DOUBLE_EQ(rows[4].y, 26);   // (196 - 144) / 2
}

TEST_F(AugerScanTest, ReadsForTheIntegrationTime) {
  AugerRamp ramp;
  ramp.Profile = 2;
  ramp.Sweeps = {Sweep(10, 10, 1, 0.02f)};
  ramp.Sweeps[0].IntTime[1] = 0.001f;  // another profile's time is not used
  signal = [this](float) { return double(reads % 2); };  // 1, 0, 1, 0 ...
  AugerScan scan(ramp, false, IO());
  ASSERT_EQ(scan.Do(true), AugerScan::End::Done);
  // Every TimeGetTime moves the clock 1 ms: about one read per 1 ms.
  EXPECT_GE(reads, 10);
  EXPECT_LE(reads, 21);
  EXPECT_NEAR(rows[0].y, 0.5, 0.06);
}

TEST_F(AugerScanTest, AbortInTheDelayReadsNothingMore) {
  AugerRamp ramp;
  ramp.Delay = 1;
  ramp.Sweeps = {Sweep(10, 20, 1)};
  AugerScan scan(ramp, false, IO());
  host.At(host.clock + 1500, [&scan] { scan.Abort(); });  // in the second delay
  EXPECT_EQ(scan.Do(true), AugerScan::End::Aborted);
  EXPECT_EQ(scan.Points().size(), 1u);
  const long before = reads;
  EXPECT_GT(before, 0);
  EXPECT_EQ(scan.Reads(), before);
  EXPECT_GE(scan.RunTimeMs(), 1500u);
  EXPECT_LT(scan.RunTimeMs(), 1600u);
}

TEST_F(AugerScanTest, PauseAndContinueDoTheStepAgain) {
  AugerRamp ramp;
  ramp.Delay = 0.1f;
  ramp.Iterations = 2;
  ramp.Sweeps = {Sweep(10, 13, 1)};
  AugerScan scan(ramp, false, IO());
  host.At(host.clock + 250, [&scan] { scan.Pause(); });
  ASSERT_EQ(scan.Do(true), AugerScan::End::Paused);
  const size_t kept = scan.Points().size();
  EXPECT_GE(kept, 1u);
  EXPECT_LT(kept, 4u);
  ASSERT_EQ(scan.Do(false), AugerScan::End::Done);
  ASSERT_EQ(scan.Points().size(), 4u);
  for (const AugerPoint& p : scan.Points()) EXPECT_EQ(p.Count, 2);  // no step counted twice
  EXPECT_EQ(Energies(scan), (std::vector<float>{10, 11, 12, 13}));
}

TEST_F(AugerScanTest, NoSweepsNoRun) {
  AugerScan scan(AugerRamp(), false, IO());
  std::string message;
  EXPECT_FALSE(scan.Init(message));
  EXPECT_FALSE(message.empty());
  EXPECT_EQ(scan.Do(true), AugerScan::End::Failed);
  EXPECT_EQ(reads, 0);
}

}  // namespace
}  // namespace sv
