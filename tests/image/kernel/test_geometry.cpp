#include "image/kernel/geometry.h"

#include <gtest/gtest.h>

#include "frames.h"

namespace sv {
namespace {

using test::Channel;
using test::Frame;
using test::Random;

// Sample (x, y) numbered so that a misplaced pixel shows: 100 y + x.
Frame Numbered(FrameSize size) {
  Frame f(size.Samples());
  for (long y = 0; y < size.height; ++y)
    for (long x = 0; x < size.width; ++x) f[size_t(y * size.width + x)] = uint16_t(100 * y + x);
  return f;
}

class GeometryIsa : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override { SV_set_geometry_isa(GetParam()); }
  void TearDown() override { SV_set_geometry_isa(-1); }
};

TEST(GeometryFlip, TopBottomAndLeftRight) {
  const FrameSize size{3, 2};
  const Frame src = Numbered(size);  // 0 1 2 / 100 101 102
  Frame out(6);
  ASSERT_TRUE(SV_flip(size, src, out));
  EXPECT_EQ(out, (Frame{100, 101, 102, 0, 1, 2}));
  ASSERT_TRUE(SV_mirror(size, src, out));
  EXPECT_EQ(out, (Frame{2, 1, 0, 102, 101, 100}));
  // Colour keeps the channel order of each pixel.
  const Frame rgb = {1, 2, 3, 4, 5, 6};
  ASSERT_TRUE(SV_RGB_mirror(FrameSize{2, 1}, rgb, out));
  EXPECT_EQ(out, (Frame{4, 5, 6, 1, 2, 3}));
  ASSERT_TRUE(SV_RGB_flip(FrameSize{1, 2}, rgb, out));
  EXPECT_EQ(out, (Frame{4, 5, 6, 1, 2, 3}));
}

TEST(GeometryFlip, TwiceIsTheIdentityAndInPlaceIsTheSame) {
  for (FrameSize size : {FrameSize{7, 5}, FrameSize{1, 1}, FrameSize{6, 4}, FrameSize{5, 1}}) {
    for (int channels : {1, 3}) {
      auto flip = channels == 1 ? SV_flip : SV_RGB_flip;
      auto mirror = channels == 1 ? SV_mirror : SV_RGB_mirror;
      const Frame src = Random(size, channels, 7);
      for (auto op : {flip, mirror}) {
        Frame once(src.size()), twice(src.size());
        ASSERT_TRUE(op(size, src, once));
        ASSERT_TRUE(op(size, once, twice));
        EXPECT_EQ(twice, src);
        Frame inPlace = src;
        ASSERT_TRUE(op(size, inPlace, inPlace));
        EXPECT_EQ(inPlace, once);
      }
    }
  }
}

TEST(GeometryRotate, QuarterTurnsOnScreen) {
  // a b c        clockwise:  d a     counter-clockwise:  c f
  // d e f                    e b                         b e
  //                          f c                         a d
  const FrameSize size{3, 2};
  const Frame src = {1, 2, 3, 4, 5, 6};
  Frame out(6);
  ASSERT_TRUE(SV_Rotate90(size, src, out));
  EXPECT_EQ(out, (Frame{4, 1, 5, 2, 6, 3}));
  ASSERT_TRUE(SV_Rotate270(size, src, out));
  EXPECT_EQ(out, (Frame{3, 6, 2, 5, 1, 4}));
  EXPECT_EQ(std::pair(RotatedSize(size).width, RotatedSize(size).height), std::pair(2L, 3L));
}

TEST(GeometryRotate, FourTurnsAreTheIdentityAndTwoAreFlipAndMirror) {
  // Sizes across the 32-pixel tiles, odd and unequal.
  for (FrameSize size : {FrameSize{5, 3}, FrameSize{67, 33}, FrameSize{1, 9}, FrameSize{40, 1}}) {
    for (int channels : {1, 3}) {
      auto r90 = channels == 1 ? SV_Rotate90 : SV_RGB_Rotate90;
      auto r270 = channels == 1 ? SV_Rotate270 : SV_RGB_Rotate270;
      const Frame src = Random(size, channels, 11);
      Frame a(src.size()), b(src.size());
      FrameSize s = size;
      ASSERT_TRUE(r90(s, src, a));
      s = RotatedSize(s);
      ASSERT_TRUE(r90(s, a, b));
      s = RotatedSize(s);
      Frame half = b;
      ASSERT_TRUE(r90(s, b, a));
      s = RotatedSize(s);
      ASSERT_TRUE(r90(s, a, b));
      EXPECT_EQ(b, src);
      // A half turn is a flip and a mirror.
      Frame fm(src.size()), fm2(src.size());
      ASSERT_TRUE((channels == 1 ? SV_flip : SV_RGB_flip)(size, src, fm));
      ASSERT_TRUE((channels == 1 ? SV_mirror : SV_RGB_mirror)(size, fm, fm2));
      EXPECT_EQ(half, fm2);
      // 270 undoes 90.
      ASSERT_TRUE(r90(size, src, a));
      ASSERT_TRUE(r270(RotatedSize(size), a, b));
      EXPECT_EQ(b, src);
    }
  }
}

TEST(GeometryStretch, PixelCentresMeetAndEdgesRepeat) {
  // The same size is a copy.
  for (FrameSize size : {FrameSize{7, 5}, FrameSize{1, 1}, FrameSize{33, 2}}) {
    const Frame rgb = Random(size, 3, 6);
    Frame out(rgb.size());
    ASSERT_TRUE(SV_RGB_stretch(size, rgb, size, out));
    EXPECT_EQ(out, rgb);
    ASSERT_TRUE(SV_stretch(size, Channel(rgb, 1), size, out));
    EXPECT_EQ(Frame(out.begin(), out.begin() + long(size.Pixels())), Channel(rgb, 1));
  }
  // Up: destination centres at -0.25, 0.25, 0.75, 1.25 source pixels.
  Frame out(4);
  ASSERT_TRUE(SV_stretch(FrameSize{2, 1}, Frame{0, 1000}, FrameSize{4, 1}, out));
  EXPECT_EQ(out, (Frame{0, 250, 750, 1000}));
  ASSERT_TRUE(SV_stretch(FrameSize{1, 2}, Frame{0, 1000}, FrameSize{1, 4}, out));
  EXPECT_EQ(out, (Frame{0, 250, 750, 1000}));
  // Down by two: each destination pixel is the mean of two.
  Frame two(2);
  ASSERT_TRUE(SV_stretch(FrameSize{4, 1}, Frame{0, 100, 200, 301}, FrameSize{2, 1}, two));
  EXPECT_EQ(two, (Frame{50, 251}));  // 250.5 rounds up
  // Both ways at once: the mean of a 2 x 2 block.
  Frame one(1);
  ASSERT_TRUE(SV_stretch(FrameSize{2, 2}, Frame{0, 100, 200, 65535}, FrameSize{1, 1}, one));
  EXPECT_EQ(one[0], (0 + 100 + 200 + 65535 + 2) / 4);
  // One pixel spreads over any size; full scale stays in range.
  Frame wide(15);
  ASSERT_TRUE(SV_stretch(FrameSize{1, 1}, Frame{65535}, FrameSize{5, 3}, wide));
  EXPECT_EQ(wide, Frame(15, 65535));
}

TEST(GeometryStretch, ARampStaysARamp) {
  // A ramp of 64 levels a pixel across, 1024 levels a line down, scaled by 3/2:
  // interpolation inside the frame follows the ramp to within a level.
  const FrameSize from{20, 12}, to{30, 18};
  Frame src(from.Samples());
  for (long y = 0; y < from.height; ++y)
    for (long x = 0; x < from.width; ++x) src[size_t(y * 20 + x)] = uint16_t(64 * x + 1024 * y);
  Frame out(to.Samples());
  ASSERT_TRUE(SV_stretch(from, src, to, out));
  for (long y = 1; y < to.height - 1; ++y)
    for (long x = 1; x < to.width - 1; ++x) {
      const double sx = (x + 0.5) * 20 / 30 - 0.5, sy = (y + 0.5) * 12 / 18 - 0.5;
      EXPECT_NEAR(out[size_t(y * 30 + x)], 64 * sx + 1024 * sy, 1.0) << x << "," << y;
    }
}

TEST(GeometryColour, TwinsAreThreeGreyRuns) {
  const FrameSize from{13, 7}, to{29, 4};
  const Frame rgb = Random(from, 3, 9);
  Frame r90(rgb.size()), r270(rgb.size()), stretched(to.Samples(3));
  ASSERT_TRUE(SV_RGB_Rotate90(from, rgb, r90));
  ASSERT_TRUE(SV_RGB_Rotate270(from, rgb, r270));
  ASSERT_TRUE(SV_RGB_stretch(from, rgb, to, stretched));
  for (int c = 0; c < 3; ++c) {
    Frame grey(from.Samples()), small(to.Samples());
    ASSERT_TRUE(SV_Rotate90(from, Channel(rgb, c), grey));
    EXPECT_EQ(Channel(r90, c), grey) << "channel " << c;
    ASSERT_TRUE(SV_Rotate270(from, Channel(rgb, c), grey));
    EXPECT_EQ(Channel(r270, c), grey) << "channel " << c;
    ASSERT_TRUE(SV_stretch(from, Channel(rgb, c), to, small));
    EXPECT_EQ(Channel(stretched, c), small) << "channel " << c;
  }
}

TEST(GeometryField, HalfTheLines) {
  const FrameSize size{3, 5};
  const Frame src = Numbered(size);
  EXPECT_EQ(std::pair(FieldSize(size, 1).height, FieldSize(size, 2).height), std::pair(3L, 2L));
  Frame out(9, 0xEEEE);
  ASSERT_TRUE(SV_extract_field(size, src, 1, out));
  EXPECT_EQ(out, (Frame{0, 1, 2, 200, 201, 202, 400, 401, 402}));
  out.assign(9, 0xEEEE);
  ASSERT_TRUE(SV_extract_field(size, src, 2, out));
  EXPECT_EQ(out, (Frame{100, 101, 102, 300, 301, 302, 0xEEEE, 0xEEEE, 0xEEEE}));
  // In place, and the colour twin.
  Frame inPlace = src;
  ASSERT_TRUE(SV_extract_field(size, inPlace, 2, inPlace));
  EXPECT_EQ(Frame(inPlace.begin(), inPlace.begin() + 6), (Frame{100, 101, 102, 300, 301, 302}));
  const Frame rgb = Random(FrameSize{2, 4}, 3, 1);
  Frame field(12);
  ASSERT_TRUE(SV_RGB_extract_field(FrameSize{2, 4}, rgb, 2, field));
  Frame expected(rgb.begin() + 6, rgb.begin() + 12);  // lines 1 and 3
  expected.insert(expected.end(), rgb.begin() + 18, rgb.end());
  EXPECT_EQ(field, expected);
}

TEST(GeometryArguments, BadSizesAndOverlapsAreRefusedUntouched) {
  const FrameSize size{4, 3};
  Frame src = Random(size, 3, 2);
  Frame small(11, 0xABCD);
  EXPECT_FALSE(SV_flip(size, src, small));
  Frame enough(12, 0xABCD);
  EXPECT_FALSE(SV_mirror(size, ConstSamples16(src.data(), 11), enough));
  EXPECT_EQ(enough, Frame(12, 0xABCD));
  EXPECT_FALSE(SV_Rotate90(size, src, small));
  EXPECT_FALSE(SV_RGB_Rotate270(size, src, Samples16(src.data(), 36)));
  EXPECT_FALSE(SV_stretch(size, src, FrameSize{2, 6}, small));
  EXPECT_FALSE(SV_stretch(FrameSize{0, 3}, src, size, small));
  EXPECT_FALSE(SV_stretch(size, src, FrameSize{4, -1}, small));
  EXPECT_FALSE(SV_extract_field(size, src, 3, small));
  EXPECT_FALSE(SV_extract_field(size, src, 0, small));
  EXPECT_FALSE(SV_extract_field(FrameSize{4, 1}, src, 2, small));
  EXPECT_EQ(small, Frame(11, 0xABCD));
  // Dest starting one sample into the source: neither the source nor the
  // rest is touched.
  const Frame before = src;
  Samples16 shifted(src.data() + 1, 12);
  EXPECT_FALSE(SV_flip(size, ConstSamples16(src.data(), 12), shifted));
  EXPECT_FALSE(SV_mirror(size, ConstSamples16(src.data(), 12), shifted));
  EXPECT_FALSE(SV_stretch(size, ConstSamples16(src.data(), 12), size, shifted));
  EXPECT_FALSE(SV_Rotate90(size, ConstSamples16(src.data(), 12), Samples16(src.data(), 12)));
  EXPECT_EQ(src, before);
}

TEST_P(GeometryIsa, EveryLevelGivesTheSameSamples) {
  // Compare with the plain level at sizes that leave vector tails.
  const FrameSize size{131, 37}, to{203, 23};
  for (int channels : {1, 3}) {
    const Frame src = Random(size, channels, 21);
    auto run = [&](int level) {
      SV_set_geometry_isa(level);
      std::vector<Frame> r;
      Frame out(src.size());
      (channels == 1 ? SV_mirror : SV_RGB_mirror)(size, src, out);
      r.push_back(out);
      (channels == 1 ? SV_Rotate90 : SV_RGB_Rotate90)(size, src, out);
      r.push_back(out);
      (channels == 1 ? SV_Rotate270 : SV_RGB_Rotate270)(size, src, out);
      r.push_back(out);
      Frame big(to.Samples(channels));
      (channels == 1 ? SV_stretch : SV_RGB_stretch)(size, src, to, big);
      r.push_back(big);
      (channels == 1 ? SV_stretch : SV_RGB_stretch)(to, Frame(big), size, out);
      r.push_back(out);
      // A shrink too strong for the vector windows takes the other loops.
      const FrameSize tiny{19, 9};
      Frame small(tiny.Samples(channels));
      (channels == 1 ? SV_stretch : SV_RGB_stretch)(size, src, tiny, small);
      r.push_back(small);
      SV_set_geometry_isa(GetParam());
      return r;
    };
    const auto base = run(0);
    const auto here = run(GetParam());
    for (size_t k = 0; k < base.size(); ++k) EXPECT_EQ(here[k], base[k]) << "routine " << k;
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, GeometryIsa, ::testing::Values(0, 1, 2));

}  // namespace
}  // namespace sv
