#include "image/kernel/test_image.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace sv {

namespace {

// Screen geometry of a frame: all lengths scale with its smaller side.
struct Screen {
  double cx, cy;    // centre
  double radius;    // of the phosphor screen
  double step100;   // lattice step at 100 eV
  double sigma;     // spot width (gaussian)
};

Screen ScreenOf(FrameSize size) {
  const double m = double(std::min(size.width, size.height));
  return {(double(size.width) - 1) / 2, (double(size.height) - 1) / 2, 0.47 * m, 0.25 * m,
          std::max(0.8, 0.011 * m)};
}

double LatticeStep(const Screen& s, double energy) { return s.step100 * std::sqrt(100.0 / energy); }

// I(V) curve of the spots with h^2 + k^2 = n: a floor and three or four
// Bragg peaks, their places shifted from order to order, widening and
// weakening with energy. At most about 1.
double SpotCurve(int n, double energy) {
  const double golden = 0.6180339887498949;
  const double shift = 0.5 + 0.37 * (double(n) * golden - std::floor(double(n) * golden));
  double v = 0.25;
  for (int j = 0; j < 5; ++j) {
    const double peak = 18.0 + 40.0 * (j + shift) * (j + shift);
    const double width = 6.0 + 0.1 * peak;
    const double d = (energy - peak) / width;
    v += 0.75 * std::exp(-peak / 600.0) * std::exp(-d * d);
  }
  return v;
}

// Growth oscillation of the (0,0) spot: a maximum at every completed layer,
// damped as the surface roughens.
double Growth(double seconds) {
  const double t = std::max(seconds, 0.0);
  return 0.55 +
         0.45 * std::exp(-t / 150.0) * std::cos(2 * std::numbers::pi * t / kTestImageGrowthPeriod);
}

struct Spot {
  long x0, y0;        // first pixel of its square
  long side;          // 2 R + 1
  double amplitude;   // counts at the centre
  size_t gx, gy;      // offsets of its profiles in the pool
};

// Uniform in -amp..amp from the seed and the pixel's index.
inline int NoiseAt(uint64_t seed, uint64_t index, int amp) {
  uint64_t z = (seed << 32 ^ index) + 0x9E3779B97F4A7C15ull;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  z ^= z >> 31;
  return int(((z >> 32) * uint64_t(2 * amp + 1)) >> 32) - amp;
}

bool ParamsOk(const TestImageParams& p) {
  return std::isfinite(p.Energy) && p.Energy > 0 && std::isfinite(p.Time) && p.Bits >= 1 &&
         p.Bits <= 16 && p.Noise >= 0 && p.Noise <= 255;
}

template <int C>
bool TestImage(FrameSize size, Samples16 dest, const TestImageParams& p) {
  if (!Holds(dest, size, C) || !ParamsOk(p)) return false;
  const Screen s = ScreenOf(size);
  const double full = double((1L << p.Bits) - 1);
  const double step = LatticeStep(s, p.Energy);
  const long reach = long(std::ceil(4 * s.sigma));
  const long w = size.width, h = size.height;

  // The spots that touch the screen, each with its two gaussian profiles.
  std::vector<Spot> spots;
  std::vector<float> pool;
  const long most = std::min(long((s.radius + double(reach)) / step) + 1, 24L);
  for (int k = int(-most); k <= most; ++k)
    for (int hh = int(-most); hh <= most; ++hh) {
      const double x = s.cx + hh * step, y = s.cy + k * step;
      if (std::hypot(x - s.cx, y - s.cy) > s.radius + double(reach)) continue;
      const int n = hh * hh + k * k;
      const double amplitude = n == 0 ? full * 0.9 * SpotCurve(0, p.Energy) * Growth(p.Time)
                                      : full * 0.85 * SpotCurve(n, p.Energy) / (1.0 + 0.15 * n);
      Spot spot{long(std::lround(x)) - reach, long(std::lround(y)) - reach, 2 * reach + 1,
                amplitude, pool.size(), 0};
      for (long i = 0; i < spot.side; ++i) {
        const double d = (double(spot.x0 + i) - x) / s.sigma;
        pool.push_back(float(std::exp(-0.5 * d * d)));
      }
      spot.gy = pool.size();
      for (long i = 0; i < spot.side; ++i) {
        const double d = (double(spot.y0 + i) - y) / s.sigma;
        pool.push_back(float(std::exp(-0.5 * d * d)));
      }
      spots.push_back(spot);
    }

  const double back = full * 0.08 * std::exp(-p.Energy / 250.0);
  const double r2 = s.radius * s.radius;
  const int top = int(full);
  std::vector<float> row(static_cast<size_t>(w));
  for (long y = 0; y < h; ++y) {
    std::fill(row.begin(), row.end(), 0.0f);
    const double dy = double(y) - s.cy;
    long sx1 = 0, sx2 = -1;  // the screen's part of this row
    if (dy * dy <= r2) {
      const double half = std::sqrt(r2 - dy * dy);
      sx1 = std::max(long(std::ceil(s.cx - half)), 0L);
      sx2 = std::min(long(std::floor(s.cx + half)), w - 1);
    }
    for (long x = sx1; x <= sx2; ++x) {
      const double dx = double(x) - s.cx;
      row[size_t(x)] = float(back * (1.0 - 0.6 * (dx * dx + dy * dy) / r2));
    }
    for (const Spot& spot : spots) {
      if (y < spot.y0 || y >= spot.y0 + spot.side) continue;
      const float a = float(spot.amplitude) * pool[spot.gy + size_t(y - spot.y0)];
      const float* gx = pool.data() + spot.gx;
      const long x1 = std::max(spot.x0, sx1), x2 = std::min(spot.x0 + spot.side - 1, sx2);
      for (long x = x1; x <= x2; ++x) row[size_t(x)] += a * gx[x - spot.x0];
    }
    uint16_t* out = dest.data() + size_t(y) * size_t(w) * C;
    const uint64_t base = uint64_t(y) * uint64_t(w);
    for (long x = 0; x < w; ++x) {
      int v = int(std::lrint(row[size_t(x)])) + p.Noise;
      if (p.Noise > 0) v += NoiseAt(p.Seed, base + uint64_t(x), p.Noise);
      v = std::clamp(v, 0, top);
      if constexpr (C == 1) {
        out[x] = uint16_t(v);
      } else {
        out[3 * x] = uint16_t((uint32_t(v) * 77 + 128) >> 8);
        out[3 * x + 1] = uint16_t(v);
        out[3 * x + 2] = uint16_t((uint32_t(v) * 115 + 128) >> 8);
      }
    }
  }
  return true;
}

}  // namespace

bool SV_test_image(FrameSize size, Samples16 dest, const TestImageParams& params) {
  return TestImage<1>(size, dest, params);
}

bool SV_RGB_test_image(FrameSize size, Samples16 dest, const TestImageParams& params) {
  return TestImage<3>(size, dest, params);
}

SpotPlace SpotPosition(int h, int k, double energy, FrameSize size) {
  if (!(energy > 0)) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return {nan, nan};
  }
  const Screen s = ScreenOf(size);
  const double step = LatticeStep(s, energy);
  return {s.cx + h * step, s.cy + k * step};
}

}  // namespace sv
