#include <gtest/gtest.h>

#include <vector>

#include "batch_fixture.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"

namespace sv::cli {
namespace {

class BatchLinesTest : public BatchFixture {
 protected:
  // A 16 x 8 picture: column x at 10 * x, as a 16-bit TIFF; three lines.
  void SetUp() override {
    BatchFixture::SetUp();
    Form_Camera picture(nullptr);
    std::vector<uint16_t> pixels(16 * 8);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = uint16_t(10 * (i % 16));
    picture.CreateImage(16, 8, 16, pixels.data());
    image = root + "/ramp.tif";
    ASSERT_TRUE(SaveTIF(picture, image, 6));
    ini = root + "/lines.ini";
    test::WriteFile(ini,
                    "[Line1]\r\nX1=1\r\nY1=2\r\nX2=4\r\nY2=2\r\nThickness=1\r\nenabled=1\r\n"
                    "Averaging=16\r\n"
                    "[Line2]\r\nX1=0\r\nY1=0\r\nX2=20\r\nY2=0\r\nenabled=1\r\n"
                    "[Line3]\r\nX1=0\r\nY1=0\r\nX2=3\r\nY2=3\r\nThickness=2\r\n");
  }
  std::string image, ini;
};

TEST_F(BatchLinesTest, EveryEnabledLineIsPrintedAsATable) {
  EXPECT_EQ(Run({"lines", image, "--ini", ini}), 1);  // line 2 does not fit
  EXPECT_EQ(out.str(),
            "Line 1: (1,2)-(4,2) Thickness 1 Averaging 1 Points 4\n"
            "location\tintensity (a.u.)\n"
            "0\t10\n1\t20\n2\t30\n3\t40\n"
            "\n"
            "Line 2 Invalid Line Position.\n");
}

TEST_F(BatchLinesTest, OneLineByItsNumberEvenWhenNotEnabled) {
  ASSERT_EQ(Run({"lines", image, "--ini", ini, "--line", "3"}), 0) << err.str();
  // Thickness 2 reads as 3; the diagonal's points lie sqrt(2) apart.
  EXPECT_EQ(out.str().rfind("Line 3: (0,0)-(3,3) Thickness 3 Averaging 1 Points 4\n"
                            "location\tintensity (a.u.)\n0\t",
                            0),
            0u)
      << out.str();
  EXPECT_NE(out.str().find("\n1.4142135\t"), std::string::npos) << out.str();
}

TEST_F(BatchLinesTest, BadInputIsToldApart) {
  EXPECT_EQ(Run({"lines", root + "/none.tif", "--ini", ini}), 1);
  EXPECT_NE(err.str().find("no image"), std::string::npos);
  EXPECT_EQ(Run({"lines", image, "--ini", root + "/none.ini"}), 1);
  EXPECT_NE(err.str().find("no ini file"), std::string::npos);
  EXPECT_EQ(Run({"lines", image, "--line", "9"}), 2);
  EXPECT_NE(err.str().find("--line takes 1 to 8"), std::string::npos);
  EXPECT_EQ(Run({"lines"}), 2);
  // Without an ini file of its own: the workbench's, which has no lines yet.
  EXPECT_EQ(Run({"lines", image}), 1);
  EXPECT_NE(err.str().find("no enabled line"), std::string::npos);
}

}  // namespace
}  // namespace sv::cli
