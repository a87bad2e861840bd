#include "fit/growth_analysis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "fit/polfit.h"
#include "image/kernel/fft.h"

namespace sv {

void RunningStatistics::Add(float x, float y) {
  N += 1;
  SumX += x;
  SumX2 += x * x;
  SumY += y;
  SumY2 += y * y;
  SumXY += x * y;
}

bool RunningStatistics::Mean(float& x, float& y) const {
  if (N == 0) return false;
  x = SumX / N;
  y = SumY / N;
  return true;
}

bool RunningStatistics::Deviation(float& x, float& y) const {
  if (N < 2) return false;
  // Rounding may take the sum of squares a hair below zero.
  x = std::sqrt(std::max(0.0f, (SumX2 - SumX * SumX / N) / (N - 1)));
  y = std::sqrt(std::max(0.0f, (SumY2 - SumY * SumY / N) / (N - 1)));
  return true;
}

std::string FixedText(double v, int decimals) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
  std::string s = buf;
  if (s[0] == '-' && s.find_first_not_of("-0.") == std::string::npos) s.erase(0, 1);
  return s;
}

std::string SelectGrowthData(std::span<const float> x, std::span<const float> y, double t1,
                             double t2, GrowthData& out) {
  if (t1 > t2) std::swap(t1, t2);
  GrowthData d;
  d.t1 = t1;
  d.t2 = t2;
  const size_t n = std::min(x.size(), y.size());
  int direction = 0;
  for (size_t i = 0; i < n; ++i) {
    if (i > 0 && std::isfinite(x[i]) && std::isfinite(x[i - 1]) && x[i] != x[i - 1]) {
      const int step = x[i] > x[i - 1] ? 1 : -1;
      if (direction != 0 && step != direction) return "Data are not monotonuous";
      direction = step;
    }
    // The range is typed from the times as shown: compared at their precision.
    if (!(x[i] >= float(t1) && x[i] <= float(t2)) || !std::isfinite(y[i])) continue;
    d.t.push_back(x[i]);
    d.y.push_back(y[i]);
  }
  if (d.y.size() < 4) return "Not enough data selected";
  d.dt = (t2 - t1) / double(d.y.size() - 1);
  out = std::move(d);
  return "";
}

namespace {

// The parabola through the points within d of the extreme at k; false keeps
// the raw point.
bool Refine(std::span<const float> y, size_t k, float d, bool maximum, Extreme& e) {
  const float m = y[k];
  auto inside = [&](float v) { return maximum ? v > m - d : v < m + d; };
  size_t lo = k, hi = k;
  while (lo > 0 && inside(y[lo - 1])) --lo;
  while (hi + 1 < y.size() && inside(y[hi + 1])) ++hi;
  if (hi - lo + 1 <= 2) return false;
  std::vector<double> xs, ys, c;
  for (size_t i = lo; i <= hi; ++i) {
    xs.push_back(double(i));
    ys.push_back(y[i]);
  }
  if (PolFit_BAS(xs, ys, 2, c) != 0 || c.size() < 3 || c[2] == 0) return false;
  const double at = -c[1] / (2 * c[2]);
  if (!std::isfinite(at)) return false;
  e.Index = at;
  e.Value = PolyValue(at, 2, c);
  return true;
}

}  // namespace

std::vector<Extreme> FindExtremes(std::span<const float> y, float d, bool fit) {
  std::vector<Extreme> out;
  if (y.empty() || !(d > 0)) return out;
  const float s = y[0];
  size_t i = 1;
  bool maximum = false;
  for (;; ++i) {
    if (i >= y.size()) return out;
    if (y[i] > s + d) {
      maximum = true;
      break;
    }
    if (y[i] < s - d) break;
  }
  while (i < y.size()) {
    float m = y[i];
    size_t k = i;
    bool ended = false;
    for (++i; i < y.size(); ++i) {
      if (maximum ? y[i] >= m : y[i] <= m) {
        m = y[i];
        k = i;
      } else if (maximum ? y[i] <= m - d : y[i] >= m + d) {
        ended = true;
        break;
      }
    }
    if (!ended) break;
    Extreme e{double(k), double(m), maximum};
    if (fit) Refine(y, k, d, maximum, e);
    out.push_back(e);
    maximum = !maximum;
  }
  return out;
}

GrowthResult RatesFromExtremes(const std::vector<Extreme>& extremes, double dt) {
  GrowthResult r;
  if (extremes.empty()) {
    r.Message = "No Min/Max found. Check Range and Amplidute Threshold Value.";
    return r;
  }
  RunningStatistics stats;
  for (size_t i = 2; i < extremes.size(); ++i) {
    const double span = (extremes[i].Index - extremes[i - 2].Index) * dt;
    if (span != 0) stats.Add(float(1 / span), 0);
  }
  float mean = 0, dev = 0, unused = 0;
  stats.Mean(mean, unused);
  const bool withDeviation = extremes.size() >= 4 && stats.Deviation(dev, unused);
  r.GrowthRate = FixedText(mean, 3);
  if (withDeviation) r.GrowthRate += " \xC2\xB1" + FixedText(dev, 3);
  r.Rate = mean;
  if (mean == 0) {
    r.Tau = "Error";
    r.Message = "Division by Zero";
    return r;
  }
  r.Tau = FixedText(1 / mean, 3);
  if (withDeviation) r.Tau += " \xC2\xB1" + FixedText(dev / mean * 100, 1) + "%";
  r.Ok = true;
  return r;
}

FftSpectrum FftGrowth(std::span<const float> y, double dt) {
  FftSpectrum f;
  f.N = int(y.size());
  // The mean comes off before the padding: zeros after a record with a large
  // mean would make a step whose leakage drowns the oscillation.
  double mean = 0;
  for (float v : y) mean += v;
  mean = y.empty() ? 0 : mean / double(y.size());
  std::vector<float> values;
  values.reserve(y.size());
  for (float v : y) values.push_back(float(v - mean));
  if (!FFT_expand(values) || !(dt > 0)) {
    f.Result.Message = "Cannot perform FFT calculation";
    return f;
  }
  f.M = int(values.size());
  f.Status = "FFT: " + std::to_string(f.N) + " data points expanded to " + std::to_string(f.M) +
             " data points.";
  const size_t h = values.size() / 2;
  std::vector<float> re(h + 1), im(h + 1);
  if (!FFT(values, re, im, kFFTForward)) {
    f.Result.Message = "Cannot perform FFT calculation";
    return f;
  }
  f.Dc = float(std::abs(mean));
  re[0] = f.Dc;
  im[0] = 0;
  size_t best = 0;
  for (size_t i = 0; i <= h; ++i) {
    f.Frequency.push_back(float(double(i) / (double(f.M) * dt)));
    f.Amplitude.push_back(std::hypot(re[i], im[i]));
    if (i >= 1 && i < h && (best == 0 || f.Amplitude[i] > f.Amplitude[best])) best = i;
  }
  f.Ok = true;
  if (best == 0) {
    f.Result.Message = "Not enough data selected";
    return f;
  }
  const double rate = f.Frequency[best];
  f.Result.Ok = true;
  f.Result.Rate = rate;
  f.Result.GrowthRate = FixedText(rate, 3);
  f.Result.Tau = FixedText(1 / rate, 3);
  return f;
}

}  // namespace sv
