#include "image/kernel/image_math.h"

#include <gtest/gtest.h>

#include "frames.h"
#include "kernel_paths.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstdint>
#include <random>
#include <vector>

#include "image/kernel/convert.h"
#include "image/kernel/sv_kernel.h"

namespace sv {
namespace {

class KernelImageMathPaths : public test::EveryPath {};
SV_EVERY_PATH(KernelImageMathPaths);

using Words = test::Frame;
using test::Channel;
using test::Interleave;
using test::Random;

// A colour operation must equal its grey twin run on each channel.
template <typename Colour, typename Grey>
void ExpectChannelwise(const Words& rgb, Colour colour, Grey grey) {
  Words out = rgb, r = Channel(rgb, 0), g = Channel(rgb, 1), b = Channel(rgb, 2);
  ASSERT_TRUE(colour(out));
  for (Words* c : {&r, &g, &b}) ASSERT_TRUE(grey(*c));
  EXPECT_EQ(out, Interleave(r, g, b));
}

ImageMathParams Op(int operation, bool clip = true, long levels = 65536) {
  ImageMathParams p;
  p.operation = operation;
  p.clip = clip;
  p.levels = levels;
  return p;
}

uint16_t Math1(uint16_t a, uint16_t b, const ImageMathParams& p) {
  Words out(1);
  EXPECT_TRUE(SV_image_math2({1, 1}, 1, Words{a}, Words{b}, out, p));
  return out[0];
}

TEST(KernelImageMath, OperationsOnSingleSamples) {
  EXPECT_EQ(Math1(65000, 1000, Op(kMathAdd)), 65535);
  EXPECT_EQ(Math1(200, 100, Op(kMathAdd, true, 256)), 255);  // the image's range
  EXPECT_EQ(Math1(200, 100, Op(kMathAdd, false, 256)), 44);  // wraps
  EXPECT_EQ(Math1(5, 10, Op(kMathSubtract)), 0);
  EXPECT_EQ(Math1(5, 10, Op(kMathSubtract, false, 256)), 251);
  EXPECT_EQ(Math1(5, 10, Op(kMathSubtract, false, 1000)), 995);  // not a power of two
  EXPECT_EQ(Math1(300, 300, Op(kMathMultiply)), 65535);
  EXPECT_EQ(Math1(300, 300, Op(kMathMultiply, false)), uint16_t(90000 % 65536));
  EXPECT_EQ(Math1(7, 2, Op(kMathDivide)), 4);  // 3.5 to even
  EXPECT_EQ(Math1(5, 2, Op(kMathDivide)), 2);  // 2.5 to even
  EXPECT_EQ(Math1(7, 0, Op(kMathDivide, true, 4096)), 4095);
  EXPECT_EQ(Math1(0, 0, Op(kMathDivide)), 0);
  EXPECT_EQ(Math1(3, 10, Op(kMathDifference)), 7);
  EXPECT_EQ(Math1(3, 10, Op(kMathLightest)), 10);
  EXPECT_EQ(Math1(3, 10, Op(kMathDarkest)), 3);
  EXPECT_EQ(Math1(0x0F0F, 0x00FF, Op(kMathAnd)), 0x000F);
  EXPECT_EQ(Math1(0x0F0F, 0x00FF, Op(kMathOr)), 0x0FFF);
  EXPECT_EQ(Math1(0x0F0F, 0x00FF, Op(kMathXor)), 0x0FF0);
  EXPECT_EQ(Math1(9, 9, Op(kMathCompare, true, 256)), 255);
  EXPECT_EQ(Math1(9, 8, Op(kMathCompare, true, 256)), 0);

  ImageMathParams fade = Op(kMathFade);
  EXPECT_EQ(Math1(10, 21, fade), 16);  // 15.5 to even
  fade.fade = 100;
  EXPECT_EQ(Math1(10, 21, fade), 10);
  fade.fade = 25;
  EXPECT_EQ(Math1(100, 0, fade), 25);

  // (a op b) / divisor + bias, one rounding.
  ImageMathParams p = Op(kMathAdd);
  p.divisor = 4;
  p.bias = 100;
  EXPECT_EQ(Math1(5, 5, p), 102);   // 2.5 -> 2
  EXPECT_EQ(Math1(7, 7, p), 104);   // 3.5 -> 4
  p.bias = -200;
  EXPECT_EQ(Math1(7, 7, p), 0);     // clipped
  p.clip = false;
  EXPECT_EQ(Math1(7, 7, p), 65536 - 196);
  ImageMathParams d = Op(kMathDivide);
  d.divisor = 2;
  EXPECT_EQ(Math1(9, 3, d), 2);     // 9 / 6 = 1.5 -> 2
}

// The arithmetic written out plainly, in floating point, as a yardstick for
// the integer loops on whole frames.
uint16_t Reference(long a, long b, const ImageMathParams& p) {
  const long top = p.levels - 1;
  double v, den = double(p.divisor);
  switch (p.operation) {
    case kMathFade: v = double(a * p.fade + b * (100 - p.fade)); den *= 100; break;
    case kMathAdd: v = double(a + b); break;
    case kMathSubtract: v = double(a - b); break;
    case kMathMultiply: v = double(a) * double(b); break;
    case kMathDivide:
      if (b == 0) return uint16_t(a == 0 ? 0 : top);
      v = double(a);
      den *= double(b);
      break;
    case kMathDifference: v = double(std::abs(a - b)); break;
    case kMathLightest: v = double(std::max(a, b)); break;
    case kMathDarkest: v = double(std::min(a, b)); break;
    case kMathAnd: v = double(a & b); break;
    case kMathOr: v = double(a | b); break;
    case kMathXor: v = double(a ^ b); break;
    default: return uint16_t(a == b ? top : 0);
  }
  long r = long(std::nearbyint(v / den)) + p.bias;
  if (p.clip) return uint16_t(std::clamp(r, 0L, top));
  r %= p.levels;
  return uint16_t(r < 0 ? r + p.levels : r);
}

TEST_P(KernelImageMathPaths, WholeFramesMatchTheYardstick) {
  const FrameSize size{13, 5};  // odd width
  for (int channels : {1, 3}) {
    const size_t n = size.Samples(channels);
    Words a = Random(n, 1), b = Random(n, 2);
    a[0] = b[0] = 0;
    a[1] = b[1] = 65535;
    b[2] = 0;
    for (int op = kMathFade; op <= kMathCompare; ++op)
      for (bool clip : {true, false})
        for (long divisor : {1L, 3L, 300L, 1L << 21})
          for (long levels : {1000L, 4096L, 65536L})
            for (long bias : {0L, -17L, 40L}) {
            ImageMathParams p = Op(op, clip, levels);
            p.divisor = divisor;
            p.bias = bias;
            Words out(n);
            ASSERT_TRUE(SV_image_math2(size, channels, a, b, out, p));
            for (size_t i = 0; i < n; ++i)
              ASSERT_EQ(out[i], Reference(a[i], b[i], p))
                  << "op " << op << " clip " << clip << " divisor " << divisor << " levels "
                  << levels << " bias " << bias << " a " << a[i] << " b " << b[i];
          }
  }
}

// Fade and Divide over many random samples, with exact ties (odd and even
// quotients), zero samples and the largest divisors of their float loops.
// The yardstick is exact here: a quotient of these sizes that is not a tie
// lies far more than a rounding step of a double away from one.
TEST_P(KernelImageMathPaths, FadeAndDivideMatchExactIntegers) {
  std::mt19937 rng(77);
  const size_t n = 4099;  // vector blocks and a tail
  for (int round = 0; round < 60; ++round) {
    ImageMathParams p = Op(round % 2 ? kMathDivide : kMathFade, round % 3 != 0,
                           round % 3 == 1 ? 4096 : 65536);
    const long divisors[] = {1, 2, 3, 7, 100, 255, 256, 167772};
    p.divisor = divisors[round % 8];
    if (p.operation == kMathDivide) p.divisor = std::min(p.divisor, 256L);
    p.bias = round % 5 == 0 ? -long(rng() % 300) : round % 5 == 1 ? long(rng() % 300) : 0;
    p.fade = int(rng() % 101);
    if (round < 8) p.fade = 50;
    Words a(n), b(n);
    for (size_t i = 0; i < n; ++i) {
      a[i] = uint16_t(rng() >> (rng() % 17));  // small values too
      b[i] = uint16_t(rng() >> (rng() % 17));
      if (i % 7 == 0) b[i] = 0;
      if (i % 11 == 0) a[i] = 0;
      if (p.operation == kMathDivide && i % 5 == 1 && b[i] != 0) {
        // a = (2k + 1) b d / 2: a quotient of exactly k + 1/2.
        const uint64_t bd = uint64_t(b[i]) * uint64_t(p.divisor);
        if (bd % 2 == 0 && bd / 2 <= 65535) {
          const uint64_t most = (65535 / (bd / 2) - 1) / 2;
          a[i] = uint16_t((2 * (rng() % (most + 1)) + 1) * (bd / 2));
        }
      }
    }
    if (p.operation == kMathFade) {
      a[3] = 10, b[3] = 21;  // 15.5 at fade 50
      a[4] = 10, b[4] = 23;  // 16.5
    }
    Words out(n);
    ASSERT_TRUE(SV_image_math2({long(n), 1}, 1, a, b, out, p));
    for (size_t i = 0; i < n; ++i)
      ASSERT_EQ(out[i], Reference(a[i], b[i], p))
          << "op " << p.operation << " fade " << p.fade << " divisor " << p.divisor << " bias "
          << p.bias << " clip " << p.clip << " a " << a[i] << " b " << b[i];
  }
}

TEST(KernelImageMath, InPlaceAndBadArguments) {
  const FrameSize size{3, 3};
  Words a = Random(9, 4, 0xFF), b = Random(9, 5, 0xFF);
  Words expected(9);
  ASSERT_TRUE(SV_image_math2(size, 1, a, b, expected, Op(kMathAdd)));
  ASSERT_TRUE(SV_image_math2(size, 1, a, b, a, Op(kMathAdd)));  // dest is a
  EXPECT_EQ(a, expected);

  Words out(9, 7);
  EXPECT_FALSE(SV_image_math2(size, 1, ConstSamples16(a).first(8), b, out, Op(kMathAdd)));
  EXPECT_FALSE(SV_image_math2(size, 1, a, b, Samples16(out).first(8), Op(kMathAdd)));
  EXPECT_FALSE(SV_image_math2(size, 3, a, b, out, Op(kMathAdd)));
  EXPECT_FALSE(SV_image_math2(size, 2, a, b, out, Op(kMathAdd)));
  EXPECT_FALSE(SV_image_math2({0, 3}, 1, a, b, out, Op(kMathAdd)));
  ImageMathParams bad = Op(12);
  EXPECT_FALSE(SV_image_math2(size, 1, a, b, out, bad));
  bad = Op(kMathAdd);
  bad.divisor = 0;
  EXPECT_FALSE(SV_image_math2(size, 1, a, b, out, bad));
  bad = Op(kMathAdd, true, 1);
  EXPECT_FALSE(SV_image_math2(size, 1, a, b, out, bad));
  bad = Op(kMathFade);
  bad.fade = 101;
  EXPECT_FALSE(SV_image_math2(size, 1, a, b, out, bad));
  EXPECT_EQ(out, Words(9, 7));
  EXPECT_EQ(SV_compare(size, 3, Words(27), Words(26)), -1);
  EXPECT_EQ(SV_compare(size, 2, Words(18), Words(18)), -1);
}

// Every operation with a constant, grey and colour, is checked on long runs
// below; here the constants beyond a sample's range.
TEST(KernelImageMath, ConstantsBeyondTheSampleRange) {
  const FrameSize size{5, 3};
  Words out(15);
  ASSERT_TRUE(SV_modify_image16(size, Words(15, 1000), out, 3, Op(kMathMultiply)));
  EXPECT_EQ(out, Words(15, 3000));
  ASSERT_TRUE(SV_modify_image16(size, Words(15, 1000), out, 70000, Op(kMathSubtract, false)));
  EXPECT_EQ(out[0], uint16_t(1000 - 70000 + 131072));
  ASSERT_TRUE(SV_modify_image16(size, Words(15, 1000), out, -30, Op(kMathAdd)));
  EXPECT_EQ(out[14], 970);
  const std::array<long, 3> k = {100, 20000, 65535};
  Words small(44, 1);
  EXPECT_FALSE(SV_RGB_modify_image16(size, Random(45, 8), small, k, Op(kMathAdd)));
  EXPECT_EQ(small, Words(44, 1));
}

TEST(KernelImageMath, MaskAndBackground) {
  const FrameSize size{3, 1};
  Words image = {0xFFFF, 0x1234, 0x0FFF};
  ASSERT_TRUE(SV_image_and_const(size, 1, image, 0x0FFF));
  EXPECT_EQ(image, (Words{0x0FFF, 0x0234, 0x0FFF}));

  Words colour = {10, 20, 30, 40, 50, 60, 70, 80, 90};
  ASSERT_TRUE(SV_subtract_background(size, 3, colour, Words{5, 25, 30, 0, 60, 1, 70, 79, 91}));
  EXPECT_EQ(colour, (Words{5, 0, 0, 40, 0, 59, 0, 1, 0}));  // clipped at 0
  EXPECT_FALSE(SV_subtract_background(size, 3, colour, Words(8, 0)));
  EXPECT_FALSE(SV_image_and_const(size, 3, image, 0));
  EXPECT_EQ(image, (Words{0x0FFF, 0x0234, 0x0FFF}));
}

TEST(KernelImageMath, NegativeRelativeToLevels) {
  const FrameSize size{5, 1};
  Words image = {0, 1, 4095, 4096, 65535};
  ASSERT_TRUE(SV_negative(size, image, 4096));
  EXPECT_EQ(image, (Words{4095, 4094, 0, 0, 0}));
  EXPECT_FALSE(SV_negative(size, image, 1));
  EXPECT_FALSE(SV_negative(size, image, 65537));
  EXPECT_FALSE(SV_negative({6, 1}, image, 256));

  const FrameSize odd{7, 3};
  ExpectChannelwise(Random(63, 9), [&](Words& c) { return SV_RGB_negative(odd, c, 65536); },
                    [&](Words& c) { return SV_negative(odd, c, 65536); });
}

TEST(KernelImageMath, ColourDepthShiftsAndSaturates) {
  const FrameSize size{4, 1};
  Words image = {0, 1, 255, 300};
  ASSERT_TRUE(SV_change_color_depth(size, image, 8, 16));
  EXPECT_EQ(image, (Words{0, 256, 65280, 65535}));  // 300 is beyond 8 bits
  ASSERT_TRUE(SV_change_color_depth(size, image, 16, 8));
  EXPECT_EQ(image, (Words{0, 1, 255, 255}));
  image = {4095, 4096, 15, 16};
  ASSERT_TRUE(SV_change_color_depth(size, image, 12, 8));
  EXPECT_EQ(image, (Words{255, 255, 0, 1}));
  EXPECT_FALSE(SV_change_color_depth(size, image, 0, 8));
  EXPECT_FALSE(SV_change_color_depth(size, image, 8, 17));

  const FrameSize odd{3, 3};
  ExpectChannelwise(Random(27, 10, 0x0FFF),
                    [&](Words& c) { return SV_RGB_change_color_depth(odd, c, 12, 14); },
                    [&](Words& c) { return SV_change_color_depth(odd, c, 12, 14); });
}

TEST(KernelImageMath, MonoMatrixCountsTheOnes) {
  const FrameSize size{3, 2};
  std::vector<uint8_t> m(6, 9);
  EXPECT_EQ(SV_CvtToMono(size, 1, Words{0, 127, 128, 129, 65535, 3}, m, 128), 3);
  EXPECT_EQ(m, (std::vector<uint8_t>{0, 0, 1, 1, 1, 0}));
  EXPECT_EQ(SV_CvtToMono(size, 1, Words(6, 10), m, 128), 0);
  // Colour goes by the pixel's grey: pure red 255 is grey 76.
  const Words rgb = {255, 0, 0, 0, 255, 0, 0, 0, 255, 80, 80, 80, 0, 0, 0, 76, 76, 76};
  EXPECT_EQ(SV_CvtToMono(size, 3, rgb, m, 76), 4);
  EXPECT_EQ(m, (std::vector<uint8_t>{1, 1, 0, 1, 0, 1}));
  EXPECT_EQ(SV_CvtToMono(size, 1, Words(5, 0), m, 1), -1);
  std::vector<uint8_t> shortMatrix(5);
  EXPECT_EQ(SV_CvtToMono(size, 1, Words(6, 0), shortMatrix, 1), -1);
  EXPECT_EQ(SV_CvtToMono(size, 2, Words(12, 0), m, 1), -1);
}

TEST(KernelImageMath, TableMapping) {
  const FrameSize size{4, 1};
  const Words table = {100, 200, 300};
  Words image = {0, 1, 2, 60000};
  ASSERT_TRUE(SV_CvtColors(size, image, table));
  EXPECT_EQ(image, (Words{100, 200, 300, 300}));  // beyond the table: its last entry
  EXPECT_FALSE(SV_CvtColors(size, image, Words{}));

  Words ramp(65536);
  for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = uint16_t(65535 - i);
  const FrameSize odd{5, 1};
  ExpectChannelwise(Random(15, 12), [&](Words& c) { return SV_RGB_CvtColors(odd, c, ramp); },
                    [&](Words& c) { return SV_CvtColors(odd, c, ramp); });
}

TEST(KernelImageMath, GreyColourSplitAndFill) {
  const FrameSize size{3, 1};
  const Words rgb = {65535, 0, 0, 1000, 1000, 1000, 0, 0, 65535};
  Words grey(3);
  ASSERT_TRUE(SV_RGB_Greyscale16(size, rgb, grey));
  EXPECT_EQ(grey, (Words{uint16_t(GreyOf(65535, 0, 0)), 1000, uint16_t(GreyOf(0, 0, 65535))}));
  EXPECT_EQ(grey[0], 19595);

  Words colour(9);
  ASSERT_TRUE(SV_RGB_TrueColor16(size, grey, colour));
  EXPECT_EQ(colour, Interleave(grey, grey, grey));
  // In place: the grey frame at the start of the colour buffer.
  Words shared = {1, 2, 3, 0, 0, 0, 0, 0, 0};
  ASSERT_TRUE(SV_RGB_TrueColor16(size, ConstSamples16(shared).first(3), shared));
  EXPECT_EQ(shared, (Words{1, 1, 1, 2, 2, 2, 3, 3, 3}));
  ASSERT_TRUE(SV_RGB_Greyscale16(size, shared, Samples16(shared).first(3)));
  EXPECT_EQ(Words(shared.begin(), shared.begin() + 3), (Words{1, 2, 3}));

  Words r(3), g(3), b(3);
  ASSERT_TRUE(SV_RGB_split16(size, rgb, r, g, b));
  EXPECT_EQ(Interleave(r, g, b), rgb);
  EXPECT_FALSE(SV_RGB_split16(size, rgb, r, g, Samples16(b).first(2)));

  Words filled(9);
  ASSERT_TRUE(SV_RGB_fill16(size, filled, 1, 2, 3));
  EXPECT_EQ(filled, (Words{1, 2, 3, 1, 2, 3, 1, 2, 3}));

  // The display bitmap of a 3 x 2 colour frame: 9 bytes, padded to 12.
  std::vector<uint8_t> bitmap(2 * DisplayByteWidth(3, true), 0xEE);
  ASSERT_TRUE(SV_RGB_fill8({3, 2}, bitmap, 10, 20, 30));
  const std::vector<uint8_t> line = {30, 20, 10, 30, 20, 10, 30, 20, 10, 0, 0, 0};
  EXPECT_EQ(std::vector<uint8_t>(bitmap.begin(), bitmap.begin() + 12), line);
  EXPECT_EQ(std::vector<uint8_t>(bitmap.begin() + 12, bitmap.end()), line);
  std::vector<uint8_t> shortMap(23, 0xEE);
  EXPECT_FALSE(SV_RGB_fill8({3, 2}, shortMap, 1, 2, 3));
  EXPECT_EQ(shortMap, std::vector<uint8_t>(23, 0xEE));
}

// Frames large enough for the vector loops, with odd widths, against the
// pixel-by-pixel definitions.
TEST_P(KernelImageMathPaths, LongRunsMatchPixelByPixel) {
  const FrameSize size{37, 9};
  const size_t n = size.Pixels();
  const Words grey = Random(n, 30), other = Random(n, 31), rgb = Random(3 * n, 32);

  Words image = grey;
  ASSERT_TRUE(SV_subtract_background(size, 1, image, other));
  for (size_t i = 0; i < n; ++i) ASSERT_EQ(image[i], grey[i] > other[i] ? grey[i] - other[i] : 0);
  image = grey;
  ASSERT_TRUE(SV_negative(size, image, 40000));
  for (size_t i = 0; i < n; ++i) ASSERT_EQ(image[i], 39999 - std::min<int>(grey[i], 39999));
  image = grey;
  ASSERT_TRUE(SV_change_color_depth(size, image, 15, 10));
  for (size_t i = 0; i < n; ++i) ASSERT_EQ(image[i], grey[i] > 32767 ? 1023 : grey[i] >> 5);

  std::vector<uint8_t> m(n);
  long ones = SV_CvtToMono(size, 1, grey, m, 30000);
  long expected = 0;
  for (size_t i = 0; i < n; ++i) {
    ASSERT_EQ(m[i], grey[i] >= 30000 ? 1 : 0);
    expected += grey[i] >= 30000;
  }
  EXPECT_EQ(ones, expected);
  ones = SV_CvtToMono(size, 3, rgb, m, 30000);
  expected = 0;
  for (size_t i = 0; i < n; ++i) expected += GreyOf(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]) >= 30000;
  EXPECT_EQ(ones, expected);

  EXPECT_EQ(SV_CvtToMono(size, 1, grey, m, 0), long(n));
  EXPECT_EQ(SV_CvtToMono(size, 1, grey, m, 65536), 0);
  EXPECT_EQ(std::count(m.begin(), m.end(), 0), long(n));

  // More samples than the counting lanes of a vector take at once.
  const FrameSize big{600, 500};
  Words x(big.Pixels(), 7), y(big.Pixels(), 7);
  for (size_t i = 0; i < x.size(); i += 3) y[i] = 8;
  EXPECT_EQ(SV_compare(big, 1, x, y), long((x.size() + 2) / 3));

  Words half = grey;
  long differ = 0;
  for (size_t i = 0; i < n; i += 2) {
    half[i] = other[i];
    differ += grey[i] != other[i];
  }
  EXPECT_EQ(SV_compare(size, 1, grey, half), differ);
  Words rgbHalf = rgb;
  for (size_t i = 0; i < n; i += 3) rgbHalf[3 * i + 2] ^= 1;  // blue of every third pixel
  EXPECT_EQ(SV_compare(size, 3, rgb, rgbHalf), long((n + 2) / 3));

  Words g(n), colour(3 * n), r(n), gr(n), b(n);
  ASSERT_TRUE(SV_RGB_Greyscale16(size, rgb, g));
  for (size_t i = 0; i < n; ++i) ASSERT_EQ(g[i], GreyOf(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]));
  ASSERT_TRUE(SV_RGB_TrueColor16(size, grey, colour));
  EXPECT_EQ(colour, Interleave(grey, grey, grey));
  ASSERT_TRUE(SV_RGB_split16(size, rgb, r, gr, b));
  EXPECT_EQ(Interleave(r, gr, b), rgb);
  // Constants, grey and colour.
  for (int op = kMathFade; op <= kMathCompare; ++op)
    for (bool clip : {true, false}) {
      const ImageMathParams p = Op(op, clip, clip ? 40000 : 16384);
      Words out(n), colour(3 * n);
      ASSERT_TRUE(SV_modify_image16(size, grey, out, 777, p));
      for (size_t i = 0; i < n; ++i) ASSERT_EQ(out[i], Reference(grey[i], 777, p)) << op;
      const std::array<long, 3> k = {5, 60000, 31};
      ASSERT_TRUE(SV_RGB_modify_image16(size, rgb, colour, k, p));
      for (size_t i = 0; i < 3 * n; ++i) ASSERT_EQ(colour[i], Reference(rgb[i], k[i % 3], p)) << op;
    }

  // Exact ties of the weighted sum, odd and even, in the vector loop.
  Words ties;
  for (uint32_t r = 0; r < 65536 && ties.size() < 3 * 40; r += 7)
    for (uint32_t b = 0; b < 4096; ++b)
      if (((19595u * r + 7471u * b) & 0xFFFFu) == 0x8000u) {
        ties.insert(ties.end(), {uint16_t(r), 0, uint16_t(b)});
        break;
      }
  ASSERT_EQ(ties.size(), 120u);
  Words tieGrey(40);
  ASSERT_TRUE(SV_RGB_Greyscale16({40, 1}, ties, tieGrey));
  bool odd = false, even = false;
  for (size_t i = 0; i < 40; ++i) {
    const uint32_t q = (19595u * ties[3 * i] + 7471u * ties[3 * i + 2]) >> 16;
    (q & 1 ? odd : even) = true;
    ASSERT_EQ(tieGrey[i], q + (q & 1)) << i;
  }
  EXPECT_TRUE(odd && even);

  // Full-scale colours round the same way in the vector loop.
  const Words white(3 * n, 65535);
  ASSERT_TRUE(SV_RGB_Greyscale16(size, white, g));
  EXPECT_EQ(g, Words(n, 65535));
}

}  // namespace
}  // namespace sv
