// The shutter pin by its open level on the dummy I/O, without an I/O, and
// closed at exit before the I/O goes.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "experiment/experiment_settings.h"
#include "experiment/form_soft_trigger.h"
#include "experiment/shutter.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
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

TEST_F(ShutterTest, AFailedIOStartTakesTheDefinitionsPinTriggerBack) {
  const StartupEnvironment saved = Environment();
  InstallHardwareEnvironment();
  InstallShutter();
  ResetExperimentSettings();
  G().TriggerMode = ES().TriggerMode = 1;
  G().TriggerSource = ES().TriggerSource = 2;
  EXPECT_FALSE(Environment().ioInit("NoSuchCard"));
  EXPECT_EQ(ES().TriggerMode, 0);
  EXPECT_EQ(ES().TriggerSource, 4);
  // A trigger that needs no pin stays.
  G().TriggerMode = ES().TriggerMode = 2;
  G().TriggerSource = ES().TriggerSource = 6;
  EXPECT_FALSE(Environment().ioInit("NoSuchCard"));
  EXPECT_EQ(ES().TriggerMode, 2);
  EXPECT_EQ(ES().TriggerSource, 6);
  Environment() = saved;
  ResetExperimentSettings();
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

// --- The dialog ---------------------------------------------------------------------

class FormSoftTriggerTest : public ShutterTest {
 protected:
  void TearDown() override {
    if (form.Visible()) form.Unload();
    SetMainForm(nullptr);
    ShutterTest::TearDown();
  }
  Form_SoftTrigger form;
};

TEST_F(FormSoftTriggerTest, LoadShowsTheRecordAndTheSliderScalesByTheImage) {
  ShutterControlRecord& sc = HW().ShutterControl;
  sc.ShutterEnabled = 1;
  sc.Cycles = 3;
  sc.MinTimeRange = 2.5f;
  sc.TriggerSource = 1;
  sc.OpenLevel = -1;
  form.Load();
  EXPECT_TRUE(form.Check_Shutter);
  EXPECT_EQ(form.Text_Cycles, "3");
  EXPECT_EQ(form.Text_MinTimeRange, "2.5");
  EXPECT_TRUE(form.Check_OpenLevel);
  EXPECT_EQ(form.Option_TriggerSource, (std::array<bool, 2>{true, false}));
  // No image: the plain fraction; 0.1 * 255 = 25.5 goes to 26.
  EXPECT_EQ(form.Slider_Hysterese, 26);
  EXPECT_EQ(form.Label_min, "Min");
  EXPECT_EQ(form.Label_Max, "Max");
  form.Slider_Hysterese = 51;
  form.Slider_Hysterese_Change();
  EXPECT_FLOAT_EQ(sc.Hysterese, 0.2f);
  form.Unload();

  // With a 12-bit image in front the slider spans its dynamic range.
  MDIForm_Main main;
  SetMainForm(&main);
  RegisterImageDocuments(main);
  Form_Camera* image = NewImage(main);
  ASSERT_NE(image, nullptr);
  std::vector<uint16_t> px(16 * 8, 100);
  image->CreateImage(16, 8, 12, px.data());
  image->SetVisible(true);
  main.SetActiveChild(image->Handle());
  sc.Hysterese = 409.6f;
  form.Load();
  EXPECT_EQ(form.Slider_Hysterese, 26);  // 409.6 / 4096 * 255 = 25.5
  EXPECT_EQ(form.Label_min, "0");
  EXPECT_EQ(form.Label_Max, "4096");
  form.Slider_Hysterese = 255;
  form.Slider_Hysterese_Change();
  EXPECT_FLOAT_EQ(sc.Hysterese, 4096.0f);
  form.Command_Cancel();
  SetMainForm(nullptr);
}

TEST_F(FormSoftTriggerTest, OKTakesOnlyValidFields) {
  struct Case {
    const char* range;
    const char* cycles;
    bool ok;
    float takenRange;
    int32_t takenCycles;
  };
  const Case cases[] = {
      {"0", "1", true, 0, 1},
      {"1,5", " 4 ", true, 1.5f, 4},
      {"2", "2.5", true, 2, 2},  // a count rounds to the even neighbour
      {"", "1", false, 0, 0},
      {"1", "", false, 0, 0},
      {"-0.1", "1", false, 0, 0},
      {"1", "0", false, 0, 0},
      {"abc", "1", false, 0, 0},
      {"1", "1x", false, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.range) + " / " + c.cycles);
    HW().ShutterControl = ShutterControlRecord();
    host.messages.clear();
    form.Load();
    form.Text_MinTimeRange = c.range;
    form.Text_Cycles = c.cycles;
    if (!c.ok) host.Answer(MsgResult::OK);
    EXPECT_EQ(form.Command_OK(), c.ok);
    EXPECT_EQ(form.Visible(), !c.ok);
    if (c.ok) {
      EXPECT_TRUE(host.messages.empty());
      EXPECT_FLOAT_EQ(HW().ShutterControl.MinTimeRange, c.takenRange);
      EXPECT_EQ(HW().ShutterControl.Cycles, c.takenCycles);
    } else {
      ASSERT_EQ(host.messages.size(), 1u);
      EXPECT_EQ(host.messages[0].text, "Invalid Parameter");
      EXPECT_EQ(host.messages[0].title, "Shutter Control");
      EXPECT_FLOAT_EQ(HW().ShutterControl.MinTimeRange, 1.0f);
      EXPECT_EQ(HW().ShutterControl.Cycles, 1);
      form.Command_Cancel();
    }
  }
}

TEST_F(FormSoftTriggerTest, ControlsWriteTheRecordAndCancelPutsItBack) {
  ShutterControlRecord& sc = HW().ShutterControl;
  sc.ShutterWindow = 4;
  sc.CycleCount = 2;
  const ShutterControlRecord before = sc;
  form.Load();
  form.Check_Shutter = true;
  form.Check_Shutter_Click();
  form.Option_TriggerSource_Click(kOptionMinimum);
  form.Check_OpenLevel = true;
  form.Check_OpenLevel_Click();
  form.Slider_Hysterese = 128;
  form.Slider_Hysterese_Change();
  EXPECT_EQ(sc.ShutterEnabled, 1);
  EXPECT_EQ(sc.TriggerSource, 1);
  EXPECT_EQ(sc.OpenLevel, 1);
  EXPECT_NE(sc.Hysterese, before.Hysterese);
  form.Option_TriggerSource_Click(kOptionMaximum);
  EXPECT_EQ(sc.TriggerSource, 0);
  EXPECT_EQ(form.Option_TriggerSource, (std::array<bool, 2>{false, true}));
  form.Command_Cancel();
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(std::memcmp(&sc, &before, sizeof sc), 0);
}

TEST_F(FormSoftTriggerTest, TheTimerShowsThePin) {
  form.Load();
  EXPECT_EQ(host.RunningTimers(), 1u);
  EXPECT_EQ(form.Label_Shutter, "N/A");
  std::string io = "DummyIO";
  ASSERT_TRUE(IOStart(io));
  struct Step {
    int32_t openLevel;
    bool open;
    const char* shutter;
    const char* level;
  };
  const Step steps[] = {{0, false, "CLOSED", "HIGH"},
                        {0, true, "OPEN", "LOW"},
                        {1, true, "OPEN", "HIGH"},
                        {1, false, "CLOSED", "LOW"}};
  for (const Step& s : steps) {
    HW().ShutterControl.OpenLevel = s.openLevel;
    s.open ? ShutterOpen() : ShutterClose();
    host.FireTimers();
    EXPECT_EQ(form.Label_Shutter, s.shutter);
    EXPECT_EQ(form.Label_Level, s.level);
  }
  // The open level changed in the dialog reads the same pin the other way.
  form.Check_OpenLevel = false;
  form.Check_OpenLevel_Click();
  EXPECT_EQ(form.Label_Shutter, "OPEN");
  EXPECT_EQ(form.Label_Level, "LOW");
  form.Command_Cancel();
  EXPECT_EQ(host.RunningTimers(), 0u);
  IOStop();
}

}  // namespace
}  // namespace sv::test
