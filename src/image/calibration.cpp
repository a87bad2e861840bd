#include "image/calibration.h"

#include <cmath>

#include "image/form_camera.h"

namespace sv {

namespace {

// pi as a single, slightly above the true value; angles are measured with it.
constexpr double kAnglePi = 3.1415929794311523;

double Degrees(double radians) { return radians * 180.0 / kAnglePi; }

// Values[i] plus the way to Values[i + 1] by frac; the last entry stands alone.
// i is clamped into the table, so a value beyond either end reads that end.
double Interpolate(const std::vector<float>& values, double x) {
  const long n = long(values.size());
  if (!(x > 0)) return values[0];  // below the table, and NaN
  if (x >= double(n - 1)) return values[size_t(n - 1)];
  const long i = long(x);  // x > 0 here: the cut is the floor
  const double v = values[size_t(i)];
  return v + (double(values[size_t(i + 1)]) - v) * (x - double(i));
}

}  // namespace

LengthCalibration& LengthCal() {
  static LengthCalibration cal;
  return cal;
}

IntensityTable& ZCal() {
  static IntensityTable table;
  return table;
}

float CalLength(const LengthCalibration& cal, float dx, float dy) {
  const double x = dx, y = double(cal.PixelRatio) * dy;
  double length = std::sqrt(x * x + y * y);
  if (cal.Enabled == 1) length *= cal.CalFactor;
  return float(length);
}

float CalLength(float dx, float dy) { return CalLength(LengthCal(), dx, dy); }

std::string CalUnit(const LengthCalibration& cal) { return cal.Enabled == 1 ? cal.CalUnit : "Pixel"; }

std::string CalUnit() { return CalUnit(LengthCal()); }

float CalAngle(float fx, float fy) {
  const double dx = fx, dy = fy;
  if (std::fabs(dy) < dx) {
    double a = Degrees(std::atan(dy / dx));
    if (a < 0) a += 360.0;
    return float(a + 0.0);  // no -0
  }
  if (std::fabs(dx) < dy) return float(90.0 - Degrees(std::atan(dx / dy)));
  if (-std::fabs(dy) > dx) return float(Degrees(std::atan(dy / dx)) + 180.0);
  if (-std::fabs(dx) > dy) return float(270.0 - Degrees(std::atan(dx / dy)));
  if (dx == dy) {
    if (dx > 0) return 45.0f;
    if (dx < 0) return 225.0f;
    return 0.0f;
  }
  if (dx == -dy) return dx < 0 ? 135.0f : 315.0f;
  return 0.0f;
}

float CalIntensity(const IntensityTable& table, long levels, float raw) {
  const long n = long(table.Values.size() < size_t(table.Count) ? table.Values.size() : size_t(table.Count));
  if (table.Enabled == 0 || n <= 0 || !std::isfinite(raw)) return raw;
  if (levels == n) return float(Interpolate(table.Values, raw));
  // The table stretched over the image's range, and its values with it.
  if (n == 1) return table.Values[0];
  const double f = double(levels - 1) / double(n - 1);
  return float(Interpolate(table.Values, raw / f) * f);
}

float CalIntensity(long levels, float raw) { return CalIntensity(ZCal(), levels, raw); }

float CalIntensity(const Form_Camera& image, float raw) {
  return CalIntensity(ZCal(), image.ImageDynamik(), raw);
}

float Form_Camera::CalIntensity(float raw) const { return sv::CalIntensity(*this, raw); }

bool CalIntensityOn() { return ZCal().Enabled == 1 && ZCal().Count > 0; }

float TableValue(const IntensityTable& table, float x) {
  const long n = long(table.Values.size() < size_t(table.Count) ? table.Values.size() : size_t(table.Count));
  if (n <= 0) return 0.0f;
  if (std::isnan(x)) return table.Values[0];
  return float(Interpolate(table.Values, x));
}

float TableValue(float x) { return TableValue(ZCal(), x); }

bool MakeLinearTable(IntensityTable& table, long bits) {
  if (bits < 8 || bits > 16) return false;
  const long n = 1L << bits;
  table.Values.resize(size_t(n));
  for (long i = 0; i < n; ++i) table.Values[size_t(i)] = float(i);
  table.Count = int32_t(n);
  table.Name = "linear";
  table.FileName.clear();
  return true;
}

}  // namespace sv
