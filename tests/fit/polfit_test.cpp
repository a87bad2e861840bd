#include "fit/polfit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace sv::test {
namespace {

struct Exact {
  const char* name;
  std::vector<double> c;  // c0, c1, ...
  double from, to;        // the x range of 9 points
};

TEST(PolFit, ExactPolynomialsComeBack) {
  const Exact cases[] = {
      {"parabola about 0", {1.5, -2.0, 0.25}, -3, 3},
      {"downward, late in a run", {-2000.0, 40.0, -0.2}, 95, 105},
      {"one-sided range", {3.0, 0.5, 2.0}, 0, 1},
      {"straight line", {7.0, -0.75}, 10, 20},
      {"constant", {4.25}, -1, 1},
      {"cubic", {1.0, 0.0, -3.0, 0.5}, -2, 4},
  };
  for (const Exact& e : cases) {
    SCOPED_TRACE(e.name);
    const int degree = int(e.c.size()) - 1;
    std::vector<double> x, y;
    for (int i = 0; i < 9; ++i) {
      x.push_back(e.from + (e.to - e.from) * i / 8.0);
      y.push_back(PolyValue(x.back(), degree, e.c));
    }
    std::vector<double> c;
    ASSERT_EQ(PolFit_BAS(x, y, degree, c), 0);
    ASSERT_EQ(c.size(), e.c.size());
    for (size_t k = 0; k < c.size(); ++k) EXPECT_NEAR(c[k], e.c[k], 1e-7 * (1 + std::fabs(e.c[k]))) << k;
    for (double xi : x) EXPECT_NEAR(PolyValue(xi, degree, c), PolyValue(xi, degree, e.c), 1e-8);
  }
}

TEST(PolFit, NoisyParabolaFindsItsVertex) {
  // y = 500 - 3 (t - 812.4)^2 with noise, sampled over 3 s late in a run.
  std::mt19937 gen(42);
  std::normal_distribution<double> noise(0.0, 0.05);
  std::vector<double> t, y;
  for (int i = 0; i <= 60; ++i) {
    t.push_back(811.0 + i * 0.05);
    const double d = t.back() - 812.4;
    y.push_back(500 - 3 * d * d + noise(gen));
  }
  std::vector<double> c;
  ASSERT_EQ(PolFit_BAS(t, y, 2, c), 0);
  EXPECT_NEAR(c[2], -3.0, 0.05);
  const double vertex = -c[1] / (2 * c[2]);
  EXPECT_NEAR(vertex, 812.4, 0.01);
  EXPECT_NEAR(PolyValue(vertex, 2, c), 500.0, 0.05);
}

TEST(PolFit, FailuresLeaveTheCoefficients) {
  struct Bad {
    const char* name;
    std::vector<double> x, y;
    int degree;
  };
  const Bad cases[] = {
      {"all x equal", {2, 2, 2, 2}, {1, 2, 3, 4}, 2},
      {"two distinct x for a parabola", {1, 1, 3, 3}, {0, 1, 0, 1}, 2},
      {"fewer points than terms", {1, 2}, {1, 4}, 2},
      {"negative degree", {1, 2, 3}, {1, 2, 3}, -1},
      {"a value that is not a number", {1, 2, 3}, {1, NAN, 3}, 1},
  };
  for (const Bad& b : cases) {
    SCOPED_TRACE(b.name);
    std::vector<double> c{9, 9, 9};
    EXPECT_NE(PolFit_BAS(b.x, b.y, b.degree, c), 0);
    EXPECT_EQ(c, (std::vector<double>{9, 9, 9}));
  }
  // One point fits a constant.
  std::vector<double> c;
  EXPECT_EQ(PolFit_BAS(std::vector<double>{5}, std::vector<double>{3}, 0, c), 0);
  EXPECT_EQ(c, std::vector<double>{3});
}

}  // namespace
}  // namespace sv::test
