#include <gtest/gtest.h>

#include <QBuffer>
#include <QSvgGenerator>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "paint_fixture.h"

namespace sv {
namespace {

using test::CountColor;
using test::InkBox;
using test::IsWhite;
using test::Picture;

// The lengths of the inked stretches along row `y`.
std::vector<int> InkRuns(const QImage& image, int y) {
  std::vector<int> runs;
  int run = 0;
  for (int x = 0; x < image.width(); ++x) {
    if (!IsWhite(image.pixel(x, y))) ++run;
    else if (run > 0) runs.push_back(std::exchange(run, 0));
  }
  if (run > 0) runs.push_back(run);
  return runs;
}

TEST(QtSurface, ColoursShapesPixelsAndClip) {
  Picture pic(200, 100);
  paint::QtSurface& s = pic.Surface();
  s.FillRect({10, 20, 30, 50}, 0x00336699);
  s.FillRect({60, 50, 50, 40}, 0x000000FF);  // given the other way round
  s.Pixel(5.3, 7.8, 0x00FF0000);
  const DrawPoint tri[3] = {{100, 90}, {180, 90}, {140, 10}};
  s.Polygon(tri, 3, 0x0000FF00, {0x000000FF, 0, 0});
  s.Ellipse({30, 60, 50, 80}, {0, 0, 0}, false, 0);
  s.SetClip({0, 0, 5, 5});
  s.FillRect({0, 0, 200, 100}, 0);
  s.ClearClip();
  const QImage& img = pic.Image();
  EXPECT_EQ(img.pixel(10, 20), qRgb(0x99, 0x66, 0x33));  // 0x00BBGGRR
  EXPECT_EQ(CountColor(img, qRgb(0x99, 0x66, 0x33)), 20 * 30);
  EXPECT_GT(CountColor(img, qRgb(0xFF, 0, 0)), 10 * 10);  // square and outline
  EXPECT_EQ(img.pixel(55, 45), qRgb(0xFF, 0, 0));
  EXPECT_EQ(img.pixel(5, 7), qRgb(0, 0, 0xFF));
  EXPECT_EQ(img.pixel(140, 60), qRgb(0, 0xFF, 0));
  EXPECT_EQ(img.pixel(140, 90), qRgb(0xFF, 0, 0));
  EXPECT_TRUE(IsWhite(img.pixel(40, 70)));  // an outlined ellipse is not filled
  EXPECT_FALSE(IsWhite(img.pixel(30, 70)));  // the ellipse's outline
  EXPECT_FALSE(IsWhite(img.pixel(4, 4)));
  EXPECT_TRUE(IsWhite(img.pixel(6, 4)));
}

TEST(QtSurface, PenWidthsAndStyles) {
  Picture pic(420, 120);
  pic.Surface().Line(20, 10, 180, 10, {0, 0, 0});  // the one-pixel pen
  pic.Surface().Line(20, 100, 180, 100, {0, 6, 0});
  for (int style = 1; style <= 4; ++style)
    pic.Surface().Line(10, 20 + 10 * style, 410, 20 + 10 * style, {0, 0, style});
  pic.Surface().Line(10, 80, 410, 80, {0, 0, 9});  // unknown: solid
  const QImage& img = pic.Image();
  ASSERT_EQ(InkRuns(img, 10).size(), 1u);
  EXPECT_NEAR(InkRuns(img, 10)[0], 160, 1);
  int thin = 0, wide = 0;
  for (int y = 0; y < 20; ++y) thin += !IsWhite(img.pixel(100, y));
  for (int y = 85; y < 120; ++y) wide += !IsWhite(img.pixel(100, y));
  EXPECT_EQ(thin, 1);
  EXPECT_EQ(wide, 6);
  EXPECT_FALSE(IsWhite(img.pixel(18, 100)));  // round ends, half the width out
  EXPECT_TRUE(IsWhite(img.pixel(14, 100)));
  // Dashes are longer than dots; dash-dot alternates them, dash-dot-dot has
  // two dots after each dash.
  const std::vector<int> dash = InkRuns(img, 30), dot = InkRuns(img, 40),
                         dashDot = InkRuns(img, 50), dashDotDot = InkRuns(img, 60);
  EXPECT_EQ(InkRuns(img, 80).size(), 1u);
  ASSERT_GT(dash.size(), 10u);
  ASSERT_GT(dot.size(), dash.size());
  EXPECT_GT(dash[1], 2 * dot[1]);
  ASSERT_GT(dashDot.size(), 6u);
  EXPECT_GT(dashDot[2], 2 * dashDot[3]);
  EXPECT_EQ(dashDot[2], dashDot[4]);
  ASSERT_GT(dashDotDot.size(), 8u);
  EXPECT_GT(dashDotDot[3], 2 * dashDotDot[4]);
  EXPECT_EQ(dashDotDot[4], dashDotDot[5]);
  EXPECT_EQ(dashDotDot[3], dashDotDot[6]);
}

TEST(QtSurface, LongPolylinesDrawEverySegment) {
  // A zigzag of 400 points, wide and narrow, against Qt's own polyline: the
  // line is stroked in pieces, and no segment may go missing between them.
  std::vector<DrawPoint> pts;
  for (int i = 0; i < 400; ++i) pts.push_back({10 + i * 7.0, i % 2 ? 40.0 : 160.0});
  for (double width : {0.0, 4.0}) {
    Picture pic(2820, 200);
    pic.Surface().Polyline(pts.data(), pts.size(), {0x000000FF, width, 0});
    const QImage mine = pic.Image();
    for (size_t i = 1; i < pts.size(); ++i) {
      const int x = int((pts[i - 1].x + pts[i].x) / 2);
      EXPECT_FALSE(IsWhite(mine.pixel(x, 100)) && IsWhite(mine.pixel(x - 1, 100)) &&
                   IsWhite(mine.pixel(x + 1, 100)))
          << "segment " << i << " width " << width;
    }
    QImage ref(2820, 200, QImage::Format_RGB32);
    ref.fill(Qt::white);
    {
      QPainter p(&ref);
      QPen pen(QColor(0xFF, 0, 0), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
      p.setPen(pen);
      // A line of odd pixel width runs through the pixels' centres.
      if (width == 0) p.translate(0.5, 0.5);
      std::vector<QPointF> q;
      for (const DrawPoint& d : pts) q.emplace_back(d.x, d.y);
      p.drawPolyline(q.data(), int(q.size()));
    }
    const long ink = CountColor(ref, qRgb(0xFF, 0, 0));
    ASSERT_GT(ink, 40000);
    EXPECT_LE(test::CountDifferent(mine, ref), ink / 1000) << "width " << width;
  }
}

TEST(QtSurface, DashesGoOnAcrossPieces) {
  // A straight dashed line of 600 points dashes like one dashed segment.
  std::vector<DrawPoint> pts;
  for (int i = 0; i < 600; ++i) pts.push_back({10 + i * 0.5, 30});
  Picture many(330, 60), one(330, 60);
  many.Surface().Polyline(pts.data(), pts.size(), {0, 3, int(LineStyle::Dash)});
  one.Surface().Line(pts.front().x, 30, pts.back().x, 30, {0, 3, int(LineStyle::Dash)});
  const std::vector<int> a = InkRuns(many.Image(), 30), b = InkRuns(one.Image(), 30);
  ASSERT_GT(b.size(), 10u);
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], 1) << i;
}

TEST(QtSurface, InvertingTwiceRestoresThePicture) {
  auto paint = [](paint::QtSurface& s) {
    for (int i = 0; i < 10; ++i)
      s.FillRect({i * 10.0, 0, i * 10.0 + 10, 100}, int32_t(0x00123456 * (i + 1)) & 0xFFFFFF);
    const DrawPoint pts[3] = {{0, 0}, {100, 60}, {20, 100}};
    s.Polyline(pts, 3, {0x0000FF, 3, 0});
  };
  for (bool antialias : {false, true}) {
    Picture before(100, 100, true, antialias), once(100, 100, true, antialias),
        twice(100, 100, true, antialias);
    for (Picture* p : {&before, &once, &twice}) paint(p->Surface());
    for (Picture* p : {&once, &twice, &twice}) {
      p->Surface().InvertRect({70, 60, 20, 10});  // given the other way round
      p->Surface().InvertLine(5, 95, 95, 40);
    }
    const QImage& a = before.Image();
    const QImage& b = once.Image();
    EXPECT_EQ(test::CountDifferent(a, twice.Image()), 0);
    // Once: the outline's pixels, corners too, are the inverse; inside and
    // outside are not touched.
    for (auto [x, y] : {std::pair{20, 10}, {69, 10}, {20, 59}, {69, 59}, {45, 10}, {20, 30}})
      EXPECT_EQ(b.pixel(x, y), ~a.pixel(x, y) | 0xFF000000) << x << "," << y;
    for (auto [x, y] : {std::pair{21, 11}, {45, 30}, {70, 30}, {45, 60}, {19, 30}})
      EXPECT_EQ(b.pixel(x, y), a.pixel(x, y)) << x << "," << y;
    int onLine = 0;  // the line passes (50, 67.5)
    for (int y = 66; y <= 69; ++y) onLine += b.pixel(50, y) != a.pixel(50, y);
    EXPECT_GE(onLine, 1);
    EXPECT_LE(onLine, 2);
  }
  // A rectangle of no height still shows, as one row; on paper nothing shows.
  Picture flat(50, 50);
  flat.Surface().InvertRect({10, 20, 30, 20});
  EXPECT_EQ(CountColor(flat.Image(), qRgb(0, 0, 0)), 20);
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  QSvgGenerator svg;
  svg.setOutputDevice(&buffer);
  QPainter painter(&svg);
  paint::QtSurface paper(painter, QSizeF(100, 100), false);
  paper.InvertRect({10, 10, 40, 40});
  paper.InvertLine(0, 0, 90, 90);
  painter.end();
  EXPECT_EQ(buffer.data().count("<rect") + buffer.data().count("<polyline") +
                buffer.data().count("<path"),
            0);
}

TEST(QtSurface, TextMeasuresAndSitsInItsBox) {
  DrawFont font;
  font.height = 40;
  // The same device units on a 96 and a 300 dpi picture.
  QImage screen(10, 10, QImage::Format_RGB32), fine(10, 10, QImage::Format_RGB32);
  fine.setDotsPerMeterX(11811);
  fine.setDotsPerMeterY(11811);
  QPainter p1(&screen), p2(&fine);
  paint::QtSurface a(p1, QSizeF(10, 10), true), b(p2, QSizeF(10, 10), true);
  const TextExtent e = a.Extent("Hxg", font);
  EXPECT_NEAR(b.Extent("Hxg", font).width, e.width, 0.02 * e.width);
  EXPECT_NEAR(b.Extent("Hxg", font).height, e.height, 0.02 * e.height);
  // A line of Arial is a little higher than its em; the ascent lies within.
  EXPECT_GT(e.height, 1.0 * font.height);
  EXPECT_LT(e.height, 1.3 * font.height);
  EXPECT_GT(a.Ascent(font), 0.7 * font.height);
  EXPECT_LT(a.Ascent(font), e.height);
  DrawFont bold = font, half = font;
  bold.bold = true;
  half.height = 20;
  EXPECT_GT(a.Extent("Hxg", bold).width, e.width);
  EXPECT_NEAR(a.Extent("Hxg", half).width, e.width / 2, 0.05 * e.width);

  // Upright in its box; turned 90 degrees counter-clockwise it runs up from
  // the corner.
  int l, t, r, bt;
  for (int angle : {0, 900}) {
    font.angle = angle;
    Picture pic(300, 300);
    pic.Surface().Text(100, 150, "Hxg", font, 0x000000FF);
    ASSERT_TRUE(InkBox(pic.Image(), l, t, r, bt));
    if (angle == 0) {
      EXPECT_GE(l, 100);
      EXPECT_LE(r, 100 + e.width + 1);
      EXPECT_GE(t, 150);
      EXPECT_LT(t, 150 + e.height / 3);
      EXPECT_LE(bt, 150 + e.height + 1);
    } else {
      EXPECT_GE(l, 99);
      EXPECT_LE(r, 100 + e.height + 1);
      EXPECT_GE(t, 150 - e.width - 1);
      EXPECT_LE(bt, 151);
    }
  }
  // UTF-8 text: the ring of the "Å" stands above the "A".
  font.angle = 0;
  int topA = 0, topRing = 0;
  for (auto [text, top] : {std::pair{"A", &topA}, {"\xC3\x85", &topRing}}) {
    Picture pic(100, 100);
    pic.Surface().Text(10, 10, text, font, 0);
    ASSERT_TRUE(InkBox(pic.Image(), l, *top, r, bt));
  }
  EXPECT_LT(topRing, topA - 3);
}

}  // namespace
}  // namespace sv
