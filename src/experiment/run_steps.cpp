// The shared steps of a run. Yields only at the named points (the trigger
// wait, item 3, the waits, item 7); every wait reads the host clock.
#include "experiment/run_steps.h"

#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "experiment/trigger.h"
#include "experiment/wait.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

void Mark(const StepHooks& hooks, StepWait wait, bool on) {
  if (hooks.mark) hooks.mark(wait, on);
}

}  // namespace

bool RunSteps(const StepSweep& sweep, StepState& s, const StepHooks& hooks) {
  const auto stopped = [&hooks] { return hooks.stopped && hooks.stopped(); };
  // When the last step was due, in ms since startTime: the time the interval
  // wait aimed at when it had to wait, else the step's own time stamp.
  int32_t due = s.time;
  for (;;) {
    // 1.
    if (hooks.beforeStep) hooks.beforeStep();
    // 2.
    WaitTrigger(false);
    // 3.
    host().DoEvents();
    if (stopped()) return false;
    // 4. The dwell counts from the top of the pass.
    if (sweep.dwell != 0) {
      Mark(hooks, StepWait::Dwell, true);
      WaitSince(host().TimeGetTime(), int32_t(RoundEven(double(sweep.dwell))));
      Mark(hooks, StepWait::Dwell, false);
    }
    // 5. The interval counts from the last step, not from the end of its
    // work, so the time a step takes does not add up. A step on time counts
    // from when it was due, so that a wait that wakes a little late (or a
    // clock read after it) does not push all later steps back either.
    bool onTime = false;
    if (!sweep.ie && sweep.tStep != 0) {
      Mark(hooks, StepWait::Interval, true);
      const uint32_t from = SV_AddTime(s.startTime, due);
      onTime = SV_SubTime(host().TimeGetTime(), from) < sweep.tStep;
      WaitSince(from, sweep.tStep);
      Mark(hooks, StepWait::Interval, false);
    }
    // 6.
    if (!sweep.film)
      s.time = SV_SubTime(host().TimeGetTime(), s.startTime);
    else
      s.time = hooks.filmTime ? hooks.filmTime() : s.time;
    due = onTime ? due + sweep.tStep : s.time;
    // 7. Time and rate at most once a second.
    if (s.time > s.nextDisplay) {
      if (hooks.display) hooks.display();
      s.nextDisplay = s.time + 1000;
      host().DoEvents();
      if (stopped()) return false;
    }
    // 8.
    if (hooks.record && !hooks.record()) return false;
    // 9.
    if (stopped()) {
      const int code = hooks.stopCode ? hooks.stopCode() : 0;
      // The film's end is the normal end of a run on a film; -1 has told
      // its reason already.
      if (code != kErrEndOfClip && code != 1 && code != -1)
        host().MsgBox(ErrorText(code), MsgButtons::OK, MsgIcon::Critical, G().AppTitle);
      return false;
    }
    // 10.
    if (sweep.ie) {
      if (sweep.userSweep) {
        if (s.sweepIndex + 1 >= sweep.sweepCount) return true;
        ++s.sweepIndex;
        if (hooks.sweepEnergy) hooks.sweepEnergy(s.sweepIndex, s.energy);
      } else if (!sweep.film) {
        s.energy = s.energy + sweep.EStep;
        if ((sweep.EStep > 0 && s.energy > sweep.EStop) ||
            (sweep.EStep < 0 && s.energy < sweep.EStop)) {
          s.energy = sweep.EStart;
          if (hooks.setEnergy) hooks.setEnergy(s.energy);
          return true;
        }
      }
      if (!sweep.film && hooks.setEnergy) hooks.setEnergy(s.energy);
    }
    // 11.
    if (!sweep.ie && sweep.tStop > 0 && s.time >= sweep.tStop) return true;
    // 12.
    if (hooks.leave && hooks.leave()) return false;
  }
}

}  // namespace sv
