// The window tools' energy source: the D/A interface and the present energy
// that SetEnergy keeps.
#pragma once

namespace sv {

// Hooks().EnergyKnown: a D/A is ready; Hooks().Energy: G().ElectronEnergy.
void InstallEnergyHooks();

}  // namespace sv
