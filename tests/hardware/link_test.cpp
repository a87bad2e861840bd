// The local link: its line protocol, a client against a server in a second
// thread, the remote device of Form_DDE, the "Link" back-end and the rows
// sent to a spreadsheet.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include "core/globals.h"
#include "core/ini_profile.h"
#include "hardware/dde.h"
#include "hardware/devices.h"
#include "hardware/link_protocol.h"
#include "hardware/link_socket.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

namespace fs = std::filesystem;

// --- The protocol ------------------------------------------------------------

TEST(LinkProtocol, MessagesReadBackAsWritten) {
  const LinkMessage cases[] = {
      {LinkVerb::Connect, "Excel|My Sheet", ""},
      {LinkVerb::Request, "Label_AD_get_voltage", ""},
      {LinkVerb::Poke, "Z2S1:Z2S3", "1.5\t-2\t\t x\\y"},
      {LinkVerb::Poke, "item with space", " leading and trailing "},
      {LinkVerb::Value, "v", std::string("nul\0byte\r\n", 11)},
      {LinkVerb::Update, "Label_AD_trigger", "12"},
      {LinkVerb::Advise, "a", ""},
      {LinkVerb::Unadvise, "a", ""},
      {LinkVerb::Close, "", ""},
      {LinkVerb::Ok, "", ""},
      {LinkVerb::Error, "", "no item X"},
  };
  for (const LinkMessage& m : cases) {
    const std::string line = FormatLinkMessage(m);
    SCOPED_TRACE(line);
    EXPECT_EQ(line.find_first_of("\t\r\n"), std::string::npos);
    LinkMessage back;
    std::string error;
    ASSERT_TRUE(ParseLinkMessage(line + "\r\n", back, error)) << error;
    EXPECT_EQ(back.verb, m.verb);
    EXPECT_EQ(back.item, m.item);
    EXPECT_EQ(back.value, m.value);
  }
  EXPECT_EQ(FormatLinkMessage({LinkVerb::Poke, "Z1S1:Z1S2", "time (s)\tI1"}),
            "POKE Z1S1:Z1S2 time (s)\\tI1");
}

TEST(LinkProtocol, WhatAPersonTypesIsRead) {
  LinkMessage m;
  std::string error;
  ASSERT_TRUE(ParseLinkMessage("poke DA_set_voltage 2.5 V", m, error));
  EXPECT_EQ(m.verb, LinkVerb::Poke);
  EXPECT_EQ(m.item, "DA_set_voltage");
  EXPECT_EQ(m.value, "2.5 V");
  ASSERT_TRUE(ParseLinkMessage("CONNECT Excel|My Sheet", m, error));
  EXPECT_EQ(m.item, "Excel|My Sheet");
  ASSERT_TRUE(ParseLinkMessage("POKE x", m, error));  // no value is an empty one
  EXPECT_EQ(m.value, "");
}

TEST(LinkProtocol, HostileLinesAreRefusedWithAReason) {
  const char* lines[] = {"", "\r\n", "HELLO world", "REQUEST", "REQUEST ", "POKE",
                         "POKE  value", "CONNECT", "REQUEST a\\", "REQUEST a\\q",
                         "POKE a \\x4", "POKE a \\xZZ", "OKAY", " REQUEST a"};
  for (const char* line : lines) {
    LinkMessage m;
    std::string error;
    EXPECT_FALSE(ParseLinkMessage(line, m, error)) << line;
    EXPECT_FALSE(error.empty()) << line;
  }
}

TEST(LinkProtocol, TheReaderCutsLinesAndDropsOverlongOnes) {
  LinkLineReader r;
  std::string line;
  r.Feed("OK\r\nVAL", 7);
  ASSERT_EQ(r.Next(line), LinkLineReader::Result::Line);
  EXPECT_EQ(line, "OK");
  EXPECT_EQ(r.Next(line), LinkLineReader::Result::None);
  r.Feed("UE a 1\n", 7);
  ASSERT_EQ(r.Next(line), LinkLineReader::Result::Line);
  EXPECT_EQ(line, "VALUE a 1");

  const std::string huge(kLinkMaxLine + 10, 'x');
  r.Feed(huge.data(), huge.size());
  EXPECT_EQ(r.Next(line), LinkLineReader::Result::TooLong);
  EXPECT_LT(r.Buffered(), 16u);  // nothing of it is kept
  r.Feed("xxx\nCLOSE\n", 10);    // the rest of the long line goes too
  ASSERT_EQ(r.Next(line), LinkLineReader::Result::Line);
  EXPECT_EQ(line, "CLOSE");
}

TEST(LinkProtocol, ServiceAndSocketPath) {
  EXPECT_EQ(LinkService("Excel|Tabelle1"), "Excel");
  EXPECT_EQ(LinkService("StressCounter|Control"), "StressCounter");
  EXPECT_EQ(LinkService("Plain"), "Plain");
  test::ScriptedHost h;
  const char* old = std::getenv("XDG_RUNTIME_DIR");
  const std::optional<std::string> saved = old ? std::optional<std::string>(old) : std::nullopt;
  setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
  std::string path, error;
  ASSERT_TRUE(LinkSocketPath("a/b", path, error));
  EXPECT_EQ(path, "/run/user/7/sv4200/a_b.sock");
  unsetenv("XDG_RUNTIME_DIR");
  ASSERT_TRUE(LinkSocketPath("Excel", path, error));
  EXPECT_EQ(path, h.tempPath + "sv4200/Excel.sock");
  EXPECT_FALSE(LinkSocketPath("", path, error));
  EXPECT_FALSE(LinkSocketPath(std::string(200, 'n'), path, error));
  EXPECT_NE(error.find("too long"), std::string::npos);
  if (saved) setenv("XDG_RUNTIME_DIR", saved->c_str(), 1);
}

// --- A server in a second thread --------------------------------------------

// Serves one service from its own thread: answers requests from `items`,
// records pokes, and publishes what the test queues.
class Peer {
 public:
  explicit Peer(std::string service, std::map<std::string, std::string> items = {})
      : items_(std::move(items)) {
    std::string error;
    listening_ = server_.Listen(service, error);
    EXPECT_TRUE(listening_) << error;
    server_.OnRequest = [this](const std::string& item, std::string& value, std::string& error) {
      std::lock_guard<std::mutex> lock(mutex_);
      auto it = items_.find(item);
      if (it == items_.end()) {
        error = "no item " + item;
        return false;
      }
      value = it->second;
      return true;
    };
    server_.OnPoke = [this](const std::string& item, const std::string& value, std::string&) {
      std::lock_guard<std::mutex> lock(mutex_);
      pokes_.emplace_back(item, value);
      return true;
    };
    server_.OnAdvise = [this](const std::string& item, std::string& error) {
      if (item == "Label_AD_cmd") {
        error = "no command here";
        return false;
      }
      std::lock_guard<std::mutex> lock(mutex_);
      advised_.push_back(item);
      return true;
    };
    thread_ = std::thread([this] {
      while (!stop_) {
        server_.Poll(5);
        std::lock_guard<std::mutex> lock(mutex_);
        for (auto& [item, value] : publish_) server_.Publish(item, value);
        publish_.clear();
      }
      server_.Close();
    });
  }
  ~Peer() { Stop(); }
  void Stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  void Publish(const std::string& item, const std::string& value) {
    std::lock_guard<std::mutex> lock(mutex_);
    publish_.emplace_back(item, value);
  }
  std::vector<std::pair<std::string, std::string>> Pokes() {
    std::lock_guard<std::mutex> lock(mutex_);
    return pokes_;
  }
  std::vector<std::string> Advised() {
    std::lock_guard<std::mutex> lock(mutex_);
    return advised_;
  }

 private:
  LinkServer server_;
  bool listening_ = false;
  std::map<std::string, std::string> items_;
  std::vector<std::pair<std::string, std::string>> pokes_, publish_;
  std::vector<std::string> advised_;
  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  std::thread thread_;
};

class LinkTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = std::getenv("XDG_RUNTIME_DIR");
    if (old) saved_ = old;
    setenv("XDG_RUNTIME_DIR", (h.root + "/run").c_str(), 1);
    fs::create_directories(h.root + "/run");
  }
  void TearDown() override {
    DDE_Reset();
    ResetGlobals();
    if (saved_) setenv("XDG_RUNTIME_DIR", saved_->c_str(), 1);
    else unsetenv("XDG_RUNTIME_DIR");
  }
  // Waits (in real time, bounded) until `done` holds, polling the links.
  template <typename F>
  bool Eventually(F done) {
    for (int i = 0; i < 2000 && !done(); ++i) {
      DDE_Poll();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return done();
  }
  test::ScriptedHost h;
  std::optional<std::string> saved_;
};

TEST_F(LinkTest, RequestPokeAndRefusals) {
  Peer peer("Lab", {{"Label_AD_get_voltage", "1,25"}});
  LinkClient c;
  std::string error, value;
  ASSERT_TRUE(c.Open("Lab|Control", error)) << error;
  ASSERT_TRUE(c.Request("Label_AD_get_voltage", value, error)) << error;
  EXPECT_EQ(value, "1,25");
  EXPECT_FALSE(c.Request("Nothing", value, error));
  EXPECT_EQ(error, "no item Nothing");
  EXPECT_TRUE(c.IsOpen());  // a refusal keeps the link
  ASSERT_TRUE(c.Poke("x", "a\tb\nc", error)) << error;
  c.Close();
  peer.Stop();
  EXPECT_EQ(peer.Pokes(), (std::vector<std::pair<std::string, std::string>>{{"x", "a\tb\nc"}}));
}

TEST_F(LinkTest, NoServerIsAnErrorAtOnce) {
  LinkClient c;
  std::string error;
  EXPECT_FALSE(c.Open("Nobody|Control", error));
  EXPECT_NE(error.find("no application serves \"Nobody|Control\""), std::string::npos) << error;
  EXPECT_FALSE(c.IsOpen());
}

TEST_F(LinkTest, ASecondServerForTheSameServiceIsRefused) {
  Peer first("Twice");
  LinkServer second;
  std::string error;
  EXPECT_FALSE(second.Listen("Twice", error));
  EXPECT_NE(error.find("another program serves Twice"), std::string::npos) << error;
}

TEST_F(LinkTest, ASocketLeftByADeadServerIsTakenOverAndRemovedAtTheEnd) {
  std::string path, error;
  ASSERT_TRUE(LinkSocketPath("Stale", path, error));
  fs::create_directories(fs::path(path).parent_path());
  // A socket file with nobody behind it, as a killed server leaves it.
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  std::snprintf(addr.sun_path, sizeof addr.sun_path, "%s", path.c_str());
  ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
  ::close(fd);
  ASSERT_TRUE(fs::exists(path));
  {
    LinkServer server;
    ASSERT_TRUE(server.Listen("Stale", error)) << error;
    EXPECT_EQ(server.SocketPath(), path);
  }
  EXPECT_FALSE(fs::exists(path));
}

TEST_F(LinkTest, TheRemoteDeviceReadsPokesAndTakesCounters) {
  Peer peer("StressCounter", {{"Label_AD_get_voltage", " -3.5 "}});
  std::string error;
  int counterUpdates = 0;
  DDEForm().OnCounterUpdate = [&] { ++counterUpdates; };
  ASSERT_TRUE(DDE_AD_open("StressCounter", 1000, error)) << error;
  ASSERT_TRUE(DDE_DA_open("StressCounter", 1000, error)) << error;
  EXPECT_EQ(DDEForm().ADLink.Topic(), "StressCounter|Control");
  EXPECT_EQ(h.RunningTimers(), 1u);  // one timer reads the updates of both links
  // The command item was refused by this peer; the others were taken.
  EXPECT_EQ(peer.Advised(), (std::vector<std::string>{"Label_AD_get_stress_counter",
                                                      "Label_AD_trigger"}));

  float volts = 0;
  ASSERT_TRUE(DDE_AD_get_voltage(volts, error)) << error;
  EXPECT_FLOAT_EQ(volts, -3.5f);
  EXPECT_EQ(DDEForm().Text_AD_get_voltage, " -3.5 ");
  ASSERT_TRUE(DDE_DA_set_voltage(2.25f, error)) << error;
  EXPECT_EQ(DDEForm().Text_DA_set_voltage, "2.25");

  peer.Publish("Label_AD_get_stress_counter", "41");
  peer.Publish("Label_AD_trigger", "42");
  ASSERT_TRUE(Eventually([] { return DDEForm().DDETriggerCount == 42; }));
  EXPECT_EQ(DDEForm().DDECounter, 41);
  EXPECT_EQ(DDEForm().Text_AD_TrigCount, "42");
  EXPECT_EQ(counterUpdates, 1);
  // The host timer does the same reading.
  peer.Publish("Label_AD_get_stress_counter", "43");
  ASSERT_TRUE(Eventually([&] {
    h.FireTimers();
    return DDEForm().DDECounter == 43;
  }));

  auto pokes = peer.Pokes();
  ASSERT_EQ(pokes.size(), 1u);
  EXPECT_EQ(pokes[0], (std::pair<std::string, std::string>{"DA_set_voltage", "2.25"}));

  DDE_AD_close();
  DDE_DA_close();
  EXPECT_EQ(h.RunningTimers(), 0u);
}

TEST_F(LinkTest, APeerThatDiesGivesAnErrorAndNoHang) {
  auto peer = std::make_unique<Peer>("Fragile", std::map<std::string, std::string>{
                                                    {"Label_AD_get_voltage", "1"}});
  std::string error;
  ASSERT_TRUE(DDE_AD_open("Fragile", 500, error)) << error;
  float volts = 0;
  ASSERT_TRUE(DDE_AD_get_voltage(volts, error)) << error;
  peer.reset();
  volts = 99;
  EXPECT_FALSE(DDE_AD_get_voltage(volts, error));
  EXPECT_EQ(error.rfind("DDE_AD_open: ", 0), 0u) << error;
  EXPECT_EQ(volts, 99);  // nothing made up
  EXPECT_FALSE(DDE_DA_set_voltage(1, error));
  EXPECT_EQ(error, "DDE_DA_set_voltage: the link is not open");
}

TEST_F(LinkTest, TheLinkBackEndReadsAndPokesThroughTheServerOfTheIniFile) {
  G().IniFile = h.root + "/SV4200.ini";
  Profile ini;
  ini.Set("ADC: Link", "Server", "Bench");
  ini.Set("ADC: Link", "TimeoutMs", "800");
  ini.Set("DAC: Link", "Server", "Bench");
  ASSERT_TRUE(ini.Save(G().IniFile));
  Peer peer("Bench", {{"Label_AD_get_voltage", "4.5"}});

  auto ad = MakeLinkAD();
  auto da = MakeLinkDA();
  ASSERT_TRUE(ad && da);
  bool answers = false;
  EXPECT_EQ(ad->AD_init(0, answers), 0) << ad->LastError();
  EXPECT_TRUE(answers);
  EXPECT_EQ(DDEForm().ADLink.TimeoutMs, 800);
  EXPECT_EQ(da->DA_init(0, answers), 0) << da->LastError();
  EXPECT_EQ(DDEForm().DALink.TimeoutMs, 2000);

  float volts = 0;
  ad->AD_set_averaging(3);
  ASSERT_EQ(ad->AD_get_voltage(0, volts), 0) << ad->LastError();
  EXPECT_FLOAT_EQ(volts, 4.5f);
  ASSERT_EQ(da->DA_set_voltage(0, -1.5f), 0) << da->LastError();
  ASSERT_EQ(da->DA_set(0, 65535), 0);
  std::string name;
  ad->AD_interface_name(name);
  EXPECT_EQ(name, "Application link");
  ad.reset();
  da.reset();
  peer.Stop();
  auto pokes = peer.Pokes();
  ASSERT_EQ(pokes.size(), 2u);
  EXPECT_EQ(pokes[0].second, "-1.5");
  EXPECT_EQ(pokes[1].second, "10");
}

TEST_F(LinkTest, TheLinkBackEndWithoutAPeerReportsAndIsNotReady) {
  G().IniFile = h.root + "/SV4200.ini";
  struct {
    const char* server;
    const char* expected;
  } cases[] = {{"", "DDE_AD_open: no server named"}, {"Absent", "DDE_AD_open: no application serves"}};
  for (auto c : cases) {
    SCOPED_TRACE(c.server);
    WritePrivateProfileString("ADC: Link", "Server", c.server, G().IniFile);
    auto ad = MakeLinkAD();
    bool answers = true;
    EXPECT_NE(ad->AD_init(0, answers), 0);
    EXPECT_FALSE(answers);
    EXPECT_EQ(ad->LastError().rfind(c.expected, 0), 0u) << ad->LastError();
  }
}

TEST_F(LinkTest, SpreadsheetRowsGoToTheirLineItems) {
  EXPECT_EQ(SheetLinkItem(0, 5), "Z1S1:Z1S5");
  EXPECT_EQ(SheetLinkItem(9, 12), "Z10S1:Z10S12");
  Peer excel("Excel");
  DDESheetLink sheet;
  std::string error;
  ASSERT_TRUE(sheet.Open("", {"time (s)", "I1", "I2"}, 1000, error)) << error;
  EXPECT_EQ(sheet.Topic(), "Excel|Tabelle1");
  EXPECT_EQ(sheet.Item(), "Z1S1:Z1S3");
  ASSERT_TRUE(sheet.Row(1, 3, "0\t10\t20", error)) << error;
  ASSERT_TRUE(sheet.Row(2, 3, "0.5\t11\t", error)) << error;
  sheet.Close();
  excel.Stop();
  EXPECT_EQ(excel.Pokes(), (std::vector<std::pair<std::string, std::string>>{
                               {"Z1S1:Z1S3", "time (s)\tI1\tI2"},
                               {"Z2S1:Z2S3", "0\t10\t20"},
                               {"Z3S1:Z3S3", "0.5\t11\t"}}));
  DDESheetLink none;
  EXPECT_FALSE(none.Open("Sheet2", {"a"}, 200, error));
  EXPECT_FALSE(error.empty());
}

}  // namespace
}  // namespace sv
