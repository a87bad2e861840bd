// One step of an I(E) run on the devices: the energy set through the dummy
// D/A and the LEED line, then the eight dummy A/D channels read, beside a
// memcpy of one 1024 x 1024 16-bit frame (the frame the step grabs).
#include <iostream>
#include <string>

#include "cli/batch_host.h"
#include "core/globals.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"
#include "harness.h"

namespace {

sv::cli::BatchHost& BenchHost() {
  static sv::cli::BatchHost host(std::cerr);
  return host;
}

// The dummies up once, as start-up brings them up.
bool DevicesUp() {
  static const bool up = [] {
    std::string da = "DummyDA", ad = "DummyAD";
    return sv::DAStart(da) && sv::ADStart(ad);
  }();
  return up;
}

}  // namespace

SVBENCH_ROWS(HardwareRows) {
  const std::string step = "I(E) step: SetEnergy + 8 A/D reads (dummies)";
  svbench::Kernel(step, svbench::Frames::kGreyBytes, [] {
    sv::cli::HostScope scope(&BenchHost());
    if (!DevicesUp()) return;
    static float energy = 20;
    energy = energy >= 500 ? 20 : energy + 0.5f;
    bool ok = false;
    sv::SetEnergy(energy, true, &ok);
    float volts[sv::kADChannelMax];
    for (long ch = 0; ch < sv::kADChannelMax; ++ch) volts[ch] = sv::ReadVoltage(ch, false);
    svbench::Use(volts);
    svbench::Use(&ok);
  });
  svbench::Target(step, 0.02, 0);
}
