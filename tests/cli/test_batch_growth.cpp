#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>

#include "batch_fixture.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class BatchGrowthTest : public BatchFixture {
 protected:
  std::string Path(const std::string& name) const { return root + "/" + name; }
  // "s.sht": "time" 0 .. 29.9 s in steps of 0.1, column B oscillating with a
  // period of 2.5 s about 500.
  void MakeSheet() {
    std::ofstream f(Path("in.txt"));
    f << "time\tspot\n";
    for (int i = 0; i < 300; ++i) {
      const double t = 0.1 * i;
      f << t << "\t" << 500 + 40 * std::cos(2 * std::numbers::pi * t / 2.5) << "\n";
    }
    f.close();
    ASSERT_EQ(Run({"sheet-import", Path("in.txt"), Path("s.sht"), "--header-lines", "1"}), 0)
        << err.str();
  }
  void MakeMaterials() {
    fs::create_directories(root + "/config/sv4200");
    std::ofstream(root + "/config/sv4200/Material.dtb", std::ios::binary)
        << "[General]\r\nID=MaterialDatabase\r\nMaterialCount=1\r\nMaterialIndex=0\r\n\r\n"
           "[Material(1)]\r\nName=Si(111)\r\nThickness=3.135\r\n\r\n{EOF]\r\n";
  }
  std::string Value(const std::string& key) const {
    std::istringstream in(out.str());
    for (std::string l; std::getline(in, l);)
      if (l.rfind(key + " = ", 0) == 0) return l.substr(key.size() + 3);
    return "";
  }
};

TEST_F(BatchGrowthTest, MinMaxWithMaterialSavesSheetNeverWritesList) {
  MakeSheet();
  MakeMaterials();
  const auto before = fs::last_write_time(root + "/config/sv4200/Material.dtb");
  ASSERT_EQ(Run({"growth", Path("s.sht"), "--col", "B", "--material", "si(111)", "--fit",
                 "--out", Path("o.sht")}),
            0)
      << err.str();
  EXPECT_EQ(Value("rate").substr(0, 5), "0.400") << out.str();
  EXPECT_EQ(Value("tau").substr(0, 5), "2.500") << out.str();
  EXPECT_EQ(Value("material"), "Si(111)");
  EXPECT_EQ(Value("growth").substr(0, 5), "1.254") << out.str();
  EXPECT_EQ(fs::last_write_time(root + "/config/sv4200/Material.dtb"), before);
  ASSERT_EQ(Run({"sheet-info", Path("o.sht")}), 0) << err.str();
  EXPECT_NE(out.str().find("min/max"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("Min/Max Analysis"), std::string::npos) << out.str();
}

TEST_F(BatchGrowthTest, FftRangeAndThickness) {
  MakeSheet();
  // 20 s = 8 periods from t1 = 5: 201 samples padded to 256, step 0.1 s.
  ASSERT_EQ(Run({"growth", Path("s.sht"), "--col", "2", "--t1", "5", "--t2", "25", "--fft",
                 "--thickness", "2"}),
            0)
      << err.str();
  EXPECT_NEAR(std::stod(Value("rate")), 0.4, 1 / 25.6) << out.str();
  EXPECT_EQ(Value("material"), "");
  EXPECT_NE(Value("growth"), "");
}

TEST_F(BatchGrowthTest, RefusalsAndExitCodes) {
  MakeSheet();
  MakeMaterials();
  struct Case {
    std::vector<std::string> args;
    int code;
    const char* message;
  } cases[] = {
      {{"growth", Path("s.sht")}, 2, "needs --col"},
      {{"growth", Path("s.sht"), "--col", "B", "--delta", "0"}, 2, "--delta"},
      {{"growth", Path("s.sht"), "--col", "B", "--material", "Si(111)", "--thickness", "1"},
       2, "exclude"},
      {{"growth", Path("s.sht"), "--col", "B", "--material", "GaN"}, 1, "no material GaN"},
      {{"growth", Path("s.sht"), "--col", "nothing"}, 1, "no column"},
      {{"growth", Path("s.sht"), "--col", "B", "--delta", "1000"}, 1, "Amplidute"},
      {{"growth", Path("none.sht"), "--col", "B"}, 1, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args.back());
    EXPECT_EQ(Run(c.args), c.code);
    EXPECT_NE(err.str().find(c.message), std::string::npos) << err.str();
  }
}

}  // namespace
}  // namespace sv::cli
