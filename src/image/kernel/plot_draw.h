// The plot family: whole coordinate arrays drawn on a surface. User values
// go to the device as origin + value * scale on each axis, where the origin
// is the device position of user value 0. Points that are no finite number
// are skipped and break the line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/kernel/draw_surface.h"

namespace sv::kernel {

// Symbol shapes, as a curve's Shape numbers them.
enum class SymbolShape : int {
  Square = 0, Circle, UpTriangle, DownTriangle, Diamond, CrossPlus, CrossX, Star,
  BarH, BarV, Pixel
};

// The line through `count` points in `color`, `width` device units wide,
// in `lineType`. On a raster surface a run whose device X is monotone is
// decimated first (DecimateRun); other surfaces get every point. Segments
// far outside the page are cut to it before they reach the surface.
void SV_plot_polyline(DrawSurface& dev, int32_t count, const float* x, const float* y,
                      double originX, double originY, double scaleX, double scaleY,
                      int32_t color, double width, int lineType = 0);

// A symbol of `shape` and `size` device units (the full width, d = size / 2)
// centred on each point, stroked in `color` with the thinnest pen as the
// printer's stroke table has it; shape 10 sets one pixel.
void SV_plot_symbols(DrawSurface& dev, int32_t count, const float* x, const float* y,
                     double originX, double originY, double scaleX, double scaleY, int shape,
                     double size, int32_t color);

// One symbol at a device point (what SV_plot_symbols draws at each point).
void PlotSymbol(DrawSurface& dev, double x, double y, int shape, double size, int32_t color);

// Keeps, for each pixel column (whole device x values are the columns'
// centres, as a raster surface draws them), the first, lowest,
// highest and last point in the order they came; `in` must be monotone in
// x. What a raster shows of the line does not change.
void DecimateRun(const DrawPoint* in, size_t count, std::vector<DrawPoint>& out);
// True when x never falls or never rises along the points.
bool MonotoneX(const DrawPoint* points, size_t count);

}  // namespace sv::kernel
