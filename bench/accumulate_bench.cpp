// Accumulation and the sum-buffer conversions on a 1024 x 1024 frame: sums of
// frames into 16 and 32 bits, the running mean of noise reduction, the shift
// of an averaging sum back to words, and the depth conversions.
#include <vector>

#include "harness.h"
#include "image/kernel/accumulate.h"
#include "image/kernel/convert.h"
#include "image/kernel/numbers.h"

#ifdef SV_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace {

using svbench::Data;
using svbench::Frames;

constexpr size_t kN = Frames::kPixels;
constexpr int kW = int(Frames::kWidth), kH = int(Frames::kHeight);

// A float frame for the float conversions.
std::vector<float>& Floats() {
  static std::vector<float> v = [] {
    std::vector<float> f(kN);
    const auto& g = Data().grey;
    for (size_t i = 0; i < kN; ++i) f[i] = float(g[i]) * 1.37f - 1000.25f;
    return f;
  }();
  return v;
}

#ifdef SV_HAVE_OPENCV
cv::Mat Grey(std::vector<uint16_t>& v) { return cv::Mat(kH, kW, CV_16UC1, v.data()); }
cv::Mat Sum(std::vector<uint32_t>& v) { return cv::Mat(kH, kW, CV_32SC1, v.data()); }
cv::Mat Bytes(std::vector<uint8_t>& v) { return cv::Mat(kH, kW, CV_8UC1, v.data()); }
#endif

}  // namespace

SVBENCH_ROWS(AccumulateRows) {
  svbench::Kernel("SV_add_16_to_16", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_add_16_to_16(kN, d.grey, d.outGrey);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_add_16_to_32", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_add_16_to_32(kN, d.grey, d.sum32);
    svbench::Use(d.sum32.data());
  });
  svbench::Target("SV_add_16_to_32", 2.0, 1.0);
  svbench::Kernel("SV_add_8_to_16", kN, [] {
    auto& d = Data();
    sv::SV_add_8_to_16(kN, d.grey8, d.outGrey);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_avg_hist (1/4)", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_avg_hist(kN, d.grey, d.outGrey, 4);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_avg_hist (1/5)", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_avg_hist(kN, d.grey, d.outGrey, 5);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_shr (into 16 bits)", kN * 4, [] {
    auto& d = Data();
    sv::SV_shr(kN, sv::ConstSamples32(d.sum32), d.outGrey, 3);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_shr (in place)", kN * 4, [] {
    auto& d = Data();
    sv::SV_shr(kN, sv::Samples32(d.sum32), 1);
    svbench::Use(d.sum32.data());
  });
  svbench::Kernel("SV_convert_32_to_16", kN * 4, [] {
    auto& d = Data();
    sv::SV_convert_32_to_16(kN, d.sum32, d.outGrey);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_convert_8_to_16", kN, [] {
    auto& d = Data();
    sv::SV_convert_8_to_16(kN, d.grey8, d.outGrey);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_convert_16_to_8", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_convert_16_to_8(kN, d.grey, d.out8, 16);
    svbench::Use(d.out8.data());
  });
  svbench::Kernel("SV_RGB_convert_inverse_8_to_16", kN * 3, [] {
    auto& d = Data();
    sv::SV_RGB_convert_inverse_8_to_16(kN, d.out8, d.outRgb);
    svbench::Use(d.outRgb.data());
  });
  svbench::Kernel("SV_swap_lo_hi_byte", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_swap_lo_hi_byte(kN, d.grey, d.outGrey);
    svbench::Use(d.outGrey.data());
  });
  svbench::Kernel("SV_copy_floats_to_shorts", kN * 4, [] {
    auto& d = Data();
    sv::SV_copy_floats_to_shorts(kN, Floats(), d.outGrey);
    svbench::Use(d.outGrey.data());
  });

#ifdef SV_HAVE_OPENCV
  svbench::OpenCV("SV_add_16_to_16", [] {
    auto& d = Data();
    cv::Mat sum = Grey(d.outGrey);
    cv::add(Grey(d.grey), sum, sum);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_add_16_to_32", [] {
    auto& d = Data();
    cv::Mat sum = Sum(d.sum32);
    cv::add(Grey(d.grey), sum, sum, cv::noArray(), CV_32S);
    svbench::Use(d.sum32.data());
  });
  svbench::OpenCV("SV_add_8_to_16", [] {
    auto& d = Data();
    cv::Mat sum = Grey(d.outGrey);
    cv::add(Bytes(d.grey8), sum, sum, cv::noArray(), CV_16U);
    svbench::Use(d.outGrey.data());
  });
  for (const char* name : {"SV_avg_hist (1/4)", "SV_avg_hist (1/5)"}) {
    const double w = name[14] == '4' ? 0.25 : 0.2;
    svbench::OpenCV(name, [w] {
      auto& d = Data();
      cv::Mat mean = Grey(d.outGrey);
      cv::addWeighted(Grey(d.grey), w, mean, 1.0 - w, 0.0, mean);
      svbench::Use(d.outGrey.data());
    });
  }
  svbench::OpenCV("SV_shr (into 16 bits)", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    Sum(d.sum32).convertTo(out, CV_16U, 1.0 / 8.0);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_convert_32_to_16", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    Sum(d.sum32).convertTo(out, CV_16U);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_convert_8_to_16", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    Bytes(d.grey8).convertTo(out, CV_16U);
    svbench::Use(d.outGrey.data());
  });
  svbench::OpenCV("SV_convert_16_to_8", [] {
    auto& d = Data();
    cv::Mat out = Bytes(d.out8);
    Grey(d.grey).convertTo(out, CV_8U, 1.0 / 256.0);
    svbench::Use(d.out8.data());
  });
  svbench::OpenCV("SV_copy_floats_to_shorts", [] {
    auto& d = Data();
    cv::Mat out = Grey(d.outGrey);
    cv::Mat(kH, kW, CV_32FC1, Floats().data()).convertTo(out, CV_16U);
    svbench::Use(d.outGrey.data());
  });
  for (const char* name : {"SV_add_16_to_16", "SV_add_8_to_16", "SV_avg_hist (1/4)",
                           "SV_avg_hist (1/5)", "SV_shr (into 16 bits)", "SV_convert_32_to_16",
                           "SV_convert_8_to_16", "SV_convert_16_to_8",
                           "SV_copy_floats_to_shorts"})
    svbench::Target(name, 0, 1.0);
#endif
}
