// The one wait of the workbench: for an event or for a span, always
// breakable. It reads only the host's millisecond clock, compared across its
// 32-bit wrap, and yields through the host between two looks, so that a wait
// sleeps instead of spinning.
#pragma once

#include <cstdint>
#include <functional>

namespace sv {

// Why a wait ended.
enum class WaitEnd {
  Done,     // what it waited for came
  Stopped,  // the stop word was set
  Elapsed,  // its time passed
};

// The period a wait sleeps between two looks, at most.
inline constexpr int kWaitPollMs = 10;

// Looks at `done` until it is true, `stopped` is true, or `timeoutMs` (0: no
// limit) have passed since `start` (a host clock tick), sleeping at most
// `pollMs` between two looks. `done` is asked first: what is already there
// ends the wait without a yield. Either function may be empty.
WaitEnd WaitWhile(const std::function<bool()>& done, const std::function<bool()>& stopped,
                  uint32_t start, uint32_t timeoutMs, int pollMs = kWaitPollMs);

}  // namespace sv
