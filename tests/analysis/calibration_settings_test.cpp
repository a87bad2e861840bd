// The calibrations' ini sections, ".lut" tables and the start-up rules.
#include "analysis/calibration_settings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "analysis/form_window_setup.h"
#include "core/ini_profile.h"
#include "core/settings.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "calibration_test.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "analysis/form_zcalibration.h"

namespace sv {
namespace {

class CalibrationSettingsTest : public test::CalibrationTest {
 protected:
  void TearDown() override {
    CalibrationTest::TearDown();
    Hooks() = AnalysisHooks();
    ExitSteps().calibrationStore = nullptr;
    ClearSettingsSections();
  }
  std::string Path(const std::string& name) const { return host.root + "/" + name; }
  // A ".lut" file written through a sheet, as the dialog's sheet would be.
  std::string WriteLut(const std::string& name, const std::string& label,
                       std::vector<float> values) {
    IntensityTable t;
    t.Name = label;
    t.Count = int32_t(values.size());
    t.Values = std::move(values);
    Form_Worksheet sheet;
    FillTableSheet(sheet, t);
    EXPECT_EQ(sheet.SaveWorksheet(Path(name), true), 0);
    return Path(name);
  }
};

TEST_F(CalibrationSettingsTest, LengthKeysAndTheirRules) {
  ReadCalibration(Profile());
  EXPECT_FLOAT_EQ(LengthCal().PixelRatio, 1.0f);
  EXPECT_EQ(LengthCal().Enabled, 0);
  EXPECT_FLOAT_EQ(LengthCal().CalFactor, 1.0f);
  EXPECT_EQ(LengthCal().CalUnit, "Pixel");

  ReadCalibration(Profile::Parse(
      "[CALIBRATION]\nPixel Ratio=-1\nenabled=1\nCal Factor=0,25\nCal Unit=nm\n"));
  EXPECT_FLOAT_EQ(LengthCal().PixelRatio, 1.0f);  // 0 or below reads 1
  EXPECT_EQ(LengthCal().Enabled, 1);
  EXPECT_FLOAT_EQ(LengthCal().CalFactor, 0.25f);
  EXPECT_EQ(LengthCal().CalUnit, "nm");
  ReadCalibration(Profile::Parse("[CALIBRATION]\nPixel Ratio=0\n"));
  EXPECT_FLOAT_EQ(LengthCal().PixelRatio, 1.0f);
  ReadCalibration(Profile::Parse("[CALIBRATION]\nPixel Ratio=1.5\nCal Factor=abc\n"));
  EXPECT_FLOAT_EQ(LengthCal().PixelRatio, 1.5f);
  EXPECT_FLOAT_EQ(LengthCal().CalFactor, 1.0f);
}

TEST_F(CalibrationSettingsTest, WrittenValuesReadBack) {
  LengthCal() = {0.75f, 1, 0.1f, "um"};
  ZCal().Enabled = 1;
  ZCal().FileName = WriteLut("a.lut", "counts", {0, 2, 4});
  Profile ini;
  WriteCalibration(ini);
  EXPECT_EQ(ini.GetString("CALIBRATION", "Cal Factor", ""), "0.1");
  EXPECT_EQ(ini.GetString("ZCALIBRATION", "filename", ""), Path("a.lut"));
  LengthCal() = LengthCalibration();
  ZCal() = IntensityTable();
  ReadCalibration(Profile::Parse(ini.Text()));
  EXPECT_FLOAT_EQ(LengthCal().PixelRatio, 0.75f);
  EXPECT_EQ(LengthCal().Enabled, 1);
  EXPECT_FLOAT_EQ(LengthCal().CalFactor, 0.1f);
  EXPECT_EQ(LengthCal().CalUnit, "um");
  EXPECT_EQ(ZCal().Enabled, 1);
  EXPECT_EQ(ZCal().Count, 3);
  EXPECT_EQ(ZCal().Name, "counts");
  EXPECT_TRUE(host.messages.empty());
  CloseCalibration();
  EXPECT_EQ(ZCal().Count, 0);
  EXPECT_TRUE(ZCal().Values.empty());
}

TEST_F(CalibrationSettingsTest, FailedLoadAtStartTellsOnlyWhenOnAndSwitchesOff) {
  const std::string missing = Path("gone.lut");
  host.Answer(MsgResult::OK);
  ReadCalibration(Profile::Parse("[ZCALIBRATION]\nenabled=1\nfilename=" + missing + "\n"));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "Open LUT");
  EXPECT_EQ(host.messages[0].icon, MsgIcon::Information);
  EXPECT_EQ(host.messages[0].text,
            "\rError reading LUT file" + missing + "\r\rIntensity Calibration is disabled");
  EXPECT_EQ(ZCal().Enabled, 0);
  EXPECT_EQ(ZCal().FileName, missing);
  EXPECT_EQ(ZCal().Count, 0);

  // Off: the same failure passes in silence, and it stays off.
  ReadCalibration(Profile::Parse("[ZCALIBRATION]\nenabled=0\nfilename=" + missing + "\n"));
  EXPECT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(ZCal().Enabled, 0);

  // A file that is no table is a failed load as well.
  std::ofstream(Path("bad.lut")) << "not a sheet";
  host.Answer(MsgResult::OK);
  ReadCalibration(Profile::Parse("[ZCALIBRATION]\nenabled=1\nfilename=" + Path("bad.lut") + "\n"));
  EXPECT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(ZCal().Enabled, 0);
}

// The reading rules of the rows are the table reader's; here the name, the
// file and a failed read that leaves the table in hand.
TEST_F(CalibrationSettingsTest, LutNameFromTheLabelAndAFailedReadKeepsTheTable) {
  IntensityTable t;
  t.Enabled = 1;
  ASSERT_EQ(LoadCalibrationTable(WriteLut("a.lut", "photons   ", {10, 0, 35}), t), 0);
  EXPECT_EQ(t.Enabled, 1);
  EXPECT_EQ(t.Name, "photons");
  EXPECT_EQ(t.Count, 3);
  EXPECT_EQ(t.FileName, Path("a.lut"));
  std::ofstream(Path("bad.lut")) << "no sheet";
  EXPECT_EQ(LoadCalibrationTable(Path("bad.lut"), t), 11001);
  EXPECT_EQ(t.Values, (std::vector<float>{10, 0, 35}));
  EXPECT_EQ(t.FileName, Path("a.lut"));
}

TEST_F(CalibrationSettingsTest, HostileRowCountReadsNothingAndKeepsTheTable) {
  const std::string path = WriteLut("big.lut", "x", {1, 2, 3});
  std::string bytes;
  {
    std::ifstream in(path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), {});
  }
  // The row count sits after the mark, a reserved byte and 1024 bytes of text.
  const size_t at = 11 + 1 + 1024;
  ASSERT_GT(bytes.size(), at + 4);
  for (uint32_t rows : {0x7FFFFFFFu, 0x80000000u, 4u}) {
    for (int i = 0; i < 4; ++i) bytes[at + size_t(i)] = char((rows >> (8 * i)) & 0xFF);
    std::ofstream(path, std::ios::binary) << bytes;
    IntensityTable t;
    MakeLinearTable(t, 8);
    EXPECT_EQ(LoadCalibrationTable(path, t), 11007) << rows;
    EXPECT_EQ(t.Count, 256);
    EXPECT_EQ(t.Values.size(), 256u);
    EXPECT_EQ(t.Name, "linear");
  }
}

TEST_F(CalibrationSettingsTest, InstallPlugsInSettingsExitAndWindowHooks) {
  InstallCalibration();
  InstallCalibration();
  int sections = 0;
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Calibration) ++sections;
  EXPECT_EQ(sections, 1);
  Form_Camera image;
  image.CreateImage(2, 2, 8, nullptr);
  const AnalysisHooks& h = Hooks();
  ASSERT_TRUE(h.CalibrationOn && h.CalIntensity && h.CalibrationUnit);
  MakeLinearTable(ZCal(), 8);
  EXPECT_FALSE(h.CalibrationOn(image));
  ZCal().Enabled = 1;
  for (float& v : ZCal().Values) v *= 2;
  ZCal().Name = "e/s";
  EXPECT_TRUE(h.CalibrationOn(image));
  EXPECT_FLOAT_EQ(h.CalIntensity(image, 10.5f), 21.0f);
  EXPECT_EQ(h.CalibrationUnit(image), "e/s");
  ASSERT_TRUE(ExitSteps().calibrationStore);
  ExitSteps().calibrationStore();
  EXPECT_FALSE(h.CalibrationOn(image));
}

}  // namespace
}  // namespace sv
