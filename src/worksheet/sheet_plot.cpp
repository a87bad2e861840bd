#include "worksheet/sheet_plot.h"

namespace sv {

namespace {
PlotFactory& Factory() {
  static PlotFactory factory;
  return factory;
}
AddPlotHandler& AddPlot() {
  static AddPlotHandler handler;
  return handler;
}
}  // namespace

void SetPlotFactory(PlotFactory factory) { Factory() = std::move(factory); }

std::unique_ptr<SheetPlot> MakePlot(Form_Worksheet& sheet, bool threeD) {
  if (!Factory()) return nullptr;
  return Factory()(sheet, threeD);
}

void SetAddPlotHandler(AddPlotHandler handler) { AddPlot() = std::move(handler); }

bool RunAddPlot(Form_Worksheet& sheet, bool threeD, long layer) {
  if (!AddPlot()) return false;
  return AddPlot()(sheet, threeD, layer);
}

}  // namespace sv
