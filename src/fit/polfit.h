// Polynomial least squares in double precision.
#pragma once

#include <span>
#include <vector>

namespace sv {

// Fits c0 + c1 x + ... + c_degree x^degree to the points (x, y) through the
// normal equations of the power sums of x (taken about the middle of the
// x range, so that points far from 0 lose nothing). Returns 0 when all went well, a
// non-zero code otherwise (a negative degree 1, fewer points than terms 2,
// a value that is not finite 3, a singular system 4); on failure the
// coefficients are left as they were.
int PolFit_BAS(std::span<const double> x, std::span<const double> y, int degree,
               std::vector<double>& coefficients);
// The polynomial at x, by Horner's rule.
double PolyValue(double x, int degree, std::span<const double> coefficients);

}  // namespace sv
