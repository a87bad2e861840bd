// Any bytes as a script: the compiler ends with every line coded or with one
// compile message of its own, at the line where it stopped.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "core/host.h"
#include "script/script_compiler.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_script_compile: %s\n", what);
    std::abort();
  }
}

bool StartsWith(const std::string& s, const std::string& head) {
  return s.compare(0, head.size(), head) == 0;
}

bool EndsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

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

class FuzzHost : public sv::Host {
 public:
  FuzzHost() : folder("/tmp/sv_fuzz_script_" + std::to_string(getpid())) {
    std::filesystem::create_directories(folder + "/config");
  }
  sv::MsgResult MsgBox(const std::string& text, sv::MsgButtons, sv::MsgIcon,
                       const std::string& title) override {
    messages.push_back(text);
    titles.push_back(title);
    return sv::MsgResult::OK;
  }
  std::optional<std::string> InputBox(const std::string&, const std::string&,
                                      const std::string&) override {
    return std::nullopt;
  }
  sv::FileDialogResult OpenFileDialog(const sv::FileDialog&) override { return {}; }
  sv::FileDialogResult SaveFileDialog(const sv::FileDialog&) override { return {}; }
  void ShowStatus(const std::string&, int) override {}
  void DoEvents() override {}
  void Beep() override {}
  void SetBusy(bool) override {}
  std::string ClipboardText() override { return {}; }
  void SetClipboardText(const std::string&) override {}
  uint32_t TimeGetTime() override { return clock += 7; }
  std::string UserName() override { return "fuzz"; }
  std::string TempPath() override { return folder + "/"; }
  std::string ProgramFolder() override { return folder; }
  std::string ExeName() override { return "sv4200"; }
  std::string ConfigFolder() override { return folder + "/config"; }
  std::string HomeFolder() override { return folder; }
  sv::UserStore& Store() override { std::abort(); }
  int64_t FreeDiskSpace(const std::string&) override { return -1; }
  sv::ScreenSize Screen() override { return {}; }

  std::string folder;
  uint32_t clock = 0;
  std::vector<std::string> messages, titles;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static FuzzHost fuzzHost;
  sv::SetHost(&fuzzHost);
  fuzzHost.messages.clear();
  fuzzHost.titles.clear();
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
