// The player's editing operations. Each writes a new film and never
// touches the one it reads; the file work is in film_edit.h, film_import.h
// and film_export.h, shared with svbatch.
#include <algorithm>
#include <filesystem>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "core/platform/platform.h"
#include "video/film_edit.h"
#include "video/film_export.h"
#include "video/film_files.h"
#include "video/film_import.h"
#include "video/form_soft_vtr.h"
#include "video/form_vtr_export.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {

namespace {

constexpr const char* kDeleteTitle = "Delete Frames";
constexpr const char* kSortTitle = "Sort Film";
constexpr const char* kAppendTitle = "Append Film";
constexpr const char* kSaveTitle = "Save Film";
constexpr const char* kResizeTitle = "Resizing Film";
constexpr const char* kRenameTitle = "Rename Film";

void Tell(const std::string& text, const std::string& title) {
  host().MsgBox(text, MsgButtons::OK, MsgIcon::Exclamation, title);
}

bool Ask(const std::string& text, const std::string& title) {
  return host().MsgBox(text, MsgButtons::YesNo, MsgIcon::Question, title) == MsgResult::Yes;
}

bool SameFile(const std::string& a, const std::string& b) {
  std::error_code ec;
  return a == b || std::filesystem::equivalent(a, b, ec);
}

// Sheets made without a main window (headless use) live here.
std::vector<std::unique_ptr<Form_Worksheet>>& OwnSheets() {
  static std::vector<std::unique_ptr<Form_Worksheet>> sheets;
  return sheets;
}

}  // namespace

// --- Deleting ------------------------------------------------------------------------------------

bool Form_SoftVTR::DeleteFrames(const std::vector<int32_t>& mask) {
  if (!IsOpen()) return false;
  long count = 0;
  for (long i = 0; i < Frames && size_t(i) < mask.size(); ++i)
    if (mask[size_t(i)] == kDeleteFrame) ++count;
  if (count == 0) return false;
  if (count >= Frames) {
    Tell("All frames would be deleted.", kDeleteTitle);
    return false;
  }
  const std::string source = Filename();
  // 1.
  std::string target = FreeSiblingName(source, ".vid");
  // 2.
  if (!Ask("Are you sure to delete " + std::to_string(count) + " Frames?", kDeleteTitle)) return false;
  // 3.
  int filter = 1;
  if (!SaveFilmDialog(kDeleteTitle, target, filter, true)) return false;
  if (SameFile(source, target)) {
    Tell("Error writing " + target, kDeleteTitle);
    return false;
  }
  // 4.
  host().SetBusy(true);
  EditStopScope stop(BreakFlag);
  const FilmEditResult r = DeleteFilmFrames(source, mask, target);
  host().SetBusy(false);
  if (!r.ok) {
    if (!r.stopped) Tell("Error writing " + target, kDeleteTitle);
    return false;
  }
  // 5.
  CloseVideo();
  return OpenVideo(target);
}

void Form_SoftVTR::mnuDeleteFrame() {
  if (!IsOpen()) return;
  std::vector<int32_t> mask(size_t(Frames), 0);
  if (CurrentFrame >= 0 && CurrentFrame < Frames) mask[size_t(CurrentFrame)] = kDeleteFrame;
  DeleteFrames(mask);
}

void Form_SoftVTR::mnuDeleteSel() {
  if (!IsOpen() || !HasSelection()) return;
  std::vector<int32_t> mask(size_t(Frames), 0);
  for (long i = std::max(0L, SelLow()); i <= std::min(SelHigh(), Frames - 1); ++i)
    mask[size_t(i)] = kDeleteFrame;
  DeleteFrames(mask);
}

void Form_SoftVTR::mnuDelete2ndFrame() {
  if (!IsOpen()) return;
  // Every second frame goes: 1, 3, 5, ...; the first stays.
  std::vector<int32_t> mask(size_t(Frames), 0);
  for (long i = 1; i < Frames; i += 2) mask[size_t(i)] = kDeleteFrame;
  DeleteFrames(mask);
}

void Form_SoftVTR::mnuDeleteFramesFromFile() {
  if (!IsOpen()) return;
  const std::string list = FolderOf(Filename()) + kSelectionFile;
  std::string text;
  if (!platform::FileExists(list) || !ReadSmallTextFile(list, text)) {
    Tell("File \"" + list + "\" not found", kDeleteTitle);
    return;
  }
  std::vector<int32_t> mask(size_t(Frames), 0);
  if (ParseSelectionList(text, mask) == 0) {
    Tell("No frame of the film is listed in " + list, kDeleteTitle);
    return;
  }
  DeleteFrames(mask);
}

// --- Sorting and appending ---------------------------------------------------------------------

bool Form_SoftVTR::SortVID(const std::string& source, const std::string& target) {
  if (IsVideoFile(source) != 1) {
    Tell(source + " is not a valid Film File", kSortTitle);
    return false;
  }
  if (SameFile(source, target)) {
    Tell("Error writing " + target, kSortTitle);
    return false;
  }
  VideoHeader header;
  uint32_t lo = 0, hi = 0;
  ReadVideoHeader(source, header, lo, hi);
  const std::string list = FolderOf(source) + kFrameListFile;
  std::string text, error;
  std::vector<long> order;
  if (!platform::FileExists(list) || !ReadSmallTextFile(list, text)) {
    Tell("File \"" + list + "\" not found", kSortTitle);
    return false;
  }
  if (!ParseFrameList(text, header.NumberOfPictures, order, error)) {
    Tell(list + ": " + error, kSortTitle);
    return false;
  }
  host().SetBusy(true);
  EditStopScope stop(BreakFlag);
  const FilmEditResult r = SortFilm(source, order, target);
  host().SetBusy(false);
  if (!r.ok && !r.stopped) Tell(r.error, kSortTitle);
  return r.ok;
}

bool Form_SoftVTR::AppendVID(const std::string& file1, const std::string& file2,
                             const std::string& target) {
  if (SameFile(file1, target) || SameFile(file2, target)) {
    Tell("Error writing " + target, kAppendTitle);
    return false;
  }
  host().SetBusy(true);
  EditStopScope stop(BreakFlag);
  const FilmEditResult r = AppendFilms(file1, file2, target);
  host().SetBusy(false);
  if (!r.ok && !r.stopped) Tell(r.error, kAppendTitle);
  return r.ok;
}

// --- Merging -----------------------------------------------------------------------------------

bool Form_SoftVTR::MergeVideo(const std::string& file1, int type, const std::string& file2,
                              const std::string& target) {
  if (SameFile(file1, target) || SameFile(file2, target)) {
    Tell("Error merging videos", "Merge Video");
    return false;
  }
  host().SetBusy(true);
  EditStopScope stop(BreakFlag);
  const bool ok = sv::MergeVideo(file1, type, file2, target);
  host().SetBusy(false);
  return ok;
}

void Form_SoftVTR::mnuMergeVideo() {
  if (!IsOpen()) return;
  const std::string file1 = Filename();
  FileDialog dlg;
  dlg.title = "Merge";
  dlg.filter = kOpenFilmFilter;
  dlg.folder = FolderOf(file1);
  const FileDialogResult second = host().OpenFileDialog(dlg);
  if (second.path.empty()) return;
  int type = IsAVI() ? 2 : 1;
  std::string target = MergeTargetName(file1, second.path, type);
  if (!SaveFilmDialog("Merge Video", target, type, true)) return;
  if (MergeVideo(file1, type, second.path, target)) {
    CloseVideo();
    OpenVideo(target);
  }
}

// --- Import ------------------------------------------------------------------------------------

bool Form_SoftVTR::Import(const std::vector<std::string>& names) {
  if (names.empty()) return false;
  ImportOptions options;
  // 1.
  for (;;) {
    const std::optional<std::string> a = host().InputBox(
        "Enter Start Energy? (eV)\r\n(5 ... 1000 or 0 = not energy coded)", kImportTitle, "5");
    if (!a) return false;
    if (ParseStartEnergy(*a, options.startEnergy)) break;
    Tell("Invalid energy value!", kImportTitle);
  }
  // 2.
  while (options.startEnergy != 0) {
    const std::optional<std::string> a =
        host().InputBox("Enter Step Energy? (eV)\r\n(<0 or >0)", kImportTitle, "1");
    if (!a) return false;
    if (ParseStepEnergy(*a, options.stepEnergy)) break;
    Tell("Invalid energy value!", kImportTitle);
  }
  std::vector<ImportFrame> frames;
  std::string error;
  if (!ExpandImportSources(names, frames, error)) {
    Tell(error, kImportFailTitle);
    return false;
  }
  std::string target = FreeSiblingName(names.front(), ".vid");
  int filter = 1;
  if (!SaveFilmDialog(kImportTitle, target, filter, true)) return false;
  if (filter != 1 || IsAviName(target)) target = target.substr(0, target.size() - 4) + ".vid";
  // 3. Numbers for the frames from the film's ".txt".
  const std::string txt = target.substr(0, target.size() - 4) + ".txt";
  std::string text;
  if (platform::FileExists(txt) && ReadSmallTextFile(txt, text) &&
      !ParseImportColumns(text, options.columns, error)) {
    Tell(txt + ": " + error, kImportFailTitle);
    return false;
  }
  // 4., 5.
  host().SetBusy(true);
  EditStopScope stop(BreakFlag);
  const ImportResult r = ImportFilm(frames, target, options);
  host().SetBusy(false);
  if (!r.ok) {
    Tell(r.error, kImportFailTitle);
    if (r.frames == 0) return false;
  }
  CloseVideo();
  return OpenVideo(target) && r.ok;
}

void Form_SoftVTR::mnuImport() {
  const std::string folder = IsOpen() ? FolderOf(Filename()) : G().ImagesPath;
  std::vector<std::string> names;
  if (ImportNamesDialog()) {
    names = ImportNamesDialog()(folder);
  } else {
    FileDialog dlg;
    dlg.title = kImportTitle;
    dlg.filter = "Images (*.tif;*.t16;*.bmp;*.b16;*.jpg;*.img;*.i16)|*.tif;*.tiff;*.t16;*.bmp;*.b16;*.jpg;*.jpeg;*.img;*.i16|all files (*.*)|*.*|";
    dlg.folder = folder;
    const FileDialogResult r = host().OpenFileDialog(dlg);
    if (!r.path.empty()) names.push_back(r.path);
  }
  if (names.empty()) return;
  if (SortImportNames(names) > 0 &&
      host().MsgBox("Some of the selected filenames does not include a valid cycle number.\r\nContinue?",
                    MsgButtons::YesNo, MsgIcon::Question, kCycleTitle) != MsgResult::Yes)
    return;
  Import(names);
}

// --- Export and worksheet ----------------------------------------------------------------------

void Form_SoftVTR::mnuExport() {
  if (!IsOpen() || !VTRExportDialog()) return;
  Form_VTR_Export form(Frames, SelFirst, SelLast, Filename());
  if (!VTRExportDialog()(form) || !form.Accepted) return;
  ExportRequest request;
  request.frames = form.Frames;
  request.folder = form.Text_Folder;
  request.base = form.Base;
  request.imageFilter = ExportImageFilter(Form_VTR_Export::FilterIndex);
  if (form.Check_Log) request.logPath = form.Text_Log;
  // The film object of the player reads; the frame on show is read again after.
  host().SetBusy(true);
  EditStopScope stop(BreakFlag);
  const ExportResult r = ExportFilmFrames(*Video(), request);
  host().SetBusy(false);
  if (!r.ok && !r.stopped) Tell(r.error, Form_VTR_Export::kTitle);
  ShowFrame(CurrentFrame);
}

bool Form_SoftVTR::CreateWorksheet(const std::string& name) {
  if (!IsOpen()) return false;
  ShowStatus("Creating Worksheet");
  Form_Worksheet* sheet = nullptr;
  if (MDIForm_Main* main = MainForm()) sheet = NewWorksheet(*main);
  if (!sheet) {
    OwnSheets().push_back(std::make_unique<Form_Worksheet>(nullptr));
    sheet = OwnSheets().back().get();
  }
  const bool ok = FillFilmWorksheet(*Video(), *sheet);
  sheet->Filename(FreeSiblingName(name.empty() ? Filename() : name, ".sht"));
  ShowFrame(CurrentFrame);
  return ok;
}

// --- Resize and save as ------------------------------------------------------------------------

bool Form_SoftVTR::Resize(long width, long height) {
  if (!IsOpen()) return false;
  const std::string source = Filename();
  std::string target = FreeSiblingName(source, ".vid");
  int filter = IsAVI() ? 2 : 1;
  if (IsAVI()) target = target.substr(0, target.size() - 4) + ".avi";
  if (!SaveFilmDialog(kSaveTitle, target, filter, true)) return false;
  if (SameFile(source, target)) {
    Tell("Error writing " + target, kResizeTitle);
    return false;
  }
  ShowStatus("Writing video file...");
  host().SetBusy(true);
  EditStopScope stop(BreakFlag);
  const FilmEditResult r = ResizeFilm(source, target, width, height);
  host().SetBusy(false);
  if (!r.ok) {
    if (!r.stopped) Tell("Error writing " + target, kResizeTitle);
    return false;
  }
  // The copy may take the old name; the old film is then replaced.
  std::string open = target;
  const bool sameKind = IsAviName(source) == IsAviName(target);
  if (sameKind && Ask("Rename " + target + " to " + source + "?", kRenameTitle)) {
    CloseVideo();
    std::error_code ec;
    std::filesystem::rename(target, source, ec);
    if (ec)
      Tell("Error writing " + source, kRenameTitle);
    else
      open = source;
  } else {
    CloseVideo();
  }
  return OpenVideo(open);
}

bool Form_SoftVTR::VideoSaveAs() {
  if (!IsOpen()) return false;
  const std::string source = Filename();
  int filter = IsAVI() ? 2 : 1;
  std::string target = FreeSiblingName(source, IsAVI() ? ".avi" : ".vid");
  if (!SaveFilmDialog(kSaveTitle, target, filter, true)) return false;
  if (SameFile(source, target)) {
    Tell("Error writing " + target, kSaveTitle);
    return false;
  }
  host().SetBusy(true);
  EditStopScope stop(BreakFlag);
  const FilmEditResult r = CopyFilm(source, target, 0, -1);
  host().SetBusy(false);
  if (!r.ok) {
    if (!r.stopped) Tell(r.error, kSaveTitle);
    return false;
  }
  return true;
}

}  // namespace sv
