// Helpers of the drawing tests: a white picture with a surface over it, and
// ways to find and count what was drawn on it.
#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cstdint>
#include <memory>

#include "paint/qt_surface.h"

namespace sv::test {

// 0x00BBGGRR as the picture stores it.
inline QRgb Rgb(int32_t color) {
  const uint32_t c = uint32_t(color);
  return qRgb(int(c & 0xFF), int((c >> 8) & 0xFF), int((c >> 16) & 0xFF));
}

// A white RGB32 picture and a surface over it; the painter ends before the
// picture is looked at (Image()).
class Picture {
 public:
  Picture(int width, int height, bool raster = true, bool antialias = false)
      : image_(width, height, QImage::Format_RGB32) {
    image_.fill(Qt::white);
    painter_ = std::make_unique<QPainter>(&image_);
    surface_ = std::make_unique<paint::QtSurface>(*painter_, QSizeF(width, height), raster,
                                                  antialias);
  }
  paint::QtSurface& Surface() { return *surface_; }
  const QImage& Image() {
    surface_.reset();
    if (painter_) painter_->end();
    painter_.reset();
    return image_;
  }

 private:
  QImage image_;
  std::unique_ptr<QPainter> painter_;
  std::unique_ptr<paint::QtSurface> surface_;
};

inline long CountColor(const QImage& image, QRgb color) {
  long n = 0;
  for (int y = 0; y < image.height(); ++y) {
    const QRgb* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    for (int x = 0; x < image.width(); ++x) n += (line[x] & 0xFFFFFF) == (color & 0xFFFFFF);
  }
  return n;
}

inline bool IsWhite(QRgb c) { return (c & 0xFFFFFF) == 0xFFFFFF; }

inline long CountDifferent(const QImage& a, const QImage& b) {
  long n = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) n += (a.pixel(x, y) & 0xFFFFFF) != (b.pixel(x, y) & 0xFFFFFF);
  return n;
}

// The box of all pixels that are not white; false when there are none.
inline bool InkBox(const QImage& image, int& left, int& top, int& right, int& bottom) {
  left = image.width();
  top = image.height();
  right = bottom = -1;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (!IsWhite(image.pixel(x, y))) {
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
      }
  return right >= 0;
}

}  // namespace sv::test
