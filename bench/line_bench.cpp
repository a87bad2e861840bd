// Scan lines: eight profiles of 512 points, three pixels thick, on the
// 1024 x 1024 frame (three horizontal, three vertical, two diagonal), each
// read and evaluated, beside a copy of the cache lines the profiles touch.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "harness.h"
#include "image/kernel/analysis.h"

namespace {

using svbench::Data;
using svbench::Frames;

constexpr sv::FrameSize kSize{Frames::kWidth, Frames::kHeight};
constexpr long kPoints = 512;
constexpr int kThickness = 3;
constexpr int kLines = 8;
constexpr size_t kCacheLine = 64;

struct Ends {
  long x1, y1, x2, y2;
};
constexpr std::array<Ends, kLines> kEnds{{
    {100, 100, 611, 100},  // horizontal
    {300, 520, 811, 520},
    {400, 900, 911, 900},
    {50, 200, 50, 711},  // vertical
    {500, 10, 500, 521},
    {990, 400, 990, 911},
    {20, 20, 531, 531},  // diagonal
    {1000, 300, 489, 811},
}};

struct Lines {
  std::array<sv::LineAccumulator, kLines> lines;
  std::vector<uint32_t> sums = std::vector<uint32_t>(size_t(kLines) * kPoints);
  std::vector<float> profile = std::vector<float>(kPoints);
  // Runs of touched cache lines: first byte offset and length.
  std::vector<std::pair<size_t, size_t>> runs;
  size_t bytes = 0;
};

long RoundDiv(long a, long n) { return a >= 0 ? (2 * a + n) / (2 * n) : -((-2 * a + n) / (2 * n)); }

Lines& TheLines() {
  static Lines l = [] {
    Lines s;
    std::vector<size_t> touched;
    for (int n = 0; n < kLines; ++n) {
      const Ends& e = kEnds[size_t(n)];
      sv::LineAccumulator& a = s.lines[size_t(n)];
      a.X1 = e.x1;
      a.Y1 = e.y1;
      a.X2 = e.x2;
      a.Y2 = e.y2;
      a.Thickness = kThickness;
      a.Buffer = sv::Samples32(s.sums.data() + size_t(n) * kPoints, kPoints);
      // The pixels across each point, as the profile takes them.
      const long steps = sv::LinePoints(e.x1, e.y1, e.x2, e.y2) - 1;
      for (long i = 0; i <= steps; ++i) {
        const sv::LinePoint p = sv::LinePointAt(e.x1, e.y1, e.x2, e.y2, i);
        for (long k = -kThickness / 2; k <= kThickness / 2; ++k) {
          const long x = std::clamp(p.x + RoundDiv(-k * (e.y2 - e.y1), steps), 0L, kSize.width - 1);
          const long y = std::clamp(p.y + RoundDiv(k * (e.x2 - e.x1), steps), 0L, kSize.height - 1);
          touched.push_back((size_t(y) * size_t(kSize.width) + size_t(x)) * 2 / kCacheLine);
        }
      }
    }
    std::sort(touched.begin(), touched.end());
    touched.erase(std::unique(touched.begin(), touched.end()), touched.end());
    for (size_t i = 0; i < touched.size();) {
      size_t j = i + 1;
      while (j < touched.size() && touched[j] == touched[j - 1] + 1) ++j;
      s.runs.emplace_back(touched[i] * kCacheLine, (j - i) * kCacheLine);
      i = j;
    }
    s.bytes = touched.size() * kCacheLine;
    return s;
  }();
  return l;
}

}  // namespace

SVBENCH_ROWS(LineRows) {
  const std::string run = "8 line profiles 512 points, thickness 3";
  const std::string copy = "memcpy of the cache lines they touch";
  const size_t bytes = TheLines().bytes;
  svbench::Kernel(run, bytes, [] {
    Lines& s = TheLines();
    static sv::LineResult results[kLines];
    for (int n = 0; n < kLines; ++n) {
      sv::SV_scan_line16(s.lines[size_t(n)], kSize, Data().grey, 0);
      sv::SV_line_analysis(s.lines[size_t(n)], s.profile, results[n]);
    }
    svbench::Use(results);
  });
  svbench::Kernel(copy, bytes, [] {
    static std::vector<uint8_t> to(TheLines().bytes);
    const auto* from = reinterpret_cast<const uint8_t*>(Data().grey.data());
    size_t at = 0;
    for (const auto& [offset, length] : TheLines().runs) {
      std::memcpy(to.data() + at, from + offset, length);
      at += length;
    }
    svbench::Use(to.data());
  });
  svbench::TargetAgainst(run, copy, 3.0);
}
