#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "batch_fixture.h"
#include "cli/batch.h"
#include "image/form_camera.h"
#include "image/image_files.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class BatchImageOpTest : public BatchFixture {
 protected:
  // A 12-bit w x h picture, grey as B16 or colour as 16-bit TIFF.
  std::string Picture(long w, long h, bool colour = false) {
    Form_Camera image(nullptr);
    image.SetHasColors(colour);
    std::vector<uint16_t> src(size_t(w * h * (colour ? 3 : 1)));
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t((i * 211) % 4096);
    image.CreateImage(w, h, 12, src.data());
    const std::string path = root + (colour ? "/in.t16" : "/in.b16");
    EXPECT_TRUE(ImageSaveDo(image, path, ImageFilterForPath(path)));
    return path;
  }
  struct Read {
    long width = 0, height = 0, bits = 0;
    bool colour = false;
    std::vector<uint16_t> px;
  };
  static Read Load(const std::string& path) {
    Form_Camera image(nullptr);
    Read r;
    if (!ImageOpenDo(image, path) || !image.ImagePtr()) return r;
    r = {image.ImageWidth(), image.ImageHeight(), image.ImageBitsPerPixel(), image.HasColors(),
         std::vector<uint16_t>(image.ImagePtr(), image.ImagePtr() + image.ImageBytes() / 2)};
    return r;
  }
};

TEST_F(BatchImageOpTest, FlipPrintsItsUndoAndUndoWritesTheOriginal) {
  const std::string in = Picture(5, 4);
  const std::string out1 = root + "/flip.b16", out2 = root + "/undone.b16";
  ASSERT_EQ(Run({"image-op", in, out1, "--op", "flip"}), 0) << err.str();
  EXPECT_EQ(out.str(), "Undo: Flip\n");
  const Read source = Load(in), flipped = Load(out1);
  ASSERT_EQ(flipped.px.size(), 20u);
  EXPECT_EQ(flipped.px[0], source.px[15]);  // the last line came first
  ASSERT_EQ(Run({"image-op", in, out2, "--op", "flip", "--undo"}), 0) << err.str();
  EXPECT_EQ(Load(out2).px, source.px);
}

TEST_F(BatchImageOpTest, ShapeAndDepthChangesReachTheFile) {
  const std::string in = Picture(6, 4, true);
  ASSERT_EQ(Run({"image-op", in, root + "/r.t16", "--op", "rotate", "--degrees", "270"}), 0)
      << err.str();
  EXPECT_EQ(out.str(), "Undo: Rotate\n");
  Read r = Load(root + "/r.t16");
  EXPECT_EQ(r.width, 4);
  EXPECT_EQ(r.height, 6);
  EXPECT_TRUE(r.colour);

  ASSERT_EQ(Run({"image-op", in, root + "/g.b16", "--op", "greyscale"}), 0) << err.str();
  EXPECT_FALSE(Load(root + "/g.b16").colour);
  ASSERT_EQ(Run({"image-op", in, root + "/s.t16", "--op", "resize", "--width", "3", "--height",
                 "9"}),
            0)
      << err.str();
  EXPECT_EQ(out.str(), "Undo: Resize\n");
  r = Load(root + "/s.t16");
  EXPECT_EQ(r.width * 100 + r.height, 309);

  const std::string grey = Picture(6, 5);
  ASSERT_EQ(Run({"image-op", grey, root + "/f.b16", "--op", "field", "--field", "2"}), 0);
  EXPECT_EQ(out.str(), "Undo: Extract Field 2\n");
  EXPECT_EQ(Load(root + "/f.b16").height, 2);
  ASSERT_EQ(Run({"image-op", grey, root + "/d.b16", "--op", "dynamic", "--bits", "16"}), 0);
  EXPECT_EQ(out.str(), "Undo: Change Dynamic 16 Bit\n");
  r = Load(root + "/d.b16");
  EXPECT_EQ(r.bits, 16);
  EXPECT_EQ(r.px[1], Load(grey).px[1] << 4);
  ASSERT_EQ(Run({"image-op", grey, root + "/m.b16", "--op", "close", "--connectivity", "8"}), 0);
  EXPECT_EQ(out.str(), "Undo: Morph. Close\n");
}

TEST_F(BatchImageOpTest, NewImagesAreWrittenAndNamed) {
  const std::string colour = Picture(3, 2, true);
  ASSERT_EQ(Run({"image-op", colour, root + "/part.t16", "--op", "split"}), 0) << err.str();
  EXPECT_NE(out.str().find("New image: Image1 (Green Channel)\n"), std::string::npos)
      << out.str();
  const Read source = Load(colour), blue = Load(root + "/part_blue.t16");
  ASSERT_EQ(blue.px.size(), 6u);
  EXPECT_FALSE(blue.colour);
  EXPECT_EQ(blue.px[4], source.px[14]);
  EXPECT_TRUE(fs::exists(root + "/part_red.t16"));
  EXPECT_FALSE(fs::exists(root + "/part.t16"));

  ASSERT_EQ(Run({"image-op", colour, root + "/copy.t16", "--op", "duplicate"}), 0) << err.str();
  EXPECT_EQ(out.str(), "New image: Copy of Image1\n");
  EXPECT_EQ(Load(root + "/copy.t16").px, source.px);

  const std::string grey = Picture(4, 4);
  ASSERT_EQ(Run({"image-op", grey, root + "/bin.b16", "--op", "binarize", "--threshold", "2000",
                 "--new"}),
            0)
      << err.str();
  EXPECT_NE(out.str().find("New image: Binarize(\"Image1\", 2000)"), std::string::npos)
      << out.str();
  for (uint16_t v : Load(root + "/bin.b16").px) EXPECT_TRUE(v == 0 || v == 4095) << v;

  ASSERT_EQ(Run({"image-op", grey, root + "/cc.b16", "--op", "colorcount"}), 0) << err.str();
  EXPECT_EQ(out.str(), "Color Count: The number of unique colors in this picture is 16\n");
}

TEST_F(BatchImageOpTest, ConvertWritesAMatrixSheet) {
  const std::string grey = Picture(4, 3);
  ASSERT_EQ(Run({"image-op", grey, root + "/m.sht", "--op", "convert"}), 0) << err.str();
  EXPECT_NE(out.str().find("(4 columns, 3 rows)"), std::string::npos) << out.str();
  EXPECT_GT(fs::file_size(root + "/m.sht"), 1042u);
  EXPECT_EQ(Run({"image-op", grey, root + "/m.tif", "--op", "convert"}), 2);
}

TEST_F(BatchImageOpTest, RefusalsWriteNothingAndBadLinesSayWhy) {
  const std::string grey = Picture(4, 1);
  const std::string target = root + "/never.b16";
  EXPECT_EQ(Run({"image-op", grey, target, "--op", "greyscale"}), 1);
  EXPECT_NE(err.str().find("colour images only"), std::string::npos);
  EXPECT_EQ(Run({"image-op", grey, target, "--op", "field", "--field", "2"}), 1);
  EXPECT_EQ(Run({"image-op", root + "/missing.b16", target, "--op", "flip"}), 1);
  EXPECT_FALSE(fs::exists(target));

  for (const std::vector<std::string>& line : std::vector<std::vector<std::string>>{
           {"image-op", grey, target, "--op", "spin"},
           {"image-op", grey, target},
           {"image-op", grey, "--op", "flip"},
           {"image-op", grey, target, "--op", "rotate"},
           {"image-op", grey, target, "--op", "rotate", "--degrees", "180"},
           {"image-op", grey, target, "--op", "dynamic", "--bits", "7"},
           {"image-op", grey, target, "--op", "erosion", "--connectivity", "6"},
           {"image-op", grey, target, "--op", "flip", "--fast"},
           {"image-op", grey, target, "--op", "resize", "--width"}}) {
    EXPECT_EQ(Run(line), 2) << line.back();
    EXPECT_FALSE(err.str().empty());
  }
  EXPECT_FALSE(fs::exists(target));
}

}  // namespace
}  // namespace sv::cli
