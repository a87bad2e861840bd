#include "core/binary_file.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace sv {

namespace {
constexpr size_t kFlushAt = 64 << 10;
}

BinaryOut::~BinaryOut() {
  if (f_) std::fclose(f_);
}

bool BinaryOut::Create(const std::string& path) {
  if (f_) std::fclose(f_);
  buffer_.clear();
  seek_ = false;
  f_ = std::fopen(path.c_str(), "wb");
  ok_ = f_ != nullptr;
  return ok_;
}

void BinaryOut::Flush() {
  if (ok_ && seek_) {
    // The file is written front to back: the stream goes on at its end.
    if (std::fseek(f_, 0, SEEK_END) != 0) ok_ = false;
    seek_ = false;
  }
  if (ok_ && !buffer_.empty() && std::fwrite(buffer_.data(), 1, buffer_.size(), f_) != buffer_.size())
    ok_ = false;
  buffer_.clear();
}

void BinaryOut::Block(const void* data, size_t count) {
  if (!ok_ || count == 0) return;
  if (!seek_ || !buffer_.empty()) {
    // What the stream holds goes first.
    Flush();
    if (ok_ && std::fflush(f_) != 0) ok_ = false;
  }
  const int fd = ok_ ? ::fileno(f_) : -1;
  size_t done = 0;
  while (ok_ && done < count) {
    const ssize_t put = ::write(fd, static_cast<const char*>(data) + done, count - done);
    if (put > 0)
      done += size_t(put);
    else if (put < 0 && errno == EINTR)
      continue;
    else
      ok_ = false;
  }
  seek_ = true;
}

bool BinaryOut::Close() {
  if (!f_) return false;
  Flush();
  if (std::fclose(f_) != 0) ok_ = false;
  f_ = nullptr;
  return ok_;
}

void BinaryOut::Bytes(const void* data, size_t count) {
  if (!ok_ || count == 0) return;
  if (count >= kFlushAt) {
    // A large block goes out from where it lies.
    Flush();
    if (ok_ && std::fwrite(data, 1, count, f_) != count) ok_ = false;
    return;
  }
  buffer_.append(static_cast<const char*>(data), count);
  if (buffer_.size() >= kFlushAt) Flush();
}

void BinaryOut::I16(int16_t v) {
  const uint8_t b[2] = {uint8_t(v), uint8_t(uint16_t(v) >> 8)};
  Bytes(b, 2);
}

void BinaryOut::U32(uint32_t v) {
  const uint8_t b[4] = {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
  Bytes(b, 4);
}

void BinaryOut::I32(int32_t v) { U32(uint32_t(v)); }

void BinaryOut::F32(float v) {
  uint32_t bits;
  std::memcpy(&bits, &v, 4);
  U32(bits);
}

void BinaryOut::Str(const std::string& s) {
  const size_t n = std::min<size_t>(s.size(), 0xFFFF);
  I16(int16_t(uint16_t(n)));
  Bytes(s.data(), n);
}

void BinaryOut::Fixed(const std::string& s, size_t width, char pad) {
  std::string field = s.substr(0, width);
  field.resize(width, pad);
  Bytes(field.data(), width);
}

BinaryIn::~BinaryIn() {
  if (f_) std::fclose(f_);
}

bool BinaryIn::Open(const std::string& path) {
  if (f_) std::fclose(f_);
  pos_ = size_ = 0;
  seek_ = false;
  f_ = std::fopen(path.c_str(), "rb");
  ok_ = f_ != nullptr;
  if (!ok_) return false;
  if (std::fseek(f_, 0, SEEK_END) != 0) return ok_ = false;
  const long end = std::ftell(f_);
  if (end < 0 || std::fseek(f_, 0, SEEK_SET) != 0) return ok_ = false;
  size_ = uint64_t(end);
  return true;
}

bool BinaryIn::Bytes(void* dest, size_t count) {
  if (ok_ && count > size_ - std::min(pos_, size_)) ok_ = false;
  if (ok_ && seek_) {
    if (std::fseek(f_, long(pos_), SEEK_SET) != 0) ok_ = false;
    seek_ = false;
  }
  if (ok_ && count && std::fread(dest, 1, count, f_) != count) ok_ = false;
  if (!ok_) {
    std::memset(dest, 0, count);
    return false;
  }
  pos_ += count;
  return true;
}

bool BinaryIn::Block(void* dest, size_t count) {
  if (ok_ && count > size_ - std::min(pos_, size_)) ok_ = false;
  // Where the stream has read ahead, the file is read at pos_ itself.
  const int fd = ok_ ? ::fileno(f_) : -1;
  size_t done = 0;
  while (ok_ && done < count) {
    const ssize_t got = ::pread(fd, static_cast<char*>(dest) + done, count - done,
                                off_t(pos_ + done));
    if (got > 0)
      done += size_t(got);
    else if (got < 0 && errno == EINTR)
      continue;
    else
      ok_ = false;
  }
  if (!ok_) {
    std::memset(dest, 0, count);
    return false;
  }
  pos_ += count;
  seek_ = true;
  return true;
}

uint8_t BinaryIn::U8() {
  uint8_t v = 0;
  Bytes(&v, 1);
  return v;
}

int16_t BinaryIn::I16() {
  uint8_t b[2];
  Bytes(b, 2);
  return int16_t(uint16_t(b[0] | b[1] << 8));
}

uint32_t BinaryIn::U32() {
  uint8_t b[4];
  Bytes(b, 4);
  return uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
}

int32_t BinaryIn::I32() { return int32_t(U32()); }

float BinaryIn::F32() {
  const uint32_t bits = U32();
  float v;
  std::memcpy(&v, &bits, 4);
  return v;
}

std::string BinaryIn::Str() {
  const size_t n = uint16_t(I16());
  return Fixed(n);
}

std::string BinaryIn::Fixed(size_t width) {
  if (!ok_ || width > size_ - std::min(pos_, size_)) {
    ok_ = false;
    return {};
  }
  std::string s(width, '\0');
  Bytes(s.data(), width);
  return s;
}

}  // namespace sv
