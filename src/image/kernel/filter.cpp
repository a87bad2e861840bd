#include "image/kernel/filter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "image/kernel/simd_dispatch.h"

namespace sv {

namespace {

simd::Level g_level;

bool Overlaps(const uint16_t* a, const uint16_t* b, size_t n) {
  const auto pa = reinterpret_cast<uintptr_t>(a), pb = reinterpret_cast<uintptr_t>(b);
  return pa < pb + n * sizeof(uint16_t) && pb < pa + n * sizeof(uint16_t);
}

// Both spans hold the frame, and `dest` is `source` itself or apart from it.
template <int C>
bool SameSizeArgs(FrameSize size, ConstSamples16 source, Samples16 dest) {
  if (!Holds(source, size, C) || !Holds(dest, size, C)) return false;
  return source.data() == dest.data() || !Overlaps(source.data(), dest.data(), size.Samples(C));
}

int32_t TopLevel(int bits) { return int32_t((1u << bits) - 1); }

// Copies of the source lines around the current line, each with `radius`
// pixels of replicated edge on both sides, so that a neighbourhood never needs
// a test for the frame's edge. Lines above the first and below the last are
// the first and last line. The copies also let the result overwrite the
// source: a line is copied before any result line replaces it.
// `slack` samples of zeros follow each line, for loops that run in whole
// blocks past the line's end.
template <int C>
class LineWindow {
 public:
  LineWindow(FrameSize size, const uint16_t* source, int radius, size_t slack = 0)
      : width_(size.width),
        height_(size.height),
        source_(source),
        radius_(radius),
        slots_(2 * radius + 1),
        stride_(size_t(size.width + 2 * radius) * C + slack),
        store_(stride_ * size_t(slots_), 0) {}

  // Makes the lines around y ready; y runs 0, 1, 2, ... in order.
  void MoveTo(long y) {
    y_ = y;
    const long last = std::min(height_ - 1, y + radius_);
    for (; loaded_ <= last; ++loaded_) Load(loaded_);
  }

  // Line y + k for k in -radius .. radius; [x * C] is pixel x, valid for
  // x in -radius .. width - 1 + radius.
  const uint16_t* Line(int k) const {
    const long j = std::clamp(y_ + k, 0L, height_ - 1);
    return store_.data() + size_t(j % slots_) * stride_ + size_t(radius_) * C;
  }

 private:
  void Load(long j) {
    uint16_t* p = store_.data() + size_t(j % slots_) * stride_;
    const uint16_t* s = source_ + size_t(j) * size_t(width_) * C;
    const size_t line = size_t(width_) * C;
    std::memcpy(p + size_t(radius_) * C, s, line * 2);
    for (int k = 0; k < radius_; ++k)
      for (int c = 0; c < C; ++c) {
        p[size_t(k) * C + c] = s[c];
        p[size_t(radius_) * C + line + size_t(k) * C + c] = s[line - C + size_t(c)];
      }
  }

  long width_, height_;
  const uint16_t* source_;
  int radius_, slots_;
  size_t stride_;
  std::vector<uint16_t> store_;
  long y_ = 0, loaded_ = 0;
};

// --- Convolution ---------------------------------------------------------------

// n / d rounded to nearest, ties to even; d != 0.
int64_t RoundDivide(int64_t n, int64_t d) {
  if (d < 0) {
    n = -n;
    d = -d;
  }
  int64_t q = n / d, r = n % d;
  if (r < 0) {
    q -= 1;
    r += d;
  }
  if (2 * r > d || (2 * r == d && (q & 1))) ++q;
  return q;
}

struct Tap {
  int row, offset;  // line offset -radius..radius, sample offset across
  int32_t weight;
};

// How the sums of a filter are computed and divided. Every way gives the
// same samples; the wider ones are taken only where the narrower could be
// inexact. `bound` is the largest possible |sum|.
enum class SumWay { kFloat, kDouble, kWide };

SumWay ChooseWay(int64_t bound, int32_t factor) {
  // A float quotient of |sum| < 2^23 by an exact divisor is never on the wrong
  // side of a rounding step (the steps are at least 1 / (2 |factor|) away,
  // the error below |sum| / |factor| * 2^-24); a double quotient the same up
  // to 2^52, so any 32-bit sum.
  const int64_t f = std::abs(int64_t(factor));
  if (bound < (int64_t(1) << 23) && f <= (int64_t(1) << 24)) return SumWay::kFloat;
  if (bound < (int64_t(1) << 31)) return SumWay::kDouble;
  return SumWay::kWide;
}

constexpr int kChunk = 64;
// Sixteen lanes for AVX-512, eight for the others: a generic vector wider
// than the registers is not split into them on AVX2 but goes through memory,
// which costs ten times the time.
using I32x16 = int32_t __attribute__((vector_size(64)));
using U16x16 = uint16_t __attribute__((vector_size(32)));
using I32x8 = int32_t __attribute__((vector_size(32)));
using U16x8 = uint16_t __attribute__((vector_size(16)));

// The sums of kChunk samples from i0 on, into acc.
template <class I32, class U16>
__attribute__((always_inline)) inline void ChunkSums(const uint16_t* const* ptr,
                                                     const int32_t* weight, int n, long i0,
                                                     int32_t* acc) {
  constexpr int kLanes = int(sizeof(I32) / sizeof(int32_t));
  I32 sum[kChunk / kLanes] = {};
  for (int t = 0; t < n; ++t) {
    const uint16_t* p = ptr[t] + i0;
    const int32_t w = weight[t];
    for (int k = 0; k < kChunk / kLanes; ++k) {
      U16 v;
      std::memcpy(&v, p + kLanes * k, sizeof v);
      sum[k] += w * __builtin_convertvector(v, I32);
    }
  }
  std::memcpy(acc, sum, sizeof sum);
}

template <int C>
void FilterLine(const LineWindow<C>& window, const std::vector<Tap>& taps, long samples,
                int32_t factor, int32_t bias, int32_t top, SumWay way, uint16_t* out) {
  const int n = int(taps.size());
  const uint16_t* ptr[49];
  int32_t weight[49];
  for (int t = 0; t < n; ++t) {
    ptr[t] = window.Line(taps[size_t(t)].row) + taps[size_t(t)].offset;
    weight[t] = taps[size_t(t)].weight;
  }
  if (way == SumWay::kWide) {
    for (long i = 0; i < samples; ++i) {
      int64_t sum = 0;
      for (int t = 0; t < n; ++t) sum += int64_t(weight[t]) * ptr[t][i];
      const int64_t v = RoundDivide(sum, factor) + bias;
      out[i] = uint16_t(std::clamp<int64_t>(v, 0, top));
    }
    return;
  }
  simd::Run(
      g_level,
      [](const uint16_t* const* ptr, const int32_t* weight, int n, long samples, int32_t factor,
         int32_t bias, int32_t top, SumWay way, uint16_t* out, int level) SV_INLINE_BODY {
        const float ff = float(factor);
        const double fd = double(factor);
        // In the float way |sum / factor| < 2^23; a bias beyond +-2^25 clamps
        // the same as the bias itself.
        const int32_t biasF = std::clamp<int32_t>(bias, -(1 << 25), 1 << 25);
        const double biasD = double(bias), topD = double(top);
        for (long i0 = 0; i0 < samples; i0 += kChunk) {
          const int m = int(std::min<long>(kChunk, samples - i0));
          // Whole blocks, the sums held in vector registers; the lines run on
          // into their slack.
          alignas(64) int32_t acc[kChunk];
          if (level >= 2)
            ChunkSums<I32x16, U16x16>(ptr, weight, n, i0, acc);
          else
            ChunkSums<I32x8, U16x8>(ptr, weight, n, i0, acc);
          uint16_t* o = out + i0;
          if (way == SumWay::kFloat) {
            for (int j = 0; j < m; ++j) {
              int32_t v = int32_t(std::rint(float(acc[j]) / ff)) + biasF;
              v = v < 0 ? 0 : v;
              v = v > top ? top : v;
              o[j] = uint16_t(v);
            }
          } else {
            for (int j = 0; j < m; ++j) {
              double v = std::rint(double(acc[j]) / fd) + biasD;
              v = v < 0.0 ? 0.0 : v;
              v = v > topD ? topD : v;
              o[j] = uint16_t(int32_t(v));
            }
          }
        }
      },
      ptr, weight, n, samples, factor, bias, top, way, out, g_level.Get());
}

template <int C>
bool Filter(FrameSize size, ConstSamples16 source, Samples16 dest, const FilterRecord& filter,
            int bits, int radius) {
  if (filter.Factor == 0 || bits < 1 || bits > 16) return false;
  if (!SameSizeArgs<C>(size, source, dest)) return false;
  std::vector<Tap> taps;
  int64_t weightSum = 0;
  for (int r = -radius; r <= radius; ++r)
    for (int c = -radius; c <= radius; ++c) {
      const int32_t w = filter.Coefficients[(r + 3) * 7 + (c + 3)];
      if (w == 0) continue;
      taps.push_back(Tap{r, c * C, w});
      weightSum += std::abs(int64_t(w));
    }
  const SumWay way = ChooseWay(weightSum * 65535, filter.Factor);
  const long samples = size.width * C;
  LineWindow<C> window(size, source.data(), radius, kChunk);
  for (long y = 0; y < size.height; ++y) {
    window.MoveTo(y);
    FilterLine<C>(window, taps, samples, filter.Factor, filter.Bias, TopLevel(bits), way,
                  dest.data() + size_t(y) * size_t(samples));
  }
  return true;
}

// --- Morphology -------------------------------------------------------------------

template <bool kMax>
inline uint16_t Pick(uint16_t a, uint16_t b) {
  return kMax ? (a > b ? a : b) : (a < b ? a : b);
}

template <bool kMax>
inline uint16_t Pick3(uint16_t a, uint16_t b, uint16_t c) {
  return Pick<kMax>(Pick<kMax>(a, b), c);
}

// Each sample's neighbours across at the line's ends are the end sample itself.
template <bool kMax>
inline uint16_t AcrossAt(const uint16_t* s, long x, long w) {
  return Pick3<kMax>(s[x > 0 ? x - 1 : 0], s[x], s[x + 1 < w ? x + 1 : w - 1]);
}

// 8 neighbours: the extreme across each line (kept for three lines), then down
// the three. The line below is taken across in the same pass that writes the
// result, and is read before the result replaces anything, so the result may
// overwrite the source.
template <bool kMax>
void MorphSquare(FrameSize size, const uint16_t* source, uint16_t* dest) {
  const long w = size.width, h = size.height;
  std::vector<uint16_t> ring(3 * size_t(w));
  auto across = [&](long y) { return ring.data() + size_t(y % 3) * size_t(w); };
  const uint16_t* s0 = source;
  for (long x = 0; x < w; ++x) across(0)[x] = AcrossAt<kMax>(s0, x, w);
  for (long y = 0; y < h; ++y) {
    const uint16_t* up = across(y > 0 ? y - 1 : 0);
    const uint16_t* mid = across(y);
    uint16_t* out = dest + size_t(y) * size_t(w);
    if (y + 1 == h) {
      for (long x = 0; x < w; ++x) out[x] = Pick3<kMax>(up[x], mid[x], mid[x]);
      break;
    }
    const uint16_t* next = source + size_t(y + 1) * size_t(w);
    uint16_t* down = across(y + 1);
    const long ends[2] = {0, w - 1};
    for (long x : ends) {
      down[x] = AcrossAt<kMax>(next, x, w);
      out[x] = Pick3<kMax>(up[x], mid[x], down[x]);
    }
    simd::Run(
        g_level,
        [](const uint16_t* next, const uint16_t* up, const uint16_t* mid, uint16_t* down,
           uint16_t* out, long w) SV_INLINE_BODY {
          for (long x = 1; x + 1 < w; ++x) {
            const uint16_t d = Pick3<kMax>(next[x - 1], next[x], next[x + 1]);
            down[x] = d;
            out[x] = Pick3<kMax>(up[x], mid[x], d);
          }
        },
        next, up, mid, down, out, w);
  }
}

// 4 neighbours: the extreme across the line and the samples above and below.
// In place the line itself and the one above are read from copies.
template <bool kMax>
void MorphCross(FrameSize size, const uint16_t* source, uint16_t* dest) {
  const long w = size.width, h = size.height;
  const bool inPlace = source == dest;
  std::vector<uint16_t> copies(inPlace ? 2 * size_t(w) : 0);
  uint16_t* current = copies.data();
  uint16_t* previous = inPlace ? copies.data() + w : nullptr;
  for (long y = 0; y < h; ++y) {
    const uint16_t* line = source + size_t(y) * size_t(w);
    const uint16_t* down = source + size_t(y + 1 < h ? y + 1 : y) * size_t(w);
    const uint16_t* up = source + size_t(y > 0 ? y - 1 : 0) * size_t(w);
    if (inPlace) {
      std::swap(current, previous);
      std::memcpy(current, line, size_t(w) * 2);
      up = y > 0 ? previous : current;
      if (y + 1 == h) down = current;
      line = current;
    }
    uint16_t* out = dest + size_t(y) * size_t(w);
    const long ends[2] = {0, w - 1};
    for (long x : ends) out[x] = Pick3<kMax>(AcrossAt<kMax>(line, x, w), up[x], down[x]);
    simd::Run(
        g_level,
        [](const uint16_t* line, const uint16_t* up, const uint16_t* down, uint16_t* out,
           long w) SV_INLINE_BODY {
          for (long x = 1; x + 1 < w; ++x)
            out[x] = Pick3<kMax>(Pick3<kMax>(line[x - 1], line[x], line[x + 1]), up[x], down[x]);
        },
        line, up, down, out, w);
  }
}

template <bool kMax>
bool Morph(FrameSize size, ConstSamples16 source, Samples16 dest, int connectivity) {
  if (connectivity != 4 && connectivity != 8) return false;
  if (!SameSizeArgs<1>(size, source, dest)) return false;
  if (connectivity == 8)
    MorphSquare<kMax>(size, source.data(), dest.data());
  else
    MorphCross<kMax>(size, source.data(), dest.data());
  return true;
}

}  // namespace

int FilterKernelSize(const FilterRecord& filter) {
  auto ringHas = [&](int ring) {
    for (int r = 0; r < 7; ++r)
      for (int c = 0; c < 7; ++c)
        if (std::max(std::abs(r - 3), std::abs(c - 3)) == ring && filter.Coefficients[r * 7 + c] != 0)
          return true;
    return false;
  };
  return ringHas(3) ? 7 : ringHas(2) ? 5 : 3;
}

bool SV_filter_3x3(FrameSize size, ConstSamples16 source, Samples16 dest,
                   const FilterRecord& filter, int bits) {
  return Filter<1>(size, source, dest, filter, bits, 1);
}
bool SV_filter_5x5(FrameSize size, ConstSamples16 source, Samples16 dest,
                   const FilterRecord& filter, int bits) {
  return Filter<1>(size, source, dest, filter, bits, 2);
}
bool SV_filter_7x7(FrameSize size, ConstSamples16 source, Samples16 dest,
                   const FilterRecord& filter, int bits) {
  return Filter<1>(size, source, dest, filter, bits, 3);
}
bool SV_RGB_filter_3x3(FrameSize size, ConstSamples16 source, Samples16 dest,
                       const FilterRecord& filter, int bits) {
  return Filter<3>(size, source, dest, filter, bits, 1);
}
bool SV_RGB_filter_5x5(FrameSize size, ConstSamples16 source, Samples16 dest,
                       const FilterRecord& filter, int bits) {
  return Filter<3>(size, source, dest, filter, bits, 2);
}
bool SV_RGB_filter_7x7(FrameSize size, ConstSamples16 source, Samples16 dest,
                       const FilterRecord& filter, int bits) {
  return Filter<3>(size, source, dest, filter, bits, 3);
}

bool SV_Binarize(FrameSize size, ConstSamples16 source, Samples16 dest, long threshold,
                 int bits) {
  if (bits < 1 || bits > 16) return false;
  if (!SameSizeArgs<1>(size, source, dest)) return false;
  const uint16_t top = uint16_t(TopLevel(bits));
  const size_t n = size.Samples();
  const uint16_t* s = source.data();
  uint16_t* d = dest.data();
  if (threshold < 0 || threshold >= 65535) {
    std::fill(d, d + n, threshold < 0 ? top : uint16_t(0));
    return true;
  }
  const uint16_t t = uint16_t(threshold);
  simd::Run(
      g_level,
      [](const uint16_t* s, uint16_t* d, size_t n, uint16_t t, uint16_t top) SV_INLINE_BODY {
        for (size_t i = 0; i < n; ++i) d[i] = s[i] > t ? top : uint16_t(0);
      },
      s, d, n, t, top);
  return true;
}

bool SV_Dilatation(FrameSize size, ConstSamples16 source, Samples16 dest, int connectivity) {
  return Morph<true>(size, source, dest, connectivity);
}

bool SV_Erosion(FrameSize size, ConstSamples16 source, Samples16 dest, int connectivity) {
  return Morph<false>(size, source, dest, connectivity);
}

bool SV_Edge(FrameSize size, ConstSamples16 source, Samples16 dest, int bits) {
  if (bits < 1 || bits > 16) return false;
  if (!SameSizeArgs<1>(size, source, dest)) return false;
  const long w = size.width;
  const int32_t top = TopLevel(bits);
  LineWindow<1> window(size, source.data(), 1);
  for (long y = 0; y < size.height; ++y) {
    window.MoveTo(y);
    const uint16_t* up = window.Line(-1);
    const uint16_t* mid = window.Line(0);
    const uint16_t* down = window.Line(1);
    uint16_t* out = dest.data() + size_t(y) * size_t(w);
    simd::Run(
        g_level,
        [](const uint16_t* up, const uint16_t* mid, const uint16_t* down, uint16_t* out, long w,
           int32_t top) SV_INLINE_BODY {
          for (long x = 0; x < w; ++x) {
            const int32_t gx =
                (int32_t(up[x + 1]) + 2 * int32_t(mid[x + 1]) + int32_t(down[x + 1])) -
                (int32_t(up[x - 1]) + 2 * int32_t(mid[x - 1]) + int32_t(down[x - 1]));
            const int32_t gy =
                (int32_t(down[x - 1]) + 2 * int32_t(down[x]) + int32_t(down[x + 1])) -
                (int32_t(up[x - 1]) + 2 * int32_t(up[x]) + int32_t(up[x + 1]));
            const int32_t v = (gx < 0 ? -gx : gx) + (gy < 0 ? -gy : gy);
            out[x] = uint16_t(v > top ? top : v);
          }
        },
        up, mid, down, out, w, top);
  }
  return true;
}

int SV_set_filter_isa(int level) { return g_level.Set(level); }

}  // namespace sv
