// The waits of a run: for an event (a trigger), for a span (the dwell, the
// delay before the first step, the step interval), broken by the run's stop
// word. They are the workbench's one wait (hardware/wait.h).
#pragma once

#include <cstdint>
#include <functional>

#include "hardware/wait.h"

namespace sv {

// Looks at `done` until it is true, StopCode() is set, or `timeoutMs` (0: no
// limit) have passed since `start` (a host clock tick). `done` is asked
// first: what is already there ends the wait without a yield.
WaitEnd WaitUntil(const std::function<bool()>& done, uint32_t start, uint32_t timeoutMs);
// The same, timed from now.
WaitEnd WaitUntil(const std::function<bool()>& done, uint32_t timeoutMs = 0);
// Waits until `ms` have passed since `start`, or StopCode() is set. A span
// already over returns Elapsed at once; ms of 0 or below too.
WaitEnd WaitSince(uint32_t start, int32_t ms);

}  // namespace sv
