// The pieces the image file readers and writers share: checked file access
// in large steps, progress with the event pump, size limits, and the first
// and last steps of every reader.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/globals.h"
#include "core/host.h"
#include "image/form_camera.h"

namespace sv::image_io {

// Larger pictures are refused before anything is allocated.
constexpr uint64_t kMaxPixelBytes = uint64_t(1) << 30;
constexpr long kMaxSide = 1L << 20;
// Progress goes to the status line this often.
constexpr uint32_t kProgressMs = 250;
// Samples of the depth scan between looks at the top bit.
constexpr size_t kScanBlock = 8192;

inline std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

inline uint16_t Word(const uint8_t* p) { return uint16_t(p[0] | (p[1] << 8)); }
inline uint32_t Long(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
inline void PutWord(std::string& s, uint32_t v) {
  s += char(v & 0xFF);
  s += char((v >> 8) & 0xFF);
}
inline void PutLong(std::string& s, uint32_t v) {
  PutWord(s, v & 0xFFFF);
  PutWord(s, v >> 16);
}

// A modal message with an OK button, when there is a host to show it.
void Message(const std::string& text, const std::string& title);

// A file opened for reading; every read is checked against its size. The
// first block is kept in memory, so the many small reads of a header or a
// directory cost no system call; the pixels are read straight into place.
class InFile {
 public:
  ~InFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  bool Open(const std::string& path) {
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) return false;
    struct stat st {};
    if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) return false;
    size_ = uint64_t(st.st_size);
    head_.resize(size_t(std::min<uint64_t>(size_, kHeadBytes)));
    return Read(0, head_.data(), head_.size());
  }
  uint64_t Size() const { return size_; }
  bool Fits(uint64_t offset, uint64_t bytes) const {
    return offset <= size_ && bytes <= size_ - offset;
  }
  bool ReadAt(uint64_t offset, void* dest, uint64_t bytes) {
    if (!Fits(offset, bytes)) return false;
    auto* out = static_cast<uint8_t*>(dest);
    if (offset < head_.size()) {
      const uint64_t n = std::min<uint64_t>(bytes, head_.size() - offset);
      std::memcpy(out, head_.data() + offset, size_t(n));
      offset += n;
      out += n;
      bytes -= n;
    }
    return Read(offset, out, bytes);
  }

 private:
  static constexpr uint64_t kHeadBytes = 16 << 10;
  bool Read(uint64_t offset, uint8_t* out, uint64_t bytes) {
    while (bytes > 0) {
      const ssize_t n = ::pread(fd_, out, size_t(std::min<uint64_t>(bytes, 1u << 30)), off_t(offset));
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return false;  // the file shrank under us
      offset += uint64_t(n);
      out += n;
      bytes -= uint64_t(n);
    }
    return true;
  }
  int fd_ = -1;
  uint64_t size_ = 0;
  std::vector<uint8_t> head_;
};

// A file created for writing; the first failure sticks. Small pieces (a
// header, a line of text) gather in memory and go out with the next large
// block in one system call; large blocks are written from where they lie.
class OutFile {
 public:
  ~OutFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  bool Create(const std::string& path) {
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    ok_ = fd_ >= 0;
    return ok_;
  }
  void Write(const void* data, size_t bytes) {
    if (!ok_ || bytes == 0) return;
    if (pending_.size() + bytes <= kGather) {
      pending_.append(static_cast<const char*>(data), bytes);
      return;
    }
    Put(data, bytes);
  }
  void Write(const std::string& s) { Write(s.data(), s.size()); }
  bool Close() {
    if (fd_ < 0) return false;
    if (!pending_.empty()) Put(nullptr, 0);
    if (::close(fd_) != 0) ok_ = false;
    fd_ = -1;
    return ok_;
  }
  bool ok() const { return ok_; }

 private:
  static constexpr size_t kGather = 64 << 10;
  // The gathered bytes, then `bytes` from `data`, to the end.
  void Put(const void* data, size_t bytes) {
    iovec parts[2] = {{pending_.data(), pending_.size()}, {const_cast<void*>(data), bytes}};
    int first = pending_.empty() ? 1 : 0;
    while (ok_ && first < 2) {
      const ssize_t n = ::writev(fd_, parts + first, 2 - first);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        ok_ = false;  // a full disk, or the medium gone
        break;
      }
      size_t left = size_t(n);
      while (first < 2 && left >= parts[first].iov_len) left -= parts[first++].iov_len;
      if (first < 2) {
        parts[first].iov_base = static_cast<char*>(parts[first].iov_base) + left;
        parts[first].iov_len -= left;
      }
      while (first < 2 && parts[first].iov_len == 0) ++first;
    }
    pending_.clear();
  }
  int fd_ = -1;
  bool ok_ = false;
  std::string pending_;
};

// Progress in the status line every 250 ms, with the event pump; false once
// the cancel flag is down.
class Progress {
 public:
  explicit Progress(std::string text) : text_(std::move(text)) {
    if (HasHost()) last_ = host().TimeGetTime();
  }
  bool Step(uint64_t done, uint64_t total) {
    if (!HasHost()) return G().LoadOK;
    const uint32_t now = host().TimeGetTime();
    if (uint32_t(now - last_) >= kProgressMs) {
      last_ = now;
      const int percent = total ? int(std::min<uint64_t>(100, done * 100 / total)) : 0;
      host().ShowStatus(text_, percent);
      host().DoEvents();
    }
    return G().LoadOK;
  }

 private:
  std::string text_;
  uint32_t last_ = 0;
};

// Rows per step of the big reads and writes: about 1 MB, at least one line.
uint64_t RowsPerStep(uint64_t lineBytes);
bool SizeOk(uint64_t width, uint64_t height, uint64_t bytesPerPixel);
// The smallest depth from 8 to 16 bits that holds every sample, from the
// bits used by any of them.
long FittedBits(uint16_t any);
// Gives the image its new shape; false when the memory is not there.
bool Shape(Form_Camera& image, long width, long height, bool colour);
// The last step of every reader: depth, limits, the display copy.
void Finish(Form_Camera& image, long bits);
void GreyRamp(RGBQuad* colors, bool falling);
std::string FileName(const std::string& path);
std::string Hex(uint32_t v);

// The samples of a mono image, or the grey of a colour one, top line first.
std::vector<uint16_t> MonoSamples(const Form_Camera& image);
// The 8-bit picture of the 8-bit filters, top line first, unpadded: grey
// bytes, or R, G, B. An image of 8 bits or fewer gives its samples; a deeper
// one what the display shows.
std::vector<uint8_t> Bytes8(const Form_Camera& image);
bool Writable(const Form_Camera& image);
// Writes a block of lines with progress; false on a write error.
bool WriteLines(OutFile& out, const void* data, uint64_t lineBytes, uint64_t lines,
                const std::string& path);

}  // namespace sv::image_io
