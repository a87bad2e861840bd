#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "batch_fixture.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"

namespace sv::cli {
namespace {

class BatchScanTest : public BatchFixture {
 protected:
  // A 64 x 48 picture at level 100 with a spot of 3000 at (15, 12) and one of
  // 2000 at (45, 30), as a 16-bit TIFF; two windows around them.
  void SetUp() override {
    BatchFixture::SetUp();
    Form_Camera picture(nullptr);
    std::vector<uint16_t> pixels(64 * 48, 100);
    pixels[12 * 64 + 15] = 3000;
    pixels[30 * 64 + 45] = 2000;
    picture.CreateImage(64, 48, 16, pixels.data());
    image = root + "/spots.tif";
    ASSERT_TRUE(SaveTIF(picture, image, 6));
    par = root + "/spots.par";
    test::WriteFile(par,
                    "[Window]\r\nScan=0\r\n"
                    "[Window1]\r\nX1=5\r\nY1=4\r\nW=20\r\nH=16\r\n"
                    "[Window2]\r\nX1=36\r\nY1=22\r\nW=18\r\nH=16\r\nDynamicSize=1\r\n"
                    "W0=180.0\r\nH0=160.0\r\nAveraging=16\r\n");
  }
  bool Has(const std::string& text) const { return out.str().find(text) != std::string::npos; }
  std::string image, par;
};

TEST_F(BatchScanTest, EveryValidWindowIsReported) {
  ASSERT_EQ(Run({"scan", image, "--par", par}), 0) << err.str();
  EXPECT_EQ(out.str().rfind("Window 1\nParameter:\nX1 = 5 Pixel\tW = 20 Pixel\n", 0), 0u)
      << out.str();
  for (const char* line : {"Dynamic = 65535 (65536 = 100%)\n", "I.max = 3000.0%  // 4.6\t",
                           "X.max = 15 Pixel\nY.max = 12 Pixel\n", "\nWindow 2\n",
                           "I.max = 2000.0%  // ", "I.back = 100.0%  // ",
                           "X.max = 45 Pixel\nY.max = 30 Pixel\n", "Averaging = 1\n"})
    EXPECT_TRUE(Has(line)) << line << "\n" << out.str();
  EXPECT_FALSE(Has("Window 3"));
  EXPECT_FALSE(Has("\r"));
}

TEST_F(BatchScanTest, OneWindowAtAnEnergyTakesItsSizeAroundItsCentre) {
  ASSERT_EQ(Run({"scan", image, "--par", par, "--window", "2", "--energy", "25"}), 0)
      << err.str();
  EXPECT_FALSE(Has("Window 1"));
  // 180 / sqrt(25) = 36 wide, 32 high, around (45, 30).
  EXPECT_TRUE(Has("X1 = 27 Pixel\tW = 36 Pixel\nY1 = 14 Pixel\tH = 32 Pixel\n")) << out.str();
  EXPECT_TRUE(Has("X.max = 45 Pixel"));
}

TEST_F(BatchScanTest, BadInputIsToldApart) {
  EXPECT_EQ(Run({"scan", root + "/none.tif", "--par", par}), 1);
  EXPECT_NE(err.str().find("no image"), std::string::npos);
  EXPECT_EQ(Run({"scan", image, "--par", root + "/none.par"}), 1);
  EXPECT_NE(err.str().find("no parameter file"), std::string::npos);
  EXPECT_EQ(Run({"scan", image, "--par", par, "--window", "9"}), 2);
  EXPECT_NE(err.str().find("--window takes 1 to 8"), std::string::npos);
  EXPECT_EQ(Run({"scan", image, "--par", par, "--window", "3"}), 1);  // an empty window
  EXPECT_NE(err.str().find("window 3"), std::string::npos);
  EXPECT_EQ(Run({"scan", image}), 2);
  EXPECT_EQ(Run({"scan", image, "--par", par, "--energy", "-1"}), 2);
}

}  // namespace
}  // namespace sv::cli
