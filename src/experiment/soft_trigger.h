// The shutter detector: finds the maxima or minima of an intensity curve
// while it grows, by a parabola through the points near the top, and the
// per-step check of a run that counts them and closes the shutter.
//
// The detector reads its parameters from the shutter record
// (HW().ShutterControl): TriggerSource (0 maximum, 1 minimum), Hysterese and
// MinTimeRange.
#pragma once

#include <cstdint>
#include <vector>

namespace sv {

class Class_SoftTrigger {
 public:
  Class_SoftTrigger() { Reset(); }

  // Empties the curve and forgets a found extremum; the direction starts
  // falling when a minimum is looked for, else rising.
  void Reset();
  // One point of the curve (time in seconds of the run). True when a new
  // extremum was found: TriggerTime and TriggerIntensity hold it.
  bool SoftTrigger(float time, float value);

  float Count = -1;     // index of the newest point, -1 when empty
  float Capacity = -1;  // highest index the arrays hold, -1 when none
  std::vector<float> Times, Values;
  int32_t Direction = 1;  // +1 rising, -1 falling
  float TriggerTime = 0, TriggerIntensity = 0;
  float MaxValue = 0, MinValue = 0;
  bool FirstRun = true;
  float Reference = 0;
};

// The shutter's part of a run, each doing nothing while the shutter logic is
// off (ShutterEnabled 0):
// At a fresh start: the cycle counter to 0 and the detector reset.
void ShutterRunStart(Class_SoftTrigger& detector);
// At each step, before the windows are evaluated: an extremum at or before
// `nowSeconds` (and after 0) counts one cycle; at Cycles the shutter closes
// and the counter returns to 0; the detector is reset in both cases. True
// when the shutter was closed.
bool ShutterStep(Class_SoftTrigger& detector, float nowSeconds);
// A window's plotted value: fed to the detector when the window (0-based) is
// the watched one (ShutterWindow). True when the detector found an extremum.
bool ShutterFeed(Class_SoftTrigger& detector, int window, float seconds, float value);

}  // namespace sv
