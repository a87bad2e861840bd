// Reading and writing cells, rows and curves; ranges of columns.
#include <algorithm>
#include <limits>

#include "core/mdi_main.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_cells.h"

namespace sv {

namespace {

std::vector<std::string> SplitTabs(const std::string& text) {
  std::vector<std::string> pieces;
  size_t start = 0;
  for (;;) {
    size_t tab = text.find('\t', start);
    pieces.push_back(text.substr(start, tab == std::string::npos ? std::string::npos : tab - start));
    if (tab == std::string::npos) break;
    start = tab + 1;
  }
  return pieces;
}

// Running minimum and maximum; empty gives the inverted pair 0, -1.
struct Range {
  double min = std::numeric_limits<double>::infinity();
  double max = -std::numeric_limits<double>::infinity();
  bool any = false;
  void Add(double v) {
    any = true;
    min = std::min(min, v);
    max = std::max(max, v);
  }
  void Out(double& lo, double& hi) const {
    lo = any ? min : 0.0;
    hi = any ? max : -1.0;
  }
};

}  // namespace

// --- Cells -------------------------------------------------------------------------

Cell Form_Worksheet::TextMatrix(long row, long col) const {
  if (Redraw_) DrawCel(row, col);
  return impl_->Get(row, col);
}

Cell Form_Worksheet::CellAt(long row, long col) const {
  return impl_->Inside(row, col) ? impl_->Get(row, col) : Cell();
}

void Form_Worksheet::TextMatrix(long row, long col, const Cell& value) {
  if (!impl_->Inside(row, col)) return;
  SetChanged();
  impl_->Set(row, col, value);
}

uint32_t* Form_Worksheet::FloatBody(long col) {
  return rows_ > 1 ? impl_->Bits(col) : nullptr;
}

const uint32_t* Form_Worksheet::FloatBody(long col) const {
  return rows_ > 1 ? impl_->Bits(col) : nullptr;
}

CellKind Form_Worksheet::KindOf(long row, long col) const {
  return impl_->Inside(row, col) ? impl_->Kind(row, col) : CellKind::Null;
}

bool Form_Worksheet::IsNumeric(long row, long col) const {
  double v;
  return impl_->NumberAt(row, col, v);
}

bool Form_Worksheet::NumberAt(long row, long col, double& value) const {
  return impl_->NumberAt(row, col, value);
}

std::string Form_Worksheet::text() const { return impl_->Get(Row_, Col_).Text(); }

void Form_Worksheet::text(const std::string& value) {
  if (!impl_->Inside(Row_, Col_)) return;
  SetChanged();
  impl_->Set(Row_, Col_, Cell(value));
  ColChanged(Col_, true);
}

void Form_Worksheet::AddItem(const std::string& text) {
  const long row = SelStartRow_;
  if (row < 0 || SelStartCol_ < 0) return;
  SetChanged();
  if (row > rows_ - 1) Rows(row + 1);
  if (row > rows_ - 1) return;  // the sheet is full
  const std::vector<std::string> pieces = SplitTabs(text);
  const long last = std::min(SelEndCol_, cols_ - 1);
  size_t i = 0;
  for (long c = SelStartCol_; c <= last && i < pieces.size(); ++c, ++i) {
    impl_->Set(row, c, Cell(pieces[i]));
    records_[c].Changed = true;
  }
}

void Form_Worksheet::SetRowData(const std::vector<float>& values) {
  const long before = Row_;
  Row(Row_ + 1);
  if (Row_ == before) return;  // no row left
  SetChanged();
  for (long c = 1; c < cols_ && c < static_cast<long>(values.size()); ++c) {
    impl_->SetF32(Row_, c, values[c]);
    ColChanged(c, true);
  }
  if (Redraw_ && IsRowVisible(Row_)) DrawWorksheet();
}

void Form_Worksheet::SetRowData(const std::vector<double>& values) {
  const long before = Row_;
  Row(Row_ + 1);
  if (Row_ == before) return;
  SetChanged();
  for (long c = 1; c < cols_ && c < static_cast<long>(values.size()); ++c) {
    impl_->SetF64(Row_, c, values[c]);
    ColChanged(c, true);
  }
  if (Redraw_ && IsRowVisible(Row_)) DrawWorksheet();
}

void Form_Worksheet::SetMatrixRow(long row, const std::vector<float>& values) {
  if (row < 0 || row >= rows_) return;
  SetChanged();
  for (long c = 0; c < cols_ && c < static_cast<long>(values.size()); ++c)
    impl_->SetF32(row, c, values[c]);
  if (Redraw_ && IsRowVisible(row)) DrawWorksheet();
}

bool Form_Worksheet::GetMatrixRow(long row, std::vector<float>& values) const {
  if (cols_ - 1 < 2 || row < 0 || row >= rows_) return false;
  const size_t n = static_cast<size_t>(cols_ - 1);
  if (values.size() < n) values.resize(n);
  for (long c = 1; c < cols_; ++c) {
    float& out = values[c - 1];
    double v = 0;
    if (row == 0)
      out = static_cast<float>(c);
    else if (impl_->NumberAt(row, c, v))
      out = static_cast<float>(v);
    else
      out = c == 1 ? 0.0f : values[c - 2];  // a gap repeats the value to its left
  }
  return true;
}

// --- Curves ----------------------------------------------------------------------------

void Form_Worksheet::GetColData(long col, double& from, double& to, std::vector<float>& values,
                                long& count) const {
  count = 0;
  if (col < 1 || col >= cols_) {
    values.clear();
    return;
  }
  const long xcol = XColOf(col);
  const double lo = from, hi = to;
  double first = 0, last = 0, prev = 0;
  bool seen = false;
  for (long r = 1; r < rows_; ++r) {
    double x, y;
    if (!impl_->NumberAt(r, xcol, x) || !impl_->NumberAt(r, col, y)) continue;
    if (x > hi) break;
    if (seen && x < prev) break;  // only rising X
    seen = true;
    prev = x;
    if (x < lo) continue;
    if (count >= static_cast<long>(values.size())) values.resize(values.size() + 512);
    values[count] = static_cast<float>(y);
    if (count == 0) first = x;
    last = x;
    ++count;
  }
  if (count == 0) {
    values.clear();
    return;
  }
  values.resize(count);
  from = first;
  to = last;
}

void Form_Worksheet::GetXYColData(long xcol, long ycol, long& row, long toRow,
                                  std::vector<float>& x, std::vector<float>& y,
                                  long& count) const {
  count = 0;
  const size_t need = static_cast<size_t>(std::max(0L, rows_ - 1));
  if (x.size() < need) x.resize(need);
  if (y.size() < need) y.resize(need);
  if (xcol < 0 || xcol >= cols_ || ycol < 0 || ycol >= cols_) return;
  const long stop = std::min(toRow, rows_ - 1);
  long r = std::max(row, 1L);
  for (; r <= stop; ++r) {
    double xv, yv;
    if (impl_->NumberAt(r, xcol, xv) && impl_->NumberAt(r, ycol, yv)) {
      x[count] = static_cast<float>(xv);
      y[count] = static_cast<float>(yv);
      ++count;
    } else if (count > 0) {
      ++r;  // a gap after the stretch ends it
      break;
    }
  }
  row = r;
}

void Form_Worksheet::GetXYColDataAll(long xcol, long ycol, std::vector<float>& x,
                                     std::vector<float>& y, long& count) const {
  count = 0;
  const size_t need = static_cast<size_t>(std::max(0L, rows_ - 1));
  if (x.size() < need) x.resize(need);
  if (y.size() < need) y.resize(need);
  if (xcol < 0 || xcol >= cols_ || ycol < 0 || ycol >= cols_) return;
  for (long r = 1; r < rows_; ++r) {
    double xv, yv;
    if (impl_->NumberAt(r, xcol, xv) && impl_->NumberAt(r, ycol, yv)) {
      x[count] = static_cast<float>(xv);
      y[count] = static_cast<float>(yv);
      ++count;
    }
  }
}

void Form_Worksheet::GetXYLabelData(long xcol, long lcol, long& row, long toRow,
                                    std::vector<float>& x, std::vector<float>& y,
                                    std::vector<std::string>& labels, long& count) const {
  count = 0;
  if (!(lcol - 1 > xcol) || xcol < 0 || lcol >= cols_) return;
  const size_t need = static_cast<size_t>(std::max(0L, rows_ - 1));
  if (x.size() < need) x.resize(need);
  if (y.size() < need) y.resize(need);
  if (labels.size() < need) labels.resize(need);
  const long stop = std::min(toRow, rows_ - 1);
  long r = std::max(row, 1L);
  for (; r <= stop; ++r) {
    double xv, yv;
    if (!impl_->NumberAt(r, xcol, xv) || !impl_->NumberAt(r, lcol - 1, yv)) continue;
    if (impl_->Kind(r, lcol) == CellKind::Null) continue;
    x[count] = static_cast<float>(xv);
    y[count] = static_cast<float>(yv);
    labels[count] = impl_->Get(r, lcol).Text();
    ++count;
  }
  row = r;
}

void Form_Worksheet::SetXYColData(long ycol, long first, long last, const std::vector<float>& x,
                                  const std::vector<float>& y) {
  if (ycol < 1 || ycol >= cols_ || first < 0 || last < first) return;
  last = std::min({last, static_cast<long>(x.size()) - 1, static_cast<long>(y.size()) - 1});
  if (last < first) return;
  SetChanged();
  if (last + 1 > rows_ - 1) Rows(last + 2);
  last = std::min(last, rows_ - 2);
  const long xcol = XColOf(ycol);
  for (long i = first; i <= last; ++i) {
    impl_->SetF32(i + 1, xcol, x[i]);
    impl_->SetF32(i + 1, ycol, y[i]);
  }
  ColChanged(xcol, true);
  ColChanged(ycol, true);
}

void Form_Worksheet::GetXY(long xcol, long ycol, Cell& x, Cell& y) {
  Row(Row_ + 1);
  x = impl_->Get(Row_, xcol);
  y = impl_->Get(Row_, ycol);
}

void Form_Worksheet::CopyAllData(const Form_Worksheet& source) {
  SetChanged();
  for (long r = 0; r < rows_; ++r)
    for (long c = 0; c < cols_; ++c) impl_->Set(r, c, source.impl_->Get(r, c));
}

long Form_Worksheet::NearestRow(double x, double y, double aspect) const {
  if (Col_ < 0 || Col_ >= cols_) return -1;
  return NearestRow(XColOf(Col_), Col_, x, y, aspect);
}

long Form_Worksheet::NearestRow(long xcol, long ycol, double x, double y, double aspect) const {
  if (ycol < 0 || ycol >= cols_ || xcol < 0 || xcol >= cols_) return -1;
  long best = -1;
  double bestD = 0;
  for (long r = 1; r < rows_; ++r) {
    double xv, yv;
    if (!impl_->NumberAt(r, xcol, xv) || !impl_->NumberAt(r, ycol, yv)) continue;
    const double d = (xv - x) * (xv - x) + (yv - y) * (yv - y) * aspect * aspect;
    if (best < 0 || d < bestD) {
      best = r;
      bestD = d;
    }
  }
  return best;
}

// --- Ranges --------------------------------------------------------------------------------

void Form_Worksheet::MinMaxOfCol(long col, double& min, double& max, bool allRows) {
  min = 0.0;
  max = -1.0;
  if (col < 0 || col >= cols_) return;
  Range range;
  long source = col;
  if (records_[col].Typ == kTypL) {
    source = -1;
    for (long c = col - 1; c >= 1; --c)
      if (records_[c].Typ == kTypY) {
        source = c;
        break;
      }
  }
  if (rows_ >= 2 && source >= 0) {
    long r0 = 1, r1 = rows_ - 1;
    if (!allRows && SelStartRow_ >= 1) {
      r0 = SelStartRow_;
      r1 = std::min(SelEndRow_, rows_ - 1);
    }
    for (long r = r0; r <= r1; ++r) {
      double v;
      if (impl_->NumberAt(r, source, v)) range.Add(v);
    }
  }
  range.Out(min, max);
  records_[col].MinValue = static_cast<float>(min);
  records_[col].MaxValue = static_cast<float>(max);
}

double Form_Worksheet::MinOfCol(long col, bool allRows) {
  double lo, hi;
  MinMaxOfCol(col, lo, hi, allRows);
  return lo;
}

double Form_Worksheet::MaxOfCol(long col, bool allRows) {
  double lo, hi;
  MinMaxOfCol(col, lo, hi, allRows);
  return hi;
}

void Form_Worksheet::MinMaxOfMatrix(double& xMin, double& xMax, double& zMin, double& zMax,
                                    double& yMin, double& yMax) const {
  xMin = 1;
  xMax = static_cast<double>(cols_ - 1);
  yMin = 1;
  yMax = static_cast<double>(rows_ - 1);
  Range z;
  for (long r = 1; r < rows_; ++r)
    for (long c = 1; c < cols_; ++c) {
      double v;
      if (impl_->NumberAt(r, c, v)) z.Add(v);
    }
  z.Out(zMin, zMax);
}

void Form_Worksheet::MinMaxOfWorksheet(double& xMin, double& xMax, double& yMin, double& yMax,
                                       double& zMin, double& zMax) const {
  Range x, y;
  // Every pass asks the role of the current column, not of the scanned one.
  const long typ = Col_ >= 0 && Col_ < cols_ ? records_[Col_].Typ : -1;
  for (long c = 1; c < cols_; ++c) {
    for (long r = 1; r < rows_; ++r) {
      double v;
      if (!impl_->NumberAt(r, c, v)) continue;
      if (typ == kTypX) x.Add(v);
      if (typ == kTypY) y.Add(v);
    }
  }
  x.Out(xMin, xMax);
  y.Out(yMin, yMax);
  zMin = 1;
  zMax = static_cast<double>(cols_ - 2);
}

// --- Convert ------------------------------------------------------------------------------

void Form_Worksheet::ConvertInto(Form_Worksheet& target) const {
  target.IsMatrix(!IsMatrix_);
  target.Rows(2);
  target.Cols(cols_);
  target.Rows(rows_);
  target.CopyAllData(*this);
  if (target.IsMatrix()) {
    for (long c = 1; c < target.Cols(); ++c) target.ColName(c, std::to_string(c));
  }
}

Form_Worksheet* Form_Worksheet::Convert() {
  if (!main_) return nullptr;
  auto* sheet = dynamic_cast<Form_Worksheet*>(main_->CreateWorksheet());
  if (!sheet) return nullptr;
  ConvertInto(*sheet);
  main_->ShowChild(sheet->Handle());
  return sheet;
}

}  // namespace sv
