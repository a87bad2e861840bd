// The curves, the legend and the whole plot on a surface, and the one more
// point of a running experiment.
#include "plot/plot_render.h"

#include <algorithm>
#include <cmath>

#include "image/kernel/plot_draw.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

constexpr int32_t kRgbMask = 0xFFFFFF;
constexpr int32_t kWhite = 0xFFFFFF;
constexpr int32_t kBlack = 0;

int32_t Rgb(int32_t color) { return color & kRgbMask; }

// A size from a record in device units; what is no size gives 0.
double DeviceSize(float points) {
  const double d = PointsToDevice(points);
  return std::isfinite(d) && d > 0 ? d : 0;
}

bool DrawsLines(const PlotCurveRecord& c) { return c.PlotType == 0 || c.PlotType == 2; }
bool DrawsSymbols(const PlotCurveRecord& c) { return c.PlotType == 1 || c.PlotType == 2; }

bool ValidColumn(const Form_Worksheet& sheet, long col) { return col >= 0 && col < sheet.Cols(); }

// The kernel's view of the axes: device = origin + value * scale, where the
// origin is the device place of user value 0.
struct KernelMap {
  double ox = 0, oy = 0, sx = 0, sy = 0;
  bool usable = false;
  DrawPoint At(float x, float y) const { return {ox + double(x) * sx, oy + double(y) * sy}; }
};

KernelMap MapOf(const Form_Plot& plot) {
  KernelMap m;
  m.sx = plot.Layer.ScaleX;
  m.sy = plot.Layer.ScaleY;
  m.ox = double(plot.Layer.OriginX) - double(plot.XAxis.From) * m.sx;
  m.oy = double(plot.Layer.OriginY) - double(plot.YAxis.From) * m.sy;
  m.usable = m.sx != 0 && m.sy != 0 && std::isfinite(m.ox) && std::isfinite(m.oy);
  return m;
}

void KeepSlots(Form_Plot& plot) {
  if (plot.Kept.size() != size_t(plot.Curves())) plot.Kept.resize(size_t(plot.Curves()));
}

// Text at points, centred on them, in the curve's size and colour.
void DrawLabels(DrawSurface& dev, const std::vector<float>& x, const std::vector<float>& y,
                const std::vector<std::string>& labels, long count, Form_Plot& plot, long curve) {
  if (curve < 0 || curve >= plot.Curves()) return;
  const PlotCurveRecord& c = plot.CurveRecord(curve);
  const KernelMap m = MapOf(plot);
  if (!m.usable) return;
  DrawFont font = PlotFont(plot.XAxis.Labels);
  font.height = std::max(1.0, DeviceSize(c.Size));
  const size_t n = std::min({size_t(std::max(count, 0L)), x.size(), y.size(), labels.size()});
  for (size_t i = 0; i < n; ++i) {
    if (!std::isfinite(x[i]) || !std::isfinite(y[i]) || labels[i].empty()) continue;
    const DrawPoint p = m.At(x[i], y[i]);
    const TextExtent e = dev.Extent(labels[i], font);
    dev.Text(p.x - e.width / 2, p.y - e.height / 2, labels[i], font, Rgb(c.Color));
  }
}

// Page-coloured bands just outside the frame, over what a wide line of
// `curve` may have left there; the ticks and labels come back with the axes.
// Returns the width of the bands.
double ClearEdges(Form_Plot& plot, DrawSurface& dev, long curve) {
  const PlotCurveRecord& c = plot.CurveRecord(curve);
  double reach = 0;
  if (DrawsLines(c)) reach = std::max(reach, DeviceSize(c.Width) / 2);
  if (DrawsSymbols(c)) reach = std::max(reach, DeviceSize(c.Size) / 2);
  const double b = std::ceil(std::min(reach, 1e4)) + 1;
  const DrawRect f = LayerFrame(plot.Layer, dev);
  const int32_t color = Rgb(plot.Layer.PageColor);
  dev.FillRect({f.left - b, f.top - b, f.right + b, f.top}, color);
  dev.FillRect({f.left - b, f.bottom, f.right + b, f.bottom + b}, color);
  dev.FillRect({f.left - b, f.top, f.left, f.bottom}, color);
  dev.FillRect({f.right, f.top, f.right + b, f.bottom}, color);
  return b;
}

}  // namespace

void ClearPicture(Form_Plot& plot, DrawSurface& dev) {
  dev.FillRect({0, 0, dev.PageWidth(), dev.PageHeight()}, Rgb(plot.Layer.PageColor));
}

void DrawPlot(Form_Plot& plot, DrawSurface& dev) {
  const PlotAxisRecord third = FlatThirdAxis();
  DrawLayerAndAxes(dev, plot.Layer, plot.XAxis, plot.YAxis, third);
  plot.Kept.assign(size_t(plot.Curves()), {});
  double cleared = 0;
  for (long c = 0; c < plot.Curves(); ++c) {
    DrawCurve(plot, dev, c);
    cleared = std::max(cleared, ClearEdges(plot, dev, c));
  }
  if (plot.Curves() > 0) DrawAxesOver(dev, plot.Layer, plot.XAxis, plot.YAxis, third, cleared);
  if (plot.Legend()) DrawLegend(plot, dev);
}

void DrawCurve(Form_Plot& plot, DrawSurface& dev, long curve) {
  if (curve < 0 || curve >= plot.Curves()) return;
  KeepSlots(plot);
  Form_Plot::KeptPoint& kept = plot.Kept[size_t(curve)];
  kept = {};
  Form_Worksheet* sheet = plot.Worksheet();
  const PlotCurveRecord c = plot.CurveRecord(curve);
  if (!sheet || !ValidColumn(*sheet, c.YCol)) return;
  SetPrintScale(dev);
  const KernelMap m = MapOf(plot);
  if (!m.usable) return;
  const long last = sheet->Rows() - 1;

  dev.SetClip(LayerFrame(plot.Layer, dev));
  std::vector<float> x, y;
  if (sheet->Record(c.YCol).Typ == kTypL) {
    // A label column: its strings at the points, no line.
    std::vector<std::string> labels;
    long row = 1, count = 0;
    sheet->GetXYLabelData(c.XCol, c.YCol, row, last, x, y, labels, count);
    SV_plot_labels(dev, x, y, labels, count, plot, curve);
  } else {
    const int32_t color = Rgb(c.Color);
    const double width = DeviceSize(c.Width), size = DeviceSize(c.Size);
    long row = 1;
    while (row <= last) {
      const long from = row;
      long count = 0;
      sheet->GetXYColData(c.XCol, c.YCol, row, last, x, y, count);
      if (count <= 0 || row <= from) break;
      const int32_t n = int32_t(count);
      if (DrawsLines(c))
        kernel::SV_plot_polyline(dev, n, x.data(), y.data(), m.ox, m.oy, m.sx, m.sy, color, width,
                                 c.LineType);
      if (DrawsSymbols(c))
        kernel::SV_plot_symbols(dev, n, x.data(), y.data(), m.ox, m.oy, m.sx, m.sy, c.Shape, size,
                                color);
      kept = {true, x[size_t(count - 1)], y[size_t(count - 1)]};
    }
  }
  dev.ClearClip();
}

DrawRect DrawPlotPoint(Form_Plot& plot, DrawSurface& dev, long curve, float x, float y) {
  if (curve < 0 || curve >= plot.Curves()) return {};
  KeepSlots(plot);
  Form_Plot::KeptPoint& kept = plot.Kept[size_t(curve)];
  if (!std::isfinite(x) || !std::isfinite(y)) {
    kept.valid = false;  // a gap: the line starts again at the next point
    return {};
  }
  const Form_Plot::KeptPoint from = kept;
  kept = {true, x, y};
  SetPrintScale(dev);
  const KernelMap m = MapOf(plot);
  if (!m.usable) return {};
  const PlotCurveRecord& c = plot.CurveRecord(curve);
  const Form_Worksheet* sheet = plot.Worksheet();
  // A line needs a point before this one: more than one data row.
  const bool segment = DrawsLines(c) && from.valid && sheet && sheet->Rows() > 2;
  const bool symbol = DrawsSymbols(c);
  if (!segment && !symbol) return {};

  const DrawRect frame = LayerFrame(plot.Layer, dev);
  const int32_t color = Rgb(c.Color);
  const DrawPoint p = m.At(x, y);
  DrawRect box{p.x, p.y, p.x, p.y};
  double pad = 0;
  const double width = DeviceSize(c.Width), size = DeviceSize(c.Size);
  if (segment) {
    const DrawPoint q = m.At(from.x, from.y);
    box = {std::min(box.left, q.x), std::min(box.top, q.y), std::max(box.right, q.x),
           std::max(box.bottom, q.y)};
    pad = std::max(pad, width / 2);
  }
  if (symbol) pad = std::max(pad, size / 2);
  // Clipping costs more than the drawing: a point well inside the frame
  // goes without.
  const double margin = pad + 2;
  const bool inside = box.left - margin >= frame.left && box.right + margin <= frame.right &&
                      box.top - margin >= frame.top && box.bottom + margin <= frame.bottom;
  if (!inside) dev.SetClip(frame);
  if (segment) {
    const float xs[2] = {from.x, x}, ys[2] = {from.y, y};
    kernel::SV_plot_polyline(dev, 2, xs, ys, m.ox, m.oy, m.sx, m.sy, color, width, c.LineType);
  }
  if (symbol)
    kernel::SV_plot_symbols(dev, 1, &x, &y, m.ox, m.oy, m.sx, m.sy, c.Shape, size, color);
  if (!inside) dev.ClearClip();

  // The changed pixels, a little more for antialiasing, within the frame.
  pad += 2;
  const DrawRect changed{std::max(frame.left, std::floor(box.left - pad)),
                         std::max(frame.top, std::floor(box.top - pad)),
                         std::min(frame.right, std::ceil(box.right + pad) + 1),
                         std::min(frame.bottom, std::ceil(box.bottom + pad) + 1)};
  if (!(changed.right > changed.left && changed.bottom > changed.top)) return {};
  return changed;
}

void DrawLegend(Form_Plot& plot, DrawSurface& dev) {
  const long n = plot.Curves();
  if (n <= 0) return;
  SetPrintScale(dev);
  const DrawFont font = PlotFont(plot.XAxis.Labels);
  const double h = dev.Extent("0", font).height;
  const double pitch = 1.1 * h;
  double widest = 0;
  for (const PlotCurveRecord& c : plot.CurveRecords())
    widest = std::max(widest, dev.Extent(c.Legend + " ", font).width);

  // Inside the layer's upper right corner, half a text height from the frame.
  const DrawRect frame = LayerFrame(plot.Layer, dev);
  const double right = frame.right - 0.5 * h, top = frame.top + 0.5 * h;
  const double left = right - (widest + 3 * h + h);
  const double bottom = top + (double(n) + 0.2) * pitch;
  const DrawPoint corners[4] = {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
  dev.Polygon(corners, 4, kWhite, {kBlack, PointsToDevice(0.75), 0});

  const double ascent = dev.Ascent(font);
  const int32_t textColor = Rgb(plot.Layer.FrameColor);
  double baseline = top + 0.8 * pitch;
  for (const PlotCurveRecord& c : plot.CurveRecords()) {
    const double ly = baseline - 0.45 * pitch;
    dev.Line(left + 0.5 * h, ly, left + 3.5 * h, ly, {Rgb(c.Color), DeviceSize(c.Width), c.LineType});
    dev.Text(left + 4 * h, baseline - ascent, c.Legend + " ", font, textColor);
    baseline += pitch;
  }
}

void SV_plot_labels(DrawSurface& dev, const std::vector<float>& x, const std::vector<float>& y,
                    const std::vector<std::string>& labels, long count, Form_Plot& plot,
                    long curve) {
  DrawLabels(dev, x, y, labels, count, plot, curve);
}

void SV_print_labels(DrawSurface& dev, const std::vector<float>& x, const std::vector<float>& y,
                     const std::vector<std::string>& labels, long count, Form_Plot& plot,
                     long curve) {
  DrawLabels(dev, x, y, labels, count, plot, curve);
}

}  // namespace sv
