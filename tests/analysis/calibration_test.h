// Tests of the calibrations: each starts and ends with the length and the
// intensity calibration cleared, under a scripted host.
#pragma once

#include <gtest/gtest.h>

#include "image/calibration.h"
#include "support/scripted_host.h"

namespace sv::test {

class CalibrationTest : public ::testing::Test {
 protected:
  void SetUp() override { ClearCalibrations(); }
  void TearDown() override { ClearCalibrations(); }
  static void ClearCalibrations() {
    LengthCal() = LengthCalibration();
    ZCal() = IntensityTable();
  }

  ScriptedHost host;
};

}  // namespace sv::test
