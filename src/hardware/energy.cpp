#include "hardware/energy.h"

#include <cmath>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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
  // As Windows format strings round: the value's 15 significant
  // decimal digits, then half away from zero at the last place shown.
  if (!std::isfinite(value)) value = 0;
  if (decimals < 0) decimals = 0;
  if (decimals > 20) decimals = 20;
  char buf[64];
  const auto [end, ec] =
      std::to_chars(buf, buf + sizeof buf - 1, std::fabs(value), std::chars_format::scientific, 14);
  *(ec == std::errc() ? end : buf) = '\0';
  // buf: d.dddddddddddddde[+-]XX
  std::string digits;
  const char* p = buf;
  for (; *p && *p != 'e'; ++p)
    if (*p != '.') digits += *p;
  const int exponent = *p ? std::atoi(p + 1) : 0;
  if (digits.empty()) digits = "0";
  // The digit string stands for 0.digits * 10^(exponent + 1); keep those
  // before the point plus `decimals` after it.
  const int keep = exponent + 1 + decimals;
  std::string kept;
  if (keep < 0) {
    kept = "0";
  } else {
    kept = digits.substr(0, size_t(std::min<int>(keep, int(digits.size()))));
    while (int(kept.size()) < keep) kept += '0';
    const bool up = keep < int(digits.size()) && digits[size_t(keep)] >= '5';
    if (kept.empty()) kept = "0";
    if (up) {
      int i = int(kept.size()) - 1;
      while (i >= 0 && kept[size_t(i)] == '9') kept[size_t(i--)] = '0';
      if (i >= 0)
        ++kept[size_t(i)];
      else
        kept.insert(kept.begin(), '1');
    }
  }
  // kept holds the value times 10^decimals as an integer text.
  while (int(kept.size()) <= decimals) kept.insert(kept.begin(), '0');
  std::string text = kept.substr(0, kept.size() - size_t(decimals));
  if (decimals > 0) text += "." + kept.substr(kept.size() - size_t(decimals));
  if (value < 0 && kept.find_first_not_of('0') != std::string::npos) text.insert(text.begin(), '-');
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
  if (written && hw.DAChannel == hw.ChannelAUGER) hw.LastAugerVoltage = voltage;
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
