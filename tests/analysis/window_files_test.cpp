// The windows in ini and ".par" files: reading rules, the written form of
// singles, key order, the settings section.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <tuple>

#include "analysis/scan_windows.h"
#include "core/globals.h"
#include "core/ini_profile.h"
#include "core/settings.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class WindowFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ClearSettingsSections();
    ResetWindowGlobals();
  }
  void TearDown() override {
    ResetGlobals();
    ClearSettingsSections();
    ResetWindowGlobals();
  }
  static const ScanWindow& Win(int n) { return WG().ScanWindows[size_t(n)]; }
  static void Read(const std::string& text) { WindowsRead(Profile::Parse(text)); }
  test::ScriptedHost h;
};

TEST_F(WindowFilesTest, ReadingRules) {
  struct Case {
    const char* key;
    const char* value;
    int32_t ScanWindow::*field;
    int32_t expected;
  };
  for (const Case& c : {
           Case{"DynamicSize", "2", &ScanWindow::DynamicSize, 0},
           Case{"DynamicSize", "1", &ScanWindow::DynamicSize, 1},
           Case{"DynamicSize", "-1", &ScanWindow::DynamicSize, 0},
           Case{"Select", "2", &ScanWindow::Select, 0},
           Case{"Select", "1", &ScanWindow::Select, 1},
           Case{"Plot", "9", &ScanWindow::Plot, 1},
           Case{"Plot", "-1", &ScanWindow::Plot, 1},
           Case{"Plot", "0", &ScanWindow::Plot, 0},
           Case{"Plot", "5", &ScanWindow::Plot, 5},
           Case{"Locked", "5", &ScanWindow::Locked, 1},
           Case{"Locked", "-1", &ScanWindow::Locked, 1},
           Case{"Locked", "0", &ScanWindow::Locked, 0},
           Case{"Averaging", "3", &ScanWindow::Averaging, 3},  // no power of two, kept
           Case{"Mode", "5", &ScanWindow::Mode, kModeTarget},
           Case{"X1", "0x10", &ScanWindow::X1, 16},  // as the profile reads integers
           Case{"RGBColor", "255", &ScanWindow::RGBColor, 255},
       }) {
    Read(std::string("[Window3]\n") + c.key + "=" + c.value + "\n");
    EXPECT_EQ(Win(2).*c.field, c.expected) << c.key << "=" << c.value;
  }
}

TEST_F(WindowFilesTest, MissingKeysGiveTheDefaults) {
  WG().CurrentWindow = 4;
  WG().ScanWindows[1].X1 = 7;
  WG().ScanWindows[1].Sum.N = 3;
  Read("");
  EXPECT_EQ(WG().CurrentWindow, -1);
  for (int n = 0; n < kWindowCount; ++n) {
    const ScanWindow& w = Win(n);
    EXPECT_EQ(w.RGBColor, DefaultWindowColor(n));
    EXPECT_EQ((std::vector<int>{w.X1, w.Y1, w.W, w.H, w.DynamicSize, w.Averaging, w.Mode,
                                w.Threshold, w.Select, w.Plot, w.Locked, w.Shape}),
              (std::vector<int>{0, 0, 0, 0, 0, 1, 0, 10, 0, 1, 0, 0}))
        << n;
    EXPECT_EQ(std::tuple(w.W0, w.H0, w.Sum.N), std::tuple(100.0f, 100.0f, 0.0f)) << n;
  }
}

TEST_F(WindowFilesTest, SelectedWindow) {
  for (auto [text, value] : {std::pair{"3", 3}, {"0", 0}, {"7", 7}, {"-1", -1}, {"8", -1},
                             {"-5", -1}, {"x", 0}}) {
    Read(std::string("[Window]\nScan=") + text + "\n");
    EXPECT_EQ(WG().CurrentWindow, value) << text;
  }
}

TEST_F(WindowFilesTest, ANonPositiveCountClearsTheSums) {
  const std::string sums =
      "Sum.E=0.5\nSum.E2=0.25\nSum.X=12.0\nSum.EX=6.0\nSum.Y=3.0\nSum.EY=1.5\n"
      "Sum.Energy1=4.0\nSum.Energy2=9.0\n";
  Read("[Window1]\nN=-1\n" + sums + "[Window2]\n" + sums + "[Window3]\nN=2.0\n" + sums);
  for (int n : {0, 1}) {
    const WindowSum& s = Win(n).Sum;
    for (float v : {s.N, s.X, s.EX, s.Y, s.EY, s.E, s.E2, s.Energy1, s.Energy2})
      EXPECT_EQ(v, 0.0f) << n;
  }
  const WindowSum& s = Win(2).Sum;
  EXPECT_EQ(std::tuple(s.N, s.X, s.E2, s.Energy2), std::tuple(2.0f, 12.0f, 0.25f, 9.0f));
}

TEST_F(WindowFilesTest, SinglesAreWrittenShortWithAPoint) {
  for (auto [value, text] :
       {std::pair{100.0f, "100.0"}, {0.5f, "0.5"}, {0.1f, "0.1"}, {-2.25f, "-2.25"},
        {1e-5f, "0.00001"}, {1e10f, "10000000000.0"}, {0.0f, "0.0"}, {-0.0f, "0.0"},
        {3.4028235e38f, "340282346638528859811704183484516925440.0"},  // fixed: every digit
        {std::numeric_limits<float>::infinity(), "0.0"},
        {std::numeric_limits<float>::quiet_NaN(), "0.0"}})
    EXPECT_EQ(SingleText(value), text) << value;
}

TEST_F(WindowFilesTest, SinglesReadBackExactly) {
  std::mt19937 rng(7);
  std::uniform_int_distribution<uint32_t> bits;
  int checked = 0;
  for (float v : {std::numeric_limits<float>::denorm_min(), std::numeric_limits<float>::min(),
                  -std::numeric_limits<float>::max(), 0.1f, 1.0f / 3}) {
    Read("[Window1]\nW0=" + SingleText(v) + "\n");
    EXPECT_EQ(Win(0).W0, v) << SingleText(v);
  }
  while (checked < 2000) {
    const uint32_t b = bits(rng);
    float v;
    std::memcpy(&v, &b, sizeof v);
    if (!std::isfinite(v)) continue;
    ++checked;
    Read("[Window1]\nW0=" + SingleText(v) + "\n");
    EXPECT_EQ(Win(0).W0, v) << SingleText(v);
  }
  // What else a file may hold, read as the leading number of the text.
  for (auto [text, value] : {std::pair{"1,5", 1.5f}, {" 12abc", 12.0f}, {"abc", 0.0f},
                             {"", 0.0f}, {"1E-05", 1e-5f}, {"-.5", -0.5f}, {"+3", 3.0f},
                             {"2e", 2.0f}, {"1e39", 0.0f}, {"1e400", 0.0f}, {"nan", 0.0f},
                             {"inf", 0.0f}, {".", 0.0f}}) {
    Read(std::string("[Window1]\nH0=") + text + "\n");
    EXPECT_EQ(Win(0).H0, value) << text;
  }
}

TEST_F(WindowFilesTest, KeysAreWrittenInTheirOrder) {
  Profile out;
  WindowsWrite(out);
  EXPECT_EQ(out.Sections().front(), "Window");
  EXPECT_EQ(out.Sections().size(), 9u);
  EXPECT_EQ(out.Keys("Window8"),
            (std::vector<std::string>{"X1", "Y1", "W", "H", "DynamicSize", "W0", "H0",
                                      "RGBColor", "Averaging", "Mode", "Threshold", "Select",
                                      "Plot", "N", "Sum.E", "Sum.E2", "Sum.X", "Sum.EX", "Sum.Y",
                                      "Sum.EY", "Sum.Energy1", "Sum.Energy2", "Locked"}));
  EXPECT_EQ(std::tuple(out.GetString("Window", "Scan", ""), out.GetString("Window8", "RGBColor", ""),
                       out.GetString("Window8", "W0", ""), out.GetString("Window8", "N", "")),
            std::tuple("-1", "32768", "100.0", "0.0"));
}

TEST_F(WindowFilesTest, ShapeOnlyWithTheExtendedShapes) {
  const std::string text = "[Window2]\nShape=2\n[Window3]\nShape=9\n";
  Read(text);
  EXPECT_EQ(Win(1).Shape, kShapeRectangle);
  Profile out;
  WindowsWrite(out);
  EXPECT_FALSE(out.Get("Window2", "Shape").has_value());

  G().ExtendedShapes = 1;
  Read(text);
  EXPECT_TRUE(WG().ExtendedShapes);
  EXPECT_EQ(Win(1).Shape, kShapeEllipse);
  EXPECT_EQ(Win(2).Shape, kShapeRectangle);  // not in the list
  Profile with;
  WindowsWrite(with);
  EXPECT_EQ(with.GetString("Window2", "Shape", ""), "2");
  EXPECT_EQ(with.Keys("Window2")[4], "Shape");
}

TEST_F(WindowFilesTest, ParameterFileRoundTrip) {
  ScanWindow& w = WG().ScanWindows[4];
  std::tie(w.X1, w.Y1, w.W, w.H, w.Mode, w.Averaging, w.Threshold) =
      std::tuple(12, 34, 56, 78, kModeTarget, 3, 65000);
  std::tie(w.Select, w.Plot, w.Locked, w.DynamicSize, w.RGBColor) = std::tuple(1, 5, 1, 1, 0x123456);
  std::tie(w.W0, w.H0) = std::tuple(123.456f, 1e-7f);
  SumAdd(w.Sum, 37.3f, 100, 200);
  SumAdd(w.Sum, 91.7f, 90, 210);
  WG().CurrentWindow = 4;
  const std::string path = h.root + "/windows.par";
  ASSERT_TRUE(WindowsSave(path));
  const WindowGlobals before = WG();

  ResetWindowGlobals();
  ASSERT_TRUE(WindowsLoad(path));
  EXPECT_EQ(WG().CurrentWindow, 4);
  for (int n = 0; n < kWindowCount; ++n) {
    const ScanWindow& a = before.ScanWindows[size_t(n)];
    const ScanWindow& b = Win(n);
    EXPECT_EQ((std::vector<int>{a.X1, a.Y1, a.W, a.H, a.Mode, a.Averaging, a.Threshold,
                                a.Select, a.Plot, a.Locked, a.DynamicSize, a.RGBColor}),
              (std::vector<int>{b.X1, b.Y1, b.W, b.H, b.Mode, b.Averaging, b.Threshold,
                                b.Select, b.Plot, b.Locked, b.DynamicSize, b.RGBColor}))
        << n;
    EXPECT_EQ(std::memcmp(&a.Sum, &b.Sum, sizeof a.Sum), 0) << n;
    EXPECT_EQ(std::tuple(a.W0, a.H0), std::tuple(b.W0, b.H0)) << n;
  }
  // A second save gives the same file.
  std::stringstream first;
  first << std::ifstream(path).rdbuf();
  ASSERT_TRUE(WindowsSave(path));
  std::stringstream second;
  second << std::ifstream(path).rdbuf();
  EXPECT_EQ(first.str(), second.str());
}

TEST_F(WindowFilesTest, MissingOrUnwritableFiles) {
  WG().ScanWindows[0].W = 9;
  EXPECT_FALSE(WindowsLoad(h.root + "/none.par"));
  EXPECT_EQ(Win(0).W, 0);
  EXPECT_EQ(Win(0).RGBColor, DefaultWindowColor(0));
  EXPECT_FALSE(WindowsSave(h.root + "/no/such/folder/w.par"));
}

TEST_F(WindowFilesTest, TheWindowSectionIsReadAfterTheCoreTable) {
  RegisterWindowSettings();
  RegisterWindowSettings();
  int windows = 0;
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Window) ++windows;
  EXPECT_EQ(windows, 1);

  const std::string ini = h.root + "/settings.ini";
  std::ofstream(ini) << "[Window]\nScan=1\n[Window2]\nW=40\nShape=3\n"
                        "[Options]\nExtendedShapes=1\n";
  G().IniFile = ini;
  ReadSettings(nullptr);
  EXPECT_EQ(std::tuple(int(G().ExtendedShapes), WG().CurrentWindow, Win(1).W, int(Win(1).Shape)),
            std::tuple(1, 1, 40, int(kShapeCircle)));

  WG().ScanWindows[1].H = 30;
  WriteSettings(nullptr);
  const Profile out = Profile::Load(ini);
  EXPECT_EQ(out.GetString("Window2", "H", ""), "30");
  EXPECT_EQ(out.GetString("Window2", "Shape", ""), "3");
  EXPECT_EQ(out.GetString("Options", "ExtendedShapes", ""), "1");
}

}  // namespace
}  // namespace sv
