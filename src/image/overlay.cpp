#include "image/overlay.h"

#include <cmath>

namespace sv {

void Class_Overlay::AddLine(long x1, long y1, long x2, long y2, long colour, long width,
                            long style) {
  items_.push_back({1, x1, y1, x2, y2, colour, width, style, {}});
}

void Class_Overlay::AddRect(long x1, long y1, long x2, long y2, long colour, long width,
                            long style) {
  AddLine(x1, y1, x2, y2, colour, width, style);
  items_.back().type = 2;
}

void Class_Overlay::AddGriffRect(long x1, long y1, long x2, long y2, long colour, long width) {
  AddLine(x1, y1, x2, y1, colour, width);
  AddLine(x2, y1, x2, y2, colour, width);
  AddLine(x2, y2, x1, y2, colour, width);
  AddLine(x1, y2, x1, y1, colour, width);
  AddGrip(x1, y1);
  AddGrip(x2, y1);
  AddGrip(x2, y2);
  AddGrip(x1, y2);
}

void Class_Overlay::AddGriffLine(long x1, long y1, long x2, long y2) {
  AddGrip(x1, y1);
  AddGrip(x2, y2);
}

void Class_Overlay::AddGrip(long x, long y) {
  // kGripSize pixels centred on the point; the far corner is exclusive.
  constexpr long half = kGripSize / 2;
  items_.push_back({3, x - half, y - half, x - half + kGripSize, y - half + kGripSize, 0, 1, 0, {}});
}

void Class_Overlay::AddText(long x, long y, const std::string& text, long colour) {
  items_.push_back({5, x, y, x, y, colour, 1, 0, text});
}

long Class_Overlay::DrawnWidth(long width) const {
  // The overlay is painted on the picture before it is zoomed: a line keeps
  // its width on screen when the picture shrinks, and is one image pixel at
  // least when it grows.
  const double f = factor > 0.0f ? double(factor) : 1.0;
  const long w = std::lrint(double(width) / f);
  return w < 1 ? 1 : w;
}

void Class_Overlay::Draw(OverlayPainter& painter) const {
  for (const OverlayItem& item : items_) {
    switch (item.type) {
      case 1:
        painter.Line(item.x1, item.y1, item.x2, item.y2, item.colour, DrawnWidth(item.width),
                     item.style);
        break;
      case 2:
        painter.Rect(item.x1, item.y1, item.x2, item.y2, item.colour, DrawnWidth(item.width),
                     item.style);
        break;
      case 3:
        painter.InvertRect(item.x1, item.y1, item.x2, item.y2);
        break;
      case 5:
        painter.Text(item.x1, item.y1, item.text, item.colour);
        break;
      default:
        break;
    }
  }
}

}  // namespace sv
