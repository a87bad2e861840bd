// What a worksheet knows of the plots that draw from it. The plot library
// implements SheetPlot and registers its factory; the sheet keeps only the
// plots' handles and finds them again among the open windows.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "core/binary_file.h"
#include "core/document.h"

namespace sv {

class Form_Worksheet;

class SheetPlot : public ChildDocument {
 public:
  DocKind Kind() const override { return DocKind::Plot; }

  // The owner; null detaches the plot.
  virtual void SetWorksheet(Form_Worksheet* sheet) = 0;
  // Column `column` is going: its first curve goes and higher Y columns move
  // down one. Does not redraw.
  virtual void RemoveCurve(long column) = 0;
  // `count` columns came in at `first`: Y columns at or above it move up.
  virtual void ColsAdded(long first, long count) = 0;
  virtual long Curves() const = 0;
  virtual void ClearPlot() = 0;
  // Redraws when a curve's column changed.
  virtual void Update() = 0;
  // The plot's own name; setting it (also to the same name) rebuilds the
  // caption from the sheet's file name.
  virtual std::string PlotName() const = 0;
  virtual void SetPlotName(const std::string& name) = 0;
  // The plot's records at the file's position: 0, or an error number.
  virtual long SavePlot(BinaryOut& file) = 0;
  virtual long OpenPlot(BinaryIn& file) = 0;
  // Closes the window (or, without one, just lets go of the sheet).
  virtual void Unload() = 0;
};

// Makes a plot for the sheet: a 2-D one, or the 3-D one of New3DPlot.
using PlotFactory = std::function<std::unique_ptr<SheetPlot>(Form_Worksheet& sheet, bool threeD)>;
void SetPlotFactory(PlotFactory factory);
// Null when no plot library is registered.
std::unique_ptr<SheetPlot> MakePlot(Form_Worksheet& sheet, bool threeD);

// The plot details dialog of AddNewPlot (threeD false, with the layer) and
// AddNew3DPlot: the plot library runs it and makes the plot. True when a plot
// was made.
using AddPlotHandler = std::function<bool(Form_Worksheet& sheet, bool threeD, long layer)>;
void SetAddPlotHandler(AddPlotHandler handler);
// False when no handler is registered.
bool RunAddPlot(Form_Worksheet& sheet, bool threeD, long layer);

}  // namespace sv
