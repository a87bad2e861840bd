// Image arithmetic: one image with a constant (Form_ImageMath1) and two
// images with each other (Form_ImageMath2), in the first source or into a new
// image. The pixel work is the kernel's SV_modify_image16 /
// SV_RGB_modify_image16 and SV_image_math2; here the sources are chosen,
// brought to one depth and size, checked and titled.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "image/kernel/image_math.h"

namespace sv {

class Form_Camera;
class MDIForm_Main;

// The undo entry of an arithmetic done in place, and the message title.
constexpr const char* kImageMathUndo = "Image Math";
constexpr const char* kImageMathTitle = "Image Math";

// Option_Operation's captions. The one-image dialog's index i is kernel
// operation i + 1 (Add .. Compare); the two-image dialog's index is the
// kernel operation itself (Fade .. Exclusive OR).
const std::vector<std::string>& ImageMath1Captions();
const std::vector<std::string>& ImageMath2Captions();
// The operation's name in a new image's title ("Add", "Exclusive OR").
std::string ImageMathName(int kernelOperation);

// The one-image arithmetic: every sample `op` the constant (colour: one
// constant for each of R, G and B), clipped to the image's range or
// wrapping. In place it registers the undo entry "Image Math" first; with
// `newImage` the result is a new image of the main window titled
//   Add("<source>", 100)     or     Add("<source>", 10, 20, 30)
// and shown. Returns the image holding the result, nullptr when nothing was
// done (no pixels, a bad operation, no main window for a new image); an
// allocation that fails is reported as error 10004.
Form_Camera* ImageMath1Do(Form_Camera& image, int kernelOperation, const std::array<long, 3>& rgb,
                          bool clip, bool newImage = false, MDIForm_Main* main = nullptr);

struct ImageMath2Args {
  int operation = kMathAdd;  // kernel operation, Fade to Xor
  long divisor = 1;
  long bias = 0;
  int fade = 50;  // percent of the first image
  bool clip = true;
};
// The output of two sources: the first one's size, depth and colour mode.
struct ImageMathShape {
  long width = 0, height = 0, bits = 8;
  bool colour = false;
};
ImageMathShape ImageMath2Shape(const Form_Camera& first);
// (a op b) / divisor + bias in the first source's shape: the second source is
// made grey or colour like the first (SV_RGB_Greyscale16, SV_RGB_TrueColor16),
// brought to its depth (SV_change_color_depth) and stretched to its size
// (SV_stretch). In place the result replaces the first source (undo entry
// "Image Math"); with `newImage` it is a new image titled
// Add("<a>", "<b>"), or Fade("<a>", "<b>", 50) for a fade. Returns the
// result's image or nullptr.
Form_Camera* ImageMath2Do(Form_Camera& a, Form_Camera& b, const ImageMath2Args& args,
                          bool newImage = false, MDIForm_Main* main = nullptr);

// The images a dialog can take: the open images with pixels that are not
// busy (a live picture, a run), in the order of the main window.
std::vector<Form_Camera*> MathImages(MDIForm_Main* main);

class Form_ImageMath1 {
 public:
  // Takes the open images and the active one as the source.
  void Open(const std::vector<Form_Camera*>& images, Form_Camera* active);
  std::vector<Form_Camera*> Images;

  // Controls.
  std::vector<std::string> Combo_InputImage;  // the images' titles
  int InputIndex = -1;
  int Option_Operation = 0;  // index into ImageMath1Captions
  std::string Text_Constant = "0";
  std::string Text_Red = "0", Text_Green = "0", Text_Blue = "0";
  bool Check_Clip = true;
  bool Check_CreateNewImage = false;
  // Grey sources show Text_Constant, colour sources the three colour texts.
  bool ConstantVisible = true;
  bool ColourVisible = false;

  // The source changed: which constants show.
  void Combo_InputImage_Click();
  // The largest constant: the source's top level.
  long Limit() const;
  // Checks the constants ("Enter an integer number in the range of 0 to " +
  // limit, title "Image Math"; false, the dialog stays) and computes.
  bool Command_OK();
  Form_Camera* Result = nullptr;
  MDIForm_Main* Main = nullptr;  // for a new image; the process's when unset

  Form_Camera* Source() const;
};

class Form_ImageMath2 {
 public:
  // Takes the open images: the active one first, the next one second.
  void Open(const std::vector<Form_Camera*>& images, Form_Camera* active);
  std::vector<Form_Camera*> Images;

  // Controls.
  std::vector<std::string> Combo_InputImage1, Combo_InputImage2;
  int Input1 = -1, Input2 = -1;
  int Option_Operation = kMathAdd;  // index into ImageMath2Captions
  std::string Text_Divisor = "1";
  std::string Text_Bias = "0";
  int HScroll_Fade = 50;
  std::string Label_Fade = "50 %";
  bool Check_Clip = true;
  bool Check_CreateNewImage = false;
  std::string Label_Info;        // each source: width x height, bits
  std::string Label_OutputSize;  // "Output Size:" and the output's size

  // The choices changed: the labels follow.
  void Combo_Click();
  // The fade's scroll bar counts only for the fade.
  bool FadeEnabled() const { return Option_Operation == kMathFade; }
  void HScroll_Fade_Change();
  // Exchanges the two sources.
  void Command_Swap();
  // The largest divisor, and the largest bias either way: the output's top
  // level.
  long Limit() const;
  // Checks the divisor ("Enter an integer number in the range of 1 to " +
  // limit) and the bias ("Enter an integer number in the range of -" + limit
  // + " to " + limit), title "Image Math" (false, the dialog stays), then
  // computes.
  bool Command_OK();
  Form_Camera* Result = nullptr;
  MDIForm_Main* Main = nullptr;

  Form_Camera* Source1() const;
  Form_Camera* Source2() const;
};

// A whole number with blanks around it allowed; false for anything else.
bool ParseWhole(const std::string& text, long& value);

// How the dialogs are shown: true for OK.
std::function<bool(Form_ImageMath1&)>& ImageMath1Dialog();
std::function<bool(Form_ImageMath2&)>& ImageMath2Dialog();

// "mnuImageMath1" and "mnuImageMath2": open the dialogs on the open images.
void RegisterImageMathCommands(MDIForm_Main& main);

}  // namespace sv
