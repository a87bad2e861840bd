#include "fit/form_fit_setup.h"

#include <cmath>

#include "core/ini_profile.h"

namespace sv {

Form_FitSetup::Form_FitSetup() { Show(FitG().Settings); }

void Form_FitSetup::Show(const FitSettings& s) {
  Text_Dmax = FitNumberText(s.Dmax);
  Text_SosSlope = FitNumberText(s.SOSslope);
  Text_DiffStep = FitNumberText(s.DiffStep);
  Text_MinSos = FitNumberText(s.minSOS);
  Text_MaxDmpg = std::to_string(s.MaxDmpg);
  Text_MaxFun = std::to_string(s.MaxFun);
  Text_MinIntensity = std::to_string(s.PeakMinCount);
  Text_Contrast = std::to_string(s.PeakContrast);
  Text_PeakWidth = FitNumberText(std::fabs(s.PeakWidth));
  Check_PeakWidth = s.PeakWidth > 0.0f;
  Text_PeakWidth_Enabled = Check_PeakWidth;
  Check_Beep = s.Beep != 0;
  Option_Weight = s.FitWght == 2 ? 2 : 1;
  Option_Shape = (s.PeakShape >= 0 && s.PeakShape <= 2) ? s.PeakShape : 1;
}

void Form_FitSetup::Check_PeakWidth_Click() { Text_PeakWidth_Enabled = Check_PeakWidth; }

void Form_FitSetup::Command_Default() { Show(FitSettings{}); }

bool Form_FitSetup::Command_OK(const std::string& file) {
  FitSettings& s = FitG().Settings;
  s.Dmax = FitTextToFloat(Text_Dmax);
  s.SOSslope = FitTextToFloat(Text_SosSlope);
  s.DiffStep = FitTextToFloat(Text_DiffStep);
  s.minSOS = FitTextToFloat(Text_MinSos);
  s.MaxDmpg = ProfileTextToInt(Text_MaxDmpg);
  s.MaxFun = ProfileTextToInt(Text_MaxFun);
  s.FitWght = Option_Weight == 2 ? 2 : 1;
  s.PeakMinCount = ProfileTextToInt(Text_MinIntensity);
  s.PeakContrast = ProfileTextToInt(Text_Contrast);
  s.PeakShape = Option_Shape;
  const float width = std::fabs(FitTextToFloat(Text_PeakWidth));
  s.PeakWidth = Check_PeakWidth ? width : -width;
  s.Beep = Check_Beep ? 1 : 0;
  const bool ok = SaveFitSettings(s, file);
  // What was typed is kept as the file will give it back, except that "none"
  // stays the shape for this session (a read makes it Lorenzian).
  if (ok) {
    s = LoadFitSettings(file);
    s.PeakShape = Option_Shape;
  }
  return ok;
}

}  // namespace sv
