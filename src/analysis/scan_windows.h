// Scan windows: the eight rectangles (or ellipses) in which spot intensities
// are measured, their peak-tracking sums, how they are kept in ini and ".par"
// files, how one evaluation moves them, and the text report of a scan.
//
// Windows are numbered 1 to 8 to the user and 0 to 7 here. The array lives
// for the whole process (`WG()`); every evaluation writes the one shared
// `AnalysisResult` (`WG().Result`).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "image/kernel/analysis.h"
#include "image/kernel/kernel_types.h"
#include "image/kernel/numbers.h"  // RoundEven: sizes and places round ties to even

namespace sv {

class Profile;

inline constexpr int kWindowCount = 8;

// Tracking modes, in the order of Combo_Mode. Target mode has no entry in
// the list; only a stored Mode=5 reaches it.
enum WindowMode : int32_t {
  kModeFixed = 0,      // "Fixed Position"
  kModeStopAbs = 1,    // "Stop Mode ABS"
  kModeStopRel = 2,    // "Stop Mode REL"
  kModeFollow = 3,     // "Follow Mode"
  kModeRepeat = 4,     // "Repeat Mode"
  kModeTarget = 5,
};
inline constexpr const char* kWindowModeNames[] = {"Fixed Position", "Stop Mode ABS",
                                                   "Stop Mode REL", "Follow Mode", "Repeat Mode"};
inline constexpr const char* kWindowShapeNames[] = {"Rectangle", "Quadrat", "Ellipse", "Circle"};

// The peak line of a window: a straight line in s = 1 / sqrt(E). "E" in these
// sums is s, not the energy. Singles, as stored.
struct WindowSum {
  float N = 0;  // points
  float X = 0, EX = 0, Y = 0, EY = 0, E = 0, E2 = 0;
  float Energy1 = 0;  // energy of the first point
  float Energy2 = 0;  // energy of the latest
};

struct ScanWindow {
  int32_t X1 = 0, Y1 = 0, W = 0, H = 0;  // home position and size; W 0 is an empty window
  int32_t CurX1 = 0, CurY1 = 0, CurX2 = 0, CurY2 = 0;  // the rectangle evaluated now, inclusive
  int32_t RGBColor = 0;  // 24-bit RGB (red in the low byte, as the overlay takes it)
  int32_t RunState = 2;  // 0 while in the accepted experiment, 2 while not
  int32_t Spare = 0;
  int32_t Averaging = 1;  // frames summed for one evaluation
  int32_t Mode = kModeFixed;
  int32_t Threshold = 10;
  int32_t Select = 0;  // 1: scanned in an experiment
  int32_t Plot = 1;    // 0 none, 1 I.max, 2 I.total, 3 I.back, 4 I.max - I.back, 5 I.total - I.back
  // The 32-bit sum of an averaging run (three planes for colour) and the
  // kernel's bookkeeping of it. Empty, and BufferBytes 0, when there is none.
  std::vector<uint32_t> Buffer;
  int32_t BufferBytes = 0;
  WindowAccumulator Accumulator;  // its Buffer span always views `Buffer`
  WindowSum Sum;
  int32_t Locked = 0;
  int32_t DynamicSize = 0;  // 1: the size follows the energy
  int32_t CenterX = 0, CenterY = 0;  // centre while tracking
  float W0 = 100, H0 = 100;  // size at 1 eV: W * sqrt(E) at the energy it was drawn at
  int16_t Shape = kShapeRectangle;

  ScanWindow() = default;
  // Copies carry the record, never the buffer.
  ScanWindow(const ScanWindow& other);
  ScanWindow& operator=(const ScanWindow& other);
  // A move takes the buffer along with the record.
  ScanWindow(ScanWindow&& other) noexcept;
  ScanWindow& operator=(ScanWindow&& other) noexcept;
};

// The state of this layer, one for the process.
struct WindowGlobals {
  std::array<ScanWindow, kWindowCount> ScanWindows;
  int CurrentWindow = -1;  // selected window, -1 for none
  AnalysisResult Result;   // written by every evaluation
  int16_t TargetX = 0, TargetY = 0;  // the point Target mode closes in on
  // The extended shape option: Shape is read, written and offered only with
  // it on. The setting itself is G().ExtendedShapes ("Options"/
  // "ExtendedShapes" of the ini file); this copy follows it at every
  // WindowsRead, WindowsWrite and ResetWindowGlobals.
  bool ExtendedShapes = false;
};
WindowGlobals& WG();
void ResetWindowGlobals();  // eight fresh windows with their default colours

// The default colour of window n (0 to 7): the 16-colour palette entries 5,
// 13, 12, 11, 10, 9, 8, 2.
int32_t DefaultWindowColor(int n);
// One window back to its defaults (keeps nothing), with the colour of n.
void ResetWindow(ScanWindow& window, int n);

// Record operations.
bool WindowIsInvalid(const ScanWindow& window, long imageWidth, long imageHeight);
// The evaluated rectangle from CenterX/Y, W, H, pushed back inside the image
// (never cut); true when it changed.
bool WindowUpdateRect(ScanWindow& window, long imageWidth, long imageHeight);
// CenterX = X1 + W/2, CenterY = Y1 + H/2.
void WindowCenterFromHome(ScanWindow& window);
// The kernel's view of the evaluated rectangle (CurX1..CurY2) and shape.
WindowRect WindowCurrentRect(const ScanWindow& window);
// The home rectangle (X1, Y1, W, H) and shape.
WindowRect WindowHomeRect(const ScanWindow& window);

// The averaging buffer: W * H * 4 bytes (x3 for colour), zeroed, over the
// rectangle CurX1..CurY2 (set from X1, Y1, W, H first when `fromHome`).
// False, with BufferBytes 0, when it cannot be had: an empty window, or more
// than a 32-bit BufferBytes can count.
bool WindowBufferAlloc(ScanWindow& window, bool colour, bool fromHome);
void WindowBufferFree(ScanWindow& window);
// One frame into the buffer; frame 0 starts a new sum over the rectangle
// CurX1..CurY2 of that moment (a buffer that has become too small for it
// grows). False without a buffer.
bool WindowScanFrame(ScanWindow& window, FrameSize size, ConstSamples16 image, long frame,
                     bool colour);
// Evaluates the buffer's sum into `result`; Dynamic = frames x levels. A
// colour window reports the mean of its three channels' intensities and the
// place of the brightest channel's maximum.
bool WindowFrameAnalysis(const ScanWindow& window, long levels, bool colour,
                         AnalysisResult& result);
// Evaluates the home rectangle (X1, Y1, W, H) directly on one frame;
// Dynamic = levels. Colour as above.
bool WindowRectAnalysis(const ScanWindow& window, FrameSize size, ConstSamples16 image,
                        long levels, bool colour, AnalysisResult& result);

// The peak line.
void SumClear(WindowSum& sum);
// Adds a point; nothing for energies at or below 0.
void SumAdd(WindowSum& sum, float energy, long x, long y);
// The place on the line at `energy`, rounded to nearest, ties to even; false
// (x, y untouched) with fewer than two points, energy <= 0 or a zero
// determinant.
bool SumPosition(const WindowSum& sum, float energy, long& x, long& y);

// Moves the home position after a single scan by the mode's test value;
// true when X1 or Y1 changed.
bool WindowApplyResult(ScanWindow& window, const AnalysisResult& result);
bool WindowApplyResult(ScanWindow& window);  // with WG().Result

// W = round(W0 / sqrt(E)), H = round(H0 / sqrt(E)); nothing for E <= 0.
void WindowSizeFromEnergy(ScanWindow& window, float energy);
// W0 = W * sqrt(E), H0 = H * sqrt(E); nothing for E <= 0.
void WindowSizeAtEnergy(ScanWindow& window, float energy);

// The steps of an experiment, by window. `ie` is true in an I(E) run.
struct WindowStepEnergy {
  bool ie = false;
  float E = 0;       // energy of this step
  float EStart = 0;  // first energy of the run
  float EStep = 0;   // energy step (Follow mode looks one step ahead)
};
// Before the frame: forecast by mode (Repeat: the peak line; Target: closing
// in on TargetX/TargetY), the size from the energy when DynamicSize is 1 in an
// I(E) run, then WindowUpdateRect. True when the rectangle changed.
bool WindowPrepareStep(ScanWindow& window, const WindowStepEnergy& step, long imageWidth,
                       long imageHeight);
// After the evaluation: the follow step by mode (Stop ABS/REL, Follow with its
// SumAdd or its carry along the line), then WindowUpdateRect when the mode is
// not 0. True when the rectangle changed.
bool WindowFollowStep(ScanWindow& window, const AnalysisResult& result,
                      const WindowStepEnergy& step, long imageWidth, long imageHeight);
// At a finished I(E) run: the size from the present energy with DynamicSize,
// the centre back home, WindowUpdateRect.
void WindowReturnHome(ScanWindow& window, bool ie, float energy, long imageWidth,
                      long imageHeight);
// Follow mode starts each run with a SumClear; Repeat mode keeps its sums.
void WindowStartRun(ScanWindow& window);

// Persistence: section "Window" key "Scan" (CurrentWindow) and sections
// "Window1" to "Window8". Read with every reading rule; written with integers
// in decimal and singles in their shortest form with a point. A single is
// read as its text's leading number (a comma counts as a point), 0 when
// there is none; a selected window other than -1 to 7 reads as -1; a Shape
// outside the list reads as 0.
void WindowsRead(const Profile& ini);
void WindowsWrite(Profile& ini);
// The same on a file (the application's ini file or a ".par" file). Load
// reads a missing file as all defaults and returns false; Save returns false
// when the file cannot be written.
bool WindowsLoad(const std::string& path);
bool WindowsSave(const std::string& path);
// Registers the window section at its place in the settings order (once).
void RegisterWindowSettings();
// "1.5", "100.0", "0.00001": a single in the shortest digits that read back
// to it, without an exponent, always with a point; "0.0" for what no reader
// takes back (infinity, NaN) and for -0.
std::string SingleText(float value);

// The report of one evaluation, lines joined by CR LF.
struct WindowReportOptions {
  bool vtr = false;     // the image is a film's frame: "Averaging = 1 (VTR Mode)"
  bool moved = false;   // the evaluation moved the window: "Window moved"
  // The intensity calibration: when set, each intensity gets a calibrated
  // line after its raw one, in "0.0", a blank and `unit`.
  std::function<float(float)> calibrate;
  std::string unit;
};
std::string WindowReportText(const ScanWindow& window, const AnalysisResult& result,
                             const WindowReportOptions& options);

}  // namespace sv
