// The script window as a presenter: the editor's text, the listing of the
// compiled lines, the menus, the ".scr" file and the caption that shows the
// state (design, run, break). The run commands are carried out by the run
// time, which plugs itself in through `RunCommands`.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/mdi_main.h"  // MenuEntry
#include "script/script_compiler.h"

namespace sv {

// The listing: the text of each compiled line, all in one buffer.
class ScriptListing {
 public:
  size_t size() const { return ends_.size(); }
  bool empty() const { return ends_.empty(); }
  std::string_view operator[](size_t line) const {
    const size_t begin = line ? ends_[line - 1] : 0;
    return std::string_view(text_).substr(begin, ends_[line] - begin);
  }
  void clear() {
    text_.clear();
    ends_.clear();
  }
  void push_back(std::string_view line) {
    text_ += line;
    ends_.push_back(text_.size());
  }
  // A line the statement printer writes straight into the buffer.
  void Print(const CodeLine& code) {
    PrintStatement(code, text_);
    ends_.push_back(text_.size());
  }
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (size_t i = 0; i < size(); ++i) lines.emplace_back((*this)[i]);
    return lines;
  }

 private:
  std::string text_;
  std::vector<size_t> ends_;
};

// What the script window is told. Every call has a harmless default.
class ScriptView {
 public:
  virtual ~ScriptView() = default;
  virtual void EditorChanged() {}   // Text_Script was replaced by the form
  virtual void ListingChanged() {}  // lines added or cleared, the mark moved
  virtual void StateChanged() {}    // caption, menus, editor or listing in front
  virtual void ShowForm() {}        // shown and brought to the front
  virtual void HideForm() {}        // unloaded
  virtual void CaretToLine(int /*line*/) {}  // 0-based line of the editor
};

class Form_Script {
 public:
  Form_Script();
  Form_Script(const Form_Script&) = delete;
  Form_Script& operator=(const Form_Script&) = delete;

  void SetView(ScriptView* view) { view_ = view ? view : &nullView_; }

  // --- Window ---
  // Loading gives a new script at the remembered place; unloading keeps the
  // place for the next time. A loaded form may be hidden.
  void Load();
  void Unload();
  bool Loaded() const { return loaded_; }
  bool Visible() const { return visible_; }
  // Loads when needed, then shows and brings to the front.
  void Show();
  // The window was moved by the user.
  void Moved(int left, int top);
  int Left = 800, Top = 1600;
  std::string Caption = "Script [design]";

  // --- Editor and listing ---
  // The editor's text, line ends as the editor keeps them (CR LF).
  std::string Text_Script;
  bool Text_Script_Visible = true;
  // The listing: one text a compiled line.
  ScriptListing Picture_Script;
  bool Picture_Script_Visible = false;
  // A line of the listing marked by the run time (-1: none).
  int MarkedLine = -1;
  // The text typed in the editor; lone CRs and LFs become CR LF.
  void SetEditorText(const std::string& text);
  // Appends the line to the listing.
  void PrintStatement(const CodeLine& code);
  void ClearListing();
  void MarkLine(int line);
  // The editor in front, the listing hidden.
  void ShowEditor();
  // The listing in front, the editor hidden.
  void ShowListing();
  // The editor line the caret was put on after a compile error (0-based, -1: none).
  int CaretLine = -1;

  // --- Compiling ---
  ScriptCompiler Compiler;
  // Compiles the editor's text into Compiler.Code, printing each line in the
  // listing; on failure the editor comes back unchanged, the caret on the
  // failing line.
  void Compile(int& result);
  const std::vector<CodeLine>& Code() const { return Compiler.Code; }

  // --- Run state, kept for the run time ---
  int32_t ProgramCounter = -1;  // the last executed line; -1: not started or finished
  int32_t LineCount = 0;        // coded lines of the last compile
  bool ExitFlag = false;
  std::string ScriptName = "Script";  // the caption without the state mark
  // The run commands; `start` serves Run and Continue.
  struct RunCommands {
    std::function<void()> start, brk, end, restart;
  } Run;

  // --- Menus ---
  // mnuFile (mnuNew, mnuOpen, mnuSave, mnuSaveAs), mnuDEBUG
  // (mnuSetNextStatement, mnuShowNextStatement), mnuRun (mnuStart, mnuBreak,
  // mnuEnd, mnuReStart).
  MenuEntry MenuBar;
  MenuEntry* FindMenu(const std::string& name);
  bool MenuOn(const std::string& name);
  void SetMenu(const std::string& name, bool enabled);
  // A menu entry pressed; a disabled one does nothing.
  void Click(const std::string& name);
  // Enables or disables the three menus of the window.
  void MenuEnabled(bool flag);

  // --- Files ---
  std::string FileName;  // "" for a new script
  void NewScript(int& result);
  // Loads a ".scr" into the editor; result 0 when it cannot be read (the
  // script held stays).
  void OpenScript(const std::string& name, int& result);
  // Writes the editor's text with CR LF line ends; result 0 when it cannot.
  void SaveScript(const std::string& name, int& result);
  // The dialogs "Open Script" and "Save Script As"; "" when cancelled.
  std::string ScriptFileOpen();
  std::string ScriptFileSaveAs();
  void mnuNew_Click();
  void mnuOpen_Click();
  void mnuSave_Click();
  void mnuSaveAs_Click();

  // The ".scr" branch of opening a document: loads the form hidden when it
  // was not loaded (else shows it), loads the file, and starts it when
  // `runNow`; a script not started is shown. False when the file could not
  // be read.
  bool OpenDocument(const std::string& path, bool runNow);

 private:
  void BuildMenus();
  void SetCaption();
  ScriptView* view_;
  ScriptView nullView_;
  bool loaded_ = false, visible_ = false;
};

// The one script window of the process.
Form_Script& ScriptForm();
// Called whenever the form is shown: a front end creates its window here.
std::function<void(Form_Script&)>& ScriptShowHook();
// "mnuScript" and the ".scr" files of the main window.
void RegisterScriptForm(MDIForm_Main& main);

// Line ends as the editor writes them: each CR, LF, CR LF or LF CR becomes CR LF.
std::string ScriptLineEnds(const std::string& text);

}  // namespace sv
