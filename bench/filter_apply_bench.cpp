// The filter command and the image arithmetic on a 1024 x 1024 image beside
// their kernel routines: ApplyFilter is the kernel into a work buffer and a
// copy back, so it is held to 1.2 x (kernel + memcpy of the image) with Undo
// off, and to 1.2 x (kernel + two copies) with Undo on. The arithmetic in
// place is the kernel alone (1.2 x) plus the undo copy.
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/globals.h"
#include "harness.h"
#include "image/filter_library.h"
#include "image/form_camera.h"
#include "image/form_image_math.h"
#include "image/kernel/filter.h"
#include "image/kernel/image_math.h"

namespace {

using svbench::Data;
using svbench::Frames;

sv::FrameSize Size() { return sv::FrameSize{Frames::kWidth, Frames::kHeight}; }

sv::FilterRecord Blur(int n) {
  sv::FilterRecord f = sv::SampleBlur();
  if (n == 5) f.Coefficients[1 * 7 + 1] = 1, f.Factor = 10;
  if (n == 7) f.Coefficients[0] = 1, f.Factor = 10;
  return f;
}

// One image document made from the grey or colour frame, kept for the run.
sv::Form_Camera& Image(bool colour) {
  static std::unique_ptr<sv::Form_Camera> grey, rgb;
  auto& slot = colour ? rgb : grey;
  if (!slot) {
    slot = std::make_unique<sv::Form_Camera>(nullptr);
    slot->SetHasColors(colour);
    auto& d = Data();
    slot->CreateImage(Frames::kWidth, Frames::kHeight, 16, colour ? d.rgb.data() : d.grey.data());
  }
  return *slot;
}

}  // namespace

SVBENCH_ROWS(FilterApplyRows) {
  for (int n : {3, 7})
    for (bool colour : {false, true}) {
      const std::string size = std::to_string(n) + "x" + std::to_string(n);
      const std::string tag = size + (colour ? " (RGB)" : "");
      const size_t bytes = colour ? Frames::kRgbBytes : Frames::kGreyBytes;
      const sv::FilterRecord f = Blur(n);
      auto fn = colour ? (n == 3 ? sv::SV_RGB_filter_3x3 : sv::SV_RGB_filter_7x7)
                       : (n == 3 ? sv::SV_filter_3x3 : sv::SV_filter_7x7);
      const std::string kernel = "Filter kernel + copy " + tag;
      const std::string kernel2 = "Filter kernel + 2 copies " + tag;
      const std::string menu = "ApplyFilter " + tag;
      const std::string menuUndo = "ApplyFilter with Undo " + tag;
      svbench::Kernel(kernel, bytes, [=] {
        auto& d = Data();
        auto& src = colour ? d.rgb : d.grey;
        auto& out = colour ? d.outRgb : d.outGrey;
        fn(Size(), src, out, f, 16);
        std::memcpy(colour ? d.rgb2.data() : d.grey2.data(), out.data(), bytes);
        svbench::Use(out.data());
      });
      svbench::Kernel(kernel2, bytes, [=] {
        auto& d = Data();
        auto& src = colour ? d.rgb : d.grey;
        auto& out = colour ? d.outRgb : d.outGrey;
        auto& other = colour ? d.rgb2 : d.grey2;
        std::memcpy(other.data(), src.data(), bytes);
        fn(Size(), src, out, f, 16);
        std::memcpy(other.data(), out.data(), bytes);
        svbench::Use(out.data());
      });
      svbench::Kernel(menu, bytes, [=] {
        sv::G().UndoEnabled = 0;
        sv::Form_Camera& image = Image(colour);
        sv::FilterImage(image, f);
        svbench::Use(image.ImagePtr());
      });
      svbench::Kernel(menuUndo, bytes, [=] {
        sv::G().UndoEnabled = 1;
        sv::Form_Camera& image = Image(colour);
        sv::FilterImage(image, f);
        svbench::Use(image.ImagePtr());
      });
      svbench::TargetAgainst(menu, kernel, 1.2);
      svbench::TargetAgainst(menuUndo, kernel2, 1.2);
    }

  // One image and a constant, in place.
  svbench::Kernel("Image math kernel (add)", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::ImageMathParams p;
    p.operation = sv::kMathAdd;
    sv::SV_modify_image16(Size(), d.grey, d.outGrey, 7, p);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("ImageMath1Do (add)", Frames::kGreyBytes, [] {
    sv::G().UndoEnabled = 0;
    sv::Form_Camera& image = Image(false);
    sv::ImageMath1Do(image, sv::kMathAdd, {7, 7, 7}, true);
    svbench::Use(image.ImagePtr());
  });
  svbench::TargetAgainst("ImageMath1Do (add)", "Image math kernel (add)", 1.2);
}
