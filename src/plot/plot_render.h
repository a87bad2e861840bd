// Drawing a plot on a surface: the layer with its axes, the curves, the
// legend, and the one more point of a running experiment. Written only
// against DrawSurface, so the screen, printers and files share it.
#pragma once

#include <string>
#include <vector>

#include "image/kernel/draw_surface.h"
#include "plot/plot_records.h"

namespace sv {

class Form_Plot;

// Device height of the page over the height of an A4 page in twips. Set at
// the start of each drawing of a layer.
extern float PrintScale;
inline constexpr double kA4HeightTwips = 297.0 / 25.4 * 1440.0;

// Point sizes to device units: points * 20 * PrintScale.
double PointsToDevice(double points);
// Sets PrintScale for `dev` and returns it.
float SetPrintScale(const DrawSurface& dev);

// The font of a text record: its name, its size in points scaled to the
// device (at least one unit), bold and italic, turned by `angle` tenths of a
// degree.
DrawFont PlotFont(const PlotTextRecord& text, int angle = 0);

// Tick lengths in device units: 18 * PrintScale rounded, the minor one half
// of it; never below 3 and 2 units, so that ticks stay visible on a screen.
int MajorTickLength();
int MinorTickLength();

// The layer's frame on `dev` (left < right, top < bottom), whole device
// units, where DrawLayerAndAxes puts it.
DrawRect LayerFrame(const PlotLayerRecord& layer, const DrawSurface& dev);

// The one layer-and-axes routine, for screen and printer: computes
// PrintScale, puts OriginX/Y and ScaleX/Y into `layer`, fills the layer
// unless BackColor bit 31 is set, draws title, axis titles, grid, zero line,
// ticks, axis lines and tick labels by the axes' Flags, and with bit 12 of
// `third` the oblique axis and the box faces.
void DrawLayerAndAxes(DrawSurface& dev, PlotLayerRecord& layer, const PlotAxisRecord& x,
                      const PlotAxisRecord& y, const PlotAxisRecord& third);
// The axes once more over drawn curves: ticks and axis lines; the tick
// labels and titles too when `cleared` (how far outside the frame the
// picture was wiped) reaches past the ticks. No background, no grid, no box.
// The layer's origin and scale are those of the last DrawLayerAndAxes.
void DrawAxesOver(DrawSurface& dev, const PlotLayerRecord& layer, const PlotAxisRecord& x,
                  const PlotAxisRecord& y, const PlotAxisRecord& third, double cleared = 1e300);
// The third axis record of a flat plot: all zero.
PlotAxisRecord FlatThirdAxis();

// The major tick values of an axis from From by Inc up to To (downwards for
// a reversed axis); the last one is kept despite float drift.
std::vector<double> MajorTicks(const PlotAxisRecord& axis);
// The minor tick values between the major ones (Ticks per interval).
std::vector<double> MinorTicks(const PlotAxisRecord& axis);
// The label of a tick: the Labels.Text number format, or the fallback
// format chosen from Inc.
std::string TickLabel(double value, const PlotAxisRecord& axis);
// The fallback format for an increment ("##0.00000" .. "" for the plain default).
const char* FallbackFormat(double inc);
// A number in a format of the kind the tick computation stores ("0",
// "0.00", "##0.000"); an empty format gives the plain default (up to seven
// significant digits).
std::string FormatNumber(double value, const std::string& format);

// Steps 2 to 5 of Plot on `dev` (the scaling is the caller's): layer and
// axes, each curve with the white edges after it, the axes again, the
// legend when it is on. Keeps each curve's last point for DrawPlotPoint.
void DrawPlot(Form_Plot& plot, DrawSurface& dev);
// Fills the page with the layer's PageColor.
void ClearPicture(Form_Plot& plot, DrawSurface& dev);
void DrawCurve(Form_Plot& plot, DrawSurface& dev, long curve);
void DrawLegend(Form_Plot& plot, DrawSurface& dev);
// The new segment from the curve's kept point and the new symbol; returns
// the device rectangle that changed (empty when nothing was drawn).
DrawRect DrawPlotPoint(Form_Plot& plot, DrawSurface& dev, long curve, float x, float y);

// Text labels at points, and the same on a printer.
void SV_plot_labels(DrawSurface& dev, const std::vector<float>& x, const std::vector<float>& y,
                    const std::vector<std::string>& labels, long count, Form_Plot& plot,
                    long curve);
void SV_print_labels(DrawSurface& dev, const std::vector<float>& x, const std::vector<float>& y,
                     const std::vector<std::string>& labels, long count, Form_Plot& plot,
                     long curve);

}  // namespace sv
