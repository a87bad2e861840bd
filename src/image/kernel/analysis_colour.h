// Private to the window analysis: colour rows (three 16-bit words a pixel)
// parted into their red, green and blue planes of 32-bit sums, on AVX2 (8
// pixels a turn) and AVX-512 (16). kStart writes the first sum, otherwise the
// words are added. Whole blocks only: the caller sums the rest of each row.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/kernel/cpu_paths.h"

namespace sv::analysis_colour {

#if defined(__x86_64__)
template <bool kStart>
SV_AVX2 void SumAvx2(const uint16_t* src, size_t sstep, uint32_t* d0, uint32_t* d1, uint32_t* d2,
             size_t dstep, long m, long count);
template <bool kStart>
SV_AVX512 void SumAvx512(const uint16_t* src, size_t sstep, uint32_t* d0, uint32_t* d1, uint32_t* d2,
               size_t dstep, long m, long count);
#endif

}  // namespace sv::analysis_colour
