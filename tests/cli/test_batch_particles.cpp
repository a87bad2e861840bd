#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "batch_fixture.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "worksheet/form_worksheet.h"

namespace sv::cli {
namespace {

class BatchParticlesTest : public BatchFixture {
 protected:
  // A 8 x 6 grey picture, 16 bits: a 4 x 3 block of 50000, a 2 x 2 block of
  // 20000 (lit only after binarizing below it) and a lone pixel.
  void SetUp() override {
    BatchFixture::SetUp();
    const std::vector<std::string> rows = {"........", ".AAAA...", ".AAAA.BB", ".AAAA.BB",
                                           "........", "...A...."};
    std::vector<uint16_t> px;
    for (const std::string& r : rows)
      for (char c : r) px.push_back(c == 'A' ? 50000 : c == 'B' ? 20000 : 0);
    Form_Camera picture(nullptr);
    picture.CreateImage(8, 6, 16, px.data());
    image = root + "/blocks.tif";
    ASSERT_TRUE(SaveTIF(picture, image, 6));
  }
  std::string image;
};

TEST_F(BatchParticlesTest, PrintsOneLineAParticle) {
  ASSERT_EQ(Run({"particles", image}), 0) << err.str();
  EXPECT_EQ(out.str(),
            "#\tArea\tXc\tYc\tPerim.\tFormFactor\tPoints\n"
            "1\t7.0\t2.6667\t2.1111\t8.0\t1.3744\t9\n"
            "2\t0.0\t3.0000\t2.0000\t0.0\t0.0000\t1\n"
            "2 Particles\n");
}

TEST_F(BatchParticlesTest, ThresholdAndMinAreaAndSheet) {
  const std::string sheet = root + "/found.sht";
  ASSERT_EQ(Run({"particles", image, "--threshold", "10000", "--min-area", "0.5", "--out", sheet}),
            0)
      << err.str();
  EXPECT_EQ(out.str(),
            "ParticleMinArea(0.5): 2 Particles (1 Particles removed).\n"
            "#\tArea\tXc\tYc\tPerim.\tFormFactor\tPoints\n"
            "1\t7.0\t2.6667\t2.1111\t8.0\t1.3744\t9\n"
            "2\t5.0\t6.6667\t2.6667\t2.0\t15.7080\t3\n"
            "2 Particles\n");
  Form_Worksheet back;
  ASSERT_EQ(back.OpenWorksheet(sheet), 0);
  EXPECT_EQ(back.Rows(), 3);
  EXPECT_EQ(back.Record(1).Label, "#");
  EXPECT_EQ(back.Record(6).Label, "FormFactor");
  EXPECT_EQ(back.CellAt(2, 2).Number(), 5.0);
}

TEST_F(BatchParticlesTest, BadLinesAndImages) {
  EXPECT_EQ(Run({"particles"}), 2);
  EXPECT_EQ(Run({"particles", image, "--threshold", "x"}), 2);
  EXPECT_EQ(Run({"particles", image, "--min-area"}), 2);
  EXPECT_EQ(Run({"particles", image, "--wide"}), 2);
  EXPECT_EQ(Run({"particles", image, "--threshold", "65536"}), 1);
  EXPECT_NE(err.str().find("0 to 65535"), std::string::npos) << err.str();
  EXPECT_EQ(Run({"particles", root + "/none.tif"}), 1);
  const std::string broken = root + "/broken.tif";
  FILE* f = std::fopen(broken.c_str(), "wb");
  std::fputs("II*", f);
  std::fclose(f);
  EXPECT_EQ(Run({"particles", broken}), 1);
}

}  // namespace
}  // namespace sv::cli
