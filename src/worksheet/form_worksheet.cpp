// The sheet's cells, shape, selection and state.
#include "worksheet/form_worksheet.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
#include <optional>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_cells.h"

namespace sv {

namespace {

// The most columns a sheet takes: the sheet file counts them in 16 bits.
constexpr long kMaxSheetCols = 32768;
// The most cells a sheet holds: a full-height sheet of 1024 columns. Beyond
// it the rows (or columns) are cut as at the row limit.
constexpr long long kMaxSheetCells = 65520LL * 1024;

struct ExtraOperation {
  Form_Worksheet::Operation run;
  Form_Worksheet::Availability when;
};

std::map<std::string, ExtraOperation>& ExtraOperations() {
  static std::map<std::string, ExtraOperation> ops;
  return ops;
}

// The operations Invoke runs.
constexpr const char* kOperations[] = {
    "FileClose",     "FileSave",       "FileSaveAs",   "FileExport",        "FileAppend",
    "FileImportAscii", "FileImportOptions", "EditCopy", "EditCut",          "EditPaste",
    "EditClear",     "AddColumns",     "AddRows",      "Insert",            "Delete",
    "ColumnRename",  "ClearWorkSheet", "SetColumnWidth", "SetWorksheetX",   "ShowXData",
    "AddNewPlot",    "AddNew3DPlot",   "Convert",      "ColumnMove",        "SetAs",
    "GotoColumn",    "GotoZeile"};

std::string BaseName(const std::string& path) {
  size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

// --- Cell values ---------------------------------------------------------------

bool ParseNumber(const std::string& text, double& value) {
  size_t b = 0, e = text.size();
  while (b < e && (text[b] == ' ' || text[b] == '\t')) ++b;
  while (e > b && (text[e - 1] == ' ' || text[e - 1] == '\t')) --e;
  if (b == e || e - b > 400) return false;
  std::string s;
  s.reserve(e - b);
  size_t i = b;
  if (text[i] == '+' || text[i] == '-') {
    if (text[i] == '-') s += '-';
    ++i;
  }
  int digits = 0;
  bool separator = false;
  for (; i < e; ++i) {
    char ch = text[i];
    if (ch >= '0' && ch <= '9') {
      s += ch;
      ++digits;
    } else if ((ch == '.' || ch == ',') && !separator) {
      separator = true;
      s += '.';
    } else {
      break;
    }
  }
  if (digits == 0) return false;
  if (i < e && (text[i] == 'e' || text[i] == 'E')) {
    s += 'e';
    ++i;
    if (i < e && (text[i] == '+' || text[i] == '-')) s += text[i++];
    int expDigits = 0;
    for (; i < e && text[i] >= '0' && text[i] <= '9'; ++i, ++expDigits) s += text[i];
    if (expDigits == 0) return false;
  }
  if (i != e) return false;
  double v = 0.0;
  auto [ptr, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
  if (ec != std::errc() || ptr != s.data() + s.size() || !std::isfinite(v)) return false;
  value = v;
  return true;
}

// Numbers show as many digits as their type carries: 15 significant digits
// for 64-bit cells, 7 for 32-bit ones, so that 0.1 * 3 shows as 0.3.
std::string FormatNumber(double value) {
  if (!std::isfinite(value)) return "";
  char buf[64];
  int n = std::snprintf(buf, sizeof buf, "%.15g", value);
  return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
}

std::string FormatNumber(float value) {
  if (!std::isfinite(value)) return "";
  char buf[64];
  int n = std::snprintf(buf, sizeof buf, "%.7g", static_cast<double>(value));
  return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
}

bool Cell::ToNumber(double& value) const {
  switch (kind_) {
    case CellKind::F32:
    case CellKind::F64:
      value = num_;
      return true;
    case CellKind::Text:
      return ParseNumber(text_, value);
    default:
      return false;
  }
}

bool Cell::IsNumeric() const {
  double v;
  return ToNumber(v);
}

double Cell::Number() const {
  double v = 0.0;
  return ToNumber(v) ? v : 0.0;
}

std::string Cell::Text() const {
  switch (kind_) {
    case CellKind::F32:
      return FormatNumber(static_cast<float>(num_));
    case CellKind::F64:
      return FormatNumber(num_);
    case CellKind::Text:
      return text_;
    default:
      return "";
  }
}

bool Cell::operator==(const Cell& other) const {
  if (kind_ != other.kind_) return false;
  if (kind_ == CellKind::Text) return text_ == other.text_;
  if (kind_ == CellKind::Null) return true;
  return num_ == other.num_ || (std::isnan(num_) && std::isnan(other.num_));
}

std::string TypIDLabel(long typ) {
  switch (typ) {
    case kTypX:
      return "[X]";
    case kTypY:
      return "[Y]";
    case kTypZ:
      return "[Z]";
    case kTypL:
      return "[L]";
    default:
      return "";
  }
}

std::string DefaultColName(long col) {
  if (col == 1) return "A";
  if (col == 2) return "B";
  if (col >= 3) return "C" + std::to_string(col - 2);
  return "";
}

// --- The view's defaults: the whole sheet is visible -----------------------------

long WorksheetView::TopRow(const Form_Worksheet&) const { return 1; }
long WorksheetView::BottomRow(const Form_Worksheet& s) const { return s.Rows() - 1; }
long WorksheetView::LeftCol(const Form_Worksheet&) const { return 1; }
long WorksheetView::RightCol(const Form_Worksheet& s) const { return s.Cols() - 1; }
long WorksheetView::VisibleRows(const Form_Worksheet& s) const { return s.Rows() - 1; }
bool WorksheetView::IsRowVisible(const Form_Worksheet& s, long row) const {
  return row >= 0 && row < s.Rows();
}
bool WorksheetView::IsColumnVisible(const Form_Worksheet& s, long col) const {
  return col >= 0 && col < s.Cols();
}
long WorksheetView::RowPos(const Form_Worksheet& s, long row) const {
  if (row <= 0) return 0;
  return s.HeaderRowHeight() + (row - 1) * s.RowHeight();
}
long WorksheetView::ColPos(const Form_Worksheet& s, long col) const {
  if (col <= 0) return 0;
  return s.FixedColWidth() + (col - 1) * s.ColWidth();
}

// --- Life ------------------------------------------------------------------------

Form_Worksheet::Form_Worksheet(MDIForm_Main* main)
    : main_(main), impl_(std::make_unique<Impl>()) {
  ResetWorksheet();
}

Form_Worksheet::~Form_Worksheet() {
  // Plots outside a main window go with the sheet; let them go of it first.
  for (auto& p : ownPlots_)
    if (p) p->SetWorksheet(nullptr);
  ownPlots_.clear();
}

void Form_Worksheet::RegisterOperation(const std::string& name, Operation op,
                                       Availability when) {
  if (op)
    ExtraOperations()[name] = ExtraOperation{std::move(op), std::move(when)};
  else
    ExtraOperations().erase(name);
}

bool Form_Worksheet::Offers(const std::string& operation) const {
  for (const char* op : kOperations)
    if (operation == op) return true;
  auto it = ExtraOperations().find(operation);
  return it != ExtraOperations().end() && (!it->second.when || it->second.when(*this));
}

bool Form_Worksheet::Invoke(const std::string& op) { return InvokeAt(op, -1); }

// Nothing may touch the sheet after the operation: it may have closed it.
bool Form_Worksheet::InvokeAt(const std::string& op, int index) {
  menuIndex_ = index;
  if (op == "FileClose") {
    FileClose();  // may destroy this sheet: nothing may follow
    return true;
  }
  if (op == "FileSave") {
    FileSave();
  } else if (op == "FileSaveAs") {
    FileSaveAs();
  } else if (op == "FileExport") {
    FileExport();
  } else if (op == "FileAppend") {
    FileAppend();
  } else if (op == "FileImportAscii") {
    FileImportAscii();
  } else if (op == "FileImportOptions") {
    FileImportOptions();
  } else if (op == "EditCopy") {
    EditCopy();
  } else if (op == "EditCut") {
    EditCut();
  } else if (op == "EditPaste") {
    EditPaste();
  } else if (op == "EditClear") {
    EditClear();
  } else if (op == "AddColumns") {
    AddColumns();
  } else if (op == "AddRows") {
    AddRows();
  } else if (op == "Insert") {
    Insert();
  } else if (op == "Delete") {
    Delete();
  } else if (op == "ColumnRename") {
    ColumnRename();
  } else if (op == "ClearWorkSheet") {
    ClearWorkSheet();
  } else if (op == "SetColumnWidth") {
    SetColumnWidth();
  } else if (op == "SetWorksheetX") {
    SetWorksheetX();
  } else if (op == "ShowXData") {
    ShowXData();
  } else if (op == "AddNewPlot") {
    AddNewPlot(0);
  } else if (op == "AddNew3DPlot") {
    AddNew3DPlot();
  } else if (op == "Convert") {
    Convert();
  } else if (op == "ColumnMove") {
    ColumnMove();
  } else if (op == "SetAs") {
    SetAs();
  } else if (op == "GotoColumn") {
    GotoColumn();
  } else if (op == "GotoZeile") {
    GotoZeile();
  } else if (auto it = ExtraOperations().find(op); it != ExtraOperations().end()) {
    Operation run = it->second.run;  // the table may change while it runs
    run(*this);
  } else {
    return false;
  }
  return true;
}

void Form_Worksheet::FileClose() {
  if (main_ && Handle() != 0) main_->CloseChild(Handle());
}

bool Form_Worksheet::QueryUnload() {
  bool cancel = false;
  QueryClose(cancel);
  if (cancel) return false;
  // The window goes: its plots go with it.
  ClearAllPlots();
  return true;
}

void Form_Worksheet::QueryClose(bool& cancel) {
  cancel = false;
  if (!changed_) return;
  view_->BringToFront(*this);
  std::string name = Filename_;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char ch) { return static_cast<char>(std::toupper(ch)); });
  MsgResult r = host().MsgBox("Save Changes to Worksheet " + name + " ?", MsgButtons::YesNoCancel,
                              MsgIcon::Question, "Worksheet");
  if (r == MsgResult::Yes) {
    if (SaveWorksheet(Filename_) != 0) cancel = true;
  } else if (r != MsgResult::No) {
    cancel = true;
  }
}

// --- State -----------------------------------------------------------------------

std::string Form_Worksheet::Caption() const {
  return BaseName(Filename_) + (changed_ ? " *" : "");
}

void Form_Worksheet::SetTitle(const std::string& title) {
  Filename(title);
  SetChanged();
}

void Form_Worksheet::SetChanged() {
  if (changed_) return;
  changed_ = true;
  view_->CaptionChanged(*this);
}

void Form_Worksheet::Saved() {
  if (!changed_) return;
  changed_ = false;
  view_->CaptionChanged(*this);
}

void Form_Worksheet::CaptionRefresh() { view_->CaptionChanged(*this); }

void Form_Worksheet::Filename(const std::string& name) {
  if (name == Filename_) {
    CaptionRefresh();
    return;
  }
  Filename_ = name;
  CaptionRefresh();
  // The plots' captions carry the sheet's name: setting their own name again
  // rebuilds them.
  for (long h : std::vector<long>(PlotHwnds_))
    if (SheetPlot* p = FindPlot(h)) p->SetPlotName(p->PlotName());
}

void Form_Worksheet::Redraw(bool redraw) {
  Redraw_ = redraw;
  if (Redraw_) DrawWorksheet();
}

// --- Metrics -----------------------------------------------------------------------

void Form_Worksheet::ColWidth(long width) {
  if (width < 1) return;
  ColWidth_ = width;
  if (Redraw_) DrawWorksheet();
}

long Form_Worksheet::FixedColWidth() const { return (5 + 2) * view_->DigitWidth(*this); }
long Form_Worksheet::HeaderRowHeight() const { return 2 * (view_->CharHeight(*this) + 1); }
long Form_Worksheet::RowHeight() const { return view_->CharHeight(*this) + 1; }

bool Form_Worksheet::InputCount(const std::string& prompt, const std::string& title, long max,
                                long& count) {
  std::optional<std::string> answer = host().InputBox(prompt, title, "1");
  if (!answer) return false;
  double v = 0;
  if (!ParseNumber(*answer, v)) return false;
  v = std::round(v);
  if (v < 1 || v > max) return false;
  count = static_cast<long>(v);
  return true;
}

void Form_Worksheet::SetColumnWidth() {
  long digits = 0;
  const long w8 = std::max(1L, view_->DigitWidth(*this));
  std::optional<std::string> answer =
      host().InputBox("Column width in digits for the worksheet", "Column Width",
                      std::to_string(std::max(1L, ColWidth_ / w8)));
  if (!answer) return;
  double v = 0;
  if (!ParseNumber(*answer, v)) return;
  v = std::round(v);
  if (v < 1 || v > 20) return;
  digits = static_cast<long>(v);
  ColWidth_ = digits * w8;
  DrawWorksheet();
}

void Form_Worksheet::AddColumns() {
  long n = 0;
  if (!InputCount("How many columns do you\r\nwant to add to the worksheet?", "Add New Columnns",
                  100, n))
    return;
  Cols(cols_ + n);
}

void Form_Worksheet::AddRows() {
  long n = 0;
  if (!InputCount("How many rows do you\r\nwant to add to the worksheet?", "Add New Rows",
                  kMaxSheetRows, n))
    return;
  Rows(rows_ + n);
}

// --- Shape -------------------------------------------------------------------------

void Form_Worksheet::Rows(long n) {
  SetChanged();
  const long old = rows_;
  if (n < 1) n = 1;
  if (n > kMaxSheetRows) {
    n = kMaxSheetRows;
    G().LastErrorCode = kErrMaxSheetRows;
  }
  if (static_cast<long long>(n) * cols_ > kMaxSheetCells) {
    n = static_cast<long>(kMaxSheetCells / cols_);
    G().LastErrorCode = kErrMaxSheetRows;
  }
  if (!impl_->Resize(n, cols_)) {
    G().LastErrorCode = kErrMaxSheetRows;
    n = rows_;
  }
  rows_ = n;
  double inc = 0.0;
  impl_->NumberAt(0, 0, inc);
  if (inc == 0.0) {
    inc = 1.0;
    impl_->Set(0, 0, Cell(1.0));
    if (rows_ > 1) impl_->Set(1, 0, Cell(1.0));
  }
  // Row 1 carries the initial value of the index. A row 1 that is new here
  // has none yet (the increment may be set already, as after a sheet of one
  // row): the series then starts at the default 1, not at an empty 0.
  double offset = 0.0;
  if (rows_ > 1) {
    double first = 1.0;
    if (!impl_->NumberAt(1, 0, first)) first = 1.0;
    offset = first - inc;
  }
  for (long r = old; r < rows_; ++r) impl_->Set(r, 0, Cell(inc * r + offset));
  if (SelStartRow_ > rows_ - 1) SelStartRow_ = rows_ - 1;
  if (SelEndRow_ > rows_ - 1) SelEndRow_ = rows_ - 1;
  if (Row_ > rows_ - 1) Row_ = 1;
  if (Redraw_) DrawWorksheet();
}

void Form_Worksheet::ResizeCols(long n, bool notifyPlots) {
  SetChanged();
  const long old = cols_;
  if (n < 1) n = 1;
  if (n > kMaxSheetCols) n = kMaxSheetCols;
  if (static_cast<long long>(n) * rows_ > kMaxSheetCells)
    n = static_cast<long>(kMaxSheetCells / rows_);
  if (n != old && !impl_->Resize(rows_, n)) n = old;
  cols_ = n;
  records_.resize(n);
  if (n < old && notifyPlots) {
    for (long c = old - 1; c >= n; --c)
      for (long h : std::vector<long>(PlotHwnds_))
        if (SheetPlot* p = FindPlot(h)) p->RemoveCurve(c);
  }
  for (long c = old; c < n; ++c) {
    SetColumnDefaults(c);
    ColChanged(c, true);
  }
  if (SelStartCol_ > cols_ - 1) SelStartCol_ = -1;
  if (SelEndCol_ > cols_ - 1) SelEndCol_ = cols_ - 1;
  if (Col_ > cols_ - 1) Col_ = 1;
  if (Redraw_) DrawWorksheet();
}

void Form_Worksheet::Cols(long n) { ResizeCols(n, true); }

void Form_Worksheet::SetColumnDefaults(long c) {
  ColumnRecord rec;
  rec.Typ = c <= 1 ? kTypX : kTypY;
  rec.Name = DefaultColName(c);
  records_[c] = rec;
  BuildHeader(c);
}

void Form_Worksheet::Col(long col) {
  if (col < 0 || col >= cols_) return;
  Col_ = col;
}

void Form_Worksheet::Row(long row) {
  if (row < 0) return;
  if (row > rows_ - 1) Rows(row + 1);
  if (row > rows_ - 1) return;  // the sheet is full
  Row_ = row;
}

void Form_Worksheet::SelStartCol(long col) {
  view_->InvertSelection(*this, false);
  SelStartCol_ = col;
  SelEndCol_ = col == 0 ? cols_ - 1 : col;
  view_->InvertSelection(*this, true);
}

void Form_Worksheet::SelStartRow(long row) {
  view_->InvertSelection(*this, false);
  SelStartRow_ = row;
  SelEndRow_ = row == 0 ? rows_ - 1 : row;
  view_->InvertSelection(*this, true);
}

void Form_Worksheet::SelEndCol(long col) { SelEndCol_ = col; }
void Form_Worksheet::SelEndRow(long row) { SelEndRow_ = row; }

void Form_Worksheet::SetSelection(long startRow, long startCol, long endRow, long endCol) {
  view_->InvertSelection(*this, false);
  SelStartRow_ = startRow;
  SelStartCol_ = startCol;
  SelEndRow_ = endRow;
  SelEndCol_ = endCol;
  view_->InvertSelection(*this, true);
}

long Form_Worksheet::SelCountCol() const {
  if (SelStartCol_ < 0 || SelEndCol_ < SelStartCol_) return 0;
  return SelEndCol_ - SelStartCol_ + 1;
}

long Form_Worksheet::SelCountRow() const {
  if (SelStartRow_ < 0 || SelEndRow_ < SelStartRow_) return 0;
  return SelEndRow_ - SelStartRow_ + 1;
}

// --- Lifecycle -----------------------------------------------------------------------

void Form_Worksheet::ResetWorksheet() {
  const bool redraw = Redraw_;
  Redraw_ = false;
  cols_ = 1;
  rows_ = 1;
  ColWidth_ = (13 + 2) * view_->DigitWidth(*this);
  SelStartCol_ = SelEndCol_ = SelStartRow_ = SelEndRow_ = -1;
  Row_ = Col_ = 0;
  impl_->Clear();
  impl_->Resize(1, 1);
  records_.assign(1, ColumnRecord());
  records_[0].Typ = kTypX;
  Rows(1);
  Cols(1);
  impl_->Set(0, 0, Cell());
  Col_ = 1;
  Row_ = 1;
  SelStartCol_ = SelEndCol_ = SelStartRow_ = SelEndRow_ = -1;
  ClearAllPlots();
  Saved();
  Redraw(redraw);
}

void Form_Worksheet::ClearWorkSheet() {
  if (IsAnyProtected()) return;
  if (host().MsgBox("This will clear the contents of all the data associated with this "
                    "worksheet. Are you sure?",
                    MsgButtons::YesNo, MsgIcon::Question, "Attention") != MsgResult::Yes)
    return;
  SetChanged();
  for (long c = 1; c < cols_; ++c) ColChanged(c, true);
  for (long r = 1; r < rows_; ++r)
    for (long c = 1; c < cols_; ++c) impl_->Set(r, c, Cell());
  SelStartCol_ = SelEndCol_ = SelStartRow_ = SelEndRow_ = 1;
  UpdatePlots();
  DrawWorksheet();
}

size_t Form_Worksheet::CellStorageBytes() const { return impl_->StorageBytes(); }

}  // namespace sv
