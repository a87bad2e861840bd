// Any bytes as a run journal: the reader ends with the rows it could take or
// with a reason, every row it keeps has a value for each column, and what it
// kept, written again, reads back the same.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "experiment/run_journal.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_journal: %s\n", what);
    std::abort();
  }
}

bool Same(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string error;
  const auto j = sv::ParseJournal(text, error);
  Check(j.has_value() == error.empty(), "a reason exactly when the file is refused");
  if (!j) return 0;

  const size_t columns = j->header.columns.size();
  Check(columns > 0 && columns <= size_t(sv::kJournalMaxColumns), "columns within their bounds");
  Check(j->tornLine == (text.back() != '\n'), "a torn last line is told exactly when there is one");
  Check((j->badLines > 0) == !j->firstBadLine.empty(), "the first bad line is named");
  for (const auto& [row, values] : j->rows) {
    Check(row >= 1, "row numbers from 1");
    Check(values.size() == columns, "a value for each column");
    for (double v : values) Check(std::isnan(v) || std::isfinite(v), "values are numbers or gaps");
  }

  // Written again (as the run writes it), it reads back the same.
  std::string again = sv::JournalHeaderText(j->header);
  for (const auto& [row, values] : j->rows) again += sv::JournalRowText(row, values);
  std::string secondError;
  const auto second = sv::ParseJournal(again, secondError);
  Check(second.has_value(), "a journal written from what was read is refused");
  Check(!second->tornLine && second->badLines == 0, "the journal written again reads whole");
  Check(second->header.experimentType == j->header.experimentType, "the type changes");
  Check(second->header.sheetPath == j->header.sheetPath, "the sheet path changes");
  Check(second->header.curves.size() == j->header.curves.size(), "the curves change");
  Check(second->header.plots.size() == j->header.plots.size(), "the plots change");
  for (size_t c = 0; c < columns; ++c) {
    const sv::JournalColumn& a = j->header.columns[c];
    const sv::JournalColumn& b = second->header.columns[c];
    Check(a.name == b.name && a.label == b.label && a.typ == b.typ, "a column changes");
  }
  Check(second->rows.size() == j->rows.size(), "the row count changes");
  for (size_t r = 0; r < j->rows.size(); ++r) {
    Check(second->rows[r].first == j->rows[r].first, "a row number changes");
    for (size_t c = 0; c < columns; ++c)
      Check(Same(second->rows[r].second[c], j->rows[r].second[c]), "a value changes");
  }
  return 0;
}
