#include "hardware/energy.h"

#include <cmath>
#include <cstdio>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "hardware/hardware.h"

namespace sv {

void UseDALine(DALine which) {
  HardwareGlobals& hw = HW();
  if (which == DALine::LEED) {
    hw.DAChannel = hw.ChannelLEED;
    hw.DAOffset = hw.OffsetLEED;
    hw.DAGain = hw.GainLEED;
  } else {
    hw.DAChannel = hw.ChannelAUGER;
    hw.DAOffset = hw.OffsetAUGER;
    hw.DAGain = hw.GainAUGER;
  }
}

float DefaultDAGain(DALine which) {
  return which == DALine::LEED ? 10.0f / 1000.0f : 5.0f / 1639.0f;
}

std::string FormatFixed(double value, int decimals) {
  if (!std::isfinite(value)) value = 0;
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", decimals < 0 ? 0 : decimals, value);
  std::string text = buf;
  // No "-0.000": a value that rounds to zero shows without its sign.
  if (!text.empty() && text[0] == '-' && text.find_first_not_of("-0.") == std::string::npos)
    text.erase(0, 1);
  return text;
}

std::string SetEnergy(float value, bool isEnergy, bool* ok) {
  HardwareGlobals& hw = HW();
  const float voltage = isEnergy ? hw.DAGain * value + hw.DAOffset : value;
  const std::string status =
      isEnergy ? FormatFixed(value, 1) + " eV" : FormatFixed(value, 3) + " V";
  bool written = false;
  if (DAReady()) written = DA_set_voltage(hw.DAChannel, voltage) == 0;
  if (written) hw.LastVoltage = voltage;
  // The present energy: the value itself, or the energy on the line in use.
  if (isEnergy)
    G().ElectronEnergy = value;
  else if (hw.DAGain != 0)
    G().ElectronEnergy = (value - hw.DAOffset) / hw.DAGain;
  if (MDIForm_Main* main = MainForm()) main->SetPanel(kPanelEnergy, status);
  if (written && DeviceMonitor())
    DeviceMonitor()(FormatFixed(voltage, 6),
                    isEnergy ? FormatFixed(value, 3) + " eV" : FormatFixed(value, 3) + " V");
  if (ok) *ok = written;
  return status;
}

float ReadVoltage(long channel, bool calibrated) {
  if (!ADReady()) return 0;
  float volts = 0;
  if (AD_get_voltage(channel, volts) != 0) return 0;
  if (calibrated) volts = volts * HW().ADGain + HW().ADOffset;
  return volts;
}

float MinEnergy(DALine which) {
  return which == DALine::LEED ? G().MinEnergyLEED : G().MinEnergyAUGER;
}

float MaxEnergy(DALine which) {
  return which == DALine::LEED ? G().MaxEnergyLEED : G().MaxEnergyAUGER;
}

float ClampEnergy(DALine which, float energy) {
  const float lo = MinEnergy(which), hi = MaxEnergy(which);
  if (energy < lo) return lo;
  if (energy > hi) return hi;
  return energy;
}

bool ADCalibrationFromPoints(float u1, float r1, float u2, float r2, float& gain, float& offset) {
  if (r2 == r1) return false;
  gain = (u2 - u1) / (r2 - r1);
  offset = u1 - gain * r1;
  return true;
}

double ElectronWavelength(double energyEV) {
  if (!(energyEV > 0)) return 0;
  return 12.264 / std::sqrt(energyEV);
}

}  // namespace sv
