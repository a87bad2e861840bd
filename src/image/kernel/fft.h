// The real Fourier transform of a worksheet column, on FFTW.
#pragma once

#include <span>
#include <vector>

namespace sv {

constexpr int kFFTForward = 1;
constexpr int kFFTInverse = -1;

// Brings the number of values up to the next power of two, at least 2, by
// appending zeros (a count that is already one stays). The sample step stays the
// same, so bin k of the padded transform lies at k / (N * step); the padding
// only refines the frequency grid. False, with the values untouched, for no
// values or more than 2^30.
bool FFT_expand(std::vector<float>& values);

// Forward (kFFTForward): the N `samples` (N a power of two, at least 2) give
// `real` and `imag`, N / 2 + 1 values each, bin k at k / N cycles a sample.
// The bins are scaled as amplitudes: A * cos(2 pi k n / N + phi) gives
// real[k] = A cos(phi), imag[k] = A sin(phi), for bins 0 and N / 2 the mean
// and the alternating part themselves. Inverse (kFFTInverse): `real` and
// `imag` give the N `samples` back (imag of bins 0 and N / 2 is not read).
// False, with nothing written, for another N, spans too short or another
// direction. The transform is computed in double precision.
bool FFT(std::span<float> samples, std::span<float> real, std::span<float> imag, int direction);

// Amplitude sqrt(re^2 + im^2) and phase atan2(im, re), in radians from -pi to
// pi, of each bin. False when the spans differ in length.
bool FFT_polar(std::span<const float> real, std::span<const float> imag,
               std::span<float> amplitude, std::span<float> phase);

}  // namespace sv
