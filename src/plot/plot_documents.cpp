#include "plot/plot_documents.h"

#include <memory>

#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_print.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {

void RegisterPlotDocuments(MDIForm_Main& main) {
  // A plot takes the main window of its sheet: a sheet in a window has its
  // plots shown as child windows beside it.
  SetPlotFactory([](Form_Worksheet& sheet, bool threeD) -> std::unique_ptr<SheetPlot> {
    auto plot = std::make_unique<Form_Plot>(sheet.Main(), threeD);
    plot->SetWorksheet(&sheet);
    return plot;
  });
  SetAddPlotHandler([](Form_Worksheet& sheet, bool threeD, long) { return AddNewPlot(sheet, threeD); });
  // The printer is chosen with or without a plot in front.
  main.SetCommand("mnuPrinterSetup", [](int) { RunPrinterSetup(); });
}

}  // namespace sv
