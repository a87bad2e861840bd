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
      {{"grab", "--driver", "DummyGrb", "--format", "Mono8"}, 2, "svbatch: --format is for the Aravis driver"},
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

}  // namespace
}  // namespace sv::cli
