#include "worksheet/sheet_formats.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/host.h"
#include "core/text_1252.h"
#include "image/kernel/numbers.h"

namespace sv {

// --- ".sht" -------------------------------------------------------------------

void WriteSheetHeader(BinaryOut& out, int32_t dataRows, int16_t dataCols) {
  out.Bytes(kSheetMagic, kSheetMagicSize);
  out.U8(0);
  static const char zeros[kSheetReservedText] = {};
  out.Bytes(zeros, sizeof zeros);
  out.I32(dataRows);
  out.I16(dataCols);
}

bool ReadSheetHeader(BinaryIn& in, SheetHeader& header) {
  header = SheetHeader{};
  char magic[kSheetMagicSize];
  if (!in.Bytes(magic, sizeof magic)) return false;
  header.magicOk = std::memcmp(magic, kSheetMagic, kSheetMagicSize) == 0;
  in.Fixed(1 + kSheetReservedText);
  header.dataRows = in.I32();
  header.dataCols = in.I16();
  return in.ok();
}

void WriteColumnRecord(BinaryOut& out, const std::string& label, int16_t typ) {
  out.Fixed(Windows1252FromUtf8(label), kSheetLabelWidth, ' ');
  out.I16(int16_t(typ + 1));
}

void ReadColumnRecord(BinaryIn& in, std::string& label, int16_t& typ) {
  label = Utf8FromWindows1252(TrimRight(in.Fixed(kSheetLabelWidth)));
  typ = int16_t(in.I16() - 1);
}

std::string TrimRight(const std::string& text) {
  const size_t end = text.find_last_not_of(' ');
  return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

// --- ".MOS" -------------------------------------------------------------------

long MosFieldCount(size_t length) {
  return RoundEven(double(length) / double(kMosFieldWidth));
}

std::vector<std::string> MosFields(const std::string& line) {
  std::vector<std::string> fields;
  const long n = MosFieldCount(line.size());
  for (long i = 0; i < n; ++i) {
    const size_t at = size_t(i) * kMosFieldWidth;
    fields.push_back(at < line.size() ? line.substr(at, kMosFieldWidth) : std::string());
  }
  return fields;
}

float MosVmax(const std::string& firstLine) {
  const size_t blank = firstLine.find(' ');
  if (blank == std::string::npos) return 1.0f;
  return float(TextValue(firstLine.substr(0, blank)));
}

float MosVelocity(long r, long rows, float vmax) {
  return float((double(r) / (double(rows) / 2.0) - 1.0) * double(vmax));
}

// --- Text numbers ------------------------------------------------------------

namespace {

// The number at the start of `text` (after blanks); `used` is how far it went,
// 0 when there is no number.
double LeadingNumber(const std::string& text, size_t& used) {
  std::string s = ReplaceChar(text, ',', '.');
  size_t i = 0;
  while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
  // Only plain decimal forms: no hex, no "inf" or "nan" words.
  size_t j = i;
  if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
  bool digits = false;
  while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) ++j, digits = true;
  if (j < s.size() && s[j] == '.') {
    ++j;
    while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) ++j, digits = true;
  }
  if (!digits) {
    used = 0;
    return 0.0;
  }
  if (j < s.size() && (s[j] == 'e' || s[j] == 'E')) {
    size_t k = j + 1;
    if (k < s.size() && (s[k] == '+' || s[k] == '-')) ++k;
    if (k < s.size() && std::isdigit(static_cast<unsigned char>(s[k]))) {
      while (k < s.size() && std::isdigit(static_cast<unsigned char>(s[k]))) ++k;
      j = k;
    }
  }
  used = j;
  return std::strtod(s.substr(i, j - i).c_str(), nullptr);
}

}  // namespace

double TextValue(const std::string& text) {
  size_t used = 0;
  const double v = LeadingNumber(text, used);
  return std::isfinite(v) ? v : 0.0;
}

bool IsNumericText(const std::string& text) {
  size_t used = 0;
  LeadingNumber(text, used);
  if (used == 0) return false;
  for (size_t i = used; i < text.size(); ++i)
    if (text[i] != ' ' && text[i] != '\t') return false;
  return true;
}


// --- ASCII import ------------------------------------------------------------

std::string ReplaceChar(std::string text, char from, char to) {
  for (char& c : text)
    if (c == from) c = to;
  return text;
}

std::string DelimitersToTabs(const std::string& line, uint8_t delimiter) {
  return delimiter == 0 ? line : ReplaceChar(line, char(delimiter), '\t');
}

std::string FixedToTabs(const std::string& line, long width) {
  if (width < 1) width = 1;
  std::string out;
  for (size_t at = 0; at < line.size(); at += size_t(width)) {
    if (at) out += '\t';
    out += line.substr(at, size_t(width));
  }
  return out;
}

std::vector<std::string> Split(const std::string& text, char sep) {
  std::vector<std::string> pieces;
  size_t start = 0;
  for (;;) {
    const size_t at = text.find(sep, start);
    if (at == std::string::npos) {
      pieces.push_back(text.substr(start));
      return pieces;
    }
    pieces.push_back(text.substr(start, at - start));
    start = at + 1;
  }
}

std::vector<std::string> SplitLines(const std::string& text, std::vector<size_t>* ends) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t at = text.find('\n', start);
    if (at == std::string::npos) at = text.size();
    size_t end = at;
    if (end > start && text[end - 1] == '\r') --end;
    lines.push_back(text.substr(start, end - start));
    if (ends) ends->push_back(std::min(at + 1, text.size()));
    start = at + 1;
  }
  return lines;
}

// --- Import preview ----------------------------------------------------------

std::string PreviewText(const std::string& bytes, bool tokens) {
  if (!tokens) return bytes;
  std::string out;
  out.reserve(bytes.size() * 2);
  for (unsigned char c : bytes) {
    char buf[8];
    switch (c) {
      case 0: out += "[NULL]"; break;
      case 9: out += "[TAB]"; break;
      case 10: out += "[LF]"; break;
      case 13: out += "[CR]"; break;
      default:
        if (c >= 32 && c <= 126) {
          out += char(c);
        } else {
          std::snprintf(buf, sizeof buf, c < 32 ? "[%02u]" : "[%03u]", unsigned(c));
          out += buf;
        }
    }
  }
  return out;
}

// --- Status rationing --------------------------------------------------------

StatusRation::StatusRation(int32_t firstMs, int32_t everyMs) : every_(everyMs) {
  next_ = SV_AddTime(HasHost() ? host().TimeGetTime() : 0, firstMs);
}

bool StatusRation::Due() {
  if (!HasHost()) return false;
  const uint32_t now = host().TimeGetTime();
  if (SV_SubTime(now, next_) < 0) return false;
  next_ = SV_AddTime(now, every_);
  return true;
}

std::string PercentText(double done, double total) {
  return std::to_string(total > 0 ? RoundEven(done / total * 100.0) : 0);
}

}  // namespace sv
