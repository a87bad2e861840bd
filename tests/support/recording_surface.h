// A drawing surface that keeps every call, for tests of what the plot family
// draws. Text measures as a fixed-pitch font: each character is half the em
// height wide, a line is 1.2 em high and the ascent is 0.8 em.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "image/kernel/draw_surface.h"

namespace sv::test {

struct DrawCall {
  enum Kind { Line, Polyline, FillRect, Polygon, Ellipse, Pixel, InvertLine, InvertRect, Text,
              SetClip, ClearClip };
  Kind kind;
  std::vector<DrawPoint> points;  // Line/InvertLine: the two ends; FillRect, Ellipse,
                                  // InvertRect, SetClip: top-left and bottom-right
  DrawPen pen;
  int32_t color = 0;  // FillRect, Pixel, Text; Polygon, Ellipse: the fill
  bool filled = false;
  std::string text;
  DrawFont font;
};

class RecordingSurface : public DrawSurface {
 public:
  RecordingSurface(double width = 1600, double height = 1200, bool raster = true)
      : width_(width), height_(height), raster_(raster) {}

  std::vector<DrawCall> calls;

  std::vector<const DrawCall*> Of(DrawCall::Kind kind) const {
    std::vector<const DrawCall*> out;
    for (const DrawCall& c : calls)
      if (c.kind == kind) out.push_back(&c);
    return out;
  }
  std::vector<std::string> Texts() const {
    std::vector<std::string> out;
    for (const DrawCall& c : calls)
      if (c.kind == DrawCall::Text) out.push_back(c.text);
    return out;
  }
  void Clear() { calls.clear(); }

  double PageWidth() const override { return width_; }
  double PageHeight() const override { return height_; }
  bool IsRaster() const override { return raster_; }
  void SetClip(const DrawRect& r) override { Add(DrawCall::SetClip, Corners(r)); }
  void ClearClip() override { Add(DrawCall::ClearClip, {}); }
  void Line(double x1, double y1, double x2, double y2, const DrawPen& pen) override {
    Add(DrawCall::Line, {{x1, y1}, {x2, y2}}).pen = pen;
  }
  void Polyline(const DrawPoint* p, size_t n, const DrawPen& pen) override {
    Add(DrawCall::Polyline, std::vector<DrawPoint>(p, p + n)).pen = pen;
  }
  void FillRect(const DrawRect& r, int32_t color) override {
    Add(DrawCall::FillRect, Corners(r)).color = color;
  }
  void Polygon(const DrawPoint* p, size_t n, int32_t fill, const DrawPen& pen) override {
    DrawCall& c = Add(DrawCall::Polygon, std::vector<DrawPoint>(p, p + n));
    c.color = fill;
    c.filled = true;
    c.pen = pen;
  }
  void Ellipse(const DrawRect& box, const DrawPen& pen, bool filled, int32_t fill) override {
    DrawCall& c = Add(DrawCall::Ellipse, Corners(box));
    c.pen = pen;
    c.filled = filled;
    c.color = fill;
  }
  void Pixel(double x, double y, int32_t color) override {
    Add(DrawCall::Pixel, {{x, y}}).color = color;
  }
  void InvertLine(double x1, double y1, double x2, double y2) override {
    Add(DrawCall::InvertLine, {{x1, y1}, {x2, y2}});
  }
  void InvertRect(const DrawRect& r) override { Add(DrawCall::InvertRect, Corners(r)); }
  void Text(double x, double y, std::string_view text, const DrawFont& font,
            int32_t color) override {
    DrawCall& c = Add(DrawCall::Text, {{x, y}});
    c.text = std::string(text);
    c.font = font;
    c.color = color;
  }
  TextExtent Extent(std::string_view text, const DrawFont& font) override {
    return {0.5 * font.height * double(text.size()), 1.2 * font.height};
  }
  double Ascent(const DrawFont& font) override { return 0.8 * font.height; }

 private:
  static std::vector<DrawPoint> Corners(const DrawRect& r) {
    return {{r.left, r.top}, {r.right, r.bottom}};
  }
  DrawCall& Add(DrawCall::Kind kind, std::vector<DrawPoint> points) {
    calls.push_back(DrawCall{kind, std::move(points), {}, 0, false, {}, {}});
    return calls.back();
  }
  double width_, height_;
  bool raster_;
};

}  // namespace sv::test
