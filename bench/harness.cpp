#include "harness.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>

#ifdef SV_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

namespace svbench {

namespace {

struct Row {
  std::string name;
  size_t bytes = 0;
  std::function<void()> kernel, opencv;
  double maxToMemcpy = 0, maxToOpenCV = 0;
  std::string baseline;
  double maxToBaseline = 0;
};

std::vector<Row>& Rows() {
  static std::vector<Row> rows;
  return rows;
}

Row& RowFor(const std::string& name) {
  for (Row& r : Rows())
    if (r.name == name) return r;
  Row r;
  r.name = name;
  Rows().push_back(std::move(r));
  return Rows().back();
}

class Collector : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, double> times;  // microseconds per iteration
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs)
      if (r.run_type == Run::RT_Iteration && r.iterations > 0) {
        std::string name = r.benchmark_name();
        if (auto cut = name.find("/min_time:"); cut != std::string::npos) name.resize(cut);
        times[name] = r.GetAdjustedRealTime();
      }
  }
};

void Register(const std::string& label, const std::function<void()>& body) {
  auto warmed = std::make_shared<bool>(false);
  benchmark::RegisterBenchmark(label.c_str(), [body, warmed](benchmark::State& state) {
    // One call first, so that what a row makes once (its files, its tables)
    // is not timed.
    if (!*warmed) {
      body();
      *warmed = true;
    }
    for (auto _ : state) {
      body();
      benchmark::ClobberMemory();
    }
  })->Unit(benchmark::kMicrosecond)->MinTime(0.05);
}

}  // namespace

Frames& Data() {
  static Frames f = [] {
    Frames d;
    d.grey.resize(Frames::kPixels);
    d.grey2.resize(Frames::kPixels);
    d.rgb.resize(Frames::kPixels * 3);
    d.rgb2.resize(Frames::kPixels * 3);
    d.outGrey.resize(Frames::kPixels * 3);
    d.outRgb.resize(Frames::kPixels * 3);
    d.grey8.resize(Frames::kPixels);
    d.out8.resize(Frames::kPixels * 3);
    d.sum32.resize(Frames::kPixels * 3);
    uint32_t seed = 12345;
    for (long y = 0; y < Frames::kHeight; ++y)
      for (long x = 0; x < Frames::kWidth; ++x) {
        seed = seed * 1664525u + 1013904223u;
        const size_t i = size_t(y * Frames::kWidth + x);
        d.grey[i] = uint16_t((x * 48 + y * 16 + (seed >> 24)) & 0xFFFF);
        d.grey2[i] = uint16_t((x * 16 + y * 40 + (seed >> 20)) & 0xFFFF);
        d.grey8[i] = uint8_t(d.grey[i] >> 8);
        for (int c = 0; c < 3; ++c) {
          d.rgb[3 * i + size_t(c)] = uint16_t(d.grey[i] + c * 4099);
          d.rgb2[3 * i + size_t(c)] = uint16_t(d.grey2[i] + c * 577);
        }
      }
    return d;
  }();
  return f;
}

void Kernel(const std::string& name, size_t sourceBytes, std::function<void()> body) {
  Row& r = RowFor(name);
  r.bytes = sourceBytes;
  r.kernel = std::move(body);
}

void OpenCV(const std::string& name, std::function<void()> body) {
  RowFor(name).opencv = std::move(body);
}

void Target(const std::string& name, double maxToMemcpy, double maxToOpenCV) {
  Row& r = RowFor(name);
  r.maxToMemcpy = maxToMemcpy;
  r.maxToOpenCV = maxToOpenCV;
}

void TargetAgainst(const std::string& name, const std::string& baseline, double maxRatio) {
  Row& r = RowFor(name);
  r.baseline = baseline;
  r.maxToBaseline = maxRatio;
}

std::vector<std::function<std::string()>>& Notes() {
  static std::vector<std::function<std::string()>> notes;
  return notes;
}

void Note(std::function<std::string()> line) { Notes().push_back(std::move(line)); }

void Use(const void* p) { benchmark::DoNotOptimize(p); }

}  // namespace svbench

int main(int argc, char** argv) {
  using namespace svbench;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
#ifdef SV_HAVE_OPENCV
  // The workbench runs its pixel loops on one thread; so does the yardstick.
  cv::setNumThreads(1);
#endif

  std::set<size_t> sizes;
  for (const Row& r : Rows())
    if (r.kernel) sizes.insert(r.bytes);
  static std::vector<uint8_t> from, to;
  const size_t most = sizes.empty() ? 0 : *sizes.rbegin();
  from.assign(most, 1);
  to.assign(most, 0);
  for (size_t bytes : sizes)
    Register("memcpy/" + std::to_string(bytes), [bytes] {
      std::memcpy(to.data(), from.data(), bytes);
      Use(to.data());
    });
  for (const Row& r : Rows()) {
    if (r.kernel) Register("sv/" + r.name, r.kernel);
    if (r.kernel && r.opencv) Register("cv/" + r.name, r.opencv);
  }
  Data();  // made before any timing

  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::Shutdown();

  std::printf("\n%-28s %12s %10s %10s  %s\n", "routine", "time (us)", "/ memcpy", "/ OpenCV",
              "target");
  int misses = 0;
  for (const Row& r : Rows()) {
    if (!r.kernel) continue;
    auto t = collector.times.find("sv/" + r.name);
    auto m = collector.times.find("memcpy/" + std::to_string(r.bytes));
    if (t == collector.times.end() || m == collector.times.end()) continue;
    const double toMemcpy = t->second / m->second;
    auto c = collector.times.find("cv/" + r.name);
    const double toCv = c == collector.times.end() ? 0 : t->second / c->second;
    std::string target;
    bool miss = false;
    if (r.maxToMemcpy > 0) {
      target += "<= " + std::to_string(r.maxToMemcpy).substr(0, 4) + " memcpy";
      miss = miss || toMemcpy > r.maxToMemcpy;
    }
    if (r.maxToOpenCV > 0 && toCv > 0) {
      target += (target.empty() ? "" : ", ") + std::string("<= ") +
                std::to_string(r.maxToOpenCV).substr(0, 4) + " OpenCV";
      miss = miss || toCv > r.maxToOpenCV;
    }
    if (r.maxToBaseline > 0) {
      auto b = collector.times.find("sv/" + r.baseline);
      if (b != collector.times.end()) {
        char text[96];
        std::snprintf(text, sizeof text, "%.2f x %s, <= %.2f", t->second / b->second,
                      r.baseline.c_str(), r.maxToBaseline);
        target += (target.empty() ? "" : ", ") + std::string(text);
        miss = miss || t->second / b->second > r.maxToBaseline;
      }
    }
    if (!target.empty()) target += miss ? "  MISSED" : "  met";
    misses += miss;
    char cv[16] = "-";
    if (toCv > 0) std::snprintf(cv, sizeof cv, "%.2f", toCv);
    std::printf("%-28s %12.1f %10.2f %10s  %s\n", r.name.c_str(), t->second, toMemcpy, cv,
                target.c_str());
  }
  // A note line may carry a target of its own; "MISSED" in it counts.
  for (const auto& note : Notes()) {
    const std::string line = note();
    std::printf("%s\n", line.c_str());
    if (line.find("MISSED") != std::string::npos) ++misses;
  }
  std::printf("\n%d target(s) missed\n", misses);
  return 0;
}
