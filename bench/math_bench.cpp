// Whole-image operations on 1024 x 1024 frames: two-image arithmetic, the
// constant forms, background subtraction, negatives, depth, grey and colour
// conversions, the mono matrix and comparison.
#include <array>
#include <string>
#include <vector>

#include "harness.h"
#include "image/kernel/image_math.h"

#ifdef SV_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using svbench::Data;
using svbench::Frames;

constexpr int kW = int(Frames::kWidth), kH = int(Frames::kHeight);
constexpr sv::FrameSize kSize{Frames::kWidth, Frames::kHeight};

sv::ImageMathParams Params(int operation) {
  sv::ImageMathParams p;
  p.operation = operation;
  return p;
}

std::vector<uint16_t>& Table() {
  static std::vector<uint16_t> t = [] {
    std::vector<uint16_t> v(65536);
    for (size_t i = 0; i < v.size(); ++i) v[i] = uint16_t((i * 7) >> 3);
    return v;
  }();
  return t;
}

// Three planes for the split.
std::vector<uint16_t>& Plane(int c) {
  static std::vector<uint16_t> p[3] = {std::vector<uint16_t>(Frames::kPixels),
                                       std::vector<uint16_t>(Frames::kPixels),
                                       std::vector<uint16_t>(Frames::kPixels)};
  return p[c];
}

#ifdef SV_HAVE_OPENCV
cv::Mat Grey(std::vector<uint16_t>& v) { return cv::Mat(kH, kW, CV_16UC1, v.data()); }
cv::Mat Rgb(std::vector<uint16_t>& v) { return cv::Mat(kH, kW, CV_16UC3, v.data()); }
cv::Mat Bytes(std::vector<uint8_t>& v) { return cv::Mat(kH, kW, CV_8UC1, v.data()); }
#endif

struct MathRow {
  const char* name;
  int operation;
};
constexpr MathRow kMathRows[] = {
    {"SV_image_math2 Add", sv::kMathAdd},
    {"SV_image_math2 Subtract", sv::kMathSubtract},
    {"SV_image_math2 Multiply", sv::kMathMultiply},
    {"SV_image_math2 Divide", sv::kMathDivide},
    {"SV_image_math2 Difference", sv::kMathDifference},
    {"SV_image_math2 Lightest", sv::kMathLightest},
    {"SV_image_math2 Darkest", sv::kMathDarkest},
    {"SV_image_math2 AND", sv::kMathAnd},
    {"SV_image_math2 Fade", sv::kMathFade},
};

}  // namespace

SVBENCH_ROWS(MathRows) {
  for (const MathRow& row : kMathRows) {
    const int op = row.operation;
    svbench::Kernel(row.name, Frames::kGreyBytes, [op] {
      auto& d = Data();
      sv::SV_image_math2(kSize, 1, d.grey, d.grey2, d.outGrey, Params(op));
      svbench::Use(d.outGrey.data());
    });
  }
  svbench::Kernel("SV_image_math2 Add (RGB)", Frames::kRgbBytes, [] {
    auto& d = Data();
    sv::SV_image_math2(kSize, 3, d.rgb, d.rgb2, d.outRgb, Params(sv::kMathAdd));
    svbench::Use(d.outRgb.data());
  });
  svbench::Kernel("SV_modify_image16 Add", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_modify_image16(kSize, d.grey, d.outGrey, 1000, Params(sv::kMathAdd));
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_RGB_modify_image16 Add", Frames::kRgbBytes, [] {
    auto& d = Data();
    sv::SV_RGB_modify_image16(kSize, d.rgb, d.outRgb, {1000, 2000, 3000}, Params(sv::kMathAdd));
    svbench::Use(d.outRgb.data());
  });
  svbench::Kernel("SV_image_and_const", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_image_and_const(kSize, 1, d.outGrey, 0x0FFF);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_subtract_background", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_subtract_background(kSize, 1, d.outGrey, d.grey2);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_negative", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_negative(kSize, d.outGrey, 65536);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_RGB_negative", Frames::kRgbBytes, [] {
    auto& d = Data();
    sv::SV_RGB_negative(kSize, d.outRgb, 65536);
    svbench::Use(d.outRgb.data());
  });
  svbench::Kernel("SV_change_color_depth", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_change_color_depth(kSize, d.outGrey, 12, 16);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_CvtToMono", Frames::kGreyBytes, [] {
    auto& d = Data();
    svbench::Use(reinterpret_cast<const void*>(sv::SV_CvtToMono(kSize, 1, d.grey, d.out8, 32768)));
  });
  svbench::Kernel("SV_CvtColors", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_CvtColors(kSize, d.outGrey, Table());
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_RGB_Greyscale16", Frames::kRgbBytes, [] {
    auto& d = Data();
    sv::SV_RGB_Greyscale16(kSize, d.rgb, d.outGrey);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_RGB_TrueColor16", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_RGB_TrueColor16(kSize, d.grey, d.outRgb);
    svbench::Use(d.outRgb.data());
  });
  svbench::Kernel("SV_RGB_split16", Frames::kRgbBytes, [] {
    auto& d = Data();
    sv::SV_RGB_split16(kSize, d.rgb, Plane(0), Plane(1), Plane(2));
    svbench::Use(Plane(2).data());
  });
  svbench::Kernel("SV_RGB_fill16", Frames::kRgbBytes, [] {
    auto& d = Data();
    sv::SV_RGB_fill16(kSize, d.outRgb, 1, 2, 3);
    svbench::Use(d.outRgb.data());
  });
  svbench::Kernel("SV_compare", Frames::kGreyBytes, [] {
    auto& d = Data();
    svbench::Use(reinterpret_cast<const void*>(sv::SV_compare(kSize, 1, d.grey, d.grey2)));
  });

#ifdef SV_HAVE_OPENCV
  using Binary = void (*)(cv::InputArray, cv::InputArray, cv::OutputArray);
  const std::array<std::pair<const char*, Binary>, 5> binary = {{
      {"SV_image_math2 Difference", [](cv::InputArray a, cv::InputArray b, cv::OutputArray o) { cv::absdiff(a, b, o); }},
      {"SV_image_math2 Lightest", [](cv::InputArray a, cv::InputArray b, cv::OutputArray o) { cv::max(a, b, o); }},
      {"SV_image_math2 Darkest", [](cv::InputArray a, cv::InputArray b, cv::OutputArray o) { cv::min(a, b, o); }},
      {"SV_image_math2 AND", [](cv::InputArray a, cv::InputArray b, cv::OutputArray o) { cv::bitwise_and(a, b, o); }},
      {"SV_image_math2 Multiply", [](cv::InputArray a, cv::InputArray b, cv::OutputArray o) { cv::multiply(a, b, o); }},
  }};
  for (const auto& [name, fn] : binary) {
    Binary f = fn;
    svbench::OpenCV(name, [f] {
      auto& d = Data();
      cv::Mat out = Grey(d.outGrey);
      f(Grey(d.grey), Grey(d.grey2), out);
      svbench::Use(d.outGrey.data());
    });
  }
  svbench::OpenCV("SV_image_math2 Add", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    cv::add(Grey(d.grey), Grey(d.grey2), out);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_image_math2 Subtract", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    cv::subtract(Grey(d.grey), Grey(d.grey2), out);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_image_math2 Divide", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    cv::divide(Grey(d.grey), Grey(d.grey2), out);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_image_math2 Fade", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    cv::addWeighted(Grey(d.grey), 0.5, Grey(d.grey2), 0.5, 0.0, out);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_image_math2 Add (RGB)", [] {
    auto& d = Data();
    cv::Mat out = Rgb(d.outRgb);
    cv::add(Rgb(d.rgb), Rgb(d.rgb2), out);
    svbench::Use(d.outRgb.data());
  });
  svbench::OpenCV("SV_modify_image16 Add", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    cv::add(Grey(d.grey), cv::Scalar(1000), out);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_RGB_modify_image16 Add", [] {
    auto& d = Data();
    cv::Mat out = Rgb(d.outRgb);
    cv::add(Rgb(d.rgb), cv::Scalar(1000, 2000, 3000), out);
    svbench::Use(d.outRgb.data());
  });
  svbench::OpenCV("SV_image_and_const", [] {
    auto& d = Data();
    cv::Mat img = Grey(d.outGrey);
    cv::bitwise_and(img, cv::Scalar(0x0FFF), img);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_subtract_background", [] {
    auto& d = Data();
    cv::Mat img = Grey(d.outGrey);
    cv::subtract(img, Grey(d.grey2), img);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_negative", [] {
    auto& d = Data();
    cv::Mat img = Grey(d.outGrey);
    cv::bitwise_not(img, img);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_RGB_negative", [] {
    auto& d = Data();
    cv::Mat img = Rgb(d.outRgb);
    cv::bitwise_not(img, img);
    svbench::Use(d.outRgb.data());
  });
  svbench::OpenCV("SV_change_color_depth", [] {
    auto& d = Data();
    cv::Mat img = Grey(d.outGrey);
    img.convertTo(img, CV_16U, 16.0);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_CvtToMono", [] {
    auto& d = Data();
    cv::Mat m = Bytes(d.out8);
    cv::compare(Grey(d.grey), 32768, m, cv::CMP_GE);
    svbench::Use(reinterpret_cast<const void*>(long(cv::countNonZero(m))));
  });
  svbench::OpenCV("SV_RGB_Greyscale16", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    cv::cvtColor(Rgb(d.rgb), out, cv::COLOR_RGB2GRAY);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_RGB_TrueColor16", [] {
    auto& d = Data();
    cv::Mat out = Rgb(d.outRgb);
    cv::cvtColor(Grey(d.grey), out, cv::COLOR_GRAY2RGB);
    svbench::Use(d.outRgb.data());
  });
  svbench::OpenCV("SV_RGB_split16", [] {
    auto& d = Data();
    cv::Mat planes[3] = {Grey(Plane(0)), Grey(Plane(1)), Grey(Plane(2))};
    cv::split(Rgb(d.rgb), planes);
    svbench::Use(Plane(2).data());
  });
  svbench::OpenCV("SV_RGB_fill16", [] {
    auto& d = Data();
    Rgb(d.outRgb).setTo(cv::Scalar(1, 2, 3));
    svbench::Use(d.outRgb.data());
  });
  svbench::OpenCV("SV_compare", [] {
    auto& d = Data();
    cv::Mat m = Bytes(d.out8);
    cv::compare(Grey(d.grey), Grey(d.grey2), m, cv::CMP_NE);
    svbench::Use(reinterpret_cast<const void*>(long(cv::countNonZero(m))));
  });
  for (const MathRow& row : kMathRows) svbench::Target(row.name, 0, 1.0);
  for (const char* name :
       {"SV_image_math2 Add (RGB)", "SV_modify_image16 Add", "SV_RGB_modify_image16 Add",
        "SV_image_and_const", "SV_subtract_background", "SV_negative", "SV_RGB_negative",
        "SV_change_color_depth", "SV_CvtToMono", "SV_RGB_Greyscale16", "SV_RGB_TrueColor16",
        "SV_RGB_split16", "SV_RGB_fill16", "SV_compare"})
    svbench::Target(name, 0, 1.0);
#endif
}
