#include "experiment/experiment_run.h"

#include "experiment/form_experiment.h"

namespace sv {

std::function<void(const RunRow&)>& RunRowHook() {
  static std::function<void(const RunRow&)> hook;
  return hook;
}

std::function<void(const RunEnd&)>& RunEndHook() {
  static std::function<void(const RunEnd&)> hook;
  return hook;
}

bool Form_Experiment::ExperimentInit() { return false; }
void Form_Experiment::ExperimentDo(int) {}
void Form_Experiment::ExperimentGrab() {}
void Form_Experiment::ExperimentExit() {}
void Form_Experiment::RefreshOverlay() {}
void Form_Experiment::Command_Stop() {}

}  // namespace sv
