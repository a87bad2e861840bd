// The film player's transport, tags, and the film as the camera of a run.
#include <algorithm>
#include <cmath>

#include "core/host.h"
#include "experiment/experiment_settings.h"
#include "experiment/form_experiment.h"
#include "video/form_soft_vtr.h"

namespace sv {

// --- Transport -------------------------------------------------------------------------------

bool Form_SoftVTR::TransportEnabled() const {
  if (!IsOpen()) return false;
  if (experiment_) return false;
  return !(FilmMode() && TheFilmSource() == this && sv::ExperimentForm().Running());
}

bool Form_SoftVTR::StepBy(long delta) {
  const long n = CurrentFrame + delta;
  if (!IsOpen() || n < 0 || n >= Frames) return false;
  atStart_ = false;
  return ShowFrame(n);
}

bool Form_SoftVTR::NextFrame() {
  if (!TransportEnabled()) return false;
  Label_Status = "Step";
  const bool ok = StepBy(Skip);
  if (!ok) Changed();
  return ok;
}

bool Form_SoftVTR::PreviousFrame() {
  if (!TransportEnabled()) return false;
  Label_Status = "Step";
  const bool ok = StepBy(-Skip);
  if (!ok) Changed();
  return ok;
}

void Form_SoftVTR::VTR_First() {
  if (!IsOpen()) return;
  Label_Status = "First";
  ShowFrame(0);
  atStart_ = true;
}

void Form_SoftVTR::LastFrame() {
  if (!TransportEnabled()) return;
  Label_Status = "Still";
  ShowFrame(Frames - 1);
}

bool Form_SoftVTR::VTR_Step() {
  if (!IsOpen() || CurrentFrame + 1 >= Frames) return false;
  if (Label_Status != "Play") Label_Status = "Step";
  return StepBy(1);
}

void Form_SoftVTR::VTR_Stop() {
  BreakFlag = true;
  Label_Status = "Stop";
  Changed();
}

void Form_SoftVTR::Stopp() {
  BreakFlag = true;
  if (playing_) {
    Label_Status = "Pause";
    Changed();
  }
}

void Form_SoftVTR::mnuSkip(long frames) {
  Skip = std::max(1L, frames);
  Changed();
}

void Form_SoftVTR::mnuReplay() {
  Replay = !Replay;
  Changed();
}

void Form_SoftVTR::Play() {
  if (!TransportEnabled() || playing_) return;
  PlayLoop(Check_Reverse);
}

void Form_SoftVTR::Previous() {
  if (!TransportEnabled() || playing_) return;
  PlayLoop(!Check_Reverse);
}

void Form_SoftVTR::PlayLoop(bool backward) {
  const float rate = video_ && video_->Rate() > 0 ? video_->Rate() : 25.0f;
  const uint32_t interval = uint32_t(std::max(1.0, std::round(1000.0 / double(rate))));
  playing_ = true;
  BreakFlag = false;
  Label_Status = backward ? "Back" : "Play";
  Changed();
  uint32_t due = host().TimeGetTime() + interval;
  bool ended = false;
  while (!BreakFlag && IsOpen()) {
    host().DoEvents();
    if (BreakFlag || !IsOpen()) break;
    const uint32_t now = host().TimeGetTime();
    if (int32_t(due - now) > 0) {
      host().WaitForEvents(int(due - now));
      continue;
    }
    due += interval;
    // A player far behind its clock does not race to catch up.
    if (int32_t(now - due) > int32_t(interval)) due = now + interval;
    long next = CurrentFrame + (backward ? -Skip : Skip);
    if (next < 0 || next >= Frames) {
      if (!Replay) {
        // The last step lands on the end itself.
        const long end = backward ? 0 : Frames - 1;
        if (CurrentFrame != end) ShowFrame(end);
        ended = true;
        break;
      }
      next = backward ? Frames - 1 : 0;
    }
    if (!ShowFrame(next)) break;
  }
  playing_ = false;
  if (IsOpen()) {
    if (ended)
      Label_Status = backward ? "First" : "Still";
    else if (Label_Status == "Play" || Label_Status == "Back")
      Label_Status = "Pause";
  }
  Changed();
}

// --- Tags ------------------------------------------------------------------------------------

void Form_SoftVTR::TagDown(long frame) {
  if (!IsOpen()) return;
  frame = std::clamp(frame, 0L, Frames - 1);
  SelFirst = SelLast = frame;
  Changed();
}

void Form_SoftVTR::TagDrag(long frame) {
  if (!IsOpen() || SelFirst < 0) return;
  SelLast = std::clamp(frame, 0L, Frames - 1);
  Changed();
}

void Form_SoftVTR::mnuSelAll() {
  if (!IsOpen()) return;
  SelFirst = 0;
  SelLast = Frames - 1;
  Changed();
}

void Form_SoftVTR::mnuSelClear() {
  SelFirst = SelLast = -1;
  Changed();
}

long Form_SoftVTR::SelLow() const { return std::min(SelFirst, SelLast); }
long Form_SoftVTR::SelHigh() const { return std::max(SelFirst, SelLast); }

std::string Form_SoftVTR::SelectionStatus() const {
  if (!HasSelection()) return "";
  return "Selected Frames: [" + std::to_string(SelLow()) + "] ... [" + std::to_string(SelHigh()) +
         "]";
}

// --- A run on the film -----------------------------------------------------------------------

void Form_SoftVTR::SetExperimentForm(Form_Experiment* form) {
  experiment_ = form;
  if (form) {
    Stopp();
    if (IsOpen()) SetFilmSource(this);
  }
  Changed();
}

long Form_SoftVTR::Bits() const { return FilmHeader.BitsPerPixel; }

bool Form_SoftVTR::NextFrameInSweepEnergyRange(float eStart, float eStop) {
  const float lo = std::min(eStart, eStop), hi = std::max(eStart, eStop);
  BreakFlag = false;
  // Right after First the first frame has not been counted yet: it is
  // tested before any step.
  bool test = atStart_;
  atStart_ = false;
  for (;;) {
    if (!test) {
      if (!IsOpen() || CurrentFrame + 1 >= Frames) return true;
      if (!StepBy(1)) return true;
    }
    test = false;
    if (energy_ >= lo && energy_ <= hi) return false;
    host().DoEvents();
    if (BreakFlag) return true;
  }
}

void Form_SoftVTR::SetNextFrameInSweepEnergyRange(bool& result) {
  result = NextFrameInSweepEnergyRange(ES().EStart, ES().EStop);
}

}  // namespace sv
