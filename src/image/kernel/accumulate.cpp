#include "image/kernel/accumulate.h"

namespace sv {

namespace {

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

// The loops are written once and compiled twice: for the baseline and, where
// the processor has it, for AVX2. Both give the same results.
template <typename Source>
inline __attribute__((always_inline)) void AddSaturating(size_t n, const Source* s, uint16_t* d) {
  for (size_t i = 0; i < n; ++i) {
    const uint32_t v = uint32_t(d[i]) + uint32_t(s[i]);
    d[i] = uint16_t(v > 65535u ? 65535u : v);
  }
}

inline __attribute__((always_inline)) void AddWide(size_t n, const uint16_t* s, uint32_t* d) {
  for (size_t i = 0; i < n; ++i) d[i] += s[i];
}

// ((frames - 1) * mean + frame) / frames, to nearest, ties to even. The
// quotient of two integers below 2^32 is never closer to a tie than
// 1 / (2 frames), far beyond the error of the double division, so the double
// lands on the side of the tie the exact quotient is on, and exactly on it
// for a tie; adding and taking away 2^52 then rounds it ties to even.
inline __attribute__((always_inline)) void MixMean(size_t n, const uint16_t* f, uint16_t* m,
                                                   uint32_t frames) {
  const uint32_t keep = frames - 1;
  const double div = double(frames);
  for (size_t i = 0; i < n; ++i) {
    const double num = double(keep * uint32_t(m[i]) + uint32_t(f[i]));
    m[i] = uint16_t(int32_t((num / div + 4503599627370496.0) - 4503599627370496.0));
  }
}

#if defined(__x86_64__) || defined(__i386__)
#define SV_AVX2 __attribute__((target("avx2")))
#else
#define SV_AVX2
#endif

SV_AVX2 void Add16To16Avx2(size_t n, const uint16_t* s, uint16_t* d) { AddSaturating(n, s, d); }
void Add16To16(size_t n, const uint16_t* s, uint16_t* d) { AddSaturating(n, s, d); }
SV_AVX2 void Add8To16Avx2(size_t n, const uint8_t* s, uint16_t* d) { AddSaturating(n, s, d); }
void Add8To16(size_t n, const uint8_t* s, uint16_t* d) { AddSaturating(n, s, d); }
SV_AVX2 void Add16To32Avx2(size_t n, const uint16_t* s, uint32_t* d) { AddWide(n, s, d); }
void Add16To32(size_t n, const uint16_t* s, uint32_t* d) { AddWide(n, s, d); }
SV_AVX2 void MixMeanAvx2(size_t n, const uint16_t* f, uint16_t* m, uint32_t k) { MixMean(n, f, m, k); }
void MixMeanBase(size_t n, const uint16_t* f, uint16_t* m, uint32_t k) { MixMean(n, f, m, k); }

}  // namespace

bool SV_add_16_to_16(size_t count, ConstSamples16 source, Samples16 sum) {
  if (source.size() < count || sum.size() < count) return false;
  (Avx2() ? Add16To16Avx2 : Add16To16)(count, source.data(), sum.data());
  return true;
}

bool SV_add_16_to_32(size_t count, ConstSamples16 source, Samples32 sum) {
  if (source.size() < count || sum.size() < count) return false;
  (Avx2() ? Add16To32Avx2 : Add16To32)(count, source.data(), sum.data());
  return true;
}

bool SV_add_8_to_16(size_t count, ConstSamples8 source, Samples16 sum) {
  if (source.size() < count || sum.size() < count) return false;
  (Avx2() ? Add8To16Avx2 : Add8To16)(count, source.data(), sum.data());
  return true;
}

bool SV_avg_hist(size_t count, ConstSamples16 frame, Samples16 mean, int frames) {
  if (frame.size() < count || mean.size() < count || frames < 1 || frames > 65535) return false;
  (Avx2() ? MixMeanAvx2 : MixMeanBase)(count, frame.data(), mean.data(), uint32_t(frames));
  return true;
}

}  // namespace sv
