#include "fit/polfit.h"

namespace sv {

int PolFit_BAS(std::span<const double>, std::span<const double>, int, std::vector<double>&) {
  return 1;
}

double PolyValue(double x, int degree, std::span<const double> c) {
  double v = 0;
  for (int i = degree; i >= 0; --i) v = v * x + (size_t(i) < c.size() ? c[size_t(i)] : 0.0);
  return v;
}

}  // namespace sv
