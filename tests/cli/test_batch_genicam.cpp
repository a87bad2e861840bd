// svbatch grabbers and grab with the GenICam driver, on Aravis's in-process
// fake camera only.

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

#include "acquisition/genicam.h"
#include "acquisition/grabber.h"
#include "batch_fixture.h"
#include "cli/batch.h"
#include "image/form_camera.h"

namespace sv::cli {
namespace {

// Before any command of this program runs: nothing may look for cameras
// beyond the fake one.
const bool kFakeOnly = [] {
  setenv("SV_GENICAM_FAKE", "1", 1);
  SetGenICamFakeOnly(true);
  return true;
}();

class GenICamCommands : public BatchFixture {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kFakeOnly && GenICamFakeOnly());
    if (!GenICamSupported()) GTEST_SKIP() << "built without Aravis";
    BatchFixture::SetUp();
    previous_ = GrabWriter();
    GrabWriter() = [this](Form_Camera& image, const std::string& path, int) {
      written = path;
      shape = {image.ImageWidth(), image.ImageHeight(), image.ImageBitsPerPixel(),
               image.HasColors()};
      first = image.ImagePtr()[0];
      second = image.ImagePtr()[1];
      return true;
    };
  }
  void TearDown() override {
    GrabWriter() = previous_;
    ResetGrabberGlobals();
    GenICamConfig() = GenICamSettings();
    BatchFixture::TearDown();
  }
  std::string written;
  std::tuple<long, long, long, bool> shape;
  uint16_t first = 0, second = 0;

 private:
  std::function<bool(Form_Camera&, const std::string&, int)> previous_;
};

TEST_F(GenICamCommands, GrabbersListsTheDriverAndTheFakeCamera) {
  ASSERT_EQ(Run({"grabbers"}), 0) << err.str();
  for (const char* row : {"7       Aravis           GenICam Camera (Aravis)      yes\n",
                          "GenICam cameras (--driver Aravis --camera N or ID):\n",
                          "0       Fake_1           Aravis Fake (1)\n"})
    EXPECT_NE(out.str().find(row), std::string::npos) << row << out.str();
}

TEST_F(GenICamCommands, GrabTakesTheChosenCameraAndFormat) {
  const std::string file = root + "/fake.tif";
  ASSERT_EQ(Run({"grab", "--driver", "aravis", "--camera", "Fake_1", "--format", "Mono16",
                 "--frames", "3", "--out", file}),
            0)
      << err.str();
  EXPECT_EQ(written, file);
  EXPECT_EQ(shape, std::tuple(512L, 512L, 16L, false));
  EXPECT_EQ(second - first, 256) << "the fake's ramp, one step a pixel in the high byte";
  EXPECT_EQ(out.str(), file + ": 512 x 512, 16 bits, 3 frames, the last kept from GenICam "
                              "Camera (Aravis) (Aravis Fake (1))\n");
  EXPECT_EQ(err.str(), "svbatch: " + file +
                           ": saved through the display table as 8 bits; use .t16 or --filter 6 "
                           "to keep 16 bits\n");
  ASSERT_EQ(Run({"grab", "--driver", "aravis", "--format", "Mono16", "--out", root + "/fake.t16"}), 0)
      << err.str();
  EXPECT_EQ(err.str(), "");
  ASSERT_EQ(Run({"grab", "--driver", "aravis", "--format", "Mono8", "--out", file}), 0) << err.str();
  EXPECT_EQ(err.str(), "") << "8 bits lose nothing";

  written.clear();
  ASSERT_EQ(Run({"grab", "--driver", "Aravis", "--camera", "0", "--format", "RGB8"}), 0)
      << err.str();
  EXPECT_TRUE(written.empty()) << "no --out: nothing written";
  EXPECT_EQ(out.str().rfind("512 x 512, 8 bits, colour, 1 frame from GenICam Camera", 0), 0u)
      << out.str();
}

TEST_F(GenICamCommands, BadDriverMissingCameraAndBadFormatAreTold) {
  struct Case {
    std::vector<std::string> args;
    int code;
    const char* message;
  } cases[] = {
      {{"grab", "--driver", "Nope"}, 2, "svbatch: unknown driver Nope; svbatch grabbers lists them"},
      {{"grab", "--driver", "Aravis", "--format", "BayerRG8"}, 2, "svbatch: --format takes Mono8"},
      {{"grab", "--driver", "DummyGrb", "--format", "Mono8"}, 2, "svbatch: --format, --exposure, --gain, --rate and --region are for the Aravis driver"},
      {{"grab", "--driver", "Aravis", "--camera", "-1"}, 2, "svbatch: --camera takes"},
      {{"grab", "--driver", "Aravis", "--frames", "0"}, 2, "svbatch: --frames takes 1 to"},
      {{"grab", "--driver", "Aravis", "--camera", "3"}, 1,
       "svbatch: the grabber GenICam Camera (Aravis) did not come up: There is no GenICam camera 3.\n"},
      {{"grab", "--driver", "Aravis", "--camera", "Fake_9"}, 1,
       "svbatch: GenICam Camera (Aravis) has no camera Fake_9\n"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Run(c.args), c.code) << c.args.back();
    EXPECT_NE(err.str().find(c.message), std::string::npos) << err.str();
  }
  EXPECT_TRUE(written.empty());
}

TEST_F(GenICamCommands, WhatTheCameraDoesNotOfferIsRefusedAsTheSetupRefusesIt) {
  // The setup dialog's presenter on the same camera: its message for each
  // value is the one svbatch gives.
  Form_GenICamSetup setup;
  setup.Form_Load();
  ASSERT_TRUE(setup.HasBounds()) << setup.Label_Bounds;
  const Form_GenICamSetup loaded = setup;
  const long sensor = setup.Bounds().SensorWidth;
  const std::string nearEdge = std::to_string(sensor - 50), wide = std::to_string(sensor + 1);
  struct Case {
    std::vector<std::string> args;
    std::string Form_GenICamSetup::*field;
    std::string value;
    const char* message;
  } cases[] = {
      {{"--exposure", "1"}, &Form_GenICamSetup::Text_Exposure, "1",
       "The exposure time must be between"},
      {{"--gain", "99"}, &Form_GenICamSetup::Text_Gain, "99", "The gain must be between"},
      {{"--rate", "1e6"}, &Form_GenICamSetup::Text_FrameRate, "1e6", "The frame rate must be between"},
      {{"--region", "0,0," + wide + ",16"}, &Form_GenICamSetup::Text_Width, wide,
       "The region's width must be between"},
      {{"--region", nearEdge + ",0,100,16"}, &Form_GenICamSetup::Text_X, nearEdge,
       "The region must lie inside the sensor of "},
  };
  for (const Case& c : cases) {
    setup = loaded;
    if (c.field == &Form_GenICamSetup::Text_Width) setup.Text_X = "0";
    if (c.field == &Form_GenICamSetup::Text_X) setup.Text_Width = "100";
    setup.*c.field = c.value;
    GenICamSettings ignored;
    std::string message;
    ASSERT_FALSE(setup.Validate(ignored, message)) << c.value;
    EXPECT_EQ(message.rfind(c.message, 0), 0u) << message;

    std::vector<std::string> args = {"grab", "--driver", "Aravis", "--out", root + "/x.t16"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    EXPECT_EQ(Run(args), 1) << c.value;
    EXPECT_EQ(err.str(), "svbatch: Aravis Fake (1): " + message + "\n");
  }
  // A format the camera lacks: no quiet 8-bit frame instead.
  EXPECT_EQ(Run({"grab", "--driver", "Aravis", "--format", "Mono12", "--out", root + "/x.t16"}), 1);
  EXPECT_EQ(err.str(), "svbatch: Aravis Fake (1): This camera does not offer the pixel format "
                       "Mono12; it offers Mono8, Mono16, RGB8.\n");
  EXPECT_TRUE(written.empty());

  // What it offers is taken, all at once.
  ASSERT_EQ(Run({"grab", "--driver", "Aravis", "--format", "Mono16", "--exposure", "2500",
                 "--gain", "3", "--rate", "40", "--region", "8,4,24,12"}),
            0)
      << err.str();
  EXPECT_EQ(out.str().rfind("24 x 12, 16 bits, 1 frame", 0), 0u) << out.str();
  // A width of 0 runs to the sensor's edge.
  ASSERT_EQ(Run({"grab", "--driver", "Aravis", "--region", std::to_string(sensor - 12) + ",0,0,8"}),
            0)
      << err.str();
  EXPECT_EQ(out.str().rfind("12 x 8, 8 bits", 0), 0u) << out.str();
}

TEST_F(GenICamCommands, CameraValuesOnTheCommandLineAreCheckedForForm) {
  struct Case {
    std::vector<std::string> args;
    const char* message;
  } cases[] = {
      {{"--driver", "Aravis", "--exposure", "long"}, "svbatch: --exposure takes a number"},
      {{"--driver", "Aravis", "--rate", ""}, "svbatch: --rate takes a number (Hz)"},
      {{"--driver", "Aravis", "--region", "1,2,3"}, "svbatch: --region takes X,Y,W,H"},
      {{"--driver", "Aravis", "--region", "1,2,3,-4"}, "svbatch: --region takes X,Y,W,H"},
      {{"--driver", "Aravis", "--region", "1,2,3,4,5"}, "svbatch: --region takes X,Y,W,H"},
      {{"--driver", "DummyGrb", "--gain", "1"},
       "svbatch: --format, --exposure, --gain, --rate and --region are for the Aravis driver"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> args = {"grab"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    EXPECT_EQ(Run(args), 2) << c.args.back();
    EXPECT_EQ(err.str().rfind(c.message, 0), 0u) << err.str();
  }
}

}  // namespace
}  // namespace sv::cli
