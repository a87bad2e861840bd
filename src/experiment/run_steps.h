// The steps of a run, shared by every tool that sweeps time or energy (the
// experiment, the image recorder): the trigger before each step, the dwell,
// the step interval, the time stamp, the display of time and rate, the
// record itself, the stop checks, the next energy from the sweep or the user
// list, the end at tStop. What a step records and shows is the caller's,
// through the hooks.
#pragma once

#include <cstdint>
#include <functional>

namespace sv {

// What the steps run over.
struct StepSweep {
  bool ie = false;         // I(E): the energy is stepped; else time runs
  bool film = false;       // times and energies come from a film, not the clock
  bool userSweep = false;  // I(E) energies from the user list
  long sweepCount = 0;     // entries of the user list
  int32_t tStop = 0;       // ms; 0: no end
  int32_t tStep = 0;       // ms; 0: as fast as possible
  float dwell = 0;         // ms before each step
  float EStart = 0, EStop = 0, EStep = 0;  // eV
};

// The run's state the steps move on: the caller's own fields, so that its
// record and display read them as the steps leave them.
struct StepState {
  uint32_t startTime;    // host clock at the start of the run
  int32_t& time;         // ms since startTime, the step's stamp
  float& energy;         // eV
  int& sweepIndex;       // the user list's entry in use
  int32_t& nextDisplay;  // when time and rate are next shown
};

// Which wait shows itself on its label.
enum class StepWait { Dwell, Interval };

struct StepHooks {
  // Before the trigger wait of each step (the shutter opens).
  std::function<void()> beforeStep;
  // A wait begins (true) or ends (false).
  std::function<void(StepWait, bool)> mark;
  // The step's time on a film, in ms.
  std::function<int32_t()> filmTime;
  // Time and rate, at most once a second.
  std::function<void()> display;
  // The step's record; false leaves the run at once, unended.
  std::function<bool()> record;
  // True when the run is to stop (the stop word is set).
  std::function<bool()> stopped;
  // The stop word now, for the message after a record.
  std::function<int()> stopCode;
  // The user list's entry `index` as an energy; false when it does not read.
  std::function<bool(long index, float& energy)> sweepEnergy;
  // The D/A goes to the energy.
  std::function<void(float)> setEnergy;
  // After each step: true leaves as one step does (a step or record limit).
  std::function<bool()> leave;
};

// Runs steps until the sweep ends (true) or a stop, a failed record or
// `leave` ends them (false). A stop after a record shows its code's text
// unless the code tells its reason itself (-1, 1, the film's end).
bool RunSteps(const StepSweep& sweep, StepState& state, const StepHooks& hooks);

}  // namespace sv
