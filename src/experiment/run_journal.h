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
//
//   #SV4200 run journal<TAB>1          always the first line
//   #type<TAB>1                        0 I(t), 1 I(E)
//   #sheet<TAB>PATH                    where the sheet was to go
//   #column<TAB>N<TAB>TYP<TAB>NAME<TAB>LABEL    N = 1, 2, ... in order
//   #plot<TAB>P<TAB>XLABEL<TAB>YLABEL
//   #curve<TAB>P<TAB>XCOL<TAB>YCOL<TAB>COLOR<TAB>LEGEND
//   12<TAB>20.5<TAB>0.37<TAB><TAB>1312
//   #end<TAB>10007<TAB>12
//
// Texts in header fields escape backslash, TAB, LF and CR as \\ \t \n \r.
// Unknown "#" lines are skipped, so that later fields can be added.
//
// The writer's part depends on the core only, so that the fuzz target can
// take it alone; rebuilding a sheet is in run_journal_sheet.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sv {

class Form_Plot;
class Form_Worksheet;

inline constexpr const char* kJournalExtension = ".jnl";
// The first line's text before its version field.
inline constexpr const char* kJournalMagic = "#SV4200 run journal";
// The most columns a journal may declare (far beyond any run's).
inline constexpr long kJournalMaxColumns = 4096;
// Plot numbers run from 0 to this.
inline constexpr int kJournalMaxPlot = 7;

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
// The axis titles of a plot that has curves.
struct JournalPlot {
  int plot = 0;
  std::string xLabel, yLabel;
};
struct JournalHeader {
  int experimentType = 1;  // 0 I(t), 1 I(E)
  std::string sheetPath;   // where the run's sheet was to go
  std::vector<JournalColumn> columns;  // data columns, 1-based in the sheet
  std::vector<JournalCurve> curves;
  std::vector<JournalPlot> plots;
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
  // and writes the header. False with `error` set when it cannot (also when
  // another run holds that journal: its file is left as it is).
  bool Open(const std::string& sheetPath, const JournalHeader& header, std::string& error);
  bool IsOpen() const { return fd_ >= 0; }
  const std::string& Path() const { return path_; }
  // One row: its number and the values of the data columns in order
  // (values[0] is column 1; a value that is no number is a gap). One write;
  // false when it failed, with Error() telling why. A failed write leaves no
  // part of its line in the file.
  bool Append(long row, const std::vector<double>& values);
  // Rows appended since Open.
  long Rows() const { return rows_; }
  // "#end", the stop code and the rows written, then closes.
  void End(int stopCode, long rows);
  // Closes and deletes the file: the sheet was saved or discarded.
  void Remove();
  // Why the last Open or Append failed.
  const std::string& Error() const { return error_; }

 private:
  bool WriteLine(const std::string& line);
  void Close();

  int fd_ = -1;
  std::string path_;
  long long size_ = 0;  // bytes in the file, all of them whole lines
  size_t columns_ = 0;
  long rows_ = 0;
  std::string error_;
  std::string line_;  // the row being written
};

// A journal read back.
struct JournalContents {
  JournalHeader header;
  std::vector<std::pair<long, std::vector<double>>> rows;  // complete rows only
  bool ended = false;     // "#end" was there
  int stopCode = 0;
  long endRows = -1;      // the row count "#end" told
  bool tornLine = false;  // a last line without its LF was dropped
  // Complete lines that were no row of this journal (skipped), and what
  // was wrong with the first one ("line 14: 3 values for 5 columns").
  long badLines = 0;
  std::string firstBadLine;
};
// Reads a journal; nullopt with `error` set for a file that is no journal.
std::optional<JournalContents> ReadJournal(const std::string& path, std::string& error);
std::optional<JournalContents> ParseJournal(std::string_view text, std::string& error);
// True while a running process holds the journal's lock.
bool JournalLocked(const std::string& path);
// The shortest text that reads back to the same single.
std::string ShortestFloatText(float value);

// The lines the writer puts down: the header, and one row with its LF.
std::string JournalHeaderText(const JournalHeader& header);
std::string JournalRowText(long row, const std::vector<double>& values);
// What was dropped or skipped while reading, for the user ("" when
// nothing): "the last line was incomplete and was dropped", ...
std::string JournalReadNotes(const JournalContents& journal);

// --- The sheet (run_journal_sheet.cpp) ---------------------------------------

// The header of a run's sheet: its data columns (names, labels, roles) and
// the curves of the given plots, the plot number being the place in the list
// (null entries keep their number).
JournalHeader MakeJournalHeader(const Form_Worksheet& sheet, int experimentType,
                                const std::string& sheetPath,
                                const std::vector<const Form_Plot*>& plots);
// The sheet a journal rebuilds: columns with labels and roles, the rows at
// their row numbers, and with a plot library registered the curves as
// plots of the sheet (scaled to their data). False when the sheet cannot
// take it (too many rows or cells).
bool RebuildSheet(const JournalContents& journal, Form_Worksheet& sheet);

}  // namespace sv
