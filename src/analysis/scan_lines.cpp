#include "analysis/scan_lines.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>

#include "acquisition/live.h"
#include "analysis/form_window_setup.h"
#include "analysis/scan_windows.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

constexpr long kAveragingMax = 8192;

LineGlobals g_lines = [] {
  LineGlobals g;
  for (int n = 0; n < kLineCount; ++n) ResetLine(g.ScanLines[size_t(n)], n);
  return g;
}();

LineBoard g_defaultBoard;
LineBoard* g_board = &g_defaultBoard;

void Status(const std::string& text) {
  if (MDIForm_Main* main = MainForm())
    main->ShowStatus(text);
  else
    ShowStatus(text);
}

// The frame is the live picture: the grabber is up and this is its image.
bool HasLiveSource(const Form_Camera& image) {
  return G().GrabberOK && image.Handle() != 0 && image.Handle() == G().PreviewImageHandle;
}

ConstSamples16 FrameOf(Form_Camera& image) {
  return ConstSamples16(image.ImagePtr(),
                        image.ImagePtr() ? size_t(image.ImageBytes()) / 2 : 0);
}

// One end slid back inside [0, size - 1] with the other at distance d.
void Slide(int32_t& a, int32_t& b, int32_t d, long size) {
  if (a < 0) {
    a = 0;
    b = d;
  } else if (b < 0) {
    b = 0;
    a = -d;
  }
  if (b > size - 1) {
    b = int32_t(size - 1);
    a = b - d;
  } else if (a > size - 1) {
    a = int32_t(size - 1);
    b = a + d;
  }
}

}  // namespace

LineGlobals& LG() { return g_lines; }

void ResetLine(ScanLine& line, int n) {
  line = ScanLine();
  line.Color = DefaultWindowColor(n);
}

void ResetLineGlobals() {
  g_lines = LineGlobals();
  for (int n = 0; n < kLineCount; ++n) ResetLine(g_lines.ScanLines[size_t(n)], n);
}

int32_t LineAveragingRule(long averaging) {
  if (averaging < 1 || averaging > kAveragingMax ||
      !std::has_single_bit(static_cast<unsigned long>(averaging)))
    return 1;
  return int32_t(averaging);
}

int32_t LineThicknessRule(long thickness) {
  for (int t : kLineThicknesses)
    if (t == thickness) return t;
  return kDefaultThickness;
}

void LineSetHome(ScanLine& line) {
  line.X = line.X1;
  line.Y = line.Y1;
  line.DX = line.X2 - line.X1;
  line.DY = line.Y2 - line.Y1;
}

bool LineIsInvalid(const ScanLine& line, long imageWidth, long imageHeight) {
  auto outside = [&](long x, long y) {
    return x < 0 || y < 0 || x >= imageWidth || y >= imageHeight;
  };
  return outside(line.X1, line.Y1) || outside(line.X2, line.Y2);
}

long LinePointCount(const ScanLine& line) { return LinePoints(line.X1, line.Y1, line.X2, line.Y2); }

bool LineBufferAlloc(ScanLine& line, long points, bool colour) {
  LineBufferFree(line);
  if (points < 1) return false;
  line.Buffer.assign(size_t(points) * (colour ? 3 : 1), 0u);
  line.BufferColour = colour;
  return true;
}

void LineBufferFree(ScanLine& line) {
  line.Buffer.clear();
  line.Buffer.shrink_to_fit();
  line.BufferColour = false;
  line.Accumulator = LineAccumulator();
}

LineAccumulator& LineAccumulatorOf(ScanLine& line) {
  LineAccumulator& a = line.Accumulator;
  a.X1 = line.X1;
  a.Y1 = line.Y1;
  a.X2 = line.X2;
  a.Y2 = line.Y2;
  a.Thickness = line.Thickness;
  a.Buffer = Samples32(line.Buffer.data(), line.Buffer.size());
  return a;
}

long LineScanFrame(ScanLine& line, FrameSize size, ConstSamples16 image, long frame) {
  if (line.Buffer.empty()) return -1;
  LineAccumulator& a = LineAccumulatorOf(line);
  const long points = line.BufferColour ? SV_RGB_scan_line16(a, size, image, frame)
                                        : SV_scan_line16(a, size, image, frame);
  if (points > 0) line.Length = int32_t(points);
  return points;
}

bool LineAnalysis(ScanLine& line) {
  LineGlobals& g = LG();
  LineAccumulator& a = LineAccumulatorOf(line);
  if (a.Length <= 0) return false;
  const int planes = line.BufferColour ? 3 : 1;
  g.Profile.assign(size_t(a.Length) * size_t(planes), 0.0f);
  g.ProfileColour = line.BufferColour;
  bool ok = false;
  if (line.BufferColour) {
    ok = SV_RGB_line_analysis(a, g.Profile, g.Result);
  } else {
    ok = SV_line_analysis(a, g.Profile, g.Result[0]);
    g.Result[1] = g.Result[2] = LineResult();
  }
  if (!ok) {
    g.Profile.clear();
    return false;
  }
  line.Length = int32_t(a.Length);
  g.ProfileEnds = {line.X1, line.Y1, line.X2, line.Y2};
  const LineResult& r = g.Result[0];
  line.LastCenter = int32_t(r.MaxIndex);
  line.LastValue = r.Max;
  return true;
}

// --- Boards ------------------------------------------------------------------------

bool LineBoard::Roi() { return Board().Roi(); }
bool LineBoard::Digitize() { return Board().Digitize(); }
bool LineBoard::Sync() { return Board().Sync(); }

LineBoard& TheLineBoard() { return *g_board; }
void SetLineBoard(LineBoard* board) { g_board = board ? board : &g_defaultBoard; }

// --- One profile ---------------------------------------------------------------------

bool LineScan(ScanLine& line, Form_Camera& image,
              const std::function<void(const std::string&)>& status) {
  LineGlobals& g = LG();
  const bool colour = image.HasColors();
  if (line.Buffer.empty() || (colour && !line.BufferColour)) {
    host().MsgBox(kNoMemoryText, MsgButtons::OK, MsgIcon::Exclamation, kProfileName);
    return false;
  }
  g.StopCode = 0;
  const long levels = image.ImageDynamik();
  g.Dynamic = levels;
  auto size = [&image] { return FrameSize{image.ImageWidth(), image.ImageHeight()}; };
  const bool film = Hooks().IsFilmFrame && Hooks().IsFilmFrame(image);
  LineBoard& board = TheLineBoard();
  if (film || line.Averaging <= 1 || !HasLiveSource(image) || !board.Roi()) {
    // A film's frame stands alone; otherwise the image document averages and
    // the line is read once.
    if (!film && line.Averaging > 1 && HasLiveSource(image)) Average(image, line.Averaging);
    if (!image.ImagePtr() || LineScanFrame(line, size(), FrameOf(image), 0) <= 0) return false;
  } else {
    // The board reads the line itself; only the line crosses the bus.
    Status("Scanning...");
    host().SetBusy(true);
    const uint32_t start = host().TimeGetTime();
    board.Digitize();
    long i = 0;
    for (; i < line.Averaging; ++i) {
      if (status) status(std::to_string(i));
      host().DoEvents();
      if (g.StopCode != 0) break;
      board.Sync();
      LineAccumulatorOf(line);
      if (!board.ReadLine(line, i)) break;
      board.Digitize();
    }
    if (status) status("");
    const int32_t elapsed = SV_SubTime(host().TimeGetTime(), start);
    if (elapsed != 0) {
      char rate[48];
      std::snprintf(rate, sizeof rate, "%.1f Hz", double(line.Averaging) * 1000.0 / double(elapsed));
      Status(rate);
    }
    board.Sync();
    host().SetBusy(false);
    if (i == 0) return false;
  }
  return LineAnalysis(line);
}

// --- 'Link to' mode ------------------------------------------------------------------

bool LineFollowWindow(ScanLine& line, long imageWidth, long imageHeight) {
  if (line.Mode < 1 || line.Mode > kWindowCount) return false;
  const ScanWindow& w = WG().ScanWindows[size_t(line.Mode - 1)];
  const int32_t oldX1 = line.X1, oldY1 = line.Y1, oldX2 = line.X2, oldY2 = line.Y2;
  // The window's home centre against the centre it has now.
  const int32_t dx = w.CenterX - (w.X1 + w.W / 2);
  const int32_t dy = w.CenterY - (w.Y1 + w.H / 2);
  if (dx != 0) {
    line.X1 = line.X + dx;
    line.X2 = line.X1 + line.DX;
    Slide(line.X1, line.X2, line.DX, imageWidth);
  }
  if (dy != 0) {
    line.Y1 = line.Y + dy;
    line.Y2 = line.Y1 + line.DY;
    Slide(line.Y1, line.Y2, line.DY, imageHeight);
  }
  return line.X1 != oldX1 || line.Y1 != oldY1 || line.X2 != oldX2 || line.Y2 != oldY2;
}

bool LinesFollowWindows(long imageWidth, long imageHeight) {
  bool moved = false;
  for (ScanLine& line : LG().ScanLines)
    if (LineFollowWindow(line, imageWidth, imageHeight)) moved = true;
  return moved;
}

// --- The experiment's read -------------------------------------------------------------

bool LinesStartRun(bool colour) {
  bool ok = true;
  for (ScanLine& line : LG().ScanLines) {
    LineBufferFree(line);
    if (line.Enabled != 1) continue;
    LineSetHome(line);
    // The larger of the box's sides, plus one.
    const long length = std::max(std::labs(line.DX), std::labs(line.DY));
    if (!LineBufferAlloc(line, length + 1, colour)) ok = false;
  }
  if (!ok) LinesEndRun();
  return ok;
}

void LinesScanFrame(FrameSize size, ConstSamples16 image, long frame, bool colour) {
  for (ScanLine& line : LG().ScanLines) {
    if (line.Enabled != 1 || line.Buffer.empty() || line.BufferColour != colour) continue;
    if (frame < line.Averaging) LineScanFrame(line, size, image, frame);
  }
}

void LinesStep(std::array<std::vector<float>, kLineCount>& profiles) {
  for (int n = 0; n < kLineCount; ++n) {
    ScanLine& line = LG().ScanLines[size_t(n)];
    profiles[size_t(n)].clear();
    if (line.Enabled != 1 || line.Buffer.empty()) continue;
    if (LineAnalysis(line)) profiles[size_t(n)] = LG().Profile;
  }
}

void LinesEndRun() {
  for (ScanLine& line : LG().ScanLines) LineBufferFree(line);
}

}  // namespace sv
