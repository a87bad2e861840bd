// Binarizing an image: every sample above a threshold becomes the image's top
// level, every other 0, in the image itself or in a new one. BinarizeDo is
// the work; Form_Binarize is the modal dialog's presenter that asks for the
// threshold.
#pragma once

#include <functional>
#include <string>

namespace sv {

class Form_Camera;
class MDIForm_Main;

// Binarizes a grey image at `threshold` (0 to ImageDynamik - 1): status
// "Binarize...", then SV_Binarize. In place it registers the undo entry
// "Binarize" first. With `newImage` the source stays as it is and the result
// is a new image of the main window titled
//   Binarize("<source title>", <threshold>)
// and shown. Returns the image that holds the result, nullptr when nothing
// was done (no pixels, a colour image, a threshold out of range, no main
// window for a new image).
Form_Camera* BinarizeDo(Form_Camera& image, long threshold, bool newImage = false,
                        MDIForm_Main* main = nullptr);

// The title of a new binarized image.
std::string BinarizeTitle(const std::string& sourceTitle, long threshold);

class Form_Binarize {
 public:
  static constexpr const char* kTitle = "Binarize";

  explicit Form_Binarize(Form_Camera* image = nullptr);

  // Takes the image to work on (nullptr: none) and sets the controls for its
  // grey range; the threshold starts in the middle of it.
  void Bind(Form_Camera* image);
  Form_Camera* ImageForm = nullptr;

  // Controls. Text_Threshold and HScroll_Threshold hold the same value.
  std::string Text_Threshold;
  long HScroll_Threshold = 0;
  long HScroll_Min = 0, HScroll_Max = 0;  // the image's grey range
  std::string Label_Range;
  bool Check_NewImage = false;

  // The text changed: a whole number inside the range moves the scroll bar;
  // anything else leaves it where it is until the text is valid again.
  void Text_Threshold_Change();
  // The scroll bar moved: its value goes into the text.
  void HScroll_Threshold_Change();

  // Binarizes with the threshold in the text. A threshold that is no whole
  // number of the range is reported ("Enter an integer number in the range
  // of 0 to " + top, title "Binarize") and the dialog stays: false. True when
  // the dialog may close; Result then holds the binarized image.
  bool Command_OK();
  void Command_Cancel() { Result = nullptr; }
  Form_Camera* Result = nullptr;

  // A whole number (blanks around it allowed), else false.
  static bool ParseThreshold(const std::string& text, long& value);
};

// The front end's dialog: shows the form modally and answers true when it
// closed by OK (Command_OK accepted). Without a front end it is empty, which
// counts as cancelled.
std::function<bool(Form_Binarize&)>& BinarizeDialog();

// The menu's "Binarize": the dialog on a grey image; true when the image (or
// a new one) was binarized.
bool Binarize(Form_Camera& image);

}  // namespace sv
