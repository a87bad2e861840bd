#include "image/kernel/quotient_lanes.h"

#include "image/kernel/cpu_paths.h"

namespace sv::lanes {

QuotientArgs FadeArgs(int fade, int32_t divisor, int32_t bias, int32_t top, bool clip) {
  int g = 100, r = fade;  // gcd(100, fade) = gcd(fade, 100 - fade, 100)
  while (r != 0) {
    const int t = g % r;
    g = r;
    r = t;
  }
  QuotientArgs q;
  q.bias = bias;
  q.top = top;
  q.divisor = float(divisor);
  const int64_t den = int64_t(100 / g) * divisor;
  q.den = float(den);
  q.wa = float(fade / g);
  q.wb = float((100 - fade) / g);
  q.divide = false;
  q.clip = clip;
  q.reciprocal = (den & (den - 1)) == 0 || (den % 2 == 1 && den < 128);
  return q;
}

#ifdef SV_X86
namespace {

// The words go to 32-bit lanes and back within each 128-bit half, so the
// pack puts them back in order. The quotient is rounded as in the plain
// loop: 1.5 * 2^23 added, the integer read from the low bits. A clip is the
// pack's saturation to 0..65535 and then the top; a wrap keeps the low bits
// before the pack. Zero divisors are put right on the words.
template <bool Divide, bool Clip>
__attribute__((target("avx2,fma"))) void Avx2(size_t blocks, const uint16_t* a, const uint16_t* b, uint16_t* d,
                  const QuotientArgs& q) {
  const __m256i zero = _mm256_setzero_si256(), one16 = _mm256_set1_epi16(1);
  const __m256i top16 = _mm256_set1_epi16(int16_t(uint16_t(q.top)));
  const __m256i top32 = _mm256_set1_epi32(q.top);
  const __m256i offset = _mm256_set1_epi32(0x4B400000 - q.bias);
  const __m256 round = _mm256_set1_ps(12582912.0f);
  const __m256 divisor = _mm256_set1_ps(q.divisor), den = _mm256_set1_ps(q.den);
  const __m256 wa = _mm256_set1_ps(q.wa), wb = _mm256_set1_ps(q.wb);
  const __m256 inv = _mm256_set1_ps(1.0f / q.den);
  auto half = [&](__m256i a32, __m256i b32) __attribute__((target("avx2,fma"))) {
    const __m256 fa = _mm256_cvtepi32_ps(a32), fb = _mm256_cvtepi32_ps(b32);
    __m256 y;
    if constexpr (Divide) {
      y = _mm256_add_ps(_mm256_div_ps(fa, _mm256_mul_ps(fb, divisor)), round);
    } else {
      const auto num = _mm256_add_ps(_mm256_mul_ps(fa, wa), _mm256_mul_ps(fb, wb));
      y = q.reciprocal ? _mm256_fmadd_ps(num, inv, round) : _mm256_add_ps(_mm256_div_ps(num, den), round);
    }
    const __m256i v = _mm256_sub_epi32(_mm256_castps_si256(y), offset);
    return Clip ? v : _mm256_and_si256(v, top32);
  };
  const bool ahead = cpu::FetchAheadPays(blocks * 32);
  for (size_t k = 0; k < blocks; ++k) {
    if (ahead) {
      cpu::Ahead(a + 16 * k);
      cpu::Ahead(b + 16 * k);
      cpu::AheadWrite(d + 16 * k);
    }
    const __m256i av = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(a) + k);
    const __m256i bv = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b) + k);
    const __m256i bd = Divide ? _mm256_max_epu16(bv, one16) : bv;
    __m256i v = _mm256_packus_epi32(
        half(_mm256_unpacklo_epi16(av, zero), _mm256_unpacklo_epi16(bd, zero)),
        half(_mm256_unpackhi_epi16(av, zero), _mm256_unpackhi_epi16(bd, zero)));
    if (Clip) v = _mm256_min_epu16(v, top16);
    if (Divide) {
      // By a zero sample: the top level, or 0 for 0 / 0.
      const __m256i fill = _mm256_andnot_si256(_mm256_cmpeq_epi16(av, zero), top16);
      v = _mm256_blendv_epi8(v, fill, _mm256_cmpeq_epi16(bv, zero));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d) + k, v);
  }
}

// GCC 12 takes the undefined pass-through lanes of its AVX-512 conversions
// for uninitialised values.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
template <bool Divide, bool Clip>
SV_AVX512 void Avx512(size_t blocks, const uint16_t* a, const uint16_t* b, uint16_t* d,
                      const QuotientArgs& q) {
  const __m512i zero = _mm512_setzero_si512(), one16 = _mm512_set1_epi16(1);
  const __m512i top16 = _mm512_set1_epi16(int16_t(uint16_t(q.top)));
  const __m512i top32 = _mm512_set1_epi32(q.top);
  const __m512i offset = _mm512_set1_epi32(0x4B400000 - q.bias);
  const __m512 round = _mm512_set1_ps(12582912.0f);
  const __m512 divisor = _mm512_set1_ps(q.divisor), den = _mm512_set1_ps(q.den);
  const __m512 wa = _mm512_set1_ps(q.wa), wb = _mm512_set1_ps(q.wb);
  const __m512 inv = _mm512_set1_ps(1.0f / q.den);
  auto half = [&](__m512i a32, __m512i b32) SV_AVX512 {
    const __m512 fa = _mm512_cvtepi32_ps(a32), fb = _mm512_cvtepi32_ps(b32);
    __m512 y;
    if constexpr (Divide) {
      y = _mm512_add_ps(_mm512_div_ps(fa, _mm512_mul_ps(fb, divisor)), round);
    } else {
      const auto num = _mm512_add_ps(_mm512_mul_ps(fa, wa), _mm512_mul_ps(fb, wb));
      y = q.reciprocal ? _mm512_fmadd_ps(num, inv, round) : _mm512_add_ps(_mm512_div_ps(num, den), round);
    }
    const __m512i v = _mm512_sub_epi32(_mm512_castps_si512(y), offset);
    return Clip ? v : _mm512_and_si512(v, top32);
  };
  const bool ahead = cpu::FetchAheadPays(blocks * 64);
  for (size_t k = 0; k < blocks; ++k) {
    if (ahead) {
      cpu::Ahead(a + 32 * k);
      cpu::Ahead(b + 32 * k);
      cpu::AheadWrite(d + 32 * k);
    }
    const __m512i av = _mm512_loadu_si512(reinterpret_cast<const __m512i*>(a) + k);
    const __m512i bv = _mm512_loadu_si512(reinterpret_cast<const __m512i*>(b) + k);
    const __m512i bd = Divide ? _mm512_max_epu16(bv, one16) : bv;
    __m512i v = _mm512_packus_epi32(
        half(_mm512_unpacklo_epi16(av, zero), _mm512_unpacklo_epi16(bd, zero)),
        half(_mm512_unpackhi_epi16(av, zero), _mm512_unpackhi_epi16(bd, zero)));
    if (Clip) v = _mm512_min_epu16(v, top16);
    if (Divide) {
      const __m512i fill = _mm512_maskz_mov_epi16(_mm512_cmpneq_epi16_mask(av, zero), top16);
      v = _mm512_mask_blend_epi16(_mm512_cmpeq_epi16_mask(bv, zero), v, fill);
    }
    _mm512_storeu_si512(reinterpret_cast<__m512i*>(d) + k, v);
  }
}

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

}  // namespace

size_t QuotientAvx2(size_t n, const uint16_t* a, const uint16_t* b, uint16_t* d,
                    const QuotientArgs& q) {
  static const bool fma = __builtin_cpu_supports("fma") != 0;
  if (!fma) return 0;
  const size_t blocks = n / 16;
  (q.divide ? (q.clip ? Avx2<true, true> : Avx2<true, false>)
            : (q.clip ? Avx2<false, true> : Avx2<false, false>))(blocks, a, b, d, q);
  return blocks * 16;
}

size_t QuotientAvx512(size_t n, const uint16_t* a, const uint16_t* b, uint16_t* d,
                      const QuotientArgs& q) {
  const size_t blocks = n / 32;
  (q.divide ? (q.clip ? Avx512<true, true> : Avx512<true, false>)
            : (q.clip ? Avx512<false, true> : Avx512<false, false>))(blocks, a, b, d, q);
  return blocks * 32;
}
#else
size_t QuotientAvx2(size_t, const uint16_t*, const uint16_t*, uint16_t*, const QuotientArgs&) {
  return 0;
}
size_t QuotientAvx512(size_t, const uint16_t*, const uint16_t*, uint16_t*, const QuotientArgs&) {
  return 0;
}
#endif

}  // namespace sv::lanes
