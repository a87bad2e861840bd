#include "worksheet/import_options.h"

#include <cstdio>

#include "core/globals.h"
#include "core/host.h"
#include "core/ini_profile.h"
#include "worksheet/sheet_formats.h"

namespace sv {

ImportSettings ReadImportSettings(const std::string& iniFile) {
  ImportSettings s;
  const char* sec = kImportSection;
  s.Structure = int16_t(GetPrivateProfileInt(sec, "Structure", s.Structure, iniFile));
  s.Delimiter = uint8_t(GetPrivateProfileInt(sec, "Delimiter", s.Delimiter, iniFile));
  s.ColWidth = GetPrivateProfileString(sec, "ColWidth", s.ColWidth, iniFile);
  s.Header = int16_t(GetPrivateProfileInt(sec, "Header", s.Header, iniFile));
  s.HeaderLines = int16_t(GetPrivateProfileInt(sec, "HeaderLines", s.HeaderLines, iniFile));
  s.ImportAs = int16_t(GetPrivateProfileInt(sec, "ImportAs", s.ImportAs, iniFile));
  s.UnknownColumns =
      int16_t(GetPrivateProfileInt(sec, "UnknownColumns", s.UnknownColumns, iniFile));
  s.Columns = int16_t(GetPrivateProfileInt(sec, "Columns", s.Columns, iniFile));
  s.RenameColumns = int16_t(GetPrivateProfileInt(sec, "RenameColumns", s.RenameColumns, iniFile));
  s.RenameWorksheet =
      int16_t(GetPrivateProfileInt(sec, "RenameWorksheet", s.RenameWorksheet, iniFile));
  return s;
}

void WriteImportSettings(const ImportSettings& s, const std::string& iniFile) {
  // One read, the keys in their order, one write.
  const std::string path = ResolveProfilePath(iniFile);
  Profile ini = Profile::Load(path);
  const char* sec = kImportSection;
  ini.SetInt(sec, "Structure", s.Structure);
  ini.SetInt(sec, "Delimiter", s.Delimiter);
  ini.Set(sec, "ColWidth", s.ColWidth);
  ini.SetInt(sec, "Header", s.Header);
  ini.SetInt(sec, "HeaderLines", s.HeaderLines);
  ini.SetInt(sec, "ImportAs", s.ImportAs);
  ini.SetInt(sec, "UnknownColumns", s.UnknownColumns);
  ini.SetInt(sec, "Columns", s.Columns);
  ini.SetInt(sec, "RenameColumns", s.RenameColumns);
  ini.SetInt(sec, "RenameWorksheet", s.RenameWorksheet);
  SaveProfileTo(ini, iniFile);
}

const std::vector<std::string>& Form_ImportOptions::DelimiterNames() {
  static const std::vector<std::string> names = {"Comma (,)", "Tab", "Space", "Other"};
  return names;
}

void Form_ImportOptions::Load(const ImportSettings& s) {
  Option_FileStructure = s.Structure == 1 ? 1 : 0;
  Text_Delimiter.clear();
  switch (s.Delimiter) {
    case ',': Combo_Delimiter = kComma; break;
    case 0:
    case '\t': Combo_Delimiter = kTab; break;
    case ' ': Combo_Delimiter = kSpace; break;
    default:
      Combo_Delimiter = kOther;
      Text_Delimiter = std::string(1, char(s.Delimiter));
  }
  Text_ColWidth = s.ColWidth;
  Check_Header = s.Header == 1;
  Text_HeaderLines = std::to_string(s.HeaderLines);
  Option_ImportAs = s.ImportAs >= 0 && s.ImportAs <= 2 ? s.ImportAs : 0;
  Check_UnknownColumns = s.UnknownColumns != 0;
  Text_Columns = std::to_string(s.Columns);
  Check_RenameColumns = s.RenameColumns != 0;
  Check_RenameWorksheet = s.RenameWorksheet != 0;
  Tag.clear();
}

ImportSettings Form_ImportOptions::Settings() const {
  ImportSettings s;
  s.Structure = int16_t(Option_FileStructure == 1 ? 1 : 0);
  switch (Combo_Delimiter) {
    case kComma: s.Delimiter = ','; break;
    case kSpace: s.Delimiter = ' '; break;
    case kOther:
      s.Delimiter = Text_Delimiter.empty() ? 0 : uint8_t(Text_Delimiter[0]);
      break;
    default: s.Delimiter = 0;
  }
  s.ColWidth = Text_ColWidth;
  s.Header = int16_t(Check_Header ? 1 : 0);
  s.HeaderLines = int16_t(RoundEven(TextValue(Text_HeaderLines)));
  s.ImportAs = int16_t(Option_ImportAs >= 0 && Option_ImportAs <= 2 ? Option_ImportAs : 0);
  s.UnknownColumns = int16_t(Check_UnknownColumns ? 1 : 0);
  s.Columns = int16_t(RoundEven(TextValue(Text_Columns)));
  s.RenameColumns = int16_t(Check_RenameColumns ? 1 : 0);
  s.RenameWorksheet = int16_t(Check_RenameWorksheet ? 1 : 0);
  return s;
}

std::string ImportDialogFilter() {
  return "Ascii Files (*.dat)|*.dat|all Files (*.+)|*.*|";
}

std::string Form_ImportOptions::GetImportFilename() {
  if (!HasHost()) return "";
  FileDialog dlg;
  dlg.title = kImportTitle;
  dlg.filter = ImportDialogFilter();
  dlg.folder = G().SheetsPath;
  dlg.fileName = ImportFilename;
  const FileDialogResult r = host().OpenFileDialog(dlg);
  if (!r.path.empty()) ImportFilename = r.path;
  return r.path;
}

void Form_ImportOptions::Command_Preview() {
  const std::string path = GetImportFilename();
  if (!path.empty()) LoadPreview(path);
}

bool Form_ImportOptions::LoadPreview(const std::string& path) {
  previewBytes_.clear();
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f) {
    previewBytes_.resize(kPreviewBytes);
    previewBytes_.resize(std::fread(previewBytes_.data(), 1, kPreviewBytes, f));
    std::fclose(f);
  }
  Text_Preview = PreviewText(previewBytes_, Check_PreviewMode);
  return f != nullptr;
}

void Form_ImportOptions::Check_PreviewMode_Click() {
  Text_Preview = PreviewText(previewBytes_, Check_PreviewMode);
}

std::function<void(Form_ImportOptions&)>& ImportOptionsDialog() {
  static std::function<void(Form_ImportOptions&)> dialog;
  return dialog;
}

}  // namespace sv
