// The overlay list: lines, rectangles, grip squares and texts painted on the
// picture before it is zoomed.
#pragma once

#include <string>
#include <vector>

namespace sv {

// What the overlay paints on. Coordinates are image pixels; the painter
// applies the zoom.
class OverlayPainter {
 public:
  virtual ~OverlayPainter() = default;
  virtual void Line(long x1, long y1, long x2, long y2, long colour, long width, long style) = 0;
  virtual void Rect(long x1, long y1, long x2, long y2, long colour, long width, long style) = 0;
  virtual void InvertRect(long x1, long y1, long x2, long y2) = 0;
  virtual void Text(long x, long y, const std::string& text, long colour) = 0;
};

struct OverlayItem {
  long type = 0;  // 1 line, 2 rectangle, 3 grip square, 5 text
  long x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  long colour = 0, width = 1, style = 0;
  std::string text;
};

class Class_Overlay {
 public:
  static constexpr long kGripSize = 7;

  void AddLine(long x1, long y1, long x2, long y2, long colour, long width = 1, long style = 0);
  void AddRect(long x1, long y1, long x2, long y2, long colour, long width = 1, long style = 0);
  // A frame of four lines with grip squares at the corners.
  void AddGriffRect(long x1, long y1, long x2, long y2, long colour, long width = 1);
  // Grip squares at both ends of a line. A grip is kGripSize pixels square,
  // centred on its point, from (x - 3, y - 3) up to, not including, (x + 4, y + 4).
  void AddGriffLine(long x1, long y1, long x2, long y2);
  void AddText(long x, long y, const std::string& text, long colour);
  void Clear() { items_.clear(); }
  void Draw(OverlayPainter& painter) const;

  float factor = 1.0f;  // the present zoom; line widths scale with it
  long ItemCount() const { return static_cast<long>(items_.size()); }
  const std::vector<OverlayItem>& Items() const { return items_; }
  // The width a line of `width` is painted with at the present factor:
  // width / factor, rounded, and one at least.
  long DrawnWidth(long width) const;

 private:
  void AddGrip(long x, long y);
  std::vector<OverlayItem> items_;
};

}  // namespace sv
