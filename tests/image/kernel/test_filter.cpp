#include "image/kernel/filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "frames.h"

namespace sv {
namespace {

using test::Channel;
using test::Frame;
using test::Random;

// A record from the kernel rows given around the centre of the 7 x 7 grid.
FilterRecord Record(std::initializer_list<std::initializer_list<int32_t>> rows, int32_t factor,
                    int32_t bias) {
  FilterRecord f{};
  std::memset(f.Name, ' ', sizeof f.Name);
  f.Factor = factor;
  f.Bias = bias;
  const int top = (7 - int(rows.size())) / 2;
  int r = 0;
  for (const auto& row : rows) {
    const int left = (7 - int(row.size())) / 2;
    int c = 0;
    for (int32_t v : row) f.Coefficients[(r + top) * 7 + c + left] = v, ++c;
    ++r;
  }
  return f;
}

FilterRecord Identity() { return Record({{1}}, 1, 0); }

// Exact division rounded to nearest, ties to even, done the long way.
int64_t Nearest(int64_t n, int64_t d) {
  long double q = (long double)n / (long double)d;
  int64_t lo = int64_t(q) - 2;
  int64_t best = lo;
  for (int64_t k = lo; k <= lo + 4; ++k) {
    // |n/d - k| compared as |n - k d| over |d|.
    __int128 e = (__int128)n - (__int128)k * d, b = (__int128)n - (__int128)best * d;
    if (e < 0) e = -e;
    if (b < 0) b = -b;
    if (e < b || (e == b && (k % 2 == 0))) best = k;
  }
  return best;
}

// The filter as written down: every tap, replicated edges, one pixel at a time.
Frame Reference(FrameSize size, int channels, const Frame& src, const FilterRecord& f, int radius,
                int bits) {
  Frame out(src.size());
  const long w = size.width, h = size.height;
  for (long y = 0; y < h; ++y)
    for (long x = 0; x < w; ++x)
      for (int c = 0; c < channels; ++c) {
        int64_t sum = 0;
        for (int r = -radius; r <= radius; ++r)
          for (int k = -radius; k <= radius; ++k) {
            const long yy = std::clamp(y + r, 0L, h - 1), xx = std::clamp(x + k, 0L, w - 1);
            sum += int64_t(f.Coefficients[(r + 3) * 7 + k + 3]) *
                   src[size_t((yy * w + xx) * channels + c)];
          }
        const int64_t v = Nearest(sum, f.Factor) + f.Bias;
        out[size_t((y * w + x) * channels + c)] =
            uint16_t(std::clamp<int64_t>(v, 0, (int64_t(1) << bits) - 1));
      }
  return out;
}

using FilterFn = bool (*)(FrameSize, ConstSamples16, Samples16, const FilterRecord&, int);
FilterFn Grey(int radius) {
  return radius == 1 ? SV_filter_3x3 : radius == 2 ? SV_filter_5x5 : SV_filter_7x7;
}
FilterFn Colour(int radius) {
  return radius == 1 ? SV_RGB_filter_3x3 : radius == 2 ? SV_RGB_filter_5x5 : SV_RGB_filter_7x7;
}

class FilterIsa : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override { SV_set_filter_isa(GetParam()); }
  void TearDown() override { SV_set_filter_isa(-1); }
};

TEST(FilterRecordTest, LayoutAndKernelSize) {
  EXPECT_EQ(offsetof(FilterRecord, Reserved), 24u);
  EXPECT_EQ(offsetof(FilterRecord, Factor), 28u);
  EXPECT_EQ(offsetof(FilterRecord, Bias), 32u);
  EXPECT_EQ(offsetof(FilterRecord, Coefficients), 36u);
  FilterRecord f{};
  EXPECT_EQ(FilterKernelSize(f), 3);
  f = Record({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, 9, 0);
  EXPECT_EQ(FilterKernelSize(f), 3);
  f.Coefficients[1 * 7 + 3] = -1;  // the next ring
  EXPECT_EQ(FilterKernelSize(f), 5);
  f.Coefficients[0] = 1;  // one corner of the outer ring
  EXPECT_EQ(FilterKernelSize(f), 7);
  FilterRecord g{};
  g.Coefficients[6 * 7 + 6] = 2;
  EXPECT_EQ(FilterKernelSize(g), 7);
}

TEST(FilterConvolution, BoxBlurWithReplicatedEdgesAndTheKernelAsWritten) {
  // One bright pixel in the middle of 3 x 3: every neighbourhood, the corners'
  // with their repeated edge pixels too, holds it exactly once.
  const FrameSize size{3, 3};
  const Frame src = {0, 0, 0, 0, 900, 0, 0, 0, 0};
  Frame out(9);
  ASSERT_TRUE(SV_filter_3x3(size, src, out, Record({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, 9, 0), 16));
  EXPECT_EQ(out, Frame(9, 100));
  // A corner pixel counts four times in its own corner.
  const Frame corner = {900, 0, 0, 0, 0, 0, 0, 0, 0};
  ASSERT_TRUE(SV_filter_3x3(size, corner, out, Record({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, 9, 0), 16));
  EXPECT_EQ(out, (Frame{400, 200, 0, 200, 100, 0, 0, 0, 0}));

  // The kernel is laid over the image as written. Weight on the right-hand
  // neighbour: each pixel takes the one to its right, the last column
  // repeats itself; on the line above: the first line repeats itself; three
  // pixels to the left in the 7 x 7 grid: the first column repeats.
  const FrameSize four{4, 2};
  const Frame src8 = {1, 2, 3, 4, 5, 6, 7, 8};
  FilterRecord far{};
  far.Factor = 1;
  far.Coefficients[3 * 7 + 0] = 1;
  Frame out8(8);
  ASSERT_TRUE(SV_filter_3x3(four, src8, out8, Record({{0, 0, 0}, {0, 0, 1}, {0, 0, 0}}, 1, 0), 16));
  EXPECT_EQ(out8, (Frame{2, 3, 4, 4, 6, 7, 8, 8}));
  ASSERT_TRUE(SV_filter_3x3(four, src8, out8, Record({{0, 1, 0}, {0, 0, 0}, {0, 0, 0}}, 1, 0), 16));
  EXPECT_EQ(out8, (Frame{1, 2, 3, 4, 1, 2, 3, 4}));
  ASSERT_TRUE(SV_filter_7x7(four, src8, out8, far, 16));
  EXPECT_EQ(out8, (Frame{1, 1, 1, 1, 5, 5, 5, 5}));
}

TEST(FilterConvolution, FactorRoundsToNearestEvenThenBias) {
  const FrameSize size{8, 1};
  const Frame src = {0, 1, 2, 3, 4, 5, 6, 7};
  Frame out(8);
  // x / 2: 0.5 -> 0, 1.5 -> 2, 2.5 -> 2, 3.5 -> 4; then + 10.
  // Negative sums round the same way about 0, and so do negative factors.
  // x / 3: 1/3 -> 0, 2/3 -> 1, 4/3 -> 1, 5/3 -> 2.
  struct Case {
    FilterRecord f;
    Frame expected;
  };
  for (const Case& c : {Case{Record({{1}}, 2, 10), {10, 10, 11, 12, 12, 12, 13, 14}},
                        Case{Record({{-1}}, 2, 100), {100, 100, 99, 98, 98, 98, 97, 96}},
                        Case{Record({{1}}, -2, 50), {50, 50, 49, 48, 48, 48, 47, 46}},
                        Case{Record({{1}}, 3, 0), {0, 0, 1, 1, 1, 2, 2, 2}}}) {
    ASSERT_TRUE(SV_filter_3x3(size, src, out, c.f, 16));
    EXPECT_EQ(out, c.expected) << c.f.Factor << " " << c.f.Bias;
  }
}

TEST(FilterConvolution, ResultsClampToTheImageLevels) {
  const FrameSize size{3, 1};
  const Frame src = {10, 200, 250}, full(3, 65535);
  // Extreme biases saturate, never wrap.
  struct Case {
    const Frame& in;
    FilterRecord f;
    int bits;
    Frame expected;
  };
  for (const Case& c : {Case{src, Record({{2}}, 1, 0), 8, {20, 255, 255}},
                        Case{src, Record({{2}}, 1, 0), 12, {20, 400, 500}},
                        Case{src, Record({{1}}, 1, -100), 8, {0, 100, 150}},
                        Case{full, Record({{1, 1, 1}}, 1, 0), 16, full},
                        Case{src, Record({{1}}, 1, 2147483647), 16, full},
                        Case{full, Record({{1}}, 1, -2147483647 - 1), 16, {0, 0, 0}}}) {
    Frame out(3);
    ASSERT_TRUE(SV_filter_3x3(size, c.in, out, c.f, c.bits));
    EXPECT_EQ(out, c.expected) << c.bits << " " << c.f.Bias;
  }
}

TEST(FilterConvolution, MatchesTheTapByTapFilterForAnyWeights) {
  // Weights small enough for single-precision division, for double
  // precision, and beyond 32-bit sums, each on odd sizes with vector tails.
  std::mt19937 gen(99);
  const int32_t spans[] = {4, 3000, 40000000, 2147483647};
  for (int32_t span : spans)
    for (int radius = 1; radius <= 3; ++radius) {
      FilterRecord f{};
      for (auto& c : f.Coefficients) c = int32_t(int64_t(gen() % (2 * uint64_t(span) + 1)) - span);
      f.Factor = int32_t(gen() % 200) - 100;
      if (f.Factor == 0) f.Factor = 7;
      f.Bias = int32_t(gen() % 2000) - 1000;
      for (FrameSize size : {FrameSize{71, 6}, FrameSize{2, 3}, FrameSize{1, 1}}) {
        const Frame grey = Random(size, 1, uint32_t(span) + uint32_t(radius));
        Frame out(grey.size());
        ASSERT_TRUE(Grey(radius)(size, grey, out, f, 16));
        EXPECT_EQ(out, Reference(size, 1, grey, f, radius, 16)) << span << " r" << radius;
      }
    }
  // Sums near the edge of the single-precision way: an exact tie at 2^22.
  const Frame big = {65535, 65535, 65535, 65535, 0};
  FilterRecord f = Record({{64, 64, 0}}, 128, 0);
  Frame out(5);
  ASSERT_TRUE(SV_filter_3x3(FrameSize{5, 1}, big, out, f, 16));
  EXPECT_EQ(out, Reference(FrameSize{5, 1}, 1, big, f, 1, 16));
}

TEST(FilterConvolution, ColourTwinIsThreeGreyRunsAndInPlaceIsTheSame) {
  const FrameSize size{9, 5};
  const Frame rgb = Random(size, 3, 8);
  const FilterRecord sharpen = Record({{0, -1, 0}, {-1, 5, -1}, {0, -1, 0}}, 1, 0);
  const FilterRecord gauss = Record({{1, 4, 6, 4, 1}, {4, 16, 24, 16, 4}, {6, 24, 36, 24, 6},
                                     {4, 16, 24, 16, 4}, {1, 4, 6, 4, 1}},
                                    256, 3);
  FilterRecord wide{};
  for (int i = 0; i < 49; ++i) wide.Coefficients[i] = (i * 7) % 11 - 5;
  wide.Factor = 13;
  const std::pair<int, const FilterRecord*> cases[] = {{1, &sharpen}, {2, &gauss}, {3, &wide}};
  for (auto [radius, f] : cases) {
    Frame out(rgb.size());
    ASSERT_TRUE(Colour(radius)(size, rgb, out, *f, 14));
    for (int c = 0; c < 3; ++c) {
      Frame grey(size.Samples());
      ASSERT_TRUE(Grey(radius)(size, Channel(rgb, c), grey, *f, 14));
      EXPECT_EQ(Channel(out, c), grey) << "radius " << radius << " channel " << c;
    }
    Frame inPlace = rgb;
    ASSERT_TRUE(Colour(radius)(size, inPlace, inPlace, *f, 14));
    EXPECT_EQ(inPlace, out);
  }
}

TEST(FilterConvolution, BadArgumentsAreRefusedUntouched) {
  const FrameSize size{4, 3};
  Frame src = Random(size, 3, 4);
  Frame out(12, 0xABCD);
  const Frame untouched = out;
  EXPECT_FALSE(SV_filter_3x3(size, src, out, Record({{1}}, 0, 0), 16));  // factor 0
  EXPECT_FALSE(SV_filter_3x3(size, src, out, Identity(), 0));
  EXPECT_FALSE(SV_filter_3x3(size, src, out, Identity(), 17));
  EXPECT_FALSE(SV_filter_5x5(size, ConstSamples16(src.data(), 11), out, Identity(), 16));
  EXPECT_FALSE(SV_filter_7x7(size, src, Samples16(out.data(), 11), Identity(), 16));
  EXPECT_FALSE(SV_RGB_filter_3x3(size, src, out, Identity(), 16));  // 12 of 36
  EXPECT_FALSE(SV_filter_3x3(FrameSize{0, 3}, src, out, Identity(), 16));
  EXPECT_EQ(out, untouched);
  const Frame before = src;
  EXPECT_FALSE(SV_filter_3x3(size, ConstSamples16(src.data(), 12),
                             Samples16(src.data() + 1, 12), Identity(), 16));
  EXPECT_FALSE(SV_Dilatation(size, ConstSamples16(src.data() + 2, 12),
                             Samples16(src.data(), 12), 8));
  EXPECT_EQ(src, before);
}

TEST(FilterBinarize, AboveTheThresholdIsTheTopLevel) {
  const FrameSize size{5, 1};
  const Frame src = {0, 99, 100, 101, 65535};
  Frame out(5);
  ASSERT_TRUE(SV_Binarize(size, src, out, 100, 8));
  EXPECT_EQ(out, (Frame{0, 0, 0, 255, 255}));
  ASSERT_TRUE(SV_Binarize(size, src, out, 100, 16));
  EXPECT_EQ(out, (Frame{0, 0, 0, 65535, 65535}));
  ASSERT_TRUE(SV_Binarize(size, src, out, -1, 12));
  EXPECT_EQ(out, Frame(5, 4095));
  ASSERT_TRUE(SV_Binarize(size, src, out, 65535, 16));
  EXPECT_EQ(out, Frame(5, 0));
  Frame inPlace = src;
  ASSERT_TRUE(SV_Binarize(size, inPlace, inPlace, 0, 1));
  EXPECT_EQ(inPlace, (Frame{0, 1, 1, 1, 1}));
  EXPECT_FALSE(SV_Binarize(size, src, out, 10, 0));
  EXPECT_FALSE(SV_Binarize(size, src, Samples16(out.data(), 4), 10, 8));
}

TEST(FilterMorphology, GreyLevelsAndTheNeighbourhoods) {
  // A cross keeps its centre under 4-erosion and loses it under 8-erosion.
  const FrameSize size{5, 5};
  Frame cross(25, 0), centre(25, 0), out(25);
  for (size_t i : {7, 11, 12, 13, 17}) cross[i] = 9;
  centre[12] = 9;
  ASSERT_TRUE(SV_Erosion(size, cross, out, 4));
  EXPECT_EQ(out, centre);
  ASSERT_TRUE(SV_Erosion(size, cross, out, 8));
  EXPECT_EQ(out, Frame(25, 0));
  EXPECT_FALSE(SV_Erosion(size, cross, out, 6));
  EXPECT_FALSE(SV_Dilatation(size, cross, out, 0));
  // Grey: the smallest and largest of each neighbourhood.
  const Frame src = {5, 1, 9, 4, 8, 2};
  ASSERT_TRUE(SV_Erosion({3, 2}, src, out, 8));
  EXPECT_EQ(Frame(out.begin(), out.begin() + 6), Frame(6, 1));
  ASSERT_TRUE(SV_Erosion({3, 2}, src, out, 4));
  EXPECT_EQ(Frame(out.begin(), out.begin() + 6), (Frame{1, 1, 1, 4, 1, 2}));
  ASSERT_TRUE(SV_Dilatation({3, 2}, src, out, 4));
  EXPECT_EQ(Frame(out.begin(), out.begin() + 6), (Frame{5, 9, 9, 8, 8, 9}));
  // Beyond the frame is the frame itself: a uniform frame's border does not erode.
  const Frame flat(12, 300);
  ASSERT_TRUE(SV_Erosion(FrameSize{4, 3}, flat, out, 8));
  EXPECT_EQ(Frame(out.begin(), out.begin() + 12), flat);
}

// Morphology as written down: every neighbour inside the frame.
Frame ReferenceMorph(FrameSize size, const Frame& src, int conn, bool dilate) {
  Frame out(src.size());
  const long w = size.width, h = size.height;
  for (long y = 0; y < h; ++y)
    for (long x = 0; x < w; ++x) {
      uint16_t v = src[size_t(y * w + x)];
      for (long dy = -1; dy <= 1; ++dy)
        for (long dx = -1; dx <= 1; ++dx) {
          if (conn == 4 && dx != 0 && dy != 0) continue;
          const long xx = x + dx, yy = y + dy;
          if (xx < 0 || yy < 0 || xx >= w || yy >= h) continue;
          const uint16_t n = src[size_t(yy * w + xx)];
          v = dilate ? std::max(v, n) : std::min(v, n);
        }
      out[size_t(y * w + x)] = v;
    }
  return out;
}

TEST(FilterMorphology, MatchesTheNeighbourhoodsOnThinAndOddFrames) {
  for (FrameSize size : {FrameSize{1, 1}, FrameSize{1, 6}, FrameSize{7, 1}, FrameSize{2, 2},
                         FrameSize{3, 4}, FrameSize{70, 5}}) {
    const Frame src = Random(size, 1, uint32_t(size.width * 31 + size.height));
    for (int conn : {4, 8})
      for (bool dilate : {false, true}) {
        auto fn = dilate ? SV_Dilatation : SV_Erosion;
        Frame out(src.size());
        ASSERT_TRUE(fn(size, src, out, conn));
        const Frame expected = ReferenceMorph(size, src, conn, dilate);
        EXPECT_EQ(out, expected) << size.width << "x" << size.height << " c" << conn;
        Frame inPlace = src;
        ASSERT_TRUE(fn(size, inPlace, inPlace, conn));
        EXPECT_EQ(inPlace, expected) << "in place " << size.width << "x" << size.height;
      }
  }
}

TEST(FilterEdge, SobelMagnitudeClamped) {
  // A vertical step from 0 to 100 between columns 1 and 2.
  const FrameSize size{4, 3};
  const Frame step = {0, 0, 100, 100, 0, 0, 100, 100, 0, 0, 100, 100};
  Frame out(12);
  ASSERT_TRUE(SV_Edge(size, step, out, 16));
  EXPECT_EQ(out, (Frame{0, 400, 400, 0, 0, 400, 400, 0, 0, 400, 400, 0}));
  ASSERT_TRUE(SV_Edge(size, step, out, 8));
  EXPECT_EQ(out, (Frame{0, 255, 255, 0, 0, 255, 255, 0, 0, 255, 255, 0}));
  // The same step lying down; at a corner both parts add up.
  const Frame lying = {0, 0, 0, 10, 10, 10};
  Frame out2(6);
  ASSERT_TRUE(SV_Edge(FrameSize{3, 2}, lying, out2, 16));
  EXPECT_EQ(out2, Frame(6, 40));
  const Frame corner = {0, 0, 0, 8};
  Frame out3(4);
  ASSERT_TRUE(SV_Edge(FrameSize{2, 2}, corner, out3, 16));
  EXPECT_EQ(out3, (Frame{8 + 8, 8 + 24, 24 + 8, 24 + 24}));
  const Frame flat(12, 1234);
  ASSERT_TRUE(SV_Edge(size, flat, out, 16));
  EXPECT_EQ(out, Frame(12, 0));
  EXPECT_FALSE(SV_Edge(size, flat, out, 17));
}

TEST_P(FilterIsa, EveryLevelGivesTheSameSamples) {
  const FrameSize size{133, 9};
  const Frame grey = Random(size, 1, 31), rgb = Random(size, 3, 32);
  FilterRecord f{};
  for (int i = 0; i < 49; ++i) f.Coefficients[i] = (i * 13) % 9 - 3;
  f.Factor = 5;
  f.Bias = 17;
  FilterRecord big = f;
  big.Coefficients[24] = 4000;  // the double-precision way
  auto run = [&](int level) {
    SV_set_filter_isa(level);
    std::vector<Frame> r;
    Frame out(grey.size()), outRgb(rgb.size());
    for (int radius = 1; radius <= 3; ++radius)
      for (const FilterRecord* k : {&f, &big}) {
        Grey(radius)(size, grey, out, *k, 16);
        r.push_back(out);
        Colour(radius)(size, rgb, outRgb, *k, 12);
        r.push_back(outRgb);
      }
    for (int conn : {4, 8}) {
      SV_Erosion(size, grey, out, conn);
      r.push_back(out);
      SV_Dilatation(size, grey, out, conn);
      r.push_back(out);
    }
    SV_Binarize(size, grey, out, 30000, 16);
    r.push_back(out);
    SV_Edge(size, grey, out, 16);
    r.push_back(out);
    SV_set_filter_isa(GetParam());
    return r;
  };
  const auto base = run(0);
  const auto here = run(GetParam());
  for (size_t k = 0; k < base.size(); ++k) EXPECT_EQ(here[k], base[k]) << "case " << k;
  // And the plain level is the tap-by-tap filter.
  EXPECT_EQ(base[0], Reference(size, 1, grey, f, 1, 16));
  EXPECT_EQ(base[2], Reference(size, 1, grey, big, 1, 16));
}

INSTANTIATE_TEST_SUITE_P(Levels, FilterIsa, ::testing::Values(0, 1, 2));

}  // namespace
}  // namespace sv
