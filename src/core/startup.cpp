#include "core/startup.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>

#include "core/first_start.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/ini_profile.h"
#include "core/mdi_main.h"
#include "core/platform/platform.h"
#include "core/settings.h"

namespace sv {

namespace {

std::string Upper(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::toupper(c); });
  return s;
}

void Fatal(const std::string& text) {
  host().MsgBox(text, MsgButtons::OK, MsgIcon::Critical, G().AppTitle);
}

// A failed interface: its message, and the system goes on without it.
// The name is read after the init, which may have normalised or cleared it.
bool BringUp(const std::function<bool(const std::string&)>& init, const std::string& name,
             const std::string& message, const std::string& device,
             const std::function<std::string(const std::string&)>& displayName = nullptr) {
  if (!init) return false;
  const bool ok = init(name);
  if (!ok && !name.empty())
    host().MsgBox(message + "\r\n" + device + ":" + (displayName ? displayName(name) : name),
                  MsgButtons::OK, MsgIcon::Exclamation, G().AppTitle);
  return ok;
}

}  // namespace

bool HasSwitch(const std::string& commandLine, const std::string& pattern) {
  // A blank in front and one behind, so that a pattern that ends in a blank
  // also finds the last word of the line.
  std::string line(1, ' ');
  line.append(Upper(commandLine));
  line.push_back(' ');
  return line.find(Upper(pattern)) != std::string::npos;
}

CommandLineSwitches ParseSwitches(const std::string& commandLine) {
  CommandLineSwitches s;
  s.Use3D = HasSwitch(commandLine, "/3D ");
  s.Background = !HasSwitch(commandLine, "/B");
  s.Reset = HasSwitch(commandLine, "/RESET ");
  s.Slave = HasSwitch(commandLine, "/SLAVE");
  s.T16 = HasSwitch(commandLine, "/T16 ");
  s.F = HasSwitch(commandLine, "/F ");
  s.NoOverlay = HasSwitch(commandLine, "/NOOVERLAY");
  s.L = HasSwitch(commandLine, "/L");
  return s;
}

namespace {
// Where the first word ends: the first blank, or behind the closing quote
// when the line begins with one.
size_t FirstWordEnd(const std::string& line) {
  if (!line.empty() && line[0] == '"') {
    size_t close = line.find('"', 1);
    if (close != std::string::npos) return close + 1;
  }
  size_t blank = line.find(' ');
  return blank == std::string::npos ? line.size() : blank;
}
}  // namespace

std::string FirstWord(const std::string& commandLine) {
  std::string word = commandLine.substr(0, FirstWordEnd(commandLine));
  if (word.size() >= 2 && word.front() == '"' && word.back() == '"')
    word = word.substr(1, word.size() - 2);
  return word;
}

std::string RestOfLine(const std::string& commandLine) {
  size_t end = FirstWordEnd(commandLine);
  return end < commandLine.size() ? commandLine.substr(end + 1) : "";
}

std::string JoinArguments(const std::vector<std::string>& args) {
  std::string line;
  for (const auto& a : args) {
    if (!line.empty()) line += ' ';
    line += a.find(' ') != std::string::npos ? "\"" + a + "\"" : a;
  }
  return line;
}

bool KernelVersionAccepted(uint8_t major, uint8_t minor, uint8_t patch) {
  // Each number against its own minimum, independently of the others.
  return major >= 2 && minor >= 2 && patch >= 10;
}

std::string KernelVersionMessage(uint8_t major, uint8_t minor, uint8_t patch) {
  return "Version of SV4200.DLL (" + std::to_string(major) + "." + std::to_string(minor) + "." +
         std::to_string(patch) + ") is too old.\r\nUpdate with version 2.2.10";
}

std::vector<uint16_t> BuildRGBtoGrey() {
  std::vector<uint16_t> table(65536);
  const double blue = static_cast<double>(0.11f);  // the single-precision weight, as it always was
  for (int r = 0; r < 32; ++r)
    for (int g = 0; g < 32; ++g)
      for (int b = 0; b < 32; ++b) {
        double v = 255.0 * r / 31 * 0.3 + 255.0 * g / 31 * 0.59 + 255.0 * b / 31 * blue;
        auto grey = static_cast<uint16_t>(std::nearbyint(v));
        int index = (r << 10) | (g << 5) | b;
        table[index] = grey;
        table[index | 0x8000] = grey;
      }
  return table;
}

StartupEnvironment& Environment() {
  static StartupEnvironment env;
  return env;
}

bool Main(MDIForm_Main& main, const std::string& commandLine) {
  Globals& g = G();
  StartupEnvironment& env = Environment();
  const CommandLineSwitches sw = ParseSwitches(commandLine);
  g.CommandLine = commandLine;
  g.SlaveMode = sw.Slave;
  g.NoBackground = !sw.Background;
  const std::string exe = host().ExeName();

  // 1. The per-user debug switch.
  std::string debug =
      host().Store().GetSetting(UserStoreApp(exe, g.SlaveMode), "SV4200", "DebugMode", "0");
  g.DebugMode = Upper(debug) == "TRUE" || ProfileTextToInt(debug) != 0;

  // 2, 3.
  g.Use3D = sw.Use3D;
  g.VideoMarker = "\r\nVIDEO";

  // 4. Work in the program's folder; the home folder when that fails.
  const std::string programFolder = host().ProgramFolder();
  if (chdir(programFolder.c_str()) != 0) {
    if (chdir(host().HomeFolder().c_str()) != 0) {
      // Nowhere to go: stay where the process was started.
    }
  }

  // 5. The free-space service every recorder relies on.
  if (host().FreeDiskSpace(programFolder) < 0) {
    Fatal("Cannot read the free disk space of " + programFolder);
    return false;
  }

  // 6. The kernel's version, each number against its own minimum.
  if (env.kernelVersion) {
    std::string error;
    auto v = env.kernelVersion(error);
    if (!v) {
      Fatal(error.empty() ? "SV4200.DLL or IJL11.DLL not found!" : error);
      return false;
    }
    if (!KernelVersionAccepted((*v)[0], (*v)[1], (*v)[2])) {
      Fatal(KernelVersionMessage((*v)[0], (*v)[1], (*v)[2]));
      return false;
    }
  }
  // 7.
  if (env.kernelLoad && !env.kernelLoad()) {
    Fatal("SV4200.DLL or IJL11.DLL not found!");
    return false;
  }

  // 8, 9.
  g.RGBtoGrey = BuildRGBtoGrey();
  main.Load();

  // 10. The ini file.
  g.UserIniName = host().UserName();
  g.IniFile = FormIniFile(programFolder, g.UserIniName);
  // Asked before the read, which may leave files behind; "/RESET" is never
  // a first start.
  g.FirstStart = !sw.Reset && IsFirstStart(g.IniFile, UserStoreApp(exe, g.SlaveMode));

  // 11.
  ReadSettings(&main);
  const ScreenSize screen = host().Screen();
  NormaliseMainWindowRect(screen.width, screen.height);

  // 12. The options.
  main.FindMenu("mnuShowToolbar")->checked = g.ShowToolbar != 0;
  main.FindMenu("mnuShowStatusBar")->checked = g.ShowStatusbar != 0;
  main.FindMenu("mnuShowImageComment")->checked = g.ViewImageComment != 0;
  main.View()->ToolbarVisible(g.ShowToolbar != 0);
  main.View()->StatusbarVisible(g.ShowStatusbar != 0);

  // 13.
  MenuEntry* avgHist = main.FindMenu("mnuAvgHist");
  if (!avgHist->visible) g.NoiseReduction = false;
  avgHist->checked = g.NoiseReduction;

  // 14. The help file beside the program.
  g.HelpPath = platform::JoinPath(programFolder, exe + ".htm");
  main.FindMenu("mnuHelp")->visible = platform::FileExists(g.HelpPath);

  // 15. The way out when a driver hangs the machine.
  if (sw.Reset) {
    g.GrabberName.clear();
    g.IOName.clear();
    g.DAName.clear();
    g.ADName.clear();
  }
  // A first start works on the simulated devices; the choice is saved at
  // exit like any other.
  const SimulatedChoice simulated = ChooseSimulatedDevices(StartKind::Workbench, g.FirstStart, sw.Reset);

  // 16, 17.
  main.ShowStatus(g.AppTitle + " uses " + g.IniFile);
  main.View()->SetWindowRect(g.MainState, g.MainLeft, g.MainTop, g.MainWidth, g.MainHeight);
  main.View()->ShowMain();

  // 18 to 21: each interface on its own, each allowed to fail.
  g.GrabberOK = BringUp(env.grabberInit, g.GrabberName, "Cannot initialize Grabber Interface",
                        "Grabber", env.grabberDisplayName);
  g.IOOK = BringUp(env.ioInit, g.IOName, "Cannot initialize I/O-Interface", "Digital I/O") ? -1 : 0;
  g.DAOK = BringUp(env.daInit, g.DAName, "Cannot initialize D/A-Interface", "D/A-Converter") ? -1 : 0;
  g.ADOK = BringUp(env.adInit, g.ADName, "Cannot initialize A/D-Interface", "A/D-Converter") ? -1 : 0;

  // 22. The hidden background image.
  g.BackgroundValid = false;
  if (sw.Background) {
    if (ChildDocument* bg = main.CreateImage()) {
      g.BackgroundValid = true;
      g.BackgroundImageHandle = bg->Handle();
      if (env.backgroundImage) env.backgroundImage();
    }
  }

  // 23. The timer resolution needs nothing here: the clock is already fine-grained.

  // 24. The file named on the command line.
  const std::string word = FirstWord(commandLine);
  if (!word.empty()) {
    main.ShowStatus(exe + ".exe " + commandLine);
    main.OpenDocument(word, 1);
  }

  // 25. The histogram of the live picture comes back only with a grabber.
  g.HistogramVisible = 0;

  // 26.
  if (g.StartOverlay && g.GrabberOK && env.grabberHasOverlay && env.grabberHasOverlay())
    main.Click("mnuOverlay");
  // A first start shows the simulated screen at work and says where the real
  // hardware is chosen.
  if (g.FirstStart && g.GrabberOK) {
    main.Click("mnuPreview");
    if (simulated.Any() || g.GrabberName == kSimulatedGrabber) main.ShowStatus(kFirstStartHint);
  }
  main.UpdateToolbarState();
  return true;
}

void UnloadMain(MDIForm_Main& /*main*/) {
  G().RGBtoGrey.clear();
  G().RGBtoGrey.shrink_to_fit();
}

}  // namespace sv
