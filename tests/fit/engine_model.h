// A small peak model for the engine's tests: entry 1 the background Y0,
// entry 2 the slope m, then per peak k entries 3k, 3k+1, 3k+2 the centre,
// height and width. Gaussians have the full width at 1/e, Lorentzians the
// full width at half height.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "fit/fit_engine.h"

namespace svtest {

struct PeakSpec {
  float xc, h, w;
};

inline float GaussAt(float x, float xc, float h, float w) {
  if (w == 0.0f) return 0.0f;
  const float t = 2.0f * (x - xc) / w;
  const float e = t * t;
  return e > 88.0f ? 0.0f : h * std::exp(-e);
}

inline float LorentzAt(float x, float xc, float h, float w) {
  if (w == 0.0f) return 0.0f;
  const float t = 2.0f * (x - xc) / w;
  return h / (1.0f + t * t);
}

// Sets up the table with `peaks` peaks (entries all free) and the model.
inline void UsePeakModel(int peaks, bool lorentz = false) {
  auto& g = sv::FitG();
  g.Par = {};
  g.Par[1] = {1, "Y0", 0, 0, 0, 0};
  g.Par[2] = {1, "m", 0, 0, 0, 0};
  for (int k = 1; k <= peaks; ++k) {
    g.Par[size_t(3 * k)] = {1, "Xc" + std::to_string(k), 0, 0, 0, 0};
    g.Par[size_t(3 * k + 1)] = {1, "H" + std::to_string(k), 0, 0, 0, 0};
    g.Par[size_t(3 * k + 2)] = {1, "W" + std::to_string(k), 0, 0, 0, 0};
  }
  g.Model.Refresh = nullptr;
  g.Model.Theo = [peaks, lorentz](int i) {
    const auto& g = sv::FitG();
    const float x = g.Points[size_t(i)].X;
    float y = g.Par[1].Value + g.Par[2].Value * x;
    for (int k = 1; k <= peaks; ++k) {
      const float xc = g.Par[size_t(3 * k)].Value, h = g.Par[size_t(3 * k + 1)].Value,
                  w = g.Par[size_t(3 * k + 2)].Value;
      y += lorentz ? LorentzAt(x, xc, h, w) : GaussAt(x, xc, h, w);
    }
    return y;
  };
}

// Points x0, x0 + dx, ... with Y from the exact model (plus `noise`, one value a point).
inline void MakePoints(int n, float x0, float dx, float y0, float m, const std::vector<PeakSpec>& peaks,
                       bool lorentz = false, const std::vector<float>& noise = {}) {
  auto& pts = sv::FitG().Points;
  pts.assign(size_t(n), {});
  for (int i = 0; i < n; ++i) {
    const float x = x0 + dx * float(i);
    double y = double(y0) + double(m) * double(x);
    for (const auto& p : peaks) y += lorentz ? LorentzAt(x, p.xc, p.h, p.w) : GaussAt(x, p.xc, p.h, p.w);
    if (size_t(i) < noise.size()) y += double(noise[size_t(i)]);
    pts[size_t(i)].X = x;
    pts[size_t(i)].Y = float(y);
  }
}

// Runs the fit the way the status window does, tick by tick, to its end.
// Returns the number of ticks.
inline int RunFit(int maxTicks = 10000) {
  auto& r = sv::FitG().Run;
  r.StartFlag = true;
  r.DoneFlag = false;
  r.WantErrors = true;
  int ticks = 0;
  while (!r.DoneFlag && ticks < maxTicks) {
    sv::hillefit();
    ++ticks;
  }
  return ticks;
}

inline void SetInputs(const std::vector<float>& inputs) {
  for (size_t i = 0; i < inputs.size(); ++i) sv::FitG().Par[i + 1].Input = inputs[i];
}

}  // namespace svtest
