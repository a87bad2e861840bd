#include "fit/rfactor.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <numeric>

#include "worksheet/form_worksheet.h"

namespace sv {

void SmoothCurve(std::vector<float>& y, int passes) {
  if (y.size() < 3) return;
  std::vector<float> prev;
  for (int p = 0; p < passes; ++p) {
    prev = y;
    for (size_t k = 1; k + 1 < y.size(); ++k)
      y[k] = (prev[k - 1] + 2.0f * prev[k] + prev[k + 1]) * 0.25f;
  }
}

namespace {

float LargestOf(std::span<const float> a, std::span<const float> b) {
  float m = -std::numeric_limits<float>::infinity();
  for (float v : a) m = std::max(m, v);
  for (float v : b) m = std::max(m, v);
  return m;
}

// Steps after the threshold value: walk, skip, sum.
RFactorValue Compare(std::span<const float> e, std::span<const float> i1,
                     std::span<const float> i2, float t, const RFactorSettings& s) {
  RFactorValue r;
  const size_t n = std::min(i1.size(), i2.size());
  const bool pendry = s.pendry && e.size() >= n;
  const double v2 = double(s.voi) * double(s.voi);
  double num = 0.0, den = 0.0;
  double e0 = 0.0, eFirst = 0.0, p1 = 0.0, p2 = 0.0;
  for (size_t k = 0; k < n; ++k) {
    if (!(i1[k] > t && i2[k] > t)) continue;
    const double ek = pendry ? e[k] : 0.0;
    if (r.counted == 0) eFirst = ek;
    ++r.counted;
    r.span = ek - eFirst;
    if (!pendry) {
      const double d = double(i2[k]) - double(i1[k]);
      num += d * d;
      den += double(i1[k]) * i1[k] + double(i2[k]) * i2[k];
      continue;
    }
    if (r.counted > 1 && ek != e0) {
      const double de = ek - e0;
      const double l1 = (i1[k] - p1) / de / (p1 + i1[k]);
      const double l2 = (i2[k] - p2) / de / (p2 + i2[k]);
      const double y1 = 2.0 * l1 / (v2 * (2.0 * l1) * (2.0 * l1) + 1.0);
      const double y2 = 2.0 * l2 / (v2 * (2.0 * l2) * (2.0 * l2) + 1.0);
      num += (y1 - y2) * (y1 - y2);
      den += y1 * y1 + y2 * y2;
    }
    e0 = ek;
    p1 = i1[k];
    p2 = i2[k];
  }
  if (!(den != 0.0) || !std::isfinite(num / den)) {
    r.error = kRFactorNothing;
    return r;
  }
  r.value = num / den;
  return r;
}

void SortByEnergy(RFactorCurve& c) {
  if (std::is_sorted(c.e.begin(), c.e.end())) return;
  std::vector<size_t> idx(c.e.size());
  std::iota(idx.begin(), idx.end(), 0);
  std::stable_sort(idx.begin(), idx.end(), [&](size_t a, size_t b) { return c.e[a] < c.e[b]; });
  RFactorCurve out;
  out.e.reserve(idx.size());
  out.i.reserve(idx.size());
  for (size_t k : idx) {
    out.e.push_back(c.e[k]);
    out.i.push_back(c.i[k]);
  }
  c = std::move(out);
}

void KeepAbove(RFactorCurve& c, float t) {
  size_t w = 0;
  for (size_t k = 0; k < c.i.size(); ++k) {
    if (c.i[k] > t) {
      c.e[w] = c.e[k];
      c.i[w] = c.i[k];
      ++w;
    }
  }
  c.e.resize(w);
  c.i.resize(w);
}

std::string Lower(std::string s) {
  for (char& ch : s) ch = char(std::tolower(static_cast<unsigned char>(ch)));
  return s;
}

}  // namespace

RFactorValue RFactorAligned(std::span<const float> e, std::span<const float> i1,
                            std::span<const float> i2, const RFactorSettings& s) {
  return Compare(e, i1, i2, LargestOf(i1, i2) * s.threshold, s);
}

RFactorValue Rfactor(const Form_Worksheet& sheet, long energyCol, long col1, long col2,
                     int passes, long firstRow, long lastRow, const RFactorSettings& s) {
  RFactorValue r;
  const long cols = sheet.Cols();
  // Column 0 holds the row headings.
  auto bad = [&](long c) { return c < 1 || c >= cols; };
  if (bad(col1) || bad(col2) || (energyCol != -1 && bad(energyCol))) {
    r.error = kRFactorBadColumn;
    return r;
  }
  if (firstRow < 1 || firstRow == lastRow) {
    firstRow = 1;
    lastRow = sheet.Rows() - 1;
  }
  lastRow = std::min(lastRow, sheet.Rows() - 1);
  std::vector<float> e, a, b;
  for (long row = firstRow; row <= lastRow; ++row) {
    double v1 = 0, v2 = 0, ve = 0;
    if (!sheet.NumberAt(row, col1, v1) || !sheet.NumberAt(row, col2, v2) ||
        (energyCol != -1 && !sheet.NumberAt(row, energyCol, ve))) {
      r.error = kRFactorNotNumber;
      return r;
    }
    a.push_back(float(v1));
    b.push_back(float(v2));
    if (energyCol != -1) e.push_back(float(ve));
  }
  SmoothCurve(a, passes);
  SmoothCurve(b, passes);
  RFactorSettings use = s;
  use.pendry = energyCol != -1;
  return RFactorAligned(e, a, b, use);
}

RFactorPrepared PrepareRFactor(const RFactorCurve& c1, const RFactorCurve& c2,
                               const RFactorSettings& s) {
  RFactorPrepared p{c1, c2};
  SmoothCurve(p.c1.i, s.passes);
  SmoothCurve(p.c2.i, s.passes);
  const float t = LargestOf(p.c1.i, p.c2.i) * s.threshold;
  KeepAbove(p.c1, t);
  KeepAbove(p.c2, t);
  SortByEnergy(p.c1);
  SortByEnergy(p.c2);
  return p;
}

RFactorValue RFactorShifted(const RFactorPrepared& p, double shift, const RFactorSettings& s) {
  thread_local std::vector<float> e, a, b;
  e.clear();
  a.clear();
  b.clear();
  const auto& c2 = p.c2;
  if (!c2.e.empty()) {
    size_t j = 0;
    const double lo = c2.e.front(), hi = c2.e.back();
    for (size_t k = 0; k < p.c1.e.size(); ++k) {
      const double x = double(p.c1.e[k]) - shift;
      if (x < lo || x > hi) continue;
      while (j + 1 < c2.e.size() && double(c2.e[j + 1]) < x) ++j;
      double y = c2.i[j];
      if (j + 1 < c2.e.size() && double(c2.e[j]) < x) {
        const double x0 = c2.e[j], x1 = c2.e[j + 1];
        y = x1 > x0 ? c2.i[j] + (c2.i[j + 1] - c2.i[j]) * (x - x0) / (x1 - x0) : c2.i[j + 1];
      }
      e.push_back(p.c1.e[k]);
      a.push_back(p.c1.i[k]);
      b.push_back(float(y));
    }
  }
  // The threshold was applied to each curve's own rows; every point counts here.
  RFactorValue r = Compare(e, a, b, -std::numeric_limits<float>::infinity(), s);
  if (r.error == 0 && r.counted < 3) r.error = kRFactorNothing;
  return r;
}

std::vector<double> RFactorShiftRange::Shifts() const {
  std::vector<double> out;
  if (!(step > 0.0) || to < from) {
    out.push_back(from);
    return out;
  }
  const long n = long(std::floor((to - from) / step + 1e-9));
  for (long k = 0; k <= n; ++k) out.push_back(from + double(k) * step);
  return out;
}

RFactorBeamsResult RFactorBestShift(std::vector<RFactorBeam>& beams,
                                    const RFactorShiftRange& range, const RFactorSettings& s) {
  RFactorBeamsResult best;
  best.error = kRFactorNothing;
  for (double shift : range.Shifts()) {
    double sumR = 0.0, sumE = 0.0;
    bool any = false;
    for (const RFactorBeam& b : beams) {
      if (!b.matched) continue;
      const RFactorValue v = RFactorShifted(b.curves, shift, s);
      if (v.error) continue;
      any = true;
      sumR += v.value * v.span;
      sumE += v.span;
    }
    if (!any || !(sumE > 0.0)) continue;
    const double overall = sumR / sumE;
    const bool better = best.error != 0 || overall < best.overall ||
                        (overall == best.overall && std::fabs(shift) < std::fabs(best.shift));
    if (better) {
      best.error = 0;
      best.shift = shift;
      best.overall = overall;
    }
  }
  for (RFactorBeam& b : beams) {
    if (!b.matched) continue;
    b.result = best.error ? RFactorValue{kRFactorNothing, 0.0, 0, 0.0}
                          : RFactorShifted(b.curves, best.shift, s);
  }
  return best;
}

long MatchRFactorColumn(const Form_Worksheet& theory, const std::string& label,
                        const std::string& name) {
  if (!label.empty()) {
    const std::string want = Lower(label);
    for (long c = 1; c < theory.Cols(); ++c)
      if (Lower(theory.Record(c).Label) == want) return c;
  }
  for (long c = 1; c < theory.Cols(); ++c)
    if (Lower(theory.Record(c).Name) == Lower(name)) return c;
  return -1;
}

std::string RFactorColumnTitle(const Form_Worksheet& sheet, long col) {
  const auto& rec = sheet.Record(col);
  return rec.Label.empty() ? rec.Name : rec.Label;
}

bool ReadRFactorCurve(const Form_Worksheet& sheet, long energyCol, long col, RFactorCurve& out) {
  out = {};
  for (long row = 1; row < sheet.Rows(); ++row) {
    if (sheet.KindOf(row, col) == CellKind::Null && sheet.KindOf(row, energyCol) == CellKind::Null)
      continue;  // rows past the data
    double e = 0, v = 0;
    if (!sheet.NumberAt(row, energyCol, e) || !sheet.NumberAt(row, col, v)) return false;
    out.e.push_back(float(e));
    out.i.push_back(float(v));
  }
  return true;
}

}  // namespace sv
