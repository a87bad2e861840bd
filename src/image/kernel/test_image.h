// The test picture of the dummy grabber: a simulated LEED screen.
//
// A dark round screen with the bright (0,0) spot at its centre and a square
// lattice of diffraction spots around it. A spot of order (h, k) stands
// h and k lattice steps from the centre, and the step shrinks as 1/sqrt(E)
// with the electron energy E: a quarter of the frame's smaller side at
// 100 eV. Each order's intensity is a smooth function of E with a few Bragg
// peaks between 20 and 500 eV, at energies that differ from order to order;
// a diffuse background falls with E. Over time the (0,0) spot oscillates
// with a period of 20 s and a slowly decaying amplitude, as during
// layer-by-layer growth. A few counts of noise come from a generator seeded
// by `Seed`, so that a picture depends only on its parameters.
#pragma once

#include <cstdint>

#include "image/kernel/kernel_types.h"

namespace sv {

struct TestImageParams {
  double Energy = 100.0;  // eV, above 0
  double Time = 0.0;      // seconds
  uint32_t Seed = 0;
  int Bits = 12;          // significant bits of the samples, 1 to 16
  int Noise = 3;          // noise amplitude in counts, 0 to 255
};

// Period of the growth oscillation of the (0,0) spot, in seconds.
inline constexpr double kTestImageGrowthPeriod = 20.0;

// Grey frame, one word a pixel. False for a bad size, a span too small or a
// bad parameter.
bool SV_test_image(FrameSize size, Samples16 dest, const TestImageParams& params);
// The same picture in the phosphor's green, three words a pixel (R, G, B):
// green carries the grey value, red and blue a part of it.
bool SV_RGB_test_image(FrameSize size, Samples16 dest, const TestImageParams& params);

// Where the centre of spot (h, k) lies at energy E on a frame of that size,
// in pixel coordinates (pixel centres on whole numbers). NaN for E <= 0.
struct SpotPlace {
  double x = 0, y = 0;
};
SpotPlace SpotPosition(int h, int k, double energy, FrameSize size);

}  // namespace sv
