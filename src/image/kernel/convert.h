// Depth conversions between 4, 8, 16 and 32 bits and from floats. The span
// forms take the number of samples (or of pixels, for the colour ones) first
// and refuse, touching nothing, a buffer that holds fewer.
//
// Floats become integers rounded to nearest, ties to even, and clamped to the
// target's range; a NaN gives 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "image/kernel/kernel_types.h"

namespace sv {

// The grey of a colour: 0.299 R + 0.587 G + 0.114 B with weights in steps of
// 1/65536 (19595, 38470, 7471, which sum to 65536, so equal channels keep
// their value), rounded to nearest, ties to even. Channels up to 65535.
inline uint32_t GreyOf(uint32_t r, uint32_t g, uint32_t b) {
  const uint32_t s = 19595u * r + 38470u * g + 7471u * b;
  const uint32_t q = s >> 16, rest = s & 0xFFFFu;
  return q + uint32_t(rest > 0x8000u || (rest == 0x8000u && (q & 1u)));
}

// Bytes to words, value for value.
void SV_convert_8_to_16(const uint8_t* source, uint16_t* dest, size_t count);
bool SV_convert_8_to_16(size_t count, ConstSamples8 source, Samples16 dest);
// Three bytes a pixel (R, G, B) to three words a pixel.
bool SV_RGB_convert_8_to_16(size_t pixels, ConstSamples8 source, Samples16 dest);
// Three bytes a pixel in bitmap order (B, G, R) to three words R, G, B.
bool SV_RGB_convert_inverse_8_to_16(size_t pixels, ConstSamples8 source, Samples16 dest);

// Words of `bits` significant bits to bytes: the upper eight of those bits,
// saturating at 255; fewer than eight bits are spread over the byte.
void SV_convert_16_to_8(const uint16_t* source, uint8_t* dest, size_t count, int bits);
bool SV_convert_16_to_8(size_t count, ConstSamples16 source, Samples8 dest, int bits);

// Packed pixels, the first in the high bits of a byte, to one byte each,
// values unchanged (palette indices). `packed` holds (count * bits + 7) / 8
// bytes; SV_convert_n_to_8 takes 1, 2, 4 or 8 bits a pixel.
bool SV_convert_4_to_8(size_t count, ConstSamples8 packed, Samples8 dest);
bool SV_convert_n_to_8(size_t count, ConstSamples8 packed, Samples8 dest, int bits);

// Three bytes a pixel (R, G, B) to one grey byte, with the weights of
// SV_RGB_Greyscale16.
bool SV_rgb_to_8(size_t pixels, ConstSamples8 rgb, Samples8 grey);

// 32-bit sums to words, saturating at 65535 (shift first with SV_shr).
bool SV_convert_32_to_16(size_t count, ConstSamples32 source, Samples16 dest);

// Every bit set in any of `count` samples: the smallest depth that holds
// them all is the position of its highest bit.
uint16_t SV_bits_used(const uint16_t* samples, size_t count);

// Exchanges the two bytes of every word: in place, or into `dest`.
bool SV_swap_lo_hi_byte(size_t count, Samples16 samples);
bool SV_swap_lo_hi_byte(size_t count, ConstSamples16 source, Samples16 dest);

bool SV_copy_floats_to_shorts(size_t count, std::span<const float> source, Samples16 dest);
bool SV_copy_floats_to_bytes(size_t count, std::span<const float> source, Samples8 dest);

// Writes a block of 32-bit sums (`part` pixels, as a window's sum buffer
// holds them) into a 16-bit frame with its top-left corner at (x, y). Each
// sum is shifted right by `shift` (0 to 31) and saturates at 65535; what
// falls outside the frame is left out. False when a buffer is too small for
// its size or the shift is out of range.
bool SV_insert_32_into_16(FrameSize size, Samples16 image, long x, long y, FrameSize part,
                          ConstSamples32 source, int shift);

}  // namespace sv
