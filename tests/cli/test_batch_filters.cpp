#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "batch_fixture.h"
#include "core/globals.h"
#include "image/filter_library.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class BatchFiltersTest : public BatchFixture {
 protected:
  std::string Library(const std::vector<FilterRecord>& filters, const std::string& name = "lib.FLT") {
    const std::string path = root + "/" + name;
    EXPECT_TRUE(WriteFilterLibrary(path, filters));
    return path;
  }
  std::string Picture(const std::string& name, long w, long h, long bits,
                      const std::vector<uint16_t>& samples) {
    Form_Camera image(nullptr);
    image.CreateImage(w, h, bits, samples.data());
    const std::string path = root + "/" + name;
    EXPECT_TRUE(SaveB16(image, path));
    return path;
  }
  std::vector<uint16_t> Read(const std::string& path) {
    Form_Camera image(nullptr);
    EXPECT_TRUE(ImageOpenDo(image, path)) << path;
    if (!image.ImagePtr()) return {};
    return {image.ImagePtr(), image.ImagePtr() + image.ImageWidth() * image.ImageHeight()};
  }
  // A 5 x 5 8-bit picture with one bright pixel in the middle.
  std::string Dot() {
    std::vector<uint16_t> s(25, 0);
    s[12] = 90;
    return Picture("dot.b16", 5, 5, 8, s);
  }
};

FilterRecord Corner() {
  FilterRecord f = EmptyFilter();
  SetFilterName(f, "Corner");
  f.Coefficients[0] = 2;
  f.Factor = 2;
  f.Bias = 5;
  return f;
}

TEST_F(BatchFiltersTest, ListsTheLibraryAndSavesItToTheByte) {
  const std::string lib = Library({SampleBlur(), Corner()});
  ASSERT_EQ(Run({"filters", lib, "--save", root + "/copy.FLT"}), 0) << err.str();
  EXPECT_EQ(out.str(), "2\n1\tSample Blur\t9\t0\t3\n2\tCorner\t2\t5\t7\n");
  EXPECT_EQ(test::ReadFile(root + "/copy.FLT"), test::ReadFile(lib));
}

TEST_F(BatchFiltersTest, RefusesBrokenOrMissingLibrariesAndWritesNothing) {
  const std::string lib = root + "/broken.FLT";
  test::WriteFile(lib, std::string("JASC_FILT\r\n0200\r\n\0\0", 19));
  EXPECT_EQ(Run({"filters", lib, "--save", root + "/copy.FLT"}), 1);
  EXPECT_EQ(err.str(), "Filter: Unknown fileformat\n");
  EXPECT_FALSE(fs::exists(root + "/copy.FLT"));
  EXPECT_EQ(Run({"filters", root + "/none.FLT"}), 1);
  EXPECT_EQ(Run({"filters", lib, "--save"}), 2);
  EXPECT_EQ(Run({"filters", lib, "other"}), 2);
  EXPECT_EQ(Run({"filters", "--bogus"}), 2);
}

TEST_F(BatchFiltersTest, ImageOpFilterByNameOrIndexWithUndo) {
  const std::string lib = Library({SampleBlur(), Corner()});
  const std::string in = Dot();
  ASSERT_EQ(Run({"image-op", in, root + "/blur.b16", "--op", "filter", "--library", lib}), 0)
      << err.str();
  EXPECT_EQ(out.str(), "Undo: Filter\n");
  EXPECT_EQ(Read(root + "/blur.b16")[12], 10);
  std::vector<uint16_t> top(25, 0);
  top[0] = 90;
  const std::string topLeft = Picture("top.b16", 5, 5, 8, top);
  ASSERT_EQ(Run({"image-op", topLeft, root + "/corner.b16", "--op", "filter", "--library", lib,
                 "--name", "Corner"}),
            0)
      << err.str();
  // The corner coefficient takes the pixel 3 up and 3 left: 7 x 7 it is.
  const std::vector<uint16_t> corner = Read(root + "/corner.b16");
  EXPECT_EQ(corner[3 * 5 + 3], 90 + 5);
  EXPECT_EQ(corner[4 * 5 + 4], 5);
  ASSERT_EQ(Run({"image-op", in, root + "/undone.b16", "--op", "filter", "--library", lib,
                 "--index", "2", "--undo"}),
            0);
  EXPECT_EQ(Read(root + "/undone.b16"), Read(in));
  EXPECT_EQ(Run({"image-op", in, root + "/x.b16", "--op", "filter", "--library", lib,
                 "--index", "3"}),
            1);
  EXPECT_EQ(Run({"image-op", in, root + "/x.b16", "--op", "filter", "--library", lib,
                 "--name", "None"}),
            1);
  EXPECT_EQ(Run({"image-op", in, root + "/x.b16", "--op", "filter", "--index", "1",
                 "--name", "Corner"}),
            2);
  EXPECT_FALSE(fs::exists(root + "/x.b16"));
}

TEST_F(BatchFiltersTest, ImageOpMath1AndMath2) {
  const std::string a = Picture("a.b16", 2, 1, 8, {100, 250});
  const std::string b = Picture("b.b16", 1, 1, 12, {2080});
  ASSERT_EQ(Run({"image-op", a, root + "/m1.b16", "--op", "math1", "--operation", "add",
                 "--constant", "10", "--clip"}),
            0)
      << err.str();
  EXPECT_EQ(out.str(), "Undo: Image Math\n");
  EXPECT_EQ(Read(root + "/m1.b16"), (std::vector<uint16_t>{110, 255}));
  ASSERT_EQ(Run({"image-op", a, root + "/m1w.b16", "--op", "math1", "--operation", "add",
                 "--constant", "10"}),
            0);
  EXPECT_EQ(Read(root + "/m1w.b16"), (std::vector<uint16_t>{110, 4}));
  // The second image: 12 bits down to 8 (2080 -> 130), stretched to 2 x 1.
  ASSERT_EQ(Run({"image-op", a, root + "/m2.b16", "--op", "math2", "--with", b, "--operation",
                 "subtract", "--divisor", "2", "--bias", "1", "--clip"}),
            0)
      << err.str();
  EXPECT_EQ(Read(root + "/m2.b16"), (std::vector<uint16_t>{0, 61}));
  ASSERT_EQ(Run({"image-op", a, root + "/fade.b16", "--op", "math2", "--with", b, "--operation",
                 "fade", "--fade", "25"}),
            0);
  EXPECT_EQ(Read(root + "/fade.b16"), (std::vector<uint16_t>{122, 160}));
  // Refused with the dialog's message, nothing written.
  EXPECT_EQ(Run({"image-op", a, root + "/x.b16", "--op", "math1", "--operation", "add",
                 "--constant", "256"}),
            1);
  EXPECT_NE(err.str().find("Enter an integer number in the range of 0 to 255"), std::string::npos);
  EXPECT_EQ(Run({"image-op", a, root + "/x.b16", "--op", "math2", "--with", b, "--operation",
                 "add", "--divisor", "0"}),
            1);
  EXPECT_NE(err.str().find("Enter an integer number in the range of 1 to 255"), std::string::npos);
  EXPECT_EQ(Run({"image-op", a, root + "/x.b16", "--op", "math2", "--with", root + "/none.b16",
                 "--operation", "add"}),
            1);
  EXPECT_FALSE(fs::exists(root + "/x.b16"));
  // Bad command lines.
  for (const std::vector<std::string>& line :
       {std::vector<std::string>{"--operation", "fade", "--constant", "1"},
        {"--operation", "add"},
        {"--operation", "add", "--constant", "1", "--rgb", "1,2,3"},
        {"--operation", "add", "--rgb", "1,2,3"},
        {"--operation", "add", "--constant"}}) {
    std::vector<std::string> args{"image-op", a, root + "/x.b16", "--op", "math1"};
    args.insert(args.end(), line.begin(), line.end());
    EXPECT_EQ(Run(args), 2) << line[1];
  }
  EXPECT_EQ(Run({"image-op", a, root + "/x.b16", "--op", "math2", "--operation", "add"}), 2);
  EXPECT_EQ(Run({"image-op", a, root + "/x.b16", "--op", "math2", "--with", b, "--operation",
                 "compare"}),
            2);
}

}  // namespace
}  // namespace sv::cli
