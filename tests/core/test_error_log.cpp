#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "core/error_log.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) out.push_back(l);
  return out;
}

TEST(ErrorLog, StartsClearedAndAppendsIndentedLines) {
  test::ScriptedHost h;
  EXPECT_EQ(Class_ErrorLog::DefaultFilename(), h.programFolder + "/sv4200.log");
  const std::string file = h.root + "/a.log";
  test::WriteFile(file, "old contents\n");
  {
    Class_ErrorLog log(file);
    EXPECT_TRUE(log.enabled());
    EXPECT_EQ(log.MaxSize(), 4096);
    EXPECT_TRUE(log.AddItem("first"));
    log.IncSpace();
    log.IncSpace();
    EXPECT_TRUE(log.AddItem("second"));
    log.DecSpace();
    log.DecSpace();
    log.DecSpace();  // stops at 0
    EXPECT_EQ(log.Indent(), 0);
    EXPECT_TRUE(log.AddItem("third"));
    EXPECT_EQ(log.size(), static_cast<int32_t>(test::ReadFile(file).size()));
  }
  auto lines = Lines(test::ReadFile(file));
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(\d{4}-\d\d-\d\d SV4200 Log File)")))
      << lines[0];
  EXPECT_TRUE(std::regex_match(lines[1], std::regex(R"(\d\d:\d\d:\d\d first)"))) << lines[1];
  EXPECT_TRUE(std::regex_match(lines[2], std::regex(R"(\d\d:\d\d:\d\d     second)"))) << lines[2];
  EXPECT_TRUE(std::regex_match(lines[3], std::regex(R"(\d\d:\d\d:\d\d third)"))) << lines[3];
  EXPECT_TRUE(std::regex_match(lines[4], std::regex(R"(\d\d:\d\d:\d\d End)"))) << lines[4];
}

TEST(ErrorLog, StopsAtItsLimitAndEndsWithDotsAndEnd) {
  test::ScriptedHost h;
  const std::string file = h.root + "/full.log";
  const std::string item(100, 'x');
  {
    Class_ErrorLog log(file);
    int added = 0;
    while (log.enabled() && added < 1000) {
      log.AddItem(item);
      ++added;
    }
    ASSERT_FALSE(log.enabled());
    EXPECT_GE(log.size(), 4096);
    const std::string atLimit = test::ReadFile(file);
    EXPECT_LT(atLimit.size() - (item.size() + 10), 4096u);  // the line before was below it
    EXPECT_TRUE(log.AddItem("not written"));
    EXPECT_EQ(test::ReadFile(file), atLimit);
  }
  auto lines = Lines(test::ReadFile(file));
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[lines.size() - 2].substr(9), "...");
  EXPECT_EQ(lines.back().substr(9), "End");
  EXPECT_EQ(test::ReadFile(file).find("not written"), std::string::npos);
}

TEST(ErrorLog, DisabledLeavesTheFileAlone) {
  test::ScriptedHost h;
  const std::string file = h.root + "/off.log";
  Class_ErrorLog log(file);
  log.setEnabled(false);
  const std::string before = test::ReadFile(file);
  EXPECT_TRUE(log.AddItem("ignored"));
  EXPECT_EQ(test::ReadFile(file), before);
  EXPECT_TRUE(log.Clear());
  EXPECT_EQ(Lines(test::ReadFile(file)).size(), 1u);
}

TEST(ErrorLog, AnUnwritableLogStaysOffWithoutFailing) {
  test::ScriptedHost h;
  const std::string file = h.root + "/no/such/folder/x.log";
  Class_ErrorLog log(file);
  EXPECT_FALSE(log.enabled());
  EXPECT_TRUE(log.AddItem("nothing"));
  log.setEnabled(true);
  EXPECT_FALSE(log.AddItem("fails quietly"));
  EXPECT_FALSE(log.Clear());
}

}  // namespace
}  // namespace sv
