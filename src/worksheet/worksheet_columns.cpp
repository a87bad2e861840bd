// Column records, headers, and the operations that move columns and rows.
#include <algorithm>
#include <cctype>
#include <cmath>

#include "core/host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_cells.h"
#include "worksheet/worksheet_dialogs.h"

namespace sv {

namespace {
std::string Upper(std::string s) {
  for (char& ch : s) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return s;
}

// A whole number from min to max, blanks around allowed.
bool WholeNumber(const std::string& text, long min, long max, long& value) {
  double v = 0;
  if (!ParseNumber(text, v) || v != std::floor(v) || v < double(min) || v > double(max))
    return false;
  value = static_cast<long>(v);
  return true;
}
}  // namespace

// --- Records and headers ----------------------------------------------------------

std::string Form_Worksheet::HeaderText(long col) const {
  const ColumnRecord& rec = records_[col];
  std::string h = rec.Name + TypIDLabel(rec.Typ);
  if (!rec.Label.empty()) h += "|" + rec.Label;
  return h;
}

void Form_Worksheet::BuildHeader(long col) {
  // Cell (0, 0) is the index increment, not a header.
  if (col < 1 || col >= cols_) return;
  impl_->Set(0, col, Cell(HeaderText(col)));
}

void Form_Worksheet::RedrawRow0() {
  if (Redraw_) DrawRow(0);
}

std::string Form_Worksheet::ColName(long col) const {
  if (col < 0 || col >= cols_) return "";
  return records_[col].Name;
}

void Form_Worksheet::ColName(long col, const std::string& name) {
  if (col < 0 || col >= cols_) return;
  records_[col].Name = name;
  BuildHeader(col);
  RedrawRow0();
}

std::string Form_Worksheet::ColLabel() const {
  if (Col_ < 0 || Col_ >= cols_) return "";
  return records_[Col_].Label;
}

void Form_Worksheet::ColLabel(const std::string& label) {
  if (Col_ < 0 || Col_ >= cols_) return;
  records_[Col_].Label = label;
  BuildHeader(Col_);
  DrawRow(0);
}

long Form_Worksheet::ColTyp() const {
  if (Col_ < 0 || Col_ >= cols_) return -1;
  return records_[Col_].Typ;
}

void Form_Worksheet::ColTyp(long typ) {
  if (Col_ < 0 || Col_ >= cols_) return;
  records_[Col_].Typ = static_cast<int16_t>(typ);
  BuildHeader(Col_);
}

bool Form_Worksheet::Protected() const {
  if (Col_ < 0 || Col_ >= cols_) return false;
  return records_[Col_].Protected;
}

void Form_Worksheet::Protected(bool prot) {
  if (Col_ < 0 || Col_ >= cols_) return;
  records_[Col_].Protected = prot;
}

void Form_Worksheet::SetAs(long typ) {
  if (SelStartCol_ < 0) return;
  const long last = std::min(SelEndCol_, cols_ - 1);
  long c = SelStartCol_;
  for (; c <= last; ++c) {
    Col_ = c;
    ColTyp(typ);
  }
  Col_ = c;  // one past the last, as the loop leaves it
  DrawRow(0);
}

long Form_Worksheet::ColAlignment(long col) const {
  return col >= 0 && col < cols_ ? records_[col].Alignment : 0;
}
void Form_Worksheet::ColAlignment(long col, long alignment) {
  if (col >= 0 && col < cols_) records_[col].Alignment = static_cast<int16_t>(alignment);
}
long Form_Worksheet::FixedAlignment(long col) const {
  return col >= 0 && col < cols_ ? records_[col].FixedAlignment : 0;
}
void Form_Worksheet::FixedAlignment(long col, long alignment) {
  if (col >= 0 && col < cols_) records_[col].FixedAlignment = static_cast<int16_t>(alignment);
}

bool Form_Worksheet::IsAnyProtected() {
  for (long c = 0; c < cols_; ++c) {
    if (records_[c].Protected) {
      host().MsgBox("At least one column is write protected!", MsgButtons::OK,
                    MsgIcon::Exclamation, "Worksheet");
      return true;
    }
  }
  return false;
}

bool Form_Worksheet::ColChanged(long col) const {
  return col >= 0 && col < cols_ && records_[col].Changed;
}

void Form_Worksheet::ColChanged(long col, bool flag) {
  if (col < 0 || col >= cols_) return;
  records_[col].Changed = flag;
  if (!flag || records_[col].Typ != kTypX) return;
  // Editing an X column invalidates the curves drawn against it.
  for (long c = col + 1; c < cols_; ++c) {
    const int16_t typ = records_[c].Typ;
    if (typ == kTypX) break;
    if (typ == kTypY || typ == kTypZ) records_[c].Changed = true;
  }
}

long Form_Worksheet::ColOf(const std::string& name) const {
  if (name.empty()) return -1;
  const std::string want = Upper(name);
  for (long c = 1; c < cols_; ++c)
    if (Upper(records_[c].Name) == want) return c;
  return -1;
}

long Form_Worksheet::XColOf(long col) const {
  if (col < 1) return 0;
  for (long c = std::min(col, cols_ - 1); c >= 1; --c)
    if (records_[c].Typ == kTypX) return c;
  return 0;
}

std::string Form_Worksheet::PlotListLine(long col) const {
  if (col < 0 || col >= cols_) return "";
  const ColumnRecord& rec = records_[col];
  return rec.Name + "  " + TypIDLabel(rec.Typ) + rec.Label;
}

// --- Inserting, deleting and moving ------------------------------------------------

bool Form_Worksheet::InsertColumn(long position, long count, bool fill) {
  if (count < 1) return false;
  if (position > cols_) position = cols_;
  if (position < 1) position = 1;
  const long old = cols_;
  impl_->fillLater = !fill;
  ResizeCols(old + count, false);
  impl_->fillLater = false;
  count = cols_ - old;
  if (count < 1) return false;
  // The new columns came in at the right; turn them to the position.
  impl_->RotateColumns(position, old, old + count);
  std::rotate(records_.begin() + position, records_.begin() + old,
              records_.begin() + old + count);
  for (long c = position; c < position + count; ++c) {
    SetColumnDefaults(c);
    // A new compact column is all gaps already (or left to the caller).
    if (!impl_->Bits(c))
      for (long r = 1; r < rows_; ++r) impl_->SetNull(r, c);
    ColChanged(c, true);
  }
  for (long h : std::vector<long>(PlotHwnds_))
    if (SheetPlot* p = FindPlot(h)) p->ColsAdded(position, count);
  if (Redraw_) DrawWorksheet();
  return true;
}

bool Form_Worksheet::DeleteColumn() {
  const long first = SelStartCol_ < 1 ? 1 : SelStartCol_;
  const long last = SelEndCol_;
  if (last < first || last > cols_ - 1) return false;
  SetChanged();
  for (long c = last; c >= first; --c)
    for (long h : std::vector<long>(PlotHwnds_))
      if (SheetPlot* p = FindPlot(h)) p->RemoveCurve(c);
  for (long h : std::vector<long>(PlotHwnds_))
    if (SheetPlot* p = FindPlot(h); p && p->Curves() == 0) p->ClearPlot();
  const long n = last - first + 1;
  // The removed columns go to the right end, where the shrink drops them.
  impl_->RotateColumns(first, last + 1, cols_);
  std::rotate(records_.begin() + first, records_.begin() + last + 1, records_.end());
  ResizeCols(cols_ - n, false);
  if (Redraw_) DrawWorksheet();
  return true;
}

bool Form_Worksheet::MoveColumn(long from, long to) {
  if (from < 1 || from >= cols_ || to < 1 || to >= cols_ || from == to) return false;
  SetChanged();
  for (long r = 0; r < rows_; ++r) impl_->MoveInRow(r, from, to);
  if (from < to)
    std::rotate(records_.begin() + from, records_.begin() + from + 1, records_.begin() + to + 1);
  else
    std::rotate(records_.begin() + to, records_.begin() + from, records_.begin() + from + 1);
  if (Redraw_) DrawWorksheet();
  return true;
}

long Form_Worksheet::DeleteRow(long first, long last) {
  if (first < 1 || last < first || last > rows_ - 1) return 0;
  const long n = last - first + 1;
  impl_->EraseRows(first, last);
  Rows(rows_ - n);
  return n;
}

void Form_Worksheet::ColumnRename() {
  const long col = SelStartCol_;
  if (col < 1 || col >= cols_) return;
  ColumnRecord& rec = records_[col];
  Form_ColumnRename form;
  form.Text_Name = rec.Name;
  form.Text_Label = rec.Label;
  form.Check_Protected = rec.Protected;
  if (!ShowDialog(form)) return;
  const std::string old = rec.Name;
  const std::string& name = form.Text_Name;
  bool taken = false;
  for (long c = 1; c < cols_; ++c)
    if (c != col && records_[c].Name == name) taken = true;
  if (taken) {
    host().MsgBox("The new column name " + name + " is not unique.\r\nThe old name " + old +
                      " will be used.",
                  MsgButtons::OK, MsgIcon::Exclamation, "Rename Column");
  } else {
    rec.Name = name;
  }
  if (rec.Label != form.Text_Label) SetChanged();  // the label is kept in the file
  rec.Label = form.Text_Label;
  rec.Protected = form.Check_Protected;
  if (form.Check_Numbering) {
    long number = 1;
    for (long c = col; c < cols_; ++c) {
      // A number that a column to the left already carries is skipped.
      for (;; ++number) {
        const std::string candidate = name + std::to_string(number);
        bool clash = false;
        for (long k = 1; k < c && !clash; ++k) clash = records_[k].Name == candidate;
        if (!clash) break;
      }
      records_[c].Name = name + std::to_string(number++);
      BuildHeader(c);
    }
    BuildHeader(col);
    DrawWorksheet();
  } else {
    BuildHeader(col);
    DrawRow(0);
  }
}

void Form_Worksheet::ColumnMove() {
  const long from = SelStartCol_;
  if (from < 1 || from >= cols_) return;
  Form_ColumnMove form;
  form.ColumnName = records_[from].Name;
  form.Text_Position = std::to_string(from);
  form.MaxPosition = cols_ - 1;
  if (!ShowDialog(form)) return;
  long to = 0;
  if (!WholeNumber(form.Text_Position, 1, cols_ - 1, to)) {
    host().Beep();
    return;
  }
  if (!MoveColumn(from, to)) return;
  // The selection goes with the column it named.
  if (SelEndCol_ == from) SetSelection(SelStartRow_, to, SelEndRow_, to);
  Col(to);
  // Curves keep their column numbers: they draw what stands there now.
  UpdatePlots();
}

void Form_Worksheet::SetAs() {
  if (SelStartCol_ < 1 || SelStartCol_ >= cols_) return;
  Form_SetAs form;
  form.Typ = records_[SelStartCol_].Typ;
  if (!ShowDialog(form)) return;
  const auto& roles = Form_SetAs::Roles();
  if (std::none_of(roles.begin(), roles.end(),
                   [&](const auto& role) { return role.second == form.Typ; })) {
    host().Beep();
    return;
  }
  // The role is kept in the file; X, Y and Z columns tell the plots anew.
  const long last = std::min(SelEndCol_, cols_ - 1);
  bool changed = false;
  for (long c = SelStartCol_; c <= last; ++c) changed = changed || records_[c].Typ != form.Typ;
  SetAs(form.Typ);
  if (!changed) return;
  SetChanged();
  for (long c = SelStartCol_; c <= last; ++c) ColChanged(c, true);
  UpdatePlots();
}

void Form_Worksheet::GotoColumn() {
  if (cols_ < 2) return;
  Form_GotoColumn form;
  form.Text_Column = Col_ >= 1 ? records_[Col_].Name : records_[1].Name;
  form.MaxColumn = cols_ - 1;
  if (!ShowDialog(form)) return;
  long col = ColOf(form.Text_Column);
  if (col < 0 && !WholeNumber(form.Text_Column, 1, cols_ - 1, col)) {
    host().Beep();
    return;
  }
  Col(col);
  if (Row_ < 1 && rows_ > 1) Row(1);
  view_->ShowCurrentCell(*this);
}

void Form_Worksheet::GotoZeile() {
  if (rows_ < 2) return;
  Form_GotoRow form;
  form.Text_Row = std::to_string(std::max(1L, Row_));
  form.MaxRow = rows_ - 1;
  if (!ShowDialog(form)) return;
  long row = 0;
  if (!WholeNumber(form.Text_Row, 1, rows_ - 1, row)) {
    host().Beep();
    return;
  }
  Row(row);
  if (Col_ < 1 && cols_ > 1) Col(1);
  view_->ShowCurrentCell(*this);
}

void Form_Worksheet::SetWorksheetX() {
  Form_SetWorksheetX form;
  double v = 0;
  form.Text_Initial = impl_->NumberAt(1, 0, v) ? FormatNumber(v) : "1";
  form.Text_Increment = impl_->NumberAt(0, 0, v) ? FormatNumber(v) : "1";
  if (!ShowDialog(form)) return;
  double initial = 0, inc = 0;
  if (!ParseNumber(form.Text_Initial, initial) || !ParseNumber(form.Text_Increment, inc) ||
      inc == 0.0) {
    host().Beep();
    return;
  }
  SetChanged();
  impl_->SetF64(0, 0, inc);
  if (rows_ > 1) impl_->SetF64(1, 0, initial);
  for (long r = 2; r < rows_; ++r) impl_->SetF64(r, 0, (r - 1) * inc + initial);
  if (Redraw_) DrawColumn(0);
}

void Form_Worksheet::ShowXData() {
  if (!InsertColumn(1, 1)) return;
  records_[1].Typ = kTypX;
  BuildHeader(1);
  for (long r = 1; r < rows_; ++r) impl_->Copy(r, 1, r, 0);
  ColChanged(1, true);
  if (Redraw_) DrawWorksheet();
}

// --- The Insert and Delete commands -----------------------------------------------

void Form_Worksheet::Insert() {
  SetChanged();
  if (SelStartRow_ >= 1 && SelEndRow_ >= SelStartRow_) {
    // Rows: only the selected columns move down; the freed cells are empty.
    const long start = SelStartRow_;
    const long n = SelEndRow_ - SelStartRow_ + 1;
    Rows(rows_ + n);
    const long c0 = std::max(1L, SelStartCol_), c1 = std::min(SelEndCol_, cols_ - 1);
    for (long c = c0; c <= c1; ++c) {
      for (long r = rows_ - 1; r >= start + n; --r) impl_->Swap(r, c, r - n, c);
      for (long r = start; r < std::min(start + n, rows_); ++r) impl_->SetNull(r, c);
      ColChanged(c, true);
    }
  } else if (SelStartCol_ >= 1) {
    InsertColumn(SelStartCol_, std::max(1L, SelCountCol()));
  }
  if (SelStartRow_ == SelEndRow_ && SelStartCol_ == SelEndCol_ && SelStartRow_ >= 1 &&
      SelStartCol_ >= 1)
    view_->EditCell(*this);
  DrawWorksheet();
  UpdatePlots();
}

void Form_Worksheet::Delete() {
  if (SelStartRow_ == 0) {
    DeleteColumn();
  } else if (SelStartCol_ == 0) {
    DeleteRow(SelStartRow_, SelEndRow_);
    if (SelStartRow_ > rows_ - 1) SelStartRow_ = rows_ - 1;
    if (SelEndRow_ > rows_ - 1) SelEndRow_ = rows_ - 1;
  } else if (SelStartRow_ >= 1 && SelStartCol_ >= 1 && SelEndRow_ >= SelStartRow_) {
    // The cells below move up in the selected columns; the bottom cells keep
    // their old values.
    SetChanged();
    const long n = SelEndRow_ - SelStartRow_ + 1;
    const long c1 = std::min(SelEndCol_, cols_ - 1);
    for (long c = SelStartCol_; c <= c1; ++c) {
      for (long r = SelStartRow_; r + n < rows_; ++r) impl_->Copy(r, c, r + n, c);
      ColChanged(c, true);
    }
  }
  DrawWorksheet();
  UpdatePlots();
}

}  // namespace sv
