#include "image/kernel/plot_draw.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace sv::kernel {

namespace {

// How far past the page a cut line or a symbol may reach, beside the pen's
// width: far enough that no cap or join of a cut end shows on the page.
constexpr double kPageMargin = 8;

// A circle whose box reaches further than this past the page is not drawn:
// no surface takes such coordinates, and no arc of it can be told from a
// straight line.
constexpr double kFarCircle = 1 << 20;

// The page enlarged on every side by `pad`.
struct Box {
  double left, top, right, bottom;
  bool Holds(const DrawPoint& p) const {
    return p.x >= left && p.x <= right && p.y >= top && p.y <= bottom;
  }
};

Box PageBox(const DrawSurface& dev, double pad) {
  return {-pad, -pad, dev.PageWidth() + pad, dev.PageHeight() + pad};
}

// A double-double number, hi + lo, for cutting lines whose ends lie so far
// out that plain doubles would lose the part of them that crosses the page.
struct Wide {
  double hi = 0, lo = 0;
};

Wide TwoSum(double a, double b) {
  const double s = a + b, bb = s - a;
  return {s, (a - (s - bb)) + (b - bb)};
}

Wide Normal(double hi, double lo) {
  const double s = hi + lo;
  return {s, lo - (s - hi)};
}

Wide Add(Wide a, Wide b) {
  const Wide s = TwoSum(a.hi, b.hi);
  return Normal(s.hi, s.lo + a.lo + b.lo);
}

Wide Neg(Wide a) { return {-a.hi, -a.lo}; }

Wide Mul(Wide a, Wide b) {
  const double p = a.hi * b.hi;
  return Normal(p, std::fma(a.hi, b.hi, -p) + a.hi * b.lo + a.lo * b.hi);
}

Wide Div(Wide a, Wide b) {
  const double q1 = a.hi / b.hi;
  const Wide r = Add(a, Neg(Mul(b, {q1, 0})));
  const double q2 = r.hi / b.hi;
  const Wide r2 = Add(r, Neg(Mul(b, {q2, 0})));
  return Add(Normal(q1, q2), {r2.hi / b.hi, 0});
}

bool Less(Wide a, Wide b) { return a.hi < b.hi || (a.hi == b.hi && a.lo < b.lo); }

// Liang-Barsky: cuts the segment a-b to the box. `from` and `to` get the
// kept piece; `cutStart` and `cutEnd` tell whether an end was moved. False
// when nothing of the segment lies in the box.
bool ClipSegment(const Box& box, const DrawPoint& a, const DrawPoint& b, DrawPoint& from,
                 DrawPoint& to, bool& cutStart, bool& cutEnd) {
  const Wide dx = TwoSum(b.x, -a.x), dy = TwoSum(b.y, -a.y);
  const Wide p[4] = {Neg(dx), dx, Neg(dy), dy};
  const Wide q[4] = {TwoSum(a.x, -box.left), TwoSum(box.right, -a.x), TwoSum(a.y, -box.top),
                     TwoSum(box.bottom, -a.y)};
  Wide t0{0, 0}, t1{1, 0};
  for (int i = 0; i < 4; ++i) {
    if (p[i].hi == 0) {
      if (q[i].hi < 0) return false;  // parallel to this edge and outside it
      continue;
    }
    const Wide r = Div(q[i], p[i]);
    if (p[i].hi < 0) {
      if (Less(t1, r)) return false;
      if (Less(t0, r)) t0 = r;
    } else {
      if (Less(r, t0)) return false;
      if (Less(r, t1)) t1 = r;
    }
  }
  if (Less(t1, t0)) return false;
  auto at = [&](Wide t) {
    return DrawPoint{Add({a.x, 0}, Mul(dx, t)).hi, Add({a.y, 0}, Mul(dy, t)).hi};
  };
  cutStart = t0.hi > 0;
  cutEnd = Less(t1, {1, 0});
  from = cutStart ? at(t0) : a;
  to = cutEnd ? at(t1) : b;
  return true;
}

// The pixel column of a device x: whole device values are pixel centres,
// so x - 0.5 up to x + 0.5 is one column. Without a library call for the
// usual sizes.
inline double Column(double x) {
  x += 0.5;
  if (x > -4.0e15 && x < 4.0e15) {
    const double t = double(static_cast<long long>(x));
    return t > x ? t - 1 : t;
  }
  return std::floor(x);
}

// Draws the pieces of one line on the page, thinning monotone pieces on a
// raster.
class LineOut {
 public:
  LineOut(DrawSurface& dev, const DrawPen& pen, size_t reserve)
      : dev_(dev), pen_(pen), raster_(dev.IsRaster()) {
    piece_.reserve(reserve);
  }

  std::vector<DrawPoint>& Piece() { return piece_; }

  void Flush() {
    if (piece_.size() >= 2) {
      if (raster_ && piece_.size() > 4 && MonotoneX(piece_.data(), piece_.size())) {
        DecimateRun(piece_.data(), piece_.size(), thin_);
        dev_.Polyline(thin_.data(), thin_.size(), pen_);
      } else {
        dev_.Polyline(piece_.data(), piece_.size(), pen_);
      }
    }
    piece_.clear();
  }

 private:
  DrawSurface& dev_;
  DrawPen pen_;
  bool raster_;
  std::vector<DrawPoint> piece_, thin_;
};

}  // namespace

bool MonotoneX(const DrawPoint* points, size_t count) {
  if (!points || count < 3) return true;
  bool rises = false, falls = false;
  for (size_t i = 1; i < count; ++i) {
    const double d = points[i].x - points[i - 1].x;
    rises |= d > 0;
    falls |= d < 0;
  }
  return !(rises && falls);
}

void DecimateRun(const DrawPoint* in, size_t count, std::vector<DrawPoint>& out) {
  out.clear();
  if (!in || count == 0) return;
  // At most four points a column: the columns between the ends and both ends.
  const double span = std::fabs(in[count - 1].x - in[0].x);
  const double columns = span < 1e9 ? span + 2 : 1e9;
  out.reserve(std::min(count, size_t(4 * columns)));

  // The column under way: the index of its first, lowest (least y), highest
  // (largest y) and last point.
  size_t first = 0, low = 0, high = 0;
  double column = Column(in[0].x);
  auto close = [&](size_t last) {
    out.push_back(in[first]);
    const size_t a = std::min(low, high), b = std::max(low, high);
    if (a != first) out.push_back(in[a]);
    if (b != a && b != first) out.push_back(in[b]);
    if (last != b && last != first) out.push_back(in[last]);
  };
  for (size_t i = 1; i < count; ++i) {
    const double c = Column(in[i].x);
    if (c != column) {
      close(i - 1);
      column = c;
      first = low = high = i;
      continue;
    }
    if (in[i].y < in[low].y) low = i;
    if (in[i].y > in[high].y) high = i;
  }
  close(count - 1);
}

void SV_plot_polyline(DrawSurface& dev, int32_t count, const float* x, const float* y,
                      double originX, double originY, double scaleX, double scaleY,
                      int32_t color, double width, int lineType) {
  if (count <= 0 || !x || !y) return;
  const DrawPen pen{color, width, lineType};
  const double w = std::isfinite(width) && width > 0 ? width : 1;
  const Box box = PageBox(dev, w + kPageMargin);

  LineOut out(dev, pen, size_t(count));
  std::vector<DrawPoint>& piece = out.Piece();
  // The previous point, when it was a number; `open` when it ends the piece.
  DrawPoint prev{};
  bool havePrev = false, open = false;
  for (int32_t i = 0; i < count; ++i) {
    const DrawPoint p{originX + double(x[i]) * scaleX, originY + double(y[i]) * scaleY};
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) {
      out.Flush();
      havePrev = open = false;
      continue;
    }
    if (!havePrev) {
      prev = p;
      havePrev = true;
      continue;
    }
    const DrawPoint a = prev;
    prev = p;
    const bool inside = box.Holds(p);
    if (inside && (open || box.Holds(a))) {  // the usual case: on the page all along
      if (!open) piece.push_back(a);
      piece.push_back(p);
      open = true;
      continue;
    }
    DrawPoint from, to;
    bool cutStart = false, cutEnd = false;
    if (!ClipSegment(box, a, p, from, to, cutStart, cutEnd)) {
      out.Flush();
      open = false;
      continue;
    }
    if (!open || cutStart) {
      out.Flush();
      piece.push_back(from);
    }
    piece.push_back(to);
    open = !cutEnd;
    if (!open) out.Flush();
  }
  out.Flush();
}

void PlotSymbol(DrawSurface& dev, double x, double y, int shape, double size, int32_t color) {
  if (!std::isfinite(x) || !std::isfinite(y)) return;
  const double d = std::isfinite(size) ? std::fabs(size) / 2 : 0;
  const DrawPen pen{color, 0, 0};
  // Wholly off the page: nothing to draw.
  const Box page = PageBox(dev, 1);
  if (x + d < page.left || x - d > page.right || y + d < page.top || y - d > page.bottom) return;

  if (shape < 0 || shape > int(SymbolShape::Pixel)) shape = int(SymbolShape::Square);
  const auto kind = SymbolShape(shape);
  if (kind == SymbolShape::Pixel) {
    dev.Pixel(x, y, color);
    return;
  }
  if (kind == SymbolShape::Circle) {
    const Box far = PageBox(dev, kFarCircle);
    if (x - d < far.left || x + d > far.right || y - d < far.top || y + d > far.bottom) return;
    dev.Ellipse({x - d, y - d, x + d, y + d}, pen, false, 0);
    return;
  }

  // The strokes about the centre: closed outlines as one line through their
  // corners, bars and crosses as single segments.
  DrawPoint pts[5];
  size_t n = 0;
  DrawPoint seg[4][2];
  size_t segs = 0;
  auto bar = [&](double x1, double y1, double x2, double y2) {
    seg[segs][0] = {x1, y1};
    seg[segs][1] = {x2, y2};
    ++segs;
  };
  auto outline = [&](std::initializer_list<DrawPoint> corners) {
    for (const DrawPoint& c : corners) pts[n++] = c;
    pts[n++] = pts[0];
  };
  switch (kind) {
    case SymbolShape::UpTriangle:
      outline({{0, -d}, {d, d}, {-d, d}});
      break;
    case SymbolShape::DownTriangle:
      outline({{0, d}, {-d, -d}, {d, -d}});
      break;
    case SymbolShape::Diamond:
      outline({{0, -d}, {d, 0}, {0, d}, {-d, 0}});
      break;
    case SymbolShape::Star:
      bar(-d, -d, d, d);
      bar(-d, d, d, -d);
      [[fallthrough]];
    case SymbolShape::CrossPlus:
      bar(-d, 0, d, 0);
      bar(0, -d, 0, d);
      break;
    case SymbolShape::CrossX:
      bar(-d, -d, d, d);
      bar(-d, d, d, -d);
      break;
    case SymbolShape::BarH:
      bar(-d, 0, d, 0);
      break;
    case SymbolShape::BarV:
      bar(0, -d, 0, d);
      break;
    default:  // the square
      outline({{-d, -d}, {d, -d}, {d, d}, {-d, d}});
      break;
  }

  const Box near = PageBox(dev, 1 + kPageMargin);
  const bool inside = x - d >= near.left && x + d <= near.right && y - d >= near.top &&
                      y + d <= near.bottom;
  if (inside) {
    for (size_t i = 0; i < n; ++i) pts[i] = {x + pts[i].x, y + pts[i].y};
    if (n) dev.Polyline(pts, n, pen);
    for (size_t i = 0; i < segs; ++i)
      dev.Line(x + seg[i][0].x, y + seg[i][0].y, x + seg[i][1].x, y + seg[i][1].y, pen);
    return;
  }
  // A symbol larger than the page: each stroke cut to the page, reckoned
  // from the centre so that far corners do not blur where a stroke crosses.
  for (size_t i = 0; i + 1 < n; ++i) bar(pts[i].x, pts[i].y, pts[i + 1].x, pts[i + 1].y);
  const Box local{near.left - x, near.top - y, near.right - x, near.bottom - y};
  for (size_t i = 0; i < segs; ++i) {
    DrawPoint from, to;
    bool cutStart = false, cutEnd = false;
    if (ClipSegment(local, seg[i][0], seg[i][1], from, to, cutStart, cutEnd))
      dev.Line(x + from.x, y + from.y, x + to.x, y + to.y, pen);
  }
}

void SV_plot_symbols(DrawSurface& dev, int32_t count, const float* x, const float* y,
                     double originX, double originY, double scaleX, double scaleY, int shape,
                     double size, int32_t color) {
  if (count <= 0 || !x || !y) return;
  for (int32_t i = 0; i < count; ++i)
    PlotSymbol(dev, originX + double(x[i]) * scaleX, originY + double(y[i]) * scaleY, shape,
               size, color);
}

}  // namespace sv::kernel
