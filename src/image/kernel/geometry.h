// Geometry: flips, quarter turns, resizing and field extraction of 16-bit
// frames. Grey frames hold one word a pixel, colour frames (the SV_RGB_
// twins) three. Every routine checks its spans against the frame sizes first;
// a span too small, a size that is not positive or a forbidden overlap makes
// it return false with nothing written.
#pragma once

#include "image/kernel/kernel_types.h"

namespace sv {

// Top-bottom: the first line becomes the last. `dest` may be `source` itself
// (the lines are swapped in place); any other overlap is refused.
bool SV_flip(FrameSize size, ConstSamples16 source, Samples16 dest);
bool SV_RGB_flip(FrameSize size, ConstSamples16 source, Samples16 dest);

// Left-right: the first column becomes the last. In place as SV_flip.
bool SV_mirror(FrameSize size, ConstSamples16 source, Samples16 dest);
bool SV_RGB_mirror(FrameSize size, ConstSamples16 source, Samples16 dest);

// The frame after a quarter turn: `dest` is height x width (the sizes change
// places; see RotatedSize). SV_Rotate90 turns clockwise as seen on screen
// (the top line becomes the right-hand column), SV_Rotate270 counter-clockwise
// (the top line becomes the left-hand column). `dest` must not overlap
// `source`.
bool SV_Rotate90(FrameSize size, ConstSamples16 source, Samples16 dest);
bool SV_Rotate270(FrameSize size, ConstSamples16 source, Samples16 dest);
bool SV_RGB_Rotate90(FrameSize size, ConstSamples16 source, Samples16 dest);
bool SV_RGB_Rotate270(FrameSize size, ConstSamples16 source, Samples16 dest);

inline FrameSize RotatedSize(FrameSize size) { return FrameSize{size.height, size.width}; }

// Resizes `from` to `to` by bilinear interpolation. Pixel centres map onto
// pixel centres: destination pixel d samples the source at
// (d + 0.5) * from / to - 0.5 in each direction, rounded down to a step of
// 1/2048 pixel. Positions before the first or beyond the last pixel take the
// edge pixel (the edge is replicated). Integer arithmetic: across first, kept
// to 1/16 of a level, then down, rounded to the nearest level (halves up).
// The same size copies the frame unchanged. `dest` must not overlap `source`.
bool SV_stretch(FrameSize from, ConstSamples16 source, FrameSize to, Samples16 dest);
bool SV_RGB_stretch(FrameSize from, ConstSamples16 source, FrameSize to, Samples16 dest);

// One field of an interlaced frame, with half the lines: field 1 is lines 0,
// 2, 4, ... (the first line and every second after it), field 2 lines 1, 3,
// 5, .... The lines are not doubled; see FieldSize for the result's size (an
// odd height gives field 1 the extra line). `dest` may be `source` itself. A
// field other than 1 or 2, or a field with no line (field 2 of a one-line
// frame), is refused.
bool SV_extract_field(FrameSize size, ConstSamples16 source, int field, Samples16 dest);
bool SV_RGB_extract_field(FrameSize size, ConstSamples16 source, int field, Samples16 dest);

inline FrameSize FieldSize(FrameSize size, int field) {
  const long lines = field == 1 ? (size.height + 1) / 2 : field == 2 ? size.height / 2 : 0;
  return FrameSize{size.width, lines};
}

// Which instructions the geometry loops may use: 0 plain x86-64, 1 up to AVX2,
// 2 up to AVX-512, -1 the best this processor has (the default); capped to
// what the processor has. Every level gives the same samples; tests and
// benchmarks use this to reach each path. Returns the level now in effect.
int SV_set_geometry_isa(int level);

}  // namespace sv
