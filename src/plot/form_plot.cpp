#include "plot/form_plot.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include "core/host.h"
#include "core/mdi_main.h"
#include "plot/plot_render.h"
#include "plot/plot_ticks.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// The operations Invoke runs. "SetTool1" .. "SetTool5" choose the cursor,
// zoom, screen reader, data reader and marker; "MathPeakIntegrate" the peak
// tool.
constexpr const char* kOperations[] = {
    "FileClose",   "Plot",     "Rescale",  "GraphAddCurve", "DefineAxis", "DefineLayer",
    "PlotDetails", "Edit",     "SetTool1", "SetTool2",      "SetTool3",   "SetTool4",
    "SetTool5",    "MathPeakIntegrate",    "PrintSetup",    "FileExport"};

// Error number of a plot block that could not be written.
constexpr long kErrWrite = 57;

bool rescaleFlag = false;

std::map<std::string, Form_Plot::Operation>& ExtraOperations() {
  static std::map<std::string, Form_Plot::Operation> ops;
  return ops;
}

std::string WithoutPath(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Runs the tick computation; a format it gives goes to the label font's text.
void Ticks(PlotAxisRecord& axis, int flags) {
  std::string format = ComputeTicks(axis, flags);
  if (!format.empty()) axis.Labels.Text = std::move(format);
}

bool ValidColumn(const Form_Worksheet* sheet, long col) {
  return sheet && col >= 0 && col < sheet->Cols();
}

// The range a column gives, or nothing for a column without numbers.
struct Range {
  double min, max;
};
std::optional<Range> ColumnRange(Form_Worksheet* sheet, long col) {
  if (!ValidColumn(sheet, col)) return std::nullopt;
  double lo = 0, hi = -1;
  sheet->MinMaxOfCol(col, lo, hi, true);
  if (!(lo <= hi)) return std::nullopt;  // min above max: the column was empty
  return Range{lo, hi};
}

void Widen(std::optional<Range>& into, const std::optional<Range>& r) {
  if (!r) return;
  if (!into) {
    into = r;
    return;
  }
  into->min = std::min(into->min, r->min);
  into->max = std::max(into->max, r->max);
}

void ApplyRange(PlotAxisRecord& axis, const std::optional<Range>& r) {
  if (r) {
    axis.From = float(r->min);
    axis.To = float(r->max);
  } else {
    // No numbers at all: 0..10. A constant column keeps From equal to To,
    // which the tick computation turns into 0..value.
    axis.From = 0;
    axis.To = 10;
  }
}

}  // namespace

// --- Process-wide hooks --------------------------------------------------------

std::function<PlotPage()>& PlotPageSource() {
  static std::function<PlotPage()> source;
  return source;
}

PlotPage CurrentPlotPage() {
  if (PlotPageSource()) {
    PlotPage p = PlotPageSource()();
    if (p.widthMm > 0 && p.heightMm > 0) return p;
  }
  return PlotPage{};
}

void FitToPage(long& width, long& height, const PlotPage& page) {
  if (width <= 0 || height <= 0) return;
  const double aspect = page.widthMm / page.heightMm;
  if (double(width) > double(height) * aspect)
    width = std::lround(double(height) * aspect);
  else
    height = std::lround(double(width) / aspect);
}

std::function<int32_t(int)>& ScanWindowColorSource() {
  static std::function<int32_t(int)> source;
  return source;
}

int32_t ScanWindowColor(int window) {
  if (ScanWindowColorSource()) return ScanWindowColorSource()(window);
  static constexpr int kDefault[8] = {5, 13, 12, 11, 10, 9, 8, 2};
  if (window < 1 || window > 8) return BasicColor(0);
  return BasicColor(kDefault[window - 1]);
}

PlotExporter& PlotExportSource() {
  static PlotExporter exporter;
  return exporter;
}

bool RescaleFlag() { return rescaleFlag; }
void SetRescaleFlag(bool flag) { rescaleFlag = flag; }

// --- Form_Plot -----------------------------------------------------------------

Form_Plot::Form_Plot(MDIForm_Main* main, bool threeD) : main_(main), threeD_(threeD) {
  UpdateCaption();
}

Form_Plot::~Form_Plot() = default;

void Form_Plot::RegisterOperation(const std::string& name, Operation op) {
  if (op)
    ExtraOperations()[name] = std::move(op);
  else
    ExtraOperations().erase(name);
}

bool Form_Plot::Offers(const std::string& operation) const {
  for (const char* op : kOperations)
    if (operation == op) return true;
  return ExtraOperations().count(operation) > 0;
}

bool Form_Plot::Invoke(const std::string& operation) {
  if (operation == "FileClose") {
    FileClose();  // may destroy this plot: nothing may follow
    return true;
  }
  if (operation == "Plot") {
    ClearPlot();
    Plot();
  } else if (operation == "Rescale") {
    Rescale();
  } else if (operation == "GraphAddCurve") {
    GraphAddCurve(0);
  } else if (operation == "DefineAxis") {
    DefineAxis(false);
  } else if (operation == "DefineLayer") {
    DefineLayer();
  } else if (operation == "PlotDetails") {
    PlotDetails(current_);
  } else if (operation == "Edit") {
    Edit();
  } else if (operation.size() == 8 && operation.compare(0, 7, "SetTool") == 0 &&
             operation[7] >= '1' && operation[7] <= '5') {
    SetTool(operation[7] - '0');
  } else if (operation == "MathPeakIntegrate") {
    SetTool(6);
  } else if (operation == "PrintSetup") {
    PrintSetup();
  } else if (operation == "FileExport") {
    FileExport();
  } else if (auto it = ExtraOperations().find(operation); it != ExtraOperations().end()) {
    Operation run = it->second;  // the table may change while it runs
    run(*this);
  } else {
    return false;
  }
  return true;
}

bool Form_Plot::QueryUnload() {
  if (Form_Worksheet* sheet = sheet_) {
    sheet_ = nullptr;
    sheet->RemovePlot(Handle());
  }
  return true;
}

void Form_Plot::FileClose() {
  if (main_ && main_->Child(Handle()) == this) {
    main_->CloseChild(Handle());
    return;
  }
  view_->Close(*this);
  QueryUnload();  // the sheet may let go of this plot here: nothing may follow
}

void Form_Plot::Unload() {
  // The sheet that asks keeps its own list.
  sheet_ = nullptr;
  if (main_ && main_->Child(Handle()) == this) {
    main_->CloseChild(Handle());
    return;
  }
  view_->Close(*this);
}

void Form_Plot::SetWorksheet(Form_Worksheet* sheet) {
  sheet_ = sheet;
  UpdateCaption();
}

void Form_Plot::SetPlotName(const std::string& name) {
  PlotName_ = name;
  UpdateCaption();
}

void Form_Plot::UpdateCaption() {
  if (!sheet_) caption_ = "(" + PlotName_ + ")";
  else caption_ = WithoutPath(sheet_->Filename()) + " (" + PlotName_ + ")";
  view_->CaptionChanged(*this);
}

// --- Curves ----------------------------------------------------------------------

void Form_Plot::Curves(long count) {
  count = std::max(count, 0L);
  const long old = Curves();
  if (count < old) {
    Curve_.resize(size_t(count));
  } else {
    Curve_.reserve(size_t(count));
    for (long i = old; i < count; ++i) Curve_.push_back(PlotCurveRecord::Default(i));
  }
  Layer.CurveCount = int32_t(count);
}

long Form_Plot::AddCurve() {
  const long index = Curves();
  Curves(index + 1);
  current_ = index;
  PlotCurveRecord& c = Curve_.back();
  if (sheet_) {
    const long col = sheet_->Col();
    c.YCol = int32_t(col);
    std::string legend = sheet_->ColLabel();
    if (legend.empty() && ValidColumn(sheet_, col)) legend = sheet_->ColName(col);
    c.Legend = legend;
  }
  return index;
}

PlotCurveRecord* Form_Plot::Current() {
  return current_ >= 0 && current_ < Curves() ? &Curve_[size_t(current_)] : nullptr;
}

const PlotCurveRecord* Form_Plot::Current() const {
  return current_ >= 0 && current_ < Curves() ? &Curve_[size_t(current_)] : nullptr;
}

long Form_Plot::CurveXCol() const { return Current() ? Current()->XCol : 0; }
void Form_Plot::CurveXCol(long col) {
  if (auto* c = Current()) c->XCol = int32_t(col);
}
long Form_Plot::CurveCol() const { return Current() ? Current()->YCol : 0; }
long Form_Plot::CurveColor() const { return Current() ? Current()->Color : 0; }
void Form_Plot::CurveColor(long color) {
  if (auto* c = Current()) c->Color = int32_t(color);
}
long Form_Plot::CurveType() const { return Current() ? Current()->LineType : 0; }
void Form_Plot::CurveType(long type) {
  if (auto* c = Current()) c->LineType = int32_t(type);
}
long Form_Plot::CurveShape() const { return Current() ? Current()->Shape : 0; }
void Form_Plot::CurveShape(long shape) {
  if (auto* c = Current()) c->Shape = int32_t(shape);
}
long Form_Plot::CurveSize() const {
  if (!Current()) return 0;
  const double s = std::nearbyint(double(Current()->Size));  // ties to even
  return std::isfinite(s) ? long(std::clamp(s, -2147483648.0, 2147483647.0)) : 0;
}
void Form_Plot::CurveSize(double size) {
  if (auto* c = Current()) c->Size = float(size);
}
void Form_Plot::SetPlotType(long type) {
  if (auto* c = Current()) c->PlotType = int32_t(type);
}

bool Form_Plot::IsCurve(long column) const {
  return std::any_of(Curve_.begin(), Curve_.end(),
                     [&](const PlotCurveRecord& c) { return c.YCol == column; });
}

void Form_Plot::RemoveCurve(long column) {
  auto it = std::find_if(Curve_.begin(), Curve_.end(),
                         [&](const PlotCurveRecord& c) { return c.YCol == column; });
  if (it != Curve_.end()) Curve_.erase(it);
  // The caller deletes the column: the ones above it move down.
  for (PlotCurveRecord& c : Curve_)
    if (c.YCol > column) --c.YCol;
  Layer.CurveCount = int32_t(Curves());
}

void Form_Plot::ColsAdded(long first, long count) {
  for (PlotCurveRecord& c : Curve_)
    if (c.YCol >= first) c.YCol = int32_t(c.YCol + count);
}

void Form_Plot::GetMarkerRange(float& from, float& to) const {
  const PlotCurveRecord* c = Current();
  // A missing marker stands for From at both ends, as it is meant to.
  from = c && c->MarkerLeft ? *c->MarkerLeft : XAxis.From;
  to = c && c->MarkerRight ? *c->MarkerRight : XAxis.From;
}

void Form_Plot::GetYRange(float& from, float& to) const {
  from = YAxis.From;
  to = YAxis.To;
}

void Form_Plot::SetXRange(float from, float to) {
  XAxis.From = from;
  XAxis.To = to;
  Ticks(XAxis, TickFlag::All);
}

void Form_Plot::SetYRange(float from, float to) {
  YAxis.From = from;
  YAxis.To = to;
  Ticks(YAxis, TickFlag::All);
}

void Form_Plot::Legend(bool on) {
  Legend_ = on;
  if (on) {
    PlotLegend();
  } else {
    ClearPlot();
    Plot();
  }
}

double Form_Plot::ScreenX(double user) const {
  return Layer.OriginX + (user - XAxis.From) * Layer.ScaleX;
}
double Form_Plot::ScreenY(double user) const {
  return Layer.OriginY + (user - YAxis.From) * Layer.ScaleY;
}
double Form_Plot::UserX(double device) const {
  if (Layer.ScaleX == 0) return XAxis.From;
  return (device - Layer.OriginX) / Layer.ScaleX + XAxis.From;
}
double Form_Plot::UserY(double device) const {
  if (Layer.ScaleY == 0) return YAxis.From;
  return (device - Layer.OriginY) / Layer.ScaleY + YAxis.From;
}

// --- Drawing -------------------------------------------------------------------

void Form_Plot::ClearPlot() {
  if (DrawSurface* picture = view_->Picture()) {
    rubberBand_ = false;
    peakLine_ = false;
    ClearPicture(*this, *picture);
    view_->ShowPicture();
  }
  view_->ClearPlot(*this);
}

bool Form_Plot::AutoScale() {
  const bool xEmpty = XAxis.From == XAxis.To;
  if (!rescaleFlag && !xEmpty && YAxis.From != YAxis.To) return true;
  if (xEmpty && Curve_.empty()) return false;
  std::optional<Range> x, y;
  for (const PlotCurveRecord& c : Curve_) {
    Widen(x, ColumnRange(sheet_, c.XCol));
    Widen(y, ColumnRange(sheet_, c.YCol));
  }
  if (!Curve_.empty()) {
    ApplyRange(XAxis, x);
    ApplyRange(YAxis, y);
  } else if (YAxis.From == YAxis.To) {
    ApplyRange(YAxis, std::nullopt);
  }
  Ticks(XAxis, TickFlag::All);
  Ticks(YAxis, TickFlag::All);
  return true;
}

void Form_Plot::Plot() {
  if (!AutoScale()) return;
  if (DrawSurface* picture = view_->Picture()) {
    // A rubber band still on the picture ends before the new drawing.
    if (rubberBand_) DrawInverseRect();
    rubberBand_ = false;
    peakLine_ = false;
    DrawPlot(*this, *picture);
    view_->ShowPicture();
  }
  view_->Plot(*this);
}

void Form_Plot::PlotCurve(long curve) {
  if (DrawSurface* picture = view_->Picture()) {
    DrawCurve(*this, *picture, curve);
    view_->ShowPicture();
  }
}

void Form_Plot::PlotPoint(long curve, float x, float y) {
  if (DrawSurface* picture = view_->Picture()) {
    const DrawRect changed = DrawPlotPoint(*this, *picture, curve, x, y);
    if (changed.right > changed.left && changed.bottom > changed.top) view_->ShowPicture(changed);
  }
}

void Form_Plot::PlotLegend() {
  if (DrawSurface* picture = view_->Picture()) {
    DrawLegend(*this, *picture);
    view_->ShowPicture();
  }
}

void Form_Plot::Rescale() {
  rescaleFlag = true;
  ClearPlot();
  Plot();
  rescaleFlag = false;
}

void Form_Plot::Update() {
  if (!sheet_) return;
  for (const PlotCurveRecord& c : Curve_)
    if (ValidColumn(sheet_, c.YCol) && sheet_->ColChanged(c.YCol)) {
      ClearPlot();
      Plot();
      return;
    }
}

// --- Dialogs ---------------------------------------------------------------------

void Form_Plot::GraphAddCurve(long plotType) {
  if (!sheet_) return;
  Form_Worksheet& sheet = *sheet_;
  Form_NewPlot dlg;
  dlg.Caption = "Add Plot";
  dlg.Text_Title = TitleText();
  dlg.Text_XLabel = XLabelText();
  dlg.Text_YLabel = YLabelText();
  for (long c = 1; c < sheet.Cols(); ++c)
    dlg.List_Columns.push_back({sheet.ColName(c) + "  " + sheet.Record(c).Label, c});
  if (sheet.SelStartCol() >= 1) {
    const long last = std::min(sheet.SelEndCol(), sheet.Cols() - 1);
    for (long c = sheet.SelStartCol(); c <= last; ++c) {
      if (sheet.Record(c).Typ == kTypX) {
        if (dlg.List_XColumn.empty()) dlg.PreselectX(c);
      } else {
        dlg.PreselectY(c);
      }
    }
  }
  plotDialogs().ShowNewPlot(dlg);
  if (dlg.Tag != "OK") return;

  const long x = dlg.XColumn();
  for (long y : dlg.YColumns()) {
    if (!ValidColumn(&sheet, y)) continue;
    if (IsCurve(y)) {
      const MsgResult r = host().MsgBox("_" + sheet.ColName(y) + " is already plotted in this layer!",
                                        MsgButtons::YesNo, MsgIcon::Question, "Attention");
      if (r == MsgResult::No) continue;
    }
    sheet.Col(y);
    AddCurve();
    CurveXCol(x > 0 ? x : sheet.XColOf(y));
    SetPlotType(plotType);
  }
  if (!dlg.Text_Title.empty()) TitleText(dlg.Text_Title);
  if (!dlg.Text_XLabel.empty()) XLabelText(dlg.Text_XLabel);
  if (!dlg.Text_YLabel.empty()) YLabelText(dlg.Text_YLabel);
  ClearPlot();
  Plot();
}

void Form_Plot::PlotDetails(long curve) {
  if (curve < 0 || curve >= Curves()) return;
  const PlotCurveRecord& c = Curve_[size_t(curve)];
  Form_PlotDetails dlg;
  std::string file, name, label;
  if (sheet_) {
    file = WithoutPath(sheet_->Filename());
    if (ValidColumn(sheet_, c.YCol)) {
      name = sheet_->ColName(c.YCol);
      label = sheet_->Record(c.YCol).Label;
    }
  }
  dlg.Load(c, file, name, label);
  plotDialogs().ShowPlotDetails(dlg);
  if (dlg.Tag == "OK") {
    Curve_[size_t(curve)] = dlg.Edited();
    ClearPlot();
    Plot();
  } else if (dlg.Tag == "Remove") {
    // Unlike RemoveCurve, every column number stays as it is.
    Curve_.erase(Curve_.begin() + curve);
    Layer.CurveCount = int32_t(Curves());
    ClearPlot();
    Plot();
  } else if (dlg.Tag == "Worksheet") {
    if (!sheet_) return;
    sheet_->Col(c.YCol);
    if (main_ && main_->Child(sheet_->Handle()) == sheet_) main_->ShowChild(sheet_->Handle());
  }
}

bool Form_Plot::DefineLayer() {
  Form_Layer dlg;
  const PlotPage page = CurrentPlotPage();
  dlg.PageWidthMm = page.widthMm;
  dlg.PageHeightMm = page.heightMm;
  dlg.Text_l = FieldText(double(Layer.Left) * 100);
  dlg.Text_t = FieldText(double(Layer.Top) * 100);
  dlg.Text_w = FieldText(double(Layer.Width) * 100);
  dlg.Text_h = FieldText(double(Layer.Height) * 100);
  dlg.Text_Title = Layer.Title.Text;
  dlg.Check_Color = !(Layer.BackColor & 0x80000000u);
  dlg.BackColor = int32_t(Layer.BackColor & 0xFFFFFF);
  plotDialogs().ShowLayer(dlg);
  if (dlg.Tag != "OK") return false;
  Layer.Left = float(FieldValue(dlg.Text_l) * 0.01);
  Layer.Top = float(FieldValue(dlg.Text_t) * 0.01);
  Layer.Width = float(FieldValue(dlg.Text_w) * 0.01);
  Layer.Height = float(FieldValue(dlg.Text_h) * 0.01);
  Layer.Title.Text = dlg.Text_Title;
  Layer.BackColor = (uint32_t(dlg.BackColor) & 0xFFFFFF) | (dlg.Check_Color ? 0 : 0x80000000u);
  ClearPlot();
  Plot();
  return true;
}

void Form_Plot::ReadAxisDialog(const Form_Axis& form, int axis, PlotAxisRecord& rec) {
  auto number = [](const std::string& text) {
    return float(std::clamp(FieldValue(text), -3.4e38, 3.4e38));
  };
  rec.From = number(form.Text_From);
  rec.To = number(form.Text_To);
  rec.Inc = number(form.Text_Inc);
  rec.Ticks = int32_t(std::nearbyint(std::clamp(FieldValue(form.Text_ticks), -1e9, 1e9)));
  rec.Thickness = number(form.Combo_Thickness);
  rec.Flags = form.Flags(rec.Flags);
  // Each failed test repairs the values by the tick computation.
  if (rec.From == rec.To) Ticks(rec, TickFlag::All);
  if (rec.Inc == 0) Ticks(rec, TickFlag::Inc | TickFlag::Ticks);
  const double intervals = std::nearbyint((double(rec.To) - rec.From) / rec.Inc);
  const double limit = axis == 2 ? 21 : 13;
  if (!(intervals >= 3 && intervals < limit)) Ticks(rec, TickFlag::Inc | TickFlag::Ticks);
  if (rec.Ticks < 0 || rec.Ticks > 9) Ticks(rec, TickFlag::Ticks);
  if (form.Text_Title != rec.Title.Text) rec.Title.Text = form.Text_Title;
}

int Form_Plot::AxisDefinition(int axis) {
  PlotAxisRecord& rec = axis == 2 ? YAxis : XAxis;
  Form_Axis dlg;
  dlg.Load(axis, rec);
  plotDialogs().ShowAxis(dlg);
  int result = 0;
  if (dlg.Tag == "OK") result = 1;
  else if (dlg.Tag == "AXIS") result = 2;
  else if (dlg.Tag == "GRID") result = 3;
  if (result == 0) return 0;
  PlotAxisRecord edited = rec;
  ReadAxisDialog(dlg, axis, edited);
  rec = edited;
  ClearPlot();
  Plot();
  return result;
}

void Form_Plot::DefineAxis(bool startAtY) {
  int axis = startAtY ? 2 : 1;
  for (;;) {
    const int result = AxisDefinition(axis);
    if (result == 2) {
      axis = 3 - axis;
      continue;
    }
    if (result == 3) GridSetup(axis);
    return;
  }
}

void Form_Plot::GridSetup(int axis) {
  PlotAxisRecord& rec = axis == 2 ? YAxis : XAxis;
  PlotAxisRecord& other = axis == 2 ? XAxis : YAxis;
  Form_GridSetup dlg;
  dlg.Caption = std::string(axis == 2 ? "Y Axis" : "X Axis") + ": Grid Lines";
  dlg.Load(rec);
  plotDialogs().ShowGridSetup(dlg);
  if (dlg.Tag != "OK") return;
  dlg.Store(rec);
  if (dlg.Check_ApplyToAll) dlg.Store(other);
  ClearPlot();
  Plot();
}

// --- Records in a file -----------------------------------------------------------

long Form_Plot::SavePlot(BinaryOut& file) {
  Layer.Window.Caption = caption_;
  view_->ReadPlacement(Layer.Window);
  Layer.CurveCount = int32_t(Curves());
  WriteLayer(file, Layer);
  WriteAxis(file, XAxis);
  WriteAxis(file, YAxis);
  for (const PlotCurveRecord& c : Curve_) WriteCurve(file, c);
  return file.ok() ? 0 : kErrWrite;
}

long Form_Plot::OpenPlot(BinaryIn& file) {
  // Everything is read aside first: a block that fails leaves the plot as it was.
  PlotLayerRecord layer = ReadLayer(file);
  if (!file.ok() || layer.CurveCount < 0) return kErrBadPlotBlock;
  const uint64_t left = file.Size() - std::min(file.Tell(), file.Size());
  if (uint64_t(layer.CurveCount) > left / kMinCurveBytes) return kErrBadPlotBlock;
  PlotAxisRecord x = ReadAxis(file);
  PlotAxisRecord y = ReadAxis(file);
  std::vector<PlotCurveRecord> curves;
  curves.reserve(size_t(layer.CurveCount));
  bool bad = false;
  for (int32_t i = 0; i < layer.CurveCount && file.ok() && !bad; ++i)
    curves.push_back(ReadCurve(file, bad));
  if (!file.ok() || bad) return kErrBadPlotBlock;

  Layer = std::move(layer);
  XAxis = std::move(x);
  YAxis = std::move(y);
  Curve_ = std::move(curves);
  if (current_ >= Curves()) current_ = 0;

  const PlotWindowRecord& w = Layer.Window;
  view_->SetWindowState(w.WindowState);
  // The caption "<sheet> (<name>)" gives the plot its name back.
  const std::string& cap = w.Caption;
  const size_t open = cap.rfind('(');
  if (!cap.empty() && cap.back() == ')' && open != std::string::npos)
    PlotName_ = cap.substr(open + 1, cap.size() - open - 2);
  else
    PlotName_ = cap;
  caption_ = cap;
  view_->CaptionChanged(*this);
  if (w.WindowState == 0) view_->MoveWindow(w.WindowLeft, w.WindowTop, w.WindowWidth, w.WindowHeight);
  return 0;
}

// --- The sheet's AddNewPlot ------------------------------------------------------

namespace {

std::string LabelOrName(const Form_Worksheet& sheet, long col) {
  const ColumnRecord& r = sheet.Record(col);
  return r.Label.empty() ? r.Name : r.Label;
}

}  // namespace

bool AddNewPlot(Form_Worksheet& sheet, bool threeD) {
  Form_NewPlot dlg;
  dlg.Caption = threeD ? "3D Plot" : "New Plot";
  dlg.HasZAxis = threeD;
  if (threeD) {
    dlg.Text_Title = "Waterfall";
    dlg.Text_XLabel = "X Axis";
    dlg.Text_YLabel = "Y Axis";
    dlg.Text_ZLabel = "Z Axis";
  }
  const Form_NewPlot defaults = dlg;
  for (long c = 1; c < sheet.Cols(); ++c) dlg.List_Columns.push_back({sheet.PlotListLine(c), c});
  for (long c = 1; c < sheet.Cols(); ++c)
    if (sheet.Record(c).Typ == kTypX) {
      dlg.PreselectX(c);
      break;
    }
  // Whole columns selected: those in the selection become curves.
  if (sheet.SelStartRow() < 1 && sheet.SelStartCol() >= 1) {
    const long last = std::min(sheet.SelEndCol(), sheet.Cols() - 1);
    for (long c = sheet.SelStartCol(); c <= last; ++c) dlg.PreselectY(c);
  }
  plotDialogs().ShowNewPlot(dlg);
  const std::vector<long> ys = dlg.YColumns();
  if (dlg.Tag != "OK" || ys.empty()) return false;

  SheetPlot* made = nullptr;
  if (!(threeD ? sheet.New3DPlot(made) : sheet.NewPlot(made))) return false;
  auto* plot = dynamic_cast<Form_Plot*>(made);
  if (!plot) return false;

  const long x = dlg.XColumn();
  for (long y : ys) {
    if (!ValidColumn(&sheet, y)) continue;
    sheet.Col(y);
    plot->AddCurve();
    plot->CurveXCol(x > 0 ? x : sheet.XColOf(y));
    // A curve named after a scan window ("...1" to "...8") takes its colour.
    const std::string name = sheet.ColName(y);
    if (!name.empty() && name.back() >= '1' && name.back() <= '8')
      plot->CurveColor(ScanWindowColor(name.back() - '0'));
  }
  // Titles typed in the dialog win; else the columns name the axes.
  auto title = [](const std::string& typed, const std::string& def, const std::string& fromColumn) {
    if (!typed.empty() && typed != def) return typed;
    return fromColumn.empty() ? def : fromColumn;
  };
  const long xcol = x > 0 ? x : sheet.XColOf(ys.front());
  plot->TitleText(dlg.Text_Title);
  plot->XLabelText(title(dlg.Text_XLabel, defaults.Text_XLabel,
                         xcol > 0 ? LabelOrName(sheet, xcol) : std::string()));
  plot->YLabelText(title(dlg.Text_YLabel, defaults.Text_YLabel,
                         ValidColumn(&sheet, ys.front()) ? LabelOrName(sheet, ys.front()) : ""));
  plot->ZLabelText = dlg.Text_ZLabel;
  plot->Curve(0);
  plot->Plot();
  if (MDIForm_Main* main = plot->Main(); main && main->Child(plot->Handle()) == plot)
    main->ShowChild(plot->Handle());
  return true;
}

}  // namespace sv
