// Private to the kernel sources: a loop written once as an always-inlined
// body is compiled for the baseline and again, in functions marked SV_AVX2 or
// SV_AVX512, for those; HaveAvx2() and HaveAvx512() choose at run time. Every
// path gives the same results.
#pragma once

#include "image/kernel/target_width.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define SV_X86 1
#define SV_AVX2 __attribute__((target("avx2")))
#define SV_AVX512 \
  __attribute__((target("avx512f,avx512bw,avx512vl,avx512dq,avx2" SV_PREFER_512)))
#else
#define SV_AVX2
#define SV_AVX512
#endif
#define SV_INLINE inline __attribute__((always_inline))

#include <cstdint>

namespace sv::cpu {

// The widest loops to take: 2 AVX-512, 1 AVX2, 0 the baseline. Tests lower
// it to reach the narrower loops on a processor that has more.
inline int pathLimit = 2;

inline bool HaveAvx2() {
#ifdef SV_X86
  static const bool has = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
  }();
  return has && pathLimit >= 1;
#else
  return false;
#endif
}

// AVX-512 (F, BW, VL, DQ), for the loops that gain from 16 lanes.
inline bool HaveAvx512() {
#ifdef SV_X86
  static const bool has = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
  }();
  return has && pathLimit >= 2;
#else
  return false;
#endif
}

// Exact integer division that vectorises: the floor of num / den and the
// remainder (0 <= rem < den), for 1 <= den < 2^28, |num| < 2^24 and
// |num / den| <= 131070. `inv` is 1.0f / den. A float estimate of the floor is
// off by at most one (the offset keeps it positive, so that truncation is the
// floor); the integer remainder puts it right. Written with masks rather
// than branches, so that the loops around it stay vector loops.
SV_INLINE int32_t FloorDiv(int32_t num, int32_t den, float inv, int32_t& rem) {
  int32_t k = int32_t(float(num) * inv + 131072.0f) - 131072;
  int32_t r = num - k * den;
  const int32_t below = r >> 31;  // -1 when r < 0
  k += below;
  r += den & below;
  const int32_t above = (den - 1 - r) >> 31;  // -1 when r >= den
  k -= above;
  r -= den & above;
  rem = r;
  return k;
}

// 1 when q + rem / den, 0 <= rem < den, rounds up to nearest, ties to even.
// Masks again: compares turned into integers keep GCC 12 from vectorising.
SV_INLINE int32_t RoundsUp(int32_t q, int32_t rem, int32_t den) {
  const int32_t twice = 2 * rem;
  const int32_t above = -((den - twice) >> 31);   // 1 when twice > den
  const int32_t x = twice ^ den;
  const int32_t equal = ((x | -x) >> 31) + 1;     // 1 when twice == den
  return above | (equal & q & 1);
}

}  // namespace sv::cpu
