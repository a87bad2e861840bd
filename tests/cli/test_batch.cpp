#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>
#include <tuple>

#include "cli/batch.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "image/kernel/sv_kernel.h"
#include "support/scripted_host.h"
#include "batch_fixture.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

using BatchTest = BatchFixture;

TEST_F(BatchTest, HelpAndBadCommandLines) {
  EXPECT_EQ(Run({}), 0);
  EXPECT_NE(out.str().find("usage: svbatch"), std::string::npos);
  EXPECT_EQ(Run({"help"}), 0);
  EXPECT_EQ(out.str(), Usage());
  for (const char* cmd : {"  grab --out FILE", "  grabbers ", "sheet-info", "sheet-export", "sheet-import",
                          "sheet-convert"})
    EXPECT_NE(out.str().find(cmd), std::string::npos) << cmd;
  EXPECT_EQ(Run({"frobnicate"}), 2);
  EXPECT_TRUE(out.str().empty());
  EXPECT_NE(err.str().find("unknown command frobnicate"), std::string::npos);
  EXPECT_NE(err.str().find("usage: svbatch"), std::string::npos);
  EXPECT_EQ(Run({"settings", "--ini"}), 2);
  EXPECT_EQ(Run({"settings", "--bogus"}), 2);
  EXPECT_EQ(Run({"version", "extra"}), 2);
}

TEST_F(BatchTest, Version) {
  ASSERT_EQ(Run({"version"}), 0);
  KernelVersion k = SV_version();
  std::string kernel = "kernel " + std::to_string(k.major) + "." + std::to_string(k.minor) + "." +
                       std::to_string(k.patch) + "\n";
  EXPECT_TRUE(std::regex_match(out.str(), std::regex(R"(SV4200 \d+\.\d+\.\d+\n)" + kernel)))
      << out.str();
}

TEST_F(BatchTest, SettingsAsStartUpReadsThem) {
  const std::string ini = root + "/SV4200_anna.ini";
  test::WriteFile(ini, "[LUT]\r\nRainbowLUT=9\r\n[Trigger]\r\nSource=1\r\n");
  fs::create_directories(root + "/config/sv4200");
  test::WriteFile(root + "/config/sv4200/user-sv4200.ini", "[HARDWARE]\r\nGrabber=PIXELFLY\r\n");

  ASSERT_EQ(Run({"settings", "--ini", ini, "--user", "anna"}), 0) << err.str();
  const std::string text = out.str();
  EXPECT_NE(text.find("LUT/RainbowLUT=6\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Trigger/Source=1\n"), std::string::npos);
  EXPECT_NE(text.find("HARDWARE/Grabber=PIXELFLY\n"), std::string::npos);
  EXPECT_NE(text.find("Pathes/Images=" + root + "/home/SV4200_anna/Images/\n"), std::string::npos);
  EXPECT_TRUE(fs::is_directory(root + "/home/SV4200_anna/Images"));
  EXPECT_EQ(text.rfind("Main/state=2\n", 0), 0u);
  EXPECT_TRUE(err.str().empty()) << err.str();  // no status lines without --verbose
  EXPECT_FALSE(HasHost());                      // the batch host was only lent

  // The slave instance has its own hardware store.
  ASSERT_EQ(Run({"settings", "--ini", ini, "--user", "anna", "--slave", "--verbose"}), 0);
  EXPECT_NE(out.str().find("HARDWARE/Grabber=\n"), std::string::npos);
  EXPECT_NE(err.str().find("Reading " + ini + "..."), std::string::npos);
}

TEST_F(BatchTest, ABareIniNameIsLookedForInTheConfigFolder) {
  fs::create_directories(root + "/config/sv4200");
  test::WriteFile(root + "/config/sv4200/SV4200.ini", "[Options]\nShowExitDialog=0\n");
  ASSERT_EQ(Run({"settings", "--ini", "SV4200.ini", "--user", ""}), 0);
  EXPECT_NE(out.str().find("Options/ShowExitDialog=0\n"), std::string::npos);
  EXPECT_NE(out.str().find("/home/SV4200_AllUsers/Images/"), std::string::npos);
}

TEST(BatchHost, AnswersWithTheDefaultButton) {
  std::ostringstream err;
  BatchHost h(err);
  EXPECT_EQ(h.MsgBox("Saved.", MsgButtons::OK, MsgIcon::None, "Save"), MsgResult::OK);
  EXPECT_EQ(h.MsgBox("Sure?", MsgButtons::OKCancel, MsgIcon::None, "Exit"), MsgResult::OK);
  EXPECT_EQ(h.MsgBox("Replace?", MsgButtons::YesNoCancel, MsgIcon::None, "Save"), MsgResult::Yes);
  EXPECT_EQ(h.MsgBox("Go?", MsgButtons::YesNo, MsgIcon::None, "Run"), MsgResult::Yes);
  EXPECT_EQ(h.MsgBox("Disk", MsgButtons::AbortRetryIgnore, MsgIcon::None, "IO"), MsgResult::Abort);
  EXPECT_EQ(h.MsgBox("Again", MsgButtons::RetryCancel, MsgIcon::None, "IO"), MsgResult::Retry);
  EXPECT_EQ(err.str().substr(0, 13), "Save: Saved.\n");
  EXPECT_EQ(h.InputBox("Rows:", "Add Rows", "10"), std::optional<std::string>("10"));
  FileDialog dlg;
  dlg.filterIndex = 3;
  auto r = h.OpenFileDialog(dlg);
  EXPECT_EQ(std::tuple(r.path, r.filterIndex), std::tuple("", 3));
  EXPECT_EQ(h.SaveFileDialog(dlg).path, "");
  h.ShowStatus("quiet", -1);
  EXPECT_EQ(err.str().find("quiet"), std::string::npos);

  std::ostringstream verboseErr;
  BatchHost v(verboseErr, true);
  v.ShowStatus("Loading", 40);
  v.ShowStatus("", -1);
  EXPECT_EQ(verboseErr.str(), "Loading (40%)\n");
}

TEST(BatchHost, InterruptRequestsAStop) {
  ClearStopRequest();
  InstallStopHandler();
  EXPECT_FALSE(StopRequested());
  std::raise(SIGINT);
  EXPECT_TRUE(StopRequested());
  ClearStopRequest();
  EXPECT_FALSE(StopRequested());
}

}  // namespace
}  // namespace sv::cli
