// A run on a film: svbatch film-scan over 1000 frames of 1024 x 1024 at 16
// bits with 8 windows of 64 x 64, beside a plain pread of the same frames
// alone, in the same run. Target: at most 1.5 times the plain read. The
// film (2 GB) is made once before the timing, in memory-backed storage
// when the system has it, and removed at exit.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/batch_film_scan.h"
#include "harness.h"
#include "image/kernel/numbers.h"
#include "video/class_sv2vid.h"

namespace {

using svbench::Data;
using svbench::Frames;

constexpr uint32_t kScanFrames = 1000;

std::string Temp(const char* name) {
  static const std::string folder = [] {
    std::error_code ec;
    return std::filesystem::is_directory("/dev/shm", ec)
               ? std::string("/dev/shm/")
               : std::filesystem::temp_directory_path().string() + "/";
  }();
  return folder + "sv_film_scan_bench_" + std::to_string(::getpid()) + "_" + name;
}

// An I(E) film: frame i at 50 + i / 4 eV, the camera-like frame behind
// its numbers.
const std::string& ScanFilm() {
  static const std::string path = [] {
    std::string p = Temp("scan.vid");
    sv::Class_SV2VID film;
    std::string name = p;
    long w = Frames::kWidth, h = Frames::kHeight, bits = 16;
    float rate = 25;
    if (!film.FileOpen(name, sv::kFilmOpenCreateWrite, &w, &h, &bits, &rate, false)) std::abort();
    if (!film.NumericData({"energy (eV)", "time (s)"})) std::abort();
    std::vector<uint16_t> frame(Data().grey);
    for (uint32_t i = 0; i < kScanFrames; ++i) {
      const std::vector<float> cells{float(i), 50.0f + 0.25f * float(i), 0.04f * float(i)};
      sv::SV_code(sv::Samples8(reinterpret_cast<uint8_t*>(frame.data()), frame.size() * 2), cells);
      if (!film.WriteFrame(i, frame.data())) std::abort();
    }
    film.FileClose();
    std::atexit([] {
      ::unlink(Temp("scan.vid").c_str());
      ::unlink(Temp("w.par").c_str());
      ::unlink(Temp("out.sht").c_str());
    });
    // Eight windows of 64 x 64 spread over the frame.
    std::ofstream par(Temp("w.par"), std::ios::binary);
    for (int n = 0; n < 8; ++n)
      par << "[Window" << n + 1 << "]\r\nX1=" << 64 + 110 * n << "\r\nY1=" << 100 + 90 * n
          << "\r\nW=64\r\nH=64\r\nSelect=1\r\n";
    return p;
  }();
  return path;
}

void FilmScanRun() {
  sv::cli::FilmScanOptions o;
  o.film = ScanFilm();
  o.par = Temp("w.par");
  o.out = Temp("out.sht");
  long rows = 0;
  std::ostringstream err;
  if (sv::cli::FilmScan(o, rows, err) != 0 || rows != long(kScanFrames)) {
    std::fprintf(stderr, "film-scan: %ld rows; %s\n", rows, err.str().c_str());
    std::abort();
  }
}

void PlainRead() {
  const int fd = ::open(ScanFilm().c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) std::abort();
  uint8_t* target = reinterpret_cast<uint8_t*>(Data().outGrey.data());
  uint8_t header[sv::kFilmFirstFrame];
  bool ok = ::pread(fd, header, sizeof header, 0) == ssize_t(sizeof header);
  for (uint32_t i = 0; i < kScanFrames && ok; ++i)
    ok = ::pread(fd, target, Frames::kGreyBytes,
                 off_t(sv::kFilmFirstFrame + uint64_t(i) * Frames::kGreyBytes)) ==
         ssize_t(Frames::kGreyBytes);
  if (::close(fd) != 0 || !ok) std::abort();
  svbench::Use(target);
}

}  // namespace

SVBENCH_ROWS(FilmScanRows) {
  svbench::Kernel("film-scan (1000 x 2 MB, 8 windows 64x64)", Frames::kGreyBytes,
                  [] { FilmScanRun(); });
  svbench::Kernel("film frames pread (1000 x 2 MB)", Frames::kGreyBytes, [] { PlainRead(); });
  svbench::TargetAgainst("film-scan (1000 x 2 MB, 8 windows 64x64)",
                         "film frames pread (1000 x 2 MB)", 1.5);
}
