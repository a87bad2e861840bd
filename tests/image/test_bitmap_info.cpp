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

struct Entry {
  int index;
  C rgb;
};
void ExpectEntries(int type, std::initializer_list<Entry> entries) {
  const auto p = Palette(type);
  for (const Entry& e : entries) EXPECT_EQ(Rgb(p[size_t(e.index)]), e.rgb) << type << ":" << e.index;
}

TEST(Palettes, ColouredRampsRiseToHalfThenWashOutToWhite) {
  // White is the identity ramp.
  const auto p = Palette(0);
  for (int i : {0, 1, 64, 127, 128, 200, 254, 255}) EXPECT_EQ(Rgb(p[i]), (C{i, i, i})) << i;
  // Green 0xFF00: half channel 127 for green, 0 for red and blue; at 128
  // 255 / 128 = 1.99, at 254 255 * 127 / 128 = 253.01.
  ExpectEntries(2, {{0, {0, 0, 0}}, {127, {0, 127, 0}}, {128, {2, 128, 2}},
                    {254, {253, 254, 253}}, {255, {255, 255, 255}}});
  // Orange 0x80FF: red 255 (half 127), green 128 (half 64), blue 0. Green at
  // 64: 64 * 64 / 127 = 32.25; at 128: 64 + 191 / 128 = 65.49; at 254:
  // 64 + 191 * 127 / 128 = 253.51.
  ExpectEntries(3, {{64, {64, 32, 0}}, {127, {127, 64, 0}}, {128, {128, 65, 2}},
                    {254, {254, 254, 253}}, {255, {255, 255, 255}}});
  // Yellow 0xFFFF and blue 0xFF0000: the peak word is 0xBBGGRR.
  ExpectEntries(4, {{127, {127, 127, 0}}});
  ExpectEntries(5, {{127, {0, 0, 127}}, {128, {2, 2, 128}}});
}

TEST(Palettes, RainbowSegmentsOnSixthsOf256) {
  // Bounds 0, 43, 85, 128, 171 and the end at 256.
  // Blue rises (42 / 43 * 255 at 42); green starts at 43 (41 / 42 * 255 =
  // 248.9 at 84); blue falls from 85 ((127 - 85) / 43 * 255); red starts at
  // 128; green falls over 85 entries from 171 (84 / 85 * 255).
  ExpectEntries(1, {{0, {0, 0, 0}}, {42, {0, 0, 249}}, {43, {0, 0, 255}}, {84, {0, 249, 255}},
                    {85, {0, 255, 249}}, {127, {0, 255, 0}}, {128, {0, 255, 0}},
                    {170, {249, 255, 0}}, {171, {255, 252, 0}}, {255, {255, 0, 0}}});
}

TEST(Palettes, ChartInterpolatesBetweenNodes) {
  // The nodes; half way to the second one (180, 210.5, 243.5) ties go to
  // the even value; the last segment is 39 entries long.
  ExpectEntries(6, {{0, {255, 255, 255}}, {36, {105, 166, 232}}, {72, {3, 21, 132}},
                    {144, {252, 240, 23}}, {216, {202, 112, 23}}, {18, {180, 210, 244}},
                    {235, {172, 59, 26}}, {254, {142, 6, 29}}, {255, {140, 3, 29}}});
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
