#include "experiment/shutter.h"

#include <functional>
#include <string>
#include <utility>

#include "core/globals.h"
#include "core/startup.h"
#include "experiment/experiment_settings.h"
#include "hardware/hardware.h"

namespace sv {

namespace {

void WriteShutter(bool open) {
  if (!IOReady()) return;
  const HardwareGlobals& hw = HW();
  const bool highOpens = hw.ShutterControl.OpenLevel != 0;
  IO_pin_set(long(hw.ShutterPin), open == highOpens);
}

// The exit step: the shutter closed, then whatever else was put there.
struct ShutterExit {
  std::function<void()> next;
  void operator()() const {
    ShutterClose();
    if (next) next();
  }
};

}  // namespace

void ShutterOpen() { WriteShutter(true); }

void ShutterClose() { WriteShutter(false); }

bool ShutterIsOpen() {
  if (!IOReady()) return false;
  const HardwareGlobals& hw = HW();
  bool level = false;
  if (IO_PinOutStatus(long(hw.ShutterPin), level) != 0) return false;
  return level == (hw.ShutterControl.OpenLevel != 0);
}

void InstallShutter() {
  std::function<void()>& step = ExitSteps().shutterAndTrigger;
  if (step.target<ShutterExit>()) return;
  step = ShutterExit{std::move(step)};
  // The I/O start may take back a trigger on a line that is not there; the
  // definition's trigger follows what it leaves.
  std::function<bool(const std::string&)>& io = Environment().ioInit;
  io = [start = std::move(io)](const std::string& name) {
    const bool ok = start ? start(name) : false;
    ES().TriggerMode = G().TriggerMode;
    ES().TriggerSource = G().TriggerSource;
    return ok;
  };
}

}  // namespace sv
