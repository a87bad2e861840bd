// How plots plug into the main window: the factory the worksheets make their
// plots with, and the dialog behind the sheet's New Plot.
#pragma once

namespace sv {

class MDIForm_Main;

void RegisterPlotDocuments(MDIForm_Main& main);

}  // namespace sv
