// The file handshake and the data-link server against a receiver that runs
// in its own thread on real files.
#include "hardware/handshake.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>

#include "core/error_table.h"
#include "core/platform/platform.h"
#include "core/settings.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::WriteFile;

// Real milliseconds, so that the receiver thread has time to act in a wait.
class ClockHost : public test::ScriptedHost {
 public:
  uint32_t TimeGetTime() override { return platform::MonotonicMilliseconds(); }
};

// The other program: keeps "RDY" while it waits for a row, takes the row when
// "DAV" comes (reading the row file named in "EXP"), drops "RDY" until "DAV"
// falls again.
class Receiver {
 public:
  explicit Receiver(std::string folder) : dir_(std::move(folder)) {
    thread_ = std::thread([this] { Run(); });
  }
  ~Receiver() {
    stop_ = true;
    thread_.join();
  }
  std::vector<std::string> Rows() {
    std::lock_guard<std::mutex> lock(mutex_);
    return rows_;
  }

 private:
  void Run() {
    WriteFile(dir_ + "RDY", "");
    bool took = false;
    while (!stop_) {
      const bool dav = fs::exists(dir_ + "DAV");
      if (dav && !took) {
        std::string name = ReadFile(dir_ + "EXP");
        if (!name.empty() && name.back() == '\n') name.pop_back();
        {
          std::lock_guard<std::mutex> lock(mutex_);
          rows_.push_back(ReadFile(name));
        }
        fs::remove(dir_ + "RDY");
        took = true;
      } else if (!dav && took) {
        WriteFile(dir_ + "RDY", "");
        took = false;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  std::string dir_;
  std::atomic<bool> stop_{false};
  std::mutex mutex_;
  std::vector<std::string> rows_;
  std::thread thread_;
};

class HandshakeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = h.root + "/hs/";
    fs::create_directories(dir);
    sheet = h.root + "/run.sht";
  }
  ClockHost h;
  std::string dir, sheet;
};

TEST_F(HandshakeTest, RowsReachTheReceiverOneLineEach) {
  Receiver rx(dir);
  HandShakeTX tx;
  // The folder without its "/": one is added.
  ASSERT_TRUE(HandshakeRunStart(tx, h.root + "/hs", sheet, 5000));
  EXPECT_EQ(tx.RDYFile, dir + "RDY");
  EXPECT_EQ(ReadFile(dir + "EXP"), sheet + "\n");
  long stop = 0;
  for (const std::string row : {"1\t0.5\t100", "2\t1\t\t", "3\t1.5\t-7e-05"})
    ASSERT_TRUE(HandshakeRow(tx, row, stop, 5000)) << row;
  EXPECT_EQ(stop, 0);
  HandshakeRunEnd(tx);
  EXPECT_EQ(rx.Rows(), (std::vector<std::string>{"1\t0.5\t100\n", "2\t1\t\t\n", "3\t1.5\t-7e-05\n"}));
  EXPECT_FALSE(fs::exists(dir + "DAV"));
  EXPECT_TRUE(fs::exists(dir + "EXP"));
  EXPECT_FALSE(tx.LastDAV);
}

TEST_F(HandshakeTest, AReceiverThatNeverClearsRdyStopsTheRunOnTheSecondWait) {
  WriteFile(dir + "RDY", "");
  HandShakeTX tx;
  ASSERT_TRUE(HandshakeRunStart(tx, dir, sheet, 100));
  long stop = 0;
  EXPECT_FALSE(HandshakeRow(tx, "1\t2", stop, 50));
  EXPECT_EQ(stop, 10016);
  EXPECT_EQ(ErrorText(stop), "RDY TimeOut");
  EXPECT_EQ(ReadFile(sheet), "1\t2\n");  // written: the first wait passed
  EXPECT_FALSE(fs::exists(dir + "DAV"));  // dropped after the failed wait
}

TEST_F(HandshakeTest, TheStopWordEndsTheWaits) {
  struct Case {
    const char* name;
    bool rdy;
    long stopBefore, stopAfter;
    bool rowWritten;
  } cases[] = {
      {"no receiver", false, 0, 10016, false},
      {"stopped by the user", false, 10007, 10007, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    fs::remove(sheet);
    HandShakeTX tx;
    tx.Init(dir);
    tx.DATAFILE(sheet);
    long stop = c.stopBefore;
    EXPECT_FALSE(HandshakeRow(tx, "row", stop, 50));
    EXPECT_EQ(stop, c.stopAfter);
    EXPECT_EQ(fs::exists(sheet), c.rowWritten);
    EXPECT_FALSE(fs::exists(dir + "DAV"));
  }
}

TEST_F(HandshakeTest, ARowFileThatCannotBeWrittenGives9999) {
  WriteFile(dir + "RDY", "");
  HandShakeTX tx;
  tx.Init(dir);
  tx.DATAFILE(h.root + "/no/such/folder/run.sht");
  long stop = 0;
  EXPECT_FALSE(HandshakeRow(tx, "row", stop, 50));
  EXPECT_EQ(stop, 9999);
  EXPECT_FALSE(fs::exists(dir + "DAV"));
}

TEST_F(HandshakeTest, StartAsksAgainUntilCancelled) {
  HandShakeTX tx;
  h.Answer(MsgResult::Retry);
  h.Answer(MsgResult::Cancel);
  EXPECT_FALSE(HandshakeRunStart(tx, dir, sheet, 20));
  ASSERT_EQ(h.messages.size(), 2u);
  EXPECT_EQ(h.messages[0].title, "File Handshake");
  EXPECT_EQ(h.messages[0].text, "2nd application is not ready.\r\nTry again?");
  EXPECT_EQ(h.messages[0].buttons, MsgButtons::RetryCancel);
  EXPECT_FALSE(fs::exists(dir + "EXP"));  // the name goes out only when ready
}

TEST_F(HandshakeTest, DatafileWritesAndRemovesExp) {
  HandShakeTX tx;
  tx.Init(dir);
  EXPECT_TRUE(tx.DATAFILE("/data/a b.sht"));
  EXPECT_EQ(ReadFile(dir + "EXP"), "/data/a b.sht\n");
  EXPECT_EQ(tx.DATAFILE(), "/data/a b.sht");
  EXPECT_TRUE(tx.DATAFILE(""));
  EXPECT_FALSE(fs::exists(dir + "EXP"));
  EXPECT_TRUE(tx.DATAFILE(""));  // nothing to remove is no failure
}

TEST_F(HandshakeTest, AMissingFolderIsALineThatIsNotPresent) {
  HandShakeTX tx;
  tx.Init(h.root + "/missing");
  EXPECT_FALSE(tx.RDY());
  EXPECT_FALSE(tx.DAV(true));
  EXPECT_FALSE(tx.DAV());
  EXPECT_FALSE(tx.DATAFILE("x.sht"));
  DataLinkServer server;
  server.path(h.root + "/missing");
  EXPECT_FALSE(server.SetLow(server.NRFDFile));
  EXPECT_FALSE(server.NRFD());
  EXPECT_FALSE(server.Transmit("row"));
}

TEST_F(HandshakeTest, TheFolderComesFromTheUserStore) {
  h.store.SaveSetting(UserStoreApp(h.exeName, false), "HandShake", "Path", "C:\\lab\\hs");
  EXPECT_EQ(HandshakeFolderSetting(), "C:\\lab\\hs");
  HandShakeTX tx;
  tx.Init(HandshakeFolderSetting());
  EXPECT_EQ(tx.DAVFile, "C:/lab/hs/DAV");
  tx.Init("");
  EXPECT_EQ(tx.RDYFile, h.tempPath + "RDY");
}

TEST_F(HandshakeTest, DataLinkServerTimeOutAcceptsOnlyZeroTo59999) {
  DataLinkServer server;
  const long initial = server.Reset(-1);
  struct {
    double value;
    long expected;
  } steps[] = {{59999, 59999}, {60000, 59999}, {0, 0}, {-0.5, 0}, {1e9, 0}, {250, 250}};
  for (auto s : steps) EXPECT_EQ(server.Reset(s.value), s.expected) << s.value;
  EXPECT_EQ(server.Reset("12,5"), 12);
  EXPECT_EQ(server.Reset("abc"), 12);
  EXPECT_EQ(server.Reset("70000"), 12);
  EXPECT_EQ(initial, 10000);
}

TEST_F(HandshakeTest, DataLinkServerLinesAreFilesThatMeanLow) {
  DataLinkServer server;
  EXPECT_EQ(server.path(), h.tempPath);  // no folder: the temp folder
  server.path(h.root + "/hs");
  EXPECT_EQ(server.path(), dir);
  EXPECT_EQ(server.NDACFile, dir + "NDAC");
  EXPECT_TRUE(server.SetLow(server.NDACFile));
  EXPECT_TRUE(server.NDAC());
  EXPECT_TRUE(server.SetHigh(server.NDACFile));
  EXPECT_FALSE(server.NDAC());
  EXPECT_FALSE(server.FileExist(dir));  // a folder is no line

  EXPECT_TRUE(server.Transmit("a\tb"));
  EXPECT_EQ(ReadFile(server.DATA()), "a\tb\n");
  EXPECT_TRUE(server.NDAV());
}

TEST_F(HandshakeTest, DataLinkServerWaitsForNotReadyToFall) {
  DataLinkServer server;
  server.path(dir);
  EXPECT_FALSE(server.TimeOut(10));  // line idle: no wait
  EXPECT_TRUE(h.status.empty());

  server.SetLow(server.NRFDFile);
  EXPECT_TRUE(server.TimeOut(30));
  EXPECT_EQ(h.status, (std::vector<std::string>{"Waiting for RFD...", "Time Out"}));

  std::thread peer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    fs::remove(dir + "NRFD");
  });
  EXPECT_FALSE(server.TimeOut(20000));
  peer.join();
}

}  // namespace
}  // namespace sv
