#include "script/script_runtime.h"

#include "core/host.h"
#include "core/mdi_main.h"
#include "hardware/wait.h"
#include "script/form_script.h"
#include "script/script_compiler.h"

namespace sv {

ScriptRunTime::ScriptRunTime(Form_Script& form) : form_(form) {
  form_.Run.start = [this] { mnuStart_Click(); };
  form_.Run.brk = [this] { mnuBreak_Click(); };
  form_.Run.end = [this] { mnuEnd_Click(); };
  form_.Run.restart = [this] { mnuReStart_Click(); };
}

ScriptRunTime::~ScriptRunTime() { form_.Run = {}; }

MDIForm_Main* ScriptRunTime::MainWindow() const { return Main ? Main : MainForm(); }

void ScriptRunTime::MenuEnabled(bool flag) { form_.MenuEnabled(flag); }

void ScriptRunTime::RunTimeError(const std::string& message) {
  ErrorMessage = message;
  ErrorLine = line_;
  form_.MarkLine(line_);
  host().MsgBox("Run time error:\r\n\r\n" + message, MsgButtons::OK, MsgIcon::Exclamation,
                kScriptTitle);
}

// --- The run -------------------------------------------------------------------

void ScriptRunTime::RunScript(int& result) {
  result = 0;
  ErrorMessage.clear();
  ErrorLine = -1;
  CompileFailed = false;
  interrupted_ = false;
  host().SetBusy(true);
  MenuEnabled(false);
  int compiled = 0;
  form_.Compile(compiled);
  CompileFailed = !compiled;
  if (compiled) {
    // While the script runs the pointer is the normal one: the menus answer.
    MenuEnabled(true);
    host().SetBusy(false);
    Execute(result);
    // Continue repeats the statement that failed.
    if (!result) form_.ProgramCounter -= 1;
  }
  MenuEnabled(true);
  host().SetBusy(false);
  if (form_.ExitFlag) form_.Unload();
  else form_.Show();
}

void ScriptRunTime::Execute(int& result) {
  result = 1;
  ++depth_;
  form_.ExitFlag = false;
  form_.Caption = form_.ScriptName + " [run]";
  form_.SetMenu("mnuStart", false);
  form_.SetMenu("mnuBreak", true);
  form_.SetMenu("mnuEnd", true);
  form_.SetMenu("mnuReStart", false);
  form_.ShowListing();

  // Only Run compiles, and Run is disabled while a run is under way.
  const std::vector<CodeLine>& code = form_.Code();
  const int64_t count = form_.LineCount < static_cast<int32_t>(code.size())
                            ? form_.LineCount
                            : static_cast<int64_t>(code.size());
  int64_t position = static_cast<int64_t>(form_.ProgramCounter) + 1;
  if (position < 0) position = 0;
  for (; position < count; ++position) {
    host().DoEvents();
    if (Wanted()) {
      // Ctrl-C: the run ends before this statement, as End ends it.
      interrupted_ = true;
      position = form_.LineCount;
      break;
    }
    // Run enabled by now is the sign of a break.
    if (form_.MenuOn("mnuStart")) {
      if (endRequested_) position = form_.LineCount;
      break;
    }
    // A script opened and run from inside the pump has ended by now (Run is
    // enabled again, caught above); the lines are checked all the same.
    if (position >= static_cast<int64_t>(code.size())) break;
    line_ = static_cast<int>(position);
    bool stop = false, end = false;
    const int ok = RunLine(code[static_cast<size_t>(position)], stop, end);
    ++StatementsRun;
    if (!ok) {
      result = 0;
      if (ErrorLine < 0) ErrorLine = line_;  // a line that stopped without a message
      break;
    }
    if (end) {
      position = form_.LineCount;
      break;
    }
    if (stop) break;
  }
  if (position >= form_.LineCount) position = -1;
  form_.ProgramCounter = static_cast<int32_t>(position);
  if (MenuEntry* start = form_.FindMenu("mnuStart")) start->enabled = true;
  if (position == -1) {
    form_.Caption = form_.ScriptName + " [design]";
    if (MenuEntry* start = form_.FindMenu("mnuStart")) start->caption = "&Run";
    form_.SetMenu("mnuBreak", false);
    form_.SetMenu("mnuEnd", false);
    form_.SetMenu("mnuReStart", false);
  } else {
    form_.Caption = form_.ScriptName + " [break]";
    if (MenuEntry* start = form_.FindMenu("mnuStart")) start->caption = "&Continue";
    form_.SetMenu("mnuBreak", false);
    form_.SetMenu("mnuEnd", true);
    form_.SetMenu("mnuReStart", true);
  }
  --depth_;
  if (depth_ == 0) endRequested_ = false;
  // The listing stays in front; this tells the window of the new state.
  form_.ShowListing();
}

int ScriptRunTime::RunLine(const CodeLine& code, bool& stop, bool& end) {
  const int32_t kind = CodeKind(code, 1);
  if (kind == kCodeVariable) {
    // An assignment: checked, and without effect (a variable only reserves
    // its name). A line of another shape stops the run dead.
    return CodeKind(code, 3) == kCodeAssign ? 1 : 0;
  }
  if (kind != kCodeStatement) return CodeCount(code) == 0 ? 1 : 0;
  const std::string& name = CodeText(code, 2);
  const std::string& a1 = CodeText(code, kCodeArg1);
  switch (form_.Compiler.Tokens().Find(name.data(), name.size())) {
    case kTokEmpty:
    case kTokComment:
    case kTokDim:
      return 1;
    case kTokStop:
      stop = true;
      return 1;
    case kTokExit:
      form_.ExitFlag = true;
      stop = true;
      return 1;
    case kTokEnd:
      end = true;
      return 1;
    case kTokDelay:
      Delay(CodeLong(code, kCodeArg1));
      // Ctrl-C ended the wait: the run ends here, as End ends it.
      if (Wanted()) {
        interrupted_ = true;
        end = true;
      }
      return 1;
    case kTokCapture:
      return Script_CAPTURE();
    case kTokEdge:
      return Script_EDGE(a1);
    case kTokOpenImage:
      return Script_OPENIMAGE(a1);
    case kTokCloseImage:
      return Script_CLOSEIMAGE(a1);
    case kTokResizeImage:
      return Script_RESIZEIMAGE(a1, CodeLong(code, kCodeArg2), CodeLong(code, kCodeArg3));
    case kTokBinarizeImage:
      return Script_BINARIZEIMAGE(a1, CodeLong(code, kCodeArg2), CodeLong(code, kCodeArg3));
    case kTokNegativeImage:
      return Script_NEGATIVEIMAGE(a1);
    case kTokParticleDetect:
      return Script_PARTICLEDETECT(a1);
    case kTokParticleMinArea:
      return ParticleMinArea(CodeSingle(code, kCodeArg1));
    case kTokParticleWorksheet:
      return ParticleWorksheet();
    case kTokCloseImages:
      if (MDIForm_Main* main = MainWindow()) main->UnloadImages();
      return 1;
    case kTokCloseWorksheets:
      if (MDIForm_Main* main = MainWindow()) main->UnloadSheets();
      return 1;
    case kTokWorksheetSort:
      return Script_WORKSHEETSORT(a1, CodeLong(code, kCodeArg2), CodeLong(code, kCodeArg3));
    case kTokParticleErosion:
      return Script_PARTICLEEROSION(a1, CodeLong(code, kCodeArg2));
    case kTokParticleDilatation:
      return Script_PARTICLEDILATATION(a1, CodeLong(code, kCodeArg2));
    default:
      // A statement the run time does not know: a fault of this program.
      RunTimeError("Internal error: " + name);
      return 0;
  }
}

void ScriptRunTime::Delay(int32_t ms) {
  // A negative time waits as long as 0: not at all.
  if (ms <= 0 || Wanted()) return;
  WaitWhile(nullptr, [this] { return Wanted(); }, host().TimeGetTime(),
            static_cast<uint32_t>(ms));
}

// --- Commands --------------------------------------------------------------------

void ScriptRunTime::mnuStart_Click() {
  int result = 0;
  RunScript(result);
}

void ScriptRunTime::mnuBreak_Click() {
  form_.SetMenu("mnuStart", true);
  form_.SetMenu("mnuBreak", false);
  form_.SetMenu("mnuEnd", false);
  int result = 0;
  Execute(result);
}

void ScriptRunTime::mnuEnd_Click() {
  form_.ProgramCounter = form_.LineCount;
  if (depth_ > 0) endRequested_ = true;
  mnuBreak_Click();
}

void ScriptRunTime::mnuReStart_Click() {
  form_.ProgramCounter = -1;
  mnuStart_Click();
}

ScriptRunTime& WorkbenchScriptRunTime() {
  static ScriptRunTime* run = [] {
    auto* r = new ScriptRunTime(ScriptForm());  // lives as long as the process
    r->BaseOnScriptFile = true;
    return r;
  }();
  return *run;
}

}  // namespace sv
