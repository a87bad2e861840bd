// Filters and morphology of a 1024 x 1024 frame, beside OpenCV's filter2D on
// the same integer kernels (16-bit in, 16-bit out, edges replicated), erode,
// dilate and threshold.
#include <string>
#include <vector>

#include "harness.h"
#include "image/kernel/filter.h"

#ifdef SV_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using svbench::Data;
using svbench::Frames;

constexpr long kW = Frames::kWidth, kH = Frames::kHeight;

sv::FrameSize Size() { return sv::FrameSize{kW, kH}; }

// Binomial smoothing kernels: 3 x 3 over 16, 5 x 5 over 256, 7 x 7 over 4096.
sv::FilterRecord Binomial(int n) {
  static const int rows[3][7] = {{1, 2, 1}, {1, 4, 6, 4, 1}, {1, 6, 15, 20, 15, 6, 1}};
  const int* r = rows[(n - 3) / 2];
  sv::FilterRecord f{};
  int sum = 0;
  const int off = (7 - n) / 2;
  for (int y = 0; y < n; ++y)
    for (int x = 0; x < n; ++x) {
      f.Coefficients[(y + off) * 7 + x + off] = r[y] * r[x];
      sum += r[y] * r[x];
    }
  f.Factor = sum;
  f.Bias = 0;
  return f;
}

#ifdef SV_HAVE_OPENCV
cv::Mat Wrap(std::vector<uint16_t>& v, int channels) {
  return cv::Mat(int(kH), int(kW), channels == 1 ? CV_16UC1 : CV_16UC3, v.data());
}

// The record as OpenCV's kernel: the weights over the factor, the bias as delta.
cv::Mat CvKernel(const sv::FilterRecord& f, int n) {
  cv::Mat k(n, n, CV_32F);
  const int off = (7 - n) / 2;
  for (int y = 0; y < n; ++y)
    for (int x = 0; x < n; ++x)
      k.at<float>(y, x) = float(f.Coefficients[(y + off) * 7 + x + off]) / float(f.Factor);
  return k;
}
#endif

}  // namespace

SVBENCH_ROWS(FilterRows) {
  for (int n : {3, 5, 7})
    for (bool colour : {false, true}) {
      const std::string size = std::to_string(n) + "x" + std::to_string(n);
      const std::string name = (colour ? "SV_RGB_filter_" : "SV_filter_") + size;
      auto fn = colour ? (n == 3 ? sv::SV_RGB_filter_3x3 : n == 5 ? sv::SV_RGB_filter_5x5 : sv::SV_RGB_filter_7x7)
                       : (n == 3 ? sv::SV_filter_3x3 : n == 5 ? sv::SV_filter_5x5 : sv::SV_filter_7x7);
      const sv::FilterRecord f = Binomial(n);
      svbench::Kernel(name, colour ? Frames::kRgbBytes : Frames::kGreyBytes, [=] {
        auto& d = Data();
        fn(Size(), colour ? d.rgb : d.grey, colour ? d.outRgb : d.outGrey, f, 16);
        svbench::Use(colour ? d.outRgb.data() : d.outGrey.data());
      });
#ifdef SV_HAVE_OPENCV
      const cv::Mat kernel = CvKernel(f, n);
      svbench::OpenCV(name, [=] {
        auto& d = Data();
        cv::Mat out = Wrap(colour ? d.outRgb : d.outGrey, colour ? 3 : 1);
        cv::filter2D(Wrap(colour ? d.rgb : d.grey, colour ? 3 : 1), out, CV_16U, kernel,
                     cv::Point(-1, -1), double(f.Bias), cv::BORDER_REPLICATE);
        svbench::Use(out.data);
      });
      svbench::Target(name, 0, 1.0);
#endif
    }

  svbench::Kernel("SV_Binarize", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_Binarize(Size(), d.grey, d.outGrey, 30000, 16);
    svbench::Use(d.outGrey.data());
  });
#ifdef SV_HAVE_OPENCV
  svbench::OpenCV("SV_Binarize", [] {
    auto& d = Data();
    cv::Mat out = Wrap(d.outGrey, 1);
    cv::threshold(Wrap(d.grey, 1), out, 30000, 65535, cv::THRESH_BINARY);
    svbench::Use(out.data);
  });
  svbench::Target("SV_Binarize", 0, 1.0);
#endif

  for (int conn : {4, 8})
    for (bool dilate : {true, false}) {
      const std::string name =
          std::string(dilate ? "SV_Dilatation" : "SV_Erosion") + " (" + std::to_string(conn) + ")";
      svbench::Kernel(name, Frames::kGreyBytes, [=] {
        auto& d = Data();
        (dilate ? sv::SV_Dilatation : sv::SV_Erosion)(Size(), d.grey, d.outGrey, conn);
        svbench::Use(d.outGrey.data());
      });
#ifdef SV_HAVE_OPENCV
      const cv::Mat element =
          cv::getStructuringElement(conn == 8 ? cv::MORPH_RECT : cv::MORPH_CROSS, cv::Size(3, 3));
      svbench::OpenCV(name, [=] {
        auto& d = Data();
        cv::Mat out = Wrap(d.outGrey, 1);
        if (dilate)
          cv::dilate(Wrap(d.grey, 1), out, element);
        else
          cv::erode(Wrap(d.grey, 1), out, element);
        svbench::Use(out.data);
      });
      svbench::Target(name, 0, 1.0);
#endif
    }

  svbench::Kernel("SV_Edge", Frames::kGreyBytes, [] {
    auto& d = Data();
    sv::SV_Edge(Size(), d.grey, d.outGrey, 16);
    svbench::Use(d.outGrey.data());
  });
}
