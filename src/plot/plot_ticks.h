// The tick computation of an axis: a round step from the range, rounded
// ends, the major increment and the number format of the labels.
#pragma once

#include <string>

#include "plot/plot_records.h"

namespace sv {

namespace TickFlag {
inline constexpr int Range = 1;  // From and To take the rounded ends
inline constexpr int Inc = 2;    // Inc takes twice the step
inline constexpr int Ticks = 4;  // one minor tick between two major ones
inline constexpr int All = 7;
}  // namespace TickFlag

// The step and label format for a range r = To - From (r > 0).
struct TickStep {
  double step;
  const char* format;
};
TickStep ChooseTickStep(float r);

// Runs the computation on `axis` with `flags` (TickFlag bits). Returns the
// number format when bit 0 or 1 is set, else "". A reversed axis (From above
// To) stays reversed and gets a negative Inc.
std::string ComputeTicks(PlotAxisRecord& axis, int flags);

}  // namespace sv
