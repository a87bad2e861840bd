#include "script/script_compiler.h"

#include <cfloat>
#include <cmath>

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

}  // namespace

ScriptCompiler::ScriptCompiler() { InitToken(); }

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
  LineCount = 0;
  ErrorMessage.clear();
  ErrorLine = 0;
  result = 1;
  StatusRation ration;
  size_t position = 0;
  while (position < text.size()) {
    if (ration.Due()) ShowStatus("Compile...(" + PercentText(double(position), double(text.size())) + "%)");
    std::string_view line = GetCommandLine(text, position);
    Code.emplace_back();
    ++LineCount;
    CodeLine code;
    code.reserve(17);
    int ok = 1;
    CompileLine(line, code, ok);
    if (!ok) {
      result = 0;
      ErrorLine = LineCount;
      if (OnFailure) OnFailure();
      break;
    }
    Code.back() = std::move(code);
    if (OnLine) OnLine(LineCount - 1, Code.back());
  }
  ShowStatus("");
}

// --- One line ----------------------------------------------------------------

void ScriptCompiler::CompileLine(std::string_view line, CodeLine& code, int& result) {
  code.clear();
  code.emplace_back(int32_t{0});
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
    AddCode(kCodeStatement, t.Name, code);
    CompileArgList(t.Signature, rest, code, result);
    return;
  }
  // Names are looked up only after every statement: a declared "Stop" is
  // never reached.
  auto it = declared_.find(UpperText(word));
  if (it != declared_.end()) {
    AddCode(kCodeVariable, VariableNames[it->second], code);
    CompileExpression(rest, code, result);
    return;
  }
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
        if (c == ' ') AddCode(kCodeBlank, std::string(" "), code);
        else if (c == '(') AddCode(kCodeOpen, std::string("("), code);
        else if (c == ')') AddCode(kCodeClose, std::string(")"), code);
        else AddCode(kCodeComma, std::string(", "), code);
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
    AddCode(kCodeString, std::string(value.substr(1, value.size() - 2)), code);
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
  AddCode(kCodeVariable, name, code);
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
  AddCode(kCodeAssign, std::string(" = "), code);
  SkipBlanks(rest);
  if (rest.empty()) {
    CompileError("Missing argument");
    return Fail(result);
  }
  std::string_view value = TakeValue(rest);
  double v = 0.0;
  if (ReadNumber(value, v)) {
    AddCode(kCodeLong, std::string(value), code);
    return;
  }
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
    value = value.substr(1, value.size() - 2);
  AddCode(kCodeString, std::string(value), code);
}

void ScriptCompiler::CompileRem(std::string_view& rest, CodeLine& code, int& /*result*/) {
  AddCode(kCodeComment, std::string(rest), code);
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
