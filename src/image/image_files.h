// Still image files: detection by content, the readers and the writers of the
// twelve save filters, and the open and save commands of the image document.
#pragma once

#include <cstdint>
#include <string>

namespace sv {

class Form_Camera;
class MDIForm_Main;

// The save filters, by index 1 to 12.
inline constexpr int kImageFilterCount = 12;
// "TIFF - 8 Bit" ... "ASCII: X(), Y(), Z()"; "(unknown)" for any other index.
std::string ImageFilterText(int filter);
// ".tif" ... ".dat"; "" for any other index.
std::string ImageFilterExtension(int filter);
// The filter an extension stands for (".dat" gives 11); 0 when none.
int ImageFilterForPath(const std::string& path);
// The dialogs' filter strings, "text|patterns|..." as FileDialog takes them.
std::string ImageOpenDialogFilter();
std::string ImageSaveDialogFilter();

// The file's kind by its first bytes: 1 TIFF ("II" and 42), 2 BMP ("BM"),
// 7 B16 ("PCO-"), 4 ITEX ("IM"), 3 anything else (tried as JPEG). 0 when the
// file cannot be read. The opener reads a kind-3 file that starts with
// another TIFF mark (big-endian, BigTIFF) through libtiff, and a kind-1 file
// the built-in reader does not take as well.
int GetImageFileType(const std::string& path);

// Readers. Each sets LoadOK at its start and leaves it false when it fails or
// is stopped; the result is LoadOK. The image is left as the reader found it
// until the file has proved readable, then resized and filled.
bool LoadTIF(Form_Camera& image, const std::string& path);
// True when LoadTIF takes the file: its first directory makes a picture of
// that reader (little-endian, uncompressed strips, 8 or 9 to 16 bits, grey,
// palette or RGB). Shows nothing.
bool TiffBuiltInTakes(const std::string& path);
bool LoadBMP(Form_Camera& image, const std::string& path);
bool LoadB16(Form_Camera& image, const std::string& path);
bool LoadIMG(Form_Camera& image, const std::string& path);
bool LoadJPG(Form_Camera& image, const std::string& path);

// Writers; false on a write error (the file is closed). `filter` picks the
// flavour where a writer serves two.
bool SaveTIF(Form_Camera& image, const std::string& path, int filter);
bool SaveBMP(Form_Camera& image, const std::string& path);
bool SaveJPG(Form_Camera& image, const std::string& path);
bool SaveIMG(Form_Camera& image, const std::string& path, int filter);
bool SaveRAW(Form_Camera& image, const std::string& path, int filter);
bool SaveB16(Form_Camera& image, const std::string& path);
bool SaveFTS(Form_Camera& image, const std::string& path);
bool SaveASC(Form_Camera& image, const std::string& path, int filter);

// Opens a file into the image: close, detect, read, forget undo and the
// changed mark, remember the name and the last files; a failed read leaves
// the image closed. True when the image holds the file.
bool ImageOpenDo(Form_Camera& image, const std::string& path);
// Writes the image through a filter; a write error shows "Error writing " +
// path, titled "Save Image". On success the image takes the name and filter.
bool ImageSaveDo(Form_Camera& image, const std::string& path, int filter);
// Saves under the image's name and filter; without a name, as FileSaveAs.
bool FileSave(Form_Camera& image);
// Asks for a name and a filter, then saves.
bool FileSaveAs(Form_Camera& image);
// Asks for a file and opens it in a new image; false when none was opened.
bool FileOpen(MDIForm_Main& main);

// What svbatch image-info reports.
struct ImageFileInfo {
  int type = 0;
  long width = 0, height = 0, bits = 0;
  bool colour = false;
  std::string comment;
  long xPelsPerMeter = 0, yPelsPerMeter = 0;
  // "built-in", or "libtiff" for the TIFF files of other programs.
  std::string reader;
  // What the reader has to tell: that a file has more pages than the one
  // read, or, after a failure, why libtiff could not read it.
  std::string note;
};
bool ReadImageFileInfo(const std::string& path, ImageFileInfo& info);

// Wires the open and save commands into the main window: "mnuOpenImage" and
// the opener that OpenDocument uses.
void RegisterImageFiles(MDIForm_Main& main);

}  // namespace sv
