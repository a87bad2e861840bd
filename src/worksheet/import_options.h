// The options of the ASCII import, as the sheet keeps them and the ini file
// holds them (section "Import"), and the presenter of their dialog.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sv {

struct ImportSettings {
  int16_t Structure = 0;        // 0 delimited, 1 fixed width
  uint8_t Delimiter = 0;        // character code, 0 = tab
  std::string ColWidth;         // field width of Structure 1
  int16_t Header = 0;           // 1: skip HeaderLines lines
  int16_t HeaderLines = 1;
  int16_t ImportAs = 0;         // 0 replace, 1 new columns, 2 new rows
  int16_t UnknownColumns = 1;   // 0: at most Columns columns
  int16_t Columns = 0;
  int16_t RenameColumns = 1;
  int16_t RenameWorksheet = 1;

  bool operator==(const ImportSettings&) const = default;
};

inline constexpr const char* kImportSection = "Import";

// The keys of section "Import" of an ini file (a missing key gives its default).
ImportSettings ReadImportSettings(const std::string& iniFile);
void WriteImportSettings(const ImportSettings& settings, const std::string& iniFile);

class Form_ImportOptions {
 public:
  static constexpr const char* kImportTitle = "Import ASCII";
  // Combo_Delimiter's entries.
  static const std::vector<std::string>& DelimiterNames();
  enum DelimiterEntry { kComma = 0, kTab = 1, kSpace = 2, kOther = 3 };
  // How many bytes of the file the preview shows.
  static constexpr size_t kPreviewBytes = 4096;

  // Loads the controls from the settings.
  void Load(const ImportSettings& settings);
  // The settings as the controls hold them.
  ImportSettings Settings() const;

  // Controls.
  int Option_FileStructure = 0;
  int Combo_Delimiter = kTab;
  std::string Text_Delimiter;
  std::string Text_ColWidth;
  bool Check_Header = false;
  std::string Text_HeaderLines = "1";
  int Option_ImportAs = 0;
  bool Check_UnknownColumns = true;
  std::string Text_Columns = "0";
  bool Check_RenameColumns = true;
  bool Check_RenameWorksheet = true;
  bool Check_PreviewMode = false;
  std::string Text_Preview;
  // How the dialog ended: "OK", "Import" or "" (cancelled).
  std::string Tag;

  // Dependent fields.
  bool Text_DelimiterEnabled() const { return Combo_Delimiter == kOther; }
  bool Text_ColWidthEnabled() const { return Option_FileStructure == 1; }
  bool Text_ColumnsEnabled() const { return !Check_UnknownColumns; }

  // Buttons. "Import" ends like OK and then asks for the import.
  void Command_OK() { Tag = "OK"; }
  void Command_Cancel() { Tag = ""; }
  void Command_Import() { Tag = "Import"; }
  bool Accepted() const { return !Tag.empty(); }

  // Asks for the file to look at ("Import ASCII") and shows its first bytes.
  void Command_Preview();
  // The file dialog of the import; "" when cancelled. Remembers the choice.
  std::string GetImportFilename();
  // Loads the first bytes of a file into the preview; false when unreadable.
  bool LoadPreview(const std::string& path);
  // The preview mode changed: the same bytes shown anew.
  void Check_PreviewMode_Click();

  std::string ImportFilename;  // the file picked for the preview

 private:
  std::string previewBytes_;
};

// The window that shows Form_ImportOptions modally; it returns when a button
// ended the dialog (Tag tells which). Empty when no window can show it: the
// dialog then counts as cancelled.
std::function<void(Form_ImportOptions&)>& ImportOptionsDialog();

// The file dialog text of the ASCII import.
std::string ImportDialogFilter();

}  // namespace sv
