#include "image/form_lut.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "core/host.h"
#include "image/bitmap_info.h"
#include "image/form_camera.h"

namespace sv {

Form_LUT::Form_LUT(Form_Camera* image) { Bind(image); }

Form_LUT::~Form_LUT() { Bind(nullptr); }

void Form_LUT::Bind(Form_Camera* image) {
  if (image_ && image_->LutForm() == this) image_->SetLutForm(nullptr);
  image_ = image;
  if (image_) {
    if (Form_LUT* other = image_->LutForm(); other && other != this) other->image_ = nullptr;
    image_->SetLutForm(this);
  }
  Refresh();
}

std::vector<std::string> Form_LUT::LutTypeNames() {
  std::vector<std::string> names;
  for (int i = 0; i < kLutTypeCount; ++i) names.emplace_back(LutTypeName(i));
  return names;
}

void Form_LUT::Refresh() {
  if (!image_) return;
  Combo_LUTtype = image_->LUTtype();
  Text_Min = FormatPercent(image_->LUTmin);
  Text_Max = FormatPercent(image_->LUTmax);
  Check_Inverse = image_->LUTinverse;
  auto slider = [](float f) {
    return std::clamp(static_cast<int>(std::lrint(double(f) * kSliderMax)), 0, kSliderMax);
  };
  Slider_Min = slider(image_->LUTmin);
  Slider_Max = slider(image_->LUTmax);
}

bool Form_LUT::ParsePercent(const std::string& text, float& fraction) {
  std::string t = text;
  std::replace(t.begin(), t.end(), ',', '.');
  // Blanks around the number are allowed, anything else is not.
  const auto first = t.find_first_not_of(" \t");
  if (first == std::string::npos) return false;
  const auto last = t.find_last_not_of(" \t");
  t = t.substr(first, last - first + 1);
  if (t.back() == '%') {
    t.pop_back();
    while (!t.empty() && (t.back() == ' ' || t.back() == '\t')) t.pop_back();
  }
  if (t.empty()) return false;
  errno = 0;
  char* end = nullptr;
  const double v = std::strtod(t.c_str(), &end);
  if (end != t.c_str() + t.size() || errno == ERANGE || !std::isfinite(v)) return false;
  fraction = static_cast<float>(v / 100.0);
  return true;
}

std::string Form_LUT::FormatPercent(float fraction) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.2f", double(fraction) * 100.0);
  std::string s = buf;
  if (s.find('.') != std::string::npos) {
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
  }
  if (s == "-0") s = "0";
  return s;
}

void Form_LUT::Message(const std::string& text) const {
  if (HasHost()) host().MsgBox(text, MsgButtons::OK, MsgIcon::Exclamation, kTitle);
}

bool Form_LUT::Apply(bool report) {
  if (!image_) return false;
  float lo = 0.0f, hi = 1.0f;
  if (!ParsePercent(Text_Min, lo)) {
    if (report) Message("The lower limit \"" + Text_Min + "\" is not a number.");
    return false;
  }
  if (!ParsePercent(Text_Max, hi)) {
    if (report) Message("The upper limit \"" + Text_Max + "\" is not a number.");
    return false;
  }
  if (lo < 0.0f || hi > 1.0f) {
    if (report) Message("The limits must lie between 0 and 100 %.");
    return false;
  }
  if (!(lo < hi)) {
    if (report) Message("The lower limit must be below the upper limit.");
    return false;
  }
  const int type = std::clamp(Combo_LUTtype, 0, kLutTypeCount - 1);
  if (type != image_->LUTtype()) image_->SetLUTtype(type);
  image_->LUTmin = lo;
  image_->LUTmax = hi;
  image_->LUTinverse = Check_Inverse;
  image_->SetLUT();
  return true;
}

bool Form_LUT::Command_Apply() { return Apply(true); }

bool Form_LUT::Change() { return Apply(false); }

bool Form_LUT::Slider_Change() {
  // A text the slider already stands for keeps its finer value.
  auto follow = [](int& slider, std::string& text) {
    slider = std::clamp(slider, 0, kSliderMax);
    float f = 0.0f;
    if (ParsePercent(text, f) && std::lrint(double(f) * kSliderMax) == slider) return;
    text = FormatPercent(float(slider) / kSliderMax);
  };
  follow(Slider_Min, Text_Min);
  follow(Slider_Max, Text_Max);
  return Change();
}

}  // namespace sv
