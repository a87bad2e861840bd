#include "video/film_repair.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "image/kernel/numbers.h"
#include "video/class_sv2vid.h"
#include "video/film_files.h"

namespace sv {

uint64_t FilmFrameBytes(const VideoHeader& h) {
  if (h.Width <= 0 || h.Height <= 0) return 0;
  uint64_t bytes = uint64_t(h.Width) * uint64_t(h.Height);
  if (h.HasColors) bytes *= 3;
  if (h.BitsPerPixel > 8) bytes *= 2;
  return bytes;
}

int CheckFilmSize(const std::string& path, FilmSizeCheck& check) {
  check = FilmSizeCheck{};
  uint32_t low = 0, high = 0;
  const int read = ReadVideoHeader(path, check.header, low, high);
  check.fileSize = uint64_t(high) << 32 | low;
  if (read != 2) return read;
  const VideoHeader& h = check.header;
  check.headerFrames = h.NumberOfPictures;
  check.frameBytes = FilmFrameBytes(h);
  // A negative count matches no size: the repair sets it right.
  check.expectedSize = h.NumberOfPictures < 0
                           ? 0
                           : kFilmFirstFrame + uint64_t(h.NumberOfPictures) * check.frameBytes;
  if (check.frameBytes > 0 && check.fileSize > kFilmFirstFrame) {
    const uint64_t body = check.fileSize - kFilmFirstFrame;
    check.completeFrames = int64_t(body / check.frameBytes);
    check.tailBytes = body % check.frameBytes;
    const double exact = double(body) / double(check.frameBytes);
    check.roundedFrames = int64_t(RoundEven(exact));
    if (exact > double(LONG_MAX)) check.roundedFrames = LONG_MAX;
  }
  return 2;
}

bool WriteFilmFrameCount(const std::string& path, long frames) {
  if (frames < 0 || frames > INT32_MAX) return false;
  VideoHeader h;
  uint32_t low = 0, high = 0;
  if (ReadVideoHeader(path, h, low, high) != 2) return false;
  const float rate = RateFromHeader(h);
  uint8_t bytes[8];
  VideoHeader changed = h;
  changed.NumberOfPictures = int32_t(frames);
  changed.Duration = h.Duration < 1 ? h.Duration : DurationFor(frames, rate);
  uint8_t all[kFilmHeaderBytes];
  EncodeVideoHeader(changed, all);
  std::memcpy(bytes, all, sizeof bytes);  // count and duration only
  const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool ok = ::pwrite(fd, bytes, sizeof bytes, off_t(kFilmMagicBytes)) == ssize_t(sizeof bytes);
  return ::close(fd) == 0 && ok;
}

bool RepairFilm(const std::string& path, FilmRepairResult& result, std::string& error) {
  result = FilmRepairResult{};
  error.clear();
  FilmSizeCheck check;
  const int read = CheckFilmSize(path, check);
  if (read == 0) {
    error = "cannot open " + path;
    return false;
  }
  if (read == 1) {
    error = path + " is not a valid Film File";
    return false;
  }
  result.oldFrames = check.headerFrames;
  result.newFrames = check.headerFrames;
  if (check.frameBytes == 0) {
    error = path + ": the header gives no frame size";
    return false;
  }
  if (check.completeFrames > INT32_MAX) {
    error = path + ": more frames than a header can count";
    return false;
  }
  if (check.Matches()) return true;
  result.newFrames = long(check.completeFrames);
  result.cutBytes = check.tailBytes;
  result.changed = true;
  if (check.tailBytes > 0) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    const off_t size = off_t(kFilmFirstFrame + uint64_t(check.completeFrames) * check.frameBytes);
    const bool cut = fd >= 0 && ::ftruncate(fd, size) == 0;
    const int code = errno;
    if (fd >= 0) ::close(fd);
    if (!cut) {
      error = "cannot cut " + path + ": " + std::strerror(code);
      result.changed = false;
      return false;
    }
  }
  if (result.newFrames != result.oldFrames && !WriteFilmFrameCount(path, result.newFrames)) {
    error = "cannot write the header of " + path;
    return false;
  }
  return true;
}

}  // namespace sv
