#include "image/kernel/fft.h"

#include <fftw3.h>

#include <cmath>
#include <cstddef>
#include <memory>

namespace sv {

namespace {

constexpr size_t kMostValues = size_t(1) << 30;

bool PowerOfTwo(size_t n) { return n >= 2 && (n & (n - 1)) == 0; }

struct FftwFree {
  void operator()(void* p) const { fftw_free(p); }
};
struct PlanFree {
  void operator()(fftw_plan p) const { fftw_destroy_plan(p); }
};
using Plan = std::unique_ptr<std::remove_pointer_t<fftw_plan>, PlanFree>;

// The factor from an FFTW bin to an amplitude: 1 / N for the mean and the
// alternating bin, which stand alone, 2 / N for the others, which share their
// power with their mirror bin.
double BinScale(size_t k, size_t n) { return (k == 0 || 2 * k == n) ? 1.0 / double(n) : 2.0 / double(n); }

}  // namespace

bool FFT_expand(std::vector<float>& values) {
  const size_t n = values.size();
  if (n == 0 || n > kMostValues) return false;
  size_t padded = 2;  // the shortest transform
  while (padded < n) padded <<= 1;
  values.resize(padded, 0.0f);
  return true;
}

bool FFT(std::span<float> samples, std::span<float> real, std::span<float> imag, int direction) {
  const size_t n = samples.size();
  if (!PowerOfTwo(n) || n > kMostValues) return false;
  if (direction != kFFTForward && direction != kFFTInverse) return false;
  const size_t bins = n / 2 + 1;
  if (real.size() < bins || imag.size() < bins) return false;

  std::unique_ptr<double, FftwFree> time(fftw_alloc_real(n));
  std::unique_ptr<fftw_complex, FftwFree> freq(fftw_alloc_complex(bins));
  if (!time || !freq) return false;
  // FFTW_ESTIMATE plans without trial runs, so the same input always takes the
  // same arithmetic.
  if (direction == kFFTForward) {
    Plan plan(fftw_plan_dft_r2c_1d(int(n), time.get(), freq.get(), FFTW_ESTIMATE));
    if (!plan) return false;
    for (size_t i = 0; i < n; ++i) time.get()[i] = samples[i];
    fftw_execute(plan.get());
    for (size_t k = 0; k < bins; ++k) {
      const double s = BinScale(k, n);
      real[k] = float(freq.get()[k][0] * s);
      imag[k] = float(freq.get()[k][1] * s);
    }
  } else {
    Plan plan(fftw_plan_dft_c2r_1d(int(n), freq.get(), time.get(), FFTW_ESTIMATE));
    if (!plan) return false;
    for (size_t k = 0; k < bins; ++k) {
      const double s = BinScale(k, n);
      const bool alone = k == 0 || 2 * k == n;
      freq.get()[k][0] = double(real[k]) / s;
      freq.get()[k][1] = alone ? 0.0 : double(imag[k]) / s;
    }
    fftw_execute(plan.get());
    // FFTW's backward transform is the sum over the bins, N times the samples.
    for (size_t i = 0; i < n; ++i) samples[i] = float(time.get()[i] / double(n));
  }
  return true;
}

bool FFT_polar(std::span<const float> real, std::span<const float> imag,
               std::span<float> amplitude, std::span<float> phase) {
  const size_t n = real.size();
  if (imag.size() != n || amplitude.size() != n || phase.size() != n) return false;
  for (size_t k = 0; k < n; ++k) {
    const double re = real[k], im = imag[k];
    amplitude[k] = float(std::hypot(re, im));
    phase[k] = float(std::atan2(im, re));
  }
  return true;
}

}  // namespace sv
