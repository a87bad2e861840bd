// The plot's printer in the workbench: Qt's printer behind the PlotPrinter
// port, its dialog, its preview and the page it gives the plots.
#pragma once

#include <memory>
#include <string>

#include <QPointer>
#include <QString>

#include "plot/form_plot.h"
#include "plot/plot_print.h"

class QPainter;
class QPrinter;
class QWidget;

namespace sv::paint {
class QtSurface;
}

namespace sv::app {

class QtPlotPrinter : public PlotPrinter {
 public:
  // The system's default printer (landscape, like the plot page), or, when
  // there is none, no printer until one is chosen or a file is set.
  explicit QtPlotPrinter(QWidget* parent = nullptr);
  ~QtPlotPrinter() override;
  QtPlotPrinter(const QtPlotPrinter&) = delete;
  QtPlotPrinter& operator=(const QtPlotPrinter&) = delete;

  // The printer's queue name; "PDF file" when the pages go to a file; ""
  // without either.
  std::string PrinterName() override;
  // Where the queue sends the pages: its location as the print system
  // knows it, else "CUPS"; for a file, its path.
  std::string Port() override;
  // A painter on the printer over the whole paper, in device pixels.
  DrawSurface* BeginPage(const std::string& documentName) override;
  void EndPage() override;
  // The print dialog; true when accepted.
  bool Setup() override;
  // The preview dialog, painting the page through `draw`.
  void Preview(const std::function<void(DrawSurface&)>& draw) override;

  // The pages go to a PDF file from now on ("" goes back to the printer).
  void PrintToFile(const QString& path);
  // The paper in millimetres, orientation included.
  PlotPage Page() const;
  QPrinter& Device() { return *printer_; }

 private:
  QPointer<QWidget> parent_;
  std::unique_ptr<QPrinter> printer_;
  std::unique_ptr<QPainter> painter_;
  std::unique_ptr<paint::QtSurface> surface_;
};

// Makes a printer the plots' (SetPrinter) and its paper the plot page
// (PlotPageSource); dialogs open over `parent`. Installing again replaces it.
QtPlotPrinter& InstallPlotPrinter(QWidget* parent);
// Takes the printer away again; nothing when none is installed.
void RemovePlotPrinter();
// The installed printer, or null.
QtPlotPrinter* InstalledPlotPrinter();

}  // namespace sv::app
