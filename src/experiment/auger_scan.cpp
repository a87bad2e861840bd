#include "experiment/auger_scan.h"

#include <cmath>

#include "core/host.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"

namespace sv {

AugerScanIO HardwareAugerIO() {
  AugerScanIO io;
  io.setEnergy = [](float e) {
    UseDALine(DALine::AUGER);
    bool ok = false;
    SetEnergy(e, true, &ok);
    return ok;
  };
  io.readAD = [] { return static_cast<double>(ReadVoltage(HW().AugerADChannel, true)); };
  return io;
}

AugerScan::AugerScan(AugerRamp ramp, bool derivative, AugerScanIO io)
    : ramp_(std::move(ramp)), derivative_(derivative), io_(std::move(io)) {
  if (ramp_.Profile < 0 || ramp_.Profile > 2) ramp_.Profile = 1;
  if (ramp_.Iterations < 1) ramp_.Iterations = 1;
  if (!(ramp_.Delay >= 0)) ramp_.Delay = 0;
}

bool AugerScan::SetEnergyShown(float e) {
  Status("Energy=" + FormatFixed(e, 1) + " eV");
  return !io_.setEnergy || io_.setEnergy(e);
}

bool AugerScan::Init(std::string& message) {
  message.clear();
  if (ramp_.Sweeps.empty()) {
    message = "The ramp has no sweeps";
    return false;
  }
  Status("Initializing...");
  points_.clear();
  if (!SetEnergyShown(ramp_.Sweeps[0].From)) {
    message = "The energy cannot be set";
    return false;
  }
  return true;
}

// The delay before a reading, by a yielding loop on the millisecond clock;
// false when a pause or an abort ended it.
bool AugerScan::Delay() {
  const uint32_t start = host().TimeGetTime();
  const double ms = static_cast<double>(ramp_.Delay) * 1000.0;
  while (!abort_ && !pause_) {
    const uint32_t elapsed = host().TimeGetTime() - start;
    if (static_cast<double>(elapsed) >= ms) break;
    const double left = ms - elapsed;
    host().WaitForEvents(left < 10 ? (left < 1 ? 1 : static_cast<int>(left)) : 10);
  }
  return !abort_ && !pause_;
}

// Averages the A/D for the profile's time (at least one reading) and stores
// the row; false when a pause gave the step up.
bool AugerScan::Grab() {
  const float intTime = ramp_.Sweeps[static_cast<size_t>(sweep_)].IntTime[ramp_.Profile];
  Status(", Integration=" + FormatFixed(intTime, 3) + " s Start ... ");
  const uint32_t start = host().TimeGetTime();
  double sum = 0;
  long n = 0;
  for (;;) {
    sum += io_.readAD ? io_.readAD() : 0.0;
    ++n;
    ++reads_;
    if (abort_ || pause_) break;
    const uint32_t elapsed = host().TimeGetTime() - start;
    if (static_cast<double>(elapsed) >= static_cast<double>(intTime) * 1000.0) break;
    host().DoEvents();
    if (abort_ || pause_) break;
  }
  if (pause_ && !abort_) return false;
  const double mean = sum / static_cast<double>(n);

  const long row = row_++;
  if (static_cast<size_t>(row) >= points_.size()) points_.resize(static_cast<size_t>(row) + 1);
  AugerPoint& p = points_[static_cast<size_t>(row)];
  p.Energy = energy_;
  p.Sum += static_cast<float>(mean);
  p.Count += 1;
  const double value = static_cast<double>(p.Sum) / p.Count;
  if (!derivative_) {
    if (io_.setRow) io_.setRow(row, p.Energy, value);
  } else if (row > 0) {
    const AugerPoint& q = points_[static_cast<size_t>(row) - 1];
    if (q.Count > 0 && q.Energy != p.Energy) {
      const double prev = static_cast<double>(q.Sum) / q.Count;
      const double x = (static_cast<double>(p.Energy) + q.Energy) / 2;
      const double y = (value - prev) / (static_cast<double>(p.Energy) - q.Energy);
      if (io_.setRow) io_.setRow(row, x, y);
    }
  }
  return true;
}

AugerScan::End AugerScan::Do(bool fresh) {
  if (ramp_.Sweeps.empty()) return End::Failed;
  pause_ = false;
  if (fresh) {
    abort_ = false;
    start_ = host().TimeGetTime();
    iteration_ = 0;
    sweep_ = 0;
    row_ = 0;
    points_.clear();
    energy_ = ramp_.Sweeps[0].From;
  }
  for (;;) {
    Status("Iteration " + std::to_string(iteration_ + 1) + ", Delay=" + FormatFixed(ramp_.Delay, 3) +
           " s Start ... ");
    const bool delayed = Delay();
    if (abort_) break;
    if (!delayed || !Grab()) {
      runMs_ = host().TimeGetTime() - start_;
      return End::Paused;
    }
    if (abort_) break;

    // The next energy: walk by |Step| towards To, never past it.
    const AugerSweep& s = ramp_.Sweeps[static_cast<size_t>(sweep_)];
    const float step = std::fabs(s.Step);
    bool ended;
    if (s.To > s.From) {
      energy_ += step;
      ended = energy_ > s.To;
    } else {
      energy_ -= step;
      ended = energy_ < s.To;
    }
    if (!(step > 0)) ended = true;
    if (ended) {
      if (io_.sweepEnded) io_.sweepEnded(iteration_, sweep_);
      ++sweep_;
      if (sweep_ >= static_cast<int>(ramp_.Sweeps.size())) {
        ++iteration_;
        sweep_ = 0;
        row_ = 0;
        if (iteration_ >= ramp_.Iterations) {
          runMs_ = host().TimeGetTime() - start_;
          Status(FormatFixed(runMs_ * 0.001, 3) + " s");
          return End::Done;
        }
      }
      energy_ = ramp_.Sweeps[static_cast<size_t>(sweep_)].From;
    }
    if (!SetEnergyShown(energy_)) {
      runMs_ = host().TimeGetTime() - start_;
      return End::Failed;
    }
  }
  runMs_ = host().TimeGetTime() - start_;
  return End::Aborted;
}

}  // namespace sv
