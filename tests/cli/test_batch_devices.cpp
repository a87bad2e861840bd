// svbatch devices, ad-read and da-set on the dummies.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>

#include "batch_fixture.h"
#include "hardware/hardware.h"
#include "support/scripted_host.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class BatchDevicesTest : public BatchFixture {
 protected:
  // The hardware names in the per-user store, the sections in an ini file.
  void Configure(const std::string& hardware, const std::string& ini) {
    fs::create_directories(root + "/config/sv4200");
    test::WriteFile(root + "/config/sv4200/user-sv4200.ini", "[HARDWARE]\r\n" + hardware);
    iniPath = root + "/SV4200_test.ini";
    test::WriteFile(iniPath, ini);
  }
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    std::istringstream in(out.str());
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
  std::string iniPath;
};

TEST_F(BatchDevicesTest, DevicesListsTheTablesAndTheSelection) {
  Configure("A/D-Converter=dummyad\r\nD/A-Converter=Ax5621DA\r\nI/O-Converter=NoSuchCard\r\n", "");
  ASSERT_EQ(Run({"devices", "--ini", iniPath}), 0) << err.str();
  const std::vector<std::string> lines = Lines();
  auto has = [&](const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  };
  EXPECT_EQ(lines.front(), "A/D");
  EXPECT_EQ(lines[1], "0\t\t(none)");
  EXPECT_TRUE(has("9\tDummyAD\tDummy A/D\tselected, ready"));
  EXPECT_TRUE(has("2\tAx5621DA\tAx5621\tselected, not ready"));
  EXPECT_TRUE(has("-\tNoSuchCard\t(not in the table)\tselected, not ready"));
  EXPECT_TRUE(has("16\tModbusTCP\tModbus TCP"));
  EXPECT_TRUE(has("20\tLink\tApplication link"));
  EXPECT_TRUE(has("19\tADVANTECH PCI-1716\tADVANTECH PCI-1716 (0)"));
  EXPECT_TRUE(has("D/A"));
  EXPECT_TRUE(has("I/O"));
  EXPECT_EQ(lines.size(), 3u + 19u + 17u + 14u + 1u);
  EXPECT_EQ(Run({"devices", "--interface", "DummyAD"}), 2);
}

TEST_F(BatchDevicesTest, AdReadGivesEveryChannelOrOne) {
  Configure("A/D-Converter=DummyAD\r\n",
            "[ADC: DummyAD]\r\nGain=2\r\nOffset=100\r\n[ADC: CH2]\r\nChannelName=Sample\r\n");
  ASSERT_EQ(Run({"ad-read", "--ini", iniPath}), 0) << err.str();
  const std::regex line(R"((\d)\t(\S+)\t(-?\d+\.\d{6}))");
  std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 8u) << out.str();
  for (size_t i = 0; i < lines.size(); ++i) {
    std::smatch m;
    ASSERT_TRUE(std::regex_match(lines[i], m, line)) << lines[i];
    EXPECT_EQ(m[1].str(), std::to_string(i + 1));
    EXPECT_EQ(m[2].str(), i == 1 ? "Sample" : "AD_" + std::to_string(i + 1));
    EXPECT_LE(std::abs(std::stod(m[3].str())), 10.0);
  }
  // One channel, averaged, calibrated: 100 + 2 * (-10 .. 10).
  ASSERT_EQ(Run({"ad-read", "--ini", iniPath, "--channel", "2", "--samples", "4", "--calibrated"}), 0)
      << err.str();
  lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  std::smatch m;
  ASSERT_TRUE(std::regex_match(lines[0], m, line));
  EXPECT_NEAR(std::stod(m[3].str()), 100.0, 20.0 + 1e-3);
  EXPECT_GE(std::stod(m[3].str()), 80.0 - 1e-3);
  // Another interface by name, any case.
  ASSERT_EQ(Run({"ad-read", "--ini", iniPath, "--interface", "DUMMYAD", "--channel", "8"}), 0);
  EXPECT_EQ(Lines().size(), 1u);
}

TEST_F(BatchDevicesTest, AdReadFailures) {
  Configure("", "");
  EXPECT_EQ(Run({"ad-read", "--ini", iniPath}), 1);
  EXPECT_NE(err.str().find("no A/D interface is selected"), std::string::npos);
  EXPECT_EQ(Run({"ad-read", "--ini", iniPath, "--interface", "P1000.ocx"}), 1);
  EXPECT_NE(err.str().find("svbatch: Cannot initialize A/D-Interface\nA/D-Converter:P1000.ocx\n"),
            std::string::npos)
      << err.str();
  EXPECT_NE(err.str().find("support library p1000.ocx"), std::string::npos);
  EXPECT_TRUE(out.str().empty());
  EXPECT_EQ(Run({"ad-read", "--ini", iniPath, "--interface", "DummyAD", "--channel", "9"}), 1);
  EXPECT_NE(err.str().find("has 8 channels"), std::string::npos);
  for (std::vector<std::string> bad : {std::vector<std::string>{"ad-read", "--channel", "0"},
                                       {"ad-read", "--samples", "x"},
                                       {"ad-read", "--bogus"},
                                       {"ad-read", "--interface"}})
    EXPECT_EQ(Run(bad), 2) << bad.back();
}

TEST_F(BatchDevicesTest, DaSetGoesThroughTheCalibrationLines) {
  Configure("D/A-Converter=DummyDA\r\n",
            "[DAC: DummyDA]\r\nChannelLEED=1\r\nOffsetLEED=0\r\nGainLEED=0.01\r\n"
            "ChannelAUGER=0\r\nOffsetAUGER=0.5\r\nGainAUGER=0.002\r\n");
  ASSERT_EQ(Run({"da-set", "--ini", iniPath, "--energy", "100"}), 0) << err.str();
  EXPECT_EQ(out.str(), "100.0 eV\nchannel 1: 1.000000 V\n");
  EXPECT_TRUE(err.str().empty()) << err.str();
  ASSERT_EQ(Run({"da-set", "--ini", iniPath, "--auger", "--energy", "1000"}), 0);
  EXPECT_EQ(out.str(), "1000.0 eV\nchannel 0: 2.500000 V\n");
  ASSERT_EQ(Run({"da-set", "--ini", iniPath, "--volts", "-2,25"}), 0);
  EXPECT_EQ(out.str(), "-2.250 V\nchannel 1: -2.250000 V\n");
}

TEST_F(BatchDevicesTest, DaSetFailuresAndTheCheckMessage) {
  Configure("", "");
  // A section without calibration: the default line, and the message.
  ASSERT_EQ(Run({"da-set", "--ini", iniPath, "--interface", "dummyda", "--energy", "50"}), 0);
  EXPECT_EQ(out.str(), "50.0 eV\nchannel 0: 0.500000 V\n");
  EXPECT_NE(err.str().find("You should check the calibration of the D/A-Converter!"),
            std::string::npos);
  EXPECT_EQ(Run({"da-set", "--ini", iniPath, "--energy", "50"}), 1);
  EXPECT_NE(err.str().find("no D/A interface is selected"), std::string::npos);
  EXPECT_EQ(Run({"da-set", "--ini", iniPath, "--interface", "cbDA", "--volts", "1"}), 1);
  EXPECT_NE(err.str().find("Cannot initialize D/A-Interface\nD/A-Converter:cbDA"), std::string::npos);
  for (std::vector<std::string> bad :
       {std::vector<std::string>{"da-set"}, {"da-set", "--energy", "1", "--volts", "1"},
        {"da-set", "--energy", "abc"}, {"da-set", "--volts"}, {"da-set", "--bogus"}})
    EXPECT_EQ(Run(bad), 2) << bad.back();
}

TEST_F(BatchDevicesTest, TheHelpNamesTheCommands) {
  ASSERT_EQ(Run({"help"}), 0);
  for (const char* cmd : {"  devices [--ini FILE]", "  ad-read [--ini FILE]", "  da-set [--ini FILE]"})
    EXPECT_NE(out.str().find(cmd), std::string::npos) << cmd;
}

}  // namespace
}  // namespace sv::cli
