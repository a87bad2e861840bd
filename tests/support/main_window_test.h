// A test on a headless main window under a scripted host: the globals are
// reset, the window is the main form with its image documents, and the main
// form is cleared again after each test.
#pragma once

#include <gtest/gtest.h>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "support/scripted_host.h"

namespace sv::test {

class MainWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    SetMainForm(&main);
    RegisterImageDocuments(main);
  }
  void TearDown() override { SetMainForm(nullptr); }

  ScriptedHost host;
  MDIForm_Main main;
};

}  // namespace sv::test
