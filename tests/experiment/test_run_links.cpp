// A run's rows going out: through the file handshake to a receiver that the
// scripted host's pump runs, and through the local link to a spreadsheet
// peer in a thread of its own.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <thread>

#include "core/error_table.h"
#include "core/settings.h"
#include "hardware/handshake.h"
#include "hardware/link_socket.h"
#include "run_fixture.h"

namespace sv {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::WriteFile;

// The other program of the handshake, one look at its files per yield of a
// wait: "RDY" while it waits for a row; on "DAV" it reads the row file named
// in "EXP" and drops "RDY" until "DAV" falls. A silent one keeps "RDY".
struct PumpReceiver {
  std::string dir;
  bool silent = false;
  bool took = false;
  std::vector<std::string> rows;
  void Look() {
    const bool rdy = fs::exists(dir + "RDY"), dav = fs::exists(dir + "DAV");
    if (silent) {
      if (!rdy) WriteFile(dir + "RDY", "");
      return;
    }
    if (dav && !took) {
      std::string name = ReadFile(dir + "EXP");
      if (!name.empty() && name.back() == '\n') name.pop_back();
      rows.push_back(ReadFile(name));
      fs::remove(dir + "RDY");
      took = true;
    } else if (!dav && (took || !rdy)) {
      WriteFile(dir + "RDY", "");
      took = false;
    }
  }
};

class RunLinkTest : public test::RunTest {
 protected:
  void SetUp() override {
    RunTest::SetUp();
    dir = host.root + "/hs/";
    fs::create_directories(dir);
    host.store.SaveSetting(UserStoreApp(host.exeName, false), "HandShake", "Path", dir);
    receiver.dir = dir;
  }
  void TearDown() override {
    host.onWait = nullptr;
    RunTest::TearDown();
  }
  // The tab-separated cells of a sheet row, as the receivers get them.
  std::string RowText(long row) {
    std::string text;
    for (long c = 1; c < Sheet().Cols(); ++c) {
      if (c > 1) text += '\t';
      text += Sheet().CellAt(row, c).Text();
    }
    return text;
  }
  std::string dir;
  PumpReceiver receiver;
};

TEST_F(RunLinkTest, HandshakeRowsReachTheReceiverOneLineEach) {
  Window(0);
  ES().OnlineExport = 1;
  DefineIt(100, 300);
  host.onWait = [this] { receiver.Look(); };
  form.Command_Start(0);
  EXPECT_TRUE(host.messages.empty());
  ASSERT_EQ(Sheet().Rows(), 4);
  ASSERT_EQ(receiver.rows.size(), 3u);
  for (long r = 1; r <= 3; ++r) EXPECT_EQ(receiver.rows[size_t(r - 1)], RowText(r) + "\n") << r;
  EXPECT_EQ(ReadFile(dir + "EXP"), form.SheetFileName() + "\n");
  EXPECT_FALSE(fs::exists(dir + "DAV"));
  // The time stamps stay on the step interval whatever the waits took.
  EXPECT_EQ(Column(1), (std::vector<float>{0.1f, 0.2f, 0.3f}));
}

TEST_F(RunLinkTest, ASilentReceiverStopsTheRunOnTheSecondWait) {
  Window(0);
  ES().OnlineExport = 1;
  DefineIt(100, 0);
  receiver.silent = true;
  host.onWait = [this] { receiver.Look(); };
  host.Answer(MsgResult::OK);
  const uint32_t start = host.clock;
  form.Command_Start(0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "RDY TimeOut");
  EXPECT_EQ(host.messages[0].title, G().AppTitle);
  EXPECT_EQ(Sheet().Rows(), 2);  // the row was in the sheet before it went out
  EXPECT_EQ(ends.at(0).stopCode, kErrRdyTimeOut);
  EXPECT_GE(SV_SubTime(host.clock, start), 10000);
  EXPECT_FALSE(fs::exists(dir + "DAV"));
  EXPECT_EQ(ReadFile(form.SheetFileName()), RowText(1) + "\n");
}

TEST_F(RunLinkTest, StopEndsAHandshakeWait) {
  Window(0);
  ES().OnlineExport = 1;
  DefineIt(100, 0);
  receiver.silent = true;
  host.onWait = [this] { receiver.Look(); };
  host.After(3000, [this] { form.Command_Stop(); });
  host.Answer(MsgResult::OK);
  const uint32_t start = host.clock;
  form.Command_Start(0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Experiment canceled by user");
  EXPECT_EQ(ends.at(0).stopCode, kErrExperimentCanceled);
  EXPECT_LT(SV_SubTime(host.clock, start), 4000);
  EXPECT_EQ(Sheet().Rows(), 2);
}

TEST_F(RunLinkTest, AReceiverThatIsNotThereIsAskedAgainUntilCancelled) {
  Window(0);
  ES().OnlineExport = 1;
  DefineIt(100, 300);
  host.Answer(MsgResult::Retry);
  host.Answer(MsgResult::Cancel);
  form.Command_Start(0);
  ASSERT_EQ(host.messages.size(), 2u);
  for (const auto& m : host.messages) {
    EXPECT_EQ(m.text, "2nd application is not ready.\r\nTry again?");
    EXPECT_EQ(m.title, "File Handshake");
    EXPECT_EQ(m.buttons, MsgButtons::RetryCancel);
  }
  EXPECT_TRUE(rows.empty());
  EXPECT_TRUE(ends.empty());
  EXPECT_FALSE(form.Running());
  EXPECT_EQ(host.LastStatus(), "");
}

// --- The spreadsheet link -------------------------------------------------------------

// A spreadsheet served from its own thread: records pokes, refuses the one
// at `refuse`.
class SheetPeer {
 public:
  explicit SheetPeer(std::string refuse = "") : refuse_(std::move(refuse)) {
    std::string error;
    EXPECT_TRUE(server_.Listen("Excel", error)) << error;
    server_.OnPoke = [this](const std::string& item, const std::string& value, std::string& e) {
      std::lock_guard<std::mutex> lock(mutex_);
      if (item == refuse_) {
        e = "the sheet is protected";
        return false;
      }
      pokes_.emplace_back(item, value);
      return true;
    };
    thread_ = std::thread([this] {
      while (!stop_) server_.Poll(5);
      server_.Close();
    });
  }
  ~SheetPeer() {
    stop_ = true;
    thread_.join();
  }
  std::vector<std::pair<std::string, std::string>> Pokes() {
    std::lock_guard<std::mutex> lock(mutex_);
    return pokes_;
  }

 private:
  std::string refuse_;
  LinkServer server_;
  std::mutex mutex_;
  std::vector<std::pair<std::string, std::string>> pokes_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

class RunSheetLinkTest : public RunLinkTest {
 protected:
  void SetUp() override {
    RunLinkTest::SetUp();
    if (const char* old = std::getenv("XDG_RUNTIME_DIR")) saved_ = old;
    fs::create_directories(host.root + "/run");
    setenv("XDG_RUNTIME_DIR", (host.root + "/run").c_str(), 1);
    Window(0);
    DefineIt(100, 300);
    form.Check_DDE = true;
  }
  void TearDown() override {
    if (saved_)
      setenv("XDG_RUNTIME_DIR", saved_->c_str(), 1);
    else
      unsetenv("XDG_RUNTIME_DIR");
    RunLinkTest::TearDown();
  }
  std::optional<std::string> saved_;
};

TEST_F(RunSheetLinkTest, RowsGoToTheirLineItems) {
  SheetPeer excel;
  form.Command_Start(0);
  EXPECT_TRUE(host.messages.empty());
  ASSERT_EQ(Sheet().Rows(), 4);
  EXPECT_EQ(excel.Pokes(), (std::vector<std::pair<std::string, std::string>>{
                               {"Z1S1:Z1S4", "time (s)\tI.max_1\tI.total_1\tI.back_1"},
                               {"Z2S1:Z2S4", RowText(1)},
                               {"Z3S1:Z3S4", RowText(2)},
                               {"Z4S1:Z4S4", RowText(3)}}));
}

TEST_F(RunSheetLinkTest, NoSpreadsheetIsToldAndTheRunIsCleanedUp) {
  host.Answer(MsgResult::OK);
  form.Command_Start(0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "DDE");
  EXPECT_FALSE(host.messages[0].text.empty());
  EXPECT_TRUE(rows.empty());
  EXPECT_EQ(ends.at(0).stopCode, -1);
  EXPECT_FALSE(form.Running());
  EXPECT_FALSE(Sheet().Locked());
  EXPECT_EQ(host.LastStatus(), "0 Records");
}

TEST_F(RunSheetLinkTest, AFailedRowKeepsTheRowsAndEndsTheRun) {
  SheetPeer excel("Z3S1:Z3S4");  // the second row's
  host.Answer(MsgResult::OK);
  form.Command_Start(0);
  ASSERT_EQ(host.messages.size(), 1u);  // the link's box only
  EXPECT_EQ(host.messages[0].title, "DDE");
  EXPECT_NE(host.messages[0].text.find("the sheet is protected"), std::string::npos);
  EXPECT_EQ(Sheet().Rows(), 3);
  EXPECT_EQ(ends.at(0).stopCode, -1);
  EXPECT_EQ(ends.at(0).rows, 2);
  EXPECT_EQ(excel.Pokes().size(), 2u);
}

}  // namespace
}  // namespace sv
