// Form_Experiment's commands: Accept turns the dialog into the definition
// and the run's columns and plots, Cancel, New and Start.
#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "acquisition/grabber.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "hardware/energy.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {

namespace {

// The size of the frames: the film's in VTR mode, else the grabber's (the
// dummy's while none is up).
long GrabWidthNow() {
  if (FilmMode())
    if (const Form_Camera* image = TheFilmSource()->Image()) return image->ImageWidth();
  return GrabberWidth() > 0 ? GrabberWidth() : kDummyWidth;
}
long GrabHeightNow() {
  if (FilmMode())
    if (const Form_Camera* image = TheFilmSource()->Image()) return image->ImageHeight();
  return GrabberHeight() > 0 ? GrabberHeight() : kDummyHeight;
}

// The Y column of a window's curve, by its Plot: the max column, the total,
// the background; the two differences sit where max and total are.
long PlotColumn(long first, int32_t plot) {
  switch (plot) {
    case 2: case 5: return first + 1;
    case 3: return first + 2;
    default: return first;
  }
}

// The X axis over the run, the value axis as kept (or by the data while
// nothing is kept); then the plot is drawn.
void ScaleAxes(Form_Plot& plot, float from, float to, const ExperimentWindowPlace& place) {
  if (place.Yto > place.Yfrom) plot.SetYRange(place.Yfrom, place.Yto);
  plot.SetXRange(from, to);
  plot.Plot();  // scales what is still open
  plot.SetXRange(from, to);
  plot.Plot();
}

}  // namespace

// --- The run's documents ----------------------------------------------------------

Form_Worksheet* Form_Experiment::Worksheet() const {
  if (ownSheet_) return ownSheet_.get();
  MDIForm_Main* main = MainForm();
  if (!main || !sheetHandle_) return nullptr;
  return dynamic_cast<Form_Worksheet*>(main->Child(sheetHandle_));
}

Form_Worksheet* Form_Experiment::EnsureWorksheet() {
  if (Form_Worksheet* sheet = Worksheet()) return sheet;
  iPlotHandle_ = adPlotHandle_ = 0;
  MDIForm_Main* main = MainForm();
  Form_Worksheet* sheet = main ? NewWorksheet(*main) : nullptr;
  if (sheet) {
    sheetHandle_ = sheet->Handle();
  } else {
    ownSheet_ = std::make_unique<Form_Worksheet>(nullptr);
    sheet = ownSheet_.get();
  }
  sheet->Redraw(false);
  sheet->Cols(2);
  sheet->Rows(1);
  sheet->Redraw(true);
  return sheet;
}

Form_Plot* Form_Experiment::IntensityPlot() const {
  Form_Worksheet* sheet = Worksheet();
  return sheet ? dynamic_cast<Form_Plot*>(sheet->FindPlot(iPlotHandle_)) : nullptr;
}

Form_Plot* Form_Experiment::ADPlot() const {
  Form_Worksheet* sheet = Worksheet();
  return sheet ? dynamic_cast<Form_Plot*>(sheet->FindPlot(adPlotHandle_)) : nullptr;
}

void Form_Experiment::RemovePlots() {
  Form_Worksheet* sheet = Worksheet();
  for (long* handle : {&iPlotHandle_, &adPlotHandle_}) {
    if (sheet && *handle) {
      if (SheetPlot* p = sheet->FindPlot(*handle)) p->Unload();
      sheet->RemovePlot(*handle);
    }
    *handle = 0;
  }
}

Form_Plot* Form_Experiment::NewPlot(Form_Worksheet& sheet) {
  SheetPlot* made = nullptr;
  if (!sheet.NewPlot(made) || !made) return nullptr;
  return dynamic_cast<Form_Plot*>(made);
}

// --- Accept -------------------------------------------------------------------------

void Form_Experiment::AcceptWindows(bool ie, long width, long height, bool& needIPlot) {
  ExperimentSettings& es = ES();
  es.SelectedWindows.clear();
  for (int i = 0; i < kWindowCount; ++i) {
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    w.Select = Check_Window[size_t(i)] && w.W > 0 ? 1 : 0;
    if (w.Select != 1) {
      w.RunState = 2;
      continue;
    }
    if (Check_WScan) WindowCenterFromHome(w);
    if (!ie && (w.Mode == kModeFollow || w.Mode == kModeRepeat || w.Mode == kModeTarget)) {
      host().MsgBox(WindowRefusedText(i + 1), MsgButtons::OK, MsgIcon::Exclamation,
                    kItExperimentTitle);
      Check_Window[size_t(i)] = false;
      w.Select = 0;  // it still counts for this pass
    } else if (ie && w.Mode == kModeRepeat) {
      long x = 0, y = 0;
      if (SumPosition(w.Sum, es.EStart, x, y)) {
        w.CenterX = int32_t(x);
        w.CenterY = int32_t(y);
      }
    }
    WindowUpdateRect(w, width, height);
    w.RunState = 0;
    es.SelectedWindows.push_back(int16_t(i));
    es.MaxAveraging = std::max(es.MaxAveraging, w.Averaging);
    w.Plot = std::clamp(Combo_Plot[size_t(i)], 0, 5);
    if (w.Plot != 0) needIPlot = true;
  }
}

void Form_Experiment::AcceptLines() {
  ExperimentSettings& es = ES();
  es.SelectedLines.clear();
  for (int i = 0; i < kLineCount; ++i) {
    ScanLine& l = LG().ScanLines[size_t(i)];
    l.Enabled = Check_Line[size_t(i)] ? 1 : 0;
    l.Plot = Check_LPlot[size_t(i)] ? 1 : 0;
    if (!l.Enabled) continue;
    if (Check_LScan) {
      l.X1 = l.X;
      l.Y1 = l.Y;
      l.X2 = l.X + l.DX;
      l.Y2 = l.Y + l.DY;
    }
    // A mode that cannot work: asked whether the line goes on fixed.
    std::string why;
    if (l.Mode < 0 || l.Mode > kWindowCount) {
      why = "Press 'OK' for 'Fixed Position' mode";
    } else if (l.Mode > 0) {
      const ScanWindow& w = WG().ScanWindows[size_t(l.Mode - 1)];
      if (w.W <= 0 || w.Select != 1)
        why = "Window" + std::to_string(l.Mode) +
              " must be defined and enabled to use 'Link to' mode\rPress 'OK' for 'Fixed Position' mode";
    }
    if (!why.empty()) {
      const MsgResult r = host().MsgBox(why, MsgButtons::OKCancel, MsgIcon::Exclamation,
                                        "Line " + std::to_string(i + 1));
      if (r != MsgResult::OK) {
        l.Enabled = 0;
        Check_Line[size_t(i)] = false;
        continue;
      }
      l.Mode = 0;
    }
    es.SelectedLines.push_back(int16_t(i));
    es.MaxAveraging = std::max(es.MaxAveraging, l.Averaging);
  }
}

void Form_Experiment::AcceptChannels(bool& needADPlot) {
  ExperimentSettings& es = ES();
  es.SelectedChannels.clear();
  const int channels = ADReady() ? int(std::clamp<long>(HW().ADChannelCount, 0, kADChannelMax)) : 0;
  for (int c = 0; c < kADChannelMax; ++c) {
    ADChannel& ch = HW().ADChannels[size_t(c)];
    ch.Plot = Check_ADPlot[size_t(c)] ? 1 : 0;
    if (c >= channels) continue;  // kept as it was for when the A/D comes back
    ch.Selected = Check_AD[size_t(c)] ? 1 : 0;
    if (!ch.Selected) continue;
    es.SelectedChannels.push_back(int16_t(c));
    if (ch.Plot) needADPlot = true;
  }
}

void Form_Experiment::BuildColumns(Form_Worksheet& sheet) {
  const std::vector<std::string> names = ExperimentColumnNames(ES(), IntensityUnit());
  ColumnCount = long(names.size());
  sheet.Redraw(false);
  sheet.Cols(ColumnCount + 1);
  for (long c = 1; c <= ColumnCount; ++c) {
    sheet.ColName(c, names[size_t(c - 1)]);
    sheet.Col(c);
    sheet.ColTyp(c == 1 ? kTypX : kTypY);
  }
  sheet.Col(1);
  sheet.Redraw(true);
}

void Form_Experiment::BuildPlots(Form_Worksheet& sheet, bool needIPlot, bool needADPlot) {
  const ExperimentSettings& es = ES();
  const bool ie = es.ExperimentType == kExperimentIE;
  float from = 0, to = 10;
  if (ie) {
    from = es.EStart;
    to = es.EStop;
  } else if (es.tStop != 0) {
    from = float(es.tStart / 1000.0);
    to = float(es.tStop / 1000.0);
  }
  const std::string xLabel = ie ? "energy (eV)" : "time (s)";
  const ExperimentPlaces& places = ExperimentWindowPlaces();
  RemovePlots();
  if (needIPlot) {
    if (Form_Plot* plot = NewPlot(sheet)) {
      iPlotHandle_ = plot->Handle();
      long first = ie ? 3 : 2;  // the first window's max column
      for (int16_t i : es.SelectedWindows) {
        const ScanWindow& w = WG().ScanWindows[size_t(i)];
        if (w.Plot != 0) {
          sheet.Col(PlotColumn(first, w.Plot));
          plot->AddCurve();
          plot->CurveXCol(1);
          plot->CurveColor(w.RGBColor);
        }
        first += es.SaveXY ? 5 : 3;
      }
      ScaleAxes(*plot, from, to, places.IPlot);
      plot->XLabelText(xLabel);
      const std::string unit = IntensityUnit();
      plot->YLabelText(unit == "I" ? kIntensityAxis : unit);
    }
  }
  if (needADPlot) {
    if (Form_Plot* plot = NewPlot(sheet)) {
      adPlotHandle_ = plot->Handle();
      long col = ColumnCount - long(es.SelectedChannels.size()) + 1;
      for (int16_t c : es.SelectedChannels) {
        const ADChannel& ch = HW().ADChannels[size_t(c)];
        if (ch.Plot) {
          sheet.Col(col);
          plot->AddCurve();
          plot->CurveXCol(1);
          plot->CurveColor(ch.Color);
        }
        ++col;
      }
      ScaleAxes(*plot, from, to, places.ADPlot);
      plot->XLabelText(xLabel);
      plot->YLabelText(kVoltageAxis);
    }
  }
  sheet.Col(1);
}

void Form_Experiment::Command_Accept() {
  if (running_) return;
  ExperimentSettings& es = ES();
  Form_Worksheet* sheet = Worksheet();
  // 1. Rows already measured.
  if (sheet && sheet->Rows() > 1) {
    if (host().MsgBox(kRestartQuestion, MsgButtons::YesNo, MsgIcon::Question, Caption) !=
        MsgResult::Yes)
      return;
    restart_ = true;
  }
  // 2. The fields; one out of its limits is refused here as on leaving it.
  es.ExperimentType = int16_t(Option_Experiment == kExperimentIt ? kExperimentIt : kExperimentIE);
  es.SweepFile = sweepPath_;
  es.UserSweep = Check_UserSweep && !List_Sweep.empty() ? 1 : 0;
  for (Field f : {tStart, tStop, tStep, DwellTime, EStart, EStop, EStep}) {
    if (!Text_LostFocus(f)) continue;
    double v = 0;
    std::string t = Text(f);
    std::replace(t.begin(), t.end(), ',', '.');
    v = std::strtod(t.c_str(), nullptr);
    const auto ms = [v] { return int32_t(std::clamp<double>(RoundEven(v * 1000.0), INT32_MIN, INT32_MAX)); };
    switch (f) {
      case tStart: es.tStart = ms(); break;
      case tStop: es.tStop = ms(); break;
      case tStep: es.tStep = ms(); break;
      case DwellTime: es.DwellTime = float(v * 1000.0); break;
      case EStart: es.EStart = float(v); break;
      case EStop: es.EStop = float(v); break;
      case EStep: es.EStep = float(v); break;
    }
  }
  // 3.
  const bool ie = es.ExperimentType == kExperimentIE;
  es.ExperimentActive = ie ? kActiveIE : kActiveIt;
  es.AutoSave = Check_AutoSave ? 1 : 0;
  es.OnlineExport = Check_OnlineExport ? 1 : 0;
  es.UpdateWorksheet = Check_UpdateWorksheet ? 1 : 0;
  // 4., 5. Windows and shutter.
  es.MaxAveraging = 1;
  bool needIPlot = false, needADPlot = false;
  AcceptWindows(ie, GrabWidthNow(), GrabHeightNow(), needIPlot);
  Label_WScans = std::to_string(es.SelectedWindowCount()) + " window(s)";
  ES().ShutterEnabled() = Check_ShutterControl ? 1 : 0;
  for (int i = 0; i < kWindowCount; ++i)
    if (Option_ShutterControl[size_t(i)]) {
      ES().ShutterWindow() = i;
      break;
    }
  // 6. Lines.
  AcceptLines();
  Label_LScans = std::to_string(es.SelectedLineCount()) + " line(s)";
  Label_avmax = "x" + std::to_string(es.MaxAveraging);
  // 7. A/D channels.
  AcceptChannels(needADPlot);
  Label_ADScans = std::to_string(es.SelectedChannelCount()) + " A/D-channel(s)";
  es.SaveXY = Check_SaveXY ? 1 : 0;
  // 8., 9. Columns and plots.
  sheet = EnsureWorksheet();
  BuildColumns(*sheet);
  BuildPlots(*sheet, needIPlot, needADPlot);
  // 10.
  SetEditState(false);
  RefreshOverlay();
  Changed();
}

// --- Cancel, New, Start ---------------------------------------------------------

void Form_Experiment::Command_Cancel() {
  if (running_) return;
  LoadControls();
  SetEditState(false);
  Changed();
}

void Form_Experiment::Command_New() {
  if (running_) return;
  if (Form_Worksheet* old = Worksheet()) {
    // The sheet asks about its rows once; No or Cancel keeps it.
    if (ownSheet_) {
      if (!old->QueryUnload()) return;
      RemovePlots();
      ownSheet_.reset();
    } else {
      MDIForm_Main* main = MainForm();
      if (main && !main->CloseChild(sheetHandle_)) return;
      RemovePlots();  // the sheet took its plots along
    }
    DropJournal();  // saved or discarded
    sheetHandle_ = 0;
  }
  ExperimentSettings& es = ES();
  if (es.ExperimentType == kExperimentIE) SetEnergy(es.EStart, true);
  for (int16_t i : es.SelectedWindows) {
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    WindowCenterFromHome(w);
    WindowUpdateRect(w, GrabWidthNow(), GrabHeightNow());
  }
  restart_ = false;
  Form_Worksheet* sheet = EnsureWorksheet();
  if (AcceptPending()) {
    Command_Accept();
  } else {
    bool needIPlot = false, needADPlot = false;
    for (int16_t i : es.SelectedWindows) needIPlot |= WG().ScanWindows[size_t(i)].Plot != 0;
    for (int16_t c : es.SelectedChannels) needADPlot |= HW().ADChannels[size_t(c)].Plot != 0;
    BuildColumns(*sheet);
    BuildPlots(*sheet, needIPlot, needADPlot);
  }
  sheetPath_.clear();
  SetEditState(AcceptPending());
  Changed();
}

void Form_Experiment::Command_Start(int index) {
  if (running_) return;
  Form_Worksheet* sheet = Worksheet();
  const long needed = long(ExperimentColumnNames(ES(), IntensityUnit()).size());
  if (!sheet || sheet->Cols() - 1 != needed) {
    SetEditState(true);
    if (sheet) sheet->Cols(needed + 1);  // the rows keep their data
  }
  if (AcceptPending()) {
    Command_Accept();
    if (AcceptPending()) return;
    index = 0;
  }
  const ExperimentSettings& es = ES();
  if (es.SelectedWindowCount() + es.SelectedLineCount() + es.SelectedChannelCount() == 0) {
    host().MsgBox(kNothingToScanText, MsgButtons::OK, MsgIcon::Exclamation, Caption);
    return;
  }
  if (restart_) index = 0;
  int flags = 0;
  switch (index) {
    case 0: flags = 1; break;
    case 1: flags = 0; break;
    default: flags = Ctl_Command_Start[0].Enabled ? 3 : 2; break;
  }
  sheet = Worksheet();
  if (sheet && sheet->Rows() <= 1) flags |= 1;
  restart_ = false;
  if (ExperimentDoHook())
    ExperimentDoHook()(flags);
  else
    ExperimentDo(flags);
}

}  // namespace sv
