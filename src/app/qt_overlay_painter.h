// Paints the overlay list with a QPainter whose transform already holds the
// zoom, so that lines, frames, grips and texts are part of the zoomed picture.
#pragma once

#include <QColor>
#include <QPainter>

#include "image/overlay.h"

namespace sv::app {

// 0xBBGGRR, as the overlay stores its colours.
QColor ColourFromBGR(long colour);

class QtOverlayPainter : public OverlayPainter {
 public:
  explicit QtOverlayPainter(QPainter& painter);
  void Line(long x1, long y1, long x2, long y2, long colour, long width, long style) override;
  void Rect(long x1, long y1, long x2, long y2, long colour, long width, long style) override;
  void InvertRect(long x1, long y1, long x2, long y2) override;
  void Text(long x, long y, const std::string& text, long colour) override;

 private:
  QPen PenFor(long colour, long width, long style, Qt::PenCapStyle cap) const;
  QPainter& p_;
};

}  // namespace sv::app
