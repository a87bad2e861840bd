#include "script/form_script.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "core/globals.h"
#include "core/host.h"

namespace sv {

namespace {

constexpr const char* kFilter = "SV4200 Script Files (*.scr)|*.scr|All Files (*.*)|*.*|";
constexpr const char* kNewName = "Script1.scr";

MenuEntry Item(const std::string& name, const std::string& caption,
               const std::string& shortcut = "") {
  MenuEntry e;
  e.name = name;
  e.caption = caption;
  e.shortcut = shortcut;
  return e;
}

MenuEntry* Find(MenuEntry& e, const std::string& name) {
  if (e.name == name) return &e;
  for (MenuEntry& c : e.children)
    if (MenuEntry* f = Find(c, name)) return f;
  return nullptr;
}

std::string ShortName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace

std::string ScriptLineEnds(const std::string& text) {
  std::string out;
  out.reserve(text.size() + text.size() / 16);
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c != '\r' && c != '\n') {
      out += c;
      continue;
    }
    out += "\r\n";
    if (i + 1 < text.size()) {
      const char d = text[i + 1];
      if ((c == '\r' && d == '\n') || (c == '\n' && d == '\r')) ++i;
    }
  }
  return out;
}

Form_Script::Form_Script() : view_(&nullView_) { BuildMenus(); }

void Form_Script::BuildMenus() {
  MenuBar = MenuEntry{};
  MenuBar.name = "MenuBar";
  MenuEntry file = Item("mnuFile", "&File");
  file.children = {Item("mnuNew", "&New"), Item("mnuOpen", "&Open..."), Item("mnuSave", "&Save"),
                   Item("mnuSaveAs", "Save &As...")};
  MenuEntry debug = Item("mnuDEBUG", "&Debug");
  debug.children = {Item("mnuSetNextStatement", "Set &Next Statement"),
                    Item("mnuShowNextStatement", "Show Ne&xt Statement")};
  MenuEntry run = Item("mnuRun", "&Run");
  run.children = {Item("mnuStart", "&Run", "F5"), Item("mnuBreak", "&Break"),
                  Item("mnuEnd", "&End"), Item("mnuReStart", "Re&Start")};
  MenuBar.children = {std::move(file), std::move(debug), std::move(run)};
}

MenuEntry* Form_Script::FindMenu(const std::string& name) { return Find(MenuBar, name); }

bool Form_Script::MenuOn(const std::string& name) {
  MenuEntry* e = FindMenu(name);
  return e && e->enabled;
}

void Form_Script::SetMenu(const std::string& name, bool enabled) {
  if (MenuEntry* e = FindMenu(name)) e->enabled = enabled;
}

void Form_Script::MenuEnabled(bool flag) {
  SetMenu("mnuFile", flag);
  SetMenu("mnuDEBUG", flag);
  SetMenu("mnuRun", flag);
  view_->StateChanged();
}

void Form_Script::Click(const std::string& name) {
  MenuEntry* e = FindMenu(name);
  if (!e || !e->enabled) return;
  // An entry under a closed menu cannot be reached either.
  for (const MenuEntry& top : MenuBar.children)
    if (Find(const_cast<MenuEntry&>(top), name) && !top.enabled) return;
  if (name == "mnuNew") mnuNew_Click();
  else if (name == "mnuOpen") mnuOpen_Click();
  else if (name == "mnuSave") mnuSave_Click();
  else if (name == "mnuSaveAs") mnuSaveAs_Click();
  else if (name == "mnuStart") { if (Run.start) Run.start(); }
  else if (name == "mnuBreak") { if (Run.brk) Run.brk(); }
  else if (name == "mnuEnd") { if (Run.end) Run.end(); }
  else if (name == "mnuReStart") { if (Run.restart) Run.restart(); }
  // mnuSetNextStatement and mnuShowNextStatement are there without effect.
}

// --- Window ------------------------------------------------------------------

void Form_Script::Load() {
  if (loaded_) return;
  loaded_ = true;
  Left = G().ScriptLeft;
  Top = G().ScriptTop;
  BuildMenus();
  Compiler.InitToken();
  Compiler.InitVariable();
  Compiler.Code.clear();
  Compiler.LineCount = 0;
  LineCount = 0;
  ClearListing();
  ShowEditor();
  int result = 0;
  NewScript(result);
}

void Form_Script::Unload() {
  if (!loaded_) return;
  G().ScriptLeft = Left;
  G().ScriptTop = Top;
  loaded_ = false;
  visible_ = false;
  view_->HideForm();
}

void Form_Script::Show() {
  Load();
  visible_ = true;
  if (ScriptShowHook()) ScriptShowHook()(*this);
  view_->ShowForm();
}

void Form_Script::Moved(int left, int top) {
  Left = left;
  Top = top;
  G().ScriptLeft = left;
  G().ScriptTop = top;
}

// --- Editor and listing --------------------------------------------------------

void Form_Script::SetEditorText(const std::string& text) { Text_Script = ScriptLineEnds(text); }

void Form_Script::PrintStatement(const CodeLine& code) {
  Picture_Script.Print(code);
}

void Form_Script::ClearListing() {
  Picture_Script.clear();
  MarkedLine = -1;
  view_->ListingChanged();
}

void Form_Script::MarkLine(int line) {
  MarkedLine = line;
  view_->ListingChanged();
}

void Form_Script::ShowEditor() {
  Text_Script_Visible = true;
  Picture_Script_Visible = false;
  view_->StateChanged();
}

void Form_Script::ShowListing() {
  Picture_Script_Visible = true;
  Text_Script_Visible = false;
  view_->StateChanged();
}

void Form_Script::Compile(int& result) {
  ClearListing();
  ShowListing();
  CaretLine = -1;
  Compiler.OnLine = [this](int, const CodeLine& code) { PrintStatement(code); };
  bool failed = false;
  Compiler.OnFailure = [this, &failed] {
    // The editor comes to the front before the message shows.
    if (failed) return;
    failed = true;
    ShowEditor();
  };
  Compiler.Compile(Text_Script, result);
  Compiler.OnLine = nullptr;
  Compiler.OnFailure = nullptr;
  LineCount = Compiler.LineCount;
  view_->ListingChanged();
  if (!result) {
    if (!failed) ShowEditor();
    CaretLine = Compiler.LineCount - 1;
    view_->CaretToLine(CaretLine);
  }
}

// --- Files -------------------------------------------------------------------

void Form_Script::SetCaption() {
  Caption = ScriptName + " [design]";
  view_->StateChanged();
}

void Form_Script::NewScript(int& result) {
  Text_Script.clear();
  ProgramCounter = -1;
  if (MenuEntry* start = FindMenu("mnuStart")) {
    start->enabled = true;
    start->caption = "&Run";
  }
  SetMenu("mnuBreak", false);
  SetMenu("mnuEnd", false);
  SetMenu("mnuReStart", false);
  FileName.clear();
  ScriptName = "Script";
  MarkedLine = -1;
  SetCaption();
  view_->EditorChanged();
  result = 1;
}

void Form_Script::OpenScript(const std::string& name, int& result) {
  result = 0;
  // Opening for input proves the file is there and readable.
  std::error_code ec;
  if (std::filesystem::is_directory(name, ec)) return;
  std::ifstream in(name, std::ios::binary);
  if (!in) return;
  std::string text;
  const uintmax_t size = std::filesystem::file_size(name, ec);
  if (!ec && size < (uintmax_t(1) << 31)) {
    text.resize(size_t(size));
    in.read(text.data(), std::streamsize(size));
    text.resize(size_t(in.gcount()));
    in.clear();
  }
  // What the size did not tell (a pipe, a file that grew) is read on.
  char buffer[1 << 14];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0)
    text.append(buffer, size_t(in.gcount()));
  if (in.bad()) return;
  NewScript(result);
  Text_Script = std::move(text);
  FileName = name;
  ScriptName = ShortName(name) + " - Script";
  SetCaption();
  view_->EditorChanged();
  result = 1;
}

void Form_Script::SaveScript(const std::string& name, int& result) {
  result = 0;
  std::ofstream out(name, std::ios::binary | std::ios::trunc);
  if (!out) return;
  out << ScriptLineEnds(Text_Script);
  out.close();
  if (!out) return;
  FileName = name;
  ScriptName = ShortName(name) + " - Script";
  SetCaption();
  result = 1;
}

std::string Form_Script::ScriptFileOpen() {
  FileDialog dlg;
  dlg.title = "Open Script";
  dlg.filter = kFilter;
  dlg.folder = G().ScriptPath;
  FileDialogResult r = host().OpenFileDialog(dlg);
  if (!r.path.empty()) G().ScriptPath = FolderOf(r.path);
  return r.path;
}

std::string Form_Script::ScriptFileSaveAs() {
  FileDialog dlg;
  dlg.title = "Save Script As";
  dlg.filter = kFilter;
  dlg.folder = G().ScriptPath;
  dlg.fileName = FileName.empty() ? std::string(kNewName) : ShortName(FileName);
  FileDialogResult r = host().SaveFileDialog(dlg);
  std::string path = r.path;
  if (path.empty()) return path;
  // The default extension: a name without one gets ".scr".
  if (ShortName(path).find('.') == std::string::npos) path += ".scr";
  G().ScriptPath = FolderOf(path);
  return path;
}

void Form_Script::mnuNew_Click() {
  int result = 0;
  NewScript(result);
}

void Form_Script::mnuOpen_Click() {
  const std::string name = ScriptFileOpen();
  if (name.empty()) return;
  int result = 0;
  OpenScript(name, result);
  if (!result)
    host().MsgBox("Error loading " + name, MsgButtons::OK, MsgIcon::Exclamation, "Open Script");
}

void Form_Script::mnuSave_Click() {
  if (FileName.empty()) return mnuSaveAs_Click();
  int result = 0;
  SaveScript(FileName, result);
  if (!result)
    host().MsgBox("Error saving " + FileName, MsgButtons::OK, MsgIcon::Exclamation, "Save Script");
}

void Form_Script::mnuSaveAs_Click() {
  const std::string name = ScriptFileSaveAs();
  if (name.empty()) return;
  int result = 0;
  SaveScript(name, result);
  if (!result)
    host().MsgBox("Error saving " + name, MsgButtons::OK, MsgIcon::Exclamation,
                  "Save Script As");
}

bool Form_Script::OpenDocument(const std::string& path, bool runNow) {
  if (loaded_) Show();
  else Load();
  int result = 0;
  OpenScript(path, result);
  if (!result) {
    host().MsgBox("Error loading " + path, MsgButtons::OK, MsgIcon::Exclamation, "Open Script");
    return false;
  }
  if (runNow) Click("mnuStart");
  else Show();
  return true;
}

// --- The one form --------------------------------------------------------------

Form_Script& ScriptForm() {
  static Form_Script* form = new Form_Script();  // lives as long as the process
  return *form;
}

std::function<void(Form_Script&)>& ScriptShowHook() {
  static std::function<void(Form_Script&)> hook;
  return hook;
}

void RegisterScriptForm(MDIForm_Main& main) {
  main.SetCommand("mnuScript", [](int) { ScriptForm().Show(); });
  main.ScriptOpenDo = [](const std::string& path, bool runNow) {
    return ScriptForm().OpenDocument(path, runNow);
  };
}

}  // namespace sv
