#include "image/kernel/plot_draw.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <utility>
#include <vector>

#include "support/recording_surface.h"

namespace sv::kernel {
namespace {

using test::DrawCall;
using test::RecordingSurface;

const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kGap = std::bit_cast<float>(0xFF80FFFFu);

std::vector<std::vector<DrawPoint>> Lines(const RecordingSurface& s) {
  std::vector<std::vector<DrawPoint>> out;
  for (const DrawCall* c : s.Of(DrawCall::Polyline)) out.push_back(c->points);
  return out;
}

// The pixels a zero-width line through the points passes through, sampled
// finer than a pixel along each segment; whole values are pixel centres.
std::set<std::pair<long, long>> Raster(const std::vector<DrawPoint>& pts) {
  std::set<std::pair<long, long>> px;
  for (size_t i = 0; i + 1 < pts.size(); ++i) {
    const DrawPoint a = pts[i], b = pts[i + 1];
    const int n = 2 + int(4 * std::max(std::fabs(b.x - a.x), std::fabs(b.y - a.y)));
    for (int k = 0; k <= n; ++k) {
      const double t = double(k) / n;
      px.insert({long(std::floor(a.x + (b.x - a.x) * t + 0.5)),
                 long(std::floor(a.y + (b.y - a.y) * t + 0.5))});
    }
  }
  return px;
}

TEST(PlotPolyline, TransformsPointsAndBreaksAtGaps) {
  RecordingSurface s(1600, 1200, false);
  const float x[] = {0, 1, 2, kNaN, 3, 4, 5, 6, 7, kGap, 8, 9};
  const float y[] = {0, 1, 4, 0, 9, 16, 0, INFINITY, 1, 2, 3, 4};
  SV_plot_polyline(s, 12, x, y, 100, 800, 10, -20, 0x0000FF, 2.5, 3);
  // The stretches 0..2, 4..6 and 10..11; the one point at 8 draws nothing.
  auto lines = Lines(s);
  ASSERT_EQ(lines.size(), 3u);
  ASSERT_EQ(lines[0].size(), 3u);
  EXPECT_DOUBLE_EQ(lines[0][2].x, 120);
  EXPECT_DOUBLE_EQ(lines[0][2].y, 720);
  EXPECT_EQ(lines[1].size(), 3u);
  EXPECT_DOUBLE_EQ(lines[1][0].x, 130);
  ASSERT_EQ(lines[2].size(), 2u);
  EXPECT_DOUBLE_EQ(lines[2][1].x, 190);
  EXPECT_DOUBLE_EQ(lines[2][1].y, 720);
  const DrawPen pen = s.Of(DrawCall::Polyline)[0]->pen;
  EXPECT_EQ(pen.color, 0x0000FF);
  EXPECT_DOUBLE_EQ(pen.width, 2.5);
  EXPECT_EQ(pen.style, 3);

  s.Clear();
  SV_plot_polyline(s, 0, x, y, 0, 0, 1, 1, 0, 1);
  SV_plot_polyline(s, -3, x, y, 0, 0, 1, 1, 0, 1);
  SV_plot_polyline(s, 5, nullptr, y, 0, 0, 1, 1, 0, 1);
  SV_plot_polyline(s, 1, x, y, 0, 0, 1, 1, 0, 1);
  EXPECT_TRUE(s.calls.empty());
}

TEST(PlotPolyline, HugeCoordinatesAreCutKeepingTheDirection) {
  RecordingSurface s(1000, 800, false);
  // In and far out; across the page from far left to far right; out, in and
  // out again through the right edge.
  const float x[] = {500, 1e30f, kNaN, -1e20f, 1e20f, kNaN, 900, 3000, 950, 5000};
  const float y[] = {400, 1e30f, kNaN, -2e19f, 2e19f, kNaN, 100, 100, 200, 300};
  SV_plot_polyline(s, 10, x, y, 0, 0, 1, 1, 0, 1);
  auto lines = Lines(s);
  ASSERT_EQ(lines.size(), 4u);
  for (const auto& line : lines)
    for (const DrawPoint& p : line) {
      EXPECT_GT(p.x, -50);
      EXPECT_LT(p.x, 1050);
      EXPECT_GT(p.y, -50);
      EXPECT_LT(p.y, 850);
    }
  // Kept on the diagonal from (500, 400).
  ASSERT_EQ(lines[0].size(), 2u);
  EXPECT_DOUBLE_EQ(lines[0][0].x, 500);
  EXPECT_NEAR(lines[0][1].x - 500, lines[0][1].y - 400, 1e-6);
  EXPECT_GT(lines[0][1].y, 800);
  // The crossing line, whose ends both lie 1e20 away, still runs through
  // (0, 0) with its slope of about 0.2.
  ASSERT_EQ(lines[1].size(), 2u);
  EXPECT_LT(lines[1][0].x, 0);
  EXPECT_GT(lines[1][1].x, 1000);
  const double slope = double(y[4]) / double(x[4]);
  for (const DrawPoint& p : lines[1]) EXPECT_NEAR(p.y, slope * p.x, 1e-6);
  // Leaving and coming back makes two lines, cut at the same edge.
  ASSERT_EQ(lines[2].size(), 2u);
  ASSERT_EQ(lines[3].size(), 3u);
  EXPECT_DOUBLE_EQ(lines[2][0].x, 900);
  EXPECT_DOUBLE_EQ(lines[2][1].y, 100);
  EXPECT_DOUBLE_EQ(lines[3][0].x, lines[2][1].x);
  EXPECT_DOUBLE_EQ(lines[3][1].x, 950);
  EXPECT_DOUBLE_EQ(lines[3][2].x, lines[2][1].x);
  EXPECT_NEAR((lines[3][0].y - 200) / (lines[3][0].x - 950), -100.0 / 2050, 1e-12);
  EXPECT_NEAR((lines[3][2].y - 200) / (lines[3][2].x - 950), 100.0 / 4050, 1e-12);
}

TEST(PlotPolyline, OnlyMonotoneRunsOnARasterAreThinned) {
  // 2000 points over 100 pixel columns, rising and falling within each.
  std::vector<float> x(2000), y(2000), back(2000);
  for (size_t i = 0; i < x.size(); ++i) {
    x[i] = float(i) * 0.05f;
    y[i] = float(300 + 200 * std::sin(double(i) * 1.3));
    back[i] = float(std::fmod(double(i) * 7.3, 100.0));
  }
  RecordingSurface raster, paper(1600, 1200, false);
  SV_plot_polyline(raster, 2000, x.data(), y.data(), 10, 0, 1, 1, 0, 1);
  SV_plot_polyline(paper, 2000, x.data(), y.data(), 10, 0, 1, 1, 0, 1);
  ASSERT_EQ(Lines(raster).size(), 1u);
  EXPECT_LE(Lines(raster)[0].size(), 400u);
  EXPECT_EQ(Lines(paper)[0].size(), 2000u);
  raster.Clear();
  SV_plot_polyline(raster, 2000, back.data(), y.data(), 10, 0, 1, 1, 0, 1);
  EXPECT_EQ(Lines(raster)[0].size(), 2000u);
}

TEST(DecimateRun, KeepsEachColumnsEndsAndExtremesInOrder) {
  // Column 3: first, high, low, something, last; column 4: one point;
  // column 5: its first point is also its lowest.
  // Column 3 runs from 2.5 up to 3.5.
  const std::vector<DrawPoint> in = {{2.55, 5}, {2.65, 9}, {2.75, 1}, {2.85, 4},
                                     {3.45, 6}, {4.05, 2}, {4.55, 0}, {5.05, 3}};
  std::vector<DrawPoint> out;
  DecimateRun(in.data(), in.size(), out);
  const std::vector<size_t> kept = {0, 1, 2, 4, 5, 6, 7};
  ASSERT_EQ(out.size(), kept.size());
  for (size_t i = 0; i < kept.size(); ++i) {
    EXPECT_EQ(out[i].x, in[kept[i]].x);
    EXPECT_EQ(out[i].y, in[kept[i]].y);
  }
  DecimateRun(in.data(), 0, out);
  EXPECT_TRUE(out.empty());
}

TEST(DecimateRun, LeavesTheRasterisedLineAsItWas) {
  for (double step : {0.013, -0.37, 1.7}) {
    std::vector<DrawPoint> in;
    uint32_t seed = 7;
    for (int i = 0; i < 5000; ++i) {
      seed = seed * 1664525u + 1013904223u;
      in.push_back({800 + step * i, 300 + double(seed >> 16) / 65536.0 * 200 * std::sin(i * 0.01)});
    }
    ASSERT_TRUE(MonotoneX(in.data(), in.size()));
    std::vector<DrawPoint> out;
    DecimateRun(in.data(), in.size(), out);
    const double columns = std::fabs(step) * 5000 + 2;
    EXPECT_LE(double(out.size()), 4 * columns) << step;
    // What comes out is a part of what went in, in the same order.
    size_t j = 0;
    for (const DrawPoint& p : out) {
      while (j < in.size() && (in[j].x != p.x || in[j].y != p.y)) ++j;
      ASSERT_LT(j, in.size()) << step;
      ++j;
    }
    EXPECT_EQ(Raster(out), Raster(in)) << step;
  }
  const DrawPoint zigzag[] = {{0, 0}, {2, 0}, {1, 0}};
  EXPECT_FALSE(MonotoneX(zigzag, 3));
  EXPECT_TRUE(MonotoneX(zigzag, 2));
}

TEST(PlotSymbols, EachShapeIsCentredAndSized) {
  // Shape, kind of call, how many calls; 11 is unknown and draws a square.
  struct Case {
    int shape;
    DrawCall::Kind kind;
    size_t calls;
  };
  const Case cases[] = {{0, DrawCall::Polyline, 1}, {1, DrawCall::Ellipse, 1},
                        {2, DrawCall::Polyline, 1}, {3, DrawCall::Polyline, 1},
                        {4, DrawCall::Polyline, 1}, {5, DrawCall::Line, 2},
                        {6, DrawCall::Line, 2},     {7, DrawCall::Line, 4},
                        {8, DrawCall::Line, 1},     {9, DrawCall::Line, 1},
                        {10, DrawCall::Pixel, 1},   {11, DrawCall::Polyline, 1}};
  for (const Case& c : cases) {
    RecordingSurface s;
    PlotSymbol(s, 200, 100, c.shape, 10, 0x00FF00);
    ASSERT_EQ(s.calls.size(), c.calls) << c.shape;
    double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;
    for (const DrawCall& call : s.calls) {
      EXPECT_EQ(call.kind, c.kind) << c.shape;
      if (c.kind == DrawCall::Pixel) {
        EXPECT_EQ(call.color, 0x00FF00);
      } else {
        EXPECT_EQ(call.pen.color, 0x00FF00);
        EXPECT_EQ(call.pen.width, 0);
      }
      for (const DrawPoint& p : call.points) {
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        top = std::min(top, p.y);
        bottom = std::max(bottom, p.y);
      }
    }
    EXPECT_DOUBLE_EQ((left + right) / 2, 200) << c.shape;
    EXPECT_DOUBLE_EQ((top + bottom) / 2, 100) << c.shape;
    const bool flatH = c.shape == 8 || c.shape == 10, flatV = c.shape == 9 || c.shape == 10;
    EXPECT_DOUBLE_EQ(right - left, flatV ? 0 : 10) << c.shape;
    EXPECT_DOUBLE_EQ(bottom - top, flatH ? 0 : 10) << c.shape;
    if (c.kind == DrawCall::Polyline) {  // closed outlines
      const auto& p = s.calls[0].points;
      EXPECT_EQ(p.front().x, p.back().x);
      EXPECT_EQ(p.front().y, p.back().y);
      EXPECT_EQ(p.size(), c.shape == 2 || c.shape == 3 ? 4u : 5u);
    }
  }
  // The up triangle's apex is at the top (y grows downwards).
  RecordingSurface up;
  PlotSymbol(up, 50, 50, 2, 10, 0);
  EXPECT_EQ(up.calls[0].points[0].y, 45);
}

TEST(PlotSymbols, OffThePageSkippedAndHugeOnesCut) {
  RecordingSurface s(1000, 800);
  const float x[] = {-20, 1030, 500, kGap, 10};
  const float y[] = {400, 400, -20, 400, 10};
  // Every one of these but the last lies wholly off the page or is a gap.
  SV_plot_symbols(s, 5, x, y, 0, 0, 1, 1, 0, 16, 0);
  ASSERT_EQ(s.calls.size(), 1u);
  EXPECT_DOUBLE_EQ(s.calls[0].points[0].x, 2);

  s.Clear();
  for (int shape = 0; shape <= 9; ++shape) PlotSymbol(s, 500, 400, shape, 1e30, 0);
  EXPECT_TRUE(s.Of(DrawCall::Ellipse).empty());
  EXPECT_FALSE(s.Of(DrawCall::Line).empty());
  for (const DrawCall& c : s.calls)
    for (const DrawPoint& p : c.points) {
      EXPECT_LT(std::fabs(p.x), 1100);
      EXPECT_LT(std::fabs(p.y), 900);
    }
  s.Clear();
  SV_plot_symbols(s, 3, nullptr, y, 0, 0, 1, 1, 0, 16, 0);
  PlotSymbol(s, kNaN, 5, 0, 4, 0);
  EXPECT_TRUE(s.calls.empty());
}

}  // namespace
}  // namespace sv::kernel
