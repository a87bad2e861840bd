#include "harness.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <set>

#include <unistd.h>

#include "image/kernel/analysis.h"
#include "image/kernel/cpu_paths.h"
#include "image/kernel/filter.h"
#include "image/kernel/geometry.h"
#include "image/kernel/sv_kernel.h"

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
  std::map<std::string, double> times;  // microseconds per iteration, the best round
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& r : runs)
      if (r.run_type == Run::RT_Iteration && r.iterations > 0) {
        std::string name = r.benchmark_name();
        if (auto cut = name.find("/min_time:"); cut != std::string::npos) name.resize(cut);
        const double t = r.GetAdjustedRealTime();
        auto [at, fresh] = times.emplace(name, t);
        if (!fresh) at->second = std::min(at->second, t);
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

int KernelLevel() {
  static const int level = [] {
    const char* v = std::getenv("SV_KERNEL_PATH");
    if (!v || !*v) return -1;
    const std::string s(v);
    if (s == "avx512") return 2;
    if (s == "avx2") return 1;
    if (s == "baseline") return 0;
    std::fprintf(stderr, "SV_KERNEL_PATH: %s is none of avx512, avx2, baseline\n", v);
    std::exit(1);
  }();
  return level;
}

namespace {

// Holds every kernel family to the level SV_KERNEL_PATH asks for.
void ChooseKernelLevel() {
  const int level = KernelLevel();
  sv::cpu::pathLimit = level < 0 ? 2 : level;
  sv::SV_set_analysis_isa(level);
  sv::SV_set_filter_isa(level);
  sv::SV_set_geometry_isa(level);
  sv::SV_set_display_isa(level);
}

std::string CpuModel() {
  std::ifstream in("/proc/cpuinfo");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("model name", 0) == 0) {
      const auto colon = line.find(':');
      if (colon != std::string::npos) return line.substr(line.find_first_not_of(' ', colon + 1));
    }
  return "unknown";
}

std::string LoadAverage() {
  std::ifstream in("/proc/loadavg");
  double a = 0, b = 0, c = 0;
  if (!(in >> a >> b >> c)) return "unknown";
  char text[64];
  std::snprintf(text, sizeof text, "%.2f %.2f %.2f", a, b, c);
  return text;
}

const char* PathName() {
  return sv::cpu::HaveAvx512() ? "avx512" : sv::cpu::HaveAvx2() ? "avx2" : "baseline";
}

}  // namespace

}  // namespace svbench

int main(int argc, char** argv) {
  using namespace svbench;
#ifdef SV_HAVE_OPENCV
  // On a narrower kernel path OpenCV keeps to the same instruction sets, as
  // on a processor that has no more. It reads its list when it loads, so the
  // run starts again with the list set.
  if (KernelLevel() >= 0 && KernelLevel() < 2 && !std::getenv("OPENCV_CPU_DISABLE")) {
    setenv("OPENCV_CPU_DISABLE",
           KernelLevel() == 1 ? "AVX512-SKX,AVX512F"
                              : "AVX512-SKX,AVX512F,AVX2,AVX,FMA3,FP16,SSE4.2,SSE4.1,POPCNT",
           1);
    execv("/proc/self/exe", argv);
  }
#endif
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
#ifdef SV_HAVE_OPENCV
  // The workbench runs its pixel loops on one thread; so does the yardstick.
  cv::setNumThreads(1);
#endif
  ChooseKernelLevel();
  const std::string loadBefore = LoadAverage();

  std::set<size_t> sizes;
  for (const Row& r : Rows())
    if (r.kernel) sizes.insert(r.bytes);
  static std::vector<uint8_t> from, to;
  const size_t most = sizes.empty() ? 0 : *sizes.rbegin();
  from.assign(most, 1);
  to.assign(most, 0);
  auto copy = [](size_t bytes) {
    Register("memcpy/" + std::to_string(bytes), [bytes] {
      std::memcpy(to.data(), from.data(), bytes);
      Use(to.data());
    });
  };
  for (size_t bytes : sizes) copy(bytes);
  // A row with a yardstick (OpenCV, another row, or the memcpy when it has a
  // target against that) runs in alternating rounds with it, each side's
  // best round counts: a disturbance of a moment then falls on neither.
  constexpr int kRounds = 5;
  for (const Row& r : Rows()) {
    if (!r.kernel) continue;
    const Row* base = nullptr;
    if (!r.baseline.empty())
      for (const Row& b : Rows())
        if (b.name == r.baseline && b.kernel && &b != &r) base = &b;
    const bool yardstick = r.opencv || base || r.maxToMemcpy > 0;
    for (int round = 0; round < (yardstick ? kRounds : 1); ++round) {
      if (r.maxToMemcpy > 0) copy(r.bytes);
      if (base) Register("sv/" + base->name, base->kernel);
      Register("sv/" + r.name, r.kernel);
      if (r.opencv) Register("cv/" + r.name, r.opencv);
    }
  }
  Data();  // made before any timing

  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::Shutdown();

  std::printf("\nCPU: %s; kernel path: %s (SV_KERNEL_PATH: avx512, avx2, baseline)\n",
              CpuModel().c_str(), PathName());
#ifdef SV_HAVE_OPENCV
  std::printf("OpenCV %s (* dispatched, ? disabled): %s\n", CV_VERSION,
              cv::getCPUFeaturesLine().c_str());
#endif
  std::printf("load average (1, 5, 15 min): %s at start, %s at end\n", loadBefore.c_str(),
              LoadAverage().c_str());
  std::printf("%-28s %12s %10s %10s  %s\n", "routine", "time (us)", "/ memcpy", "/ OpenCV",
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
