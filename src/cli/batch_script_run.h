// svbatch script: runs a script on the headless main window, over the images
// and sheets given, and writes what is left open into a folder.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch script FILE.scr [INPUT ...] [--out DIR] [--filter N]. Status 0
// when the run ends (last line, End, Stop, Exit), 1 after a compile or
// run-time error (with "FILE.scr:N: message" on the output), 130 after
// Ctrl-C, 2 for a bad command line.
int ScriptRunCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
std::string ScriptRunUsage();

// The names the documents left open are written under in the output
// folder: the file name without folder, or for a new document its caption
// and `extension`; a name met before gets "-2", "-3", ... before its
// extension (letter case not counted).
std::string UniqueOutputName(const std::string& name, std::vector<std::string>& taken);

// True when a line of the script's text starts with the statement Capture
// (the grabber is brought up only for such a script).
bool ScriptUsesCapture(const std::string& text);

}  // namespace sv::cli
