#include "fit/form_fit.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include "core/host.h"
#include "fit/fit_settings.h"
#include "fit/form_fit_setup.h"
#include "fit/form_fit_status.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {

namespace {

constexpr const char* kPeakFitTitle = "Peak Fit";
constexpr const char* kAutoInputTitle = "Fit: Auto Input";
const char* const kPeakShapeTexts[] = {"(none)", "Lorenzian", "Gaussian"};

bool IsShapeEntry(int index) { return index >= 7 && index % 4 == 3; }

// Entries of one kind: 4k + kind for the peaks; Y0 and m stand alone.
bool SameKind(int a, int b) { return a >= 4 && b >= 4 && a % 4 == b % 4; }

std::string ListNumber(float v) { return FitNumberText(v); }

}  // namespace

FitDialogs& FitWindows() {
  static FitDialogs windows;
  return windows;
}

Form_Fit::Form_Fit() {
  Combo_Lines.push_back("Y = Y0 + m * X");
  for (int k = 1; k <= kMaxPeaks; ++k) Combo_Lines.push_back("Peak " + std::to_string(k));
  Combo_ini.assign(std::begin(kPeakShapeTexts), std::end(kPeakShapeTexts));
}

Form_Fit::~Form_Fit() { EraseArrays(); }

bool Form_Fit::Start(Form_Worksheet& sheet, long ycol, long xcol, long firstRow, long lastRow,
                     bool autoInput) {
  EraseArrays();
  sheet_ = &sheet;
  if (!KeepSettings) FitG().Settings = LoadFitSettings();

  // 1. Columns and rows.
  if (ycol < 0) ycol = sheet.SelStartCol();
  if (ycol < 1 || ycol >= sheet.Cols()) {
    host().MsgBox("Select the column to fit.", MsgButtons::OK, MsgIcon::Exclamation, kPeakFitTitle);
    sheet_ = nullptr;
    return false;
  }
  if (xcol < 0) xcol = sheet.XColOf(ycol);
  if (firstRow < 1 && lastRow < 1 && sheet.SelStartRow() >= 1 && sheet.SelEndRow() >= 1) {
    firstRow = std::min(sheet.SelStartRow(), sheet.SelEndRow());
    lastRow = std::max(sheet.SelStartRow(), sheet.SelEndRow());
  }
  if (firstRow < 1 || lastRow < 1) {
    firstRow = 1;
    lastRow = sheet.Rows() - 1;
  }
  lastRow = std::min(lastRow, sheet.Rows() - 1);

  // 2. The fit column "<name>.fit" right after the Y column, made when the
  // column there has another name (or, read back from a file, label).
  const std::string fitName = sheet.ColName(ycol) + ".fit";
  long fitcol = ycol + 1;
  const bool reuse = fitcol < sheet.Cols() &&
                     (sheet.ColName(fitcol) == fitName || sheet.Record(fitcol).Label == fitName);
  if (!reuse) {
    if (!sheet.InsertColumn(fitcol, 1)) {
      host().MsgBox("The fit column cannot be inserted.", MsgButtons::OK, MsgIcon::Exclamation,
                    kPeakFitTitle);
      sheet_ = nullptr;
      return false;
    }
    sheet.ColName(fitcol, fitName);
    // Sheet files keep labels, not names: the label keeps the column known.
    sheet.Record(fitcol).Label = fitName;
    sheet.BuildHeader(fitcol);
    if (xcol >= fitcol) ++xcol;
  }
  ycol_ = ycol;
  xcol_ = xcol;
  fitcol_ = fitcol;

  // 3. The points: rows with numbers in both columns.
  for (long r = firstRow; r <= lastRow; ++r) {
    double x, y;
    if (!sheet.NumberAt(r, xcol, x) || !sheet.NumberAt(r, ycol, y)) continue;
    x_.push_back(static_cast<float>(x));
    y_.push_back(static_cast<float>(y));
    row_.push_back(r);
  }

  // 4. The plot: data and fit against the X column.
  SheetPlot* made = nullptr;
  if (sheet.NewPlot(made) && made) {
    if (auto* plot = dynamic_cast<Form_Plot*>(made)) {
      plot_ = plot;
      plotHandle_ = plot->Handle();
      plot->TitleText(kPeakFitTitle);
      plot->XLabelText("location (pixel)");
      plot->YLabelText("intensity (a.u.)");
      const long current = sheet.Col();
      for (long c : {ycol_, fitcol_}) {
        sheet.Col(c);
        plot->AddCurve();
        plot->CurveXCol(xcol_);
      }
      sheet.Col(current);
      plot->Rescale();
    }
  }

  // 5. The table.
  FitState& g = FitG();
  for (int i = 1; i <= kFitParMax; ++i) g.Par[size_t(i)] = FitParameter{0, PeakEntryName(i)};
  model_ = PeakModel{};
  InstallModel();

  // 6. Auto input once.
  if (autoInput) Command_AutoInput();
  else CreateList();
  return true;
}

void Form_Fit::InstallModel() {
  FitG().Model.Refresh = [this] { newparModel(); };
  FitG().Model.Theo = [this](int i) { return fitTheo(i); };
}

void Form_Fit::CreatePRMfile() {
  std::vector<FitPoint>& pts = FitG().Points;
  pts.assign(y_.size(), FitPoint{});
  for (size_t i = 0; i < y_.size(); ++i) {
    pts[i].Y = y_[i];
    pts[i].X = x_[i];
  }
  InstallModel();
}

void Form_Fit::newparModel() {
  const auto& par = FitG().Par;
  model_.Location = par[1].Value;
  model_.Y0 = par[2].Value;
  model_.Slope = par[3].Value;
  for (int k = 1; k <= kMaxPeaks; ++k) {
    FitPeak& p = model_.Peak[size_t(k)];
    p.Xc = par[size_t(4 * k)].Value;
    p.Height = par[size_t(4 * k + 1)].Value;
    p.Width = par[size_t(4 * k + 2)].Value;
    p.Shape = static_cast<int16_t>(std::lround(par[size_t(4 * k + 3)].Value));
  }
}

float Form_Fit::fitTheo(int i) {
  const std::vector<FitPoint>& pts = FitG().Points;
  if (i < 0 || size_t(i) >= pts.size()) return 0.0f;
  const float x = pts[size_t(i)].X;
  FitG().Par[1].Value = x;
  model_.Location = x;
  return CalcYFit(model_, x);
}

void Form_Fit::AutoInit() {
  if (!sheet_) return;
  FitState& g = FitG();
  std::vector<FitPoint>& pts = g.Points;
  const long n = static_cast<long>(pts.size());

  double min = 0, max = -1;
  sheet_->MinMaxOfCol(ycol_, min, max);
  if (max < min) min = max = 0;

  std::vector<float> y(size_t(n + 1), 0.0f), x(size_t(n + 1), 0.0f), fit(size_t(n + 1), 0.0f);
  for (long i = 1; i <= n; ++i) {
    y[size_t(i)] = pts[size_t(i - 1)].Y;
    x[size_t(i)] = pts[size_t(i - 1)].X;
    fit[size_t(i)] = pts[size_t(i - 1)].Fit;
  }
  SmoothForAutoInit(y, fit);
  for (long i = 1; i <= n; ++i) pts[size_t(i - 1)].Y = y[size_t(i)];

  for (int i = 1; i <= kFitParMax; ++i) {
    g.Par[size_t(i)].Link = 0;
    g.Par[size_t(i)].Input = 0;
  }
  const FitSettings& fs = g.Settings;
  AutoInitSettings s;
  s.PeakMinCount = fs.PeakMinCount;
  s.PeakContrast = fs.PeakContrast;
  s.PeakShape = fs.PeakShape;
  s.PeakWidth = fs.PeakWidth;
  const AutoInitResult r = n > 0 ? ScanPeaks(x, y, min, max, s) : AutoInitResult{};

  g.Par[2].Link = 1;
  g.Par[2].Input = r.Y0;
  g.Par[3].Link = 1;
  g.Par[3].Input = r.Slope;
  for (size_t p = 0; p < r.Peaks.size(); ++p) {
    const size_t k = 4 * (p + 1);
    g.Par[k] = {1, g.Par[k].Name, r.Peaks[p].Xc};
    g.Par[k + 1] = {1, g.Par[k + 1].Name, r.Peaks[p].H};
    g.Par[k + 2] = {1, g.Par[k + 2].Name, r.Peaks[p].W};
    g.Par[k + 3] = {0, g.Par[k + 3].Name, static_cast<float>(fs.PeakShape)};
  }
  int npar = 0;
  for (int i = 1; i <= kFitParMax; ++i) {
    FitParameter& e = g.Par[size_t(i)];
    e.Value = e.Input;
    e.Error = 0;
    if (e.Link > 0) ++npar;
  }
  g.Run.NPar = npar;
  model_.Peaks = std::min(r.Count, kMaxPeaks);
  if (r.Count > kMaxPeaks)
    host().MsgBox(TooManyPeaksText(r.Count), MsgButtons::OK, MsgIcon::Exclamation,
                  kAutoInputTitle);
  newparModel();
  for (FitPoint& p : pts) p.Fit = CalcYFit(model_, p.X);
}

void Form_Fit::Peaks(int count) {
  count = std::clamp(count, 0, kMaxPeaks);
  FitState& g = FitG();
  // Peaks that go are cleared so that they take no part in a fit.
  for (int i = 4 * count + 4; i <= kFitParMax; ++i) {
    FitParameter& e = g.Par[size_t(i)];
    e.Link = 0;
    e.Input = e.Value = e.Error = 0;
  }
  model_.Peaks = count;
  newparModel();
  CreateList();
}

void Form_Fit::CreateList() {
  const auto& par = FitG().Par;
  List_Parameter.clear();
  const int last = model_.Peaks * 4 + 3;
  for (int i = 1; i <= last; ++i) {
    const FitParameter& e = par[size_t(i)];
    std::string text = e.Name + "\t";
    if (IsShapeEntry(i)) {
      const int shape = static_cast<int>(std::lround(e.Value));
      if (shape == kShapeLorentz || shape == kShapeGauss) {
        const float h = par[size_t(i - 2)].Value, w = par[size_t(i - 1)].Value;
        text += std::string(kPeakShapeTexts[shape]) + (shape == kShapeLorentz ? "  (A" : "   (A") +
                std::to_string(i / 4) + " = " + ListNumber(PeakArea(shape, h, w)) + ")";
      } else {
        text += kPeakShapeTexts[0];
      }
    } else if (e.Link > 0) {
      text += ListNumber(e.Value);
    } else if (e.Link == 0) {
      text += ListNumber(e.Value) + " = const";
    } else {
      const int other = -e.Link;
      text += "= " + (other >= 1 && other <= kFitParMax ? par[size_t(other)].Name : std::string());
    }
    List_Parameter.push_back(text);
  }
  if (List_ParameterIndex >= static_cast<int>(List_Parameter.size())) List_ParameterIndex = -1;
}

void Form_Fit::LoadEntry(int index) {
  const auto& par = FitG().Par;
  if (index < 1 || index > model_.Peaks * 4 + 3) return;
  const FitParameter& e = par[size_t(index)];
  List_ParameterIndex = index - 1;
  Label_ini = e.Name;
  Text_ini = ListNumber(e.Input);
  Combo_iniVisible = IsShapeEntry(index);
  Combo_iniIndex = Combo_iniVisible ? std::clamp(static_cast<int>(std::lround(e.Input)), 0, 2) : 0;
  Combo_fsw = {"= const", "= ?"};
  Combo_fswIndex = e.Link > 0 ? 1 : 0;
  // The location and the shapes are always fixed.
  Combo_fswEnabled = index != 1 && !Combo_iniVisible;
  if (!Combo_fswEnabled) return;
  for (int j = 2; j <= model_.Peaks * 4 + 3; ++j) {
    if (j == index || !SameKind(j, index)) continue;
    if (e.Link == -j) Combo_fswIndex = static_cast<int>(Combo_fsw.size());
    Combo_fsw.push_back("= " + par[size_t(j)].Name);
  }
}

void Form_Fit::List_Parameter_Click() { LoadEntry(List_ParameterIndex + 1); }

void Form_Fit::Combo_Lines_Click() {
  const int k = std::clamp(Combo_LinesIndex, 0, kMaxPeaks);
  if (k > model_.Peaks) Peaks(k);
  LoadEntry(k == 0 ? 2 : 4 * k);
}

void Form_Fit::Command_Accept() {
  const int index = List_ParameterIndex + 1;
  if (index < 1 || index > model_.Peaks * 4 + 3) return;
  auto& par = FitG().Par;
  FitParameter& e = par[size_t(index)];
  if (IsShapeEntry(index)) {
    e.Link = 0;
    e.Input = e.Value = static_cast<float>(std::clamp(Combo_iniIndex, 0, 2));
  } else {
    std::string t = Text_ini;
    std::replace(t.begin(), t.end(), ',', '.');
    e.Input = e.Value = FitTextToFloat(t);
    if (index == 1 || !Combo_fswEnabled || Combo_fswIndex <= 0) {
      e.Link = 0;
    } else if (Combo_fswIndex == 1) {
      e.Link = 1;
    } else if (size_t(Combo_fswIndex) < Combo_fsw.size()) {
      const std::string name = Combo_fsw[size_t(Combo_fswIndex)].substr(2);
      for (int j = 2; j <= kFitParMax; ++j)
        if (par[size_t(j)].Name == name) {
          e.Link = -j;
          e.Input = e.Value = par[size_t(j)].Input;
          break;
        }
    }
  }
  newparModel();
  const int keep = List_ParameterIndex;
  CreateList();
  List_ParameterIndex = keep;
}

void Form_Fit::Command_AutoInput() {
  CreatePRMfile();
  AutoInit();
  CreateList();
  PlotFit();
}

void Form_Fit::Command_Setup() {
  Form_FitSetup setup;
  if (FitWindows().showSetup && FitWindows().showSetup(setup) && !KeepSettings)
    setup.Command_OK();
}

void Form_Fit::Command_Calculate() {
  if (!sheet_) return;
  Form_FitStatus::Hooks hooks;
  hooks.CreatePRMfile = [this] { CreatePRMfile(); };
  hooks.MinMax = [this] { PlotFit(); };
  Form_FitStatus status(std::move(hooks));
  status.Form_Load();
  if (FitWindows().showStatus) {
    FitWindows().showStatus(status);
  } else {
    // Without a window the host's loop runs the timer until the fit ends.
    while (!status.Finished()) {
      if (!status.Running()) status.Command_Cancel_Click();
      if (status.Finished()) break;
      host().WaitForEvents(10);
      if (!status.Finished() && host().Timers().Count() > 0) host().Timers().Fire();
    }
  }
  if (!status.Finished()) status.Command_Cancel_Click();

  FitState& g = FitG();
  lastStatus_ = g.Run.Status;
  lastRunText_ = status.ResultText();
  fitted_ = true;
  newparModel();
  RichTextBox1 = ReportText();
  CreateList();
  if (lastStatus_ >= 0)
    for (int i = 1; i <= kFitParMax; ++i) g.Par[size_t(i)].Input = g.Par[size_t(i)].Value;
  PlotFit();
}

void Form_Fit::Command_ShowResult() { RichTextBox1 = ReportText(); }

void Form_Fit::Command_Close() { EraseArrays(); }

void Form_Fit::WriteResult() {
  if (!sheet_ || fitcol_ < 1 || fitcol_ >= sheet_->Cols()) return;
  const bool redraw = sheet_->Redraw();
  sheet_->Redraw(false);
  for (size_t i = 0; i < row_.size(); ++i)
    sheet_->TextMatrix(row_[i], fitcol_, Cell(CalcYFit(model_, x_[i])));
  sheet_->ColChanged(fitcol_, true);
  sheet_->Redraw(redraw);
}

void Form_Fit::PlotFit() {
  WriteResult();
  if (!sheet_ || !plotHandle_) return;
  SheetPlot* plot = sheet_->FindPlot(plotHandle_);
  if (!plot) {
    plot_ = nullptr;
    plotHandle_ = 0;
    return;
  }
  plot->ClearPlot();
  if (auto* p = dynamic_cast<Form_Plot*>(plot)) p->Plot();
}

void Form_Fit::EraseArrays() {
  FitState& g = FitG();
  FitFreeArrays();
  g.Points.clear();
  g.Model = FitModel{};
  y_.clear();
  x_.clear();
  row_.clear();
}

std::string Form_Fit::ReportText() const {
  std::time_t now = std::time(nullptr);
  std::tm tm{};
  localtime_r(&now, &tm);
  char date[32], time[32];
  std::strftime(date, sizeof date, "%Y-%m-%d", &tm);
  std::strftime(time, sizeof time, "%H:%M:%S", &tm);
  return FitReport(FitG(), model_.Peaks, date, time);
}

void LineScanFit(Form_Worksheet& sheet) {
  Form_Fit form;
  if (!form.Start(sheet)) return;
  if (FitWindows().showFit) FitWindows().showFit(form);
  form.Command_Close();
}

void RegisterPeakFit() { Form_Worksheet::RegisterOperation("MathPeakFit", LineScanFit); }

}  // namespace sv
