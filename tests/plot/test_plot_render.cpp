#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "image/kernel/plot_draw.h"
#include "plot/form_plot.h"
#include "plot/plot_render.h"
#include "support/recording_surface.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

using test::DrawCall;
using test::RecordingSurface;

bool SameCall(const DrawCall& a, const DrawCall& b) {
  if (a.kind != b.kind || a.points.size() != b.points.size() || a.color != b.color ||
      a.text != b.text || a.pen.color != b.pen.color || a.pen.width != b.pen.width ||
      a.pen.style != b.pen.style || a.font.height != b.font.height || a.font.angle != b.font.angle)
    return false;
  for (size_t i = 0; i < a.points.size(); ++i)
    if (a.points[i].x != b.points[i].x || a.points[i].y != b.points[i].y) return false;
  return true;
}

// The picture of the plot window is a recording surface.
struct SurfaceView : PlotView {
  RecordingSurface surface{1600, 1200};
  std::vector<DrawRect> changed;
  DrawSurface* Picture() override { return &surface; }
  void ShowPicture(const DrawRect& r) override { changed.push_back(r); }
};

// A sheet with X in A (1..n) and Y = X in B, and a plot of B against A.
struct PlotOnSheet {
  test::ScriptedHost host;
  Form_Worksheet sheet;
  Form_Plot plot;
  SurfaceView view;
  explicit PlotOnSheet(long rows, int plotType = 0) {
    sheet.Cols(4);
    sheet.Rows(rows + 1);
    for (long r = 1; r <= rows; ++r) {
      sheet.TextMatrix(r, 1, Cell(float(r)));
      sheet.TextMatrix(r, 2, Cell(float(r)));
    }
    sheet.Record(1).Typ = kTypX;
    plot.SetWorksheet(&sheet);
    plot.SetView(&view);
    plot.Curves(1);
    plot.CurveRecord(0).XCol = 1;
    plot.CurveRecord(0).YCol = 2;
    plot.CurveRecord(0).PlotType = plotType;
    plot.CurveRecord(0).Color = 0x0000FF;
    plot.SetXRange(0, 10);
    plot.SetYRange(0, 10);
  }
  std::vector<const DrawCall*> CurveLines() const {
    std::vector<const DrawCall*> out;
    for (const DrawCall* c : view.surface.Of(DrawCall::Polyline))
      if (c->pen.color == 0x0000FF) out.push_back(c);
    return out;
  }
};

PlotAxisRecord Axis(float from, float to, float inc, const char* format = "") {
  PlotAxisRecord a;
  a.From = from;
  a.To = to;
  a.Inc = inc;
  a.Labels.Text = format;
  return a;
}

const DrawCall* FindText(const RecordingSurface& s, const std::string& text) {
  for (const DrawCall& c : s.calls)
    if (c.kind == DrawCall::Text && c.text == text) return &c;
  return nullptr;
}

TEST(PlotRender, LayerFrameOriginScaleAndAxisLines) {
  RecordingSurface dev(1600, 1200);
  PlotLayerRecord layer;
  layer.BackColor = 0x00FFEEDD;
  layer.Title.Text = "Title";
  PlotAxisRecord x = Axis(0, 10, 2), y = Axis(-5, 5, 5);
  x.Title.Text = "Energy";
  y.Title.Text = "I";
  DrawLayerAndAxes(dev, layer, x, y, FlatThirdAxis());

  const double left = std::nearbyint(1600 * double(layer.Left));
  const double right = std::nearbyint(1600 * (double(layer.Left) + double(layer.Width)));
  const double bottom = std::nearbyint(1200 * (1 - double(layer.Top)));
  const double top = std::nearbyint(1200 * (1 - double(layer.Top)) - 1200 * double(layer.Height));
  EXPECT_EQ(layer.OriginX, left);
  EXPECT_EQ(layer.OriginY, bottom);
  Form_Plot p;
  p.Layer = layer;
  p.XAxis = x;
  p.YAxis = y;
  EXPECT_NEAR(p.ScreenX(10), right, 1e-3);
  EXPECT_NEAR(p.ScreenY(5), top, 1e-3);
  EXPECT_NEAR(p.ScreenY(0), (top + bottom) / 2, 1e-3);
  EXPECT_NEAR(p.UserX(p.ScreenX(3.7)), 3.7, 1e-5);

  EXPECT_FLOAT_EQ(PrintScale, float(1200 / kA4HeightTwips));
  EXPECT_EQ(MajorTickLength(), 3);  // 18 * PrintScale is below three units
  EXPECT_EQ(MinorTickLength(), 2);
  // The background, then the bottom and left axis lines of the default flags.
  ASSERT_FALSE(dev.calls.empty());
  const DrawCall& fill = dev.calls.front();
  EXPECT_EQ(fill.kind, DrawCall::FillRect);
  EXPECT_EQ(fill.color, 0xFFEEDD);
  EXPECT_EQ(fill.points[0].x, left);
  EXPECT_EQ(fill.points[1].y, bottom);
  int axisLines = 0, ticks = 0;
  for (const DrawCall* c : dev.Of(DrawCall::Line)) {
    EXPECT_DOUBLE_EQ(c->pen.width, PointsToDevice(1.5));
    const DrawPoint a = c->points[0], b = c->points[1];
    if (a.y == bottom && b.y == bottom && a.x == left && b.x == right) ++axisLines;
    if (a.x == left && b.x == left && a.y == bottom && b.y == top) ++axisLines;
    if (a.y == bottom && b.y == bottom + 3 && a.x == b.x) ++ticks;
  }
  EXPECT_EQ(axisLines, 2);
  EXPECT_EQ(ticks, 6);  // 0, 2, ..., 10 outwards under the frame

  // Labels centred at their ticks, half a label height plus the tick below the frame.
  const double hl = PointsToDevice(16);
  const DrawCall* four = FindText(dev, "4");
  ASSERT_NE(four, nullptr);
  EXPECT_NEAR(four->points[0].x + 0.25 * hl, p.ScreenX(4), 1e-9);
  EXPECT_NEAR(four->points[0].y, bottom + 3 + 0.5 * hl, 1e-9);
  EXPECT_EQ(four->color, layer.FrameColor);
  const DrawCall* minus = FindText(dev, "-5");
  ASSERT_NE(minus, nullptr);
  EXPECT_NEAR(minus->points[0].x + 2 * 0.5 * hl, left - 3 - 0.5 * hl, 1e-9);
  EXPECT_NEAR(minus->points[0].y + 0.6 * hl, bottom, 1e-9);

  // Title centred over the layer, X title under the labels, Y title turned
  // left of them.
  const DrawCall* title = FindText(dev, "Title");
  ASSERT_NE(title, nullptr);
  EXPECT_NEAR(title->points[0].x + 1.25 * title->font.height, (left + right) / 2, 1e-9);
  EXPECT_LT(title->points[0].y + 1.2 * title->font.height, top);
  EXPECT_TRUE(title->font.bold);
  const DrawCall* xt = FindText(dev, "Energy");
  ASSERT_NE(xt, nullptr);
  EXPECT_GE(xt->points[0].y, four->points[0].y + 1.2 * hl);
  const DrawCall* yt = FindText(dev, "I");
  ASSERT_NE(yt, nullptr);
  EXPECT_EQ(yt->font.angle, 900);
  EXPECT_LE(yt->points[0].x + 1.2 * yt->font.height, minus->points[0].x);
  EXPECT_NEAR(yt->points[0].y - 0.25 * yt->font.height, (top + bottom) / 2, 1e-9);
}

TEST(PlotRender, GridZeroLineAndSidesFollowTheFlags) {
  RecordingSurface dev(1600, 1200);
  PlotLayerRecord layer;  // not filled
  PlotAxisRecord x = Axis(-2, 2, 1), y = Axis(0, 1, 0.5f, "0.0");
  x.Ticks = 1;
  x.Flags = AxisFlag::MajorGrid | AxisFlag::MinorGrid | AxisFlag::ZeroLine | AxisFlag::LabelsHigh |
            AxisFlag::MajorHigh | AxisFlag::MinorHigh | AxisFlag::LineHigh;
  y.Flags = AxisFlag::ZeroLine;  // 0 is an end of the range: no line
  DrawLayerAndAxes(dev, layer, x, y, FlatThirdAxis());
  EXPECT_TRUE(dev.Of(DrawCall::FillRect).empty());
  const DrawRect f = LayerFrame(layer, dev);
  int major = 0, minor = 0, zero = 0, highTicks = 0, highLine = 0;
  for (const DrawCall* c : dev.Of(DrawCall::Line)) {
    const DrawPoint a = c->points[0], b = c->points[1];
    if (a.x == b.x && a.y == f.top && b.y == f.bottom) {
      if (c->pen.color == x.MajorGridColor) ++major;
      if (c->pen.color == x.MinorGridColor) ++minor;
      if (c->pen.color == layer.FrameColor) ++zero;
    }
    if (a.y == f.top && b.y < f.top) ++highTicks;
    if (a.y == f.top && b.y == f.top && a.x == f.left) ++highLine;
  }
  EXPECT_EQ(major, 5);
  EXPECT_EQ(minor, 4);
  EXPECT_EQ(zero, 1);
  EXPECT_EQ(highTicks, 9);
  EXPECT_EQ(highLine, 1);
  EXPECT_EQ(dev.Texts(), (std::vector<std::string>{"-2", "-1", "0", "1", "2"}));
  EXPECT_LT(FindText(dev, "0")->points[0].y + 1.2 * PointsToDevice(16), f.top);
}

TEST(PlotRender, TickValuesKeepTheTopTickAndRunDownReversed) {
  // 0.7f / 0.1f falls short of 7.
  const std::vector<double> t = MajorTicks(Axis(0, 0.7f, 0.1f));
  ASSERT_EQ(t.size(), 8u);
  EXPECT_NEAR(t[7], 0.7, 1e-6);
  EXPECT_LE(t[7], double(0.7f));
  EXPECT_EQ(MajorTicks(Axis(0, 0.3f, 0.1f)).size(), 4u);
  EXPECT_EQ(MajorTicks(Axis(10, 0, -2)), (std::vector<double>{10, 8, 6, 4, 2, 0}));
  EXPECT_TRUE(MajorTicks(Axis(0, 1, 0)).empty());
  EXPECT_TRUE(MajorTicks(Axis(0, 1, std::numeric_limits<float>::quiet_NaN())).empty());
  EXPECT_TRUE(MajorTicks(Axis(0, 1e9f, 1e-3f)).empty());
  // Minor ticks divide every interval, the one after the last major one too.
  PlotAxisRecord a = Axis(0, 0.95f, 0.2f);
  a.Ticks = 1;
  const std::vector<double> minor = MinorTicks(a);
  ASSERT_EQ(minor.size(), 5u);
  EXPECT_NEAR(minor[0], 0.1, 1e-6);
  EXPECT_NEAR(minor[4], 0.9, 1e-6);
  a.Ticks = 0;
  EXPECT_TRUE(MinorTicks(a).empty());
}

TEST(PlotRender, TickLabelFormats) {
  EXPECT_STREQ(FallbackFormat(0.0001), "##0.00000");
  EXPECT_STREQ(FallbackFormat(0.00011), "##0.0000");
  EXPECT_STREQ(FallbackFormat(0.00099), "##0.0000");
  EXPECT_STREQ(FallbackFormat(0.001), "##0.000");  // strictly below
  EXPECT_STREQ(FallbackFormat(0.01), "##0.00");
  EXPECT_STREQ(FallbackFormat(0.1), "##0.0");
  EXPECT_STREQ(FallbackFormat(0.99), "##0.0");
  EXPECT_STREQ(FallbackFormat(1), "");

  EXPECT_EQ(FormatNumber(12.5, "##0.0"), "12.5");
  EXPECT_EQ(FormatNumber(0.004, "##0.000"), "0.004");
  EXPECT_EQ(FormatNumber(-0.0001, "0.00"), "0.00");
  EXPECT_EQ(FormatNumber(-0.4, "0"), "0");
  EXPECT_EQ(FormatNumber(-2.6, "0"), "-3");
  EXPECT_EQ(FormatNumber(0.5, ""), "0.5");
  EXPECT_EQ(FormatNumber(1234567, ""), "1234567");

  // The stored format wins; without one the increment chooses, reversed too.
  EXPECT_EQ(TickLabel(2, Axis(0, 10, 2, "0.0")), "2.0");
  EXPECT_EQ(TickLabel(0.1, Axis(0, 0.5f, 0.05f)), "0.10");
  EXPECT_EQ(TickLabel(0.1, Axis(0.5f, 0, -0.05f)), "0.10");
  EXPECT_EQ(TickLabel(20, Axis(0, 100, 20)), "20");
  // From a drawn axis: the last label despite float drift.
  RecordingSurface dev;
  PlotLayerRecord layer;
  PlotAxisRecord y = Axis(0, 1, 0.5f, "0.0");
  y.Flags = 0;
  DrawLayerAndAxes(dev, layer, Axis(0, 0.7f, 0.1f, "0.0"), y, FlatThirdAxis());
  EXPECT_EQ(dev.Texts(),
            (std::vector<std::string>{"0.0", "0.1", "0.2", "0.3", "0.4", "0.5", "0.6", "0.7"}));
}

TEST(PlotRender, ThirdAxisDrawsOnlyWithItsBit) {
  PlotAxisRecord x = Axis(0, 10, 2), y = Axis(0, 5, 1);
  x.Flags |= AxisFlag::MajorGrid;
  PlotAxisRecord third = Axis(0, 4, 1, "0.0");
  third.Flags = AxisFlag::LineLow | AxisFlag::LabelsLow | AxisFlag::MajorLow | AxisFlag::MajorGrid;
  RecordingSurface flat, other, box;
  PlotLayerRecord l1, l2, l3;
  DrawLayerAndAxes(flat, l1, x, y, FlatThirdAxis());
  DrawLayerAndAxes(other, l2, x, y, third);
  ASSERT_EQ(flat.calls.size(), other.calls.size());
  for (size_t i = 0; i < flat.calls.size(); ++i)
    EXPECT_TRUE(SameCall(flat.calls[i], other.calls[i])) << "call " << i;
  EXPECT_EQ(l1.ScaleX, l2.ScaleX);

  third.Flags |= AxisFlag::Oblique;
  DrawLayerAndAxes(box, l3, x, y, third);
  const auto faces = box.Of(DrawCall::Polygon);
  ASSERT_EQ(faces.size(), 3u);
  for (const DrawCall* f : faces) EXPECT_EQ(f->points.size(), 4u);
  EXPECT_LT(l3.ScaleX, l1.ScaleX);  // the front face gives way to the depth
  int oblique = 0;
  for (const DrawCall* c : box.Of(DrawCall::Line)) {
    const double dx = c->points[1].x - c->points[0].x, dy = c->points[1].y - c->points[0].y;
    if (dx > 0 && dx == -dy) ++oblique;
  }
  EXPECT_EQ(oblique, 1);
  EXPECT_NE(FindText(box, "4.0"), nullptr);
  EXPECT_EQ(FindText(flat, "4.0"), nullptr);
}

TEST(PlotRender, CurveRunsBreakAtGapsAndLabelColumnsDrawText) {
  PlotOnSheet s(5);
  s.sheet.TextMatrix(3, 2, Cell());  // a gap
  s.plot.Plot();
  const auto lines = s.CurveLines();
  ASSERT_EQ(lines.size(), 2u);
  ASSERT_EQ(lines[0]->points.size(), 2u);
  ASSERT_EQ(lines[1]->points.size(), 2u);
  EXPECT_NEAR(lines[1]->points[0].x, s.plot.ScreenX(4), 1e-6);
  EXPECT_NEAR(lines[1]->points[1].y, s.plot.ScreenY(5), 1e-6);
  EXPECT_DOUBLE_EQ(lines[0]->pen.width, PointsToDevice(1.0));
  ASSERT_EQ(s.plot.Kept.size(), 1u);
  EXPECT_TRUE(s.plot.Kept[0].valid);
  EXPECT_EQ(s.plot.Kept[0].x, 5);
  // Clipped to the layer; the axes lie over the curve; the legend last.
  const auto& calls = s.view.surface.calls;
  size_t clip = 0, line = 0, lastAxis = 0, legend = 0;
  for (size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].kind == DrawCall::SetClip && !clip) clip = i;
    if (&calls[i] == lines[1]) line = i;
    if (calls[i].kind == DrawCall::Line && calls[i].pen.color == s.plot.Layer.FrameColor) lastAxis = i;
    if (calls[i].kind == DrawCall::Text && calls[i].text == "1Curve ") legend = i;
  }
  EXPECT_LT(clip, line);
  EXPECT_LT(line, lastAxis);
  EXPECT_LT(lastAxis, legend);
  // The labels are drawn again only when a wide line's band reached them.
  const auto count = [&](const std::string& t) {
    const auto texts = s.view.surface.Texts();
    return std::count(texts.begin(), texts.end(), t);
  };
  EXPECT_EQ(count("4"), 2);  // once on each axis
  s.plot.CurveRecord(0).Width = 30;
  s.view.surface.Clear();
  s.plot.Plot();
  EXPECT_EQ(count("4"), 4);
  s.plot.CurveRecord(0).Width = 1;

  // A label column: text at the points of the column before it, no line.
  for (long r = 1; r <= 5; ++r) s.sheet.TextMatrix(r, 3, Cell("p" + std::to_string(r)));
  s.sheet.Record(3).Typ = kTypL;
  s.plot.CurveRecord(0).YCol = 3;
  s.plot.CurveRecord(0).Size = 10;
  s.view.surface.Clear();
  s.plot.PlotCurve(0);
  EXPECT_TRUE(s.CurveLines().empty());
  EXPECT_EQ(s.view.surface.Texts(), (std::vector<std::string>{"p1", "p2", "p4", "p5"}));
  const DrawCall* p4 = FindText(s.view.surface, "p4");
  const double h = PointsToDevice(10);
  EXPECT_NEAR(p4->points[0].x + 0.5 * h, s.plot.ScreenX(4), 1e-6);
  EXPECT_NEAR(p4->points[0].y + 0.6 * h, s.plot.ScreenY(4), 1e-6);
  EXPECT_EQ(p4->color, 0x0000FF);
}

TEST(PlotRender, PlotPointDrawsOneSegmentAndOneSymbol) {
  PlotOnSheet s(3, 2);
  s.plot.Plot();
  s.sheet.Rows(5);
  s.sheet.TextMatrix(4, 1, Cell(4.0f));
  s.sheet.TextMatrix(4, 2, Cell(4.0f));
  s.view.surface.Clear();
  s.plot.PlotPoint(0, 4, 4);

  const double x3 = s.plot.ScreenX(3), y3 = s.plot.ScreenY(3);
  const double x4 = s.plot.ScreenX(4), y4 = s.plot.ScreenY(4);
  // Well inside the frame: no clip.
  RecordingSurface expected(1600, 1200);
  const DrawPoint seg[2] = {{x3, y3}, {x4, y4}};
  expected.Polyline(seg, 2, {0x0000FF, PointsToDevice(1.0), 0});
  kernel::PlotSymbol(expected, x4, y4, 0, PointsToDevice(3.0), 0x0000FF);
  const auto& got = s.view.surface.calls;
  ASSERT_EQ(got.size(), expected.calls.size());
  for (size_t i = 0; i < got.size(); ++i) {
    EXPECT_EQ(got[i].kind, expected.calls[i].kind) << i;
    for (size_t k = 0; k < got[i].points.size() && k < expected.calls[i].points.size(); ++k) {
      EXPECT_NEAR(got[i].points[k].x, expected.calls[i].points[k].x, 1e-9);
      EXPECT_NEAR(got[i].points[k].y, expected.calls[i].points[k].y, 1e-9);
    }
  }
  ASSERT_EQ(s.view.changed.size(), 1u);
  const DrawRect r = s.view.changed[0];
  EXPECT_LE(r.left, x3);
  EXPECT_GE(r.right, x4 + PointsToDevice(1.5));
  EXPECT_LE(r.top, y4 - PointsToDevice(1.5));
  EXPECT_GE(r.bottom, y3);
  EXPECT_LT(r.Width(), x4 - x3 + 20);
  EXPECT_LT(r.Height(), y3 - y4 + 20);
  EXPECT_EQ(s.plot.Kept[0].x, 4);

  // A gap breaks the line: the next point has only its symbol.
  s.view.surface.Clear();
  s.plot.PlotPoint(0, std::numeric_limits<float>::quiet_NaN(), 1);
  EXPECT_TRUE(s.view.surface.calls.empty());
  s.plot.PlotPoint(0, 5, 5);
  EXPECT_TRUE(s.CurveLines().size() == 1 && s.CurveLines()[0]->points.size() == 5);  // the square
  EXPECT_EQ(DrawPlotPoint(s.plot, s.view.surface, 7, 1, 1).Width(), 0);

  // A point whose symbol reaches over the frame is drawn inside the frame's clip.
  const DrawRect frame = LayerFrame(s.plot.Layer, s.view.surface);
  const float edgeY = float(s.plot.UserY(frame.top));
  s.view.surface.Clear();
  s.plot.PlotPoint(0, 5, edgeY);
  ASSERT_FALSE(s.view.surface.calls.empty());
  EXPECT_EQ(s.view.surface.calls.front().kind, DrawCall::SetClip);
  EXPECT_EQ(s.view.surface.calls.back().kind, DrawCall::ClearClip);
}

TEST(PlotRender, LegendBoxAtTheUpperRightAndNothingWithoutCurves) {
  PlotOnSheet s(3);
  s.plot.Curves(2);
  s.plot.CurveRecord(0).Legend = "Alpha";
  s.plot.CurveRecord(1) = s.plot.CurveRecord(0);
  s.plot.CurveRecord(1).Legend = "Beta";
  s.plot.CurveRecord(1).Color = 0x00FF00;
  s.plot.Plot();
  const RecordingSurface& dev = s.view.surface;
  const DrawCall* alpha = FindText(dev, "Alpha ");
  const DrawCall* beta = FindText(dev, "Beta ");
  ASSERT_TRUE(alpha && beta);
  const DrawCall* box = dev.Of(DrawCall::Polygon).back();
  EXPECT_EQ(box->color, 0xFFFFFF);
  EXPECT_EQ(box->pen.color, 0);
  const DrawRect f = LayerFrame(s.plot.Layer, dev);
  const double h = 1.2 * PointsToDevice(16), pitch = 1.1 * h;
  EXPECT_NEAR(box->points[1].x, f.right - 0.5 * h, 1e-9);
  EXPECT_NEAR(box->points[1].y, f.top + 0.5 * h, 1e-9);
  EXPECT_NEAR(box->points[1].x - box->points[0].x, 6 * 0.5 * PointsToDevice(16) + 4 * h, 1e-9);
  EXPECT_NEAR(beta->points[0].y - alpha->points[0].y, pitch, 1e-9);
  // Each legend line in its curve's colour, 0.45 of a pitch above the baseline.
  const DrawCall& betaLine = *(beta - 1);
  EXPECT_EQ(betaLine.kind, DrawCall::Line);
  EXPECT_EQ(betaLine.pen.color, 0x00FF00);
  EXPECT_NEAR(betaLine.points[1].x - betaLine.points[0].x, 3 * h, 1e-9);
  EXPECT_NEAR(beta->points[0].y + 0.8 * PointsToDevice(16) - betaLine.points[0].y, 0.45 * pitch, 1e-9);

  // Legend off: no box and no texts of it.
  s.view.surface.Clear();
  s.plot.Legend(false);
  EXPECT_EQ(FindText(s.view.surface, "Alpha "), nullptr);

  // No curves: the layer alone.
  s.plot.Curves(0);
  s.plot.Legend(true);
  s.view.surface.Clear();
  s.plot.ClearPlot();
  s.plot.Plot();
  const auto& calls = s.view.surface.calls;
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls[0].kind, DrawCall::FillRect);  // the page
  EXPECT_EQ(calls[0].points[1].x, 1600);
  for (const DrawCall& c : calls) {
    EXPECT_NE(c.kind, DrawCall::Polyline);
    EXPECT_NE(c.kind, DrawCall::Polygon);
    EXPECT_NE(c.kind, DrawCall::SetClip);
  }
}

TEST(PlotRender, BadRecordsDrawWithoutFailing) {
  PlotOnSheet s(3, 2);
  s.plot.Layer.Left = std::numeric_limits<float>::quiet_NaN();
  s.plot.Layer.Width = 1e30f;
  s.plot.XAxis.Inc = 0;
  s.plot.YAxis.From = std::numeric_limits<float>::infinity();
  s.plot.YAxis.Labels.FontSize = -5;
  s.plot.CurveRecord(0).XCol = 99;
  s.plot.Curves(2);
  s.plot.CurveRecord(1).YCol = -3;
  s.plot.CurveRecord(1).Width = std::numeric_limits<float>::quiet_NaN();
  DrawPlot(s.plot, s.view.surface);
  s.plot.PlotPoint(1, 1, 1);
  EXPECT_TRUE(s.CurveLines().empty());
}

}  // namespace
}  // namespace sv
