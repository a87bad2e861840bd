#include "experiment/wait.h"

#include <algorithm>

#include "core/host.h"
#include "experiment/experiment_settings.h"
#include "image/kernel/numbers.h"

namespace sv {

WaitEnd WaitUntil(const std::function<bool()>& done, uint32_t start, uint32_t timeoutMs) {
  // Spans beyond 2^31 ms cannot be told from the past across the wrap.
  const int32_t limit = static_cast<int32_t>(std::min<uint32_t>(timeoutMs, INT32_MAX));
  for (;;) {
    if (done && done()) return WaitEnd::Done;
    if (StopCode() != 0) return WaitEnd::Stopped;
    int period = kWaitPollMs;
    if (limit > 0) {
      const int32_t left = limit - SV_SubTime(host().TimeGetTime(), start);
      if (left <= 0) return WaitEnd::Elapsed;
      period = static_cast<int>(std::min<int32_t>(left, kWaitPollMs));
    }
    host().WaitForEvents(period);
  }
}

WaitEnd WaitUntil(const std::function<bool()>& done, uint32_t timeoutMs) {
  return WaitUntil(done, host().TimeGetTime(), timeoutMs);
}

WaitEnd WaitSince(uint32_t start, int32_t ms) {
  if (ms <= 0) return WaitEnd::Elapsed;
  return WaitUntil(nullptr, start, static_cast<uint32_t>(ms));
}

}  // namespace sv
