#include "image/kernel/convert.h"

#include <algorithm>

namespace sv {

namespace {

// Round to nearest, ties to even, clamped to 0..top; NaN gives 0. Adding and
// taking away 2^23 leaves a float below 2^23 rounded to an integer in the
// default rounding mode, and the loop stays vectorisable.
inline uint32_t RoundClamp(float v, float top) {
  const float c = v > 0.0f ? (v < top ? v : top) : 0.0f;
  return uint32_t((c + 8388608.0f) - 8388608.0f);
}

template <typename Dest>
bool FloatsTo(size_t count, std::span<const float> source, std::span<Dest> dest, float top) {
  if (source.size() < count || dest.size() < count) return false;
  const float* s = source.data();
  Dest* d = dest.data();
  for (size_t i = 0; i < count; ++i) d[i] = Dest(RoundClamp(s[i], top));
  return true;
}

// Colour bytes to words; R, G and B name the source byte of each channel.
template <int R, int G, int B>
bool ColourBytesToWords(size_t pixels, ConstSamples8 source, Samples16 dest) {
  if (pixels > source.size() / 3 || pixels > dest.size() / 3) return false;
  const uint8_t* s = source.data();
  uint16_t* d = dest.data();
  for (size_t i = 0; i < pixels; ++i, s += 3, d += 3) {
    d[0] = s[R];
    d[1] = s[G];
    d[2] = s[B];
  }
  return true;
}

}  // namespace

void SV_convert_8_to_16(const uint8_t* source, uint16_t* dest, size_t count) {
  if (!source || !dest) return;
  for (size_t i = 0; i < count; ++i) dest[i] = source[i];
}

bool SV_convert_8_to_16(size_t count, ConstSamples8 source, Samples16 dest) {
  if (source.size() < count || dest.size() < count) return false;
  SV_convert_8_to_16(source.data(), dest.data(), count);
  return true;
}

bool SV_RGB_convert_8_to_16(size_t pixels, ConstSamples8 source, Samples16 dest) {
  // The same order on both sides: one flat run of 3 x pixels samples.
  if (pixels > source.size() / 3 || pixels > dest.size() / 3) return false;
  SV_convert_8_to_16(source.data(), dest.data(), pixels * 3);
  return true;
}

bool SV_RGB_convert_inverse_8_to_16(size_t pixels, ConstSamples8 source, Samples16 dest) {
  return ColourBytesToWords<2, 1, 0>(pixels, source, dest);
}

void SV_convert_16_to_8(const uint16_t* source, uint8_t* dest, size_t count, int bits) {
  if (!source || !dest) return;
  bits = std::clamp(bits, 1, 16);
  if (bits >= 8) {
    const int shift = bits - 8;
    for (size_t i = 0; i < count; ++i) {
      const unsigned v = unsigned(source[i]) >> shift;
      dest[i] = uint8_t(v > 255 ? 255 : v);
    }
  } else {
    // Fewer than eight bits: spread them over the byte.
    const int shift = 8 - bits;
    for (size_t i = 0; i < count; ++i) {
      const unsigned v = unsigned(source[i]) << shift;
      dest[i] = uint8_t(v > 255 ? 255 : v);
    }
  }
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
  const uint8_t* s = rgb.data();
  uint8_t* d = grey.data();
  for (size_t i = 0; i < pixels; ++i, s += 3) d[i] = uint8_t(GreyOf(s[0], s[1], s[2]));
  return true;
}

bool SV_convert_32_to_16(size_t count, ConstSamples32 source, Samples16 dest) {
  if (source.size() < count || dest.size() < count) return false;
  const uint32_t* s = source.data();
  uint16_t* d = dest.data();
  for (size_t i = 0; i < count; ++i) d[i] = uint16_t(std::min<uint32_t>(s[i], 65535u));
  return true;
}

bool SV_swap_lo_hi_byte(size_t count, ConstSamples16 source, Samples16 dest) {
  if (source.size() < count || dest.size() < count) return false;
  const uint16_t* s = source.data();
  uint16_t* d = dest.data();
  for (size_t i = 0; i < count; ++i) d[i] = uint16_t((s[i] << 8) | (s[i] >> 8));
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

}  // namespace sv
