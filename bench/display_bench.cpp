// The live-frame display step: a table look-up of every sample into the
// padded bottom-up display bitmap.
#include <vector>

#include "harness.h"
#include "image/kernel/sv_kernel.h"

namespace {

std::vector<uint8_t>& Table() {
  static std::vector<uint8_t> t = [] {
    std::vector<uint8_t> v(65536);
    // A display window of 10 % to 90 % of the levels, as after a LUT change.
    sv::SV_set_lut(0.1f, 0.9f, 65536, 65536, v.data(), false);
    return v;
  }();
  return t;
}

}  // namespace

SVBENCH_ROWS(DisplayRows) {
  using svbench::Data;
  using svbench::Frames;
  const long w = Frames::kWidth, h = Frames::kHeight;
  svbench::Kernel("SV_display", Frames::kGreyBytes, [=] {
    auto& d = Data();
    sv::SV_display(w, h, d.grey.data(), d.out8.data(), Table().data());
    svbench::Use(d.out8.data());
  });
  svbench::Target("SV_display", 3.0, 0);
  for (int level = 0; level <= 1; ++level) {
    const std::string name = level == 0 ? "SV_display (table reads)" : "SV_display (AVX2)";
    svbench::Kernel(name, Frames::kGreyBytes, [=] {
      auto& d = Data();
      sv::SV_set_display_isa(level);
      sv::SV_display(w, h, d.grey.data(), d.out8.data(), Table().data());
      sv::SV_set_display_isa(svbench::KernelLevel());
      svbench::Use(d.out8.data());
    });
  }
  svbench::Kernel("SV_RGB_display", Frames::kRgbBytes, [=] {
    auto& d = Data();
    sv::SV_RGB_display(w, h, d.rgb.data(), d.out8.data(), Table().data());
    svbench::Use(d.out8.data());
  });
}
