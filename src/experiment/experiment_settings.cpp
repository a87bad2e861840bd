// The definition of a run and its sections of the ini file: "I(T) I(E)" with
// the limits and switches, "E-GUN" with the present energy, and the places of
// the run's worksheet and its two plots.
#include "experiment/experiment_settings.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "analysis/scan_windows.h"
#include "core/globals.h"
#include "core/ini_profile.h"
#include "core/settings.h"
#include "hardware/energy.h"
#include "hardware/form_fields.h"

namespace sv {

namespace {

constexpr const char* kSection = "I(T) I(E)";
constexpr const char* kEGunSection = "E-GUN";
constexpr const char* kSheetSection = "Experiment Sheet";
constexpr const char* kIPlotSection = "Experiment I-Plot";
constexpr const char* kADPlotSection = "Experiment A/D-Plot";

// A number held in a key; `def` when the key is missing or holds no number.
double Number(const Profile& ini, const char* section, const char* key, double def) {
  std::optional<std::string> text = ini.Get(section, key);
  double value = def;
  if (!text || !ParseFieldNumber(*text, value) || !std::isfinite(value)) return def;
  return value;
}

float Single(const Profile& ini, const char* section, const char* key, float def) {
  const double v = Number(ini, section, key, def);
  if (std::fabs(v) > double(std::numeric_limits<float>::max())) return def;
  return float(v);
}

// Seconds to whole milliseconds, to nearest, ties to even, within 32 bits.
double SecondsToMs(double seconds) {
  double ms = std::nearbyint(seconds * 1000.0);
  const double lo = std::numeric_limits<int32_t>::min(), hi = std::numeric_limits<int32_t>::max();
  if (ms < lo) ms = lo;
  if (ms > hi) ms = hi;
  return ms;
}

int32_t MsKey(const Profile& ini, const char* key, double defSeconds) {
  return int32_t(SecondsToMs(Number(ini, kSection, key, defSeconds)));
}

// Milliseconds as seconds, in the shortest text that reads back to them.
std::string SecondsText(double ms) {
  const double seconds = ms / 1000.0;
  if (!std::isfinite(seconds) || seconds == 0) return "0";
  char buf[400];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, seconds, std::chars_format::fixed);
  if (ec != std::errc()) return "0";
  return std::string(buf, ptr);
}

void ReadPlace(const Profile& ini, const char* section, ExperimentWindowPlace& p, bool plot) {
  p.Left = ini.GetInt(section, "Left", 0);
  p.Top = ini.GetInt(section, "Top", 0);
  p.Width = ini.GetInt(section, "Width", 0);
  p.Height = ini.GetInt(section, "Height", 0);
  if (plot) {
    p.Yfrom = Single(ini, section, "Yfrom", 0);
    p.Yto = Single(ini, section, "Yto", 0);
  }
}

void WritePlace(Profile& ini, const char* section, const ExperimentWindowPlace& p, bool plot) {
  ini.SetInt(section, "Left", p.Left);
  ini.SetInt(section, "Top", p.Top);
  ini.SetInt(section, "Width", p.Width);
  ini.SetInt(section, "Height", p.Height);
  if (plot) {
    ini.Set(section, "Yfrom", SingleText(p.Yfrom));
    ini.Set(section, "Yto", SingleText(p.Yto));
  }
}

}  // namespace

ExperimentSettings& ES() {
  static ExperimentSettings settings;
  return settings;
}

void ResetExperimentSettings() { ES() = ExperimentSettings(); }

ExperimentPlaces& ExperimentWindowPlaces() {
  static ExperimentPlaces places;
  return places;
}

void ReadExperimentSettings(const Profile& ini) {
  ExperimentSettings& es = ES();
  es.SweepFile = ini.GetString(kSection, "SweepFile", "");
  es.UserSweep = ini.GetInt(kSection, "User", 0);
  es.tStart = MsKey(ini, "t-Start", 0);
  es.tStop = MsKey(ini, "t-Stop", 60);
  es.tStep = MsKey(ini, "t-Step", 0);
  es.DwellTime = float(SecondsToMs(Number(ini, kSection, "DwellTime", 0)));
  es.EStart = Single(ini, kSection, "E-Start", 20);
  es.EStop = Single(ini, kSection, "E-Stop", 100);
  es.EStep = Single(ini, kSection, "E-Step", 1);
  es.AutoSave = ini.GetInt(kSection, "Auto Save", 0);
  es.OnlineExport = ini.GetInt(kSection, "Online Export", 0);
  es.UpdateWorksheet = ini.GetInt(kSection, "Update Worksheet", 0);
  es.FlushBuffer = ini.GetInt(kSection, "Flush Buffer", 0);
  es.CScanMaxRecords = ini.GetInt(kSection, "CScanMaxRecords", 0);

  es.Energy = ClampEnergy(DALine::LEED, Single(ini, kEGunSection, "Energy", 100));
  G().ElectronEnergy = es.Energy;

  // The trigger keys belong to the core table, which is read first.
  es.TriggerMode = G().TriggerMode;
  es.TriggerSource = G().TriggerSource;

  ExperimentPlaces& places = ExperimentWindowPlaces();
  ReadPlace(ini, kSheetSection, places.Sheet, false);
  ReadPlace(ini, kIPlotSection, places.IPlot, true);
  ReadPlace(ini, kADPlotSection, places.ADPlot, true);
}

void WriteExperimentSettings(Profile& ini) {
  const ExperimentSettings& es = ES();
  ini.Set(kSection, "SweepFile", es.SweepFile);
  ini.SetInt(kSection, "User", es.UserSweep);
  ini.Set(kSection, "t-Start", SecondsText(es.tStart));
  ini.Set(kSection, "t-Stop", SecondsText(es.tStop));
  ini.Set(kSection, "t-Step", SecondsText(es.tStep));
  ini.Set(kSection, "DwellTime", SecondsText(es.DwellTime));
  ini.Set(kSection, "E-Start", SingleText(es.EStart));
  ini.Set(kSection, "E-Stop", SingleText(es.EStop));
  ini.Set(kSection, "E-Step", SingleText(es.EStep));
  ini.SetInt(kSection, "Auto Save", es.AutoSave);
  ini.SetInt(kSection, "Online Export", es.OnlineExport);
  ini.SetInt(kSection, "Update Worksheet", es.UpdateWorksheet);
  ini.SetInt(kSection, "Flush Buffer", es.FlushBuffer);
  ini.SetInt(kSection, "CScanMaxRecords", es.CScanMaxRecords);
  ini.Set(kEGunSection, "Energy", SingleText(es.Energy));

  // The definition's trigger choice is the one in use; the core table wrote
  // its keys before this section, so they are set again here.
  G().TriggerMode = es.TriggerMode;
  G().TriggerSource = es.TriggerSource;
  ini.SetInt("Trigger", "Mode", es.TriggerMode);
  ini.SetInt("Trigger", "Source", es.TriggerSource);

  const ExperimentPlaces& places = ExperimentWindowPlaces();
  WritePlace(ini, kSheetSection, places.Sheet, false);
  WritePlace(ini, kIPlotSection, places.IPlot, true);
  WritePlace(ini, kADPlotSection, places.ADPlot, true);
}

void RegisterExperimentSettings() {
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Experiment && s.name == kSection) return;
  RegisterSettingsSection({SettingsSlot::Experiment, kSection,
                           [](const Profile& ini) { ReadExperimentSettings(ini); },
                           [](Profile& ini) { WriteExperimentSettings(ini); }});
}

}  // namespace sv
