#include <gtest/gtest.h>

#include "core/error_table.h"

namespace sv {
namespace {

TEST(ErrorText, OwnCodes) {
  // The application's own codes, then general ones.
  for (auto [code, text] : {std::pair{10001, "Unknown Tag"}, {int(kErrNoMemory), "Cannot allocate memory"},
                            {10007, "Experiment canceled by user"}, {10012, "Empty video file (No frames)"},
                            {10014, "Experiment stopped: Image full"},
                            {10015, "Max. number of Sheet rows reached"}, {10016, "RDY TimeOut"},
                            {11002, "Column not defined"}, {11006, "Invalid parameter"},
                            {383, "Set not supported (read-only property)"}, {58, "File already exists"},
                            {3, "Return without GoSub"},
                            {457, "This key is already associated with an element of this collection"},
                            {746, "Replacements too long"}})
    EXPECT_EQ(ErrorText(code), text) << code;
}

TEST(ErrorText, GapsTakeTheFallback) {
  const std::string general = "Application-defined or object-defined error";
  for (int code : {10005, 10009, 10010, 10011, 11001, 11003, 11004, 11007})
    EXPECT_EQ(ErrorText(code), std::to_string(code) + " (Code #" + general + ")") << code;
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
