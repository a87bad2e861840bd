// Private to the kernel sources: runs a loop body compiled for the best
// instruction set the processor has. The body is a lambda marked
// SV_INLINE_BODY; it is inlined into one clone per instruction set, so the
// compiler vectorises the same source three times. Integer loops give the same
// results on every clone; a clone only changes the speed.
//
// Hand the body its pointers and limits as arguments (they arrive by value)
// rather than capturing them by reference: a captured limit may, for all the
// compiler knows, be changed by the stores of the loop, which stops the
// vectoriser.
#pragma once

#include "image/kernel/target_width.h"

#include <atomic>

#define SV_INLINE_BODY __attribute__((always_inline))

namespace sv::simd {

// 0 plain x86-64 (SSE2), 1 AVX2, 2 AVX-512 (F, BW, VL, DQ).
inline int ProcessorLevel() {
#if defined(__x86_64__) || defined(__i386__)
  static const int level = [] {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq"))
      return 2;
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2")) return 1;
    return 0;
  }();
  return level;
#else
  return 0;
#endif
}

// A family's chosen level: -1 the best there is; capped to the processor.
class Level {
 public:
  int Set(int level) {
    const int best = ProcessorLevel();
    chosen_.store(level < 0 || level > best ? best : level, std::memory_order_relaxed);
    return chosen_.load(std::memory_order_relaxed);
  }
  int Get() const {
    const int c = chosen_.load(std::memory_order_relaxed);
    return c < 0 ? ProcessorLevel() : c;
  }

 private:
  std::atomic<int> chosen_{-1};
};

#if defined(__x86_64__) || defined(__i386__)
template <class F, class... A>
__attribute__((target("avx512f,avx512bw,avx512vl,avx512dq,avx2,bmi2,popcnt" SV_PREFER_512)))
void OnAvx512(F& f, A... args) {
  f(args...);
}
template <class F, class... A>
__attribute__((target("avx2,bmi2,popcnt"))) void OnAvx2(F& f, A... args) {
  f(args...);
}
#endif
template <class F, class... A>
void OnBase(F& f, A... args) {
  f(args...);
}

template <class F, class... A>
void Run(const Level& level, F&& f, A... args) {
#if defined(__x86_64__) || defined(__i386__)
  switch (level.Get()) {
    case 2:
      OnAvx512(f, args...);
      return;
    case 1:
      OnAvx2(f, args...);
      return;
    default:
      break;
  }
#else
  (void)level;
#endif
  OnBase(f, args...);
}

}  // namespace sv::simd
