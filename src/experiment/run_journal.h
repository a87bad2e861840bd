// The run's journal: every completed row is appended to a text file beside
// the sheet ("run.sht.jnl") by one write, right after it went into the sheet,
// so that a crash or a killed process loses no completed row. The journal
// goes once the sheet is saved or discarded; one left behind is offered for
// recovery at the next start.
//
// Format: header lines begin with "#" and hold what rebuilds the sheet (type,
// columns with labels and roles, curves); a row line is the row number and
// the values in column order, TAB-separated, each the shortest text that
// reads back to the same single (empty for a gap), LF-ended. Cleanup appends
// "#end", the stop code and the row count.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sv {

class Form_Worksheet;

// What a journal's header tells of its sheet.
struct JournalColumn {
  std::string name, label;
  int typ = 1;  // column role: 0 X, 1 Y, 2 Z, 4 L
};
struct JournalCurve {
  int plot = 0;  // 0 the intensity plot, 1 the A/D plot
  long xcol = 0, ycol = 0;
  std::string legend;
  int32_t color = 0;
};
struct JournalHeader {
  int experimentType = 1;  // 0 I(t), 1 I(E)
  std::string sheetPath;   // where the run's sheet was to go
  std::vector<JournalColumn> columns;  // data columns, 1-based in the sheet
  std::vector<JournalCurve> curves;
};

class RunJournal {
 public:
  RunJournal() = default;
  ~RunJournal();  // closes (and unlocks) but keeps the file
  RunJournal(const RunJournal&) = delete;
  RunJournal& operator=(const RunJournal&) = delete;

  // The journal's path for a sheet path: the path + ".jnl".
  static std::string PathFor(const std::string& sheetPath);
  // Creates (or empties) the journal, takes its lock for the run's life
  // and writes the header. False with `error` set when it cannot.
  bool Open(const std::string& sheetPath, const JournalHeader& header, std::string& error);
  bool IsOpen() const;
  const std::string& Path() const { return path_; }
  // One row: its number and the values of the data columns in order
  // (a value that is no number is a gap). One write; false when it failed.
  bool Append(long row, const std::vector<double>& values);
  // "#end", the stop code and the rows written, then closes.
  void End(int stopCode, long rows);
  // Closes and deletes the file: the sheet was saved or discarded.
  void Remove();

 private:
  int fd_ = -1;
  std::string path_;
};

// A journal read back.
struct JournalContents {
  JournalHeader header;
  std::vector<std::pair<long, std::vector<double>>> rows;  // complete rows only
  bool ended = false;     // "#end" was there
  int stopCode = 0;
  bool tornLine = false;  // a last line without its LF was dropped
};
// Reads a journal; nullopt with `error` set for a file that is no journal.
std::optional<JournalContents> ReadJournal(const std::string& path, std::string& error);
std::optional<JournalContents> ParseJournal(const std::string& text, std::string& error);
// True while a running process holds the journal's lock.
bool JournalLocked(const std::string& path);
// The sheet a journal rebuilds: columns with labels and roles, the rows.
bool RebuildSheet(const JournalContents& journal, Form_Worksheet& sheet);
// The shortest text that reads back to the same single.
std::string ShortestFloatText(float value);

}  // namespace sv
