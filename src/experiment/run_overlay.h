// The run's windows and lines on the picture: while measuring, each at the
// place it is evaluated now; at stand-by, windows at home.
#pragma once

namespace sv {

class Form_Camera;

// Bits of the overlay flags: 1 lines (Check_LScan), 2 windows (Check_WScan).
inline constexpr int kOverlayLines = 1;
inline constexpr int kOverlayWindows = 2;

// The selected windows at their evaluated rectangles and the selected lines
// at their present ends, solid in their colours. Not drawn.
void Overlay_ExpRunning(Form_Camera& image, int flags);
// The selected windows at their home rectangles, dotted, and the selected
// lines at their present ends. Not drawn.
void Overlay_ExpStandBy(Form_Camera& image, int flags);

}  // namespace sv
