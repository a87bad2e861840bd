// The two calibration dialogs and the tools that open them.
#include <gtest/gtest.h>

#include "analysis/calibration_settings.h"
#include "analysis/form_calibration_length.h"
#include "analysis/form_line_setup.h"
#include "analysis/scan_lines.h"
#include "analysis/form_window_setup.h"
#include "analysis/form_zcalibration.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "calibration_test.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

class CalibrationFormsTest : public test::CalibrationTest {
 protected:
  void TearDown() override {
    CalibrationTest::TearDown();
    CalibrationDialogHooks() = CalibrationDialogs();
    ZCalibrationForm().SetView(nullptr);
    ZCalibrationForm().Table = IntensityTable();
    SetMainForm(nullptr);
  }
  static Form_CalibrationLength& length() { return CalibrationLengthForm(); }
  static Form_ZCalibration& z() { return ZCalibrationForm(); }
  // Fills the length dialog and presses OK.
  bool Ok(bool on, const std::string& pixels, const std::string& user, const std::string& unit,
          const std::string& ratio) {
    length().Check_LCalibration = on;
    length().Text_VGAPixel = pixels;
    length().Text_UserLength = user;
    length().Text_Unit = unit;
    length().Text_ratio = ratio;
    return length().Command_OK();
  }
};

TEST_F(CalibrationFormsTest, LengthDialogShowsAndTakesTheFactor) {
  LengthCal() = {2.0f, 1, 0.5f, "nm"};
  length().Load();
  EXPECT_TRUE(length().Check_LCalibration);
  EXPECT_EQ(length().Text_VGAPixel, "100");
  EXPECT_EQ(length().Text_UserLength, "50");
  EXPECT_EQ(length().Text_Unit, "nm");
  EXPECT_EQ(length().Text_ratio, "2");

  EXPECT_TRUE(Ok(true, "40", "10", "um", "1,5"));
  EXPECT_EQ(LengthCal().Enabled, 1);
  EXPECT_FLOAT_EQ(LengthCal().CalFactor, 0.25f);
  EXPECT_EQ(LengthCal().CalUnit, "um");
  EXPECT_FLOAT_EQ(LengthCal().PixelRatio, 1.5f);
  EXPECT_EQ(host.beeps, 0);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(CalibrationFormsTest, LengthDialogUnitRules) {
  // Length 10 over 10 pixels: factor 1, a beep, and the unit is "Pixel".
  EXPECT_TRUE(Ok(true, "10", "10", "mm", "1"));
  EXPECT_FLOAT_EQ(LengthCal().CalFactor, 1.0f);
  EXPECT_EQ(LengthCal().CalUnit, "Pixel");
  EXPECT_EQ(length().Text_Unit, "Pixel");
  EXPECT_EQ(host.beeps, 1);
  // A scaled pixel is no pixel.
  EXPECT_TRUE(Ok(true, "10", "20", "pixel", "1"));
  EXPECT_EQ(LengthCal().CalUnit, "User");
  EXPECT_EQ(host.beeps, 2);
}

TEST_F(CalibrationFormsTest, LengthDialogRefusesWhatItCannotTake) {
  const auto expectInvalid = [&](size_t count) {
    ASSERT_EQ(host.messages.size(), count);
    EXPECT_EQ(host.messages.back().text, "Invalid Parameters");
    EXPECT_EQ(host.messages.back().title, "Calibraton");
    EXPECT_EQ(host.messages.back().icon, MsgIcon::Critical);
  };
  for (int i = 0; i < 6; ++i) host.Answer(MsgResult::OK);
  EXPECT_FALSE(Ok(true, "0", "10", "nm", "1"));
  expectInvalid(1);
  // The check box is taken before the fields are looked at.
  EXPECT_EQ(LengthCal().Enabled, 1);
  EXPECT_FLOAT_EQ(LengthCal().CalFactor, 1.0f);
  EXPECT_FALSE(Ok(false, "10", "-1", "nm", "1"));
  expectInvalid(2);
  EXPECT_EQ(LengthCal().Enabled, 0);
  EXPECT_FALSE(Ok(true, "abc", "10", "nm", "1"));
  expectInvalid(3);
  EXPECT_FALSE(Ok(true, "1e-300", "1e300", "nm", "1"));  // beyond a single
  expectInvalid(4);
  // A bad ratio comes last: factor and unit are in already.
  EXPECT_FALSE(Ok(true, "10", "5", "nm", "0"));
  expectInvalid(5);
  EXPECT_FLOAT_EQ(LengthCal().CalFactor, 0.5f);
  EXPECT_EQ(LengthCal().CalUnit, "nm");
  EXPECT_FLOAT_EQ(LengthCal().PixelRatio, 1.0f);
  EXPECT_FALSE(Ok(true, "10", "5", "nm", "-2"));
  expectInvalid(6);
}

TEST_F(CalibrationFormsTest, NewTableAsksForTheDepth) {
  z().Load();
  host.AnswerInput("12");
  z().Command_New();
  ASSERT_EQ(host.inputPrompts.size(), 1u);
  EXPECT_EQ(host.inputPrompts[0], "Dynamic range of new LUT?\r(8, 9, 10, ... or 16 Bit) ");
  EXPECT_EQ(z().Table.Count, 4096);
  EXPECT_EQ(z().Table.Name, "linear");
  EXPECT_FLOAT_EQ(z().Table.Values[4095], 4095.0f);
  // Anything but 8 to 16 is ignored, and so is a cancel.
  for (const char* answer : {"7", "17", "12.5", "x", ""}) {
    host.AnswerInput(std::string(answer));
    z().Command_New();
    EXPECT_EQ(z().Table.Count, 4096) << answer;
  }
  host.AnswerInput(std::nullopt);
  z().Command_New();
  EXPECT_EQ(z().Table.Count, 4096);
  // Only OK puts it in force.
  EXPECT_EQ(ZCal().Count, 0);
  z().Check_Enabled = true;
  z().Command_OK();
  EXPECT_EQ(ZCal().Count, 4096);
  EXPECT_EQ(ZCal().Enabled, 1);
}

TEST_F(CalibrationFormsTest, OpenKeepsTheCopyWhenTheFileIsBad) {
  MakeLinearTable(ZCal(), 8);
  ZCal().Enabled = 1;
  z().Load();
  EXPECT_TRUE(z().Check_Enabled);
  host.AnswerFile(host.root + "/none.lut");
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(z().Command_Open());
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  EXPECT_EQ(host.fileDialogs[0].title, "Open LUT");
  EXPECT_EQ(host.fileDialogs[0].filter, "Calibration Files (*.lut)|*.lut|All Files (*.*)|*.*||");
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "Open LUT");
  EXPECT_EQ(z().Table.Count, 256);
  EXPECT_EQ(z().Table.Name, "linear");

  // A good one replaces the copy, and the table in force waits for OK.
  IntensityTable t;
  t.Name = "dose";
  t.Count = 2;
  t.Values = {5, 7};
  Form_Worksheet sheet;
  FillTableSheet(sheet, t);
  ASSERT_EQ(sheet.SaveWorksheet(host.root + "/dose.lut", true), 0);
  host.AnswerFile(host.root + "/dose.lut");
  EXPECT_TRUE(z().Command_Open());
  EXPECT_EQ(z().Table.Values, (std::vector<float>{5, 7}));
  EXPECT_EQ(z().Label_Name(), "dose");
  EXPECT_EQ(z().Label_Count(), "2");
  EXPECT_EQ(ZCal().Count, 256);
  z().Command_OK();
  EXPECT_EQ(ZCal().FileName, host.root + "/dose.lut");
  EXPECT_EQ(ZCal().Enabled, 1);
}

TEST_F(CalibrationFormsTest, TableSheetHasCountRowsAndSavesAsLut) {
  MDIForm_Main main;
  SetMainForm(&main);
  RegisterWorksheetDocuments(main);
  z().Load();
  EXPECT_EQ(z().Command_SHT(), nullptr);  // an empty table makes no sheet
  host.AnswerInput("12");
  z().Command_New();
  Form_Worksheet* sheet = z().Command_SHT();
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ(sheet->Rows() - 1, 4096);
  EXPECT_EQ(sheet->Cols(), 3);
  EXPECT_FLOAT_EQ(float(sheet->TextMatrix(4096, 2).Number()), 4095.0f);
  EXPECT_EQ(sheet->Filename(), "linear.lut");
  host.AnswerFile(host.root + "/made");
  ASSERT_TRUE(sheet->FileSaveAs());
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  EXPECT_EQ(host.fileDialogs[0].filter, "Worksheet Files (*.lut)|*.lut|All Files (*.*)|*.*||");
  IntensityTable back;
  ASSERT_EQ(LoadCalibrationTable(host.root + "/made.lut", back), 0);
  EXPECT_EQ(back.Count, 4096);
  EXPECT_EQ(back.Name, "linear");
  main.UnloadSheets();
}

TEST_F(CalibrationFormsTest, ToolsOpenTheirDialogs) {
  int lengthShown = 0, intensityShown = 0;
  CalibrationDialogHooks().length = [&] {
    ++lengthShown;
    CalibrationLengthForm().Check_LCalibration = true;
    CalibrationLengthForm().Text_UserLength = "50";  // of 100 pixels
    CalibrationLengthForm().Text_Unit = "nm";
    CalibrationLengthForm().Text_ratio = "2";
    CalibrationLengthForm().Command_OK();
  };
  CalibrationDialogHooks().intensity = [&] { ++intensityShown; };
  Form_LineSetup& line = LineSetupForm();
  line.Tab = 0;
  ScanLine& l = LG().ScanLines[0];
  l.X1 = 10, l.Y1 = 20, l.X2 = 13, l.Y2 = 16;  // 3 across, 4 up
  line.Command_Calibration();
  EXPECT_EQ(lengthShown, 1);
  EXPECT_EQ(line.Label_Length, "Length = 4.3 nm");  // sqrt(9 + 64) / 2
  EXPECT_EQ(line.Label_Angle, "Angle = 53.1\xC2\xB0");
  l.X2 = 7;
  l.Y2 = 24;
  CalibrationDialogHooks().length = nullptr;
  line.Command_Calibration();
  EXPECT_EQ(line.Label_Angle, "Angle = 233.1\xC2\xB0");
  ResetLineGlobals();
  WindowSetupForm().Command_Calibration();
  EXPECT_EQ(intensityShown, 1);
}

}  // namespace
}  // namespace sv
