// The extremum detector on synthetic curves and on the simulated camera's
// oscillating spot, and the per-step check that closes the shutter.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "core/globals.h"
#include "experiment/shutter.h"
#include "experiment/soft_trigger.h"
#include "hardware/hardware.h"
#include "image/kernel/test_image.h"
#include "support/scripted_host.h"

namespace sv::test {
namespace {

constexpr double kPi = 3.14159265358979323846;

class SoftTriggerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetHardware();
    ShutterControlRecord& sc = HW().ShutterControl;
    sc.ShutterEnabled = 1;
    sc.ShutterWindow = 2;
    sc.Hysterese = 10;
    sc.MinTimeRange = 1;
    sc.Cycles = 1;
  }
  void TearDown() override {
    ResetHardware();
    ResetGlobals();
  }

  ScriptedHost host;
};

// 100 + 50 sin(2 pi t / 20): maxima at 5, 25, 45 s, minima at 15, 35, 55 s.
float Sine(float t) { return float(100 + 50 * std::sin(2 * kPi * t / 20)); }

TEST_F(SoftTriggerTest, MaximaAndMinimaOfASineAreFoundOncePerPeriod) {
  struct Case {
    int source;
    std::vector<float> extrema;
    float value;
  };
  const Case cases[] = {{0, {5, 25, 45}, 150}, {1, {15, 35, 55}, 50}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.source);
    HW().ShutterControl.TriggerSource = c.source;
    HW().ShutterControl.Cycles = 100;  // count only
    Class_SoftTrigger detector;
    std::vector<float> counted, intensities;
    for (int i = 0; i <= 600; ++i) {
      const float t = float(i) * 0.1f;
      const float pending = detector.TriggerTime, level = detector.TriggerIntensity;
      const int32_t before = HW().ShutterControl.CycleCount;
      ShutterStep(detector, t);
      if (HW().ShutterControl.CycleCount != before) {
        counted.push_back(pending);
        intensities.push_back(level);
      }
      ShutterFeed(detector, 2, t, Sine(t));
    }
    ASSERT_EQ(counted.size(), c.extrema.size());
    for (size_t k = 0; k < counted.size(); ++k) {
      EXPECT_NEAR(counted[k], c.extrema[k], 0.3) << k;
      EXPECT_NEAR(intensities[k], c.value, 1.0) << k;
    }
  }
}

TEST_F(SoftTriggerTest, FlatCurvesNeverTrigger) {
  const std::function<float(float)> curves[] = {
      [](float) { return 100.0f; },
      // A swing below twice the hysteresis.
      [](float t) { return float(100 + 9 * std::sin(2 * kPi * t / 20)); },
  };
  for (int source : {0, 1}) {
    HW().ShutterControl.TriggerSource = source;
    for (const auto& curve : curves) {
      Class_SoftTrigger detector;
      for (int i = 0; i <= 600; ++i) {
        const float t = float(i) * 0.1f;
        EXPECT_FALSE(detector.SoftTrigger(t, curve(t))) << t;
      }
      EXPECT_EQ(detector.TriggerTime, 0);
    }
  }
}

TEST_F(SoftTriggerTest, APeakIsFittedOnlyOnceItsPointsSpanTheTimeRange) {
  // 10 - 4 (t - 0.6)^2 at the top, after a rise from 0.
  ShutterControlRecord& sc = HW().ShutterControl;
  sc.Hysterese = 1.5f;
  sc.MinTimeRange = 1.0f;
  auto top = [](float t) { return 10 - 4 * (t - 0.6f) * (t - 0.6f); };
  Class_SoftTrigger detector;
  EXPECT_FALSE(detector.SoftTrigger(0.0f, 0));
  EXPECT_FALSE(detector.SoftTrigger(0.1f, 4));
  // Three points near the top, 0.2 s apart: no fit.
  for (float t : {0.2f, 0.3f, 0.4f}) EXPECT_FALSE(detector.SoftTrigger(t, top(t))) << t;
  EXPECT_FALSE(detector.SoftTrigger(0.6f, top(0.6f)));
  EXPECT_FALSE(detector.SoftTrigger(0.9f, top(0.9f)));
  // Past the top but within the hysteresis, 1 s after the first top point.
  EXPECT_TRUE(detector.SoftTrigger(1.2f, top(1.2f)));
  EXPECT_NEAR(detector.TriggerTime, 0.6f, 1e-3);
  EXPECT_NEAR(detector.TriggerIntensity, 10.0f, 1e-3);
  // Without a time range the same three points are enough.
  sc.MinTimeRange = 0;
  Class_SoftTrigger quick;
  quick.SoftTrigger(0.0f, 0);
  quick.SoftTrigger(0.1f, 4);
  EXPECT_FALSE(quick.SoftTrigger(0.2f, top(0.2f)));
  EXPECT_FALSE(quick.SoftTrigger(0.3f, top(0.3f)));
  EXPECT_TRUE(quick.SoftTrigger(0.4f, top(0.4f)));
  EXPECT_NEAR(quick.TriggerTime, 0.6f, 1e-2);
}

TEST_F(SoftTriggerTest, ResetAndGrowth) {
  HW().ShutterControl.TriggerSource = 1;
  Class_SoftTrigger detector;
  EXPECT_EQ(detector.Count, -1);
  EXPECT_EQ(detector.Capacity, -1);
  EXPECT_EQ(detector.Direction, -1);  // a minimum is looked for
  HW().ShutterControl.TriggerSource = 0;
  detector.Reset();
  EXPECT_EQ(detector.Direction, 1);
  // A steady rise gathers every point; the arrays grow by 100, keeping them.
  for (int i = 0; i < 101; ++i) detector.SoftTrigger(float(i), float(i));
  EXPECT_EQ(detector.Count, 100);
  EXPECT_EQ(detector.Capacity, 200);
  ASSERT_GE(detector.Times.size(), 101u);
  EXPECT_EQ(detector.Times[0], 0);
  EXPECT_EQ(detector.Values[57], 57);
  // While a maximum is looked for, a falling stretch keeps no points.
  detector.Reset();
  detector.SoftTrigger(0, 100);
  detector.SoftTrigger(1, 50);  // turns to falling
  for (int i = 2; i < 6; ++i) detector.SoftTrigger(float(i), 50 - float(i));
  EXPECT_EQ(detector.Direction, -1);
  EXPECT_EQ(detector.Count, 0);
}

TEST_F(SoftTriggerTest, TheStepCountsPastExtremaAndClosesAtCycles) {
  std::string io = "DummyIO";
  ASSERT_TRUE(IOStart(io));
  ShutterControlRecord& sc = HW().ShutterControl;
  sc.Cycles = 2;
  Class_SoftTrigger detector;
  struct Step {
    float trigger;  // TriggerTime set before the step; -1 keeps the detector's
    float now;
    int32_t count;  // CycleCount after
    bool closed;
  };
  const Step steps[] = {
      {0, 10, 0, false},       // nothing found
      {12, 10, 0, false},      // found, but in the future
      {-1, 12, 1, false},      // now it is due: counted
      {9.5f, 13, 0, true},     // in the past: counted, second cycle closes
      {20, 20, 1, false},      // at the present: counted
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(s.now);
    ShutterOpen();
    if (s.trigger >= 0) detector.TriggerTime = s.trigger;
    const float before = detector.TriggerTime;
    EXPECT_EQ(ShutterStep(detector, s.now), s.closed);
    EXPECT_EQ(sc.CycleCount, s.count);
    EXPECT_EQ(ShutterIsOpen(), !s.closed);
    // The detector starts over whenever something was counted.
    const bool counted = before > 0 && before <= s.now;
    EXPECT_EQ(detector.TriggerTime, counted ? 0 : before);
  }
  // With the shutter logic off nothing is counted or fed.
  sc.ShutterEnabled = 0;
  detector.TriggerTime = 5;
  EXPECT_FALSE(ShutterStep(detector, 30));
  EXPECT_EQ(detector.TriggerTime, 5);
  EXPECT_FALSE(ShutterFeed(detector, 2, 31, 1));
  EXPECT_EQ(detector.Count, -1);
  // A window other than the watched one is not fed.
  sc.ShutterEnabled = 1;
  ShutterFeed(detector, 1, 31, 1);
  EXPECT_EQ(detector.Count, -1);
  ShutterFeed(detector, 2, 31, 1);
  EXPECT_EQ(detector.Count, 0);
  IOStop();
}

TEST_F(SoftTriggerTest, TheSimulatedSpotClosesTheShutterAfterItsCycles) {
  // The maximum of a small window on the (0,0) spot of the simulated screen,
  // one frame every 0.25 s.
  const FrameSize size{256, 192};
  const SpotPlace spot = SpotPosition(0, 0, 100, size);
  std::vector<uint16_t> frame(size_t(size.width) * size_t(size.height));
  auto iMax = [&](float t, uint32_t seed) {
    TestImageParams p;
    p.Energy = 100;
    p.Time = t;
    p.Seed = seed;
    EXPECT_TRUE(SV_test_image(size, frame, p));
    uint16_t m = 0;
    for (int y = int(spot.y) - 4; y <= int(spot.y) + 4; ++y)
      for (int x = int(spot.x) - 4; x <= int(spot.x) + 4; ++x)
        m = std::max(m, frame[size_t(y) * size_t(size.width) + size_t(x)]);
    return float(m);
  };
  std::vector<float> t, y;
  for (int i = 0; i <= 280; ++i) {
    t.push_back(float(i) * 0.25f);
    y.push_back(iMax(t.back(), uint32_t(i + 1)));
  }
  const auto [lo, hi] = std::minmax_element(y.begin(), y.end());
  ASSERT_GT(*hi - *lo, 50) << "the spot does not oscillate";
  std::string io = "DummyIO";
  ASSERT_TRUE(IOStart(io));
  ShutterControlRecord& sc = HW().ShutterControl;
  sc.Hysterese = 0.1f * (*hi - *lo);
  sc.Cycles = 3;
  Class_SoftTrigger detector;
  ShutterRunStart(detector);
  std::vector<float> counted;
  float closedAt = -1;
  for (size_t i = 0; i < t.size(); ++i) {
    if (closedAt < 0) ShutterOpen();
    const float pending = detector.TriggerTime;
    const int32_t before = sc.CycleCount;
    if (ShutterStep(detector, t[i])) closedAt = t[i];
    if (sc.CycleCount != before || closedAt == t[i]) counted.push_back(pending);
    ShutterFeed(detector, 2, t[i], y[i]);
  }
  // One maximum a period; the third closes the shutter.
  ASSERT_GE(counted.size(), 3u);
  for (size_t k = 1; k < counted.size(); ++k)
    EXPECT_NEAR(counted[k] - counted[k - 1], kTestImageGrowthPeriod, 1.5) << k;
  EXPECT_GE(closedAt, counted[2]);
  EXPECT_LE(closedAt, counted[2] + 2);
  EXPECT_FALSE(ShutterIsOpen());
  IOStop();
}

}  // namespace
}  // namespace sv::test
