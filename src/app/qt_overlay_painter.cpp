#include "app/qt_overlay_painter.h"

#include <algorithm>

#include <QFont>
#include <QFontMetricsF>

namespace sv::app {

QColor ColourFromBGR(long colour) {
  return QColor(static_cast<int>(colour & 0xFF), static_cast<int>((colour >> 8) & 0xFF),
                static_cast<int>((colour >> 16) & 0xFF));
}

QtOverlayPainter::QtOverlayPainter(QPainter& painter) : p_(painter) {}

QPen QtOverlayPainter::PenFor(long colour, long width, long style, Qt::PenCapStyle cap) const {
  QPen pen(ColourFromBGR(colour));
  pen.setWidthF(static_cast<qreal>(std::max(1L, width)));
  // The pen styles in the order the overlay numbers them: solid, dash, dot,
  // dash-dot, dash-dot-dot; anything else draws solid.
  switch (style) {
    case 1: pen.setStyle(Qt::DashLine); break;
    case 2: pen.setStyle(Qt::DotLine); break;
    case 3: pen.setStyle(Qt::DashDotLine); break;
    case 4: pen.setStyle(Qt::DashDotDotLine); break;
    case 5: pen.setStyle(Qt::NoPen); break;
    default: pen.setStyle(Qt::SolidLine); break;
  }
  pen.setCapStyle(cap);
  pen.setJoinStyle(Qt::MiterJoin);
  pen.setCosmetic(false);  // widths are image pixels and zoom with the picture
  return pen;
}

// Lines run through pixel centres, so a one-pixel line covers whole image
// pixels at every zoom.
void QtOverlayPainter::Line(long x1, long y1, long x2, long y2, long colour, long width,
                            long style) {
  p_.setPen(PenFor(colour, width, style, Qt::SquareCap));
  p_.setBrush(Qt::NoBrush);
  p_.drawLine(QPointF(x1 + 0.5, y1 + 0.5), QPointF(x2 + 0.5, y2 + 0.5));
}

// The frame covers the pixels from (x1, y1) up to, not including, (x2, y2).
void QtOverlayPainter::Rect(long x1, long y1, long x2, long y2, long colour, long width,
                            long style) {
  if (x1 > x2) std::swap(x1, x2);
  if (y1 > y2) std::swap(y1, y2);
  if (x2 - x1 <= 1 || y2 - y1 <= 1) {
    Line(x1, y1, std::max(x1, x2 - 1), std::max(y1, y2 - 1), colour, width, style);
    return;
  }
  p_.setPen(PenFor(colour, width, style, Qt::SquareCap));
  p_.setBrush(Qt::NoBrush);
  p_.drawRect(QRectF(x1 + 0.5, y1 + 0.5, static_cast<qreal>(x2 - 1 - x1),
                     static_cast<qreal>(y2 - 1 - y1)));
}

void QtOverlayPainter::InvertRect(long x1, long y1, long x2, long y2) {
  if (x1 > x2) std::swap(x1, x2);
  if (y1 > y2) std::swap(y1, y2);
  if (x2 == x1 || y2 == y1) return;
  p_.save();
  p_.setCompositionMode(QPainter::RasterOp_NotDestination);
  p_.fillRect(QRectF(static_cast<qreal>(x1), static_cast<qreal>(y1),
                     static_cast<qreal>(x2 - x1), static_cast<qreal>(y2 - y1)),
              Qt::white);
  p_.restore();
}

// Text stands with its top left corner at (x, y), on a transparent ground.
void QtOverlayPainter::Text(long x, long y, const std::string& text, long colour) {
  QFont font = p_.font();
  font.setPixelSize(13);
  font.setStyleStrategy(QFont::NoAntialias);
  p_.setFont(font);
  p_.setPen(ColourFromBGR(colour));
  const QFontMetricsF fm(font);
  p_.drawText(QPointF(static_cast<qreal>(x), static_cast<qreal>(y) + fm.ascent()),
              QString::fromStdString(text));
}

}  // namespace sv::app
