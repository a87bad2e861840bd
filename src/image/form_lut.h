// The LUT dialog's presenter: palette type, display limits and inversion of
// one image. The limits are shown in percent of the image's grey levels
// ("0" to "100", decimals allowed, a decimal comma is read as a point); the
// sliders run in tenths of a percent.
#pragma once

#include <string>
#include <vector>

namespace sv {

class Form_Camera;

class Form_LUT {
 public:
  static constexpr int kSliderMax = 1000;  // tenths of a percent
  static constexpr const char* kTitle = "LUT";

  explicit Form_LUT(Form_Camera* image = nullptr);
  ~Form_LUT();
  Form_LUT(const Form_LUT&) = delete;
  Form_LUT& operator=(const Form_LUT&) = delete;

  // Binds the dialog to an image (nullptr: none) and loads the controls from it.
  void Bind(Form_Camera* image);
  Form_Camera* Image() const { return image_; }

  // The captions of Combo_LUTtype, index = LUT type.
  static std::vector<std::string> LutTypeNames();

  // Controls.
  int Combo_LUTtype = 0;
  std::string Text_Min = "0";
  std::string Text_Max = "100";
  bool Check_Inverse = false;
  int Slider_Min = 0;
  int Slider_Max = kSliderMax;
  bool Visible = false;  // set by the window that shows the dialog

  // Reloads the controls from the image (after its depth or table changed).
  void Refresh();
  // Applies the controls to the image: LUTtype, LUTmin, LUTmax, LUTinverse,
  // then SetLUT. Invalid limits are reported through the host with the title
  // "LUT" and change nothing; returns false then.
  bool Command_Apply();
  // The same while the user types or drags: invalid limits are left alone
  // silently until they become valid.
  bool Change();
  // A slider moved: its value goes into the text, then Change.
  bool Slider_Change();

  // Parses a limit text in percent into a fraction; false when it is no number.
  static bool ParsePercent(const std::string& text, float& fraction);
  // Formats a fraction as percent text: up to two decimals, no trailing zeros.
  static std::string FormatPercent(float fraction);

 private:
  bool Apply(bool report);
  void Message(const std::string& text) const;

  Form_Camera* image_ = nullptr;
};

}  // namespace sv
