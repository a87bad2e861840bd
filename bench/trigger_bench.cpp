// The trigger waits: one look of a wait (without its yield) beside the plain
// call it stands on, the clock for the line and a stat of the same path for
// the trigger file; and the processor time a real wait of one second for
// the trigger file takes under the command line's host.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "cli/batch_host.h"
#include "core/globals.h"
#include "experiment/experiment_settings.h"
#include "experiment/trigger.h"
#include "hardware/hardware.h"
#include "harness.h"

namespace {

// The batch host with a temporary folder of its own, so that no other
// program's trigger file takes part.
class BenchHost : public sv::cli::BatchHost {
 public:
  BenchHost() : BatchHost(std::cerr) {
    char name[] = "/tmp/sv-trigger-benchXXXXXX";
    if (::mkdtemp(name)) folder_ = std::string(name) + "/";
  }
  ~BenchHost() override { ::rmdir(folder_.c_str()); }
  std::string TempPath() override { return folder_; }

 private:
  std::string folder_ = "/tmp/";
};

BenchHost& Host() {
  static BenchHost host;
  return host;
}

// The dummy I/O up once, its EXT. TRIGGER line low.
bool LineUp() {
  static const bool up = [] {
    sv::cli::HostScope scope(&Host());
    std::string io = "DummyIO";
    return sv::IOStart(io) && sv::IOReady();
  }();
  return up;
}

double CpuSeconds() {
  rusage u{};
  ::getrusage(RUSAGE_SELF, &u);
  return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
         1e-6 * double(u.ru_utime.tv_usec + u.ru_stime.tv_usec);
}

// A trigger wait for the file, which a host timer makes after 1 s; the
// processor time it used in percent of one core.
std::string CpuWhileWaiting() {
  sv::cli::HostScope scope(&Host());
  sv::ES().TriggerMode = sv::kTriggerAtStart;
  sv::ES().TriggerSource = sv::kTriggerFile;
  sv::StopCode() = 0;
  const std::string path = sv::TriggerFilePath();
  std::remove(path.c_str());
  const int timer = Host().StartTimer(1000, [path] {
    if (std::FILE* f = std::fopen(path.c_str(), "w")) std::fclose(f);
  });
  const auto wallStart = std::chrono::steady_clock::now();
  const double cpuStart = CpuSeconds();
  const sv::WaitEnd end = sv::WaitTrigger(true);
  const double cpu = CpuSeconds() - cpuStart;
  const double wall =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
  Host().StopTimer(timer);
  char line[200];
  std::snprintf(line, sizeof line,
                "trigger file wait: %.2f %% of a core over %.3f s (%s; target <= 2 %%)",
                100.0 * cpu / wall, wall, end == sv::WaitEnd::Done ? "triggered" : "not triggered");
  return line;
}

}  // namespace

SVBENCH_ROWS(TriggerRows) {
  const std::string clock = "host TimeGetTime (batch host)";
  const std::string pin = "trigger look: EXT. TRIGGER line (dummy I/O)";
  const std::string stat = "plain stat of the trigger file's path";
  const std::string file = "trigger look: FileTrigger (no file)";
  svbench::Kernel(clock, 4, [] {
    const uint32_t t = Host().TimeGetTime();
    svbench::Use(&t);
  });
  svbench::Kernel(pin, 4, [] {
    static const bool up = LineUp();
    const bool level = up && sv::GetExtTrigger();
    svbench::Use(&level);
  });
  svbench::Kernel(stat, 4, [] {
    static const std::string path = Host().TempPath() + sv::kTriggerFileName;
    struct stat st {};
    const int r = ::stat(path.c_str(), &st);
    svbench::Use(&r);
  });
  svbench::Kernel(file, 4, [] {
    sv::cli::HostScope scope(&Host());
    const bool seen = sv::FileTrigger();
    svbench::Use(&seen);
  });
  svbench::TargetAgainst(pin, clock, 3.0);
  svbench::TargetAgainst(file, stat, 1.5);
  svbench::Note(CpuWhileWaiting);
}
