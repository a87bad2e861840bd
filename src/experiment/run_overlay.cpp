#include "experiment/run_overlay.h"

#include "analysis/scan_lines.h"
#include "analysis/scan_windows.h"
#include "experiment/experiment_settings.h"
#include "image/form_camera.h"

namespace sv {

namespace {

constexpr long kStyleSolid = 0, kStyleDotted = 2;

void AddLines(Class_Overlay& overlay) {
  for (int16_t i : ES().SelectedLines) {
    if (i < 0 || i >= kLineCount) continue;
    const ScanLine& l = LG().ScanLines[size_t(i)];
    overlay.AddLine(l.X1, l.Y1, l.X2, l.Y2, l.Color);
  }
}

void Draw(Form_Camera& image, int flags, bool home) {
  Class_Overlay& overlay = image.Overlay;
  overlay.Clear();
  if (flags & kOverlayWindows) {
    for (int16_t i : ES().SelectedWindows) {
      if (i < 0 || i >= kWindowCount) continue;
      const ScanWindow& w = WG().ScanWindows[size_t(i)];
      if (w.W <= 0 || w.H <= 0) continue;
      // A frame ends before its far corner: one past the last pixel.
      if (home)
        overlay.AddRect(w.X1, w.Y1, long(w.X1) + w.W, long(w.Y1) + w.H, w.RGBColor, 1, kStyleDotted);
      else
        overlay.AddRect(w.CurX1, w.CurY1, long(w.CurX2) + 1, long(w.CurY2) + 1, w.RGBColor, 1,
                        kStyleSolid);
    }
  }
  if (flags & kOverlayLines) AddLines(overlay);
}

}  // namespace

void Overlay_ExpRunning(Form_Camera& image, int flags) { Draw(image, flags, false); }

void Overlay_ExpStandBy(Form_Camera& image, int flags) { Draw(image, flags, true); }

}  // namespace sv
