#include "hardware/hardware.h"

namespace sv {

void InstallHardwareEnvironment() {}

}  // namespace sv
