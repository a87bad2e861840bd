#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "fit/form_fit.h"

namespace sv {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

void Set(FitState& g, int i, int link, float input, float value, float error = 0) {
  g.Par[size_t(i)].Link = link;
  g.Par[size_t(i)].Input = input;
  g.Par[size_t(i)].Value = value;
  g.Par[size_t(i)].Error = error;
}

// A fixed fit: a free, a fixed and a tied entry, one Lorentzian and one
// Gaussian peak, a result of 0 (no percentage), correlations and deviations.
TEST(FitReportText, FixedFitLineByLine) {
  FitState g;
  for (int i = 1; i <= kFitParMax; ++i) g.Par[size_t(i)].Name = PeakEntryName(i);
  Set(g, 2, 1, 10, 12, 0.5f);
  Set(g, 3, 0, 0.5f, 0.5f);
  Set(g, 4, 1, 50, 50.25f, 0.125f);
  Set(g, 5, 1, 1, 1, 1);
  Set(g, 6, 2, 2, 1, 1);
  Set(g, 7, 0, 1, 1);
  Set(g, 8, 1, 80, 0, 0);
  Set(g, 9, 0, 3, 3);
  Set(g, 10, -6, 2, 1);
  Set(g, 11, 0, 2, 2);
  g.Run.Status = kFitSlope;
  g.Run.NPar = 5;
  g.Run.Correlation.assign(25, 0);
  for (int i = 0; i < 5; ++i) g.Run.Correlation[size_t(i * 5 + i)] = 100;
  g.Run.Correlation[1] = g.Run.Correlation[5] = -37;
  g.Run.StdDevWithout = 12.3456f;
  g.Run.StdDevWith = 0.07f;

  const std::vector<std::string> expected = {
      "Date \t2026-11-24\tTime \t20:45:00",
      "Y = Y0 + m * X + L(1Xc, 1H, 1W) + G(2Xc, 2H, 2W)",
      "Fit converged due to slope criterium",
      "Parameter\tInput\tResult\t+/-Error\t% Error",
      "Y0\t10.000 \t12.000 \t0.500 \t4.167",
      "m\t0.500   = const.\t= const.",
      "1Xc\t50.000 \t50.250 \t0.125 \t0.249",
      "1H\t1.000 \t1.000 \t1.000 \t100.000",
      "1W\t2.000 \t1.000 \t1.000 \t100.000",
      "2Xc\t80.000 \t0.000 \t0.000 \t",
      "2H\t3.000   = const.\t= const.",
      "2W\t2.000 \t1.000 \t= 1W",
      "A1\t3.142 \t1.571 \t4.712 \t300.000",
      "A2\t7.520 \t3.760 \t0.000 \t0.000",
      "",
      "Correlation table (%):",
      "100\t-37\t0\t0\t0",
      "-37\t100\t0\t0\t0",
      "0\t0\t100\t0\t0",
      "0\t0\t0\t100\t0",
      "0\t0\t0\t0\t100",
      "Standard deviation w/o  fit= \t12.346",
      "Standard deviation with fit= \t0.070",
  };
  const std::vector<std::string> got = Lines(FitReport(g, 2, "2026-11-24", "20:45:00"));
  ASSERT_EQ(got.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(got[i], expected[i]) << "line " << i + 1;
  EXPECT_EQ(got[kFitReportHeadLine], "Parameter\tInput\tResult\t+/-Error\t% Error");
}

// A peak without a shape is left out of the formula; a failed fit without
// correlations shows its status and an empty table.
TEST(FitReportText, FailedFitAndShapelessPeak) {
  FitState g;
  for (int i = 1; i <= kFitParMax; ++i) g.Par[size_t(i)].Name = PeakEntryName(i);
  Set(g, 2, 1, 1, 1);
  Set(g, 3, 1, 0, 0);
  g.Run.Status = kFitNoData;
  g.Run.NPar = 2;
  const std::vector<std::string> got = Lines(FitReport(g, 1, "d", "t"));
  ASSERT_GE(got.size(), 12u);
  EXPECT_EQ(got[1], "Y = Y0 + m * X");
  EXPECT_EQ(got[2], "Fit unsuccessful, there is no data to fit");
  EXPECT_EQ(got[5], "m\t0.000 \t0.000 \t0.000 \t");
  EXPECT_EQ(got[9], "A1\t0.000 \t0.000 \t0.000 \t");
  EXPECT_EQ(got[11], "Correlation table (%):");
  EXPECT_EQ(got[12], "Standard deviation w/o  fit= \t0.000");
}

}  // namespace
}  // namespace sv
