// The setup dialogs of the three device kinds: Form_ADSetup (interface,
// range, averaging, channel names, the A/D calibration, the live reading),
// Form_DASetup (interface, range, the LEED / RHEED and Auger lines and their
// energy limits) and Form_IOSetup (interface, the pin test). A changed
// interface takes effect at the next start; the dialogs say so.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "hardware/form_calibration.h"
#include "hardware/form_device_tests.h"
#include "hardware/form_fields.h"
#include "hardware/hardware.h"

namespace sv {

inline constexpr const char* kADSetupTitle = "A/D Setup";
inline constexpr const char* kDASetupTitle = "D/A Setup";
inline constexpr const char* kIOSetupTitle = "I/O Setup";
inline constexpr const char* kADCalibrationTitle = "A/D Calibration";
inline constexpr int kADTimerMs = 500;

class Form_ADSetup {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_ADSetup&) {}
    // The readings changed (a timer tick).
    virtual void Readings(const Form_ADSetup&) {}
    // The hand test is to be shown, modal.
    virtual void ShowTest(Form_TestAD&) {}
  };
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // Fills every control from the interface and its settings and starts the
  // timer of the readings; Unload stops it.
  void Load();
  void Unload();
  bool Visible() const { return timer_ != 0; }

  std::vector<std::string> Combo_NameList;
  int Combo_Name = 0;
  std::vector<std::string> Combo_RangeList;  // "-10.000 ... 10.000 V"
  int Combo_Range = 0;
  std::string Text_Averaging;
  int Option_Input_mode = 0;  // 0 single-ended, 1 differential
  FormControl Ctl_Option_Input_mode;
  long ChannelCount = 0;  // channels shown (at most 8)
  std::array<std::string, kADChannelMax> Text_Label;
  bool Check_Calibration = false;
  // The Auger scan reads its detector signal on an A/D channel
  // (Combo_AugerADChannel, enabled only then).
  bool Check_DetectorSignal = false;
  std::vector<std::string> Combo_AugerADChannelList;
  int Combo_AugerADChannel = 0;
  FormControl Ctl_Combo_AugerADChannel;
  // What Label_Voltage shows: 0 volts (calibrated when Check_Calibration is
  // on), 1 the raw code.
  int Option_Display = 0;
  std::array<std::string, kADChannelMax> Label_Voltage;
  std::string Label_Calibration;  // "Gain = ..., Offset = ..."

  void Check_DetectorSignal_Click();
  void Timer_Tick();
  // The two-point calibration of the A/D, through input boxes.
  void Command_Calibration();
  void Command_Test();
  // Applies the fields to the interface; a changed interface is noted for the
  // next start ("You must Restart ..."). False while a field is wrong.
  bool Command_OK();
  void Command_Cancel();

  Form_TestAD Test;

 private:
  void Changed() { view_->Changed(*this); }
  void ShowCalibration();
  int loadedName_ = 0;
  int timer_ = 0;
  View nullView_;
  View* view_ = &nullView_;
};
Form_ADSetup& ADSetupForm();

class Form_DASetup {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_DASetup&) {}
    // Modal sub-dialogs: each returns when the user closed it.
    virtual void ShowCalibration(Form_DACalibration&) {}
    virtual void ShowLimits(Form_DefineLimits&) {}
    virtual void ShowTest(Form_TestDA&) {}
  };
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  void Load();
  std::vector<std::string> Combo_NameList;
  int Combo_Name = 0;
  std::vector<std::string> Combo_RangeList;
  int Combo_Range = 0;
  std::vector<std::string> Combo_ChannelList;  // shared by both lines
  int Combo_ChannelLEED = 0, Combo_ChannelAUGER = 1;
  std::string Label_EnergyRangeLEED, Label_EnergyRangeAUGER;

  void Command_CalLEED() { Calibrate(DALine::LEED); }
  void Command_CalAUGER() { Calibrate(DALine::AUGER); }
  void Command_EditLEED() { EditLimits(DALine::LEED); }
  void Command_EditAUGER() { EditLimits(DALine::AUGER); }
  void Command_Test();
  bool Command_OK();
  void Command_Cancel() {}

  // The energy range of a line as the labels show it.
  std::string EnergyRangeText(DALine line) const;

  Form_DACalibration Calibration;
  Form_DefineLimits Limits;
  Form_TestDA Test;

 private:
  void Calibrate(DALine line);
  void EditLimits(DALine line);
  void UpdateLabels();
  int loadedName_ = 0;
  View nullView_;
  View* view_ = &nullView_;
};
Form_DASetup& DASetupForm();

class Form_IOSetup {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_IOSetup&) {}
    virtual void ShowTest(Form_IO_Test&) {}
  };
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  void Load();
  std::vector<std::string> Combo_NameList;
  int Combo_Name = 0;
  void Command_Test();
  bool Command_OK();
  void Command_Cancel() {}
  Form_IO_Test Test;

 private:
  int loadedName_ = 0;
  View nullView_;
  View* view_ = &nullView_;
};
Form_IOSetup& IOSetupForm();

}  // namespace sv
