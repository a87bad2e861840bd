// Any bytes as a ".vid" film: the header test, the size test, opening with
// the labels and reading every frame must end without a crash; the repair
// of a copy must leave a film whose size and header agree, or, for a file
// that is no film, the copy as it was.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "video/class_sv2vid.h"
#include "video/film_files.h"
#include "video/film_repair.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_open_vid: %s\n", what);
    std::abort();
  }
}

void Write(const std::string& path, const uint8_t* data, size_t size) {
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  f.write(reinterpret_cast<const char*>(data), std::streamsize(size));
}

std::string Read(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), {});
}

// Frames larger than this are not read (the header may claim gigabytes).
constexpr uint32_t kMaxFrameBytes = 1u << 22;
constexpr long kMaxFrames = 64;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string base = "/tmp/fuzz_open_vid_" + std::to_string(::getpid());
  const std::string path = base + ".vid", copy = base + "_copy.vid";
  Write(path, data, size);

  // The header and the size test agree on what the file is.
  sv::VideoHeader header;
  uint32_t low = 0, high = 0;
  const int kind = sv::ReadVideoHeader(path, header, low, high);
  Check(kind == 1 || kind == 2, "an existing file opens");
  Check(low == size && high == 0, "the size");
  Check((kind == 2) == (sv::IsVideoFile(path) == 1 && size >= sv::kFilmFirstFrame),
        "a header behind every magic long enough");
  sv::FilmSizeCheck check;
  Check(sv::CheckFilmSize(path, check) == kind, "the size test reads the same header");

  // Open with the labels and read every frame, up to a cap.
  {
    sv::Class_SV2VID film;
    std::string name = path;
    const bool open =
        film.FileOpen(name, sv::kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false);
    Check(!open || (kind == 2 && sv::VideoHeaderValid(header)), "only a usable header opens");
    if (open) {
      Check(film.Cols() >= 0 && film.Cols() <= sv::kFilmMaxCols, "Cols");
      Check(film.Samples() == header.NumberOfPictures, "Samples");
      Check(film.Rate() > 0, "rate");
      if (film.FrameSize() <= kMaxFrameBytes) {
        std::vector<uint8_t> frame(film.FrameSize());
        for (long i = 0; i < film.Samples() && i < kMaxFrames; ++i) {
          uint32_t got = 0;
          Check(film.ReadFrame(uint32_t(i), frame.data(), got), "a frame reads");
          Check(got <= film.FrameSize(), "bytes read");
          for (long c = 0; c < film.Cols(); ++c) (void)film.ColData(c);
        }
      }
      Check(film.FileClose(), "closing a film read");
    }
  }
  Check(Read(path).size() == size, "reading leaves the file alone");

  // The repair of a copy.
  Write(copy, data, size);
  sv::FilmRepairResult result;
  std::string error;
  const bool repaired = sv::RepairFilm(copy, result, error);
  const std::string after = Read(copy);
  if (kind != 2 || check.frameBytes == 0) {
    Check(!repaired && !error.empty(), "no film, no repair");
    Check(after.size() == size && std::memcmp(after.data(), data, size) == 0, "untouched");
  } else {
    Check(repaired, "a film with a frame size is repaired");
    sv::FilmSizeCheck again;
    Check(sv::CheckFilmSize(copy, again) == 2 && again.Matches(), "size and header agree");
    Check(!result.changed || after.size() <= size, "only the tail is cut");
    Check(std::memcmp(after.data() + 16, data + 16, after.size() - 16) == 0,
          "only count and duration change");
    sv::FilmRepairResult twice;
    Check(sv::RepairFilm(copy, twice, error) && !twice.changed, "nothing to repair twice");
  }
  ::unlink(path.c_str());
  ::unlink(copy.c_str());
  return 0;
}
