// Films: 1000 frames of 1024 x 1024 at 16 bits (2 GB) written and read
// through Class_SV2VID, beside a plain pwrite / pread of the same bytes at
// the same offsets, in the same run. The film's target is at most 1.3 times
// the plain rows. Both sides use the same pattern: a write row makes its
// file afresh and removes it at the end; the read rows read one file made
// before the timing.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "harness.h"
#include "video/class_sv2vid.h"

namespace {

using svbench::Data;
using svbench::Frames;

constexpr uint32_t kFilmFrames = 1000;

// Memory-backed when the system has it: the disk's own writeback would
// drown the difference between the rows.
std::string Temp(const char* name) {
  static const std::string folder = [] {
    std::error_code ec;
    return std::filesystem::is_directory("/dev/shm", ec) ? std::string("/dev/shm/")
                                                         : std::filesystem::temp_directory_path().string() + "/";
  }();
  return folder + "sv_video_bench_" + std::to_string(::getpid()) + "_" + name;
}

const uint8_t* Source() { return reinterpret_cast<const uint8_t*>(Data().grey.data()); }
uint8_t* Target() { return reinterpret_cast<uint8_t*>(Data().outGrey.data()); }

void FilmWrite(const std::string& path) {
  sv::Class_SV2VID film;
  std::string name = path;
  long w = Frames::kWidth, h = Frames::kHeight, bits = 16;
  float rate = 25;
  if (!film.FileOpen(name, sv::kFilmOpenCreateWrite, &w, &h, &bits, &rate, false)) std::abort();
  for (uint32_t i = 0; i < kFilmFrames; ++i)
    if (!film.WriteFrame(i, Source())) std::abort();
  film.FileClose();
}

void PlainWrite(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) std::abort();
  static const std::vector<uint8_t> header(sv::kFilmFirstFrame, 0);
  bool ok = ::pwrite(fd, header.data(), header.size(), 0) == ssize_t(header.size());
  for (uint32_t i = 0; i < kFilmFrames && ok; ++i)
    ok = ::pwrite(fd, Source(), Frames::kGreyBytes,
                  off_t(sv::kFilmFirstFrame + uint64_t(i) * Frames::kGreyBytes)) ==
         ssize_t(Frames::kGreyBytes);
  // The film writes its header again when it closes.
  ok = ok && ::pwrite(fd, header.data() + 8, 1048, 8) == 1048;
  if (::close(fd) != 0 || !ok) std::abort();
}

// The film both read rows read, made once before the timing.
const std::string& ReadFilm() {
  static const std::string path = [] {
    std::string p = Temp("read.vid");
    FilmWrite(p);
    std::atexit([] { ::unlink(Temp("read.vid").c_str()); });
    return p;
  }();
  return path;
}

void FilmRead() {
  sv::Class_SV2VID film;
  std::string name = ReadFilm();
  if (!film.FileOpen(name, sv::kFilmOpenRead, nullptr, nullptr, nullptr, nullptr, false))
    std::abort();
  uint32_t got = 0;
  for (uint32_t i = 0; i < kFilmFrames; ++i)
    if (!film.ReadFrame(i, Target(), got)) std::abort();
  film.FileClose();
  svbench::Use(Target());
}

void PlainRead() {
  const int fd = ::open(ReadFilm().c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) std::abort();
  uint8_t header[sv::kFilmFirstFrame];
  bool ok = ::pread(fd, header, sizeof header, 0) == ssize_t(sizeof header);
  for (uint32_t i = 0; i < kFilmFrames && ok; ++i)
    ok = ::pread(fd, Target(), Frames::kGreyBytes,
                 off_t(sv::kFilmFirstFrame + uint64_t(i) * Frames::kGreyBytes)) ==
         ssize_t(Frames::kGreyBytes);
  if (::close(fd) != 0 || !ok) std::abort();
  svbench::Use(Target());
}

}  // namespace

SVBENCH_ROWS(VideoRows) {
  // Rows are per film of 1000 frames; the memcpy column is that of one frame.
  svbench::Kernel("VID write (1000 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string path = Temp("w.vid");
    FilmWrite(path);
    ::unlink(path.c_str());
  });
  svbench::Kernel("plain pwrite (1000 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string path = Temp("w.raw");
    PlainWrite(path);
    ::unlink(path.c_str());
  });
  svbench::Kernel("VID read (1000 x 2 MB)", Frames::kGreyBytes, [] { FilmRead(); });
  svbench::Kernel("plain pread (1000 x 2 MB)", Frames::kGreyBytes, [] { PlainRead(); });
  svbench::TargetAgainst("VID write (1000 x 2 MB)", "plain pwrite (1000 x 2 MB)", 1.3);
  svbench::TargetAgainst("VID read (1000 x 2 MB)", "plain pread (1000 x 2 MB)", 1.3);
}
