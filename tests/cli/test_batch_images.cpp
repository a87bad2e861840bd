#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <tuple>
#include <vector>

#include "batch_fixture.h"
#include "cli/batch.h"
#include "core/globals.h"
#include "image/form_camera.h"
#include "image/image_files.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class BatchImagesTest : public BatchFixture {
 protected:
  // A 12-bit 5 x 4 picture with a comment, saved as B16.
  std::string Picture() {
    Form_Camera image(nullptr);
    std::vector<uint16_t> src(20);
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t(i * 200);
    image.CreateImage(5, 4, 12, src.data());
    image.ImgDescription = "Ag(111)";
    const std::string path = root + "/in.b16";
    EXPECT_TRUE(SaveB16(image, path));
    return path;
  }
};

TEST_F(BatchImagesTest, InfoTellsTypeSizeDepthColourAndComment) {
  const std::string path = Picture();
  ASSERT_EQ(Run({"image-info", path}), 0) << err.str();
  for (const char* line : {"type: 7 B16\n", "width: 5\n", "height: 4\n", "bits: 12\n",
                           "colour: no\n", "comment: Ag(111)\n", "resolution: "})
    EXPECT_NE(out.str().find(line), std::string::npos) << line << out.str();

  EXPECT_EQ(Run({"image-info"}), 2);
  EXPECT_EQ(Run({"image-info", root + "/missing.tif"}), 1);
  EXPECT_NE(err.str().find("cannot read"), std::string::npos);
}

TEST_F(BatchImagesTest, ConvertTakesTheFilterFromTheExtensionOrTheOption) {
  const std::string in = Picture();
  ASSERT_EQ(Run({"image-convert", in, root + "/out.t16"}), 0) << err.str();
  EXPECT_NE(out.str().find("TIFF - 16 Bit"), std::string::npos);
  Form_Camera back(nullptr);
  ASSERT_TRUE(ImageOpenDo(back, root + "/out.t16"));
  EXPECT_EQ(std::tuple(back.ImageWidth(), back.ImagePtr()[19], back.ImgDescription),
            std::tuple(5L, 19 * 200, "Ag(111)"));

  ASSERT_EQ(Run({"image-convert", in, root + "/out.txt", "--filter", "11"}), 0) << err.str();
  std::ifstream f(root + "/out.txt");
  std::string first;
  std::getline(f, first);
  EXPECT_EQ(first, "0\t200\t400\t600\t800\r");

  // .xyz has no filter of its own.
  for (const std::vector<std::string>& bad :
       std::vector<std::vector<std::string>>{{"image-convert", in, root + "/out.xyz"},
                                             {"image-convert", in, root + "/o.tif", "--filter", "13"},
                                             {"image-convert", in, root + "/o.tif", "--filter", "x"},
                                             {"image-convert", in}})
    EXPECT_EQ(Run(bad), 2) << bad.back();
  EXPECT_EQ(Run({"image-convert", root + "/none.b16", root + "/o.tif"}), 1);
}

}  // namespace
}  // namespace sv::cli
