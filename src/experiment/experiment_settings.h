// The definition of a measuring run: its type, time and energy limits, the
// user sweep, what is scanned and plotted, where the data goes, and the one
// stop word that ends any run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hardware/hardware.h"

namespace sv {

class Profile;

inline constexpr int16_t kExperimentIt = 0;        // I(t): time runs at a fixed energy
inline constexpr int16_t kExperimentIE = 1;        // I(E): the energy is swept
inline constexpr int16_t kActiveNone = 0;
inline constexpr int16_t kActiveIt = 129;
inline constexpr int16_t kActiveIE = 130;

struct ExperimentSettings {
  int16_t ExperimentType = kExperimentIE;
  std::string SweepFile;
  int32_t UserSweep = 0;
  int32_t Time = 0;       // ms since the run began
  int32_t tStart = 0;     // ms
  int32_t tStop = 60000;  // ms; 0: no end
  int32_t tStep = 0;      // ms; 0: as fast as possible
  float Energy = 100;     // eV
  float EStart = 20, EStop = 100, EStep = 1;  // eV
  float DwellTime = 0;    // ms
  int32_t AutoSave = 0;
  int32_t OnlineExport = 0;
  int32_t UpdateWorksheet = 0;
  int32_t FlushBuffer = 0;
  int32_t CScanMaxRecords = 0;
  int16_t SaveXY = 0;
  int32_t MaxAveraging = 1;
  std::vector<int16_t> SelectedWindows;  // SelectedWindowCount is its size
  std::vector<int16_t> SelectedLines;
  std::vector<int16_t> SelectedChannels;
  int32_t TriggerMode = 0;    // 0 "(disabled)", 1 start of sweep, 2 every step
  int32_t TriggerSource = 4;  // 0..6, the trigger list
  int16_t ExperimentActive = kActiveNone;
  int16_t StopCode = 0;       // 0 while running; else why the run ends

  int16_t SelectedWindowCount() const { return int16_t(SelectedWindows.size()); }
  int16_t SelectedLineCount() const { return int16_t(SelectedLines.size()); }
  int16_t SelectedChannelCount() const { return int16_t(SelectedChannels.size()); }
  // The shutter fields of the definition are the first two of the shutter
  // record (HW().ShutterControl).
  static int32_t& ShutterEnabled() { return HW().ShutterControl.ShutterEnabled; }
  static int32_t& ShutterWindow() { return HW().ShutterControl.ShutterWindow; }
};

// The one definition of the process.
ExperimentSettings& ES();
void ResetExperimentSettings();
// The one stop word: ES().StopCode.
inline int16_t& StopCode() { return ES().StopCode; }

// Places of the experiment's windows, section "Experiment Sheet",
// "Experiment I-Plot", "Experiment A/D-Plot".
struct ExperimentWindowPlace {
  int32_t Left = 0, Top = 0, Width = 0, Height = 0;
  float Yfrom = 0, Yto = 0;  // the two plots' value axis
};
struct ExperimentPlaces {
  ExperimentWindowPlace Sheet, IPlot, ADPlot;
};
ExperimentPlaces& ExperimentWindowPlaces();

// Section "I(T) I(E)" (seconds in the file, rounded ms held), "E-GUN"/"Energy"
// (held within the LEED energy limits), and the three window sections.
void ReadExperimentSettings(const Profile& ini);
void WriteExperimentSettings(Profile& ini);
// Registers them at the experiment's place in the settings order (once).
void RegisterExperimentSettings();

}  // namespace sv
