#include "image/kernel/convert.h"

#include <gtest/gtest.h>

#include "kernel_paths.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace sv {
namespace {

class KernelConvertPaths : public test::EveryPath {};
SV_EVERY_PATH(KernelConvertPaths);

TEST(KernelConvert, BytesToWordsAndColourOrder) {
  const std::vector<uint8_t> bytes = {0, 1, 128, 255, 7, 9};
  std::vector<uint16_t> words(6, 0xEEEE);
  ASSERT_TRUE(SV_convert_8_to_16(5, bytes, words));
  EXPECT_EQ(words, (std::vector<uint16_t>{0, 1, 128, 255, 7, 0xEEEE}));

  // Two pixels: the plain form keeps the order, the inverse one reads B, G, R.
  ASSERT_TRUE(SV_RGB_convert_8_to_16(2, bytes, words));
  EXPECT_EQ(words, (std::vector<uint16_t>{0, 1, 128, 255, 7, 9}));
  ASSERT_TRUE(SV_RGB_convert_inverse_8_to_16(2, bytes, words));
  EXPECT_EQ(words, (std::vector<uint16_t>{128, 1, 0, 9, 7, 255}));

  // Too little room: refused, nothing written.
  std::vector<uint16_t> small(5, 0xEEEE);
  EXPECT_FALSE(SV_convert_8_to_16(6, bytes, small));
  EXPECT_FALSE(SV_RGB_convert_8_to_16(2, bytes, small));
  EXPECT_FALSE(SV_RGB_convert_inverse_8_to_16(3, bytes, words));
  EXPECT_EQ(small, std::vector<uint16_t>(5, 0xEEEE));
}

TEST(KernelConvert, PackedPixelsHighBitsFirst) {
  std::vector<uint8_t> out(9, 0xEE);
  // 4 bits: 0x1F 0xA0 -> 1, 15, 10 (an odd count reads half a byte).
  ASSERT_TRUE(SV_convert_4_to_8(3, std::vector<uint8_t>{0x1F, 0xA0}, out));
  EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 4),
            (std::vector<uint8_t>{1, 15, 10, 0xEE}));
  ASSERT_TRUE(SV_convert_n_to_8(9, std::vector<uint8_t>{0xA5, 0x80}, out, 1));
  EXPECT_EQ(out, (std::vector<uint8_t>{1, 0, 1, 0, 0, 1, 0, 1, 1}));
  ASSERT_TRUE(SV_convert_n_to_8(5, std::vector<uint8_t>{0x1B, 0xC0}, out, 2));
  EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.begin() + 5),
            (std::vector<uint8_t>{0, 1, 2, 3, 3}));
  ASSERT_TRUE(SV_convert_n_to_8(2, std::vector<uint8_t>{9, 200}, out, 8));
  EXPECT_EQ(out[1], 200);

  const std::vector<uint8_t> before = out;
  EXPECT_FALSE(SV_convert_n_to_8(3, std::vector<uint8_t>{0xFF}, out, 4));  // needs 2 bytes
  EXPECT_FALSE(SV_convert_n_to_8(1, std::vector<uint8_t>{0xFF}, out, 3));
  EXPECT_FALSE(SV_convert_n_to_8(10, std::vector<uint8_t>{0xFF, 0xFF}, out, 1));  // dest 9
  EXPECT_EQ(out, before);
}

TEST(KernelConvert, GreyWeightsRoundToEven) {
  EXPECT_EQ(GreyOf(255, 0, 0), 76u);   // 76.24
  EXPECT_EQ(GreyOf(0, 255, 0), 150u);  // 149.69
  EXPECT_EQ(GreyOf(0, 0, 255), 29u);   // 29.07
  EXPECT_EQ(GreyOf(65535, 65535, 65535), 65535u);
  // Against the exact quotient, rounded by the floating-point unit.
  std::mt19937 rng(7);
  for (int i = 0; i < 20000; ++i) {
    const uint32_t r = rng() & 0xFFFF, g = rng() & 0xFFFF, b = rng() & 0xFFFF;
    const double exact = (19595.0 * r + 38470.0 * g + 7471.0 * b) / 65536.0;
    ASSERT_EQ(GreyOf(r, g, b), uint32_t(std::nearbyint(exact))) << r << " " << g << " " << b;
  }
  // Exact ties (a remainder of one half) go to the even neighbour.
  int ties = 0;
  for (uint32_t r = 0; r < 256 && ties < 4; ++r)
    for (uint32_t b = 0; b < 256; ++b)
      if (((19595u * r + 7471u * b) & 0xFFFFu) == 0x8000u) {
        const uint32_t q = (19595u * r + 7471u * b) >> 16;
        EXPECT_EQ(GreyOf(r, 0, b), q + (q & 1u));
        ++ties;
        break;
      }
  EXPECT_GT(ties, 0);

  const std::vector<uint8_t> rgb = {255, 0, 0, 10, 10, 10, 0, 0, 255};
  std::vector<uint8_t> grey(3);
  ASSERT_TRUE(SV_rgb_to_8(3, rgb, grey));
  EXPECT_EQ(grey, (std::vector<uint8_t>{76, 10, 29}));
  EXPECT_FALSE(SV_rgb_to_8(4, rgb, grey));
}

TEST(KernelConvert, SumsAndByteSwap) {
  const std::vector<uint32_t> sums = {0, 65535, 65536, 0xFFFFFFFFu};
  std::vector<uint16_t> words(4);
  ASSERT_TRUE(SV_convert_32_to_16(4, sums, words));
  EXPECT_EQ(words, (std::vector<uint16_t>{0, 65535, 65535, 65535}));
  EXPECT_FALSE(SV_convert_32_to_16(5, sums, words));

  std::vector<uint16_t> w = {0x1234, 0xFF00, 0x0001};
  std::vector<uint16_t> copy(3);
  ASSERT_TRUE(SV_swap_lo_hi_byte(3, w, copy));
  EXPECT_EQ(copy, (std::vector<uint16_t>{0x3412, 0x00FF, 0x0100}));
  EXPECT_EQ(w[0], 0x1234);  // the copying form leaves the source
  ASSERT_TRUE(SV_swap_lo_hi_byte(2, Samples16(w)));
  EXPECT_EQ(w, (std::vector<uint16_t>{0x3412, 0x00FF, 0x0001}));
  EXPECT_FALSE(SV_swap_lo_hi_byte(4, Samples16(w)));
}

TEST(KernelConvert, FloatsRoundToEvenAndClamp) {
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<float> f = {0.5f, 1.5f, 2.5f, 2.5000002f, -0.7f, 254.5f, 255.5f,
                                65534.5f, 65535.4f, 1e9f, inf, -inf,
                                std::numeric_limits<float>::quiet_NaN()};
  std::vector<uint16_t> s(f.size());
  ASSERT_TRUE(SV_copy_floats_to_shorts(f.size(), f, s));
  EXPECT_EQ(s, (std::vector<uint16_t>{0, 2, 2, 3, 0, 254, 256, 65534, 65535, 65535, 65535,
                                      0, 0}));
  std::vector<uint8_t> b(f.size());
  ASSERT_TRUE(SV_copy_floats_to_bytes(f.size(), f, b));
  EXPECT_EQ(b, (std::vector<uint8_t>{0, 2, 2, 3, 0, 254, 255, 255, 255, 255, 255, 0, 0}));
  EXPECT_FALSE(SV_copy_floats_to_bytes(f.size() + 1, f, b));
}

TEST(KernelConvert, InsertSumsIntoAFrameClipped) {
  // A 3 x 2 block of sums put at (-1, 2) into a 4 x 3 frame: its left
  // column and lower line fall outside.
  const FrameSize size{4, 3}, part{3, 2};
  const std::vector<uint32_t> sums = {10, 20, 30, 40, 50, 60};
  std::vector<uint16_t> image(12, 1);
  ASSERT_TRUE(SV_insert_32_into_16(size, image, -1, 2, part, sums, 1));
  EXPECT_EQ(image, (std::vector<uint16_t>{1, 1, 1, 1, 1, 1, 1, 1, 10, 15, 1, 1}));
  std::vector<uint32_t> big = {0x7FFFFFFF, 0, 0, 0, 0, 0};
  ASSERT_TRUE(SV_insert_32_into_16(size, image, 0, 0, part, big, 0));
  EXPECT_EQ(image[0], 65535);  // saturates
  ASSERT_TRUE(SV_insert_32_into_16(size, image, 9, 0, part, sums, 0));  // wholly outside

  const std::vector<uint16_t> before = image;
  EXPECT_FALSE(SV_insert_32_into_16(size, image, 0, 0, part, ConstSamples32(sums).first(5), 0));
  EXPECT_FALSE(SV_insert_32_into_16(size, Samples16(image).first(11), 0, 0, part, sums, 0));
  EXPECT_FALSE(SV_insert_32_into_16(size, image, 0, 0, part, sums, 32));
  EXPECT_EQ(image, before);
}

// Runs long enough for the vector loops, with an odd tail, against the
// element-by-element definitions.
TEST_P(KernelConvertPaths, LongRunsMatchElementByElement) {
  const size_t n = 1001;
  std::mt19937 rng(21);
  std::vector<uint8_t> bytes(3 * n);
  for (auto& b : bytes) b = uint8_t(rng());
  std::vector<uint16_t> words(3 * n), out(3 * n);

  ASSERT_TRUE(SV_RGB_convert_inverse_8_to_16(n, bytes, out));
  for (size_t i = 0; i < 3 * n; ++i) ASSERT_EQ(out[i], bytes[i - i % 3 + 2 - i % 3]) << i;
  ASSERT_TRUE(SV_convert_8_to_16(3 * n, bytes, out));
  for (size_t i = 0; i < 3 * n; ++i) ASSERT_EQ(out[i], bytes[i]);
  std::vector<uint8_t> grey(n);
  ASSERT_TRUE(SV_rgb_to_8(n, bytes, grey));
  for (size_t i = 0; i < n; ++i)
    ASSERT_EQ(grey[i], GreyOf(bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2]));

  for (auto& w : words) w = uint16_t(rng());
  std::vector<uint8_t> narrow(3 * n);
  ASSERT_TRUE(SV_convert_16_to_8(3 * n, words, narrow, 12));
  for (size_t i = 0; i < 3 * n; ++i) ASSERT_EQ(narrow[i], std::min(words[i] >> 4, 255));
  EXPECT_FALSE(SV_convert_16_to_8(3 * n + 1, words, narrow, 12));
  ASSERT_TRUE(SV_swap_lo_hi_byte(3 * n, words, out));
  for (size_t i = 0; i < 3 * n; ++i) ASSERT_EQ(out[i], uint16_t(words[i] << 8 | words[i] >> 8));

  // Bits used: one lone bit anywhere in a long run, the tail included.
  std::vector<uint16_t> quiet(3 * n, 0x0101);
  for (size_t at : {size_t(0), size_t(700), 3 * n - 1}) {
    quiet[at] = 0x0901;
    EXPECT_EQ(SV_bits_used(quiet.data(), quiet.size()), 0x0901) << at;
    quiet[at] = 0x0101;
  }
  EXPECT_EQ(SV_bits_used(quiet.data(), 0), 0);

  std::vector<uint32_t> sums(n);
  for (auto& v : sums) v = rng() >> (rng() % 32);
  ASSERT_TRUE(SV_convert_32_to_16(n, sums, out));
  for (size_t i = 0; i < n; ++i) ASSERT_EQ(out[i], std::min<uint32_t>(sums[i], 65535));

  std::vector<float> f(n);
  const float specials[] = {std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(), 0.5f, 1.5f, 254.5f, -0.0f};
  for (size_t i = 0; i < n; ++i)
    f[i] = i % 5 == 0 ? specials[(i / 5) % 7] : float(int32_t(rng() % 140000) - 5000) / 2.0f;
  std::vector<uint8_t> fb(n);
  ASSERT_TRUE(SV_copy_floats_to_shorts(n, f, out));
  ASSERT_TRUE(SV_copy_floats_to_bytes(n, f, fb));
  for (size_t i = 0; i < n; ++i) {
    const float c16 = std::isnan(f[i]) ? 0.0f : std::clamp(f[i], 0.0f, 65535.0f);
    const float c8 = std::isnan(f[i]) ? 0.0f : std::clamp(f[i], 0.0f, 255.0f);
    ASSERT_EQ(out[i], uint16_t(std::nearbyint(c16))) << f[i];
    ASSERT_EQ(fb[i], uint8_t(std::nearbyint(c8))) << f[i];
  }
}

}  // namespace
}  // namespace sv
