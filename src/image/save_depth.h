// Whether a save keeps an image's depth. The 8-bit save filters (1 to 5)
// write the samples of an image of 8 bits or fewer, but the display bytes of
// a deeper one: its samples go through the display table and come out as 8
// bits. The filter's extension stays what it is; the user is told instead.
#pragma once

#include <string>

namespace sv {

class Form_Camera;

// What svbatch prints (behind the file's name) when a save lost bits.
inline constexpr const char* kSaveDepthNote =
    "saved through the display table as 8 bits; use .t16 or --filter 6 to keep 16 bits";

// True when writing samples of `bits` significant bits through save filter
// `filter` keeps only 8 of them.
bool SaveLosesBits(long bits, int filter);
bool SaveLosesBits(const Form_Camera& image, int filter);

// After Save As: when the image went out through an 8-bit filter with fewer
// bits than it holds, the status line says so (no box). `path` is the file
// written.
void NoteSaveDepth(const Form_Camera& image, const std::string& path, int filter);

}  // namespace sv
