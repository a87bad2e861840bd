// The interfaces' own sections of the ini file, read once at start and
// written once at exit, at the interfaces' place in the order (I/O, D/A, A/D).
#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "core/globals.h"
#include "core/host.h"
#include "core/ini_profile.h"
#include "core/settings.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"

namespace sv {

namespace {

constexpr const char* kBaseKey = "BaseAddress";

std::string ADSection(const std::string& name) { return "ADC: " + name; }
std::string ChannelSection(int n) { return "ADC: CH" + std::to_string(n + 1); }
std::string DASection(const std::string& name) { return "DAC: " + name; }
std::string IOSection(const std::string& name) { return "DIO: " + name; }

float SingleOr(const Profile& ini, const std::string& section, const std::string& key, float def) {
  return ini.GetSingle(section, key).value_or(def);
}

std::optional<int> Int(const Profile& ini, const std::string& section, const std::string& key) {
  std::optional<std::string> value = ini.Get(section, key);
  if (!value) return std::nullopt;
  if (value->find_first_not_of(" \t") == std::string::npos) return std::nullopt;
  return ProfileTextToInt(*value);
}

// The shortest text that reads back to the same single, without exponent.
std::string SingleText(float value) {
  if (!std::isfinite(value) || value == 0) return "0";
  char buf[80];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed);
  if (ec != std::errc()) return "0";
  return std::string(buf, ptr);
}

std::string UserApp() { return UserStoreApp(host().ExeName(), G().SlaveMode); }

}  // namespace

// --- I/O ----------------------------------------------------------------------------

void ReadIOSettings(const Profile& ini) {
  HardwareGlobals& hw = HW();
  // The shutter record, whichever interface is configured.
  ShutterControlRecord& sc = hw.ShutterControl;
  sc = ShutterControlRecord();
  const char* k = kShutterSection;
  sc.ShutterEnabled = ini.GetInt(k, "Enabled", 0);
  sc.ShutterWindow = ini.GetInt(k, "Frame", 0);
  sc.Hysterese = SingleOr(ini, k, "Hysterese", 0.1f);
  sc.MinTimeRange = SingleOr(ini, k, "MinTimeRange", 1.0f);
  sc.Cycles = ini.GetInt(k, "Cycles", 1);
  sc.OpenLevel = ini.GetInt(k, "OpenLevel", 0);
  sc.TriggerSource = ini.GetInt(k, "TriggerSource", 0);
  hw.IOBase = 0;
  if (G().IOName.empty()) return;
  hw.IOBase = ini.GetInt(IOSection(G().IOName), kBaseKey, 0);
}

void WriteIOSettings(Profile& ini) {
  const HardwareGlobals& hw = HW();
  const ShutterControlRecord& sc = hw.ShutterControl;
  const char* k = kShutterSection;
  ini.SetInt(k, "Enabled", sc.ShutterEnabled);
  ini.SetInt(k, "Frame", sc.ShutterWindow);
  ini.Set(k, "Hysterese", SingleText(sc.Hysterese));
  ini.Set(k, "MinTimeRange", SingleText(sc.MinTimeRange));
  ini.SetInt(k, "Cycles", sc.Cycles);
  ini.SetInt(k, "OpenLevel", sc.OpenLevel);
  ini.SetInt(k, "TriggerSource", sc.TriggerSource);
  if (G().IOName.empty()) return;
  ini.SetInt(IOSection(G().IOName), kBaseKey, hw.IOBase);
}

// --- D/A ----------------------------------------------------------------------------

void ReadDASettings(const Profile& ini) {
  HardwareGlobals& hw = HW();
  const std::string s = DASection(G().DAName);
  hw.DABase = 0;
  hw.DARange = 0;
  hw.ChannelLEED = 0;
  hw.ChannelAUGER = 1;
  hw.OffsetLEED = 0;
  hw.GainLEED = DefaultDAGain(DALine::LEED);
  hw.OffsetAUGER = 0;
  hw.GainAUGER = DefaultDAGain(DALine::AUGER);
  hw.DACalibrationCheck = false;
  if (!G().DAName.empty()) {
    hw.DABase = ini.GetInt(s, kBaseKey, 0);
    hw.DARange = ini.GetInt(s, "Range DA", 0);
    bool check = false;
    // LEED: the new keys, else the old ones (then the calibration wants a check).
    auto leedInt = [&](const char* key, const char* old, int def) {
      if (auto v = Int(ini, s, key)) return *v;
      if (auto v = Int(ini, s, old)) {
        check = true;
        return *v;
      }
      return def;
    };
    auto leedSingle = [&](const char* key, const char* old) -> std::optional<float> {
      if (auto v = ini.GetSingle(s, key)) return v;
      if (auto v = ini.GetSingle(s, old)) {
        check = true;
        return v;
      }
      return std::nullopt;
    };
    hw.ChannelLEED = leedInt("ChannelLEED", "Channel", 0);
    const std::optional<float> offsetLEED = leedSingle("OffsetLEED", "Offset(0)");
    const std::optional<float> gainLEED = leedSingle("GainLEED", "Gain(0)");
    if (gainLEED) {
      hw.GainLEED = *gainLEED;
      hw.OffsetLEED = offsetLEED.value_or(0.0f);
    } else {
      // No calibration at all: the default line.
      check = true;
    }
    hw.ChannelAUGER = ini.GetInt(s, "ChannelAUGER", 1);
    const std::optional<float> gainAUGER = ini.GetSingle(s, "GainAUGER");
    if (gainAUGER) {
      hw.GainAUGER = *gainAUGER;
      hw.OffsetAUGER = SingleOr(ini, s, "OffsetAUGER", 0.0f);
    } else {
      check = true;
    }
    // A first start has no calibration to check yet: the default line is it.
    hw.DACalibrationCheck = check && !G().FirstStart;
  }
  UseDALine(DALine::LEED);
  // User store, section "Auger".
  const std::string app = UserApp();
  hw.AugerDerivative =
      ProfileTextToInt(host().Store().GetSetting(app, "Auger", "Derivative", "0"));
  hw.AugerReverseScaling =
      ProfileTextToInt(host().Store().GetSetting(app, "Auger", "ReverseScaling", "0"));
}

void WriteDASettings(Profile& ini) {
  const HardwareGlobals& hw = HW();
  const std::string app = UserApp();
  host().Store().SaveSetting(app, "Auger", "Derivative", std::to_string(hw.AugerDerivative));
  host().Store().SaveSetting(app, "Auger", "ReverseScaling", std::to_string(hw.AugerReverseScaling));
  if (G().DAName.empty()) return;
  const std::string s = DASection(G().DAName);
  ini.SetInt(s, kBaseKey, hw.DABase);
  ini.SetInt(s, "Range DA", hw.DARange);
  ini.SetInt(s, "ChannelLEED", hw.ChannelLEED);
  ini.Set(s, "OffsetLEED", SingleText(hw.OffsetLEED));
  ini.Set(s, "GainLEED", SingleText(hw.GainLEED));
  ini.SetInt(s, "ChannelAUGER", hw.ChannelAUGER);
  ini.Set(s, "OffsetAUGER", SingleText(hw.OffsetAUGER));
  ini.Set(s, "GainAUGER", SingleText(hw.GainAUGER));
}

// --- A/D ----------------------------------------------------------------------------

void ReadADSettings(const Profile& ini) {
  HardwareGlobals& hw = HW();
  hw.ADChannels = HardwareGlobals::DefaultADChannels();
  hw.ADBase = 0;
  hw.ADRange = 0;
  hw.ADAveraging = 1;
  hw.ADOffset = 0;
  hw.ADGain = 1;
  hw.ADDifferential = 0;
  hw.ADScan = 0;
  hw.AugerADChannel = 0;
  if (G().ADName.empty()) return;
  const std::string s = ADSection(G().ADName);
  hw.ADBase = ini.GetInt(s, kBaseKey, 0);
  hw.ADRange = ini.GetInt(s, "Range", 0);
  hw.ADAveraging = std::max(1, ini.GetInt(s, "Averaging", 1));
  hw.ADOffset = SingleOr(ini, s, "Offset", 0.0f);
  hw.ADGain = SingleOr(ini, s, "Gain", 1.0f);
  hw.ADDifferential = ini.GetInt(s, "Differential", 0);
  hw.ADScan = ini.GetInt(s, "Scan", 0);
  hw.AugerADChannel = ini.GetInt(s, "AugerADChannel", 0);
  for (int n = 0; n < kADChannelMax; ++n) {
    ADChannel& c = hw.ADChannels[size_t(n)];
    const std::string cs = ChannelSection(n);
    c.ChannelName = ini.GetString(cs, "ChannelName", "");
    c.Selected = ini.GetInt(cs, "Selected", 0);
    c.Plot = ini.GetInt(cs, "Plot", 1);
    c.Color = ini.GetInt(cs, "Color", DefaultChannelColor(n));
  }
}

void WriteADSettings(Profile& ini) {
  if (G().ADName.empty()) return;
  const HardwareGlobals& hw = HW();
  const std::string s = ADSection(G().ADName);
  ini.SetInt(s, kBaseKey, hw.ADBase);
  ini.SetInt(s, "Range", hw.ADRange);
  ini.SetInt(s, "Averaging", hw.ADAveraging);
  ini.Set(s, "Offset", SingleText(hw.ADOffset));
  ini.Set(s, "Gain", SingleText(hw.ADGain));
  ini.SetInt(s, "Differential", hw.ADDifferential);
  ini.SetInt(s, "Scan", hw.ADScan);
  ini.SetInt(s, "AugerADChannel", hw.AugerADChannel);
  for (int n = 0; n < kADChannelMax; ++n) {
    const ADChannel& c = hw.ADChannels[size_t(n)];
    const std::string cs = ChannelSection(n);
    ini.Set(cs, "ChannelName", c.ChannelName);
    ini.SetInt(cs, "Selected", c.Selected);
    ini.SetInt(cs, "Plot", c.Plot);
    ini.SetInt(cs, "Color", c.Color);
  }
}

void RegisterHardwareSettings() {
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Interfaces && s.name == "I/O") return;
  RegisterSettingsSection({SettingsSlot::Interfaces, "I/O", [](const Profile& ini) { ReadIOSettings(ini); },
                           [](Profile& ini) { WriteIOSettings(ini); }});
  RegisterSettingsSection({SettingsSlot::Interfaces, "D/A", [](const Profile& ini) { ReadDASettings(ini); },
                           [](Profile& ini) { WriteDASettings(ini); }});
  RegisterSettingsSection({SettingsSlot::Interfaces, "A/D", [](const Profile& ini) { ReadADSettings(ini); },
                           [](Profile& ini) { WriteADSettings(ini); }});
}

}  // namespace sv
