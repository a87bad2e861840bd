#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <tuple>

#include "core/ini_profile.h"
#include "core/platform/platform.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

TEST(ProfileTextToInt, ReadsAsTheWindowsReaderDoes) {
  struct Case {
    const char* text;
    int value;
  } cases[] = {
      {"12", 12},           {"12abc", 12},      {"abc", 0},           {"", 0},
      {" -3", -3},          {"\t+4", 4},        {"-", 0},             {"--3", 0},
      {"- 3", 0},           {"3.7", 3},         {"1e3", 1},           {"007", 7},
      {"0x1F", 31},         {"0X1f", 31},       {"-0x10", -16},       {"0x", 0},
      {"0xg", 0},           {"0x10zz", 16},     {"2147483647", INT_MAX},
      {"2147483648", INT_MIN}, {"4294967295", -1}, {"4294967296", 0},
      {"99999999999", 1215752191}, {"-2147483648", INT_MIN}, {"0xFFFFFFFF", -1},
  };
  for (const auto& c : cases) EXPECT_EQ(ProfileTextToInt(c.text), c.value) << '"' << c.text << '"';
}

TEST(Profile, NamesCompareWithoutCase) {
  Profile p = Profile::Parse("[Main]\r\nLeft=5\r\n");
  EXPECT_EQ(std::tuple(p.GetInt("MAIN", "left", 0), p.GetInt("main", "LEFT", 0)), std::tuple(5, 5));
  p.Set("mAiN", "LEFT", "7");
  // The existing line is changed and keeps its own spelling.
  EXPECT_EQ(p.Text(), "[Main]\r\nLeft=7\r\n");
  EXPECT_EQ(p.Sections(), std::vector<std::string>{"Main"});
}

TEST(Profile, MissingKeysGiveTheDefault) {
  Profile p = Profile::Parse("[A]\nx=1\nempty=\n");
  EXPECT_EQ(std::tuple(p.GetInt("A", "y", 42), p.GetInt("B", "x", -1), p.GetString("A", "y", "def")),
            std::tuple(42, -1, "def"));
  EXPECT_FALSE(p.Get("A", "y").has_value());
  // A key with nothing behind "=" is there, but gives no number.
  EXPECT_EQ(std::tuple(p.Get("A", "empty"), p.GetString("A", "empty", "def"), p.GetInt("A", "empty", 9)),
            std::tuple(std::optional<std::string>(""), "", 9));
  EXPECT_EQ(Profile().GetInt("A", "x", 3), 3);
}

TEST(Profile, IntegerValuesReadLikeTheirText) {
  Profile p = Profile::Parse("[N]\na=12abc\nb=abc\ne=\"17\"\n");
  // Not a number: 0, not the default.
  EXPECT_EQ(std::tuple(p.GetInt("N", "a", 5), p.GetInt("N", "b", 5), p.GetInt("N", "e", 5)), std::tuple(12, 0, 17));
}

TEST(Profile, SinglesTakeACommaForThePointAndRefuseWhatIsNoFiniteNumber) {
  Profile p = Profile::Parse("[S]\na=  +2,5x\nb=-0.25\nc=abc\nd=   \ne=1e39\nf=nan\n");
  EXPECT_EQ(std::tuple(p.GetSingle("S", "a"), p.GetSingle("s", "B")),
            std::tuple(std::optional(2.5f), std::optional(-0.25f)));
  for (const char* key : {"c", "d", "e", "f", "missing"}) EXPECT_EQ(p.GetSingle("S", key), std::nullopt) << key;
}

TEST(Profile, BlanksAndQuotesAroundValues) {
  Profile p = Profile::Parse(
      "  [ Sec ]  \n"
      "  Key  =  some value  \n"
      "q1=\"  padded  \"\n"
      "q2='single'\n"
      "q3=\"unmatched\n"
      "q4=\"\n"
      "q5=\"a\" and \"b\"\n"
      "eq=a=b\n");
  // Of q5 only the outer pair goes.
  for (auto [key, value] : {std::pair{"key", "some value"}, {" key ", "some value"}, {"q1", "  padded  "},
                            {"q2", "single"}, {"q3", "\"unmatched"}, {"q4", "\""}, {"q5", "a\" and \"b"},
                            {"eq", "a=b"}})
    EXPECT_EQ(p.GetString("Sec", key, ""), value) << key;
}

TEST(Profile, ValuesAreCutAt255Characters) {
  std::string longValue(300, 'x');
  longValue[254] = 'A';
  longValue[255] = 'B';
  Profile p = Profile::Parse("[S]\nlong=" + longValue + "\n");
  std::string v = p.GetString("S", "long", "");
  ASSERT_EQ(v.size(), 255u);
  EXPECT_EQ(v.back(), 'A');
  EXPECT_EQ(p.GetString("S", "missing", std::string(400, 'd')).size(), 255u);
  Profile q = Profile::Parse("[S]\nn=" + std::string(254, '0') + "42\n");
  EXPECT_EQ(q.GetInt("S", "n", -1), 4);  // the digit behind the cut is lost
}

TEST(Profile, CommentsAndLinesWithoutEqualsAreNoKeys) {
  Profile p = Profile::Parse("[S]\n; a=1\nplain line\nb=2\n");
  EXPECT_FALSE(p.Get("S", "; a").has_value());
  EXPECT_FALSE(p.Get("S", "plain line").has_value());
  EXPECT_EQ(p.Keys("S"), std::vector<std::string>{"b"});
}

TEST(Profile, KeysBeforeTheFirstSectionBelongToNone) {
  Profile p = Profile::Parse("x=1\n[S]\ny=2\n");
  EXPECT_FALSE(p.Get("S", "x").has_value());
  EXPECT_EQ(p.GetInt("S", "y", 0), 2);
}

TEST(Profile, RepeatedSectionsAreSearchedInOrder) {
  Profile p = Profile::Parse("[A]\nx=1\n[B]\n[a]\nx=2\ny=3\n");
  EXPECT_EQ(std::tuple(p.GetInt("A", "x", 0), p.GetInt("A", "y", 0)), std::tuple(1, 3));
  EXPECT_EQ(p.Sections(), (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(p.Keys("A"), (std::vector<std::string>{"x", "y"}));
}

TEST(Profile, WritingKeepsEveryOtherLineInPlace) {
  const std::string text =
      "; SV4200 settings\r\n"
      "\r\n"
      "[Main]\r\n"
      "; the window\r\n"
      "left=10\r\n"
      "Foreign = kept as it is \r\n"
      "\r\n"
      "\r\n"
      "[LUT]\r\n"
      "Visible=1\r\n"
      "no equals here\r\n";
  Profile p = Profile::Parse(text);
  EXPECT_EQ(p.Text(), text);
  p.Set("Main", "left", "20");
  p.Set("Main", "top", "30");     // new key: end of its section, before the blanks
  p.Set("LUT", "Top", "600");     // new key at the end of the last section
  p.Set("Video", "mode", "0");    // new section at the end, after a blank line
  EXPECT_EQ(p.Text(),
            "; SV4200 settings\r\n"
            "\r\n"
            "[Main]\r\n"
            "; the window\r\n"
            "left=20\r\n"
            "Foreign = kept as it is \r\n"
            "top=30\r\n"
            "\r\n"
            "\r\n"
            "[LUT]\r\n"
            "Visible=1\r\n"
            "no equals here\r\n"
            "Top=600\r\n"
            "\r\n"
            "[Video]\r\n"
            "mode=0\r\n");
}

TEST(Profile, LineEndsFollowTheFile) {
  Profile lf = Profile::Parse("[A]\nx=1\n");
  lf.Set("A", "y", "2");
  EXPECT_EQ(lf.Text(), "[A]\nx=1\ny=2\n");

  Profile crlf = Profile::Parse("[A]\r\nx=1\r\n");
  crlf.Set("B", "y", "2");
  EXPECT_EQ(crlf.Text(), "[A]\r\nx=1\r\n\r\n[B]\r\ny=2\r\n");

  Profile fresh;
  fresh.SetInt("A", "n", -1);
  EXPECT_EQ(fresh.Text(), "[A]\r\nn=-1\r\n");

  // A last line without its line end is read all the same.
  EXPECT_EQ(Profile::Parse("[A]\r\nx=5").GetInt("A", "x", 0), 5);
  // Stray carriage returns at a line's end are line-end, not value.
  Profile mixed = Profile::Parse("[A]\nx=v\r\r\n");
  EXPECT_EQ(mixed.GetString(" A ", "x", ""), "v");
  EXPECT_EQ(mixed.Text(), "[A]\nx=v\n");
}

TEST(Profile, WrittenLineBreaksCannotSplitTheFile) {
  Profile p;
  p.Set("A", "k", "one\r\ntwo");
  EXPECT_EQ(p.GetString("A", "k", ""), "one  two");
  EXPECT_EQ(Profile::Parse(p.Text()).Keys("A").size(), 1u);
}

TEST(Profile, RemoveKeyAndSection) {
  Profile p = Profile::Parse("[A]\nx=1\ny=2\n[B]\nz=3\n[a]\nx=4\n");
  p.RemoveKey("A", "X");
  EXPECT_FALSE(p.Get("A", "x").has_value());
  EXPECT_EQ(p.GetInt("A", "y", 0), 2);
  p.RemoveSection("a");
  EXPECT_EQ(p.Text(), "[B]\nz=3\n");
}

TEST(Profile, SaveAndLoadRoundTrip) {
  test::ScriptedHost h;
  std::string path = h.root + "/round.ini";
  EXPECT_TRUE(Profile::Load(path).Sections().empty());  // missing file: empty
  Profile p;
  p.SetInt("Main", "state", 2);
  p.Set("Main", "Date", "2024-01-02   03:04");
  p.Set("Pathes", "Images", "/data/Images/");
  ASSERT_TRUE(p.Save(path));
  EXPECT_EQ(test::ReadFile(path), p.Text());
  Profile back = Profile::Load(path);
  EXPECT_EQ(back.Text(), p.Text());
  EXPECT_EQ(back.GetString("main", "date", ""), "2024-01-02   03:04");
  EXPECT_FALSE(p.Save(h.root + "/no/such/folder/x.ini"));
}

TEST(ProfileFiles, BareNamesLiveInTheConfigFolder) {
  test::ScriptedHost h;
  EXPECT_EQ(ResolveProfilePath("SV4200.ini"), h.configFolder + "/SV4200.ini");
  EXPECT_EQ(ResolveProfilePath("C:\\SV\\SV4200.ini"), "C:/SV/SV4200.ini");
  EXPECT_EQ(ResolveProfilePath("/abs/x.ini"), "/abs/x.ini");

  std::filesystem::remove_all(h.configFolder);
  EXPECT_TRUE(WritePrivateProfileString("Main", "state", "2", "SV4200.ini"));
  EXPECT_EQ(test::ReadFile(h.configFolder + "/SV4200.ini"), "[Main]\r\nstate=2\r\n");
  EXPECT_EQ(std::tuple(GetPrivateProfileInt("MAIN", "STATE", 0, "SV4200.ini"),
                       GetPrivateProfileString("Main", "missing", "d", "SV4200.ini"),
                       GetPrivateProfileInt("Main", "state", 7, h.root + "/none.ini")),
            std::tuple(2, "d", 7));
}

}  // namespace
}  // namespace sv
