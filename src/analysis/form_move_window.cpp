// Form_MoveWindow: nudges the evaluated rectangle of one window.
#include <algorithm>

#include "analysis/form_window_setup.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"

namespace sv {

namespace {

constexpr int32_t kStep = 1, kFastStep = 8;
constexpr long kStyleSolid = 0, kStyleDotted = 2;

// The evaluated rectangles of the valid windows, the selected one with grips.
void OverlayMoveWindows(Form_Camera& image, int selected) {
  Class_Overlay& overlay = image.Overlay;
  overlay.Clear();
  const long iw = image.ImageWidth(), ih = image.ImageHeight();
  for (int i = 0; i < kWindowCount; ++i) {
    const ScanWindow& w = WG().ScanWindows[size_t(i)];
    if (WindowIsInvalid(w, iw, ih)) continue;
    overlay.AddRect(w.CurX1, w.CurY1, w.CurX2 + 1, w.CurY2 + 1, w.RGBColor, 1,
                    w.RunState == 0 ? kStyleSolid : kStyleDotted);
    if (i == selected) {
      overlay.AddGriffLine(w.CurX1, w.CurY1, w.CurX2, w.CurY2);
      overlay.AddGriffLine(w.CurX2, w.CurY1, w.CurX1, w.CurY2);
    }
  }
  image.DrawCameraImage();
}

}  // namespace

Form_MoveWindow& MoveWindowForm() {
  static Form_MoveWindow form;
  return form;
}

Form_Camera* Form_MoveWindow::Image() const {
  if (!ImageForm) return nullptr;
  if (imageHandle_ != 0) {
    MDIForm_Main* main = MainForm();
    if (!main || main->Child(imageHandle_) != ImageForm) return nullptr;
  }
  return ImageForm;
}

void Form_MoveWindow::Load(Form_Camera* image) {
  ImageForm = image;
  imageHandle_ = image ? image->Handle() : 0;
  const long iw = image ? image->ImageWidth() : 0, ih = image ? image->ImageHeight() : 0;
  int first = -1;
  for (int i = 0; i < kWindowCount; ++i) {
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    const bool valid = !WindowIsInvalid(w, iw, ih);
    Ctl_Option_Frame[size_t(i)].Enabled = valid;
    if (!valid) continue;
    if (first < 0) first = i;
    // A window never evaluated starts from its home.
    if (w.CurX2 - w.CurX1 + 1 != w.W || w.CurY2 - w.CurY1 + 1 != w.H) {
      w.CurX1 = w.X1;
      w.CurY1 = w.Y1;
    }
  }
  const int current = WG().CurrentWindow;
  Option_Frame = current >= 0 && current < kWindowCount && Ctl_Option_Frame[size_t(current)].Enabled
                     ? current
                     : std::max(first, 0);
  visible_ = true;
  UpdateFrames();
}

void Form_MoveWindow::Option_Frame_Click(int n) {
  if (n < 0 || n >= kWindowCount || !Ctl_Option_Frame[size_t(n)].Enabled) return;
  Option_Frame = n;
  UpdateFrames();
}

void Form_MoveWindow::Check_SetStart_Click() {
  if (Check_SetStart) UpdateFrames();
  view_->Changed(*this);
}

void Form_MoveWindow::Command_Up() {
  WG().ScanWindows[size_t(Option_Frame)].CurY1 -= Check_Fast ? kFastStep : kStep;
  UpdateFrames();
}

void Form_MoveWindow::Command_Down() {
  WG().ScanWindows[size_t(Option_Frame)].CurY1 += Check_Fast ? kFastStep : kStep;
  UpdateFrames();
}

void Form_MoveWindow::Command_Left() {
  WG().ScanWindows[size_t(Option_Frame)].CurX1 -= Check_Fast ? kFastStep : kStep;
  UpdateFrames();
}

void Form_MoveWindow::Command_Right() {
  WG().ScanWindows[size_t(Option_Frame)].CurX1 += Check_Fast ? kFastStep : kStep;
  UpdateFrames();
}

void Form_MoveWindow::Command_Close() {
  if (!visible_) return;
  visible_ = false;
  view_->Changed(*this);
}

void Form_MoveWindow::UpdateFrames() {
  Option_Frame = std::clamp(Option_Frame, 0, kWindowCount - 1);
  ScanWindow& w = WG().ScanWindows[size_t(Option_Frame)];
  Form_Camera* image = Image();
  const long iw = image ? image->ImageWidth() : 0, ih = image ? image->ImageHeight() : 0;
  // Back inside: first the left and top edges, then the right and bottom.
  if (w.CurX1 < 0) w.CurX1 = 0;
  if (w.CurX1 > iw - w.W) w.CurX1 = int32_t(iw - w.W);
  if (w.CurY1 < 0) w.CurY1 = 0;
  if (w.CurY1 > ih - w.H) w.CurY1 = int32_t(ih - w.H);
  if (Check_SetStart) {
    w.X1 = w.CurX1;
    w.Y1 = w.CurY1;
  }
  w.CurX2 = w.CurX1 + w.W - 1;
  w.CurY2 = w.CurY1 + w.H - 1;
  const std::string status = "#" + std::to_string(Option_Frame + 1) +
                             ": (X1 = " + std::to_string(w.CurX1) +
                             ", Y1 = " + std::to_string(w.CurY1) +
                             ") - (X2 = " + std::to_string(w.CurX2) +
                             ", Y2 = " + std::to_string(w.CurY2) + ")";
  if (MDIForm_Main* main = MainForm())
    main->ShowStatus(status);
  else
    ShowStatus(status);
  if (image) OverlayMoveWindows(*image, Option_Frame);
  view_->Changed(*this);
}

}  // namespace sv
