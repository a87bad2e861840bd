// The experiment's sections of the ini file: defaults, reading rules (seconds
// to rounded milliseconds, the energy within its limits), the written form and
// the place in the settings order.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <tuple>

#include "core/globals.h"
#include "core/ini_profile.h"
#include "core/settings.h"
#include "experiment/experiment_settings.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class ExperimentSettingsTest : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { Reset(); }
  static void Reset() {
    ResetGlobals();
    ClearSettingsSections();
    ResetExperimentSettings();
    ExperimentWindowPlaces() = ExperimentPlaces();
  }
  static void Read(const std::string& text) { ReadExperimentSettings(Profile::Parse(text)); }
  test::ScriptedHost h;
};

TEST_F(ExperimentSettingsTest, AnEmptyFileGivesTheDefaults) {
  ES().tStop = 5;
  ES().EStart = 7;
  ES().UserSweep = 1;
  ES().SweepFile = "x.swp";
  ExperimentWindowPlaces().IPlot.Yto = 9;
  Read("");
  const ExperimentSettings& es = ES();
  EXPECT_EQ(std::tuple(es.SweepFile, es.UserSweep, es.tStart, es.tStop, es.tStep, es.DwellTime),
            std::tuple(std::string(), 0, 0, 60000, 0, 0.0f));
  EXPECT_EQ(std::tuple(es.EStart, es.EStop, es.EStep, es.Energy), std::tuple(20.0f, 100.0f, 1.0f, 100.0f));
  EXPECT_EQ(std::tuple(es.AutoSave, es.OnlineExport, es.UpdateWorksheet, es.FlushBuffer,
                       es.CScanMaxRecords),
            std::tuple(0, 0, 0, 0, 0));
  EXPECT_EQ(ExperimentWindowPlaces().IPlot.Yto, 0.0f);
}

TEST_F(ExperimentSettingsTest, TimesAreSecondsHeldAsRoundedMilliseconds) {
  struct Case {
    const char* text;
    int32_t ms;
  };
  const Case cases[] = {
      {"1.5", 1500},       {"0,25", 250},         {" 2 ", 2000},        {"0.0005", 0},
      {"0.0015", 2},       {"0.0025", 2},         {"1.2345", 1234},     {"2.0025", 2002},
      {"86400", 86400000}, {"1e9", 2147483647},   {"-1e9", -2147483647 - 1},
      {"abc", 60000},      {"", 60000},           {"-3", -3000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    Read(std::string("[I(T) I(E)]\nt-Stop=") + c.text + "\nt-Start=" + c.text +
         "\nDwellTime=" + c.text + "\n");
    EXPECT_EQ(ES().tStop, c.ms);
    // A missing or broken value takes each key's own default.
    const bool fallback = c.ms == 60000;
    EXPECT_EQ(ES().tStart, fallback ? 0 : c.ms);
    EXPECT_EQ(ES().DwellTime, fallback ? 0.0f : float(c.ms));
  }
}

TEST_F(ExperimentSettingsTest, TheEnergyIsHeldWithinTheLeedLimits) {
  struct Case {
    float min, max;
    const char* text;
    float energy;
  };
  const Case cases[] = {
      {0, 1000, "250.5", 250.5f}, {0, 1000, "1200", 1000},  {0, 1000, "-4", 0},
      {20, 500, "10", 20},        {20, 500, "600", 500},    {20, 500, "20", 20},
      {20, 500, "500", 500},      {20, 500, "", 100},       {150, 500, "", 150},
      {0, 1000, "12,5", 12.5f},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " in " + std::to_string(c.min) + ".." + std::to_string(c.max));
    G().MinEnergyLEED = c.min;
    G().MaxEnergyLEED = c.max;
    G().ElectronEnergy = -1;
    Read(*c.text ? std::string("[E-GUN]\nEnergy=") + c.text + "\n" : std::string());
    EXPECT_EQ(ES().Energy, c.energy);
    EXPECT_EQ(G().ElectronEnergy, c.energy);
  }
}

TEST_F(ExperimentSettingsTest, WrittenTextAndRoundTrip) {
  ExperimentSettings& es = ES();
  es.SweepFile = "/data/sweeps/fine.swp";
  es.UserSweep = -1;
  es.tStart = 1500;
  es.tStop = 86399999;
  es.tStep = 250;
  es.DwellTime = 40;
  es.EStart = 20.5f;
  es.EStop = 333.3f;
  es.EStep = 0.1f;
  es.Energy = 47.25f;
  es.AutoSave = -1;
  es.OnlineExport = 1;
  es.UpdateWorksheet = -1;
  es.FlushBuffer = 1;
  es.CScanMaxRecords = 5000;
  es.TriggerMode = 2;
  es.TriggerSource = 6;
  ExperimentWindowPlaces().Sheet = {10, 20, 300, 400, 0, 0};
  ExperimentWindowPlaces().IPlot = {1, 2, 3, 4, -0.5f, 1e4f};
  ExperimentWindowPlaces().ADPlot = {5, 6, 7, 8, 0.1f, 10};

  Profile ini;
  WriteExperimentSettings(ini);
  const std::pair<const char*, const char*> written[] = {
      {"SweepFile", "/data/sweeps/fine.swp"}, {"User", "-1"},       {"t-Start", "1.5"},
      {"t-Stop", "86399.999"},                {"t-Step", "0.25"},   {"DwellTime", "0.04"},
      {"E-Start", "20.5"},                    {"E-Stop", "333.3"},  {"E-Step", "0.1"},
      {"Auto Save", "-1"},                    {"CScanMaxRecords", "5000"},
  };
  for (const auto& [key, text] : written) EXPECT_EQ(ini.GetString("I(T) I(E)", key, "?"), text) << key;
  EXPECT_EQ(ini.GetString("E-GUN", "Energy", "?"), "47.25");
  EXPECT_EQ(ini.GetString("Experiment I-Plot", "Yto", "?"), "10000.0");
  EXPECT_EQ(ini.Get("Experiment Sheet", "Yfrom"), std::nullopt);

  const ExperimentSettings before = es;
  const ExperimentPlaces places = ExperimentWindowPlaces();
  ResetExperimentSettings();
  ExperimentWindowPlaces() = ExperimentPlaces();
  G().TriggerMode = 2;
  G().TriggerSource = 6;
  ReadExperimentSettings(Profile::Parse(ini.Text()));
  EXPECT_EQ(std::tuple(es.SweepFile, es.UserSweep, es.tStart, es.tStop, es.tStep, es.DwellTime),
            std::tuple(before.SweepFile, before.UserSweep, before.tStart, before.tStop, before.tStep,
                       before.DwellTime));
  EXPECT_EQ(std::tuple(es.EStart, es.EStop, es.EStep, es.Energy),
            std::tuple(before.EStart, before.EStop, before.EStep, before.Energy));
  EXPECT_EQ(std::tuple(es.AutoSave, es.OnlineExport, es.UpdateWorksheet, es.FlushBuffer,
                       es.CScanMaxRecords, es.TriggerMode, es.TriggerSource),
            std::tuple(before.AutoSave, before.OnlineExport, before.UpdateWorksheet,
                       before.FlushBuffer, before.CScanMaxRecords, 2, 6));
  for (auto [a, b] : {std::pair(places.Sheet, ExperimentWindowPlaces().Sheet),
                      std::pair(places.IPlot, ExperimentWindowPlaces().IPlot),
                      std::pair(places.ADPlot, ExperimentWindowPlaces().ADPlot)})
    EXPECT_EQ(std::tuple(a.Left, a.Top, a.Width, a.Height, a.Yfrom, a.Yto),
              std::tuple(b.Left, b.Top, b.Width, b.Height, b.Yfrom, b.Yto));
}

TEST_F(ExperimentSettingsTest, RegisteredOnceAfterTheCoreTableAndOwnsTheTrigger) {
  RegisterExperimentSettings();
  RegisterExperimentSettings();
  int count = 0;
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Experiment) ++count;
  EXPECT_EQ(count, 1);

  const std::string path = h.root + "/settings.ini";
  std::ofstream(path) << "[Trigger]\nMode=1\nSource=2\n[I(T) I(E)]\nt-Stop=12.5\nE-Step=0,5\n";
  G().IniFile = path;
  ReadSettings(nullptr);
  EXPECT_EQ(std::tuple(ES().TriggerMode, ES().TriggerSource, ES().tStop, ES().EStep),
            std::tuple(1, 2, 12500, 0.5f));

  // The trigger chosen in the experiment dialog is the one saved.
  ES().TriggerMode = 2;
  ES().TriggerSource = 5;
  WriteSettings(nullptr);
  const Profile saved = Profile::Load(path);
  EXPECT_EQ(std::tuple(saved.GetInt("Trigger", "Mode", -9), saved.GetInt("Trigger", "Source", -9),
                       G().TriggerMode, G().TriggerSource),
            std::tuple(2, 5, 2, 5));
  EXPECT_EQ(saved.GetString("I(T) I(E)", "t-Stop", ""), "12.5");
}

}  // namespace
}  // namespace sv
