#include "plot/plot_print.h"

#include "plot/form_plot.h"

namespace sv {

namespace {
PlotPrinter* printer = nullptr;
}  // namespace

PlotPrinter* Printer() { return printer; }
void SetPrinter(PlotPrinter* p) { printer = p; }

PageSetup& CurrentPageSetup() {
  static PageSetup setup;
  return setup;
}

}  // namespace sv
