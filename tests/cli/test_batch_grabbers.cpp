// svbatch grabbers, and the grabber's keys in svbatch settings.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>

#include "acquisition/capture_devices.h"
#include "acquisition/grabber.h"
#include "cli/batch.h"
#include "core/globals.h"
#include "core/settings.h"
#include "support/scripted_host.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class Devices : public CaptureDevices {
 public:
  std::map<int, std::string> names;
  std::string Description(int index) override {
    auto it = names.find(index);
    return it == names.end() ? "" : it->second;
  }
  bool CanOpen(int) override { return false; }
};

class GrabbersCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string base = fs::temp_directory_path().string() + "/sv4200-test-grabbersXXXXXX";
    std::vector<char> buf(base.begin(), base.end());
    buf.push_back('\0');
    ASSERT_NE(mkdtemp(buf.data()), nullptr);
    root = buf.data();
    for (const char* name : {"HOME", "XDG_CONFIG_HOME"}) {
      const char* v = std::getenv(name);
      saved_[name] = v ? std::optional<std::string>(v) : std::nullopt;
    }
    setenv("HOME", (root + "/home").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (root + "/config").c_str(), 1);
    fs::create_directories(root + "/home");
    SetCaptureDevices(&devices);
  }
  void TearDown() override {
    SetCaptureDevices(nullptr);
    for (auto& [name, value] : saved_) {
      if (value) setenv(name.c_str(), value->c_str(), 1);
      else unsetenv(name.c_str());
    }
    ClearSettingsSections();
    ResetGrabberGlobals();
    ResetGlobals();
    std::error_code ec;
    fs::remove_all(root, ec);
  }
  int Run(std::vector<std::string> args) {
    out.str("");
    err.str("");
    return RunBatch(args, out, err);
  }
  std::string root;
  Devices devices;
  std::ostringstream out, err;

 private:
  std::map<std::string, std::optional<std::string>> saved_;
};

TEST_F(GrabbersCommand, ListsTheTableAndTheDevicesFound) {
  ASSERT_EQ(Run({"grabbers"}), 0) << err.str();
  const std::string text = out.str();
  EXPECT_EQ(text.rfind("driver  stem             display name                 available\n", 0), 0u)
      << text;
  EXPECT_NE(text.find("0       -                (none)                       yes\n"),
            std::string::npos) << text;
  EXPECT_NE(text.find("1       V1sw2000         Video 1000 S/W               no\n"),
            std::string::npos) << text;
  EXPECT_NE(text.find("2       SenNTcam         PCO SensiCam 370xL/375xL     no\n"),
            std::string::npos);
  EXPECT_NE(text.find("6       CamUsb_API_vb6   UK1000 USB2.0 Cameras        no\n"),
            std::string::npos);
  EXPECT_NE(text.find("10      DummyGrb         Dummy Grabber                yes\n"),
            std::string::npos);
  EXPECT_NE(text.find("no capture devices found\n"), std::string::npos);

  devices.names = {{0, "Integrated Camera"}, {4, "USB Video"}};
  ASSERT_EQ(Run({"grabbers"}), 0);
  EXPECT_NE(out.str().find("11      Integrated Camera Integrated Camera            yes\n"),
            std::string::npos) << out.str();
  EXPECT_NE(out.str().find("15      USB Video        USB Video                    yes\n"),
            std::string::npos);
  EXPECT_EQ(out.str().find("no capture devices"), std::string::npos);

  EXPECT_EQ(Run({"grabbers", "--all"}), 2);
  EXPECT_NE(err.str().find("grabbers takes no options"), std::string::npos);
  EXPECT_EQ(Run({"help"}), 0);
  EXPECT_NE(out.str().find("  grabbers "), std::string::npos);
}

TEST_F(GrabbersCommand, SettingsShowTheGrabbersKeys) {
  const std::string ini = root + "/SV4200_anna.ini";
  test::WriteFile(ini, "[Camera Image]\r\nWidth=768\r\n[Overlay Window]\r\nUseOverlay=1\r\n");
  ASSERT_EQ(Run({"settings", "--ini", ini, "--user", "anna"}), 0) << err.str();
  const std::string text = out.str();
  EXPECT_NE(text.find("Camera Image/Width=768\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Camera Image/Left=0\n"), std::string::npos);
  EXPECT_NE(text.find("Overlay Window/UseOverlay=-1\n"), std::string::npos);
  EXPECT_NE(text.find("Grabber/NoiseReduction=0\n"), std::string::npos);
}

}  // namespace
}  // namespace sv::cli
