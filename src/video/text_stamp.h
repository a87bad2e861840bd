// A line of text burnt into a frame, for films that carry no numbers of
// their own (AVI): the recorder writes "label = value; ..." on each picture.
#pragma once

#include <cstdint>
#include <string>

namespace sv {

// Stamps text in a small built-in font at the top left of a frame.
// `pixels` holds `height` lines of `bytesPerLine` bytes; colour: 3 bytes a
// pixel (R, G, B), else 1 byte a pixel. The glyphs (ASCII 32..126, others as
// "?") are white on a black box one glyph cell high, grown to 2, 3 or 4
// times on large frames. Whatever does not fit is cut at the frame's edges;
// nothing outside width x height pixels of the buffer is touched.
void StampText(uint8_t* pixels, long width, long height, long bytesPerLine, bool colour,
               const std::string& text);

// The size of the box StampText fills for `text` on a frame of this height,
// before clipping.
long StampWidth(const std::string& text, long height);
long StampHeight(long height);

}  // namespace sv
