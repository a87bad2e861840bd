// The pixel kernel: every loop over pixels lives here. Callers hand it raw
// buffers, sizes and limits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "image/kernel/accumulate.h"
#include "image/kernel/analysis.h"
#include "image/kernel/convert.h"
#include "image/kernel/dynamic.h"
#include "image/kernel/fft.h"
#include "image/kernel/filter.h"
#include "image/kernel/geometry.h"
#include "image/kernel/image_math.h"
#include "image/kernel/memory.h"
#include "image/kernel/numbers.h"
#include "image/kernel/test_image.h"

namespace sv {

struct KernelVersion {
  uint8_t major, minor, patch;
};

// Identity.
KernelVersion SV_version();
std::string SV_dll_date();

// Memory.
void SV_memcpy(void* dest, const void* source, size_t bytes);
void SV_memset(void* dest, int value, size_t bytes);

// Display.
// Fills a byte table of `tableSize` entries: min and max are fractions of
// `levels`; samples at or below the lower limit give 0, at or above the upper
// limit 255, linear between; reversed with `inverse`.
void SV_set_lut(float min, float max, long levels, long tableSize, uint8_t* table, bool inverse);
// Maps width x height samples through the table into a bottom-up display
// bitmap whose lines are padded to four bytes.
void SV_display(long width, long height, const uint16_t* source16, uint8_t* dest8,
                const uint8_t* table);
// The same for three words a pixel (R, G, B); the bitmap takes B, G, R.
void SV_RGB_display(long width, long height, const uint16_t* source16, uint8_t* dest8,
                    const uint8_t* table);

// Which instructions SV_display may use: 0 table reads only, 1 up to AVX2,
// 2 up to AVX-512, -1 the best this processor has (the default). Levels the
// processor lacks are capped. Every level gives the same bytes; tests and
// benchmarks use this to reach each path. Returns the level now in effect.
int SV_set_display_isa(int level);

// True when SV_display runs this table as arithmetic rather than as table
// reads: tables that are a clamped, rounded straight line, as SV_set_lut builds
// them. Either way the bytes are the same; this only tells the speed.
bool SV_display_table_is_linear(const uint8_t* table);

// Bytes per line of the display bitmap.
inline long DisplayByteWidth(long width, bool colour) {
  return colour ? (3 * width + 3) & ~3L : (width + 3) & ~3L;
}

}  // namespace sv
