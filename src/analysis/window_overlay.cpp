// The windows on the picture, one window's evaluation on a stored frame and
// its report.
#include <algorithm>

#include "analysis/form_window_setup.h"
#include "analysis/window_tools.h"
#include "image/form_camera.h"

namespace sv {

namespace {

constexpr long kCrossHalf = 5;     // the cross reaches 5 pixels to each side
constexpr long kLabelOffset = 4;   // labels sit below and to the right of their point
constexpr long kStyleSolid = 0, kStyleDotted = 2;

}  // namespace

void AddRepeatLine(Form_Camera& image, const RepeatLineGeometry& line, int32_t colour) {
  image.Overlay.AddLine(line.x1, line.y1, line.x2, line.y2, colour);
  image.Overlay.AddText(line.x1 + kLabelOffset, line.y1 + kLabelOffset, line.label1, colour);
  image.Overlay.AddText(line.x2 + kLabelOffset, line.y2 + kLabelOffset, line.label2, colour);
}

void Overlay_WindowSetup(Form_Camera& image) {
  Class_Overlay& overlay = image.Overlay;
  overlay.Clear();
  const long iw = image.ImageWidth(), ih = image.ImageHeight();
  const int current = WG().CurrentWindow;
  for (int i = 0; i < kWindowCount; ++i) {
    const ScanWindow& w = WG().ScanWindows[size_t(i)];
    if (WindowIsInvalid(w, iw, ih)) continue;
    const long x1 = w.X1, y1 = w.Y1, x2 = long(w.X1) + w.W - 1, y2 = long(w.Y1) + w.H - 1;
    const long style = w.RunState == 0 ? kStyleSolid : kStyleDotted;
    // A frame ends before its far corner: one past the window's last pixel.
    overlay.AddRect(x1, y1, x2 + 1, y2 + 1, w.RGBColor, 1, style);
    if (i == current) {
      // The current window has grips at its four corners.
      overlay.AddGriffLine(x1, y1, x2, y2);
      overlay.AddGriffLine(x2, y1, x1, y2);
    }
  }
  image.DrawCameraImage();
}

void Overlay_Cross(Form_Camera& image, long x, long y, int32_t colour) {
  image.Overlay.AddLine(x - kCrossHalf, y, x + kCrossHalf, y, colour);
  image.Overlay.AddLine(x, y - kCrossHalf, x, y + kCrossHalf, colour);
  image.DrawCameraImage();
}

bool WindowEvaluate(const ScanWindow& window, Form_Camera& image) {
  const uint16_t* pixels = image.ImagePtr();
  if (!pixels) return false;
  const FrameSize size{image.ImageWidth(), image.ImageHeight()};
  if (WindowIsInvalid(window, size.width, size.height)) return false;
  const ConstSamples16 frame(pixels, size_t(image.ImageBytes()) / 2);
  AnalysisResult& result = WG().Result;
  if (!WindowRectAnalysis(window, size, frame, image.ImageDynamik(), image.HasColors(), result))
    return false;
  result.Dynamic = int32_t(image.ImageDynamik());
  return true;
}

std::string WindowReport(ScanWindow& window, Form_Camera& image, bool& moved) {
  const AnalysisResult& result = WG().Result;
  moved = WindowApplyResult(window, result);
  const AnalysisHooks& hooks = Hooks();
  WindowReportOptions options;
  options.vtr = hooks.IsFilmFrame && hooks.IsFilmFrame(image);
  options.moved = moved;
  if (hooks.CalibrationOn && hooks.CalibrationOn(image) && hooks.CalIntensity) {
    const Form_Camera* calibrated = &image;
    options.calibrate = [calibrated](float v) { return Hooks().CalIntensity(*calibrated, v); };
    options.unit = hooks.CalibrationUnit ? hooks.CalibrationUnit(image) : std::string();
  }
  std::string text = WindowReportText(window, result, options);
  if (moved) {
    // The evaluated rectangle follows the new home at once.
    window.CurX1 = window.X1;
    window.CurY1 = window.Y1;
    window.CurX2 = window.X1 + window.W - 1;
    window.CurY2 = window.Y1 + window.H - 1;
  }
  // The windows afresh (the moved one in its new place), then the cross: one
  // cross at a time.
  Overlay_WindowSetup(image);
  Overlay_Cross(image, result.X.max, result.Y.max, window.RGBColor);
  return text;
}

}  // namespace sv
