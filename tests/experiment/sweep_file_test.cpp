// Sweep files: separators, blanks, the two ranges with their ends, bad
// tokens, files that cannot be read, and the form's handling of the list.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "experiment/experiment_settings.h"
#include "experiment/sweep_file.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

using List = std::vector<std::string>;

struct Case {
  const char* name;
  int type;
  std::string text;
  bool ok;
  List list;            // what is read, up to the error
  std::string message;  // "" when ok
};

TEST(SweepText, ReadingRules) {
  const int t = kExperimentIt, e = kExperimentIE;
  const Case cases[] = {
      // Separators and blanks.
      {"one number", e, "20", true, {"20"}, ""},
      {"LF", e, "20\n30\n40\n", true, {"20", "30", "40"}, ""},
      {"CR", e, "20\r30\r40", true, {"20", "30", "40"}, ""},
      {"CR LF", e, "20\r\n30\r\n40\r\n", true, {"20", "30", "40"}, ""},
      {"commas", e, "20,30,40", true, {"20", "30", "40"}, ""},
      {"mixed", e, "20, 30\r\n40 ,50\n\n60", true, {"20", "30", "40", "50", "60"}, ""},
      {"blank lines and tabs", e, "\n\n  \t20\t \r\n\r\n   \r\n30", true, {"20", "30"}, ""},
      {"empty fields", e, ",,20,,30,", true, {"20", "30"}, ""},
      {"byte order mark", e, "\xEF\xBB\xBF" "20\r\n", true, {"20"}, ""},
      {"empty file", e, "", true, {}, ""},
      {"only blanks", t, " \r\n\t\n,", true, {}, ""},
      // Number forms; the text kept is the shortest one.
      {"forms", e, "+20,20.50,1e2,5.,.5e1,0007", true, {"20", "20.5", "100", "5", "5", "7"}, ""},
      // The ends of the ranges.
      {"time ends", t, "0\n86400\n-0", true, {"0", "86400", "0"}, ""},
      {"time above", t, "1\n86400.5\n2", false, {"1"}, "Time[1] = 86400.5 s is out of range"},
      {"time below", t, "-0.001", false, {}, "Time[0] = -0.001 s is out of range"},
      {"energy ends", e, "5\n1000", true, {"5", "1000"}, ""},
      {"energy below", e, "5\n10\n4.99", false, {"5", "10"}, "Energy[2] = 4.99 eV is out of range"},
      {"energy above", e, "1000.001", false, {}, "Energy[0] = 1000.001 eV is out of range"},
      {"time range is not energy's", e, "0", false, {}, "Energy[0] = 0 eV is out of range"},
      {"energy range is not time's", t, "1000,2000", true, {"1000", "2000"}, ""},
      {"huge", e, "1e400", false, {}, "Energy[0] = 1e400 eV is out of range"},
      // Tokens that are no number.
      {"word", t, "1\n2\n3\nabc", false, {"1", "2", "3"}, "Time[3] = abc is not a number"},
      {"decimal comma splits", e, "20,4", false, {"20"}, "Energy[1] = 4 eV is out of range"},
      {"two numbers in a field", e, "20 30", false, {}, "Energy[0] = 20 30 is not a number"},
      {"header", e, "Energy\n20", false, {}, "Energy[0] = Energy is not a number"},
      {"hex", e, "0x20", false, {}, "Energy[0] = 0x20 is not a number"},
      {"inf", e, "inf", false, {}, "Energy[0] = inf is not a number"},
      {"nan", t, "nan", false, {}, "Time[0] = nan is not a number"},
      {"sign only", e, "-", false, {}, "Energy[0] = - is not a number"},
      {"bare exponent", e, "1e", false, {}, "Energy[0] = 1e is not a number"},
      {"control bytes", e, std::string("2\0" "0", 3), false, {}, "Energy[0] = 2?0 is not a number"},
      {"long garbage", e, std::string(50, 'x'), false, {},
       "Energy[0] = " + std::string(40, 'x') + "... is not a number"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    List list;
    std::string message;
    EXPECT_EQ(ReadSweepText(c.text, c.type, list, message), c.ok);
    EXPECT_EQ(list, c.list);
    EXPECT_EQ(message, c.message);
  }
}

TEST(SweepText, AHugeFileIsReadWhole) {
  std::string text;
  const int n = 200000;
  for (int i = 0; i < n; ++i) text += std::to_string(5 + i % 996) + (i % 3 ? "," : "\r\n");
  List list;
  std::string message;
  EXPECT_TRUE(ReadSweepText(text, kExperimentIE, list, message)) << message;
  ASSERT_EQ(list.size(), size_t(n));
  EXPECT_EQ(list.back(), std::to_string(5 + (n - 1) % 996));
  // An error at the very end still tells the right place.
  text += "1001";
  list.clear();
  EXPECT_FALSE(ReadSweepText(text, kExperimentIE, list, message));
  EXPECT_EQ(message, "Energy[" + std::to_string(n) + "] = 1001 eV is out of range");
  EXPECT_EQ(list.size(), size_t(n));
}

class SweepFileTest : public ::testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& text) {
    const std::string path = h.root + "/" + name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  test::ScriptedHost h;
};

TEST_F(SweepFileTest, TheFormKeepsTheFileOnlyWhenItIsGood) {
  struct FileCase {
    const char* name;
    int type;
    const char* file;  // nullptr: no such file
    const char* text;
    bool ok;
    List list;
    std::string message;  // "" when none
  };
  const FileCase cases[] = {
      {"good", kExperimentIE, "a.swp", "20\r\n30", true, {"20", "30"}, ""},
      {"empty", kExperimentIE, "b.swp", "", true, {}, ""},
      {"bad value", kExperimentIt, "c.swp", "10\n90000", false, {}, "Time[1] = 90000 s is out of range"},
      {"missing", kExperimentIE, nullptr, "", false, {}, "Cannot open "},
  };
  for (const FileCase& c : cases) {
    SCOPED_TRACE(c.name);
    h.messages.clear();
    const std::string path = c.file ? Write(c.file, c.text) : h.root + "/none.swp";
    List list{"old"};
    std::string held = "/old/old.swp", shortName = "old.swp";
    if (!c.ok) h.Answer(MsgResult::OK);
    EXPECT_EQ(OpenSweepFile(path, c.type, list, held, shortName), c.ok);
    EXPECT_EQ(list, c.list);
    EXPECT_EQ(held, c.ok ? path : "");
    EXPECT_EQ(shortName, c.ok ? c.file : "");
    if (c.ok) {
      EXPECT_TRUE(h.messages.empty());
    } else {
      ASSERT_EQ(h.messages.size(), 1u);
      EXPECT_EQ(h.messages[0].title, "Open Sweep File");
      EXPECT_EQ(h.messages[0].text.substr(0, c.message.size()), c.message);
    }
  }
}

TEST_F(SweepFileTest, AFolderIsNoFile) {
  List list;
  std::string message;
  EXPECT_FALSE(OpenSweepFileDo(h.root, kExperimentIE, list, message));
  EXPECT_EQ(message, "Cannot open " + h.root);
}

TEST_F(SweepFileTest, ANameWithoutFolderIsTakenInTheCurrentFolder) {
  Write("here.swp", "42");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(h.root);
  List list;
  std::string path, shortName;
  const bool ok = OpenSweepFile("here.swp", kExperimentIE, list, path, shortName);
  std::filesystem::current_path(before);
  EXPECT_TRUE(ok);
  EXPECT_EQ(list, List{"42"});
  EXPECT_EQ(std::filesystem::path(path), std::filesystem::canonical(h.root) / "here.swp");
  EXPECT_EQ(shortName, "here.swp");
}

TEST_F(SweepFileTest, TheDialog) {
  const std::string path = Write("d.swp", "100,200");
  List list{"old"};
  std::string held = "/somewhere/old.swp", shortName = "old.swp";

  h.AnswerFile("");  // cancelled: nothing changes
  EXPECT_FALSE(SweepFileOpen(kExperimentIE, list, held, shortName));
  EXPECT_EQ(list, List{"old"});
  EXPECT_EQ(held, "/somewhere/old.swp");
  ASSERT_EQ(h.fileDialogs.size(), 1u);
  EXPECT_EQ(h.fileDialogs[0].title, "Open Sweep File");
  EXPECT_EQ(h.fileDialogs[0].filter, "Sweep Files (*.swp)|*.swp|All Files (*.*)|*.*||");
  EXPECT_EQ(h.fileDialogs[0].folder, "/somewhere");
  EXPECT_EQ(h.fileDialogs[0].fileName, "old.swp");

  h.AnswerFile(path);
  EXPECT_TRUE(SweepFileOpen(kExperimentIE, list, held, shortName));
  EXPECT_EQ(list, (List{"100", "200"}));
  EXPECT_EQ(std::tuple(held, shortName), std::tuple(path, std::string("d.swp")));

  // Without a file held, the dialog starts in the folder last used.
  held.clear();
  h.AnswerFile("");
  SweepFileOpen(kExperimentIE, list, held, shortName);
  EXPECT_EQ(h.fileDialogs.back().folder, h.root);
}

}  // namespace
}  // namespace sv
