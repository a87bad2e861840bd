#include "image/form_binarize.h"

#include <cctype>
#include <limits>

#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/filter.h"

namespace sv {

std::string BinarizeTitle(const std::string& sourceTitle, long threshold) {
  return "Binarize(\"" + sourceTitle + "\", " + std::to_string(threshold) + ")";
}

Form_Camera* BinarizeDo(Form_Camera& image, long threshold, bool newImage, MDIForm_Main* main) {
  if (!image.ImagePtr() || image.HasColors()) return nullptr;
  if (threshold < 0 || threshold >= image.ImageDynamik()) return nullptr;
  const FrameSize size{image.ImageWidth(), image.ImageHeight()};
  const size_t samples = size.Samples();
  if (samples == 0) return nullptr;
  const int bits = int(image.ImageBitsPerPixel());

  Form_Camera* target = &image;
  if (newImage) {
    if (!main) main = MainForm();
    if (!main) return nullptr;
    target = dynamic_cast<Form_Camera*>(main->CreateImage());
    if (!target) return nullptr;
    target->CreateImage(size.width, size.height, bits, image.ImagePtr());
    if (!target->ImagePtr()) {
      main->CloseChild(target->Handle());
      return nullptr;
    }
    target->SetTitle(BinarizeTitle(image.Title(), threshold));
  } else {
    image.RegisterUndo("Binarize");
  }

  if (HasHost()) ShowStatus("Binarize...");
  Samples16 pixels(target->ImagePtr(), samples);
  SV_Binarize(size, pixels, pixels, threshold, bits);
  target->Update8BitImage();
  target->SetChanged(true);
  if (HasHost()) ShowStatus("");
  if (newImage) main->ShowChild(target->Handle());
  return target;
}

std::function<bool(Form_Binarize&)>& BinarizeDialog() {
  static std::function<bool(Form_Binarize&)> dialog;
  return dialog;
}

bool Binarize(Form_Camera& image) {
  if (!image.ImagePtr() || image.HasColors()) return false;
  Form_Binarize form(&image);
  if (!BinarizeDialog() || !BinarizeDialog()(form)) return false;
  return form.Result != nullptr;
}

// --- The dialog ---------------------------------------------------------------------

Form_Binarize::Form_Binarize(Form_Camera* image) { Bind(image); }

void Form_Binarize::Bind(Form_Camera* image) {
  ImageForm = image;
  Result = nullptr;
  const long levels = image ? image->ImageDynamik() : 256;
  HScroll_Min = 0;
  HScroll_Max = levels - 1;
  HScroll_Threshold = levels / 2;
  Text_Threshold = std::to_string(HScroll_Threshold);
  Label_Range = "(0 - " + std::to_string(HScroll_Max) + ")";
}

bool Form_Binarize::ParseThreshold(const std::string& text, long& value) {
  size_t i = 0, n = text.size();
  while (i < n && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
  while (n > i && std::isspace(static_cast<unsigned char>(text[n - 1]))) --n;
  if (i == n) return false;
  bool negative = false;
  if (text[i] == '+' || text[i] == '-') {
    negative = text[i] == '-';
    ++i;
  }
  if (i == n) return false;
  long v = 0;
  for (; i < n; ++i) {
    const char c = text[i];
    if (c < '0' || c > '9') return false;
    if (v > (std::numeric_limits<long>::max() - 9) / 10) return false;
    v = v * 10 + (c - '0');
  }
  value = negative ? -v : v;
  return true;
}

void Form_Binarize::Text_Threshold_Change() {
  long v = 0;
  if (ParseThreshold(Text_Threshold, v) && v >= HScroll_Min && v <= HScroll_Max)
    HScroll_Threshold = v;
}

void Form_Binarize::HScroll_Threshold_Change() {
  if (HScroll_Threshold < HScroll_Min) HScroll_Threshold = HScroll_Min;
  if (HScroll_Threshold > HScroll_Max) HScroll_Threshold = HScroll_Max;
  Text_Threshold = std::to_string(HScroll_Threshold);
}

bool Form_Binarize::Command_OK() {
  Result = nullptr;
  long v = 0;
  if (!ParseThreshold(Text_Threshold, v) || v < HScroll_Min || v > HScroll_Max) {
    if (HasHost())
      host().MsgBox("Enter an integer number in the range of 0 to " + std::to_string(HScroll_Max),
                    MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    return false;
  }
  HScroll_Threshold = v;
  if (ImageForm) Result = BinarizeDo(*ImageForm, v, Check_NewImage);
  return true;
}

}  // namespace sv
