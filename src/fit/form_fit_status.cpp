#include "fit/form_fit_status.h"

#include <cstdio>

#include "core/host.h"

namespace sv {

Form_FitStatus::Form_FitStatus(Hooks hooks) : hooks_(std::move(hooks)) {}

Form_FitStatus::~Form_FitStatus() {
  if (timer_ != 0) {
    host().StopTimer(timer_);
    timer_ = 0;
    FitFreeArrays();
    FitG().Run.Stage = 0;
  }
}

void Form_FitStatus::Form_Load() {
  if (timer_ != 0 || finished_) return;
  timer_ = host().StartTimer(kTimerMs, [this] { Timer1_Timer(); });
}

void Form_FitStatus::Timer1_Timer() {
  if (finished_) return;
  FitRun& r = FitG().Run;
  if (!started_) {
    started_ = true;
    startMs_ = host().TimeGetTime();
    if (hooks_.CreatePRMfile) hooks_.CreatePRMfile();
    r.StartFlag = true;
    r.DoneFlag = false;
    r.WantErrors = true;
  }
  hillefit();
  if (r.Stage != 0) {
    UpdateLabels();
    if (hooks_.MinMax) hooks_.MinMax();
    if (r.Status < 0 && FitG().Settings.Beep != 0) host().Beep();
  }
  if (r.DoneFlag) Finish(false);
}

void Form_FitStatus::Command_Cancel_Click() {
  if (finished_) return;
  Finish(true);
}

void Form_FitStatus::UpdateLabels() {
  const FitRun& r = FitG().Run;
  char sos[32];
  std::snprintf(sos, sizeof sos, "%.6g", double(r.SOS));
  Label_Iterations = std::to_string(r.Iterations) + ": Iterations";
  Label_Calls = std::to_string(r.Calls) + ": Function calls";
  Label_SOS = std::string(sos) + ": Sum of squares";
  Label_Damping = std::to_string(r.Damping) + ": Damping";
  Label_Status = fiterrorStr(r.Status);
  Label_Parameters = std::to_string(r.NPar) + ": Parameters";
  Label_Data = std::to_string(r.NData) + ": Data points";
  if (hooks_.Changed) hooks_.Changed();
}

void Form_FitStatus::Finish(bool cancelled) {
  if (timer_ != 0) host().StopTimer(timer_);
  timer_ = 0;
  FitRun& r = FitG().Run;
  FitFreeArrays();
  if (cancelled) {
    r.Status = kFitCanceled;
    r.Stage = 0;
    r.DoneFlag = true;
    Label_Status = fiterrorStr(r.Status);
  }
  finished_ = true;
  failed_ = r.Status < 0;
  if (failed_) {
    result_ = "Fit Error: " + fiterrorStr(r.Status);
  } else {
    const uint32_t ms = started_ ? host().TimeGetTime() - startMs_ : 0;
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f s", double(ms) / 1000.0);
    result_ = buf;
  }
  if (hooks_.Finished) hooks_.Finished();
}

}  // namespace sv
