#include "image/calibration.h"

#include <gtest/gtest.h>

#include <cmath>

#include "image/form_camera.h"

namespace sv {
namespace {

IntensityTable Table(std::vector<float> values, int32_t enabled = 1) {
  IntensityTable t;
  t.Enabled = enabled;
  t.Count = int32_t(values.size());
  t.Values = std::move(values);
  return t;
}

TEST(CalibrationLength, PixelRatioAndFactor) {
  LengthCalibration cal;
  EXPECT_FLOAT_EQ(CalLength(cal, 3, 4), 5.0f);
  cal.PixelRatio = 2;
  EXPECT_FLOAT_EQ(CalLength(cal, 6, 4), 10.0f);
  cal.CalFactor = 0.5f;  // off: the factor waits
  EXPECT_FLOAT_EQ(CalLength(cal, 6, 4), 10.0f);
  EXPECT_EQ(CalUnit(cal), "Pixel");
  cal.Enabled = 1;
  cal.CalUnit = "nm";
  EXPECT_FLOAT_EQ(CalLength(cal, 6, 4), 5.0f);
  EXPECT_EQ(CalUnit(cal), "nm");
}

TEST(CalibrationAngle, EightDirectionsAndTheAxes) {
  EXPECT_FLOAT_EQ(CalAngle(1, 1), 45.0f);
  EXPECT_FLOAT_EQ(CalAngle(-1, -1), 225.0f);
  EXPECT_FLOAT_EQ(CalAngle(-1, 1), 135.0f);
  EXPECT_FLOAT_EQ(CalAngle(1, -1), 315.0f);
  EXPECT_FLOAT_EQ(CalAngle(1, 0), 0.0f);
  EXPECT_FALSE(std::signbit(CalAngle(1, -0.0f)));
  EXPECT_FLOAT_EQ(CalAngle(0, 1), 90.0f);
  EXPECT_FLOAT_EQ(CalAngle(-1, 0), 180.0f);
  EXPECT_FLOAT_EQ(CalAngle(0, -1), 270.0f);
  EXPECT_FLOAT_EQ(CalAngle(0, 0), 0.0f);
  // Off the diagonals, with pi taken as 3.1415929794311523.
  const double k = 180.0 / 3.1415929794311523;
  EXPECT_FLOAT_EQ(CalAngle(2, 1), float(std::atan(0.5) * k));
  EXPECT_FLOAT_EQ(CalAngle(1, 2), float(90.0 - std::atan(0.5) * k));
  EXPECT_FLOAT_EQ(CalAngle(-2, 1), float(std::atan(-0.5) * k + 180.0));
  EXPECT_FLOAT_EQ(CalAngle(-1, -2), float(270.0 - std::atan(0.5) * k));
  EXPECT_FLOAT_EQ(CalAngle(2, -1), float(std::atan(-0.5) * k + 360.0));
  // The slightly large pi shows: a true 30 degrees reads a little less.
  EXPECT_LT(CalAngle(std::sqrt(3.0f), 1), 30.0f);
  EXPECT_FLOAT_EQ(CalAngle(std::nanf(""), 1), 0.0f);
}

TEST(CalibrationIntensity, TableOfTheImageSizeInterpolates) {
  std::vector<float> v(256);
  for (int i = 0; i < 256; ++i) v[size_t(i)] = float(i * i);
  IntensityTable t = Table(v);
  EXPECT_FLOAT_EQ(CalIntensity(t, 256, 3.5f), 12.5f);  // between 9 and 16
  EXPECT_FLOAT_EQ(CalIntensity(t, 256, 255.0f), 255.0f * 255.0f);
  t.Enabled = 0;
  EXPECT_FLOAT_EQ(CalIntensity(t, 256, 3.5f), 3.5f);
}

TEST(CalibrationIntensity, SmallTableStretchesOverATwelveBitImage) {
  std::vector<float> v(256);
  for (int i = 0; i < 256; ++i) v[size_t(i)] = float(2 * i + 1);
  IntensityTable t = Table(v);
  EXPECT_FLOAT_EQ(CalIntensity(t, 4096, 4095.0f), 511.0f * 4095.0f / 255.0f);
  EXPECT_FLOAT_EQ(CalIntensity(t, 4096, 0.0f), 1.0f * 4095.0f / 255.0f);
  const double f = 4095.0 / 255.0;
  EXPECT_FLOAT_EQ(CalIntensity(t, 4096, 100.0f), float((1.0 + 2.0 * 100.0 / f) * f));

  Form_Camera image;
  image.CreateImage(2, 2, 12, nullptr);
  IntensityTable& z = ZCal();
  const IntensityTable keep = z;
  z = t;
  EXPECT_TRUE(CalIntensityOn());
  EXPECT_FLOAT_EQ(CalIntensity(image, 4095.0f), 511.0f * 4095.0f / 255.0f);
  EXPECT_FLOAT_EQ(image.CalIntensity(0.0f), 4095.0f / 255.0f);
  z = keep;
}

TEST(CalibrationIntensity, RawOutsideTheRangeReadsTheEnds) {
  IntensityTable t = Table({10, 20, 30, 40});
  EXPECT_FLOAT_EQ(CalIntensity(t, 4, -2.0f), 10.0f);
  EXPECT_FLOAT_EQ(CalIntensity(t, 4, 9.0f), 40.0f);
  EXPECT_TRUE(std::isnan(CalIntensity(t, 4, std::nanf(""))));
  IntensityTable one = Table({7});
  EXPECT_FLOAT_EQ(CalIntensity(one, 256, 100.0f), 7.0f);
  IntensityTable empty = Table({});
  EXPECT_FLOAT_EQ(CalIntensity(empty, 256, 100.0f), 100.0f);
}

TEST(CalibrationTableValue, ClampsAtBothEnds) {
  IntensityTable t = Table({10, 20, 30, 40}, 0);  // the switch does not matter
  EXPECT_FLOAT_EQ(TableValue(t, -0.5f), 10.0f);
  EXPECT_FLOAT_EQ(TableValue(t, -7.0f), 10.0f);
  EXPECT_FLOAT_EQ(TableValue(t, 0.0f), 10.0f);
  EXPECT_FLOAT_EQ(TableValue(t, 1.25f), 22.5f);
  EXPECT_FLOAT_EQ(TableValue(t, 3.0f), 40.0f);
  EXPECT_FLOAT_EQ(TableValue(t, 3.9f), 40.0f);
  EXPECT_FLOAT_EQ(TableValue(t, 1e9f), 40.0f);
  EXPECT_FLOAT_EQ(TableValue(Table({}), 2.0f), 0.0f);
}

TEST(CalibrationTableValue, LinearTableOfEightToSixteenBits) {
  IntensityTable t;
  t.FileName = "old.lut";
  EXPECT_FALSE(MakeLinearTable(t, 7));
  EXPECT_FALSE(MakeLinearTable(t, 17));
  EXPECT_EQ(t.Count, 0);
  ASSERT_TRUE(MakeLinearTable(t, 12));
  EXPECT_EQ(t.Count, 4096);
  EXPECT_EQ(t.Name, "linear");
  EXPECT_EQ(t.FileName, "");
  EXPECT_FLOAT_EQ(TableValue(t, 1234.5f), 1234.5f);
  ASSERT_TRUE(MakeLinearTable(t, 16));
  EXPECT_EQ(t.Values.size(), 65536u);
}

}  // namespace
}  // namespace sv
