// A film from images: single image files, folders of them and TIFF files of
// several pages (a frame a page). The film is written like a recording:
// header first, then frame after frame, so that a film cut off on the way
// can be mended by the header repair.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sv {

inline constexpr const char* kImportTitle = "Create Film";
inline constexpr const char* kImportFailTitle = "Import Film";
inline constexpr const char* kCycleTitle = "Cycle numbers are extracted from the filenames";
inline constexpr float kImportMinEnergy = 5.0f, kImportMaxEnergy = 1000.0f;

// One frame to import: a file, and the page of a TIFF of several pages
// (-1: the file as an image reader reads it).
struct ImportFrame {
  std::string path;
  long page = -1;
};

// The cycle number: the digits right after the last "_" of the base name.
bool CycleNumberOf(const std::string& path, long& cycle);
// By cycle number (ties by name); names without one follow, by name. Gives
// how many had none.
long SortImportNames(std::vector<std::string>& names);
// The last number in a file's name: 123.5 of "leed_123.5eV.tif", -20 of
// "bias_-20.tif".
bool EnergyFromName(const std::string& path, double& energy);
// The image files of a folder, sorted as SortImportNames sorts.
std::vector<std::string> ImagesInFolder(const std::string& folder);

// Files, folders and TIFFs of several pages to frames, in the order given.
// False, with the reason, for an input that is neither or a folder without
// images.
bool ExpandImportSources(const std::vector<std::string>& inputs, std::vector<ImportFrame>& frames,
                         std::string& error);

// The columns of an import's ".txt": one line of numbers a frame, parted by
// tabs or ";", else by ",", else by blanks (a comma inside a field is a
// decimal comma). A first
// line that is not all numbers holds the labels; without it the columns are
// "Column 1" ... Up to 32 columns; lines of another count are refused.
struct ImportColumns {
  std::vector<std::string> labels;
  std::vector<std::vector<float>> rows;
};
bool ParseImportColumns(std::string_view text, ImportColumns& columns, std::string& error);

// The answers to the energy questions: start 5 .. 1000 or 0 (not energy
// coded), step nonzero. False for a text that is no such value.
bool ParseStartEnergy(const std::string& text, float& energy);
bool ParseStepEnergy(const std::string& text, float& step);

struct ImportOptions {
  float startEnergy = 0;   // 0: not energy coded
  float stepEnergy = 0;
  bool energyFromNames = false;  // each frame's energy from its file name
  // The columns (from the film's ".txt"); empty: energy, "Cycle", "time (s)".
  ImportColumns columns;
};

struct ImportResult {
  bool ok = false;
  long frames = 0, width = 0, height = 0, bits = 0;
  bool colour = false;
  std::string error;  // what stopped the import
};

// Writes the frames to the new ".vid" `target`. Every image must have the
// size, depth and colour of the first; a mismatch stops the import with the
// comparison (shown under "Import Film"). A stop leaves the film with the
// frames written so far.
ImportResult ImportFilm(const std::vector<ImportFrame>& frames, const std::string& target,
                        const ImportOptions& options);

}  // namespace sv
