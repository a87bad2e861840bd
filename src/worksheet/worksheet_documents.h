// How worksheets plug into the main window.
#pragma once

namespace sv {

class MDIForm_Main;
class Form_Worksheet;

// The sheet factory and the menu commands that are not routed to the sheet
// in front ("mnuNewWorksheet", "mnuOpenWorksheet").
void RegisterWorksheetDocuments(MDIForm_Main& main);

// A new sheet through the main window, as "New Worksheet" makes it: columns
// A[X] and B[Y] and 20 rows; null without a sheet factory.
Form_Worksheet* NewWorksheet(MDIForm_Main& main);

}  // namespace sv
