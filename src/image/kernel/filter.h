// Convolution filters and morphology of 16-bit frames.
//
// Every routine here reads a neighbourhood around each pixel. Beyond the
// frame's edges the edge pixels are repeated (the border is replicated), so
// every output pixel has a full neighbourhood and the frame keeps its size.
// `dest` may be `source` itself; any other overlap is refused. A routine
// handed spans too small for the frame, a size that is not positive or a bad
// argument returns false and writes nothing.
#pragma once

#include <cstdint>

#include "image/kernel/kernel_types.h"

namespace sv {

// One convolution filter as the filter library file stores it (232 bytes,
// little-endian).
struct FilterRecord {
  char Name[24];          // blank-padded
  int32_t Reserved;       // kept, not used
  int32_t Factor;         // division factor, never 0
  int32_t Bias;           // added after the division
  int32_t Coefficients[49];  // a 7 x 7 kernel, row by row
};
static_assert(sizeof(FilterRecord) == 232, "FilterRecord is the 232-byte file record");

// The kernel size a record needs: 7 when a coefficient of the outer ring of
// the 7 x 7 grid is not 0, else 5 when one of the next ring is not 0, else 3.
int FilterKernelSize(const FilterRecord& filter);

// The filters take the central 3 x 3, 5 x 5 or the whole 7 x 7 of the
// coefficients; the others are ignored. The kernel is laid over the image as
// it is written: coefficient (row r, column c) of the 7 x 7 grid weighs the
// pixel (x + c - 3, y + r - 3). Each output sample is
//   sum / Factor, rounded to nearest with ties to even, + Bias,
// clamped to 0 .. 2^bits - 1. `bits` is the image's depth, 1 to 16. The
// colour twins filter each of the three channels on its own. A Factor of 0 is
// refused.
bool SV_filter_3x3(FrameSize size, ConstSamples16 source, Samples16 dest,
                   const FilterRecord& filter, int bits);
bool SV_filter_5x5(FrameSize size, ConstSamples16 source, Samples16 dest,
                   const FilterRecord& filter, int bits);
bool SV_filter_7x7(FrameSize size, ConstSamples16 source, Samples16 dest,
                   const FilterRecord& filter, int bits);
bool SV_RGB_filter_3x3(FrameSize size, ConstSamples16 source, Samples16 dest,
                       const FilterRecord& filter, int bits);
bool SV_RGB_filter_5x5(FrameSize size, ConstSamples16 source, Samples16 dest,
                       const FilterRecord& filter, int bits);
bool SV_RGB_filter_7x7(FrameSize size, ConstSamples16 source, Samples16 dest,
                       const FilterRecord& filter, int bits);

// Samples above `threshold` become 2^bits - 1, the others 0.
bool SV_Binarize(FrameSize size, ConstSamples16 source, Samples16 dest, long threshold,
                 int bits);

// Grey morphology: each sample becomes the largest (dilatation) or smallest
// (erosion) sample of its neighbourhood: itself and its 4 edge neighbours
// (connectivity 4) or its 8 neighbours (connectivity 8). On a binary image
// (0 and one other level) these are the binary dilatation and erosion. Other
// connectivities are refused.
bool SV_Dilatation(FrameSize size, ConstSamples16 source, Samples16 dest, int connectivity);
bool SV_Erosion(FrameSize size, ConstSamples16 source, Samples16 dest, int connectivity);

// Edge strength by the Sobel operator: |gx| + |gy| with
//   gx = (right column) - (left column), gy = (lower line) - (upper line),
// each column or line weighted 1, 2, 1 across; clamped to 0 .. 2^bits - 1.
bool SV_Edge(FrameSize size, ConstSamples16 source, Samples16 dest, int bits);

// Which instructions the filter loops may use: 0 plain x86-64, 1 up to AVX2,
// 2 up to AVX-512, -1 the best this processor has (the default); capped to
// what the processor has. Every level gives the same samples. Returns the
// level now in effect.
int SV_set_filter_isa(int level);

}  // namespace sv
