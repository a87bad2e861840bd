// The Auger dialog's editing side as a presenter: the sweep fields, the
// general values, the sweep list, the title, the total time and the ramp
// files. The view binds its controls to these members.
#pragma once

#include <string>
#include <vector>

#include "experiment/auger_ramp.h"

namespace sv {

class Form_Auger {
 public:
  Form_Auger();

  // The fields, as typed.
  std::string Text_Start = "100", Text_Stop = "1000", Text_Step = "1", Text_IntTime = "0.1";
  std::string Text_Delay = "0", Text_Iterations = "1";
  int Combo_Profile = 1;
  // The list's lines and the selected sweep (-1: none).
  std::vector<std::string> List_Sweep;
  int List_Index = -1;
  std::string Label_Status, Caption;
  // The control that got the focus after a failed check ("" when none).
  std::string Focus;

  const AugerRamp& Ramp() const { return ramp_; }
  bool Changed() const { return ramp_.Changed; }
  const std::string& Filename() const { return ramp_.Filename; }

  // The sweep fields checked in order (start, stop, step, integration time);
  // the first failure shows "Invalid Parameter" (titled "Auger"), sets Focus
  // and returns false.
  bool AddSweep();
  bool EditSweep(int index);
  void RemoveSweep(int index);
  // Shows sweep `index` in the fields.
  void SelectSweep(int index);
  // Delay (a number, at least 0) and iterations (an integer 1..100), and the
  // profile; false with "Invalid Parameter" as above.
  bool AcceptGeneral();
  void ClearRamp();

  // Reads a ramp file: "Invalid File Format" (titled "Auger") for a refused
  // one, leaving the ramp held; repairs show in the status.
  bool LoadRamp(const std::string& path);
  // Writes the ramp; a failed write says "Cannot write " and the path.
  bool SaveRamp(const std::string& path);

 private:
  bool ReadSweep(AugerSweep& sweep);
  bool Invalid(const char* control);
  void Refresh();
  AugerLimits Limits() const;

  AugerRamp ramp_;
};

}  // namespace sv
