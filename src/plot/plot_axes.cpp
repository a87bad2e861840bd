// The layer and its axes: the frame's place on the page, the tick values and
// their labels, grid lines, ticks, axis lines, titles, and the box and the
// oblique axis of a plot with a third axis.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "plot/plot_dialogs.h"
#include "plot/plot_render.h"

namespace sv {

float PrintScale = 1.0f;

namespace {

// More ticks than this on one axis mean a meaningless increment: none are drawn.
constexpr double kMaxTicks = 1000;
// A tick within this part of Inc past To still counts (float drift).
constexpr double kTickSlack = 1e-3;

constexpr int32_t kRgbMask = 0xFFFFFF;
constexpr uint32_t kNoFill = 0x80000000u;

int32_t Rgb(int32_t color) { return color & kRgbMask; }

// Float to device integer, nearest with ties to even; no number gives 0.
int32_t ToDeviceInt(double v) {
  if (!std::isfinite(v)) return 0;
  return int32_t(std::nearbyint(std::clamp(v, -1e9, 1e9)));
}

// The layer's edges as placed on the page, before sorting: `bottom` is the
// device row of the Y axis' From end, `top` that of its To end.
struct RawFrame {
  int32_t left, right, bottom, top;
};

RawFrame Raw(const PlotLayerRecord& layer, const DrawSurface& dev) {
  const double w = dev.PageWidth(), h = dev.PageHeight();
  const double left = w * double(layer.Left);
  const double bottom = h * (1.0 - double(layer.Top));
  return {ToDeviceInt(left), ToDeviceInt(left + w * double(layer.Width)), ToDeviceInt(bottom),
          ToDeviceInt(bottom - h * double(layer.Height))};
}

bool HasBox(const PlotAxisRecord& third) { return (third.Flags & AxisFlag::Oblique) != 0; }

// How far the back of the box lies behind the front, to the upper right.
double BoxDepth(const RawFrame& f) {
  const double w = std::fabs(double(f.right) - f.left), h = std::fabs(double(f.bottom) - f.top);
  return std::nearbyint(0.25 * std::min(w, h));
}

// User values to device along one axis, as Form_Plot::ScreenX has it.
struct AxisMap {
  double origin = 0, from = 0, scale = 0;
  double At(double v) const { return origin + (v - from) * scale; }
  bool Usable() const { return scale != 0 && std::isfinite(scale) && std::isfinite(from); }
};

float Scale(double device, float from, float to) {
  const double span = double(to) - double(from);
  if (span == 0 || !std::isfinite(span)) return 0;
  const double s = device / span;
  return std::isfinite(s) && std::fabs(s) < 1e38 ? float(s) : 0;
}

// Everything the axis drawing needs of the layer's place.
struct Geometry {
  DrawRect face;  // the frame the X and Y axes run along (the front face of a box)
  DrawRect layer;  // the whole layer
  double depth = 0;  // the box's depth; 0 without a box
  AxisMap xm, ym;
};

Geometry MakeGeometry(const PlotLayerRecord& layer, const PlotAxisRecord& x,
                      const PlotAxisRecord& y, const PlotAxisRecord& third,
                      const DrawSurface& dev) {
  const RawFrame f = Raw(layer, dev);
  Geometry g;
  g.layer = LayerFrame(layer, dev);
  g.depth = HasBox(third) ? BoxDepth(f) : 0;
  // The front face gives up the depth at its right and top.
  const double right = f.right >= f.left ? f.right - g.depth : f.right + g.depth;
  const double top = f.top <= f.bottom ? f.top + g.depth : f.top - g.depth;
  g.face = {std::min<double>(f.left, right), std::min<double>(f.bottom, top),
            std::max<double>(f.left, right), std::max<double>(f.bottom, top)};
  g.xm = {double(layer.OriginX), double(x.From), double(layer.ScaleX)};
  g.ym = {double(layer.OriginY), double(y.From), double(layer.ScaleY)};
  return g;
}

double FontHeight(const PlotTextRecord& t) { return PlotFont(t).height; }

DrawPen Pen(int32_t color, double widthPoints, int style = 0) {
  return {Rgb(color), PointsToDevice(widthPoints), style};
}

// One axis along the face: X along the bottom and top edges, Y along the
// left and right ones. "Low" is bottom/left, "high" top/right.
struct AxisSide {
  const PlotAxisRecord& rec;
  AxisMap map;
  bool vertical;  // the Y axis
  DrawRect face;

  double Edge(bool high) const {
    if (vertical) return high ? face.right : face.left;
    return high ? face.top : face.bottom;
  }
  // +1 or -1: the outward direction at that edge.
  double Out(bool high) const { return vertical ? (high ? 1 : -1) : (high ? -1 : 1); }
  // The device point at user value v, `off` outwards from the edge.
  DrawPoint At(double v, bool high, double off) const {
    const double e = Edge(high) + Out(high) * off;
    return vertical ? DrawPoint{e, map.At(v)} : DrawPoint{map.At(v), e};
  }
  // A line across the face at user value v.
  void Across(DrawSurface& dev, double v, const DrawPen& pen) const {
    const double p = map.At(v);
    if (vertical) dev.Line(face.left, p, face.right, p, pen);
    else dev.Line(p, face.top, p, face.bottom, pen);
  }
};

struct TickText {
  double value;
  std::string text;
  TextExtent size;
};

std::vector<TickText> Labels(DrawSurface& dev, const PlotAxisRecord& rec, const DrawFont& font) {
  std::vector<TickText> out;
  for (double v : MajorTicks(rec)) {
    std::string t = TickLabel(v, rec);
    const TextExtent e = dev.Extent(t, font);
    out.push_back({v, std::move(t), e});
  }
  return out;
}

void DrawGrid(DrawSurface& dev, const AxisSide& s) {
  const PlotAxisRecord& a = s.rec;
  if (!s.map.Usable()) return;
  if (a.Flags & AxisFlag::MinorGrid) {
    const DrawPen pen = Pen(a.MinorGridColor, a.MinorGridWidth, a.MinorGridStyle);
    for (double v : MinorTicks(a)) s.Across(dev, v, pen);
  }
  if (a.Flags & AxisFlag::MajorGrid) {
    const DrawPen pen = Pen(a.MajorGridColor, a.MajorGridWidth, a.MajorGridStyle);
    for (double v : MajorTicks(a)) s.Across(dev, v, pen);
  }
}

void DrawZeroLine(DrawSurface& dev, const AxisSide& s, int32_t frameColor) {
  const PlotAxisRecord& a = s.rec;
  if (!(a.Flags & AxisFlag::ZeroLine) || !s.map.Usable()) return;
  const double lo = std::min(a.From, a.To), hi = std::max(a.From, a.To);
  if (lo < 0 && 0 < hi) s.Across(dev, 0, Pen(frameColor, a.MajorGridWidth));
}

void DrawTicksAndLines(DrawSurface& dev, const AxisSide& s, int32_t frameColor) {
  const PlotAxisRecord& a = s.rec;
  const DrawPen pen = Pen(frameColor, a.Thickness);
  if (s.map.Usable()) {
    const std::vector<double> major = MajorTicks(a), minor = MinorTicks(a);
    const struct {
      int32_t bit;
      bool high;
      const std::vector<double>& at;
      int length;
    } kinds[] = {{AxisFlag::MinorLow, false, minor, MinorTickLength()},
                 {AxisFlag::MinorHigh, true, minor, MinorTickLength()},
                 {AxisFlag::MajorLow, false, major, MajorTickLength()},
                 {AxisFlag::MajorHigh, true, major, MajorTickLength()}};
    for (const auto& k : kinds) {
      if (!(a.Flags & k.bit)) continue;
      for (double v : k.at) {
        const DrawPoint p = s.At(v, k.high, 0), q = s.At(v, k.high, k.length);
        dev.Line(p.x, p.y, q.x, q.y, pen);
      }
    }
  }
  const DrawRect& f = s.face;
  for (bool high : {false, true}) {
    if (!(a.Flags & (high ? AxisFlag::LineHigh : AxisFlag::LineLow))) continue;
    const double e = s.Edge(high);
    if (s.vertical) dev.Line(e, f.bottom, e, f.top, pen);
    else dev.Line(f.left, e, f.right, e, pen);
  }
}

// The tick labels of both sides; returns the widest label drawn on the low side.
double DrawTickLabels(DrawSurface& dev, const AxisSide& s, const std::vector<TickText>& labels,
                      const DrawFont& font, int32_t color) {
  double widest = 0;
  if (!s.map.Usable()) return 0;
  const double dist = MajorTickLength() + 0.5 * font.height;
  for (bool high : {false, true}) {
    if (!(s.rec.Flags & (high ? AxisFlag::LabelsHigh : AxisFlag::LabelsLow))) continue;
    for (const TickText& t : labels) {
      const DrawPoint p = s.At(t.value, high, dist);
      double x, y;
      if (s.vertical) {
        x = high ? p.x : p.x - t.size.width;
        y = p.y - t.size.height / 2;
      } else {
        x = p.x - t.size.width / 2;
        y = high ? p.y - t.size.height : p.y;
      }
      dev.Text(x, y, t.text, font, color);
      if (!high) widest = std::max(widest, t.size.width);
    }
  }
  return widest;
}

// How far from the frame the labels of a side reach, with a gap behind
// them: the tick, half a label height, then 1.7 label heights for the line
// of labels (1.2) and the gap (0.5).
double LabelBand(const PlotAxisRecord& a, bool high) {
  const double hl = FontHeight(a.Labels);
  const bool labels = a.Flags & (high ? AxisFlag::LabelsHigh : AxisFlag::LabelsLow);
  return MajorTickLength() + 0.5 * hl + (labels ? 1.7 * hl : 0.0);
}

void DrawTitles(DrawSurface& dev, const Geometry& g, const PlotLayerRecord& layer,
                const PlotAxisRecord& x, const PlotAxisRecord& y, double widestY) {
  const int32_t color = Rgb(layer.FrameColor);
  if (!layer.Title.Text.empty()) {
    const DrawFont font = PlotFont(layer.Title);
    const TextExtent e = dev.Extent(layer.Title.Text, font);
    double bottom = g.layer.top - 0.3 * font.height;
    if (x.Flags & AxisFlag::LabelsHigh) bottom -= LabelBand(x, true);
    dev.Text((g.layer.left + g.layer.right) / 2 - e.width / 2, bottom - e.height,
             layer.Title.Text, font, color);
  }
  if (!x.Title.Text.empty()) {
    const DrawFont font = PlotFont(x.Title);
    const TextExtent e = dev.Extent(x.Title.Text, font);
    dev.Text((g.face.left + g.face.right) / 2 - e.width / 2, g.face.bottom + LabelBand(x, false),
             x.Title.Text, font, color);
  }
  if (!y.Title.Text.empty()) {
    // Turned a quarter left about its anchor, the text's box runs up from
    // the anchor and reaches one line height to the right of it.
    const DrawFont font = PlotFont(y.Title, 900);
    const TextExtent e = dev.Extent(y.Title.Text, font);
    const double hl = FontHeight(y.Labels);
    double right = g.face.left - MajorTickLength() - 0.5 * hl;
    if (y.Flags & AxisFlag::LabelsLow) right -= widestY + 0.5 * hl;
    dev.Text(right - e.height, (g.face.top + g.face.bottom) / 2 + e.width / 2, y.Title.Text,
             font, color);
  }
}

// --- The box of a plot with a third axis ----------------------------------------

int32_t Shade(int32_t color, double f) {
  const auto part = [&](int shift) { return int32_t(std::lround(((color >> shift) & 0xFF) * f)) << shift; };
  return part(0) | part(8) | part(16);
}

void DrawBox(DrawSurface& dev, const Geometry& g, const PlotLayerRecord& layer) {
  const double d = g.depth;
  const DrawRect& f = g.face;
  const int32_t wall = (layer.BackColor & kNoFill) ? Rgb(layer.PageColor) : Rgb(int32_t(layer.BackColor));
  const DrawPen pen = Pen(layer.FrameColor, 0.5);
  const DrawPoint floor[4] = {{f.left, f.bottom}, {f.right, f.bottom}, {f.right + d, f.bottom - d},
                              {f.left + d, f.bottom - d}};
  const DrawPoint side[4] = {{f.left, f.bottom}, {f.left + d, f.bottom - d}, {f.left + d, f.top - d},
                             {f.left, f.top}};
  const DrawPoint back[4] = {{f.left + d, f.bottom - d}, {f.right + d, f.bottom - d},
                             {f.right + d, f.top - d}, {f.left + d, f.top - d}};
  dev.Polygon(back, 4, wall, pen);
  dev.Polygon(side, 4, Shade(wall, 0.9), pen);
  dev.Polygon(floor, 4, Shade(wall, 0.8), pen);
}

// The oblique axis runs from the front right corner of the floor to the
// back right one, with its ticks and labels to the right of it.
void DrawObliqueAxis(DrawSurface& dev, const Geometry& g, const PlotLayerRecord& layer,
                     const PlotAxisRecord& z, bool texts) {
  const double d = g.depth;
  const DrawPoint a{g.face.right, g.face.bottom}, b{g.face.right + d, g.face.bottom - d};
  const DrawPen pen = Pen(layer.FrameColor, z.Thickness);
  const int32_t color = Rgb(layer.FrameColor);
  dev.Line(a.x, a.y, b.x, b.y, pen);
  const double span = double(z.To) - double(z.From);
  double widest = 0;
  const DrawFont font = PlotFont(z.Labels);
  if (span != 0 && std::isfinite(span)) {
    const int tick = MajorTickLength();
    for (const TickText& t : Labels(dev, z, font)) {
      const double k = (t.value - z.From) / span;
      const DrawPoint p{a.x + k * d, a.y - k * d};
      if (z.Flags & (AxisFlag::MajorLow | AxisFlag::MajorHigh)) dev.Line(p.x, p.y, p.x + tick, p.y, pen);
      if (texts && (z.Flags & (AxisFlag::LabelsLow | AxisFlag::LabelsHigh))) {
        dev.Text(p.x + tick + 0.5 * font.height, p.y - t.size.height / 2, t.text, font, color);
        widest = std::max(widest, t.size.width);
      }
    }
  }
  if (texts && !z.Title.Text.empty()) {
    // Along the axis, turned by 45 degrees, below and right of the labels.
    const DrawFont tf = PlotFont(z.Title, 450);
    const TextExtent e = dev.Extent(z.Title.Text, tf);
    const double r = std::sqrt(0.5);
    const double off = MajorTickLength() + font.height + widest * r;
    const DrawPoint mid{(a.x + b.x) / 2, (a.y + b.y) / 2};
    dev.Text(mid.x - r * e.width / 2 + r * off, mid.y + r * e.width / 2 + r * off, z.Title.Text, tf,
             color);
  }
}

// Ticks and axis lines of all axes, with `texts` their tick labels and titles.
void DrawAxes(DrawSurface& dev, const Geometry& g, const PlotLayerRecord& layer,
              const PlotAxisRecord& x, const PlotAxisRecord& y, const PlotAxisRecord& third,
              bool texts) {
  const int32_t color = Rgb(layer.FrameColor);
  const AxisSide xs{x, g.xm, false, g.face}, ys{y, g.ym, true, g.face};
  DrawTicksAndLines(dev, xs, layer.FrameColor);
  DrawTicksAndLines(dev, ys, layer.FrameColor);
  if (texts) {
    const DrawFont xf = PlotFont(x.Labels), yf = PlotFont(y.Labels);
    DrawTickLabels(dev, xs, Labels(dev, x, xf), xf, color);
    const double widestY = DrawTickLabels(dev, ys, Labels(dev, y, yf), yf, color);
    DrawTitles(dev, g, layer, x, y, widestY);
  }
  if (HasBox(third)) DrawObliqueAxis(dev, g, layer, third, texts);
}

}  // namespace

// --- Scale, frame and ticks -----------------------------------------------------------

double PointsToDevice(double points) { return points * 20.0 * PrintScale; }

DrawFont PlotFont(const PlotTextRecord& t, int angle) {
  DrawFont f;
  f.name = t.FontName;
  f.height = std::max(1.0, PointsToDevice(t.FontSize));
  f.bold = t.Bold != 0;
  f.italic = t.Italic != 0;
  f.angle = angle;
  return f;
}

float SetPrintScale(const DrawSurface& dev) {
  const double s = dev.PageHeight() / kA4HeightTwips;
  PrintScale = std::isfinite(s) && s > 0 ? float(s) : 1.0f;
  return PrintScale;
}

int MajorTickLength() { return std::max(3, int(std::nearbyint(std::min(18.0 * PrintScale, 1e6)))); }
int MinorTickLength() { return std::max(2, int(std::nearbyint(MajorTickLength() / 2.0))); }

DrawRect LayerFrame(const PlotLayerRecord& layer, const DrawSurface& dev) {
  const RawFrame f = Raw(layer, dev);
  return {double(std::min(f.left, f.right)), double(std::min(f.top, f.bottom)),
          double(std::max(f.left, f.right)), double(std::max(f.top, f.bottom))};
}

PlotAxisRecord FlatThirdAxis() {
  PlotAxisRecord a;
  a.Flags = 0;
  a.Thickness = 0;
  a.MajorGridColor = a.MinorGridColor = 0;
  a.MajorGridWidth = a.MinorGridWidth = 0;
  return a;
}

std::vector<double> MajorTicks(const PlotAxisRecord& axis) {
  const double from = axis.From, to = axis.To, inc = std::fabs(double(axis.Inc));
  if (!std::isfinite(from) || !std::isfinite(to) || !std::isfinite(inc) || inc == 0) return {};
  // The sign of Inc follows the axis; its direction is taken from the range.
  const double dir = to < from ? -1 : 1;
  const double n = std::floor(std::fabs(to - from) / inc + kTickSlack);
  if (!(n + 1 <= kMaxTicks)) return {};
  std::vector<double> out;
  out.reserve(size_t(n) + 1);
  for (int i = 0; i <= int(n); ++i) {
    double v = from + dir * i * inc;
    if (dir * (v - to) > 0) v = to;  // the drift past To
    if (std::fabs(v) < inc * 1e-6) v = 0;
    out.push_back(v);
  }
  return out;
}

std::vector<double> MinorTicks(const PlotAxisRecord& axis) {
  const int parts = std::clamp(int(axis.Ticks), 0, 9) + 1;
  const std::vector<double> major = MajorTicks(axis);
  if (parts == 1 || major.empty()) return {};
  const double from = axis.From, to = axis.To, inc = std::fabs(double(axis.Inc));
  const double dir = to < from ? -1 : 1;
  std::vector<double> out;
  // Each interval after a major tick, the one after the last too as far as
  // the range goes.
  for (size_t i = 0; i < major.size(); ++i)
    for (int k = 1; k < parts; ++k) {
      const double v = from + dir * (double(i) + double(k) / parts) * inc;
      if (dir * (v - to) > kTickSlack * inc) break;
      out.push_back(v);
    }
  return out;
}

const char* FallbackFormat(double inc) {
  if (inc <= 0.0001) return "##0.00000";
  if (inc < 0.001) return "##0.0000";
  if (inc < 0.01) return "##0.000";
  if (inc < 0.1) return "##0.00";
  if (inc < 1) return "##0.0";
  return "";
}

std::string FormatNumber(double value, const std::string& format) {
  if (format.empty() || !std::isfinite(value)) return FieldText(value);
  int decimals = 0;
  const size_t dot = format.find('.');
  if (dot != std::string::npos)
    for (size_t i = dot + 1; i < format.size() && (format[i] == '0' || format[i] == '#'); ++i)
      ++decimals;
  decimals = std::min(decimals, 15);
  char buf[400];
  std::snprintf(buf, sizeof buf, "%.*f", decimals, value);
  std::string s = buf;
  // A value that rounds to zero shows no sign.
  if (s[0] == '-' && s.find_first_not_of("0.", 1) == std::string::npos) s.erase(0, 1);
  return s;
}

std::string TickLabel(double value, const PlotAxisRecord& axis) {
  const std::string& stored = axis.Labels.Text;
  return FormatNumber(value, stored.empty() ? FallbackFormat(std::fabs(double(axis.Inc))) : stored);
}

// --- The layer ---------------------------------------------------------------------------

void DrawLayerAndAxes(DrawSurface& dev, PlotLayerRecord& layer, const PlotAxisRecord& x,
                      const PlotAxisRecord& y, const PlotAxisRecord& third) {
  SetPrintScale(dev);
  const RawFrame f = Raw(layer, dev);
  double width = double(f.right) - f.left, height = double(f.top) - f.bottom;
  if (HasBox(third)) {
    const double d = BoxDepth(f);
    width -= width >= 0 ? d : -d;
    height += height <= 0 ? d : -d;
  }
  layer.OriginX = f.left;
  layer.OriginY = f.bottom;
  layer.ScaleX = Scale(width, x.From, x.To);
  layer.ScaleY = Scale(height, y.From, y.To);

  const Geometry g = MakeGeometry(layer, x, y, third, dev);
  if (!(layer.BackColor & kNoFill)) dev.FillRect(g.layer, Rgb(int32_t(layer.BackColor)));
  if (HasBox(third)) DrawBox(dev, g, layer);
  const AxisSide xs{x, g.xm, false, g.face}, ys{y, g.ym, true, g.face};
  DrawGrid(dev, xs);
  DrawGrid(dev, ys);
  DrawZeroLine(dev, xs, layer.FrameColor);
  DrawZeroLine(dev, ys, layer.FrameColor);
  DrawAxes(dev, g, layer, x, y, third, true);
}

void DrawAxesOver(DrawSurface& dev, const PlotLayerRecord& layer, const PlotAxisRecord& x,
                  const PlotAxisRecord& y, const PlotAxisRecord& third, double cleared) {
  SetPrintScale(dev);
  // Text drawn twice comes out heavier where it is smoothed: only what was
  // wiped is drawn again.
  DrawAxes(dev, MakeGeometry(layer, x, y, third, dev), layer, x, y, third,
           cleared > MajorTickLength());
}

}  // namespace sv
