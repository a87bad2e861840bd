// Settings: read once at start, written once at exit, in a fixed order of
// sections into which each subsystem plugs its own reader and writer.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/ini_profile.h"

namespace sv {

class MDIForm_Main;

// The places of the read and write orders. A subsystem that is not built
// simply has no entry.
enum class SettingsSlot {
  Core = 1,
  Pathes = 2,
  Grabber = 3,
  Experiment = 4,
  Line = 5,
  Film = 6,
  Window = 7,
  Interfaces = 8,
  Calibration = 9,
  FilmPlayer = 10,
};

struct SettingsSection {
  SettingsSlot slot;
  std::string name;
  std::function<void(const Profile&)> read;
  std::function<void(Profile&)> write;  // may be empty: read only
};

// The plugged-in sections, kept sorted by slot.
void RegisterSettingsSection(SettingsSection section);
void ClearSettingsSections();  // back to the core's own two
const std::vector<SettingsSection>& SettingsSections();

// The ini file for a user name and program folder: the full path when that
// file exists, else the bare name.
std::string FormIniFile(const std::string& programFolder, const std::string& userName);
// The hardware ini file: program folder + exe name (+ "_Slave") + ".ini".
std::string HardwareIniFile(const std::string& programFolder, const std::string& exeName,
                            bool slave);
// The application key of the per-user store.
std::string UserStoreApp(const std::string& exeName, bool slave);

// The core table.
void ReadGeneralSettings(const Profile& ini);
void WriteGeneralSettings(Profile& ini);
// The four hardware names: hardware ini file, then the per-user store.
void ReadHardwareNames();
void WriteHardwareNames();
// The main window rectangle rules, applied to G() against the screen.
void NormaliseMainWindowRect(int screenWidth, int screenHeight);
// Default data folders, with their folder chains made where missing.
std::string DataRoot(const std::string& userName);
void ReadPathes(const Profile& ini);
void WritePathes(Profile& ini);
// Last files: read from the last key to the first, written in order. The
// values come back in the order read ("File" + count first, "File1" last), so
// that feeding each to MDIForm_Main::UpdateLastFiles leaves "File1" on top.
std::vector<std::string> ReadLastFiles(const Profile& ini, int count);
void WriteLastFiles(Profile& ini, const std::vector<std::string>& files);

// The whole read and write, with their status-line texts.
void ReadSettings(MDIForm_Main* main);
void WriteSettings(MDIForm_Main* main);

// Every effective core-table value, one "Section/Key=value" line each.
std::vector<std::string> DescribeSettings();

}  // namespace sv
