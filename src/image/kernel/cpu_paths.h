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
#define SV_INLINE_LAMBDA __attribute__((always_inline))

#include <algorithm>
#include <cstddef>
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

// Streaming loops fetch each stream's line 512 bytes ahead of where they
// read or write, once for every 64 bytes they pass: on frames that sit in the
// last-level cache the hardware prefetcher alone leaves the core waiting
// (whole-frame loops ran 10 to 20 % faster). A prefetch never faults, so
// fetching past the end of a buffer is harmless.
// Only streams of up to 4 MB gain: colour frames of three times the bytes
// lost by it (measured), as their lines come from memory rather than cache.
constexpr size_t kAheadBytes = 512;
inline bool FetchAheadPays(size_t streamBytes) { return streamBytes <= (size_t(4) << 20); }
template <typename T>
SV_INLINE void Ahead(const T* p) {
  __builtin_prefetch(reinterpret_cast<const char*>(p) + kAheadBytes);
}
template <typename T>
SV_INLINE void AheadWrite(T* p) {
  __builtin_prefetch(reinterpret_cast<char*>(p) + kAheadBytes, 1);
}

constexpr size_t kStreamStep = 32;

// One stream of Streamed: its samples from offset i, fetched for reading or
// for writing, one line for every 64 bytes of a step.
template <typename T>
SV_INLINE void Fetch(const T* p, size_t i) {
  for (size_t o = 0; o < kStreamStep * sizeof(T); o += 64)
    Ahead(reinterpret_cast<const char*>(p + i) + o);
}
template <typename T>
SV_INLINE void Fetch(T* p, size_t i) {
  for (size_t o = 0; o < kStreamStep * sizeof(T); o += 64)
    AheadWrite(reinterpret_cast<char*>(p + i) + o);
}

// Runs body(count, offset) over n samples in steps of kStreamStep with
// the streams fetched ahead; the whole steps have a constant count, so the
// compiler vectorises the body without a remainder loop.
template <typename Body, typename... Streams>
SV_INLINE void Streamed(size_t n, Body&& body, Streams... streams) {
  if (!FetchAheadPays(n * std::max({sizeof(*streams)...}))) return body(n, 0);
  size_t i = 0;
  for (; i + kStreamStep <= n; i += kStreamStep) {
    (Fetch(streams, i), ...);
    body(kStreamStep, i);
  }
  if (i < n) body(n - i, i);
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
