#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "fit/engine_model.h"
#include "fit/fit_engine.h"

namespace sv {
namespace {

using svtest::MakePoints;
using svtest::PeakSpec;
using svtest::RunFit;
using svtest::SetInputs;
using svtest::UsePeakModel;

class FitEngine : public ::testing::Test {
 protected:
  void SetUp() override {
    FitG().Settings = FitSettings{};
    FitG().Run = FitRun{};
    FitG().Points.clear();
  }
  void TearDown() override { FitFreeArrays(); }
  static float Value(int i) { return FitG().Par[size_t(i)].Value; }
  static float Error(int i) { return FitG().Par[size_t(i)].Error; }
  static void ExpectRel(float got, float want, float rel) {
    EXPECT_NEAR(got, want, std::fabs(want) * rel + 1e-4f) << "want " << want;
  }
};

TEST_F(FitEngine, ExactDataGiveTheirParameters) {
  // The sum of squares is absolute: with heights near 1000 the default
  // criteria stop a few hundredths away, so exact data are fitted to the end.
  FitG().Settings.SOSslope = 1e-6f;
  FitG().Settings.minSOS = 1e-9f;
  // A straight line.
  UsePeakModel(0);
  MakePoints(20, 0.0f, 1.0f, 3.0f, 0.5f, {});
  SetInputs({1.0f, 0.0f});
  RunFit();
  // Exact after one step; the next cannot lower the sum any more.
  EXPECT_EQ(FitG().Run.Status, kFitNoDecrease);
  ExpectRel(Value(1), 3.0f, 1e-4f);
  ExpectRel(Value(2), 0.5f, 1e-4f);

  // One Gaussian of height 1000 on a slope.
  UsePeakModel(1);
  MakePoints(200, 0.0f, 0.5f, 10.0f, 0.2f, {{40.0f, 1000.0f, 8.0f}});
  SetInputs({5.0f, 0.1f, 41.0f, 900.0f, 7.0f});
  RunFit();
  EXPECT_EQ(FitG().Run.Status, kFitSmallSOS) << fiterrorStr(FitG().Run.Status);
  EXPECT_EQ(FitG().Run.Iterations, 4);
  const float one[] = {10.0f, 0.2f, 40.0f, 1000.0f, 8.0f};
  for (int i = 1; i <= 5; ++i) ExpectRel(Value(i), one[i - 1], 1e-4f);

  // Two overlapping Lorentzians.
  UsePeakModel(2, true);
  MakePoints(200, 0.0f, 0.5f, 10.0f, 0.2f, {{40.0f, 1000.0f, 8.0f}, {50.0f, 600.0f, 10.0f}}, true);
  SetInputs({5.0f, 0.1f, 41.0f, 900.0f, 7.0f, 49.0f, 500.0f, 11.0f});
  RunFit();
  EXPECT_EQ(FitG().Run.Status, kFitSmallSOS) << fiterrorStr(FitG().Run.Status);
  EXPECT_EQ(FitG().Run.Iterations, 6);
  const float two[] = {10.0f, 0.2f, 40.0f, 1000.0f, 8.0f, 50.0f, 600.0f, 10.0f};
  for (int i = 1; i <= 8; ++i) ExpectRel(Value(i), two[i - 1], 1e-4f);
  EXPECT_LT(FitG().Run.StdDevWith, FitG().Run.StdDevWithout);
}

TEST_F(FitEngine, StartFailuresMakeNoArrays) {
  UsePeakModel(0);
  MakePoints(10, 0.0f, 1.0f, 1.0f, 1.0f, {});
  FitG().Par[1].Link = 0;
  FitG().Par[2].Link = 0;
  const int ticks = RunFit();
  EXPECT_EQ(ticks, 1);
  EXPECT_EQ(FitG().Run.Status, kFitNoPar);
  EXPECT_EQ(fiterrorStr(FitG().Run.Status), "Fit unsuccessful, there is no parameter to fit");
  EXPECT_EQ(FitG().Run.Stage, 2);

  UsePeakModel(0);
  FitG().Points.clear();
  RunFit();
  EXPECT_EQ(FitG().Run.Status, kFitNoData);
  EXPECT_EQ(fiterrorStr(FitG().Run.Status), "Fit unsuccessful, there is no data to fit");
}

TEST_F(FitEngine, SingularJacobians) {
  // More free parameters (5) than points (3).
  UsePeakModel(1);
  MakePoints(3, 0.0f, 1.0f, 1.0f, 1.0f, {});
  SetInputs({1.0f, 1.0f, 1.0f, 1.0f, 1.0f});
  RunFit();
  EXPECT_EQ(FitG().Run.Status, kFitSingular);
  EXPECT_EQ(fiterrorStr(kFitSingular), "Fit unsuccessful, Jacobian matrix is singular");
  EXPECT_EQ(Error(1), 0.0f);  // no errors after a singular Jacobian
  EXPECT_TRUE(FitG().Run.Correlation.empty());

  // A free parameter without influence: a peak of width 0 gives 0 whatever
  // its height.
  UsePeakModel(1);
  MakePoints(20, 0.0f, 1.0f, 1.0f, 1.0f, {});
  SetInputs({0.0f, 0.0f, 5.0f, 0.0f, 0.0f});
  FitG().Par[3].Link = 0;
  FitG().Par[5].Link = 0;  // H free, W fixed at 0: H changes nothing
  RunFit();
  EXPECT_EQ(FitG().Run.Status, kFitSingular);
}

TEST_F(FitEngine, CallLimitWithNineParameters) {
  // Nine cubes, each a Newton step of two thirds from far above its root:
  // the sum of squares falls steadily and never meets a criterion in time.
  auto& g = FitG();
  g.Par = {};
  for (int i = 1; i <= 9; ++i) g.Par[size_t(i)] = {1, "p", 100.0f, 0, 0, 0};
  g.Model.Refresh = nullptr;
  g.Model.Theo = [](int i) {
    const float p = FitG().Par[size_t(i % 9 + 1)].Value;
    return p * p * p;
  };
  g.Points.assign(18, FitPoint{1.0f, 1.0f, 0.0f, 0.0f});
  g.Settings.MaxFun = 100;
  RunFit();
  // The iteration limit is 100 / 10 = 10; each iteration costs ten calls, so
  // the tenth iteration finds the calls used up and does not count.
  EXPECT_EQ(g.Run.Status, kFitTooManyCalls);
  EXPECT_EQ(g.Run.Iterations, 9);
  EXPECT_EQ(g.Run.Calls, 91);
  EXPECT_EQ(g.Run.Damping, 0);
  EXPECT_GT(Error(1), 0.0f);  // errors still come after -2
}

// y = (p - 1)^2 against a target of -1, from p = 0 with a forward step of 4:
// the difference quotient points the wrong way, so every trial is worse.
void UseMisleadingModel() {
  auto& g = FitG();
  g.Par = {};
  g.Par[1] = {1, "p", 0.0f, 0, 0, 0};
  g.Model.Refresh = nullptr;
  g.Model.Theo = [](int) {
    const float d = FitG().Par[1].Value - 1.0f;
    return d * d;
  };
  g.Points.assign(4, FitPoint{-1.0f, 1.0f, 0.0f, 0.0f});
  g.Settings.DiffStep = 4.0f;
}

TEST_F(FitEngine, SmallRadiusSplitsOutOfRadiusFromNoDecrease) {
  // All six halvings are used: the trials are 1, 1/2 .. 1/64 of the step (1).
  UseMisleadingModel();
  FitG().Settings.Dmax = 1e-3f;
  RunFit();
  EXPECT_EQ(FitG().Run.Status, kFitOutOfRadius);
  EXPECT_EQ(FitG().Run.Damping, 6);
  EXPECT_EQ(FitG().Run.Calls, 1 + 1 + 7);
  EXPECT_EQ(FitG().Run.Iterations, 0);
  EXPECT_EQ(Value(1), 0.0f);

  UseMisleadingModel();
  FitG().Settings.Dmax = 0.5f;  // the last trial (1/64) lies inside
  RunFit();
  EXPECT_EQ(FitG().Run.Status, kFitNoDecrease);
  EXPECT_EQ(Value(1), 0.0f);
}

TEST_F(FitEngine, SlopeCriterionInTheFirstIterationKeepsTheStart) {
  UsePeakModel(0);
  std::vector<float> noise(30);
  std::mt19937 gen(7);
  std::normal_distribution<float> nd(0.0f, 0.5f);
  for (auto& v : noise) v = nd(gen);
  MakePoints(30, 0.0f, 1.0f, 2.0f, 1.5f, {}, false, noise);
  // The least-squares line, in double, as the start.
  double sx = 0, sy = 0, sxx = 0, sxy = 0;
  for (const auto& p : FitG().Points) sx += p.X, sy += p.Y, sxx += double(p.X) * p.X, sxy += double(p.X) * p.Y;
  const double n = 30, b = (n * sxy - sx * sy) / (n * sxx - sx * sx), a = (sy - b * sx) / n;
  SetInputs({float(a) + 0.01f, float(b)});
  RunFit();
  EXPECT_EQ(FitG().Run.Status, kFitSlope);
  EXPECT_EQ(FitG().Run.Iterations, 0);
  EXPECT_EQ(Value(1), float(a) + 0.01f);  // not moved by the converging step
  EXPECT_EQ(Value(2), float(b));

  // Errors and correlations of a line: error_i = sqrt(inv(XtX)_ii * SSE / N).
  double sse = 0;
  for (const auto& p : FitG().Points) {
    const double d = p.Y - (double(Value(1)) + double(Value(2)) * p.X);
    sse += d * d;
  }
  const double det = n * sxx - sx * sx;
  EXPECT_NEAR(Error(1), std::sqrt(sxx / det * sse / n), 2e-3 * std::sqrt(sxx / det * sse / n));
  EXPECT_NEAR(Error(2), std::sqrt(n / det * sse / n), 2e-3 * std::sqrt(n / det * sse / n));
  EXPECT_EQ(FitG().Run.Corr(1, 1), 100);
  EXPECT_EQ(FitG().Run.Corr(1, 2), int16_t(std::lround(-100.0 * sx / std::sqrt(n * sxx))));
  EXPECT_EQ(FitG().Run.Corr(2, 1), FitG().Run.Corr(1, 2));
}

TEST_F(FitEngine, TiedAndFixedEntries) {
  UsePeakModel(2);
  std::vector<float> noise(200);
  std::mt19937 gen(3);
  std::normal_distribution<float> nd(0.0f, 2.0f);
  for (auto& v : noise) v = nd(gen);
  MakePoints(200, 0.0f, 0.5f, 10.0f, 0.2f, {{40.0f, 1000.0f, 8.0f}, {60.0f, 600.0f, 8.0f}}, false, noise);
  SetInputs({5.0f, 0.2f, 41.0f, 900.0f, 7.0f, 59.0f, 500.0f, 123.0f});
  FitG().Par[2].Link = 0;   // the slope fixed at 0.2
  FitG().Par[8].Link = -5;  // W2 follows W1 and takes its start
  RunFit();
  ASSERT_GT(FitG().Run.Status, 0) << fiterrorStr(FitG().Run.Status);
  EXPECT_EQ(FitG().Run.NPar, 6);
  EXPECT_EQ(Value(2), 0.2f);
  EXPECT_EQ(Error(2), 0.0f);
  EXPECT_EQ(FitG().Par[8].Input, 7.0f);
  EXPECT_EQ(Value(8), Value(5));
  EXPECT_NEAR(Value(5), 8.0f, 0.05f);
  EXPECT_GT(Error(5), 0.0f);
  EXPECT_EQ(Error(8), 0.0f);
  // Free entries are renumbered and each slot names its entry.
  EXPECT_EQ(FitG().Par[7].Link, 6);
  EXPECT_EQ(FitG().Par[6].Slot, 7);
}

TEST_F(FitEngine, StartRaisesMaxDmpgAndSetsWeights) {
  UsePeakModel(0);
  MakePoints(4, 0.0f, 1.0f, 0.0f, 1.0f, {});  // Y 0, 1, 2, 3
  FitG().Settings.MaxDmpg = 0;
  FitG().Settings.FitWght = 2;
  FitG().Run.StartFlag = true;
  hillefit();
  EXPECT_EQ(FitG().Settings.MaxDmpg, 5);
  EXPECT_EQ(FitG().Points[0].Sigma, 1.0f);
  EXPECT_EQ(FitG().Points[3].Sigma, std::sqrt(3.0f));
  EXPECT_EQ(FitG().Run.Stage, 1);
  EXPECT_EQ(FitG().Run.Calls, 1);
  EXPECT_FALSE(FitG().Run.StartFlag);
}

TEST(FitHouse, SolvesHandWorkedSystems) {
  // Columns [1 0 1], [0 1 1] against [1 2 4]: normal equations
  // [2 1; 1 2] x = [5 6], x = (4/3, 7/3).
  FitMatrix w(2 + 3, 3);
  const float a1[] = {1, 0, 1}, a2[] = {0, 1, 1}, b[] = {1, 2, 4};
  for (int i = 1; i <= 3; ++i) w(1, i) = a1[i - 1], w(2, i) = a2[i - 1], w(3, i) = b[i - 1];
  ASSERT_FALSE(house(2, 3, w));
  EXPECT_NEAR(w(1, 1), 4.0f / 3.0f, 1e-6f);
  EXPECT_NEAR(w(1, 2), 7.0f / 3.0f, 1e-6f);

  // A negative leading element takes a negative alpha; the solution of
  // [-2 0 0], [1 3 4] against [-4 7 9]: x2 = (21 + 36) / 25 = 2.28, x1 = (4 + 2.28)/2.
  FitMatrix v(5, 3);
  const float c1[] = {-2, 0, 0}, c2[] = {1, 3, 4}, d[] = {-4, 7, 9};
  for (int i = 1; i <= 3; ++i) v(1, i) = c1[i - 1], v(2, i) = c2[i - 1], v(3, i) = d[i - 1];
  ASSERT_FALSE(house(2, 3, v));
  EXPECT_LT(v(4, 1), 0.0f);
  EXPECT_NEAR(v(1, 2), 2.28f, 1e-5f);
  EXPECT_NEAR(v(1, 1), (4.0f + 2.28f) / 2.0f, 1e-5f);
}

TEST(FitHouse, SingularCases) {
  FitMatrix fewRows(2 + 3, 2);
  EXPECT_TRUE(house(3, 2, fewRows));  // fewer points than parameters

  FitMatrix zero(2 + 3, 3);
  zero(1, 1) = 1.0f;
  zero(3, 1) = 1.0f;
  EXPECT_TRUE(house(2, 3, zero));  // column 2 all 0

  FitMatrix dependent(2 + 3, 3);
  dependent(1, 1) = 1.0f;
  dependent(2, 1) = 2.0f;  // column 2 is twice column 1
  dependent(3, 2) = 1.0f;
  EXPECT_TRUE(house(2, 3, dependent));
}

TEST(FitMatinv, InvertsWithRowPivoting) {
  FitMatrix a(2, 2);  // A(i, j), i the row
  a(1, 1) = 4, a(1, 2) = 7, a(2, 1) = 2, a(2, 2) = 6;
  ASSERT_FALSE(matinv(2, a));
  EXPECT_NEAR(a(1, 1), 0.6f, 1e-6f);
  EXPECT_NEAR(a(1, 2), -0.7f, 1e-6f);
  EXPECT_NEAR(a(2, 1), -0.2f, 1e-6f);
  EXPECT_NEAR(a(2, 2), 0.4f, 1e-6f);

  // A zero leading pivot needs the swaps undone on the columns.
  FitMatrix p(3, 3);
  p(1, 2) = 2, p(2, 1) = 1, p(3, 3) = 4, p(1, 3) = 1;
  ASSERT_FALSE(matinv(3, p));
  const float want[3][3] = {{0, 1, 0}, {0.5f, 0, -0.125f}, {0, 0, 0.25f}};
  for (int i = 1; i <= 3; ++i)
    for (int j = 1; j <= 3; ++j) EXPECT_NEAR(p(i, j), want[i - 1][j - 1], 1e-6f) << i << "," << j;

  FitMatrix s(2, 2);
  s(1, 1) = 1, s(1, 2) = 2, s(2, 1) = 2, s(2, 2) = 4;
  EXPECT_TRUE(matinv(2, s));
}

}  // namespace
}  // namespace sv
