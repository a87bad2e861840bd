// The energy calibration: the straight lines between D/A volts and electron
// energy (LEED / RHEED, and the Auger mesh), the A/D's gain and offset, the
// energy limits, and the calls that set an energy and read a voltage.
#pragma once

#include <string>

namespace sv {

enum class DALine { LEED, AUGER };

// Makes the line of `which` the one in use (DAChannel, DAOffset, DAGain).
void UseDALine(DALine which);
// The line's defaults: offset 0; LEED 10 / 1000 V/eV, Auger 5 / 1639 V/eV.
float DefaultDAGain(DALine which);

// With isEnergy the value is in eV and the voltage is DAGain * energy +
// DAOffset; the status field shows "0.0" + " eV". Otherwise the value is a
// voltage, sent as it is, shown as "0.000" + " V". The voltage goes to
// DA_set_voltage(DAChannel, voltage) of the slot (the link kind's back-end
// takes it there too). The status text goes to the main window's energy
// panel; the present energy (G().ElectronEnergy) that the simulated camera
// and the window tools read becomes the energy (for a voltage: the energy on
// the line in use, (V - DAOffset) / DAGain, when DAGain is not 0), with or
// without a D/A. After a voltage written the DeviceMonitor, when set, gets
// the volts ("#0.000000") and the value ("#0.000" + " eV" or " V"). Returns
// the status text; false in `ok` when no D/A is ready or the write failed.
std::string SetEnergy(float value, bool isEnergy, bool* ok = nullptr);
// 0 when no A/D is ready; otherwise AD_get_voltage (or the link's read), with
// `calibrated` as value * ADGain + ADOffset.
float ReadVoltage(long channel, bool calibrated);

// The energy limits of each line (G().MinEnergyLEED ... from the user store).
float MinEnergy(DALine which);
float MaxEnergy(DALine which);
// The energy held within the limits of a line.
float ClampEnergy(DALine which, float energy);

// The A/D two-point calibration: gain and offset from two readings; false
// ("Calibration Error") when the readings are equal.
bool ADCalibrationFromPoints(float u1, float r1, float u2, float r2, float& gain, float& offset);

// The electron wavelength for an energy, in Angstrom (non-relativistic
// de Broglie, 12.264 / sqrt(E)); 0 for energies at or below 0.
double ElectronWavelength(double energyEV);

// Text formats of the dialogs: "#0.00000000" gain, "#0.000000" volts,
// "#0.000" energies, "0.0" and "0.000" in the status texts.
std::string FormatFixed(double value, int decimals);

}  // namespace sv
