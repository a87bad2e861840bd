// The table document: a grid of cells (nothing, a number or a text) with a
// record for each column, the plots that draw from it and a selection.
// Row 0 holds the column headers and column 0 the index series; user data
// lives in rows and columns 1 and up. The window that shows the sheet binds
// through WorksheetView; without one the sheet runs headless.
#pragma once

#include <cstdint>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/document.h"

namespace sv {

struct ImportSettings;

class Form_Worksheet;
class MDIForm_Main;
class SheetPlot;

// --- Cells -------------------------------------------------------------------

enum class CellKind : uint8_t { Null, F32, F64, Text };

// One cell as a value. (The sheet stores cells packed; this is what goes in
// and comes out.)
class Cell {
 public:
  Cell() = default;  // Null
  Cell(float v) : kind_(CellKind::F32), num_(v) {}
  Cell(double v) : kind_(CellKind::F64), num_(v) {}
  Cell(int v) : kind_(CellKind::F64), num_(v) {}
  Cell(long v) : kind_(CellKind::F64), num_(static_cast<double>(v)) {}
  Cell(std::string text) : kind_(CellKind::Text), text_(std::move(text)) {}
  Cell(const char* text) : kind_(CellKind::Text), text_(text ? text : "") {}

  CellKind Kind() const { return kind_; }
  bool IsNull() const { return kind_ == CellKind::Null; }
  bool IsText() const { return kind_ == CellKind::Text; }
  // A number, or a text that parses as one (see ParseNumber).
  bool IsNumeric() const;
  // The number, when IsNumeric.
  bool ToNumber(double& value) const;
  // The number; 0 for a gap.
  double Number() const;
  // What the grid shows: "" for Null, the number with the digits its type
  // carries (FormatNumber), or the text itself.
  std::string Text() const;
  // The raw value of a number cell; the text of a text cell.
  double Value() const { return num_; }
  const std::string& RawText() const { return text_; }

  bool operator==(const Cell& other) const;

 private:
  CellKind kind_ = CellKind::Null;
  double num_ = 0.0;
  std::string text_;
};

// The numeric test of cells: blanks around are allowed, then an optional
// sign, digits with at most one decimal separator ("." or ","), at least one
// digit, and an optional exponent ("E" or "e", optional sign, digits).
// Anything else (also "", "inf", "nan", thousands separators) is a gap.
bool ParseNumber(const std::string& text, double& value);
// A number as text: 15 significant digits for a 64-bit value, 7 for a
// 32-bit one, exponent form below 1e-4 and from 1e15 (1e7) on ("0.3", "1e-05").
std::string FormatNumber(double value);
std::string FormatNumber(float value);

// --- Column records ----------------------------------------------------------

// Roles.
inline constexpr int16_t kTypX = 0, kTypY = 1, kTypZ = 2, kTypL = 4;

struct ColumnRecord {
  int16_t Typ = kTypY;
  std::string Name;
  std::string Label;
  float MinValue = 0.0f, MaxValue = 0.0f;
  bool Changed = false;
  int16_t FixedAlignment = 2;
  int16_t Alignment = 1;
  bool Protected = false;
};

// "[X]", "[Y]", "[Z]", "[L]", "" for any other role.
std::string TypIDLabel(long typ);
// Default name of the column at a position: "A", "B", "C1", "C2", ...
std::string DefaultColName(long col);

// The most rows a sheet holds, 2^16 - 16.
inline constexpr long kMaxSheetRows = 65520;
// The application's last-error code when Rows was cut to kMaxSheetRows.
inline constexpr long kErrMaxSheetRows = 10015;

// --- The view ----------------------------------------------------------------

// What the worksheet window is told and asked. Every call has a default that
// fits a sheet without a window: nothing is drawn, and the whole sheet counts
// as visible.
class WorksheetView {
 public:
  virtual ~WorksheetView() = default;
  // Redraws.
  virtual void DrawCel(const Form_Worksheet&, long /*row*/, long /*col*/) {}
  virtual void DrawRow(const Form_Worksheet&, long /*row*/) {}
  virtual void DrawColumn(const Form_Worksheet&, long /*col*/) {}
  virtual void DrawGrid(const Form_Worksheet&) {}
  virtual void DrawWorksheet(const Form_Worksheet&) {}
  virtual void CaptionChanged(const Form_Worksheet&) {}
  // The selection is shown inverted: off before it changes, on after.
  virtual void InvertSelection(const Form_Worksheet&, bool /*on*/) {}
  // Bring the window to the front (before a question about it).
  virtual void BringToFront(const Form_Worksheet&) {}
  // Start in-place editing of the current cell.
  virtual void EditCell(const Form_Worksheet&) {}
  // Scroll the current cell (Row, Col) into sight and mark it there.
  virtual void ShowCurrentCell(const Form_Worksheet&) {}

  // Queries.
  virtual long TopRow(const Form_Worksheet& s) const;
  virtual long BottomRow(const Form_Worksheet& s) const;
  virtual long LeftCol(const Form_Worksheet& s) const;
  virtual long RightCol(const Form_Worksheet& s) const;
  virtual long VisibleRows(const Form_Worksheet& s) const;
  virtual bool IsRowVisible(const Form_Worksheet& s, long row) const;
  virtual bool IsColumnVisible(const Form_Worksheet& s, long col) const;
  // Position of a row's top and a column's left edge in the window, in pixels.
  virtual long RowPos(const Form_Worksheet& s, long row) const;
  virtual long ColPos(const Form_Worksheet& s, long col) const;
  // The cell under the mouse; -1 when the mouse is not over the grid.
  virtual long MouseRow(const Form_Worksheet&) const { return -1; }
  virtual long MouseCol(const Form_Worksheet&) const { return -1; }
  // Width of the text "8" and height of a character of the grid's font, pixels.
  virtual long DigitWidth(const Form_Worksheet&) const { return 8; }
  virtual long CharHeight(const Form_Worksheet&) const { return 16; }
};

// --- The sheet -----------------------------------------------------------------

class Form_Worksheet : public ChildDocument {
 public:
  explicit Form_Worksheet(MDIForm_Main* main = nullptr);
  ~Form_Worksheet() override;
  Form_Worksheet(const Form_Worksheet&) = delete;
  Form_Worksheet& operator=(const Form_Worksheet&) = delete;

  // ChildDocument.
  DocKind Kind() const override { return DocKind::Worksheet; }
  bool Invoke(const std::string& operation) override;
  // An entry of a menu array (a function of the Functions menu): its index
  // is MenuIndex() while the operation runs.
  bool InvokeAt(const std::string& operation, int index) override;
  int MenuIndex() const { return menuIndex_; }
  bool Offers(const std::string& operation) const override;
  // The file name without its path, with " *" while changed.
  std::string Caption() const override;
  bool Changed() const override { return changed_; }
  bool Locked() const override { return Locked_; }
  void Locked(bool locked) { Locked_ = locked; }
  bool Visible() const override { return visible_; }
  void SetVisible(bool v) override { visible_ = v; }
  // The main window names a new sheet: sets Filename, which marks it changed.
  void SetTitle(const std::string& title) override;
  // QueryClose; false keeps the window.
  bool QueryUnload() override;

  // Operations beyond this class plug in by name (the column arithmetic,
  // sorting, go-to): Invoke runs them, Offers reports them.
  // `when`, if given, says whether the sheet offers the operation as it
  // stands (a column to work on, a selection).
  using Operation = std::function<void(Form_Worksheet&)>;
  using Availability = std::function<bool(const Form_Worksheet&)>;
  static void RegisterOperation(const std::string& name, Operation op, Availability when = {});

  void SetView(WorksheetView* view) { view_ = view ? view : &nullView_; }
  WorksheetView& View() const { return *view_; }
  MDIForm_Main* Main() const { return main_; }

  // --- Sheet state ---
  // The sheet's Changed: sets the state and the " *" of the caption; nothing
  // when already changed.
  void SetChanged();
  // Clears the state and the mark; nothing when already saved.
  void Saved();
  const std::string& Filename() const { return Filename_; }
  // Stores the name, rebuilds the caption and renames the plots so their
  // captions follow. The same name only refreshes the caption.
  void Filename(const std::string& name);
  bool IsMatrix() const { return IsMatrix_; }
  void IsMatrix(bool matrix) { IsMatrix_ = matrix; }
  bool Redraw() const { return Redraw_; }
  // Stores the flag and redraws the sheet.
  void Redraw(bool redraw);

  // --- Shape and position ---
  long Cols() const { return cols_; }
  void Cols(long n);
  long Rows() const { return rows_; }
  // Cut to 1 .. kMaxSheetRows; above, G().LastErrorCode becomes 10015.
  void Rows(long n);
  long Col() const { return Col_; }
  void Col(long col);  // ignored outside 0 .. Cols - 1
  long Row() const { return Row_; }
  void Row(long row);  // above Rows - 1 the sheet grows to row + 1 rows
  long SelStartCol() const { return SelStartCol_; }
  long SelEndCol() const { return SelEndCol_; }
  long SelStartRow() const { return SelStartRow_; }
  long SelEndRow() const { return SelEndRow_; }
  // Also moves the end: 0 extends it to the last column (row), other values
  // set it equal.
  void SelStartCol(long col);
  void SelStartRow(long row);
  void SelEndCol(long col);
  void SelEndRow(long row);
  // Sets all four at once, stored as given (-1 everywhere clears).
  void SetSelection(long startRow, long startCol, long endRow, long endCol);
  long SelCountCol() const;
  long SelCountRow() const;

  // View queries (the view's answers, or the defaults without one).
  long TopRow() const { return view_->TopRow(*this); }
  long BottomRow() const { return view_->BottomRow(*this); }
  long LeftCol() const { return view_->LeftCol(*this); }
  long RightCol() const { return view_->RightCol(*this); }
  long VisibleRows() const { return view_->VisibleRows(*this); }
  long RowPos(long row) const { return view_->RowPos(*this, row); }
  long ColPos(long col) const { return view_->ColPos(*this, col); }
  long MouseRow() const { return view_->MouseRow(*this); }
  long MouseCol() const { return view_->MouseCol(*this); }
  bool IsRowVisible(long row) const { return view_->IsRowVisible(*this, row); }
  bool IsColumnVisible(long col) const { return view_->IsColumnVisible(*this, col); }

  // Redraws.
  void DrawCel(long row, long col) const { view_->DrawCel(*this, row, col); }
  void DrawRow(long row) const { view_->DrawRow(*this, row); }
  void DrawColumn(long col) const { view_->DrawColumn(*this, col); }
  void DrawGrid() const { view_->DrawGrid(*this); }
  void DrawWorksheet() const { view_->DrawWorksheet(*this); }

  // Display metrics, pixels: column 0 is 5 digits plus 2 wide, a data column
  // ColWidth (13 digits plus 2 by default); the header row is twice
  // (character height + 1), a data row character height + 1.
  long ColWidth() const { return ColWidth_; }
  void ColWidth(long width);
  long FixedColWidth() const;
  long HeaderRowHeight() const;
  long RowHeight() const;
  // Asks for 1 to 20 digits and sets ColWidth to digits times the width of "8".
  void SetColumnWidth();

  // --- Columns ---
  // Records of columns 0 .. Cols - 1 (the file readers write them directly
  // and then call BuildHeader).
  const ColumnRecord& Record(long col) const { return records_[col]; }
  ColumnRecord& Record(long col) { return records_[col]; }
  // Rewrites header cell (0, col) from the record: "A[X]|label".
  void BuildHeader(long col);
  std::string ColName(long col) const;
  void ColName(long col, const std::string& name);  // no uniqueness test
  // Of the current column.
  std::string ColLabel() const;
  void ColLabel(const std::string& label);
  long ColTyp() const;
  void ColTyp(long typ);
  bool Protected() const;
  void Protected(bool prot);
  // ColTyp of each selected column; Col ends one past the last.
  void SetAs(long typ);
  // Asks for the role of the selected columns and sets it.
  void SetAs();
  long ColAlignment(long col) const;
  void ColAlignment(long col, long alignment);
  long FixedAlignment(long col) const;
  void FixedAlignment(long col, long alignment);
  // True, with the message "At least one column is write protected!", when a
  // column is protected.
  bool IsAnyProtected();
  bool ColChanged(long col) const;
  // A true flag on an X column spreads right to its Y and Z columns.
  void ColChanged(long col, bool flag);
  // Case-blind search of columns 1 .. Cols - 1; -1 when none.
  long ColOf(const std::string& name) const;
  // The X column for col: col itself or the nearest X column left of it; 0
  // when there is none.
  long XColOf(long col) const;
  bool IsColumn(const std::string& name) const { return ColOf(name) >= 0; }
  // A list line of the plot dialogs: name, two blanks, role tag, label.
  std::string PlotListLine(long col) const;

  // Ask for a count and add that many columns (1 .. 100) or rows.
  void AddColumns();
  void AddRows();
  // Result true when columns went in.
  // With `fill` false the new columns' body cells are left unwritten: only for
  // a caller that stores every one of them next, through FloatBody.
  bool InsertColumn(long position, long count, bool fill = true);
  // Removes the selected columns; true when any went.
  bool DeleteColumn();
  bool MoveColumn(long from, long to);
  // Asks where the column at SelStartCol goes and moves it there.
  void ColumnMove();
  // Ask for a column (name or number) or a row and make it current and
  // visible. A bad answer beeps and changes nothing.
  void GotoColumn();
  void GotoZeile();
  // Removes rows first .. last; the count removed, 0 for a bad range.
  long DeleteRow(long first, long last);
  void ColumnRename();

  // --- Cells ---
  // The cell; with Redraw on it is also redrawn. Indices are not tested.
  Cell TextMatrix(long row, long col) const;
  // The cell without a redraw, for reading to compute with: Null outside the
  // sheet. (Cells are stored packed, so this is a value, not a reference.)
  Cell CellAt(long row, long col) const;
  void TextMatrix(long row, long col, const Cell& value);
  // The body (rows 1 .. Rows - 1) of a column held as plain 32-bit floats,
  // the gap's bits for Null; null when the column holds other cells (texts,
  // doubles) or is outside. For whole-column arithmetic: a float written
  // through it must not have the gap's bits, and the writer marks the column.
  uint32_t* FloatBody(long col);
  const uint32_t* FloatBody(long col) const;
  // Quick reads without building a Cell.
  CellKind KindOf(long row, long col) const;
  bool IsNumeric(long row, long col) const;
  // True with the value when the cell is numeric.
  bool NumberAt(long row, long col, double& value) const;
  // The current cell as text; set stores a text and marks sheet and column.
  std::string text() const;
  void text(const std::string& value);
  void AddItem(const std::string& text);
  void SetRowData(const std::vector<float>& values);
  void SetRowData(const std::vector<double>& values);
  void SetMatrixRow(long row, const std::vector<float>& values);
  bool GetMatrixRow(long row, std::vector<float>& values) const;
  // from, to: the X range asked for; on return the first and last X taken.
  void GetColData(long col, double& from, double& to, std::vector<float>& values,
                  long& count) const;
  // One unbroken stretch from row; row ends one past where it stopped.
  void GetXYColData(long xcol, long ycol, long& row, long toRow, std::vector<float>& x,
                    std::vector<float>& y, long& count) const;
  void GetXYColDataAll(long xcol, long ycol, std::vector<float>& x, std::vector<float>& y,
                       long& count) const;
  void GetXYLabelData(long xcol, long lcol, long& row, long toRow, std::vector<float>& x,
                      std::vector<float>& y, std::vector<std::string>& labels,
                      long& count) const;
  void SetXYColData(long ycol, long first, long last, const std::vector<float>& x,
                    const std::vector<float>& y);
  // Advances Row and returns its cells in xcol and ycol.
  void GetXY(long xcol, long ycol, Cell& x, Cell& y);
  // Rows 0 .. Rows - 1 and columns 0 .. Cols - 1 of this sheet from source
  // (cells source does not have become Null).
  void CopyAllData(const Form_Worksheet& source);
  // -1 when no row has both cells numeric.
  long NearestRow(double x, double y, double aspect) const;
  // The same over the given X and Y columns.
  long NearestRow(long xcol, long ycol, double x, double y, double aspect) const;
  // Empty: min 0, max -1.
  void MinMaxOfCol(long col, double& min, double& max, bool allRows = false);
  double MinOfCol(long col, bool allRows = false);
  double MaxOfCol(long col, bool allRows = false);
  void MinMaxOfMatrix(double& xMin, double& xMax, double& zMin, double& zMax, double& yMin,
                      double& yMax) const;
  // The peak between the selection's two end rows, in the column SelStartCol
  // against its X column (worksheet_peak.cpp): rows from the lower to the
  // higher, only those with numbers in both columns and X between the end
  // rows' X values. `area` sums the trapezoids, `baselineArea` is the one
  // under the line from the first to the last row (0 below 2 rows); the peak
  // is the first largest Y. `rows` counts the rows taken.
  struct PeakSummary {
    double area = 0, baselineArea = 0;
    long maxRow = -1;
    double peakX = 0, peakY = 0;
    long rows = 0;
    long firstRow = -1, lastRow = -1;
    double firstX = 0, firstY = 0, lastX = 0, lastY = 0;
    // The peak above the baseline: peak Y less the baseline's value at peak X.
    double Height() const;
  };
  PeakSummary PeakAnalysis() const;
  // X from the given column instead of the Y column's own X column.
  PeakSummary PeakAnalysis(long xcol) const;
  void PeakAnalysis(double& area, double& baselineArea, long& maxRow, double& peakX,
                    double& peakY, long& rows) const;
  void MinMaxOfWorksheet(double& xMin, double& xMax, double& yMin, double& yMax,
                         double& zMin, double& zMax) const;
  void ClearWorkSheet();
  void ResetWorksheet();
  void SetWorksheetX();
  void ShowXData();
  // A new sheet through the main window with the other IsMatrix; null
  // without a main window.
  Form_Worksheet* Convert();
  // The copy step of Convert into a given sheet.
  void ConvertInto(Form_Worksheet& target) const;
  // The commands of the Column and Edit menus.
  void Insert();
  void Delete();
  // Asks about unsaved changes; cancel true keeps the sheet.
  void QueryClose(bool& cancel);
  // Bytes held for the cells, their texts included.
  size_t CellStorageBytes() const;

  // --- Plots ---
  long Plots() const { return static_cast<long>(PlotHwnds_.size()); }
  long PlotWindowHwnd(long index) const;
  // The plot with that handle among the open windows; null when gone.
  SheetPlot* FindPlot(long hwnd) const;
  // Makes a plot ("Plot" + count) and appends its handle; false (plot null)
  // without a plot library.
  bool NewPlot(SheetPlot*& plot);
  bool New3DPlot(SheetPlot*& plot);
  // Through the handler the plot library registers; false without one.
  bool AddNewPlot(long layer = 0);
  bool AddNew3DPlot();
  void RemovePlot(long hwnd);
  void ClearAllPlots();
  void UpdatePlots();

  // --- Files and clipboard (worksheet_files.cpp) ---
  // Results: 0 for success, else the error number.
  long OpenWorksheet(const std::string& filename);
  long SaveWorksheet(const std::string& filename, bool silent = false);
  long OpenMOS(const std::string& filename);
  long Import(const std::string& filename);
  long Export(const std::string& filename);
  long ExportAll(const std::string& filename);
  void FileOpen();
  // True when the sheet was saved.
  bool FileSave();
  bool FileSaveAs();
  // The save dialog's filter, and the extension (without the dot) a name
  // chosen there without one gets.
  std::string SaveFilter = "Worksheet Files (*.sht)|*.sht||";
  std::string DefaultExt = "sht";
  void FileAppend();
  void FileExport();
  void FileImportAscii();
  void FileImportOptions();
  void EditCopy();
  void EditCut();
  void EditPaste();
  void EditClear();
  // Import options from and to the ini file, section "Import".
  void GetINI();
  void WriteINI();
  // The import option fields as one record, and back.
  ImportSettings ImportOptionsNow() const;
  void TakeImportOptions(const ImportSettings& s);
  // Closes the sheet's window (through the main window).
  void FileClose();

  // Import options.
  int Structure = 0;         // 0 delimited, 1 fixed width
  int Delimiter = 0;         // character code, 0 = tab
  std::string ColWidthText;  // key "ColWidth": field width for Structure 1
  int Header = 0;            // 1: skip HeaderLines lines
  int HeaderLines = 1;
  int ImportAs = 0;          // 0 replace, 1 new columns, 2 new rows
  int UnknownColumns = 1;    // 0: at most Columns columns
  int Columns = 0;
  int RenameColumns = 1;
  int RenameWorksheet = 1;

 private:
  struct Impl;
  struct PackedCell;

  void ResizeCols(long n, bool notifyPlots);
  void RedrawRow0();
  std::string HeaderText(long col) const;
  void SetColumnDefaults(long col);
  void CaptionRefresh();
  bool InputCount(const std::string& prompt, const std::string& title, long max,
                  long& count);

  MDIForm_Main* main_ = nullptr;
  WorksheetView nullView_;
  WorksheetView* view_ = &nullView_;
  std::unique_ptr<Impl> impl_;  // the cells
  std::vector<ColumnRecord> records_;
  long rows_ = 1, cols_ = 1;
  long Col_ = 0, Row_ = 0;
  long SelStartCol_ = -1, SelEndCol_ = -1, SelStartRow_ = -1, SelEndRow_ = -1;
  bool Locked_ = false;
  bool changed_ = false;
  bool Redraw_ = true;
  bool IsMatrix_ = false;
  bool visible_ = false;
  int menuIndex_ = -1;
  long ColWidth_ = 0;
  std::string Filename_;
  std::vector<long> PlotHwnds_;
  // Plots of a sheet outside a main window, with handles of our own.
  std::vector<std::unique_ptr<SheetPlot>> ownPlots_;
  long ownPlotCounter_ = 0;
  SheetPlot* AdoptPlot(std::unique_ptr<SheetPlot> plot, const std::string& name);
};

// Registers the sheet factory and the sheet's menu commands (also declared
// in worksheet_documents.h).
void RegisterWorksheetDocuments(MDIForm_Main& main);

}  // namespace sv
