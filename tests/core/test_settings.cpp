#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <tuple>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/platform/platform.h"
#include "core/settings.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

namespace fs = std::filesystem;

class SettingsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ClearSettingsSections();
  }
  void TearDown() override {
    ResetGlobals();
    ClearSettingsSections();
  }
  std::string StoreValue(const std::string& app, const std::string& section,
                         const std::string& key) {
    return h.store.GetSetting(app, section, key, "<none>");
  }
  test::ScriptedHost h;
};

// A field of the globals with its name, for table-driven checks.
struct Field {
  const char* name;
  long got, expected;
};
#define SV_FIELD(f, v) Field{#f, long(g.f), long(v)}

TEST_F(SettingsTest, CoreTableDefaults) {
  h.screen = {1920, 1080};
  ReadGeneralSettings(Profile());
  const Globals& g = G();
  // Tool-form positions are twips, 15 to the pixel. The zero main-window
  // rectangle grows to the smallest window.
  for (const Field& f :
       {SV_FIELD(MainState, 2), SV_FIELD(AutoScan, 1), SV_FIELD(UndoEnabled, 1),
        SV_FIELD(DefaultLUTtype, 0), SV_FIELD(LutVisible, 0), SV_FIELD(LutLeft, 1920 * 15),
        SV_FIELD(LutTop, 40 * 15), SV_FIELD(VideoMode, 0), SV_FIELD(VideoLeft, 0),
        SV_FIELD(VideoTop, 48), SV_FIELD(ImagesFilterIndex, 1), SV_FIELD(ViewImageComment, -1),
        SV_FIELD(ShowExitDialog, 1), SV_FIELD(StartOverlay, 1), SV_FIELD(ShowToolbar, -1),
        SV_FIELD(ShowStatusbar, -1), SV_FIELD(OsziBackColor, 0xFFFFFF), SV_FIELD(DataLinkMode, 0),
        SV_FIELD(TriggerMode, 0), SV_FIELD(TriggerSource, 4), SV_FIELD(HistogramVisible, 0),
        SV_FIELD(HistogramLeft, 0), SV_FIELD(HistogramTop, 1080 * 15 / 2),
        SV_FIELD(LineSetupLeft, 1920 * 15 / 2), SV_FIELD(LineSetupTop, 1080 * 15 / 2),
        SV_FIELD(eGunVisible, 0), SV_FIELD(eGunLeft, 1920 * 15), SV_FIELD(eGunTop, 1080 * 15 / 2),
        SV_FIELD(ScriptLeft, 800), SV_FIELD(ScriptTop, 1600), SV_FIELD(SubtractBackground, 0),
        SV_FIELD(WebCamInterval, 6), SV_FIELD(MainLeft, 0), SV_FIELD(MainTop, 0),
        SV_FIELD(MainWidth, 400), SV_FIELD(MainHeight, 300)})
    EXPECT_EQ(f.got, f.expected) << f.name;
  for (const std::string* text :
       {&g.VideoPath, &g.ImagesDialogPath, &g.WebFilename, &g.ScriptPath, &g.WebCamFile})
    EXPECT_EQ(*text, "");
  EXPECT_EQ(g.MinEnergyLEED, 0.0f);
  EXPECT_EQ(g.MaxEnergyLEED, 1000.0f);
  EXPECT_EQ(g.MinEnergyAUGER, 0.0f);
  EXPECT_EQ(g.MaxEnergyAUGER, 1639.0f);
}

TEST_F(SettingsTest, RainbowLutIsClampedAndViewImageCommentNormalised) {
  for (auto [text, value] : {std::pair{"9", 6}, {"-1", 0}, {"3", 3}, {"6", 6}, {"x", 0}}) {
    ReadGeneralSettings(Profile::Parse(std::string("[LUT]\nRainbowLUT=") + text + "\n"));
    EXPECT_EQ(G().DefaultLUTtype, value) << text;
  }
  for (auto [text, value] : {std::pair{"1", -1}, {"5", -1}, {"-7", -1}, {"0", 0}, {"abc", 0}}) {
    ReadGeneralSettings(Profile::Parse(std::string("[Images]\nViewImageComment=") + text + "\n"));
    EXPECT_EQ(G().ViewImageComment, value) << text;
  }
}

TEST_F(SettingsTest, LutVisibleAndVideoModeAreForcedOffButStillWritten) {
  ReadGeneralSettings(Profile::Parse("[LUT]\nVisible=1\n[Video]\nmode=3\n"));
  EXPECT_EQ(std::tuple(G().LutVisible, G().VideoMode), std::tuple(0, 0));
  Profile out;
  WriteGeneralSettings(out);
  EXPECT_EQ(out.Get("LUT", "Visible"), std::optional<std::string>("0"));
  EXPECT_EQ(out.Get("Video", "mode"), std::optional<std::string>("0"));
  // A LUT form open at exit is written as it is held.
  G().LutVisible = -1;
  WriteGeneralSettings(out);
  EXPECT_EQ(out.Get("LUT", "Visible"), std::optional<std::string>("-1"));
}

TEST_F(SettingsTest, WrittenValuesAreDecimalTextAndReadBack) {
  Profile in = Profile::Parse(
      "[Main]\nstate=0\nleft=100\ntop=50\nwidth=800\nheight=600\nAutoScan=0\nUndo=0\n"
      "[Options]\nShowExitDialog=0\nShowToolbar=0\nOsziBackColor=0x00FF00\n"
      "[Trigger]\nMode=2\nSource=1\n[Script]\nleft=1\ntop=2\nPath=/s\n"
      "[Grabber]\nSubtract Background=-1\nWebCamFile=cam.jpg\nWebCamInterval=60\n");
  ReadGeneralSettings(in);
  EXPECT_EQ(std::tuple(G().ShowExitDialog, G().OsziBackColor), std::tuple(0, 0xFF00));
  Profile out;
  WriteGeneralSettings(out);
  // The exit question being off does not stop the settings from being saved.
  EXPECT_EQ(out.GetString("Options", "ShowExitDialog", ""), "0");
  EXPECT_EQ(out.GetString("Options", "ShowStatusbar", ""), "-1");
  EXPECT_EQ(out.GetString("Options", "OsziBackColor", ""), "65280");
  EXPECT_EQ(out.GetString("Grabber", "Subtract Background", ""), "-1");
  EXPECT_EQ(out.GetString("Main", "width", ""), "800");
  EXPECT_TRUE(std::regex_match(out.GetString("Main", "Date", ""),
                               std::regex(R"(\d{4}-\d\d-\d\d   \d\d:\d\d)")))
      << out.GetString("Main", "Date", "");
  // The Tarvos link is not built: its key is neither read nor written.
  EXPECT_FALSE(out.Get("Tarvos", "DataLinkMode").has_value());

  Globals before = G();
  ResetGlobals();
  ReadGeneralSettings(out);
  EXPECT_EQ(std::tuple(G().MainState, G().MainWidth), std::tuple(before.MainState, before.MainWidth));
  EXPECT_EQ(std::tuple(G().TriggerMode, G().ScriptPath, G().WebCamInterval, G().OsziBackColor),
            std::tuple(2, "/s", 60, 0xFF00));
}

TEST_F(SettingsTest, TarvosKeyOnlyWithTheFeature) {
  G().TarvosEnabled = true;
  ReadGeneralSettings(Profile::Parse("[Tarvos]\nDataLinkMode=2\n"));
  EXPECT_EQ(G().DataLinkMode, 2);
  Profile out;
  WriteGeneralSettings(out);
  EXPECT_EQ(out.GetInt("Tarvos", "DataLinkMode", 0), 2);
}

TEST_F(SettingsTest, EnergyLimitsComeFromTheUserStore) {
  h.store.SaveSetting("sv4200", "eGun", "MaxEnergyLEED", "500,5");
  h.store.SaveSetting("sv4200", "eGun", "MinEnergyAUGER", "junk");
  h.store.SaveSetting("sv4200_Slave", "eGun", "MaxEnergyAUGER", "2000");
  ReadGeneralSettings(Profile::Parse("[eGun]\nMaxEnergyLEED=1\n"));
  EXPECT_EQ(std::tuple(G().MaxEnergyLEED, G().MinEnergyAUGER, G().MaxEnergyAUGER),
            std::tuple(500.5f, 0.0f, 1639.0f));
  G().SlaveMode = true;
  ReadGeneralSettings(Profile());
  EXPECT_EQ(std::tuple(G().MaxEnergyAUGER, G().MaxEnergyLEED), std::tuple(2000.0f, 1000.0f));
}

TEST_F(SettingsTest, FilePlaces) {
  const std::string bin = h.programFolder;
  EXPECT_EQ(FormIniFile(bin, ""), "SV4200.ini");
  EXPECT_EQ(FormIniFile(bin, "anna"), "SV4200_anna.ini");
  test::WriteFile(bin + "/SV4200.ini", "");
  test::WriteFile(bin + "/SV4200_anna.ini", "");
  EXPECT_EQ(FormIniFile(bin, ""), bin + "/SV4200.ini");
  EXPECT_EQ(FormIniFile(bin, "anna"), bin + "/SV4200_anna.ini");
  EXPECT_EQ(FormIniFile(bin, "bert"), "SV4200_bert.ini");

  EXPECT_EQ(HardwareIniFile(bin, "sv4200", false), bin + "/sv4200.ini");
  EXPECT_EQ(HardwareIniFile(bin, "sv4200", true), bin + "/sv4200_Slave.ini");
  EXPECT_EQ(UserStoreApp("sv4200", false), "sv4200");
  EXPECT_EQ(UserStoreApp("sv4200", true), "sv4200_Slave");
}

TEST_F(SettingsTest, HardwareNamesTheStoreWins) {
  test::WriteFile(h.programFolder + "/sv4200.ini",
                  "[HARDWARE]\r\nGrabber=V1SW2000\r\nD/A-Converter=DA_PCI1716\r\n");
  test::WriteFile(h.programFolder + "/sv4200_Slave.ini", "[HARDWARE]\r\nGrabber=PIXELFLY\r\n");
  h.store.SaveSetting("sv4200", "HARDWARE", "Grabber", "V1K12");
  h.store.SaveSetting("sv4200", "HARDWARE", "A/D-Converter", "AD_NIDAQ");

  ReadHardwareNames();
  EXPECT_EQ(std::tuple(G().GrabberName, G().DAName, G().ADName, G().IOName),
            std::tuple("V1K12", "DA_PCI1716", "AD_NIDAQ", ""));

  // A second instance with "/SLAVE" has a selection of its own.
  G().SlaveMode = true;
  ReadHardwareNames();
  EXPECT_EQ(std::tuple(G().GrabberName, G().DAName, G().ADName), std::tuple("PIXELFLY", "", ""));
}

TEST_F(SettingsTest, AfterResetTheEmptyNamesGoToTheStoreOnly) {
  const std::string hwIni = h.programFolder + "/sv4200.ini";
  const std::string hwText = "[HARDWARE]\r\nGrabber=V1SW2000\r\n";
  test::WriteFile(hwIni, hwText);
  G().IniFile = h.programFolder + "/SV4200_tester.ini";
  ReadSettings(nullptr);
  EXPECT_EQ(G().GrabberName, "V1SW2000");
  // "/RESET ": the names are cleared after the read.
  G().GrabberName = G().IOName = G().DAName = G().ADName = "";
  WriteSettings(nullptr);
  for (const char* key : {"Grabber", "I/O-Converter", "D/A-Converter", "A/D-Converter"})
    EXPECT_EQ(StoreValue("sv4200", "HARDWARE", key), "") << key;
  EXPECT_EQ(test::ReadFile(hwIni), hwText);
  Profile ini = Profile::Load(G().IniFile);
  EXPECT_TRUE(ini.Keys("HARDWARE").empty());
  // The next normal start stays without hardware.
  ReadHardwareNames();
  EXPECT_EQ(G().GrabberName, "");
}

TEST_F(SettingsTest, MainWindowRectangle) {
  using Rect = std::tuple<long, long, long, long, long>;  // state, left, top, width, height
  const std::pair<Rect, Rect> cases[] = {
      {{0, 100, 50, 800, 600}, {0, 100, 50, 800, 600}},
      {{0, -20, -5, 800, 600}, {0, 0, 0, 800, 600}},
      {{0, 1800, 1000, 800, 600}, {0, 1520, 780, 400, 300}},
      {{0, 10, 10, 100, 50}, {0, 10, 10, 400, 300}},
      {{0, 1000, 500, 5000, 5000}, {0, 1000, 500, 920, 580}},
      {{1, 0, 0, 800, 600}, {2, 0, 0, 800, 600}},
      {{2, 0, 0, 800, 600}, {2, 0, 0, 800, 600}},
  };
  Globals& g = G();
  for (const auto& [in, expected] : cases) {
    std::tie(g.MainState, g.MainLeft, g.MainTop, g.MainWidth, g.MainHeight) = in;
    NormaliseMainWindowRect(1920, 1080);
    EXPECT_EQ(Rect(g.MainState, g.MainLeft, g.MainTop, g.MainWidth, g.MainHeight), expected);
  }
  // Reading applies the same rules against the screen.
  h.screen = {1024, 768};
  ReadGeneralSettings(Profile::Parse("[Main]\nstate=1\nleft=2000\ntop=-3\nwidth=900\nheight=900\n"));
  EXPECT_EQ(Rect(g.MainState, g.MainLeft, g.MainTop, g.MainWidth, g.MainHeight),
            Rect(2, 624, 0, 400, 768));
}

TEST_F(SettingsTest, DefaultDataFoldersAreMade) {
  EXPECT_EQ(DataRoot(""), h.homeFolder + "/SV4200_AllUsers/");
  EXPECT_EQ(DataRoot("anna"), h.homeFolder + "/SV4200_anna/");

  G().UserIniName = "anna";
  ReadPathes(Profile::Parse("[Script]\nPath=C:\\Scripts\n"));
  const std::string root = h.homeFolder + "/SV4200_anna/";
  EXPECT_EQ(G().ScriptsPath, "C:/Scripts/");
  for (auto [path, f] : {std::pair{&G().ImagesPath, "Images"}, {&G().FilmsPath, "Videos"},
                         {&G().SheetsPath, "Worksheets"}, {&G().ExportPath, "Export"},
                         {&G().ParameterPath, "Parameter"}}) {
    EXPECT_EQ(*path, root + f + "/");
    EXPECT_TRUE(fs::is_directory(root + f)) << f;
  }
}

TEST_F(SettingsTest, AFolderThatCannotBeMadeIsTolerated) {
  test::WriteFile(h.root + "/blocker", "a file, not a folder");
  const std::string deep = h.root + "/deep/er/Films";
  Profile ini = Profile::Parse("[Pathes]\nImages=" + h.root + "/blocker/Images\nFilms=" + deep +
                               "\n");
  ReadPathes(ini);
  EXPECT_EQ(G().ImagesPath, h.root + "/blocker/Images/");
  EXPECT_FALSE(fs::exists(h.root + "/blocker/Images"));
  EXPECT_TRUE(fs::is_directory(deep));  // made level by level
  EXPECT_TRUE(fs::is_directory(h.homeFolder + "/SV4200_AllUsers/Worksheets"));
}

TEST_F(SettingsTest, WritePathesWritesSixKeys) {
  G().UserIniName = "";
  ReadPathes(Profile());
  Profile out;
  WritePathes(out);
  EXPECT_EQ(out.Keys("Pathes"), (std::vector<std::string>{"Images", "Films", "Sheets", "Scripts",
                                                          "Export", "Parameter"}));
  EXPECT_EQ(out.GetString("Pathes", "Films", ""), h.homeFolder + "/SV4200_AllUsers/Videos/");
  EXPECT_EQ(out.GetString("Pathes", "Scripts", "x"), "");
}

TEST_F(SettingsTest, LastFilesKeepTheirOrder) {
  Profile ini = Profile::Parse("[LastFiles]\nFile1=/a.tif\nFile2=/b.sht\nFile4=/d.vid\n");
  EXPECT_EQ(ReadLastFiles(ini, 4), (std::vector<std::string>{"/d.vid", "", "/b.sht", "/a.tif"}));

  MDIForm_Main main;
  const std::string iniPath = h.root + "/last.ini";
  test::WriteFile(iniPath, ini.Text());
  G().IniFile = iniPath;
  ReadSettings(&main);
  ASSERT_GE(main.LastFiles.size(), 3u);
  EXPECT_EQ(std::vector<std::string>(main.LastFiles.begin(), main.LastFiles.begin() + 3),
            (std::vector<std::string>{"/a.tif", "/b.sht", "/d.vid"}));

  Profile out;
  WriteLastFiles(out, main.LastFiles);
  EXPECT_EQ(out.GetString("LastFiles", "File1", ""), "/a.tif");
  EXPECT_EQ(out.GetString("LastFiles", "File3", ""), "/d.vid");
}

TEST_F(SettingsTest, ReadAndWriteShowTheirStatusAndKeepForeignLines) {
  const std::string iniPath = h.root + "/SV4200.ini";
  const std::string text =
      "; hand-written notes\r\n[Main]\r\nleft=5\r\nOldKey=stays\r\n\r\n[Foreign]\r\na=1\r\n";
  test::WriteFile(iniPath, text);
  G().IniFile = iniPath;
  ReadSettings(nullptr);
  EXPECT_EQ(h.status, (std::vector<std::string>{"Reading " + iniPath + "...", ""}));
  WriteSettings(nullptr);
  EXPECT_EQ(std::tuple(h.status.at(2), h.status.at(3)), std::tuple("Saving " + iniPath + "...", ""));
  std::string after = test::ReadFile(iniPath);
  EXPECT_EQ(after.rfind("; hand-written notes\r\n[Main]\r\n", 0), 0u);
  Profile p = Profile::Parse(after);
  EXPECT_EQ(std::tuple(p.GetString("Main", "OldKey", ""), p.GetInt("Foreign", "a", 0), p.GetInt("LUT", "Top", 0)),
            std::tuple("stays", 1, 600));
  EXPECT_EQ(after.find("\n\n"), std::string::npos);  // still CR LF throughout
}

TEST_F(SettingsTest, AMissingIniFileIsNoError) {
  G().IniFile = "SV4200_nobody.ini";  // bare name: the config folder
  fs::remove_all(h.configFolder);
  ReadSettings(nullptr);
  EXPECT_EQ(G().TriggerSource, 4);
  EXPECT_TRUE(h.messages.empty());
  WriteSettings(nullptr);
  EXPECT_EQ(Profile::Load(h.configFolder + "/SV4200_nobody.ini").GetInt("Trigger", "Source", 0), 4);
}

TEST_F(SettingsTest, SectionsRunInSlotOrder) {
  std::vector<std::string> order;
  auto section = [&](SettingsSlot slot, std::string name) {
    return SettingsSection{slot, name,
                           [&order, name](const Profile& ini) {
                             // The core table has been read before any plugged-in section.
                             order.push_back(name + ":" + std::to_string(G().TriggerSource) +
                                             ":" + ini.GetString("X", "y", ""));
                           },
                           [&order, name](Profile& ini) {
                             order.push_back("w" + name);
                             ini.Set("X", name, "1");
                           }};
  };
  RegisterSettingsSection(section(SettingsSlot::FilmPlayer, "player"));
  RegisterSettingsSection(section(SettingsSlot::Grabber, "grabber"));
  RegisterSettingsSection(section(SettingsSlot::Window, "window"));
  RegisterSettingsSection({SettingsSlot::Grabber, "grabber2", [&](const Profile&) {
                             order.push_back("grabber2");
                           }, nullptr});
  const auto& s = SettingsSections();
  ASSERT_EQ(s.size(), 6u);
  EXPECT_EQ(std::tuple(s[0].slot, s[1].slot), std::tuple(SettingsSlot::Core, SettingsSlot::Pathes));

  const std::string iniPath = h.root + "/order.ini";
  test::WriteFile(iniPath, "[Trigger]\nSource=2\n[X]\ny=z\n");
  G().IniFile = iniPath;
  ReadSettings(nullptr);
  WriteSettings(nullptr);
  EXPECT_EQ(order, (std::vector<std::string>{"grabber:2:z", "grabber2", "window:2:z",
                                             "player:2:z", "wgrabber", "wwindow", "wplayer"}));
  // One save: the file holds every section's keys.
  Profile p = Profile::Load(iniPath);
  EXPECT_EQ(p.Keys("X"), (std::vector<std::string>{"y", "grabber", "window", "player"}));

  ClearSettingsSections();
  EXPECT_EQ(SettingsSections().size(), 2u);
}

TEST_F(SettingsTest, DescribeShowsTheEffectiveValues) {
  h.store.SaveSetting("sv4200", "HARDWARE", "Grabber", "V1K12");
  const std::string iniPath = h.root + "/describe.ini";
  test::WriteFile(iniPath, "[LUT]\nRainbowLUT=9\n[Images]\nViewImageComment=3\n");
  G().IniFile = iniPath;
  G().UserIniName = "anna";
  ReadSettings(nullptr);
  auto lines = DescribeSettings();
  for (const std::string& l : std::vector<std::string>{"LUT/RainbowLUT=6", "Images/ViewImageComment=-1", "LUT/Visible=0", "Main/width=400",
        "eGun/MaxEnergyAUGER=1639", "Grabber/Subtract Background=0",
        "Pathes/Images=" + h.homeFolder + "/SV4200_anna/Images/", "Pathes/Scripts=",
        "HARDWARE/Grabber=V1K12", "HARDWARE/A/D-Converter="})
    EXPECT_NE(std::find(lines.begin(), lines.end(), l), lines.end()) << l;
  EXPECT_EQ(lines.front(), "Main/state=2");
}

}  // namespace
}  // namespace sv
