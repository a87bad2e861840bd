// TIFF files of other programs: big-endian as ImageJ writes them, compressed,
// tiled, in planes, of several pages. The files are made from ones written
// here by libtiff's tiffcp (tests skipped where it is not installed), so the
// expected samples are known.
#include "image/tiff_foreign.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "core/globals.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

bool Shell(const std::string& cmd) { return std::system((cmd + " >/dev/null 2>&1").c_str()) == 0; }

bool HaveTiffcp() {
  static const bool have = Shell("command -v tiffcp");
  return have;
}

bool HaveMagick() {
  static const bool have = Shell("/usr/bin/convert -version | grep -q '^Version: ImageMagick'");
  return have;
}

class TiffForeignTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    if (!HaveTiffcp()) GTEST_SKIP() << "tiffcp (libtiff-tools) is not installed";
  }
  std::string Path(const std::string& name) { return host.root + "/" + name; }

  // A W x H picture whose samples all differ and use the top bits; `seed`
  // makes pages tell apart.
  static constexpr long kW = 37, kH = 23;
  static std::vector<uint16_t> Pattern(bool colour, long bits, int seed = 0) {
    std::vector<uint16_t> v(size_t(kW * kH * (colour ? 3 : 1)));
    const uint32_t mask = (1u << bits) - 1;
    for (size_t i = 0; i < v.size(); ++i)
      v[i] = uint16_t((i * (bits > 8 ? 2851 : 37) + size_t(seed) * 7919 + i / kW) & mask);
    v.back() = uint16_t(mask);
    return v;
  }
  // Writes the pattern through a save filter (1 or 6) and returns the path.
  std::string Write(const std::string& name, bool colour, long bits, int seed = 0,
                    const std::string& comment = "") {
    Form_Camera out;
    out.SetHasColors(colour);
    const std::vector<uint16_t> src = Pattern(colour, bits, seed);
    out.CreateImage(kW, kH, bits, src.data());
    out.ImgDescription = comment;
    out.Header.bmiHeader.biXPelsPerMeter = 3780;
    out.Header.bmiHeader.biYPelsPerMeter = 3780;
    EXPECT_TRUE(ImageSaveDo(out, Path(name), bits > 8 ? 6 : 1));
    return Path(name);
  }
  // tiffcp with `options` from `in` to a new file.
  std::string Copy(const std::string& in, const std::string& options, const std::string& name) {
    EXPECT_TRUE(Shell("tiffcp " + options + " " + in + " " + Path(name))) << options;
    return Path(name);
  }
  static std::vector<uint16_t> Samples(const Form_Camera& image) {
    const size_t n = size_t(image.ImageWidth() * image.ImageHeight() * (image.HasColors() ? 3 : 1));
    return std::vector<uint16_t>(image.ImagePtr(), image.ImagePtr() + n);
  }
  std::string Reader(const std::string& path) {
    ImageFileInfo info;
    EXPECT_TRUE(ReadImageFileInfo(path, info)) << path;
    return info.reader;
  }

  test::ScriptedHost host;
};

TEST_F(TiffForeignTest, ImageJBigEndianSixteenBitOpensWithItsSamplesAndComment) {
  const std::string comment = "ImageJ=1.54f\nunit=micron\n";
  const std::string mm = Copy(Write("le.t16", false, 16, 0, comment), "-B", "mm.tif");
  ASSERT_EQ(test::ReadFile(mm).substr(0, 4), std::string("MM\0*", 4));
  EXPECT_EQ(GetImageFileType(mm), 3);  // the kind by the first bytes is unchanged

  Form_Camera in;
  ASSERT_TRUE(ImageOpenDo(in, mm));
  EXPECT_EQ(std::tuple(in.ImageWidth(), in.ImageHeight(), in.ImageBitsPerPixel(), in.HasColors()),
            std::tuple(kW, kH, 16L, false));
  EXPECT_EQ(Samples(in), Pattern(false, 16));
  EXPECT_EQ(in.ImgDescription, comment);
  EXPECT_NEAR(in.ImageXPelsPerMeter(), 3780, 1);
  EXPECT_EQ(in.FileFilter, 6);  // Save writes it back as a 16-bit TIFF
  EXPECT_EQ(host.LastStatus(), "");

  ImageFileInfo info;
  ASSERT_TRUE(ReadImageFileInfo(mm, info));
  EXPECT_EQ(std::tuple(info.type, info.reader, info.bits), std::tuple(1, "libtiff", 16L));
}

TEST_F(TiffForeignTest, CompressedTiledAndPlanarFilesOpenWithTheirSamples) {
  struct Case {
    const char* options;
    bool colour;
    long bits;
  };
  for (const Case c : {Case{"-c lzw", false, 8}, Case{"-c lzw:2", false, 16},
                       Case{"-c zip", true, 8}, Case{"-c packbits", false, 8},
                       Case{"-t -w 16 -l 16", false, 16}, Case{"-p separate", true, 8},
                       Case{"-B -c zip:2 -t -w 16 -l 16", true, 16}, Case{"-r 5 -c lzw", true, 8}}) {
    SCOPED_TRACE(c.options);
    const std::string path = Copy(Write("src.tif", c.colour, c.bits), c.options, "x.tif");
    EXPECT_FALSE(TiffBuiltInTakes(path));
    Form_Camera in;
    ASSERT_TRUE(ImageOpenDo(in, path));
    EXPECT_EQ(in.HasColors(), c.colour);
    EXPECT_EQ(in.ImageBitsPerPixel(), c.bits);
    EXPECT_EQ(Samples(in), Pattern(c.colour, c.bits));
    EXPECT_EQ(in.FileFilter, c.bits > 8 ? 6 : 1);
    EXPECT_EQ(Reader(path), "libtiff");
  }
}

TEST_F(TiffForeignTest, OtherColourModelsComeAsEightBitRgbWithANote) {
  // JPEG coding stores YCbCr; libtiff converts it back.
  const std::string path = Copy(Write("src.tif", true, 8), "-c jpeg", "ycbcr.tif");
  Form_Camera in;
  ASSERT_TRUE(ImageOpenDo(in, path));
  EXPECT_EQ(std::tuple(in.ImageWidth(), in.ImageHeight(), in.HasColors(), in.ImageBitsPerPixel()),
            std::tuple(kW, kH, true, 8L));
  EXPECT_EQ(host.LastStatus(), "ycbcr.tif: colours converted to 8-bit RGB");
}

TEST_F(TiffForeignTest, OfThreePagesTheFirstOpensAndTheStatusLineSaysSo) {
  const std::string a = Write("a.tif", false, 8, 1), b = Write("b.tif", false, 8, 2),
                    c = Write("c.tif", false, 8, 3);
  for (auto [options, reader] : {std::pair{"", "built-in"}, {"-c lzw", "libtiff"}}) {
    SCOPED_TRACE(options);
    const std::string three = Path("three.tif");
    ASSERT_TRUE(Shell(std::string("tiffcp ") + options + " " + a + " " + b + " " + c + " " + three));
    EXPECT_EQ(TiffPageCount(three), 3);
    Form_Camera in;
    ASSERT_TRUE(ImageOpenDo(in, three));
    EXPECT_EQ(Samples(in), Pattern(false, 8, 1));
    EXPECT_EQ(host.LastStatus(), "three.tif has 3 pages; page 1 is open");
    ImageFileInfo info;
    ASSERT_TRUE(ReadImageFileInfo(three, info));
    EXPECT_EQ(std::tuple(info.reader, info.note),
              std::tuple(reader, "three.tif has 3 pages; page 1 is open"));
  }
}

TEST_F(TiffForeignTest, TheBuiltInReaderStillTakesEveryFileItTook) {
  // Files written here, and uncompressed little-endian strips from libtiff.
  for (auto [colour, bits] : {std::pair{false, 8L}, {false, 12L}, {false, 16L}, {true, 8L}, {true, 16L}}) {
    SCOPED_TRACE(colour * 100 + bits);
    const std::string own = Write("own.tif", colour, bits);
    const std::string strips = Copy(own, "-L -c none -r 3", "strips.tif");
    for (const std::string& path : {own, strips}) {
      EXPECT_TRUE(TiffBuiltInTakes(path)) << path;
      EXPECT_EQ(Reader(path), "built-in") << path;
      Form_Camera in;
      ASSERT_TRUE(ImageOpenDo(in, path));
      EXPECT_EQ(Samples(in), Pattern(colour, bits));
      EXPECT_EQ(host.LastStatus(), "");
    }
  }
}

TEST_F(TiffForeignTest, FilesNeitherReaderTakesFailWithTheReasonAndLeaveNoImage) {
  // Pixels that claim Deflate coding but are plain: the built-in reader's
  // refusal, and libtiff's reason in the status line.
  const std::string zip = Write("zip.tif", false, 8);
  std::string bytes = test::ReadFile(zip);
  for (size_t e = 10; e + 12 <= bytes.size() && e < 10 + 12 * size_t(uint8_t(bytes[8])); e += 12)
    if (uint8_t(bytes[e]) == 259 - 256 && bytes[e + 1] == 1) bytes[e + 8] = 8;
  test::WriteFile(zip, bytes);
  host.Answer(MsgResult::OK);
  Form_Camera in;
  EXPECT_FALSE(ImageOpenDo(in, zip));
  EXPECT_FALSE(G().LoadOK);
  EXPECT_EQ(in.ImagePtr(), nullptr);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Compressed files are not supported.");
  EXPECT_EQ(host.LastStatus().rfind("zip.tif: ", 0), 0u) << host.LastStatus();

  // A big-endian file cut short: told as before, "Error loading" + path.
  const std::string mm = Copy(Write("le.t16", false, 16), "-B", "mm.tif");
  test::WriteFile(mm, test::ReadFile(mm).substr(0, 200));
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(ImageOpenDo(in, mm));
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[1].text, "Error loading" + mm);
  ImageFileInfo info;
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(ReadImageFileInfo(mm, info));
  EXPECT_EQ(info.reader, "libtiff");
  EXPECT_FALSE(info.note.empty());

  // Floating-point samples are refused by name.
  if (!HaveMagick()) GTEST_SKIP() << "ImageMagick is not installed";
  const std::string f32 = Path("f32.tif");
  // ImageMagick complains about a tag it cannot set for floats, and writes the file.
  Shell("/usr/bin/convert -size 6x3 gradient: -define quantum:format=floating-point -depth 32 "
        "-compress none " + f32);
  ASSERT_EQ(test::ReadFile(f32).substr(0, 2), "II");
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(ReadImageFileInfo(f32, info));
  EXPECT_EQ(info.note, "f32.tif: floating-point samples are not supported");
}

TEST_F(TiffForeignTest, BytesInMemoryReadAsTheFileAndTheLimitHolds) {
  const std::string path = Copy(Write("src.tif", true, 8), "-B -c lzw", "m.tif");
  const std::string bytes = test::ReadFile(path);
  Form_Camera in;
  ForeignTiffRead read;
  ASSERT_TRUE(LoadForeignTIFBytes(in, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
                                  read, uint64_t(1) << 20));
  EXPECT_EQ(Samples(in), Pattern(true, 8));
  EXPECT_FALSE(LoadForeignTIFBytes(in, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
                                   read, 1000));
  EXPECT_EQ(read.error, "the picture is too large");
  EXPECT_FALSE(LoadForeignTIFBytes(in, reinterpret_cast<const uint8_t*>("MM\0*junk"), 8, read, 1000));
  EXPECT_FALSE(read.error.empty());
}

}  // namespace
}  // namespace sv
