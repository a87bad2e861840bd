#include <gtest/gtest.h>

#include "batch_fixture.h"
#include "support/scripted_host.h"

namespace sv::cli {
namespace {

class BatchExperimentTest : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    ini = root + "/exp.ini";
    test::WriteFile(ini,
                    "[HARDWARE]\r\nA/D-Converter=DummyAD\r\nI/O-Converter=DummyIO\r\n"
                    "[Window1]\r\nX1=10\r\nY1=10\r\nW=20\r\nH=20\r\nSelect=1\r\nPlot=5\r\n"
                    "Averaging=2\r\n"
                    "[Window3]\r\nX1=50\r\nY1=10\r\nW=20\r\nH=20\r\nSelect=1\r\nMode=3\r\n");
    swp = root + "/e.swp";
    test::WriteFile(swp, "20\r\n30,40.5\r\n");
  }
  // The value of "Key=" in the output, or "?" when it is not there.
  std::string Value(const std::string& key) const {
    const std::string text = "\n" + out.str();
    const size_t at = text.find("\n" + key + "=");
    if (at == std::string::npos) return "?";
    const size_t from = at + key.size() + 2;
    return text.substr(from, text.find('\n', from) - from);
  }
  std::string ini, swp;
};

TEST_F(BatchExperimentTest, InfoPrintsTheDefinitionSweepAndColumns) {
  ASSERT_EQ(Run({"swp-info", swp, "--ini", ini}), 0) << err.str();
  EXPECT_EQ(out.str().rfind("Caption=I(E)-Experiment\nExperimentType=1\nSweepFile=" + swp +
                                "\nUserSweep=1\nTime=0\ntStart=0\n",
                            0),
            0u)
      << out.str();
  EXPECT_EQ(Value("SelectedWindows"), "0,2");
  EXPECT_EQ(Value("SelectedWindowCount"), "2");
  EXPECT_EQ(Value("MaxAveraging"), "2");
  EXPECT_EQ(Value("ExperimentActive"), "130");
  EXPECT_EQ(Value("Sweep[2]"), "40.5");
  EXPECT_EQ(Value("Column[1]"), "energy (eV)");
  EXPECT_EQ(Value("Column[3]"), "I.max-I.back_1");
  EXPECT_EQ(Value("Column[6]"), "I.max_3");
  EXPECT_EQ(Value("Column[9]"), "?");
  // The keys come in the definition's order.
  const std::string s = out.str();
  EXPECT_LT(s.find("DwellTime="), s.find("AutoSave="));
  EXPECT_LT(s.find("SelectedChannelCount="), s.find("TriggerMode="));
  EXPECT_LT(s.find("ShutterWindow="), s.find("ExperimentActive="));
  EXPECT_LT(s.find("StopCode="), s.find("Sweep[0]="));
}

TEST_F(BatchExperimentTest, TimeSetupRefusesTheFollowWindowAndAnOutOfRangeFile) {
  test::WriteFile(swp, "0\n90000\n");
  EXPECT_EQ(Run({"swp-check", swp, "--type", "it", "--ini", ini}), 1);
  const std::string s = out.str();
  EXPECT_EQ(Value("Caption"), "I(t)-Experiment");
  EXPECT_EQ(Value("UserSweep"), "0");
  EXPECT_EQ(Value("SweepFile"), "");
  EXPECT_EQ(Value("Sweep[0]"), "?");  // the caller clears the list
  EXPECT_NE(s.find("\nOpen Sweep File: Time[1] = 90000 s is out of range\n"), std::string::npos)
      << s;
  EXPECT_NE(s.find("\nI(t) Experiment: Cannot analyse Window #3 in Follow Mode, Repeat Mode or "
                   "Target Mode during an I(t) experiment. Window is disabled.\n"),
            std::string::npos)
      << s;
  EXPECT_EQ(s.substr(s.size() - 11), "start: yes\n");  // window 1 goes on
}

TEST_F(BatchExperimentTest, CheckSaysWhetherARunCouldStart) {
  ASSERT_EQ(Run({"swp-check", swp, "--ini", ini}), 0) << out.str();
  EXPECT_EQ(out.str().substr(out.str().size() - 11), "start: yes\n");

  const std::string empty = root + "/none.ini";
  test::WriteFile(empty, "[HARDWARE]\r\nA/D-Converter=DummyAD\r\n");
  EXPECT_EQ(Run({"swp-check", swp, "--ini", empty}), 1);
  EXPECT_NE(out.str().find("\nI(E)-Experiment: Nothing to scan for.\nstart: no\n"),
            std::string::npos)
      << out.str();
}

TEST_F(BatchExperimentTest, BadCommandLines) {
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"swp-info"},
           {"swp-info", swp, "--type", "xy"},
           {"swp-info", swp, "--ini"},
           {"swp-check", swp, swp},
           {"swp-check", swp, "--fast"},
       }) {
    EXPECT_EQ(Run(args), 2) << args.back();
    EXPECT_FALSE(err.str().empty());
  }
  EXPECT_EQ(Run({"swp-info", swp, "--ini", root + "/missing.ini"}), 1);
  EXPECT_EQ(Run({"swp-info", root + "/missing.swp", "--ini", ini}), 1);
  EXPECT_NE(out.str().find("\nUserSweep=0\n"), std::string::npos);
  EXPECT_NE(Run({"help"}), 2);
  EXPECT_NE(out.str().find("swp-check FILE.swp"), std::string::npos);
}

}  // namespace
}  // namespace sv::cli
