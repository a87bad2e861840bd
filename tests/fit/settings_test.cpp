#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "fit/fit_settings.h"
#include "fit/form_fit_setup.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

using test::ScriptedHost;

std::string IniPath(const ScriptedHost& h) { return h.configFolder + "/PEAKFIT.INI"; }

void WriteIni(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

TEST(FitSettings, MissingFileGivesDefaults) {
  ScriptedHost h;
  const FitSettings s = LoadFitSettings();
  const FitSettings d;
  EXPECT_EQ(s.Dmax, 1.0e9f);
  EXPECT_EQ(s.SOSslope, d.SOSslope);
  EXPECT_EQ(s.MaxDmpg, 5);
  EXPECT_EQ(s.MaxFun, 100);
  EXPECT_EQ(s.PeakContrast, 8);
  EXPECT_EQ(s.PeakWidth, 10.0f);
  EXPECT_EQ(s.Beep, 1);
}

TEST(FitSettings, ZeroAndHostileValuesGiveTheFallbacks) {
  ScriptedHost h;
  WriteIni(IniPath(h),
           "[Fit]\r\nDmax=0\r\nSOS-slope=abc\r\nDiffStep=-3\r\nmin-SOS=1e999\r\n"
           "MaxDmpg=-1\r\nMaxFun=0\r\nFit-Wght=7\r\nPeakMinCount=150\r\nPeakContrast=20\r\n"
           "PeakShape=0\r\nPeakWidth=-4.5\r\nBeep=0\r\n");
  FitSettings s = LoadFitSettings();
  EXPECT_EQ(s.Dmax, 1.0e9f);
  EXPECT_EQ(s.SOSslope, 0.01f);
  EXPECT_EQ(s.DiffStep, 0.01f);
  EXPECT_EQ(s.minSOS, 0.001f);
  EXPECT_EQ(s.MaxDmpg, 5);
  EXPECT_EQ(s.MaxFun, 100);
  EXPECT_EQ(s.FitWght, 1);
  EXPECT_EQ(s.PeakMinCount, 0);
  EXPECT_EQ(s.PeakContrast, 8);  // a minimum count of 100 or more voids the contrast
  EXPECT_EQ(s.PeakShape, 1);
  EXPECT_EQ(s.PeakWidth, -4.5f);  // a negative width is the unticked width
  EXPECT_EQ(s.Beep, 0);

  // Huge numbers, a spinning halving count, text in integers, a line of junk.
  WriteIni(IniPath(h), "[fit]\nDmax=" + std::string(300, '9') +
                           "\nMaxDmpg=2000000000\nMaxFun=ten\nPeakContrast=-8\nPeakMinCount=-1\n"
                           "PeakWidth=x\nFit-Wght=2\nPeakShape=2\n\x01\xff junk\n");
  s = LoadFitSettings();
  EXPECT_EQ(s.Dmax, 1.0e9f);
  EXPECT_EQ(s.MaxDmpg, 5);
  EXPECT_EQ(s.MaxFun, 100);
  EXPECT_EQ(s.PeakContrast, 8);
  EXPECT_EQ(s.PeakMinCount, 0);
  EXPECT_EQ(s.PeakWidth, 0.0f);
  EXPECT_EQ(s.FitWght, 2);
  EXPECT_EQ(s.PeakShape, 2);

  // A huge file reads without trouble.
  WriteIni(IniPath(h), "[Fit]\nMaxFun=" + std::string(1 << 20, '7') + "\nDmax=2.5E3\n");
  s = LoadFitSettings();
  EXPECT_EQ(s.Dmax, 2500.0f);
}

TEST(FitSettings, NumbersReadTheirLeadingPart) {
  EXPECT_EQ(FitTextToFloat(" 1.5E-3xyz"), 0.0015f);
  EXPECT_EQ(FitTextToFloat("-.25"), -0.25f);
  EXPECT_EQ(FitTextToFloat("12e"), 12.0f);
  EXPECT_EQ(FitTextToFloat("inf"), 0.0f);
  EXPECT_EQ(FitTextToFloat("nan"), 0.0f);
  EXPECT_EQ(FitTextToFloat("1e39"), 0.0f);
  EXPECT_EQ(FitTextToFloat(FitNumberText(0.1f)), 0.1f);
  EXPECT_EQ(FitTextToFloat(FitNumberText(1.0e9f)), 1.0e9f);
}

TEST(FitSetup, LoadDefaultAndAccept) {
  ScriptedHost h;
  FitG().Settings = FitSettings{};
  FitG().Settings.PeakWidth = -6.0f;
  FitG().Settings.MaxFun = 250;
  Form_FitSetup f;
  EXPECT_FALSE(f.Check_PeakWidth);
  EXPECT_FALSE(f.Text_PeakWidth_Enabled);
  EXPECT_EQ(f.Text_PeakWidth, "6");
  EXPECT_EQ(f.Text_MaxFun, "250");
  f.Check_PeakWidth = true;
  f.Check_PeakWidth_Click();
  EXPECT_TRUE(f.Text_PeakWidth_Enabled);

  // Defaults fill the controls only; cancel writes nothing.
  f.Command_Default();
  EXPECT_EQ(f.Text_MaxFun, "100");
  EXPECT_EQ(f.Text_PeakWidth, "10");
  f.Command_Cancel();
  EXPECT_EQ(FitG().Settings.MaxFun, 250);
  EXPECT_TRUE(ReadFile(IniPath(h)).empty());

  f.Text_Dmax = "500";
  f.Text_MaxDmpg = "0";
  f.Option_Weight = 2;
  f.Option_Shape = 0;
  f.Text_PeakWidth = "7.5";
  f.Check_PeakWidth = false;
  f.Check_Beep = false;
  ASSERT_TRUE(f.Command_OK());
  const FitSettings& s = FitG().Settings;
  EXPECT_EQ(s.Dmax, 500.0f);
  EXPECT_EQ(s.MaxDmpg, 0);  // raised to 5 only when a fit starts
  EXPECT_EQ(s.FitWght, 2);
  EXPECT_EQ(s.PeakShape, 0);
  EXPECT_EQ(s.PeakWidth, -7.5f);
  EXPECT_EQ(s.Beep, 0);

  const std::string text = ReadFile(IniPath(h));
  EXPECT_NE(text.find("[Fit]"), std::string::npos);
  EXPECT_NE(text.find("Fit-Wght=2"), std::string::npos);
  EXPECT_NE(text.find("PeakWidth=-7.5"), std::string::npos);
  const FitSettings back = LoadFitSettings();
  EXPECT_EQ(back.Dmax, 500.0f);
  EXPECT_EQ(back.MaxDmpg, 0);
  EXPECT_EQ(back.PeakShape, 1);  // "none" reads back as Lorenzian
  FitG().Settings = FitSettings{};
}

}  // namespace
}  // namespace sv
