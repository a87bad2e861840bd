// The calibrations' sections of the ini file, the ".lut" tables, and where
// the intensity calibration plugs into the window tools.
#pragma once

#include <functional>
#include <string>

#include "image/calibration.h"

namespace sv {

class Profile;
class MDIForm_Main;

inline constexpr const char* kLengthSection = "CALIBRATION";
inline constexpr const char* kZSection = "ZCALIBRATION";
inline constexpr const char* kOpenLutTitle = "Open LUT";
inline constexpr const char* kLutOpenFilter = "Calibration Files (*.lut)|*.lut|All Files (*.*)|*.*||";
inline constexpr const char* kLutSheetFilter = "Worksheet Files (*.lut)|*.lut|All Files (*.*)|*.*||";

// Both sections into LengthCal() and ZCal(); a table named in the file is
// loaded, and a failed load leaves the intensity calibration off (with the
// message when it was on).
void ReadCalibration(const Profile& ini);
void WriteCalibration(Profile& ini);
// At exit: the table goes.
void CloseCalibration();

// Reads a ".lut" file into `table` (FileName, Name, Count, Values; Enabled
// stays). 0 on success, else LoadTable's error, and `table` is untouched.
long LoadCalibrationTable(const std::string& filename, IntensityTable& table);

// The start-up message for a table that could not be read.
std::string LutErrorText(const std::string& filename);
// The message of a failed open in the table dialog.
std::string LutOpenErrorText(const std::string& filename, long code);

// How the front end shows the two dialogs (CalibrationLengthForm(),
// ZCalibrationForm(), each loaded before). Unset: nothing is shown.
struct CalibrationDialogs {
  std::function<void()> length;
  std::function<void()> intensity;
};
CalibrationDialogs& CalibrationDialogHooks();
void ShowLengthCalibration();
void ShowIntensityCalibration();

// The settings section at its place, the exit step and the window tools'
// intensity hooks. Doing it twice does no harm.
void InstallCalibration();
// InstallCalibration, and the Setup menu's "mnuLengthCalibration" and
// "mnuZCalibration" with their commands.
void RegisterCalibrationCommands(MDIForm_Main& main);

}  // namespace sv
