#include "image/kernel/memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace sv {
namespace {

TEST(KernelPeekPoke, BytesAndUnalignedLittleEndianWords) {
  std::vector<uint8_t> mem(5, 0);
  SV_Poke(mem.data(), 0, 0x12);
  SV_poke_short(mem.data(), 1, 0xBEEF);  // odd offset: no alignment needed
  EXPECT_EQ(mem, (std::vector<uint8_t>{0x12, 0xEF, 0xBE, 0, 0}));
  EXPECT_EQ(SV_Peek(mem.data(), 2), 0xBE);
  EXPECT_EQ(SV_Peek(mem, 0), 0x12);

  // The checked forms: a word must fit whole, or nothing is written.
  EXPECT_TRUE(SV_poke_short(Samples8(mem), 3, 0x0102));
  EXPECT_FALSE(SV_poke_short(Samples8(mem), 4, 0xFFFF));
  EXPECT_FALSE(SV_poke_short(Samples8(mem), 5, 0xFFFF));
  EXPECT_FALSE(SV_Poke(Samples8(mem), 5, 0xFF));
  EXPECT_EQ(mem, (std::vector<uint8_t>{0x12, 0xEF, 0xBE, 0x02, 0x01}));
  EXPECT_EQ(SV_Peek(mem, 5), 0);
  // A null address reads 0 and writes nothing.
  EXPECT_EQ(SV_Peek(nullptr, 7), 0);
  SV_Poke(nullptr, 0, 1);
  SV_poke_short(nullptr, 0, 1);
}

TEST(KernelElements, ReadAndWriteEveryWidthCheckedAndUnsigned) {
  const std::vector<uint16_t> s = {0, 1, 32768, 65535};
  EXPECT_EQ(SV_short_of(s.data(), 3), 65535);  // never -1
  EXPECT_EQ(SV_short_of(s, 2), 32768);
  EXPECT_EQ(SV_short_of(s, 4), 0);

  // (x, y) of a 2 x 2 frame, lines from the top.
  const FrameSize size{2, 2};
  EXPECT_EQ(SV_short_of(s, size, 0, 1), 32768);
  EXPECT_EQ(SV_short_of(s, size, 1, 1), 65535);
  EXPECT_EQ(SV_short_of(s, size, 2, 0), 0);
  EXPECT_EQ(SV_short_of(s, size, 0, -1), 0);
  EXPECT_EQ(SV_short_of(ConstSamples16(s).first(3), size, 0, 0), 0);  // frame does not fit

  // Every width read and written, inside only.
  std::vector<uint8_t> b(3, 0);
  std::vector<uint16_t> w(3, 0);
  std::vector<int32_t> l(3, 0);
  EXPECT_TRUE(SV_set_byte(Samples8(b), 2, 200));
  EXPECT_FALSE(SV_set_byte(Samples8(b), 3, 1));
  EXPECT_TRUE(SV_set_short(Samples16(w), 0, 60000));
  EXPECT_FALSE(SV_set_short(Samples16(w), 3, 1));
  EXPECT_TRUE(SV_set_long(std::span<int32_t>(l), 1, -5));
  EXPECT_FALSE(SV_set_long(std::span<int32_t>(l), 9, 1));
  SV_set_long(l.data(), 2, 7);
  EXPECT_EQ(SV_byte_of(b, 2), 200);
  EXPECT_EQ(SV_byte_of(b.data(), 2), 200);
  EXPECT_EQ(SV_byte_of(b, 3), 0);
  EXPECT_EQ(SV_short_of(w, 0), 60000);
  EXPECT_EQ(SV_long_of(std::span<const int32_t>(l), 1), -5);
  EXPECT_EQ(SV_long_of(l.data(), 2), 7);
  EXPECT_EQ(SV_long_of(std::span<const int32_t>(l), 3), 0);

  const std::vector<float> f = {1.5f, -2.25f};
  EXPECT_EQ(SV_float_of(f.data(), 1), -2.25f);
  EXPECT_EQ(SV_float_of(std::span<const float>(f), 2), 0.0f);

  // A float at any byte offset.
  std::vector<uint8_t> mem(7, 0);
  const float v = 3.75f;
  std::memcpy(mem.data() + 3, &v, 4);
  EXPECT_EQ(SV_float(mem.data(), 3), 3.75f);
  EXPECT_EQ(SV_float(ConstSamples8(mem), 3), 3.75f);
  EXPECT_EQ(SV_float(ConstSamples8(mem), 4), 0.0f);  // runs past the end

  // Pointers inside only.
  EXPECT_EQ(SV_pointer_of(Samples16(w), 2), w.data() + 2);
  EXPECT_EQ(SV_pointer_of(Samples16(w), 3), nullptr);
  EXPECT_EQ(SV_pointer_of(w.data(), 2), w.data() + 2);
  EXPECT_EQ(SV_pointer_of(static_cast<uint16_t*>(nullptr), 2), nullptr);
}

}  // namespace
}  // namespace sv
