// A plot into a PNG, SVG or PDF file, with no window: what File -> Export
// and `svbatch plot-export` write.
#pragma once

#include <string>

#include "plot/form_plot.h"

namespace sv::paint {

// The file kind by extension (case-insensitive): "png", "svg", "pdf", or ""
// for any other.
std::string ExportKind(const std::string& path);

// Draws what Plot draws (an unscaled plot is scaled first) on a page of
// size.width x size.height pixels, or, with no size, on the printer page
// (CurrentPlotPage) at size.dpi. SVG and PDF take pixels at 96 per inch.
// A failed write leaves no file behind; false with `error` set.
bool ExportPlot(Form_Plot& plot, const std::string& path, const PlotExportSize& size,
                std::string& error);

// Makes ExportPlot the plot library's exporter (PlotExportSource).
void InstallPlotExport();

}  // namespace sv::paint
