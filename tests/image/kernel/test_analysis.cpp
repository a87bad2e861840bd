#include "image/kernel/analysis.h"

#include <gtest/gtest.h>

#include "frames.h"

#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace sv {
namespace {

using test::Frame;
using test::Random;

Frame Ramp(FrameSize s, int channels = 1) {
  Frame f(s.Samples(channels));
  for (size_t i = 0; i < f.size(); ++i) f[i] = uint16_t(i * 7 % 101);
  return f;
}

// One channel of a colour frame as a grey frame.
Frame Plane(const Frame& rgb, int c) { return test::Channel(rgb, c); }

// A frame that holds `in` on the pixels marked '#' and `out` elsewhere.
Frame Drawn(const std::vector<std::string>& rows, uint16_t in, uint16_t out) {
  Frame f;
  for (const auto& r : rows)
    for (char ch : r) f.push_back(ch == '#' ? in : out);
  return f;
}

void ExpectSame(const AnalysisResult& a, const AnalysisResult& b) {
  EXPECT_EQ(a.Area, b.Area);
  EXPECT_EQ(a.BackArea, b.BackArea);
  EXPECT_FLOAT_EQ(a.I.total, b.I.total);
  EXPECT_FLOAT_EQ(a.I.max, b.I.max);
  EXPECT_FLOAT_EQ(a.I.back, b.I.back);
  EXPECT_EQ(a.X.max, b.X.max);
  EXPECT_EQ(a.Y.max, b.Y.max);
  EXPECT_EQ(a.Dynamic, b.Dynamic);
}

WindowAccumulator Accumulator(const WindowRect& rect, std::span<uint32_t> buffer) {
  WindowAccumulator w;
  w.Rect = rect;
  w.Buffer = buffer;
  return w;
}

LineAccumulator Line(long x1, long y1, long x2, long y2, int thickness,
                     std::span<uint32_t> buffer = {}) {
  return {.X1 = x1, .Y1 = y1, .X2 = x2, .Y2 = y2, .Thickness = thickness, .Buffer = buffer};
}

AnalysisResult Sentinel() {
  AnalysisResult r;
  r.Area = 777;
  r.I.total = 7.5f;
  return r;
}

// --- Windows -----------------------------------------------------------------

// Area, background area, mean, background and maximum with its place.
struct Seen {
  int32_t area, backArea;
  float total, back, max;
  int32_t x, y;
};

void ExpectSeen(const AnalysisResult& r, const Seen& s) {
  EXPECT_EQ(r.Area, s.area);
  EXPECT_EQ(r.BackArea, s.backArea);
  EXPECT_FLOAT_EQ(r.I.total, s.total);
  EXPECT_FLOAT_EQ(r.I.back, s.back);
  EXPECT_FLOAT_EQ(r.I.max, s.max);
  EXPECT_EQ(r.X.max, s.x);
  EXPECT_EQ(r.Y.max, s.y);
}

AnalysisResult Analyse(const WindowRect& w, FrameSize s, const Frame& f, long dynamic = 256) {
  AnalysisResult r;
  EXPECT_TRUE(SV_rect16_analysis(w, s, f, dynamic, r));
  return r;
}

TEST(WindowAnalysis, RectangleTotalsAndItsBorderAsBackground) {
  const FrameSize s{6, 5};
  // clang-format off
  const Frame f = {
      0,  0,  0,  0,  0, 0,
      0, 10, 10, 10, 10, 0,
      0, 10, 50, 40, 10, 0,
      0, 10, 10, 10, 10, 0,
      0,  0,  0,  0,  0, 0};
  // clang-format on
  const AnalysisResult r = Analyse(WindowRect::FromSize(1, 1, 4, 3), s, f, 4096);
  ExpectSeen(r, {12, 10, 190.0f / 12, 10, 50, 2, 2});  // border: all but the inner 2 x 1
  EXPECT_EQ(r.Dynamic, 4096);
  // Narrow rectangles are all border; a single pixel is its own background.
  ExpectSeen(Analyse(WindowRect::FromSize(2, 1, 2, 3), s, f),
             {6, 6, 130.0f / 6, 130.0f / 6, 50, 2, 2});
  ExpectSeen(Analyse(WindowRect::FromSize(2, 2, 1, 1), s, f), {1, 1, 50, 50, 50, 2, 2});
  // A square is evaluated as the rectangle it is.
  ExpectSame(Analyse(WindowRect::FromSize(1, 1, 3, 3, kShapeQuadrat), s, f),
             Analyse(WindowRect::FromSize(1, 1, 3, 3), s, f));
}

TEST(WindowAnalysis, TiesGoToTheFirstPixelInScanOrder) {
  const FrameSize s{5, 4};
  // clang-format off
  const Frame f = {
      1, 1, 1, 1, 1,
      1, 1, 1, 9, 1,
      1, 9, 1, 9, 1,
      9, 1, 1, 1, 1};
  // clang-format on
  struct Case {
    WindowRect w;
    Frame frame;
    int32_t x, y;
  };
  for (const Case& c : {Case{WindowRect::FromSize(0, 0, 5, 4), f, 3, 1},
                        Case{WindowRect::FromSize(0, 2, 5, 2), f, 1, 2},  // same row: leftmost
                        Case{WindowRect::FromSize(1, 1, 3, 2), Frame(20, 4), 1, 1}}) {  // flat
    const AnalysisResult r = Analyse(c.w, s, c.frame, 16);
    EXPECT_EQ(r.X.max, c.x);
    EXPECT_EQ(r.Y.max, c.y);
  }
}

TEST(WindowAnalysis, ShapeMasksAndTheirCornersAsBackground) {
  // Pixel centres inside or on the inscribed ellipse; a circle takes the
  // smaller side, centred.
  struct Case {
    std::vector<std::string> mask;
    int shape;
    Seen seen;
  };
  for (const Case& c : {
           Case{{".###.", "#####", "#####", "#####", ".###."}, kShapeEllipse,
                {21, 4, 100, 10, 100, 1, 0}},  // first shape pixel of the top row
           Case{{".#####.", "#######", ".#####."}, kShapeEllipse, {17, 4, 100, 10, 100, 1, 0}},
           Case{{"...###...", "..#####..", "..#####..", "..#####..", "...###..."}, kShapeCircle,
                {21, 24, 100, 10, 100, 3, 0}}}) {
    const FrameSize s{long(c.mask[0].size()), long(c.mask.size())};
    const Frame f = Drawn(c.mask, 100, 10);
    ExpectSeen(Analyse(WindowRect::FromSize(0, 0, s.width, s.height, c.shape), s, f), c.seen);
  }
  // One-pixel-wide ellipses are their whole rectangle.
  const AnalysisResult r =
      Analyse(WindowRect::FromSize(2, 0, 1, 5, kShapeEllipse), {5, 5}, Frame(25, 3));
  EXPECT_EQ(r.Area, 5);
  EXPECT_EQ(r.BackArea, 0);
  EXPECT_FLOAT_EQ(r.I.back, 0.0f);
}

TEST(WindowAnalysis, WindowsPartlyOutsideAreClipped) {
  const FrameSize s{4, 4};
  Frame f(16);
  for (size_t i = 0; i < 16; ++i) f[i] = uint16_t(i + 1);
  // Left and top beyond the frame: the inside 3 x 2 remains, its border
  // is the background.
  ExpectSeen(Analyse(WindowRect{-2, -3, 2, 1}, s, f),
             {6, 6, (1 + 2 + 3 + 5 + 6 + 7) / 6.0f, (1 + 2 + 3 + 5 + 6 + 7) / 6.0f, 7, 2, 1});
  // Beyond the right and bottom: a 3 x 3 ending outside keeps 2 x 2.
  ExpectSeen(Analyse(WindowRect::FromSize(2, 2, 3, 3), s, f),
             {4, 4, (11 + 12 + 15 + 16) / 4.0f, (11 + 12 + 15 + 16) / 4.0f, 16, 3, 3});
  // An ellipse keeps its shape; only its inside part counts. The 5 x 5
  // ellipse placed at (-2, -2) has its lower right quarter in the frame,
  // and of its cut-off corners only (2, 2).
  const Frame q = Drawn({"###.", "###.", "##..", "...."}, 50, 5);
  ExpectSeen(Analyse(WindowRect::FromSize(-2, -2, 5, 5, kShapeEllipse), s, q),
             {8, 1, 50, 5, 50, 0, 0});
}

TEST(WindowAnalysis, EmptyShapesGiveAreaZeroWithoutDivision) {
  const FrameSize s{4, 4};
  const Frame f = Ramp(s);
  for (const WindowRect& w : {WindowRect{10, 10, 12, 12}, WindowRect{-5, 0, -1, 3},
                              WindowRect::FromSize(1, 1, 0, 2), WindowRect::FromSize(1, 1, 2, 0),
                              WindowRect{20, 20, 25, 25, kShapeEllipse}}) {
    AnalysisResult r = Sentinel();
    ASSERT_TRUE(SV_rect16_analysis(w, s, f, 256, r));
    ExpectSeen(r, {0, 0, 0, 0, 0, -1, -1});
    EXPECT_EQ(r.Dynamic, 256);
  }
}

TEST(WindowAnalysis, BadInputIsRefusedAndTheResultKept) {
  const FrameSize s{4, 4};
  const Frame f = Ramp(s);
  const WindowRect w = WindowRect::FromSize(0, 0, 2, 2);
  AnalysisResult r = Sentinel();
  EXPECT_FALSE(SV_rect16_analysis(w, s, Frame(15), 256, r));
  EXPECT_FALSE(SV_rect16_analysis(w, {0, 4}, f, 256, r));
  EXPECT_FALSE(SV_rect16_analysis(w, s, f, 0, r));
  EXPECT_FALSE(SV_rect16_analysis(WindowRect::FromSize(0, 0, 2, 2, 4), s, f, 256, r));
  EXPECT_FALSE(SV_rect16_analysis(WindowRect{0, 0, 1L << 40, 2}, s, f, 256, r));
  RGBAnalysisResult rgb{};
  EXPECT_FALSE(SV_RGB_rect16_analysis(w, s, f, 256, rgb));
  EXPECT_EQ(r.Area, 777);
  EXPECT_EQ(r.I.total, 7.5f);
}

// --- Averaging runs ------------------------------------------------------------

TEST(WindowAccumulation, SumsFramesAndScalesDynamic) {
  const FrameSize s{7, 6};
  const Frame a = Random(s, 1, 1, 4095), b = Random(s, 1, 2, 4095), c = Random(s, 1, 3, 4095);
  const WindowRect rect = WindowRect::FromSize(1, 2, 5, 3, kShapeEllipse);
  std::vector<uint32_t> buf(rect.Pixels(), 0xDEADBEEF);
  WindowAccumulator w = Accumulator(rect, buf);
  ASSERT_TRUE(SV_scan_frame16(w, s, a, 0));
  ASSERT_TRUE(SV_scan_frame16(w, s, b, 1));
  ASSERT_TRUE(SV_scan_frame16(w, s, c, 2));
  EXPECT_EQ(w.Frames, 3);
  for (long y = 0; y < 3; ++y)
    for (long x = 0; x < 5; ++x) {
      const size_t i = size_t((y + 2) * 7 + x + 1);
      EXPECT_EQ(buf[size_t(y * 5 + x)], uint32_t(a[i]) + b[i] + c[i]);
    }

  // The evaluation of the sum is the evaluation of the summed frame.
  Frame summed(a.size());
  for (size_t i = 0; i < a.size(); ++i) summed[i] = uint16_t(a[i] + b[i] + c[i]);
  AnalysisResult fromSum, direct;
  ASSERT_TRUE(SV_frame_analysis(w, 4096, fromSum));
  ASSERT_TRUE(SV_rect16_analysis(rect, s, summed, 4096, direct));
  EXPECT_EQ(fromSum.Dynamic, 3 * 4096);
  direct.Dynamic = fromSum.Dynamic;
  ExpectSame(fromSum, direct);

  // Frame index 0 starts over.
  ASSERT_TRUE(SV_scan_frame16(w, s, c, 0));
  EXPECT_EQ(w.Frames, 1);
  ASSERT_TRUE(SV_frame_analysis(w, 4096, fromSum));
  ASSERT_TRUE(SV_rect16_analysis(rect, s, c, 4096, direct));
  ExpectSame(fromSum, direct);
}

TEST(WindowAccumulation, LargeSumsStayExact) {
  // 8192 full-scale frames: beyond 16 bits, within 32.
  const FrameSize s{3, 3};
  const Frame top(9, 65535);
  std::vector<uint32_t> buf(9);
  WindowAccumulator w = Accumulator(WindowRect::FromSize(0, 0, 3, 3), buf);
  for (long i = 0; i < 8192; ++i) ASSERT_TRUE(SV_scan_frame16(w, s, top, i));
  EXPECT_EQ(buf[4], 65535u * 8192u);
  AnalysisResult r;
  ASSERT_TRUE(SV_frame_analysis(w, 65536, r));
  EXPECT_FLOAT_EQ(r.I.total, 65535.0f * 8192.0f);
  EXPECT_FLOAT_EQ(r.I.max, 65535.0f * 8192.0f);
  EXPECT_EQ(r.Dynamic, 8192 * 65536);
}

TEST(WindowAccumulation, ClippedPixelsStayZeroAndAreNotCounted) {
  const FrameSize s{4, 3};
  const Frame f(12, 9);
  std::vector<uint32_t> buf(9, 123);
  WindowAccumulator w = Accumulator(WindowRect::FromSize(2, 1, 3, 3), buf);
  ASSERT_TRUE(SV_scan_frame16(w, s, f, 0));
  ASSERT_TRUE(SV_scan_frame16(w, s, f, 1));
  // clang-format off
  EXPECT_EQ(buf, (std::vector<uint32_t>{
      18, 18, 0,
      18, 18, 0,
      0,  0,  0}));
  // clang-format on
  AnalysisResult r;
  ASSERT_TRUE(SV_frame_analysis(w, 256, r));
  EXPECT_EQ(r.Area, 4);
  EXPECT_FLOAT_EQ(r.I.total, 18.0f);
  EXPECT_EQ(r.X.max, 2);
  EXPECT_EQ(r.Y.max, 1);
}

TEST(WindowAccumulation, BadInputTouchesNothing) {
  const FrameSize s{4, 4};
  const Frame f = Ramp(s);
  std::vector<uint32_t> buf(8, 5);
  WindowAccumulator w = Accumulator(WindowRect::FromSize(0, 0, 3, 3), buf);
  EXPECT_FALSE(SV_scan_frame16(w, s, f, 0));  // buffer holds 8 of 9
  EXPECT_EQ(buf, std::vector<uint32_t>(8, 5));
  EXPECT_EQ(w.Frames, 0);
  AnalysisResult r = Sentinel();
  EXPECT_FALSE(SV_frame_analysis(w, 256, r));  // nothing summed
  EXPECT_EQ(r.Area, 777);

  std::vector<uint32_t> big(9);
  WindowAccumulator v = Accumulator(WindowRect::FromSize(0, 0, 3, 3), big);
  EXPECT_FALSE(SV_scan_frame16(v, s, Frame(15), 0));
  EXPECT_FALSE(SV_scan_frame16(v, s, f, -1));
  ASSERT_TRUE(SV_scan_frame16(v, s, f, 0));
  // A frame of another size cannot join the run.
  const Frame other = Ramp({5, 4});
  EXPECT_FALSE(SV_scan_frame16(v, {5, 4}, other, 1));
  EXPECT_EQ(v.Frames, 1);
  EXPECT_TRUE(SV_scan_frame16(v, {5, 4}, other, 0));
  // A colour run needs three planes.
  std::vector<uint32_t> onePlane(9);
  WindowAccumulator c = Accumulator(WindowRect::FromSize(0, 0, 3, 3), onePlane);
  EXPECT_FALSE(SV_RGB_scan_frame16(c, s, Ramp(s, 3), 0));
}

TEST(WindowAccumulation, ColourTwinsAreThreeGreyRuns) {
  const FrameSize s{9, 7};
  const Frame f0 = Random(s, 3, 10, 4095), f1 = Random(s, 3, 11, 4095);
  for (int shape = kShapeRectangle; shape <= kShapeCircle; ++shape) {
    const WindowRect rect = WindowRect::FromSize(-1, 1, 8, 7, shape);
    RGBAnalysisResult direct, summed;
    ASSERT_TRUE(SV_RGB_rect16_analysis(rect, s, f0, 4096, direct));
    std::vector<uint32_t> buf(rect.Pixels() * 3);
    WindowAccumulator w = Accumulator(rect, buf);
    ASSERT_TRUE(SV_RGB_scan_frame16(w, s, f0, 0));
    ASSERT_TRUE(SV_RGB_scan_frame16(w, s, f1, 1));
    ASSERT_TRUE(SV_RGB_frame_analysis(w, 4096, summed));
    for (int c = 0; c < 3; ++c) {
      SCOPED_TRACE("shape " + std::to_string(shape) + " channel " + std::to_string(c));
      const Frame g0 = Plane(f0, c), g1 = Plane(f1, c);
      AnalysisResult grey;
      ASSERT_TRUE(SV_rect16_analysis(rect, s, g0, 4096, grey));
      ExpectSame(direct[size_t(c)], grey);
      std::vector<uint32_t> gb(rect.Pixels());
      WindowAccumulator gw = Accumulator(rect, gb);
      ASSERT_TRUE(SV_scan_frame16(gw, s, g0, 0));
      ASSERT_TRUE(SV_scan_frame16(gw, s, g1, 1));
      ASSERT_TRUE(SV_frame_analysis(gw, 4096, grey));
      ExpectSame(summed[size_t(c)], grey);
      EXPECT_TRUE(std::equal(gb.begin(), gb.end(), buf.begin() + long(c) * long(gb.size())));
    }
  }
}

class AnalysisIsa : public ::testing::Test {
 protected:
  void TearDown() override { SV_set_analysis_isa(-1); }
};

TEST_F(AnalysisIsa, EveryLevelGivesTheSameResults) {
  // Odd widths leave tails behind every vector loop.
  const FrameSize s{1001, 23};
  const Frame grey = Random(s, 1, 40, 65535), rgb = Random(s, 3, 41, 65535);
  const Frame grey2 = Random(s, 1, 42, 65535), rgb2 = Random(s, 3, 43, 65535);
  struct Outcome {
    std::vector<AnalysisResult> results;
    std::vector<uint32_t> sums;
  };
  auto run = [&](int level) {
    EXPECT_LE(SV_set_analysis_isa(level), level);
    Outcome o;
    for (int shape = kShapeRectangle; shape <= kShapeCircle; ++shape) {
      const WindowRect rect = WindowRect::FromSize(3, -2, 997, 20, shape);
      AnalysisResult r;
      EXPECT_TRUE(SV_rect16_analysis(rect, s, grey, 65536, r));
      o.results.push_back(r);
      RGBAnalysisResult c;
      EXPECT_TRUE(SV_RGB_rect16_analysis(rect, s, rgb, 65536, c));
      o.results.insert(o.results.end(), c.begin(), c.end());
      std::vector<uint32_t> buf(rect.Pixels()), cbuf(rect.Pixels() * 3);
      WindowAccumulator w = Accumulator(rect, buf), cw = Accumulator(rect, cbuf);
      EXPECT_TRUE(SV_scan_frame16(w, s, grey, 0));
      EXPECT_TRUE(SV_scan_frame16(w, s, grey2, 1));
      EXPECT_TRUE(SV_RGB_scan_frame16(cw, s, rgb, 0));
      EXPECT_TRUE(SV_RGB_scan_frame16(cw, s, rgb2, 1));
      EXPECT_TRUE(SV_frame_analysis(w, 65536, r));
      o.results.push_back(r);
      EXPECT_TRUE(SV_RGB_frame_analysis(cw, 65536, c));
      o.results.insert(o.results.end(), c.begin(), c.end());
      o.sums.insert(o.sums.end(), buf.begin(), buf.end());
      o.sums.insert(o.sums.end(), cbuf.begin(), cbuf.end());
    }
    return o;
  };
  const Outcome plain = run(0);
  for (int level = 1; level <= 2; ++level) {
    SCOPED_TRACE("level " + std::to_string(level));
    const Outcome o = run(level);
    EXPECT_EQ(o.sums, plain.sums);
    ASSERT_EQ(o.results.size(), plain.results.size());
    for (size_t i = 0; i < o.results.size(); ++i) ExpectSame(o.results[i], plain.results[i]);
  }
}

TEST_F(AnalysisIsa, GreyLinesAlongRowsMatchTheColourWalkAtEveryLevel) {
  // A grey line near the horizontal goes along pixel rows in vector runs; a
  // colour line takes the point-by-point walk. With the same samples in all
  // three planes the sums must agree, at every level, summed over frames.
  const FrameSize s{97, 41};
  const Frame g0 = Random(s, 1, 60, 65535), g1 = Random(s, 1, 61, 65535);
  auto twin = [&](const Frame& g) {
    Frame c(g.size() * 3);
    for (size_t i = 0; i < g.size(); ++i) c[3 * i] = c[3 * i + 1] = c[3 * i + 2] = g[i];
    return c;
  };
  const Frame c0 = twin(g0), c1 = twin(g1);
  const LineAccumulator shapes[] = {Line(2, 20, 94, 20, 1), Line(94, 20, 2, 20, 3),
                                    Line(3, 5, 90, 33, 5),  Line(90, 9, 4, 31, 3),
                                    Line(10, 30, 80, 12, 25), Line(40, 18, 41, 19, 7)};
  for (int level = 0; level <= 2; ++level) {
    SV_set_analysis_isa(level);
    for (const LineAccumulator& shape : shapes) {
      SCOPED_TRACE("level " + std::to_string(level) + " line " + std::to_string(shape.X1) + "," +
                   std::to_string(shape.Y1) + " t " + std::to_string(shape.Thickness));
      LineAccumulator grey = shape, rgb = shape;
      std::vector<uint32_t> gb(size_t(grey.Points())), cb(gb.size() * 3);
      grey.Buffer = gb;
      rgb.Buffer = cb;
      ASSERT_EQ(SV_scan_line16(grey, s, g0, 0), grey.Points());
      ASSERT_EQ(SV_scan_line16(grey, s, g1, 1), grey.Points());
      ASSERT_EQ(SV_RGB_scan_line16(rgb, s, c0, 0), rgb.Points());
      ASSERT_EQ(SV_RGB_scan_line16(rgb, s, c1, 1), rgb.Points());
      EXPECT_EQ(gb, std::vector<uint32_t>(cb.begin(), cb.begin() + long(gb.size())));
    }
  }
}

// --- Lines -------------------------------------------------------------------

// A frame whose samples are f(x, y).
template <typename F>
Frame Field(FrameSize s, F f) {
  Frame out(s.Pixels());
  for (long y = 0; y < s.height; ++y)
    for (long x = 0; x < s.width; ++x) out[size_t(y * s.width + x)] = uint16_t(f(x, y));
  return out;
}

std::vector<float> Profile(LineAccumulator& line, FrameSize s, const Frame& f) {
  std::vector<uint32_t> buf(size_t(line.Points()));
  line.Buffer = buf;
  EXPECT_EQ(SV_scan_line16(line, s, f, 0), line.Points());
  std::vector<float> p(buf.size());
  LineResult r;
  EXPECT_TRUE(SV_line_analysis(line, p, r));
  return p;
}

TEST(LineScan, PointsFollowTheNearestPixels) {
  std::vector<std::pair<long, long>> pts;
  for (long i = 0; i < LinePoints(0, 0, 6, 2); ++i) {
    const LinePoint p = LinePointAt(0, 0, 6, 2, i);
    pts.emplace_back(p.x, p.y);
  }
  EXPECT_EQ(pts, (std::vector<std::pair<long, long>>{
                     {0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 1}, {5, 2}, {6, 2}}));
  EXPECT_EQ(LinePoints(3, 3, 3, 3), 1);
  EXPECT_EQ(LinePoints(5, 1, 1, 4), 5);
  const LinePoint last = LinePointAt(5, 1, 1, 4, 4);
  EXPECT_EQ(std::make_pair(last.x, last.y), std::make_pair(1L, 4L));
}

TEST(LineScan, HorizontalAndVerticalProfilesAverageAcross) {
  const FrameSize s{8, 6};
  // Rows y^2: the mean of three rows around y is y^2 + 2/3.
  const Frame rows = Field(s, [](long, long y) { return y * y; });
  LineAccumulator h = Line(1, 3, 6, 3, 1);
  EXPECT_EQ(Profile(h, s, rows), std::vector<float>(6, 9.0f));
  h.Thickness = 3;
  EXPECT_EQ(Profile(h, s, rows), std::vector<float>(6, 10.0f));
  // At the top edge the row above is the edge row itself: (0 + 0 + 1) / 3.
  LineAccumulator top = Line(0, 0, 7, 0, 3);
  EXPECT_EQ(Profile(top, s, rows), std::vector<float>(8, 0.0f));
  LineAccumulator low = Line(0, 5, 7, 5, 5);  // rows 3, 4, 5, 5, 5: (9+16+75)/5
  EXPECT_EQ(Profile(low, s, rows), std::vector<float>(8, 20.0f));

  const Frame cols = Field(s, [](long x, long) { return x * x; });
  LineAccumulator v = Line(4, 5, 4, 0, 3);  // upwards
  EXPECT_EQ(Profile(v, s, cols), std::vector<float>(6, 17.0f));
  // Along the line itself nothing is averaged.
  LineAccumulator along = Line(0, 2, 7, 2, 5);
  EXPECT_EQ(Profile(along, s, cols), (std::vector<float>{0, 1, 4, 9, 16, 25, 36, 49}));
}

TEST(LineScan, DiagonalTakesThePixelsOfTheOtherDiagonal) {
  const FrameSize s{7, 7};
  // Along (i, i) the pixels across are (i - 1, i + 1), (i, i), (i + 1, i - 1).
  // With samples x^2 their mean is i^2 + 2/3; a vertical band would give i^2.
  const Frame f = Field(s, [](long x, long) { return x * x; });
  LineAccumulator d = Line(1, 1, 5, 5, 3);
  EXPECT_EQ(Profile(d, s, f), (std::vector<float>{2, 5, 10, 17, 26}));
  LineAccumulator anti = Line(1, 5, 5, 1, 3);  // across is the main diagonal here
  EXPECT_EQ(Profile(anti, s, f), (std::vector<float>{2, 5, 10, 17, 26}));
  // The pixels across are distinct: a single bright pixel beside the line
  // on the other diagonal counts once, in one point.
  Frame spot(49, 0);
  spot[size_t(2 * 7 + 4)] = 300;  // (4, 2), across from (3, 3)
  EXPECT_EQ(Profile(d, s, spot), (std::vector<float>{0, 0, 100, 0, 0}));
}

TEST(LineScan, SinglePointAndAveragingRuns) {
  const FrameSize s{5, 5};
  const Frame f = Field(s, [](long x, long y) { return 10 * y + x; });
  LineAccumulator p = Line(2, 2, 2, 2, 3);  // a point: across is vertical
  EXPECT_EQ(Profile(p, s, f), std::vector<float>{22});

  std::vector<uint32_t> buf(5);
  LineAccumulator line = Line(0, 1, 4, 1, 1, buf);
  const Frame g = Field(s, [](long x, long y) { return 10 * y + x + 1; });
  ASSERT_EQ(SV_scan_line16(line, s, f, 0), 5);
  ASSERT_EQ(SV_scan_line16(line, s, g, 1), 5);
  ASSERT_EQ(SV_scan_line16(line, s, g, 2), 5);
  EXPECT_EQ(buf, (std::vector<uint32_t>{32, 35, 38, 41, 44}));
  std::vector<float> prof(5);
  LineResult r;
  ASSERT_TRUE(SV_line_analysis(line, prof, r));
  EXPECT_EQ(std::pair(r.Length, r.Frames), std::pair(5L, 3L));
  EXPECT_FLOAT_EQ(prof[0], 32.0f / 3);
  EXPECT_FLOAT_EQ(r.Min, 32.0f / 3);
  EXPECT_FLOAT_EQ(r.Max, 44.0f / 3);
  EXPECT_EQ(std::tuple(r.MaxIndex, r.MaxX, r.MaxY), std::tuple(4L, 4L, 1L));
  EXPECT_FLOAT_EQ(r.Mean, 38.0f / 3);
  // Frame 0 starts over.
  ASSERT_EQ(SV_scan_line16(line, s, f, 0), 5);
  EXPECT_EQ(buf, (std::vector<uint32_t>{10, 11, 12, 13, 14}));
}

TEST(LineScan, AnalysisOfLargeSumsIsTheFloatsSummedInOrder) {
  // Sums past 2^24 no longer fit a float whole: the profile is each sum
  // over the frames rounded to a float, the mean that of the floats.
  for (long frames : {512L, 640L, 3L}) {
    std::vector<uint32_t> buf(37);
    for (size_t i = 0; i < buf.size(); ++i)
      buf[i] = uint32_t(33554431u + 977u * uint32_t(i) * (i % 2 ? 1u : 3u));
    buf[20] = buf[30] = 4000000000u;  // the first of two highest
    LineAccumulator line = Line(0, 0, 36, 0, 1, buf);
    line.Length = 37;
    line.Frames = frames;
    std::vector<float> prof(37);
    LineResult r;
    ASSERT_TRUE(SV_line_analysis(line, prof, r));
    double total = 0;
    float lo = 0, hi = 0;
    for (size_t i = 0; i < buf.size(); ++i) {
      const float v = float(double(buf[i]) / double(frames));
      EXPECT_EQ(prof[i], v) << i;
      total += v;
      lo = i == 0 ? v : std::min(lo, v);
      hi = i == 0 ? v : std::max(hi, v);
    }
    EXPECT_EQ(r.Min, lo);
    EXPECT_EQ(r.Max, hi);
    EXPECT_EQ(r.MaxIndex, 20);
    EXPECT_EQ(r.Mean, float(total / 37.0));
  }
}

TEST(LineScan, BadLinesAreRefusedAndTouchNothing) {
  const FrameSize s{5, 5};
  const Frame f = Ramp(s);
  std::vector<uint32_t> buf(5, 77);
  const LineAccumulator good = Line(0, 0, 4, 0, 3, buf);
  LineAccumulator outside = good, above = good, even = good, thin = good, small = good;
  outside.X2 = 5;
  above.Y1 = -1;
  even.Thickness = 2;
  thin.Thickness = 0;
  small.Buffer = std::span<uint32_t>(buf).first(4);
  for (LineAccumulator* l : {&outside, &above, &even, &thin, &small})
    EXPECT_EQ(SV_scan_line16(*l, s, f, 0), -1);
  LineAccumulator line = good;
  EXPECT_EQ(SV_scan_line16(line, s, Frame(24), 0), -1);
  EXPECT_EQ(SV_RGB_scan_line16(line, s, f, 0), -1);  // a grey frame is too short
  EXPECT_EQ(buf, std::vector<uint32_t>(5, 77));
  EXPECT_EQ(line.Frames, 0);
  std::vector<float> prof(5);
  LineResult r;
  EXPECT_FALSE(SV_line_analysis(line, prof, r));  // nothing summed
  ASSERT_EQ(SV_scan_line16(line, s, f, 0), 5);
  EXPECT_FALSE(SV_line_analysis(line, std::span<float>(prof).first(4), r));
}

TEST(LineScan, ColourTwinsAreThreeGreyRuns) {
  const FrameSize s{9, 8};
  const Frame f0 = Random(s, 3, 20, 4095), f1 = Random(s, 3, 21, 4095);
  for (const LineAccumulator& shape :
       {Line(0, 0, 8, 7, 5), Line(8, 2, 0, 4, 3),
        Line(3, 7, 3, 0, 7)}) {
    LineAccumulator rgb = shape;
    std::vector<uint32_t> buf(size_t(rgb.Points()) * 3);
    rgb.Buffer = buf;
    ASSERT_EQ(SV_RGB_scan_line16(rgb, s, f0, 0), rgb.Points());
    ASSERT_EQ(SV_RGB_scan_line16(rgb, s, f1, 1), rgb.Points());
    std::vector<float> prof(buf.size());
    std::array<LineResult, 3> res;
    ASSERT_TRUE(SV_RGB_line_analysis(rgb, prof, res));
    const size_t n = size_t(rgb.Points());
    for (int c = 0; c < 3; ++c) {
      LineAccumulator grey = shape;
      std::vector<uint32_t> gb(n);
      grey.Buffer = gb;
      ASSERT_EQ(SV_scan_line16(grey, s, Plane(f0, c), 0), long(n));
      ASSERT_EQ(SV_scan_line16(grey, s, Plane(f1, c), 1), long(n));
      std::vector<float> gp(n);
      LineResult gr;
      ASSERT_TRUE(SV_line_analysis(grey, gp, gr));
      EXPECT_TRUE(std::equal(gb.begin(), gb.end(), buf.begin() + long(c * n)));
      EXPECT_TRUE(std::equal(gp.begin(), gp.end(), prof.begin() + long(c * n)));
      EXPECT_EQ(gr.MaxIndex, res[size_t(c)].MaxIndex);
      EXPECT_EQ(gr.Max, res[size_t(c)].Max);
      EXPECT_EQ(gr.Min, res[size_t(c)].Min);
    }
  }
}

// --- Histograms, counts, points ------------------------------------------------

TEST(Histogram, CountsLevelsAndClampsToTheLastEntry) {
  const FrameSize s{3, 2};
  const Frame f = {0, 1, 1, 5, 9, 65535};
  std::vector<uint32_t> counts(8, 99);
  ASSERT_TRUE(SV_histogram(s, f, counts));
  EXPECT_EQ(counts, (std::vector<uint32_t>{1, 2, 0, 0, 0, 1, 0, 2}));
  std::vector<uint32_t> all(65536, 99);
  ASSERT_TRUE(SV_histogram(s, f, all));
  EXPECT_EQ(std::tuple(all[1], all[2], all[9], all[65535]), std::tuple(2u, 0u, 1u, 1u));

  std::vector<uint32_t> none;
  EXPECT_FALSE(SV_histogram(s, f, none));
  std::vector<uint32_t> kept(4, 99);
  EXPECT_FALSE(SV_histogram(s, Frame(5), kept));
  EXPECT_EQ(kept, std::vector<uint32_t>(4, 99));
}

TEST(Histogram, ColourPlanesAndIntensity) {
  const FrameSize s{7, 5};
  const Frame f = Random(s, 3, 30, 300);
  std::vector<uint32_t> rgb(3 * 256);
  ASSERT_TRUE(SV_RGB_histogram(s, f, rgb));
  for (int c = 0; c < 3; ++c) {
    std::vector<uint32_t> grey(256);
    ASSERT_TRUE(SV_histogram(s, Plane(f, c), grey));
    EXPECT_TRUE(std::equal(grey.begin(), grey.end(), rgb.begin() + c * 256));
  }
  // Intensity: the rounded mean of the three.
  // Pixel sums 5, 1, 2 and 27: means 5/3, 1/3, 2/3 and 9.
  const Frame px = {1, 2, 2, 0, 0, 1, 0, 1, 1, 9, 9, 9};
  std::vector<uint32_t> in(16);
  ASSERT_TRUE(SV_RGB_intensity({2, 2}, px, in));
  EXPECT_EQ(std::vector<uint32_t>(in.begin(), in.begin() + 10),
            (std::vector<uint32_t>{1, 1, 1, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_FALSE(SV_RGB_intensity({3, 2}, px, in));
  EXPECT_FALSE(SV_RGB_histogram(s, f, std::span<uint32_t>(rgb).first(2)));
}

TEST(Histogram, ExtendedOverAWindowShapeAndRange) {
  const std::vector<std::string> mask = {
      ".###.",
      "#####",
      "#####",
      "#####",
      ".###."};
  Frame f = Drawn(mask, 40, 7);  // corners 7 outside the shape
  f[size_t(1 * 5 + 2)] = 3;      // below the range
  f[size_t(2 * 5 + 2)] = 200;    // above it
  f[size_t(3 * 5 + 2)] = 19;
  std::vector<uint32_t> counts(4, 99);
  HistogramStats st;
  ASSERT_TRUE(SV_histogramEx({5, 5}, f, WindowRect::FromSize(0, 0, 5, 5, kShapeEllipse), 10, 49,
                             counts, st));
  EXPECT_EQ(std::tuple(st.Count, st.Below, st.Above, st.Min, st.Max),
            std::tuple(21u, 1u, 1u, 3u, 200u));
  EXPECT_DOUBLE_EQ(st.Mean, (18 * 40 + 3 + 200 + 19) / 21.0);
  // 10..49 in four entries of ten: 19 in the first, 40 in the fourth.
  EXPECT_EQ(counts, (std::vector<uint32_t>{1, 0, 0, 18}));
  EXPECT_FALSE(SV_histogramEx({5, 5}, f, WindowRect::FromSize(0, 0, 5, 5), 50, 10, counts, st));
  EXPECT_FALSE(SV_histogramEx({5, 5}, f, WindowRect::FromSize(0, 0, 5, 5), 0, 70000, counts, st));
  // A window outside the frame has no pixels.
  ASSERT_TRUE(SV_histogramEx({5, 5}, f, WindowRect::FromSize(9, 9, 2, 2), 0, 65535, counts, st));
  EXPECT_EQ(st.Count, 0u);
  EXPECT_EQ(st.Mean, 0.0);
}

TEST(ColourCount, DistinctValues) {
  EXPECT_EQ(SV_color_count16({2, 2}, Frame{3, 3, 7, 65535}), 3);
  EXPECT_EQ(SV_color_count16({3, 2}, Frame{3, 3, 7, 65535}), -1);
  // Two colours that differ below the upper eight of twelve bits.
  const Frame rgb = {0x0FF0, 0x0100, 0x0200, 0x0FF1, 0x0100, 0x0200,
                     0x0FF0, 0x0100, 0x0300, 0x0FF0, 0x0100, 0x0200};
  EXPECT_EQ(SV_RGB_color_count({2, 2}, rgb, 12), 2);
  EXPECT_EQ(SV_RGB_color_count16({2, 2}, rgb), 3);
  EXPECT_EQ(SV_RGB_color_count({2, 2}, rgb, 17), -1);
  EXPECT_EQ(SV_RGB_color_count({3, 2}, rgb, 12), -1);
  EXPECT_EQ(SV_RGB_color_count16({3, 2}, rgb), -1);
  // Samples beyond their bits count as the top level.
  EXPECT_EQ(SV_RGB_color_count({2, 1}, Frame{255, 0, 0, 9000, 0, 0}, 8), 1);
}

TEST(PointScan, InsideAndOutside) {
  const FrameSize s{3, 2};
  const Frame f = {1, 2, 3, 4, 5, 6};
  uint16_t v = 0;
  ASSERT_TRUE(SV_point16_scan(s, f, 2, 1, v));
  EXPECT_EQ(v, 6);
  EXPECT_FALSE(SV_point16_scan(s, f, 3, 0, v));
  EXPECT_FALSE(SV_point16_scan(s, f, 0, -1, v));
  const Frame rgb = Ramp(s, 3);
  std::array<uint16_t, 3> px{};
  ASSERT_TRUE(SV_RGB_point16_scan(s, rgb, 1, 1, px));
  for (int c = 0; c < 3; ++c) {
    ASSERT_TRUE(SV_point16_scan(s, Plane(rgb, c), 1, 1, v));
    EXPECT_EQ(px[size_t(c)], v);
  }
  EXPECT_FALSE(SV_RGB_point16_scan(s, f, 0, 0, px));
}

TEST(Overload, TheTopLevelCounts) {
  Frame f(100, 4094);
  EXPECT_FALSE(SV_test_overload16({10, 10}, f, 4096));
  f[77] = 4095;
  EXPECT_TRUE(SV_test_overload16({10, 10}, f, 4096));
  f[77] = 5000;  // above the range is overload too
  EXPECT_TRUE(SV_test_overload16({10, 10}, f, 4096));
  EXPECT_FALSE(SV_test_overload16({10, 10}, f, 65536));
  f[99] = 65535;
  EXPECT_TRUE(SV_test_overload16({10, 10}, f, 65536));
  // Colour: any channel; a short span is refused.
  Frame rgb(30, 10);
  rgb[29] = 255;
  EXPECT_TRUE(SV_test_overload16({5, 2}, rgb, 256, 3));
  EXPECT_FALSE(SV_test_overload16({5, 3}, rgb, 256, 3));
  EXPECT_FALSE(SV_test_overload16({5, 2}, rgb, 256, 2));
}

}  // namespace
}  // namespace sv
