#include "plot/plot_ticks.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sv {

namespace {

struct TickRow {
  float limit;
  bool strict;  // "above" rather than "at least"
  double step;
  const char* format;
};

// Top row first. The last step breaks the series on purpose: 0.000005.
constexpr TickRow kRows[] = {
    {650000.0f, false, 100000, "0"},   {330000.0f, false, 50000, "0"},
    {120000.0f, true, 20000, "0"},     {65000.0f, false, 10000, "0"},
    {33000.0f, false, 5000, "0"},      {12000.0f, true, 2000, "0"},
    {6500.0f, false, 1000, "0"},       {3300.0f, false, 500, "0"},
    {1200.0f, true, 200, "0"},         {650.0f, false, 100, "0"},
    {330.0f, false, 50, "0"},          {120.0f, true, 20, "0"},
    {65.0f, false, 10, "0"},           {33.0f, false, 5, "0"},
    {12.0f, true, 2, "0"},             {6.5f, false, 1, "0"},
    {3.3f, false, 0.5, "0.0"},         {1.2f, true, 0.2, "0.0"},
    {0.65f, false, 0.1, "0.0"},        {0.33f, false, 0.05, "0.00"},
    {0.12f, true, 0.02, "0.00"},       {0.065f, false, 0.01, "0.00"},
    {0.033f, false, 0.005, "0.000"},   {0.012f, true, 0.002, "0.000"},
    {0.0065f, false, 0.001, "0.000"},  {0.0033f, false, 0.0005, "0.0000"},
    {0.0012f, true, 0.0002, "0.0000"}, {0.00065f, false, 0.0001, "0.0000"},
    {0.00033f, false, 0.00005, "0.00000"}, {0.00012f, true, 0.00002, "0.00000"},
};

// floor(v / step), where a quotient within a hair of a whole number counts
// as that number (the ends are single floats, the steps decimal).
double Multiples(double v, double step) {
  const double q = v / step;
  const double n = std::round(q);
  if (std::fabs(q - n) <= 1e-5 * std::max(1.0, std::fabs(q))) return n;
  return std::floor(q);
}

}  // namespace

TickStep ChooseTickStep(float r) {
  if (r > 1200000.0f) return {double(r) / 2, "0"};
  for (const TickRow& row : kRows)
    if (row.strict ? r > row.limit : r >= row.limit) return {row.step, row.format};
  return {0.000005, "0.00000"};
}

std::string ComputeTicks(PlotAxisRecord& axis, int flags) {
  // A range that is no number at all starts again from 0..1.
  if (!std::isfinite(axis.From) || !std::isfinite(axis.To)) {
    axis.From = 0;
    axis.To = 1;
  }
  if (axis.From == axis.To) {
    axis.From = 0;
    if (axis.To == 0) axis.To = 1;
  }
  const bool reversed = axis.From > axis.To;
  float from = reversed ? axis.To : axis.From;
  float to = reversed ? axis.From : axis.To;

  const float r = to - from;
  const TickStep choice = ChooseTickStep(std::isfinite(r) ? r : 3.4e38f);
  const double step = choice.step;

  const double low = Multiples(from, step) * step;
  double high = Multiples(to, step) * step;
  // Raised by whole steps until it reaches To; one step does it, the bound
  // only guards against rounding.
  for (int i = 0; i < 4 && float(high) < to; ++i) high += step;

  if (flags & TickFlag::Range) {
    from = float(low);
    to = float(high);
    axis.From = reversed ? to : from;
    axis.To = reversed ? from : to;
  }
  if (flags & TickFlag::Inc) axis.Inc = float(2 * step);
  if (flags & TickFlag::Ticks) axis.Ticks = 1;
  if (reversed) axis.Inc = -std::fabs(axis.Inc);
  if (flags & (TickFlag::Range | TickFlag::Inc)) return choice.format;
  return "";
}

}  // namespace sv
