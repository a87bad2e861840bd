// Analysis: intensities over scan windows and along scan lines, histograms,
// colour counts and single points.
//
// Windows. A window is a rectangle, inclusive at both ends, with a shape
// inside it: the rectangle itself, a square (evaluated as the rectangle), the
// ellipse inscribed in the rectangle, or the circle of the rectangle's smaller
// side, centred in it. A pixel belongs to an ellipse or circle when its centre
// lies inside or on the curve. Parts of a window outside the frame are cut off
// before anything is counted.
//
// An evaluation gives, over the samples of the window (one frame, or the sum
// of the frames of an averaging run):
//   Area     pixels of the shape;
//   I.total  mean sample over the shape;
//   I.max    highest sample of the shape, at (X.max, Y.max), the first in
//            scan order (top to bottom, left to right) when several are equal;
//   I.back   mean of the pixels of the rectangle outside the shape; a
//            rectangle or square has no such pixels, so its one-pixel border
//            (which also counts in Area) stands for the background;
//   BackArea pixels that formed I.back;
//   Dynamic  frames summed x levels: the value that stands for 100 %.
// With no pixel in the shape Area is 0, every intensity 0 and X.max, Y.max
// -1; with no background pixel BackArea is 0 and I.back 0.
//
// Colour routines take three words a pixel (R, G, B) and report the three
// channels as three grey runs would. Their 32-bit buffers hold three planes,
// red, green, blue, one after the other.
//
// A routine handed a span too small for its frame or window, a bad size or a
// bad parameter returns false (or -1) and touches nothing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "image/kernel/kernel_types.h"

namespace sv {

// The index a window keeps in its `Shape`.
enum WindowShape : int {
  kShapeRectangle = 0,
  kShapeQuadrat = 1,
  kShapeEllipse = 2,
  kShapeCircle = 3,
};

struct AnalysisResult {
  int32_t Area = 0;
  int32_t BackArea = 0;
  struct Intensities {
    float total = 0;
    float max = 0;
    float back = 0;
  } I;
  struct Place {
    int32_t max = -1;
  } X, Y;
  int32_t Dynamic = 0;
};

// Red, green, blue.
using RGBAnalysisResult = std::array<AnalysisResult, 3>;

// The rectangle evaluated, in frame pixels, both ends inclusive, and the
// shape inside it. X2 below X1 (or Y2 below Y1) is an empty window.
struct WindowRect {
  long X1 = 0, Y1 = 0, X2 = -1, Y2 = -1;
  int Shape = kShapeRectangle;

  long Width() const { return X2 >= X1 ? X2 - X1 + 1 : 0; }
  long Height() const { return Y2 >= Y1 ? Y2 - Y1 + 1 : 0; }
  size_t Pixels() const { return size_t(Width()) * size_t(Height()); }
  static WindowRect FromSize(long x1, long y1, long w, long h, int shape = kShapeRectangle) {
    return WindowRect{x1, y1, x1 + w - 1, y1 + h - 1, shape};
  }
};

// A window with its sum of an averaging run. `Buffer` holds one 32-bit sum a
// pixel of the whole rectangle, row by row (three planes for colour); pixels
// outside the frame stay 0. The scan routines keep `Frames` and `Frame`.
struct WindowAccumulator {
  WindowRect Rect;
  Samples32 Buffer;
  long Frames = 0;  // frames summed so far
  FrameSize Frame;  // size of the frames summed
};

// Adds the window's pixels of one frame into its buffer; frame index 0 (or a
// window that has summed nothing yet) starts a new sum. Later frames must have
// the size of the first. The buffer must hold Rect.Pixels() sums (x3).
bool SV_scan_frame16(WindowAccumulator& window, FrameSize size, ConstSamples16 image, long frame);
bool SV_RGB_scan_frame16(WindowAccumulator& window, FrameSize size, ConstSamples16 image,
                         long frame);

// Evaluates the sum in the window's buffer; `levels` is the number of grey
// levels of one frame, so Dynamic = Frames x levels. False when nothing has
// been summed.
bool SV_frame_analysis(const WindowAccumulator& window, long levels, AnalysisResult& result);
bool SV_RGB_frame_analysis(const WindowAccumulator& window, long levels,
                           RGBAnalysisResult& result);

// Evaluates a window directly on one frame; Dynamic = levels.
bool SV_rect16_analysis(const WindowRect& rect, FrameSize size, ConstSamples16 image, long levels,
                        AnalysisResult& result);
bool SV_RGB_rect16_analysis(const WindowRect& rect, FrameSize size, ConstSamples16 image,
                            long levels, RGBAnalysisResult& result);

// Lines. The profile runs from (X1, Y1) to (X2, Y2), both inside the frame,
// one point per pixel step along the longer axis: Points() points, each the
// pixel nearest the ideal line. At every point `Thickness` pixels (odd) are
// taken across the line, one step apart along the perpendicular drawn the
// same way, the point itself in the middle; pixels across that fall outside
// the frame are taken from the nearest edge pixel. On a diagonal the
// perpendicular is the other diagonal, so the pixels across lie sqrt(2)
// apart, as the points along the line do. The mean across, rounded to the
// nearest integer, is what one frame adds to the point's 32-bit sum.
struct LineAccumulator {
  long X1 = 0, Y1 = 0, X2 = 0, Y2 = 0;
  int Thickness = 1;
  Samples32 Buffer;  // one sum a point; three planes of Points() for colour
  long Length = 0;   // points of the last profile
  long Frames = 0;   // frames summed so far

  long Points() const;
};

// Place of point i (0 to points - 1) of the line from (x1, y1) to (x2, y2).
struct LinePoint {
  long x = 0, y = 0;
};
long LinePoints(long x1, long y1, long x2, long y2);
LinePoint LinePointAt(long x1, long y1, long x2, long y2, long i);

// Adds one frame's profile into the line's buffer; frame index 0 (or a line
// that has summed nothing yet) starts a new sum. Returns the number of
// points, or -1 for a line outside the frame, an even or non-positive
// thickness, or a buffer too small.
long SV_scan_line16(LineAccumulator& line, FrameSize size, ConstSamples16 image, long frame);
long SV_RGB_scan_line16(LineAccumulator& line, FrameSize size, ConstSamples16 image, long frame);

struct LineResult {
  long Length = 0;     // points
  long Frames = 0;     // frames summed
  float Min = 0, Max = 0, Mean = 0;
  long MaxIndex = -1;  // first point holding Max
  long MaxX = -1, MaxY = -1;
};

// The profile as means over the frames summed: Length floats (three planes
// for colour) into `profile`, and its extremes. False when nothing has been
// summed or `profile` is too small.
bool SV_line_analysis(const LineAccumulator& line, std::span<float> profile, LineResult& result);
bool SV_RGB_line_analysis(const LineAccumulator& line, std::span<float> profile,
                          std::array<LineResult, 3>& result);

// Histograms. `counts` is cleared and gets one count per level; a sample at
// or above counts.size() is counted in the last entry.
bool SV_histogram(FrameSize size, ConstSamples16 image, std::span<uint32_t> counts);
// Three histograms, red, green, blue, each counts.size() / 3 entries long.
bool SV_RGB_histogram(FrameSize size, ConstSamples16 image, std::span<uint32_t> counts);
// Histogram of the intensity of a colour frame, the rounded mean of R, G, B.
bool SV_RGB_intensity(FrameSize size, ConstSamples16 image, std::span<uint32_t> counts);

struct HistogramStats {
  uint64_t Count = 0;  // pixels of the shape
  uint64_t Below = 0;  // of them below `low`
  uint64_t Above = 0;  // of them above `high`
  uint32_t Min = 0, Max = 0;
  double Mean = 0;
};
// Histogram of the pixels of a window's shape (clipped to the frame), the
// range low..high spread evenly over counts.size() entries; samples outside
// the range are only counted in `Below` and `Above`.
bool SV_histogramEx(FrameSize size, ConstSamples16 image, const WindowRect& rect, long low,
                    long high, std::span<uint32_t> counts, HistogramStats& stats);

// Points. False outside the frame.
bool SV_point16_scan(FrameSize size, ConstSamples16 image, long x, long y, uint16_t& value);
bool SV_RGB_point16_scan(FrameSize size, ConstSamples16 image, long x, long y,
                         std::array<uint16_t, 3>& rgb);

// Colour counts: the number of different values, -1 for bad sizes.
long SV_color_count16(FrameSize size, ConstSamples16 image);
// Different 24-bit colours: each channel cut to the upper eight of its `bits`
// significant bits (1 to 16; larger samples count as the top level).
long SV_RGB_color_count(FrameSize size, ConstSamples16 image, int bits);
// Different triples of full 16-bit samples.
long SV_RGB_color_count16(FrameSize size, ConstSamples16 image);

// Which instructions the window loops may use: 0 plain x86-64, 1 up to AVX2,
// 2 up to AVX-512, -1 the best this processor has (the default); capped to
// the processor.
// Every level gives the same results; tests and benchmarks reach each path
// through this. Returns the level now in effect.
int SV_set_analysis_isa(int level);

// True when any sample reaches the top level, levels - 1, or lies above it;
// `channels` is 1 for grey, 3 for colour. False for bad sizes.
bool SV_test_overload16(FrameSize size, ConstSamples16 image, long levels, int channels = 1);

}  // namespace sv
