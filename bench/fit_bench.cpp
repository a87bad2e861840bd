// The fit engine: one iteration of a fit of five Gaussians on a slope to
// 2,000 points (17 free parameters), beside one evaluation of the model over
// all the points. An iteration costs NPar + 1 evaluations at least (the
// Jacobian and one trial) plus the Householder step; it is held to 3 x NPar
// evaluations.
#include <cmath>
#include <string>

#include "fit/fit_engine.h"
#include "harness.h"

namespace {

constexpr int kPoints = 2000, kPeaks = 5, kFree = 2 + 3 * kPeaks;

float Gauss(float x, float xc, float h, float w) {
  if (w == 0.0f) return 0.0f;
  const float t = 2.0f * (x - xc) / w;
  const float e = t * t;
  return e > 88.0f ? 0.0f : h * std::exp(-e);
}

// Y0, m, then centre, height and width of each peak.
void SetUpFit() {
  auto& g = sv::FitG();
  g.Settings = sv::FitSettings{};
  g.Par = {};
  const float xc[kPeaks] = {200, 500, 560, 1200, 1600}, h[kPeaks] = {1000, 800, 600, 1200, 400},
              w[kPeaks] = {30, 40, 50, 60, 80};
  g.Par[1] = {1, "Y0", 45.0f, 0, 0, 0};
  g.Par[2] = {1, "m", 0.012f, 0, 0, 0};
  for (int k = 0; k < kPeaks; ++k) {
    g.Par[size_t(3 + 3 * k)] = {1, "Xc", xc[k] + 2.0f, 0, 0, 0};
    g.Par[size_t(4 + 3 * k)] = {1, "H", h[k] * 0.95f, 0, 0, 0};
    g.Par[size_t(5 + 3 * k)] = {1, "W", w[k] * 1.05f, 0, 0, 0};
  }
  g.Model.Refresh = nullptr;
  g.Model.Theo = [](int i) {
    const auto& g = sv::FitG();
    const float x = g.Points[size_t(i)].X;
    float y = g.Par[1].Value + g.Par[2].Value * x;
    for (int k = 0; k < kPeaks; ++k)
      y += Gauss(x, g.Par[size_t(3 + 3 * k)].Value, g.Par[size_t(4 + 3 * k)].Value,
                 g.Par[size_t(5 + 3 * k)].Value);
    return y;
  };
  g.Points.assign(kPoints, {});
  for (int i = 0; i < kPoints; ++i) {
    const float x = float(i);
    float y = 50.0f + 0.01f * x;
    for (int k = 0; k < kPeaks; ++k) y += Gauss(x, xc[k], h[k], w[k]);
    g.Points[size_t(i)].X = x;
    g.Points[size_t(i)].Y = y + 3.0f * std::sin(0.37f * x);  // fixed ripple as noise
  }
}

std::vector<float>& Residual() {
  static std::vector<float> r(kPoints);
  return r;
}

SVBENCH_ROWS(FitRows) {
  const std::string eval = "fit model evaluation (2000 points, 5 Gaussians)";
  const std::string iter = "fit iteration (17 free parameters, 2000 points)";
  constexpr size_t bytes = size_t(kPoints) * sizeof(sv::FitPoint);
  svbench::Kernel(eval, bytes, [] {
    static const bool ready = (SetUpFit(), true);
    (void)ready;
    std::vector<float> p(kFree);
    for (int i = 1; i <= kFree; ++i) p[size_t(i - 1)] = sv::FitG().Par[size_t(i)].Input;
    sv::calfun(p, Residual());
    svbench::Use(Residual().data());
  });
  // A fresh start and its first iteration; the start adds one evaluation.
  svbench::Kernel(iter, bytes, [] {
    SetUpFit();
    sv::gradhd(0);
    sv::gradhd(1);
    svbench::Use(&sv::FitG().Run.SOS);
  });
  svbench::TargetAgainst(iter, eval, 3.0 * kFree);
  svbench::Note([] {
    SetUpFit();
    sv::gradhd(0);
    sv::gradhd(1);
    const auto& r = sv::FitG().Run;
    const std::string line = "fit: start and first iteration made " + std::to_string(r.Calls) +
                             " model evaluations for " + std::to_string(r.NPar) +
                             " free parameters (status " + std::to_string(r.Status) + ")";
    sv::FitFreeArrays();
    return line;
  });
}

}  // namespace
