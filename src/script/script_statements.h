// What the statements of a script need beyond the run loop: finding a
// document by the name a script gives it, and which files OpenImage opens.
#pragma once

#include <string>

namespace sv {

class ChildDocument;
class MDIForm_Main;

// True when `name` names the document: equal, without regard to case, to
// its caption, to its caption without the changed mark, or, for an image
// read from a file, to that file's name with or without its folder.
bool ScriptNameMatches(const ChildDocument& doc, const std::string& name);

// The first image (`images`) or sheet of the main window, in the order they
// were made, that `name` names; the hidden background image never.
ChildDocument* FindScriptDocument(MDIForm_Main& main, const std::string& name, bool images);

// True for the file names the main window opens as images.
bool ScriptImageFile(const std::string& path);

// `path` against `folder` when it is relative and a folder is given.
std::string ScriptResolvePath(const std::string& folder, const std::string& path);

}  // namespace sv
