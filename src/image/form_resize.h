// The Resize dialog's presenter: a standard size or a custom width and
// height, with the proportion kept on request.
#pragma once

#include <functional>
#include <string>

namespace sv {

class Form_Camera;

class Form_Resize {
 public:
  static constexpr int kSizeCount = 6;
  // The largest width and height a resize may ask for.
  static constexpr long kMaxSide = 16384;

  // Takes the image's size (384 x 288 without one).
  explicit Form_Resize(const Form_Camera* image = nullptr);

  // The standard sizes, "320 x 240" ... "1280 x 1024".
  static std::string SizeCaption(int index);
  static long SizeWidth(int index);
  static long SizeHeight(int index);

  // Controls.
  int Option_Size = -1;          // the standard size chosen, -1 none
  bool Option_CustomSize = true;
  std::string Text_w, Text_h;
  bool Check_Ratio = true;       // keep the proportion
  std::string Text_ratio;        // width / height, "1.3333"

  // Events.
  void Option_Size_Click(int index);    // its size into Text_w and Text_h
  void Option_CustomSize_Click();
  void Text_w_Change();                 // with Check_Ratio: Text_h follows
  void Text_h_Change();                 // with Check_Ratio: Text_w follows
  void Text_ratio_Change();
  void Check_Ratio_Click();
  // Checks the size: "Enter an integer number in the range of 1 to 16384",
  // titled "Resize", and false when a side is not one. True: Width() and
  // Height() hold it.
  bool Command_OK();

  long Width() const { return width_; }
  long Height() const { return height_; }
  long SourceWidth() const { return sourceWidth_; }
  long SourceHeight() const { return sourceHeight_; }

 private:
  double Ratio() const;
  bool following_ = false;  // a text is being set from the other one
  long sourceWidth_ = 384, sourceHeight_ = 288;
  long width_ = 0, height_ = 0;
};

// The front end's dialog: shows the form modally and answers true on OK.
// Without a front end it is empty, which counts as cancelled.
std::function<bool(Form_Resize&)>& ResizeDialog();

}  // namespace sv
