// The first start on the simulated devices, and the exit the system asks for
// with its recovery folder.
#include "core/first_start.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <tuple>

#include "core/document_recovery.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/platform/platform.h"
#include "core/settings.h"
#include "core/startup.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

// A store that knows what it holds, as the one on disk does.
struct FreshStore : test::MemoryStore {
  bool Holds(const std::string& app) override {
    std::string prefix = app + "|";
    std::transform(prefix.begin(), prefix.end(), prefix.begin(), ::tolower);
    return std::any_of(values.begin(), values.end(),
                       [&](const auto& v) { return v.first.rfind(prefix, 0) == 0; });
  }
};
struct FreshHost : test::ScriptedHost {
  UserStore& Store() override { return fresh; }
  FreshStore fresh;
};

struct Doc : ChildDocument {
  Doc(DocKind k, bool c) : kind(k), changed(c) {}
  DocKind Kind() const override { return kind; }
  bool Invoke(const std::string&) override { return false; }
  bool Offers(const std::string&) const override { return false; }
  std::string Caption() const override { return title; }
  void SetTitle(const std::string& t) override { title = t; }
  bool Changed() const override { return changed; }
  bool QueryUnload() override { return false; }  // a question nobody may be asked
  DocKind kind;
  bool changed;
  std::string title;
};

TEST(SimulatedDevices, OneRuleForTheWorkbenchAndSvbatch) {
  struct Case {
    StartKind kind;
    bool first, reset;
    std::tuple<std::string, std::string, std::string, std::string> names;
  };
  const Case cases[] = {
      {StartKind::Workbench, true, false, {"DummyGrb", "DummyIO", "DummyDA", "DummyAD"}},
      {StartKind::Workbench, false, false, {"", "", "", ""}},
      {StartKind::Workbench, true, true, {"", "", "", ""}},
      {StartKind::Batch, false, false, {"DummyGrb", "", "", ""}},
      {StartKind::Batch, true, true, {"", "", "", ""}},
  };
  for (const Case& c : cases) {
    ResetGlobals();
    const SimulatedChoice chosen = ChooseSimulatedDevices(c.kind, c.first, c.reset);
    const Globals& g = G();
    EXPECT_EQ(std::tuple(g.GrabberName, g.IOName, g.DAName, g.ADName), c.names)
        << int(c.kind) << c.first << c.reset;
    EXPECT_EQ(chosen.Any(), !std::get<0>(c.names).empty());
  }
  // A name already chosen stays.
  ResetGlobals();
  G().GrabberName = "GenICam";
  G().DAName = "ModbusDA";
  const SimulatedChoice chosen = ChooseSimulatedDevices(StartKind::Workbench, true, false);
  EXPECT_EQ(std::tuple(G().GrabberName, G().DAName, G().ADName, chosen.grabber, chosen.da),
            std::tuple("GenICam", "ModbusDA", "DummyAD", false, false));
  ResetGlobals();
}

class FirstStartTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    Environment() = StartupEnvironment();
    Environment().grabberInit = [](const std::string& name) { return name == "DummyGrb"; };
    for (auto* init : {&Environment().ioInit, &Environment().daInit, &Environment().adInit})
      *init = [](const std::string& name) { return !name.empty(); };
  }
  void TearDown() override {
    SetMainForm(nullptr);
    Environment() = StartupEnvironment();
    ClearRecoveryWriters();
    ResetGlobals();
  }
  // One start and, unless `kill`, its exit; returns how often the preview was pressed.
  int Start(const std::string& line, bool exit = true) {
    MDIForm_Main main;
    SetMainForm(&main);
    int previews = 0;
    main.SetCommand("mnuPreview", [&](int) { ++previews; });
    EXPECT_TRUE(Main(main, line));
    firstStart = G().FirstStart;
    names = {G().GrabberName, G().IOName, G().DAName, G().ADName};
    if (exit) {
      EXPECT_TRUE(main.UnloadBySystem());
    }
    SetMainForm(nullptr);
    ResetGlobals();
    return previews;
  }
  bool SawStatus(const std::string& text) const {
    return std::find(host.status.begin(), host.status.end(), text) != host.status.end();
  }
  FreshHost host;
  bool firstStart = false;
  std::tuple<std::string, std::string, std::string, std::string> names;
};

TEST_F(FirstStartTest, ShowsTheSimulatedScreenAndTheNextStartKeepsTheChoice) {
  EXPECT_TRUE(IsFirstStart("SV4200_tester.ini", "sv4200"));
  EXPECT_EQ(Start("/B"), 1) << "the live picture opens without a click";
  EXPECT_TRUE(firstStart);
  EXPECT_EQ(names, std::tuple("DummyGrb", "DummyIO", "DummyDA", "DummyAD"));
  EXPECT_TRUE(SawStatus(kFirstStartHint));
  EXPECT_TRUE(host.messages.empty());
  // The exit wrote the choice like any other.
  EXPECT_EQ(host.fresh.GetSetting("sv4200", "HARDWARE", "Grabber", "?"), "DummyGrb");
  EXPECT_TRUE(platform::FileExists(host.configFolder + "/SV4200_tester.ini"));
  EXPECT_FALSE(IsFirstStart("SV4200_tester.ini", "sv4200"));

  host.status.clear();
  EXPECT_EQ(Start("/B"), 0) << "only a first start opens the live picture";
  EXPECT_FALSE(firstStart);
  EXPECT_EQ(names, std::tuple("DummyGrb", "DummyIO", "DummyDA", "DummyAD"));
  EXPECT_FALSE(SawStatus(kFirstStartHint));
}

TEST_F(FirstStartTest, ResetKeepsTheEmptyStartAndAnEmptyChoiceStays) {
  EXPECT_EQ(Start("/B /RESET"), 0);
  EXPECT_FALSE(firstStart);
  EXPECT_EQ(names, std::tuple("", "", "", ""));
  // The empty names were saved: the next start is no first one and stays empty.
  EXPECT_EQ(Start("/B"), 0);
  EXPECT_FALSE(firstStart);
  EXPECT_EQ(names, std::tuple("", "", "", ""));
}

TEST_F(FirstStartTest, EitherFileAloneMeansTheWorkbenchRanBefore) {
  test::WriteFile(host.configFolder + "/SV4200_tester.ini", "[Main]\r\nstate=0\r\n");
  EXPECT_FALSE(IsFirstStart("SV4200_tester.ini", "sv4200"));
  EXPECT_TRUE(IsFirstStart("SV4200_other.ini", "sv4200"));
  host.fresh.SaveSetting("sv4200", "SV4200", "DebugMode", "0");
  EXPECT_FALSE(IsFirstStart("SV4200_other.ini", "sv4200"));
  EXPECT_TRUE(IsFirstStart("SV4200_other.ini", "sv4200_Slave")) << "the slave keeps its own";
}

class RecoveryTest : public FirstStartTest {
 protected:
  void SetUp() override {
    FirstStartTest::SetUp();
    main.SetImageFactory([this](MDIForm_Main&) -> std::unique_ptr<ChildDocument> {
      return std::make_unique<Doc>(DocKind::Image, nextChanged);
    });
    SetRecoveryWriter(DocKind::Image,
                      {[](ChildDocument& d) { return d.Caption() + ".t16"; },
                       [this](ChildDocument& d, const std::string& path) {
                         if (d.Caption() == failing) return false;
                         test::WriteFile(path, "pixels of " + d.Caption());
                         return true;
                       }});
    SetMainForm(&main);
  }
  ChildDocument* Make(bool changed) {
    nextChanged = changed;
    return main.CreateImage();
  }
  MDIForm_Main main;
  bool nextChanged = false;
  std::string failing;
};

TEST_F(RecoveryTest, TheSystemsExitAsksNothingAndKeepsChangedDocuments) {
  G().IniFile = "SV4200_tester.ini";
  G().ShowExitDialog = 1;
  int shutdowns = 0;
  main.exitHooks.shutdown.push_back([&] { ++shutdowns; });
  Make(true);   // Image1
  Make(false);  // Image2: nothing to keep
  Make(true);   // Image3
  failing = "Image3";
  platform::CreateFolderChain(RecoveryFolder());
  test::WriteFile(RecoveryFolder() + "/Image1.t16", "an older one");
  EXPECT_TRUE(main.UnloadBySystem());
  EXPECT_TRUE(host.messages.empty()) << "no exit question, no document's question";
  EXPECT_EQ(std::tuple(main.Closed(), shutdowns, main.ImageCount), std::tuple(true, 1, 0L));
  EXPECT_TRUE(platform::FileExists(host.configFolder + "/SV4200_tester.ini")) << "settings written";
  const std::vector<std::string> kept = RecoveredFiles();
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(test::ReadFile(kept[1]), "pixels of Image1") << kept[1];
  EXPECT_EQ(std::filesystem::path(kept[1]).filename(), "Image1_2.t16");
  // Runs once: a second request, or the close box after it, writes nothing again.
  std::filesystem::remove(host.configFolder + "/SV4200_tester.ini");
  EXPECT_TRUE(main.UnloadBySystem());
  EXPECT_TRUE(main.QueryUnload());
  EXPECT_FALSE(platform::FileExists(host.configFolder + "/SV4200_tester.ini"));
}

TEST_F(RecoveryTest, TheNextStartOffersThemAndNoKeepsThem) {
  G().ImagesPath = host.homeFolder + "/Images/";
  std::vector<std::string> opened;
  main.SetCommand("mnuOpenImage", [](int) {});
  main.ImageOpenDo = [&](ChildDocument&, const std::string& path) {
    opened.push_back(path);
    return true;
  };
  OfferDocumentRecovery(main);
  EXPECT_TRUE(host.messages.empty()) << "nothing kept, nothing asked";

  platform::CreateFolderChain(RecoveryFolder());
  test::WriteFile(RecoveryFolder() + "/Image4.t16", "four");
  host.Answer(MsgResult::No);
  OfferDocumentRecovery(main);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].title, host.messages[0].buttons),
            std::tuple(kRecoverDocumentsTitle, MsgButtons::YesNo));
  EXPECT_NE(host.messages[0].text.find("Image4.t16"), std::string::npos);
  EXPECT_EQ(RecoveredFiles().size(), 1u) << "No keeps them for the next start";
  EXPECT_TRUE(opened.empty());

  host.Answer(MsgResult::Yes);
  OfferDocumentRecovery(main);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_EQ(opened[0], host.homeFolder + "/Images/Image4_recovered.t16");
  EXPECT_EQ(test::ReadFile(opened[0]), "four");
  EXPECT_TRUE(RecoveredFiles().empty());
  EXPECT_EQ(main.ImageCount, 1);

  // One that does not open goes back to wait for the next start.
  test::WriteFile(RecoveryFolder() + "/Image5.t16", "five");
  main.ImageOpenDo = [](ChildDocument&, const std::string&) { return false; };
  host.Answer(MsgResult::Yes);
  OfferDocumentRecovery(main);
  EXPECT_EQ(RecoveredFiles(), std::vector<std::string>{RecoveryFolder() + "/Image5.t16"});
  EXPECT_FALSE(platform::FileExists(host.homeFolder + "/Images/Image5_recovered.t16"));
}

TEST(RecoveryNames, StayInTheirFolderAndNeverOverwrite) {
  test::ScriptedHost host;
  const std::string folder = host.root;
  EXPECT_EQ(FreePath(folder, "../Data1.sht"), folder + "/.._Data1.sht");
  EXPECT_EQ(FreePath(folder, ""), folder + "/Document");
  test::WriteFile(folder + "/Data1.sht", "x");
  test::WriteFile(folder + "/Data1_2.sht", "x");
  EXPECT_EQ(FreePath(folder, "Data1.sht"), folder + "/Data1_3.sht");
}

}  // namespace
}  // namespace sv
