#include "core/settings.h"

#include <algorithm>
#include <charconv>
#include <ctime>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "core/platform/platform.h"

namespace sv {

namespace {

// Tool forms keep their positions in twips, as the ini file holds them.
constexpr int kTwipsPerPixel = 15;

std::vector<SettingsSection> CoreSections() {
  return {
      {SettingsSlot::Core, "Core",
       [](const Profile& ini) {
         ReadGeneralSettings(ini);
         ReadHardwareNames();
       },
       [](Profile& ini) {
         WriteGeneralSettings(ini);
         WriteHardwareNames();
       }},
      // The folders are written by their own dialog, not at exit.
      {SettingsSlot::Pathes, "Pathes", [](const Profile& ini) { ReadPathes(ini); }, nullptr},
  };
}

std::vector<SettingsSection>& Registry() {
  static std::vector<SettingsSection> sections = CoreSections();
  return sections;
}

std::string ShortDateTime() {
  std::time_t now = std::time(nullptr);
  std::tm tm{};
  localtime_r(&now, &tm);
  char buf[64];
  std::strftime(buf, sizeof buf, "%Y-%m-%d   %H:%M", &tm);
  return buf;
}

// A single from the per-user store; a decimal comma counts as a point.
float StoreSingle(const std::string& app, const std::string& key, float def) {
  std::string text = host().Store().GetSetting(app, "eGun", key, "");
  std::replace(text.begin(), text.end(), ',', '.');
  size_t b = text.find_first_not_of(" \t");
  if (b == std::string::npos) return def;
  float v = def;
  const char* first = text.data() + b;
  if (*first == '+') ++first;
  auto [ptr, ec] = std::from_chars(first, text.data() + text.size(), v);
  if (ec != std::errc()) return def;
  return v;
}

std::string SingleText(float v) {
  char buf[32];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, v);
  return ec == std::errc() ? std::string(buf, ptr) : std::string("0");
}

// A folder as the globals hold it: "/" separators and a trailing "/".
std::string FolderText(const std::string& path) {
  std::string p = platform::NativePath(path);
  if (!p.empty() && p.back() != '/') p += '/';
  return p;
}

struct HardwareKey {
  const char* key;
  std::string Globals::*name;
};
const HardwareKey kHardwareKeys[] = {
    {"Grabber", &Globals::GrabberName},
    {"I/O-Converter", &Globals::IOName},
    {"D/A-Converter", &Globals::DAName},
    {"A/D-Converter", &Globals::ADName},
};

struct PathKey {
  const char* key;
  const char* folder;
  std::string Globals::*path;
};
const PathKey kPathKeys[] = {
    {"Images", "Images", &Globals::ImagesPath},
    {"Films", "Videos", &Globals::FilmsPath},
    {"Sheets", "Worksheets", &Globals::SheetsPath},
    {"Export", "Export", &Globals::ExportPath},
    {"Parameter", "Parameter", &Globals::ParameterPath},
};

}  // namespace

void RegisterSettingsSection(SettingsSection section) {
  auto& r = Registry();
  auto at = std::upper_bound(r.begin(), r.end(), section.slot,
                             [](SettingsSlot s, const SettingsSection& e) { return s < e.slot; });
  r.insert(at, std::move(section));
}

void ClearSettingsSections() { Registry() = CoreSections(); }

const std::vector<SettingsSection>& SettingsSections() { return Registry(); }

std::string FormIniFile(const std::string& programFolder, const std::string& userName) {
  std::string name = userName.empty() ? "SV4200.ini" : "SV4200_" + userName + ".ini";
  std::string full = platform::JoinPath(platform::NativePath(programFolder), name);
  return platform::FileExists(full) ? full : name;
}

std::string HardwareIniFile(const std::string& programFolder, const std::string& exeName,
                            bool slave) {
  return platform::JoinPath(platform::NativePath(programFolder),
                            exeName + (slave ? "_Slave" : "") + ".ini");
}

std::string UserStoreApp(const std::string& exeName, bool slave) {
  return slave ? exeName + "_Slave" : exeName;
}

void ReadGeneralSettings(const Profile& ini) {
  Globals& g = G();
  const ScreenSize screen = host().Screen();
  const int screenW = screen.width * kTwipsPerPixel;
  const int screenH = screen.height * kTwipsPerPixel;

  g.MainState = ini.GetInt("Main", "state", 2);
  g.MainLeft = ini.GetInt("Main", "left", 0);
  g.MainTop = ini.GetInt("Main", "top", 0);
  g.MainWidth = ini.GetInt("Main", "width", 0);
  g.MainHeight = ini.GetInt("Main", "height", 0);
  NormaliseMainWindowRect(screen.width, screen.height);
  g.AutoScan = ini.GetInt("Main", "AutoScan", 1);
  g.UndoEnabled = ini.GetInt("Main", "Undo", 1);

  g.DefaultLUTtype = std::clamp(ini.GetInt("LUT", "RainbowLUT", 0), 0, 6);
  g.LutVisible = ini.GetInt("LUT", "Visible", 0);
  g.LutVisible = 0;  // the LUT form never opens by itself
  g.LutLeft = ini.GetInt("LUT", "Left", screenW);
  g.LutTop = ini.GetInt("LUT", "Top", 40 * kTwipsPerPixel);

  g.VideoMode = ini.GetInt("Video", "mode", 0);
  g.VideoMode = 0;
  g.VideoLeft = ini.GetInt("Video", "left", 0);
  g.VideoTop = ini.GetInt("Video", "top", 48);
  g.VideoPath = ini.GetString("Video", "Path", "");

  g.ImagesDialogPath = ini.GetString("Images", "Path", "");
  g.ImagesFilterIndex = ini.GetInt("Images", "FilterIndex", 1);
  g.WebFilename = ini.GetString("Images", "WebFilename", "");
  g.ViewImageComment = ini.GetInt("Images", "ViewImageComment", -1) != 0 ? -1 : 0;

  g.ShowExitDialog = ini.GetInt("Options", "ShowExitDialog", 1);
  g.StartOverlay = ini.GetInt("Options", "StartOverlay", 1);
  g.ShowToolbar = ini.GetInt("Options", "ShowToolbar", -1);
  g.ShowStatusbar = ini.GetInt("Options", "ShowStatusbar", -1);
  g.OsziBackColor = ini.GetInt("Options", "OsziBackColor", 0xFFFFFF);
  g.ExtendedShapes = ini.GetInt("Options", "ExtendedShapes", 0);

  if (g.TarvosEnabled) g.DataLinkMode = ini.GetInt("Tarvos", "DataLinkMode", 0);
  g.TriggerMode = ini.GetInt("Trigger", "Mode", 0);
  g.TriggerSource = ini.GetInt("Trigger", "Source", 4);

  g.HistogramVisible = ini.GetInt("Histogram", "Visible", 0);
  g.HistogramLeft = ini.GetInt("Histogram", "Left", 0);
  g.HistogramTop = ini.GetInt("Histogram", "Top", screenH / 2);
  g.LineSetupLeft = ini.GetInt("LineSetupDlg", "Left", screenW / 2);
  g.LineSetupTop = ini.GetInt("LineSetupDlg", "Top", screenH / 2);
  g.eGunVisible = ini.GetInt("eGun", "Visible", 0);
  g.eGunLeft = ini.GetInt("eGun", "Left", screenW);
  g.eGunTop = ini.GetInt("eGun", "Top", screenH / 2);

  const std::string app = UserStoreApp(host().ExeName(), g.SlaveMode);
  g.MinEnergyLEED = StoreSingle(app, "MinEnergyLEED", 0);
  g.MaxEnergyLEED = StoreSingle(app, "MaxEnergyLEED", 1000);
  g.MinEnergyAUGER = StoreSingle(app, "MinEnergyAUGER", 0);
  g.MaxEnergyAUGER = StoreSingle(app, "MaxEnergyAUGER", 1639);

  g.ScriptLeft = ini.GetInt("Script", "left", 800);
  g.ScriptTop = ini.GetInt("Script", "top", 1600);
  g.ScriptPath = ini.GetString("Script", "Path", "");

  g.SubtractBackground = ini.GetInt("Grabber", "Subtract Background", 0);
  g.WebCamFile = ini.GetString("Grabber", "WebCamFile", "");
  g.WebCamInterval = ini.GetInt("Grabber", "WebCamInterval", 6);
}

void WriteGeneralSettings(Profile& ini) {
  const Globals& g = G();
  ini.Set("Main", "Date", ShortDateTime());
  ini.SetInt("Main", "state", g.MainState);
  ini.SetInt("Main", "left", g.MainLeft);
  ini.SetInt("Main", "top", g.MainTop);
  ini.SetInt("Main", "width", g.MainWidth);
  ini.SetInt("Main", "height", g.MainHeight);
  ini.SetInt("Main", "AutoScan", g.AutoScan);
  ini.SetInt("Main", "Undo", g.UndoEnabled);

  ini.SetInt("LUT", "RainbowLUT", g.DefaultLUTtype);
  ini.SetInt("LUT", "Visible", g.LutVisible);
  ini.SetInt("LUT", "Left", g.LutLeft);
  ini.SetInt("LUT", "Top", g.LutTop);

  ini.SetInt("Video", "mode", g.VideoMode);
  ini.SetInt("Video", "left", g.VideoLeft);
  ini.SetInt("Video", "top", g.VideoTop);
  ini.Set("Video", "Path", g.VideoPath);

  ini.Set("Images", "Path", g.ImagesDialogPath);
  ini.SetInt("Images", "FilterIndex", g.ImagesFilterIndex);
  ini.Set("Images", "WebFilename", g.WebFilename);
  ini.SetInt("Images", "ViewImageComment", g.ViewImageComment);

  ini.SetInt("Options", "ShowExitDialog", g.ShowExitDialog);
  ini.SetInt("Options", "StartOverlay", g.StartOverlay);
  ini.SetInt("Options", "ShowToolbar", g.ShowToolbar);
  ini.SetInt("Options", "ShowStatusbar", g.ShowStatusbar);
  ini.SetInt("Options", "OsziBackColor", g.OsziBackColor);
  ini.SetInt("Options", "ExtendedShapes", g.ExtendedShapes);

  if (g.TarvosEnabled) ini.SetInt("Tarvos", "DataLinkMode", g.DataLinkMode);
  ini.SetInt("Trigger", "Mode", g.TriggerMode);
  ini.SetInt("Trigger", "Source", g.TriggerSource);

  ini.SetInt("Histogram", "Visible", g.HistogramVisible);
  ini.SetInt("Histogram", "Left", g.HistogramLeft);
  ini.SetInt("Histogram", "Top", g.HistogramTop);
  ini.SetInt("LineSetupDlg", "Left", g.LineSetupLeft);
  ini.SetInt("LineSetupDlg", "Top", g.LineSetupTop);
  ini.SetInt("eGun", "Visible", g.eGunVisible);
  ini.SetInt("eGun", "Left", g.eGunLeft);
  ini.SetInt("eGun", "Top", g.eGunTop);

  ini.SetInt("Script", "left", g.ScriptLeft);
  ini.SetInt("Script", "top", g.ScriptTop);
  ini.Set("Script", "Path", g.ScriptPath);

  ini.SetInt("Grabber", "Subtract Background", g.SubtractBackground);
  ini.Set("Grabber", "WebCamFile", g.WebCamFile);
  ini.SetInt("Grabber", "WebCamInterval", g.WebCamInterval);
}

void ReadHardwareNames() {
  Globals& g = G();
  Profile hw = Profile::Load(HardwareIniFile(host().ProgramFolder(), host().ExeName(), g.SlaveMode));
  const std::string app = UserStoreApp(host().ExeName(), g.SlaveMode);
  for (const auto& k : kHardwareKeys) {
    std::string def = hw.GetString("HARDWARE", k.key, "");
    g.*k.name = host().Store().GetSetting(app, "HARDWARE", k.key, def);
  }
}

void WriteHardwareNames() {
  const Globals& g = G();
  const std::string app = UserStoreApp(host().ExeName(), g.SlaveMode);
  for (const auto& k : kHardwareKeys) host().Store().SaveSetting(app, "HARDWARE", k.key, g.*k.name);
}

void NormaliseMainWindowRect(int screenWidth, int screenHeight) {
  Globals& g = G();
  if (g.MainLeft < 0) g.MainLeft = 0;
  if (g.MainTop < 0) g.MainTop = 0;
  if (g.MainLeft > screenWidth - 400) g.MainLeft = screenWidth - 400;
  if (g.MainTop > screenHeight - 300) g.MainTop = screenHeight - 300;
  if (g.MainWidth < 400) g.MainWidth = 400;
  if (g.MainHeight < 300) g.MainHeight = 300;
  if (g.MainLeft + g.MainWidth > screenWidth) g.MainWidth = screenWidth - g.MainLeft;
  if (g.MainTop + g.MainHeight > screenHeight) g.MainHeight = screenHeight - g.MainTop;
  if (g.MainState == 1) g.MainState = 2;  // never start minimised
}

std::string DataRoot(const std::string& userName) {
  return platform::JoinPath(host().HomeFolder(),
                            "SV4200_" + (userName.empty() ? std::string("AllUsers") : userName)) +
         "/";
}

void ReadPathes(const Profile& ini) {
  Globals& g = G();
  const std::string root = DataRoot(g.UserIniName);
  for (const auto& k : kPathKeys) {
    g.*k.path = FolderText(ini.GetString("Pathes", k.key, root + k.folder));
    // A folder that cannot be made stays absent; its dialogs start elsewhere.
    if (!(g.*k.path).empty() && !platform::FolderExists(g.*k.path))
      platform::CreateFolderChain(g.*k.path);
  }
  g.ScriptsPath = FolderText(ini.GetString("Script", "Path", ""));
}

void WritePathes(Profile& ini) {
  const Globals& g = G();
  ini.Set("Pathes", "Images", g.ImagesPath);
  ini.Set("Pathes", "Films", g.FilmsPath);
  ini.Set("Pathes", "Sheets", g.SheetsPath);
  ini.Set("Pathes", "Scripts", g.ScriptsPath);
  ini.Set("Pathes", "Export", g.ExportPath);
  ini.Set("Pathes", "Parameter", g.ParameterPath);
}

std::vector<std::string> ReadLastFiles(const Profile& ini, int count) {
  std::vector<std::string> out;
  for (int i = count; i >= 1; --i) out.push_back(ini.GetString("LastFiles", "File" + std::to_string(i), ""));
  return out;
}

void WriteLastFiles(Profile& ini, const std::vector<std::string>& files) {
  for (size_t i = 0; i < files.size(); ++i)
    ini.Set("LastFiles", "File" + std::to_string(i + 1), files[i]);
}

namespace {
void Status(MDIForm_Main* main, const std::string& text) {
  if (main)
    main->ShowStatus(text);
  else
    ShowStatus(text);
}
}  // namespace

void ReadSettings(MDIForm_Main* main) {
  Status(main, "Reading " + G().IniFile + "...");
  const Profile ini = Profile::Load(ResolveProfilePath(G().IniFile));
  // A copy, so that a section may register another while the read runs.
  const std::vector<SettingsSection> sections = SettingsSections();
  for (const auto& s : sections)
    if (s.read) s.read(ini);
  if (main)
    for (const auto& f : ReadLastFiles(ini, main->LastFileEntries())) main->UpdateLastFiles(f);
  Status(main, "");
}

void WriteSettings(MDIForm_Main* main) {
  Status(main, "Saving " + G().IniFile + "...");
  Profile ini = Profile::Load(ResolveProfilePath(G().IniFile));
  const std::vector<SettingsSection> sections = SettingsSections();
  for (const auto& s : sections)
    if (s.write) s.write(ini);
  if (main) WriteLastFiles(ini, main->LastFiles);
  SaveProfileTo(ini, G().IniFile);
  Status(main, "");
}

std::vector<std::string> DescribeSettings() {
  const Globals& g = G();
  std::vector<std::string> out;
  auto add = [&](const std::string& section, const std::string& key, const std::string& value) {
    out.push_back(section + "/" + key + "=" + value);
  };
  auto num = [&](const std::string& section, const std::string& key, long value) {
    add(section, key, std::to_string(value));
  };
  num("Main", "state", g.MainState);
  num("Main", "left", g.MainLeft);
  num("Main", "top", g.MainTop);
  num("Main", "width", g.MainWidth);
  num("Main", "height", g.MainHeight);
  num("Main", "AutoScan", g.AutoScan);
  num("Main", "Undo", g.UndoEnabled);
  num("LUT", "RainbowLUT", g.DefaultLUTtype);
  num("LUT", "Visible", g.LutVisible);
  num("LUT", "Left", g.LutLeft);
  num("LUT", "Top", g.LutTop);
  num("Video", "mode", g.VideoMode);
  num("Video", "left", g.VideoLeft);
  num("Video", "top", g.VideoTop);
  add("Video", "Path", g.VideoPath);
  add("Images", "Path", g.ImagesDialogPath);
  num("Images", "FilterIndex", g.ImagesFilterIndex);
  add("Images", "WebFilename", g.WebFilename);
  num("Images", "ViewImageComment", g.ViewImageComment);
  num("Options", "ShowExitDialog", g.ShowExitDialog);
  num("Options", "StartOverlay", g.StartOverlay);
  num("Options", "ShowToolbar", g.ShowToolbar);
  num("Options", "ShowStatusbar", g.ShowStatusbar);
  num("Options", "OsziBackColor", g.OsziBackColor);
  num("Options", "ExtendedShapes", g.ExtendedShapes);
  num("Tarvos", "DataLinkMode", g.DataLinkMode);
  num("Trigger", "Mode", g.TriggerMode);
  num("Trigger", "Source", g.TriggerSource);
  num("Histogram", "Visible", g.HistogramVisible);
  num("Histogram", "Left", g.HistogramLeft);
  num("Histogram", "Top", g.HistogramTop);
  num("LineSetupDlg", "Left", g.LineSetupLeft);
  num("LineSetupDlg", "Top", g.LineSetupTop);
  num("eGun", "Visible", g.eGunVisible);
  num("eGun", "Left", g.eGunLeft);
  num("eGun", "Top", g.eGunTop);
  add("eGun", "MinEnergyLEED", SingleText(g.MinEnergyLEED));
  add("eGun", "MaxEnergyLEED", SingleText(g.MaxEnergyLEED));
  add("eGun", "MinEnergyAUGER", SingleText(g.MinEnergyAUGER));
  add("eGun", "MaxEnergyAUGER", SingleText(g.MaxEnergyAUGER));
  num("Script", "left", g.ScriptLeft);
  num("Script", "top", g.ScriptTop);
  add("Script", "Path", g.ScriptPath);
  num("Grabber", "Subtract Background", g.SubtractBackground);
  add("Grabber", "WebCamFile", g.WebCamFile);
  num("Grabber", "WebCamInterval", g.WebCamInterval);
  add("Pathes", "Images", g.ImagesPath);
  add("Pathes", "Films", g.FilmsPath);
  add("Pathes", "Sheets", g.SheetsPath);
  add("Pathes", "Scripts", g.ScriptsPath);
  add("Pathes", "Export", g.ExportPath);
  add("Pathes", "Parameter", g.ParameterPath);
  for (const auto& k : kHardwareKeys) add("HARDWARE", k.key, g.*k.name);
  return out;
}

}  // namespace sv
