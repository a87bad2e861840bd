#include "video/class_sv2vid.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/host.h"
#include "core/text_1252.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

void PutI32(uint8_t* p, int32_t v) {
  const uint32_t u = uint32_t(v);
  for (int i = 0; i < 4; ++i) p[i] = uint8_t(u >> (8 * i));
}
void PutI16(uint8_t* p, int16_t v) {
  const uint16_t u = uint16_t(v);
  p[0] = uint8_t(u);
  p[1] = uint8_t(u >> 8);
}
int32_t GetI32(const uint8_t* p) {
  return int32_t(uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 |
                 uint32_t(p[3]) << 24);
}
int16_t GetI16(const uint8_t* p) { return int16_t(uint16_t(p[0] | p[1] << 8)); }

// The whole of `count` bytes at `offset`: one call as a rule, more only when
// the system hands back less (a signal, the end of the file, a full disk).
// Returns the bytes moved; -1 with errno on a failure before any.
ssize_t ReadAt(int fd, void* buffer, size_t count, uint64_t offset) {
  size_t done = 0;
  while (done < count) {
    const ssize_t n = ::pread(fd, static_cast<uint8_t*>(buffer) + done, count - done,
                              off_t(offset + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      return done ? ssize_t(done) : -1;
    }
    if (n == 0) break;
    done += size_t(n);
  }
  return ssize_t(done);
}

bool WriteAt(int fd, const void* buffer, size_t count, uint64_t offset) {
  size_t done = 0;
  while (done < count) {
    const ssize_t n = ::pwrite(fd, static_cast<const uint8_t*>(buffer) + done, count - done,
                               off_t(offset + done));
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (n == 0) {
      errno = ENOSPC;
      return false;
    }
    done += size_t(n);
  }
  return true;
}

// The offsets the system takes are signed 64-bit.
constexpr uint64_t kMaxOffset = uint64_t(std::numeric_limits<off_t>::max());

void StopMessage(const std::string& title, int code) {
  if (HasHost())
    host().MsgBox("ErrorCode = " + std::to_string(code), MsgButtons::OK, MsgIcon::Critical, title);
}

}  // namespace

void EncodeVideoHeader(const VideoHeader& h, uint8_t* b) {
  PutI32(b + 0, h.NumberOfPictures);
  PutI32(b + 4, h.Duration);
  PutI32(b + 8, h.Width);
  PutI32(b + 12, h.Height);
  PutI16(b + 16, h.BitsPerPixel);
  PutI16(b + 18, h.HasColors);
  PutI16(b + 20, h.Cols);
  PutI16(b + 22, h.Reserved);
  std::memcpy(b + 24, h.Text.data(), kFilmLabelBytes);
}

VideoHeader DecodeVideoHeader(const uint8_t* b) {
  VideoHeader h;
  h.NumberOfPictures = GetI32(b + 0);
  h.Duration = GetI32(b + 4);
  h.Width = GetI32(b + 8);
  h.Height = GetI32(b + 12);
  h.BitsPerPixel = GetI16(b + 16);
  h.HasColors = GetI16(b + 18);
  h.Cols = GetI16(b + 20);
  h.Reserved = GetI16(b + 22);
  std::memcpy(h.Text.data(), b + 24, kFilmLabelBytes);
  return h;
}

bool VideoHeaderValid(const VideoHeader& h) {
  return h.NumberOfPictures > 0 && h.BitsPerPixel >= 8 && h.Width > 0 && h.Height > 0;
}

uint64_t CreateFrameSize(long width, long height, long bits, bool colours) {
  const int64_t w = width, h = height;
  if (w <= 0 || h <= 0) return 0;
  // Lines of 8-bit films are rounded down to a multiple of 4 bytes.
  if (bits <= 8) return uint64_t(((colours ? w * 3 : w) | 3) & -4) * uint64_t(h);
  return uint64_t(w) * 2 * uint64_t(h);
}

uint64_t ReadFrameSize(long width, long height, long bits) {
  const int64_t w = width, h = height;
  if (w <= 0 || h <= 0) return 0;
  if (bits < 9) return uint64_t(w & -4) * uint64_t(h);
  return uint64_t(w) * uint64_t(h) * 2;
}

float RateFromHeader(const VideoHeader& h) {
  if (h.Duration < 1) return kFilmDefaultRate;
  return float(double(h.NumberOfPictures) * 1000.0 / double(h.Duration));
}

int32_t DurationFor(long frames, float rate) {
  if (!(rate > 0) || !std::isfinite(rate)) rate = kFilmDefaultRate;
  return int32_t(RoundEven(double(frames) * 1000.0 / double(rate)));
}

std::vector<std::string> SplitFilmLabels(const VideoHeader& h) {
  std::vector<std::string> labels(size_t(std::clamp<int>(h.Cols, 0, kFilmMaxCols)));
  size_t at = 0;
  for (std::string& label : labels) {
    const char* start = h.Text.data() + at;
    const void* nul = std::memchr(start, '\0', kFilmLabelBytes - at);
    if (!nul) {
      label = Utf8FromWindows1252(std::string_view(start, kFilmLabelBytes - at));
      break;
    }
    const size_t length = size_t(static_cast<const char*>(nul) - start);
    label = Utf8FromWindows1252(std::string_view(start, length));
    at += length + 1;
    if (at >= kFilmLabelBytes) break;
  }
  return labels;
}

Class_SV2VID::~Class_SV2VID() { FileClose(); }

float Class_SV2VID::ColData(long index) const {
  if (index < 0 || index >= Cols()) return 0.0f;
  return colData_[size_t(index)];
}

void Class_SV2VID::ColData(long index, float value) {
  if (index < 0 || index >= Cols()) return;
  colData_[size_t(index)] = value;
}

void Class_SV2VID::Cols(long count) {
  if (count < 1) {
    colData_.clear();
    colLabel_.clear();
    return;
  }
  if (count > kFilmMaxCols) count = kFilmMaxCols;
  colData_.resize(size_t(count), 0.0f);
  colLabel_.resize(size_t(count));
}

std::string Class_SV2VID::ColLabel(long index) const {
  if (index < 0 || index >= Cols()) return "";
  return colLabel_[size_t(index)];
}

void Class_SV2VID::ColLabel(long index, const std::string& label) {
  if (index < 0 || index >= Cols()) return;
  colLabel_[size_t(index)] = label;
}

void Class_SV2VID::PackLabels() {
  header_.Text.fill('\0');
  header_.Cols = int16_t(Cols());
  size_t at = 0;
  // Each label and its NUL; what does not fit is cut, also inside a label.
  for (const std::string& label : colLabel_) {
    const std::string bytes = Windows1252FromUtf8(label);
    for (size_t i = 0; i <= bytes.size() && at < kFilmLabelBytes; ++i)
      header_.Text[at++] = i < bytes.size() ? bytes[i] : '\0';
    if (at >= kFilmLabelBytes) break;
  }
}

bool Class_SV2VID::SaveHeader() {
  if (fd_ < 0 || readOnly_) return false;
  PackLabels();
  header_.Duration = DurationFor(header_.NumberOfPictures, rate_);
  uint8_t bytes[kFilmHeaderBytes];
  EncodeVideoHeader(header_, bytes);
  return WriteAt(fd_, bytes, sizeof bytes, kFilmMagicBytes);
}

bool Class_SV2VID::FlushFileBuffer() { return fd_ >= 0 && ::fdatasync(fd_) == 0; }

bool Class_SV2VID::FileClose() {
  if (fd_ < 0) return true;
  // A film opened for reading cannot have changed in the file.
  const bool saved = readOnly_ || SaveHeader();
  const bool closed = ::close(fd_) == 0;
  fd_ = -1;
  readOnly_ = false;
  filename_.clear();
  return saved && closed;
}

bool Class_SV2VID::FileSize(uint32_t& low, uint32_t& high) const {
  low = high = 0;
  struct stat st {};
  if (fd_ < 0 || ::fstat(fd_, &st) != 0) return false;
  const uint64_t size = uint64_t(st.st_size);
  low = uint32_t(size);
  high = uint32_t(size >> 32);
  return true;
}

bool Class_SV2VID::NumericData(const std::vector<std::string>& labels) {
  Cols(long(std::min<size_t>(labels.size(), kFilmMaxCols)));
  for (size_t i = 0; i < colLabel_.size(); ++i) colLabel_[i] = labels[i];
  return SaveHeader();
}

bool Class_SV2VID::WriteFrame(uint32_t index, const void* buffer) {
  if (fd_ < 0) return false;
  const uint64_t offset = SV_UInt64plus64To64(kFilmFirstFrame, SV_UInt32x32To64(index, frameSize_));
  if (offset > kMaxOffset - frameSize_) {
    StopMessage("SetFilePointer", EOVERFLOW);
    return false;
  }
  if (!WriteAt(fd_, buffer, frameSize_, offset)) {
    StopMessage("WriteFile", errno);
    return false;
  }
  if (int64_t(index) >= int64_t(header_.NumberOfPictures))
    header_.NumberOfPictures = int32_t(std::min<int64_t>(int64_t(index) + 1, INT32_MAX));
  return true;
}

bool Class_SV2VID::ReadFrame(uint32_t index, void* buffer, uint32_t& bytesRead) {
  bytesRead = 0;
  if (fd_ < 0) return false;
  const uint64_t offset = SV_UInt64plus64To64(kFilmFirstFrame, SV_UInt32x32To64(index, frameSize_));
  if (offset > kMaxOffset - frameSize_) return false;
  const ssize_t n = ReadAt(fd_, buffer, frameSize_, offset);
  if (n < 0) return false;
  bytesRead = uint32_t(n);
  // Past the end of the file a frame reads as zeros, like a gap inside it.
  if (bytesRead < frameSize_)
    std::memset(static_cast<uint8_t*>(buffer) + bytesRead, 0, frameSize_ - bytesRead);
  if (!colData_.empty()) {
    const uint8_t* frame = static_cast<const uint8_t*>(buffer);
    const size_t cells = frameSize_ > kCodeCellBytes ? frameSize_ - kCodeCellBytes : 0;
    // Cells that do not fit the frame read as the gap.
    std::fill(colData_.begin(), colData_.end(), SV_GapValue());
    const size_t fit = std::min(colData_.size(), cells / kCodeCellBytes);
    SV_decode(std::span<float>(colData_.data(), fit),
              ConstSamples8(frame + kCodeCellBytes, fit * kCodeCellBytes));
  }
  return true;
}

bool Class_SV2VID::OpenForReading(const std::string& filename, int mode, long* width,
                                  long* height, long* bits, float* rate) {
  const int fd = ::open(filename.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char magic[kFilmMagicBytes];
  uint8_t bytes[kFilmHeaderBytes];
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
      ReadAt(fd, magic, sizeof magic, 0) != ssize_t(sizeof magic) ||
      std::memcmp(magic, kFilmMagic, sizeof magic) != 0 ||
      ReadAt(fd, bytes, sizeof bytes, kFilmMagicBytes) != ssize_t(sizeof bytes)) {
    ::close(fd);
    return false;
  }
  const VideoHeader h = DecodeVideoHeader(bytes);
  const uint64_t frameSize = ReadFrameSize(h.Width, h.Height, h.BitsPerPixel);
  // A frame must fit the 32 bits that index and size are counted in.
  if (!VideoHeaderValid(h) || frameSize > UINT32_MAX) {
    ::close(fd);
    return false;
  }
  fd_ = fd;
  readOnly_ = true;
  header_ = h;
  frameSize_ = uint32_t(frameSize);
  rate_ = RateFromHeader(h);
  filename_ = filename;
  if (mode == kFilmOpenRead) {
    if (width) *width = h.Width;
    if (height) *height = h.Height;
    if (bits) *bits = h.BitsPerPixel;
    if (rate) *rate = rate_;
    return true;
  }
  // Test and read: the labels come along.
  const std::vector<std::string> labels = SplitFilmLabels(h);
  Cols(long(labels.size()));
  colLabel_ = labels;
  return true;
}

bool Class_SV2VID::OpenForWriting(const std::string& filename, int mode, long width, long height,
                                  long bits, float* rate, bool hasColors) {
  const uint64_t frameSize = CreateFrameSize(width, height, bits, hasColors);
  if (frameSize > UINT32_MAX) return false;
  header_ = VideoHeader{};
  header_.Width = int32_t(width);
  header_.Height = int32_t(height);
  header_.BitsPerPixel = int16_t(bits);
  header_.HasColors = hasColors ? 1 : 0;
  Cols(0);
  frameSize_ = uint32_t(frameSize);
  float r = rate ? *rate : 0.0f;
  if (!(r > 0) || !std::isfinite(r)) r = kFilmDefaultRate;
  rate_ = r;
  if (rate) *rate = r;

  if (!(mode & kFilmOpenCreate)) {
    // Appending goes on only behind a film of the same format; anything
    // else starts a new film in the same file.
    Class_SV2VID old;
    std::string name = filename;
    long w = 0, h = 0, b = 0;
    if (old.FileOpen(name, kFilmOpenRead, &w, &h, &b, nullptr, false) && old.HasColors() == hasColors &&
        b == bits && w == width && h == height)
      header_.NumberOfPictures = int32_t(old.NumberOfPictures());
    else
      mode |= kFilmOpenCreate;
  }

  const int flags = O_RDWR | O_CREAT | O_CLOEXEC | ((mode & kFilmOpenCreate) ? O_TRUNC : 0);
  const int fd = ::open(filename.c_str(), flags, 0666);
  if (fd < 0) return false;
  fd_ = fd;
  readOnly_ = false;
  filename_ = filename;
  if (WriteAt(fd_, kFilmMagic, kFilmMagicBytes, 0) && SaveHeader()) return true;
  FileClose();
  return false;
}

bool Class_SV2VID::FileOpen(std::string& filename, int mode, long* width, long* height, long* bits,
                            float* rate, bool hasColors) {
  FileClose();
  if (mode == kFilmOpenDelete) return ::unlink(filename.c_str()) == 0;
  if (mode == kFilmOpenRead || mode == kFilmOpenExist)
    return OpenForReading(filename, mode, width, height, bits, rate);
  if (mode & 3)
    return OpenForWriting(filename, mode, width ? *width : 0, height ? *height : 0, bits ? *bits : 0,
                          rate, hasColors);
  return false;
}

std::unique_ptr<VideoFile> NewVIDFile() { return std::make_unique<Class_SV2VID>(); }

}  // namespace sv
