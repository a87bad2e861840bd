// Geometry: flips, quarter turns, resizing and fields of a 1024 x 1024 frame,
// beside OpenCV's flip, rotate and resize.
#include <vector>

#include "harness.h"
#include "image/kernel/geometry.h"

#ifdef SV_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using svbench::Data;
using svbench::Frames;

constexpr long kW = Frames::kWidth, kH = Frames::kHeight;
// The resize rows: 1024 x 1024 up to 1536 x 1536.
constexpr long kStretched = 1536;

std::vector<uint16_t>& Stretched() {
  static std::vector<uint16_t> v(size_t(kStretched * kStretched * 3));
  return v;
}

sv::FrameSize Size() { return sv::FrameSize{kW, kH}; }

#ifdef SV_HAVE_OPENCV
cv::Mat Wrap(std::vector<uint16_t>& v, long w, long h, int channels) {
  return cv::Mat(int(h), int(w), channels == 1 ? CV_16UC1 : CV_16UC3, v.data());
}
#endif

// One row for a same-size routine of both kinds.
void SameSize(const char* name, bool colour, bool (*fn)(sv::FrameSize, sv::ConstSamples16, sv::Samples16)) {
  svbench::Kernel(name, colour ? Frames::kRgbBytes : Frames::kGreyBytes, [=] {
    auto& d = Data();
    fn(Size(), colour ? d.rgb : d.grey, colour ? d.outRgb : d.outGrey);
    svbench::Use(colour ? d.outRgb.data() : d.outGrey.data());
  });
}

}  // namespace

SVBENCH_ROWS(GeometryRows) {
  SameSize("SV_flip", false, sv::SV_flip);
  SameSize("SV_RGB_flip", true, sv::SV_RGB_flip);
  SameSize("SV_mirror", false, sv::SV_mirror);
  SameSize("SV_RGB_mirror", true, sv::SV_RGB_mirror);
  SameSize("SV_Rotate90", false, sv::SV_Rotate90);
  SameSize("SV_RGB_Rotate90", true, sv::SV_RGB_Rotate90);
  SameSize("SV_Rotate270", false, sv::SV_Rotate270);
  SameSize("SV_RGB_Rotate270", true, sv::SV_RGB_Rotate270);
  for (bool colour : {false, true}) {
    const char* name = colour ? "SV_RGB_stretch" : "SV_stretch";
    svbench::Kernel(name, colour ? Frames::kRgbBytes : Frames::kGreyBytes, [=] {
      auto& d = Data();
      const sv::FrameSize to{kStretched, kStretched};
      (colour ? sv::SV_RGB_stretch : sv::SV_stretch)(Size(), colour ? d.rgb : d.grey, to,
                                                     Stretched());
      svbench::Use(Stretched().data());
    });
  }
  svbench::Kernel("SV_extract_field", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_extract_field(Size(), d.grey, 2, d.outGrey);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_RGB_extract_field", Frames::kRgbBytes, [] {
    auto& d = Data();
    sv::SV_RGB_extract_field(Size(), d.rgb, 2, d.outRgb);
    svbench::Use(d.outRgb.data());
  });

#ifdef SV_HAVE_OPENCV
  for (int channels : {1, 3}) {
    const bool colour = channels == 3;
    auto src = [=] { return Wrap(colour ? Data().rgb : Data().grey, kW, kH, channels); };
    auto dst = [=](long w, long h) { return Wrap(colour ? Data().outRgb : Data().outGrey, w, h, channels); };
    svbench::OpenCV(colour ? "SV_RGB_flip" : "SV_flip", [=] {
      cv::Mat out = dst(kW, kH);
      cv::flip(src(), out, 0);
      svbench::Use(out.data);
    });
    svbench::OpenCV(colour ? "SV_RGB_mirror" : "SV_mirror", [=] {
      cv::Mat out = dst(kW, kH);
      cv::flip(src(), out, 1);
      svbench::Use(out.data);
    });
    svbench::OpenCV(colour ? "SV_RGB_Rotate90" : "SV_Rotate90", [=] {
      cv::Mat out = dst(kH, kW);
      cv::rotate(src(), out, cv::ROTATE_90_CLOCKWISE);
      svbench::Use(out.data);
    });
    svbench::OpenCV(colour ? "SV_RGB_Rotate270" : "SV_Rotate270", [=] {
      cv::Mat out = dst(kH, kW);
      cv::rotate(src(), out, cv::ROTATE_90_COUNTERCLOCKWISE);
      svbench::Use(out.data);
    });
    svbench::OpenCV(colour ? "SV_RGB_stretch" : "SV_stretch", [=] {
      cv::Mat out = Wrap(Stretched(), kStretched, kStretched, channels);
      cv::resize(src(), out, out.size(), 0, 0, cv::INTER_LINEAR);
      svbench::Use(out.data);
    });
  }
  for (const char* name : {"SV_flip", "SV_RGB_flip", "SV_mirror", "SV_RGB_mirror", "SV_Rotate90",
                           "SV_RGB_Rotate90", "SV_Rotate270", "SV_RGB_Rotate270", "SV_stretch",
                           "SV_RGB_stretch"})
    svbench::Target(name, 0, 1.0);
#endif
}
