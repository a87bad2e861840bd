#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "analysis/form_zcalibration.h"
#include "batch_fixture.h"
#include "core/mdi_main.h"
#include "plot/plot_documents.h"
#include "worksheet/sheet_plot.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv::cli {
namespace {

class BatchCalibrateTest : public BatchFixture {
 protected:
  void TearDown() override {
    LengthCal() = LengthCalibration();
    ZCal() = IntensityTable();
    BatchFixture::TearDown();
  }
  // A table of n entries, Values[i] = scale * i, saved as a ".lut".
  std::string Lut(const std::string& name, long n, float scale, const std::string& label) {
    IntensityTable t;
    t.Name = label;
    t.Count = int32_t(n);
    for (long i = 0; i < n; ++i) t.Values.push_back(scale * float(i));
    Form_Worksheet sheet;
    FillTableSheet(sheet, t);
    const std::string path = root + "/" + name;
    EXPECT_EQ(sheet.SaveWorksheet(path, true), 0);
    return path;
  }
  bool Has(const std::string& text) const { return out.str().find(text) != std::string::npos; }
};

TEST_F(BatchCalibrateTest, PrintsBothCalibrationsAndTheLookups) {
  const std::string lut = Lut("double.lut", 256, 2.0f, "counts");
  const std::string ini = root + "/cal.ini";
  test::WriteFile(ini, "[CALIBRATION]\r\nPixel Ratio=-1\r\nenabled=1\r\nCal Factor=0.5\r\n"
                       "Cal Unit=nm\r\n[ZCALIBRATION]\r\nenabled=1\r\nfilename=" + lut + "\r\n");
  ASSERT_EQ(Run({"calibrate", "--ini", ini, "--bits", "12", "--value", "4095", "--value",
                 "3.5", "--value", "-2", "--vector", "3", "4", "--vector", "-1", "-1"}),
            0)
      << err.str();
  EXPECT_EQ(out.str(),
            "Length calibration: enabled 1, factor 0.5, unit nm, ratio 1\n"
            "Intensity calibration: enabled 1, file " + lut + ", name counts, count 256\n"
            "CalIntensity(4095) = 8190\n"
            "TableValue(4095) = 510\n"
            "CalIntensity(3.5) = 7\n"
            "TableValue(3.5) = 7\n"
            "CalIntensity(-2) = 0\n"
            "TableValue(-2) = 0\n"
            "CalLength(3, 4) = 2.5\n"
            "CalAngle(3, 4) = 53.1301079\n"  // the pi of 3.1415929794

            "CalLength(-1, -1) = 0.707106769\n"
            "CalAngle(-1, -1) = 225\n");
  EXPECT_EQ(err.str(), "");
}

TEST_F(BatchCalibrateTest, StartMessageAndALutOfItsOwn) {
  const std::string ini = root + "/cal.ini";
  test::WriteFile(ini, "[ZCALIBRATION]\r\nenabled=1\r\nfilename=" + root + "/gone.lut\r\n");
  ASSERT_EQ(Run({"calibrate", "--ini", ini, "--value", "10"}), 0);
  EXPECT_EQ(err.str(), "Open LUT: \rError reading LUT file" + root +
                           "/gone.lut\r\rIntensity Calibration is disabled\n");
  EXPECT_TRUE(Has("Intensity calibration: enabled 0, file " + root + "/gone.lut, name , count 0\n"));
  EXPECT_TRUE(Has("CalIntensity(10) = 10\nTableValue(10) = 0\n"));

  const std::string lut = Lut("lin.lut", 1024, 1.0f, "linear");
  ASSERT_EQ(Run({"calibrate", "--ini", ini, "--lut", lut, "--bits", "10", "--value", "512.25"}), 0);
  EXPECT_TRUE(Has("Intensity calibration: enabled 1, file " + lut + ", name linear, count 1024\n"));
  EXPECT_TRUE(Has("CalIntensity(512.25) = 512.25\n"));

  test::WriteFile(root + "/bad.lut", "no table");
  EXPECT_EQ(Run({"calibrate", "--lut", root + "/bad.lut"}), 1);
  EXPECT_EQ(err.str().rfind("Open LUT: " + root + "/bad.lut: Error: 11001", 0), 0u) << err.str();
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(Run({"calibrate", "--bits", "17"}), 2);
  EXPECT_EQ(Run({"calibrate", "--vector", "1"}), 2);
  EXPECT_EQ(Run({"calibrate", "--value", "x"}), 2);
}

TEST_F(BatchCalibrateTest, ScanReportShowsCalibratedLines) {
  Form_Camera picture(nullptr);
  std::vector<uint16_t> pixels(32 * 24, 100);
  pixels[12 * 32 + 15] = 3000;
  picture.CreateImage(32, 24, 16, pixels.data());
  const std::string image = root + "/spot.tif";
  ASSERT_TRUE(SaveTIF(picture, image, 6));
  const std::string par = root + "/spot.par";
  test::WriteFile(par, "[Window]\r\nScan=0\r\n[Window1]\r\nX1=5\r\nY1=4\r\nW=20\r\nH=16\r\n");
  ASSERT_EQ(Run({"scan", image, "--par", par}), 0) << err.str();
  EXPECT_FALSE(Has(" e/s"));
  const std::string lut = Lut("e.lut", 256, 2.0f, "e/s");
  ASSERT_EQ(Run({"scan", image, "--par", par, "--lut", lut}), 0) << err.str();
  EXPECT_TRUE(Has("I.back = 200.0 e/s\n")) << out.str();
  EXPECT_TRUE(Has("I.max = 6000.0 e/s\t(I.max-I.back = 5800.0 e/s)\n")) << out.str();
  EXPECT_EQ(Run({"scan", image, "--par", par, "--lut", root + "/none.lut"}), 1);
  EXPECT_NE(err.str().find("Open LUT: "), std::string::npos);
}

// The run's columns by the unit are the experiment's own to test; here the
// table reaches the run through the settings.
TEST_F(BatchCalibrateTest, RunCalibratesItsIntensitiesFromTheSettings) {
  const std::string lut = Lut("e.lut", 256, 2.0f, "e/s");
  const std::string ini = root + "/run.ini";
  const std::string swp = root + "/e.swp";
  test::WriteFile(swp, "20\r\n25\r\n");
  struct Unregister {
    ~Unregister() {
      SetPlotFactory(nullptr);
      SetAddPlotHandler(nullptr);
    }
  } unregister;
  std::vector<double> firstMax;
  for (int on = 0; on < 2; ++on) {
    test::WriteFile(ini, "[HARDWARE]\r\nGrabber=DummyGrb\r\nA/D-Converter=DummyAD\r\n"
                         "D/A-Converter=DummyDA\r\nI/O-Converter=DummyIO\r\n"
                         "[Pathes]\r\nSheets=" + root + "/\r\n"
                         "[Window1]\r\nX1=10\r\nY1=10\r\nW=20\r\nH=20\r\nSelect=1\r\nPlot=1\r\n"
                         "[ZCALIBRATION]\r\nenabled=" + std::to_string(on) + "\r\nfilename=" +
                         lut + "\r\n");
    const std::string sheetPath = root + "/cal" + std::to_string(on) + ".sht";
    ASSERT_EQ(Run({"run", swp, "--out", sheetPath, "--ini", ini, "--max-steps", "1"}), 0)
        << err.str();
    test::ScriptedHost host;
    MDIForm_Main main;
    RegisterPlotDocuments(main);  // the plots in the file read
    Form_Worksheet sheet;
    ASSERT_EQ(sheet.OpenWorksheet(sheetPath), 0);
    ASSERT_EQ(sheet.Cols(), 6);
    firstMax.push_back(sheet.CellAt(1, 3).Number());
  }
  // The dummy's picture is the same each time; the table doubles every level.
  EXPECT_GT(firstMax[0], 0.0);
  EXPECT_DOUBLE_EQ(firstMax[1], 2 * firstMax[0]);
}

}  // namespace
}  // namespace sv::cli
