#include "fit/polfit.h"

#include <cmath>
#include <cstddef>

namespace sv {

namespace {

// Gaussian elimination with partial pivoting on the n x (n + 1) matrix a.
// False for a singular system: a pivot that is nothing beside the largest
// entry of its column.
bool Solve(std::vector<std::vector<double>>& a, std::vector<double>& x) {
  const size_t n = a.size();
  for (size_t col = 0; col < n; ++col) {
    double scale = 0;
    for (size_t r = 0; r < n; ++r) scale = std::fmax(scale, std::fabs(a[r][col]));
    size_t pivot = col;
    for (size_t r = col + 1; r < n; ++r)
      if (std::fabs(a[r][col]) > std::fabs(a[pivot][col])) pivot = r;
    if (scale == 0 || std::fabs(a[pivot][col]) <= scale * 1e-10) return false;
    std::swap(a[col], a[pivot]);
    for (size_t r = col + 1; r < n; ++r) {
      const double f = a[r][col] / a[col][col];
      if (f == 0) continue;
      for (size_t c = col; c <= n; ++c) a[r][c] -= f * a[col][c];
    }
  }
  x.assign(n, 0.0);
  for (size_t i = n; i-- > 0;) {
    double s = a[i][n];
    for (size_t c = i + 1; c < n; ++c) s -= a[i][c] * x[c];
    x[i] = s / a[i][i];
  }
  for (double v : x)
    if (!std::isfinite(v)) return false;
  return true;
}

}  // namespace

int PolFit_BAS(std::span<const double> x, std::span<const double> y, int degree,
               std::vector<double>& coefficients) {
  if (degree < 0) return 1;
  const size_t terms = size_t(degree) + 1;
  const size_t n = x.size() < y.size() ? x.size() : y.size();
  if (n < terms) return 2;
  // The sums are formed on u = (x - mid) / half, which keeps them of one size
  // when the points lie far from 0 (times late in a run); the coefficients
  // are turned back to x at the end.
  double lo = 0, hi = 0;
  for (size_t i = 0; i < n; ++i) {
    if (!std::isfinite(x[i]) || !std::isfinite(y[i])) return 3;
    if (i == 0 || x[i] < lo) lo = x[i];
    if (i == 0 || x[i] > hi) hi = x[i];
  }
  const double mid = (lo + hi) / 2, half = (hi - lo) / 2;
  if (degree > 0 && !(half > 0)) return 4;
  const double scale = half > 0 ? half : 1;
  // Power sums of u up to 2 * degree, and the moments of y.
  std::vector<double> su(2 * terms - 1, 0.0), sy(terms, 0.0);
  for (size_t i = 0; i < n; ++i) {
    const double u = (x[i] - mid) / scale;
    double p = 1;
    for (size_t k = 0; k < su.size(); ++k) {
      su[k] += p;
      if (k < terms) sy[k] += p * y[i];
      p *= u;
    }
  }
  std::vector<std::vector<double>> a(terms, std::vector<double>(terms + 1));
  for (size_t r = 0; r < terms; ++r) {
    for (size_t c = 0; c < terms; ++c) a[r][c] = su[r + c];
    a[r][terms] = sy[r];
  }
  std::vector<double> b;
  if (!Solve(a, b)) return 4;
  // sum b_k ((x - mid) / scale)^k as a polynomial in x.
  std::vector<double> c(terms, 0.0);
  for (size_t k = 0; k < terms; ++k) {
    const double bk = b[k] / std::pow(scale, double(k));
    double binom = 1;  // C(k, j)
    for (size_t j = 0; j <= k; ++j) {
      c[j] += bk * binom * std::pow(-mid, double(k - j));
      binom = binom * double(k - j) / double(j + 1);
    }
  }
  for (double v : c)
    if (!std::isfinite(v)) return 4;
  coefficients = std::move(c);
  return 0;
}

double PolyValue(double x, int degree, std::span<const double> c) {
  double v = 0;
  for (int i = degree; i >= 0; --i) v = v * x + (size_t(i) < c.size() ? c[size_t(i)] : 0.0);
  return v;
}

}  // namespace sv
