// svbatch grab: a frame or an average from the simulated camera, handed to
// the image writer.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>
#include <tuple>

#include "acquisition/grabber.h"
#include "acquisition/live.h"
#include "batch_fixture.h"
#include "cli/batch.h"
#include "core/globals.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "image/image_files.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

struct Written {
  std::string path;
  int filter = -1;
  long width = 0, height = 0, bits = 0;
  std::vector<uint16_t> pixels;
};

class GrabCommand : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    previousWriter_ = GrabWriter();
    GrabWriter() = [this](Form_Camera& image, const std::string& path, int filter) {
      written.push_back({path, filter, image.ImageWidth(), image.ImageHeight(), image.ImageBitsPerPixel(),
                         {image.ImagePtr(), image.ImagePtr() + image.ImageBytes() / 2}});
      return path.find("unwritable") == std::string::npos;
    };
  }
  void TearDown() override {
    GrabWriter() = previousWriter_;
    ResetGrabberGlobals();
    BatchFixture::TearDown();
  }
  std::vector<Written> written;
  const std::function<bool(Form_Camera&, const std::string&, int)>& previousWriter() const {
    return previousWriter_;
  }

 private:
  std::function<bool(Form_Camera&, const std::string&, int)> previousWriter_;
};

TEST_F(GrabCommand, BadOptionsAreRefused) {
  EXPECT_EQ(Run({"grab"}), 2);
  EXPECT_NE(err.str().find("grab needs --out FILE"), std::string::npos);
  EXPECT_EQ(Run({"grab", "--out", "a.tif", "--average", "1"}), 2);
  EXPECT_NE(err.str().find("--average takes 2 to 8192"), std::string::npos);
  for (const std::vector<std::string>& bad : std::vector<std::vector<std::string>>{
           {"grab", "--out", "a.tif", "--average", "8193"},
           {"grab", "--out", "a.tif", "--filter", "13"},
           {"grab", "--out", "a.tif", "--energy", "lots"},
           {"grab", "--out"},
           {"grab", "--out", "a.tif", "--fast"}})
    EXPECT_EQ(Run(bad), 2) << bad.back();
  EXPECT_EQ(Run({"grab", "--out", "frame.xyz"}), 2);
  EXPECT_NE(err.str().find("give --filter N"), std::string::npos);
  EXPECT_TRUE(written.empty());
}

TEST_F(GrabCommand, OneFrameFromTheSimulatedCameraAtTheGivenEnergy) {
  const std::string file = root + "/frame.tif";
  ASSERT_EQ(Run({"grab", "--out", file, "--filter", "2"}), 0) << err.str();
  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(std::tuple(written[0].path, written[0].filter, written[0].width, written[0].height, written[0].bits),
            std::tuple(file, 2, kDummyWidth, kDummyHeight, kDummyBits));
  EXPECT_EQ(out.str(), file + ": 384 x 288, 12 bits, 1 frame from Dummy Grabber at 100 eV\n");

  ASSERT_EQ(Run({"grab", "--out", file, "--energy", "45"}), 0) << err.str();
  ASSERT_EQ(written.size(), 2u);
  EXPECT_EQ(written[1].filter, 0) << "the writer takes it from the extension";
  EXPECT_NE(written[1].pixels, written[0].pixels) << "the spots move with the energy";
  EXPECT_NE(out.str().find("at 45 eV"), std::string::npos);
}

TEST_F(GrabCommand, AnAverageAndItsFailures) {
  ASSERT_EQ(Run({"grab", "--out", root + "/avg.tif", "--average", "4"}), 0) << err.str();
  EXPECT_NE(out.str().find("4 frames from Dummy Grabber"), std::string::npos) << out.str();
  ASSERT_EQ(written.size(), 1u);

  EXPECT_EQ(Run({"grab", "--out", root + "/unwritable.tif"}), 1);
  EXPECT_NE(err.str().find("cannot write " + root + "/unwritable.tif"), std::string::npos);

  EXPECT_EQ(Run({"grab", "--out", root + "/b.tif", "--subtract-background"}), 1);
  EXPECT_NE(err.str().find("no background image in "), std::string::npos) << err.str();
  EXPECT_NE(err.str().find("~BckGrnd.tif"), std::string::npos);

}

TEST_F(GrabCommand, ADeeperFrameThroughAnEightBitFilterIsNoted) {
  // The simulated camera's frames have 12 bits.
  const std::string note =
      ": saved through the display table as 8 bits; use .t16 or --filter 6 to keep 16 bits\n";
  const std::string tif = root + "/frame.tif";
  ASSERT_EQ(Run({"grab", "--out", tif}), 0) << err.str();
  EXPECT_EQ(err.str(), "svbatch: " + tif + note);
  ASSERT_EQ(Run({"grab", "--out", root + "/frame.x", "--filter", "3"}), 0) << err.str();
  EXPECT_EQ(err.str(), "svbatch: " + root + "/frame.x" + note) << "the filter decides";
  for (const std::vector<std::string>& kept : std::vector<std::vector<std::string>>{
           {"grab", "--out", root + "/frame.t16"},
           {"grab", "--out", tif, "--filter", "6"},
           {"grab", "--out", root + "/frame.dat"}}) {
    ASSERT_EQ(Run(kept), 0) << err.str();
    EXPECT_EQ(err.str(), "") << kept[2];
  }
  EXPECT_EQ(Run({"grab", "--out", root + "/unwritable.tif"}), 1);
  EXPECT_EQ(err.str().find("display table"), std::string::npos) << "nothing was saved";
}

TEST_F(GrabCommand, TheImageWriterWritesAFileThatReadsBack) {
  GrabWriter() = previousWriter();
  const std::string tif = root + "/frame.tif";
  ASSERT_EQ(Run({"grab", "--out", tif, "--energy", "80"}), 0) << err.str();
  const std::string b16 = root + "/frame.b16";
  ASSERT_EQ(Run({"grab", "--out", b16, "--average", "2"}), 0) << err.str();
  for (const std::string& file : {tif, b16}) {
    ImageFileInfo info;
    ASSERT_TRUE(ReadImageFileInfo(file, info)) << file;
    EXPECT_EQ(std::tuple(info.width, info.height), std::tuple(kDummyWidth, kDummyHeight)) << file;
  }
}

}  // namespace
}  // namespace sv::cli
