// Packed little-endian records in a binary file, field by field, at the
// file's current position. Both sides keep the first failure: once a read
// runs past the end or a write fails, every later call does nothing and ok()
// stays false, so a record is written or read whole and checked once.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace sv {

class BinaryOut {
 public:
  BinaryOut() = default;
  ~BinaryOut();
  BinaryOut(const BinaryOut&) = delete;
  BinaryOut& operator=(const BinaryOut&) = delete;

  // Creates (or empties) the file.
  bool Create(const std::string& path);
  bool Close();  // false when anything failed
  bool ok() const { return ok_; }

  void Bytes(const void* data, size_t count);
  // The same for a large block: written straight to the file in one go, not
  // through the stream's own small buffer. Writes of either kind may follow.
  void Block(const void* data, size_t count);
  void U8(uint8_t v) { Bytes(&v, 1); }
  void I16(int16_t v);
  void I32(int32_t v);
  void U32(uint32_t v);
  void F32(float v);
  // A 16-bit length, then the characters.
  void Str(const std::string& s);
  // A fixed field: cut or padded with `pad` to `width` bytes.
  void Fixed(const std::string& s, size_t width, char pad);

 private:
  void Flush();
  std::FILE* f_ = nullptr;
  bool ok_ = false;
  std::string buffer_;
  bool seek_ = false;  // the stream is behind the file's end after a Block
};

class BinaryIn {
 public:
  BinaryIn() = default;
  ~BinaryIn();
  BinaryIn(const BinaryIn&) = delete;
  BinaryIn& operator=(const BinaryIn&) = delete;

  bool Open(const std::string& path);
  bool ok() const { return ok_; }
  uint64_t Size() const { return size_; }
  uint64_t Tell() const { return pos_; }
  bool AtEnd() const { return pos_ >= size_; }

  // Reads `count` bytes; on a short read the destination is zero-filled.
  bool Bytes(void* dest, size_t count);
  // The same for a large block: read straight from the file in one go, not
  // through the stream's own small buffer. Reads of either kind may follow.
  bool Block(void* dest, size_t count);
  uint8_t U8();
  int16_t I16();
  int32_t I32();
  uint32_t U32();
  float F32();
  // A 16-bit length, then the characters; a length past the end fails.
  std::string Str();
  std::string Fixed(size_t width);

 private:
  std::FILE* f_ = nullptr;
  bool ok_ = false;
  uint64_t size_ = 0, pos_ = 0;
  bool seek_ = false;  // the stream is behind pos_ after a Block
};

}  // namespace sv
