// The R-factor dialog's presenter and the worksheet's MathRFactor command.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fit/rfactor.h"

namespace sv {

class Form_Worksheet;

// The energy column of a sheet: the first whose label, in lower case,
// contains "energy", else the first X column, else -1.
long RFactorEnergyColumn(const Form_Worksheet& sheet);

class Form_RFactor {
 public:
  // 0: the Pendry factor, 1: the R-squared factor.
  int Option_Factor = 0;
  // Every column as "number: name"; the energy combo hides for R-squared.
  std::vector<std::string> Combo_EColumn;
  int EColumn = -1;  // the energy column's number, -1 for none
  // Item k is column k + 1 (column 0 holds the row headings).
  std::vector<std::string> List_Columns;
  std::vector<bool> Selected;
  std::vector<std::string> Combo_SelMode{"I.total_", "I.max_"};
  std::string Text_Voi = "4";
  std::string Text_Threshold = "1";  // percent
  bool Check_Smooth = false;
  std::string Text_Smooth = "0";
  std::string Label_IColumns = "0 Column(s) selected";
  // Compare with another sheet (beams matched by label), over a shift range.
  bool Check_CompareSheet = false;
  std::vector<std::string> Combo_Sheet;  // the other sheets' titles
  int Sheet = -1;
  std::string Text_ShiftFrom = "0", Text_ShiftTo = "0", Text_ShiftStep = "0";
  std::string Tag;
  std::string FocusedControl;  // where "Invalid Parameter" leaves the focus

  // Fills the dialog from a sheet; `voi` and `threshold` as the sheet holds
  // them (at or below 0: 4 eV and 0.01). `others` may be compared with.
  void Form_Load(const Form_Worksheet& sheet, float voi, float threshold,
                 std::vector<const Form_Worksheet*> others = {});
  // Selects every column whose label starts with Combo_SelMode[index].
  void SelMode(int index);
  void SelectColumn(int column, bool on);
  int Degree() const;
  // Checks the entries; false after "Invalid Parameter". Sets Tag "OK".
  bool Command_Calculate();

  // After Command_Calculate: the settings and the shift range.
  RFactorSettings Settings() const;
  RFactorShiftRange ShiftRange() const;
  bool HasShift() const;
  std::vector<long> SelectedColumns() const;

  // The whole report, line by line. Sheet-against-sheet when compare is on.
  std::string Report() const;

  const Form_Worksheet* sheet_ = nullptr;
  std::vector<const Form_Worksheet*> others_;

 private:
  void Count();
};

// The report's head: factor, threshold, smoothing, an empty line.
std::string RFactorReportHead(const RFactorSettings& s);
// Each selected pair once, i before j.
std::string RFactorPairsReport(const Form_Worksheet& sheet, long energyCol,
                               const std::vector<long>& cols, const RFactorSettings& s);
// Each selected column of `a` against its match in `b`, then the overall R;
// with `withShift` each line ends in the common shift.
std::string RFactorBeamsReport(const Form_Worksheet& a, long energyA, const std::vector<long>& cols,
                               const Form_Worksheet& b, const RFactorShiftRange& range,
                               bool withShift, const RFactorSettings& s);

// The worksheet command: fills the dialog, shows it through the hook, then
// hands the report to the result window hook.
struct RFactorWindows {
  std::function<bool(Form_RFactor&)> showDialog;           // false: cancelled
  std::function<void(const std::string&)> showResult;      // the report text
  std::function<std::vector<const Form_Worksheet*>()> otherSheets;
};
RFactorWindows& RFactorHooks();
void MathRFactor(Form_Worksheet& sheet);
void RegisterRFactor();

}  // namespace sv
