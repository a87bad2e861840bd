#include <gtest/gtest.h>

#include <fstream>

#include "batch_fixture.h"

namespace sv::cli {
namespace {

class BatchScriptCheckTest : public BatchFixture {
 protected:
  std::string Script(const std::string& name, const std::string& text) {
    const std::string path = root + "/" + name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
};

TEST_F(BatchScriptCheckTest, CountsTheLinesOfAGoodScript) {
  const std::string path = Script("good.scr", "Dim a\r\na = 5\n\rDelay(10)\rStop junk\r\n");
  EXPECT_EQ(Run({"script-check", path}), 0);
  EXPECT_EQ(out.str(), "4 lines\n");
  EXPECT_EQ(err.str(), "");
}

TEST_F(BatchScriptCheckTest, PointsAtTheFirstError) {
  const std::string path =
      Script("bad.scr", "// first\r\n\r\nOpenImage(\"my file.tif\")\r\nnonsense\r\n");
  EXPECT_EQ(Run({"script-check", path}), 1);
  EXPECT_EQ(out.str(), path + ":3: Expected: \"\n");
  EXPECT_NE(err.str().find("Compile error:"), std::string::npos);
  EXPECT_NE(err.str().find("Expected: \""), std::string::npos);
  // Lone CRs and LFs count as line ends too.
  Script("lf.scr", "Stop\nStop\rDim\n");
  EXPECT_EQ(Run({"script-check", root + "/lf.scr"}), 1);
  EXPECT_EQ(out.str(), root + "/lf.scr:3: Expected:  \n");
}

TEST_F(BatchScriptCheckTest, AnUnreadableFileOrABadCommandLine) {
  EXPECT_EQ(Run({"script-check", root + "/none.scr"}), 1);
  EXPECT_EQ(out.str(), "");
  EXPECT_NE(err.str().find("Error loading " + root + "/none.scr"), std::string::npos);
  EXPECT_EQ(Run({"script-check", root}), 1);
  EXPECT_NE(err.str().find("Error loading " + root), std::string::npos);
  EXPECT_EQ(Run({"script-check"}), 2);
  EXPECT_EQ(Run({"script-check", "a.scr", "b.scr"}), 2);
  EXPECT_EQ(Run({"help"}), 0);
  EXPECT_NE(out.str().find("script-check FILE.scr"), std::string::npos);
}

TEST_F(BatchScriptCheckTest, AnEmptyScriptHasNoLines) {
  EXPECT_EQ(Run({"script-check", Script("empty.scr", "")}), 0);
  EXPECT_EQ(out.str(), "0 lines\n");
}

}  // namespace
}  // namespace sv::cli
