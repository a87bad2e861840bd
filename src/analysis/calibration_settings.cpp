#include "analysis/calibration_settings.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "analysis/form_calibration_length.h"
#include "analysis/form_window_setup.h"
#include "analysis/form_zcalibration.h"
#include "core/error_table.h"
#include "core/host.h"
#include "core/ini_profile.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "worksheet/load_table.h"

namespace sv {

namespace {

// The shortest text that reads back to the same single.
std::string IniSingle(float value) {
  if (!std::isfinite(value)) return "0";
  char buf[64];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, value);
  if (ec != std::errc()) return "0";
  return std::string(buf, ptr);
}

}  // namespace

long LoadCalibrationTable(const std::string& filename, IntensityTable& table) {
  SheetTable sheet;
  const long code = LoadTable(filename, sheet);
  if (code != 0) return code;
  table.FileName = filename;
  table.Name = sheet.Name;
  table.Count = int32_t(sheet.Count);
  table.Values = std::move(sheet.Values);
  return 0;
}

std::string LutErrorText(const std::string& filename) {
  return "\rError reading LUT file" + filename + "\r\rIntensity Calibration is disabled";
}

std::string LutOpenErrorText(const std::string& filename, long code) {
  return filename + "\r\nError: " + ErrorText(int(code));
}

void ReadCalibration(const Profile& ini) {
  LengthCalibration& l = LengthCal();
  l = LengthCalibration();
  l.PixelRatio = ini.GetSingle(kLengthSection, "Pixel Ratio").value_or(1.0f);
  if (l.PixelRatio <= 0) l.PixelRatio = 1.0f;
  l.Enabled = ini.GetInt(kLengthSection, "enabled", 0);
  l.CalFactor = ini.GetSingle(kLengthSection, "Cal Factor").value_or(1.0f);
  l.CalUnit = ini.GetString(kLengthSection, "Cal Unit", "Pixel");

  IntensityTable& z = ZCal();
  z = IntensityTable();
  z.Enabled = ini.GetInt(kZSection, "enabled", 0);
  z.FileName = ini.GetString(kZSection, "filename", "");
  if (z.FileName.empty()) return;
  if (LoadCalibrationTable(z.FileName, z) == 0) return;
  if (z.Enabled == 1 && HasHost())
    host().MsgBox(LutErrorText(z.FileName), MsgButtons::OK, MsgIcon::Information, kOpenLutTitle);
  z.Enabled = 0;
}

void WriteCalibration(Profile& ini) {
  const LengthCalibration& l = LengthCal();
  ini.Set(kLengthSection, "Pixel Ratio", IniSingle(l.PixelRatio));
  ini.SetInt(kLengthSection, "enabled", l.Enabled);
  ini.Set(kLengthSection, "Cal Factor", IniSingle(l.CalFactor));
  ini.Set(kLengthSection, "Cal Unit", l.CalUnit);
  const IntensityTable& z = ZCal();
  ini.SetInt(kZSection, "enabled", z.Enabled);
  ini.Set(kZSection, "filename", z.FileName);
}

void CloseCalibration() {
  IntensityTable& z = ZCal();
  z.Values.clear();
  z.Values.shrink_to_fit();
  z.Count = 0;
}

CalibrationDialogs& CalibrationDialogHooks() {
  static CalibrationDialogs dialogs;
  return dialogs;
}

void ShowLengthCalibration() {
  CalibrationLengthForm().Load();
  if (CalibrationDialogHooks().length) CalibrationDialogHooks().length();
}

void ShowIntensityCalibration() {
  ZCalibrationForm().Load();
  if (CalibrationDialogHooks().intensity) CalibrationDialogHooks().intensity();
}

void Form_WindowSetup::Command_Calibration() { ShowIntensityCalibration(); }

void InstallCalibration() {
  bool registered = false;
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Calibration) registered = true;
  if (!registered)
    RegisterSettingsSection({SettingsSlot::Calibration, kLengthSection,
                             [](const Profile& ini) { ReadCalibration(ini); },
                             [](Profile& ini) { WriteCalibration(ini); }});
  ExitSteps().calibrationStore = [] { CloseCalibration(); };
  AnalysisHooks& h = Hooks();
  h.CalibrationOn = [](const Form_Camera&) { return CalIntensityOn(); };
  h.CalIntensity = [](const Form_Camera& image, float raw) { return image.CalIntensity(raw); };
  h.CalibrationUnit = [](const Form_Camera&) { return ZCal().Name; };
}

void RegisterCalibrationCommands(MDIForm_Main& main) {
  InstallCalibration();
  if (MenuEntry* setup = main.FindMenu("mnuSetup"); setup && !main.FindMenu("mnuZCalibration")) {
    auto item = [](const char* name, const char* caption) {
      MenuEntry e;
      e.name = name;
      e.caption = caption;
      return e;
    };
    setup->children.push_back(item("mnuSetupCalibration", "-"));
    setup->children.push_back(item("mnuLengthCalibration", "&Length Calibration..."));
    setup->children.push_back(item("mnuZCalibration", "&Intensity Calibration..."));
  }
  main.SetCommand("mnuLengthCalibration", [](int) { ShowLengthCalibration(); });
  main.SetCommand("mnuZCalibration", [](int) { ShowIntensityCalibration(); });
}

}  // namespace sv
