#include "image/kernel/image_math.h"

#include <algorithm>
#include <cstdlib>
#include <type_traits>

#include "image/kernel/convert.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

namespace {

#if defined(__x86_64__) || defined(__i386__)
#define SV_AVX2 __attribute__((target("avx2")))
#else
#define SV_AVX2
#endif
#define SV_INLINE inline __attribute__((always_inline))

bool Avx2() {
#if defined(__x86_64__) || defined(__i386__)
  static const bool has = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
  }();
  return has;
#else
  return false;
#endif
}

bool ChannelsOk(int channels) { return channels == 1 || channels == 3; }

bool LevelsOk(long levels) { return levels >= 2 && levels <= 65536; }

bool IsPowerOfTwo(long v) { return v > 0 && (v & (v - 1)) == 0; }

// --- Arithmetic --------------------------------------------------------------

// Limits of the values the fast loops take in 32 bits.
constexpr long kSmall = 1L << 29;

struct Range {
  int64_t top, levels;
  bool clip, pow2;
};

SV_INLINE int64_t Limit(int64_t v, const Range& r) {
  if (r.clip) return v < 0 ? 0 : (v > r.top ? r.top : v);
  if (r.pow2) return v & r.top;
  const int64_t m = v % r.levels;
  return m < 0 ? m + r.levels : m;
}

// num / den for den > 0, to nearest, ties to even.
int64_t DivRoundEven(int64_t num, int64_t den) {
  int64_t q = num / den, r = num % den;
  if (r < 0) {
    r += den;
    --q;
  }
  if (2 * r > den || (2 * r == den && (q & 1))) ++q;
  return q;
}

// One sample the long way: every operation, divisor, bias, clip or wrap.
int64_t Evaluate(int64_t a, int64_t b, const ImageMathParams& p, const Range& r) {
  int64_t num = 0, den = p.divisor;
  switch (p.operation) {
    case kMathFade: num = a * p.fade + b * (100 - p.fade); den *= 100; break;
    case kMathAdd: num = a + b; break;
    case kMathSubtract: num = a - b; break;
    case kMathMultiply: num = a * b; break;
    case kMathDivide:
      if (b == 0) return a == 0 ? 0 : r.top;
      num = b < 0 ? -a : a;
      den *= b < 0 ? -b : b;
      break;
    case kMathDifference: num = a > b ? a - b : b - a; break;
    case kMathLightest: num = std::max(a, b); break;
    case kMathDarkest: num = std::min(a, b); break;
    case kMathAnd: num = a & b; break;
    case kMathOr: num = a | b; break;
    case kMathXor: num = a ^ b; break;
    case kMathCompare: return a == b ? r.top : 0;
    default: return 0;
  }
  return Limit(DivRoundEven(num, den) + p.bias, r);
}

template <int Op, typename T>
SV_INLINE T Combine(T a, T b) {
  if constexpr (Op == kMathAdd) return a + b;
  if constexpr (Op == kMathSubtract) return a - b;
  if constexpr (Op == kMathMultiply) return a * b;
  if constexpr (Op == kMathDifference) return a > b ? a - b : b - a;
  if constexpr (Op == kMathLightest) return a > b ? a : b;
  if constexpr (Op == kMathDarkest) return a < b ? a : b;
  if constexpr (Op == kMathAnd) return a & b;
  if constexpr (Op == kMathOr) return a | b;
  if constexpr (Op == kMathXor) return a ^ b;
  return T(0);
}

// The fast loop: divisor 1, clip or a power-of-two wrap. The second operand is
// an image (ArrayB) or a constant for each of the C channels.
template <int Op, bool Clip, typename T, int C, bool ArrayB>
SV_INLINE void SimpleLoop(size_t pixels, const uint16_t* a, const uint16_t* b, const int64_t* k,
                          uint16_t* d, int64_t bias64, int64_t top64) {
  const T bias = T(bias64), top = T(top64);
  T kc[C];
  for (int c = 0; c < C; ++c) kc[c] = ArrayB ? T(0) : T(k[c]);
  for (size_t p = 0; p < pixels; ++p) {
    for (int c = 0; c < C; ++c) {
      const size_t i = p * C + size_t(c);
      T v = Combine<Op, T>(T(a[i]), ArrayB ? T(b[i]) : kc[c]) + bias;
      if constexpr (Clip) v = v < 0 ? T(0) : (v > top ? top : v);
      else v &= top;
      d[i] = uint16_t(v);
    }
  }
}

using SimpleFn = void (*)(size_t, const uint16_t*, const uint16_t*, const int64_t*, uint16_t*,
                          int64_t, int64_t);

template <int Op, bool Clip, typename T, int C, bool ArrayB>
void SimpleBase(size_t n, const uint16_t* a, const uint16_t* b, const int64_t* k, uint16_t* d,
                int64_t bias, int64_t top) {
  SimpleLoop<Op, Clip, T, C, ArrayB>(n, a, b, k, d, bias, top);
}

template <int Op, bool Clip, typename T, int C, bool ArrayB>
SV_AVX2 void SimpleAvx2(size_t n, const uint16_t* a, const uint16_t* b, const int64_t* k,
                        uint16_t* d, int64_t bias, int64_t top) {
  SimpleLoop<Op, Clip, T, C, ArrayB>(n, a, b, k, d, bias, top);
}

template <int Op, int C, bool ArrayB>
SimpleFn PickSimple(bool clip) {
  // Products of two samples need more than 31 bits.
  using T = std::conditional_t<Op == kMathMultiply, int64_t, int32_t>;
  const bool avx2 = Avx2();
  if (clip) return avx2 ? SimpleAvx2<Op, true, T, C, ArrayB> : SimpleBase<Op, true, T, C, ArrayB>;
  return avx2 ? SimpleAvx2<Op, false, T, C, ArrayB> : SimpleBase<Op, false, T, C, ArrayB>;
}

template <int C, bool ArrayB>
SimpleFn Simple(int op, bool clip) {
  switch (op) {
    case kMathAdd: return PickSimple<kMathAdd, C, ArrayB>(clip);
    case kMathSubtract: return PickSimple<kMathSubtract, C, ArrayB>(clip);
    case kMathMultiply: return PickSimple<kMathMultiply, C, ArrayB>(clip);
    case kMathDifference: return PickSimple<kMathDifference, C, ArrayB>(clip);
    case kMathLightest: return PickSimple<kMathLightest, C, ArrayB>(clip);
    case kMathDarkest: return PickSimple<kMathDarkest, C, ArrayB>(clip);
    case kMathAnd: return PickSimple<kMathAnd, C, ArrayB>(clip);
    case kMathOr: return PickSimple<kMathOr, C, ArrayB>(clip);
    case kMathXor: return PickSimple<kMathXor, C, ArrayB>(clip);
    default: return nullptr;
  }
}

bool ParamsOk(const ImageMathParams& p) {
  return p.operation >= kMathFade && p.operation <= kMathCompare && p.divisor >= 1 &&
         p.divisor <= (1L << 31) && p.bias >= -(1L << 31) && p.bias <= (1L << 31) &&
         LevelsOk(p.levels) && p.fade >= 0 && p.fade <= 100;
}

// Runs `pixels` pixels of C channels; the second operand is `b` (ArrayB, C 1)
// or the constants `k`.
template <int C, bool ArrayB>
void Arithmetic(size_t pixels, const uint16_t* a, const uint16_t* b, const int64_t* k,
                uint16_t* d, const ImageMathParams& p) {
  const Range r{p.levels - 1, p.levels, p.clip, IsPowerOfTwo(p.levels)};
  bool small = std::abs(p.bias) <= kSmall;
  if constexpr (!ArrayB)
    for (int c = 0; c < C; ++c) small = small && k[c] >= -kSmall && k[c] <= kSmall;
  if (p.divisor == 1 && small && (r.clip || r.pow2)) {
    if (SimpleFn fn = Simple<C, ArrayB>(p.operation, p.clip)) {
      fn(pixels, a, b, k, d, p.bias, r.top);
      return;
    }
  }
  for (size_t px = 0; px < pixels; ++px)
    for (int c = 0; c < C; ++c) {
      const size_t i = px * C + size_t(c);
      d[i] = uint16_t(Evaluate(a[i], ArrayB ? int64_t(b[i]) : k[c], p, r));
    }
}

template <int C>
bool ModifyImage(FrameSize size, ConstSamples16 source, Samples16 dest, const long* constants,
                 const ImageMathParams& p) {
  if (!Holds(source, size, C) || !Holds(dest, size, C) || !ParamsOk(p)) return false;
  int64_t k[C];
  for (int c = 0; c < C; ++c) {
    if (constants[c] < -(1L << 31) || constants[c] > (1L << 31)) return false;
    k[c] = constants[c];
  }
  Arithmetic<C, false>(size.Pixels(), source.data(), nullptr, k, dest.data(), p);
  return true;
}

// --- Per-sample loops of the twins -----------------------------------------

template <int C>
bool Negative(FrameSize size, Samples16 image, long levels) {
  if (!Holds(image, size, C) || !LevelsOk(levels)) return false;
  const uint32_t top = uint32_t(levels - 1);
  uint16_t* s = image.data();
  const size_t n = size.Samples(C);
  for (size_t i = 0; i < n; ++i) s[i] = uint16_t(top - std::min<uint32_t>(s[i], top));
  return true;
}

template <int C>
bool ChangeDepth(FrameSize size, Samples16 image, int fromBits, int toBits) {
  if (!Holds(image, size, C) || fromBits < 1 || fromBits > 16 || toBits < 1 || toBits > 16)
    return false;
  const uint32_t oldTop = (1u << fromBits) - 1u, newTop = (1u << toBits) - 1u;
  uint16_t* s = image.data();
  const size_t n = size.Samples(C);
  if (toBits >= fromBits) {
    const int shift = toBits - fromBits;
    for (size_t i = 0; i < n; ++i)
      s[i] = uint16_t(s[i] > oldTop ? newTop : uint32_t(s[i]) << shift);
  } else {
    const int shift = fromBits - toBits;
    for (size_t i = 0; i < n; ++i) s[i] = uint16_t(s[i] > oldTop ? newTop : uint32_t(s[i]) >> shift);
  }
  return true;
}

template <int C>
bool ThroughTable(FrameSize size, Samples16 image, ConstSamples16 table) {
  if (!Holds(image, size, C) || table.empty()) return false;
  const uint32_t last = uint32_t(std::min<size_t>(table.size() - 1, 65535));
  const uint16_t* t = table.data();
  uint16_t* s = image.data();
  const size_t n = size.Samples(C);
  for (size_t i = 0; i < n; ++i) s[i] = t[std::min<uint32_t>(s[i], last)];
  return true;
}

template <int C>
SV_INLINE uint32_t PixelGrey(const uint16_t* p) {
  if constexpr (C == 1) return p[0];
  else return GreyOf(p[0], p[1], p[2]);
}

template <int C>
long ToMono(FrameSize size, ConstSamples16 image, Samples8 matrix, uint32_t threshold) {
  if (!Holds(image, size, C) || !Holds(matrix, size)) return -1;
  const uint16_t* s = image.data();
  uint8_t* m = matrix.data();
  const size_t n = size.Pixels();
  long ones = 0;
  for (size_t i = 0; i < n; ++i) {
    const uint8_t bit = PixelGrey<C>(s + i * C) >= threshold ? 1 : 0;
    m[i] = bit;
    ones += bit;
  }
  return ones;
}

template <int C>
long Compare(FrameSize size, ConstSamples16 a, ConstSamples16 b) {
  if (!Holds(a, size, C) || !Holds(b, size, C)) return -1;
  const uint16_t* x = a.data();
  const uint16_t* y = b.data();
  const size_t n = size.Pixels();
  long differ = 0;
  for (size_t i = 0; i < n; ++i) {
    bool same = true;
    for (int c = 0; c < C; ++c) same = same && x[i * C + size_t(c)] == y[i * C + size_t(c)];
    differ += same ? 0 : 1;
  }
  return differ;
}

SV_INLINE void SubtractClipped(size_t n, uint16_t* s, const uint16_t* b) {
  for (size_t i = 0; i < n; ++i) s[i] = uint16_t(s[i] > b[i] ? s[i] - b[i] : 0);
}
void SubtractBase(size_t n, uint16_t* s, const uint16_t* b) { SubtractClipped(n, s, b); }
SV_AVX2 void SubtractAvx2(size_t n, uint16_t* s, const uint16_t* b) { SubtractClipped(n, s, b); }

SV_INLINE void Grey(size_t n, const uint16_t* rgb, uint16_t* grey) {
  for (size_t i = 0; i < n; ++i) grey[i] = uint16_t(GreyOf(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]));
}
void GreyBase(size_t n, const uint16_t* rgb, uint16_t* grey) { Grey(n, rgb, grey); }
SV_AVX2 void GreyAvx2(size_t n, const uint16_t* rgb, uint16_t* grey) { Grey(n, rgb, grey); }

}  // namespace

bool SV_image_math2(FrameSize size, int channels, ConstSamples16 a, ConstSamples16 b,
                    Samples16 dest, const ImageMathParams& params) {
  if (!ChannelsOk(channels) || !Holds(a, size, channels) || !Holds(b, size, channels) ||
      !Holds(dest, size, channels) || !ParamsOk(params))
    return false;
  Arithmetic<1, true>(size.Samples(channels), a.data(), b.data(), nullptr, dest.data(), params);
  return true;
}

bool SV_modify_image16(FrameSize size, ConstSamples16 source, Samples16 dest, long constant,
                       const ImageMathParams& params) {
  return ModifyImage<1>(size, source, dest, &constant, params);
}

bool SV_RGB_modify_image16(FrameSize size, ConstSamples16 source, Samples16 dest,
                           const std::array<long, 3>& constants, const ImageMathParams& params) {
  return ModifyImage<3>(size, source, dest, constants.data(), params);
}

bool SV_image_and_const(FrameSize size, int channels, Samples16 image, uint16_t mask) {
  if (!ChannelsOk(channels) || !Holds(image, size, channels)) return false;
  for (uint16_t& s : image.first(size.Samples(channels))) s &= mask;
  return true;
}

bool SV_subtract_background(FrameSize size, int channels, Samples16 image,
                            ConstSamples16 background) {
  if (!ChannelsOk(channels) || !Holds(image, size, channels) ||
      !Holds(background, size, channels))
    return false;
  (Avx2() ? SubtractAvx2 : SubtractBase)(size.Samples(channels), image.data(), background.data());
  return true;
}

bool SV_negative(FrameSize size, Samples16 image, long levels) {
  return Negative<1>(size, image, levels);
}

bool SV_RGB_negative(FrameSize size, Samples16 image, long levels) {
  return Negative<3>(size, image, levels);
}

bool SV_change_color_depth(FrameSize size, Samples16 image, int fromBits, int toBits) {
  return ChangeDepth<1>(size, image, fromBits, toBits);
}

bool SV_RGB_change_color_depth(FrameSize size, Samples16 image, int fromBits, int toBits) {
  return ChangeDepth<3>(size, image, fromBits, toBits);
}

long SV_CvtToMono(FrameSize size, int channels, ConstSamples16 image, Samples8 matrix,
                  uint32_t threshold) {
  if (channels == 1) return ToMono<1>(size, image, matrix, threshold);
  if (channels == 3) return ToMono<3>(size, image, matrix, threshold);
  return -1;
}

bool SV_CvtColors(FrameSize size, Samples16 image, ConstSamples16 table) {
  return ThroughTable<1>(size, image, table);
}

bool SV_RGB_CvtColors(FrameSize size, Samples16 image, ConstSamples16 table) {
  return ThroughTable<3>(size, image, table);
}

bool SV_RGB_Greyscale16(FrameSize size, ConstSamples16 rgb, Samples16 grey) {
  if (!Holds(rgb, size, 3) || !Holds(grey, size)) return false;
  // Pixel i is read before any write reaches it, so grey may lie over the
  // start of rgb.
  (Avx2() ? GreyAvx2 : GreyBase)(size.Pixels(), rgb.data(), grey.data());
  return true;
}

bool SV_RGB_TrueColor16(FrameSize size, ConstSamples16 grey, Samples16 rgb) {
  if (!Holds(grey, size) || !Holds(rgb, size, 3)) return false;
  // Backwards, so that a grey frame at the start of the colour buffer can be
  // spread in place.
  for (size_t i = size.Pixels(); i-- > 0;) {
    const uint16_t v = grey[i];
    rgb[3 * i] = rgb[3 * i + 1] = rgb[3 * i + 2] = v;
  }
  return true;
}

bool SV_RGB_split16(FrameSize size, ConstSamples16 rgb, Samples16 red, Samples16 green,
                    Samples16 blue) {
  if (!Holds(rgb, size, 3) || !Holds(red, size) || !Holds(green, size) || !Holds(blue, size))
    return false;
  const size_t n = size.Pixels();
  for (size_t i = 0; i < n; ++i) {
    red[i] = rgb[3 * i];
    green[i] = rgb[3 * i + 1];
    blue[i] = rgb[3 * i + 2];
  }
  return true;
}

bool SV_RGB_fill8(FrameSize size, Samples8 bitmap, uint8_t red, uint8_t green, uint8_t blue) {
  if (!size.Valid()) return false;
  const size_t line = size_t(DisplayByteWidth(size.width, true));
  if (bitmap.size() / line < size_t(size.height)) return false;
  for (long y = 0; y < size.height; ++y) {
    uint8_t* d = bitmap.data() + size_t(y) * line;
    for (long x = 0; x < size.width; ++x, d += 3) {
      d[0] = blue;
      d[1] = green;
      d[2] = red;
    }
    for (size_t p = size_t(3 * size.width); p < line; ++p) *d++ = 0;
  }
  return true;
}

bool SV_RGB_fill16(FrameSize size, Samples16 rgb, uint16_t red, uint16_t green, uint16_t blue) {
  if (!Holds(rgb, size, 3)) return false;
  uint16_t* d = rgb.data();
  for (size_t i = 0; i < size.Pixels(); ++i, d += 3) {
    d[0] = red;
    d[1] = green;
    d[2] = blue;
  }
  return true;
}

long SV_compare(FrameSize size, int channels, ConstSamples16 a, ConstSamples16 b) {
  if (channels == 1) return Compare<1>(size, a, b);
  if (channels == 3) return Compare<3>(size, a, b);
  return -1;
}

}  // namespace sv
