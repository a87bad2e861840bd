// The Auger ramp: a list of energy sweeps, each with an integration time for
// the three profiles, run for a number of iterations. Its file (".rmp") is
// ini-style text; reading repairs single bad fields and refuses a file of the
// wrong version or a negative sweep count.
//
// Depends on the core only (the energy limits come in as arguments), so that
// the fuzz target can take it alone.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sv {

inline constexpr int kAugerMaxSweeps = 100;
inline constexpr int kAugerMaxIterations = 100;
inline constexpr float kAugerMinIntTime = 0.001f, kAugerMaxIntTime = 999.9f;
inline constexpr const char* kAugerTitle = "Auger";
inline constexpr const char* kAugerInvalidFile = "Invalid File Format";

// From above To is a falling sweep. IntTime is indexed by the profile:
// 0 Fast, 1 Normal, 2 Exact (seconds).
struct AugerSweep {
  float From = 0, To = 0, Step = 1;
  float IntTime[3] = {0.1f, 0.1f, 0.1f};
};

struct AugerRamp {
  std::vector<AugerSweep> Sweeps;
  int Iterations = 1;  // 1..100
  int Profile = 1;     // 0 Fast, 1 Normal, 2 Exact
  float Delay = 0;     // seconds, at least 0
  std::string Filename;
  bool Changed = false;
};

// The energy limits of the Auger line.
struct AugerLimits {
  float Min = 0, Max = 1639;
};

// The file's text, line by line, CR LF ended: the head, "[General]", each
// "[Sweep(i)]" counted from 1, then "[EOF]".
std::string AugerRampText(const AugerRamp& ramp);

// Reads a ramp file's text into `ramp` (sweeps, iterations, profile, delay;
// the file name and Changed are left to the caller). Out-of-range fields are
// repaired: each repaired sweep adds "Sweep #n repaired!" to `status`. A
// wrong version or a negative sweep count refuses the file: false, `ramp`
// untouched. A sweep count above 100 reads 100 sweeps.
bool ReadAugerRampText(std::string_view text, const AugerLimits& limits, AugerRamp& ramp,
                       std::vector<std::string>& status);

// The edit checks in their order; returns the name of the first field that
// fails ("Text_Start", "Text_Stop", "Text_Step", "Text_IntTime") or "" when
// the sweep passes. `intTime` is the profile's time being edited.
std::string CheckAugerSweep(const AugerSweep& sweep, float intTime, const AugerLimits& limits);

// Points a sweep takes for the total time: the integer part of
// |To - From| / Step, plus 1; 0 when Step is 0.
long AugerSweepPoints(const AugerSweep& sweep);
// Seconds for one pass of the ramp: sum of (IntTime(Profile) + Delay) * n.
double AugerIterationTime(const AugerRamp& ramp);
// "1 h 02 min 03.5 s" style: hours only when there are any, minutes only with
// hours or when there are any, seconds to a tenth.
std::string AugerTimeText(double seconds);
// "Total Scan Time = " ... " (Time per Iteration = " ... ")".
std::string AugerTotalTimeText(const AugerRamp& ramp);

}  // namespace sv
