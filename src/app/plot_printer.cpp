#include "app/plot_printer.h"

#include <QMetaObject>
#include <QObject>
#include <QPageLayout>
#include <QPainter>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QWidget>

#include "paint/qt_surface.h"
#include "plot/form_plot.h"

namespace sv::app {

namespace {

std::unique_ptr<QtPlotPrinter> installed;
QMetaObject::Connection parentGone;

std::string S(const QString& s) { return s.toStdString(); }

// The whole paper of a printer in its device pixels.
QSizeF PaperPixels(const QPrinter& p) {
  return p.pageLayout().fullRectPixels(p.resolution()).size();
}

bool ToFile(const QPrinter& p) {
  return p.outputFormat() == QPrinter::PdfFormat && !p.outputFileName().isEmpty();
}

}  // namespace

QtPlotPrinter::QtPlotPrinter(QWidget* parent)
    : parent_(parent), printer_(std::make_unique<QPrinter>(QPrinter::HighResolution)) {
  // The layer's fractions are fractions of the paper, as on the screen.
  printer_->setFullPage(true);
  printer_->setPageOrientation(QPageLayout::Landscape);
}

QtPlotPrinter::~QtPlotPrinter() { EndPage(); }

std::string QtPlotPrinter::PrinterName() {
  if (ToFile(*printer_)) return "PDF file";
  if (printer_->outputFormat() != QPrinter::NativeFormat) return "";
  return S(printer_->printerName());
}

std::string QtPlotPrinter::Port() {
  if (ToFile(*printer_)) return S(printer_->outputFileName());
  const QString location = QPrinterInfo(*printer_).location();
  return location.isEmpty() ? "CUPS" : S(location);
}

DrawSurface* QtPlotPrinter::BeginPage(const std::string& documentName) {
  EndPage();
  if (PrinterName().empty()) return nullptr;
  printer_->setDocName(QString::fromStdString(documentName));
  painter_ = std::make_unique<QPainter>();
  if (!painter_->begin(printer_.get())) {
    painter_.reset();
    return nullptr;
  }
  surface_ = std::make_unique<paint::QtSurface>(*painter_, PaperPixels(*printer_), false, true);
  return surface_.get();
}

void QtPlotPrinter::EndPage() {
  surface_.reset();
  if (painter_) {
    painter_->end();
    painter_.reset();
  }
}

bool QtPlotPrinter::Setup() {
  QPrintDialog dialog(printer_.get(), parent_);
  dialog.setWindowTitle("Printer Setup");
  return dialog.exec() == QDialog::Accepted;
}

void QtPlotPrinter::Preview(const std::function<void(DrawSurface&)>& draw) {
  QPrintPreviewDialog dialog(printer_.get(), parent_);
  dialog.setObjectName("PrintPreview");
  QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                   [&draw](QPrinter* p) {
                     p->setFullPage(true);
                     QPainter painter(p);
                     paint::QtSurface surface(painter, PaperPixels(*p), false, true);
                     draw(surface);
                   });
  dialog.exec();
}

void QtPlotPrinter::PrintToFile(const QString& path) {
  // A new output keeps the paper and its orientation.
  const QPageLayout layout = printer_->pageLayout();
  if (path.isEmpty()) {
    printer_->setOutputFileName(QString());
    printer_->setOutputFormat(QPrinter::NativeFormat);
  } else {
    printer_->setOutputFormat(QPrinter::PdfFormat);
    printer_->setOutputFileName(path);
  }
  printer_->setPageLayout(layout);
  printer_->setFullPage(true);
}

PlotPage QtPlotPrinter::Page() const {
  const QRectF paper = printer_->pageLayout().fullRect(QPageLayout::Millimeter);
  return PlotPage{paper.width(), paper.height()};
}

QtPlotPrinter& InstallPlotPrinter(QWidget* parent) {
  RemovePlotPrinter();
  installed = std::make_unique<QtPlotPrinter>(parent);
  SetPrinter(installed.get());
  PlotPageSource() = [] { return installed ? installed->Page() : PlotPage{}; };
  // The printer goes with the window it belongs to, before Qt does.
  if (parent) parentGone = QObject::connect(parent, &QObject::destroyed, [] { RemovePlotPrinter(); });
  return *installed;
}

void RemovePlotPrinter() {
  QObject::disconnect(parentGone);
  if (!installed) return;
  if (Printer() == installed.get()) SetPrinter(nullptr);
  PlotPageSource() = nullptr;
  installed.reset();
}

QtPlotPrinter* InstalledPlotPrinter() { return installed.get(); }

}  // namespace sv::app
