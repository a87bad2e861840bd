// The shapes the kernel routines take: a frame size and spans over its
// samples. Grey frames hold width x height words, colour frames three words a
// pixel (R, G, B), line by line from the top, no padding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace sv {

struct FrameSize {
  long width = 0;
  long height = 0;
  size_t Pixels() const {
    return width > 0 && height > 0 ? size_t(width) * size_t(height) : 0;
  }
  // Samples of a grey frame (channels 1) or a colour frame (channels 3).
  size_t Samples(int channels = 1) const { return Pixels() * size_t(channels); }
  bool Valid() const { return width > 0 && height > 0; }
};

using Samples16 = std::span<uint16_t>;
using ConstSamples16 = std::span<const uint16_t>;
using Samples8 = std::span<uint8_t>;
using ConstSamples8 = std::span<const uint8_t>;
using Samples32 = std::span<uint32_t>;
using ConstSamples32 = std::span<const uint32_t>;

// True when a span holds at least a whole frame of that many channels.
template <typename T>
bool Holds(std::span<T> s, FrameSize size, int channels = 1) {
  return size.Valid() && s.size() >= size.Samples(channels);
}

}  // namespace sv
