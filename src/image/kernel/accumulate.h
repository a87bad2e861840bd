// Accumulation: frames added into sums, and the running mean of noise
// reduction. Each routine works on the first `count` samples (grey or colour
// alike) and refuses, touching nothing, a buffer that holds fewer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/kernel/kernel_types.h"

namespace sv {

// sum += source, saturating at 65535.
bool SV_add_16_to_16(size_t count, ConstSamples16 source, Samples16 sum);
// sum += source in 32 bits: room for 65537 full-scale frames.
bool SV_add_16_to_32(size_t count, ConstSamples16 source, Samples32 sum);
// sum += source, saturating at 65535.
bool SV_add_8_to_16(size_t count, ConstSamples8 source, Samples16 sum);

// Mixes a new frame into a running mean with the weight 1 / frames:
//   mean := ((frames - 1) * mean + frame) / frames,
// rounded to nearest, ties to even. frames = n, the number of frames seen,
// gives the plain mean of the first n frames; a fixed value goes on as an
// exponential mean that lets one frame count 1 / frames. frames = 1 copies
// the frame. `frames` runs from 1 to 65535.
bool SV_avg_hist(size_t count, ConstSamples16 frame, Samples16 mean, int frames);

}  // namespace sv
