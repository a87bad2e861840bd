// Numbers: angles, shifts of sum buffers, 64-bit helpers for film offsets,
// the BASIC single <-> 4-byte string pair, the gap test, free disk space,
// millisecond ticks, and the 32-byte cells that carry a float inside a frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "image/kernel/kernel_types.h"

namespace sv {

// The angle of (x, y) in radians, -pi to pi; 0 for (0, 0).
float SV_atan2(float y, float x);

// Shifts the first `count` sums of a 32-bit buffer right by `shift` (0 to
// 31) in place, or into 16-bit samples that saturate at 65535. A buffer
// shorter than `count` or a shift outside 0..31 is refused.
bool SV_shr(size_t count, Samples32 buffer, int shift);
bool SV_shr(size_t count, ConstSamples32 buffer, Samples16 dest, int shift);

// Round to nearest, ties to even, as every float-to-integer step of the
// program does; NaN gives 0 and the ends of the 32-bit range hold.
long RoundEven(double value);

// Unsigned 64-bit product and sum (the sum wraps modulo 2^64).
uint64_t SV_UInt32x32To64(uint32_t a, uint32_t b);
uint64_t SV_UInt64plus64To64(uint64_t a, uint64_t b);

// A single as its four bytes (little-endian IEEE), and back. SV_cvs reads
// the first four bytes; a shorter text gives false (or 0).
std::string SV_mks(float value);
bool SV_cvs(std::string_view bytes, float& value);
float SV_cvs(std::string_view bytes);

// The gap of float arrays and sheet files.
inline constexpr uint32_t kGapBits = 0xFF80FFFFu;
float SV_GapValue();
// True for the gap and for every other not-a-number; false for infinities.
bool SV_IsNAVN(float value);
// The same test on the 32 bits as they lie in a file.
bool SV_IsNAVNBits(uint32_t bits);

// Free bytes for an unprivileged user on the file system of `folder`; -1 when
// it cannot be read.
int64_t SV_GetFreeDiskSpace(const std::string& folder);

// Millisecond ticks of a 32-bit clock that wraps every 49.7 days.
// SV_AddTime: the tick `ms` after `time`. SV_SubTime: the time from
// `earlier` to `later`, negative when `later` lies before it; right across
// the wrap for spans below 2^31 ms (24.8 days).
uint32_t SV_AddTime(uint32_t time, int32_t ms);
int32_t SV_SubTime(uint32_t later, uint32_t earlier);

// Numbers inside a frame: each float in a 32-byte cell. A cell reads
//   "SVF:" 8 hex digits of the float's bits, 8 hex digits of their
//   complement, then "~~~~~~~~~~~" and a zero byte,
// so that any bit pattern (NaN, infinity, denormal) comes back exactly and
// pixels or other bytes are not taken for a number.
inline constexpr size_t kCodeCellBytes = 32;
// Writes values.size() cells from the start of `destination`; false, with
// nothing written, when it has room for fewer.
bool SV_code(Samples8 destination, std::span<const float> values);
// Reads values.size() cells. A cell that is not such a number gives the gap
// and makes the result false; the others are still read. A source too small
// for all cells is refused with nothing written.
bool SV_decode(std::span<float> values, ConstSamples8 source);

}  // namespace sv
