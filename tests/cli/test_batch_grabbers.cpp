// svbatch grabbers, and the grabber's keys in svbatch settings.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>

#include "acquisition/capture_devices.h"
#include "acquisition/grabber.h"
#include "batch_fixture.h"
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

class GrabbersCommand : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    SetCaptureDevices(&devices);
  }
  void TearDown() override {
    SetCaptureDevices(nullptr);
    ResetGrabberGlobals();
    BatchFixture::TearDown();
  }
  Devices devices;
};

TEST_F(GrabbersCommand, ListsTheTableAndTheDevicesFound) {
  ASSERT_EQ(Run({"grabbers"}), 0) << err.str();
  const std::string text = out.str();
  EXPECT_EQ(text.rfind("driver  stem             display name                 available\n", 0), 0u)
      << text;
  for (const char* row : {"0       -                (none)                       yes\n",
                          "1       V1sw2000         Video 1000 S/W               no\n",
                          "2       SenNTcam         PCO SensiCam 370xL/375xL     no\n",
                          "6       CamUsb_API_vb6   UK1000 USB2.0 Cameras        no\n",
                          "10      DummyGrb         Dummy Grabber                yes\n",
                          "no capture devices found\n"})
    EXPECT_NE(text.find(row), std::string::npos) << row << text;

  devices.names = {{0, "Integrated Camera"}, {4, "USB Video"}};
  ASSERT_EQ(Run({"grabbers"}), 0);
  EXPECT_NE(out.str().find("11      Integrated Camera Integrated Camera            yes\n"),
            std::string::npos) << out.str();
  EXPECT_NE(out.str().find("15      USB Video        USB Video                    yes\n"),
            std::string::npos);
  EXPECT_EQ(out.str().find("no capture devices"), std::string::npos);

  EXPECT_EQ(Run({"grabbers", "--all"}), 2);
  EXPECT_NE(err.str().find("grabbers takes no options"), std::string::npos);
}

TEST_F(GrabbersCommand, SettingsShowTheGrabbersKeys) {
  const std::string ini = root + "/SV4200_anna.ini";
  test::WriteFile(ini, "[Camera Image]\r\nWidth=768\r\n[Overlay Window]\r\nUseOverlay=1\r\n");
  ASSERT_EQ(Run({"settings", "--ini", ini, "--user", "anna"}), 0) << err.str();
  for (const char* line : {"Camera Image/Width=768\n", "Camera Image/Left=0\n",
                           "Overlay Window/UseOverlay=-1\n", "Grabber/NoiseReduction=0\n"})
    EXPECT_NE(out.str().find(line), std::string::npos) << line << out.str();
}

}  // namespace
}  // namespace sv::cli
