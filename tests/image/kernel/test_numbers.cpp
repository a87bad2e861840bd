#include "image/kernel/numbers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <numbers>
#include <vector>

namespace sv {
namespace {

float FromBits(uint32_t bits) { return std::bit_cast<float>(bits); }
uint32_t Bits(float v) { return std::bit_cast<uint32_t>(v); }

TEST(KernelTime, AddAndSubtractAcrossTheWrap) {
  const uint32_t beforeWrap = 0xFFFFFF00u;
  EXPECT_EQ(SV_AddTime(beforeWrap, 0x200), 0x100u);
  EXPECT_EQ(SV_AddTime(0x100u, -0x200), beforeWrap);
  EXPECT_EQ(SV_SubTime(0x100u, beforeWrap), 0x200);
  EXPECT_EQ(SV_SubTime(beforeWrap, 0x100u), -0x200);  // earlier: negative
  EXPECT_EQ(SV_SubTime(5u, 5u), 0);

  // A deadline that lies beyond the wrap: not yet passed just before the
  // wrap, passed just after the deadline.
  const uint32_t deadline = SV_AddTime(0xFFFFFFF0u, 100);
  EXPECT_LT(SV_SubTime(0xFFFFFFFFu, deadline), 0);
  EXPECT_LT(SV_SubTime(0x50u, deadline), 0);
  EXPECT_GE(SV_SubTime(0x54u, deadline), 0);
  EXPECT_EQ(SV_SubTime(0x54u, 0xFFFFFFF0u), 100);
}

TEST(KernelGap, EveryNaNButNoInfinity) {
  EXPECT_EQ(Bits(SV_GapValue()), kGapBits);
  EXPECT_TRUE(SV_IsNAVN(SV_GapValue()));
  EXPECT_TRUE(SV_IsNAVNBits(0xFF80FFFFu));
  EXPECT_FALSE(SV_IsNAVNBits(0xFF800000u));
  // Signalling with the smallest payload, negative quiet, the largest NaN.
  for (float nan : {FromBits(0xFF80FFFFu), std::numeric_limits<float>::quiet_NaN(),
                    FromBits(0x7F800001u), FromBits(0xFFC00000u), FromBits(0x7FFFFFFFu)})
    EXPECT_TRUE(SV_IsNAVN(nan)) << std::hex << Bits(nan);
  for (float number : {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                       0.0f, -0.0f, std::numeric_limits<float>::max(),
                       std::numeric_limits<float>::denorm_min(), -1.0f})
    EXPECT_FALSE(SV_IsNAVN(number)) << number;
}

TEST(KernelCells, RoundTripKeepsEveryBit) {
  const std::vector<float> values = {
      0.0f, -0.0f, 1.0f, -123.456f, 3.4e38f,
      std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
      std::numeric_limits<float>::denorm_min(), FromBits(0x807FFFFFu),  // denormals
      SV_GapValue(), std::numeric_limits<float>::quiet_NaN(), FromBits(0x7F800001u)};
  std::vector<uint8_t> frame(values.size() * kCodeCellBytes + 5, 0xAA);
  ASSERT_TRUE(SV_code(frame, values));
  EXPECT_EQ(frame.back(), 0xAA);  // nothing beyond the cells
  std::vector<float> back(values.size(), 0.0f);
  ASSERT_TRUE(SV_decode(back, frame));
  for (size_t i = 0; i < values.size(); ++i)
    EXPECT_EQ(Bits(back[i]), Bits(values[i])) << "value " << i;
}

TEST(KernelCells, ThirtyThreeCellsEndAtByte1055) {
  // The cycle number and 32 columns: the last cell ends at byte 1055.
  std::vector<float> values(33);
  for (size_t i = 0; i < values.size(); ++i) values[i] = float(i) * 0.5f;
  std::vector<uint8_t> frame(2048, 0x11);
  ASSERT_TRUE(SV_code(frame, values));
  EXPECT_NE(frame[1055], 0x11);
  EXPECT_EQ(frame[1056], 0x11);
  std::vector<float> back(33);
  EXPECT_TRUE(SV_decode(back, ConstSamples8(frame).first(1056)));
  EXPECT_EQ(back, values);
  // One byte short: refused, nothing written or read.
  std::vector<uint8_t> small(1055, 0x11);
  EXPECT_FALSE(SV_code(small, values));
  EXPECT_EQ(small, std::vector<uint8_t>(1055, 0x11));
  std::vector<float> untouched(33, 7.0f);
  EXPECT_FALSE(SV_decode(untouched, small));
  EXPECT_EQ(untouched, std::vector<float>(33, 7.0f));
}

TEST(KernelCells, GarbageIsRefusedCellByCell) {
  const std::vector<float> values = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f};
  std::vector<uint8_t> frame(values.size() * kCodeCellBytes);
  ASSERT_TRUE(SV_code(frame, values));
  uint8_t* cell = frame.data();
  // Cell 0: pixels (a ramp); cell 1: one hex digit changed, so the
  // complement no longer matches; cell 2: a lower-case digit; cell 3: the
  // tail damaged; cell 4: all zero. Cell 5 stays good.
  for (size_t i = 0; i < kCodeCellBytes; ++i) cell[i] = uint8_t(i * 7);
  cell[32 + 5] = cell[32 + 5] == '0' ? '1' : '0';
  for (size_t i = 64 + 4; i < 64 + 20; ++i)
    if (cell[i] >= 'A' && cell[i] <= 'F') {
      cell[i] = uint8_t(cell[i] - 'A' + 'a');
      break;
    }
  cell[96 + 31] = '~';
  std::fill(cell + 128, cell + 160, uint8_t(0));

  std::vector<float> back(values.size(), 0.0f);
  EXPECT_FALSE(SV_decode(back, frame));
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(Bits(back[i]), kGapBits) << "cell " << i;
  EXPECT_EQ(back[5], 6.0f);
}

TEST(KernelShr, SumsShiftInPlaceOrIntoWords) {
  std::vector<uint32_t> sum = {0, 7, 8, 0x40000, 0xFFFFFFFFu};
  std::vector<uint16_t> words(5, 1);
  ASSERT_TRUE(SV_shr(5, ConstSamples32(sum), words, 2));
  EXPECT_EQ(words, (std::vector<uint16_t>{0, 1, 2, 0xFFFF, 0xFFFF}));  // saturates
  ASSERT_TRUE(SV_shr(4, Samples32(sum), 3));
  EXPECT_EQ(sum, (std::vector<uint32_t>{0, 0, 1, 0x8000, 0xFFFFFFFFu}));  // count respected

  EXPECT_FALSE(SV_shr(6, Samples32(sum), 1));  // buffer shorter than the count
  EXPECT_FALSE(SV_shr(5, Samples32(sum), 32));
  EXPECT_FALSE(SV_shr(5, Samples32(sum), -1));
  EXPECT_FALSE(SV_shr(5, ConstSamples32(sum), Samples16(words).first(4), 0));
  EXPECT_EQ(sum[2], 1u);
}

TEST(KernelNumbers, SixtyFourBitsAndAngles) {
  EXPECT_EQ(SV_UInt32x32To64(0xFFFFFFFFu, 0xFFFFFFFFu), 0xFFFFFFFE00000001ull);
  EXPECT_EQ(SV_UInt32x32To64(3000000000u, 2u), 6000000000ull);
  EXPECT_EQ(SV_UInt64plus64To64(0xFFFFFFFFull, 1), 0x100000000ull);
  EXPECT_EQ(SV_UInt64plus64To64(~0ull, 2), 1ull);  // wraps

  const float pi = std::numbers::pi_v<float>;
  EXPECT_FLOAT_EQ(SV_atan2(1.0f, 1.0f), pi / 4);
  EXPECT_FLOAT_EQ(SV_atan2(1.0f, -1.0f), 3 * pi / 4);
  EXPECT_FLOAT_EQ(SV_atan2(-1.0f, -1.0f), -3 * pi / 4);
  EXPECT_FLOAT_EQ(SV_atan2(0.0f, -1.0f), pi);
  EXPECT_EQ(SV_atan2(0.0f, 0.0f), 0.0f);
}

TEST(KernelNumbers, SingleAsFourBytes) {
  const std::string s = SV_mks(1.0f);
  EXPECT_EQ(s, std::string("\x00\x00\x80\x3F", 4));
  EXPECT_EQ(SV_cvs(s), 1.0f);
  EXPECT_EQ(Bits(SV_cvs(SV_mks(SV_GapValue()))), kGapBits);
  EXPECT_EQ(SV_cvs(SV_mks(-2.5f) + "tail"), -2.5f);  // the first four bytes count
  float v = 9.0f;
  EXPECT_FALSE(SV_cvs(std::string("\x00\x00\x80", 3), v));
  EXPECT_EQ(v, 9.0f);
  EXPECT_EQ(SV_cvs(""), 0.0f);
}

TEST(KernelNumbers, FreeDiskSpace) {
  const std::string tmp = std::filesystem::temp_directory_path().string();
  EXPECT_GT(SV_GetFreeDiskSpace(tmp), 0);
  EXPECT_EQ(SV_GetFreeDiskSpace(tmp + "/no such folder 4200"), -1);
  EXPECT_EQ(SV_GetFreeDiskSpace(""), -1);
}

}  // namespace
}  // namespace sv
