// The script run time: runs the coded lines of the script window one by
// one, with the event pump before each statement, so that Break, End and the
// other commands are heard between statements. Three states show in the
// caption: design, run and break. A run-time error stops the run at the
// failing statement; Continue tries it again.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "script/script_tokens.h"

namespace sv {

class Form_Camera;
class Form_Script;
class Form_Worksheet;
class MDIForm_Main;

class ScriptRunTime {
 public:
  // Plugs the run commands into the form's menus (Run, Break, End,
  // ReStart); the destructor takes them out again.
  explicit ScriptRunTime(Form_Script& form);
  ~ScriptRunTime();
  ScriptRunTime(const ScriptRunTime&) = delete;
  ScriptRunTime& operator=(const ScriptRunTime&) = delete;

  Form_Script& Form() { return form_; }

  // --- Where statements act ---
  // The main window of the documents (MainForm() when nullptr).
  MDIForm_Main* Main = nullptr;
  // The folder relative file names of OpenImage resolve against ("": the
  // process's current folder).
  std::string BaseFolder;
  // Relative names resolve against the folder of the script's file instead,
  // when the script has one (the workbench, which has no current folder the
  // user sees).
  bool BaseOnScriptFile = false;
  // Asked before each statement and while a Delay waits: true stops the run
  // as End does, and a Delay at once (Ctrl-C in svbatch).
  std::function<bool()> Interrupted;
  // True when the last run ended because Interrupted said so.
  bool WasInterrupted() const { return interrupted_; }

  // --- The run ---
  // Run and Continue: compiles afresh, then Execute. Result 1 when the run
  // ended well; after a failed statement the counter steps back one line, so
  // that Continue repeats it. "Exit" unloads the window, else it comes to
  // the front.
  void RunScript(int& result);
  // The interpreter loop from the line after ProgramCounter.
  void Execute(int& result);
  // Shows "Run time error:" CRLF CRLF + message under "SV4200 Script" and
  // marks the line in the listing.
  void RunTimeError(const std::string& message);
  // The message and 0-based line of the last run-time error ("", -1: none
  // since the last Run or Continue).
  std::string ErrorMessage;
  int ErrorLine = -1;
  // True when the last Run or Continue stopped at a compile error.
  bool CompileFailed = false;

  // --- Commands ---
  void mnuStart_Click();
  // Enables Run, disables Break and End, and enters Execute again: the inner
  // run starts where the outer one began, runs to its end and leaves Run
  // enabled, which the outer loop takes as its sign to stop.
  void mnuBreak_Click();
  // As Break, with the counter past the last line first: both runs end, in
  // state design.
  void mnuEnd_Click();
  // From the first line.
  void mnuReStart_Click();

  // --- Lookup ---
  // The image or sheet named by a window caption; an empty name stands for
  // the caption of the document in front. Missing: the run-time error
  // `Image "name" not found` (`Worksheet ...`), false.
  bool GetImageForm(const std::string& name, Form_Camera*& form);
  bool GetWorksheetForm(const std::string& name, Form_Worksheet*& form);
  // Enables or disables the script window's menus.
  void MenuEnabled(bool flag);

  // --- One operation a statement: 1 to go on, 0 to stop ---
  int Script_CAPTURE();
  int Script_EDGE(const std::string& name);
  int Script_OPENIMAGE(const std::string& name);
  int Script_CLOSEIMAGE(const std::string& name);
  int Script_RESIZEIMAGE(const std::string& name, int32_t width, int32_t height);
  int Script_BINARIZEIMAGE(const std::string& name, int32_t lower, int32_t upper);
  int Script_NEGATIVEIMAGE(const std::string& name);
  int Script_PARTICLEDETECT(const std::string& name);
  int Script_PARTICLEEROSION(const std::string& name, int32_t neighbourhood);
  int Script_PARTICLEDILATATION(const std::string& name, int32_t neighbourhood);
  int Script_WORKSHEETSORT(const std::string& name, int32_t first, int32_t second);
  // No statement leads here yet.
  int Script_PARTICLEDRAW(const std::string& name);

  // Statements run since this object was made (for tests and benchmarks).
  int64_t StatementsRun = 0;

 private:
  MDIForm_Main* MainWindow() const;
  // Runs line `line`. Returns 1 to go on, 0 for a failure; `stop` set ends
  // the loop well (Stop, Exit), `end` ends it in state design (End).
  int RunLine(const CodeLine& code, bool& stop, bool& end);
  void Delay(int32_t ms);
  int ParticleMinArea(float minArea);
  int ParticleWorksheet();
  bool Wanted() const { return Interrupted && Interrupted(); }

  Form_Script& form_;
  int depth_ = 0;             // Execute calls under way
  bool endRequested_ = false; // mnuEnd pressed inside a run: the outer runs end too
  bool interrupted_ = false;
  int line_ = -1;             // the line being run
};

// The run time of the workbench's one script window (ScriptForm()), with
// relative names against the script's folder. Made on first use.
ScriptRunTime& WorkbenchScriptRunTime();

}  // namespace sv
