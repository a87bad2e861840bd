// What the window tools share among their own files.
#pragma once

#include <cstdint>
#include <string>

#include "analysis/scan_windows.h"

namespace sv {

class Form_Camera;

// A whole number, blanks around it allowed; false for anything else or a
// value beyond 32 bits.
bool ParseWholeNumber(const std::string& text, long& value);
// A single in its shortest form: "100", "55.5".
std::string ShortNumber(float value);

// The peak line of a window in Repeat mode, in image pixels, clamped to the
// image, with its energy labels.
struct RepeatLineGeometry {
  long x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  std::string label1, label2;
};
// False when the window is not in Repeat mode, has one energy only, or the
// line cannot be fitted.
bool RepeatLineEnds(const ScanWindow& window, const Form_Camera& image, RepeatLineGeometry& line);
// The line and its labels on the overlay (not redrawn).
void AddRepeatLine(Form_Camera& image, const RepeatLineGeometry& line, int32_t colour);

}  // namespace sv
