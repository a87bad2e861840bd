#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "video/text_stamp.h"

namespace sv {
namespace {

// A frame with a guard band around it: StampText may touch only the frame.
struct Guarded {
  Guarded(long width, long height, long bytesPerLine, bool colour)
      : w(width), h(height), bpl(bytesPerLine), colour(colour),
        bytes(size_t(kGuard * 2 + bytesPerLine * height), 0x55) {}
  static constexpr long kGuard = 64;
  uint8_t* Pixels() { return bytes.data() + kGuard; }
  uint8_t At(long x, long y, long k = 0) const {
    return bytes[size_t(kGuard + y * bpl + x * (colour ? 3 : 1) + k)];
  }
  bool GuardsIntact() const {
    for (long i = 0; i < kGuard; ++i)
      if (bytes[size_t(i)] != 0x55 || bytes[bytes.size() - 1 - size_t(i)] != 0x55) return false;
    return true;
  }
  // Line padding past the frame's width keeps its bytes.
  bool PaddingIntact() const {
    const long used = w * (colour ? 3 : 1);
    for (long y = 0; y < h; ++y)
      for (long x = used; x < bpl; ++x)
        if (bytes[size_t(kGuard + y * bpl + x)] != 0x55) return false;
    return true;
  }
  long w, h, bpl;
  bool colour;
  std::vector<uint8_t> bytes;
};

// White glyphs on a black box in the top left corner; the rest untouched.
TEST(TextStamp, DrawsWhiteOnBlackAtTopLeft) {
  for (bool colour : {false, true}) {
    Guarded f(100, 40, colour ? 300 : 100, colour);
    StampText(f.Pixels(), f.w, f.h, f.bpl, colour, "I");
    // "I": the middle column of its glyph is lit on all seven rows, the
    // left column dark; the box runs 8 pixels wide, 10 high.
    for (long y = 1; y < 8; ++y) {
      EXPECT_EQ(f.At(1 + 2, y), 255) << y;
      EXPECT_EQ(f.At(1, y), 0) << y;
    }
    EXPECT_EQ(f.At(0, 0), 0);
    EXPECT_EQ(f.At(7, 9), 0);
    EXPECT_EQ(f.At(8, 0), 0x55);
    EXPECT_EQ(f.At(0, 10), 0x55);
    if (colour) {
      EXPECT_EQ(f.At(3, 1, 2), 255);  // all three bytes of a pixel
    }
    EXPECT_TRUE(f.GuardsIntact());
  }
}

// Long texts on small, odd and padded frames never reach past the frame.
TEST(TextStamp, ClipsAtEveryEdge) {
  const std::string longText(500, 'W');
  struct Case { long w, h, bpl; bool colour; };
  for (const Case c : {Case{1, 1, 1, false}, Case{3, 2, 4, false}, Case{7, 5, 24, true},
                       Case{33, 9, 100, true}, Case{640, 480, 640, false},
                       Case{5, 3, 12, false}, Case{2, 2000, 6, true}}) {
    Guarded f(c.w, c.h, c.bpl, c.colour);
    StampText(f.Pixels(), c.w, c.h, c.bpl, c.colour, longText);
    EXPECT_TRUE(f.GuardsIntact()) << c.w << "x" << c.h;
    EXPECT_TRUE(f.PaddingIntact()) << c.w << "x" << c.h;
  }
  // A line shorter than the width says: only what the line holds.
  Guarded narrow(50, 10, 20, true);  // 6 pixels a line really
  StampText(narrow.Pixels(), 50, 10, 20, true, longText);
  EXPECT_TRUE(narrow.GuardsIntact());
  EXPECT_EQ(narrow.bytes[size_t(Guarded::kGuard + 17)], 0);
  EXPECT_EQ(narrow.bytes[size_t(Guarded::kGuard + 18)], 0x55);
}

// Nonsense arguments do nothing; characters outside ASCII still draw.
TEST(TextStamp, BadArgumentsAndStrangeCharacters) {
  Guarded f(20, 20, 20, false);
  StampText(nullptr, 20, 20, 20, false, "x");
  StampText(f.Pixels(), 0, 20, 20, false, "x");
  StampText(f.Pixels(), 20, -1, 20, false, "x");
  StampText(f.Pixels(), 20, 20, 0, false, "x");
  StampText(f.Pixels(), 20, 20, 20, false, "");
  EXPECT_EQ(f.At(0, 0), 0x55);
  StampText(f.Pixels(), 20, 20, 20, false, "\xE4\t");
  EXPECT_EQ(f.At(0, 0), 0);
  EXPECT_TRUE(f.GuardsIntact());
}

// Large frames get a larger font, still inside the frame.
TEST(TextStamp, GrowsOnLargeFrames) {
  EXPECT_EQ(StampHeight(480), 10);
  EXPECT_EQ(StampHeight(1024), 30);
  EXPECT_EQ(StampHeight(4000), 40);
  EXPECT_EQ(StampWidth("ab", 1024), 3 * 14);
  Guarded f(64, 1024, 64, false);
  StampText(f.Pixels(), 64, 1024, 64, false, "T");
  EXPECT_EQ(f.At(3 * 3 + 1, 3 + 1), 255);  // the T's bar, top row, grown
  EXPECT_EQ(f.At(0, 29), 0);
  EXPECT_EQ(f.At(0, 30), 0x55);
  EXPECT_TRUE(f.GuardsIntact());
}

}  // namespace
}  // namespace sv
