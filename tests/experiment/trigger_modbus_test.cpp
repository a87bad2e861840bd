// The EXT. TRIGGER line on a Modbus TCP I/O: a libmodbus server in its own
// thread on 127.0.0.1 holds the discrete inputs; the test's script raises
// the line or takes the device away at simulated times.
#include <gtest/gtest.h>

#include <memory>

#include "core/globals.h"
#include "experiment/experiment_settings.h"
#include "experiment/trigger.h"
#include "hardware/hardware.h"
#include "hardware/modbus_backend.h"
#include "support/modbus_server.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

using Server = test::ModbusTestServer;

class TriggerModbusTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetHardware();
    ResetExperimentSettings();
    ModbusConfig c;
    c.Host = "127.0.0.1";
    c.Port = server.Port();
    c.TimeoutMs = 500;
    c.Channels = 8;
    auto io = std::make_unique<ModbusIO>(c);
    bool answers = false;
    ASSERT_EQ(io->IO_init(0, answers), 0) << io->LastError();
    ASSERT_TRUE(answers);
    HW().IO = std::move(io);
    G().IOOK = -1;
    ES().TriggerMode = kTriggerAtStart;
  }
  void TearDown() override {
    ResetHardware();
    ResetGlobals();
    ResetExperimentSettings();
  }
  Server server;
  test::ScriptedHost h;
};

TEST_F(TriggerModbusTest, TheRaisedInputTriggers) {
  const int pin = HW().ExtTriggerPin;
  ES().TriggerSource = kTriggerLowHigh;
  h.After(30, [&] { server.SetInput(pin, true); });
  EXPECT_EQ(WaitTrigger(true), WaitEnd::Done);
  EXPECT_EQ(h.clock, 30u);
  EXPECT_EQ(h.status, (std::vector<std::string>{"Trigger: Waiting for HIGH level...", ""}));
  EXPECT_TRUE(h.messages.empty());
}

TEST_F(TriggerModbusTest, ADeviceThatGoesAwayIsToldOnceAndTheStopEndsTheWait) {
  ES().TriggerSource = kTriggerHigh;
  h.Answer(MsgResult::OK);
  h.After(30, [&] { server.Stop(); });
  h.After(300, [] { StopCode() = 10007; });
  EXPECT_EQ(WaitTrigger(true), WaitEnd::Stopped);
  EXPECT_EQ(h.clock, 300u);
  ASSERT_EQ(h.messages.size(), 1u);
  EXPECT_EQ(h.messages[0].title, "GetExtTrigger-Function");
  EXPECT_NE(h.messages[0].text.find("(pin # 5)"), std::string::npos) << h.messages[0].text;
  EXPECT_TRUE(HW().ExtTriggerIgnored);
}

}  // namespace
}  // namespace sv
