// The export dialog of the film player: which frames (all, the tagged
// ones, or a range), the names' stem, the image format and the log.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace sv {

class Form_VTR_Export {
 public:
  static constexpr const char* kTitle = "Export Frames";
  enum { kAll = 0, kSelection = 1, kRange = 2 };

  // frames: the film's frame count; selFirst/selLast the tags (-1: none);
  // film: the film's path, whose folder and base name are proposed.
  Form_VTR_Export(long frames, long selFirst, long selLast, const std::string& film);

  int Option_Selection = kAll;  // kAll, kSelection (only with tags) or kRange
  std::string Text_From, Text_To;
  // 0: the names take the film's base name; 1: the one in Text_Filename.
  int Option_Filename = 0;
  std::string Text_Filename;
  std::string Text_Folder;  // where the images go
  bool Check_Log = false;
  std::string Text_Log;     // the log's path
  // 1 .. 9: ".tif", ".bmp", ".jpg", ".img", ".raw", ".t16", ".b16", ".r16",
  // ".fts"; kept between calls.
  static int FilterIndex;
  static const std::vector<std::string>& Filters();  // the captions, by FilterIndex - 1
  bool SelectionEnabled() const { return selFirst_ >= 0 && selLast_ >= 0; }

  // Checks the fields: false after a message naming the field at fault (the
  // dialog stays); else the frames and the names are in the results.
  bool Command_OK();
  void Command_Cancel() { Accepted = false; }

  bool Accepted = false;
  std::vector<long> Frames;  // the frames to write
  std::string Base;          // the names' stem

 private:
  long frames_, selFirst_, selLast_;
  std::string filmBase_;
};

// How the dialog is shown: true for OK. Empty (no front end): cancelled.
std::function<bool(Form_VTR_Export&)>& VTRExportDialog();
// The image names of the import, several at once: the front end's
// multi-select open dialog. Empty: the host's open dialog, one file or
// folder.
std::function<std::vector<std::string>(const std::string& folder)>& ImportNamesDialog();

}  // namespace sv
