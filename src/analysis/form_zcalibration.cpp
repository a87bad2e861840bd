#include "analysis/form_zcalibration.h"

#include <optional>

#include "analysis/calibration_settings.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {

namespace {

std::string NameOf(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

// The folder the open dialog starts in: that of the last table opened.
std::string& LutFolder() {
  static std::string folder;
  return folder;
}

}  // namespace

void FillTableSheet(Form_Worksheet& sheet, const IntensityTable& table) {
  const long n = long(table.Values.size()) < long(table.Count) ? long(table.Values.size())
                                                               : long(table.Count);
  sheet.Redraw(false);
  sheet.Cols(3);
  sheet.Rows(n + 1);
  sheet.ColName(1, "Index");
  sheet.Col(1);
  sheet.ColTyp(kTypX);
  sheet.ColLabel("grey value");
  sheet.ColName(2, "Value");
  sheet.Col(2);
  sheet.ColTyp(kTypY);
  sheet.ColLabel(table.Name);
  for (long i = 0; i < n; ++i) {
    sheet.TextMatrix(i + 1, 1, Cell(float(i)));
    sheet.TextMatrix(i + 1, 2, Cell(table.Values[size_t(i)]));
  }
  sheet.SaveFilter = kLutSheetFilter;
  sheet.DefaultExt = "lut";
  sheet.Col(2);
  sheet.Row(1);
  sheet.Redraw(true);
}

Form_ZCalibration& ZCalibrationForm() {
  static Form_ZCalibration form;
  return form;
}

void Form_ZCalibration::Load() {
  Table = ZCal();
  Check_Enabled = Table.Enabled == 1;
  Changed();
}

std::string Form_ZCalibration::Label_File() const { return Table.FileName; }
std::string Form_ZCalibration::Label_Name() const { return Table.Name; }
std::string Form_ZCalibration::Label_Count() const { return std::to_string(Table.Count); }

void Form_ZCalibration::Command_New() {
  if (!HasHost()) return;
  const std::optional<std::string> answer = host().InputBox(kNewLutPrompt, kNewLutTitle, "8");
  if (!answer) return;
  double bits = 0;
  if (!ParseNumber(*answer, bits) || bits != double(long(bits))) return;
  if (MakeLinearTable(Table, long(bits))) Changed();
}

bool Form_ZCalibration::Command_Open() {
  if (!HasHost()) return false;
  FileDialog dlg;
  dlg.title = kOpenLutTitle;
  dlg.filter = kLutOpenFilter;
  dlg.folder = LutFolder().empty() ? FolderOf(Table.FileName) : LutFolder();
  const std::string path = host().OpenFileDialog(dlg).path;
  if (path.empty()) return false;
  LutFolder() = FolderOf(path);
  return OpenFile(path);
}

bool Form_ZCalibration::OpenFile(const std::string& path) {
  IntensityTable read = Table;
  const long code = LoadCalibrationTable(path, read);
  if (code != 0) {
    if (HasHost())
      host().MsgBox(LutOpenErrorText(path, code), MsgButtons::OK, MsgIcon::Critical, kOpenLutTitle);
    return false;
  }
  Table = std::move(read);
  Changed();
  return true;
}

Form_Worksheet* Form_ZCalibration::Command_SHT() {
  MDIForm_Main* main = MainForm();
  if (!main || Table.Count <= 0) return nullptr;
  Form_Worksheet* sheet = NewWorksheet(*main);
  if (!sheet) return nullptr;
  FillTableSheet(*sheet, Table);
  const std::string name = Table.FileName.empty() ? Table.Name : NameOf(Table.FileName);
  if (!name.empty()) {
    const size_t dot = name.find_last_of('.');
    sheet->Filename((dot == std::string::npos ? name : name.substr(0, dot)) + ".lut");
  }
  sheet->SetChanged();
  main->ShowChild(sheet->Handle());
  return sheet;
}

void Form_ZCalibration::Command_OK() {
  Table.Enabled = Check_Enabled ? 1 : 0;
  ZCal() = Table;
}

}  // namespace sv
