// What the benchmarks that draw share: a Qt application for the text (the
// bench has no screen) and a plot window's picture, a QImage with one
// painter open on it.
#pragma once

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <memory>

#include "harness.h"
#include "paint/qt_surface.h"
#include "plot/form_plot.h"

namespace svbench {

inline void App() {
  static QGuiApplication* app = [] {
    if (qgetenv("QT_QPA_PLATFORM").isEmpty()) qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "sv_bench";
    static char* argv[] = {name, nullptr};
    return new QGuiApplication(argc, argv);
  }();
  Use(app);
}

class ImageView : public sv::PlotView {
 public:
  ImageView(int width, int height) : image_(width, height, QImage::Format_RGB32) {
    image_.fill(Qt::white);
    painter_ = std::make_unique<QPainter>(&image_);
    surface_ = std::make_unique<sv::paint::QtSurface>(*painter_, QSizeF(width, height), true);
  }
  sv::DrawSurface* Picture() override { return surface_.get(); }
  void ShowPicture() override { ++shown; }
  QPainter& Painter() { return *painter_; }
  long shown = 0;

 private:
  QImage image_;
  std::unique_ptr<QPainter> painter_;
  std::unique_ptr<sv::paint::QtSurface> surface_;
};

}  // namespace svbench
