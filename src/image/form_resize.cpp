#include "image/form_resize.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "core/host.h"
#include "image/form_camera.h"

namespace sv {

namespace {

constexpr long kSizes[Form_Resize::kSizeCount][2] = {{320, 240}, {384, 288},  {640, 480},
                                                      {768, 576}, {1024, 768}, {1280, 1024}};

// The text as a whole number; a decimal comma counts as a point.
bool Whole(const std::string& text, long& value) {
  std::string t = text;
  std::replace(t.begin(), t.end(), ',', '.');
  char* end = nullptr;
  const double v = std::strtod(t.c_str(), &end);
  if (t.empty() || *end != '\0' || !std::isfinite(v) || v != std::floor(v)) return false;
  if (v < -1e9 || v > 1e9) return false;
  value = long(v);
  return true;
}

std::string RatioText(double r) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.4f", r);
  return buf;
}

}  // namespace

std::function<bool(Form_Resize&)>& ResizeDialog() {
  static std::function<bool(Form_Resize&)> dialog;
  return dialog;
}

Form_Resize::Form_Resize(const Form_Camera* image) {
  if (image && image->ImageWidth() > 0 && image->ImageHeight() > 0) {
    sourceWidth_ = image->ImageWidth();
    sourceHeight_ = image->ImageHeight();
  }
  Text_w = std::to_string(sourceWidth_);
  Text_h = std::to_string(sourceHeight_);
  Text_ratio = RatioText(double(sourceWidth_) / double(sourceHeight_));
}

std::string Form_Resize::SizeCaption(int index) {
  if (index < 0 || index >= kSizeCount) return "";
  return std::to_string(kSizes[index][0]) + " x " + std::to_string(kSizes[index][1]);
}

long Form_Resize::SizeWidth(int index) {
  return index >= 0 && index < kSizeCount ? kSizes[index][0] : 0;
}

long Form_Resize::SizeHeight(int index) {
  return index >= 0 && index < kSizeCount ? kSizes[index][1] : 0;
}

double Form_Resize::Ratio() const {
  std::string t = Text_ratio;
  std::replace(t.begin(), t.end(), ',', '.');
  char* end = nullptr;
  const double r = std::strtod(t.c_str(), &end);
  if (t.empty() || *end != '\0' || !std::isfinite(r) || r <= 0.0) return 0.0;
  return r;
}

void Form_Resize::Option_Size_Click(int index) {
  if (index < 0 || index >= kSizeCount) return;
  Option_Size = index;
  Option_CustomSize = false;
  // A standard size is taken as it stands, whatever the proportion.
  following_ = true;
  Text_w = std::to_string(kSizes[index][0]);
  Text_h = std::to_string(kSizes[index][1]);
  following_ = false;
}

void Form_Resize::Option_CustomSize_Click() {
  Option_CustomSize = true;
  Option_Size = -1;
}

void Form_Resize::Text_w_Change() {
  if (following_ || !Check_Ratio) return;
  long w = 0;
  const double r = Ratio();
  if (!Whole(Text_w, w) || w <= 0 || r <= 0.0) return;
  following_ = true;
  Text_h = std::to_string(std::max(1L, std::lrint(double(w) / r)));
  following_ = false;
}

void Form_Resize::Text_h_Change() {
  if (following_ || !Check_Ratio) return;
  long h = 0;
  const double r = Ratio();
  if (!Whole(Text_h, h) || h <= 0 || r <= 0.0) return;
  following_ = true;
  Text_w = std::to_string(std::max(1L, std::lrint(double(h) * r)));
  following_ = false;
}

void Form_Resize::Text_ratio_Change() { Text_w_Change(); }

void Form_Resize::Check_Ratio_Click() {
  // Ticked again: the height follows the width at the proportion shown.
  if (Check_Ratio) Text_w_Change();
}

bool Form_Resize::Command_OK() {
  long w = 0, h = 0;
  const bool ok = Whole(Text_w, w) && Whole(Text_h, h) && w >= 1 && h >= 1 && w <= kMaxSide &&
                  h <= kMaxSide;
  if (!ok) {
    if (HasHost())
      host().MsgBox("Enter an integer number in the range of 1 to " + std::to_string(kMaxSide),
                    MsgButtons::OK, MsgIcon::Exclamation, "Resize");
    return false;
  }
  width_ = w;
  height_ = h;
  return true;
}

}  // namespace sv
