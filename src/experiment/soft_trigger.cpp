#include "experiment/soft_trigger.h"

#include "experiment/shutter.h"
#include "fit/polfit.h"
#include "hardware/hardware.h"

namespace sv {

namespace {

constexpr float kGrowth = 100;  // points added to the arrays at a time

}  // namespace

void Class_SoftTrigger::Reset() {
  Count = -1;
  Capacity = -1;
  Times.clear();
  Values.clear();
  TriggerTime = 0;
  TriggerIntensity = 0;
  FirstRun = true;
  Direction = HW().ShutterControl.TriggerSource != 0 ? -1 : 1;
}

bool Class_SoftTrigger::SoftTrigger(float t, float y) {
  const ShutterControlRecord& sc = HW().ShutterControl;
  const float h = sc.Hysterese;
  bool found = false;
  // 1, 2. The point goes into the arrays, which grow by a block.
  Count += 1;
  if (Count >= Capacity) {
    Capacity = Count + kGrowth;
    Times.resize(size_t(Capacity) + 1, 0.0f);
    Values.resize(size_t(Capacity) + 1, 0.0f);
  }
  Times[size_t(Count)] = t;
  Values[size_t(Count)] = y;
  // 3. The first point.
  if (Count == 0) {
    Reference = y;
    if (FirstRun) {
      MaxValue = MinValue = y;
      FirstRun = false;
    }
    return found;
  }
  // 4.
  if (y < MinValue) MinValue = y;
  if (y > MaxValue) MaxValue = y;
  if (Direction < 1) {
    // 5. Falling: the reference follows the curve down; a rise by more than
    // the hysteresis turns it.
    if (!(y < Reference)) {
      if (y > Reference + h) {
        Reset();
        Direction = 1;
        Reference = y;
        MaxValue = y;
        return found;
      }
    } else {
      Reference = y;
    }
    // While a maximum is looked for, a falling stretch gathers no points.
    if (sc.TriggerSource != 1) {
      Count = 0;
      return found;
    }
  } else {
    // 6. Rising, the mirror.
    if (!(y > Reference)) {
      if (y < Reference - h) {
        Reset();
        Direction = -1;
        Reference = y;
        MinValue = y;
        return found;
      }
    } else {
      Reference = y;
    }
    if (sc.TriggerSource != 0) {
      Count = 0;
      return found;
    }
  }
  // 7. Not enough swing yet.
  if (Count < 1 || MaxValue - MinValue < 2 * h) return found;
  // 8. The top of the curve, from the newest point back.
  const bool maximum = sc.TriggerSource == 0;
  int first = int(Count);
  while (first - 1 >= 0) {
    const float v = Values[size_t(first - 1)];
    if (maximum ? !(v >= MaxValue - h) : !(v <= MinValue + h)) break;
    --first;
  }
  const float newest = Values[size_t(Count)];
  if (maximum ? !(newest >= MaxValue - h) : !(newest <= MinValue + h)) return found;
  const int points = int(Count) - first + 1;
  if (points < 3 || t - Times[size_t(first)] < sc.MinTimeRange) return found;
  std::vector<double> x(static_cast<size_t>(points)), v(static_cast<size_t>(points));
  for (int i = 0; i < points; ++i) {
    x[size_t(i)] = Times[size_t(first + i)];
    v[size_t(i)] = Values[size_t(first + i)];
  }
  std::vector<double> c;
  if (PolFit_BAS(x, v, 2, c) != 0) return found;
  if (maximum ? c[2] < 0 : c[2] > 0) {
    const double at = -c[1] / (2 * c[2]);
    TriggerTime = float(at);
    TriggerIntensity = float(PolyValue(at, 2, c));
    found = true;
  }
  return found;
}

void ShutterRunStart(Class_SoftTrigger& detector) {
  ShutterControlRecord& sc = HW().ShutterControl;
  if (sc.ShutterEnabled == 0) return;
  sc.CycleCount = 0;
  detector.Reset();
}

bool ShutterStep(Class_SoftTrigger& detector, float nowSeconds) {
  ShutterControlRecord& sc = HW().ShutterControl;
  if (sc.ShutterEnabled == 0) return false;
  if (!(detector.TriggerTime > 0 && detector.TriggerTime <= nowSeconds)) return false;
  bool closed = false;
  sc.CycleCount += 1;
  // At or past: a count lowered during the run still closes.
  if (sc.CycleCount >= sc.Cycles) {
    ShutterClose();
    sc.CycleCount = 0;
    closed = true;
  }
  detector.Reset();
  return closed;
}

bool ShutterFeed(Class_SoftTrigger& detector, int window, float seconds, float value) {
  const ShutterControlRecord& sc = HW().ShutterControl;
  if (sc.ShutterEnabled == 0 || window != sc.ShutterWindow) return false;
  return detector.SoftTrigger(seconds, value);
}

}  // namespace sv
