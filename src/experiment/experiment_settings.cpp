#include "experiment/experiment_settings.h"

namespace sv {

ExperimentSettings& ES() {
  static ExperimentSettings settings;
  return settings;
}

void ResetExperimentSettings() { ES() = ExperimentSettings(); }

ExperimentPlaces& ExperimentWindowPlaces() {
  static ExperimentPlaces places;
  return places;
}

void ReadExperimentSettings(const Profile&) {}
void WriteExperimentSettings(Profile&) {}
void RegisterExperimentSettings() {}

}  // namespace sv
