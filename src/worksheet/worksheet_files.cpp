// Sheet files, ASCII import and export, the clipboard.
#include "worksheet/form_worksheet.h"
#include "worksheet/load_table.h"

namespace sv {

long Form_Worksheet::OpenWorksheet(const std::string&) { return 11001; }
long Form_Worksheet::SaveWorksheet(const std::string&, bool) { return 11001; }
long Form_Worksheet::OpenMOS(const std::string&) { return 11001; }
long Form_Worksheet::Import(const std::string&) { return 11001; }
long Form_Worksheet::Export(const std::string&) { return 11001; }
long Form_Worksheet::ExportAll(const std::string&) { return 11001; }
void Form_Worksheet::FileOpen() {}
bool Form_Worksheet::FileSave() { return false; }
bool Form_Worksheet::FileSaveAs() { return false; }
void Form_Worksheet::FileAppend() {}
void Form_Worksheet::FileExport() {}
void Form_Worksheet::FileImportAscii() {}
void Form_Worksheet::FileImportOptions() {}
void Form_Worksheet::EditCopy() {}
void Form_Worksheet::EditCut() {}
void Form_Worksheet::EditPaste() {}
void Form_Worksheet::EditClear() {}
void Form_Worksheet::GetINI() {}
void Form_Worksheet::WriteINI() {}

long LoadTable(const std::string&, SheetTable& table) {
  table = SheetTable();
  return 11001;
}

}  // namespace sv
