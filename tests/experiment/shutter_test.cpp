// The shutter pin by its open level on the dummy I/O, without an I/O, and
// closed at exit before the I/O goes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/globals.h"
#include "experiment/shutter.h"
#include "hardware/hardware.h"
#include "support/scripted_host.h"

namespace sv::test {
namespace {

class ShutterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetHardware();
    ExitSteps() = HardwareExitSteps();
  }
  void TearDown() override {
    ExitSteps() = HardwareExitSteps();
    ResetHardware();
    ResetGlobals();
  }
  static bool Pin() {
    bool level = false;
    EXPECT_EQ(IO_pin_get(6, level), 0);
    return level;
  }
  ScriptedHost host;
};

TEST_F(ShutterTest, TheOpenLevelDecidesThePinLevel) {
  for (int32_t openLevel : {0, 1, -1}) {
    SCOPED_TRACE(openLevel);
    HW().ShutterControl.OpenLevel = openLevel;
    const bool high = openLevel != 0;
    std::string io = "DummyIO";
    ASSERT_TRUE(IOStart(io));
    EXPECT_EQ(Pin(), !high);  // closed at the start
    EXPECT_FALSE(ShutterIsOpen());
    ShutterOpen();
    EXPECT_EQ(Pin(), high);
    EXPECT_TRUE(ShutterIsOpen());
    ShutterClose();
    EXPECT_EQ(Pin(), !high);
    EXPECT_FALSE(ShutterIsOpen());
    IOStop();
  }
}

TEST_F(ShutterTest, WithoutAReadyIONothingIsWritten) {
  EXPECT_FALSE(ShutterIsOpen());
  ShutterOpen();  // no object at all
  ShutterClose();
  std::string io = "DummyIO";
  ASSERT_TRUE(IOStart(io));
  // The object is there but the interface is not ready.
  G().IOOK = 0;
  ShutterOpen();
  EXPECT_FALSE(ShutterIsOpen());
  G().IOOK = -1;
  EXPECT_FALSE(ShutterIsOpen());
  EXPECT_TRUE(Pin());  // still closed: with level 0 low opens
  IOStop();
}

TEST_F(ShutterTest, ExitClosesTheShutterWhileTheIOIsStillUp) {
  std::vector<std::string> order;
  // A step from elsewhere runs after the shutter is closed, once.
  ExitSteps().shutterAndTrigger = [&] {
    order.push_back(std::string("other, shutter ") + (ShutterIsOpen() ? "open" : "closed"));
  };
  InstallShutter();
  InstallShutter();
  std::string io = "DummyIO";
  ASSERT_TRUE(IOStart(io));
  ShutterOpen();
  ASSERT_TRUE(ShutterIsOpen());
  RunHardwareExit();
  EXPECT_EQ(order, std::vector<std::string>{"other, shutter closed"});
  EXPECT_FALSE(IOReady());
  // Installed alone it needs nothing else.
  ExitSteps() = HardwareExitSteps();
  InstallShutter();
  RunHardwareExit();
}

}  // namespace
}  // namespace sv::test
