// Sweep files (".swp"): plain text, decimal numbers separated by commas or
// line ends, read to the end; no header. Each number is one sweep point: a
// time in seconds for an I(t) run, an energy in eV for an I(E) run.
//
// The reader depends on the core only, so that the fuzz target can take it
// alone.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sv {

inline constexpr const char* kSweepFileTitle = "Open Sweep File";
inline constexpr const char* kSweepFileFilter = "Sweep Files (*.swp)|*.swp|All Files (*.*)|*.*||";

// The ranges of a sweep point, ends included.
inline constexpr double kSweepTimeMin = 0, kSweepTimeMax = 86400;       // s
inline constexpr double kSweepEnergyMin = 5, kSweepEnergyMax = 1000;   // eV

// `type` below: 0 an I(t) setup (times), 1 an I(E) setup (energies), as
// ExperimentSettings::ExperimentType.

// The shortest text that reads back to the value, without exponent:
// "4.99", "86400.5", "100".
std::string SweepValueText(double value);

// Reads the points of a sweep file's text. Each good value is appended to
// `list` as text. The first bad one ends the reading: `message` gets its text
// ("Energy[3] = 1001 eV is out of range", "Time[0] = abc is not a number")
// and the list keeps what was read before it.
bool ReadSweepText(std::string_view text, int type, std::vector<std::string>& list,
                   std::string& message);

// The path a name stands for: a name without a folder is taken in the
// current folder.
std::string SweepFilePath(const std::string& name);

// Reads a sweep file into `list` (appending), with ReadSweepText's rules. A
// file that cannot be read gives "Cannot open " and its path in `message`.
bool OpenSweepFileDo(const std::string& name, int type, std::vector<std::string>& list,
                     std::string& message);

// The form's reading of a file: empties `list`, reads the file, and on
// success keeps its full path in `path` and its name without folder in
// `shortName`. On failure the message is shown (title "Open Sweep File") and
// the list, path and short name are emptied. An empty name fails silently.
bool OpenSweepFile(const std::string& name, int type, std::vector<std::string>& list,
                   std::string& path, std::string& shortName);

// The open dialog ("Open Sweep File", sweep files or all files), starting in
// the folder of `path` or else the folder last used, then OpenSweepFile.
// False when cancelled (nothing changes) or when the file is refused.
bool SweepFileOpen(int type, std::vector<std::string>& list, std::string& path,
                   std::string& shortName);

}  // namespace sv
