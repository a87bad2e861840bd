// Scan lines: the eight straight profiles across the image, how they are kept
// in the ini file, one profile read (LineScan), the 'Link to' mode that lets a
// line follow a window, and the per-step read of an experiment run.
//
// Lines are numbered 1 to 8 to the user and 0 to 7 here. The array lives for
// the whole process beside the windows (`LG()`).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "image/kernel/analysis.h"
#include "image/kernel/kernel_types.h"

namespace sv {

class Form_Camera;
class Profile;

inline constexpr int kLineCount = 8;
inline constexpr long kLineSetupMode = 4;  // the picture's mouse belongs to the line tool
inline constexpr const char* kNoMemoryText = "No Memory allocated";
inline constexpr const char* kInvalidLineText = " Invalid Line Position.";
inline constexpr const char* kProfileName = "Profile";
inline constexpr const char* kProfileTName = "Profile(t)";
// The thicknesses a line may have, in the order of Combo_LineWidth.
inline constexpr int kLineThicknesses[] = {1, 3, 5, 7, 9, 15, 25};
inline constexpr int kLineThicknessCount = 7;
inline constexpr int kDefaultThickness = 3;

struct ScanLine {
  int32_t X = 0, Y = 0;    // home start point
  int32_t DX = 0, DY = 0;  // X2 - X1, Y2 - Y1 at home
  int32_t X1 = 0, Y1 = 0, X2 = 0, Y2 = 0;  // end points now in use
  int32_t Color = 0;  // 24-bit RGB (red in the low byte, as the overlay takes it)
  int32_t Spare = 0;
  int32_t Averaging = 1;  // frames summed for one profile
  int32_t Mode = 0;       // 0 fixed; n in 1..8: follows window n
  int32_t Thickness = kDefaultThickness;  // pixels across, odd
  int32_t Enabled = 0;    // 1: selected for a scan
  int32_t Plot = 1;       // 1: plotted
  // The sum of the profile: one 32-bit value a point, three planes (red,
  // green, blue) for colour. Empty when there is none.
  std::vector<uint32_t> Buffer;
  bool BufferColour = false;
  int32_t Length = 0;  // points of the last profile
  int32_t LastCenter = 0;
  float LastValue = 0;
  LineAccumulator Accumulator;  // the kernel's bookkeeping; its span is set before each use
};

// The state of the line layer, one for the process.
struct LineGlobals {
  std::array<ScanLine, kLineCount> ScanLines;
  int CurrentLine = -1;  // "Scan": the line in the setup, -1 for none
  // The line setup's place ("Line") and the profile window's ("LineScanPlot").
  int Left = 0, Top = 0, Width = 0, Height = 0, State = 0;
  int PlotAuto = 1, PlotLeft = 0, PlotTop = 0, PlotWidth = 0, PlotHeight = 0;
  // Lines the setup has locked against editing (not kept in the ini file).
  std::array<bool, kLineCount> Locked{};
  // The last profile read: Length floats a channel, three planes for colour.
  std::vector<float> Profile;
  bool ProfileColour = false;
  std::array<int32_t, 4> ProfileEnds{};  // X1, Y1, X2, Y2 of the line it was read on
  std::array<LineResult, 3> Result{};
  long Dynamic = 0;  // the value that stands for 100 % of one frame's mean
  // The stop word of the line scans: 0 while running, else why a scan ends.
  // Experiments will share it when they come.
  long StopCode = 0;
};
LineGlobals& LG();
void ResetLineGlobals();  // eight fresh lines with the windows' default colours
void ResetLine(ScanLine& line, int n);

// Reading rules.
int32_t LineAveragingRule(long averaging);  // a power of two 1..8192, else 1
int32_t LineThicknessRule(long thickness);  // one of the list, else 3

// The line's home from its ends: X, Y = X1, Y1; DX, DY = X2 - X1, Y2 - Y1.
void LineSetHome(ScanLine& line);
// Both ends inside the image.
bool LineIsInvalid(const ScanLine& line, long imageWidth, long imageHeight);
// Points of the line now: the larger of its width and height, plus one.
long LinePointCount(const ScanLine& line);

// The profile buffer for `points` points (x3 for colour), zeroed.
bool LineBufferAlloc(ScanLine& line, long points, bool colour);
void LineBufferFree(ScanLine& line);
// The kernel's view of the line, its span over `Buffer`.
LineAccumulator& LineAccumulatorOf(ScanLine& line);
// One frame into the buffer (frame 0 starts a new sum); the points, -1 when
// the line or buffer does not fit.
long LineScanFrame(ScanLine& line, FrameSize size, ConstSamples16 image, long frame);
// The profile of the buffer into LG().Profile and LG().Result.
bool LineAnalysis(ScanLine& line);

// A board that reads lines itself (GRABBER_roi). No driver of this platform
// does; tests put a fake one in. The default answers through the window
// board for Roi, Digitize and Sync.
class LineBoard {
 public:
  virtual ~LineBoard() = default;
  virtual bool Roi();
  virtual bool Digitize();
  virtual bool Sync();
  // Adds frame `frame` of the line into its buffer, as SV_scan_line16 would.
  virtual bool ReadLine(ScanLine&, long /*frame*/) { return false; }
};
LineBoard& TheLineBoard();
void SetLineBoard(LineBoard* board);  // nullptr: back to the default

// The common read of one profile on an image (see the cpp for the branches);
// the result is in LG().Profile. `status` gets the frame counter of a board
// read ("" at its end); may be empty.
bool LineScan(ScanLine& line, Form_Camera& image,
              const std::function<void(const std::string&)>& status = {});

// 'Link to' mode: a line with Mode n > 0 follows window n's CenterX, CenterY
// against its home centre, sliding back inside so that it keeps its length.
// True when an end moved.
bool LineFollowWindow(ScanLine& line, long imageWidth, long imageHeight);
// All lines; true when any moved.
bool LinesFollowWindows(long imageWidth, long imageHeight);

// The experiment's read. Start: a buffer of length + 1 points for each
// enabled line (frees the others); false when one cannot be had. Frame: frame
// i of the averaging into every enabled line with i below its Averaging.
// Step: the analysis of each enabled line (profiles into `profiles`, one a
// line, empty for lines that are not enabled).
bool LinesStartRun(bool colour);
void LinesScanFrame(FrameSize size, ConstSamples16 image, long frame, bool colour);
void LinesStep(std::array<std::vector<float>, kLineCount>& profiles);
void LinesEndRun();

// Persistence: sections "Line", "LineScanPlot", "Line1" .. "Line8".
void LinesRead(const Profile& ini);
void LinesWrite(Profile& ini);
bool LinesLoad(const std::string& path);
bool LinesSave(const std::string& path);
void RegisterLineSettings();

}  // namespace sv
