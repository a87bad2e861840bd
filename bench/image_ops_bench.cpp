// The image menu's operations on a 1024 x 1024 image document, each beside
// the kernel work it does on the same shape: with Undo off the operation may
// cost at most 1.2 times the kernel, with Undo on 1.2 times the kernel plus a
// memcpy of the image (the undo copy).
//
// Operations that change the shape run in pairs that bring it back (resize up
// and down, grey and back to colour, two depths), and the field row puts the
// full frame back first; their kernel rows do the same pairs and the same
// copy. A depth change also builds the display table for the new depth, with
// the kernel's SV_set_lut; its kernel row does too.
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/globals.h"
#include "harness.h"
#include "image/form_camera.h"
#include "image/image_operations.h"
#include "image/kernel/analysis.h"
#include "image/kernel/filter.h"
#include "image/kernel/geometry.h"
#include "image/kernel/image_math.h"
#include "image/kernel/sv_kernel.h"

namespace {

using svbench::Data;
using svbench::Frames;

constexpr long kW = Frames::kWidth, kH = Frames::kHeight;
constexpr long kUp = 1536;
const sv::FrameSize kSize{kW, kH};

// The documents the operations work on, made once: 16-bit grey and colour.
sv::Form_Camera& Doc(bool colour) {
  static std::unique_ptr<sv::Form_Camera> grey, rgb;
  auto& doc = colour ? rgb : grey;
  if (!doc) {
    doc = std::make_unique<sv::Form_Camera>(nullptr);
    doc->SetHasColors(colour);
    doc->CreateImage(kW, kH, 16, colour ? Data().rgb.data() : Data().grey.data());
  }
  return *doc;
}

// Scratch frames for the kernel rows (the largest: a 1536 x 1536 colour frame).
std::vector<uint16_t>& Scratch(int n) {
  static std::vector<uint16_t> s[3];
  if (s[n].empty()) s[n].resize(size_t(kUp * kUp * 3));
  return s[n];
}

// The undo copy the kernel-plus-memcpy rows stand for: `bytes` into a warm buffer.
void UndoCopy(const void* from, size_t bytes) {
  static std::vector<uint8_t> to(size_t(kUp * kUp * 6));
  std::memcpy(to.data(), from, bytes);
  svbench::Use(to.data());
}

// The full grey frame put back into the field row's image, with a copy of the
// source as a field leaves half of it.
void PutBackFullFrame(sv::Form_Camera& doc) {
  std::vector<uint16_t> full(Data().grey);
  doc.AdoptImage(kW, kH, false, full);
}

struct OpRow {
  std::string name;
  bool colour;
  size_t bytes;                 // the source bytes of the kernel work
  size_t undoBytes;             // what the undo entries copy
  std::function<void()> kernel;
  std::function<void(sv::Form_Camera&)> op;
};

void AddRows(const OpRow& r) {
  const std::string kernel = "ops kernel " + r.name;
  const std::string withCopy = kernel + " + memcpy";
  const std::string menu = "ops menu " + r.name;
  const std::string menuUndo = menu + " (Undo)";
  svbench::Kernel(kernel, r.bytes, r.kernel);
  svbench::Kernel(withCopy, r.bytes, [r] {
    r.kernel();
    UndoCopy(r.colour ? Data().rgb.data() : Data().grey.data(), r.undoBytes);
  });
  svbench::Kernel(menu, r.bytes, [r] {
    sv::G().UndoEnabled = 0;
    r.op(Doc(r.colour));
    svbench::Use(Doc(r.colour).ImagePtr());
  });
  svbench::Kernel(menuUndo, r.bytes, [r] {
    sv::G().UndoEnabled = 1;
    r.op(Doc(r.colour));
    svbench::Use(Doc(r.colour).ImagePtr());
  });
  svbench::TargetAgainst(menu, kernel, 1.2);
  svbench::TargetAgainst(menuUndo, withCopy, 1.2);
}

// A same-size kernel routine from the grey source into scratch.
std::function<void()> GreyKernel(bool (*fn)(sv::FrameSize, sv::ConstSamples16, sv::Samples16)) {
  return [fn] {
    fn(kSize, Data().grey, Scratch(0));
    svbench::Use(Scratch(0).data());
  };
}

std::function<void()> RgbKernel(bool (*fn)(sv::FrameSize, sv::ConstSamples16, sv::Samples16)) {
  return [fn] {
    fn(kSize, Data().rgb, Scratch(0));
    svbench::Use(Scratch(0).data());
  };
}

}  // namespace

SVBENCH_ROWS(ImageOpRows) {
  const size_t grey = Frames::kGreyBytes, rgb = Frames::kRgbBytes;
  for (int conn : {4, 8}) {
    const std::string c = " (" + std::to_string(conn) + ")";
    AddRows({"Dilatation" + c, false, grey, grey,
             [conn] { sv::SV_Dilatation(kSize, Data().grey, Scratch(0), conn); },
             [conn](sv::Form_Camera& d) { sv::Dilatation(d, conn); }});
    AddRows({"Erosion" + c, false, grey, grey,
             [conn] { sv::SV_Erosion(kSize, Data().grey, Scratch(0), conn); },
             [conn](sv::Form_Camera& d) { sv::Erosion(d, conn); }});
  }
  AddRows({"Morph. Open (8)", false, grey, grey,
           [] {
             sv::SV_Erosion(kSize, Data().grey, Scratch(0), 8);
             sv::SV_Dilatation(kSize, Scratch(0), Scratch(0), 8);
           },
           [](sv::Form_Camera& d) { sv::MorphOpen(d, 8); }});
  AddRows({"Morph. Close (4)", false, grey, grey,
           [] {
             sv::SV_Dilatation(kSize, Data().grey, Scratch(0), 4);
             sv::SV_Erosion(kSize, Scratch(0), Scratch(0), 4);
           },
           [](sv::Form_Camera& d) { sv::MorphClose(d, 4); }});
  AddRows({"Edge", false, grey, grey, [] { sv::SV_Edge(kSize, Data().grey, Scratch(0), 16); },
           [](sv::Form_Camera& d) { sv::Edge(d); }});
  AddRows({"Negative", false, grey, grey,
           [] {
             sv::SV_negative(kSize, Scratch(0), 65536);
             svbench::Use(Scratch(0).data());
           },
           [](sv::Form_Camera& d) { sv::Negative(d); }});
  AddRows({"Negative (RGB)", true, rgb, rgb,
           [] {
             sv::SV_RGB_negative(kSize, Scratch(0), 65536);
             svbench::Use(Scratch(0).data());
           },
           [](sv::Form_Camera& d) { sv::Negative(d); }});
  AddRows({"Flip", false, grey, grey, GreyKernel(sv::SV_flip),
           [](sv::Form_Camera& d) { sv::Flip(d); }});
  AddRows({"Flip (RGB)", true, rgb, rgb, RgbKernel(sv::SV_RGB_flip),
           [](sv::Form_Camera& d) { sv::Flip(d); }});
  AddRows({"Mirror", false, grey, grey, GreyKernel(sv::SV_mirror),
           [](sv::Form_Camera& d) { sv::Mirror(d); }});
  AddRows({"Mirror (RGB)", true, rgb, rgb, RgbKernel(sv::SV_RGB_mirror),
           [](sv::Form_Camera& d) { sv::Mirror(d); }});
  AddRows({"Rotate 90", false, grey, grey, GreyKernel(sv::SV_Rotate90),
           [](sv::Form_Camera& d) { sv::Rotate(d, 90); }});
  AddRows({"Rotate 270 (RGB)", true, rgb, rgb, RgbKernel(sv::SV_RGB_Rotate270),
           [](sv::Form_Camera& d) { sv::Rotate(d, 270); }});
  // Undo holds the full frame: the copy is of the whole image.
  AddRows({"Field 1 (full frame put back)", false, grey, grey,
           [] {
             std::vector<uint16_t> full(Data().grey);
             sv::SV_extract_field(kSize, full, 1, Scratch(0));
             svbench::Use(full.data());
           },
           [](sv::Form_Camera& d) {
             PutBackFullFrame(d);
             sv::field(d, 1);
           }});
  // A new depth needs the display table for it: the kernel builds it.
  AddRows({"Dynamic 12 and 16 Bit", false, grey, 2 * grey,
           [] {
             static std::vector<uint8_t> table(65536);
             sv::SV_change_color_depth(kSize, Scratch(0), 16, 12);
             sv::SV_set_lut(0.0f, 1.0f, 4096, 65536, table.data(), false);
             sv::SV_change_color_depth(kSize, Scratch(0), 12, 16);
             sv::SV_set_lut(0.0f, 1.0f, 65536, 65536, table.data(), false);
             svbench::Use(Scratch(0).data());
           },
           [](sv::Form_Camera& d) {
             sv::ChangeImageDynamikTo(d, 12);
             sv::ChangeImageDynamikTo(d, 16);
           }});
  AddRows({"Resize 1536 and back", false, grey, grey + size_t(kUp * kUp * 2),
           [] {
             sv::SV_stretch(kSize, Data().grey, sv::FrameSize{kUp, kUp}, Scratch(1));
             sv::SV_stretch(sv::FrameSize{kUp, kUp}, Scratch(1), kSize, Scratch(0));
             svbench::Use(Scratch(0).data());
           },
           [](sv::Form_Camera& d) {
             sv::ResizeImage(d, kUp, kUp);
             sv::ResizeImage(d, kW, kH);
           }});
  AddRows({"Grey Scale and True Color", true, rgb, rgb + grey,
           [] {
             sv::SV_RGB_Greyscale16(kSize, Data().rgb, Scratch(1));
             sv::SV_RGB_TrueColor16(kSize, Scratch(1), Scratch(0));
             svbench::Use(Scratch(0).data());
           },
           [](sv::Form_Camera& d) {
             sv::GreyScale(d);
             sv::TrueColor(d);
           }});
  AddRows({"Color Count", false, grey, 0,
           [] { svbench::Use(reinterpret_cast<void*>(sv::SV_color_count16(kSize, Data().grey))); },
           [](sv::Form_Camera& d) { sv::ColorCount(d); }});
}
