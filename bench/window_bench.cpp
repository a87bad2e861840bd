// Scan windows in an averaging run: eight windows of 64 x 64 on the
// 1024 x 1024 frame, 16 frames each summed into every window's buffer and
// then evaluated, beside a copy of the same window bytes.
#include <cstring>
#include <string>
#include <vector>

#include "analysis/scan_windows.h"
#include "harness.h"

namespace {

using svbench::Data;
using svbench::Frames;

constexpr sv::FrameSize kSize{Frames::kWidth, Frames::kHeight};
constexpr int kSide = 64;
constexpr int kFrames = 16;
constexpr size_t kWindowBytes = size_t(sv::kWindowCount) * kSide * kSide * 2;

// Eight windows spread over the frame, each with its buffer.
std::vector<sv::ScanWindow>& Windows() {
  static std::vector<sv::ScanWindow> windows = [] {
    std::vector<sv::ScanWindow> w(sv::kWindowCount);
    for (int n = 0; n < sv::kWindowCount; ++n) {
      w[size_t(n)].X1 = 40 + n * 120;
      w[size_t(n)].Y1 = 30 + (n % 4) * 250;
      w[size_t(n)].W = kSide;
      w[size_t(n)].H = kSide;
      w[size_t(n)].Averaging = kFrames;
      sv::WindowBufferAlloc(w[size_t(n)], false, true);
    }
    return w;
  }();
  return windows;
}

// The 16 frames: the two camera frames of the harness, taken in turn.
const std::vector<uint16_t>& FrameAt(int i) { return i % 2 ? Data().grey2 : Data().grey; }

}  // namespace

SVBENCH_ROWS(WindowRows) {
  const std::string run = "8 windows 64x64, averaging 16";
  const std::string copy = "memcpy of the window bytes";
  svbench::Kernel(run, kWindowBytes * kFrames, [] {
    static sv::AnalysisResult results[sv::kWindowCount];
    auto& windows = Windows();
    for (int f = 0; f < kFrames; ++f)
      for (auto& w : windows) sv::WindowScanFrame(w, kSize, FrameAt(f), f, false);
    for (size_t n = 0; n < windows.size(); ++n)
      sv::WindowFrameAnalysis(windows[n], 65536, false, results[n]);
    svbench::Use(results);
  });
  // The same bytes, row by row out of the frames into one place.
  svbench::Kernel(copy, kWindowBytes * kFrames, [] {
    static std::vector<uint16_t> to(size_t(sv::kWindowCount) * kSide * kSide);
    auto& windows = Windows();
    for (int f = 0; f < kFrames; ++f) {
      const uint16_t* frame = FrameAt(f).data();
      for (size_t n = 0; n < windows.size(); ++n)
        for (int y = 0; y < kSide; ++y)
          std::memcpy(to.data() + (n * kSide + size_t(y)) * kSide,
                      frame + size_t(windows[n].Y1 + y) * Frames::kWidth + size_t(windows[n].X1),
                      kSide * 2);
      svbench::Use(to.data());
    }
  });
  svbench::TargetAgainst(run, copy, 2.0);
}
