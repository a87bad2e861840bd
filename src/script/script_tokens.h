// The script language's vocabulary: the statement table with the signature
// that drives the parser of each statement, and the layout of a compiled
// line, which the run time reads by fixed positions.
#pragma once

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string>
#include <variant>
#include <vector>

namespace sv {

// A text of a compiled line. Copies share one string, so that the names,
// the marks and a value repeated over many lines are held once. The count
// of holders is plain: the program has one thread.
class ScriptText {
 public:
  ScriptText();
  ScriptText(std::string text);  // NOLINT: a text is a value
  ScriptText(const char* text) : ScriptText(std::string(text)) {}  // NOLINT
  ScriptText(const ScriptText& other) : rep_(other.rep_) { ++rep_->holders; }
  ScriptText& operator=(const ScriptText& other) {
    ++other.rep_->holders;
    Drop();
    rep_ = other.rep_;
    return *this;
  }
  ~ScriptText() { Drop(); }
  const std::string& str() const { return rep_->text; }
  bool operator==(const ScriptText& other) const {
    return rep_ == other.rep_ || rep_->text == other.rep_->text;
  }

 private:
  struct Rep {
    std::string text;
    long holders;
  };
  void Drop() {
    if (--rep_->holders == 0) delete rep_;
  }
  Rep* rep_;
};

// --- Statements --------------------------------------------------------------

// One row of the statement table. `Name` is compared without regard to
// case; `Signature` is the parse plan of the arguments:
//   " ", "(", ")", ","  the next character must be exactly this one
//   "$"  a string value in double quotes     "!"  a 32-bit float
//   "&"  a signed 32-bit integer             "%"  a signed 16-bit integer
//   "B"  a byte                               "N"  a name to declare
//   "V"  a variable of the type that follows  "?"  the rest of the line
struct ScriptToken {
  std::string Name;
  std::string Signature;
  std::string Upper;  // Name in capitals, for the lookup
  ScriptText Text;    // Name as the coded lines hold it
};

// The rows of the table, by index.
enum ScriptTokenIndex {
  kTokEmpty = 0,
  kTokStop = 1,
  kTokEnd = 2,
  kTokComment = 3,
  kTokDelay = 4,
  kTokCapture = 5,
  kTokEdge = 6,
  kTokOpenImage = 7,
  kTokCloseImage = 8,
  kTokResizeImage = 9,
  kTokBinarizeImage = 10,
  kTokNegativeImage = 11,
  kTokParticleDetect = 12,
  kTokParticleMinArea = 13,
  kTokParticleWorksheet = 14,
  kTokCloseImages = 15,
  kTokWorksheetSort = 16,
  kTokExit = 17,
  kTokCloseWorksheets = 18,
  kTokParticleErosion = 19,
  kTokParticleDilatation = 20,
  kTokDim = 21,
  kTokenCount = 22,
};

class ScriptTokenTable {
 public:
  // Builds the 22 rows in their order.
  void InitToken();
  void AddToken(const std::string& name, const std::string& signature);
  const std::vector<ScriptToken>& Tokens() const { return tokens_; }
  // The first row whose name equals `word` without regard to case, or -1.
  int Find(const char* word, size_t length) const;

 private:
  std::vector<ScriptToken> tokens_;
};

// --- Compiled lines ----------------------------------------------------------

// One element of a compiled line: empty, a 32-bit integer, a 32-bit float,
// a 16-bit integer, a byte or a text.
using ScriptValue = std::variant<std::monostate, int32_t, float, int16_t, uint8_t, ScriptText>;

// A compiled line. Element 0 holds the number of used elements after it;
// then come pairs of kind (a 32-bit integer) and value. A line that was
// never compiled is empty. The compiler keeps its lines in one arena; a
// copy of a line owns its own memory.
using CodeLine = std::pmr::vector<ScriptValue>;

// The kinds of the pairs.
enum ScriptCodeKind : int32_t {
  kCodeStatement = 1,  // the statement name, as spelled in the table
  kCodeAssign = 3,     // the text " = "
  kCodeVariable = 4,   // a variable name
  kCodeString = 5,     // a string value, quotes removed
  kCodeSingle = 6,     // a 32-bit float
  kCodeLong = 7,       // a signed 32-bit integer (after " = ": the number as text)
  kCodeInteger = 8,    // a signed 16-bit integer
  kCodeByte = 9,       // a byte
  kCodeComment = 10,   // comment text
  kCodeOpen = 11,      // "("
  kCodeClose = 12,     // ")"
  kCodeComma = 13,     // ", "
  kCodeBlank = 14,     // " "
};

// Where a statement's arguments lie: the pairs go down in signature order
// (1, 2 the statement; 3, 4 the parenthesis; 5, 6 the first value; 7, 8 the
// comma; ...), so argument k is at element 6 + 4 (k - 1).
inline constexpr int kCodeArg1 = 6, kCodeArg2 = 10, kCodeArg3 = 14;

// Adds 2 to element 0 and appends the pair.
void AddCode(int32_t kind, ScriptValue value, CodeLine& code);

// Readers of a compiled line. An element that is missing or of another type
// reads as 0 or "".
int32_t CodeCount(const CodeLine& code);
int32_t CodeKind(const CodeLine& code, int index);
const std::string& CodeText(const CodeLine& code, int index);
// Any numeric element as a 32-bit integer (a float rounds to the nearest,
// ties to even); a text reads as 0.
int32_t CodeLong(const CodeLine& code, int index);
float CodeSingle(const CodeLine& code, int index);

// The line as the listing shows it: the elements in order, strings in double
// quotes, numbers as numbers, comments as written.
std::string PrintStatement(const CodeLine& code);
// The same, appended to `out`.
void PrintStatement(const CodeLine& code, std::string& out);

}  // namespace sv
