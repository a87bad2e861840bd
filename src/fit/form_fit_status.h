// The fit status window's presenter: a Host timer runs the fit, one
// `hillefit` a tick, and the labels show its progress.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "fit/fit_engine.h"

namespace sv {

class Form_FitStatus {
 public:
  struct Hooks {
    std::function<void()> CreatePRMfile;  // builds FitG().Points and the model; first tick
    std::function<void()> MinMax;         // redraws the model's plot; each tick
    std::function<void()> Changed;        // the labels changed
    std::function<void()> Finished;       // the fit ended (done, failed or cancelled)
  };

  static constexpr int kTimerMs = 1;

  explicit Form_FitStatus(Hooks hooks);
  ~Form_FitStatus();
  Form_FitStatus(const Form_FitStatus&) = delete;
  Form_FitStatus& operator=(const Form_FitStatus&) = delete;

  // Starts Timer1 (on the Host's event loop).
  void Form_Load();
  // One tick: the first builds the points and starts the fit; every tick runs
  // one hillefit and updates the labels.
  void Timer1_Timer();
  // Cancel or close: the fit stops with Status -11.
  void Command_Cancel_Click();
  void Form_Unload() { Command_Cancel_Click(); }

  bool Running() const { return timer_ != 0; }
  bool Finished() const { return finished_; }
  // "Fit Error: " + the status text when cancelled or failed, else the
  // elapsed seconds as "0.0 s".
  const std::string& ResultText() const { return result_; }
  bool Failed() const { return failed_; }

  std::string Label_Iterations, Label_Calls, Label_SOS, Label_Damping, Label_Status,
      Label_Parameters, Label_Data;

  // A window showing this presenter: told when the labels change and when the
  // fit ends. Empty functions let go of the window.
  void BindView(std::function<void()> changed, std::function<void()> finished) {
    hooks_.Changed = std::move(changed);
    hooks_.Finished = std::move(finished);
  }

 private:
  void UpdateLabels();
  void Finish(bool cancelled);

  Hooks hooks_;
  int timer_ = 0;
  bool started_ = false, finished_ = false, failed_ = false;
  uint32_t startMs_ = 0;
  std::string result_;
};

}  // namespace sv
