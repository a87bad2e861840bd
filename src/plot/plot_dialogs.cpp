#include "plot/plot_dialogs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cctype>
#include <cstdlib>

namespace sv {

namespace {

PlotDialogs defaultDialogs;
PlotDialogs* currentDialogs = &defaultDialogs;

int Clamp(int v, int lo, int hi) { return std::min(std::max(v, lo), hi); }

}  // namespace

PlotDialogs& plotDialogs() { return *currentDialogs; }
void SetPlotDialogs(PlotDialogs* dialogs) { currentDialogs = dialogs ? dialogs : &defaultDialogs; }

double FieldValue(const std::string& text) {
  std::string t = text;
  std::replace(t.begin(), t.end(), ',', '.');
  size_t i = t.find_first_not_of(" \t");
  if (i == std::string::npos) return 0;
  // Only plain decimal numbers: no hex, no "inf" or "nan".
  const char c = t[i];
  if (!(std::isdigit(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.')) return 0;
  if (t.compare(i, 2, "0x") == 0 || t.compare(i, 2, "0X") == 0) return 0;
  const double v = std::strtod(t.c_str() + i, nullptr);
  return std::isfinite(v) ? v : 0;
}

std::string FieldText(double value) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.7g", value);
  return buf;
}

// --- Form_NewPlot ------------------------------------------------------------

void Form_NewPlot::ReturnToColumns(const ColumnItem& item) {
  auto at = std::find_if(List_Columns.begin(), List_Columns.end(),
                         [&](const ColumnItem& c) { return c.column > item.column; });
  List_Columns.insert(at, item);
}

void Form_NewPlot::Command_SetX() {
  if (ColumnsSelected.empty()) return;
  const size_t i = *ColumnsSelected.begin();
  if (i >= List_Columns.size()) return;
  const ColumnItem item = List_Columns[i];
  List_Columns.erase(List_Columns.begin() + long(i));
  ColumnsSelected.clear();
  if (!List_XColumn.empty()) ReturnToColumns(List_XColumn.front());
  List_XColumn = {item};
}

void Form_NewPlot::Command_SetY() {
  std::vector<ColumnItem> keep;
  for (size_t i = 0; i < List_Columns.size(); ++i) {
    if (ColumnsSelected.count(i)) List_YColumns.push_back(List_Columns[i]);
    else keep.push_back(List_Columns[i]);
  }
  List_Columns = std::move(keep);
  ColumnsSelected.clear();
}

void Form_NewPlot::Command_ResetX() {
  if (List_XColumn.empty()) return;
  ReturnToColumns(List_XColumn.front());
  List_XColumn.clear();
  ColumnsSelected.clear();
}

void Form_NewPlot::Command_ResetY() {
  std::vector<ColumnItem> keep;
  for (size_t i = 0; i < List_YColumns.size(); ++i) {
    if (YSelected.empty() || YSelected.count(i)) ReturnToColumns(List_YColumns[i]);
    else keep.push_back(List_YColumns[i]);
  }
  List_YColumns = std::move(keep);
  YSelected.clear();
  ColumnsSelected.clear();
}

bool Form_NewPlot::PreselectX(long column) {
  for (size_t i = 0; i < List_Columns.size(); ++i)
    if (List_Columns[i].column == column) {
      ColumnsSelected = {i};
      Command_SetX();
      return true;
    }
  return false;
}

bool Form_NewPlot::PreselectY(long column) {
  for (size_t i = 0; i < List_Columns.size(); ++i)
    if (List_Columns[i].column == column) {
      ColumnsSelected = {i};
      Command_SetY();
      return true;
    }
  return false;
}

std::vector<long> Form_NewPlot::YColumns() const {
  std::vector<long> cols;
  for (const ColumnItem& c : List_YColumns) cols.push_back(c.column);
  return cols;
}

// --- Form_PlotDetails --------------------------------------------------------

void Form_PlotDetails::Load(const PlotCurveRecord& curve, const std::string& sheetFile,
                            const std::string& colName, const std::string& colLabel) {
  curve_ = curve;
  Label_Worksheet = sheetFile;
  Label_Column = colName;
  Label_Legend = colLabel;
  Combo_PlotType = curve.PlotType;
  Combo_Color = -1;
  for (int i = 0; i < 15; ++i)
    if (kDetailsColors[i].color == curve.Color) {
      Combo_Color = i;
      break;
    }
  Combo_Type = curve.LineType;
  Combo_Width = FieldText(curve.Width);
  Combo_Shape = curve.Shape;
  Combo_Size = FieldText(curve.Size);
  Tag.clear();
}

PlotCurveRecord Form_PlotDetails::Edited() const {
  PlotCurveRecord c = curve_;
  c.PlotType = Clamp(Combo_PlotType, 0, 2);
  if (Combo_Color >= 0 && Combo_Color < 15) c.Color = kDetailsColors[Combo_Color].color;
  c.LineType = Clamp(Combo_Type, 0, 4);
  c.Width = float(FieldValue(Combo_Width));
  c.Shape = Clamp(Combo_Shape, 0, 10);
  c.Size = float(FieldValue(Combo_Size));
  return c;
}

// --- Form_Layer --------------------------------------------------------------

double Form_Layer::Factor(int unit, bool horizontal) const {
  const double mm = horizontal ? PageWidthMm : PageHeightMm;
  switch (unit) {
    case 1: return mm / 25.4;
    case 2: return mm;
    case 3: return mm * 0.1;
    default: return 100;
  }
}

void Form_Layer::Combo_Unit_Click(int unit) {
  unit = Clamp(unit, 0, 3);
  if (unit == Combo_Unit) return;
  auto convert = [&](std::string& text, bool horizontal) {
    const double fraction = FieldValue(text) / Factor(Combo_Unit, horizontal);
    text = FieldText(fraction * Factor(unit, horizontal));
  };
  convert(Text_l, true);
  convert(Text_t, false);
  convert(Text_w, true);
  convert(Text_h, false);
  Combo_Unit = unit;
}

bool Form_Layer::Command_Color() {
  auto c = plotDialogs().ChooseColor(kColorCaption, BackColor);
  if (!c) return false;
  BackColor = *c & 0xFFFFFF;
  return true;
}

void Form_Layer::Command_OK() {
  Combo_Unit_Click(0);
  Tag = "OK";
}

// --- Form_Axis ---------------------------------------------------------------

void Form_Axis::Load(int axis, const PlotAxisRecord& record) {
  const bool x = axis != 2;
  Caption = x ? "X Axis" : "Y Axis";
  Text_From = FieldText(record.From);
  Text_To = FieldText(record.To);
  Text_Inc = FieldText(record.Inc);
  Text_ticks = std::to_string(record.Ticks);
  Combo_Thickness = FieldText(record.Thickness);
  Text_Title = record.Title.Text;
  for (int n = 1; n <= 11; ++n) Check_typ[n] = (record.Flags >> n) & 1;
  Check_typ[0] = false;
  Check_typ11_Caption = x ? "X=&0" : "Y=&0";
  Command_Axis_Caption = x ? "&Y-Axis" : "&X-Axis";
  Label_Left_Bottom = x ? "Bottom" : "Left";
  Label_Right_Top = x ? "Top" : "Right";
  Label_HV_Lines = x ? "Vertical Lines:" : "Horizontal Lines:";
  Tag.clear();
}

int32_t Form_Axis::Flags(int32_t flags) const {
  for (int n = 1; n <= 11; ++n) {
    if (Check_typ[n]) flags |= int32_t(1) << n;
    else flags &= ~(int32_t(1) << n);
  }
  return flags & ~int32_t(1);
}

// --- Form_GridSetup ----------------------------------------------------------

bool Form_GridSetup::Command_MajorGridColor() {
  auto c = plotDialogs().ChooseColor(Caption, MajorGridColor);
  if (c) MajorGridColor = *c;
  return bool(c);
}

bool Form_GridSetup::Command_MinorGridColor() {
  auto c = plotDialogs().ChooseColor(Caption, MinorGridColor);
  if (c) MinorGridColor = *c;
  return bool(c);
}

void Form_GridSetup::Load(const PlotAxisRecord& axis) {
  Combo_MajorGridStyle = axis.MajorGridStyle;
  Combo_MinorGridStyle = axis.MinorGridStyle;
  MajorGridColor = axis.MajorGridColor;
  MinorGridColor = axis.MinorGridColor;
  Tag.clear();
}

void Form_GridSetup::Store(PlotAxisRecord& axis) const {
  axis.MajorGridColor = MajorGridColor;
  axis.MajorGridStyle = Combo_MajorGridStyle;
  axis.MinorGridColor = MinorGridColor;
  axis.MinorGridStyle = Combo_MinorGridStyle;
}

}  // namespace sv
