// The presenters of the plot dialogs: new plot and add curve, curve details,
// layer, axis and grid lines. Each holds its controls' values; the window
// that shows it binds to them and calls the Command_ methods, which set the
// dialog's Tag. A dialog is shown modally through PlotDialogs.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plot/plot_records.h"

namespace sv {

class Form_PageSetup;

// A number typed in a box: a decimal comma reads as a point; the leading
// number counts and text without one reads as 0.
double FieldValue(const std::string& text);
// A number for a box: up to seven significant digits, no trailing zeros.
std::string FieldText(double value);

// One line of a column list: its text and the sheet column it stands for.
struct ColumnItem {
  std::string text;
  long column = 0;
};

class Form_NewPlot {
 public:
  std::string Caption = "Add Plot";
  std::string Text_Title;
  std::string Text_XLabel = "X Axis Title";
  std::string Text_YLabel = "Y Axis Title";
  std::string Text_ZLabel = "Z Axis Title";
  bool HasZAxis = false;  // Text_ZLabel is shown only then

  std::vector<ColumnItem> List_Columns;
  std::vector<ColumnItem> List_XColumn;  // at most one
  std::vector<ColumnItem> List_YColumns;
  // The marked lines of List_Columns and List_YColumns, by index.
  std::set<size_t> ColumnsSelected, YSelected;

  std::string Tag;  // "OK" when accepted

  // The first marked column becomes the X column; one that stood there goes back.
  void Command_SetX();
  // The marked columns become Y columns.
  void Command_SetY();
  void Command_ResetX();
  // The marked Y columns go back; with none marked, all of them.
  void Command_ResetY();
  void Command_OK() { Tag = "OK"; }
  void Command_Cancel() { Tag.clear(); }

  // Moves the column from the list of all columns; false when it is not there.
  bool PreselectX(long column);
  bool PreselectY(long column);

  // The chosen X column, 0 for none; the chosen Y columns in list order.
  long XColumn() const { return List_XColumn.empty() ? 0 : List_XColumn.front().column; }
  std::vector<long> YColumns() const;

 private:
  void ReturnToColumns(const ColumnItem& item);
};

class Form_PlotDetails {
 public:
  std::string Caption = "Plot Details";
  std::string Label_Worksheet, Label_Column, Label_Legend;
  int Combo_PlotType = 0;   // kPlotTypeNames
  int Combo_Color = 0;      // kDetailsColors, -1 for a colour not in the list
  int Combo_Type = 0;       // kLineTypeNames
  std::string Combo_Width;  // line width in points
  int Combo_Shape = 0;      // kShapeNames
  std::string Combo_Size;   // symbol size in points
  std::string Tag;          // "OK", "Remove", "Worksheet" or "" (cancelled)

  void Command_OK() { Tag = "OK"; }
  void Command_Remove() { Tag = "Remove"; }
  void Command_Worksheet() { Tag = "Worksheet"; }
  void Command_Cancel() { Tag.clear(); }

  // Shows a curve's values.
  void Load(const PlotCurveRecord& curve, const std::string& sheetFile, const std::string& colName,
            const std::string& colLabel);
  // The curve as edited: the loaded record with the dialog's values.
  PlotCurveRecord Edited() const;

 private:
  PlotCurveRecord curve_;
};

class Form_Layer {
 public:
  static constexpr const char* kUnits[4] = {"% of Page", "inch", "mm", "cm"};
  static constexpr const char* kBorders[2] = {"Black Line", "Shadow"};
  static constexpr const char* kColorCaption = "Define Layer Background Color";

  std::string Caption = "Layer";
  std::string Text_l, Text_t, Text_w, Text_h;  // Left, Top, Width, Height in Combo_Unit
  int Combo_Unit = 0;
  std::string Text_Title;
  bool Check_Color = false;  // the background is filled
  int32_t BackColor = 0xC0C0C0;
  bool Check_Border = false;
  int Combo_Border = 0;
  std::string Tag;

  // The page the fractions refer to, in millimetres.
  double PageWidthMm = 297, PageHeightMm = 210;

  // Factor from a fraction of the page to the value shown in `unit`, for a
  // horizontal (l, w) or vertical (t, h) value.
  double Factor(int unit, bool horizontal) const;
  // The unit changes: the four values are converted.
  void Combo_Unit_Click(int unit);
  // Colour dialog for the background; true when a colour was chosen.
  bool Command_Color();
  // Accepted: the values go back to "% of Page" for the caller to read.
  void Command_OK();
  void Command_Cancel() { Tag.clear(); }
};

class Form_Axis {
 public:
  std::string Caption;          // "X Axis" or "Y Axis"
  std::string Text_From, Text_To, Text_Inc, Text_ticks;
  std::string Combo_Thickness;  // points
  std::string Text_Title;
  bool Check_typ[12] = {};      // boxes 1..11 are the Flags bits 1..11
  std::string Check_typ11_Caption;
  std::string Command_Axis_Caption;
  std::string Label_Left_Bottom, Label_Right_Top, Label_HV_Lines;
  std::string Tag;              // "OK", "AXIS", "GRID" or "" (cancelled)

  void Command_OK() { Tag = "OK"; }
  void Command_Axis() { Tag = "AXIS"; }
  void Command_Grid() { Tag = "GRID"; }
  void Command_Cancel() { Tag.clear(); }

  // Shows axis 1 (X) or 2 (Y).
  void Load(int axis, const PlotAxisRecord& record);
  // The boxes as Flags bits; bits outside the boxes are kept from `flags`.
  int32_t Flags(int32_t flags) const;
};

class Form_GridSetup {
 public:
  std::string Caption;  // the axis caption + ": Grid Lines"
  int Combo_MajorGridStyle = 0, Combo_MinorGridStyle = 0;  // kLineTypeNames
  int32_t MajorGridColor = 0, MinorGridColor = 0;  // shown in Picture_MajorGrid/MinorGrid
  bool Check_ApplyToAll = false;
  std::string Tag;

  bool Command_MajorGridColor();
  bool Command_MinorGridColor();
  void Command_OK() { Tag = "OK"; }
  void Command_Cancel() { Tag.clear(); }

  void Load(const PlotAxisRecord& axis);
  // Stores the two colours and styles in `axis`.
  void Store(PlotAxisRecord& axis) const;
};

// Shows the dialogs modally: each call returns when the dialog has ended,
// with its Tag set by the command that ended it. The defaults end every
// dialog cancelled, which is what a process without windows gets.
class PlotDialogs {
 public:
  virtual ~PlotDialogs() = default;
  virtual void ShowNewPlot(Form_NewPlot&) {}
  virtual void ShowPlotDetails(Form_PlotDetails&) {}
  virtual void ShowLayer(Form_Layer&) {}
  virtual void ShowAxis(Form_Axis&) {}
  virtual void ShowGridSetup(Form_GridSetup&) {}
  // The page setup of File -> Print (plot_print.h).
  virtual void ShowPageSetup(Form_PageSetup&) {}
  // The colour dialog; nothing when cancelled.
  virtual std::optional<int32_t> ChooseColor(const std::string& /*title*/, int32_t /*initial*/) {
    return std::nullopt;
  }
};

PlotDialogs& plotDialogs();
// Null restores the default.
void SetPlotDialogs(PlotDialogs* dialogs);

}  // namespace sv
