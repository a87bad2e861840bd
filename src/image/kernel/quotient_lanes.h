// Private to the kernel sources: the quotient loops of image arithmetic
// (Divide and Fade of two images) written by hand for AVX2 and AVX-512. Each
// runs whole blocks and returns how many samples it did; the caller's plain
// loop does the rest. They give the samples the plain loop gives.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sv::lanes {

struct QuotientArgs {
  int32_t bias, top;
  float divisor, den;  // Divide: a / (b * divisor); Fade: (a wa + b wb) / den
  float wa, wb;
  bool divide, clip;  // Divide or Fade; clip to 0..top or keep the low bits
  // Fade: num / den rounds as num times 1 / den in one fused multiply-add,
  // which holds for a den that is a power of two (the product is exact) or
  // odd and below 128 (no quotient is a tie, and every other lies further
  // from a half than the product's error, under 65536 x 2^-24).
  bool reciprocal;
};

// Fade's weights and den with their common factor taken out: the same
// quotients, and more often a den that allows the reciprocal.
QuotientArgs FadeArgs(int fade, int32_t divisor, int32_t bias, int32_t top, bool clip);

size_t QuotientAvx2(size_t n, const uint16_t* a, const uint16_t* b, uint16_t* d,
                    const QuotientArgs& q);
size_t QuotientAvx512(size_t n, const uint16_t* a, const uint16_t* b, uint16_t* d,
                      const QuotientArgs& q);

}  // namespace sv::lanes
