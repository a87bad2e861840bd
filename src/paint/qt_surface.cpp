#include "paint/qt_surface.h"

namespace sv::paint {

QString FromWindows1252(std::string_view text) {
  return QString::fromLatin1(text.data(), qsizetype(text.size()));
}

QtSurface::QtSurface(QPainter& painter, QSizeF page, bool raster, bool antialias)
    : painter_(painter), page_(page), raster_(raster), antialias_(antialias) {}

void QtSurface::SetClip(const DrawRect&) {}
void QtSurface::ClearClip() {}
void QtSurface::Line(double, double, double, double, const DrawPen&) {}
void QtSurface::Polyline(const DrawPoint*, size_t, const DrawPen&) {}
void QtSurface::FillRect(const DrawRect&, int32_t) {}
void QtSurface::Polygon(const DrawPoint*, size_t, int32_t, const DrawPen&) {}
void QtSurface::Ellipse(const DrawRect&, const DrawPen&, bool, int32_t) {}
void QtSurface::Pixel(double, double, int32_t) {}
void QtSurface::InvertLine(double, double, double, double) {}
void QtSurface::InvertRect(const DrawRect&) {}
void QtSurface::Text(double, double, std::string_view, const DrawFont&, int32_t) {}
TextExtent QtSurface::Extent(std::string_view, const DrawFont&) { return {}; }
double QtSurface::Ascent(const DrawFont&) { return 0; }

}  // namespace sv::paint
