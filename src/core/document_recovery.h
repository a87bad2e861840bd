// Documents with unsaved changes when the system ends the session (a signal,
// the desktop logging out): they are written to the recovery folder under
// their names, and the next start offers them back.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/document.h"

namespace sv {

class MDIForm_Main;

inline constexpr const char* kRecoverDocumentsTitle = "Recover Documents";

// The per-user folder that keeps them: ConfigFolder() + "/recovery", or
// "/recovery_Slave" for the second instance of "/SLAVE".
std::string RecoveryFolder();

// How one kind of document is kept: the file name it goes under (its name
// with the extension it is written with) and the writer, false on failure.
// Writers must not ask or show anything: the session is ending.
struct RecoveryWriter {
  std::function<std::string(ChildDocument&)> fileName;
  std::function<bool(ChildDocument&, const std::string& path)> write;
};
void SetRecoveryWriter(DocKind kind, RecoveryWriter writer);
void ClearRecoveryWriters();

// A path in `folder` for `name` that names no file yet: the name itself, or
// NAME_2.ext, NAME_3.ext, ...
std::string FreePath(const std::string& folder, const std::string& name);

// Writes every changed document of the main window that its kind can write
// into the recovery folder. Returns the paths written; a document that could
// not be written is told on standard error (no box: nobody is there to
// answer).
std::vector<std::string> SaveForRecovery(MDIForm_Main& main);

// The files in the recovery folder, sorted by name.
std::vector<std::string> RecoveredFiles();

// When the recovery folder holds files: asks once (title "Recover
// Documents", Yes/No) naming them. Yes moves each into its data folder
// (images to the images folder, sheets to the worksheet folder, under a free
// name) and opens it there; No keeps them for the next start. A file that
// cannot be moved or opened stays in (or goes back to) the recovery folder.
void OfferDocumentRecovery(MDIForm_Main& main);

}  // namespace sv
