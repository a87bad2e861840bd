// Printing a plot: the printer port, the page setup presenter and the
// printed page (layer, curves by the stroke table, legend).
#pragma once

#include <functional>
#include <string>

#include "image/kernel/draw_surface.h"

namespace sv {

class Form_Plot;

// What the plot asks of a printer. The workbench puts in Qt's printer;
// without one nothing prints.
class PlotPrinter {
 public:
  virtual ~PlotPrinter() = default;
  virtual std::string PrinterName() = 0;
  virtual std::string Port() = 0;
  // Starts a document of one page; its surface, or null when it cannot.
  virtual DrawSurface* BeginPage(const std::string& documentName) = 0;
  // Ends the page and sends the document.
  virtual void EndPage() = 0;
  // The printer dialog; true when a printer was chosen.
  virtual bool Setup() = 0;
};
PlotPrinter* Printer();
void SetPrinter(PlotPrinter* printer);

// Where the layer lies on the printed page.
class Form_PageSetup {
 public:
  std::string Text_Scale = "100";  // percent
  std::string Text_l, Text_t, Text_w, Text_h;  // percent of the page
  bool Check_UseFullPage = true;
  bool Check_CenterOnPage = false;
  std::string Tag;  // "OK" when accepted; "Preview" asks for the preview
  void Command_OK() { Tag = "OK"; }
  void Command_Cancel() { Tag.clear(); }
};

// The page setup kept for the process.
struct PageSetup {
  double scale = 100;
  double left = 0, top = 0, width = 100, height = 100;
  bool useFullPage = true;
  bool centerOnPage = false;
};
PageSetup& CurrentPageSetup();

// The printed page of a plot on any surface (printer, preview): the layer
// mapped by GetPrinterLayer, the curves by PrintCurve, the legend.
void PrintPage(Form_Plot& plot, DrawSurface& dev,
               const std::function<void(const std::string&)>& status = {});

}  // namespace sv
