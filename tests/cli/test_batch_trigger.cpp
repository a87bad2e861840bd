// svbatch trigger-wait: the sources on the configured dummy I/O, the trigger
// file, the manual box on the terminal and Ctrl-C in a child process, and
// the link count against svbatch link-serve in another. The waits that must
// not end are bounded by --timeout; nothing checks how long anything took.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <optional>
#include <regex>
#include <thread>

#include "batch_child.h"
#include "batch_fixture.h"
#include "hardware/dde.h"
#include "support/scripted_host.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

using Child = test::BatchChild;

class BatchTriggerTest : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    for (const char* name : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
      const char* v = std::getenv(name);
      saved_.emplace_back(name, v ? std::optional<std::string>(v) : std::nullopt);
    }
    tmp = root + "/tmp/";
    setenv("TMPDIR", tmp.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (root + "/run").c_str(), 1);
    fs::create_directories(tmp);
    fs::create_directories(root + "/run");
    Configure("DummyIO", "DummyAD", "");
  }
  void TearDown() override {
    DDE_Reset();
    for (auto& [name, value] : saved_) {
      if (value) setenv(name.c_str(), value->c_str(), 1);
      else unsetenv(name.c_str());
    }
    BatchFixture::TearDown();
  }
  // The interfaces in the per-user store, the sections in an ini file.
  void Configure(const std::string& io, const std::string& ad, const std::string& ini) {
    fs::create_directories(root + "/config/sv4200");
    test::WriteFile(root + "/config/sv4200/user-sv4200.ini",
                    "[HARDWARE]\r\nA/D-Converter=" + ad + "\r\nD/A-Converter=\r\nI/O-Converter=" +
                        io + "\r\n");
    iniPath = root + "/SV4200_test.ini";
    test::WriteFile(iniPath, ini);
  }
  // "triggered: TEXT (N ms)" with any N.
  static bool Triggered(const std::string& out, const std::string& text) {
    static const std::regex ms(R"( \([0-9]+ ms\)\n$)");
    return out.rfind("triggered: " + text + " (", 0) == 0 && std::regex_search(out, ms);
  }
  std::string tmp, iniPath;

 private:
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(BatchTriggerTest, BadCommandLinesExitTwo) {
  const std::vector<std::vector<std::string>> cases = {
      {"trigger-wait"},
      {"trigger-wait", "--source"},
      {"trigger-wait", "--source", "7"},
      {"trigger-wait", "--source", "sideways"},
      {"trigger-wait", "--source", "file", "--timeout", "0"},
      {"trigger-wait", "--source", "file", "--timeout", "1s"},
      {"trigger-wait", "--source", "file", "--ini"},
      {"trigger-wait", "--source", "file", "--bogus", "1"},
      {"trigger-wait", "file"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Run(c), 2) << c.back();
    EXPECT_EQ(err.str().rfind("svbatch: ", 0), 0u) << err.str();
  }
  Run({"help"});
  EXPECT_NE(out.str().find("trigger-wait --source NAME"), std::string::npos);
}

TEST_F(BatchTriggerTest, TheLineOfTheDummyIOByNameAndNumber) {
  // The dummy's pins start low: the low waits pass, the others run out.
  const struct {
    const char* source;
    int code;
    const char* text;
  } rows[] = {
      {"low", 0, "EXT. TRIGGER: low"},  {"0", 0, "EXT. TRIGGER: low"},
      {"LOW", 0, "EXT. TRIGGER: low"},  {"high", 1, nullptr},
      {"1", 1, nullptr},                {"low-high", 1, nullptr},
      {"2", 1, nullptr},                {"high-low", 1, nullptr},
      {"3", 1, nullptr},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.source);
    ASSERT_EQ(Run({"trigger-wait", "--source", r.source, "--timeout", "30", "--ini", iniPath}),
              r.code)
        << err.str();
    if (r.text) EXPECT_TRUE(Triggered(out.str(), r.text)) << out.str();
    else EXPECT_EQ(out.str(), "time-out\n");
  }
}

TEST_F(BatchTriggerTest, WithoutAnIOTheLinePassesAsNotAvailable) {
  Configure("", "DummyAD", "");
  for (const char* source : {"low", "high", "low-high", "high-low"}) {
    SCOPED_TRACE(source);
    ASSERT_EQ(Run({"trigger-wait", "--source", source, "--ini", iniPath}), 0) << err.str();
    EXPECT_TRUE(Triggered(out.str(), "N/A")) << out.str();
  }
}

TEST_F(BatchTriggerTest, TheTriggerFileIsTakenOrTheTimeRunsOut) {
  const std::string file = tmp + "~Trigger.tmp";
  test::WriteFile(file, "");
  ASSERT_EQ(Run({"trigger-wait", "--source", "file", "--ini", iniPath}), 0) << err.str();
  EXPECT_TRUE(Triggered(out.str(), "File Trigger")) << out.str();
  EXPECT_FALSE(fs::exists(file));
  EXPECT_NE(err.str().find("Trigger: Waiting for File Trigger..."), std::string::npos);

  EXPECT_EQ(Run({"trigger-wait", "--source", "6", "--timeout", "30", "--ini", iniPath}), 1);
  EXPECT_EQ(out.str(), "time-out\n");
}

TEST_F(BatchTriggerTest, CtrlCStopsTheWait) {
  Child child({"trigger-wait", "--source", "file", "--ini", iniPath});
  ASSERT_EQ(child.ErrLine(), "Trigger: Waiting for File Trigger...");
  ::kill(child.Pid(), SIGINT);
  EXPECT_EQ(child.OutLine(), "stopped");
  EXPECT_EQ(child.Wait(), 1);
}

TEST_F(BatchTriggerTest, TheManualBoxAsksOnTheTerminal) {
  const struct {
    const char* answer;  // nullptr: the input ends
    const char* out;
    int code;
  } rows[] = {{"\n", "triggered: Manual Control", 0},
              {"cancel\n", "stopped", 1},
              {nullptr, "stopped", 1}};
  for (const auto& r : rows) {
    SCOPED_TRACE(r.answer ? r.answer : "end of input");
    Child child({"trigger-wait", "--source", "manual", "--ini", iniPath});
    EXPECT_EQ(child.ErrLine(),
              "Manual Trigger: Press 'OK' to trigger the experiment. [Enter: OK, \"cancel\": Cancel]");
    if (r.answer) child.Write(r.answer);
    else child.CloseInput();
    EXPECT_EQ(child.OutLine().rfind(r.out, 0), 0u);
    EXPECT_EQ(child.Wait(), r.code);
  }
}

TEST_F(BatchTriggerTest, TheLinkCountTriggers) {
  Configure("DummyIO", "Link", "[ADC: Link]\r\nServer=Bench\r\nTimeoutMs=2000\r\n");
  Child server({"link-serve", "Bench|Control", "--advise", "Label_AD_get_stress_counter=1,2,3,4,5",
                "--advise", "Label_AD_trigger=4", "--interval", "10"});
  ASSERT_EQ(server.OutLine(), "ready");
  ASSERT_EQ(Run({"trigger-wait", "--source", "link", "--timeout", "10000", "--ini", iniPath}), 0)
      << err.str();
  EXPECT_TRUE(Triggered(out.str(), "DDE Trigger")) << out.str();

  // A count the counter never reaches.
  Child never({"link-serve", "Slow|Control", "--advise", "Label_AD_get_stress_counter=1,2",
               "--advise", "Label_AD_trigger=9", "--interval", "10"});
  ASSERT_EQ(never.OutLine(), "ready");
  Configure("DummyIO", "Link", "[ADC: Link]\r\nServer=Slow\r\n");
  EXPECT_EQ(Run({"trigger-wait", "--source", "5", "--timeout", "100", "--ini", iniPath}), 1);
  EXPECT_EQ(out.str(), "time-out\n");
}

TEST_F(BatchTriggerTest, TheLinkTriggerNeedsTheLink) {
  EXPECT_EQ(Run({"trigger-wait", "--source", "link", "--ini", iniPath}), 1);
  EXPECT_EQ(out.str(), "");
  EXPECT_NE(err.str().find("the DDE trigger needs the application link"), std::string::npos)
      << err.str();
}

}  // namespace
}  // namespace sv::cli
