// The drawing surface the plot family draws on: lines, text at an angle,
// filled shapes and pixels, in device units with y growing downwards. The
// screen picture, printers, PNG, SVG and PDF pages all implement it; the
// kernel and the plot library know only this interface. Text is UTF-8, as
// everywhere in the program; files convert at their boundary.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sv {

// Colours are 0x00BBGGRR.
// Line styles, as a curve's LineType and a grid's style number them.
enum class LineStyle : int { Solid = 0, Dash = 1, Dot = 2, DashDot = 3, DashDotDot = 4 };

struct DrawPen {
  int32_t color = 0;
  // Device units. Zero or less: the thinnest line the device draws (one
  // pixel on a raster, a hairline on paper).
  double width = 0;
  int style = 0;  // LineStyle; other values draw solid
};

struct DrawFont {
  std::string name = "Arial";
  double height = 12;  // em height in device units
  bool bold = false;
  bool italic = false;
  int angle = 0;  // tenths of a degree, counter-clockwise
};

struct DrawPoint {
  double x = 0, y = 0;
};

// Left and top inclusive, right and bottom exclusive.
struct DrawRect {
  double left = 0, top = 0, right = 0, bottom = 0;
  double Width() const { return right - left; }
  double Height() const { return bottom - top; }
};

struct TextExtent {
  double width = 0, height = 0;
};

class DrawSurface {
 public:
  virtual ~DrawSurface() = default;

  // The page in device units; a raster surface has one unit a pixel.
  virtual double PageWidth() const = 0;
  virtual double PageHeight() const = 0;
  virtual bool IsRaster() const = 0;

  // Everything after SetClip is cut to the rectangle until ClearClip.
  virtual void SetClip(const DrawRect& r) = 0;
  virtual void ClearClip() = 0;

  virtual void Line(double x1, double y1, double x2, double y2, const DrawPen& pen) = 0;
  // One unbroken line through the points.
  virtual void Polyline(const DrawPoint* points, size_t count, const DrawPen& pen) = 0;
  virtual void FillRect(const DrawRect& r, int32_t color) = 0;
  // A closed polygon filled with `fill` and outlined with `pen`.
  virtual void Polygon(const DrawPoint* points, size_t count, int32_t fill,
                       const DrawPen& pen) = 0;
  // The ellipse inside `box`, outlined; filled with `fill` when `filled`.
  virtual void Ellipse(const DrawRect& box, const DrawPen& pen, bool filled, int32_t fill) = 0;
  virtual void Pixel(double x, double y, int32_t color) = 0;
  // Lines and rectangle outlines in the inverse of what lies below; drawing
  // the same again restores the picture.
  virtual void InvertLine(double x1, double y1, double x2, double y2) = 0;
  virtual void InvertRect(const DrawRect& r) = 0;

  // Text in UTF-8. (x, y) is the top-left corner of the text's box
  // before turning; the text turns about that point by font.angle.
  virtual void Text(double x, double y, std::string_view text, const DrawFont& font,
                    int32_t color) = 0;
  // The unturned box of the text: advance width and line height.
  virtual TextExtent Extent(std::string_view text, const DrawFont& font) = 0;
  virtual double Ascent(const DrawFont& font) = 0;
};

}  // namespace sv
