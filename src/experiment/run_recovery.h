// Runs that ended without their sheet being saved (a crash, a killed
// process) leave their journal in the worksheet folder. At start the
// workbench offers to rebuild each such sheet from its journal; the command
// line rebuilds one on request.
#pragma once

#include <string>
#include <vector>

namespace sv {

class MDIForm_Main;

inline constexpr const char* kRecoverTitle = "Recover Experiment";

// The journals ("*.sht.jnl" and any other "*.jnl") in a folder that no
// running process holds, sorted by name.
std::vector<std::string> UnlockedJournals(const std::string& folder);

// Where a recovered sheet goes: the journal's own sheet path (the journal's
// path without ".jnl") when no file is there, else the first free one of
// NAME_recovered.sht, NAME_recovered2.sht, ...
std::string RecoveredSheetPath(const std::string& journalPath);

// For each unlocked journal in the default worksheet folder: asks (title
// "Recover Experiment", Yes/No) naming the sheet and its rows; Yes rebuilds
// the sheet as a new worksheet of the main window, saves it under
// RecoveredSheetPath and, once saved, deletes the journal. No keeps the
// journal for the next start (or for "svbatch recover"). An empty journal
// (a run killed before its first line) is deleted without asking; a file
// that is no journal is left alone.
void OfferRunRecovery(MDIForm_Main& main);

}  // namespace sv
