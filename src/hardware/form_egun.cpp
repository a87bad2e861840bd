#include "hardware/form_egun.h"

#include <algorithm>
#include <cmath>

#include "core/globals.h"
#include "core/host.h"
#include "core/settings.h"
#include "hardware/energy.h"
#include "hardware/form_fields.h"
#include "hardware/hardware.h"
#include "hardware/wait.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

constexpr const char* kSection = "eGun";
// Event pumps without the clock moving after which a settle wait gives up.
void SettleWait(int ms) {
  if (ms <= 0 || !HasHost()) return;
  WaitWhile(nullptr, nullptr, host().TimeGetTime(), static_cast<uint32_t>(ms));
}

}  // namespace

Form_eGun& EGunForm() {
  static Form_eGun form;
  return form;
}

void Form_eGun::ReadSettings(float energy, bool on, int mode, int delay) {
  energy_ = std::isfinite(energy) ? energy : 100.0f;
  Check_On = on;
  Option_Mode = mode == kEGunModeVoltage ? kEGunModeVoltage : kEGunModeEnergy;
  delay_ = std::clamp(delay, 0, 60000);
  Text_Delay = std::to_string(delay_);
}

void Form_eGun::Load() {
  // The energy the rest of the workbench set last is the present one.
  energy_ = ClampEnergy(DALine::LEED, G().ElectronEnergy);
  const HardwareGlobals& hw = HW();
  voltage_ = hw.GainLEED * energy_ + hw.OffsetLEED;
  visible_ = true;
  G().eGunVisible = 1;
  ShowValue();
  view_->Changed(*this);
}

void Form_eGun::Unload() {
  visible_ = false;
  G().eGunVisible = 0;
  view_->Changed(*this);
}

void Form_eGun::Moved(int left, int top) {
  G().eGunLeft = left;
  G().eGunTop = top;
}

void Form_eGun::Limits(double& lo, double& hi) const {
  if (Option_Mode == kEGunModeVoltage) {
    float l = 0, h = 0;
    DARangeLimits(HW().DARange, l, h);
    lo = l;
    hi = h;
  } else {
    lo = G().MinEnergyLEED;
    hi = G().MaxEnergyLEED;
    if (!(hi > lo)) hi = lo;
  }
}

void Form_eGun::ShowValue() {
  double lo = 0, hi = 0;
  Limits(lo, hi);
  const bool volts = Option_Mode == kEGunModeVoltage;
  const double scale = volts ? kEGunVoltSteps : 1;
  HScroll_Min = static_cast<int>(std::ceil(lo * scale));
  HScroll_Max = std::max(HScroll_Min, static_cast<int>(std::floor(hi * scale)));
  const double value = volts ? voltage_ : energy_;
  HScroll_Energy = std::clamp<int>(RoundEven(value * scale), HScroll_Min, HScroll_Max);
  Text_Energy = volts ? FormatFixed(voltage_, 3) : FormatFixed(energy_, 1);
  Label_minEnergy = volts ? FormatFixed(lo, 3) + " V" : FormatFixed(lo, 1) + " eV";
  Label_maxEnergy = volts ? FormatFixed(hi, 3) + " V" : FormatFixed(hi, 1) + " eV";
  ShowLabels();
}

void Form_eGun::ShowLabels() {
  const HardwareGlobals& hw = HW();
  float lo = 0, hi = 0;
  DARangeLimits(hw.DARange, lo, hi);
  code_ = VoltsToCode(voltage_, lo, hi);
  Label_Voltage = FormatFixed(voltage_, 3) + " V";
  if (hw.DA) {
    Label_DAC = HexCode(code_);
    std::string name;
    hw.DA->DA_channel_name(hw.ChannelLEED, name);
    Label_DACNb = std::to_string(hw.ChannelLEED + 1) + (name.empty() ? "" : " (" + name + ")");
  } else {
    Label_DAC = Label_DACNb = "N/A";
  }
  Label_Lambda = energy_ > 0 ? FormatFixed(ElectronWavelength(energy_), 3) + " \u00C5" : "-";
}

void Form_eGun::HScroll_Energy_Change() {
  const bool volts = Option_Mode == kEGunModeVoltage;
  const double value = volts ? double(HScroll_Energy) / kEGunVoltSteps : HScroll_Energy;
  Text_Energy = volts ? FormatFixed(value, 3) : FormatFixed(value, 1);
  MySetEnergy();
}

void Form_eGun::Check_On_Click() {
  Send();
  ShowLabels();
  view_->Changed(*this);
}

void Form_eGun::Option_Mode_Click() {
  ShowValue();
  view_->Changed(*this);
}

bool Form_eGun::Send() {
  UseDALine(DALine::LEED);
  bool ok = false;
  if (!Check_On) {
    // Held at 0 V; the energy in the dialog stays for the next switch-on.
    SetEnergy(0, false, &ok);
    return ok;
  }
  if (Option_Mode == kEGunModeVoltage)
    SetEnergy(voltage_, false, &ok);
  else
    SetEnergy(energy_, true, &ok);
  // The simulated camera follows the dialog even without a D/A.
  G().ElectronEnergy = energy_;
  return ok;
}

bool Form_eGun::MySetEnergy() {
  double value = 0;
  if (!ParseFieldNumber(Text_Energy, value)) {
    ShowValue();
    view_->Changed(*this);
    return false;
  }
  double delay = 0;
  if (ParseFieldNumber(Text_Delay, delay) && delay >= 0)
    delay_ = std::clamp<int>(RoundEven(std::min(delay, 60000.0)), 0, 60000);
  Text_Delay = std::to_string(delay_);

  double lo = 0, hi = 0;
  Limits(lo, hi);
  value = std::clamp(value, lo, hi);
  const HardwareGlobals& hw = HW();
  if (Option_Mode == kEGunModeVoltage) {
    voltage_ = static_cast<float>(value);
    energy_ = hw.GainLEED != 0 ? (voltage_ - hw.OffsetLEED) / hw.GainLEED : 0.0f;
  } else {
    energy_ = static_cast<float>(value);
    voltage_ = hw.GainLEED * energy_ + hw.OffsetLEED;
  }
  const bool ok = !Check_On || Send();
  ShowValue();
  view_->Changed(*this);
  if (Check_On) SettleWait(delay_);
  return ok;
}

void RegisterEGunSettings() {
  static bool registered = false;
  if (registered) return;
  registered = true;
  RegisterSettingsSection(
      {SettingsSlot::Interfaces, "eGun dialog",
       [](const Profile& ini) {
         double energy = G().ElectronEnergy;
         ParseFieldNumber(ini.GetString(kSection, "Energy", ""), energy);
         const float e = ClampEnergy(DALine::LEED, static_cast<float>(energy));
         G().ElectronEnergy = e;
         EGunForm().ReadSettings(e, ini.GetInt(kSection, "On", -1) != 0,
                                 ini.GetInt(kSection, "Mode", kEGunModeEnergy),
                                 ini.GetInt(kSection, "Delay", 0));
       },
       [](Profile& ini) {
         const Form_eGun& f = EGunForm();
         ini.Set(kSection, "Energy", ShortNumber(G().ElectronEnergy));
         ini.SetInt(kSection, "On", f.Check_On ? -1 : 0);
         ini.SetInt(kSection, "Mode", f.Option_Mode);
         ini.SetInt(kSection, "Delay", f.Delay());
       }});
}

}  // namespace sv
