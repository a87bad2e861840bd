#include "image/kernel/numbers.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "image/kernel/cpu_paths.h"

namespace sv {

long RoundEven(double value) {
  if (!std::isfinite(value)) return 0;
  if (value > 2147483647.0) return 2147483647L;
  if (value < -2147483648.0) return -2147483647L - 1;
  return long(std::nearbyint(value));
}

namespace {

constexpr char kCellMark[] = "SVF:";
constexpr char kCellTail[] = "~~~~~~~~~~~";  // 11 characters and the zero byte
constexpr char kHex[] = "0123456789ABCDEF";
static_assert(4 + 8 + 8 + sizeof kCellTail == kCodeCellBytes);

void PutHex(uint8_t* out, uint32_t v) {
  for (int i = 7; i >= 0; --i, v >>= 4) out[i] = uint8_t(kHex[v & 0xF]);
}

// Eight upper-case hex digits; anything else is refused.
bool GetHex(const uint8_t* in, uint32_t& v) {
  v = 0;
  for (int i = 0; i < 8; ++i) {
    const uint8_t c = in[i];
    uint32_t d;
    if (c >= '0' && c <= '9') d = uint32_t(c - '0');
    else if (c >= 'A' && c <= 'F') d = uint32_t(c - 'A' + 10);
    else return false;
    v = (v << 4) | d;
  }
  return true;
}

bool DecodeCell(const uint8_t* cell, uint32_t& bits) {
  uint32_t check;
  return std::memcmp(cell, kCellMark, 4) == 0 && GetHex(cell + 4, bits) &&
         GetHex(cell + 12, check) && check == ~bits &&
         std::memcmp(cell + 20, kCellTail, sizeof kCellTail) == 0;
}

SV_INLINE void Shift(size_t n, uint32_t* b, int shift) {
  for (size_t i = 0; i < n; ++i) b[i] >>= shift;
}

SV_INLINE void Narrow(size_t n, const uint32_t* b, uint16_t* d, int shift) {
  for (size_t i = 0; i < n; ++i) {
    const uint32_t v = b[i] >> shift;
    d[i] = uint16_t(v < 65535u ? v : 65535u);
  }
}

SV_AVX2 void ShiftAvx2(size_t n, uint32_t* b, int shift) { Shift(n, b, shift); }
void ShiftBase(size_t n, uint32_t* b, int shift) { Shift(n, b, shift); }
SV_AVX2 void NarrowAvx2(size_t n, const uint32_t* b, uint16_t* d, int shift) {
  cpu::Streamed(n, [=](size_t m, size_t i) SV_INLINE_LAMBDA { Narrow(m, b + i, d + i, shift); }, b, d);
}
void NarrowBase(size_t n, const uint32_t* b, uint16_t* d, int shift) { Narrow(n, b, d, shift); }

}  // namespace

float SV_atan2(float y, float x) {
  if (x == 0.0f && y == 0.0f) return 0.0f;
  return float(std::atan2(double(y), double(x)));
}

bool SV_shr(size_t count, Samples32 buffer, int shift) {
  if (buffer.size() < count || shift < 0 || shift > 31) return false;
  (cpu::HaveAvx2() ? ShiftAvx2 : ShiftBase)(count, buffer.data(), shift);
  return true;
}

bool SV_shr(size_t count, ConstSamples32 buffer, Samples16 dest, int shift) {
  if (buffer.size() < count || dest.size() < count || shift < 0 || shift > 31) return false;
  (cpu::HaveAvx2() ? NarrowAvx2 : NarrowBase)(count, buffer.data(), dest.data(), shift);
  return true;
}

uint64_t SV_UInt32x32To64(uint32_t a, uint32_t b) { return uint64_t(a) * uint64_t(b); }

uint64_t SV_UInt64plus64To64(uint64_t a, uint64_t b) { return a + b; }

std::string SV_mks(float value) {
  const uint32_t bits = std::bit_cast<uint32_t>(value);
  std::string s(4, '\0');
  for (int i = 0; i < 4; ++i) s[size_t(i)] = char((bits >> (8 * i)) & 0xFF);
  return s;
}

bool SV_cvs(std::string_view bytes, float& value) {
  if (bytes.size() < 4) return false;
  uint32_t bits = 0;
  for (int i = 0; i < 4; ++i) bits |= uint32_t(uint8_t(bytes[size_t(i)])) << (8 * i);
  value = std::bit_cast<float>(bits);
  return true;
}

float SV_cvs(std::string_view bytes) {
  float v = 0.0f;
  return SV_cvs(bytes, v) ? v : 0.0f;
}

float SV_GapValue() { return std::bit_cast<float>(kGapBits); }

// On the bits, so that a build with fast maths cannot optimise the test away.
bool SV_IsNAVNBits(uint32_t bits) { return (bits & 0x7F800000u) == 0x7F800000u && (bits & 0x007FFFFFu) != 0; }

bool SV_IsNAVN(float value) { return SV_IsNAVNBits(std::bit_cast<uint32_t>(value)); }

int64_t SV_GetFreeDiskSpace(const std::string& folder) {
  if (folder.empty()) return -1;
  std::string path = folder;
  std::replace(path.begin(), path.end(), '\\', '/');
  struct statvfs st {};
  if (statvfs(path.c_str(), &st) != 0) return -1;
  return static_cast<int64_t>(st.f_bavail) * static_cast<int64_t>(st.f_frsize);
}

uint32_t SV_AddTime(uint32_t time, int32_t ms) { return time + static_cast<uint32_t>(ms); }

int32_t SV_SubTime(uint32_t later, uint32_t earlier) {
  return static_cast<int32_t>(later - earlier);  // modulo 2^32, read as signed
}

bool SV_code(Samples8 destination, std::span<const float> values) {
  if (values.size() > destination.size() / kCodeCellBytes) return false;
  uint8_t* cell = destination.data();
  for (float v : values) {
    const uint32_t bits = std::bit_cast<uint32_t>(v);
    std::memcpy(cell, kCellMark, 4);
    PutHex(cell + 4, bits);
    PutHex(cell + 12, ~bits);
    std::memcpy(cell + 20, kCellTail, sizeof kCellTail);
    cell += kCodeCellBytes;
  }
  return true;
}

bool SV_decode(std::span<float> values, ConstSamples8 source) {
  if (values.size() > source.size() / kCodeCellBytes) return false;
  bool all = true;
  const uint8_t* cell = source.data();
  for (float& v : values) {
    uint32_t bits;
    if (DecodeCell(cell, bits)) {
      v = std::bit_cast<float>(bits);
    } else {
      v = SV_GapValue();
      all = false;
    }
    cell += kCodeCellBytes;
  }
  return all;
}

}  // namespace sv
