// Window and line analysis, histograms and the test picture on the
// 1024 x 1024 frames.
#include <array>
#include <vector>

#include "harness.h"
#include "image/kernel/analysis.h"
#include "image/kernel/test_image.h"

#ifdef SV_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using svbench::Data;
using svbench::Frames;

constexpr sv::FrameSize kSize{Frames::kWidth, Frames::kHeight};

sv::WindowAccumulator FullWindow(int shape = sv::kShapeRectangle) {
  sv::WindowAccumulator w;
  w.Rect = sv::WindowRect::FromSize(0, 0, Frames::kWidth, Frames::kHeight, shape);
  w.Buffer = Data().sum32;
  return w;
}

std::vector<uint32_t>& Counts() {
  static std::vector<uint32_t> c(65536 * 3);
  return c;
}

// A frame that stays below the top level, so the overload test reads it all.
const std::vector<uint16_t>& Dim() {
  static const std::vector<uint16_t> f = [] {
    std::vector<uint16_t> v(Data().grey);
    for (auto& s : v) s >>= 1;
    return v;
  }();
  return f;
}

}  // namespace

SVBENCH_ROWS(AnalysisRows) {
  // The averaging run: one frame added into the window's 32-bit sums.
  svbench::Kernel("SV_scan_frame16", Frames::kGreyBytes, [] {
    static sv::WindowAccumulator w = FullWindow();
    sv::SV_scan_frame16(w, kSize, Data().grey, 1);
    svbench::Use(w.Buffer.data());
  });
  svbench::Target("SV_scan_frame16", 2.0, 0);
  svbench::Kernel("SV_scan_frame16 (frame 0)", Frames::kGreyBytes, [] {
    static sv::WindowAccumulator w = FullWindow();
    sv::SV_scan_frame16(w, kSize, Data().grey, 0);
    svbench::Use(w.Buffer.data());
  });
  svbench::Target("SV_scan_frame16 (frame 0)", 2.0, 0);
  svbench::Kernel("SV_RGB_scan_frame16", Frames::kRgbBytes, [] {
    static sv::WindowAccumulator w = FullWindow();
    sv::SV_RGB_scan_frame16(w, kSize, Data().rgb, 1);
    svbench::Use(w.Buffer.data());
  });
  svbench::Target("SV_RGB_scan_frame16", 2.0, 0);

  svbench::Kernel("SV_frame_analysis", Frames::kPixels * 4, [] {
    static sv::WindowAccumulator w = [] {
      sv::WindowAccumulator a = FullWindow();
      sv::SV_scan_frame16(a, kSize, Data().grey, 0);
      return a;
    }();
    sv::AnalysisResult r;
    sv::SV_frame_analysis(w, 65536, r);
    svbench::Use(&r);
  });
  svbench::Kernel("SV_rect16_analysis", Frames::kGreyBytes, [] {
    sv::AnalysisResult r;
    sv::SV_rect16_analysis(sv::WindowRect::FromSize(0, 0, Frames::kWidth, Frames::kHeight), kSize,
                           Data().grey, 65536, r);
    svbench::Use(&r);
  });
  svbench::Kernel("SV_rect16_analysis (ellipse)", Frames::kGreyBytes, [] {
    sv::AnalysisResult r;
    sv::SV_rect16_analysis(
        sv::WindowRect::FromSize(0, 0, Frames::kWidth, Frames::kHeight, sv::kShapeEllipse), kSize,
        Data().grey, 65536, r);
    svbench::Use(&r);
  });
  svbench::Kernel("SV_RGB_rect16_analysis", Frames::kRgbBytes, [] {
    sv::RGBAnalysisResult r;
    sv::SV_RGB_rect16_analysis(sv::WindowRect::FromSize(0, 0, Frames::kWidth, Frames::kHeight),
                               kSize, Data().rgb, 65536, r);
    svbench::Use(&r);
  });

  svbench::Kernel("SV_histogram", Frames::kGreyBytes, [] {
    sv::SV_histogram(kSize, Data().grey, std::span<uint32_t>(Counts()).first(65536));
    svbench::Use(Counts().data());
  });
#ifdef SV_HAVE_OPENCV
  svbench::OpenCV("SV_histogram", [] {
    static cv::Mat hist;
    const cv::Mat src(int(Frames::kHeight), int(Frames::kWidth), CV_16UC1, Data().grey.data());
    const int channels[] = {0};
    const int bins[] = {65536};
    const float range[] = {0.0f, 65536.0f};
    const float* ranges[] = {range};
    cv::calcHist(&src, 1, channels, cv::noArray(), hist, 1, bins, ranges);
    svbench::Use(hist.data);
  });
  svbench::Target("SV_histogram", 0, 1.0);
#endif
  svbench::Kernel("SV_RGB_histogram", Frames::kRgbBytes, [] {
    sv::SV_RGB_histogram(kSize, Data().rgb, Counts());
    svbench::Use(Counts().data());
  });
  svbench::Kernel("SV_color_count16", Frames::kGreyBytes, [] {
    static long colours = 0;
    colours = sv::SV_color_count16(kSize, Data().grey);
    svbench::Use(&colours);
  });
  svbench::Kernel("SV_test_overload16", Frames::kGreyBytes, [] {
    bool over = sv::SV_test_overload16(kSize, Dim(), 65536);
    svbench::Use(&over);
  });

  // A full diagonal, five pixels thick.
  svbench::Kernel("SV_scan_line16", Frames::kGreyBytes, [] {
    static std::vector<uint32_t> buf(2048);
    sv::LineAccumulator line;
    line.X1 = 0;
    line.Y1 = 0;
    line.X2 = Frames::kWidth - 1;
    line.Y2 = Frames::kHeight - 1;
    line.Thickness = 5;
    line.Buffer = buf;
    sv::SV_scan_line16(line, kSize, Data().grey, 0);
    svbench::Use(buf.data());
  });

  svbench::Kernel("SV_test_image", Frames::kGreyBytes, [] {
    sv::TestImageParams p;
    p.Energy = 150;
    sv::SV_test_image(kSize, Data().outGrey, p);
    svbench::Use(Data().outGrey.data());
  });
  svbench::Kernel("SV_test_image (384x288)", size_t(384) * 288 * 2, [] {
    sv::TestImageParams p;
    p.Energy = 150;
    sv::SV_test_image({384, 288}, Data().outGrey, p);
    svbench::Use(Data().outGrey.data());
  });
}
