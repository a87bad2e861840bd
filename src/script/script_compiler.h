// The script compiler: turns the text of a script, one statement a line,
// into an array of coded lines, driven by the signature of each statement.
// It stops at the first error with one message and no line number; the
// listing of the lines compiled so far points at the culprit.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "script/script_tokens.h"

namespace sv {

// The memory of the coded lines: blocks handed out in order and kept from
// one compile to the next, so that a recompile writes over the memory of
// the last one instead of asking the system again.
class CodeArena : public std::pmr::memory_resource {
 public:
  // Every block free again; what was handed out must be gone.
  void Reset() {
    block_ = 0;
    used_ = 0;
  }

 private:
  void* do_allocate(size_t bytes, size_t alignment) override;
  void do_deallocate(void*, size_t, size_t) override {}
  bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override {
    return this == &other;
  }
  struct Block {
    std::unique_ptr<std::byte[]> data;
    size_t size;
  };
  std::vector<Block> blocks_;
  size_t block_ = 0, used_ = 0;
};

class ScriptCompiler {
  // Made before the coded lines and gone after them.
  std::unique_ptr<CodeArena> arena_;

 public:
  ScriptCompiler();

  // --- Tables ---
  void InitToken() { tokens_.InitToken(); }
  void AddToken(const std::string& name, const std::string& signature) {
    tokens_.AddToken(name, signature);
  }
  const ScriptTokenTable& Tokens() const { return tokens_; }
  // Empties the variable table.
  void InitVariable();
  // Declared names, as written; their values stay empty (a declaration only
  // reserves the name).
  std::vector<std::string> VariableNames;
  std::vector<ScriptValue> VariableValues;
  int VariableCount = 0;

  // --- The program ---
  // One element a source line read; a line that failed stays empty.
  std::vector<CodeLine> Code;
  // Lines read by the last Compile, the failing one included.
  int LineCount = 0;

  // Compiles `text`: result 1 when every line compiled, else 0 after one
  // message (the line that failed is the last one read, LineCount). Writes
  // "Compile...(n%)" to the status line, first after 200 ms, then at most
  // every 500 ms, and clears it at the end.
  void Compile(const std::string& text, int& result);

  // Each line that compiled, with its 0-based index (the listing prints it).
  std::function<void(int line, const CodeLine& code)> OnLine;
  // Called before a compile error is shown and when a compile fails: the
  // editor comes to the front.
  std::function<void()> OnFailure;
  // The message of the last failure ("" when none, and when the line failed
  // without one) and its 1-based line (0 when none).
  std::string ErrorMessage;
  int ErrorLine = 0;

  // --- The steps, open to tests ---
  void CompileLine(std::string_view line, CodeLine& code, int& result);
  void CompileArgList(const std::string& signature, std::string_view& rest, CodeLine& code,
                      int& result);
  void CompileValue(char type, std::string_view& rest, CodeLine& code, int& result);
  // A variable of a type: accepts nothing, the line fails without a message.
  void CompileVar(char type, std::string_view& rest, CodeLine& code, int& result);
  void CompileName(std::string_view& rest, CodeLine& code, int& result);
  void CompileExpression(std::string_view& rest, CodeLine& code, int& result);
  void CompileRem(std::string_view& rest, CodeLine& code, int& result);
  // The first character of `rest` must be `c`: removed, else "Expected: " + c.
  void GetChar(std::string_view& rest, char c, int& result);
  // "Expected: end of statement" when text is left. The compiler never calls
  // it: text behind a complete statement is dropped without a word.
  void EndOfStatement(std::string_view rest, int& result);
  // Shows "Compile error:" CRLF CRLF + message under "SV4200 Script".
  void CompileError(const std::string& message);

  // The line of `text` that starts at `position`, up to the next CR or LF;
  // `position` moves past that end, past both when a CR and an LF stand side
  // by side (in either order).
  static std::string_view GetCommandLine(const std::string& text, size_t& position);

 private:
  void Fail(int& result) { result = 0; }
  // One shared text for each distinct text of a compile.
  ScriptText Intern(std::string_view text);
  ScriptTokenTable tokens_;
  std::unordered_map<std::string, int> declared_;  // upper-cased name -> index
  std::unordered_map<std::string_view, ScriptText> texts_;  // keys view their values
};

// The title of the script's messages.
inline constexpr const char* kScriptTitle = "SV4200 Script";

}  // namespace sv
