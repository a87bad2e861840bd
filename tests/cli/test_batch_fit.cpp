#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "batch_fixture.h"

namespace sv::cli {
namespace {

class BatchFitTest : public BatchFixture {
 protected:
  std::string Path(const std::string& name) const { return root + "/" + name; }
  // A sheet "s.sht": X 0 .. 199 named "pos", Y "counts" with a slope, a high
  // Gaussian at 70, a lower one at 130, and a text cell in row 5.
  void MakeSheet() {
    std::ofstream f(Path("in.txt"));
    f << "pos\tcounts\n";
    for (int i = 0; i < 200; ++i) {
      const double x = i;
      auto g = [&](double xc, double h, double w) {
        const double r = 2 * (x - xc) / w;
        return h * std::exp(-r * r);
      };
      if (i == 4) f << x << "\tn/a\n";
      else f << x << "\t" << 20 + 0.05 * x + g(70, 800, 10) + g(130, 400, 14) << "\n";
    }
    f.close();
    ASSERT_EQ(Run({"sheet-import", Path("in.txt"), Path("s.sht"), "--header-lines", "1"}), 0)
        << err.str();
  }
  std::vector<std::string> OutLines() const {
    std::vector<std::string> lines;
    std::istringstream in(out.str());
    for (std::string l; std::getline(in, l);) lines.push_back(l);
    return lines;
  }
};

TEST_F(BatchFitTest, FitsByNameSavesAndNeverWritesTheIni) {
  MakeSheet();
  ASSERT_EQ(Run({"fit", Path("s.sht"), "--y", "B", "--model", "gauss", "--width", "auto", "--out",
                 Path("o.sht")}),
            0)
      << err.str();
  const auto lines = OutLines();
  ASSERT_GT(lines.size(), 12u);
  EXPECT_EQ(lines[1], "Y = Y0 + m * X + G(1Xc, 1H, 1W) + G(2Xc, 2H, 2W)");
  EXPECT_EQ(lines[2].rfind("Fit converged", 0), 0u) << out.str();
  EXPECT_EQ(lines[6].rfind("1Xc\t", 0), 0u);
  EXPECT_FALSE(std::filesystem::exists(root + "/config/sv4200/PEAKFIT.INI"));

  ASSERT_EQ(Run({"sheet-info", Path("o.sht")}), 0) << err.str();
  const std::string info = out.str();
  // The file keeps the fit column's label.
  EXPECT_NE(info.find("column 3: C1 [Y] B.fit\n"), std::string::npos) << info;
  EXPECT_NE(info.find("plot 1: Peak Fit"), std::string::npos) << info;
  EXPECT_NE(info.find("curve 2: x 1, y 3"), std::string::npos) << info;

  // A second fit of the saved sheet reuses its fit column.
  ASSERT_EQ(Run({"fit", Path("o.sht"), "--y", "2", "--out", Path("o2.sht")}), 0) << err.str();
  ASSERT_EQ(Run({"sheet-info", Path("o2.sht")}), 0) << err.str();
  EXPECT_NE(out.str().find("columns: 3\n"), std::string::npos) << out.str();
}

TEST_F(BatchFitTest, PeaksRowsAndWidthOptions) {
  MakeSheet();
  // Only the highest peak, a fixed start width, and rows around it.
  ASSERT_EQ(Run({"fit", Path("s.sht"), "--y", "2", "--x", "1", "--rows", "30:110", "--peaks", "1",
                 "--model", "lorentz", "--width", "6"}),
            0)
      << err.str();
  const auto lines = OutLines();
  ASSERT_GT(lines.size(), 8u);
  EXPECT_EQ(lines[1], "Y = Y0 + m * X + L(1Xc, 1H, 1W)");
  EXPECT_EQ(lines[8].rfind("1W\t6.000 ", 0), 0u) << out.str();

  // Two peaks found, one kept: the higher.
  ASSERT_EQ(Run({"fit", Path("s.sht"), "--y", "2", "--peaks", "1", "--model", "gauss"}), 0);
  const auto kept = OutLines();
  ASSERT_GT(kept.size(), 6u);
  EXPECT_EQ(kept[6].rfind("1Xc\t70.000 ", 0), 0u) << out.str();
}

TEST_F(BatchFitTest, ExitCodes) {
  MakeSheet();
  EXPECT_EQ(Run({"fit", Path("s.sht")}), 2);
  EXPECT_EQ(Run({"fit", "--y", "2"}), 2);
  EXPECT_EQ(Run({"fit", Path("s.sht"), "--y", "2", "--model", "voigt"}), 2);
  EXPECT_EQ(Run({"fit", Path("s.sht"), "--y", "2", "--peaks", "21"}), 2);
  EXPECT_EQ(Run({"fit", Path("s.sht"), "--y", "2", "--width", "-3"}), 2);
  EXPECT_EQ(Run({"fit", Path("s.sht"), "--y", "2", "--rows", "9:3"}), 2);
  EXPECT_EQ(Run({"fit", Path("s.sht"), "--y", "2", "--bogus"}), 2);
  EXPECT_EQ(Run({"fit", Path("missing.sht"), "--y", "2"}), 1);
  EXPECT_EQ(Run({"fit", Path("s.sht"), "--y", "9"}), 1);
  EXPECT_NE(err.str().find("no column 9"), std::string::npos);
  EXPECT_EQ(Run({"fit", Path("s.sht"), "--y", "nope"}), 1);
  // A row range without numbers still reports: there is no data.
  EXPECT_EQ(Run({"fit", Path("s.sht"), "--y", "2", "--rows", "5:5"}), 0) << err.str();
  EXPECT_NE(out.str().find("\nFit unsuccessful, there is no data to fit\n"), std::string::npos)
      << out.str();
}

}  // namespace
}  // namespace sv::cli
