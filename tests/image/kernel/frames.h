// Frames for the kernel tests: random samples, and colour frames taken apart
// into their channels and put together again.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "image/kernel/kernel_types.h"

namespace sv::test {

using Frame = std::vector<uint16_t>;

inline Frame Random(size_t n, uint32_t seed, uint32_t top = 65535) {
  std::mt19937 gen(seed);
  Frame f(n);
  for (auto& v : f) v = uint16_t(gen() % (top + 1));
  return f;
}
inline Frame Random(FrameSize size, int channels, uint32_t seed, uint32_t top = 65535) {
  return Random(size.Samples(channels), seed, top);
}

inline Frame Channel(const Frame& rgb, int c) {
  Frame out(rgb.size() / 3);
  for (size_t i = 0; i < out.size(); ++i) out[i] = rgb[3 * i + size_t(c)];
  return out;
}

inline Frame Interleave(const Frame& r, const Frame& g, const Frame& b) {
  Frame out(r.size() * 3);
  for (size_t i = 0; i < r.size(); ++i) {
    out[3 * i] = r[i];
    out[3 * i + 1] = g[i];
    out[3 * i + 2] = b[i];
  }
  return out;
}

}  // namespace sv::test
