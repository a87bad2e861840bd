// Plots on a 1600 x 1200 picture (a QImage through the Qt drawing surface,
// antialiased, as the workbench shows it):
// - Form_Plot::Plot of one noisy curve over a full sheet (65519 points, one
//   point wide), beside QPainter's own polyline of the same device points
//   with a cosmetic pen and no antialiasing;
// - 1000 points added one by one with PlotPoint, as a running experiment adds
//   them, beside PlotCurve of the same 1000 points.
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPen>
#include <QPointF>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/batch_host.h"
#include "bench_picture.h"
#include "harness.h"
#include "paint/qt_surface.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"

namespace {

using svbench::App;

constexpr int kWidth = 1600, kHeight = 1200;
constexpr long kFullPoints = sv::kMaxSheetRows - 1;  // row 0 is the header
constexpr long kRunPoints = 1000;

sv::cli::BatchHost& BenchHost() {
  static sv::cli::BatchHost host(std::cerr);
  return host;
}



// A sheet of X = 1, 2, ... and a noisy Y (four slow waves across the sheet,
// the noise a sixth of the height), and a plot of it drawing lines one point
// wide on its own picture.
struct Bench {
  sv::Form_Worksheet sheet;
  sv::Form_Plot plot;
  svbench::ImageView picture{kWidth, kHeight};
  std::vector<float> x, y;

  explicit Bench(long points) {
    x.resize(size_t(points));
    y.resize(size_t(points));
    uint32_t seed = 4711;
    const double phase = 26.0 / double(points);
    for (long i = 0; i < points; ++i) {
      seed = seed * 1664525u + 1013904223u;
      x[size_t(i)] = float(i + 1);
      y[size_t(i)] = float(1000 + 400 * std::sin(double(i) * phase) +
                           150 * (double(seed >> 8) / double(1u << 24) - 0.5));
    }
    sheet.Cols(3);
    sheet.SetXYColData(2, 0, points - 1, x, y);
    plot.SetWorksheet(&sheet);
    plot.Curves(1);
    sv::PlotCurveRecord& c = plot.CurveRecord(0);
    c.XCol = 1;
    c.YCol = 2;
    c.PlotType = 0;
    c.Width = 1;
    plot.SetView(&picture);
    plot.Plot();  // scales the axes once
  }
};

Bench& Full() {
  static Bench* b = [] {
    App();
    sv::cli::HostScope scope(&BenchHost());
    return new Bench(kFullPoints);
  }();
  return *b;
}

Bench& Run() {
  static Bench* b = [] {
    App();
    sv::cli::HostScope scope(&BenchHost());
    return new Bench(kRunPoints);
  }();
  return *b;
}

// The full curve's device points, as the plot maps them.
const std::vector<QPointF>& FullDevicePoints() {
  static const std::vector<QPointF> points = [] {
    Bench& b = Full();
    std::vector<QPointF> p;
    p.reserve(b.x.size());
    for (size_t i = 0; i < b.x.size(); ++i)
      p.emplace_back(b.plot.ScreenX(b.x[i]), b.plot.ScreenY(b.y[i]));
    return p;
  }();
  return points;
}

}  // namespace

SVBENCH_ROWS(PlotRows) {
  const std::string plot = "Form_Plot::Plot (65519 points, 1 pt, AA)";
  const std::string polyline = "QPainter drawPolyline (cosmetic, no AA)";
  const std::string points = "PlotPoint x 1000 (1 pt, AA)";
  const std::string curve = "PlotCurve of 1000 points (1 pt, AA)";
  const size_t fullBytes = size_t(kFullPoints) * 8;  // the X and Y floats
  const size_t runBytes = size_t(kRunPoints) * 8;

  svbench::Kernel(plot, fullBytes, [] {
    sv::cli::HostScope scope(&BenchHost());
    Full().plot.Plot();
  });
  svbench::Kernel(polyline, fullBytes, [] {
    Bench& b = Full();
    const std::vector<QPointF>& p = FullDevicePoints();
    QPainter& painter = b.picture.Painter();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(QColor(0, 0, 0), 0));
    painter.drawPolyline(p.data(), int(p.size()));
  });
  svbench::Kernel(points, runBytes, [] {
    sv::cli::HostScope scope(&BenchHost());
    Bench& b = Run();
    b.plot.Kept.assign(1, {});  // a new run: nothing to go on from
    for (size_t i = 0; i < b.x.size(); ++i) b.plot.PlotPoint(0, b.x[i], b.y[i]);
  });
  svbench::Kernel(curve, runBytes, [] {
    sv::cli::HostScope scope(&BenchHost());
    Run().plot.PlotCurve(0);
  });
  svbench::TargetAgainst(plot, polyline, 1.5);
  svbench::TargetAgainst(points, curve, 3.0);
}
