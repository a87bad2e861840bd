#include "analysis/scan_windows.h"

#include <climits>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "core/globals.h"

namespace sv {

namespace {

// The classic 16-colour palette, red in the low byte.
constexpr int32_t kPalette16[16] = {
    0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0xC0C0C0,
    0x808080, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF,
};
constexpr int kWindowPaletteIndex[kWindowCount] = {5, 13, 12, 11, 10, 9, 8, 2};

int32_t ToInt32(long long v) {
  if (v > INT32_MAX) return INT32_MAX;
  if (v < INT32_MIN) return INT32_MIN;
  return int32_t(v);
}

WindowGlobals FreshGlobals() {
  WindowGlobals g;
  for (int n = 0; n < kWindowCount; ++n) ResetWindow(g.ScanWindows[size_t(n)], n);
  g.ExtendedShapes = G().ExtendedShapes != 0;
  return g;
}

// One side of the rectangle: [lo, hi] of length `size` around `center`,
// pushed back inside 0..limit-1 without being cut.
void Side(long long center, long long size, long long limit, long long& lo, long long& hi) {
  lo = center - size / 2;
  hi = lo + size - 1;
  if (lo < 0) {
    lo = 0;
    hi = size - 1;
  } else if (hi >= limit) {
    hi = limit - 1;
    lo = hi - size + 1;
  }
}

}  // namespace

WindowGlobals& WG() {
  static WindowGlobals globals = FreshGlobals();
  return globals;
}

void ResetWindowGlobals() { WG() = FreshGlobals(); }

int32_t DefaultWindowColor(int n) {
  if (n < 0 || n >= kWindowCount) return kPalette16[kWindowPaletteIndex[0]];
  return kPalette16[kWindowPaletteIndex[n]];
}

void ResetWindow(ScanWindow& window, int n) {
  window = ScanWindow();
  window.RGBColor = DefaultWindowColor(n);
}

// --- The record ------------------------------------------------------------

ScanWindow::ScanWindow(const ScanWindow& other) { *this = other; }

ScanWindow& ScanWindow::operator=(const ScanWindow& other) {
  if (this == &other) return *this;
  X1 = other.X1;
  Y1 = other.Y1;
  W = other.W;
  H = other.H;
  CurX1 = other.CurX1;
  CurY1 = other.CurY1;
  CurX2 = other.CurX2;
  CurY2 = other.CurY2;
  RGBColor = other.RGBColor;
  RunState = other.RunState;
  Spare = other.Spare;
  Averaging = other.Averaging;
  Mode = other.Mode;
  Threshold = other.Threshold;
  Select = other.Select;
  Plot = other.Plot;
  Sum = other.Sum;
  Locked = other.Locked;
  DynamicSize = other.DynamicSize;
  CenterX = other.CenterX;
  CenterY = other.CenterY;
  W0 = other.W0;
  H0 = other.H0;
  Shape = other.Shape;
  // The copy owns no sum: whatever buffer it had is given up.
  WindowBufferFree(*this);
  return *this;
}

ScanWindow::ScanWindow(ScanWindow&& other) noexcept { *this = std::move(other); }

ScanWindow& ScanWindow::operator=(ScanWindow&& other) noexcept {
  if (this == &other) return *this;
  const ScanWindow& record = other;
  *this = record;  // the record; this window's own buffer is given up
  // The vector's memory moves as it is, so the kernel's view stays valid.
  Buffer = std::move(other.Buffer);
  BufferBytes = other.BufferBytes;
  Accumulator = other.Accumulator;
  WindowBufferFree(other);
  return *this;
}

bool WindowIsInvalid(const ScanWindow& window, long imageWidth, long imageHeight) {
  return window.X1 < 0 || window.Y1 < 0 || window.W < 1 || window.H < 1 ||
         (long long)window.X1 + window.W > imageWidth ||
         (long long)window.Y1 + window.H > imageHeight;
}

bool WindowUpdateRect(ScanWindow& window, long imageWidth, long imageHeight) {
  long long left, right, top, bottom;
  Side(window.CenterX, window.W, imageWidth, left, right);
  Side(window.CenterY, window.H, imageHeight, top, bottom);
  bool changed = false;
  if (left != window.CurX1 || right != window.CurX2) {
    window.CurX1 = ToInt32(left);
    window.CurX2 = ToInt32(right);
    changed = true;
  }
  if (top != window.CurY1 || bottom != window.CurY2) {
    window.CurY1 = ToInt32(top);
    window.CurY2 = ToInt32(bottom);
    changed = true;
  }
  return changed;
}

void WindowCenterFromHome(ScanWindow& window) {
  window.CenterX = ToInt32((long long)window.X1 + window.W / 2);
  window.CenterY = ToInt32((long long)window.Y1 + window.H / 2);
}

WindowRect WindowCurrentRect(const ScanWindow& window) {
  return WindowRect{window.CurX1, window.CurY1, window.CurX2, window.CurY2, window.Shape};
}

WindowRect WindowHomeRect(const ScanWindow& window) {
  return WindowRect{window.X1, window.Y1, (long)((long long)window.X1 + window.W - 1),
                    (long)((long long)window.Y1 + window.H - 1), window.Shape};
}

// --- The averaging buffer --------------------------------------------------

bool WindowBufferAlloc(ScanWindow& window, bool colour, bool fromHome) {
  WindowBufferFree(window);
  if (fromHome) {
    window.CurX1 = window.X1;
    window.CurY1 = window.Y1;
    window.CurX2 = ToInt32((long long)window.X1 + window.W - 1);
    window.CurY2 = ToInt32((long long)window.Y1 + window.H - 1);
  }
  if (window.W < 1 || window.H < 1) return false;
  const WindowRect rect = WindowCurrentRect(window);
  const long long sums = (long long)rect.Width() * rect.Height() * (colour ? 3 : 1);
  // BufferBytes is a 32-bit count: nothing larger is asked for.
  if (sums <= 0 || sums > INT32_MAX / 4) return false;
  try {
    window.Buffer.assign(size_t(sums), 0u);
  } catch (const std::bad_alloc&) {
    window.Buffer = {};
    return false;
  }
  window.BufferBytes = int32_t(sums * 4);
  window.Accumulator.Rect = rect;
  window.Accumulator.Buffer = window.Buffer;
  return true;
}

void WindowBufferFree(ScanWindow& window) {
  std::vector<uint32_t>().swap(window.Buffer);
  window.BufferBytes = 0;
  window.Accumulator = WindowAccumulator();
}

bool WindowScanFrame(ScanWindow& window, FrameSize size, ConstSamples16 image, long frame,
                     bool colour) {
  if (window.BufferBytes <= 0 || window.Buffer.empty()) return false;
  WindowAccumulator& acc = window.Accumulator;
  if (frame == 0 || acc.Frames <= 0) {
    // A new sum over the rectangle evaluated now; a window that has grown
    // since its buffer was had gets a larger one.
    const WindowRect rect = WindowCurrentRect(window);
    const long long sums = (long long)rect.Width() * rect.Height() * (colour ? 3 : 1);
    if (sums <= 0 || sums > INT32_MAX / 4) return false;
    if (size_t(sums) > window.Buffer.size()) {
      try {
        window.Buffer.resize(size_t(sums));
      } catch (const std::bad_alloc&) {
        return false;
      }
      window.BufferBytes = int32_t(sums * 4);
    }
    acc.Rect = rect;
    acc.Buffer = window.Buffer;
    acc.Frames = 0;
  }
  return colour ? SV_RGB_scan_frame16(acc, size, image, frame)
                : SV_scan_frame16(acc, size, image, frame);
}

namespace {

// A colour window: the mean of the three channels' intensities, the place of
// the brightest channel's maximum (the first of equals).
AnalysisResult ColourMean(const RGBAnalysisResult& rgb) {
  AnalysisResult r = rgb[0];
  size_t brightest = 0;
  for (size_t k = 1; k < 3; ++k)
    if (rgb[k].I.max > rgb[brightest].I.max) brightest = k;
  r.I.total = (rgb[0].I.total + rgb[1].I.total + rgb[2].I.total) / 3.0f;
  r.I.max = (rgb[0].I.max + rgb[1].I.max + rgb[2].I.max) / 3.0f;
  r.I.back = (rgb[0].I.back + rgb[1].I.back + rgb[2].I.back) / 3.0f;
  r.X.max = rgb[brightest].X.max;
  r.Y.max = rgb[brightest].Y.max;
  return r;
}

}  // namespace

bool WindowFrameAnalysis(const ScanWindow& window, long levels, bool colour,
                         AnalysisResult& result) {
  if (window.BufferBytes <= 0) return false;
  if (!colour) return SV_frame_analysis(window.Accumulator, levels, result);
  RGBAnalysisResult rgb;
  if (!SV_RGB_frame_analysis(window.Accumulator, levels, rgb)) return false;
  result = ColourMean(rgb);
  return true;
}

bool WindowRectAnalysis(const ScanWindow& window, FrameSize size, ConstSamples16 image,
                        long levels, bool colour, AnalysisResult& result) {
  const WindowRect rect = WindowHomeRect(window);
  if (!colour) return SV_rect16_analysis(rect, size, image, levels, result);
  RGBAnalysisResult rgb;
  if (!SV_RGB_rect16_analysis(rect, size, image, levels, rgb)) return false;
  result = ColourMean(rgb);
  return true;
}

// --- The peak line -----------------------------------------------------------

void SumClear(WindowSum& sum) { sum = WindowSum(); }

void SumAdd(WindowSum& sum, float energy, long x, long y) {
  if (!(energy > 0)) return;
  sum.N = sum.N + 1.0f;
  if (sum.N == 1.0f)
    sum.Energy1 = energy;
  else
    sum.Energy2 = energy;
  const float s = 1.0f / std::sqrt(energy);
  const float fx = float(x), fy = float(y);
  sum.E = sum.E + s;
  sum.E2 = sum.E2 + s * s;
  sum.X = sum.X + fx;
  sum.EX = sum.EX + s * fx;
  sum.Y = sum.Y + fy;
  sum.EY = sum.EY + s * fy;
}

bool SumPosition(const WindowSum& sum, float energy, long& x, long& y) {
  if (sum.N < 2.0f || !(energy > 0)) return false;
  const float n = sum.N;
  const float d = n * sum.E2 - sum.E * sum.E;
  if (d == 0.0f || std::isnan(d)) return false;
  const float f = 1.0f / d;
  const float slopeX = (sum.EX * n - sum.X * sum.E) * f;
  const float offsetX = (sum.X * sum.E2 - sum.EX * sum.E) * f;
  const float slopeY = (n * sum.EY - sum.E * sum.Y) * f;
  const float offsetY = (sum.Y * sum.E2 - sum.E * sum.EY) * f;
  const float s = 1.0f / std::sqrt(energy);
  const float px = slopeX * s + offsetX;
  const float py = slopeY * s + offsetY;
  // Sums that overflowed give no place; the window stays.
  if (!std::isfinite(px) || !std::isfinite(py)) return false;
  x = RoundEven(px);
  y = RoundEven(py);
  return true;
}

// --- Moves and sizes -------------------------------------------------------------

bool WindowApplyResult(ScanWindow& window, const AnalysisResult& result) {
  double test;
  switch (window.Mode) {
    case kModeStopAbs:
      test = result.I.max;
      break;
    case kModeStopRel:
    case kModeFollow:
    case kModeRepeat:
    case kModeTarget:
      test = float(result.I.max - result.I.back);
      break;
    default:
      return false;  // Fixed Position and unknown modes never move
  }
  if (double(window.Threshold) > test) return false;
  // Cut to 16 bits, then raised to 0; the right and lower borders are the
  // window check's business at the next use.
  int32_t x1 = int16_t(uint16_t((long long)result.X.max - window.W / 2));
  int32_t y1 = int16_t(uint16_t((long long)result.Y.max - window.H / 2));
  if (x1 < 0) x1 = 0;
  if (y1 < 0) y1 = 0;
  const bool moved = x1 != window.X1 || y1 != window.Y1;
  window.X1 = x1;
  window.Y1 = y1;
  return moved;
}

bool WindowApplyResult(ScanWindow& window) { return WindowApplyResult(window, WG().Result); }

void WindowSizeFromEnergy(ScanWindow& window, float energy) {
  if (!(energy > 0)) return;
  const double root = std::sqrt(double(energy));
  window.W = ToInt32(RoundEven(double(window.W0) / root));
  window.H = ToInt32(RoundEven(double(window.H0) / root));
}

void WindowSizeAtEnergy(ScanWindow& window, float energy) {
  if (!(energy > 0)) return;
  const double root = std::sqrt(double(energy));
  window.W0 = float(window.W * root);
  window.H0 = float(window.H * root);
}

// --- Experiment steps ----------------------------------------------------------

bool WindowPrepareStep(ScanWindow& window, const WindowStepEnergy& step, long imageWidth,
                       long imageHeight) {
  if (window.Mode == kModeRepeat && step.ie) {
    long x = window.CenterX, y = window.CenterY;
    if (SumPosition(window.Sum, step.E, x, y)) {
      window.CenterX = ToInt32(x);
      window.CenterY = ToInt32(y);
    }
  } else if (window.Mode == kModeTarget && step.E > 0 && step.EStart >= 0) {
    // The spot closes in on the target point as 1 / sqrt(E).
    const double k = std::sqrt(double(step.EStart / step.E));
    const WindowGlobals& g = WG();
    window.CenterX = ToInt32(RoundEven(g.TargetX + k * (double(window.CenterX) - g.TargetX)));
    window.CenterY = ToInt32(RoundEven(g.TargetY + k * (double(window.CenterY) - g.TargetY)));
  }
  if (step.ie && window.DynamicSize == 1) WindowSizeFromEnergy(window, step.E);
  return WindowUpdateRect(window, imageWidth, imageHeight);
}

bool WindowFollowStep(ScanWindow& window, const AnalysisResult& result,
                      const WindowStepEnergy& step, long imageWidth, long imageHeight) {
  const double threshold = window.Threshold;
  const double rel = float(result.I.max - result.I.back);
  auto toMax = [&] {
    window.CenterX = result.X.max;
    window.CenterY = result.Y.max;
  };
  switch (window.Mode) {
    case kModeFixed:
      return false;
    case kModeStopAbs:
      if (threshold <= double(result.I.max)) toMax();
      break;
    case kModeStopRel:
      if (threshold <= rel) toMax();
      break;
    case kModeFollow:
      if (rel < threshold) {
        // The spot has faded: carry on along the line learned so far.
        long x = window.CenterX, y = window.CenterY;
        if (step.ie && SumPosition(window.Sum, step.E + step.EStep, x, y)) {
          window.CenterX = ToInt32(x);
          window.CenterY = ToInt32(y);
        }
      } else {
        toMax();
        SumAdd(window.Sum, step.E, result.X.max, result.Y.max);
      }
      break;
    default:
      break;
  }
  return WindowUpdateRect(window, imageWidth, imageHeight);
}

void WindowReturnHome(ScanWindow& window, bool ie, float energy, long imageWidth,
                      long imageHeight) {
  if (ie && window.DynamicSize == 1) WindowSizeFromEnergy(window, energy);
  WindowCenterFromHome(window);
  WindowUpdateRect(window, imageWidth, imageHeight);
}

void WindowStartRun(ScanWindow& window) {
  if (window.Mode == kModeFollow) SumClear(window.Sum);
}

}  // namespace sv
