// Times the live-frame display step against a plain copy of the same source
// bytes, and prints the ratio of the two. SV_display runs once on the best
// path of this processor and once on each lower path, so every path's cost
// is on record.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "image/kernel/sv_kernel.h"

namespace {

constexpr long kWidth = 1024, kHeight = 1024;

struct Frame {
  std::vector<uint16_t> source = std::vector<uint16_t>(size_t(kWidth) * kHeight);
  std::vector<uint8_t> bitmap =
      std::vector<uint8_t>(size_t(sv::DisplayByteWidth(kWidth, false)) * kHeight);
  std::vector<uint16_t> copy = std::vector<uint16_t>(size_t(kWidth) * kHeight);
  std::vector<uint8_t> table = std::vector<uint8_t>(65536);

  Frame() {
    // A camera-like 16-bit frame: a gradient over the whole range with a
    // deterministic noise on top.
    uint32_t seed = 12345;
    for (long y = 0; y < kHeight; ++y)
      for (long x = 0; x < kWidth; ++x) {
        seed = seed * 1664525u + 1013904223u;
        source[size_t(y * kWidth + x)] = uint16_t((x * 48 + y * 16 + (seed >> 24)) & 0xFFFF);
      }
    // A display window of 10 % to 90 % of the levels, as after a LUT change.
    sv::SV_set_lut(0.1f, 0.9f, 65536, 65536, table.data(), false);
  }
};

Frame& TheFrame() {
  static Frame f;
  return f;
}

// Argument: the instruction level (-1 the best of this processor).
void BM_SV_display(benchmark::State& state) {
  Frame& f = TheFrame();
  const int level = sv::SV_set_display_isa(int(state.range(0)));
  state.SetLabel("level " + std::to_string(level));
  for (auto _ : state) {
    sv::SV_display(kWidth, kHeight, f.source.data(), f.bitmap.data(), f.table.data());
    benchmark::DoNotOptimize(f.bitmap.data());
    benchmark::ClobberMemory();
  }
  sv::SV_set_display_isa(-1);
  state.SetBytesProcessed(int64_t(state.iterations()) * kWidth * kHeight * 2);
}
BENCHMARK(BM_SV_display)->Arg(-1)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

void BM_memcpy_source(benchmark::State& state) {
  Frame& f = TheFrame();
  const size_t bytes = f.source.size() * sizeof(uint16_t);
  for (auto _ : state) {
    std::memcpy(f.copy.data(), f.source.data(), bytes);
    benchmark::DoNotOptimize(f.copy.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
}
BENCHMARK(BM_memcpy_source)->Unit(benchmark::kMicrosecond);

// Notes the time per iteration of every run for the ratios.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, double> times;  // run name -> microseconds

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs)
      if (r.run_type == Run::RT_Iteration && r.iterations > 0)
        times[r.benchmark_name()] = r.GetAdjustedRealTime();
    ConsoleReporter::ReportRuns(runs);
  }
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  const auto copy = reporter.times.find("BM_memcpy_source");
  if (copy == reporter.times.end() || copy->second <= 0) return 0;
  const char* names[][2] = {{"BM_SV_display/-1", "SV_display / memcpy"},
                            {"BM_SV_display/0", "  table reads only"},
                            {"BM_SV_display/1", "  up to AVX2"},
                            {"BM_SV_display/2", "  up to AVX-512"}};
  for (const auto& n : names) {
    const auto it = reporter.times.find(n[0]);
    if (it != reporter.times.end())
      std::printf("%s = %.2f\n", n[1], it->second / copy->second);
  }
  return 0;
}
