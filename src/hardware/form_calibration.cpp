#include "hardware/form_calibration.h"

#include <cmath>

#include "core/globals.h"
#include "core/host.h"
#include "hardware/hardware.h"

namespace sv {

namespace {

constexpr const char* kLEEDCaption = "LEED / RHEED D/A Calibration";
constexpr const char* kAugerCaption = "Auger D/A Calibration";
constexpr const char* kLEEDLabel = " D/A-Voltage <-> LEED / RHEED Energy";
constexpr const char* kAugerLabel = " D/A-Voltage <-> Auger Mesh Energy";
constexpr const char* kBadLineText = "Gain and Offset must be numbers, and the Gain must not be 0.";
constexpr int kGainDecimals = 8, kVoltDecimals = 6, kEnergyDecimals = 3;

// "(" is in the message already; the tail names both limits.
std::string RangeTail(double lo, double hi) {
  return ShortNumber(lo) + " ... " + ShortNumber(hi) + ")";
}

}  // namespace

// --- Form_DefineLimits ----------------------------------------------------------

void Form_DefineLimits::Load() {
  ok = false;
  Text_Min = ShortNumber(MinValue);
  Text_Max = ShortNumber(MaxValue);
}

bool Form_DefineLimits::Command_OK() {
  double lo = 0, hi = 0;
  const bool loRead = ParseFieldNumber(Text_Min, lo);
  const bool hiRead = ParseFieldNumber(Text_Max, hi);
  const std::string title = Caption;
  if (loRead && hiRead && !(lo < hi)) {
    host().MsgBox(kLimitsOrderText, MsgButtons::OK, MsgIcon::Exclamation, title);
    return false;
  }
  if (!loRead || lo < MinAbsolut || lo > MaxAbsolut) {
    host().MsgBox(kMinOutOfRangeText + RangeTail(MinAbsolut, MaxAbsolut), MsgButtons::OK,
                  MsgIcon::Exclamation, title);
    return false;
  }
  if (!hiRead || hi < MinAbsolut || hi > MaxAbsolut) {
    host().MsgBox(kMaxOutOfRangeText + RangeTail(MinAbsolut, MaxAbsolut), MsgButtons::OK,
                  MsgIcon::Exclamation, title);
    return false;
  }
  MinValue = lo;
  MaxValue = hi;
  ok = true;
  return true;
}

void Form_DefineLimits::Command_Default() {
  Text_Min = ShortNumber(MinDefault);
  Text_Max = ShortNumber(MaxDefault);
}

void Form_DefineLimits::SetAugerMesh() {
  Caption = "Define Auger Mesh Energy Limits";
  MinCaption = "Min. Mesh Energy:";
  MaxCaption = "Max. Mesh Energy:";
  MinUnit = MaxUnit = "eV";
  MinAbsolut = 0;
  MaxAbsolut = 30000;
  MinDefault = 0;
  MaxDefault = 1639;
  MinValue = G().MinEnergyAUGER;
  MaxValue = G().MaxEnergyAUGER;
}

void Form_DefineLimits::SetLEEDEnergy() {
  Caption = "Define LEED / RHEED Energy Limits";
  MinCaption = "Min. Energy:";
  MaxCaption = "Max. Energy:";
  MinUnit = MaxUnit = "eV";
  MinAbsolut = 0;
  MaxAbsolut = 30000;
  MinDefault = 0;
  MaxDefault = 1000;
  MinValue = G().MinEnergyLEED;
  MaxValue = G().MaxEnergyLEED;
}

// --- Form_DACalibration ---------------------------------------------------------

void Form_DACalibration::Load(DALine m, float upperVolts) {
  mode = m;
  ok = false;
  UpperVolts = upperVolts > 0 ? upperVolts : 10;
  const bool leed = mode == DALine::LEED;
  Caption = leed ? kLEEDCaption : kAugerCaption;
  const HardwareGlobals& hw = HW();
  Offset = leed ? hw.OffsetLEED : hw.OffsetAUGER;
  Gain = leed ? hw.GainLEED : hw.GainAUGER;
  if (!std::isfinite(Gain) || Gain == 0) Gain = DefaultDAGain(mode);
  if (!std::isfinite(Offset)) Offset = 0;
  Text_Offset = FormatFixed(Offset, kVoltDecimals);
  Text_Gain = FormatFixed(Gain, kGainDecimals);
  Text_Voltage[0] = FormatFixed(0.05 * UpperVolts, kVoltDecimals);
  Text_Voltage[1] = FormatFixed(0.45 * UpperVolts, kVoltDecimals);
  ShowTestPoints(true);
  UpdatePicture();
  view_->Changed(*this);
}

void Form_DACalibration::Text_Energy_Change(int point) {
  if (point < 0 || point > 1) return;
  double e = 0;
  if (!ParseFieldNumber(Text_Energy[point], e)) return;
  Text_Voltage[point] = FormatFixed(Gain * e + Offset, kVoltDecimals);
  view_->Changed(*this);
}

void Form_DACalibration::Text_Voltage_Change(int point) {
  if (point < 0 || point > 1) return;
  double v = 0;
  if (!ParseFieldNumber(Text_Voltage[point], v) || Gain == 0) return;
  Text_Energy[point] = FormatFixed((v - Offset) / Gain, kEnergyDecimals);
  view_->Changed(*this);
}

bool Form_DACalibration::Command_Accept() {
  double offset = 0, gain = 0;
  if (!ParseFieldNumber(Text_Offset, offset) || !ParseFieldNumber(Text_Gain, gain) || gain == 0 ||
      !std::isfinite(static_cast<float>(gain)) || !std::isfinite(static_cast<float>(offset))) {
    host().MsgBox(kBadLineText, MsgButtons::OK, MsgIcon::Exclamation, Caption);
    return false;
  }
  Offset = static_cast<float>(offset);
  Gain = static_cast<float>(gain);
  Text_Offset = FormatFixed(Offset, kVoltDecimals);
  Text_Gain = FormatFixed(Gain, kGainDecimals);
  ShowTestPoints(Option_Voltage);
  UpdatePicture();
  view_->Changed(*this);
  return true;
}

void Form_DACalibration::Command_Default() {
  Text_Offset = FormatFixed(0, kVoltDecimals);
  Text_Gain = FormatFixed(DefaultDAGain(mode), kGainDecimals);
  Text_Voltage[0] = FormatFixed(0.05 * UpperVolts, kVoltDecimals);
  Text_Voltage[1] = FormatFixed(0.45 * UpperVolts, kVoltDecimals);
  // The test points are voltages here: their energies follow the new line.
  const bool fixed = Option_Voltage;
  Option_Voltage = true;
  Command_Accept();
  Option_Voltage = fixed;
  view_->Changed(*this);
}

bool Form_DACalibration::Command_OK() {
  if (!Command_Accept()) return false;
  HardwareGlobals& hw = HW();
  if (mode == DALine::LEED) {
    hw.OffsetLEED = Offset;
    hw.GainLEED = Gain;
    UseDALine(DALine::LEED);
  } else {
    hw.OffsetAUGER = Offset;
    hw.GainAUGER = Gain;
  }
  ok = true;
  return true;
}

void Form_DACalibration::ShowTestPoints(bool energiesFollow) {
  for (int i = 0; i < 2; ++i) {
    if (energiesFollow) {
      double v = 0;
      if (ParseFieldNumber(Text_Voltage[i], v))
        Text_Energy[i] = FormatFixed((v - Offset) / Gain, kEnergyDecimals);
    } else {
      double e = 0;
      if (ParseFieldNumber(Text_Energy[i], e))
        Text_Voltage[i] = FormatFixed(Gain * e + Offset, kVoltDecimals);
    }
  }
}

void Form_DACalibration::UpdatePicture() {
  const bool leed = mode == DALine::LEED;
  const Globals& g = G();
  double lo = leed ? g.MinEnergyLEED : g.MinEnergyAUGER;
  double hi = leed ? g.MaxEnergyLEED : g.MaxEnergyAUGER;
  if (!(hi > lo)) {
    lo = 0;
    hi = leed ? 1000 : 1639;
  }
  Picture_Cal.e1 = lo;
  Picture_Cal.v1 = Gain * lo + Offset;
  Picture_Cal.e2 = hi;
  Picture_Cal.v2 = Gain * hi + Offset;
  Picture_Cal.label = leed ? kLEEDLabel : kAugerLabel;
}

}  // namespace sv
