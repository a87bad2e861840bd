#include "analysis/form_line_scan_plot.h"

#include <algorithm>

#include "analysis/window_tools.h"

namespace sv {

namespace {

constexpr int32_t kRed = 0x0000FF, kGreen = 0x00FF00, kBlue = 0xFF0000;

// Widens [lo, hi] to the values, in eight lanes at a time so that a live
// profile's range costs next to nothing.
void FoldRange(const std::vector<float>& values, float& lo, float& hi) {
  constexpr size_t kLanes = 8;
  float l[kLanes], h[kLanes];
  for (size_t k = 0; k < kLanes; ++k) l[k] = lo, h[k] = hi;
  const size_t n = values.size(), whole = n - n % kLanes;
  const float* v = values.data();
  for (size_t i = 0; i < whole; i += kLanes)
    for (size_t k = 0; k < kLanes; ++k) {
      l[k] = v[i + k] < l[k] ? v[i + k] : l[k];
      h[k] = v[i + k] > h[k] ? v[i + k] : h[k];
    }
  for (size_t i = whole; i < n; ++i) {
    l[0] = v[i] < l[0] ? v[i] : l[0];
    h[0] = v[i] > h[0] ? v[i] : h[0];
  }
  for (size_t k = 0; k < kLanes; ++k) {
    if (l[k] < lo) lo = l[k];
    if (h[k] > hi) hi = h[k];
  }
}

}  // namespace

void ProfileDisplay::SetRange(float lutMin, float lutMax) {
  LutMin = lutMin;
  LutMax = lutMax;
  UpdateRange();
  UpdateLabels();
  Changed();
}

void ProfileDisplay::Check_Auto_Click(bool on) {
  Auto = on;
  UpdateRange();
  UpdateLabels();
  Changed();
}

long ProfileDisplay::Points() const {
  size_t n = 0;
  for (const Curve& c : Curves) n = std::max(n, c.Values.size());
  return long(n);
}

float ProfileDisplay::MaxValue() const {
  bool any = false;
  float top = 0;
  for (const Curve& c : Curves)
    for (float v : c.Values)
      if (!any || v > top) {
        top = v;
        any = true;
      }
  return top;
}

void ProfileDisplay::UpdateRange() {
  if (!Auto) {
    RangeMin = LutMin * float(Dynamic);
    RangeMax = LutMax * float(Dynamic);
  } else {
    bool any = false;
    for (const Curve& c : Curves) {
      if (c.Values.empty()) continue;
      if (!any) RangeMin = RangeMax = c.Values.front();
      any = true;
      FoldRange(c.Values, RangeMin, RangeMax);
    }
    if (!any) RangeMin = RangeMax = 0;
  }
  // A flat profile still gets a range to be drawn in.
  if (RangeMax <= RangeMin) RangeMax = RangeMin + 1;
}

std::vector<std::array<double, 2>> ProfileDisplay::Polyline(size_t curve, double width,
                                                            double height) const {
  std::vector<std::array<double, 2>> points;
  if (curve >= Curves.size() || width < 1 || height < 1) return points;
  const std::vector<float>& v = Curves[curve].Values;
  const size_t n = v.size();
  points.reserve(n);
  const double span = double(RangeMax) - double(RangeMin);
  for (size_t i = 0; i < n; ++i) {
    const double x = n > 1 ? double(i) * (width - 1) / double(n - 1) : (width - 1) / 2;
    const double f = span > 0 ? (double(v[i]) - double(RangeMin)) / span : 0;
    const double y = std::clamp((1.0 - f) * (height - 1), 0.0, height - 1);
    points.push_back({x, y});
  }
  return points;
}

void ProfileDisplay::Show() {
  visible_ = true;
  Changed();
}

void ProfileDisplay::Hide() {
  visible_ = false;
  Changed();
}

// --- Form_LineScanPlot --------------------------------------------------------------

void Form_LineScanPlot::SetProfile(const std::vector<float>& values, bool colour, long levels,
                                   int32_t color) {
  Curves.clear();
  Dynamic = levels;
  if (colour) {
    const size_t n = values.size() / 3;
    const int32_t colours[3] = {kRed, kGreen, kBlue};
    for (size_t c = 0; c < 3; ++c)
      Curves.push_back(Curve{std::vector<float>(values.begin() + long(c * n),
                                                values.begin() + long((c + 1) * n)),
                             colours[c]});
  } else {
    Curves.push_back(Curve{values, color});
  }
  UpdateRange();
  UpdateLabels();
  Changed();
}

void Form_LineScanPlot::UpdateLabels() {
  Label_Max.clear();
  Label_Overload.clear();
  if (Points() == 0) return;
  const float top = MaxValue();
  if (top >= RangeMax) Label_Max = "Max = " + ShortNumber(top);
  if (Dynamic > 0 && top >= float(Dynamic - 1)) Label_Overload = kOverloadText;
}

Form_LineScanPlot& LineScanPlotForm() {
  static Form_LineScanPlot form;
  return form;
}

// --- Form_LScanPlot -----------------------------------------------------------------

void Form_LScanPlot::SetProfiles(const std::array<std::vector<float>, 8>& profiles,
                                 const std::array<int32_t, 8>& colors, long levels) {
  // The curves' storage is used again: a live display gets new profiles
  // at every frame.
  Dynamic = levels;
  size_t used = 0;
  for (size_t n = 0; n < profiles.size(); ++n) {
    if (profiles[n].empty()) continue;
    if (used == Curves.size()) Curves.emplace_back();
    Curves[used].Values.assign(profiles[n].begin(), profiles[n].end());
    Curves[used].Color = colors[n];
    ++used;
  }
  Curves.resize(used);
  UpdateRange();
  Changed();
}

Form_LScanPlot& LScanPlotForm() {
  static Form_LScanPlot form;
  return form;
}

}  // namespace sv
