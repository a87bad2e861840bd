#include <gtest/gtest.h>

#include <cmath>

#include "fit/peak_model.h"

namespace sv {
namespace {

TEST(PeakModel, LineShapesAndWidths) {
  FitPeak l{10.0f, 4.0f, 100.0f, kShapeLorentz};
  EXPECT_FLOAT_EQ(theoLine(l, 10.0f), 100.0f);
  EXPECT_FLOAT_EQ(theoLine(l, 12.0f), 50.0f);  // full width at half height
  EXPECT_FLOAT_EQ(theoLine(l, 8.0f), 50.0f);

  FitPeak g{10.0f, 4.0f, 100.0f, kShapeGauss};
  EXPECT_FLOAT_EQ(theoLine(g, 10.0f), 100.0f);
  EXPECT_NEAR(theoLine(g, 12.0f), 100.0f / std::exp(1.0f), 1e-4);  // full width at 1/e
  // Far out the value is 0, never a failure.
  EXPECT_EQ(theoLine(g, 1.0e30f), 0.0f);

  // A width of 0 makes any peak vanish; unknown shapes give 0.
  for (int16_t shape : {kShapeLorentz, kShapeGauss}) {
    FitPeak z{10.0f, 0.0f, 100.0f, shape};
    EXPECT_EQ(theoLine(z, 10.0f), 0.0f);
  }
  FitPeak none{10.0f, 4.0f, 100.0f, kShapeNone}, odd{10.0f, 4.0f, 100.0f, 3};
  EXPECT_EQ(theoLine(none, 10.0f), 0.0f);
  EXPECT_EQ(theoLine(odd, 10.0f), 0.0f);
}

TEST(PeakModel, SumCountsOnlyPeaksInUse) {
  PeakModel m;
  m.Y0 = 5.0f;
  m.Slope = 2.0f;
  m.Peak[1] = {0.0f, 2.0f, 10.0f, kShapeLorentz};
  m.Peak[2] = {0.0f, 2.0f, 1000.0f, kShapeGauss};
  m.Peaks = 1;
  EXPECT_FLOAT_EQ(CalcYFit(m, 0.0f), 15.0f);
  EXPECT_FLOAT_EQ(CalcYFit(m, 1.0f), 5.0f + 2.0f + 5.0f);
  m.Peaks = 2;
  EXPECT_FLOAT_EQ(CalcYFit(m, 0.0f), 1015.0f);
}

TEST(PeakModel, NamesAndAreas) {
  EXPECT_EQ(PeakEntryName(1), "Location");
  EXPECT_EQ(PeakEntryName(2), "Y0");
  EXPECT_EQ(PeakEntryName(3), "m");
  EXPECT_EQ(PeakEntryName(4), "1Xc");
  EXPECT_EQ(PeakEntryName(5), "1H");
  EXPECT_EQ(PeakEntryName(6), "1W");
  EXPECT_EQ(PeakEntryName(7), "1Peak");
  EXPECT_EQ(PeakEntryName(83), "20Peak");
  EXPECT_EQ(PeakEntryName(84), "");
  EXPECT_FLOAT_EQ(PeakArea(kShapeLorentz, 2.0f, 3.0f), 6.0f * 1.570796f);
  EXPECT_FLOAT_EQ(PeakArea(kShapeGauss, 2.0f, 3.0f), 6.0f * 1.253314f);
  EXPECT_EQ(PeakArea(kShapeNone, 2.0f, 3.0f), 0.0f);
}

std::vector<float> OneBased(std::vector<float> v) {
  v.insert(v.begin(), 0.0f);
  return v;
}

TEST(PeakSmoothing, MedianInPlaceThenOneMeanOfFive) {
  // The median works in place: each point sees its already filtered left
  // neighbour, so an alternating row fills up.
  auto y = OneBased({5, 0, 5, 0, 5});
  std::vector<float> fit(y.size(), 0.0f);
  SmoothForAutoInit(y, fit);
  EXPECT_EQ(y, OneBased({5, 5, 5, 5, 5}));

  // Five points: one mean, written to the middle point only.
  y = OneBased({1, 9, 2, 3, 4});
  SmoothForAutoInit(y, fit);
  EXPECT_FLOAT_EQ(y[1], 1);
  EXPECT_FLOAT_EQ(y[2], 2);
  EXPECT_FLOAT_EQ(y[3], 2.4f);
  EXPECT_FLOAT_EQ(y[4], 3);
  EXPECT_FLOAT_EQ(y[5], 4);

  // Fewer than five: only the median.
  y = OneBased({1, 9, 2});
  SmoothForAutoInit(y, fit);
  EXPECT_EQ(y, OneBased({1, 2, 2}));
}

struct Scan {
  std::vector<float> x, y;
  explicit Scan(const std::vector<float>& ys) {
    y = OneBased(ys);
    x.assign(y.size(), 0.0f);
    for (size_t i = 1; i < x.size(); ++i) x[i] = float(i) * 10.0f;
  }
  AutoInitResult Run(const AutoInitSettings& s) const {
    float lo = y[1], hi = y[1];
    for (size_t i = 1; i < y.size(); ++i) lo = std::min(lo, y[i]), hi = std::max(hi, y[i]);
    return ScanPeaks(x, y, lo, hi, s);
  }
};

TEST(PeakScan, PeaksWidthsAndPlateaus) {
  AutoInitSettings s;
  s.PeakShape = kShapeLorentz;
  s.PeakWidth = -10.0f;  // widths from the data
  // Background 100, a peak of 900 at x 40.
  Scan d({100, 100, 500, 1000, 500, 100, 100, 100});
  AutoInitResult r = d.Run(s);
  EXPECT_FLOAT_EQ(r.Y0, 100);
  EXPECT_EQ(r.Slope, 0);
  ASSERT_EQ(r.Count, 1);
  EXPECT_FLOAT_EQ(r.Peaks[0].Xc, 40);
  EXPECT_FLOAT_EQ(r.Peaks[0].H, 900);
  // The limits compare with Y itself: 450 < 500, so they run on to x 20 and 60.
  EXPECT_FLOAT_EQ(r.Peaks[0].W, 40);

  s.PeakShape = kShapeGauss;
  EXPECT_FLOAT_EQ(d.Run(s).Peaks[0].W, 40 * 0.5f / 0.5889f);
  s.PeakShape = kShapeNone;
  EXPECT_FLOAT_EQ(d.Run(s).Peaks[0].W, 10);
  s.PeakWidth = 7.0f;
  EXPECT_FLOAT_EQ(d.Run(s).Peaks[0].W, 7);

  // A plateau's centre is the midpoint of its ends.
  Scan p({0, 0, 1000, 1000, 1000, 0, 0});
  r = p.Run(s);
  ASSERT_EQ(r.Count, 1);
  EXPECT_FLOAT_EQ(r.Peaks[0].Xc, 40);

  // A flat column has no peak.
  Scan f({3, 3, 3, 3, 3, 3});
  EXPECT_EQ(f.Run(s).Count, 0);
}

TEST(PeakScan, ContrastAndItsRawSettingOnTheWayUp) {
  AutoInitSettings s;  // contrast 8 percent of the range 1000: 80
  // A shoulder that falls back by 20 on the rising flank is no peak.
  Scan small({0, 500, 540, 520, 1000, 0, 0});
  AutoInitResult r = small.Run(s);
  ASSERT_EQ(r.Count, 1);
  EXPECT_FLOAT_EQ(r.Peaks[0].Xc, 50);
  // After a peak the search re-arms once the signal rises by the raw setting
  // (8) above the lowest point since, not by 80: the rise from 910 to 950
  // re-arms it, and the next point starts the second peak.
  Scan rearm({0, 1000, 900, 910, 950, 860, 0, 0});
  r = rearm.Run(s);
  ASSERT_EQ(r.Count, 2);
  EXPECT_FLOAT_EQ(r.Peaks[1].Xc, 60);
  EXPECT_FLOAT_EQ(r.Peaks[1].H, 860);
  // Below the minimum height (PeakMinCount percent) points are skipped: the
  // second peak is never closed.
  s.PeakMinCount = 50;
  EXPECT_EQ(rearm.Run(s).Count, 1);
}

TEST(PeakScan, TwentyOnePeaksKeepTwenty) {
  std::vector<float> ys{0};
  for (int k = 0; k < 21; ++k) ys.insert(ys.end(), {0, 300, 600, 1000});
  ys.insert(ys.end(), {0, 0});
  Scan d(ys);
  AutoInitResult r = d.Run(AutoInitSettings{});
  EXPECT_EQ(r.Count, 21);
  EXPECT_EQ(r.Peaks.size(), 20u);
  EXPECT_EQ(TooManyPeaksText(21),
            "Error: Too many Peaks (21) found.\nmax. number of peaks are 20.");
}

}  // namespace
}  // namespace sv
