// The drawing surface over any QPainter: the screen picture, a printer, a
// PNG image, an SVG or a PDF page. Text stays text on SVG and PDF.
#pragma once

#include <QFont>
#include <QPainter>
#include <QSizeF>
#include <QString>

#include "image/kernel/draw_surface.h"

namespace sv::paint {

class QtSurface : public DrawSurface {
 public:
  // `page` is the page in the painter's device units. `raster` tells the
  // plot family it may thin out lines pixel by pixel. Sets the painter's
  // antialiasing (lines and text) by `antialias`.
  QtSurface(QPainter& painter, QSizeF page, bool raster, bool antialias = true);

  double PageWidth() const override { return page_.width(); }
  double PageHeight() const override { return page_.height(); }
  bool IsRaster() const override { return raster_; }
  void SetClip(const DrawRect& r) override;
  void ClearClip() override;
  void Line(double x1, double y1, double x2, double y2, const DrawPen& pen) override;
  void Polyline(const DrawPoint* points, size_t count, const DrawPen& pen) override;
  void FillRect(const DrawRect& r, int32_t color) override;
  void Polygon(const DrawPoint* points, size_t count, int32_t fill, const DrawPen& pen) override;
  void Ellipse(const DrawRect& box, const DrawPen& pen, bool filled, int32_t fill) override;
  void Pixel(double x, double y, int32_t color) override;
  void InvertLine(double x1, double y1, double x2, double y2) override;
  void InvertRect(const DrawRect& r) override;
  void Text(double x, double y, std::string_view text, const DrawFont& font,
            int32_t color) override;
  TextExtent Extent(std::string_view text, const DrawFont& font) override;
  double Ascent(const DrawFont& font) override;

  QPainter& Painter() { return painter_; }

 private:
  // True on Qt's raster engine (images, the screen), where lines are
  // stroked into pixels and XOR inversion works.
  bool RasterEngine() const;
  // Puts lines of odd pixel width on the pixels' centres while it lives.
  class PixelGrid {
   public:
    PixelGrid(QtSurface& s, const QPen& pen);
    ~PixelGrid();
    PixelGrid(const PixelGrid&) = delete;
    PixelGrid& operator=(const PixelGrid&) = delete;

   private:
    QPainter& painter_;
    bool shifted_ = false;
  };
  QFont ToQFont(const DrawFont& font) const;
  // The Qt pen of a pen, kept from earlier calls: a plot drawn point by
  // point sets the same few pens again and again.
  const QPen& PenOf(const DrawPen& pen);
  // Half a pixel on a raster for lines of odd width, else 0.
  double GridShift(const QPen& pen) const;

  QPainter& painter_;
  struct KeptPen {
    DrawPen pen;
    QPen qpen;
  };
  static constexpr size_t kKeptPens = 16;
  KeptPen kept_[kKeptPens];
  size_t keptCount_ = 0, keptNext_ = 0;
  QSizeF page_;
  bool raster_;
  bool antialias_;
};

}  // namespace sv::paint
