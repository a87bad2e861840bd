// Whole-image operations: arithmetic between two images or an image and a
// constant, masks, background subtraction, negatives, depth changes, colour
// and grey conversions, fills and comparison.
//
// Frames are as kernel_types.h describes them. A routine handed a span too
// small for its frame, or an argument out of range, returns false (or -1)
// and changes nothing. A destination may be the source itself.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "image/kernel/kernel_types.h"

namespace sv {

// Operation codes of the image arithmetic, in the order of the two-image
// dialog; Compare comes last, from the one-image dialog.
enum ImageMathOperation : int {
  kMathFade = 0,        // (a * fade + b * (100 - fade)) / 100
  kMathAdd = 1,         // a + b
  kMathSubtract = 2,    // a - b
  kMathMultiply = 3,    // a * b
  kMathDivide = 4,      // a / b; a / 0 is the top level (0 / 0 is 0)
  kMathDifference = 5,  // |a - b|
  kMathLightest = 6,    // max(a, b)
  kMathDarkest = 7,     // min(a, b)
  kMathAnd = 8,         // a & b
  kMathOr = 9,          // a | b
  kMathXor = 10,        // a ^ b
  kMathCompare = 11,    // the top level where a = b, else 0
};

// result = (a op b) / divisor + bias, the division rounded to nearest, ties
// to even (one rounding for Fade and Divide too). With `clip` the result is
// limited to 0 .. levels - 1; without, it wraps modulo `levels`. Divide by 0
// and Compare give their value as it stands, without divisor and bias.
struct ImageMathParams {
  int operation = kMathAdd;
  long divisor = 1;     // 1 or more
  long bias = 0;
  bool clip = true;
  long levels = 65536;  // the image's range: 2 to 65536
  int fade = 50;        // Fade: the first image's share in percent, 0 to 100
};

// Two images of one size and one layout (channels 1 grey, 3 colour).
bool SV_image_math2(FrameSize size, int channels, ConstSamples16 a, ConstSamples16 b,
                    Samples16 dest, const ImageMathParams& params);
// Every sample against a constant; the colour twin takes one constant for
// each of R, G and B.
bool SV_modify_image16(FrameSize size, ConstSamples16 source, Samples16 dest, long constant,
                       const ImageMathParams& params);
bool SV_RGB_modify_image16(FrameSize size, ConstSamples16 source, Samples16 dest,
                           const std::array<long, 3>& constants, const ImageMathParams& params);

// sample &= mask, in place.
bool SV_image_and_const(FrameSize size, int channels, Samples16 image, uint16_t mask);

// image := image - background, clipped at 0, in place.
bool SV_subtract_background(FrameSize size, int channels, Samples16 image,
                            ConstSamples16 background);

// sample := levels - 1 - sample, in place; samples at or above the top level
// give 0. `levels` runs from 2 to 65536.
bool SV_negative(FrameSize size, Samples16 image, long levels);
bool SV_RGB_negative(FrameSize size, Samples16 image, long levels);

// From `fromBits` to `toBits` significant bits (1 to 16), in place: a shift,
// left to gain bits, right (cutting the lowest bits off) to lose them, so
// ratios of intensities stay; samples beyond the old range saturate at the
// new top.
bool SV_change_color_depth(FrameSize size, Samples16 image, int fromBits, int toBits);
bool SV_RGB_change_color_depth(FrameSize size, Samples16 image, int fromBits, int toBits);

// A byte matrix of the frame: 1 where the sample (colour: its grey, as in
// SV_RGB_Greyscale16) is at or above `threshold`, else 0. Returns the number
// of ones, -1 for bad sizes.
long SV_CvtToMono(FrameSize size, int channels, ConstSamples16 image, Samples8 matrix,
                  uint32_t threshold);

// Every sample through a table, in place; samples beyond the table take its
// last entry. The colour twin uses the one table for R, G and B.
bool SV_CvtColors(FrameSize size, Samples16 image, ConstSamples16 table);
bool SV_RGB_CvtColors(FrameSize size, Samples16 image, ConstSamples16 table);

// Colour frame to grey frame: 0.299 R + 0.587 G + 0.114 B (GreyOf in
// convert.h). Grey frame to colour frame: the sample in all three channels.
bool SV_RGB_Greyscale16(FrameSize size, ConstSamples16 rgb, Samples16 grey);
bool SV_RGB_TrueColor16(FrameSize size, ConstSamples16 grey, Samples16 rgb);
// A colour frame into three grey frames.
bool SV_RGB_split16(FrameSize size, ConstSamples16 rgb, Samples16 red, Samples16 green,
                    Samples16 blue);

// Fills a colour display bitmap (B, G, R bytes, lines padded to four bytes,
// as SV_RGB_display writes it; the padding becomes 0) with one colour.
bool SV_RGB_fill8(FrameSize size, Samples8 bitmap, uint8_t red, uint8_t green, uint8_t blue);
// Fills a colour frame with one colour.
bool SV_RGB_fill16(FrameSize size, Samples16 rgb, uint16_t red, uint16_t green, uint16_t blue);

// The number of pixels in which two frames differ (in any channel); 0 for
// equal frames, -1 for bad sizes.
long SV_compare(FrameSize size, int channels, ConstSamples16 a, ConstSamples16 b);

}  // namespace sv
