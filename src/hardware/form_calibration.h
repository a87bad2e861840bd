// The energy calibration dialogs: Form_DACalibration (the straight line
// between D/A volts and energy, for LEED / RHEED or the Auger mesh) and
// Form_DefineLimits (two values between absolute limits, here the energy
// limits of a line). Presenters: they hold their controls' values and talk
// only to the host; a Qt dialog binds to each.
#pragma once

#include <array>
#include <string>

#include "hardware/energy.h"
#include "hardware/form_fields.h"

namespace sv {

inline constexpr const char* kLimitsOrderText = "Min. value must be less than Max. value";
inline constexpr const char* kMinOutOfRangeText = "Min. value is out of Range (";
inline constexpr const char* kMaxOutOfRangeText = "Max. value is out of Range (";

class Form_DefineLimits {
 public:
  // Public parameters, set by the caller before Load.
  std::string Caption;
  double MinAbsolut = 0, MaxAbsolut = 0;
  double MinValue = 0, MaxValue = 0;
  double MinDefault = 0, MaxDefault = 0;
  std::string MinCaption, MaxCaption, MinUnit, MaxUnit;
  bool ok = false;  // true once OK took the values

  // The fields from MinValue, MaxValue.
  void Load();
  std::string Text_Min, Text_Max;
  // Checks the fields; on a fault says why and stays open (false). Otherwise
  // MinValue, MaxValue take them, ok is set and the dialog closes (true).
  bool Command_OK();
  void Command_Cancel() { ok = false; }
  void Command_Default();

  // The set for the Auger mesh and the one for the LEED / RHEED energy, with
  // the present limits as values.
  void SetAugerMesh();
  void SetLEEDEnergy();
};

class Form_DACalibration {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_DACalibration&) {}
  };
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // Loads the line of `mode` and the test points on the upper voltage limit
  // `upperVolts` of the selected range.
  void Load(DALine mode, float upperVolts);
  DALine mode = DALine::LEED;
  std::string Caption;

  std::string Text_Offset, Text_Gain;
  std::array<std::string, 2> Text_Energy, Text_Voltage;  // two test points
  // True: the voltages of the test points stay when the line changes and the
  // energies follow; false: the energies stay and the voltages follow.
  bool Option_Voltage = true;
  // Typing into a test point shows the other side on the accepted line.
  void Text_Energy_Change(int point);
  void Text_Voltage_Change(int point);

  // Takes gain and offset from their fields; false with a message when they
  // cannot be read or the gain is 0.
  bool Command_Accept();
  // Offset 0 and the line's default gain, test points at 5 % and 45 % of
  // the upper voltage, then Accept.
  void Command_Default();
  // Accept, then the line becomes the calibration of its mode. False while
  // the fields cannot be read (the dialog stays).
  bool Command_OK();
  void Command_Cancel() { ok = false; }
  bool ok = false;

  // The accepted line: volts = Gain * energy + Offset.
  float Offset = 0, Gain = 0.01f;
  float UpperVolts = 10;

  // What Picture_Cal draws: the line between two (energy, volts) ends over
  // the line's energy limits, and its label.
  struct Picture {
    double e1 = 0, v1 = 0, e2 = 0, v2 = 0;
    std::string label;
  };
  Picture Picture_Cal;

 private:
  void ShowTestPoints(bool energiesFollow);
  void UpdatePicture();
  View nullView_;
  View* view_ = &nullView_;
};

}  // namespace sv
