// The report of a peak fit, as text: lines end in "\n", fields are split by
// tabs (the window sets the tab stops).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "fit/form_fit.h"

namespace sv {

namespace {

// "#####0.000 ": three decimals and a blank; the last column has no blank.
std::string Num(float v, bool last = false) {
  char buf[64];
  std::snprintf(buf, sizeof buf, last ? "%.3f" : "%.3f ", static_cast<double>(v));
  return buf;
}

// 100 * error / value; a value of 0 leaves the field empty.
std::string Percent(float error, float value) {
  if (value == 0.0f) return "";
  return Num(100.0f * error / value, true);
}

int ShapeOf(const FitState& g, int k) {
  return static_cast<int>(std::lround(g.Par[size_t(4 * k + 3)].Value));
}

}  // namespace

std::string FitReport(const FitState& g, int peaks, const std::string& date,
                      const std::string& time) {
  const int n = std::max(0, std::min(peaks, kMaxPeaks));
  std::string out;
  out += "Date \t" + date + "\tTime \t" + time + "\n";

  out += "Y = Y0 + m * X";
  for (int k = 1; k <= n; ++k) {
    const int shape = ShapeOf(g, k);
    if (shape != kShapeLorentz && shape != kShapeGauss) continue;
    out += std::string(" + ") + (shape == kShapeLorentz ? "L" : "G") + "(" +
           g.Par[size_t(4 * k)].Name + ", " + g.Par[size_t(4 * k + 1)].Name + ", " +
           g.Par[size_t(4 * k + 2)].Name + ")";
  }
  out += "\n";
  out += fiterrorStr(g.Run.Status) + "\n";
  out += "Parameter\tInput\tResult\t+/-Error\t% Error\n";

  auto row = [&](int i) {
    const FitParameter& e = g.Par[size_t(i)];
    out += e.Name + "\t";
    if (e.Link == 0) {
      out += Num(e.Input) + "  = const.\t= const.\n";
    } else if (e.Link < 0) {
      const int other = -e.Link;
      const std::string name = other <= kFitParMax ? g.Par[size_t(other)].Name : "";
      out += Num(e.Input) + "\t" + Num(e.Value) + "\t= " + name + "\n";
    } else {
      out += Num(e.Input) + "\t" + Num(e.Value) + "\t" + Num(e.Error) + "\t" +
             Percent(e.Error, e.Value) + "\n";
    }
  };
  row(2);
  row(3);
  for (int k = 1; k <= n; ++k)
    for (int i = 4 * k; i <= 4 * k + 2; ++i) row(i);

  // Areas: from the inputs, from the results, and the change the errors
  // make when added to height and width.
  for (int k = 1; k <= n; ++k) {
    const int shape = ShapeOf(g, k);
    const FitParameter& h = g.Par[size_t(4 * k + 1)];
    const FitParameter& w = g.Par[size_t(4 * k + 2)];
    const float a0 = PeakArea(shape, h.Input, w.Input);
    const float a = PeakArea(shape, h.Value, w.Value);
    const float da = PeakArea(shape, h.Value + h.Error, w.Value + w.Error) - a;
    out += "A" + std::to_string(k) + "\t" + Num(a0) + "\t" + Num(a) + "\t" + Num(da) + "\t" +
           Percent(da, a) + "\n";
  }

  out += "\nCorrelation table (%):\n";
  const int np = g.Run.NPar;
  if (np > 0 && g.Run.Correlation.size() == size_t(np) * size_t(np)) {
    for (int i = 1; i <= np; ++i) {
      std::string line;
      for (int j = 1; j <= np; ++j) {
        if (j > 1) line += "\t";
        line += std::to_string(g.Run.Corr(i, j));
      }
      out += line + "\n";
    }
  }
  out += "Standard deviation w/o  fit= \t" + Num(g.Run.StdDevWithout, true) + "\n";
  out += "Standard deviation with fit= \t" + Num(g.Run.StdDevWith, true) + "\n";
  return out;
}

}  // namespace sv
