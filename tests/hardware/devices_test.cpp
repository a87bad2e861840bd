// The device tables, the back-end choice and the dummies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "core/mdi_main.h"
#include "core/startup.h"
#include "fake_devices.h"
#include "hardware/dummy_backends.h"
#include "hardware/kernel_devices.h"

namespace sv::test {
namespace {

using DevicesTest = HardwareTest;

TEST_F(DevicesTest, TablesShowEveryRowAndLookUpUpperCased) {
  struct Row {
    DeviceKind kind;
    int index;
    const char* load;
    const char* shown;
  };
  const Row rows[] = {
      {DeviceKind::AD, 0, "", "(none)"},
      {DeviceKind::AD, 2, "Ax5621AD", "AX5621  16-Bit A/D Converter"},
      {DeviceKind::AD, 9, "DummyAD", "Dummy A/D"},
      {DeviceKind::AD, 15, "Pci300x.ocx", "BMC Messsysteme: PCI-Base50/300/1000 + MADx"},
      {DeviceKind::AD, 16, "ModbusTCP", "Modbus TCP"},
      {DeviceKind::AD, 18, "cwdaq.ocx", "National Instruments: 6023E/6024E/6025E"},
      {DeviceKind::AD, 19, "ADVANTECH PCI-1716", "ADVANTECH PCI-1716 (0)"},
      {DeviceKind::AD, 20, "Link", "Application link"},
      {DeviceKind::DA, 4, "ErLEED", "ErLEED"},
      {DeviceKind::DA, 9, "Das1602", "Das1602"},
      {DeviceKind::DA, 12, "DummyDA", "Dummy D/A"},
      {DeviceKind::DA, 16, "ModbusTCP", "Modbus TCP"},
      {DeviceKind::DA, 18, "cwdaq.ocx", "National Instruments: 6024E, 6025E"},
      {DeviceKind::DA, 20, "Link", "Application link"},
      {DeviceKind::IO, 6, "8255", "Generic 8255"},
      {DeviceKind::IO, 10, "DummyIO", "Dummy I/O"},
      {DeviceKind::IO, 16, "ModbusTCP", "Modbus TCP"},
      {DeviceKind::IO, 17, "AD_USB.ocx", "AD USB 1/2"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.load);
    EXPECT_EQ(DeviceShownAs(r.kind, r.index), r.shown);
    EXPECT_EQ(DeviceIndex(r.kind, r.load), r.index);
    EXPECT_EQ(DeviceIndex(r.kind, UpperName(r.load)), r.index);
  }
  EXPECT_EQ(DeviceTable(DeviceKind::AD).size(), 19u);
  EXPECT_EQ(DeviceTable(DeviceKind::DA).size(), 17u);
  EXPECT_EQ(DeviceTable(DeviceKind::IO).size(), 14u);
  EXPECT_EQ(DeviceIndex(DeviceKind::AD, "p1000.ocx"), 14);
  EXPECT_EQ(DeviceIndex(DeviceKind::IO, "Link"), 0);  // no link kind of I/O
  EXPECT_EQ(DeviceIndex(DeviceKind::AD, "NoSuchCard"), 0);
  // The Advantech row shows the card's device number from the user store.
  host.store.SaveSetting("sv4200", kAdvantechSection, kAdvantechDeviceKey, "3");
  EXPECT_EQ(DeviceShownAs(DeviceKind::DA, 19), "ADVANTECH PCI-1716 (3)");
}

TEST_F(DevicesTest, AnUnknownNameIsKeptWithIndexZero) {
  InstallHardwareEnvironment();
  G().ADName = "NoSuchCard";
  EXPECT_FALSE(Environment().adInit(G().ADName));
  EXPECT_EQ(G().ADName, "NoSuchCard");
  EXPECT_EQ(HW().ADIndex, 0);
  // A known name in any case comes back in the table's spelling.
  EXPECT_TRUE(Environment().adInit("dummyad"));
  EXPECT_EQ(G().ADName, "DummyAD");
  EXPECT_EQ(HW().ADIndex, 9);
}

TEST_F(DevicesTest, SupportLibrariesAndTheKernelsFileNames) {
  EXPECT_EQ(SupportLibraryOf("P1000.ocx"), "p1000.ocx");
  EXPECT_EQ(SupportLibraryOf("Pci300x.OCX"), "pci300x.ocx");
  EXPECT_EQ(SupportLibraryOf("advantech pci-1716"), "adsapi32.dll");
  EXPECT_EQ(SupportLibraryOf("cbAD"), "");
  EXPECT_EQ(kernel::CardLibraryFile("Ax5621AD"), "libax5621ad.so");
}

TEST_F(DevicesTest, ClosedNamesFailCleanly) {
  struct Case {
    DeviceKind kind;
    const char* name;
    const char* why;
  };
  const Case cases[] = {
      {DeviceKind::AD, "P1000.ocx", "the support library p1000.ocx of P1000.ocx cannot be loaded"},
      {DeviceKind::DA, "ADVANTECH PCI-1716", "the support library adsapi32.dll"},
      {DeviceKind::IO, "Pci300x.ocx", "the support library pci300x.ocx"},
      {DeviceKind::AD, "Ax5621AD", "A/D: Ax5621AD cannot be loaded"},
      {DeviceKind::DA, "ErLEED", "D/A: ErLEED cannot be loaded"},
      {DeviceKind::IO, "8255", "I/O: 8255 cannot be loaded"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_FALSE(Start(c.kind, c.name));
    EXPECT_NE(LastStartError(c.kind).find(c.why), std::string::npos) << LastStartError(c.kind);
  }
  EXPECT_FALSE(HW().AD || HW().DA || HW().IO);
  EXPECT_EQ(G().ADOK | G().DAOK | G().IOOK, 0);
  // A support library that loads still has no class on this platform.
  SupportLibraryProbe() = [](const std::string&) { return true; };
  EXPECT_FALSE(Start(DeviceKind::AD, "cwdaq.ocx"));
  EXPECT_EQ(LastStartError(DeviceKind::AD), "no class for cwdaq.ocx is built on this platform");
}

TEST_F(DevicesTest, NonZeroDriverAndFailingInitLeaveTheInterfaceOff) {
  UseFakes();
  ad.driver = 3;
  EXPECT_FALSE(Start(DeviceKind::AD, "cbAD"));
  EXPECT_EQ(LastStartError(DeviceKind::AD),
            "A/D: the interface needs kernel driver 3, and this platform has no kernel driver loader");
  EXPECT_TRUE(ad.destroyed);
  io.answers = false;
  EXPECT_FALSE(Start(DeviceKind::IO, "Fpc024"));
  EXPECT_EQ(LastStartError(DeviceKind::IO), "I/O: Fpc024 does not answer at base address 0");
  EXPECT_TRUE(io.destroyed);
  da.loads = false;
  EXPECT_FALSE(Start(DeviceKind::DA, "cbDA"));
  EXPECT_TRUE(da.destroyed);
  EXPECT_FALSE(HW().AD || HW().DA || HW().IO);
  // Each start showed its text and cleared the line.
  EXPECT_EQ(host.status, (std::vector<std::string>{"A/D initializing...", "", "I/O initializing...", "",
                                                   "D/A initializing...", ""}));
}

TEST_F(DevicesTest, TheAStartTakesItsSettings) {
  UseFakes();
  HW().ADBase = 0x300;
  HW().ADRange = 1;
  HW().ADAveraging = 0;
  HW().ADChannels[1].ChannelName = "Sample";
  ASSERT_TRUE(Start(DeviceKind::AD, "cbAD"));
  EXPECT_EQ(ad.calls, (std::vector<std::string>{"load cbAD", "init 768", "range 1", "averaging 1"}));
  EXPECT_EQ(HW().ADChannelCount, 4);
  EXPECT_EQ(HW().ADRangeCount, 2);
  EXPECT_EQ(HW().ADChannels[0].ChannelName, "F0");
  EXPECT_EQ(HW().ADChannels[1].ChannelName, "Sample");
  EXPECT_EQ(HW().ADChannels[4].ChannelName, "");
  EXPECT_NE(G().ADOK, 0);
  ADStop();
  EXPECT_EQ(G().ADOK, 0);
  EXPECT_TRUE(ad.destroyed);
}

TEST_F(DevicesTest, DummyADFollowsTheMillisecondCounter) {
  Class_AD_Dummy d;
  bool loaded = false;
  ASSERT_EQ(d.AD_load("DummyAD", loaded), 0);
  EXPECT_TRUE(loaded);
  EXPECT_FLOAT_EQ(d.Gain(), 20.0f / 65535.0f);
  EXPECT_FLOAT_EQ(d.Offset(), d.Gain() * 65535.0f / 2.0f);
  auto volts = [](uint32_t counter) {
    const double phase = double(counter & 2047u) / 2047.0;
    return std::sin(2.0 * phase * 3.1415) * 10.0;
  };
  for (uint32_t counter : {0u, 300u, 512u, 1024u, 1536u, 2047u, 2048u + 700u}) {
    SCOPED_TRACE(counter);
    host.clock = counter;
    host.tick = 0;
    long raw = 0;
    ASSERT_EQ(d.AD_get(0, raw), 0);
    EXPECT_EQ(raw, std::lrint((volts(counter) + double(d.Offset())) / double(d.Gain())));
    float v = 0;
    ASSERT_EQ(d.AD_get_voltage(7, v), 0);
    EXPECT_NEAR(v, volts(counter), 2e-3);
  }
  // Averaging: one reading a tick, summed and divided.
  host.clock = 100;
  host.tick = 10;
  ASSERT_EQ(d.AD_set_averaging(4), 0);
  float v = 0;
  ASSERT_EQ(d.AD_get_voltage(0, v), 0);
  double sum = 0;
  for (uint32_t c : {110u, 120u, 130u, 140u})
    sum += d.Gain() * float(std::lrint((volts(c) + double(d.Offset())) / double(d.Gain()))) - d.Offset();
  EXPECT_NEAR(v, sum / 4, 1e-5);
  // Below 1 is 1.
  for (long n : {0L, -5L}) {
    d.AD_set_averaging(n);
    EXPECT_EQ(d.Averaging(), 1);
  }
  std::string text;
  d.AD_channel_name(0, text);
  EXPECT_EQ(text, "AD_1");
  d.AD_channel_name(7, text);
  EXPECT_EQ(text, "AD_8");
  long raw = 0;
  EXPECT_NE(d.AD_get(8, raw), 0);
  d.AD_dll_date(text);
  EXPECT_EQ(text, "Oct. 04, 2003 (R)");
  d.AD_interface_name(text);
  EXPECT_EQ(text, "Dummy A/D");
  float lo = 0, hi = 0;
  EXPECT_EQ(d.AD_Range(0, lo, hi), 0);
  EXPECT_EQ(lo, -10);
  EXPECT_EQ(hi, 10);
  bool diff = true;
  d.AD_has_diff_input(diff);
  EXPECT_FALSE(diff);
  long driver = 1;
  d.AD_winrt_device(driver);
  EXPECT_EQ(driver, 0);
}

TEST_F(DevicesTest, SlotAveragingZeroIsOne) {
  ASSERT_TRUE(Start(DeviceKind::AD, "DummyAD"));
  EXPECT_EQ(AD_set_averaging(0), 0);
  EXPECT_EQ(HW().ADAveraging, 1);
  EXPECT_EQ(static_cast<Class_AD_Dummy*>(HW().AD.get())->Averaging(), 1);
}

TEST_F(DevicesTest, DummyDAAndIO) {
  Class_DA_Dummy da;
  std::string text;
  da.DA_channel_name(1, text);
  EXPECT_EQ(text, "DA_2");
  long n = 0;
  da.DA_channels(n);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(da.DA_set_voltage(0, 1234.5f), 0);
  EXPECT_EQ(da.DA_set(5, -1), 0);
  da.DA_interface_name(text);
  EXPECT_EQ(text, "Dummy D/A");

  Class_IO_Dummy io;
  io.IO_interface_name(text);
  EXPECT_EQ(text, "Dummy I/O");
  io.IO_pins_in(n);
  EXPECT_EQ(n, 8);
  io.IO_pins_out(n);
  EXPECT_EQ(n, 8);
  for (long pin = 0; pin < 8; ++pin) {
    bool level = false;
    io.IO_pin_set(pin, true);
    io.IO_pin_get(pin, level);
    EXPECT_TRUE(level);
    io.IO_PinOutStatus(pin, level);
    EXPECT_TRUE(level);
  }
  EXPECT_EQ(io.State(), 0xFFu);
  io.IO_pin_set(3, false);
  EXPECT_EQ(io.State(), 0xF7u);
  // Pin 8 reads false and a write to it is ignored.
  EXPECT_EQ(io.IO_pin_set(8, true), 0);
  bool level = true;
  EXPECT_EQ(io.IO_pin_get(8, level), 0);
  EXPECT_FALSE(level);
  EXPECT_EQ(io.State(), 0xF7u);
  EXPECT_EQ(io.IO_close() | io.IO_unload() | io.IO_OUTP(0, 255), 0);
  EXPECT_EQ(io.State(), 0xF7u);
}

TEST_F(DevicesTest, IOStartClosesTheShutter) {
  for (bool openLevel : {false, true}) {
    HW().ShutterControl.OpenLevel = openLevel ? 1 : 0;
    ASSERT_TRUE(Start(DeviceKind::IO, "DummyIO"));
    bool level = openLevel;
    ASSERT_EQ(IO_pin_get(6, level), 0);
    EXPECT_EQ(level, !openLevel);
    EXPECT_EQ(HW().ExtTriggerPin, 5);
    EXPECT_EQ(HW().SignalPin, 4);
    EXPECT_EQ(HW().IOPinCount, 16);
  }
}

TEST_F(DevicesTest, AFailedTriggerReadIsToldOnce) {
  UseFakes();
  ASSERT_TRUE(Start(DeviceKind::IO, "Fpc024"));
  EXPECT_TRUE(GetExtTrigger());
  io.readCode = 7;
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(GetExtTrigger());
  EXPECT_FALSE(GetExtTrigger());
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "GetExtTrigger-Function");
  EXPECT_EQ(host.messages[0].text,
            "An error (Code # 7) occured when reading the 'EXT. TRIGGER' I/O-line (pin # 5)\r\n"
            "The 'EXT. TRIGGER' I/O-line will be ignored.");
  // The pin is no longer read.
  EXPECT_EQ(std::count(io.calls.begin(), io.calls.end(), "read 5"), 2);
  // Without an I/O the trigger is low.
  IOStop();
  EXPECT_FALSE(GetExtTrigger());
}

TEST_F(DevicesTest, TheTriggerOnAMissingLineGoesBackToManual) {
  InstallHardwareEnvironment();
  G().TriggerMode = 2;
  G().TriggerSource = 1;
  EXPECT_FALSE(Environment().ioInit("Rtx02d"));
  EXPECT_EQ(G().TriggerMode, 0);
  EXPECT_EQ(G().TriggerSource, 4);
  G().TriggerMode = 1;
  G().TriggerSource = 5;
  EXPECT_FALSE(Environment().ioInit(""));
  EXPECT_EQ(G().TriggerMode, 1);
}

TEST_F(DevicesTest, ExitRunsInTheOverviewsOrder) {
  std::vector<std::string> order;
  ExitSteps().shutterAndTrigger = [&] { order.push_back("shutter " + std::to_string(IOReady())); };
  ExitSteps().eGun = [&] { order.push_back("egun " + std::to_string(IOReady()) + std::to_string(DAReady())); };
  ExitSteps().calibrationStore = [&] { order.push_back("cal " + std::to_string(DAReady()) + std::to_string(ADReady())); };
  ASSERT_TRUE(Start(DeviceKind::IO, "DummyIO"));
  ASSERT_TRUE(Start(DeviceKind::DA, "DummyDA"));
  ASSERT_TRUE(Start(DeviceKind::AD, "DummyAD"));
  MDIForm_Main main;
  RegisterHardwareMenus(main);
  ASSERT_FALSE(main.exitHooks.shutdown.empty());
  main.exitHooks.shutdown.back()();
  EXPECT_EQ(order, (std::vector<std::string>{"shutter 1", "egun 01", "cal 01"}));
  EXPECT_FALSE(IOReady() || DAReady() || ADReady());
  ExitSteps() = HardwareExitSteps();
}

TEST_F(DevicesTest, SetupEntriesShowTheInterfaceOrNA) {
  MDIForm_Main main;
  SetMainForm(&main);
  G().IOName = "DummyIO";
  G().DAName = "ErLEED";
  RegisterHardwareMenus(main);
  std::string name = "DummyIO";
  ASSERT_TRUE(IOStart(name));
  EXPECT_EQ(main.FindMenu("mnuIOSetup")->caption, "&I/O: Dummy I/O...");
  EXPECT_EQ(main.FindMenu("mnuDASetup")->caption, "&D/A: N/A...");
  EXPECT_EQ(main.FindMenu("mnuADSetup")->caption, "&A/D...");
  // With their dialogs built, the entries follow the interfaces.
  main.SetCommand("mnuShutterControl", [](int) {});
  main.SetCommand("mnuGunParameter", [](int) {});
  main.PrepareAllMenus();
  EXPECT_TRUE(main.FindMenu("mnuShutterControl")->enabled);
  EXPECT_FALSE(main.FindMenu("mnuGunParameter")->enabled);
  SetMainForm(nullptr);
}

}  // namespace
}  // namespace sv::test

namespace sv::test {
namespace {

TEST_F(DevicesTest, StartUpBringsTheInterfacesUpAndExitTakesThemDown) {
  Environment() = StartupEnvironment();
  InstallHardwareEnvironment();
  for (const auto& [key, name] : {std::pair{"I/O-Converter", "dummyio"},
                                  {"D/A-Converter", "P1000.ocx"},
                                  {"A/D-Converter", "Ax5621AD"}})
    host.store.SaveSetting("sv4200", "HARDWARE", key, name);
  WriteFile(host.programFolder + "/SV4200_tester.ini", "[ShutterControl]\r\nOpenLevel=1\r\n");
  MDIForm_Main main;
  SetMainForm(&main);
  RegisterHardwareMenus(main);
  host.Answer(MsgResult::OK);
  host.Answer(MsgResult::OK);
  ASSERT_TRUE(Main(main, "/B"));
  EXPECT_EQ(host.MessageTexts(), (std::vector<std::string>{
                                     "Cannot initialize D/A-Interface\r\nD/A-Converter:P1000.ocx",
                                     "Cannot initialize A/D-Interface\r\nA/D-Converter:Ax5621AD"}));
  EXPECT_EQ(G().IOName, "DummyIO");
  EXPECT_NE(G().IOOK, 0);
  EXPECT_EQ(G().DAOK | G().ADOK, 0);
  EXPECT_EQ(G().DAName, "P1000.ocx");  // kept for the next start
  bool shutter = true;
  ASSERT_EQ(IO_pin_get(6, shutter), 0);
  EXPECT_FALSE(shutter);  // closed: high opens it
  EXPECT_NE(std::find(host.status.begin(), host.status.end(), "I/O initializing..."), host.status.end());
  EXPECT_EQ(main.FindMenu("mnuDASetup")->caption, "&D/A: N/A...");
  // Exit: the sections are written, then the interfaces go.
  host.Answer(MsgResult::OK);
  ASSERT_TRUE(main.QueryUnload());
  EXPECT_FALSE(IOReady());
  const std::string ini = ReadFile(host.programFolder + "/SV4200_tester.ini");
  EXPECT_NE(ini.find("[DIO: DummyIO]"), std::string::npos) << ini;
  EXPECT_NE(ini.find("[DAC: P1000.ocx]"), std::string::npos) << ini;
  EXPECT_EQ(host.store.GetSetting("sv4200", "HARDWARE", "I/O-Converter", ""), "DummyIO");
  SetMainForm(nullptr);
  Environment() = StartupEnvironment();
}

}  // namespace
}  // namespace sv::test
