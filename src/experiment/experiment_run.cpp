// The measuring loop: ExperimentDo, its end and cleaning up, the stop button.
// The loop yields only at its named points (items 3, 4, 5 and 7 of the step
// loop, the trigger waits, the handshake waits); every wait goes through the
// run's wait helpers, which read the host clock.
#include "experiment/experiment_run.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/scan_lines.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "experiment/run_overlay.h"
#include "experiment/run_steps.h"
#include "experiment/trigger.h"
#include "experiment/wait.h"
#include "experiment/shutter.h"
#include "hardware/energy.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// How long the spreadsheet link may take to answer.
constexpr int kSheetLinkTimeoutMs = 2000;

std::string Fixed(double value, int decimals) {
  char text[48];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

void LockDocuments(Form_Worksheet* sheet, Form_Plot* iplot, Form_Plot* adplot, bool locked) {
  if (sheet) sheet->Locked(locked);
  if (iplot) iplot->Locked(locked);
  if (adplot) adplot->Locked(locked);
}

}  // namespace

std::function<void(const RunRow&)>& RunRowHook() {
  static std::function<void(const RunRow&)> hook;
  return hook;
}

std::function<void(const RunEnd&)>& RunEndHook() {
  static std::function<void(const RunEnd&)> hook;
  return hook;
}

// --- Pieces ---------------------------------------------------------------------------

bool Form_Experiment::SweepEntryEnergy(long index, float& energy) const {
  if (index < 0 || index >= long(List_Sweep.size())) return false;
  std::string text = List_Sweep[size_t(index)];
  for (char& c : text)
    if (c == ',') c = '.';
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (end == text.c_str()) return false;
  energy = float(v);
  return true;
}

Form_Camera* Form_Experiment::SourceImage() const {
  if (FilmMode()) return TheFilmSource()->Image();
  return HasHost() ? PreviewImage(MainForm()) : nullptr;
}

bool Form_Experiment::Stopped() {
  // The line layer keeps a stop word of its own; while a run goes on, the
  // two say the same.
  if (StopCode() == 0 && LG().StopCode != 0) StopCode() = int16_t(LG().StopCode);
  LG().StopCode = StopCode();
  return StopCode() != 0;
}

void Form_Experiment::RunControls(bool running) {
  for (Control* c : {&Ctl_Text_tStop, &Ctl_Command_Move, &Ctl_Command_WindowSetup,
                     &Ctl_Command_Close, &Ctl_Command_Cancel, &Ctl_Frame_AD, &Ctl_Frame,
                     &Ctl_TabStrip})
    c->Enabled = !running;
  Ctl_Command_Stop.Enabled = running;
  for (Control& c : Ctl_Command_Start) c.Enabled = !running;
  Ctl_Command_New.Enabled = !running;
  if (!running) SetEditState(AcceptPending());
}

void Form_Experiment::ShowTimeAndRate(bool clockTime) {
  Form_Worksheet* sheet = Worksheet();
  const long rows = sheet ? sheet->Row() : 0;
  const double seconds = ES().Time * 0.001;
  if (clockTime) Text_Time = Fixed(seconds, 0) + " s";
  if (ES().Time == 0)
    Text_Rate = "- Hz (" + std::to_string(rows) + ")";
  else
    Text_Rate = Fixed(double(rows) / seconds, 1) + " Hz (" + std::to_string(rows) + ")";
}

void Form_Experiment::LinkFailed(const std::string& error) {
  // The link's one handler: its message, the stop word, and the run goes to
  // its end with the rows it has.
  host().MsgBox(error.empty() ? ErrorText(-1) : error, MsgButtons::OK, MsgIcon::Critical, kDDETitle);
  StopCode() = -1;
  linkFailed_ = true;
}

void Form_Experiment::RefreshOverlay() {
  Form_Camera* image = SourceImage();
  overlayFlags_ = (Check_LScan ? kOverlayLines : 0) | (Check_WScan ? kOverlayWindows : 0);
  // Without either box the picture keeps what other tools drew on it.
  if (!image || overlayFlags_ == 0) return;
  if (running_)
    Overlay_ExpRunning(*image, overlayFlags_);
  else
    Overlay_ExpStandBy(*image, overlayFlags_);
  image->DrawCameraImage();
}

void Form_Experiment::Command_Stop() {
  StopCode() = int16_t(kErrExperimentCanceled);
  host().DoEvents();
}

// --- The loop -------------------------------------------------------------------------

void Form_Experiment::ExperimentDo(int flags) {
  if (running_) return;
  ExperimentSettings& es = ES();
  // Going on needs the buffers of a run that began, on its sheet, for the
  // columns the definition asks for.
  const size_t columns = ExperimentColumnNames(es, IntensityUnit()).size();
  if (!initialised_ || !Worksheet() || rowData_.size() != columns + 1) flags |= 1;
  const bool fresh = (flags & 1) != 0, single = (flags & 2) != 0;
  const bool vtr = FilmMode();
  const bool ie = es.ExperimentType == kExperimentIE;

  // 1. Grabbing is free of the live picture.
  previewWas_ = false;
  if (!vtr) {
    previewWas_ = PreviewRunning();
    StopPreview();
  }
  // 2.
  StopCode() = 0;
  if (fresh && !ExperimentInit()) {
    if (previewWas_)
      if (Form_Camera* image = SourceImage()) Preview(*image);
    previewWas_ = false;
    Changed();
    return;
  }
  // A film without a frame in the sweep's range ends the run before it starts.
  const int16_t endBeforeStart = StopCode();

  // 3.
  running_ = true;
  linkFailed_ = false;
  RunControls(true);
  overlayFlags_ = (Check_LScan ? kOverlayLines : 0) | (Check_WScan ? kOverlayWindows : 0);
  if (Form_Camera* image = SourceImage()) {
    Overlay_ExpRunning(*image, overlayFlags_);
    image->DrawCameraImage();
  }
  MainCaption = G().AppTitle + kRunningCaption;
  if (MDIForm_Main* main = MainForm()) main->MenuEnabled(false);
  Form_Worksheet* sheet = Worksheet();
  // Going on, the rows follow the last one, wherever the cursor was left.
  if (!fresh) sheet->Row(sheet->Rows() - 1);
  LockDocuments(sheet, IntensityPlot(), ADPlot(), true);
  sheet->Redraw(false);  // the display follows only with UpdateWorksheet
  Text_Time = "0 s";
  Text_Rate = "- Hz (" + std::to_string(sheet->Row()) + ")";
  OpenJournal(fresh);
  Changed();
  host().DoEvents();
  StopCode() = endBeforeStart;
  LG().StopCode = 0;

  bool ended = false;    // the run came to its end by itself
  bool measured = true;  // false: straight to the cleaning up
  // 4. The rows also go to a spreadsheet.
  if (Check_DDE) {
    std::vector<std::string> labels;
    for (long c = 1; c <= ColumnCount && c < sheet->Cols(); ++c) labels.push_back(sheet->ColName(c));
    std::string error;
    sheetLink_.Close();
    if (!sheetLink_.Open(Text_DDELinkTopic, labels, kSheetLinkTimeoutMs, error)) LinkFailed(error);
  }
  if (!linkFailed_) {
    // 5. What a fresh start does once.
    if (fresh) {
      shutterOn_ = ES().ShutterEnabled() != 0 && IOReady() && es.ExperimentActive != kActiveNone;
      if (shutterOn_) ShutterRunStart(SoftTrigger);
      sheet->Row(0);
      for (int16_t i : es.SelectedWindows) WindowStartRun(WG().ScanWindows[size_t(i)]);
      if (StopCode() == 0) WaitTrigger(true);
      if (Stopped()) {
        measured = false;
      } else {
        es.Time = 0;
        startTime_ = host().TimeGetTime();
      }
    }
    // 6. The delay before the first step.
    if (measured) {
      nextDisplay_ = es.Time;
      if (!vtr && !ie && es.tStart != 0) {
        Label_tStartMarked = true;
        Changed();
        WaitSince(startTime_, es.tStart);
        Label_tStartMarked = false;
        Changed();
        if (Stopped()) measured = false;
      }
    }
    // 7. The steps.
    if (measured) ended = StepLoop(single, vtr, ie);
  }
  // 8. The end of a measured run.
  if (measured) {
    if (shutterOn_) ShutterClose();
    if (vtr && ended) TheFilmSource()->First();
  }
  // 9.
  CleanUp(ended);
}

bool Form_Experiment::StepLoop(bool single, bool vtr, bool ie) {
  ExperimentSettings& es = ES();
  StepSweep sweep;
  sweep.ie = ie;
  sweep.film = vtr;
  sweep.userSweep = es.UserSweep != 0;
  sweep.sweepCount = long(List_Sweep.size());
  sweep.tStop = es.tStop;
  sweep.tStep = es.tStep;
  sweep.dwell = es.DwellTime;
  sweep.EStart = es.EStart;
  sweep.EStop = es.EStop;
  sweep.EStep = es.EStep;
  StepState state{startTime_, es.Time, es.Energy, List_SweepIndex, nextDisplay_};
  StepHooks hooks;
  hooks.beforeStep = [this] {
    if (shutterOn_) ShutterOpen();
  };
  hooks.mark = [this](StepWait wait, bool on) {
    (wait == StepWait::Dwell ? Label_dwellTimeMarked : Label_tStepMarked) = on;
    Changed();
  };
  hooks.filmTime = [] { return TheFilmSource()->TimeMs(); };
  hooks.display = [this, vtr] {
    ShowTimeAndRate(!vtr);
    Changed();
  };
  hooks.record = [this] {
    ExperimentGrab();
    return !linkFailed_;
  };
  hooks.stopped = [this] { return Stopped(); };
  hooks.stopCode = [] { return int(StopCode()); };
  hooks.sweepEnergy = [this](long index, float& energy) { return SweepEntryEnergy(index, energy); };
  hooks.setEnergy = [](float energy) { SetEnergy(energy, true); };
  // A row limit leaves as one step does.
  hooks.leave = [this, single] {
    if (single) return true;
    if (StepLimit > 0) {
      const Form_Worksheet* sheet = Worksheet();
      if (sheet && sheet->Row() >= StepLimit) return true;
    }
    return false;
  };
  return RunSteps(sweep, state, hooks);
}

void Form_Experiment::CleanUp(bool ended) {
  ExperimentSettings& es = ES();
  const bool vtr = FilmMode();
  const bool ie = es.ExperimentType == kExperimentIE;
  Form_Worksheet* sheet = Worksheet();
  Form_Plot* iplot = IntensityPlot();
  Form_Plot* adplot = ADPlot();
  const long rows = sheet ? std::clamp(sheet->Row(), 0L, sheet->Rows() - 1) : 0;
  // 1.
  Label_tStartMarked = Label_tStepMarked = Label_dwellTimeMarked = false;
  ShowTimeAndRate(!vtr);
  // 2.
  MainCaption = G().AppTitle;
  overlayFlags_ = (Check_LScan ? kOverlayLines : 0) | (Check_WScan ? kOverlayWindows : 0);
  // 3. A finished I(E) run puts the windows back home.
  if (ended && ie) {
    for (int16_t i : es.SelectedWindows)
      WindowReturnHome(WG().ScanWindows[size_t(i)], true, es.Energy, imageWidth_, imageHeight_);
  }
  // 4.
  if (Form_Camera* image = SourceImage()) {
    if (ended)
      Overlay_ExpStandBy(*image, overlayFlags_);
    else
      Overlay_ExpRunning(*image, overlayFlags_);
    if (vtr) TheFilmSource()->Stop();
    image->DrawCameraImage();
  }
  // 5. The sheet keeps the rows that were written.
  LockDocuments(sheet, iplot, adplot, false);
  std::string status = std::to_string(rows) + " Records";
  ShowStatus(status);
  if (sheet) {
    sheet->Rows(rows + 1);
    sheet->Redraw(true);
  }
  if (journalOpen_) {
    journal_.End(StopCode(), rows);
    journalOpen_ = false;
  }
  // 6.
  if (iplot && Check_IPlotAutoScale) iplot->Rescale();
  if (adplot && Check_ADPlotAutoScale) adplot->Rescale();
  if (sheet) sheet->UpdatePlots();
  // 7.
  bool saved = false;
  if (es.AutoSave && !sheetPath_.empty() && sheet) {
    if (sheet->SaveWorksheet(sheetPath_) == 0) {
      saved = true;
      status = std::to_string(rows) + " Records saved to " + sheetPath_;
      ShowStatus(status);
      DropJournal();
    }
  }
  // 8., 9.
  if (es.OnlineExport) HandshakeRunEnd(HandShake1);
  if (Check_DDE) sheetLink_.Close();
  // 10.
  if (!vtr && previewWas_)
    if (Form_Camera* image = SourceImage()) {
      Preview(*image);
      ShowStatus(status);  // the preview writes its own status: the run's count stays
    }
  previewWas_ = false;
  // 11.
  running_ = false;
  RunControls(false);
  if (MDIForm_Main* main = MainForm()) main->MenuEnabled(true);
  LG().StopCode = StopCode();
  Changed();
  if (RunEndHook()) RunEndHook()({StopCode(), rows, saved, sheetPath_});
}

}  // namespace sv
