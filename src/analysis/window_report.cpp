// The text report of one window evaluation.
#include <cmath>
#include <cstdio>
#include <vector>

#include "analysis/scan_windows.h"

namespace sv {

namespace {

// A number in the format "0.0": one decimal, rounded half
// away from zero, never "-0.0".
std::string Fixed1(double value) {
  if (!std::isfinite(value)) return "0.0";
  const double tenfold = value * 10.0;
  // A tie can only be exact when the product is: a single always is.
  if (std::fma(value, 10.0, -tenfold) == 0.0 && std::fabs(tenfold - std::trunc(tenfold)) == 0.5)
    value = std::round(tenfold) / 10.0;
  char buf[400];
  std::snprintf(buf, sizeof buf, "%.1f", value);
  std::string text = buf;
  if (text == "-0.0") text = "0.0";
  return text;
}

std::string Percent(double value, int32_t dynamic) {
  return Fixed1(dynamic != 0 ? value * 100.0 / dynamic : 0.0);
}

}  // namespace

std::string WindowReportText(const ScanWindow& window, const AnalysisResult& result,
                             const WindowReportOptions& options) {
  const std::string tab = "\t";
  const auto n = [](long long v) { return std::to_string(v); };
  const double back = result.I.back;
  std::vector<std::string> lines;
  lines.push_back("Parameter:");
  lines.push_back("X1 = " + n(window.X1) + " Pixel" + tab + "W = " + n(window.W) + " Pixel");
  lines.push_back("Y1 = " + n(window.Y1) + " Pixel" + tab + "H = " + n(window.H) + " Pixel");
  lines.push_back("Area = " + n(result.Area) + " Pixel");
  lines.push_back(options.vtr ? std::string("Averaging = 1 (VTR Mode)")
                              : "Averaging = " + n(window.Averaging));
  lines.push_back("Dynamic = " + n((long long)result.Dynamic - 1) + " (" + n(result.Dynamic) +
                  " = 100%)");
  lines.push_back("");

  const bool cal = bool(options.calibrate);
  const std::string unit = " " + options.unit;
  const double calBack = cal ? double(options.calibrate(result.I.back)) : 0.0;
  lines.push_back("I.back = " + Fixed1(back) + "%  // " + Percent(back, result.Dynamic) + tab +
                  "(" + n(result.BackArea) + " Pixel)");
  if (cal) lines.push_back("I.back = " + Fixed1(calBack) + unit);

  // I.total and I.max: raw with percent and the difference to I.back, then
  // the calibrated pair, each with the unit.
  auto intensity = [&](const char* name, float raw) {
    const std::string label = name;
    lines.push_back(label + " = " + Fixed1(raw) + "%  // " + Percent(raw, result.Dynamic) + tab +
                    "(" + label + "-I.back = " + Fixed1(raw - result.I.back) + ")");
    if (cal) {
      const double value = options.calibrate(raw);
      lines.push_back(label + " = " + Fixed1(value) + unit + tab + "(" + label +
                      "-I.back = " + Fixed1(value - calBack) + unit + ")");
    }
  };
  intensity("I.total", result.I.total);
  intensity("I.max", result.I.max);

  lines.push_back("X.max = " + n(result.X.max) + " Pixel");
  lines.push_back("Y.max = " + n(result.Y.max) + " Pixel");
  if (options.moved) lines.push_back("Window moved");

  std::string text;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) text += "\r\n";
    text += lines[i];
  }
  return text;
}

}  // namespace sv
