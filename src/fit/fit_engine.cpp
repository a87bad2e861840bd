#include "fit/fit_engine.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace sv {

namespace {

// The work arrays of the running fit.
struct FitWork {
  std::vector<float> Residual;  // 1..NData in [0..NData-1]
  std::vector<float> Scratch;   // residuals of a Jacobian column
  std::vector<float> P, PTrial;  // 1..NPar in [0..NPar-1]
  FitMatrix W;                   // (NPar+3) columns
  float Lambda = 1.0f;
  int IterLimit = 0;
};

FitWork& Work() {
  static FitWork w;
  return w;
}

float SumOfSquares(const std::vector<float>& v) {
  float s = 0.0f;
  for (float x : v) s += x * x;
  return s;
}

// Square root of the sum of (Y - Fit) squared, over NData.
float StdDev() {
  const auto& pts = FitG().Points;
  if (pts.empty()) return 0.0f;
  float s = 0.0f;
  for (const auto& p : pts) {
    const float d = p.Y - p.Fit;
    s += d * d;
  }
  return std::sqrt(s) / float(pts.size());
}

// Fills W's columns 1..NPar with the forward-difference Jacobian of the
// residuals at P (which Residual must belong to). The sign is that of the
// model's derivative: the residual falls when the model rises.
void ndf() {
  auto& g = FitG();
  auto& w = Work();
  const int n = g.Run.NPar, m = g.Run.NData;
  const float step = g.Settings.DiffStep;
  for (int j = 1; j <= n; ++j) {
    float& pj = w.P[size_t(j - 1)];
    float delta = std::fabs(pj) * step;
    if (pj == 0.0f) delta = step;
    pj += delta;
    calfun(w.P, w.Scratch);
    float* col = w.W.Column(j);
    for (int i = 0; i < m; ++i) col[i] = (w.Residual[size_t(i)] - w.Scratch[size_t(i)]) / delta;
    pj -= delta;
  }
}

// Ends the iteration with `code`, at the last accepted parameters.
void ReturnCode(int code) {
  auto& g = FitG();
  auto& w = Work();
  calfun(w.P, w.Residual);
  g.Run.Status = code;
  g.Run.Iterations -= 1;  // the last iteration does not count
  g.Run.SOS = SumOfSquares(w.Residual);
  g.Run.StdDevWith = StdDev();
  if (g.Run.WantErrors)
    g.Run.Stage = 2;
  else
    g.Run.DoneFlag = true;
}

void StartFit() {
  auto& g = FitG();
  auto& r = g.Run;
  auto& w = Work();
  r.StartFlag = false;
  r.DoneFlag = false;
  r.Status = kFitRunning;
  r.Stage = 1;
  r.Correlation.clear();
  r.NPar = 0;
  for (int i = 1; i <= kFitParMax; ++i)
    if (g.Par[size_t(i)].Link > 0) ++r.NPar;
  r.NData = int(g.Points.size());
  if (r.NPar == 0) r.Status = kFitNoPar;
  if (r.NData == 0) r.Status = kFitNoData;
  if (r.Status != 0) {
    r.Stage = 2;
    r.DoneFlag = true;
    return;
  }
  const int n = r.NPar, m = r.NData;
  w.Residual.assign(size_t(m), 0.0f);
  w.Scratch.assign(size_t(m), 0.0f);
  w.P.assign(size_t(n), 0.0f);
  w.PTrial.assign(size_t(n), 0.0f);
  // Columns n+2 and n+3 hold n numbers each, also when there are fewer points.
  w.W = FitMatrix(n + 3, std::max(m, n));

  int k = 0;
  for (int i = 1; i <= kFitParMax; ++i) {
    FitParameter& e = g.Par[size_t(i)];
    if (e.Link < 0 && -e.Link <= kFitParMax) e.Input = g.Par[size_t(-e.Link)].Input;
    e.Value = e.Input;
    e.Error = 0.0f;
    e.Slot = 0;
    if (e.Link > 0) {
      ++k;
      e.Link = k;
      w.P[size_t(k - 1)] = e.Input;
      g.Par[size_t(k)].Slot = i;
    }
  }

  for (auto& p : g.Points) {
    if (g.Settings.FitWght == 2) {
      p.Sigma = p.Y > 0.0f ? std::sqrt(p.Y) : 0.0f;
      if (p.Sigma == 0.0f) p.Sigma = 1.0f;
    } else {
      p.Sigma = 1.0f;
    }
  }
  if (g.Settings.MaxDmpg == 0) g.Settings.MaxDmpg = 5;

  r.Damping = 0;
  w.Lambda = 1.0f;
  w.IterLimit = g.Settings.MaxFun / (n + 1);

  for (int j = 1; j <= n; ++j) w.W(n + 3, j) = w.P[size_t(j - 1)];
  calfun(w.P, w.Residual);
  r.Iterations = 0;
  r.Calls = 1;
  for (int i = 1; i <= m; ++i) w.W(n + 1, i) = w.Residual[size_t(i - 1)];
  r.SOS = SumOfSquares(w.Residual);
  r.StdDevWithout = StdDev();
}

void Iterate() {
  auto& g = FitG();
  auto& r = g.Run;
  auto& w = Work();
  const FitSettings& s = g.Settings;
  const int n = r.NPar, m = r.NData;

  r.Iterations += 1;
  bool doubled = false, finalTrial = false, halved = false;
  if (r.Iterations > w.IterLimit || r.Calls + n + 1 > s.MaxFun) return ReturnCode(kFitTooManyCalls);

  ndf();
  r.Calls += n;
  if (house(n, m, w.W)) return ReturnCode(kFitSingular);

  float dist = 0.0f;
  for (;;) {
    float d2 = 0.0f;
    for (int j = 1; j <= n; ++j) {
      const float t = w.P[size_t(j - 1)] + w.Lambda * w.W(1, j);
      w.PTrial[size_t(j - 1)] = t;
      const float d = t - w.W(n + 3, j);
      d2 += d * d;
    }
    dist = std::sqrt(d2);
    if (r.Calls >= s.MaxFun) return ReturnCode(kFitTooManyCalls);

    calfun(w.PTrial, w.Residual);
    r.Calls += 1;
    const float sosNew = SumOfSquares(w.Residual);
    for (int i = 1; i <= m; ++i) w.W(n + 1, i) = w.Residual[size_t(i - 1)];

    if (finalTrial) {
      r.SOS = sosNew;
      w.P = w.PTrial;
      return;
    }
    if (dist <= s.Dmax && r.SOS * 1.000001f > sosNew) {
      if (r.Damping > 0 && !halved) {
        // Good at the damped step: try twice the step before moving.
        r.SOS = sosNew;
        doubled = true;
        w.Lambda *= 2.0f;
        r.Damping -= 1;
        continue;
      }
      if (r.Damping > 0) {
        r.SOS = sosNew;
        w.P = w.PTrial;
        return;
      }
      // Undamped: the convergence tests use the old sum and leave P where it is.
      if (r.SOS - sosNew <= s.SOSslope * r.SOS) return ReturnCode(kFitSlope);
      if (r.SOS < s.minSOS) return ReturnCode(kFitSmallSOS);
      r.SOS = sosNew;
      w.P = w.PTrial;
      return;
    }
    if (doubled) finalTrial = true;
    halved = true;
    if (r.Damping > s.MaxDmpg) break;
    w.Lambda *= 0.5f;
    r.Damping += 1;
  }
  ReturnCode(dist >= s.Dmax ? kFitOutOfRadius : kFitNoDecrease);
}

}  // namespace

FitState& FitG() {
  static FitState state;
  return state;
}

std::string fiterrorStr(int code) {
  switch (code) {
    case -11: return "Fit canceld by user";
    case -10: return "Fit unsuccessful, division by zero";
    case -9: return "Fit unsuccessful, not enough memory";
    case -8: return "Fit unsuccessful, too many data";
    case -7: return "Fit unsuccessful, there is no data to fit";
    case -6: return "Fit unsuccessful, too many parameters";
    case -5: return "Fit unsuccessful, there is no parameter to fit";
    case -4: return "Fit unsuccessful, Jacobian matrix is singular";
    case -3: return "Fit unsuccessful, no solution within given convergence radius";
    case -2: return "Fit unsuccessful, too many function calls";
    case -1: return "Fit unsuccessful, sum of squares no longer decreases";
    case 0: return "Fitting ... ";
    case 1: return "Fit converged due to slope criterium";
    case 2: return "Fit converged since sum of squares small enough";
    default: return "";
  }
}

void newpar(const std::vector<float>& p) {
  auto& g = FitG();
  size_t k = 0;
  for (int i = 1; i <= kFitParMax; ++i) {
    FitParameter& e = g.Par[size_t(i)];
    if (e.Link > 0) {
      e.Value = k < p.size() ? p[k] : e.Input;
      ++k;
    } else if (e.Link == 0) {
      e.Value = e.Input;
    } else if (-e.Link <= kFitParMax) {
      e.Value = g.Par[size_t(-e.Link)].Value;
    } else {
      e.Value = e.Input;  // a tie to no entry counts as fixed
    }
  }
  if (g.Model.Refresh) g.Model.Refresh();
}

void calfun(const std::vector<float>& p, std::vector<float>& residual) {
  auto& g = FitG();
  const size_t m = g.Points.size();
  residual.resize(m);
  if (g.Run.Status == kFitDivByZero) {
    for (size_t i = 0; i < m; ++i) {
      g.Points[i].Fit = 0.0f;
      residual[i] = 0.0f;
    }
    return;
  }
  newpar(p);
  const float s = std::sqrt(float(m));
  for (size_t i = 0; i < m; ++i) {
    FitPoint& pt = g.Points[i];
    pt.Fit = g.Model.Theo ? g.Model.Theo(int(i)) : 0.0f;
    residual[i] = (pt.Y - pt.Fit) / (s * pt.Sigma);
  }
}

bool house(int n, int m, FitMatrix& W) {
  if (m < n) return true;
  for (int k = 1; k <= n; ++k) {
    float* wk = W.Column(k);
    float s = 0.0f;
    for (int i = k; i <= m; ++i) s += wk[i - 1] * wk[i - 1];
    if (s == 0.0f) return true;
    float alpha = std::sqrt(s);
    if (wk[k - 1] < 0.0f) alpha = -alpha;
    W(n + 2, k) = alpha;
    const float beta = 1.0f / (alpha * wk[k - 1] + s);
    wk[k - 1] += alpha;
    for (int j = k + 1; j <= n + 1; ++j) {
      float* wj = W.Column(j);
      float sum = 0.0f;
      for (int i = k; i <= m; ++i) sum += wk[i - 1] * wj[i - 1];
      const float t = beta * sum;
      for (int i = k; i <= m; ++i) wj[i - 1] = t * wk[i - 1] - wj[i - 1];
    }
  }
  if (std::fabs(W(n + 2, n)) == 0.0f) return true;
  for (int r = n; r >= 1; --r) {
    float t = 0.0f;
    for (int j = r + 1; j <= n; ++j) t += W(j, r) * W(1, j);
    W(1, r) = (W(n + 1, r) - t) / W(n + 2, r);
  }
  return false;
}

bool matinv(int n, FitMatrix& A) {
  // A(i, j): i the row.
  std::vector<int> swapped(size_t(n) + 1, 0);
  for (int k = 1; k <= n; ++k) {
    int pivotRow = k;
    float big = 0.0f;
    for (int i = k; i <= n; ++i) {
      if (std::fabs(A(i, k)) > big) {
        big = std::fabs(A(i, k));
        pivotRow = i;
      }
    }
    if (big == 0.0f) return true;
    swapped[size_t(k)] = pivotRow;
    if (pivotRow != k)
      for (int j = 1; j <= n; ++j) std::swap(A(k, j), A(pivotRow, j));
    const float pivot = A(k, k);
    A(k, k) = 1.0f;
    for (int j = 1; j <= n; ++j) A(k, j) /= pivot;
    for (int i = 1; i <= n; ++i) {
      if (i == k) continue;
      const float f = A(i, k);
      if (f == 0.0f) continue;
      A(i, k) = 0.0f;
      for (int j = 1; j <= n; ++j) A(i, j) -= f * A(k, j);
    }
  }
  for (int k = n; k >= 1; --k) {
    const int p = swapped[size_t(k)];
    if (p != k)
      for (int i = 1; i <= n; ++i) std::swap(A(i, k), A(i, p));
  }
  return false;
}

void calcError() {
  auto& g = FitG();
  auto& r = g.Run;
  auto& w = Work();
  if (r.Status <= kFitSingular || w.P.empty()) return;
  const int n = r.NPar, m = r.NData;
  const float rms = std::sqrt(SumOfSquares(w.Residual) / float(m));
  ndf();
  // The table and the points go back to the final parameters.
  calfun(w.P, w.Scratch);

  FitMatrix a(n, n);
  for (int i = 1; i <= n; ++i) {
    const float* ci = w.W.Column(i);
    for (int j = i; j <= n; ++j) {
      const float* cj = w.W.Column(j);
      float s = 0.0f;
      for (int k = 0; k < m; ++k) s += ci[k] * cj[k];
      a(i, j) = s;
      a(j, i) = s;
    }
  }
  if (matinv(n, a)) return;
  r.Correlation.assign(size_t(n) * size_t(n), 0);
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= n; ++j) {
      const float d = std::sqrt(std::fabs(a(i, i) * a(j, j)));
      float c = d > 0.0f ? 100.0f * a(i, j) / d : 0.0f;
      if (!std::isfinite(c)) c = 0.0f;
      c = std::nearbyint(std::fmax(-32768.0f, std::fmin(32767.0f, c)));
      r.Correlation[size_t(i - 1) * size_t(n) + size_t(j - 1)] = int16_t(c);
    }
  }
  for (int i = 1; i <= n; ++i) {
    const int slot = g.Par[size_t(i)].Slot;
    if (slot >= 1 && slot <= kFitParMax) g.Par[size_t(slot)].Error = std::sqrt(std::fabs(a(i, i))) * rms;
  }
}

void gradhd(int phase) {
  if (phase == 0)
    StartFit();
  else
    Iterate();
}

void FitFreeArrays() {
  auto& w = Work();
  w.Residual = {};
  w.Scratch = {};
  w.P = {};
  w.PTrial = {};
  w.W = FitMatrix();
}

void hillefit() {
  auto& r = FitG().Run;
  if (r.StartFlag) {
    r.Stage = 0;
    gradhd(0);
    return;
  }
  if (r.DoneFlag) return;
  if (r.Stage == 1) {
    gradhd(1);
  } else if (r.Stage == 2) {
    if (r.WantErrors) calcError();
    r.DoneFlag = true;
    FitFreeArrays();
    r.Stage = 0;
  }
}

}  // namespace sv
