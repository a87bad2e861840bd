// Any bytes as a script: the compiler ends with every line coded or with one
// compile message of its own, at the line where it stopped.
#include <cstdint>
#include <string>

#include "fuzz_host.h"
#include "script/script_compiler.h"

namespace {

using svfuzz::Check;
using svfuzz::EndsWith;
using svfuzz::StartsWith;

// The compiler's own messages.
bool KnownMessage(const std::string& m) {
  static const char* fixed[] = {"Syntax error", "Missing argument", "Argument type mismatch",
                                "Expected: Identifier", "Expected: =", "Expected: \"",
                                "Expected: (", "Expected: )", "Expected: ,", "Expected:  "};
  for (const char* f : fixed)
    if (m == f) return true;
  if (StartsWith(m, "Duplicate declaration: ")) return true;
  return StartsWith(m, "\"") && EndsWith(m, "\": Sub or Function not defined");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static svfuzz::FuzzHost fuzzHost("sv_fuzz_script");
  sv::SetHost(&fuzzHost);
  fuzzHost.Clear();
  const std::string text(reinterpret_cast<const char*>(data), size);

  size_t lines = 0;
  for (size_t pos = 0; pos < text.size(); ++lines) sv::ScriptCompiler::GetCommandLine(text, pos);

  sv::ScriptCompiler compiler;
  int result = -1;
  compiler.Compile(text, result);
  Check(result == 0 || result == 1, "the result is 0 or 1");
  Check(compiler.Code.size() == size_t(compiler.LineCount), "one coded line a line read");
  if (result == 1) {
    Check(fuzzHost.messages.empty(), "a message on success");
    Check(size_t(compiler.LineCount) == lines, "every line compiled");
    for (const sv::CodeLine& code : compiler.Code) {
      const int n = sv::CodeCount(code);
      Check(n >= 2 && n % 2 == 0 && code.size() == size_t(n) + 1, "the count fits the pairs");
      Check(sv::CodeKind(code, 1) == sv::kCodeStatement || sv::CodeKind(code, 1) == sv::kCodeVariable,
            "a line starts with a statement or a name");
    }
  } else {
    Check(fuzzHost.messages.size() == 1, "one message on failure");
    Check(fuzzHost.titles[0] == sv::kScriptTitle, "the message's title");
    const std::string head = "Compile error:\r\n\r\n";
    Check(StartsWith(fuzzHost.messages[0], head), "the message's head");
    Check(KnownMessage(fuzzHost.messages[0].substr(head.size())), "a message of the compiler");
    Check(compiler.ErrorLine == compiler.LineCount && compiler.LineCount >= 1 &&
              size_t(compiler.LineCount) <= lines,
          "the failing line is the last one read");
    Check(compiler.Code.back().empty(), "the failing line is not coded");
  }
  sv::SetHost(nullptr);
  return 0;
}
