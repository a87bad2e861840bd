// Functions of a column, derivative, running integral and smoothing.
#include "worksheet/column_math.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "core/host.h"
#include "image/kernel/numbers.h"
#include "worksheet/column_math_cells.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

constexpr const char* kFktText[] = {
    "&LN(X)", "&e^X",  "LO&G(X)", "1&0^X",    "Sq&r",     "X^&2",
    "X^&3",   "&1/X",  "&ABS(X)", "&SGN(X)",  "2&55 - X", "Cal. Intensity(X)"};
constexpr long kFkts = long(sizeof kFktText / sizeof kFktText[0]);

// Derivative of n points into out (n values): the mean of the slopes to
// either neighbour, one slope alone at the ends or where the other neighbour
// has the same X; NaN where both are dropped (the caller carries the previous
// result forward). `slope` holds n - 1 values of scratch. X and Y come as the
// float itself or as its bits.
inline float AsFloat(float f) { return f; }
inline float AsFloat(uint32_t b) { return std::bit_cast<float>(b); }

template <class In>
[[gnu::always_inline]] inline void SlopesBody(const In* x, const In* y, float* slope, size_t n) {
  const float none = std::numeric_limits<float>::quiet_NaN();
  for (size_t i = 0; i + 1 < n; ++i) {
    const float dx = AsFloat(x[i + 1]) - AsFloat(x[i]);
    const float dy = AsFloat(y[i + 1]) - AsFloat(y[i]);
    slope[i] = dx != 0.0f ? dy / dx : none;
  }
}

SV_COLUMN_CLONES void SlopesOf(const float* x, const float* y, float* slope, size_t n) {
  SlopesBody(x, y, slope, n);
}

SV_COLUMN_CLONES void SlopesOf(const uint32_t* x, const uint32_t* y, float* slope, size_t n) {
  SlopesBody(x, y, slope, n);
}

SV_COLUMN_CLONES bool MeanSlopes(const float* slope, float* out, size_t n) {
  // Inner points; a NaN slope is a dropped one.
  bool dropped = false;
  for (size_t i = 1; i + 1 < n; ++i) {
    const float b = slope[i - 1], f = slope[i];
    const bool hb = b == b, hf = f == f;
    const float v = hb && hf ? (b + f) * 0.5f : (hb ? b : f);
    dropped |= v != v;
    out[i] = v;
  }
  return dropped;
}

// Carries the previous result into points whose slopes were both dropped.
void CarryForward(float* out, size_t n) {
  for (size_t i = 1; i < n; ++i)
    if (std::isnan(out[i])) out[i] = out[i - 1];
}

template <class In>
void Derivative(const In* x, const In* y, float* out, size_t n, std::vector<float>& slope) {
  if (n == 0) return;
  const float none = std::numeric_limits<float>::quiet_NaN();
  if (n == 1) {
    out[0] = none;
    return;
  }
  slope.resize(n - 1);
  SlopesOf(x, y, slope.data(), n);
  out[0] = slope[0];
  out[n - 1] = slope[n - 2];
  const bool dropped = MeanSlopes(slope.data(), out, n) || std::isnan(out[0]) ||
                       std::isnan(out[n - 1]);
  if (dropped) CarryForward(out, n);
}

// Float results into compact bits: a result that is no finite number is a gap.
SV_COLUMN_CLONES void ToBits(const float* v, uint32_t* bits, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    const uint32_t b = std::bit_cast<uint32_t>(v[i]);
    bits[i] = (b & 0x7F800000u) == 0x7F800000u ? kGapBits : b;
  }
}

// Copies compact bits as floats; true when a gap was among them.
SV_COLUMN_CLONES bool CopyOut(const uint32_t* bits, float* v, size_t n) {
  bool gap = false;
  for (size_t i = 0; i < n; ++i) {
    gap |= bits[i] == kGapBits;
    v[i] = std::bit_cast<float>(bits[i]);
  }
  return gap;
}

SV_COLUMN_CLONES bool HasGap(const uint32_t* bits, size_t n) {
  bool gap = false;
  for (size_t i = 0; i < n; ++i) gap |= bits[i] == kGapBits;
  return gap;
}

// One binomial pass, ends kept.
SV_COLUMN_CLONES void Pass(const float* in, float* out, size_t n) {
  out[0] = in[0];
  out[n - 1] = in[n - 1];
  for (size_t i = 1; i + 1 < n; ++i) out[i] = (2.0f * in[i] + in[i - 1] + in[i + 1]) * 0.25f;
}

// The last pass straight into compact bits.
SV_COLUMN_CLONES void PassToBits(const float* in, uint32_t* bits, size_t n) {
  auto store = [](float v) {
    const uint32_t b = std::bit_cast<uint32_t>(v);
    return (b & 0x7F800000u) == 0x7F800000u ? kGapBits : b;
  };
  bits[0] = store(in[0]);
  bits[n - 1] = store(in[n - 1]);
  for (size_t i = 1; i + 1 < n; ++i) {
    const float v = (2.0f * in[i] + in[i - 1] + in[i + 1]) * 0.25f;
    const uint32_t b = std::bit_cast<uint32_t>(v);
    bits[i] = (b & 0x7F800000u) == 0x7F800000u ? kGapBits : b;
  }
}

// Smoothed values of `in` (n >= 3) after `degree` passes; `a` and `b` are
// scratch of n values. The result lies in a or b.
const float* Passes(const float* in, float* a, float* b, size_t n, long degree) {
  const float* from = in;
  for (long d = 0; d < degree; ++d) {
    float* to = from == a ? b : a;
    Pass(from, to, n);
    from = to;
  }
  return from;
}

// The column the framing of Differentiate and Integrate inserts: right of
// `col`, named old name + suffix, role Y, all gaps.
long InsertResultColumn(Form_Worksheet& sheet, long col, const std::string& suffix) {
  const std::string name = sheet.ColName(col) + suffix;
  if (!sheet.InsertColumn(col + 1, 1)) return -1;
  const long c = col + 1;
  sheet.Record(c).Name = name;
  sheet.Record(c).Typ = kTypY;
  sheet.BuildHeader(c);
  return c;
}

// The rows where both X and Y hold numbers, with their values.
struct XYPoints {
  std::vector<float> x, y;
  std::vector<long> rows;
};

void CollectXY(const Form_Worksheet& sheet, long xcol, long ycol, XYPoints& p) {
  const long rows = sheet.Rows();
  p.x.reserve(size_t(rows));
  p.y.reserve(size_t(rows));
  p.rows.reserve(size_t(rows));
  for (long r = 1; r < rows; ++r) {
    double x, y;
    if (sheet.NumberAt(r, xcol, x) && sheet.NumberAt(r, ycol, y)) {
      p.x.push_back(float(x));
      p.y.push_back(float(y));
      p.rows.push_back(r);
    }
  }
}

// The current column and its X column for Differentiate and Integrate; false
// when the current column is no data column.
bool XYColumns(const Form_Worksheet& sheet, long& xcol, long& ycol) {
  ycol = sheet.Col();
  if (ycol < 1 || ycol >= sheet.Cols()) return false;
  xcol = sheet.XColOf(ycol);
  return true;
}

void Finish(Form_Worksheet& sheet, long col) {
  sheet.SetChanged();
  sheet.ColChanged(col, true);
  if (sheet.Redraw()) sheet.DrawWorksheet();
  sheet.UpdatePlots();
}

}  // namespace

// --- Functions ----------------------------------------------------------------------

std::string FktText(long index) { return index >= 0 && index < kFkts ? kFktText[index] : ""; }

long FktCount() { return kFkts; }

bool FktValue(long index, float x, float& y) {
  const double v = x;
  double r = v;
  switch (index) {
    case 0:
    case 2:  // the natural logarithm too
      if (!(v > 0)) return false;
      r = std::log(v);
      break;
    case 1: r = std::exp(v); break;
    case 3: r = std::pow(10.0, v); break;
    case 4:
      if (v < 0) return false;
      r = std::sqrt(v);
      break;
    case 5: r = v * v; break;
    case 6: r = v * v * v; break;
    case 7:
      if (v == 0) return false;
      r = 1.0 / v;
      break;
    case 8: r = std::fabs(v); break;
    case 9: r = v > 0 ? 1.0 : (v < 0 ? -1.0 : 0.0); break;
    case 10: r = 255.0 - v; break;
    case 11:
      if (ColumnHooks().calIntensity) r = ColumnHooks().calIntensity(x);
      break;
    default: break;  // past the last: the value stays
  }
  const float f = float(r);
  if (!std::isfinite(f)) return false;
  y = f;
  return true;
}

long Functions(Form_Worksheet& sheet, long column, long index) {
  if (column < 1 || column >= sheet.Cols()) return 0;
  if (sheet.IsAnyProtected()) return 0;
  const long rows = sheet.Rows();
  if (uint32_t* bits = sheet.FloatBody(column)) {
    for (long i = 0; i + 1 < rows; ++i) {
      if (bits[i] == kGapBits) continue;
      float y;
      bits[i] = FktValue(index, std::bit_cast<float>(bits[i]), y) ? column_cells::Store(y)
                                                                  : kGapBits;
    }
  } else {
    for (long r = 1; r < rows; ++r) {
      double v;
      if (!sheet.NumberAt(r, column, v)) continue;
      float y;
      sheet.TextMatrix(r, column, FktValue(index, float(v), y) ? Cell(y) : Cell());
    }
  }
  sheet.SetChanged();
  sheet.ColChanged(column, true);
  if (sheet.Redraw()) sheet.DrawColumn(column);
  return 1;
}

// --- Derivative and integral --------------------------------------------------------

void DerivativeOf(const float* x, const float* y, float* out, size_t n) {
  std::vector<float> slope;
  Derivative(x, y, out, n, slope);
}

long Differentiate(Form_Worksheet& sheet) {
  long xcol, ycol;
  if (!XYColumns(sheet, xcol, ycol)) return 0;
  const size_t body = size_t(std::max(0L, sheet.Rows() - 1));
  const uint32_t* xb = sheet.FloatBody(xcol);
  const uint32_t* yb = sheet.FloatBody(ycol);
  std::vector<float> slope;
  // Two float columns without gaps: every row is a point.
  if (xb && yb && !HasGap(xb, body) && !HasGap(yb, body)) {
    const long out = InsertResultColumn(sheet, ycol, "'");
    if (out < 0) return 0;
    // The insert leaves the source columns where they were (they lie left).
    std::vector<float> d(body);
    Derivative(sheet.FloatBody(xcol), sheet.FloatBody(ycol), d.data(), body, slope);
    ToBits(d.data(), sheet.FloatBody(out), body);
    Finish(sheet, out);
    return 1;
  }
  XYPoints p;
  CollectXY(sheet, xcol, ycol, p);
  const long out = InsertResultColumn(sheet, ycol, "'");
  if (out < 0) return 0;
  std::vector<float> d(p.x.size());
  Derivative(p.x.data(), p.y.data(), d.data(), d.size(), slope);
  for (size_t i = 0; i < d.size(); ++i) column_cells::Put(sheet, p.rows[i], out, d[i]);
  Finish(sheet, out);
  return 1;
}

long Integrate(Form_Worksheet& sheet) {
  long xcol, ycol;
  if (!XYColumns(sheet, xcol, ycol)) return 0;
  XYPoints p;
  CollectXY(sheet, xcol, ycol, p);
  const long out = InsertResultColumn(sheet, ycol, ".int");
  if (out < 0) return 0;
  // Trapezoids over the X spacing of the numeric rows, from 0 at the first.
  double sum = 0.0;
  for (size_t i = 0; i < p.x.size(); ++i) {
    if (i > 0) sum += (double(p.x[i]) - p.x[i - 1]) * (double(p.y[i]) + p.y[i - 1]) * 0.5;
    column_cells::Put(sheet, p.rows[i], out, float(sum));
  }
  Finish(sheet, out);
  return 1;
}

// --- Smoothing ------------------------------------------------------------------------

void SmoothValues(std::vector<float>& values, long degree) {
  const size_t n = values.size();
  if (n < 3 || degree < 1) return;
  std::vector<float> a(n), b(n);
  const float* r = Passes(values.data(), a.data(), b.data(), n, degree);
  std::copy(r, r + n, values.begin());
}

namespace {

// Smooths column `src` into column `dst` (the same column, or its new copy).
void SmoothColumn(Form_Worksheet& sheet, long src, long dst, long degree) {
  const size_t body = size_t(std::max(0L, sheet.Rows() - 1));
  const uint32_t* sb = sheet.FloatBody(src);
  uint32_t* db = sheet.FloatBody(dst);
  if (sb && db && body >= 3) {
    std::vector<float> a(body);
    if (!CopyOut(sb, a.data(), body)) {
      // Every row a number: the passes run on the column itself.
      if (degree == 1) {
        PassToBits(a.data(), db, body);
      } else {
        std::vector<float> b(body), c(body);
        const float* r = Passes(a.data(), b.data(), c.data(), body, degree - 1);
        PassToBits(r, db, body);
      }
      return;
    }
  }
  std::vector<float> values;
  std::vector<long> rows;
  column_cells::Collect(sheet, src, values, rows);
  SmoothValues(values, degree);
  for (size_t i = 0; i < values.size(); ++i) column_cells::Put(sheet, rows[i], dst, values[i]);
}

}  // namespace

long Smooth(Form_Worksheet& sheet, long degree, bool newColumn) {
  if (degree < 1 || degree > kMaxSmoothDegree) return 0;
  long first = sheet.SelStartCol(), last = sheet.SelEndCol();
  if (first < 1) first = last = sheet.Col();
  last = std::min(last, sheet.Cols() - 1);
  if (first < 1 || last < first) return 0;
  if (!newColumn && sheet.IsAnyProtected()) return 0;
  const bool redraw = sheet.Redraw();
  sheet.Redraw(false);
  // From the right, so that a copy beside its column moves none still to come.
  for (long c = last; c >= first; --c) {
    long dst = c;
    if (newColumn) {
      dst = InsertResultColumn(sheet, c, ".sm");
      if (dst < 0) continue;
      sheet.Record(dst).Typ = sheet.Record(c).Typ == kTypX ? kTypY : sheet.Record(c).Typ;
      sheet.Record(dst).Label = sheet.Record(c).Label;
      sheet.BuildHeader(dst);
      // Cells that are no number are copied as they are.
      for (long r = 1; r < sheet.Rows(); ++r)
        if (sheet.KindOf(r, c) == CellKind::Text && !sheet.IsNumeric(r, c))
          sheet.TextMatrix(r, dst, sheet.CellAt(r, c));
    }
    SmoothColumn(sheet, c, dst, degree);
    sheet.ColChanged(dst, true);
    // The cached range is stale.
    sheet.Record(dst).MinValue = 0.0f;
    sheet.Record(dst).MaxValue = -1.0f;
  }
  sheet.SetChanged();
  sheet.Redraw(redraw);
  sheet.UpdatePlots();
  return 1;
}

}  // namespace sv
