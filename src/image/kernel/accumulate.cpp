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
// Saturating word sums have their own instruction.
SV_AVX2 void Add16To16Avx2(size_t n, const uint16_t* s, uint16_t* d) {
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
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
SV_AVX512 void MixMeanAvx512(size_t n, const uint16_t* f, uint16_t* m, int32_t k) { MixMean(n, f, m, k); }
SV_AVX2 void MixMeanAvx2(size_t n, const uint16_t* f, uint16_t* m, int32_t k) { MixMean(n, f, m, k); }
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
