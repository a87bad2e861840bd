#include "paint/plot_export.h"

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSvgGenerator>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <utility>
#include <vector>

#include "paint/qt_surface.h"
#include "plot/plot_render.h"

namespace sv::paint {

namespace {

// A side of a page, in pixels, and the pixels of a PNG: about 400 MB of
// picture at most.
constexpr double kMaxSide = 32767;
constexpr double kMaxPixels = 100.0e6;
// SVG and PDF pages given in pixels take 96 of them to the inch.
constexpr int kVectorDpi = 96;

struct Page {
  double width = 0, height = 0;  // device units
  int dpi = kVectorDpi;
  bool inPixels = false;  // width x height pixels were asked for
};

bool ChoosePage(const PlotExportSize& size, Page& page, std::string& error) {
  if (size.width != 0 || size.height != 0) {
    if (size.width <= 0 || size.height <= 0) {
      error = "The picture needs a width and a height of at least one pixel.";
      return false;
    }
    page.width = size.width;
    page.height = size.height;
    page.inPixels = true;
  } else {
    if (size.dpi <= 0) {
      error = "The resolution must be at least one dot per inch.";
      return false;
    }
    const PlotPage p = CurrentPlotPage();
    page.dpi = size.dpi;
    page.width = std::round(p.widthMm / 25.4 * size.dpi);
    page.height = std::round(p.heightMm / 25.4 * size.dpi);
  }
  if (!(page.width >= 1 && page.height >= 1 && page.width <= kMaxSide &&
        page.height <= kMaxSide)) {
    error = "The picture would be " + std::to_string(long(page.width)) + " x " +
            std::to_string(long(page.height)) + " pixels; a side may have 1 to " +
            std::to_string(long(kMaxSide)) + ".";
    return false;
  }
  return true;
}

// The plot draws on `surface` as it would on its window's picture; the
// window's origin, scale and kept points come back afterwards, so that its
// tools go on working on what the window shows. The window's picture and
// its tool drawing are not touched.
class DrawScope {
 public:
  explicit DrawScope(Form_Plot& plot)
      : plot_(plot),
        originX_(plot.Layer.OriginX),
        originY_(plot.Layer.OriginY),
        scaleX_(plot.Layer.ScaleX),
        scaleY_(plot.Layer.ScaleY),
        kept_(plot.Kept) {}
  ~DrawScope() {
    plot_.Layer.OriginX = originX_;
    plot_.Layer.OriginY = originY_;
    plot_.Layer.ScaleX = scaleX_;
    plot_.Layer.ScaleY = scaleY_;
    plot_.Kept = std::move(kept_);
  }
  DrawScope(const DrawScope&) = delete;
  DrawScope& operator=(const DrawScope&) = delete;

 private:
  Form_Plot& plot_;
  decltype(PlotLayerRecord::OriginX) originX_, originY_;
  decltype(PlotLayerRecord::ScaleX) scaleX_, scaleY_;
  std::vector<Form_Plot::KeptPoint> kept_;
};

// What Plot shows, after ClearPlot: the page in the page colour, then the
// scaling, layer, curves and legend.
void DrawOn(Form_Plot& plot, DrawSurface& surface) {
  DrawScope scope(plot);
  ClearPicture(plot, surface);
  if (plot.AutoScale()) DrawPlot(plot, surface);
}

std::string QtText(const QString& s) { return s.toLocal8Bit().toStdString(); }

bool WritePng(Form_Plot& plot, QIODevice& out, const Page& page, std::string& error) {
  if (page.width * page.height > kMaxPixels) {
    error = "The picture of " + std::to_string(long(page.width)) + " x " +
            std::to_string(long(page.height)) + " pixels is too large for a PNG file.";
    return false;
  }
  QImage image(int(page.width), int(page.height), QImage::Format_RGB32);
  if (image.isNull()) {
    error = "There is not enough memory for the picture.";
    return false;
  }
  image.fill(Qt::white);
  if (!page.inPixels) {
    const int perMetre = int(std::lround(page.dpi / 0.0254));
    image.setDotsPerMeterX(perMetre);
    image.setDotsPerMeterY(perMetre);
  }
  {
    QPainter painter(&image);
    QtSurface surface(painter, QSizeF(page.width, page.height), true, true);
    DrawOn(plot, surface);
  }
  if (!image.save(&out, "PNG")) {
    error = "The PNG picture could not be written.";
    return false;
  }
  return true;
}

bool WriteSvg(Form_Plot& plot, QIODevice& out, const Page& page, std::string& error) {
  QSvgGenerator svg;
  svg.setOutputDevice(&out);
  svg.setResolution(page.dpi);
  svg.setSize(QSize(int(page.width), int(page.height)));
  svg.setViewBox(QRectF(0, 0, page.width, page.height));
  svg.setTitle(QString::fromStdString(plot.Caption()));
  QPainter painter;
  if (!painter.begin(&svg)) {
    error = "The SVG drawing could not be started.";
    return false;
  }
  {
    QtSurface surface(painter, QSizeF(page.width, page.height), false, true);
    DrawOn(plot, surface);
  }
  painter.end();
  return true;
}

bool WritePdf(Form_Plot& plot, QIODevice& out, const Page& page, std::string& error) {
  QPdfWriter pdf(&out);
  pdf.setResolution(page.dpi);
  pdf.setCreator(QStringLiteral("SV4200"));
  pdf.setTitle(QString::fromStdString(plot.Caption()));
  // A page of the asked size, not the nearest paper. Qt's PDF pages come
  // in whole points: the page is the nearest one, and the drawing is
  // stretched by less than half a point to fill it.
  const QSize points(std::max(1, int(std::lround(page.width * 72.0 / page.dpi))),
                     std::max(1, int(std::lround(page.height * 72.0 / page.dpi))));
  const QPageSize size(points, QString(), QPageSize::ExactMatch);
  if (!pdf.setPageLayout(QPageLayout(size, QPageLayout::Portrait, QMarginsF(0, 0, 0, 0)))) {
    error = "The PDF page could not be laid out.";
    return false;
  }
  QPainter painter;
  if (!painter.begin(&pdf)) {
    error = "The PDF document could not be started.";
    return false;
  }
  painter.scale(points.width() * page.dpi / 72.0 / page.width,
                points.height() * page.dpi / 72.0 / page.height);
  {
    QtSurface surface(painter, QSizeF(page.width, page.height), false, true);
    DrawOn(plot, surface);
  }
  painter.end();
  return true;
}

}  // namespace

std::string ExportKind(const std::string& path) {
  const size_t dot = path.rfind('.');
  const size_t slash = path.find_last_of("/\\");
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
  std::string ext = path.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return char(std::tolower(c)); });
  return ext == "png" || ext == "svg" || ext == "pdf" ? ext : "";
}

bool ExportPlot(Form_Plot& plot, const std::string& path, const PlotExportSize& size,
                std::string& error) {
  error.clear();
  const std::string kind = ExportKind(path);
  if (kind.empty()) {
    error = "Plots are written as .png, .svg or .pdf files, not as\r\n" + path;
    return false;
  }
  if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
    error = "Plots cannot be drawn without the Qt drawing system.";
    return false;
  }
  Page page;
  if (!ChoosePage(size, page, error)) return false;

  // The picture goes into a temporary file beside the target, which takes
  // the target's name only when all of it is written.
  QSaveFile file(QString::fromLocal8Bit(path.c_str()));
  if (!file.open(QIODevice::WriteOnly)) {
    error = "The file could not be written:\r\n" + path + "\r\n" + QtText(file.errorString());
    return false;
  }
  bool ok = false;
  if (kind == "png") ok = WritePng(plot, file, page, error);
  else if (kind == "svg") ok = WriteSvg(plot, file, page, error);
  else ok = WritePdf(plot, file, page, error);
  // What is still buffered goes out first: a write that fails in the last
  // flush would otherwise leave a cut file under the target's name.
  if (ok && (!file.flush() || file.error() != QFileDevice::NoError)) ok = false;
  if (ok && !file.commit()) ok = false;
  if (ok && file.error() != QFileDevice::NoError) {
    QFile::remove(file.fileName());
    ok = false;
  }
  if (!ok) {
    if (error.empty())
      error = "The file could not be written:\r\n" + path + "\r\n" + QtText(file.errorString());
    file.cancelWriting();
    return false;
  }
  return true;
}

void InstallPlotExport() {
  PlotExportSource() = [](Form_Plot& plot, const std::string& path, const PlotExportSize& size,
                          std::string& error) { return ExportPlot(plot, path, size, error); };
}

}  // namespace sv::paint
