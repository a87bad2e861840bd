#include "fit/rfactor.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

const std::vector<float> kE{0, 1, 2, 3, 4};
const std::vector<float> kA{1, 2, 4, 3, 2};
const std::vector<float> kB{2, 2, 3, 3, 1};

TEST(RFactor, PendryAndR2ByHandOnFivePoints) {
  RFactorSettings s;
  RFactorValue p = RFactorAligned(kE, kA, kB, s);
  ASSERT_EQ(p.error, 0);
  EXPECT_NEAR(p.value, 0.4495618367311376, 1e-6);
  EXPECT_EQ(p.counted, 5);
  EXPECT_DOUBLE_EQ(p.span, 4.0);
  s.pendry = false;
  RFactorValue r2 = RFactorAligned({}, kA, kB, s);
  ASSERT_EQ(r2.error, 0);
  EXPECT_NEAR(r2.value, 3.0 / 61.0, 1e-9);  // raw intensities, no scaling
  // A curve against itself.
  EXPECT_EQ(RFactorAligned(kE, kA, kA, RFactorSettings{}).value, 0.0);
}

TEST(RFactor, ThresholdGapsAndEqualEnergies) {
  RFactorSettings s;
  // The point at zero is skipped; the next derivative spans E 0 .. 2.
  const std::vector<float> a{1, 0, 4, 3, 2};
  RFactorValue g = RFactorAligned(kE, a, kB, s);
  ASSERT_EQ(g.error, 0);
  EXPECT_EQ(g.counted, 4);
  EXPECT_NEAR(g.value, 0.3565152575025026, 1e-6);
  // Both curves under the threshold of the larger one: nothing to compare.
  s.threshold = 0.9f;
  EXPECT_EQ(RFactorAligned(kE, std::vector<float>{1, 1, 1, 1, 1}, std::vector<float>{1, 1, 1, 1, 1.2f}, s).error,
            kRFactorNothing);
  // Two equal energies in a row add nothing and do not divide by zero.
  s.threshold = 0.01f;
  const std::vector<float> e{0, 1, 1, 2, 3};
  RFactorValue q = RFactorAligned(e, kA, kB, s);
  EXPECT_EQ(q.error, 0);
  EXPECT_TRUE(std::isfinite(q.value));
}

TEST(RFactor, SmoothingKeepsTheEnds) {
  std::vector<float> y{0, 4, 0, 4, 0};
  SmoothCurve(y, 0);
  EXPECT_EQ(y, (std::vector<float>{0, 4, 0, 4, 0}));
  SmoothCurve(y, 1);
  EXPECT_EQ(y, (std::vector<float>{0, 2, 2, 2, 0}));
  SmoothCurve(y, 1);  // reads the previous pass's copy, not values just written
  EXPECT_EQ(y, (std::vector<float>{0, 1.5f, 2, 1.5f, 0}));
}

TEST(RFactor, SheetColumnsErrorsAndRange) {
  test::ScriptedHost host;
  Form_Worksheet sheet;
  sheet.Cols(4);
  sheet.Rows(6);
  for (long r = 1; r <= 5; ++r) {
    sheet.TextMatrix(r, 3, Cell(kE[r - 1]));
    sheet.TextMatrix(r, 1, Cell(kA[r - 1]));
    sheet.TextMatrix(r, 2, Cell(kB[r - 1]));
  }
  RFactorSettings s;
  RFactorValue p = Rfactor(sheet, 3, 1, 2, 0, 0, 0, s);
  ASSERT_EQ(p.error, 0);
  EXPECT_NEAR(p.value, 0.4495618367311376, 1e-6);
  RFactorValue r2 = Rfactor(sheet, -1, 1, 2, 0, 0, 0, s);
  EXPECT_NEAR(r2.value, 3.0 / 61.0, 1e-7);
  EXPECT_EQ(Rfactor(sheet, 3, 1, 7, 0, 0, 0, s).error, kRFactorBadColumn);
  EXPECT_EQ(Rfactor(sheet, 3, 0, 2, 0, 0, 0, s).error, kRFactorBadColumn);  // row headings
  EXPECT_EQ(Rfactor(sheet, 9, 1, 2, 0, 0, 0, s).error, kRFactorBadColumn);
  sheet.TextMatrix(3, 2, Cell(std::string("x")));
  EXPECT_EQ(Rfactor(sheet, 3, 1, 2, 0, 0, 0, s).error, kRFactorNotNumber);
  // Rows 1 .. 2 only, before the text cell.
  EXPECT_EQ(Rfactor(sheet, -1, 1, 2, 0, 1, 2, s).error, 0);
}

RFactorCurve Peaks(float offset, float step, int n) {
  RFactorCurve c;
  for (int k = 0; k < n; ++k) {
    const float e = 50.0f + step * float(k);
    const float x = e - offset;
    c.e.push_back(e);
    c.i.push_back(1.0f + std::exp(-(x - 80) * (x - 80) / 30.0f) +
                  0.6f * std::exp(-(x - 120) * (x - 120) / 50.0f));
  }
  return c;
}

TEST(RFactor, ShiftByWholeAndHalfGridSteps) {
  RFactorSettings s;
  const RFactorCurve c1 = Peaks(0, 1, 120);
  // Curve 2's features lie 3 eV lower: the best shift is +3 and R is 0.
  const RFactorCurve c2 = Peaks(-3, 1, 120);
  std::vector<RFactorBeam> beams(1);
  beams[0].matched = true;
  beams[0].curves = PrepareRFactor(c1, c2, s);
  RFactorBeamsResult best = RFactorBestShift(beams, {-5, 5, 1}, s);
  ASSERT_EQ(best.error, 0);
  EXPECT_DOUBLE_EQ(best.shift, 3.0);
  EXPECT_NEAR(best.overall, 0.0, 1e-9);
  EXPECT_EQ(beams[0].result.counted, 117);  // the overlap only
  // Half a step: found on a 0.5 eV range, small but not 0 by interpolation.
  beams[0].curves = PrepareRFactor(c1, Peaks(-2.5f, 1, 120), s);
  best = RFactorBestShift(beams, {-5, 5, 0.5}, s);
  EXPECT_DOUBLE_EQ(best.shift, 2.5);
  EXPECT_LT(best.overall, 0.01);
  // No overlap at all, or under 3 points: nothing to compare.
  EXPECT_EQ(RFactorShifted(beams[0].curves, 500, s).error, kRFactorNothing);
  EXPECT_EQ(RFactorShifted(beams[0].curves, 118, s).error, kRFactorNothing);
  // Ties go to the smaller |shift|: a flat pair compares equally everywhere.
  RFactorCurve flat{{1, 2, 3, 4, 5, 6, 7, 8}, {2, 4, 2, 4, 2, 4, 2, 4}};
  beams[0].curves = PrepareRFactor(flat, flat, s);
  best = RFactorBestShift(beams, {-2, 2, 2}, s);
  EXPECT_DOUBLE_EQ(best.shift, 0.0);
}

TEST(RFactor, BeamsWeightedBySpanAndMatchedByLabel) {
  test::ScriptedHost host;
  RFactorSettings s;
  std::vector<RFactorBeam> beams(3);
  // Beam 0 spans 4 eV, beam 1 spans 8 eV; beam 2 has no match.
  beams[0].matched = beams[1].matched = true;
  beams[0].curves = PrepareRFactor({kE, kA}, {kE, kB}, s);
  RFactorCurve wide{{0, 2, 4, 6, 8}, kA}, other{{0, 2, 4, 6, 8}, kA};
  other.i[2] = 3.5f;
  beams[1].curves = PrepareRFactor(wide, other, s);
  RFactorBeamsResult r = RFactorBestShift(beams, {}, s);
  ASSERT_EQ(r.error, 0);
  const RFactorValue& b0 = beams[0].result;
  const RFactorValue& b1 = beams[1].result;
  EXPECT_DOUBLE_EQ(b0.span, 4.0);
  EXPECT_DOUBLE_EQ(b1.span, 8.0);
  EXPECT_NEAR(r.overall, (b0.value * 4 + b1.value * 8) / 12, 1e-12);
  EXPECT_NE(b0.value, b1.value);

  Form_Worksheet theory;
  theory.Cols(3);
  theory.Record(1).Label = "I.total_10";
  theory.Record(1).Name = "B";
  theory.Record(2).Name = "C";
  EXPECT_EQ(MatchRFactorColumn(theory, "i.TOTAL_10", "Z"), 1);
  EXPECT_EQ(MatchRFactorColumn(theory, "I.total_11", "c"), 2);
  EXPECT_EQ(MatchRFactorColumn(theory, "", "Q"), -1);
}

}  // namespace
}  // namespace sv
