#include "image/kernel/test_image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "image/kernel/analysis.h"

namespace sv {
namespace {

const FrameSize kDummy{384, 288};

std::vector<uint16_t> Picture(const TestImageParams& p, FrameSize s = kDummy) {
  std::vector<uint16_t> f(s.Pixels());
  EXPECT_TRUE(SV_test_image(s, f, p));
  return f;
}

TestImageParams At(double energy, double time = 0, uint32_t seed = 1, int noise = 3) {
  TestImageParams p;
  p.Energy = energy;
  p.Time = time;
  p.Seed = seed;
  p.Noise = noise;
  return p;
}

struct Centroid {
  double x = 0, y = 0, mass = 0;
};

// Centroid of the light above the local background in a square around
// (x, y); the background is the mean of the square's border.
Centroid Measure(const std::vector<uint16_t>& f, FrameSize s, double x, double y, long half) {
  const WindowRect r = WindowRect::FromSize(long(std::lround(x)) - half,
                                            long(std::lround(y)) - half, 2 * half + 1,
                                            2 * half + 1);
  AnalysisResult a;
  EXPECT_TRUE(SV_rect16_analysis(r, s, f, 4096, a));
  Centroid c;
  for (long yy = r.Y1; yy <= r.Y2; ++yy)
    for (long xx = r.X1; xx <= r.X2; ++xx) {
      const double v = f[size_t(yy * s.width + xx)] - a.I.back;
      if (v <= 0) continue;
      c.x += v * double(xx);
      c.y += v * double(yy);
      c.mass += v;
    }
  if (c.mass > 0) {
    c.x /= c.mass;
    c.y /= c.mass;
  }
  return c;
}

TEST(TestImage, SpotDistanceScalesAsOneOverRootEnergy) {
  double distance[2];
  const double energies[2] = {50, 200};
  for (int i = 0; i < 2; ++i) {
    const auto f = Picture(At(energies[i]));
    const SpotPlace centre = SpotPosition(0, 0, energies[i], kDummy);
    const SpotPlace first = SpotPosition(1, 0, energies[i], kDummy);
    const Centroid c0 = Measure(f, kDummy, centre.x, centre.y, 10);
    const Centroid c1 = Measure(f, kDummy, first.x, first.y, 10);
    ASSERT_GT(c1.mass, 1000) << energies[i] << " eV";
    // The spot is where SpotPosition says.
    EXPECT_NEAR(c1.x, first.x, 0.5);
    EXPECT_NEAR(c1.y, first.y, 0.5);
    EXPECT_NEAR(c0.x, centre.x, 0.5);
    distance[i] = std::hypot(c1.x - c0.x, c1.y - c0.y);
  }
  EXPECT_NEAR(distance[0] / distance[1], 2.0, 0.02);
  // At 100 eV the first order stands a quarter of the smaller side out.
  EXPECT_DOUBLE_EQ(SpotPosition(1, 0, 100, kDummy).x - SpotPosition(0, 0, 100, kDummy).x, 72.0);
  EXPECT_DOUBLE_EQ(SpotPosition(0, 0, 100, kDummy).x, 191.5);
  EXPECT_DOUBLE_EQ(SpotPosition(-1, 2, 25, kDummy).y - SpotPosition(0, 0, 25, kDummy).y, 288.0);
  EXPECT_TRUE(std::isnan(SpotPosition(1, 0, 0, kDummy).x));
  EXPECT_TRUE(std::isnan(SpotPosition(1, 0, -3, kDummy).y));
}

TEST(TestImage, SameInputsSameBytesAndTheSeedOnlyMovesTheNoise) {
  const auto a = Picture(At(120, 3.5, 7));
  EXPECT_EQ(a, Picture(At(120, 3.5, 7)));
  const auto b = Picture(At(120, 3.5, 8));
  size_t differ = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    differ += a[i] != b[i];
    ASSERT_LE(std::abs(int(a[i]) - int(b[i])), 6) << i;
  }
  EXPECT_GT(differ, a.size() / 2);
  // Without noise the seed does not matter.
  EXPECT_EQ(Picture(At(120, 3.5, 7, 0)), Picture(At(120, 3.5, 8, 0)));
  // Energy and time do.
  EXPECT_NE(a, Picture(At(121, 3.5, 7)));
  EXPECT_NE(a, Picture(At(120, 4.5, 7)));
}

TEST(TestImage, CentralSpotOscillatesWithATwentySecondPeriod) {
  std::vector<int> v;
  for (int t = 0; t <= 60; ++t) {
    const auto f = Picture(At(100, t, 1, 0));
    v.push_back(f[size_t(143 * kDummy.width + 191)]);
  }
  auto arg = [&](int from, int to, bool most) {
    int best = from;
    for (int t = from; t <= to; ++t)
      if (most ? v[size_t(t)] > v[size_t(best)] : v[size_t(t)] < v[size_t(best)]) best = t;
    return best;
  };
  EXPECT_EQ(arg(0, 15, true), 0);
  EXPECT_EQ(arg(0, 20, false), 10);
  EXPECT_EQ(arg(10, 30, true), 20);
  EXPECT_EQ(arg(20, 40, false), 30);
  EXPECT_EQ(arg(30, 50, true), 40);
  // Damped: each maximum lower, each minimum higher than the one before.
  EXPECT_LT(v[20], v[0]);
  EXPECT_LT(v[40], v[20]);
  EXPECT_GT(v[30], v[10]);
  EXPECT_GT(v[50], v[30]);
  EXPECT_GT(v[0] - v[10], 200);
}

// Light of spot (h, k) above its background, summed over its square.
double SpotLight(int h, int k, double energy) {
  const auto f = Picture(At(energy, 0, 1, 0));
  const SpotPlace p = SpotPosition(h, k, energy, kDummy);
  const Centroid c = Measure(f, kDummy, p.x, p.y, 10);
  return c.mass;
}

std::vector<int> Maxima(int h, int k) {
  std::vector<double> curve;
  for (int e = 80; e <= 500; e += 10) curve.push_back(SpotLight(h, k, e));
  std::vector<int> at;
  for (size_t i = 1; i + 1 < curve.size(); ++i)
    if (curve[i] > curve[i - 1] && curve[i] >= curve[i + 1]) at.push_back(80 + 10 * int(i));
  return at;
}

TEST(TestImage, SpotIntensitiesRiseAndFallWithEnergyPerOrder) {
  const std::vector<int> first = Maxima(1, 0), second = Maxima(1, 1);
  ASSERT_GE(first.size(), 2u);
  ASSERT_GE(second.size(), 2u);
  // Different orders peak at different energies.
  EXPECT_GE(std::abs(first[0] - second[0]), 10);
  // Equivalent spots are alike.
  EXPECT_NEAR(SpotLight(0, 1, 150), SpotLight(1, 0, 150), 0.02 * SpotLight(1, 0, 150));
}

TEST(TestImage, DarkOutsideTheScreenAndTheBackgroundFallsWithEnergy) {
  const auto low = Picture(At(50, 0, 1, 0)), high = Picture(At(400, 0, 1, 0));
  EXPECT_EQ(low[0], 0);
  EXPECT_EQ(high[size_t(kDummy.Pixels() - 1)], 0);
  // Half a lattice step of 50 eV off both axes: between spots at either energy.
  const SpotPlace c = SpotPosition(0, 0, 50, kDummy), s = SpotPosition(1, 1, 50, kDummy);
  const size_t at = size_t(std::lround((c.y + s.y) / 2) * kDummy.width + std::lround((c.x + s.x) / 2));
  EXPECT_GT(low[at], 100);
  EXPECT_LT(high[at], low[at] / 2);
  // With noise the dark level sits at the noise amplitude, never below 0.
  const auto noisy = Picture(At(50, 0, 5, 3));
  EXPECT_LE(noisy[0], 6);
}

TEST(TestImage, BitsLimitTheSamplesAndColourIsPhosphorGreen) {
  TestImageParams p = At(108);  // a Bragg peak of the (0,0) spot
  p.Bits = 8;
  const auto grey = Picture(p);
  uint16_t most = 0;
  for (uint16_t v : grey) most = std::max(most, v);
  EXPECT_LE(most, 255);
  EXPECT_GE(most, 150);

  std::vector<uint16_t> rgb(kDummy.Samples(3));
  ASSERT_TRUE(SV_RGB_test_image(kDummy, rgb, p));
  for (size_t i = 0; i < grey.size(); ++i) {
    ASSERT_EQ(rgb[3 * i + 1], grey[i]);
    ASSERT_NEAR(rgb[3 * i], grey[i] * 0.3, 1.0);
    ASSERT_NEAR(rgb[3 * i + 2], grey[i] * 0.45, 1.0);
  }
}

TEST(TestImage, BadParametersAreRefusedAndTouchNothing) {
  std::vector<uint16_t> f(kDummy.Pixels(), 0xABCD);
  for (double e : {0.0, -10.0, std::nan(""), double(INFINITY)}) EXPECT_FALSE(SV_test_image(kDummy, f, At(e)));
  auto bits = [](int b) {
    TestImageParams p = At(100);
    p.Bits = b;
    return p;
  };
  for (const TestImageParams& p : {bits(17), bits(0), At(100, 0, 1, -1), At(100, std::nan(""))})
    EXPECT_FALSE(SV_test_image(kDummy, f, p));
  EXPECT_FALSE(SV_test_image({384, 289}, f, At(100)));
  EXPECT_FALSE(SV_test_image({0, 288}, f, At(100)));
  EXPECT_FALSE(SV_RGB_test_image(kDummy, f, At(100)));
  for (uint16_t v : f) ASSERT_EQ(v, 0xABCD);
  // Tiny frames are fine.
  std::vector<uint16_t> one(1);
  EXPECT_TRUE(SV_test_image({1, 1}, one, At(100)));
}

}  // namespace
}  // namespace sv
