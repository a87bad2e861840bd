#include "image/bitmap_info.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <tuple>

#include "core/globals.h"

namespace sv {
namespace {

std::array<RGBQuad, 256> Palette(int type) {
  std::array<RGBQuad, 256> p{};
  FillPalette(type, p.data());
  return p;
}

// Red, green, blue of one entry.
std::array<int, 3> Rgb(const RGBQuad& q) { return {q.rgbRed, q.rgbGreen, q.rgbBlue}; }
using C = std::array<int, 3>;

TEST(Palettes, WhiteIsTheIdentityRamp) {
  const auto p = Palette(0);
  for (int i : {0, 1, 64, 127, 128, 200, 254, 255}) EXPECT_EQ(Rgb(p[i]), (C{i, i, i})) << i;
}

TEST(Palettes, ColouredRampsRiseToHalfThenWashOutToWhite) {
  // Green 0xFF00: half channel 127 for green, 0 for red and blue.
  const auto g = Palette(2);
  EXPECT_EQ(Rgb(g[0]), (C{0, 0, 0}));
  EXPECT_EQ(Rgb(g[127]), (C{0, 127, 0}));
  EXPECT_EQ(Rgb(g[128]), (C{2, 128, 2}));     // 255 / 128 = 1.99
  EXPECT_EQ(Rgb(g[254]), (C{253, 254, 253}));  // 255 * 127 / 128 = 253.01
  EXPECT_EQ(Rgb(g[255]), (C{255, 255, 255}));

  // Orange 0x80FF: red 255 (half 127), green 128 (half 64), blue 0.
  const auto o = Palette(3);
  EXPECT_EQ(Rgb(o[64]), (C{64, 32, 0}));  // 64 * 64 / 127 = 32.25
  EXPECT_EQ(Rgb(o[127]), (C{127, 64, 0}));
  EXPECT_EQ(Rgb(o[128]), (C{128, 65, 2}));  // 64 + 191 / 128 = 65.49
  EXPECT_EQ(Rgb(o[254]), (C{254, 254, 253}));  // 64 + 191 * 127 / 128 = 253.51
  EXPECT_EQ(Rgb(o[255]), (C{255, 255, 255}));

  // Yellow 0xFFFF and blue 0xFF0000: the peak word is 0xBBGGRR.
  EXPECT_EQ(Rgb(Palette(4)[127]), (C{127, 127, 0}));
  EXPECT_EQ(Rgb(Palette(5)[127]), (C{0, 0, 127}));
  EXPECT_EQ(Rgb(Palette(5)[128]), (C{2, 2, 128}));
}

TEST(Palettes, RainbowSegmentsOnSixthsOf256) {
  // Bounds 0, 43, 85, 128, 171 and the end at 256.
  const auto r = Palette(1);
  EXPECT_EQ(Rgb(r[0]), (C{0, 0, 0}));
  EXPECT_EQ(Rgb(r[42]), (C{0, 0, 249}));     // blue rises: 42 / 43 * 255
  EXPECT_EQ(Rgb(r[43]), (C{0, 0, 255}));     // green starts, blue stays
  EXPECT_EQ(Rgb(r[84]), (C{0, 249, 255}));   // 41 / 42 * 255 = 248.9
  EXPECT_EQ(Rgb(r[85]), (C{0, 255, 249}));   // blue falls: (127 - 85) / 43 * 255
  EXPECT_EQ(Rgb(r[127]), (C{0, 255, 0}));
  EXPECT_EQ(Rgb(r[128]), (C{0, 255, 0}));    // red starts
  EXPECT_EQ(Rgb(r[170]), (C{249, 255, 0}));
  EXPECT_EQ(Rgb(r[171]), (C{255, 252, 0}));  // green falls over 85 entries: 84 / 85 * 255
  EXPECT_EQ(Rgb(r[255]), (C{255, 0, 0}));
}

TEST(Palettes, ChartInterpolatesBetweenNodes) {
  const auto c = Palette(6);
  EXPECT_EQ(Rgb(c[0]), (C{255, 255, 255}));
  EXPECT_EQ(Rgb(c[36]), (C{105, 166, 232}));
  EXPECT_EQ(Rgb(c[72]), (C{3, 21, 132}));
  EXPECT_EQ(Rgb(c[144]), (C{252, 240, 23}));
  EXPECT_EQ(Rgb(c[216]), (C{202, 112, 23}));
  // Half way to the second node: 180, 210.5, 243.5; ties go to the even value.
  EXPECT_EQ(Rgb(c[18]), (C{180, 210, 244}));
  // The last segment is 39 entries long.
  EXPECT_EQ(Rgb(c[235]), (C{172, 59, 26}));
  EXPECT_EQ(Rgb(c[254]), (C{142, 6, 29}));
  EXPECT_EQ(Rgb(c[255]), (C{140, 3, 29}));
}

TEST(Palettes, TypesAreClampedAndNamed) {
  const char* names[] = {"White", "Rainbow", "Green", "Orange", "Yellow", "Blue", "Chart"};
  for (int type = -1; type <= 9; ++type)
    EXPECT_STREQ(LutTypeName(type), names[std::clamp(type, 0, 6)]) << type;
  EXPECT_EQ(Rgb(Palette(9)[36]), Rgb(Palette(6)[36]));
  EXPECT_EQ(Rgb(Palette(-4)[100]), (C{100, 100, 100}));
}

TEST(HeaderTemplate, NewDocumentHeaderWithTheDefaultPalette) {
  ResetGlobals();
  G().DefaultLUTtype = 1;
  const BitmapInfo h = HeaderTemplate();
  EXPECT_EQ(h.bmiHeader.biSize, 40u);
  EXPECT_EQ(std::tuple(h.bmiHeader.biWidth, h.bmiHeader.biHeight, h.bmiHeader.biPlanes,
                       h.bmiHeader.biBitCount),
            std::tuple(384, 288, 1, 8));
  EXPECT_EQ(Rgb(h.bmiColors[43]), (C{0, 0, 255}));  // rainbow
  ResetGlobals();
  EXPECT_EQ(Rgb(HeaderTemplate().bmiColors[43]), (C{43, 43, 43}));
}

}  // namespace
}  // namespace sv
