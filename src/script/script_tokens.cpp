#include "script/script_tokens.h"

#include <cmath>

#include "image/kernel/numbers.h"
#include "worksheet/form_worksheet.h"  // FormatNumber

namespace sv {

namespace {

char Upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

const std::string& EmptyText() {
  static const std::string empty;
  return empty;
}

}  // namespace

// --- Statements --------------------------------------------------------------

void ScriptTokenTable::InitToken() {
  tokens_.clear();
  tokens_.reserve(kTokenCount);
  AddToken("", "");
  AddToken("Stop", "");
  AddToken("End", "");
  AddToken("//", "?");
  AddToken("Delay", "(&)");
  AddToken("Capture", "");
  AddToken("Edge", "($)");
  AddToken("OpenImage", "($)");
  AddToken("CloseImage", "($)");
  AddToken("ResizeImage", "($,&,&)");
  AddToken("BinarizeImage", "($,&,&)");
  AddToken("NegativeImage", "($)");
  AddToken("ParticleDetect", "($)");
  AddToken("ParticleMinArea", "(!)");
  AddToken("ParticleWorksheet", "");
  AddToken("CloseImages", "");
  AddToken("WorksheetSort", "($,&,&)");
  AddToken("Exit", "");
  AddToken("CloseWorksheets", "");
  AddToken("ParticleErosion", "($,&)");
  AddToken("ParticleDilatation", "($,&)");
  AddToken("Dim", " N");
}

void ScriptTokenTable::AddToken(const std::string& name, const std::string& signature) {
  ScriptToken t{name, signature, name, ScriptText(name)};
  for (char& c : t.Upper) c = Upper(c);
  tokens_.push_back(std::move(t));
}

int ScriptTokenTable::Find(const char* word, size_t length) const {
  for (size_t i = 0; i < tokens_.size(); ++i) {
    const std::string& u = tokens_[i].Upper;
    if (u.size() != length) continue;
    size_t k = 0;
    while (k < length && Upper(word[k]) == u[k]) ++k;
    if (k == length) return static_cast<int>(i);
  }
  return -1;
}

// --- Compiled lines ----------------------------------------------------------

ScriptText::ScriptText() {
  // One empty text for the whole program; its first holder never lets go.
  static Rep* empty = new Rep{std::string(), 1};
  rep_ = empty;
  ++rep_->holders;
}

ScriptText::ScriptText(std::string text) : rep_(new Rep{std::move(text), 1}) {}

void AddCode(int32_t kind, ScriptValue value, CodeLine& code) {
  if (code.empty()) code.emplace_back(int32_t{0});
  int32_t* count = std::get_if<int32_t>(&code[0]);
  if (!count) {
    code[0] = int32_t{0};
    count = std::get_if<int32_t>(&code[0]);
  }
  *count += 2;
  code.resize(static_cast<size_t>(*count) + 1);
  code[code.size() - 2] = kind;
  code[code.size() - 1] = std::move(value);
}

int32_t CodeCount(const CodeLine& code) {
  if (code.empty()) return 0;
  const int32_t* n = std::get_if<int32_t>(&code[0]);
  return n ? *n : 0;
}

int32_t CodeKind(const CodeLine& code, int index) {
  if (index < 0 || static_cast<size_t>(index) >= code.size()) return 0;
  const int32_t* k = std::get_if<int32_t>(&code[index]);
  return k ? *k : 0;
}

const std::string& CodeText(const CodeLine& code, int index) {
  if (index < 0 || static_cast<size_t>(index) >= code.size()) return EmptyText();
  const ScriptText* s = std::get_if<ScriptText>(&code[index]);
  return s ? s->str() : EmptyText();
}

int32_t CodeLong(const CodeLine& code, int index) {
  if (index < 0 || static_cast<size_t>(index) >= code.size()) return 0;
  const ScriptValue& v = code[index];
  if (auto p = std::get_if<int32_t>(&v)) return *p;
  if (auto p = std::get_if<int16_t>(&v)) return *p;
  if (auto p = std::get_if<uint8_t>(&v)) return *p;
  if (auto p = std::get_if<float>(&v)) return static_cast<int32_t>(RoundEven(*p));
  return 0;
}

float CodeSingle(const CodeLine& code, int index) {
  if (index < 0 || static_cast<size_t>(index) >= code.size()) return 0.0f;
  const ScriptValue& v = code[index];
  if (auto p = std::get_if<float>(&v)) return *p;
  return static_cast<float>(CodeLong(code, index));
}

std::string PrintStatement(const CodeLine& code) {
  std::string out;
  PrintStatement(code, out);
  return out;
}

void PrintStatement(const CodeLine& code, std::string& out) {
  const int n = CodeCount(code);
  for (int i = 1; i + 1 <= n && static_cast<size_t>(i + 1) < code.size(); i += 2) {
    const int32_t kind = CodeKind(code, i);
    const ScriptValue& v = code[i + 1];
    switch (kind) {
      case kCodeString:
        out += '"';
        out += CodeText(code, i + 1);
        out += '"';
        break;
      case kCodeSingle:
        out += FormatNumber(CodeSingle(code, i + 1));
        break;
      case kCodeLong:
      case kCodeInteger:
      case kCodeByte:
        // After " = " the number stays the text it was written as.
        if (auto s = std::get_if<ScriptText>(&v)) out += s->str();
        else out += std::to_string(CodeLong(code, i + 1));
        break;
      default:
        out += CodeText(code, i + 1);
        break;
    }
  }
}

}  // namespace sv
