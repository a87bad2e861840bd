#include <gtest/gtest.h>

#include "core/error_table.h"

namespace sv {
namespace {

TEST(ErrorText, OwnCodes) {
  EXPECT_EQ(ErrorText(10001), "Unknown Tag");
  EXPECT_EQ(ErrorText(kErrNoMemory), "Cannot allocate memory");
  EXPECT_EQ(ErrorText(10007), "Experiment canceled by user");
  EXPECT_EQ(ErrorText(10012), "Empty video file (No frames)");
  EXPECT_EQ(ErrorText(10014), "Experiment stopped: Image full");
  EXPECT_EQ(ErrorText(10015), "Max. number of Sheet rows reached");
  EXPECT_EQ(ErrorText(10016), "RDY TimeOut");
  EXPECT_EQ(ErrorText(11002), "Column not defined");
  EXPECT_EQ(ErrorText(11006), "Invalid parameter");
}

TEST(ErrorText, GeneralCodes) {
  EXPECT_EQ(ErrorText(383), "Set not supported (read-only property)");
  EXPECT_EQ(ErrorText(58), "File already exists");
  EXPECT_EQ(ErrorText(3), "Return without GoSub");
  EXPECT_EQ(ErrorText(457), "This key is already associated with an element of this collection");
  EXPECT_EQ(ErrorText(746), "Replacements too long");
}

TEST(ErrorText, GapsTakeTheFallback) {
  const std::string general = "Application-defined or object-defined error";
  for (int code : {10005, 10009, 10010, 10011, 11001, 11003, 11004, 11007})
    EXPECT_EQ(ErrorText(code), std::to_string(code) + " (Code #" + general + ")") << code;
  EXPECT_EQ(ErrorText(kErrNoSheetMagic), "11001 (Code #" + general + ")");
  EXPECT_EQ(ErrorText(-5), "-5 (Code #" + general + ")");
  // 56 has no text of its own; the platform's text for the number stands in.
  std::string t56 = ErrorText(56);
  EXPECT_EQ(t56.rfind("56 (Code #", 0), 0u) << t56;
  EXPECT_EQ(t56.back(), ')');
  EXPECT_GT(t56.size(), std::string("56 (Code #)").size());
  EXPECT_EQ(ErrorText(2), "2 (Code #No such file or directory)");
}

}  // namespace
}  // namespace sv
