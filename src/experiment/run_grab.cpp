// One step of a run: ExperimentGrab measures one row (frames, windows, lines,
// A/D channels), puts it into the sheet, the plots and the journal, and hands
// it to the file handshake and the spreadsheet link. Nothing in it yields but
// the handshake's waits, which come after the row is in the sheet, so that
// windows, sheet and plots stay consistent.
#include <algorithm>
#include <cmath>
#include <limits>

#include "acquisition/grabber.h"
#include "acquisition/live.h"
#include "analysis/form_line_scan_plot.h"
#include "analysis/form_window_setup.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "experiment/experiment_run.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "experiment/run_overlay.h"
#include "experiment/soft_trigger.h"
#include "hardware/energy.h"
#include "image/form_camera.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// The value a window plots, by its Plot: 1 I.max, 2 I.total, 3 I.back,
// 4 I.max - I.back, 5 I.total - I.back.
float PlottedValue(const AnalysisResult& r, int32_t plot) {
  switch (plot) {
    case 1: return r.I.max;
    case 2: return r.I.total;
    case 3: return r.I.back;
    case 4: return r.I.max - r.I.back;
    case 5: return r.I.total - r.I.back;
    default: return 0;
  }
}

ConstSamples16 FrameOf(const Form_Camera& image) {
  const uint16_t* p = image.ImagePtr();
  return ConstSamples16(p, p ? size_t(image.ImageBytes()) / 2 : 0);
}

// Widens an axis to take in v: half a span beyond it, so that widening
// stays rare; the tick computation rounds the ends. False when v lies inside.
bool WidenToTake(PlotAxisRecord& axis, double v) {
  if (!std::isfinite(v)) return false;
  const bool reversed = axis.From > axis.To;
  double lo = std::min(axis.From, axis.To), hi = std::max(axis.From, axis.To);
  if (v >= lo && v <= hi) return false;
  const double span = hi > lo ? hi - lo : std::max(1.0, std::fabs(v));
  if (v > hi) hi = v + span / 2;
  if (v < lo) lo = v - span / 2;
  if (!std::isfinite(lo) || !std::isfinite(hi) || std::fabs(lo) > 3e38 || std::fabs(hi) > 3e38)
    return false;
  axis.From = float(reversed ? hi : lo);
  axis.To = float(reversed ? lo : hi);
  return true;
}

}  // namespace

// A run's point on a plot. A point outside an autoscaled plot widens its
// ranges instead, and the plot is drawn anew once the row is in the sheet,
// so that the curves stay in sight while the run goes on.
void Form_Experiment::RunPoint(Form_Plot& plot, bool autoscale, bool& redraw, long curve,
                               float x, float y) {
  if (autoscale) {
    const bool wx = WidenToTake(plot.XAxis, x);
    const bool wy = WidenToTake(plot.YAxis, y);
    if (wx) plot.SetXRange(plot.XAxis.From, plot.XAxis.To);
    if (wy) plot.SetYRange(plot.YAxis.From, plot.YAxis.To);
    if (wx || wy) redraw = true;
  }
  if (!redraw) plot.PlotPoint(curve, x, y);
}

// --- Frames ------------------------------------------------------------------------------

void Form_Experiment::ReadFrames(bool vtr, Form_Camera* image) {
  ExperimentSettings& es = ES();
  const FrameSize size{imageWidth_, imageHeight_};
  if (vtr) {
    // A film's frame stands alone: one frame, whatever the averaging.
    if (image && image->ImagePtr()) {
      const FrameSize film{image->ImageWidth(), image->ImageHeight()};
      const ConstSamples16 frame = FrameOf(*image);
      for (int16_t i : es.SelectedWindows)
        WindowScanFrame(WG().ScanWindows[size_t(i)], film, frame, 0, colour_);
      LinesScanFrame(film, frame, 0, colour_);
    }
    FilmSource& source = *TheFilmSource();
    // The frame's own numbers, before the film moves on.
    for (size_t n = 0; n < es.SelectedChannels.size() && n < filmValues_.size(); ++n) {
      const ADChannel& ch = HW().ADChannels[size_t(es.SelectedChannels[n])];
      if (!source.UserData(ch.ChannelName, filmValues_[n])) filmValues_[n] = 0;
    }
    const bool end = es.ExperimentType == kExperimentIE
                         ? source.NextFrameInSweepEnergyRange(es.EStart, es.EStop)
                         : !source.Step();
    if (end) StopCode() = int16_t(kErrEndOfClip);
    return;
  }
  WindowBoard& board = Board();
  if (!board.Roi()) {
    const ConstSamples16 frame(imageBuffer_, imageBuffer_ ? imageSamples_ : 0);
    for (long f = 0; f < es.MaxAveraging; ++f) {
      if (imageBuffer_) GrabberReadImage(Samples16(imageBuffer_, imageSamples_));
      for (int16_t i : es.SelectedWindows) {
        ScanWindow& w = WG().ScanWindows[size_t(i)];
        if (f < w.Averaging) WindowScanFrame(w, size, frame, f, colour_);
      }
      LinesScanFrame(size, frame, f, colour_);
    }
    // The screen shows the last frame.
    if (image && imageBuffer_ == image->ImagePtr()) image->Update8BitImage();
    return;
  }
  // The board sums windows and lines itself; only they cross the bus.
  LineBoard& lines = TheLineBoard();
  for (long f = 0; f < es.MaxAveraging; ++f) {
    board.Digitize();
    board.Sync();
    for (int16_t i : es.SelectedWindows) {
      ScanWindow& w = WG().ScanWindows[size_t(i)];
      if (f < w.Averaging) board.ScanFrame(w, f);
    }
    for (int16_t i : es.SelectedLines) {
      ScanLine& l = LG().ScanLines[size_t(i)];
      if (f < l.Averaging && !l.Buffer.empty()) {
        LineAccumulatorOf(l);
        lines.ReadLine(l, f);
      }
    }
  }
  if (image) Grab(*image);
}

// --- Windows -------------------------------------------------------------------------

bool Form_Experiment::EvaluateWindows(bool vtr, float x, float seconds, long& column) {
  ExperimentSettings& es = ES();
  const bool ie = es.ExperimentType == kExperimentIE;
  const WindowStepEnergy step{ie, es.Energy, es.EStart, es.EStep};
  Form_Camera* image = SourceImage();
  const AnalysisHooks& hooks = Hooks();
  const bool calibrated = image && hooks.CalibrationOn && hooks.CalibrationOn(*image) &&
                          hooks.CalIntensity;
  Form_Plot* plot = IntensityPlot();
  AnalysisResult& r = WG().Result;
  bool moved = false;
  long curve = 0;
  for (int16_t i : es.SelectedWindows) {
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    // 1.
    r = AnalysisResult();
    WindowFrameAnalysis(w, dynamik_, colour_, r);
    r.Dynamic = int32_t((vtr ? 1 : w.Averaging) * dynamik_);
    // 2.
    if (calibrated) {
      r.I.max = hooks.CalIntensity(*image, r.I.max);
      r.I.total = hooks.CalIntensity(*image, r.I.total);
      r.I.back = hooks.CalIntensity(*image, r.I.back);
    }
    // 3.
    const bool less = w.Plot == 4 || w.Plot == 5;
    rowData_[size_t(column++)] = less ? r.I.max - r.I.back : r.I.max;
    rowData_[size_t(column++)] = less ? r.I.total - r.I.back : r.I.total;
    rowData_[size_t(column++)] = r.I.back;
    if (es.SaveXY) {
      rowData_[size_t(column++)] = float(r.X.max);
      rowData_[size_t(column++)] = float(r.Y.max);
    }
    // 4.
    if (WindowFollowStep(w, r, step, imageWidth_, imageHeight_)) moved = true;
    // 5. The shutter's detector sees a window only when it has a curve.
    if (w.Plot != 0) {
      const float value = PlottedValue(r, w.Plot);
      if (plot) RunPoint(*plot, Check_IPlotAutoScale, iplotRedraw_, curve, x, value);
      ++curve;
      if (shutterOn_) ShutterFeed(SoftTrigger, i, seconds, value);
    }
  }
  return moved;
}

// --- One row ------------------------------------------------------------------------------

void Form_Experiment::ExperimentGrab() {
  ExperimentSettings& es = ES();
  const bool vtr = FilmMode();
  const bool ie = es.ExperimentType == kExperimentIE;
  Form_Camera* image = SourceImage();
  Form_Worksheet* sheet = Worksheet();
  if (!sheet || rowData_.size() < size_t(ColumnCount + 1)) {
    // No buffers: nothing to measure into.
    StopCode() = int16_t(kErrNoMemory);
    return;
  }
  // 1.
  const double secondsExact = es.Time * 0.001;
  const float seconds = float(secondsExact);
  // 2.
  if (shutterOn_) ShutterStep(SoftTrigger, seconds);
  // 3.
  long column = 1;
  float x = seconds;
  if (ie) {
    if (vtr && TheFilmSource()->Energy() >= 0) es.Energy = TheFilmSource()->Energy();
    if (!vtr) SetEnergy(es.Energy, true);
    x = es.Energy;
    rowData_[size_t(column++)] = es.Energy;
  }
  rowData_[size_t(column++)] = seconds;
  // 4. Where each window will be.
  const WindowStepEnergy step{ie, es.Energy, es.EStart, es.EStep};
  bool moved = false;
  for (int16_t i : es.SelectedWindows)
    if (WindowPrepareStep(WG().ScanWindows[size_t(i)], step, imageWidth_, imageHeight_)) moved = true;
  if (moved && image) Overlay_ExpRunning(*image, kOverlayLines | kOverlayWindows);
  // 5.
  if (vtr) std::fill(filmValues_.begin(), filmValues_.end(), 0.0f);
  if (!es.SelectedWindows.empty() || !es.SelectedLines.empty() || vtr) ReadFrames(vtr, image);
  // 6.
  if (EvaluateWindows(vtr, x, seconds, column)) moved = true;
  // 7. Lines, 'Link to' lines after their windows.
  if (!es.SelectedLines.empty()) {
    LinesStep(profiles_);
    if (LinesFollowWindows(imageWidth_, imageHeight_)) moved = true;
    std::array<int32_t, kLineCount> colors{};
    for (int n = 0; n < kLineCount; ++n) colors[size_t(n)] = LG().ScanLines[size_t(n)].Color;
    LScanPlotForm().SetProfiles(profiles_, colors, dynamik_);
  }
  // 8.
  if (image) {
    if (moved) {
      Overlay_ExpRunning(*image, overlayFlags_);
      if (!vtr && GB().UseOverlay && GrabberHasOverlay()) {
        GrabberOverlayClear();
        for (int16_t i : es.SelectedWindows) {
          const ScanWindow& w = WG().ScanWindows[size_t(i)];
          GrabberOverlayDrawFrame(w.CurX1, w.CurY1, long(w.CurX2) - w.CurX1 + 1,
                                  long(w.CurY2) - w.CurY1 + 1, w.RGBColor);
        }
        for (int16_t i : es.SelectedLines) {
          const ScanLine& l = LG().ScanLines[size_t(i)];
          GrabberOverlayDrawLine(l.X1, l.Y1, l.X2, l.Y2, l.Color);
        }
        GrabberDisplayOverlay(true);
      }
    }
    image->DrawCameraImage();
  }
  // 9. A/D channels.
  Form_Plot* adplot = ADPlot();
  long adCurve = 0;
  for (size_t n = 0; n < es.SelectedChannels.size(); ++n) {
    const int16_t c = es.SelectedChannels[n];
    const ADChannel& ch = HW().ADChannels[size_t(c)];
    // A film's values were read with its frame.
    const float volts = vtr ? (n < filmValues_.size() ? filmValues_[n] : 0.0f)
                            : ReadVoltage(c, HW().ADCalibrationOn);
    rowData_[size_t(column++)] = volts;
    if (ch.Plot) {
      if (adplot) RunPoint(*adplot, Check_ADPlotAutoScale, adplotRedraw_, adCurve, x, volts);
      ++adCurve;
    }
  }
  // 10. A full sheet keeps what it has.
  const long before = sheet->Row();
  sheet->SetRowData(rowData_);
  // Plots whose ranges grew are drawn anew, with this row.
  for (auto [plot, redraw] : {std::pair{IntensityPlot(), &iplotRedraw_}, {adplot, &adplotRedraw_}}) {
    if (plot && *redraw) {
      plot->ClearPlot();
      plot->Plot();
    }
    *redraw = false;
  }
  if (sheet->Row() == before) {
    StopCode() = int16_t(kErrMaxRows);
    return;
  }
  const long row = sheet->Row();
  if (journalOpen_) {
    for (long c = 1; c <= ColumnCount; ++c) journalValues_[size_t(c - 1)] = rowData_[size_t(c)];
    journal_.Append(row, journalValues_);
  }
  if (RunRowHook()) RunRowHook()({row, secondsExact, ie, double(es.Energy)});
  // 11.
  if (es.UpdateWorksheet) {
    sheet->View().ShowCurrentCell(*sheet);
    sheet->Redraw(true);
    sheet->Redraw(false);
  }
  // 12., 13.
  if (es.OnlineExport || Check_DDE) SendRow();
}

void Form_Experiment::BuildRowText() {
  rowText_.clear();
  for (long c = 1; c <= ColumnCount; ++c) {
    if (c > 1) rowText_ += '\t';
    rowText_ += FormatNumber(rowData_[size_t(c)]);
  }
}

void Form_Experiment::SendRow() {
  BuildRowText();
  if (ES().OnlineExport) {
    long code = 0;
    if (!HandshakeRow(HandShake1, rowText_, code, [] { return StopCode() != 0; }) && code != 0 &&
        StopCode() == 0)
      StopCode() = int16_t(code);
  }
  if (Check_DDE && !linkFailed_) {
    Form_Worksheet* sheet = Worksheet();
    std::string error;
    if (sheet && !sheetLink_.Row(sheet->Row(), ColumnCount, rowText_, error)) LinkFailed(error);
  }
}

}  // namespace sv
