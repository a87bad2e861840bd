#include "analysis/energy_hooks.h"

#include "analysis/form_window_setup.h"
#include "core/globals.h"
#include "hardware/hardware.h"

namespace sv {

void InstallEnergyHooks() {
  Hooks().EnergyKnown = [] { return DAReady(); };
  Hooks().Energy = [] { return G().ElectronEnergy; };
}

}  // namespace sv
