#include "experiment/run_recovery.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "experiment/run_journal.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

bool Exists(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0;
}

bool EmptyFile(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && st.st_size == 0;
}

std::string FileName(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string RowsText(long rows) { return std::to_string(rows) + (rows == 1 ? " row" : " rows"); }

std::string Question(const std::string& journalPath, const JournalContents& j,
                     const std::string& target) {
  std::string text = "The experiment sheet " + FileName(target) + " was not saved.\r\n" +
                     "Its journal " + FileName(journalPath) + " holds " +
                     RowsText(static_cast<long>(j.rows.size())) + ".";
  const std::string notes = JournalReadNotes(j);
  if (!notes.empty()) text += "\r\n(" + notes + ".)";
  text += "\r\n\r\nRecover the sheet? (No keeps the journal for later.)";
  return text;
}

void Recover(MDIForm_Main& main, const std::string& journalPath, const JournalContents& j,
             const std::string& target) {
  auto* sheet = dynamic_cast<Form_Worksheet*>(main.CreateWorksheet());
  if (!sheet) return;
  if (!RebuildSheet(j, *sheet)) {
    host().MsgBox("The journal " + FileName(journalPath) +
                      " does not fit into a worksheet; it is kept.",
                  MsgButtons::OK, MsgIcon::Exclamation, kRecoverTitle);
    main.CloseChild(sheet->Handle());
    return;
  }
  sheet->Filename(target);
  // SaveWorksheet tells its own failure; the journal stays until the sheet
  // is on disk.
  if (sheet->SaveWorksheet(target) == 0) ::unlink(journalPath.c_str());
  main.ShowChild(sheet->Handle());
}

}  // namespace

std::vector<std::string> UnlockedJournals(const std::string& folder) {
  std::vector<std::string> found;
  std::error_code ec;
  if (folder.empty() || !std::filesystem::is_directory(folder, ec)) return found;
  for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::filesystem::path& p = it->path();
    if (p.extension() != kJournalExtension || !it->is_regular_file(ec)) continue;
    if (!JournalLocked(p.string())) found.push_back(p.string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::string RecoveredSheetPath(const std::string& journalPath) {
  const std::string ext = kJournalExtension;
  std::string sheet = journalPath;
  if (sheet.size() > ext.size() && sheet.compare(sheet.size() - ext.size(), ext.size(), ext) == 0)
    sheet.resize(sheet.size() - ext.size());
  if (!Exists(sheet)) return sheet;
  std::string stem = sheet, tail = ".sht";
  const size_t dot = sheet.find_last_of('.');
  const size_t slash = sheet.find_last_of('/');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) {
    stem = sheet.substr(0, dot);
    tail = sheet.substr(dot);
  }
  for (int n = 1;; ++n) {
    const std::string candidate =
        stem + "_recovered" + (n == 1 ? std::string() : std::to_string(n)) + tail;
    if (!Exists(candidate)) return candidate;
  }
}

void OfferRunRecovery(MDIForm_Main& main) {
  for (const std::string& path : UnlockedJournals(G().SheetsPath)) {
    if (EmptyFile(path)) {
      ::unlink(path.c_str());  // killed before its header: nothing to recover
      continue;
    }
    std::string error;
    const auto journal = ReadJournal(path, error);
    if (!journal) continue;  // not ours to touch
    const std::string target = RecoveredSheetPath(path);
    if (host().MsgBox(Question(path, *journal, target), MsgButtons::YesNo, MsgIcon::Question,
                      kRecoverTitle) != MsgResult::Yes)
      continue;
    Recover(main, path, *journal, target);
  }
}

}  // namespace sv
