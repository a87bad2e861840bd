#include "image/kernel/convert.h"

#include <algorithm>

#include "image/kernel/cpu_paths.h"

namespace sv {

namespace {

// Round to nearest, ties to even, clamped to 0..top; NaN gives 0. Adding and
// taking away 2^23 leaves a float below 2^23 rounded to an integer in the
// default rounding mode, and the loop stays vectorisable.
SV_INLINE int32_t RoundClamp(float v, float top) {
  const float c = v > 0.0f ? (v < top ? v : top) : 0.0f;
  return int32_t((c + 8388608.0f) - 8388608.0f);
}

template <typename Dest>
SV_INLINE void FloatsBody(size_t n, const float* s, Dest* d, float top) {
  for (size_t i = 0; i < n; ++i) d[i] = Dest(RoundClamp(s[i], top));
}

SV_INLINE void WidenBody(size_t n, const uint8_t* s, uint16_t* d) {
  for (size_t i = 0; i < n; ++i) d[i] = s[i];
}

SV_INLINE void InverseBody(size_t pixels, const uint8_t* s, uint16_t* d) {
  for (size_t i = 0; i < pixels; ++i) {
    d[3 * i] = s[3 * i + 2];
    d[3 * i + 1] = s[3 * i + 1];
    d[3 * i + 2] = s[3 * i];
  }
}

SV_INLINE void NarrowBody(size_t n, const uint16_t* s, uint8_t* d, int bits) {
  if (bits >= 8) {
    const int shift = bits - 8;
    for (size_t i = 0; i < n; ++i) {
      const uint32_t v = uint32_t(s[i]) >> shift;
      d[i] = uint8_t(v < 255u ? v : 255u);
    }
  } else {
    // Fewer than eight bits: spread them over the byte.
    const int shift = 8 - bits;
    for (size_t i = 0; i < n; ++i) {
      const uint32_t v = uint32_t(s[i]) << shift;
      d[i] = uint8_t(v < 255u ? v : 255u);
    }
  }
}

SV_INLINE void SumsBody(size_t n, const uint32_t* s, uint16_t* d) {
  for (size_t i = 0; i < n; ++i) d[i] = uint16_t(s[i] < 65535u ? s[i] : 65535u);
}

SV_INLINE void SwapBody(size_t n, const uint16_t* s, uint16_t* d) {
  for (size_t i = 0; i < n; ++i) d[i] = uint16_t((s[i] << 8) | (s[i] >> 8));
}

SV_INLINE void GreyBody(size_t pixels, const uint8_t* s, uint8_t* d) {
  for (size_t i = 0; i < pixels; ++i) d[i] = uint8_t(GreyOf(s[3 * i], s[3 * i + 1], s[3 * i + 2]));
}

// Four independent accumulators keep the loop from waiting on one register.
SV_INLINE uint16_t UsedBody(size_t n, const uint16_t* s) {
  uint16_t a = 0, b = 0, c = 0, e = 0;
  size_t i = 0;
  for (; i + 4 <= n; i += 4) {
    a = uint16_t(a | s[i]);
    b = uint16_t(b | s[i + 1]);
    c = uint16_t(c | s[i + 2]);
    e = uint16_t(e | s[i + 3]);
  }
  for (; i < n; ++i) a = uint16_t(a | s[i]);
  return uint16_t(a | b | c | e);
}

#define SV_ARGS(...) __VA_ARGS__
// Each body compiled twice; Run picks the one the processor can take.
#define SV_PATHS(name, params, args)        \
  SV_AVX2 void name##Avx2 params { name##Body args; } \
  void name##Base params { name##Body args; }
// The conversions of whole frames stream with their lines fetched ahead.
#define SV_STREAMED_PATHS(name, params, streams, args)                                   \
  SV_AVX2 void name##Avx2 params {                                                      \
    cpu::Streamed(n, [=](size_t m, size_t i) SV_INLINE_LAMBDA { name##Body args; }, streams); \
  }                                                                                     \
  void name##Base params { name##Body(n, s, d); }
SV_STREAMED_PATHS(Sums, (size_t n, const uint32_t* s, uint16_t* d), SV_ARGS(s, d), (m, s + i, d + i))
#undef SV_STREAMED_PATHS
SV_AVX2 void NarrowAvx2(size_t n, const uint16_t* s, uint8_t* d, int bits) {
  cpu::Streamed(n, [=](size_t m, size_t i) SV_INLINE_LAMBDA { NarrowBody(m, s + i, d + i, bits); }, s, d);
}
void NarrowBase(size_t n, const uint16_t* s, uint8_t* d, int bits) { NarrowBody(n, s, d, bits); }
SV_PATHS(Swap, (size_t n, const uint16_t* s, uint16_t* d), (n, s, d))
SV_PATHS(Grey, (size_t n, const uint8_t* s, uint8_t* d), (n, s, d))
#undef SV_PATHS
void WidenBase(size_t n, const uint8_t* s, uint16_t* d) { WidenBody(n, s, d); }
#ifdef SV_X86
// Bytes to words, 64 a turn with both streams fetched ahead (for frames that
// gain by it): written out, so that no overlap test runs every few samples.
SV_AVX2 void WidenAvx2(size_t n, const uint8_t* s, uint16_t* d) {
  const bool ahead = cpu::FetchAheadPays(n * 2);
  size_t i = 0;
  for (; i + 64 <= n; i += 64) {
    if (ahead) {
      cpu::Ahead(s + i);
      cpu::AheadWrite(d + i);
      cpu::AheadWrite(d + i + 32);
    }
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i + 32));
    auto* out = reinterpret_cast<__m256i*>(d + i);
    _mm256_storeu_si256(out, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(a)));
    _mm256_storeu_si256(out + 1, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(a, 1)));
    _mm256_storeu_si256(out + 2, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(b)));
    _mm256_storeu_si256(out + 3, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(b, 1)));
  }
  WidenBody(n - i, s + i, d + i);
}
#else
void WidenAvx2(size_t n, const uint8_t* s, uint16_t* d) { WidenBody(n, s, d); }
#endif
uint16_t UsedBase(size_t n, const uint16_t* s) { return UsedBody(n, s); }
#ifdef SV_X86
// Four registers of sixteen samples each, so two loads go every cycle.
SV_AVX2 uint16_t UsedAvx2(size_t n, const uint16_t* s) {
  __m256i a = _mm256_setzero_si256(), b = a, c = a, e = a;
  size_t i = 0;
  for (; i + 64 <= n; i += 64) {
    const auto* p = reinterpret_cast<const __m256i*>(s + i);
    a = _mm256_or_si256(a, _mm256_loadu_si256(p));
    b = _mm256_or_si256(b, _mm256_loadu_si256(p + 1));
    c = _mm256_or_si256(c, _mm256_loadu_si256(p + 2));
    e = _mm256_or_si256(e, _mm256_loadu_si256(p + 3));
  }
  alignas(32) uint16_t lanes[16];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lanes),
                     _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, e)));
  uint16_t any = UsedBody(n - i, s + i);
  for (uint16_t v : lanes) any = uint16_t(any | v);
  return any;
}
// The same with registers of thirty-two samples.
SV_AVX512 uint16_t UsedAvx512(size_t n, const uint16_t* s) {
  __m512i a = _mm512_setzero_si512(), b = a, c = a, e = a;
  size_t i = 0;
  for (; i + 128 <= n; i += 128) {
    const auto* p = reinterpret_cast<const __m512i*>(s + i);
    a = _mm512_or_si512(a, _mm512_loadu_si512(p));
    b = _mm512_or_si512(b, _mm512_loadu_si512(p + 1));
    c = _mm512_or_si512(c, _mm512_loadu_si512(p + 2));
    e = _mm512_or_si512(e, _mm512_loadu_si512(p + 3));
  }
  const __m512i all = _mm512_or_si512(_mm512_or_si512(a, b), _mm512_or_si512(c, e));
  alignas(64) uint16_t lanes[32];
  _mm512_store_si512(lanes, all);
  uint16_t any = UsedAvx2(n - i, s + i);
  for (uint16_t v : lanes) any = uint16_t(any | v);
  return any;
}
#else
uint16_t UsedAvx2(size_t n, const uint16_t* s) { return UsedBody(n, s); }
uint16_t UsedAvx512(size_t n, const uint16_t* s) { return UsedBody(n, s); }
#endif
#define SV_RUN(name) (cpu::HaveAvx2() ? name##Avx2 : name##Base)

template <typename Dest>
void FloatsBase(size_t n, const float* s, Dest* d, float top) { FloatsBody(n, s, d, top); }
void InverseBase(size_t n, const uint8_t* s, uint16_t* d) { InverseBody(n, s, d); }

#ifdef SV_X86
// Sixteen floats to integers in two registers of eight, as RoundClamp does it
// (max with 0, min with the top, round to nearest, ties to even), for the
// packs that follow with their saturation: the min takes the top as its first
// operand, so that NaN passes; the conversion turns NaN, like anything below
// -0.5, into a negative integer, which the pack makes 0, as the max with 0
// would. The conversion rounds in the processor's rounding mode, which is
// that of the float adds of RoundClamp.
SV_AVX2 SV_INLINE void RoundClamp16(const float* s, __m256 top, __m256i& lo, __m256i& hi) {
  lo = _mm256_cvtps_epi32(_mm256_min_ps(top, _mm256_loadu_ps(s)));
  hi = _mm256_cvtps_epi32(_mm256_min_ps(top, _mm256_loadu_ps(s + 8)));
}

SV_AVX2 void FloatsAvx2(size_t n, const float* s, uint16_t* d, float top) {
  const __m256 vtop = _mm256_set1_ps(top);
  const bool ahead = cpu::FetchAheadPays(n * sizeof(float));
  size_t i = 0;
  if (reinterpret_cast<uintptr_t>(d) % 2 == 0) {
    // Stores from a line's start on, so that none is split between two.
    i = std::min(n, size_t((64 - reinterpret_cast<uintptr_t>(d) % 64) % 64) / 2);
    FloatsBody(i, s, d, top);
  }
  for (; i + 16 <= n; i += 16) {
    if (ahead) {
      __builtin_prefetch(reinterpret_cast<const char*>(s + i) + 1024);
      if (i % 32 == 0) __builtin_prefetch(reinterpret_cast<const char*>(d + i) + 1024, 1);
    }
    __m256i a, b;
    RoundClamp16(s + i, vtop, a, b);
    const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), words);
  }
  FloatsBody(n - i, s + i, d + i, top);
}

SV_AVX2 void FloatsAvx2(size_t n, const float* s, uint8_t* d, float top) {
  const __m256 vtop = _mm256_set1_ps(top);
  const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    __m256i a, b, c, e;
    RoundClamp16(s + i, vtop, a, b);
    RoundClamp16(s + i + 16, vtop, c, e);
    const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(a, b), _mm256_packus_epi32(c, e));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), _mm256_permutevar8x32_epi32(bytes, order));
  }
  FloatsBody(n - i, s + i, d + i, top);
}

// Eight B, G, R pixels (24 bytes) to 24 words R, G, B: each output register
// of eight words comes from one 16-byte load at kInverseLoad[o], shuffled,
// with zero high bytes.
constexpr int kInverseLoad[3] = {0, 6, 15};
struct InverseMasks {
  int8_t m[3][16];
};
constexpr InverseMasks MakeInverseMasks() {
  InverseMasks k{};
  for (int o = 0; o < 3; ++o)
    for (int j = 0; j < 8; ++j) {
      const int w = 8 * o + j, pixel = w / 3, channel = w % 3;
      k.m[o][2 * j] = int8_t(3 * pixel + (2 - channel) - kInverseLoad[o]);
      k.m[o][2 * j + 1] = -1;
    }
  return k;
}
constexpr InverseMasks kInverse = MakeInverseMasks();

SV_AVX2 void InverseAvx2(size_t n, const uint8_t* s, uint16_t* d) {
  size_t i = 0;
  // The last load of a group reaches 7 bytes into the next group.
  for (; i + 11 <= n; i += 8) {
    for (int o = 0; o < 3; ++o) {
      const __m128i v =
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 3 * i + size_t(kInverseLoad[o])));
      const __m128i mask = _mm_loadu_si128(reinterpret_cast<const __m128i*>(kInverse.m[o]));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 3 * i + 8 * size_t(o)), _mm_shuffle_epi8(v, mask));
    }
  }
  InverseBody(n - i, s + 3 * i, d + 3 * i);
}
#else
template <typename Dest>
void FloatsAvx2(size_t n, const float* s, Dest* d, float top) { FloatsBody(n, s, d, top); }
void InverseAvx2(size_t n, const uint8_t* s, uint16_t* d) { InverseBody(n, s, d); }
#endif

template <typename Dest>
bool FloatsTo(size_t count, std::span<const float> source, std::span<Dest> dest, float top) {
  if (source.size() < count || dest.size() < count) return false;
  using Fn = void (*)(size_t, const float*, Dest*, float);
  const Fn fn = cpu::HaveAvx2() ? Fn(FloatsAvx2) : Fn(FloatsBase<Dest>);
  fn(count, source.data(), dest.data(), top);
  return true;
}

}  // namespace

void SV_convert_8_to_16(const uint8_t* source, uint16_t* dest, size_t count) {
  if (source && dest) SV_RUN(Widen)(count, source, dest);
}

bool SV_convert_8_to_16(size_t count, ConstSamples8 source, Samples16 dest) {
  if (source.size() < count || dest.size() < count) return false;
  SV_RUN(Widen)(count, source.data(), dest.data());
  return true;
}

bool SV_RGB_convert_8_to_16(size_t pixels, ConstSamples8 source, Samples16 dest) {
  // The same order on both sides: one flat run of 3 x pixels samples.
  if (pixels > source.size() / 3 || pixels > dest.size() / 3) return false;
  SV_RUN(Widen)(pixels * 3, source.data(), dest.data());
  return true;
}

bool SV_RGB_convert_inverse_8_to_16(size_t pixels, ConstSamples8 source, Samples16 dest) {
  if (pixels > source.size() / 3 || pixels > dest.size() / 3) return false;
  SV_RUN(Inverse)(pixels, source.data(), dest.data());
  return true;
}

void SV_convert_16_to_8(const uint16_t* source, uint8_t* dest, size_t count, int bits) {
  if (source && dest) SV_RUN(Narrow)(count, source, dest, std::clamp(bits, 1, 16));
}

bool SV_convert_16_to_8(size_t count, ConstSamples16 source, Samples8 dest, int bits) {
  if (source.size() < count || dest.size() < count) return false;
  SV_convert_16_to_8(source.data(), dest.data(), count, bits);
  return true;
}

bool SV_convert_n_to_8(size_t count, ConstSamples8 packed, Samples8 dest, int bits) {
  if (bits != 1 && bits != 2 && bits != 4 && bits != 8) return false;
  const size_t perByte = size_t(8 / bits);
  if (dest.size() < count || packed.size() < (count + perByte - 1) / perByte) return false;
  const uint8_t* p = packed.data();
  uint8_t* d = dest.data();
  if (bits == 8) {
    std::copy(p, p + count, d);
    return true;
  }
  const unsigned mask = (1u << bits) - 1u;
  for (size_t i = 0; i < count; ++i) {
    const int shift = 8 - bits - int(i % perByte) * bits;
    d[i] = uint8_t((p[i / perByte] >> shift) & mask);
  }
  return true;
}

bool SV_convert_4_to_8(size_t count, ConstSamples8 packed, Samples8 dest) {
  return SV_convert_n_to_8(count, packed, dest, 4);
}

bool SV_rgb_to_8(size_t pixels, ConstSamples8 rgb, Samples8 grey) {
  if (pixels > rgb.size() / 3 || grey.size() < pixels) return false;
  SV_RUN(Grey)(pixels, rgb.data(), grey.data());
  return true;
}

bool SV_convert_32_to_16(size_t count, ConstSamples32 source, Samples16 dest) {
  if (source.size() < count || dest.size() < count) return false;
  SV_RUN(Sums)(count, source.data(), dest.data());
  return true;
}

bool SV_swap_lo_hi_byte(size_t count, ConstSamples16 source, Samples16 dest) {
  if (source.size() < count || dest.size() < count) return false;
  SV_RUN(Swap)(count, source.data(), dest.data());
  return true;
}

bool SV_swap_lo_hi_byte(size_t count, Samples16 samples) {
  return SV_swap_lo_hi_byte(count, ConstSamples16(samples), samples);
}

bool SV_copy_floats_to_shorts(size_t count, std::span<const float> source, Samples16 dest) {
  return FloatsTo(count, source, dest, 65535.0f);
}

bool SV_copy_floats_to_bytes(size_t count, std::span<const float> source, Samples8 dest) {
  return FloatsTo(count, source, dest, 255.0f);
}

bool SV_insert_32_into_16(FrameSize size, Samples16 image, long x, long y, FrameSize part,
                          ConstSamples32 source, int shift) {
  if (!Holds(image, size) || !Holds(source, part) || shift < 0 || shift > 31) return false;
  if (x >= size.width || y >= size.height) return true;  // wholly outside
  const long x0 = std::max(x, 0L), y0 = std::max(y, 0L);
  const long x1 = std::min(x + part.width, size.width);
  const long y1 = std::min(y + part.height, size.height);
  for (long yy = y0; yy < y1; ++yy) {
    const uint32_t* s = source.data() + size_t(yy - y) * size_t(part.width) + size_t(x0 - x);
    uint16_t* d = image.data() + size_t(yy) * size_t(size.width) + size_t(x0);
    for (long i = 0; i < x1 - x0; ++i) d[i] = uint16_t(std::min<uint32_t>(s[i] >> shift, 65535u));
  }
  return true;
}

uint16_t SV_bits_used(const uint16_t* samples, size_t count) {
  if (!samples) return 0;
  return (cpu::HaveAvx512() ? UsedAvx512 : SV_RUN(Used))(count, samples);
}

}  // namespace sv
