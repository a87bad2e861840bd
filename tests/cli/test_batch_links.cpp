// svbatch handshake-send against a receiver thread on real files, and
// svbatch link-serve as a child process that the link client talks to,
// stops, kills and outlives.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <iostream>
#include <thread>

#include "batch_child.h"
#include "batch_fixture.h"
#include "core/globals.h"
#include "hardware/dde.h"
#include "hardware/link_socket.h"
#include "support/scripted_host.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::WriteFile;

using Child = test::BatchChild;

class BatchLinksTest : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    const char* old = std::getenv("XDG_RUNTIME_DIR");
    if (old) saved_ = old;
    setenv("XDG_RUNTIME_DIR", (root + "/run").c_str(), 1);
    fs::create_directories(root + "/run");
    host_ = std::make_unique<test::ScriptedHost>();
  }
  void TearDown() override {
    DDE_Reset();
    host_.reset();
    if (saved_) setenv("XDG_RUNTIME_DIR", saved_->c_str(), 1);
    else unsetenv("XDG_RUNTIME_DIR");
    BatchFixture::TearDown();
  }
  template <typename F>
  bool Eventually(F done) {
    for (int i = 0; i < 2000 && !done(); ++i) {
      DDE_Poll();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return done();
  }
  std::unique_ptr<test::ScriptedHost> host_;
  std::optional<std::string> saved_;
};

// --- handshake-send -----------------------------------------------------------

// Takes rows as the other program would, until told to stop.
class Receiver {
 public:
  explicit Receiver(std::string dir) : dir_(std::move(dir)) {
    thread_ = std::thread([this] {
      WriteFile(dir_ + "RDY", "");
      bool took = false;
      while (!stop_) {
        const bool dav = fs::exists(dir_ + "DAV");
        if (dav && !took) {
          std::string name = ReadFile(dir_ + "EXP");
          if (!name.empty()) name.pop_back();
          rows += ReadFile(name);
          fs::remove(dir_ + "RDY");
          took = true;
        } else if (!dav && took) {
          WriteFile(dir_ + "RDY", "");
          took = false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    });
  }
  ~Receiver() { Stop(); }
  void Stop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  std::string rows;  // read after Stop

 private:
  std::string dir_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

TEST_F(BatchLinksTest, HandshakeSendHandsEveryRowOver) {
  const std::string dir = root + "/hs/";
  fs::create_directories(dir);
  Receiver rx(dir);
  EXPECT_EQ(Run({"handshake-send", "--folder", dir, "--file", root + "/run.sht", "--timeout",
                 "5000", "1\t2.5", "2\t3.5"}),
            0)
      << err.str();
  rx.Stop();
  EXPECT_EQ(out.str(), "2 rows sent\n");
  EXPECT_EQ(rx.rows, "1\t2.5\n2\t3.5\n");
  EXPECT_FALSE(fs::exists(dir + "DAV"));
  EXPECT_EQ(ReadFile(dir + "EXP"), root + "/run.sht\n");
}

TEST_F(BatchLinksTest, HandshakeSendReportsASilentReceiver) {
  const std::string dir = root + "/hs/";
  fs::create_directories(dir);
  // Nobody there: the start gives up (Cancel) after its wait.
  EXPECT_EQ(Run({"handshake-send", "--folder", dir, "--file", root + "/a.sht", "--timeout", "30",
                 "row"}),
            1);
  EXPECT_NE(err.str().find("2nd application is not ready."), std::string::npos) << err.str();
  EXPECT_NE(err.str().find("Try again?"), std::string::npos);
  // Ready but never taking a row: the second wait ends the run.
  WriteFile(dir + "RDY", "");
  EXPECT_EQ(Run({"handshake-send", "--folder", dir, "--file", root + "/a.sht", "--timeout", "30",
                 "row1", "row2"}),
            1);
  EXPECT_EQ(err.str(), "RDY TimeOut\n");
  EXPECT_EQ(ReadFile(root + "/a.sht"), "row1\n");
  EXPECT_FALSE(fs::exists(dir + "DAV"));
}

TEST_F(BatchLinksTest, BadCommandLines) {
  const std::vector<std::vector<std::string>> cases = {
      {"handshake-send", "--file", "x.sht", "row"},
      {"handshake-send", "--folder", "/tmp", "row"},
      {"handshake-send", "--folder", "/tmp", "--file", "x", "--timeout", "0"},
      {"handshake-send", "--folder"},
      {"link-serve"},
      {"link-serve", "A", "B"},
      {"link-serve", "A", "--item", "novalue"},
      {"link-serve", "A", "--advise", "=1,2"},
      {"link-serve", "A", "--count", "0"},
      {"link-serve", "A", "--bogus"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Run(c), 2) << c.back();
    EXPECT_NE(err.str().find("svbatch: "), std::string::npos);
  }
  Run({"help"});
  EXPECT_NE(out.str().find("link-serve TOPIC"), std::string::npos);
  EXPECT_NE(out.str().find("handshake-send --folder DIR"), std::string::npos);
}

// --- link-serve -----------------------------------------------------------------

TEST_F(BatchLinksTest, LinkServeAnswersTakesPokesPushesAndDiesCleanly) {
  Child server({"link-serve", "Bench|Control", "--item", "Label_AD_get_voltage=1,5", "--advise",
                "Label_AD_get_stress_counter=7,8", "--interval", "10"});
  ASSERT_EQ(server.OutLine(), "ready");
  std::string error;
  ASSERT_TRUE(DDE_AD_open("Bench", 1000, error)) << error;
  ASSERT_TRUE(DDE_DA_open("Bench", 1000, error)) << error;
  float volts = 0;
  ASSERT_TRUE(DDE_AD_get_voltage(volts, error)) << error;
  EXPECT_FLOAT_EQ(volts, 1.5f);
  EXPECT_EQ(server.OutLine(), "REQUEST Label_AD_get_voltage");
  ASSERT_TRUE(DDE_DA_set_voltage(2.5f, error)) << error;
  EXPECT_EQ(server.OutLine(), "POKE DA_set_voltage 2.5");
  // The pushed counter arrives at a poll.
  ASSERT_TRUE(Eventually([] { return DDEForm().DDECounter == 8; }));

  // Killed in the middle of the session: an error, not a hang, not a value.
  ::kill(server.Pid(), SIGKILL);
  EXPECT_EQ(server.Wait(), 128 + SIGKILL);
  volts = -1;
  EXPECT_FALSE(DDE_AD_get_voltage(volts, error));
  EXPECT_EQ(error.rfind("DDE_AD_open: ", 0), 0u) << error;
  EXPECT_EQ(volts, -1);
  EXPECT_FALSE(DDE_DA_set_voltage(3, error));
}

TEST_F(BatchLinksTest, AStoppedPeerRunsIntoTheTimeOut) {
  Child server({"link-serve", "Frozen|Control", "--item", "Label_AD_get_voltage=1"});
  ASSERT_EQ(server.OutLine(), "ready");
  std::string error;
  ASSERT_TRUE(DDE_AD_open("Frozen", 200, error)) << error;
  ::kill(server.Pid(), SIGSTOP);
  float volts = 0;
  EXPECT_FALSE(DDE_AD_get_voltage(volts, error));
  EXPECT_EQ(error, "DDE_AD_get_voltage: no answer within 200 ms");
  ::kill(server.Pid(), SIGCONT);
  // The link was dropped with the time-out and comes back on the next read.
  ASSERT_TRUE(DDE_AD_get_voltage(volts, error)) << error;
  EXPECT_FLOAT_EQ(volts, 1.0f);
}

TEST_F(BatchLinksTest, LinkServeEndsAfterItsPokesAndOnSigterm) {
  std::string socket, error;
  ASSERT_TRUE(LinkSocketPath("Excel", socket, error));
  {
    Child excel({"link-serve", "Excel|Tabelle1", "--count", "2"});
    ASSERT_EQ(excel.OutLine(), "ready");
    EXPECT_TRUE(fs::exists(socket));
    DDESheetLink sheet;
    ASSERT_TRUE(sheet.Open("", {"time (s)", "I1"}, 1000, error)) << error;
    ASSERT_TRUE(sheet.Row(1, 2, "0.5\t100", error)) << error;
    EXPECT_EQ(excel.OutLine(), "POKE Z1S1:Z1S2 time (s)\\tI1");
    EXPECT_EQ(excel.OutLine(), "POKE Z2S1:Z2S2 0.5\\t100");
    EXPECT_EQ(excel.Wait(), 0);
    EXPECT_FALSE(fs::exists(socket));
  }
  {
    Child excel({"link-serve", "Excel|Tabelle1"});
    ASSERT_EQ(excel.OutLine(), "ready");
    DDESheetLink other;
    EXPECT_FALSE(other.Open("Sheet2", {"a"}, 1000, error));
    EXPECT_EQ(error, "unknown topic Excel|Sheet2");
    EXPECT_FALSE(other.IsOpen());
    ::kill(excel.Pid(), SIGTERM);
    EXPECT_EQ(excel.Wait(), 0);
    EXPECT_FALSE(fs::exists(socket));
  }
}

}  // namespace
}  // namespace sv::cli
