// The length calibration dialog: a distance in pixels, the same distance in
// the user's unit, the unit's name and the height of a pixel relative to its
// width.
#pragma once

#include <string>

namespace sv {

inline constexpr const char* kLengthCalibrationTitle = "Calibraton";
inline constexpr const char* kInvalidParametersText = "Invalid Parameters";

class Form_CalibrationLength {
 public:
  // The fields from LengthCal(): 100 pixels and their length in the unit.
  void Load();

  bool Check_LCalibration = false;
  std::string Text_VGAPixel, Text_UserLength, Text_Unit, Text_ratio;

  // Applies the fields to LengthCal(); false, with the message, while they
  // cannot be taken (the dialog stays).
  bool Command_OK();
};

Form_CalibrationLength& CalibrationLengthForm();

}  // namespace sv
