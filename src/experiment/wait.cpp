#include "experiment/wait.h"

#include "core/host.h"
#include "experiment/experiment_settings.h"

namespace sv {

WaitEnd WaitUntil(const std::function<bool()>& done, uint32_t start, uint32_t timeoutMs) {
  return WaitWhile(done, [] { return StopCode() != 0; }, start, timeoutMs);
}

WaitEnd WaitUntil(const std::function<bool()>& done, uint32_t timeoutMs) {
  return WaitUntil(done, host().TimeGetTime(), timeoutMs);
}

WaitEnd WaitSince(uint32_t start, int32_t ms) {
  if (ms <= 0) return WaitEnd::Elapsed;
  return WaitUntil(nullptr, start, static_cast<uint32_t>(ms));
}

}  // namespace sv
