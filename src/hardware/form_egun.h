// The e-gun control (e-Gun -> Parameter): the LEED / RHEED energy set by hand
// through the D/A line, with the voltage, the D/A code, the channel and the
// electron wavelength shown beside it.
#pragma once

#include <string>

namespace sv {

inline constexpr int kEGunModeEnergy = 0;   // the value is an energy in eV
inline constexpr int kEGunModeVoltage = 1;  // the value is the D/A voltage in V
inline constexpr int kEGunVoltSteps = 100;  // scroll steps a volt in voltage mode

class Form_eGun {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_eGun&) {}
  };
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // Shows the dialog with the present energy (G().eGunVisible becomes 1).
  // Unload is the user closing it (it will not open at the next start);
  // Moved keeps its place (G().eGunLeft, G().eGunTop).
  void Load();
  void Unload();
  void Moved(int left, int top);
  bool Visible() const { return visible_; }

  // The scroll bar: whole eV in energy mode, 1/100 V in voltage mode.
  int HScroll_Min = 0, HScroll_Max = 1000, HScroll_Energy = 0;
  void HScroll_Energy_Change();
  // The value as typed: eV or V after Option_Mode; Command_Set (or Return)
  // takes it.
  std::string Text_Energy;
  // Settle time in ms after each new value: MySetEnergy waits it out,
  // pumping events, before it returns.
  std::string Text_Delay = "0";
  // On: the D/A line is driven; off: it is held at 0 V and the value is kept
  // for the next switch-on.
  bool Check_On = true;
  void Check_On_Click();
  int Option_Mode = kEGunModeEnergy;
  void Option_Mode_Click();
  void Command_Set() { MySetEnergy(); }

  std::string Label_minEnergy, Label_maxEnergy;
  std::string Label_DAC;      // the channel's raw code, "0x" + hex
  std::string Label_DACNb;    // the channel
  std::string Label_Voltage;  // the voltage sent
  std::string Label_Lambda;   // the electron wavelength in Angstrom

  // Sets the energy from the dialog through SetEnergy (the LEED / RHEED line)
  // and shows voltage, code and wavelength. False for a value that cannot be
  // read (the field goes back to the present value) or when the D/A failed.
  bool MySetEnergy();

  // The present energy in eV and the voltage it needs.
  float Energy() const { return energy_; }
  float Voltage() const { return voltage_; }
  long Code() const { return code_; }
  int Delay() const { return delay_; }

  // Section "eGun": "Energy", "On", "Mode", "Delay".
  void ReadSettings(float energy, bool on, int mode, int delay);

 private:
  void Limits(double& lo, double& hi) const;
  void ShowValue();
  void ShowLabels();
  bool Send();
  float energy_ = 100;
  float voltage_ = 0;
  long code_ = 0;
  int delay_ = 0;
  bool visible_ = false;
  View nullView_;
  View* view_ = &nullView_;
};
Form_eGun& EGunForm();

// Registers the dialog's settings (section "eGun") with the settings store;
// once.
void RegisterEGunSettings();

}  // namespace sv
