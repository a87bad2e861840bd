// What every grabber test starts from: a scripted host, a main window of
// this process, fresh globals, and capture devices that exist only here.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "acquisition/capture_devices.h"
#include "acquisition/grabber.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "support/scripted_host.h"

namespace sv::test {

// Devices that are listed by name and never open.
class FakeCaptureDevices : public CaptureDevices {
 public:
  std::map<int, std::string> names;
  std::string Description(int index) override {
    auto it = names.find(index);
    return it == names.end() ? "" : it->second;
  }
  bool CanOpen(int) override { return false; }
};

class GrabberTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetGrabberGlobals();
    ClearSettingsSections();
    Environment() = StartupEnvironment();
    SetMainForm(&main);
    SetCaptureDevices(&devices);
  }
  void TearDown() override {
    SetCaptureDevices(nullptr);
    SetMainForm(nullptr);
    Environment() = StartupEnvironment();
    ClearSettingsSections();
    ResetGrabberGlobals();
    ResetGlobals();
  }
  ScriptedHost host;
  MDIForm_Main main;
  FakeCaptureDevices devices;
};

}  // namespace sv::test
