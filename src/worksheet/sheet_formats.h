// The pieces of the worksheet file formats that need no sheet: the layout of
// the ".sht" header and column records, the fields of a ".MOS" line, the
// import preview's tokens, the text steps of the ASCII import, and the
// rationing of status texts in long loops.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "image/kernel/numbers.h"  // RoundEven

namespace sv {

// --- ".sht" -------------------------------------------------------------------

inline constexpr char kSheetMagic[] = "WORKSHEET\r\n";
inline constexpr size_t kSheetMagicSize = 11;
inline constexpr size_t kSheetHeaderSize = 1042;       // up to the first column record
inline constexpr size_t kSheetReservedText = 1024;
inline constexpr size_t kSheetColumnRecordSize = 32;
inline constexpr size_t kSheetLabelWidth = 30;
inline constexpr long kSheetMaxRows = 65520;           // Rows, row 0 included

struct SheetHeader {
  bool magicOk = false;
  int32_t dataRows = 0;   // Rows - 1 as the file claims it
  int16_t dataCols = 0;   // Cols - 1
};

// Magic, reserved byte, 1024 zero bytes, the two counts.
void WriteSheetHeader(BinaryOut& out, int32_t dataRows, int16_t dataCols);
// Reads the 1042 bytes; false when the file is shorter.
bool ReadSheetHeader(BinaryIn& in, SheetHeader& header);

// A column record: the label padded with blanks and cut at 30, then Typ + 1.
void WriteColumnRecord(BinaryOut& out, const std::string& label, int16_t typ);
// Label with trailing blanks cut, Typ = the field - 1.
void ReadColumnRecord(BinaryIn& in, std::string& label, int16_t& typ);

// The text without its trailing blanks.
std::string TrimRight(const std::string& text);

// --- ".MOS" -------------------------------------------------------------------

inline constexpr size_t kMosFieldWidth = 9;

// How many fields a line of this length holds: length / 9, rounded.
long MosFieldCount(size_t length);
// The line's fields of 9 characters (the last may be shorter).
std::vector<std::string> MosFields(const std::string& line);
// vmax from the first header line: the number before its first blank; 1 for
// a line without a blank.
float MosVmax(const std::string& firstLine);
// The velocity of row r (from 1) of a sheet with `rows` rows (row 0 included).
float MosVelocity(long r, long rows, float vmax);

// --- Text numbers ------------------------------------------------------------

// The number at the start of a text as the old Val reads it: blanks skipped,
// a decimal comma read as a point, 0 when there is none.
double TextValue(const std::string& text);
// True when the whole text (blanks around it allowed) is a number; a decimal
// comma counts as a point.
bool IsNumericText(const std::string& text);

// --- ASCII import ------------------------------------------------------------

// Every `from` in the text becomes `to`, character by character.
std::string ReplaceChar(std::string text, char from, char to);
// The delimiter step: a delimiter other than 0 (tab) becomes a tab.
std::string DelimitersToTabs(const std::string& line, uint8_t delimiter);
// The line cut into fields of `width` characters, joined by tabs.
std::string FixedToTabs(const std::string& line, long width);
// Pieces split at `sep`; an empty text gives one empty piece.
std::vector<std::string> Split(const std::string& text, char sep);
// Lines of a text, without their CR LF or LF; `ends` gets the offset after each.
std::vector<std::string> SplitLines(const std::string& text, std::vector<size_t>* ends = nullptr);

// --- Import preview ----------------------------------------------------------

// The bytes as the preview shows them: as they are, or with tokens: "[NULL]",
// "[TAB]", "[LF]", "[CR]", printable characters as themselves, "[nn]" below
// 32 and "[nnn]" above 126.
std::string PreviewText(const std::string& bytes, bool tokens);

// --- Status rationing --------------------------------------------------------

// Tells a loop when to write its status text: first after `firstMs`, then at
// most every `everyMs`. Reads the host's clock.
class StatusRation {
 public:
  explicit StatusRation(int32_t firstMs = 200, int32_t everyMs = 500);
  bool Due();

 private:
  uint32_t next_;
  int32_t every_;
};

// "Save Worksheet...(" + percent + "%)": the percent of `done` in `total`
// with no decimals.
std::string PercentText(double done, double total);

}  // namespace sv
