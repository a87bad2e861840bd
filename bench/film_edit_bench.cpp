// Film edits: deleting every second frame of a film of 200 frames of
// 1024 x 1024 at 16 bits, and merging two films of 100 such frames, beside
// a plain pread / pwrite of the same bytes to a new file, in the same run.
// The edits' target is at most 1.3 times the plain copies. The source films
// are made once before the timing and removed at exit; each row writes its
// target afresh and removes it.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "harness.h"
#include "video/class_sv2vid.h"
#include "video/film_edit.h"

namespace {

using svbench::Data;
using svbench::Frames;

constexpr uint32_t kEditFrames = 200;

std::string Temp(const std::string& name) {
  static const std::string folder = [] {
    std::error_code ec;
    return std::filesystem::is_directory("/dev/shm", ec)
               ? std::string("/dev/shm/")
               : std::filesystem::temp_directory_path().string() + "/";
  }();
  return folder + "sv_edit_bench_" + std::to_string(::getpid()) + "_" + name;
}

void MakeFilm(const std::string& path, uint32_t frames) {
  sv::Class_SV2VID film;
  std::string name = path;
  long w = Frames::kWidth, h = Frames::kHeight, bits = 16;
  float rate = 25;
  if (!film.FileOpen(name, sv::kFilmOpenCreateWrite, &w, &h, &bits, &rate, false)) std::abort();
  const uint8_t* source = reinterpret_cast<const uint8_t*>(Data().grey.data());
  for (uint32_t i = 0; i < frames; ++i)
    if (!film.WriteFrame(i, source)) std::abort();
  film.FileClose();
}

// The source films, made once.
const std::string& Film(const std::string& name, uint32_t frames) {
  static std::vector<std::string> paths;
  const std::string path = Temp(name);
  for (const std::string& p : paths)
    if (p == path) return p;
  MakeFilm(path, frames);
  paths.push_back(path);
  if (paths.size() == 1)
    std::atexit([] {
      for (const std::string& p : paths) ::unlink(p.c_str());
    });
  return paths.back();
}

// The plain side: header, then the listed frames of the sources, one
// buffer of a frame, pread and pwrite.
void PlainCopy(const std::vector<std::pair<std::string, std::vector<uint32_t>>>& sources,
               const std::string& target) {
  const int out = ::open(target.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (out < 0) std::abort();
  std::vector<uint8_t> buffer(Frames::kGreyBytes);
  uint8_t header[sv::kFilmFirstFrame] = {};
  bool ok = ::pwrite(out, header, sizeof header, 0) == ssize_t(sizeof header);
  uint64_t next = 0;
  for (const auto& [path, frames] : sources) {
    const int in = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) std::abort();
    for (uint32_t f : frames) {
      ok = ok && ::pread(in, buffer.data(), buffer.size(),
                         off_t(sv::kFilmFirstFrame + uint64_t(f) * buffer.size())) ==
                     ssize_t(buffer.size());
      ok = ok && ::pwrite(out, buffer.data(), buffer.size(),
                          off_t(sv::kFilmFirstFrame + next++ * buffer.size())) ==
                     ssize_t(buffer.size());
    }
    ::close(in);
  }
  ok = ok && ::pwrite(out, header + 8, 1048, 8) == 1048;
  if (::close(out) != 0 || !ok) std::abort();
}

std::vector<uint32_t> Range(uint32_t first, uint32_t end, uint32_t step) {
  std::vector<uint32_t> v;
  for (uint32_t i = first; i < end; i += step) v.push_back(i);
  return v;
}

}  // namespace

SVBENCH_ROWS(FilmEditRows) {
  // Rows are per edit; the memcpy column is that of one frame.
  svbench::Kernel("film delete 2nd (200 -> 100 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string& source = Film("src.vid", kEditFrames);
    std::vector<int32_t> mask(kEditFrames, 0);
    for (uint32_t i = 1; i < kEditFrames; i += 2) mask[i] = sv::kDeleteFrame;
    const std::string target = Temp("del.vid");
    if (!sv::DeleteFilmFrames(source, mask, target).ok) std::abort();
    ::unlink(target.c_str());
  });
  svbench::Kernel("plain copy (100 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string target = Temp("del.raw");
    PlainCopy({{Film("src.vid", kEditFrames), Range(0, kEditFrames, 2)}}, target);
    ::unlink(target.c_str());
  });
  svbench::Kernel("film merge (100 + 100 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string& a = Film("a.vid", kEditFrames / 2);
    const std::string& b = Film("b.vid", kEditFrames / 2);
    const std::string target = Temp("merged.vid");
    if (!sv::MergeVideo(a, 1, b, target)) std::abort();
    ::unlink(target.c_str());
  });
  svbench::Kernel("plain copy (200 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string target = Temp("merged.raw");
    PlainCopy({{Film("a.vid", kEditFrames / 2), Range(0, kEditFrames / 2, 1)},
               {Film("b.vid", kEditFrames / 2), Range(0, kEditFrames / 2, 1)}},
              target);
    ::unlink(target.c_str());
  });
  svbench::TargetAgainst("film delete 2nd (200 -> 100 x 2 MB)", "plain copy (100 x 2 MB)", 1.3);
  svbench::TargetAgainst("film merge (100 + 100 x 2 MB)", "plain copy (200 x 2 MB)", 1.3);
}
