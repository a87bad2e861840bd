#include "image/form_image_math.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <new>

#include "core/error_table.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/geometry.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

namespace {

bool TryAssign(std::vector<uint16_t>& v, size_t n) {
  try {
    v.assign(n, 0);
    return true;
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  std::vector<uint16_t>().swap(v);
  return false;
}

void NoMemory() {
  if (HasHost())
    host().MsgBox(ErrorText(kErrNoMemory), MsgButtons::OK, MsgIcon::Critical, kImageMathTitle);
}

FrameSize SizeOf(const Form_Camera& image) { return {image.ImageWidth(), image.ImageHeight()}; }

std::string Quoted(const Form_Camera& image) { return "\"" + image.Title() + "\""; }

// A new image of the main window holding `samples` in the given shape.
Form_Camera* NewResult(MDIForm_Main* main, const ImageMathShape& shape,
                       const std::vector<uint16_t>& samples, const std::string& title) {
  if (!main) main = MainForm();
  if (!main) return nullptr;
  auto* target = dynamic_cast<Form_Camera*>(main->CreateImage());
  if (!target) return nullptr;
  target->SetHasColors(shape.colour);
  target->CreateImage(shape.width, shape.height, shape.bits, nullptr);
  if (!target->ImagePtr() || size_t(target->ImageBytes()) != samples.size() * 2) {
    main->CloseChild(target->Handle());
    NoMemory();
    return nullptr;
  }
  SV_memcpy(target->ImagePtr(), samples.data(), samples.size() * sizeof(uint16_t));
  target->Update8BitImage();
  target->SetTitle(title);
  target->SetChanged(true);
  main->ShowChild(target->Handle());
  return target;
}

// The second source in the first one's shape.
bool Prepare(const Form_Camera& b, const ImageMathShape& shape, std::vector<uint16_t>& out) {
  const FrameSize from = SizeOf(b);
  const int fromChannels = b.HasColors() ? 3 : 1;
  const int channels = shape.colour ? 3 : 1;
  std::vector<uint16_t> work;
  if (!TryAssign(work, from.Samples(channels))) return false;
  ConstSamples16 source(b.ImagePtr(), from.Samples(fromChannels));
  if (fromChannels == channels) {
    std::copy(source.begin(), source.end(), work.begin());
  } else if (channels == 1) {
    SV_RGB_Greyscale16(from, source, work);
  } else {
    SV_RGB_TrueColor16(from, source, work);
  }
  const int fromBits = int(b.ImageBitsPerPixel()), toBits = int(shape.bits);
  if (fromBits != toBits) {
    if (channels == 3)
      SV_RGB_change_color_depth(from, work, fromBits, toBits);
    else
      SV_change_color_depth(from, work, fromBits, toBits);
  }
  const FrameSize to{shape.width, shape.height};
  if (from.width == to.width && from.height == to.height) {
    out = std::move(work);
    return true;
  }
  if (!TryAssign(out, to.Samples(channels))) return false;
  return channels == 3 ? SV_RGB_stretch(from, work, to, out) : SV_stretch(from, work, to, out);
}

}  // namespace

// --- Names -----------------------------------------------------------------------------------

const std::vector<std::string>& ImageMath1Captions() {
  static const std::vector<std::string> c{"&Add",        "&Subtract", "&Multiply", "&Divide",
                                          "Diffe&rence", "&Lightest", "Dar&kest",  "A&ND",
                                          "&OR",         "E&xclusive OR", "&Compare"};
  return c;
}

const std::vector<std::string>& ImageMath2Captions() {
  static const std::vector<std::string> c{"&Fade:",    "&Add",     "&Subtract",  "&Multiply",
                                          "&Divide",   "Diffe&rence", "&Lightest", "Dar&kest",
                                          "A&ND",      "&OR",      "E&xclusive OR"};
  return c;
}

std::string ImageMathName(int op) {
  static const char* names[] = {"Fade",    "Add",     "Subtract", "Multiply",
                                "Divide",  "Difference", "Lightest", "Darkest",
                                "AND",     "OR",      "Exclusive OR", "Compare"};
  return op >= 0 && op <= kMathCompare ? names[op] : "";
}

bool ParseWhole(const std::string& text, long& value) {
  size_t i = 0, n = text.size();
  while (i < n && (text[i] == ' ' || text[i] == '\t')) ++i;
  while (n > i && (text[n - 1] == ' ' || text[n - 1] == '\t')) --n;
  if (i == n) return false;
  size_t j = i;
  if (text[j] == '-' || text[j] == '+') ++j;
  if (j == n || n - j > 9) return false;
  for (size_t k = j; k < n; ++k)
    if (!std::isdigit(static_cast<unsigned char>(text[k]))) return false;
  value = std::strtol(text.substr(i, n - i).c_str(), nullptr, 10);
  return true;
}

// --- The work --------------------------------------------------------------------------------

Form_Camera* ImageMath1Do(Form_Camera& image, int op, const std::array<long, 3>& rgb, bool clip,
                          bool newImage, MDIForm_Main* main) {
  if (!image.ImagePtr() || op < kMathAdd || op > kMathCompare) return nullptr;
  const FrameSize size = SizeOf(image);
  const int channels = image.HasColors() ? 3 : 1;
  const size_t samples = size.Samples(channels);
  if (samples == 0) return nullptr;
  ImageMathParams params;
  params.operation = op;
  params.clip = clip;
  params.levels = image.ImageDynamik();

  if (newImage) {
    std::vector<uint16_t> work;
    if (!TryAssign(work, samples)) {
      NoMemory();
      return nullptr;
    }
    ConstSamples16 source(image.ImagePtr(), samples);
    const bool done = channels == 3 ? SV_RGB_modify_image16(size, source, work, rgb, params)
                                    : SV_modify_image16(size, source, work, rgb[0], params);
    if (!done) return nullptr;
    std::string title = ImageMathName(op) + "(" + Quoted(image) + ", " + std::to_string(rgb[0]);
    if (channels == 3) title += ", " + std::to_string(rgb[1]) + ", " + std::to_string(rgb[2]);
    title += ")";
    const ImageMathShape shape{size.width, size.height, image.ImageBitsPerPixel(), channels == 3};
    return NewResult(main, shape, work, title);
  }

  image.RegisterUndo(kImageMathUndo);
  Samples16 pixels(image.ImagePtr(), samples);
  const bool done = channels == 3 ? SV_RGB_modify_image16(size, pixels, pixels, rgb, params)
                                  : SV_modify_image16(size, pixels, pixels, rgb[0], params);
  if (!done) return nullptr;
  image.Update8BitImage();
  image.SetChanged(true);
  return &image;
}

ImageMathShape ImageMath2Shape(const Form_Camera& first) {
  return {first.ImageWidth(), first.ImageHeight(), first.ImageBitsPerPixel(), first.HasColors()};
}

Form_Camera* ImageMath2Do(Form_Camera& a, Form_Camera& b, const ImageMath2Args& args,
                          bool newImage, MDIForm_Main* main) {
  if (!a.ImagePtr() || !b.ImagePtr()) return nullptr;
  if (args.operation < kMathFade || args.operation > kMathXor || args.divisor < 1) return nullptr;
  const ImageMathShape shape = ImageMath2Shape(a);
  const FrameSize size{shape.width, shape.height};
  const int channels = shape.colour ? 3 : 1;
  const size_t samples = size.Samples(channels);
  if (samples == 0) return nullptr;

  std::vector<uint16_t> second;
  std::vector<uint16_t> result;
  if (!Prepare(b, shape, second) || !TryAssign(result, samples)) {
    NoMemory();
    return nullptr;
  }
  ImageMathParams params;
  params.operation = args.operation;
  params.divisor = args.divisor;
  params.bias = args.bias;
  params.clip = args.clip;
  params.fade = std::clamp(args.fade, 0, 100);
  params.levels = 1L << shape.bits;
  if (!SV_image_math2(size, channels, ConstSamples16(a.ImagePtr(), samples), second, result,
                      params))
    return nullptr;

  if (newImage) {
    std::string title = ImageMathName(args.operation) + "(" + Quoted(a) + ", " + Quoted(b);
    if (args.operation == kMathFade) title += ", " + std::to_string(params.fade);
    title += ")";
    return NewResult(main, shape, result, title);
  }
  a.RegisterUndo(kImageMathUndo);
  SV_memcpy(a.ImagePtr(), result.data(), samples * sizeof(uint16_t));
  a.Update8BitImage();
  a.SetChanged(true);
  return &a;
}

std::vector<Form_Camera*> MathImages(MDIForm_Main* main) {
  std::vector<Form_Camera*> images;
  if (!main) return images;
  for (ChildDocument* d : main->Documents())
    if (auto* image = dynamic_cast<Form_Camera*>(d); image && image->ImagePtr() && !image->Locked())
      images.push_back(image);
  return images;
}

// --- One image and a constant ---------------------------------------------------------------

void Form_ImageMath1::Open(const std::vector<Form_Camera*>& images, Form_Camera* active) {
  Images = images;
  Combo_InputImage.clear();
  for (Form_Camera* image : Images) Combo_InputImage.push_back(image->Title());
  InputIndex = Images.empty() ? -1 : 0;
  for (size_t i = 0; i < Images.size(); ++i)
    if (Images[i] == active) InputIndex = int(i);
  Result = nullptr;
  Combo_InputImage_Click();
}

Form_Camera* Form_ImageMath1::Source() const {
  return InputIndex >= 0 && InputIndex < int(Images.size()) ? Images[size_t(InputIndex)] : nullptr;
}

void Form_ImageMath1::Combo_InputImage_Click() {
  const Form_Camera* source = Source();
  ColourVisible = source && source->HasColors();
  ConstantVisible = !ColourVisible;
}

long Form_ImageMath1::Limit() const {
  const Form_Camera* source = Source();
  return (source ? source->ImageDynamik() : 256) - 1;
}

bool Form_ImageMath1::Command_OK() {
  Result = nullptr;
  Form_Camera* source = Source();
  if (!source) return false;
  const long limit = Limit();
  std::array<long, 3> rgb{0, 0, 0};
  const std::vector<const std::string*> texts =
      source->HasColors() ? std::vector<const std::string*>{&Text_Red, &Text_Green, &Text_Blue}
                          : std::vector<const std::string*>{&Text_Constant};
  for (size_t i = 0; i < texts.size(); ++i) {
    long v = 0;
    if (!ParseWhole(*texts[i], v) || v < 0 || v > limit) {
      host().MsgBox("Enter an integer number in the range of 0 to " + std::to_string(limit),
                    MsgButtons::OK, MsgIcon::Exclamation, kImageMathTitle);
      return false;
    }
    rgb[i] = v;
  }
  if (!source->HasColors()) rgb[1] = rgb[2] = rgb[0];
  const int op = std::clamp(Option_Operation, 0, int(ImageMath1Captions().size()) - 1) + 1;
  Result = ImageMath1Do(*source, op, rgb, Check_Clip, Check_CreateNewImage, Main);
  return true;
}

// --- Two images -----------------------------------------------------------------------------

void Form_ImageMath2::Open(const std::vector<Form_Camera*>& images, Form_Camera* active) {
  Images = images;
  Combo_InputImage1.clear();
  for (Form_Camera* image : Images) Combo_InputImage1.push_back(image->Title());
  Combo_InputImage2 = Combo_InputImage1;
  Input1 = Images.empty() ? -1 : 0;
  for (size_t i = 0; i < Images.size(); ++i)
    if (Images[i] == active) Input1 = int(i);
  Input2 = Images.empty() ? -1 : Images.size() > 1 ? (Input1 + 1) % int(Images.size()) : 0;
  Result = nullptr;
  HScroll_Fade_Change();
  Combo_Click();
}

Form_Camera* Form_ImageMath2::Source1() const {
  return Input1 >= 0 && Input1 < int(Images.size()) ? Images[size_t(Input1)] : nullptr;
}

Form_Camera* Form_ImageMath2::Source2() const {
  return Input2 >= 0 && Input2 < int(Images.size()) ? Images[size_t(Input2)] : nullptr;
}

void Form_ImageMath2::Combo_Click() {
  auto info = [](const Form_Camera* image) {
    if (!image) return std::string();
    return std::to_string(image->ImageWidth()) + " x " + std::to_string(image->ImageHeight()) +
           ", " + std::to_string(image->ImageBitsPerPixel() * (image->HasColors() ? 3 : 1)) +
           "bpp";
  };
  const Form_Camera* a = Source1();
  const Form_Camera* b = Source2();
  Label_Info = "1: " + info(a) + "\n2: " + info(b);
  Label_OutputSize = "Output Size: ";
  if (a) Label_OutputSize += std::to_string(a->ImageWidth()) + " x " + std::to_string(a->ImageHeight());
}

void Form_ImageMath2::HScroll_Fade_Change() {
  HScroll_Fade = std::clamp(HScroll_Fade, 0, 100);
  Label_Fade = std::to_string(HScroll_Fade) + " %";
}

void Form_ImageMath2::Command_Swap() {
  std::swap(Input1, Input2);
  Combo_Click();
}

long Form_ImageMath2::Limit() const {
  const Form_Camera* a = Source1();
  return (a ? a->ImageDynamik() : 256) - 1;
}

bool Form_ImageMath2::Command_OK() {
  Result = nullptr;
  Form_Camera* a = Source1();
  Form_Camera* b = Source2();
  if (!a || !b) return false;
  const long limit = Limit();
  long divisor = 0, bias = 0;
  if (!ParseWhole(Text_Divisor, divisor) || divisor < 1 || divisor > limit) {
    host().MsgBox("Enter an integer number in the range of 1 to " + std::to_string(limit),
                  MsgButtons::OK, MsgIcon::Exclamation, kImageMathTitle);
    return false;
  }
  if (!ParseWhole(Text_Bias, bias) || bias < -limit || bias > limit) {
    host().MsgBox("Enter an integer number in the range of -" + std::to_string(limit) + " to " +
                      std::to_string(limit),
                  MsgButtons::OK, MsgIcon::Exclamation, kImageMathTitle);
    return false;
  }
  ImageMath2Args args;
  args.operation = std::clamp(Option_Operation, 0, int(kMathXor));
  args.divisor = divisor;
  args.bias = bias;
  args.fade = HScroll_Fade;
  args.clip = Check_Clip;
  Result = ImageMath2Do(*a, *b, args, Check_CreateNewImage, Main);
  return true;
}

// --- Wiring ---------------------------------------------------------------------------------

std::function<bool(Form_ImageMath1&)>& ImageMath1Dialog() {
  static std::function<bool(Form_ImageMath1&)> show;
  return show;
}

std::function<bool(Form_ImageMath2&)>& ImageMath2Dialog() {
  static std::function<bool(Form_ImageMath2&)> show;
  return show;
}

void RegisterImageMathCommands(MDIForm_Main& main) {
  MDIForm_Main* m = &main;
  auto active = [m] { return dynamic_cast<Form_Camera*>(m->ActiveChild()); };
  main.SetCommand("mnuImageMath1", [m, active](int) {
    Form_ImageMath1 form;
    form.Main = m;
    form.Open(MathImages(m), active());
    if (form.Images.empty()) return;
    if (auto& show = ImageMath1Dialog()) show(form);
  });
  main.SetCommand("mnuImageMath2", [m, active](int) {
    Form_ImageMath2 form;
    form.Main = m;
    form.Open(MathImages(m), active());
    if (form.Images.empty()) return;
    if (auto& show = ImageMath2Dialog()) show(form);
  });
  // Like the other image entries: an image in front that is not busy.
  auto ready = [active] {
    Form_Camera* image = active();
    return image && image->ImagePtr() && !image->Locked();
  };
  main.SetEnabledRule("mnuImageMath1", ready);
  main.SetEnabledRule("mnuImageMath2", ready);
}

}  // namespace sv
