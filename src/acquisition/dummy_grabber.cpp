// The built-in dummy grabber: a simulated LEED screen, so that everything runs
// without hardware.
#include <cmath>

#include "acquisition/grabber.h"
#include "core/globals.h"
#include "core/host.h"
#include "image/kernel/test_image.h"

namespace sv {

long DummyReadImage(Samples16 dest) {
  GrabberGlobals& b = GB();
  const FrameSize size{kDummyWidth, kDummyHeight};
  const bool colour = b.GrabberColor;
  if (!Holds(dest, size, colour ? 3 : 1)) return -1;
  TestImageParams params;
  // No electrons at or below 0 eV: the screen shows the (0,0) spot alone.
  const double energy = G().ElectronEnergy;
  params.Energy = std::isfinite(energy) && energy > 0.1 ? energy : 0.1;
  // Seconds since the grabber came up; the clock's wrap is harmless here.
  const uint32_t now = HasHost() ? host().TimeGetTime() : b.StartTime;
  params.Time = double(uint32_t(now - b.StartTime)) / 1000.0;
  params.Seed = ++b.DummyFrames;
  params.Bits = int(kDummyBits);
  const bool ok = colour ? SV_RGB_test_image(size, dest, params) : SV_test_image(size, dest, params);
  return ok ? 0 : -1;
}

}  // namespace sv
