#include "image/kernel/accumulate.h"

#include <bit>
#include <cmath>

#include "image/kernel/cpu_paths.h"

namespace sv {

namespace {

using cpu::HaveAvx2;

template <typename Source>
SV_INLINE void AddSaturating(size_t n, const Source* s, uint16_t* d) {
  for (size_t i = 0; i < n; ++i) {
    const uint32_t v = uint32_t(d[i]) + uint32_t(s[i]);
    d[i] = uint16_t(v > 65535u ? 65535u : v);
  }
}

SV_INLINE void AddWide(size_t n, const uint16_t* s, uint32_t* d) {
  for (size_t i = 0; i < n; ++i) d[i] += s[i];
}

// mean := ((frames - 1) * mean + frame) / frames, to nearest, ties to even,
// written as mean + (frame - mean) / frames = mean + d / n.
//
// x = d * (1 / n) in floats is within 0.008 / n of d / n (|d / n| < 65536).
// A quotient that is no tie lies at least 1 / (2 n) from every half, so
// rounding x to nearest (the add and subtract of 1.5 * 2^23) gives its
// rounding. A tie shows as |x - k| above 0.5 - 0.25 / n, which nothing else
// reaches; then k and its neighbour on the side of x are the candidates, and
// the one that makes the mean even wins. Masks instead of compares keep the
// loop a vector loop.
SV_INLINE void MixMean(size_t n, const uint16_t* f, uint16_t* m, int32_t frames) {
  const float inv = 1.0f / float(frames);
  const float tieAbove = 0.5f - 0.25f * inv;
  const float magic = 12582912.0f;
  for (size_t i = 0; i < n; ++i) {
    const int32_t mean = m[i];
    const float x = float(int32_t(f[i]) - mean) * inv;
    const float kf = (x + magic) - magic;
    const int32_t k = int32_t(kf);
    const float e = x - kf;  // exact
    const int32_t tie = std::bit_cast<int32_t>(tieAbove - std::fabs(e)) >> 31;  // -1 on a tie
    const int32_t side = (std::bit_cast<int32_t>(e) >> 31) | 1;                 // -1 or 1
    const int32_t odd = -((mean + k) & 1 & tie);                                 // -1: move
    m[i] = uint16_t(mean + k + (side & odd));
  }
}

#ifdef SV_X86
// MixMean by hand, sixteen samples a step (thirty-two on AVX-512). One fused
// multiply-add of d by 1 / n with mean + 1.5 * 2^23 (exact: its unit is 1)
// rounds mean + d / n to nearest, ties to even, which is the rule itself
// whenever the product d / n is exact, as for a weight that is a power of
// two. With an odd weight no quotient is a tie (2 d = (2 k + 1) n needs an
// even n), and a quotient that is no tie lies 1 / (2 n) or more from every
// half, far beyond the error of the product, so it rounds as the quotient
// does. Other even weights take the tie test above, on e = d / n - k rounded
// once; the step to the neighbour on the side of x is the sign of e.
enum { kNoTies, kExactTies, kTies };

#define SV_AVX2_FMA __attribute__((target("avx2,fma")))

template <int Ties>
SV_AVX2_FMA SV_INLINE __m256i MixMean8(__m256i f, __m256i m, __m256 inv, __m256 tieAbove) {
  const __m256i magicBits = _mm256_set1_epi32(0x4B400000);
  const __m256 df = _mm256_cvtepi32_ps(_mm256_sub_epi32(f, m));
  if constexpr (Ties != kTies) {
    const __m256 y =
        _mm256_fmadd_ps(df, inv, _mm256_castsi256_ps(_mm256_add_epi32(magicBits, m)));
    return _mm256_sub_epi32(_mm256_castps_si256(y), magicBits);
  }
  const __m256 magic = _mm256_castsi256_ps(magicBits);
  const __m256 y = _mm256_fmadd_ps(df, inv, magic);
  const __m256i t = _mm256_add_epi32(m, _mm256_sub_epi32(_mm256_castps_si256(y), magicBits));
  const __m256 e = _mm256_fmsub_ps(df, inv, _mm256_sub_ps(y, magic));
  const __m256 absE = _mm256_andnot_ps(_mm256_set1_ps(-0.0f), e);
  // Sign bit set on a tie with an odd mean: the one that moves.
  const __m256i move = _mm256_and_si256(_mm256_castps_si256(_mm256_sub_ps(tieAbove, absE)),
                                        _mm256_slli_epi32(t, 31));
  const __m256i one = _mm256_srli_epi32(move, 31);
  return _mm256_add_epi32(t, _mm256_sign_epi32(one, _mm256_castps_si256(e)));
}

// The words go to 32-bit lanes and back within each 128-bit half, so the
// pack puts them back in order.
template <int Ties>
SV_AVX2_FMA void MixMeanLanes(size_t n, const uint16_t* f, uint16_t* m, int32_t frames) {
  const float invS = 1.0f / float(frames);
  const __m256 inv = _mm256_set1_ps(invS);
  const __m256 tieAbove = _mm256_set1_ps(0.5f - 0.25f * invS);
  const __m256i zero = _mm256_setzero_si256();
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m256i fv = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(f + i));
    const __m256i mv = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m + i));
    const __m256i lo = MixMean8<Ties>(_mm256_unpacklo_epi16(fv, zero),
                                      _mm256_unpacklo_epi16(mv, zero), inv, tieAbove);
    const __m256i hi = MixMean8<Ties>(_mm256_unpackhi_epi16(fv, zero),
                                      _mm256_unpackhi_epi16(mv, zero), inv, tieAbove);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(m + i), _mm256_packus_epi32(lo, hi));
  }
  MixMean(n - i, f + i, m + i, frames);
}

// GCC 12 takes the undefined pass-through lanes of its AVX-512 conversions
// for uninitialised values.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
template <int Ties>
SV_AVX512 SV_INLINE __m512i MixMean16(__m512i f, __m512i m, __m512 inv, __m512 tieAbove) {
  const __m512i magicBits = _mm512_set1_epi32(0x4B400000);
  const __m512 df = _mm512_cvtepi32_ps(_mm512_sub_epi32(f, m));
  if constexpr (Ties != kTies) {
    const __m512 y =
        _mm512_fmadd_ps(df, inv, _mm512_castsi512_ps(_mm512_add_epi32(magicBits, m)));
    return _mm512_sub_epi32(_mm512_castps_si512(y), magicBits);
  }
  const __m512 magic = _mm512_castsi512_ps(magicBits);
  const __m512 y = _mm512_fmadd_ps(df, inv, magic);
  const __m512i t = _mm512_add_epi32(m, _mm512_sub_epi32(_mm512_castps_si512(y), magicBits));
  const __m512 e = _mm512_fmsub_ps(df, inv, _mm512_sub_ps(y, magic));
  const __m512 absE = _mm512_abs_ps(e);
  // A tie with an odd mean moves by one toward x.
  const __mmask16 move = _mm512_cmp_ps_mask(absE, tieAbove, _CMP_GT_OQ) &
                         _mm512_test_epi32_mask(t, _mm512_set1_epi32(1));
  const __mmask16 down = _mm512_cmp_ps_mask(e, _mm512_setzero_ps(), _CMP_LT_OQ);
  const __m512i step = _mm512_mask_blend_epi32(down, _mm512_set1_epi32(1), _mm512_set1_epi32(-1));
  return _mm512_mask_add_epi32(t, move, t, step);
}

template <int Ties>
SV_AVX512 void MixMeanLanes512(size_t n, const uint16_t* f, uint16_t* m, int32_t frames) {
  const float invS = 1.0f / float(frames);
  const __m512 inv = _mm512_set1_ps(invS);
  const __m512 tieAbove = _mm512_set1_ps(0.5f - 0.25f * invS);
  size_t i = 0;
  const bool ahead = cpu::FetchAheadPays(n * 2);
  for (; i + 32 <= n; i += 32) {
    if (ahead) {
      cpu::Ahead(f + i);
      cpu::AheadWrite(m + i);
    }
    const __m256i* fp = reinterpret_cast<const __m256i*>(f + i);
    const __m256i* mp = reinterpret_cast<const __m256i*>(m + i);
    const __m512i lo = MixMean16<Ties>(_mm512_cvtepu16_epi32(_mm256_loadu_si256(fp)),
                                       _mm512_cvtepu16_epi32(_mm256_loadu_si256(mp)), inv,
                                       tieAbove);
    const __m512i hi = MixMean16<Ties>(_mm512_cvtepu16_epi32(_mm256_loadu_si256(fp + 1)),
                                       _mm512_cvtepu16_epi32(_mm256_loadu_si256(mp + 1)), inv,
                                       tieAbove);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(m + i), _mm512_cvtepi32_epi16(lo));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(m + i + 16), _mm512_cvtepi32_epi16(hi));
  }
  MixMean(n - i, f + i, m + i, frames);
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

// Saturating word sums have their own instruction.
SV_AVX2 void Add16To16Avx2(size_t n, const uint16_t* s, uint16_t* d) {
  size_t i = 0;
  const bool ahead = cpu::FetchAheadPays(n * 2);
  for (; i + 16 <= n; i += 16) {
    if (ahead) {
      cpu::Ahead(s + i);
      cpu::AheadWrite(d + i);
    }
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d + i));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), _mm256_adds_epu16(a, b));
  }
  AddSaturating(n - i, s + i, d + i);
}
void Add16To16Base(size_t n, const uint16_t* s, uint16_t* d) {
  size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(d + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_adds_epu16(a, b));
  }
  AddSaturating(n - i, s + i, d + i);
}
#else
void Add16To16Avx2(size_t n, const uint16_t* s, uint16_t* d) { AddSaturating(n, s, d); }
void Add16To16Base(size_t n, const uint16_t* s, uint16_t* d) { AddSaturating(n, s, d); }
#endif
SV_AVX2 void Add8To16Avx2(size_t n, const uint8_t* s, uint16_t* d) { AddSaturating(n, s, d); }
void Add8To16Base(size_t n, const uint8_t* s, uint16_t* d) { AddSaturating(n, s, d); }
SV_AVX512 void Add16To32Avx512(size_t n, const uint16_t* s, uint32_t* d) { AddWide(n, s, d); }
SV_AVX2 void Add16To32Avx2(size_t n, const uint16_t* s, uint32_t* d) { AddWide(n, s, d); }
void Add16To32Base(size_t n, const uint16_t* s, uint32_t* d) { AddWide(n, s, d); }
#ifdef SV_X86
SV_AVX512 void MixMeanAvx512(size_t n, const uint16_t* f, uint16_t* m, int32_t k) {
  (k & 1 ? MixMeanLanes512<kNoTies> : (k & (k - 1)) == 0 ? MixMeanLanes512<kExactTies> : MixMeanLanes512<kTies>)(n, f, m, k);
}
bool HaveFma() {
  static const bool has = __builtin_cpu_supports("fma") != 0;
  return has;
}
SV_AVX2 void MixMeanAvx2(size_t n, const uint16_t* f, uint16_t* m, int32_t k) {
  if (!HaveFma()) return MixMean(n, f, m, k);
  (k & 1 ? MixMeanLanes<kNoTies> : (k & (k - 1)) == 0 ? MixMeanLanes<kExactTies> : MixMeanLanes<kTies>)(n, f, m, k);
}
#else
SV_AVX512 void MixMeanAvx512(size_t n, const uint16_t* f, uint16_t* m, int32_t k) { MixMean(n, f, m, k); }
void MixMeanAvx2(size_t n, const uint16_t* f, uint16_t* m, int32_t k) { MixMean(n, f, m, k); }
#endif
void MixMeanBase(size_t n, const uint16_t* f, uint16_t* m, int32_t k) { MixMean(n, f, m, k); }

}  // namespace

bool SV_add_16_to_16(size_t count, ConstSamples16 source, Samples16 sum) {
  if (source.size() < count || sum.size() < count) return false;
  (HaveAvx2() ? Add16To16Avx2 : Add16To16Base)(count, source.data(), sum.data());
  return true;
}

bool SV_add_16_to_32(size_t count, ConstSamples16 source, Samples32 sum) {
  if (source.size() < count || sum.size() < count) return false;
  (cpu::HaveAvx512() ? Add16To32Avx512 : HaveAvx2() ? Add16To32Avx2 : Add16To32Base)(
      count, source.data(), sum.data());
  return true;
}

bool SV_add_8_to_16(size_t count, ConstSamples8 source, Samples16 sum) {
  if (source.size() < count || sum.size() < count) return false;
  (HaveAvx2() ? Add8To16Avx2 : Add8To16Base)(count, source.data(), sum.data());
  return true;
}

bool SV_avg_hist(size_t count, ConstSamples16 frame, Samples16 mean, int frames) {
  if (frame.size() < count || mean.size() < count || frames < 1 || frames > 65535) return false;
  (cpu::HaveAvx512() ? MixMeanAvx512 : HaveAvx2() ? MixMeanAvx2 : MixMeanBase)(
      count, frame.data(), mean.data(), frames);
  return true;
}

}  // namespace sv
