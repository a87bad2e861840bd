#include "image/image_operations.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "core/error_table.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_binarize.h"
#include "image/form_binarize.h"
#include "image/form_camera.h"
#include "image/form_resize.h"
#include "image/kernel/analysis.h"
#include "image/kernel/filter.h"
#include "image/kernel/geometry.h"
#include "image/kernel/image_math.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

namespace {

// Larger work buffers count as missing without being tried.
constexpr size_t kMaxWorkBytes = size_t(1) << 30;

FrameSize SizeOf(const Form_Camera& image) {
  return FrameSize{image.ImageWidth(), image.ImageHeight()};
}

size_t SamplesOf(const Form_Camera& image) {
  return SizeOf(image).Samples(image.HasColors() ? 3 : 1);
}

// The pixels as a span, empty when the buffer does not hold the frame.
Samples16 Pixels(Form_Camera& image) {
  uint16_t* p = image.ImagePtr();
  const size_t n = SamplesOf(image);
  if (!p || n == 0 || size_t(image.ImageBytes()) < n * sizeof(uint16_t)) return {};
  return Samples16(p, n);
}

int Bits(const Form_Camera& image) { return int(std::clamp(image.ImageBitsPerPixel(), 1L, 16L)); }

void NoMemory(const std::string& title) {
  if (HasHost()) host().MsgBox(ErrorText(kErrNoMemory), MsgButtons::OK, MsgIcon::Critical, title);
}

// Up to this size the pixels a result replaced are kept as the next work
// buffer, so that a series of operations does not allocate and clear a frame
// each time.
constexpr size_t kMaxSpareBytes = size_t(32) << 20;

std::vector<uint16_t>& Spare() {
  static std::vector<uint16_t> spare;
  return spare;
}

void KeepAsSpare(std::vector<uint16_t>& buffer) {
  if (buffer.capacity() * sizeof(uint16_t) <= kMaxSpareBytes &&
      buffer.capacity() >= Spare().capacity())
    Spare().swap(buffer);
  std::vector<uint16_t>().swap(buffer);
}

// A buffer of `samples` words; false (and 10004 under `title`) without the memory.
bool TakeWorkBuffer(std::vector<uint16_t>& buffer, size_t samples, const std::string& title) {
  const size_t bytes = samples * sizeof(uint16_t);
  const size_t limit = WorkBufferLimit() ? std::min(WorkBufferLimit(), kMaxWorkBytes) : kMaxWorkBytes;
  bool ok = samples > 0 && bytes <= limit;
  if (ok && Spare().capacity() >= samples) buffer.swap(Spare());
  if (ok) {
    try {
      buffer.resize(samples);
    } catch (const std::bad_alloc&) {
      ok = false;
    } catch (const std::length_error&) {
      ok = false;
    }
  }
  if (!ok) {
    std::vector<uint16_t>().swap(buffer);
    NoMemory(title);
  }
  return ok;
}

// The end of every operation that changed the pixels in place.
void Changed(Form_Camera& image) {
  image.Update8BitImage();
  image.SetChanged(true);
}

// A same-size kernel routine on the image itself, grey images only.
template <typename Fn>
bool GreyInPlace(Form_Camera& image, const std::string& undoName, Fn&& fn) {
  if (image.HasColors()) return false;
  Samples16 p = Pixels(image);
  if (p.empty()) return false;
  image.RegisterUndo(undoName);
  fn(SizeOf(image), p);
  Changed(image);
  return true;
}

// The result of another shape, made in a work buffer and then taken as the
// image's pixels.
template <typename Fn>
bool IntoWorkBuffer(Form_Camera& image, const std::string& undoName, FrameSize to, bool colour,
                    Fn&& fn) {
  Samples16 p = Pixels(image);
  if (p.empty() || !to.Valid()) return false;
  std::vector<uint16_t> work;
  if (!TakeWorkBuffer(work, to.Samples(colour ? 3 : 1), undoName)) return false;
  if (!fn(SizeOf(image), ConstSamples16(p), Samples16(work))) {
    KeepAsSpare(work);
    return false;
  }
  image.RegisterUndo(undoName);
  image.AdoptImage(to.width, to.height, colour, work);
  KeepAsSpare(work);
  image.SetChanged(true);
  return true;
}

// A new image of the given shape in the main window, with the source's
// depth, palette settings and resolution; nullptr (and 10004) without the
// memory for it.
Form_Camera* NewImageLike(Form_Camera& source, MDIForm_Main& main, FrameSize size, bool colour,
                          const std::string& title, const std::string& errorTitle) {
  if (size.Samples(colour ? 3 : 1) * sizeof(uint16_t) > kMaxWorkBytes ||
      (WorkBufferLimit() && size.Samples(colour ? 3 : 1) * sizeof(uint16_t) > WorkBufferLimit())) {
    NoMemory(errorTitle);
    return nullptr;
  }
  Form_Camera* made = NewImage(main);
  if (!made) {
    NoMemory(errorTitle);
    return nullptr;
  }
  made->SetHasColors(colour);
  made->CreateImage(size.width, size.height, source.ImageBitsPerPixel(), nullptr);
  if (!made->ImagePtr()) {
    main.CloseChild(made->Handle());
    NoMemory(errorTitle);
    return nullptr;
  }
  made->Header.bmiHeader.biXPelsPerMeter = source.Header.bmiHeader.biXPelsPerMeter;
  made->Header.bmiHeader.biYPelsPerMeter = source.Header.bmiHeader.biYPelsPerMeter;
  made->LUTmin = source.LUTmin;
  made->LUTmax = source.LUTmax;
  made->LUTinverse = source.LUTinverse;
  made->SetLUTtype(source.LUTtype());
  made->SetLUT(true);
  made->SetTitle(title);
  return made;
}

std::vector<std::string> ImageTitles(MDIForm_Main& main) {
  std::vector<std::string> titles;
  for (ChildDocument* d : main.Documents())
    if (auto* c = dynamic_cast<Form_Camera*>(d)) titles.push_back(c->Title());
  return titles;
}

}  // namespace

size_t& WorkBufferLimit() {
  static size_t limit = 0;
  return limit;
}

int MenuConnectivity(int menuIndex) { return menuIndex == 1 ? 8 : 4; }

bool Dilatation(Form_Camera& image, int connectivity) {
  if (connectivity != 4 && connectivity != 8) return false;
  return GreyInPlace(image, "Dilatation", [&](FrameSize s, Samples16 p) {
    SV_Dilatation(s, p, p, connectivity);
  });
}

bool Erosion(Form_Camera& image, int connectivity) {
  if (connectivity != 4 && connectivity != 8) return false;
  return GreyInPlace(image, "Erosion", [&](FrameSize s, Samples16 p) {
    SV_Erosion(s, p, p, connectivity);
  });
}

bool MorphOpen(Form_Camera& image, int connectivity) {
  if (connectivity != 4 && connectivity != 8) return false;
  return GreyInPlace(image, "Morph. Open", [&](FrameSize s, Samples16 p) {
    SV_Erosion(s, p, p, connectivity);
    SV_Dilatation(s, p, p, connectivity);
  });
}

bool MorphClose(Form_Camera& image, int connectivity) {
  if (connectivity != 4 && connectivity != 8) return false;
  return GreyInPlace(image, "Morph. Close", [&](FrameSize s, Samples16 p) {
    SV_Dilatation(s, p, p, connectivity);
    SV_Erosion(s, p, p, connectivity);
  });
}

bool Edge(Form_Camera& image) {
  const int bits = Bits(image);
  return GreyInPlace(image, "Edge", [&](FrameSize s, Samples16 p) { SV_Edge(s, p, p, bits); });
}

bool Negative(Form_Camera& image) {
  Samples16 p = Pixels(image);
  if (p.empty()) return false;
  image.RegisterUndo("Negative Image");
  const long levels = std::clamp(image.ImageDynamik(), 2L, 65536L);
  if (image.HasColors())
    SV_RGB_negative(SizeOf(image), p, levels);
  else
    SV_negative(SizeOf(image), p, levels);
  Changed(image);
  return true;
}

bool Flip(Form_Camera& image) {
  Samples16 p = Pixels(image);
  if (p.empty()) return false;
  image.RegisterUndo("Flip");
  (image.HasColors() ? SV_RGB_flip : SV_flip)(SizeOf(image), p, p);
  Changed(image);
  return true;
}

// Mirrored into a work buffer: the kernel reverses a line faster from one
// frame into another than within itself.
bool Mirror(Form_Camera& image) {
  const bool colour = image.HasColors();
  return IntoWorkBuffer(image, "Mirror", SizeOf(image), colour,
                        [&](FrameSize s, ConstSamples16 from, Samples16 to) {
                          return (colour ? SV_RGB_mirror : SV_mirror)(s, from, to);
                        });
}

bool Rotate(Form_Camera& image, int degrees) {
  if (degrees != 90 && degrees != 270) return false;
  const bool colour = image.HasColors();
  auto fn = colour ? (degrees == 90 ? SV_RGB_Rotate90 : SV_RGB_Rotate270)
                   : (degrees == 90 ? SV_Rotate90 : SV_Rotate270);
  ShowStatus(OperationStatus("Rotate"));
  const bool done = IntoWorkBuffer(image, "Rotate", RotatedSize(SizeOf(image)), colour,
                                   [&](FrameSize s, ConstSamples16 from, Samples16 to) {
                                     return fn(s, from, to);
                                   });
  ShowStatus("");
  if (done) image.OptimizeFormSize();
  return done;
}

bool field(Form_Camera& image, int number) {
  if (number != 1 && number != 2) return false;
  const FrameSize to = FieldSize(SizeOf(image), number);
  if (!to.Valid()) return false;
  const bool colour = image.HasColors();
  return IntoWorkBuffer(image, "Extract Field " + std::to_string(number), to, colour,
                        [&](FrameSize s, ConstSamples16 from, Samples16 dest) {
                          return (colour ? SV_RGB_extract_field : SV_extract_field)(s, from, number,
                                                                                    dest);
                        });
}

bool ChangeImageDynamikTo(Form_Camera& image, int bits) {
  if (bits < 8 || bits > 16) return false;
  Samples16 p = Pixels(image);
  if (p.empty()) return false;
  image.RegisterUndo("Change Dynamic " + std::to_string(bits) + " Bit");
  const int from = Bits(image);
  (image.HasColors() ? SV_RGB_change_color_depth : SV_change_color_depth)(SizeOf(image), p, from,
                                                                          bits);
  image.SetImageBitsPerPixel(bits);
  Changed(image);
  return true;
}

bool ResizeImage(Form_Camera& image, long width, long height) {
  if (width < 1 || height < 1 || width > Form_Resize::kMaxSide || height > Form_Resize::kMaxSide)
    return false;
  const bool colour = image.HasColors();
  const bool done = IntoWorkBuffer(image, "Resize", FrameSize{width, height}, colour,
                                   [&](FrameSize s, ConstSamples16 from, Samples16 to) {
                                     return (colour ? SV_RGB_stretch : SV_stretch)(
                                         s, from, FrameSize{width, height}, to);
                                   });
  if (done) image.OptimizeFormSize();
  return done;
}

bool GreyScale(Form_Camera& image) {
  if (!image.HasColors()) return false;
  return IntoWorkBuffer(image, "Grey Scale", SizeOf(image), false,
                        [](FrameSize s, ConstSamples16 from, Samples16 to) {
                          return SV_RGB_Greyscale16(s, from, to);
                        });
}

bool TrueColor(Form_Camera& image) {
  if (image.HasColors()) return false;
  return IntoWorkBuffer(image, "True Color", SizeOf(image), true,
                        [](FrameSize s, ConstSamples16 from, Samples16 to) {
                          return SV_RGB_TrueColor16(s, from, to);
                        });
}

std::vector<Form_Camera*> SplitToRGB(Form_Camera& image, MDIForm_Main& main) {
  std::vector<Form_Camera*> made;
  if (!image.HasColors()) return made;
  Samples16 p = Pixels(image);
  if (p.empty()) return made;
  const FrameSize size = SizeOf(image);
  const std::string name = image.Title();
  for (const char* channel : {" (Red Channel)", " (Green Channel)", " (Blue Channel)"}) {
    Form_Camera* c = NewImageLike(image, main, size, false, name + channel, "Split to RGB");
    if (!c) {
      // All three or none.
      for (Form_Camera* m : made) main.CloseChild(m->Handle());
      return {};
    }
    made.push_back(c);
  }
  auto span = [&](Form_Camera* c) { return Samples16(c->ImagePtr(), size.Pixels()); };
  SV_RGB_split16(size, p, span(made[0]), span(made[1]), span(made[2]));
  for (Form_Camera* c : made) {
    c->Update8BitImage();
    c->SetChanged(true);
    main.ShowChild(c->Handle());
  }
  return made;
}

long ColorCount(Form_Camera& image) {
  Samples16 p = Pixels(image);
  if (p.empty()) return -1;
  const long n = image.HasColors() ? SV_RGB_color_count(SizeOf(image), p, Bits(image))
                                   : SV_color_count16(SizeOf(image), p);
  if (HasHost())
    host().MsgBox("The number of unique colors in this picture is " + std::to_string(n),
                  MsgButtons::OK, MsgIcon::Information, "Color Count");
  return n;
}

std::string CopyTitle(const std::string& name, const std::vector<std::string>& titles) {
  auto taken = [&](const std::string& t) {
    return std::find(titles.begin(), titles.end(), t) != titles.end();
  };
  std::string title = "Copy of " + name;
  for (long n = 2; taken(title); ++n) title = "Copy(" + std::to_string(n) + ") of " + name;
  return title;
}

Form_Camera* Duplicate(Form_Camera& image, MDIForm_Main& main) {
  Samples16 p = Pixels(image);
  if (p.empty()) return nullptr;
  const std::string title = CopyTitle(image.Title(), ImageTitles(main));
  Form_Camera* copy = NewImageLike(image, main, SizeOf(image), image.HasColors(), title, "Duplicate");
  if (!copy) return nullptr;
  SV_memcpy(copy->ImagePtr(), p.data(), p.size() * sizeof(uint16_t));
  copy->ImgDescription = image.ImgDescription;
  copy->Update8BitImage();
  copy->SetChanged(true);
  main.ShowChild(copy->Handle());
  return copy;
}

bool Resize(Form_Camera& image) {
  if (!image.ImagePtr()) return false;
  Form_Resize form(&image);
  if (!ResizeDialog() || !ResizeDialog()(form)) return false;
  return ResizeImage(image, form.Width(), form.Height());
}

std::string OperationStatus(const std::string& operation) {
  if (operation == "Rotate") return "Rotating...";
  if (operation == "Binarize") return "Binarize...";
  return "";
}

void RegisterImageOperations() {
  auto& t = ImageOperationTable();
  auto grey = [](const Form_Camera& c) { return !c.HasColors(); };
  auto colour = [](const Form_Camera& c) { return c.HasColors(); };
  auto any = [](const Form_Camera&) { return true; };
  auto main = []() { return MainForm(); };
  t["Binarize"] = {grey, [](Form_Camera& c, int) { Binarize(c); }};
  t["Binarize"] = {grey, [](Form_Camera& c, int) { Binarize(c); }};
  t["Dilatation"] = {grey, [](Form_Camera& c, int i) { Dilatation(c, MenuConnectivity(i)); }};
  t["Erosion"] = {grey, [](Form_Camera& c, int i) { Erosion(c, MenuConnectivity(i)); }};
  t["MorphOpen"] = {grey, [](Form_Camera& c, int i) { MorphOpen(c, MenuConnectivity(i)); }};
  t["MorphClose"] = {grey, [](Form_Camera& c, int i) { MorphClose(c, MenuConnectivity(i)); }};
  t["Edge"] = {grey, [](Form_Camera& c, int) { Edge(c); }};
  t["Negative"] = {any, [](Form_Camera& c, int) { Negative(c); }};
  t["Flip"] = {any, [](Form_Camera& c, int) { Flip(c); }};
  t["Mirror"] = {any, [](Form_Camera& c, int) { Mirror(c); }};
  // Entry 0 turns right (clockwise), entry 1 left.
  t["Rotate"] = {any, [](Form_Camera& c, int i) { Rotate(c, i == 1 ? 270 : 90); }};
  t["field"] = {any, [](Form_Camera& c, int i) { field(c, i == 2 ? 2 : 1); }};
  // The entry's index is the depth.
  t["ChangeImageDynamikTo"] = {any, [](Form_Camera& c, int i) { ChangeImageDynamikTo(c, i); }};
  t["Resize"] = {any, [](Form_Camera& c, int) { Resize(c); }};
  t["GreyScale"] = {colour, [](Form_Camera& c, int) { GreyScale(c); }};
  t["TrueColor"] = {grey, [](Form_Camera& c, int) { TrueColor(c); }};
  t["SplitToRGB"] = {colour, [main](Form_Camera& c, int) {
                       if (MDIForm_Main* m = main()) SplitToRGB(c, *m);
                     }};
  t["ColorCount"] = {any, [](Form_Camera& c, int) { ColorCount(c); }};
  t["Duplicate"] = {any, [main](Form_Camera& c, int) {
                      if (MDIForm_Main* m = main()) Duplicate(c, *m);
                    }};
}

}  // namespace sv
