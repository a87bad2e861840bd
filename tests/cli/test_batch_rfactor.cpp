#include <cmath>
#include <fstream>
#include <sstream>

#include "batch_fixture.h"

namespace sv::cli {
namespace {

class BatchRFactorTest : public BatchFixture {
 protected:
  std::string Path(const std::string& name) const { return root + "/" + name; }
  // Energy 50 .. 169 eV (the X column) and two beams, named B and C1 (no labels); `lower` moves every feature down by
  // that many eV. Beam "I.b" is left out when `withB` is false.
  void MakeSheet(const std::string& name, double lower, bool withB) {
    std::ofstream f(Path(name + ".txt"));
    f << "Energy\tI.a" << (withB ? "\tI.b" : "") << "\n";
    for (int i = 0; i < 120; ++i) {
      const double e = 50 + i, x = e + lower;
      const double a = 1 + std::exp(-(x - 90) * (x - 90) / 40) + 0.5 * std::exp(-(x - 130) * (x - 130) / 60);
      const double b = 2 + std::exp(-(x - 110) * (x - 110) / 30);
      f << e << "\t" << a;
      if (withB) f << "\t" << b;
      f << "\n";
    }
    f.close();
    ASSERT_EQ(Run({"sheet-import", Path(name + ".txt"), Path(name + ".sht"), "--header-lines", "1"}), 0)
        << err.str();
  }
};

TEST_F(BatchRFactorTest, PairsOfOneSheet) {
  MakeSheet("a", 0, true);
  ASSERT_EQ(Run({"rfactor", Path("a.sht"), "--factor", "r2", "--smooth", "2"}), 0) << err.str();
  const std::string text = out.str();
  EXPECT_EQ(text.rfind("R\xC2\xB2 Factor\nThreshold = 1%\nSmooth = 2x\n\nB & C1:\tR2 = 0.", 0), 0u) << text;
  ASSERT_EQ(Run({"rfactor", Path("a.sht"), "--cols", "B,2", "--v0i", "5"}), 0) << err.str();
  EXPECT_EQ(out.str(),
            "R.Pendry Factor\nVoi = 5eV\nThreshold = 1%\nSmooth = (none)\n\nB & B:\tR.Pendry = 0.000\n");
}

TEST_F(BatchRFactorTest, TwoSheetsWithACommonShift) {
  MakeSheet("exp", 0, true);
  MakeSheet("th", -3, false);  // theory features 3 eV higher; no beam C1
  ASSERT_EQ(Run({"rfactor", Path("exp.sht"), Path("th.sht"), "--shift-range", "-5:5:0.5"}), 0)
      << err.str();
  EXPECT_EQ(out.str(),
            "R.Pendry Factor\nVoi = 4eV\nThreshold = 1%\nSmooth = (none)\n\n"
            "B & B:\tR.Pendry = 0.000\tshift = -3.00 eV\n"
            "C1: no match\n"
            "overall:\tR.Pendry = 0.000\tshift = -3.00 eV\n");
  // Without a range the beams are compared as they stand.
  ASSERT_EQ(Run({"rfactor", Path("exp.sht"), Path("th.sht")}), 0) << err.str();
  EXPECT_EQ(out.str().find("shift"), std::string::npos);
  EXPECT_EQ(out.str().find("R.Pendry = 0.000"), std::string::npos) << out.str();
}

TEST_F(BatchRFactorTest, ExitCodes) {
  MakeSheet("a", 0, true);
  EXPECT_EQ(Run({"rfactor"}), 2);
  EXPECT_EQ(Run({"rfactor", Path("a.sht"), "--factor", "zanazzi"}), 2);
  EXPECT_EQ(Run({"rfactor", Path("a.sht"), "--smooth", "100"}), 2);
  EXPECT_EQ(Run({"rfactor", Path("a.sht"), "--v0i", "0"}), 2);
  EXPECT_EQ(Run({"rfactor", Path("a.sht"), Path("a.sht"), "--shift-range", "3:1:1"}), 2);
  EXPECT_EQ(Run({"rfactor", Path("a.sht"), "--shift-range", "0:1:1"}), 2);  // needs two sheets
  EXPECT_EQ(Run({"rfactor", Path("a.sht"), "--bogus"}), 2);
  EXPECT_EQ(Run({"rfactor", Path("missing.sht")}), 1);
  EXPECT_EQ(Run({"rfactor", Path("a.sht"), "--cols", "9"}), 1);
  EXPECT_NE(err.str().find("no column 9"), std::string::npos);
  // One column: the head only, and nothing done.
  EXPECT_EQ(Run({"rfactor", Path("a.sht"), "--cols", "2"}), 1);
}

}  // namespace
}  // namespace sv::cli
