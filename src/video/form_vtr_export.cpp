#include "video/form_vtr_export.h"

#include <algorithm>
#include <charconv>

#include "core/host.h"
#include "video/film_edit.h"
#include "video/film_export.h"

namespace sv {

int Form_VTR_Export::FilterIndex = 6;

namespace {

bool ParseFrame(const std::string& text, long& v) {
  size_t b = text.find_first_not_of(' '), e = text.find_last_not_of(' ');
  if (b == std::string::npos) return false;
  const auto r = std::from_chars(text.data() + b, text.data() + e + 1, v);
  return r.ec == std::errc() && r.ptr == text.data() + e + 1;
}

bool Refuse(const std::string& text) {
  if (HasHost()) host().MsgBox(text, MsgButtons::OK, MsgIcon::Exclamation, Form_VTR_Export::kTitle);
  return false;
}

}  // namespace

Form_VTR_Export::Form_VTR_Export(long frames, long selFirst, long selLast, const std::string& film)
    : frames_(frames), selFirst_(selFirst), selLast_(selLast) {
  std::string name = film.substr(film.find_last_of('/') + 1);
  const size_t dot = name.find_last_of('.');
  filmBase_ = dot == std::string::npos ? name : name.substr(0, dot);
  Text_Filename = filmBase_;
  Text_Folder = FolderOf(film);
  Text_Log = Text_Folder + filmBase_ + ".txt";
  Text_From = "0";
  Text_To = std::to_string(std::max(0L, frames - 1));
  if (SelectionEnabled()) {
    Text_From = std::to_string(std::min(selFirst, selLast));
    Text_To = std::to_string(std::max(selFirst, selLast));
  }
  if (FilterIndex < 1 || FilterIndex > kExportFilterCount) FilterIndex = 6;
}

const std::vector<std::string>& Form_VTR_Export::Filters() {
  static const std::vector<std::string> captions = [] {
    std::vector<std::string> c;
    for (int i = 1; i <= kExportFilterCount; ++i) c.push_back(ExportFilterExtension(i));
    return c;
  }();
  return captions;
}

bool Form_VTR_Export::Command_OK() {
  Frames.clear();
  long from = 0, to = frames_ - 1;
  if (Option_Selection == kSelection) {
    if (!SelectionEnabled()) return Refuse("No frames are selected.");
    from = std::min(selFirst_, selLast_);
    to = std::max(selFirst_, selLast_);
  } else if (Option_Selection == kRange) {
    if (!ParseFrame(Text_From, from) || from < 0 || from >= frames_)
      return Refuse("From: frame 0 ... " + std::to_string(frames_ - 1) + " expected.");
    if (!ParseFrame(Text_To, to) || to < from || to >= frames_)
      return Refuse("To: frame " + std::to_string(from) + " ... " + std::to_string(frames_ - 1) +
                    " expected.");
  }
  if (FilterIndex < 1 || FilterIndex > kExportFilterCount) return Refuse("Choose an image format.");
  Base = Option_Filename == 1 ? Text_Filename : filmBase_;
  if (Base.empty() || Base.find('/') != std::string::npos) return Refuse("Enter a file name.");
  if (Check_Log && Text_Log.empty()) return Refuse("Enter the name of the log file.");
  for (long i = from; i <= to; ++i) Frames.push_back(i);
  Accepted = true;
  return true;
}

std::function<bool(Form_VTR_Export&)>& VTRExportDialog() {
  static std::function<bool(Form_VTR_Export&)> dialog;
  return dialog;
}

std::function<std::vector<std::string>(const std::string&)>& ImportNamesDialog() {
  static std::function<std::vector<std::string>(const std::string&)> dialog;
  return dialog;
}

}  // namespace sv
