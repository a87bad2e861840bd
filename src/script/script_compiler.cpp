#include "script/script_compiler.h"

#include <cfloat>
#include <cmath>
#include <cstdint>

#include "core/host.h"
#include "worksheet/form_worksheet.h"  // ParseNumber
#include "worksheet/sheet_formats.h"   // StatusRation, PercentText

namespace sv {

namespace {

constexpr const char* kCRLF = "\r\n";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

void SkipBlanks(std::string_view& rest) {
  size_t i = 0;
  while (i < rest.size() && IsBlank(rest[i])) ++i;
  rest.remove_prefix(i);
}

// A value runs to the next blank, tab, "'", "," or ")"; the terminator stays.
std::string_view TakeValue(std::string_view& rest) {
  size_t i = 0;
  while (i < rest.size()) {
    const char c = rest[i];
    if (IsBlank(c) || c == '\'' || c == ',' || c == ')') break;
    ++i;
  }
  std::string_view value = rest.substr(0, i);
  rest.remove_prefix(i);
  return value;
}

std::string UpperText(std::string_view s) {
  std::string u(s);
  for (char& c : u)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return u;
}

// A number by the workbench's rule (a decimal comma reads as a point; here
// it cannot occur, since a comma ends the value).
bool ReadNumber(std::string_view text, double& value) {
  return ParseNumber(std::string(text), value);
}

// Rounds to the nearest whole number, ties to even, and checks the range.
bool WholeNumber(double v, double lo, double hi, double& out) {
  const double r = std::nearbyint(v);  // the default rounding: ties to even
  if (!(r >= lo && r <= hi)) return false;
  out = r;
  return true;
}

// The marks between values, held once for every line.
struct CodeMarks {
  ScriptText open{"("}, close{")"}, comma{", "}, blank{" "}, assign{" = "};
};

const CodeMarks& Marks() {
  static const CodeMarks marks;
  return marks;
}

}  // namespace

void* CodeArena::do_allocate(size_t bytes, size_t alignment) {
  for (;;) {
    if (block_ < blocks_.size()) {
      Block& b = blocks_[block_];
      const uintptr_t base = reinterpret_cast<uintptr_t>(b.data.get());
      const uintptr_t at = (base + used_ + alignment - 1) & ~uintptr_t(alignment - 1);
      if (at + bytes <= base + b.size) {
        used_ = at + bytes - base;
        return reinterpret_cast<void*>(at);
      }
      if (block_ + 1 < blocks_.size()) {
        ++block_;
        used_ = 0;
        continue;
      }
    }
    // A new block, twice the last, and at least big enough.
    size_t size = blocks_.empty() ? size_t(64) << 10 : blocks_.back().size * 2;
    if (size < bytes + alignment) size = bytes + alignment;
    blocks_.push_back(Block{std::unique_ptr<std::byte[]>(new std::byte[size]), size});
    block_ = blocks_.size() - 1;
    used_ = 0;
  }
}

ScriptCompiler::ScriptCompiler() : arena_(std::make_unique<CodeArena>()) { InitToken(); }

ScriptText ScriptCompiler::Intern(std::string_view text) {
  auto it = texts_.find(text);
  if (it != texts_.end()) return it->second;
  ScriptText t{std::string(text)};
  texts_.emplace(std::string_view(t.str()), t);
  return t;
}

void ScriptCompiler::InitVariable() {
  VariableNames.clear();
  VariableValues.clear();
  VariableCount = 0;
  declared_.clear();
}

// --- The whole text ----------------------------------------------------------

std::string_view ScriptCompiler::GetCommandLine(const std::string& text, size_t& position) {
  const size_t n = text.size();
  if (position >= n) {
    position = n;
    return {};
  }
  size_t end = position;
  while (end < n && text[end] != '\r' && text[end] != '\n') ++end;
  std::string_view line(text.data() + position, end - position);
  position = end;
  if (position < n) {
    const char first = text[position++];
    if (position < n) {
      const char second = text[position];
      if ((first == '\r' && second == '\n') || (first == '\n' && second == '\r')) ++position;
    }
  }
  return line;
}

void ScriptCompiler::Compile(const std::string& text, int& result) {
  InitVariable();
  Code.clear();
  arena_->Reset();
  texts_.clear();
  LineCount = 0;
  ErrorMessage.clear();
  ErrorLine = 0;
  result = 1;
  StatusRation ration;
  // Room for every line at once: CR LF and LF CR pairs count twice here.
  size_t ends = 1;
  for (char c : text) ends += (c == '\r' || c == '\n');
  Code.reserve(ends);
  size_t position = 0;
  while (position < text.size()) {
    if (ration.Due()) ShowStatus("Compile...(" + PercentText(double(position), double(text.size())) + "%)");
    std::string_view line = GetCommandLine(text, position);
    Code.emplace_back(std::pmr::polymorphic_allocator<ScriptValue>(arena_.get()));
    ++LineCount;
    int ok = 1;
    CompileLine(line, Code.back(), ok);
    if (!ok) {
      Code.back().clear();
      result = 0;
      ErrorLine = LineCount;
      if (OnFailure) OnFailure();
      break;
    }
    if (OnLine) OnLine(LineCount - 1, Code.back());
  }
  texts_.clear();
  ShowStatus("");
}

// --- One line ----------------------------------------------------------------

void ScriptCompiler::CompileLine(std::string_view line, CodeLine& code, int& result) {
  // Element 0 (the count) goes in once the line's size is known.
  code.clear();
  result = 1;
  std::string_view rest = line;
  SkipBlanks(rest);
  std::string_view word;
  if (!rest.empty() && rest[0] == '/') {
    if (rest.size() < 2 || rest[1] != '/') {
      CompileError("Syntax error");
      return Fail(result);
    }
    word = rest.substr(0, 2);
    rest.remove_prefix(2);
  } else {
    size_t i = 0;
    while (i < rest.size() && !IsBlank(rest[i]) && rest[i] != '(' && rest[i] != '=') ++i;
    word = rest.substr(0, i);
    rest.remove_prefix(i);
  }

  const int token = tokens_.Find(word.data(), word.size());
  if (token >= 0) {
    const ScriptToken& t = tokens_.Tokens()[token];
    // A pair for the name and at most one for each signature character.
    code.reserve(3 + 2 * t.Signature.size());
    code.emplace_back(int32_t{0});
    AddCode(kCodeStatement, t.Text, code);
    CompileArgList(t.Signature, rest, code, result);
    return;
  }
  // Names are looked up only after every statement: a declared "Stop" is
  // never reached.
  auto it = declared_.find(UpperText(word));
  if (it != declared_.end()) {
    code.reserve(7);
    code.emplace_back(int32_t{0});
    AddCode(kCodeVariable, Intern(VariableNames[it->second]), code);
    CompileExpression(rest, code, result);
    return;
  }
  code.emplace_back(int32_t{0});
  CompileError("\"" + std::string(word) + "\": Sub or Function not defined");
  Fail(result);
}

void ScriptCompiler::CompileArgList(const std::string& signature, std::string_view& rest,
                                    CodeLine& code, int& result) {
  int arguments = 0;
  for (size_t i = 0; i < signature.size(); ++i) {
    const char c = signature[i];
    switch (c) {
      case ' ':
      case '(':
      case ')':
      case ',':
        if (c == ',' && arguments == 0) {
          CompileError("Missing argument");
          return Fail(result);
        }
        GetChar(rest, c, result);
        if (!result) return;
        if (c == ' ') AddCode(kCodeBlank, Marks().blank, code);
        else if (c == '(') AddCode(kCodeOpen, Marks().open, code);
        else if (c == ')') AddCode(kCodeClose, Marks().close, code);
        else AddCode(kCodeComma, Marks().comma, code);
        break;
      case '$':
      case '!':
      case '&':
      case '%':
      case 'B':
        CompileValue(c, rest, code, result);
        if (!result) return;
        ++arguments;
        break;
      case 'N':
        CompileName(rest, code, result);
        if (!result) return;
        ++arguments;
        break;
      case 'V': {
        const char type = i + 1 < signature.size() ? signature[++i] : '\0';
        CompileVar(type, rest, code, result);
        if (!result) return;
        ++arguments;
        break;
      }
      case '?':
        CompileRem(rest, code, result);
        if (!result) return;
        break;
      default:
        // A fault of the table, not of the script.
        ErrorMessage = std::string("Unknown Token in:") + kCRLF + signature;
        if (OnFailure) OnFailure();
        host().MsgBox(ErrorMessage, MsgButtons::OK, MsgIcon::Critical, kScriptTitle);
        return Fail(result);
    }
  }
  // Whatever follows a complete statement is dropped.
}

void ScriptCompiler::CompileValue(char type, std::string_view& rest, CodeLine& code,
                                  int& result) {
  SkipBlanks(rest);
  if (rest.empty()) {
    CompileError("Missing argument");
    return Fail(result);
  }
  const std::string_view value = TakeValue(rest);
  if (type == '$') {
    if (value.size() < 2 || value.front() != '"' || value.back() != '"') {
      CompileError("Expected: \"");
      return Fail(result);
    }
    AddCode(kCodeString, Intern(value.substr(1, value.size() - 2)), code);
    return;
  }
  double v = 0.0, whole = 0.0;
  bool ok = ReadNumber(value, v);
  switch (type) {
    case '!':
      ok = ok && std::fabs(v) <= FLT_MAX;
      if (ok) AddCode(kCodeSingle, static_cast<float>(v), code);
      break;
    case '&':
      ok = ok && WholeNumber(v, -2147483648.0, 2147483647.0, whole);
      if (ok) AddCode(kCodeLong, static_cast<int32_t>(whole), code);
      break;
    case '%':
      ok = ok && WholeNumber(v, -32768.0, 32767.0, whole);
      if (ok) AddCode(kCodeInteger, static_cast<int16_t>(whole), code);
      break;
    default:  // 'B'
      ok = ok && WholeNumber(v, 0.0, 255.0, whole);
      if (ok) AddCode(kCodeByte, static_cast<uint8_t>(whole), code);
      break;
  }
  if (!ok) {
    CompileError("Argument type mismatch");
    Fail(result);
  }
}

void ScriptCompiler::CompileVar(char /*type*/, std::string_view& /*rest*/, CodeLine& /*code*/,
                                int& result) {
  Fail(result);
}

void ScriptCompiler::CompileName(std::string_view& rest, CodeLine& code, int& result) {
  SkipBlanks(rest);
  if (rest.empty()) {
    CompileError("Expected: Identifier");
    return Fail(result);
  }
  const std::string name(TakeValue(rest));
  std::string upper = UpperText(name);
  if (declared_.count(upper)) {
    CompileError("Duplicate declaration: " + name);
    return Fail(result);
  }
  AddCode(kCodeVariable, Intern(name), code);
  declared_.emplace(std::move(upper), VariableCount);
  VariableNames.push_back(name);
  VariableValues.emplace_back();
  ++VariableCount;
}

void ScriptCompiler::CompileExpression(std::string_view& rest, CodeLine& code, int& result) {
  SkipBlanks(rest);
  if (rest.empty() || rest[0] != '=') {
    CompileError("Expected: =");
    return Fail(result);
  }
  rest.remove_prefix(1);
  AddCode(kCodeAssign, Marks().assign, code);
  SkipBlanks(rest);
  if (rest.empty()) {
    CompileError("Missing argument");
    return Fail(result);
  }
  std::string_view value = TakeValue(rest);
  double v = 0.0;
  if (ReadNumber(value, v)) {
    AddCode(kCodeLong, Intern(value), code);
    return;
  }
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
    value = value.substr(1, value.size() - 2);
  AddCode(kCodeString, Intern(value), code);
}

void ScriptCompiler::CompileRem(std::string_view& rest, CodeLine& code, int& /*result*/) {
  AddCode(kCodeComment, Intern(rest), code);
  rest = {};
}

void ScriptCompiler::GetChar(std::string_view& rest, char c, int& result) {
  if (!rest.empty() && rest[0] == c) {
    rest.remove_prefix(1);
    return;
  }
  CompileError(std::string("Expected: ") + c);
  Fail(result);
}

void ScriptCompiler::EndOfStatement(std::string_view rest, int& result) {
  if (rest.empty()) return;
  CompileError("Expected: end of statement");
  Fail(result);
}

void ScriptCompiler::CompileError(const std::string& message) {
  ErrorMessage = message;
  if (OnFailure) OnFailure();
  host().MsgBox(std::string("Compile error:") + kCRLF + kCRLF + message, MsgButtons::OK,
                MsgIcon::Exclamation, kScriptTitle);
}

}  // namespace sv
