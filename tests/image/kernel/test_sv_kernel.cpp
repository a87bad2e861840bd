#include "image/kernel/sv_kernel.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <tuple>
#include <vector>

namespace sv {
namespace {

std::vector<uint8_t> Lut(float min, float max, long levels, bool inverse) {
  std::vector<uint8_t> t(65536, 0xCC);
  SV_set_lut(min, max, levels, 65536, t.data(), inverse);
  return t;
}

// What SV_display must produce: every sample through the table, lines
// bottom-up, padding zero.
std::vector<uint8_t> ReferenceDisplay(long w, long h, const std::vector<uint16_t>& src,
                                      const std::vector<uint8_t>& table) {
  const long bw = DisplayByteWidth(w, false);
  std::vector<uint8_t> out(size_t(bw * h), 0);
  for (long y = 0; y < h; ++y)
    for (long x = 0; x < w; ++x) out[size_t((h - 1 - y) * bw + x)] = table[src[size_t(y * w + x)]];
  return out;
}

class DisplayIsa : public ::testing::Test {
 protected:
  void TearDown() override { SV_set_display_isa(-1); }
};

TEST(KernelIdentity, VersionIsTheMinimumAndTheDateIsText) {
  const KernelVersion v = SV_version();
  EXPECT_EQ(std::tuple(v.major, v.minor, v.patch), std::tuple(2, 2, 10));
  EXPECT_FALSE(SV_dll_date().empty());
}

TEST(KernelMemory, CopyFillAndOverlap) {
  std::vector<uint8_t> a = {1, 2, 3, 4, 5, 6, 7, 8};
  std::vector<uint8_t> b(8, 0);
  SV_memcpy(b.data(), a.data(), 8);
  EXPECT_EQ(a, b);
  SV_memset(b.data() + 2, 0xAB, 3);
  EXPECT_EQ(b, (std::vector<uint8_t>{1, 2, 0xAB, 0xAB, 0xAB, 6, 7, 8}));
  // Overlapping ranges copy as if through a buffer.
  SV_memcpy(a.data() + 2, a.data(), 6);
  EXPECT_EQ(a, (std::vector<uint8_t>{1, 2, 1, 2, 3, 4, 5, 6}));
  SV_memcpy(nullptr, a.data(), 0);  // nothing to do, no fault
}

TEST(KernelConversion, EightToSixteenAndBack) {
  const std::vector<uint8_t> bytes = {0, 1, 128, 255};
  std::vector<uint16_t> words(4);
  SV_convert_8_to_16(bytes.data(), words.data(), 4);
  EXPECT_EQ(words, (std::vector<uint16_t>{0, 1, 128, 255}));

  const std::vector<uint16_t> twelve = {0, 15, 16, 4095, 4096, 65535};
  std::vector<uint8_t> out(6);
  SV_convert_16_to_8(twelve.data(), out.data(), 6, 12);
  // The upper eight of twelve bits; out-of-range samples saturate.
  EXPECT_EQ(out, (std::vector<uint8_t>{0, 0, 1, 255, 255, 255}));
  SV_convert_16_to_8(twelve.data(), out.data(), 6, 16);
  EXPECT_EQ(out, (std::vector<uint8_t>{0, 0, 0, 15, 16, 255}));
  const std::vector<uint16_t> four = {0, 1, 15};
  SV_convert_16_to_8(four.data(), out.data(), 3, 4);
  EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 3), (std::vector<uint8_t>{0, 16, 240}));
}

TEST(KernelSetLut, LinearBetweenTheLimitsWithRoundingToEven) {
  // 0.25 and 0.75 of 1000 levels: 250 and 750. 255 / 500 = 0.51 at 251;
  // 127.5 at 500 goes to the even 128; 254.49 at 749.
  const auto t = Lut(0.25f, 0.75f, 1000, false);
  for (auto [sample, entry] : {std::pair{0, 0}, {250, 0}, {251, 1}, {500, 128}, {749, 254},
                               {750, 255}, {65535, 255}})
    EXPECT_EQ(t[size_t(sample)], entry) << sample;
  // Full range of 256 levels: 255 maps to 254, the next level to 255.
  const auto full = Lut(0.0f, 1.0f, 256, false);
  for (auto [sample, entry] : {std::pair{0, 0}, {1, 1}, {128, 128}, {255, 254}, {256, 255}})
    EXPECT_EQ(full[size_t(sample)], entry) << sample;
  for (int s = 1; s < 65536; ++s) ASSERT_GE(full[s], full[s - 1]) << s;
  // An upper limit at or below the lower one makes a step.
  const auto equal = Lut(0.5f, 0.5f, 100, false), reversed = Lut(0.6f, 0.4f, 100, false);
  EXPECT_EQ(std::tuple(equal[50], equal[51]), std::tuple(0, 255));
  EXPECT_EQ(std::tuple(reversed[60], reversed[61], reversed[65535]), std::tuple(0, 255, 255));
}

TEST(KernelSetLut, InverseMirrorsEveryEntry) {
  const auto up = Lut(0.1f, 0.6f, 4096, false);
  const auto down = Lut(0.1f, 0.6f, 4096, true);
  for (int s = 0; s < 65536; ++s) ASSERT_EQ(down[s], 255 - up[s]) << s;
  EXPECT_EQ(down[0], 255);
  EXPECT_EQ(down[65535], 0);
}

TEST(KernelDisplay, ByteWidthPadsToFour) {
  for (auto [w, colour, bytes] : {std::tuple{1L, false, 4L}, {4L, false, 4L}, {5L, false, 8L},
                                  {1L, true, 4L}, {3L, true, 12L}, {4L, true, 12L}, {5L, true, 16L}})
    EXPECT_EQ(DisplayByteWidth(w, colour), bytes) << w << " " << colour;
}

TEST(KernelDisplay, RgbWordsBecomeBgrBytes) {
  // Three pixels a line: 9 bytes, padded to 12.
  const long w = 3, h = 2;
  const std::vector<uint16_t> src = {1, 2, 3, 4, 5, 6, 7, 8, 9,            // top line
                                     10, 11, 12, 13, 14, 15, 16, 17, 18};  // bottom line
  std::vector<uint8_t> table(65536);
  for (int s = 0; s < 65536; ++s) table[size_t(s)] = uint8_t(s * 2);
  std::vector<uint8_t> dest(24, 0xAA);
  SV_RGB_display(w, h, src.data(), dest.data(), table.data());
  const std::vector<uint8_t> expected = {24, 22, 20, 30, 28, 26, 36, 34, 32, 0, 0, 0,
                                         6,  4,  2,  12, 10, 8,  18, 16, 14, 0, 0, 0};
  EXPECT_EQ(dest, expected);
}

// Every path gives the bytes of the plain table mapping, for display tables
// of all kinds and widths on both sides of the vector lengths.
TEST_F(DisplayIsa, EveryPathMatchesTheTableForAllKindsOfTable) {
  std::mt19937 rng(7);
  std::vector<std::vector<uint8_t>> tables;
  const long levels[] = {2, 16, 256, 1024, 4096, 16384, 65536};
  for (long lv : levels) {
    tables.push_back(Lut(0.0f, 1.0f, lv, false));
    tables.push_back(Lut(0.0f, 1.0f, lv, true));
    tables.push_back(Lut(0.1234f, 0.8765f, lv, false));
    tables.push_back(Lut(0.3f, 0.3f, lv, true));  // a step
    tables.push_back(Lut(0.7f, 0.2f, lv, false));  // reversed limits: a step
  }
  std::uniform_real_distribution<float> frac(0.0f, 1.0f);
  for (int i = 0; i < 12; ++i)
    tables.push_back(Lut(frac(rng), frac(rng), levels[i % 7], (i & 1) != 0));
  tables.push_back(Lut(0.0f, 1.0f, 1000, false));  // ties to even both ways
  tables.push_back(std::vector<uint8_t>(65536, 77));  // constant
  {
    std::vector<uint8_t> noise(65536);
    for (auto& b : noise) b = uint8_t(rng());
    tables.push_back(noise);  // no line at all
  }
  {
    std::vector<uint8_t> bend(65536);
    for (int s = 0; s < 65536; ++s) bend[size_t(s)] = uint8_t(s < 32768 ? s / 256 : 128 + (s - 32768) / 1024);
    tables.push_back(bend);  // monotone, but two slopes
  }

  for (long w : {1L, 7L, 15L, 16L, 17L, 33L, 100L, 256L}) {
    // The last width carries every sample value once.
    const long h = w == 256 ? 256 : 3;
    std::vector<uint16_t> src(size_t(w * h));
    for (size_t i = 0; i < src.size(); ++i) src[i] = h == 256 ? uint16_t(i) : uint16_t(rng());
    src[0] = 0;
    src.back() = 65535;
    for (size_t t = 0; t < tables.size(); ++t) {
      const auto expected = ReferenceDisplay(w, h, src, tables[t]);
      for (int level : {0, 1, 2}) {
        SV_set_display_isa(level);
        std::vector<uint8_t> dest(expected.size(), 0xAA);
        SV_display(w, h, src.data(), dest.data(), tables[t].data());
        ASSERT_EQ(dest, expected) << "width " << w << " table " << t << " level " << level;
      }
    }
  }
}

TEST_F(DisplayIsa, ATableChangedInPlaceIsSeen) {
  // The same table memory refilled between frames, as SetLUT does.
  std::vector<uint16_t> src = {0, 1000, 30000, 65535};
  std::vector<uint8_t> table(65536);
  std::vector<uint8_t> dest(4);
  for (int level : {0, 1, 2}) {
    SV_set_display_isa(level);
    SV_set_lut(0.0f, 1.0f, 65536, 65536, table.data(), false);
    SV_display(4, 1, src.data(), dest.data(), table.data());
    EXPECT_EQ(dest, ReferenceDisplay(4, 1, src, table));
    SV_set_lut(0.0f, 1.0f, 65536, 65536, table.data(), true);
    SV_display(4, 1, src.data(), dest.data(), table.data());
    EXPECT_EQ(dest, ReferenceDisplay(4, 1, src, table));
    table[1000] = 3;  // one entry off the line
    SV_display(4, 1, src.data(), dest.data(), table.data());
    EXPECT_EQ(dest[1], 3) << "level " << level;
  }
}

// The tables the image window builds take the arithmetic path, so the tests
// above really compare it with the table reads.
TEST(KernelDisplay, DisplayTablesRunAsArithmetic) {
  for (long bits = 1; bits <= 16; ++bits)
    for (auto [min, max, inverse] : {std::tuple{0.0f, 1.0f, false}, {0.0f, 1.0f, true},
                                     {0.1234f, 0.8765f, false}, {0.02f, 0.03f, true}})
      EXPECT_TRUE(SV_display_table_is_linear(Lut(min, max, 1L << bits, inverse).data())) << bits;
  EXPECT_TRUE(SV_display_table_is_linear(std::vector<uint8_t>(65536, 9).data()));
  std::vector<uint8_t> noise(65536);
  std::mt19937 rng(3);
  for (auto& b : noise) b = uint8_t(rng());
  EXPECT_FALSE(SV_display_table_is_linear(noise.data()));
  // One entry off the line is enough to fall back to table reads.
  auto bent = Lut(0.0f, 1.0f, 65536, false);
  bent[40000] = 0;
  EXPECT_FALSE(SV_display_table_is_linear(bent.data()));
}

TEST_F(DisplayIsa, LevelsAreCappedToTheProcessor) {
  const int best = SV_set_display_isa(-1);
  EXPECT_GE(best, 0);
  EXPECT_LE(best, 2);
  EXPECT_EQ(SV_set_display_isa(0), 0);
  EXPECT_EQ(SV_set_display_isa(9), best);
}

TEST(KernelDisplay, NothingHappensWithoutBuffers) {
  std::vector<uint8_t> table(65536), dest(4, 0xAA);
  const uint16_t src[1] = {5};
  SV_display(0, 1, src, dest.data(), table.data());
  SV_display(1, 1, nullptr, dest.data(), table.data());
  SV_RGB_display(-3, 1, src, dest.data(), table.data());
  EXPECT_EQ(dest, std::vector<uint8_t>(4, 0xAA));
}

}  // namespace
}  // namespace sv
