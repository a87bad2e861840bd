#include "core/text_1252.h"

#include <gtest/gtest.h>

namespace sv {
namespace {

TEST(Text1252, EveryByteComesBackAfterTheRoundTrip) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += char(b);
  const std::string utf8 = Utf8FromWindows1252(all);
  EXPECT_EQ(Windows1252FromUtf8(utf8), all);
}

TEST(Text1252, HighBytesAreTheirCharacters) {
  EXPECT_EQ(Utf8FromWindows1252("\xC5ngstr\xF6m"), "\xC3\x85ngstr\xC3\xB6m");  // Ångström
  EXPECT_EQ(Utf8FromWindows1252("\x80\x96"), "\xE2\x82\xAC\xE2\x80\x93");      // euro, en dash
  EXPECT_EQ(Windows1252FromUtf8("\xE2\x82\xAC 5"), "\x80 5");
}

TEST(Text1252, MissingCharactersAndBrokenTextBecomeQuestionMarks) {
  EXPECT_EQ(Windows1252FromUtf8("\xE6\x97\xA5x"), "?x");  // a CJK character
  EXPECT_EQ(Windows1252FromUtf8("a\xC3"), "a?");          // cut short
  EXPECT_EQ(Windows1252FromUtf8("\xFF\xC3(b"), "?" "?(b");  // no lead byte, bad follower
  EXPECT_EQ(Windows1252FromUtf8("\xF0\x9F\x98\x80"), "?");  // outside the code page
}

}  // namespace
}  // namespace sv
