#include "plot/column_math_plot.h"

#include "plot/form_plot.h"
#include "worksheet/column_math.h"
#include "worksheet/form_worksheet.h"

namespace sv {

void InstallColumnMathPlots(bool on) {
  if (!on) {
    ColumnHooks().setupPlot = nullptr;
    return;
  }
  ColumnHooks().setupPlot = [](SheetPlot& made, const ColumnPlotSetup& setup) {
    auto* plot = dynamic_cast<Form_Plot*>(&made);
    if (!plot || !plot->Worksheet()) return;
    Form_Worksheet& sheet = *plot->Worksheet();
    const long current = sheet.Col();
    sheet.Col(setup.yCol);
    plot->AddCurve();
    plot->CurveXCol(setup.xCol);
    sheet.Col(current);
    plot->TitleText(setup.title);
    plot->XLabelText(setup.xTitle);
    plot->YLabelText(setup.yTitle);
    plot->Rescale();
    plot->Plot();
  };
}

}  // namespace sv
