#include <filesystem>
#include <fstream>
#include <sstream>

#include "batch_fixture.h"

namespace sv::cli {
namespace {

class BatchAugerTest : public BatchFixture {
 protected:
  std::string Path(const std::string& name) const { return root + "/" + name; }
  void Write(const std::string& name, const std::string& text) {
    std::ofstream(Path(name), std::ios::binary) << text;
  }
  // One rising sweep 100 .. 104 eV in 1 eV steps, 2 iterations, 2 ms a point.
  std::string Ramp(const std::string& version = "1", int sweeps = 1) {
    std::string t = "[SV4200 Auger Ramp File]\r\nVersion=" + version +
                    "\r\n\r\n[General]\r\nIterations=2\r\nSweepCount=" + std::to_string(sweeps) +
                    "\r\nDelay=0\r\nProfile=0\r\n\r\n";
    for (int i = 1; i <= sweeps; ++i)
      t += "[Sweep(" + std::to_string(i) +
           ")]\r\nFrom=100\r\nTo=104\r\nStep=1\r\nIntTime(Fast)=0.002\r\nIntTime(Normal)=0.1\r\n"
           "IntTime(Exact)=1\r\n\r\n";
    return t + "[EOF]\r\n";
  }
  // The sheet's rows as "x y" lines, read back through sheet-export.
  std::string Rows(const std::string& sheet) {
    out.str("");
    EXPECT_EQ(Run({"sheet-export", Path(sheet), Path("rows.txt")}), 0) << err.str();
    std::ifstream in(Path("rows.txt"));
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
};

TEST_F(BatchAugerTest, RunsTheRampOnTheSimulatedSpectrum) {
  Write("r.rmp", Ramp());
  Write("spec.txt", "99,0\n100,1\n101,2\n102,4\n103,8\n104,16\n105,0\n");
  ASSERT_EQ(Run({"auger", Path("r.rmp"), "--out", Path("a.sht"), "--spectrum", Path("spec.txt")}), 0)
      << err.str();
  EXPECT_NE(out.str().find("5 Records saved to " + Path("a.sht")), std::string::npos) << out.str();
  EXPECT_NE(out.str().find(" s\n"), std::string::npos);
  const std::string rows = Rows("a.sht");
  // Step answers: the first tabulated energy above each point.
  out.str("");
  ASSERT_EQ(Run({"sheet-info", Path("a.sht")}), 0);
  EXPECT_NE(out.str().find("energy (eV)"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("AES (V/eV)"), std::string::npos) << out.str();
  EXPECT_NE(rows.find("102\t8\r\n103\t16\r\n104\t0"), std::string::npos) << rows;

  // The derivative: the first row empty, then slopes between neighbours of
  // the interpolated spectrum.
  ASSERT_EQ(Run({"auger", Path("r.rmp"), "--out", Path("d.sht"), "--spectrum", Path("spec.txt"),
                 "--derivative"}),
            0)
      << err.str();
  EXPECT_NE(out.str().find("4 Records saved to "), std::string::npos) << out.str();
  EXPECT_NE(Rows("d.sht").find("103.5\t8"), std::string::npos) << Rows("d.sht");
}

TEST_F(BatchAugerTest, RefusedRampsAndBadCommandLines) {
  Write("v2.rmp", Ramp("2"));
  Write("empty.rmp", Ramp("1", 0));
  Write("spec.txt", "100,1\n");
  EXPECT_EQ(Run({"auger", Path("v2.rmp"), "--out", Path("a.sht")}), 1);
  EXPECT_NE(err.str().find("Invalid File Format"), std::string::npos);
  EXPECT_EQ(Run({"auger", Path("empty.rmp"), "--out", Path("a.sht")}), 1);
  EXPECT_EQ(Run({"auger", Path("missing.rmp"), "--out", Path("a.sht")}), 1);
  Write("r.rmp", Ramp());
  EXPECT_EQ(Run({"auger", Path("r.rmp"), "--out", Path("a.sht"), "--spectrum", Path("none.txt")}), 1);
  EXPECT_FALSE(std::filesystem::exists(Path("a.sht")));
  EXPECT_EQ(Run({"auger", Path("r.rmp")}), 2);
  EXPECT_EQ(Run({"auger", Path("r.rmp"), "--out", Path("a.sht"), "--profile", "slow"}), 2);
  EXPECT_EQ(Run({"auger", "--out", Path("a.sht")}), 2);
}

TEST_F(BatchAugerTest, ConfiguredInterfaces) {
  Write("r.rmp", Ramp());
  Write("spec.txt", "99,0\n100,1\n101,2\n102,4\n103,8\n104,16\n105,0\n");
  Write("empty.ini", "");
  const auto configure = [this](const std::string& da, const std::string& ad) {
    std::filesystem::create_directories(root + "/config/sv4200");
    Write("config/sv4200/user-sv4200.ini",
          "[HARDWARE]\r\nA/D-Converter=" + ad + "\r\nD/A-Converter=" + da + "\r\n");
  };
  configure("DummyDA", "AD_Simulator");
  ASSERT_EQ(Run({"auger", Path("r.rmp"), "--out", Path("c.sht"), "--spectrum", Path("spec.txt"),
                 "--configured", "--ini", Path("empty.ini")}),
            0)
      << err.str();
  EXPECT_NE(out.str().find("5 Records saved to "), std::string::npos) << out.str();
  EXPECT_NE(Rows("c.sht").find("103\t16\r\n"), std::string::npos);

  // A missing interface is named; --ini belongs to --configured.
  configure("DummyDA", "");
  err.str("");
  EXPECT_EQ(Run({"auger", Path("r.rmp"), "--out", Path("c.sht"), "--configured", "--ini", Path("empty.ini")}),
            1);
  EXPECT_NE(err.str().find("no A/D-Converter is configured"), std::string::npos) << err.str();
  EXPECT_EQ(Run({"auger", Path("r.rmp"), "--out", Path("c.sht"), "--ini", Path("empty.ini")}), 2);
}

}  // namespace
}  // namespace sv::cli
