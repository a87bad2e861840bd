// The benchmark table: every kernel routine is timed beside a memcpy of its
// source bytes and, where one exists, beside OpenCV's counterpart, all in the
// same run. Each bench file registers its rows at start.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace svbench {

// Deterministic 1024 x 1024 frames, made once.
struct Frames {
  static constexpr long kWidth = 1024, kHeight = 1024;
  static constexpr size_t kPixels = size_t(kWidth) * kHeight;
  static constexpr size_t kGreyBytes = kPixels * 2;  // 16-bit grey source
  static constexpr size_t kRgbBytes = kPixels * 6;   // 16-bit RGB source
  std::vector<uint16_t> grey, grey2;  // camera-like 16-bit frames
  std::vector<uint16_t> rgb, rgb2;    // three words a pixel
  std::vector<uint16_t> outGrey, outRgb;
  std::vector<uint8_t> grey8, out8;
  std::vector<uint32_t> sum32;
};
Frames& Data();

// A kernel row; `sourceBytes` is what its memcpy baseline copies.
void Kernel(const std::string& name, size_t sourceBytes, std::function<void()> body);
// OpenCV's counterpart of the row `name`.
void OpenCV(const std::string& name, std::function<void()> body);
// The row must stay within these ratios (0: no target).
void Target(const std::string& name, double maxToMemcpy, double maxToOpenCV);

// The row must stay within `maxRatio` times the row `baseline` (a plain
// counterpart timed in the same run, e.g. the C library's read of a file).
void TargetAgainst(const std::string& name, const std::string& baseline, double maxRatio);

// A line printed under the table (a figure that is not a time).
void Note(std::function<std::string()> line);

// The kernel level the run holds to (SV_KERNEL_PATH): 2 AVX-512, 1 AVX2,
// 0 the baseline, -1 the best the processor has.
int KernelLevel();

// Keeps the optimiser from dropping a result.
void Use(const void* p);

}  // namespace svbench

// Runs `fn` once at start to register its rows.
#define SVBENCH_ROWS(fn)                 \
  static void fn();                      \
  static const int fn##_registered = (fn(), 0); \
  static void fn()
