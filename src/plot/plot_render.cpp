#include "plot/plot_render.h"

#include "plot/form_plot.h"

namespace sv {

float PrintScale = 1.0f;

double PointsToDevice(double points) { return points * 20.0 * PrintScale; }

void DrawPlot(Form_Plot&, DrawSurface&) {}
void ClearPicture(Form_Plot&, DrawSurface&) {}
void DrawCurve(Form_Plot&, DrawSurface&, long) {}
void DrawLegend(Form_Plot&, DrawSurface&) {}
DrawRect DrawPlotPoint(Form_Plot&, DrawSurface&, long, float, float) { return {}; }

}  // namespace sv
