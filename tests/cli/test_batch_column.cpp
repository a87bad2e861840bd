// svbatch column: each operation on a sheet file, refusals that write
// nothing, and bad command lines.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "analysis/form_zcalibration.h"
#include "batch_fixture.h"
#include "core/mdi_main.h"
#include "image/calibration.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {
namespace {

class BatchColumnTest : public BatchFixture {
 protected:
  void TearDown() override {
    ZCal() = IntensityTable();
    BatchFixture::TearDown();
  }
  std::string Path(const std::string& name) const { return root + "/" + name; }
  // X 1..n in A, Y from the list in B (NAN a gap), saved as in.sht.
  std::string Sheet(const std::vector<float>& y) {
    Form_Worksheet s;
    s.Cols(3);
    s.Rows(long(y.size()) + 1);
    for (size_t i = 0; i < y.size(); ++i) {
      s.TextMatrix(long(i) + 1, 1, Cell(float(i + 1)));
      s.TextMatrix(long(i) + 1, 2, std::isnan(y[i]) ? Cell() : Cell(y[i]));
    }
    EXPECT_EQ(s.SaveWorksheet(Path("in.sht"), true), 0);
    return Path("in.sht");
  }
  // Column c of a sheet file as numbers (NAN for no number).
  std::vector<float> Read(const std::string& file, long c) {
    MDIForm_Main main;
    RegisterPlotDocuments(main);
    Form_Worksheet sheet;
    EXPECT_EQ(sheet.OpenWorksheet(file), 0);
    std::vector<float> v;
    for (long r = 1; r < sheet.Rows(); ++r) {
      double d;
      v.push_back(sheet.NumberAt(r, c, d) ? float(d) : NAN);
    }
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    return v;
  }
  test::ScriptedHost host;
};

TEST_F(BatchColumnTest, FunctionsDerivativeAndIntegral) {
  const std::string in = Sheet({100, 1, NAN, 10});
  ASSERT_EQ(Run({"column", in, "--op", "fkt", "--col", "2", "--index", "2", "--out",
                 Path("log.sht")}),
            0)
      << err.str();
  EXPECT_EQ(out.str(), Path("log.sht") + ": 4 rows, 2 columns\n");
  const auto log = Read(Path("log.sht"), 2);
  EXPECT_NEAR(log[0], 4.60517f, 1e-5);
  EXPECT_EQ(log[1], 0.0f);
  EXPECT_TRUE(std::isnan(log[2]));

  ASSERT_EQ(Run({"column", in, "--op", "differentiate", "--col", "B", "--out", Path("d.sht")}), 0)
      << err.str();
  const auto slope = Read(Path("d.sht"), 3);
  EXPECT_FLOAT_EQ(slope[0], -99.0f);
  EXPECT_FLOAT_EQ(slope[1], (-99.0f + 4.5f) / 2);
  EXPECT_TRUE(std::isnan(slope[2]));

  ASSERT_EQ(Run({"column", in, "--op", "integrate", "--col", "2", "--out", Path("i.sht")}), 0);
  EXPECT_FLOAT_EQ(Read(Path("i.sht"), 3)[3], 50.5f + 11.0f);
}

TEST_F(BatchColumnTest, CalibratedIntensityThroughATableFile) {
  IntensityTable t;
  t.Name = "double";
  t.Count = 256;
  for (int i = 0; i < 256; ++i) t.Values.push_back(2.0f * float(i));
  Form_Worksheet lut;
  FillTableSheet(lut, t);
  ASSERT_EQ(lut.SaveWorksheet(Path("double.lut"), true), 0);
  const std::string in = Sheet({3, 10.5f});
  ASSERT_EQ(Run({"column", in, "--op", "fkt", "--col", "2", "--index", "11", "--lut",
                 Path("double.lut"), "--out", Path("c.sht")}),
            0)
      << err.str();
  const auto v = Read(Path("c.sht"), 2);
  EXPECT_FLOAT_EQ(v[0], 6.0f);
  EXPECT_FLOAT_EQ(v[1], 21.0f);
  EXPECT_EQ(Run({"column", in, "--op", "fkt", "--index", "11", "--lut", Path("gone.lut"),
                 "--out", Path("x.sht")}),
            1);
  EXPECT_FALSE(std::filesystem::exists(Path("x.sht")));
}

TEST_F(BatchColumnTest, SmoothSortAndSimpleMath) {
  const std::string in = Sheet({0, 8, 0, 8});
  ASSERT_EQ(Run({"column", in, "--op", "smooth", "--degree", "1", "--new", "--cols", "2:2",
                 "--out", Path("s.sht")}),
            0)
      << err.str();
  EXPECT_EQ(Read(Path("s.sht"), 3), (std::vector<float>{0, 4, 4, 8}));

  ASSERT_EQ(Run({"column", in, "--op", "sort", "--col", "2", "--descending", "--rows", "2:4",
                 "--out", Path("o.sht")}),
            0)
      << err.str();
  EXPECT_EQ(Read(Path("o.sht"), 2), (std::vector<float>{0, 8, 8, 0}));
  EXPECT_EQ(Read(Path("o.sht"), 1), (std::vector<float>{1, 2, 4, 3}));
  ASSERT_EQ(Run({"column", in, "--op", "sort", "--col", "2", "--key-only", "--out",
                 Path("k.sht")}),
            0);
  EXPECT_EQ(Read(Path("k.sht"), 1), (std::vector<float>{1, 2, 3, 4}));

  ASSERT_EQ(Run({"column", in, "--op", "simple", "--y", "Sum", "--y1", "A", "--y2", "B",
                 "--operator", "+", "--out", Path("m.sht")}),
            0)
      << err.str();
  EXPECT_EQ(Read(Path("m.sht"), 3), (std::vector<float>{1, 10, 3, 12}));
}

TEST_F(BatchColumnTest, TransformSheetWithItsPlot) {
  std::vector<float> y;
  for (int i = 0; i < 32; ++i) y.push_back(std::cos(float(i) * 3.14159265f / 4));
  const std::string in = Sheet(y);
  ASSERT_EQ(Run({"column", in, "--op", "fft", "--col", "2", "--out", Path("f.sht")}), 0)
      << err.str();
  EXPECT_EQ(out.str(), Path("f.sht") + ": 17 rows, 5 columns, 1 plot\n");
  ASSERT_EQ(Run({"sheet-info", Path("f.sht")}), 0);
  EXPECT_NE(out.str().find("column 4: C2 [Y] Ampl"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("plot 1: Real FFT"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("Frequency (Hz)"), std::string::npos);
  EXPECT_NE(out.str().find("curve 1: x 1, y 4"), std::string::npos);
}

TEST_F(BatchColumnTest, RefusalsWriteNothing) {
  Form_Worksheet s;
  s.Cols(3);
  s.Rows(3);
  s.TextMatrix(1, 1, Cell("text"));
  ASSERT_EQ(s.SaveWorksheet(Path("p.sht"), true), 0);
  // No numbers to transform.
  EXPECT_EQ(Run({"column", Path("p.sht"), "--op", "fft", "--col", "2", "--out", Path("x.sht")}),
            1);
  EXPECT_NE(err.str().find("fft had nothing to work on"), std::string::npos);
  EXPECT_EQ(Run({"column", Path("p.sht"), "--op", "simple", "--y", "B", "--y1", "Nope", "--y2",
                 "B", "--operator", "*", "--out", Path("x.sht")}),
            1);
  EXPECT_EQ(Run({"column", Path("p.sht"), "--op", "fkt", "--index", "1", "--col", "Z", "--out",
                 Path("x.sht")}),
            1);
  EXPECT_EQ(Run({"column", Path("gone.sht"), "--op", "fft", "--out", Path("x.sht")}), 1);
  EXPECT_FALSE(std::filesystem::exists(Path("x.sht")));
}

TEST_F(BatchColumnTest, BadCommandLines) {
  const std::string in = Sheet({1, 2});
  const std::vector<std::vector<std::string>> bad = {
      {"column", in, "--op", "smooth", "--degree", "101", "--out", "o.sht"},
      {"column", in, "--op", "smooth", "--out", "o.sht"},
      {"column", in, "--op", "fkt", "--out", "o.sht"},
      {"column", in, "--op", "nope", "--out", "o.sht"},
      {"column", in, "--op", "sort"},
      {"column", "--op", "sort", "--out", "o.sht"},
      {"column", in, "--op", "sort", "--rows", "3:1", "--out", "o.sht"},
      {"column", in, "--op", "simple", "--y", "C", "--y1", "A", "--y2", "B", "--operator", "%",
       "--out", "o.sht"},
      {"column", in, "--op", "fft", "--bogus", "--out", "o.sht"},
  };
  for (const auto& args : bad) EXPECT_EQ(Run(args), 2) << args[3];
}

}  // namespace
}  // namespace sv::cli
