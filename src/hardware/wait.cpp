#include "hardware/wait.h"

#include <algorithm>

#include "core/host.h"
#include "image/kernel/numbers.h"

namespace sv {

WaitEnd WaitWhile(const std::function<bool()>& done, const std::function<bool()>& stopped,
                  uint32_t start, uint32_t timeoutMs, int pollMs) {
  // Spans beyond 2^31 ms cannot be told from the past across the wrap.
  const int32_t limit = static_cast<int32_t>(std::min<uint32_t>(timeoutMs, INT32_MAX));
  pollMs = std::clamp(pollMs, 1, kWaitPollMs);
  for (;;) {
    if (done && done()) return WaitEnd::Done;
    if (stopped && stopped()) return WaitEnd::Stopped;
    int period = pollMs;
    if (limit > 0) {
      const int32_t left = limit - SV_SubTime(host().TimeGetTime(), start);
      if (left <= 0) return WaitEnd::Elapsed;
      period = static_cast<int>(std::min<int32_t>(left, pollMs));
    }
    host().WaitForEvents(period);
  }
}

}  // namespace sv
