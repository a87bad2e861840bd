// Running a script: a million lines of assignments, comments and empty lines
// beside a plain loop over the same steps that calls the same event pump,
// tests the same break sign and switches on a code; at most 50 times that.
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "cli/batch_host.h"
#include "harness.h"
#include "script/form_script.h"
#include "script/script_runtime.h"

namespace {

constexpr int kLines = 1000000;

sv::cli::BatchHost& BenchHost() {
  static sv::cli::BatchHost host(std::cerr);
  return host;
}

std::string RunText() {
  std::string text = "Dim a\r\n";
  for (int n = 1; n < kLines; ++n) {
    switch (n % 3) {
      case 0: text += "a = 5\r\n"; break;
      case 1: text += "// the next step\r\n"; break;
      default: text += "\r\n"; break;
    }
  }
  return text;
}

// The script window with the million lines compiled once.
sv::Form_Script& CompiledForm() {
  static sv::Form_Script* form = [] {
    sv::cli::HostScope scope(&BenchHost());
    auto* f = new sv::Form_Script();
    f->Load();
    f->SetEditorText(RunText());
    int result = 0;
    f->Compile(result);
    if (!result || f->LineCount != kLines) std::abort();
    return f;
  }();
  return *form;
}

void Execute() {
  sv::cli::HostScope scope(&BenchHost());
  sv::Form_Script& form = CompiledForm();
  static sv::ScriptRunTime run(form);
  form.ProgramCounter = -1;
  int result = 0;
  run.Execute(result);
  if (!result || form.ProgramCounter != -1) std::abort();
}

// The same steps without the interpreter: the pump, the break sign and a
// switch on a code a line.
void PlainLoop() {
  sv::cli::HostScope scope(&BenchHost());
  sv::Form_Script& form = CompiledForm();
  static const std::vector<int> codes = [] {
    std::vector<int> c;
    for (const sv::CodeLine& line : CompiledForm().Code()) c.push_back(sv::CodeKind(line, 1));
    return c;
  }();
  form.SetMenu("mnuStart", false);
  long steps = 0;
  for (size_t i = 0; i < codes.size(); ++i) {
    sv::host().DoEvents();
    if (form.MenuOn("mnuStart")) break;
    switch (codes[i]) {
      case sv::kCodeStatement: steps += 1; break;
      case sv::kCodeVariable: steps += 2; break;
      default: std::abort();
    }
  }
  form.SetMenu("mnuStart", true);
  svbench::Use(&steps);
}

}  // namespace

SVBENCH_ROWS(ScriptRunRows) {
  // The memcpy column copies the script's text once.
  const size_t bytes = RunText().size();
  const std::string loop = "plain loop: pump, break sign, switch (1,000,000 lines)";
  svbench::Kernel(loop, bytes, [] { PlainLoop(); });
  const std::string run = "Execute (1,000,000 lines: assignments, comments, empty)";
  svbench::Kernel(run, bytes, [] { Execute(); });
  svbench::TargetAgainst(run, loop, 50.0);
}
