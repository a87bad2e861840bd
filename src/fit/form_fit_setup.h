// The fit setup dialog's presenter: the settings of "PEAKFIT.INI" as texts,
// options and checks; written to the file only when accepted.
#pragma once

#include <string>

#include "fit/fit_settings.h"

namespace sv {

class Form_FitSetup {
 public:
  // Loads the controls from FitG().Settings.
  Form_FitSetup();

  std::string Text_Dmax, Text_SosSlope, Text_DiffStep, Text_MinSos, Text_MaxDmpg, Text_MaxFun;
  std::string Text_MinIntensity, Text_Contrast, Text_PeakWidth;
  bool Text_PeakWidth_Enabled = true;
  bool Check_PeakWidth = true;
  bool Check_Beep = true;
  int Option_Weight = 1;  // 1 "keep", 2 "SQRT"
  int Option_Shape = 1;   // 0 none, 1 Lorenzian, 2 Gaussian

  // Ticking enables the width text.
  void Check_PeakWidth_Click();
  // Fills in the defaults (nothing is stored yet).
  void Command_Default();
  // Stores the controls in FitG().Settings and writes the file; false when the
  // file could not be written (the settings are stored all the same).
  bool Command_OK(const std::string& file = kFitIniFile);
  // Leaves everything as it was.
  void Command_Cancel() {}

 private:
  void Show(const FitSettings& s);
};

}  // namespace sv
