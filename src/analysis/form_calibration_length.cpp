#include "analysis/form_calibration_length.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "core/host.h"
#include "image/calibration.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

constexpr float kShownPixels = 100.0f;

// A field's number; 0 for a text that holds none.
double FieldValue(const std::string& text) {
  double v = 0;
  return ParseNumber(text, v) ? v : 0.0;
}

void Invalid() {
  if (HasHost())
    host().MsgBox(kInvalidParametersText, MsgButtons::OK, MsgIcon::Critical, kLengthCalibrationTitle);
}

void Beep() {
  if (HasHost()) host().Beep();
}

std::string Upper(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::toupper(c)); });
  return s;
}

}  // namespace

Form_CalibrationLength& CalibrationLengthForm() {
  static Form_CalibrationLength form;
  return form;
}

void Form_CalibrationLength::Load() {
  const LengthCalibration& cal = LengthCal();
  Check_LCalibration = cal.Enabled == 1;
  Text_VGAPixel = FormatNumber(kShownPixels);
  Text_UserLength = FormatNumber(kShownPixels * cal.CalFactor);
  Text_Unit = cal.CalUnit;
  Text_ratio = FormatNumber(cal.PixelRatio);
}

bool Form_CalibrationLength::Command_OK() {
  LengthCalibration& cal = LengthCal();
  cal.Enabled = Check_LCalibration ? 1 : 0;
  const double pixels = FieldValue(Text_VGAPixel);
  const double length = FieldValue(Text_UserLength);
  // A factor a single cannot hold counts as invalid too.
  const float factor = float(length / pixels);
  if (!(pixels > 0) || !(length > 0) || !(factor > 0) || !std::isfinite(factor)) {
    Invalid();
    return false;
  }
  cal.CalFactor = factor;
  cal.CalUnit = Text_Unit;
  if (cal.CalFactor == 1.0f) {
    Beep();
    cal.CalUnit = "Pixel";
  } else if (Upper(cal.CalUnit) == "PIXEL") {
    // A scaled pixel is no pixel.
    Beep();
    cal.CalUnit = "User";
  }
  Text_Unit = cal.CalUnit;
  const double ratio = FieldValue(Text_ratio);
  if (!(float(ratio) > 0) || !std::isfinite(float(ratio))) {
    Invalid();
    return false;
  }
  cal.PixelRatio = float(ratio);
  return true;
}

}  // namespace sv
