// Small helpers shared by the device and calibration dialogs: numbers as the
// user types them, numbers as the dialogs show them, the restart note and
// the energy limits in the user store.
#pragma once

#include <string>
#include <vector>

#include "hardware/devices.h"
#include "hardware/energy.h"

namespace sv {

// Enabled and visible state of a control.
struct FormControl {
  bool Enabled = true;
  bool Visible = true;
};

// A number as typed: blanks around it are dropped, a decimal comma counts as
// a point. False for an empty or broken text (the value is left alone).
bool ParseFieldNumber(const std::string& text, double& value);
// The shortest text that reads back as the same single ("0", "1639", "0.5").
std::string ShortNumber(double value);
// The raw code a D/A channel gets for a voltage: the range mapped onto a
// 16-bit code, low limit 0, high limit 0xFFFF, clamped.
long VoltsToCode(double volts, double low, double high);
// "0x" and four upper-case hex digits.
std::string HexCode(long code);

// "You must Restart " and the application's name.
std::string RestartMessage();

// The list a Combo_Name shows for a kind (table order), the list position of
// a stored name (0 "(none)" for a name the table does not know) and the load
// name of a position.
std::vector<std::string> DeviceNameList(DeviceKind kind);
int DeviceListPosition(DeviceKind kind, const std::string& storedName);
std::string DeviceLoadName(DeviceKind kind, int position);

// Sets the energy limits of a line (G().MinEnergyLEED ...) and keeps them in
// the user store, section "eGun".
void SaveEnergyLimits(DALine line, float minEnergy, float maxEnergy);

// Lower and upper limit of a D/A range; -10 .. +10 V when no D/A is ready or
// it does not tell.
void DARangeLimits(int range, float& low, float& high);

}  // namespace sv
