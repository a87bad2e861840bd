// What the sheet commands share in reading their command lines: the bad
// command line's message and code, numbers, and a column named on the line.
#pragma once

#include <cmath>
#include <cstdlib>
#include <ostream>
#include <string>
#include <strings.h>

#include "worksheet/form_worksheet.h"

namespace sv::cli {

// "svbatch: WHY" on the error stream; 2, the bad command line's exit code.
inline int BadArgs(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

// The whole text is one finite number.
inline bool ParseNumber(const std::string& text, double& value) {
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(v)) return false;
  value = v;
  return true;
}

// The whole text is one whole number.
inline bool ParseWhole(const std::string& text, long& value) {
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0') return false;
  value = v;
  return true;
}

// The option loop's last cases: an option no command knows, else the one
// sheet COMMAND takes. 0 when the sheet is taken, else the bad command line's
// code.
inline int TakeSheetArg(std::ostream& err, const std::string& command, const std::string& arg,
                        std::string& file) {
  if (arg.rfind("--", 0) == 0) return BadArgs(err, "unknown option " + arg);
  if (!file.empty()) return BadArgs(err, command + " takes one sheet");
  file = arg;
  return 0;
}

// A column by its number as sheet-info lists it, by its name, or by its
// label (any case); -1 when the sheet has no such column.
inline long SheetColumnArg(const Form_Worksheet& sheet, const std::string& text) {
  long n = 0;
  if (ParseWhole(text, n)) return n >= 1 && n < sheet.Cols() ? n : -1;
  const long byName = sheet.ColOf(text);
  if (byName >= 0) return byName;
  for (long c = 1; c < sheet.Cols(); ++c)
    if (strcasecmp(sheet.Record(c).Label.c_str(), text.c_str()) == 0) return c;
  return -1;
}

}  // namespace sv::cli
