#include "paint/qt_surface.h"

#include <QFontMetricsF>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QVarLengthArray>

#include <algorithm>
#include <cmath>
#include <vector>

namespace sv::paint {

namespace {

// Points a wide line is stroked in at a time on a raster. Qt strokes a
// polyline as one path, and filling that path costs far more than its
// segments: 65,520 noisy points three pixels wide took 11 s in one piece and
// 60 ms (aliased) or 330 ms (antialiased) in pieces of 32 to 128 points.
// Pens up to one pixel wide take Qt's fast line stroker, 45 ms in one piece.
constexpr size_t kStrokePiece = 64;

QColor ToQColor(int32_t color) {
  const uint32_t c = uint32_t(color);
  return QColor(int(c & 0xFF), int((c >> 8) & 0xFF), int((c >> 16) & 0xFF));
}

Qt::PenStyle ToQtStyle(int style) {
  switch (LineStyle(style)) {
    case LineStyle::Dash: return Qt::DashLine;
    case LineStyle::Dot: return Qt::DotLine;
    case LineStyle::DashDot: return Qt::DashDotLine;
    case LineStyle::DashDotDot: return Qt::DashDotDotLine;
    default: return Qt::SolidLine;
  }
}

// A pen on a picture is whole pixels wide, at least one, as screen pens
// are: a line thinner than a pixel still shows as one solid pixel instead
// of a faint smear. Paper and files keep the width as it is.
double PenWidth(const DrawPen& pen, bool pixels) {
  if (!(pen.width > 0) || !std::isfinite(pen.width)) return 0;
  if (!pixels) return pen.width;
  const double whole = std::round(std::min(pen.width, 1.0e4));
  return whole <= 1 ? 0 : whole;
}

// Solid lines end and bend round, as a wide pen does on Windows; dashes end
// flat so that their gaps stay open at any width.
QPen ToQPen(const DrawPen& pen, bool pixels) {
  QPen p(ToQColor(pen.color));
  p.setWidthF(PenWidth(pen, pixels));  // zero: the cosmetic one-pixel pen
  const Qt::PenStyle style = ToQtStyle(pen.style);
  p.setStyle(style);
  if (style == Qt::SolidLine) {
    p.setCapStyle(Qt::RoundCap);
    p.setJoinStyle(Qt::RoundJoin);
  } else {
    p.setCapStyle(Qt::FlatCap);
    p.setJoinStyle(Qt::BevelJoin);
  }
  return p;
}

bool Finite(double v) { return std::isfinite(v); }

QRectF Normalized(const DrawRect& r) {
  return QRectF(QPointF(std::min(r.left, r.right), std::min(r.top, r.bottom)),
                QPointF(std::max(r.left, r.right), std::max(r.top, r.bottom)));
}

}  // namespace

QtSurface::QtSurface(QPainter& painter, QSizeF page, bool raster, bool antialias)
    : painter_(painter), page_(page), raster_(raster), antialias_(antialias) {
  painter_.setRenderHint(QPainter::Antialiasing, antialias_);
  painter_.setRenderHint(QPainter::TextAntialiasing, antialias_);
}

bool QtSurface::RasterEngine() const {
  const QPaintEngine* engine = painter_.paintEngine();
  return engine && engine->type() == QPaintEngine::Raster;
}

void QtSurface::SetClip(const DrawRect& r) { painter_.setClipRect(Normalized(r)); }

void QtSurface::ClearClip() { painter_.setClipping(false); }

// On a picture the point (x, y) stands for the pixel right of and below
// it: a line of odd width runs through the pixels' centres, so that it
// covers whole pixels with or without smoothing.
QtSurface::PixelGrid::PixelGrid(QtSurface& s, const QPen& pen) : painter_(s.painter_) {
  const double w = pen.widthF();
  shifted_ = s.RasterEngine() && std::fmod(w <= 0 ? 1.0 : w, 2.0) == 1.0;
  if (shifted_) painter_.translate(0.5, 0.5);
}

QtSurface::PixelGrid::~PixelGrid() {
  if (shifted_) painter_.translate(-0.5, -0.5);
}

const QPen& QtSurface::PenOf(const DrawPen& pen) {
  for (size_t i = 0; i < keptCount_; ++i) {
    const DrawPen& k = kept_[i].pen;
    if (k.color == pen.color && k.width == pen.width && k.style == pen.style) return kept_[i].qpen;
  }
  // The oldest makes room.
  KeptPen& slot = kept_[keptNext_];
  keptNext_ = (keptNext_ + 1) % kKeptPens;
  keptCount_ = std::min(keptCount_ + 1, kKeptPens);
  slot.pen = pen;
  slot.qpen = ToQPen(pen, RasterEngine());
  return slot.qpen;
}

// The same as PixelGrid, moving the points instead of the painter.
double QtSurface::GridShift(const QPen& pen) const {
  const double w = pen.widthF();
  return RasterEngine() && std::fmod(w <= 0 ? 1.0 : w, 2.0) == 1.0 ? 0.5 : 0.0;
}

void QtSurface::Line(double x1, double y1, double x2, double y2, const DrawPen& pen) {
  if (!Finite(x1) || !Finite(y1) || !Finite(x2) || !Finite(y2)) return;
  const QPen& qpen = PenOf(pen);
  painter_.setPen(qpen);
  const double d = GridShift(qpen);
  painter_.drawLine(QPointF(x1 + d, y1 + d), QPointF(x2 + d, y2 + d));
}

void QtSurface::Polyline(const DrawPoint* points, size_t count, const DrawPen& pen) {
  if (!points || count < 2) return;
  QPen qpen = PenOf(pen);
  painter_.setPen(qpen);
  const double d = GridShift(qpen);
  QVarLengthArray<QPointF, kStrokePiece> piece;
  // Paper and vector files take the whole line as one path, which they only
  // write down.
  const bool thin = qpen.widthF() <= 1;
  const size_t step = !RasterEngine() || thin ? count : kStrokePiece;
  const bool dashed = qpen.style() != Qt::SolidLine;
  const double dashUnit = std::max(1.0, qpen.widthF());
  double walked = 0;  // the length drawn so far, to carry a dash pattern on
  for (size_t start = 0; start + 1 < count; start += step - 1) {
    const size_t end = std::min(count, start + step);
    piece.clear();
    for (size_t i = start; i < end; ++i) {
      if (!Finite(points[i].x) || !Finite(points[i].y)) continue;
      piece.append(QPointF(points[i].x + d, points[i].y + d));
    }
    if (dashed && start > 0) {
      qpen.setDashOffset(walked / dashUnit);
      painter_.setPen(qpen);
    }
    if (piece.size() >= 2) painter_.drawPolyline(piece.data(), int(piece.size()));
    if (dashed)
      for (qsizetype i = 1; i < piece.size(); ++i)
        walked += std::hypot(piece[i].x() - piece[i - 1].x(), piece[i].y() - piece[i - 1].y());
    if (end == count) break;
  }
}

void QtSurface::FillRect(const DrawRect& r, int32_t color) {
  painter_.fillRect(Normalized(r), ToQColor(color));
}

void QtSurface::Polygon(const DrawPoint* points, size_t count, int32_t fill, const DrawPen& pen) {
  if (!points || count < 2) return;
  QPolygonF poly;
  poly.reserve(qsizetype(count));
  for (size_t i = 0; i < count; ++i)
    if (Finite(points[i].x) && Finite(points[i].y)) poly.append(QPointF(points[i].x, points[i].y));
  const QPen& qpen = PenOf(pen);
  painter_.setPen(qpen);
  painter_.setBrush(ToQColor(fill));
  PixelGrid grid(*this, qpen);
  painter_.drawPolygon(poly);
  painter_.setBrush(Qt::NoBrush);
}

void QtSurface::Ellipse(const DrawRect& box, const DrawPen& pen, bool filled, int32_t fill) {
  const QPen& qpen = PenOf(pen);
  painter_.setPen(qpen);
  PixelGrid grid(*this, qpen);
  if (filled) painter_.setBrush(ToQColor(fill));
  else painter_.setBrush(Qt::NoBrush);
  painter_.drawEllipse(Normalized(box));
  painter_.setBrush(Qt::NoBrush);
}

void QtSurface::Pixel(double x, double y, int32_t color) {
  if (!Finite(x) || !Finite(y)) return;
  // The pixel that holds the point: right of and below it, as Qt draws a
  // one-pixel line.
  painter_.fillRect(QRectF(std::floor(x), std::floor(y), 1, 1), ToQColor(color));
}

// Source white XORed onto the picture inverts each pixel's colour; a second
// time puts it back. Aliased, so that both passes touch the same pixels.
void QtSurface::InvertLine(double x1, double y1, double x2, double y2) {
  if (!RasterEngine() || !Finite(x1) || !Finite(y1) || !Finite(x2) || !Finite(y2)) return;
  painter_.save();
  painter_.setRenderHint(QPainter::Antialiasing, false);
  painter_.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
  QPen pen(Qt::white);
  pen.setWidth(0);
  pen.setCapStyle(Qt::FlatCap);
  painter_.setPen(pen);
  painter_.drawLine(QPointF(x1, y1), QPointF(x2, y2));
  painter_.restore();
}

// The outline is four strips of whole pixels that do not overlap, so that no
// corner is inverted twice. An empty side still shows as one pixel.
void QtSurface::InvertRect(const DrawRect& r) {
  if (!RasterEngine()) return;
  const QRectF n = Normalized(r);
  if (!Finite(n.left()) || !Finite(n.top()) || !Finite(n.right()) || !Finite(n.bottom())) return;
  // Far outside any picture nothing is drawn; keep the numbers in range.
  constexpr double kFar = 1 << 24;
  const auto whole = [&](double v) { return std::lround(std::clamp(v, -kFar, kFar)); };
  const long left = whole(n.left()), top = whole(n.top());
  const long right = std::max(left + 1, whole(n.right()));
  const long bottom = std::max(top + 1, whole(n.bottom()));
  const long w = right - left, h = bottom - top;
  painter_.save();
  painter_.setRenderHint(QPainter::Antialiasing, false);
  painter_.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
  auto strip = [&](long x, long y, long sw, long sh) {
    if (sw > 0 && sh > 0) painter_.fillRect(QRectF(double(x), double(y), double(sw), double(sh)), Qt::white);
  };
  strip(left, top, w, 1);
  if (h > 1) strip(left, bottom - 1, w, 1);
  strip(left, top + 1, 1, h - 2);
  if (w > 1) strip(right - 1, top + 1, 1, h - 2);
  painter_.restore();
}

QFont QtSurface::ToQFont(const DrawFont& font) const {
  QFont f(QString::fromStdString(font.name));
  // The em height in device units, as points through the device's own
  // resolution, so that fractions of a unit are kept.
  const QPaintDevice* device = painter_.device();
  const int dpi = device ? device->logicalDpiY() : 96;
  const double height = std::isfinite(font.height) && font.height > 0 ? font.height : 1;
  f.setPointSizeF(std::min(height, 1.0e5) * 72.0 / (dpi > 0 ? dpi : 96));
  f.setWeight(font.bold ? QFont::Bold : QFont::Normal);
  f.setItalic(font.italic);
  return f;
}

void QtSurface::Text(double x, double y, std::string_view text, const DrawFont& font,
                     int32_t color) {
  if (text.empty() || !Finite(x) || !Finite(y)) return;
  const QFont f = ToQFont(font);
  const QFontMetricsF metrics(f, painter_.device());
  painter_.save();
  painter_.setFont(f);
  painter_.setPen(ToQColor(color));
  painter_.translate(x, y);
  // Counter-clockwise on the page is against Qt's turning with y down.
  if (font.angle % 3600 != 0) painter_.rotate(-double(font.angle) / 10.0);
  painter_.drawText(QPointF(0, metrics.ascent()), QString::fromUtf8(text.data(), qsizetype(text.size())));
  painter_.restore();
}

TextExtent QtSurface::Extent(std::string_view text, const DrawFont& font) {
  const QFontMetricsF metrics(ToQFont(font), painter_.device());
  return {metrics.horizontalAdvance(QString::fromUtf8(text.data(), qsizetype(text.size()))), metrics.height()};
}

double QtSurface::Ascent(const DrawFont& font) {
  return QFontMetricsF(ToQFont(font), painter_.device()).ascent();
}

}  // namespace sv::paint
