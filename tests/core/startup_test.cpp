#include "core/startup.h"

#include <gtest/gtest.h>
#include <tuple>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/platform/platform.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

TEST(CommandLine, SwitchesNeedTheirBlankExceptB) {
  EXPECT_TRUE(ParseSwitches("/x /reset").Reset) << "the last word gets a blank behind it";
  EXPECT_TRUE(ParseSwitches("file.tif /RESET /3D").Reset);
  EXPECT_FALSE(ParseSwitches("/RESETALL").Reset);
  EXPECT_TRUE(ParseSwitches("/3d").Use3D);
  EXPECT_FALSE(ParseSwitches("/3DX").Use3D);
  EXPECT_FALSE(ParseSwitches("/BLUE").Background) << "any switch beginning with /B";
  EXPECT_TRUE(ParseSwitches("/RESET").Background);
  EXPECT_TRUE(ParseSwitches("/slave").Slave);
  EXPECT_FALSE(ParseSwitches("").Slave);
}

TEST(CommandLine, FirstWordLosesItsQuotes) {
  for (auto [line, first] : {std::pair{"\"/data/my file.tif\" /RESET", "/data/my file.tif"},
                             {"\"a.tif\"", "a.tif"}, {"a.tif /B", "a.tif"}, {"", ""},
                             {"\"unclosed name", "\"unclosed"}})
    EXPECT_EQ(FirstWord(line), first) << line;
  EXPECT_EQ(RestOfLine("a.tif /B"), "/B");
  EXPECT_EQ(JoinArguments({"my file.tif", "/RESET"}), "\"my file.tif\" /RESET");
  EXPECT_EQ(FirstWord(JoinArguments({"my file.tif", "/RESET"})), "my file.tif");
}

TEST(KernelVersion, EachNumberAgainstItsOwnMinimum) {
  for (auto [major, minor, patch, accepted] :
       {std::tuple{2, 2, 10, true}, {4, 4, 44, true}, {3, 5, 12, true}, {3, 0, 0, false},
        {2, 3, 0, false}, {2, 2, 9, false}, {1, 9, 99, false}})
    EXPECT_EQ(KernelVersionAccepted(major, minor, patch), accepted) << major << minor << patch;
  EXPECT_EQ(KernelVersionMessage(2, 3, 0),
            "Version of SV4200.DLL (2.3.0) is too old.\r\nUpdate with version 2.2.10");
}

TEST(GreyTable, WeightsRoundingAndTopBit) {
  auto t = BuildRGBtoGrey();
  ASSERT_EQ(t.size(), 65536u);
  EXPECT_EQ(std::tuple(t[0], t[0x7FFF]), std::tuple(0, 255));
  EXPECT_EQ(t[31 << 10], 76);   // 76.5 - a hair: the weight 0.3 is just below
  EXPECT_EQ(t[31 << 5], 150);   // 150.45
  EXPECT_EQ(t[31], 28);         // 28.05
  EXPECT_EQ(t[(16 << 10) | (8 << 5) | 4], 82);  // 39.48 + 38.83 + 3.62
  for (int i = 0; i < 0x8000; i += 97) EXPECT_EQ(t[i], t[i | 0x8000]);
}

class StartupTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    Environment() = StartupEnvironment();
    SetMainForm(&main);
  }
  void TearDown() override {
    SetMainForm(nullptr);
    Environment() = StartupEnvironment();
  }
  test::ScriptedHost host;
  MDIForm_Main main;
};

TEST_F(StartupTest, OldKernelEndsTheStartWithItsMessage) {
  Environment().kernelVersion = [](std::string&) {
    return std::optional<std::array<uint8_t, 3>>({2, 2, 9});
  };
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(Main(main, ""));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].text, host.messages[0].icon),
            std::tuple("Version of SV4200.DLL (2.2.9) is too old.\r\nUpdate with version 2.2.10", MsgIcon::Critical));
  EXPECT_TRUE(G().RGBtoGrey.empty()) << "nothing after the check ran";
}

TEST_F(StartupTest, MissingKernelAndBrokenKernel) {
  Environment().kernelVersion = [](std::string& error) {
    error = "Error in loading DLL";
    return std::optional<std::array<uint8_t, 3>>();
  };
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(Main(main, ""));
  EXPECT_EQ(host.messages.at(0).text, "Error in loading DLL");

  Environment().kernelVersion = nullptr;
  Environment().kernelLoad = [] { return false; };
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(Main(main, ""));
  EXPECT_EQ(host.messages.at(1).text, "SV4200.DLL or IJL11.DLL not found!");
}

TEST_F(StartupTest, NoFreeSpaceServiceEndsTheStart) {
  host.freeDisk = -1;
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(Main(main, ""));
  EXPECT_EQ(host.messages.size(), 1u);
}

TEST_F(StartupTest, ComesUpWithoutHardwareAndABackgroundImage) {
  int made = 0;
  main.SetImageFactory([&](MDIForm_Main&) -> std::unique_ptr<ChildDocument> {
    struct Doc : ChildDocument {
      DocKind Kind() const override { return DocKind::Image; }
      bool Invoke(const std::string&) override { return false; }
      bool Offers(const std::string&) const override { return false; }
      std::string Caption() const override { return title; }
      void SetTitle(const std::string& t) override { title = t; }
      std::string title;
    };
    ++made;
    return std::make_unique<Doc>();
  });
  ASSERT_TRUE(Main(main, "/3D"));
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(std::tuple(G().Use3D, main.FindMenu("mnuShowProfile")->visible), std::tuple(true, true));
  // The background image is made and stays hidden.
  EXPECT_EQ(std::tuple(made, G().BackgroundValid, main.ImageCount, main.ActiveChild()),
            std::tuple(1, true, 1L, nullptr));
  // No such file in the program folder: the bare name stands.
  EXPECT_EQ(std::tuple(G().IniFile, G().GrabberOK), std::tuple("SV4200_tester.ini", false));
  bool sawUses = false;
  for (auto& s : host.status) sawUses = sawUses || s == "SV4200 uses SV4200_tester.ini";
  EXPECT_TRUE(sawUses);
  EXPECT_EQ(G().RGBtoGrey.size(), 65536u);
  EXPECT_EQ(main.FindMenu("mnuViewLarger", 3)->caption, "&3:1");
}

TEST_F(StartupTest, SwitchesBAndResetAndTheIniBesideTheProgram) {
  main.SetImageFactory([](MDIForm_Main&) { return std::unique_ptr<ChildDocument>(); });
  test::WriteFile(host.programFolder + "/SV4200_tester.ini", "[Main]\r\nstate=0\r\n");
  host.store.SaveSetting("sv4200", "HARDWARE", "Grabber", "V1SW2000");
  ASSERT_TRUE(Main(main, "/BNOTHING /RESET"));
  EXPECT_EQ(std::tuple(G().IniFile, G().BackgroundValid, G().GrabberName),
            std::tuple(host.programFolder + "/SV4200_tester.ini", false, ""));
}

TEST_F(StartupTest, ConfiguredInterfaceThatFailsIsReportedAndDropped) {
  host.store.SaveSetting("sv4200", "HARDWARE", "Grabber", "V1SW2000");
  Environment().grabberInit = [](const std::string& name) { return name.empty(); };
  host.Answer(MsgResult::OK);
  ASSERT_TRUE(Main(main, "/B"));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Cannot initialize Grabber Interface\r\nGrabber:V1SW2000");
  EXPECT_FALSE(G().GrabberOK);
}

TEST_F(StartupTest, CommandLineFileOfAnUnbuiltKindIsRefused) {
  host.Answer(MsgResult::OK);
  ASSERT_TRUE(Main(main, "\"/data/run 1.sht\" /B"));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].text, host.messages[0].title),
            std::tuple("Can't open /data/run 1.sht at this time.", "Open"));
}

TEST_F(StartupTest, DebugModeComesFromTheUserStoreOfTheSlave) {
  host.store.SaveSetting("sv4200_Slave", "SV4200", "DebugMode", "True");
  ASSERT_TRUE(Main(main, "/B /SLAVE"));
  EXPECT_TRUE(G().DebugMode);
  ResetGlobals();
  MDIForm_Main other;
  ASSERT_TRUE(Main(other, "/B"));
  EXPECT_FALSE(G().DebugMode);
}

}  // namespace
}  // namespace sv
