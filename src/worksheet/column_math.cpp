// Functions of a column, derivative, running integral and smoothing.
#include "worksheet/column_math.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
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
// result forward). X and Y come as the float itself or as its bits.
inline float AsFloat(uint32_t b) { return std::bit_cast<float>(b); }

using column_cells::Run;

void SlopesOf(const float* x, const float* y, float* slope, size_t n) {
  Run([](const float* x, const float* y, float* slope, size_t n) SV_COLUMN_BODY {
    const float none = std::numeric_limits<float>::quiet_NaN();
    for (size_t i = 0; i + 1 < n; ++i) {
      const float dx = x[i + 1] - x[i];
      const float dy = y[i + 1] - y[i];
      const float q = dy / dx;  // divided always, chosen after: the loop vectorises
      slope[i] = dx != 0.0f ? q : none;
    }
    return 0u;
  }, x, y, slope, n);
}

bool MeanSlopes(const float* slope, float* out, size_t n) {
  // Inner points; a NaN slope is a dropped one.
  return Run([](const float* slope, float* out, size_t n) SV_COLUMN_BODY {
    uint32_t dropped = 0;
    for (size_t i = 1; i + 1 < n; ++i) {
      const float b = slope[i - 1], f = slope[i];
      const float mean = (b + f) * 0.5f;
      // NaN when either is dropped; then the other (NaN too when both are).
      const float v = mean == mean ? mean : (b == b ? b : f);
      dropped += v != v;
      out[i] = v;
    }
    return dropped;
  }, slope, out, n) != 0;
}

// Carries the previous result into points whose slopes were both dropped.
void CarryForward(float* out, size_t n) {
  for (size_t i = 1; i < n; ++i)
    if (std::isnan(out[i])) out[i] = out[i - 1];
}

// Scratch arrays kept from call to call: a full column is a quarter of a
// megabyte, and fresh memory of that size costs more in page faults than the
// arithmetic. One thread; no operation here calls another while it holds one.
float* Scratch(int which, size_t n) {
  static std::vector<float> scratch[3];
  std::vector<float>& s = scratch[which];
  if (s.size() < n) s.resize(n);
  return s.data();
}

template <class In>
void Derivative(const In* x, const In* y, float* out, size_t n) {
  if (n == 0) return;
  const float none = std::numeric_limits<float>::quiet_NaN();
  if (n == 1) {
    out[0] = none;
    return;
  }
  float* slope = Scratch(2, n - 1);
  SlopesOf(x, y, slope, n);
  out[0] = slope[0];
  out[n - 1] = slope[n - 2];
  const bool dropped = MeanSlopes(slope, out, n) || std::isnan(out[0]) ||
                       std::isnan(out[n - 1]);
  if (dropped) CarryForward(out, n);
}

// The mark of a point whose slopes were both dropped, until the previous
// result is carried into it.
constexpr uint32_t kDropped = 0x7FC00000u;

// A dropped slope: -0 added to a number leaves it as it is, -0 too.
constexpr uint32_t kMinusZero = 0x80000000u;
inline constexpr float kNoSlope = -0.0f;

// Slopes of a tile from compact bits: slope[k] from points k and k + 1, for
// k < c, with weight[k] 1; a dropped slope is -0 with weight 0. The gaps among
// the points 0 .. c - 1 are counted.
uint32_t SlopesTile(const uint32_t* x, const uint32_t* y, float* slope, float* weight,
                    size_t c) {
  return Run([](const uint32_t* x, const uint32_t* y, float* slope, float* weight,
                size_t c) SV_COLUMN_BODY {
    uint32_t gaps = 0;
    for (size_t k = 0; k < c; ++k) {
      gaps += (x[k] == kGapBits) + (y[k] == kGapBits);
      const float dx = AsFloat(x[k + 1]) - AsFloat(x[k]);
      const float dy = AsFloat(y[k + 1]) - AsFloat(y[k]);
      const float q = dy / dx;
      const uint32_t keep = 0u - uint32_t(dx != 0.0f);  // all ones or none
      slope[k] = std::bit_cast<float>((std::bit_cast<uint32_t>(q) & keep) | (~keep & kMinusZero));
      weight[k] = std::bit_cast<float>(0x3F800000u & keep);  // 1 or 0
    }
    return gaps;
  }, x, y, slope, weight, c);
}

// Results of m points from the slopes either side (s[k] before point k,
// s[k + 1] after it, with their weights) into compact bits: the mean of two,
// the one alone (s + -0, times 1), kDropped for none; the count of those.
// No finite result is a gap.
uint32_t MeansToBits(const float* s, const float* w, uint32_t* bits, size_t m) {
  return Run([](const float* s, const float* w, uint32_t* bits, size_t m) SV_COLUMN_BODY {
    uint32_t dropped = 0;
    for (size_t k = 0; k < m; ++k) {
      const float weights = w[k] + w[k + 1];
      const float v = (s[k] + s[k + 1]) * (1.5f - 0.5f * weights);
      const uint32_t u = std::bit_cast<uint32_t>(v);
      const bool none = weights == 0.0f;
      dropped += none;
      bits[k] = none ? kDropped : ((u & 0x7F800000u) == 0x7F800000u ? kGapBits : u);
    }
    return dropped;
  }, s, w, bits, m);
}

// The derivative of two gapless compact columns of n rows straight into the
// compact column `out`, tile by tile so that the slopes stay in the cache.
// False, with `out` all gaps again, when a gap turns up after all.
bool DerivativeInPlace(const uint32_t* x, const uint32_t* y, uint32_t* out, size_t n) {
  if (column_cells::FastDerivative(x, y, out, n)) return true;
  constexpr size_t kTile = 2048;
  float s[kTile + 1], w[kTile + 1];
  s[0] = kNoSlope;  // no slope left of the first point
  w[0] = 0.0f;
  uint32_t gaps = (x[n - 1] == kGapBits) + (y[n - 1] == kGapBits), dropped = 0;
  for (size_t t = 0; t < n; t += kTile) {
    const size_t m = std::min(kTile, n - t);
    const size_t c = std::min(m, n - 1 - t);  // slopes that start in this tile
    gaps += SlopesTile(x + t, y + t, s + 1, w + 1, c);
    if (c < m) {  // no slope after the last point
      s[c + 1] = kNoSlope;
      w[c + 1] = 0.0f;
    }
    dropped += MeansToBits(s, w, out + t, m);
    s[0] = s[m];
    w[0] = w[m];
  }
  if (gaps) {
    std::fill(out, out + n, kGapBits);
    return false;
  }
  // Where both slopes were dropped the previous result stands.
  if (dropped)
    for (size_t i = 0; i < n; ++i)
      if (out[i] == kDropped) out[i] = i > 0 ? out[i - 1] : kGapBits;
  return true;
}

// Copies compact bits as floats; true when a gap was among them.
void CopyOut(const uint32_t* bits, float* v, size_t n) {
  Run([](const uint32_t* bits, float* v, size_t n) SV_COLUMN_BODY {
    for (size_t i = 0; i < n; ++i) v[i] = std::bit_cast<float>(bits[i]);
    return 0u;
  }, bits, v, n);
}

bool HasGap(const uint32_t* bits, size_t n) {
  return Run([](const uint32_t* bits, size_t n) SV_COLUMN_BODY {
    uint32_t gaps = 0;
    for (size_t i = 0; i < n; ++i) gaps += bits[i] == kGapBits;
    return gaps;
  }, bits, n) != 0;
}

// Inner points of one pass from `in` (m + 2 values: each point with its
// neighbours) into out, as floats or as compact bits.
void Inner(const float* in, float* out, size_t m) {
  Run([](const float* in, float* out, size_t m) SV_COLUMN_BODY {
    for (size_t k = 0; k < m; ++k) out[k] = (2.0f * in[k + 1] + in[k] + in[k + 2]) * 0.25f;
    return 0u;
  }, in, out, m);
}

void InnerToBits(const float* in, uint32_t* bits, size_t m) {
  Run([](const float* in, uint32_t* bits, size_t m) SV_COLUMN_BODY {
    for (size_t k = 0; k < m; ++k) {
      const float v = (2.0f * in[k + 1] + in[k] + in[k + 2]) * 0.25f;
      const uint32_t b = std::bit_cast<uint32_t>(v);
      bits[k] = (b & 0x7F800000u) == 0x7F800000u ? kGapBits : b;
    }
    return 0u;
  }, in, bits, m);
}

// One binomial pass, ends kept.
void Pass(const float* in, float* out, size_t n) {
  out[0] = in[0];
  out[n - 1] = in[n - 1];
  Inner(in, out + 1, n - 2);
}

// The last pass straight into compact bits.
void PassToBits(const float* in, uint32_t* bits, size_t n) {
  bits[0] = column_cells::Store(in[0]);
  bits[n - 1] = column_cells::Store(in[n - 1]);
  InnerToBits(in, bits + 1, n - 2);
}

// Below 2^125 in size: (2 y + left + right) / 4 of such numbers is finite.
constexpr uint32_t kTameExponent = 252u << 23;

// Copies a tile of compact bits as floats (the bits kept, gaps too); the
// count of cells that are no tame number: gaps, NaN, infinities and numbers
// of 2^125 and more.
uint32_t CopyCount(const uint32_t* bits, float* v, size_t m) {
  return Run([](const uint32_t* bits, float* v, size_t m) SV_COLUMN_BODY {
    uint32_t wild = 0;
    for (size_t k = 0; k < m; ++k) {
      wild += (bits[k] & 0x7F800000u) >= kTameExponent;
      v[k] = std::bit_cast<float>(bits[k]);
    }
    return wild;
  }, bits, v, m);
}

// InnerToBits for tame numbers: every result is finite, so no test.
void TameInnerToBits(const float* in, uint32_t* bits, size_t m) {
  Run([](const float* in, uint32_t* bits, size_t m) SV_COLUMN_BODY {
    for (size_t k = 0; k < m; ++k)
      bits[k] = std::bit_cast<uint32_t>((2.0f * in[k + 1] + in[k] + in[k + 2]) * 0.25f);
    return 0u;
  }, in, bits, m);
}

// One pass over a compact column in a single sweep, gaps and all: the
// numbers in row order, the first and the last kept, each other one
// (2 y + left + right) / 4 of its neighbouring numbers; gaps stay. `dst` may
// be `src`; a `dst` apart is all gaps to begin with. Tile by tile the old
// values are copied aside before the tile is written; a number whose right
// neighbour is not known yet waits (`pending`) for the next one.
//
// The sweep may also go on from row `from` >= 2 after the rows before it
// were done elsewhere: all of them numbers, `left` the old one at from - 2,
// and the one at from - 1 waiting.
void SmoothOnce(const uint32_t* src, uint32_t* dst, size_t n, size_t from = 0,
                float left = 0.0f) {
  constexpr size_t kTile = 2048;
  float old[kTile + 1];  // old[0]: the number left of the tile
  float pending = from > 0 ? std::bit_cast<float>(src[from - 1]) : 0.0f;
  size_t pendingRow = from > 0 ? from - 1 : 0, seen = from;
  auto settle = [&](float right) {
    dst[pendingRow] = column_cells::Store(
        seen == 1 ? pending : (2.0f * pending + left + right) * 0.25f);
  };
  for (size_t t = from; t < n; t += kTile) {
    const size_t m = std::min(kTile, n - t);
    if (CopyCount(src + t, old + 1, m) == 0 && m >= 2 &&
        (seen == 0 || (std::bit_cast<uint32_t>(pending) & 0x7F800000u) < kTameExponent)) {
      // All tame numbers: the tile's inner points at once.
      if (seen > 0) {
        settle(old[1]);
        old[0] = pending;
        TameInnerToBits(old, dst + t, m - 1);
      } else {
        dst[t] = column_cells::Store(old[1]);  // the first number stays
        TameInnerToBits(old + 1, dst + t + 1, m - 2);
      }
      left = old[m - 1];
      pending = old[m];
      pendingRow = t + m - 1;
      seen += m;
      continue;
    }
    for (size_t k = 1; k <= m; ++k) {
      if (std::bit_cast<uint32_t>(old[k]) == kGapBits) continue;
      if (seen > 0) settle(old[k]);
      left = pending;
      pending = old[k];
      pendingRow = t + k - 1;
      ++seen;
    }
  }
  if (seen > 0) dst[pendingRow] = column_cells::Store(pending);  // the last number stays
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
long InsertResultColumn(Form_Worksheet& sheet, long col, const std::string& suffix,
                        bool fill = true) {
  const std::string name = sheet.ColName(col) + suffix;
  if (!sheet.InsertColumn(col + 1, 1, fill)) return -1;
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
  Derivative(x, y, out, n);
}

long Differentiate(Form_Worksheet& sheet) {
  long xcol, ycol;
  if (!XYColumns(sheet, xcol, ycol)) return 0;
  const size_t body = size_t(std::max(0L, sheet.Rows() - 1));
  const uint32_t* xb = sheet.FloatBody(xcol);
  const uint32_t* yb = sheet.FloatBody(ycol);
  // Two float columns: every row is a point unless a gap turns up, and then
  // the new column is all gaps again. The rest writes points only.
  const bool packed = xb && yb && body >= 2;
  const long out = InsertResultColumn(sheet, ycol, "'", !packed);
  if (out < 0) return 0;
  // (The insert leaves the source columns where they were: they lie left.)
  if (packed && sheet.FloatBody(out) &&
      DerivativeInPlace(sheet.FloatBody(xcol), sheet.FloatBody(ycol), sheet.FloatBody(out),
                        body)) {
    Finish(sheet, out);
    return 1;
  }
  XYPoints p;
  CollectXY(sheet, xcol, ycol, p);
  float* d = Scratch(0, p.x.size());
  Derivative(p.x.data(), p.y.data(), d, p.x.size());
  for (size_t i = 0; i < p.x.size(); ++i) column_cells::Put(sheet, p.rows[i], out, d[i]);
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
  const float* r = Passes(values.data(), Scratch(0, n), Scratch(1, n), n, degree);
  std::copy(r, r + n, values.begin());
}

namespace {

// Smooths column `src` into column `dst` (the same column, or its new copy).
void SmoothColumn(Form_Worksheet& sheet, long src, long dst, long degree) {
  const size_t body = size_t(std::max(0L, sheet.Rows() - 1));
  const uint32_t* sb = sheet.FloatBody(src);
  uint32_t* db = sheet.FloatBody(dst);
  if (sb && db && degree == 1) {
    float left = 0.0f;
    const size_t done = column_cells::FastSmooth(sb, db, body, left);
    if (done < body) SmoothOnce(sb, db, body, done == 0 ? 0 : done + 1, left);
    return;
  }
  if (sb && db && body >= 3 && !HasGap(sb, body)) {
    // Every row a number: the passes run on the column itself.
    float* a = Scratch(2, body);
    CopyOut(sb, a, body);
    PassToBits(Passes(a, Scratch(0, body), Scratch(1, body), body, degree - 1), db, body);
    return;
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
