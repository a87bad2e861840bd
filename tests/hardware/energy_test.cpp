// The energy calibration and the interfaces' settings sections.
#include <gtest/gtest.h>

#include "core/ini_profile.h"
#include "core/mdi_main.h"
#include "fake_devices.h"

namespace sv::test {
namespace {

using EnergyTest = HardwareTest;

constexpr const char* kCheckText = "You should check the calibration of the D/A-Converter!";

TEST_F(EnergyTest, SetEnergySendsTheLineAndShowsIt) {
  UseFakes();
  std::string name = "cbDA";
  ASSERT_TRUE(DAStart(name));
  HW().GainLEED = 0.01f;
  HW().OffsetLEED = 0;
  HW().ChannelLEED = 1;
  UseDALine(DALine::LEED);
  MDIForm_Main main;
  SetMainForm(&main);
  std::vector<std::string> monitor;
  DeviceMonitor() = [&](const std::string& raw, const std::string& value) {
    monitor.push_back(raw + " | " + value);
  };
  bool ok = false;
  EXPECT_EQ(SetEnergy(100, true, &ok), "100.0 eV");
  EXPECT_TRUE(ok);
  ASSERT_EQ(da.written.size(), 1u);
  EXPECT_EQ(da.written[0].first, 1);
  EXPECT_FLOAT_EQ(da.written[0].second, 1.0f);
  EXPECT_FLOAT_EQ(HW().LastVoltage, 1.0f);
  EXPECT_FLOAT_EQ(G().ElectronEnergy, 100);
  EXPECT_EQ(main.Panel(kPanelEnergy), "100.0 eV");
  // A voltage goes out as it is; the energy is the line's.
  EXPECT_EQ(SetEnergy(1.5f, false, &ok), "1.500 V");
  EXPECT_FLOAT_EQ(da.written.back().second, 1.5f);
  EXPECT_FLOAT_EQ(G().ElectronEnergy, 150);
  EXPECT_EQ(main.Panel(kPanelEnergy), "1.500 V");
  EXPECT_EQ(monitor, (std::vector<std::string>{"1.000000 | 100.000 eV", "1.500000 | 1.500 V"}));
  // The Auger line: its own channel, offset and gain.
  HW().ChannelAUGER = 0;
  HW().OffsetAUGER = 0.5f;
  HW().GainAUGER = DefaultDAGain(DALine::AUGER);
  UseDALine(DALine::AUGER);
  EXPECT_EQ(SetEnergy(1639, true), "1639.0 eV");
  EXPECT_EQ(da.written.back().first, 0);
  EXPECT_NEAR(da.written.back().second, 5.5f, 1e-5);
  // A failed write.
  da.readCode = 9;
  SetEnergy(10, true, &ok);
  EXPECT_FALSE(ok);
  DeviceMonitor() = nullptr;
  SetMainForm(nullptr);
}

TEST_F(EnergyTest, WithoutADAOnlyTheEnergyMoves) {
  bool ok = true;
  EXPECT_EQ(SetEnergy(42.25f, true, &ok), "42.3 eV");
  EXPECT_FALSE(ok);
  EXPECT_FLOAT_EQ(G().ElectronEnergy, 42.25f);
  HW().DAGain = 0;
  SetEnergy(3, false);
  EXPECT_FLOAT_EQ(G().ElectronEnergy, 42.25f);  // no line to go back through
  // The formats round half away from zero on the value's decimal digits.
  const std::pair<std::pair<double, int>, const char*> formats[] = {
      {{-0.0001, 3}, "0.000"},   {{2.5, 0}, "3"},          {{-2.5, 0}, "-3"},
      {{1.005, 2}, "1.01"},      {{0.125, 2}, "0.13"},     {{999.96, 1}, "1000.0"},
      {{1e-8, 8}, "0.00000001"}, {{0.0061013, 8}, "0.00610130"}, {{12345.6789, 3}, "12345.679"},
      {{0, 1}, "0.0"},           {{0.0004, 3}, "0.000"},   {{0.0005, 3}, "0.001"},
      {{-1.5, 6}, "-1.500000"},  {{7, 0}, "7"},
  };
  for (const auto& [in, text] : formats) EXPECT_EQ(FormatFixed(in.first, in.second), text) << in.first;
}

TEST_F(EnergyTest, ReadVoltageRawAndCalibrated) {
  EXPECT_EQ(ReadVoltage(0, false), 0);  // no A/D
  UseFakes();
  std::string name = "cbAD";
  ASSERT_TRUE(ADStart(name));
  ad.volts = 2.0f;
  HW().ADGain = 2;
  HW().ADOffset = 0.5f;
  EXPECT_FLOAT_EQ(ReadVoltage(1, false), 2.0f);
  EXPECT_FLOAT_EQ(ReadVoltage(1, true), 4.5f);
  ad.readCode = 3;
  EXPECT_EQ(ReadVoltage(1, true), 0);
}

TEST_F(EnergyTest, LimitsTwoPointsAndWavelength) {
  G().MinEnergyLEED = 20;
  G().MaxEnergyLEED = 500;
  G().MaxEnergyAUGER = 1639;
  EXPECT_EQ(ClampEnergy(DALine::LEED, 10), 20);
  EXPECT_EQ(ClampEnergy(DALine::LEED, 600), 500);
  EXPECT_EQ(ClampEnergy(DALine::AUGER, 600), 600);
  EXPECT_EQ(MaxEnergy(DALine::AUGER), 1639);
  float gain = 0, offset = 0;
  ASSERT_TRUE(ADCalibrationFromPoints(0.5f, 0.4f, 4.0f, 3.9f, gain, offset));
  EXPECT_NEAR(gain, 1.0f, 1e-6);
  EXPECT_NEAR(offset, 0.1f, 1e-6);
  ASSERT_TRUE(ADCalibrationFromPoints(0.9f, 0.4f, 5.0f, 2.45f, gain, offset));
  EXPECT_NEAR(gain, 2.0f, 1e-5);
  EXPECT_NEAR(offset, 0.1f, 1e-5);
  gain = offset = 7;
  EXPECT_FALSE(ADCalibrationFromPoints(0.5f, 1.0f, 4.0f, 1.0f, gain, offset));
  EXPECT_EQ(gain, 7);
  EXPECT_NEAR(ElectronWavelength(150.4), 1.0, 1e-3);
  EXPECT_EQ(ElectronWavelength(0), 0);
  EXPECT_EQ(ElectronWavelength(-3), 0);
  EXPECT_FLOAT_EQ(DefaultDAGain(DALine::LEED), 0.01f);
  EXPECT_FLOAT_EQ(DefaultDAGain(DALine::AUGER), 5.0f / 1639.0f);
}

TEST_F(EnergyTest, TheDASectionFallsBackAndAsksForACheck) {
  struct Case {
    const char* text;
    int channel;
    float offset, gain, gainAuger;
    bool check;
  };
  const Case cases[] = {
      // The present keys: no message.
      {"[DAC: DummyDA]\nChannelLEED=1\nOffsetLEED=0.25\nGainLEED=0.02\nChannelAUGER=0\n"
       "OffsetAUGER=0\nGainAUGER=0.004\n",
       1, 0.25f, 0.02f, 0.004f, false},
      // The old keys stand in for the LEED ones.
      {"[DAC: DummyDA]\nChannel=1\nOffset(0)=0,5\nGain(0)=0.03\nGainAUGER=0.004\n", 1, 0.5f, 0.03f,
       0.004f, true},
      // Nothing stored: the default lines.
      {"", 0, 0.0f, 0.01f, 5.0f / 1639.0f, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    ResetHardware();
    host.messages.clear();
    G().DAName = "dummyda";
    ReadDASettings(Profile::Parse(c.text));
    EXPECT_EQ(HW().ChannelLEED, c.channel);
    EXPECT_FLOAT_EQ(HW().OffsetLEED, c.offset);
    EXPECT_FLOAT_EQ(HW().GainLEED, c.gain);
    EXPECT_FLOAT_EQ(HW().GainAUGER, c.gainAuger);
    EXPECT_FLOAT_EQ(HW().DAGain, c.gain);  // the LEED line is in use
    if (c.check) host.Answer(MsgResult::OK);
    std::string name = G().DAName;
    ASSERT_TRUE(DAStart(name));
    EXPECT_EQ(host.MessageTexts(), c.check ? std::vector<std::string>{kCheckText}
                                           : std::vector<std::string>{});
  }
  // No D/A configured: nothing to check.
  ResetHardware();
  G().DAName.clear();
  ReadDASettings(Profile());
  EXPECT_FALSE(HW().DACalibrationCheck);
}

TEST_F(EnergyTest, SectionsGoRoundTheFile) {
  G().IOName = "DummyIO";
  G().DAName = "DummyDA";
  G().ADName = "DummyAD";
  HardwareGlobals& hw = HW();
  hw.IOBase = 0x2A0;
  hw.ShutterControl.OpenLevel = 1;
  hw.ShutterControl.ShutterEnabled = 1;
  hw.ShutterControl.ShutterWindow = 3;
  hw.ShutterControl.Hysterese = 0.35f;
  hw.ShutterControl.MinTimeRange = 2.5f;
  hw.ShutterControl.Cycles = 4;
  hw.ShutterControl.TriggerSource = 1;
  hw.DABase = 5;
  hw.DARange = 1;
  hw.ChannelLEED = 1;
  hw.OffsetLEED = -0.125f;
  hw.GainLEED = 0.0123f;
  hw.ChannelAUGER = 0;
  hw.OffsetAUGER = 0.3f;
  hw.GainAUGER = 0.00305f;
  hw.AugerDerivative = 1;
  hw.AugerReverseScaling = -1;
  hw.ADBase = 7;
  hw.ADRange = 2;
  hw.ADAveraging = 16;
  hw.ADOffset = 0.01f;
  hw.ADGain = 1.02f;
  hw.ADDifferential = 1;
  hw.ADScan = 1;
  hw.AugerADChannel = 3;
  hw.ADChannels[2] = {"Sample current", 1, 0, 0x123456};
  Profile ini;
  WriteIOSettings(ini);
  WriteDASettings(ini);
  WriteADSettings(ini);
  const HardwareGlobals before = [] {
    HardwareGlobals copy;
    const HardwareGlobals& h = HW();
    copy.ShutterControl = h.ShutterControl;
    copy.ADChannels = h.ADChannels;
    return copy;
  }();
  const std::string text = ini.Text();
  EXPECT_NE(text.find("[DIO: DummyIO]"), std::string::npos);
  // The shutter record has its own section.
  EXPECT_NE(text.find("[ShutterControl]"), std::string::npos);
  EXPECT_FALSE(ini.Get("DIO: DummyIO", "OpenLevel"));
  EXPECT_NE(text.find("GainLEED=0.0123"), std::string::npos);
  EXPECT_NE(text.find("[ADC: CH3]"), std::string::npos);
  EXPECT_NE(text.find("ChannelName=Sample current"), std::string::npos);
  ResetHardware();
  const Profile back = Profile::Parse(text);
  ReadIOSettings(back);
  ReadDASettings(back);
  ReadADSettings(back);
  EXPECT_EQ(hw.IOBase, 0x2A0);
  EXPECT_EQ(hw.ShutterControl.OpenLevel, 1);
  EXPECT_EQ(hw.ShutterControl.ShutterEnabled, 1);
  EXPECT_EQ(hw.ShutterControl.ShutterWindow, 3);
  EXPECT_FLOAT_EQ(hw.ShutterControl.Hysterese, 0.35f);
  EXPECT_FLOAT_EQ(hw.ShutterControl.MinTimeRange, 2.5f);
  EXPECT_EQ(hw.ShutterControl.Cycles, 4);
  EXPECT_EQ(hw.ShutterControl.TriggerSource, 1);
  EXPECT_EQ(hw.DABase, 5);
  EXPECT_EQ(hw.DARange, 1);
  EXPECT_EQ(hw.ChannelLEED, 1);
  EXPECT_EQ(hw.OffsetLEED, -0.125f);
  EXPECT_EQ(hw.GainLEED, 0.0123f);
  EXPECT_EQ(hw.ChannelAUGER, 0);
  EXPECT_EQ(hw.OffsetAUGER, 0.3f);
  EXPECT_EQ(hw.GainAUGER, 0.00305f);
  EXPECT_FALSE(hw.DACalibrationCheck);
  EXPECT_EQ(hw.AugerDerivative, 1);
  EXPECT_EQ(hw.AugerReverseScaling, -1);
  EXPECT_EQ(hw.ADBase, 7);
  EXPECT_EQ(hw.ADRange, 2);
  EXPECT_EQ(hw.ADAveraging, 16);
  EXPECT_EQ(hw.ADOffset, 0.01f);
  EXPECT_EQ(hw.ADGain, 1.02f);
  EXPECT_EQ(hw.ADDifferential, 1);
  EXPECT_EQ(hw.ADScan, 1);
  EXPECT_EQ(hw.AugerADChannel, 3);
  for (int n = 0; n < kADChannelMax; ++n) {
    SCOPED_TRACE(n);
    EXPECT_EQ(hw.ADChannels[size_t(n)].ChannelName, before.ADChannels[size_t(n)].ChannelName);
    EXPECT_EQ(hw.ADChannels[size_t(n)].Selected, before.ADChannels[size_t(n)].Selected);
    EXPECT_EQ(hw.ADChannels[size_t(n)].Plot, before.ADChannels[size_t(n)].Plot);
    EXPECT_EQ(hw.ADChannels[size_t(n)].Color, before.ADChannels[size_t(n)].Color);
  }
  // Defaults: the window palette's colours, Plot 1, nothing selected.
  ResetHardware();
  ReadADSettings(Profile());
  EXPECT_EQ(hw.ADChannels[0].Color, 0x800080);
  EXPECT_EQ(hw.ADChannels[7].Color, 0x008000);
  EXPECT_EQ(hw.ADChannels[3].Plot, 1);
  EXPECT_EQ(hw.ADAveraging, 1);
  EXPECT_EQ(hw.ADGain, 1);
}

TEST_F(EnergyTest, TheSettingsOrderHoldsTheInterfacesOnce) {
  InstallHardwareEnvironment();
  InstallHardwareEnvironment();
  std::vector<std::string> names;
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Interfaces) names.push_back(s.name);
  EXPECT_EQ(names, (std::vector<std::string>{"I/O", "D/A", "A/D"}));
  // A whole read and write through the ini file of the process.
  G().IniFile = host.programFolder + "/SV4200_tester.ini";
  WriteFile(G().IniFile, "[ADC: DummyAD]\r\nAveraging=4\r\n");
  host.store.SaveSetting("sv4200", "HARDWARE", "A/D-Converter", "DummyAD");
  ReadSettings(nullptr);
  EXPECT_EQ(G().ADName, "DummyAD");
  EXPECT_EQ(HW().ADAveraging, 4);
  HW().ADAveraging = 9;
  WriteSettings(nullptr);
  EXPECT_NE(ReadFile(G().IniFile).find("Averaging=9"), std::string::npos);
}

}  // namespace
}  // namespace sv::test
