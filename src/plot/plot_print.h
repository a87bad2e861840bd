// Printing a plot: the printer port, the page setup presenter and the
// printed page (layer, curves by the stroke table, legend).
#pragma once

#include <functional>
#include <string>

#include "image/kernel/draw_surface.h"
#include "plot/plot_records.h"

namespace sv {

class Form_Plot;

// What the plot asks of a printer. The workbench puts in Qt's printer;
// without one nothing prints.
class PlotPrinter {
 public:
  virtual ~PlotPrinter() = default;
  // "" when there is no printer to print on.
  virtual std::string PrinterName() = 0;
  virtual std::string Port() = 0;
  // Starts a document of one page; its surface, or null when it cannot.
  virtual DrawSurface* BeginPage(const std::string& documentName) = 0;
  // Ends the page and sends the document.
  virtual void EndPage() = 0;
  // The printer dialog; true when a printer was chosen.
  virtual bool Setup() = 0;
  // Shows the page that `draw` paints on the printer's page, before any
  // printing. The default shows nothing.
  virtual void Preview(const std::function<void(DrawSurface&)>& /*draw*/) {}
};
PlotPrinter* Printer();
void SetPrinter(PlotPrinter* printer);

// The page setup kept for the process.
struct PageSetup {
  double scale = 100;  // percent
  // The layer's frame in percent of the page, top measured from the top of
  // the page; used when useFullPage is off.
  double left = 14.5, top = 12.5, width = 76.3, height = 74;
  bool useFullPage = true;
  bool centerOnPage = false;
};
PageSetup& CurrentPageSetup();

// Where the layer lies on the printed page.
class Form_PageSetup {
 public:
  static constexpr double kMinScale = 10, kMaxScale = 400;

  std::string Caption = "Page Setup";
  std::string Text_Scale = "100";  // percent
  std::string Text_l, Text_t, Text_w, Text_h;  // percent of the page
  bool Check_UseFullPage = true;
  bool Check_CenterOnPage = false;
  std::string Tag;  // "OK" when accepted; "Preview" asks for the preview

  // Shows a page setup.
  void Load(const PageSetup& setup);
  // The values as a page setup; false, with a message, when one is not
  // usable. The four boxes of the rectangle count only without the full page.
  bool Read(PageSetup& setup) const;
  // The rectangle's four boxes can be edited only without the full page.
  bool RectangleEnabled() const { return !Check_UseFullPage; }

  // Each of these ends the dialog only with usable values; else the Tag
  // stays empty and a message tells what is wrong.
  void Command_OK();
  void Command_Preview();
  void Command_Cancel() { Tag.clear(); }
};

// The layer's frame on a page of pageWidth x pageHeight device units by the
// page setup, y down. With the full page the plot's page is shrunk or grown
// by the scale about the page's upper left corner (or centred on it) and the
// layer keeps its fractions of it; otherwise the frame is the setup's
// rectangle, its width and height times the scale, its upper left corner
// kept (or the frame centred on the page).
DrawRect PrintedLayerRect(const PageSetup& setup, const PlotLayerRecord& layer, double pageWidth,
                          double pageHeight);

// The printed page of a plot on any surface (printer, preview): the layer
// mapped by GetPrinterLayer, the curves by PrintCurve, the legend. An
// unscaled plot is scaled first; a plot with nothing to draw draws nothing.
// `status` hears "printing Layer...", "printing Curve<n>..." and
// "printing Legend...".
void PrintPage(Form_Plot& plot, DrawSurface& dev,
               const std::function<void(const std::string&)>& status = {});

// The printer dialog of File -> Printer Setup: a message without a printer;
// true when a printer was chosen.
bool RunPrinterSetup();

}  // namespace sv
