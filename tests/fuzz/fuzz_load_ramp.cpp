// Any bytes as an Auger ramp file: the reading refuses it or gives a ramp
// within every limit, which writes and reads back unchanged.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "experiment/auger_ramp.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_load_ramp: %s\n", what);
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const sv::AugerLimits limits{5, 1000};
  const std::string text(reinterpret_cast<const char*>(data), size);
  sv::AugerRamp ramp;
  ramp.Iterations = 42;  // held: a refused file leaves it
  std::vector<std::string> status;
  if (!sv::ReadAugerRampText(text, limits, ramp, status)) {
    Check(ramp.Iterations == 42 && ramp.Sweeps.empty(), "a refused file changed the ramp");
    return 0;
  }
  Check(ramp.Iterations >= 1 && ramp.Iterations <= 100, "iterations out of range");
  Check(ramp.Profile >= 0 && ramp.Profile <= 2, "profile out of range");
  Check(std::isfinite(ramp.Delay) && ramp.Delay >= 0, "delay out of range");
  Check(ramp.Sweeps.size() <= 100, "more than 100 sweeps");
  Check(status.size() <= 100, "more repairs than sweeps");
  for (const sv::AugerSweep& s : ramp.Sweeps)
    Check(sv::CheckAugerSweep(s, s.IntTime[ramp.Profile], limits).empty(), "a stored sweep fails the checks");
  (void)sv::AugerTotalTimeText(ramp);

  const std::string again = sv::AugerRampText(ramp);
  sv::AugerRamp second;
  std::vector<std::string> secondStatus;
  Check(sv::ReadAugerRampText(again, limits, second, secondStatus), "a written ramp is refused");
  Check(secondStatus.empty(), "a written ramp needs repairs");
  Check(sv::AugerRampText(second) == again, "a written ramp reads back changed");
  return 0;
}
