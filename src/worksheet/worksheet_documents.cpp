#include "worksheet/worksheet_documents.h"

#include <memory>

#include "core/mdi_main.h"
#include "worksheet/form_worksheet.h"

namespace sv {

Form_Worksheet* NewWorksheet(MDIForm_Main& main) {
  auto* sheet = dynamic_cast<Form_Worksheet*>(main.CreateWorksheet());
  if (!sheet) return nullptr;
  sheet->Redraw(false);
  sheet->Cols(3);
  sheet->Rows(21);
  sheet->Redraw(true);
  return sheet;
}

void RegisterWorksheetDocuments(MDIForm_Main& main) {
  main.SetWorksheetFactory([](MDIForm_Main& m) -> std::unique_ptr<ChildDocument> {
    auto sheet = std::make_unique<Form_Worksheet>(&m);
    sheet->GetINI();
    return sheet;
  });
  MDIForm_Main* m = &main;
  main.WorksheetOpenDo = [](ChildDocument& doc, const std::string& path) {
    auto* sheet = dynamic_cast<Form_Worksheet*>(&doc);
    return sheet && sheet->OpenWorksheet(path) == 0;
  };
  main.SetCommand("mnuNewWorksheet", [m](int) {
    if (Form_Worksheet* sheet = NewWorksheet(*m)) m->ShowChild(sheet->Handle());
  });
  main.SetCommand("mnuOpenWorksheet", [m](int) {
    auto* sheet = dynamic_cast<Form_Worksheet*>(m->CreateWorksheet());
    if (!sheet) return;
    const long handle = sheet->Handle();
    sheet->FileOpen();  // a cancelled dialog unloads the sheet
    if (m->Child(handle)) m->ShowChild(handle);
  });
}

}  // namespace sv
