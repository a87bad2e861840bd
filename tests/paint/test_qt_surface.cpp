#include <gtest/gtest.h>

#include <QBuffer>
#include <QSvgGenerator>

#include <cmath>
#include <string>
#include <vector>

#include "paint_fixture.h"

namespace sv {
namespace {

using paint::FromWindows1252;
using test::CountColor;
using test::InkBox;
using test::IsWhite;
using test::Picture;
using test::Rgb;

// The lengths of the inked stretches along row `y` from x0 to x1.
std::vector<int> InkRuns(const QImage& image, int y, int x0, int x1) {
  std::vector<int> runs;
  int run = 0;
  for (int x = x0; x <= x1; ++x) {
    if (!IsWhite(image.pixel(x, y))) {
      ++run;
    } else if (run > 0) {
      runs.push_back(run);
      run = 0;
    }
  }
  if (run > 0) runs.push_back(run);
  return runs;
}

TEST(Windows1252, HighBytesFollowTheTable) {
  EXPECT_EQ(FromWindows1252("\xC5"), QString(QChar(0xC5)));
  EXPECT_EQ(FromWindows1252("\xC5").toStdString(), "\xC3\x85");  // "Å" in UTF-8
  EXPECT_EQ(FromWindows1252("\x80 5"), QString::fromUtf8("\xE2\x82\xAC 5"));  // the euro
  EXPECT_EQ(FromWindows1252("\x93q\x94"), QString::fromUtf8("\xE2\x80\x9Cq\xE2\x80\x9D"));
  EXPECT_EQ(FromWindows1252("\x96\x97"), QString::fromUtf8("\xE2\x80\x93\xE2\x80\x94"));
  EXPECT_EQ(FromWindows1252("\x8A\x9F\x85"), QString::fromUtf8("\xC5\xA0\xC5\xB8\xE2\x80\xA6"));
  // The holes of the table and the bytes above it as Latin-1.
  EXPECT_EQ(FromWindows1252("\x81\x8D\x9D").toStdU16String(), (std::u16string{0x81, 0x8D, 0x9D}));
  EXPECT_EQ(FromWindows1252("\xB5\xFF").toStdU16String(), (std::u16string{0xB5, 0xFF}));
  EXPECT_EQ(FromWindows1252(std::string_view("a\0b", 3)).size(), 3);
}

TEST(QtSurface, ColoursRectanglesAndPixels) {
  Picture pic(100, 80);
  pic.Surface().FillRect({10, 20, 30, 50}, 0x00336699);
  pic.Surface().FillRect({60, 50, 50, 40}, 0x000000FF);  // given the other way round
  pic.Surface().Pixel(5.3, 7.8, 0x00FF0000);
  const QImage& img = pic.Image();
  EXPECT_EQ(img.pixel(10, 20), qRgb(0x99, 0x66, 0x33));
  EXPECT_EQ(img.pixel(29, 49), qRgb(0x99, 0x66, 0x33));
  EXPECT_TRUE(IsWhite(img.pixel(30, 20)));
  EXPECT_TRUE(IsWhite(img.pixel(10, 50)));
  EXPECT_EQ(CountColor(img, Rgb(0x00336699)), 20 * 30);
  EXPECT_EQ(CountColor(img, Rgb(0x000000FF)), 10 * 10);
  EXPECT_EQ(img.pixel(5, 7), qRgb(0, 0, 0xFF));
  EXPECT_EQ(CountColor(img, Rgb(0x00FF0000)), 1);
}

TEST(QtSurface, PenWidths) {
  Picture pic(200, 100);
  pic.Surface().Line(20, 20, 180, 20, {0, 0, 0});   // the one-pixel pen
  pic.Surface().Line(20, 60, 180, 60, {0, 6, 0});
  const QImage& img = pic.Image();
  const std::vector<int> runs = InkRuns(img, 20, 0, 199);
  ASSERT_EQ(runs.size(), 1u);
  EXPECT_NEAR(runs[0], 160, 1);
  int thin = 0, wide = 0;
  for (int y = 0; y < 40; ++y) thin += !IsWhite(img.pixel(100, y));
  for (int y = 40; y < 100; ++y) wide += !IsWhite(img.pixel(100, y));
  EXPECT_EQ(thin, 1);
  EXPECT_EQ(wide, 6);
  // The wide pen ends round, half its width past the ends.
  EXPECT_FALSE(IsWhite(img.pixel(18, 60)));
  EXPECT_TRUE(IsWhite(img.pixel(14, 60)));
}

TEST(QtSurface, LineStylesDashDifferently) {
  Picture pic(420, 60);
  for (int style = 0; style <= 4; ++style)
    pic.Surface().Line(10, 5 + 10 * style, 410, 5 + 10 * style, {0, 0, style});
  pic.Surface().Line(10, 55, 410, 55, {0, 0, 9});  // unknown: solid
  const QImage& img = pic.Image();
  const std::vector<int> solid = InkRuns(img, 5, 0, 419), dash = InkRuns(img, 15, 0, 419),
                         dot = InkRuns(img, 25, 0, 419), dashDot = InkRuns(img, 35, 0, 419),
                         dashDotDot = InkRuns(img, 45, 0, 419);
  EXPECT_EQ(solid.size(), 1u);
  EXPECT_EQ(InkRuns(img, 55, 0, 419).size(), 1u);
  ASSERT_GT(dash.size(), 10u);
  ASSERT_GT(dot.size(), dash.size());
  // Dashes are longer than dots; dash-dot alternates them, dash-dot-dot has
  // two dots after each dash.
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
      const int x = int((pts[i - 1].x + pts[i].x) / 2), y = 100;
      EXPECT_FALSE(IsWhite(mine.pixel(x, y)) && IsWhite(mine.pixel(x - 1, y)) &&
                   IsWhite(mine.pixel(x + 1, y)))
          << "segment " << i << " width " << width;
    }
    QImage ref(2820, 200, QImage::Format_RGB32);
    ref.fill(Qt::white);
    {
      QPainter p(&ref);
      QPen pen(QColor(0xFF, 0, 0));
      pen.setWidthF(width);
      pen.setCapStyle(Qt::RoundCap);
      pen.setJoinStyle(Qt::RoundJoin);
      p.setPen(pen);
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
  const std::vector<int> a = InkRuns(many.Image(), 30, 0, 329), b = InkRuns(one.Image(), 30, 0, 329);
  ASSERT_GT(b.size(), 10u);
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_NEAR(a[i], b[i], 1) << i;
}

TEST(QtSurface, PolygonAndEllipse) {
  Picture pic(200, 100);
  const DrawPoint tri[3] = {{10, 90}, {90, 90}, {50, 10}};
  pic.Surface().Polygon(tri, 3, 0x0000FF00, {0x000000FF, 0, 0});
  pic.Surface().Ellipse({110, 10, 190, 90}, {0, 0, 0}, false, 0);
  pic.Surface().Ellipse({130, 30, 170, 70}, {0, 0, 0}, true, 0x00FF0000);
  const QImage& img = pic.Image();
  EXPECT_EQ(img.pixel(50, 60), qRgb(0, 0xFF, 0));
  EXPECT_EQ(img.pixel(50, 90), qRgb(0xFF, 0, 0));  // the outline
  EXPECT_TRUE(IsWhite(img.pixel(15, 20)));
  EXPECT_EQ(img.pixel(150, 50), qRgb(0, 0, 0xFF));  // filled inner ellipse
  EXPECT_TRUE(IsWhite(img.pixel(150, 25)));         // between the two
  EXPECT_FALSE(IsWhite(img.pixel(110, 50)));        // the outer outline
  // Nothing drawn after the ellipse is filled by its brush.
  Picture after(50, 50);
  after.Surface().Ellipse({0, 0, 10, 10}, {0, 0, 0}, true, 0x00FF0000);
  const DrawPoint sq[4] = {{20, 20}, {40, 20}, {40, 40}, {20, 40}};
  after.Surface().Polyline(sq, 4, {0, 0, 0});
  EXPECT_TRUE(IsWhite(after.Image().pixel(30, 30)));
}

TEST(QtSurface, ClipCutsUntilCleared) {
  Picture pic(100, 100);
  pic.Surface().SetClip({20, 20, 40, 40});
  pic.Surface().FillRect({0, 0, 100, 100}, 0);
  pic.Surface().ClearClip();
  pic.Surface().FillRect({80, 80, 90, 90}, 0);
  const QImage& img = pic.Image();
  EXPECT_EQ(CountColor(img, qRgb(0, 0, 0)), 20 * 20 + 10 * 10);
  EXPECT_TRUE(IsWhite(img.pixel(19, 30)));
  EXPECT_FALSE(IsWhite(img.pixel(20, 20)));
}

// Something of every colour to invert.
void Paint(paint::QtSurface& s) {
  for (int i = 0; i < 10; ++i)
    s.FillRect({double(i * 10), 0, double(i * 10 + 10), 100}, int32_t(0x00123456 * (i + 1)) & 0xFFFFFF);
  const DrawPoint pts[3] = {{0, 0}, {100, 60}, {20, 100}};
  s.Polyline(pts, 3, {0x0000FF, 3, 0});
}

TEST(QtSurface, InvertingTwiceRestoresThePicture) {
  for (bool antialias : {false, true}) {
    Picture before(100, 100, true, antialias), once(100, 100, true, antialias),
        twice(100, 100, true, antialias);
    for (Picture* p : {&before, &once, &twice}) Paint(p->Surface());
    for (Picture* p : {&once, &twice}) {
      p->Surface().InvertRect({70, 60, 20, 10});  // given the other way round
      p->Surface().InvertLine(5, 95, 95, 40);
    }
    twice.Surface().InvertRect({20, 10, 70, 60});
    twice.Surface().InvertLine(5, 95, 95, 40);
    const QImage& a = before.Image();
    const QImage& b = once.Image();
    EXPECT_EQ(test::CountDifferent(a, twice.Image()), 0);
    // Once: the outline's pixels (corners too) are the inverse, inside and
    // outside are not touched.
    for (auto [x, y] : {std::pair{20, 10}, {69, 10}, {20, 59}, {69, 59}, {45, 10}, {20, 30}}) {
      EXPECT_EQ(b.pixel(x, y) & 0xFFFFFF, ~a.pixel(x, y) & 0xFFFFFF) << x << "," << y;
      EXPECT_EQ(qAlpha(b.pixel(x, y)), 255);
    }
    for (auto [x, y] : {std::pair{21, 11}, {45, 30}, {70, 30}, {45, 60}, {19, 30}})
      EXPECT_EQ(b.pixel(x, y), a.pixel(x, y)) << x << "," << y;
    int onLine = 0;  // the line passes (50, 67.5)
    for (int y = 66; y <= 69; ++y) onLine += b.pixel(50, y) != a.pixel(50, y);
    EXPECT_GE(onLine, 1);
    EXPECT_LE(onLine, 2);
  }
  // A rectangle of no height still shows, as one row.
  Picture flat(50, 50);
  flat.Surface().InvertRect({10, 20, 30, 20});
  EXPECT_EQ(CountColor(flat.Image(), qRgb(0, 0, 0)), 20);
}

TEST(QtSurface, InvertingOnPaperDoesNothing) {
  auto svg = [](bool invert) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QSvgGenerator gen;
    gen.setOutputDevice(&buffer);
    gen.setSize(QSize(100, 100));
    QPainter painter(&gen);
    paint::QtSurface s(painter, QSizeF(100, 100), false);
    s.FillRect({0, 0, 50, 50}, 0xFF);
    if (invert) {
      s.InvertRect({10, 10, 40, 40});
      s.InvertLine(0, 0, 90, 90);
    }
    painter.end();
    return buffer.data();
  };
  EXPECT_EQ(svg(true), svg(false));
}

TEST(QtSurface, TextMeasuresInDeviceUnitsOnAnyResolution) {
  DrawFont font;
  font.height = 40;
  QImage screen(10, 10, QImage::Format_RGB32), fine(10, 10, QImage::Format_RGB32);
  fine.setDotsPerMeterX(11811);  // 300 per inch
  fine.setDotsPerMeterY(11811);
  QPainter p1(&screen), p2(&fine);
  paint::QtSurface a(p1, QSizeF(10, 10), true), b(p2, QSizeF(10, 10), true);
  const TextExtent e = a.Extent("Energy", font);
  EXPECT_NEAR(b.Extent("Energy", font).width, e.width, 0.02 * e.width);
  EXPECT_NEAR(b.Extent("Energy", font).height, e.height, 0.02 * e.height);
  // A line of Arial is a little higher than its em; the ascent lies within.
  EXPECT_GT(e.height, 1.0 * font.height);
  EXPECT_LT(e.height, 1.3 * font.height);
  EXPECT_GT(a.Ascent(font), 0.7 * font.height);
  EXPECT_LT(a.Ascent(font), e.height);
  // Wider for more text, for bold, and in proportion to the height.
  EXPECT_GT(a.Extent("Energy (eV)", font).width, e.width);
  DrawFont bold = font;
  bold.bold = true;
  EXPECT_GT(a.Extent("Energy", bold).width, e.width);
  DrawFont half = font;
  half.height = 20;
  EXPECT_NEAR(a.Extent("Energy", half).width, e.width / 2, 0.05 * e.width);
  EXPECT_EQ(a.Extent("", font).width, 0);
  // Nonsense heights measure as one unit, not as nothing or a crash.
  DrawFont bad = font;
  bad.height = -5;
  EXPECT_GT(a.Extent("x", bad).height, 0);
}

TEST(QtSurface, TextSitsInItsBoxAndTurnsAboutItsCorner) {
  DrawFont font;
  font.height = 30;
  int l, t, r, b;
  TextExtent e;
  {
    Picture pic(300, 300);
    e = pic.Surface().Extent("Hxg", font);
    pic.Surface().Text(100, 150, "Hxg", font, 0x000000FF);
    const QImage& img = pic.Image();
    ASSERT_TRUE(InkBox(img, l, t, r, b));
    EXPECT_GT(CountColor(img, qRgb(0xFF, 0, 0)), 50);
  }
  EXPECT_GE(l, 100);
  EXPECT_LE(r, 100 + e.width + 1);
  EXPECT_GE(t, 150);
  EXPECT_LE(b, 150 + e.height + 1);
  EXPECT_LT(t, 150 + e.height / 3);  // the H reaches up near the top
  {
    // 90 degrees counter-clockwise: the text runs up from the corner.
    Picture pic(300, 300);
    font.angle = 900;
    pic.Surface().Text(100, 150, "Hxg", font, 0);
    ASSERT_TRUE(InkBox(pic.Image(), l, t, r, b));
  }
  EXPECT_GE(l, 99);
  EXPECT_LE(r, 100 + e.height + 1);
  EXPECT_GE(t, 150 - e.width - 1);
  EXPECT_LE(b, 151);
}

TEST(QtSurface, Windows1252TextDrawsItsLetters) {
  DrawFont font;
  font.height = 60;
  auto topOfInk = [&](const char* text) {
    Picture pic(100, 100);
    pic.Surface().Text(10, 10, text, font, 0);
    int l, t, r, b;
    EXPECT_TRUE(InkBox(pic.Image(), l, t, r, b));
    return t;
  };
  // The ring of the "Å" stands above the "A".
  EXPECT_LT(topOfInk("\xC5"), topOfInk("A") - 3);
  Picture a(100, 100), b(100, 100);
  EXPECT_NEAR(a.Surface().Extent("\xC5", font).width, a.Surface().Extent("A", font).width, 0.5);
  EXPECT_GT(b.Surface().Extent("\x80", font).width, 0);
}

}  // namespace
}  // namespace sv
