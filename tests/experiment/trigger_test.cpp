// The trigger wait and the run's waits, on the scripted host's simulated
// clock: a wait moves the clock on by its poll period and the test's script
// acts at its times (a pin changes, a count comes, a file appears, the stop
// word is set). Nothing here sleeps.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "core/globals.h"
#include "experiment/experiment_settings.h"
#include "experiment/trigger.h"
#include "experiment/wait.h"
#include "hardware/dde.h"
#include "hardware/dummy_backends.h"
#include "hardware/hardware.h"
#include "image/kernel/numbers.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLow = "Trigger: Waiting for LOW level...";
constexpr const char* kHigh = "Trigger: Waiting for HIGH level...";
constexpr const char* kLink = "Trigger: Waiting for DDE Trigger...";
constexpr const char* kFile = "Trigger: Waiting for File Trigger...";
using Texts = std::vector<std::string>;

// The dummy I/O whose reads can be made to fail.
class FlakyIO : public Class_IO_Dummy {
 public:
  long failCode = 0;
  int reads = 0;
  long IO_pin(long pin, bool& level) override {
    ++reads;
    if (failCode != 0) return failCode;
    level = pin >= 0 && pin < kPins && ((State() >> pin) & 1u) != 0;
    return 0;
  }
  using Class_IO_Dummy::IO_pin;
};

// A host that notes the period of every yield.
class PeriodHost : public test::ScriptedHost {
 public:
  std::vector<int> periods;
  void WaitForEvents(int maxMs) override {
    periods.push_back(maxMs);
    ScriptedHost::WaitForEvents(maxMs);
  }
};

class TriggerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetHardware();
    ResetExperimentSettings();
    DDE_Reset();
    ES().TriggerMode = kTriggerAtStart;
  }
  void TearDown() override {
    DDE_Reset();
    ResetHardware();
    ResetGlobals();
    ResetExperimentSettings();
  }
  FlakyIO& UseIO() {
    auto io = std::make_unique<FlakyIO>();
    FlakyIO& ref = *io;
    HW().IO = std::move(io);
    G().IOOK = -1;
    return ref;
  }
  static void SetPin(bool level) { IO_pin_set(HW().ExtTriggerPin, level); }
  // Waits with the source given; the simulated ms it took.
  WaitEnd Wait(int source, uint32_t& took) {
    ES().TriggerSource = source;
    const uint32_t start = h.clock;
    const WaitEnd end = WaitTrigger(true);
    took = h.clock - start;
    return end;
  }

  PeriodHost h;
};

TEST_F(TriggerTest, ListsShowNotAvailableForTheLineWithoutAnIO) {
  EXPECT_EQ(TriggerModeTexts(),
            (Texts{"(disabled)", "Trigger Start of Sweep", "Trigger every Step of Sweep"}));
  EXPECT_EQ(TriggerSourceTexts(), (Texts{"N/A", "N/A", "N/A", "N/A", "Manual Control",
                                        "DDE Trigger", "File Trigger"}));
  UseIO();
  EXPECT_EQ(TriggerSourceTexts(),
            (Texts{"EXT. TRIGGER: low", "EXT. TRIGGER: high", "EXT. TRIGGER: low -> high",
                   "EXT. TRIGGER: high -> low", "Manual Control", "DDE Trigger", "File Trigger"}));
  G().IOOK = 0;  // the object is there but the interface is not ready
  EXPECT_EQ(TriggerSourceText(kTriggerHighLow), "N/A");
  for (int outside : {-1, 7, 1000}) {
    EXPECT_EQ(TriggerSourceText(outside), "");
    EXPECT_EQ(TriggerModeText(outside < 0 ? outside : outside - 4), "");
  }
}

TEST_F(TriggerTest, TheModeDecidesWhereTheWaitFalls) {
  struct Row {
    int mode;
    bool atStart, asks;
  } rows[] = {{kTriggerDisabled, true, false}, {kTriggerDisabled, false, false},
              {kTriggerAtStart, true, true},   {kTriggerAtStart, false, false},
              {kTriggerEveryStep, true, false}, {kTriggerEveryStep, false, true}};
  ES().TriggerSource = kTriggerManual;
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << "mode " << r.mode << " atStart " << r.atStart);
    h.messages.clear();
    if (r.asks) h.Answer(MsgResult::OK);
    ES().TriggerMode = r.mode;
    EXPECT_EQ(WaitTrigger(r.atStart), WaitEnd::Done);
    EXPECT_EQ(h.messages.size(), r.asks ? 1u : 0u);
  }
}

TEST_F(TriggerTest, WithoutAnIOTheLineAndUnknownSourcesPassAtOnce) {
  for (int source : {0, 1, 2, 3, -1, 7, 99}) {
    SCOPED_TRACE(source);
    uint32_t took = 1;
    EXPECT_EQ(Wait(source, took), WaitEnd::Done);
    EXPECT_EQ(took, 0u);
  }
  EXPECT_EQ(h.waits, 0);
  EXPECT_TRUE(h.status.empty());
  EXPECT_EQ(StopCode(), 0);
}

TEST_F(TriggerTest, LevelsAndEdgesOnTheDummyIO) {
  struct Step {
    uint32_t at;
    bool level;
  };
  struct Row {
    const char* name;
    int source;
    bool initial;
    std::vector<Step> changes;
    Texts status;
    uint32_t took;  // simulated ms until the wait saw its last level
  } rows[] = {
      {"low, already low", kTriggerLow, false, {}, {}, 0},
      {"high, already high", kTriggerHigh, true, {}, {}, 0},
      {"low", kTriggerLow, true, {{50, false}}, {kLow, ""}, 50},
      {"high", kTriggerHigh, false, {{50, true}}, {kHigh, ""}, 50},
      {"low -> high from low", kTriggerLowHigh, false, {{40, true}}, {kHigh, ""}, 40},
      {"low -> high from high", kTriggerLowHigh, true, {{30, false}, {60, true}},
       {kLow, "", kHigh, ""}, 60},
      {"high -> low from high", kTriggerHighLow, true, {{40, false}}, {kLow, ""}, 40},
      {"high -> low from low", kTriggerHighLow, false, {{30, true}, {60, false}},
       {kHigh, "", kLow, ""}, 60},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    UseIO();
    SetPin(r.initial);
    h.status.clear();
    for (const Step& s : r.changes) h.After(s.at, [level = s.level] { SetPin(level); });
    uint32_t took = 0;
    EXPECT_EQ(Wait(r.source, took), WaitEnd::Done);
    EXPECT_EQ(h.status, r.status);
    EXPECT_EQ(took, r.took);
    EXPECT_EQ(h.PendingActions(), 0u);
  }
  EXPECT_EQ(StopCode(), 0);
}

TEST_F(TriggerTest, TheStopWordEndsEveryWait) {
  struct Row {
    const char* name;
    int source;
    bool initial;
    std::vector<uint32_t> toggles;  // the pin changes at these times
    Texts status;
  } rows[] = {
      {"low", kTriggerLow, true, {}, {kLow, ""}},
      {"high", kTriggerHigh, false, {}, {kHigh, ""}},
      {"low -> high, in the low wait", kTriggerLowHigh, true, {}, {kLow, ""}},
      {"low -> high, in the high wait", kTriggerLowHigh, true, {30}, {kLow, "", kHigh, ""}},
      {"high -> low, in the high wait", kTriggerHighLow, false, {}, {kHigh, ""}},
      {"high -> low, in the low wait", kTriggerHighLow, false, {30}, {kHigh, "", kLow, ""}},
      {"link", kTriggerLink, false, {}, {kLink, ""}},
      {"file", kTriggerFile, false, {}, {kFile, ""}},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    UseIO();
    SetPin(r.initial);
    DDEForm().DDETriggerCount = 5;  // the counter stays at 0
    StopCode() = 0;
    h.status.clear();
    bool level = r.initial;
    for (uint32_t t : r.toggles) h.After(t, [&level] { SetPin(level = !level); });
    h.After(100, [] { StopCode() = 10007; });
    uint32_t took = 0;
    EXPECT_EQ(Wait(r.source, took), WaitEnd::Stopped);
    EXPECT_EQ(took, 100u);  // ended in the yield the stop came in
    EXPECT_EQ(StopCode(), 10007);
    EXPECT_EQ(h.status, r.status);
  }
  EXPECT_EQ(DDEForm().DDETriggerCount, 5);  // a stopped wait leaves the count
}

TEST_F(TriggerTest, AFailedReadIsToldOnceAndTheLineCountsLow) {
  FlakyIO& io = UseIO();
  io.failCode = 7;
  h.Answer(MsgResult::OK);
  h.After(200, [] { StopCode() = 10007; });
  uint32_t took = 0;
  EXPECT_EQ(Wait(kTriggerHigh, took), WaitEnd::Stopped);
  ASSERT_EQ(h.messages.size(), 1u);
  EXPECT_EQ(h.messages[0].title, "GetExtTrigger-Function");
  EXPECT_EQ(h.messages[0].text,
            "An error (Code # 7) occured when reading the 'EXT. TRIGGER' I/O-line (pin # 5)\r\n"
            "The 'EXT. TRIGGER' I/O-line will be ignored.");
  EXPECT_EQ(io.reads, 1);
  // Ignored from now on: a low wait passes, reading nothing.
  StopCode() = 0;
  EXPECT_EQ(Wait(kTriggerLow, took), WaitEnd::Done);
  EXPECT_EQ(io.reads, 1);
}

TEST_F(TriggerTest, ManualBoxOkTriggersAndCancelStops) {
  ES().TriggerSource = kTriggerManual;
  h.Answer(MsgResult::OK);
  EXPECT_EQ(WaitTrigger(true), WaitEnd::Done);
  EXPECT_EQ(StopCode(), 0);
  h.Answer(MsgResult::Cancel);
  EXPECT_EQ(WaitTrigger(true), WaitEnd::Stopped);
  EXPECT_EQ(StopCode(), -1);
  ASSERT_EQ(h.messages.size(), 2u);
  EXPECT_EQ(h.messages[0].title, "Manual Trigger");
  EXPECT_EQ(h.messages[0].text, "Press 'OK' to trigger the experiment.");
  EXPECT_EQ(h.messages[0].buttons, MsgButtons::OKCancel);
  EXPECT_TRUE(h.status.empty());
  EXPECT_EQ(h.waits, 0);
}

TEST_F(TriggerTest, TheLinkCountFiresOnce) {
  Form_DDE& f = DDEForm();
  f.DDETriggerCount = 3;
  for (long n = 1; n <= 4; ++n) h.After(uint32_t(10 * n), [&f, n] { f.DDECounter = n; });
  ES().TriggerMode = kTriggerEveryStep;
  ES().TriggerSource = kTriggerLink;
  EXPECT_EQ(WaitTrigger(false), WaitEnd::Done);
  EXPECT_EQ(f.DDECounter, 3);
  EXPECT_EQ(f.DDETriggerCount, -3);
  EXPECT_EQ(h.status, (Texts{kLink, ""}));
  // The next step: the counter passes by the old value, nothing fires until
  // a new count comes.
  h.After(20, [&f] { f.DDECounter = 3; });
  h.After(40, [&f] { f.DDETriggerCount = 6; });
  h.After(60, [&f] { f.DDECounter = 6; });
  const uint32_t start = h.clock;
  EXPECT_EQ(WaitTrigger(false), WaitEnd::Done);
  EXPECT_EQ(h.clock - start, 60u);
  EXPECT_EQ(f.DDETriggerCount, -6);
}

TEST_F(TriggerTest, TheTriggerFileIsConsumed) {
  const std::string path = TriggerFilePath();
  EXPECT_EQ(path, h.tempPath + (h.tempPath.back() == '/' ? "" : "/") + "~Trigger.tmp");
  EXPECT_FALSE(FileTrigger());
  test::WriteFile(path, "");
  EXPECT_TRUE(FileTrigger());
  EXPECT_FALSE(fs::exists(path));
  EXPECT_FALSE(FileTrigger());

  // The folder without its "/".
  h.tempPath = h.root + "/tmpnoslash";
  fs::create_directories(h.tempPath);
  EXPECT_EQ(TriggerFilePath(), h.tempPath + "/~Trigger.tmp");

  // In a wait, across the wrap of the clock: made 100 ms later, taken then.
  h.clock = 0xFFFFFFC0u;
  h.After(100, [] { test::WriteFile(TriggerFilePath(), "x"); });
  uint32_t took = 0;
  EXPECT_EQ(Wait(kTriggerFile, took), WaitEnd::Done);
  EXPECT_EQ(took, 100u);
  EXPECT_EQ(h.clock, 0x24u);
  EXPECT_FALSE(fs::exists(TriggerFilePath()));
  EXPECT_EQ(h.status, (Texts{kFile, ""}));
}

TEST_F(TriggerTest, TimeArithmeticAcrossTheWrap) {
  struct Row {
    uint32_t time;
    int32_t ms;
    uint32_t sum;
  } rows[] = {{0xFFFFFFF0u, 0x20, 0x10u},
              {0x10u, -0x20, 0xFFFFFFF0u},
              {0u, INT32_MAX, 0x7FFFFFFFu},
              {0x80000000u, INT32_MAX, 0xFFFFFFFFu},
              {0xFFFFFFFFu, 1, 0u}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.time);
    EXPECT_EQ(SV_AddTime(r.time, r.ms), r.sum);
    EXPECT_EQ(SV_SubTime(r.sum, r.time), r.ms);
    EXPECT_EQ(SV_SubTime(r.time, r.sum), -r.ms);
  }
}

TEST_F(TriggerTest, SpansYieldInPeriodsAndEndOnTime) {
  struct Row {
    uint32_t clock, start;
    int32_t ms;
    std::vector<int> periods;
  } rows[] = {
      {0, 0, 25, {10, 10, 5}},
      {0xFFFFFFF8u, 0xFFFFFFF8u, 20, {10, 10}},  // across the wrap
      {0x5u, 0xFFFFFFFBu, 25, {10, 5}},          // begun before the wrap, 10 ms ago
      {100, 50, 30, {}},                         // over already
      {0, 0, 0, {}},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.ms);
    h.clock = r.clock;
    h.periods.clear();
    EXPECT_EQ(WaitSince(r.start, r.ms), WaitEnd::Elapsed);
    EXPECT_EQ(h.periods, r.periods);
  }
  // Something that comes, or the stop word, ends it before the time.
  h.clock = 0;
  int looks = 0;
  EXPECT_EQ(WaitUntil([&looks] { return ++looks == 3; }, 1000), WaitEnd::Done);
  EXPECT_EQ(h.clock, 20u);
  h.After(30, [] { StopCode() = 10007; });
  EXPECT_EQ(WaitSince(h.clock, 1000), WaitEnd::Stopped);
  EXPECT_EQ(h.clock, 50u);
}

}  // namespace
}  // namespace sv
