#include "fit/growth_analysis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace sv::test {
namespace {

// A sine of `period` samples, starting at `phase` radians.
std::vector<float> Sine(int n, double period, double phase = 0, double amp = 1, double dc = 0) {
  std::vector<float> y(n);
  for (int i = 0; i < n; ++i)
    y[i] = float(dc + amp * std::sin(2 * std::numbers::pi * i / period + phase));
  return y;
}

TEST(GrowthStatistics, MeanAndDeviationUndefinedCasesLeaveOutputs) {
  RunningStatistics s;
  float x = 7, y = 8;
  EXPECT_FALSE(s.Mean(x, y));
  s.Add(2, 10);
  EXPECT_FALSE(s.Deviation(x, y));
  EXPECT_EQ(x, 7);
  s.Add(4, 14);
  ASSERT_TRUE(s.Mean(x, y));
  EXPECT_FLOAT_EQ(x, 3);
  EXPECT_FLOAT_EQ(y, 12);
  ASSERT_TRUE(s.Deviation(x, y));
  EXPECT_FLOAT_EQ(x, std::sqrt(2.0f));
  EXPECT_FLOAT_EQ(y, std::sqrt(8.0f));
}

TEST(GrowthData, RangeSwappedUniformStepAndMessages) {
  std::vector<float> t, y;
  for (int i = 0; i < 11; ++i) {
    t.push_back(0.5f * i);
    y.push_back(float(i));
  }
  GrowthData d;
  EXPECT_EQ(SelectGrowthData(t, y, 4.0, 1.0, d), "");
  EXPECT_EQ(d.y.size(), 7u);
  EXPECT_EQ(d.t1, 1.0);
  EXPECT_DOUBLE_EQ(d.dt, 0.5);
  EXPECT_EQ(SelectGrowthData(t, y, 1.0, 2.0, d), "Not enough data selected");
  t[5] = 0;
  EXPECT_EQ(SelectGrowthData(t, y, 0.0, 5.0, d), "Data are not monotonuous");
}

TEST(GrowthMinMax, SineOfKnownPeriodWithAndWithoutParabola) {
  // Period 20.5 samples: the raw extremes sit on whole samples, the
  // parabola finds the true ones between them.
  const double period = 20.5;
  const std::vector<float> y = Sine(200, period, 0.3);
  for (bool fit : {false, true}) {
    SCOPED_TRACE(fit ? "parabola" : "raw");
    const std::vector<Extreme> e = FindExtremes(y, 0.5f, fit);
    ASSERT_GE(e.size(), 15u);
    EXPECT_TRUE(e[0].Maximum);  // the sine rises first
    for (size_t i = 1; i < e.size(); ++i) EXPECT_NE(e[i].Maximum, e[i - 1].Maximum);
    const GrowthResult r = RatesFromExtremes(e, 0.1);
    ASSERT_TRUE(r.Ok) << r.Message;
    EXPECT_NEAR(r.Rate, 1 / (period * 0.1), fit ? 1e-3 : 0.02);
    EXPECT_NE(r.GrowthRate.find(" \xC2\xB1"), std::string::npos);
    EXPECT_NE(r.Tau.find("%"), std::string::npos);
    if (fit) {
      EXPECT_NEAR(e[0].Value, 1.0, 5e-3);
    }
  }
}

TEST(GrowthMinMax, FallingStartLastOfEqualsAndEndOfData) {
  // Falls first; the minimum is a plateau of three equal values, the last wins.
  const std::vector<float> y = {5, 4, 2, 1, 1, 1, 3, 5, 6, 4, 2, 3};
  const std::vector<Extreme> e = FindExtremes(y, 1.5f, false);
  ASSERT_EQ(e.size(), 2u);  // the last minimum meets the end: not recorded
  EXPECT_FALSE(e[0].Maximum);
  EXPECT_EQ(e[0].Index, 5);
  EXPECT_EQ(e[1].Index, 8);
  EXPECT_EQ(e[1].Value, 6);
}

TEST(GrowthMinMax, ThreeExtremesNoneAndTooFew) {
  // Three extremes: one rate, shown without deviation.
  const std::vector<float> y = {0, 2, 4, 2, 0, 2, 4, 2, 0};
  const std::vector<Extreme> e = FindExtremes(y, 1.5f, false);
  ASSERT_EQ(e.size(), 3u);
  GrowthResult r = RatesFromExtremes(e, 0.5);
  ASSERT_TRUE(r.Ok);
  EXPECT_EQ(r.GrowthRate, "0.500");  // 1 / (4 samples * 0.5 s)
  EXPECT_EQ(r.Tau, "2.000");
  // A threshold above the whole range finds nothing.
  EXPECT_TRUE(FindExtremes(y, 10, false).empty());
  r = RatesFromExtremes({}, 0.5);
  EXPECT_FALSE(r.Ok);
  EXPECT_EQ(r.Message, "No Min/Max found. Check Range and Amplidute Threshold Value.");
  // Two extremes give no rate: the mean stays 0.
  r = RatesFromExtremes({e[0], e[1]}, 0.5);
  EXPECT_EQ(r.GrowthRate, "0.000");
  EXPECT_EQ(r.Tau, "Error");
  EXPECT_EQ(r.Message, "Division by Zero");
}

TEST(GrowthFft, PowerOfTwoRecordAndPadding) {
  // 256 samples, 16 periods: the peak is exactly on bin 16.
  const double dt = 0.25;
  FftSpectrum f = FftGrowth(Sine(256, 16, 0, 2, 5), dt);
  ASSERT_TRUE(f.Ok);
  EXPECT_EQ(f.M, 256);
  EXPECT_EQ(f.Status, "FFT: 256 data points expanded to 256 data points.");
  EXPECT_EQ(f.Frequency.size(), 129u);
  EXPECT_NEAR(f.Dc, 5, 1e-4);
  ASSERT_TRUE(f.Result.Ok);
  EXPECT_NEAR(f.Result.Rate, 1 / (16 * dt), 1e-6);
  EXPECT_NEAR(f.Amplitude[16], 2, 1e-3);
  EXPECT_EQ(f.Result.GrowthRate, "0.250");
  EXPECT_EQ(f.Result.Tau, "4.000");
  // 200 samples pad to 256 with the same step: the peak stays near 1 / (16 dt).
  f = FftGrowth(Sine(200, 16), dt);
  EXPECT_EQ(f.M, 256);
  EXPECT_EQ(f.Status, "FFT: 200 data points expanded to 256 data points.");
  EXPECT_NEAR(f.Result.Rate, 0.25, 1 / (256 * dt));
  EXPECT_FALSE(FftGrowth({}, dt).Ok);
}

}  // namespace
}  // namespace sv::test
