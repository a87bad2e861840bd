// The built-in dummy grabber: a simulated LEED screen, so that everything runs
// without hardware. While it is the grabber in use it keeps a camera's pace.
#include <algorithm>
#include <cmath>

#include "acquisition/grabber.h"
#include "core/globals.h"
#include "core/host.h"
#include "image/kernel/numbers.h"
#include "image/kernel/test_image.h"

namespace sv {

namespace {

// Yields a wait may take beyond one per millisecond of its period before it
// gives up on the clock.
constexpr long kSpareYields = 8;

long Period() { return std::clamp(GB().DummyFramePeriod, 0L, kDummyFramePeriodMax); }

// When the newest frame fell due at `now`, or nothing when none has since
// the last frame taken; `left` is then the time to the next one.
struct FrameDue {
  bool ready = false;
  uint32_t time = 0;
  int32_t left = 0;
};

FrameDue NextFrame(uint32_t now) {
  const GrabberGlobals& b = GB();
  const long period = Period();
  // The first read sets the clock the frames keep to.
  if (!b.DummyFrameClock) return {true, now, 0};
  const int32_t since = SV_SubTime(now, b.DummyFrameTime);
  // A clock that went back (or a pause beyond 24 days) starts the count anew.
  if (since < 0) return {true, now, 0};
  // A late reader gets the newest frame: those between are gone.
  if (since >= period) return {true, SV_AddTime(b.DummyFrameTime, int32_t(since / period * period)), 0};
  return {false, 0, int32_t(period - since)};
}

}  // namespace

bool DummyPaced() {
  const GrabberGlobals& b = GB();
  return b.GrabberDriver == kDriverDummy && b.Initialised && Period() > 0 && HasHost();
}

void DummyAwaitFrame() {
  long yields = 0;
  while (DummyPaced()) {
    const uint32_t now = host().TimeGetTime();
    const FrameDue due = NextFrame(now);
    if (due.ready) return;
    if (yields > Period() + kSpareYields) {
      // The clock did not move on: the frame is due now, and the count goes
      // on from here.
      GB().DummyFrameTime = SV_AddTime(now, -int32_t(Period()));
      return;
    }
    host().WaitForEvents(int(std::min<int32_t>(due.left, kMaxWaitPollMs)));
    ++yields;
  }
}

long DummyReadImage(Samples16 dest) {
  GrabberGlobals& b = GB();
  const FrameSize size{kDummyWidth, kDummyHeight};
  DummyAwaitFrame();
  // Events ran while it waited: the frame keeps the count only when the
  // dummy is still the grabber in use.
  uint32_t now = b.StartTime;
  if (DummyPaced()) {
    const uint32_t clock = host().TimeGetTime();
    const FrameDue due = NextFrame(clock);
    now = due.ready ? due.time : clock;
    b.DummyFrameClock = true;
    b.DummyFrameTime = now;
  } else if (HasHost()) {
    now = host().TimeGetTime();
  }
  const bool colour = b.GrabberColor;
  if (!Holds(dest, size, colour ? 3 : 1)) return -1;
  TestImageParams params;
  // No electrons at or below 0 eV: the screen shows the (0,0) spot alone.
  const double energy = G().ElectronEnergy;
  params.Energy = std::isfinite(energy) && energy > 0.1 ? energy : 0.1;
  // Seconds since the grabber came up, at the time the frame fell due; the
  // clock's wrap is harmless here.
  params.Time = double(uint32_t(now - b.StartTime)) / 1000.0;
  params.Seed = ++b.DummyFrames;
  params.Bits = int(kDummyBits);
  const bool ok = colour ? SV_RGB_test_image(size, dest, params) : SV_test_image(size, dest, params);
  return ok ? 0 : -1;
}

}  // namespace sv
