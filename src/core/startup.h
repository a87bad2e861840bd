// Start-up and the end of the process: the steps of Main in their order, the
// command-line switches, the grey table.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sv {

class MDIForm_Main;

// The switches as start-up reads them: a blank in front, upper case, and the
// pattern searched with its own blank where it has one.
struct CommandLineSwitches {
  bool Use3D = false;     // "/3D "
  bool Background = true; // no "/B"
  bool Reset = false;     // "/RESET "
  bool Slave = false;     // "/SLAVE"
  bool T16 = false;       // "/T16 "
  bool F = false;         // "/F "
  bool NoOverlay = false; // "/NOOVERLAY"
  bool L = false;         // "/L"
};
CommandLineSwitches ParseSwitches(const std::string& commandLine);
// Searches the upper-cased line with a blank in front and behind.
bool HasSwitch(const std::string& commandLine, const std::string& pattern);
// The first word, up to the first blank (a word in double quotes runs to the
// closing quote), with its quotes stripped.
std::string FirstWord(const std::string& commandLine);
// The rest of the line behind the first word.
std::string RestOfLine(const std::string& commandLine);
// argv joined with blanks; a word with a blank in it is put in double quotes.
std::string JoinArguments(const std::vector<std::string>& args);

// Each number against its own minimum: at least 2, 2 and 10.
bool KernelVersionAccepted(uint8_t major, uint8_t minor, uint8_t patch);
std::string KernelVersionMessage(uint8_t major, uint8_t minor, uint8_t patch);

// The grey value of every RGB555 word, the top bit ignored.
std::vector<uint16_t> BuildRGBtoGrey();

// What start-up asks of the layers above the core. Each is optional: a
// subsystem that is not built leaves its entry empty and its step is skipped.
struct StartupEnvironment {
  // The kernel's version bytes; nothing when the kernel cannot be called.
  std::function<std::optional<std::array<uint8_t, 3>>(std::string& error)> kernelVersion;
  // True when the kernel and its JPEG library can be used.
  std::function<bool()> kernelLoad;
  // Steps 18 to 21, each returning OK and allowed to fail.
  std::function<bool(const std::string& name)> grabberInit, ioInit, daInit, adInit;
  // Step 22: the background image, loaded from the reference file.
  std::function<void()> backgroundImage;
  // Step 26.
  std::function<bool()> grabberHasOverlay;
  // The name the grabber's failure message shows for a driver name; the name
  // itself when empty.
  std::function<std::string(const std::string& name)> grabberDisplayName;
};

StartupEnvironment& Environment();

// Runs the start-up steps on a main window that is not yet shown. False when
// the start must end (its message has been shown).
bool Main(MDIForm_Main& main, const std::string& commandLine);
// The last steps of Unload, after the main window agreed to close.
void UnloadMain(MDIForm_Main& main);

}  // namespace sv
