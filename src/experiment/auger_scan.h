// The Auger scan's loop: the ramp's sweeps walked energy by energy, the A/D
// averaged for the profile's integration time at each, several passes of the
// whole ramp averaged into one row per energy. The scan talks to the world
// through AugerScanIO, so that the form, svbatch and the tests each bind it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "experiment/auger_ramp.h"

namespace sv {

// One row of the spectrum, kept over the iterations: the value shown is
// Sum / Count.
struct AugerPoint {
  float Energy = 0;
  float Sum = 0;
  int32_t Count = 0;
};

struct AugerScanIO {
  // Sets the energy and waits for the D/A; false when it could not be set.
  std::function<bool(float energy)> setEnergy;
  // One reading of the Auger A/D channel, in volts.
  std::function<double()> readAD;
  // Row `row` (0-based) takes x and y.
  std::function<void(long row, double x, double y)> setRow;
  // A sweep ended (`iteration` counted from 0, the one running); the plot may
  // be redrawn.
  std::function<void(int iteration, int sweep)> sweepEnded;
  std::function<void(const std::string&)> status;
};

// The energy line and the A/D of the workbench: SetEnergy on the Auger line,
// ReadVoltage on HW().AugerADChannel, calibrated.
AugerScanIO HardwareAugerIO();

class AugerScan {
 public:
  enum class End { Done, Paused, Aborted, Failed };

  AugerScan(AugerRamp ramp, bool derivative, AugerScanIO io);

  // Status "Initializing...", the energy to From of sweep 0. False (with the
  // reason in `message`) for a ramp without sweeps or when the energy cannot
  // be set.
  bool Init(std::string& message);
  // Runs until the end, a pause or an abort. `fresh` starts anew (iteration
  // 0, sweep 0, the start time); without it the scan goes on where it
  // paused, doing the interrupted step again.
  End Do(bool fresh);
  // Asked from the yields: a pause ends Do after the step in hand is given
  // up; an abort ends it after the step's reading (nothing more is read).
  void Pause() { pause_ = true; }
  void Abort() { abort_ = true; }

  const std::vector<AugerPoint>& Points() const { return points_; }
  int Iteration() const { return iteration_; }
  int SweepIndex() const { return sweep_; }
  float Energy() const { return energy_; }
  long Row() const { return row_; }
  // Milliseconds from the fresh start to the end of the last Do.
  uint32_t RunTimeMs() const { return runMs_; }
  // A/D readings taken so far.
  long Reads() const { return reads_; }

 private:
  bool Delay();
  bool Grab();
  bool SetEnergyShown(float e);
  void Status(const std::string& s) {
    if (io_.status) io_.status(s);
  }

  AugerRamp ramp_;
  bool derivative_;
  AugerScanIO io_;
  std::vector<AugerPoint> points_;
  int iteration_ = 0, sweep_ = 0;
  float energy_ = 0;
  long row_ = 0;  // the next row
  uint32_t start_ = 0, runMs_ = 0;
  long reads_ = 0;
  bool pause_ = false, abort_ = false;
};

}  // namespace sv
