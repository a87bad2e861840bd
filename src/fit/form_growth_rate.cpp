#include "fit/form_growth_rate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "core/host.h"
#include "plot/form_plot.h"
#include "plot/plot_ticks.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {

namespace {

bool ParseValue(const std::string& text, double& value) {
  const char* s = text.c_str();
  char* end = nullptr;
  const double v = std::strtod(s, &end);
  if (end == s) return false;
  while (*end == ' ') ++end;
  if (*end != '\0' || !std::isfinite(v)) return false;
  value = v;
  return true;
}

std::string ValueText(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.7g", v);
  return buf;
}

void Header(Form_Worksheet& sheet, long col, const std::string& name, int16_t typ) {
  sheet.Record(col).Name = name;
  sheet.Record(col).Typ = typ;
  sheet.BuildHeader(col);
}

}  // namespace

Form_GrowthRate::Form_GrowthRate() = default;

Form_GrowthRate::~Form_GrowthRate() {
  if (resultPlot_ && sheet_) sheet_->RemovePlot(resultPlotHandle_);
}

void Form_GrowthRate::SetPlotForm(Form_Plot* plot) {
  plot_ = plot;
  Combo_Curve.clear();
  if (plot && plot->Worksheet()) {
    for (const PlotCurveRecord& c : plot->CurveRecords())
      Combo_Curve.push_back(plot->Worksheet()->ColName(c.YCol));
  }
  Materials = LoadMaterials();
  SelectMaterial(Materials.Index);
  SelectCurve(0);
}

void Form_GrowthRate::SetWorksheet(Form_Worksheet* sheet) { sheet_ = sheet; }

void Form_GrowthRate::SelectCurve(int index) {
  CurveIndex = index;
  if (!plot_ || !plot_->Worksheet() || index < 0 || index >= plot_->Curves()) return;
  const PlotCurveRecord& c = plot_->CurveRecords()[size_t(index)];
  std::vector<float> x, y;
  long count = 0;
  plot_->Worksheet()->GetXYColDataAll(c.XCol, c.YCol, x, y, count);
  if (count <= 0) return;
  Text_t1 = ValueText(x.front());
  Text_t2 = ValueText(x[size_t(count - 1)]);
}

std::vector<std::string> Form_GrowthRate::Combo_Material() const {
  std::vector<std::string> names;
  for (const MaterialEntry& e : Materials.Entries) names.push_back(e.Name);
  return names;
}

void Form_GrowthRate::SelectMaterial(int index) {
  if (index < 0 || index >= int(Materials.Entries.size())) index = 0;
  Materials.Index = index;
  if (index > 0) Text_MonolayerThickness = ValueText(Materials.Entries[size_t(index)].Thickness);
  UpdateGrowth();
}

bool Form_GrowthRate::Command_Add() {
  double t = 0;
  if (!ParseValue(Text_MonolayerThickness, t) || t <= 0) {
    host().MsgBox("Invalid Parameter", MsgButtons::OK, MsgIcon::Exclamation, "Growthrate Calculation");
    FocusedControl = "Text_MonolayerThickness";
    return false;
  }
  const auto name = host().InputBox("Material name:", "Add Material", "");
  if (!name || name->empty()) return false;
  Materials.Entries.push_back({*name, float(t)});
  SelectMaterial(int(Materials.Entries.size()) - 1);
  return true;
}

bool Form_GrowthRate::Command_Delete() {
  if (Materials.Index <= 0) return false;
  Materials.Entries.erase(Materials.Entries.begin() + Materials.Index);
  SelectMaterial(Materials.Index - 1);
  return true;
}

double Form_GrowthRate::Growth() const {
  double t = 0;
  if (!ParseValue(Text_MonolayerThickness, t)) return 0;
  return rate_ * t;
}

void Form_GrowthRate::UpdateGrowth() { Label_Growth = FixedText(Growth(), 3); }

bool Form_GrowthRate::Command_Calculate() {
  return Option_Analysis == 1 ? FftAnalysis() : MinMaxAnalysis();
}

bool Form_GrowthRate::ReadData(GrowthData& data) {
  double t1 = 0, t2 = 0;
  if (!plot_ || !plot_->Worksheet() || CurveIndex < 0 || CurveIndex >= plot_->Curves() ||
      !ParseValue(Text_t1, t1) || !ParseValue(Text_t2, t2)) {
    host().MsgBox("Not enough data selected", MsgButtons::OK, MsgIcon::Exclamation, kGrowthTitle);
    return false;
  }
  const PlotCurveRecord& c = plot_->CurveRecords()[size_t(CurveIndex)];
  std::vector<float> x, y;
  long count = 0;
  plot_->Worksheet()->GetXYColDataAll(c.XCol, c.YCol, x, y, count);
  x.resize(size_t(std::max(0L, count)));
  y.resize(x.size());
  const std::string message = SelectGrowthData(x, y, t1, t2, data);
  if (!message.empty()) {
    host().MsgBox(message, MsgButtons::OK, MsgIcon::Exclamation, kGrowthTitle);
    return false;
  }
  return true;
}

Form_Worksheet& Form_GrowthRate::WorkSheet() {
  if (!sheet_) {
    ownSheet_ = std::make_unique<Form_Worksheet>();
    ownSheet_->SetVisible(sheetShown_);
    sheet_ = ownSheet_.get();
  }
  return *sheet_;
}

Form_Plot* Form_GrowthRate::MakeResultPlot(const std::string& title, const std::string& xLabel,
                                           const std::string& yLabel) {
  Form_Worksheet& sheet = WorkSheet();
  if (!resultPlot_ || !sheet.FindPlot(resultPlotHandle_)) {
    resultPlot_ = nullptr;
    SheetPlot* made = nullptr;
    if (!sheet.NewPlot(made) || !made) return nullptr;
    resultPlot_ = dynamic_cast<Form_Plot*>(made);
    if (!resultPlot_) return nullptr;
    resultPlotHandle_ = resultPlot_->Handle();
  }
  resultPlot_->Curves(0);
  // Each analysis scales its own plot afresh.
  resultPlot_->XAxis.From = resultPlot_->XAxis.To = 0;
  resultPlot_->YAxis.From = resultPlot_->YAxis.To = 0;
  resultPlot_->TitleText(title);
  resultPlot_->XLabelText(xLabel);
  resultPlot_->YLabelText(yLabel);
  return resultPlot_;
}

bool Form_GrowthRate::MinMaxAnalysis() {
  double d = 0;
  if (!ParseValue(Text_Delta, d) || d <= 0) {
    host().MsgBox("Invalid value of Ampl. Threshold.\n(0 < Ampl. Threshold)", MsgButtons::OK,
                  MsgIcon::Exclamation, kGrowthTitle);
    FocusedControl = "Text_Delta";
    return false;
  }
  GrowthData data;
  if (!ReadData(data)) return false;
  const size_t n = data.y.size();
  const std::vector<Extreme> extremes = FindExtremes(data.y, float(d), Check_Fit);

  Form_Worksheet& sheet = WorkSheet();
  sheet.Cols(6);
  sheet.Rows(long(n) + 2);
  Header(sheet, 1, "time (s)", kTypX);
  Header(sheet, 2, Combo_Curve.empty() ? "intensity" : Combo_Curve[size_t(CurveIndex)], kTypY);
  Header(sheet, 3, "time (s)", kTypX);
  Header(sheet, 4, "min/max", kTypY);
  Header(sheet, 5, "row", kTypY);
  for (long r = 1; r < sheet.Rows(); ++r)
    for (long c = 1; c <= 5; ++c) sheet.TextMatrix(r, c, Cell());
  for (size_t i = 0; i < n; ++i) {
    sheet.TextMatrix(long(i) + 1, 1, Cell(float(data.t1 + data.dt * double(i))));
    sheet.TextMatrix(long(i) + 1, 2, Cell(data.y[i]));
    sheet.TextMatrix(long(i) + 1, 5, Cell(long(i) + 1));
  }
  for (size_t i = 0; i < extremes.size(); ++i) {
    sheet.TextMatrix(long(i) + 1, 3, Cell(float(data.t1 + data.dt * extremes[i].Index)));
    sheet.TextMatrix(long(i) + 1, 4, Cell(float(extremes[i].Value)));
  }

  if (Form_Plot* p = MakeResultPlot("Min/Max Analysis", "time (s)", "intensity")) {
    const long current = sheet.Col();
    for (long c : {2L, 4L}) {
      sheet.Col(c);
      const long curve = p->AddCurve();
      p->Curve(curve);
      p->CurveXCol(c - 1);
      p->CurveRecord(curve).PlotType = c == 2 ? 0 : 1;
    }
    sheet.Col(current);
    double xto = 0;
    if (Check_AutoScale) {
      p->XAxis.From = float(data.t1);
      p->XAxis.To = float(ParseValue(Text_Xto, xto) && xto > data.t1 ? xto : data.t2);
    }
    if (Check_YAutoScale) {
      const auto [lo, hi] = std::minmax_element(data.y.begin(), data.y.end());
      p->YAxis.From = *lo;
      p->YAxis.To = *hi > *lo ? *hi : *lo + 1;
    }
    // A range set here keeps its ends; the ticks still follow it.
    for (PlotAxisRecord* axis : {&p->XAxis, &p->YAxis}) {
      if (axis->From == axis->To) continue;
      std::string format = ComputeTicks(*axis, TickFlag::Inc | TickFlag::Ticks);
      if (!format.empty()) axis->Labels.Text = std::move(format);
    }
  }

  const GrowthResult r = RatesFromExtremes(extremes, data.dt);
  if (extremes.empty()) {
    host().MsgBox(r.Message, MsgButtons::OK, MsgIcon::Exclamation, kGrowthTitle);
    return false;
  }
  Text_GrowthRate = r.GrowthRate;
  Text_Tau = r.Tau;
  rate_ = r.Rate;
  UpdateGrowth();
  if (!r.Message.empty()) {
    host().MsgBox(r.Message, MsgButtons::OK, MsgIcon::Exclamation, kGrowthTitle);
    return false;
  }
  return true;
}

bool Form_GrowthRate::FftAnalysis() {
  GrowthData data;
  if (!ReadData(data)) return false;
  const FftSpectrum f = FftGrowth(data.y, data.dt);
  if (!f.Ok) {
    host().MsgBox("Cannot perform FFT calculation", MsgButtons::OK, MsgIcon::Exclamation,
                  kGrowthTitle);
    return false;
  }
  Status = f.Status + " DC: " + FixedText(f.Dc, 3);
  host().ShowStatus(Status, -1);

  Form_Worksheet& sheet = WorkSheet();
  sheet.Cols(3);
  sheet.Rows(long(f.Frequency.size()) + 1);
  Header(sheet, 1, "frequency (Hz)", kTypX);
  Header(sheet, 2, "amplitude", kTypY);
  for (size_t i = 0; i < f.Frequency.size(); ++i) {
    sheet.TextMatrix(long(i) + 1, 1, Cell(f.Frequency[i]));
    sheet.TextMatrix(long(i) + 1, 2, Cell(f.Amplitude[i]));
  }
  if (Form_Plot* p = MakeResultPlot("FFT Analysis", "frequency (Hz)", "amplitude")) {
    const long current = sheet.Col();
    sheet.Col(2);
    const long curve = p->AddCurve();
    p->Curve(curve);
    p->CurveXCol(1);
    sheet.Col(current);
  }
  if (!f.Result.Ok) {
    host().MsgBox(f.Result.Message, MsgButtons::OK, MsgIcon::Exclamation, kGrowthTitle);
    return false;
  }
  Text_GrowthRate = f.Result.GrowthRate;
  Text_Tau = f.Result.Tau;
  rate_ = f.Result.Rate;
  UpdateGrowth();
  return true;
}

void Form_GrowthRate::Command_ShowSht() {
  sheetShown_ = !sheetShown_;
  if (sheet_) sheet_->SetVisible(sheetShown_);
}

void Form_GrowthRate::Close() {
  if (!SaveMaterials(Materials))
    host().MsgBox("The material list cannot be saved.", MsgButtons::OK, MsgIcon::Exclamation,
                  "Save Database");
}

GrowthRateWindows& GrowthWindows() {
  static GrowthRateWindows windows;
  return windows;
}

void RegisterGrowthRate() {
  Form_Plot::RegisterOperation("MathGrowthRate", [](Form_Plot& plot) {
    Form_GrowthRate form;
    form.SetPlotForm(&plot);
    if (GrowthWindows().show) GrowthWindows().show(form);
    form.Close();
  });
}

}  // namespace sv
