// Files from ImageMagick load upright with their pixels, and files written
// here pass its tools without warnings (libtiff's own reading of the TIFF
// files is checked in test_image_files_libtiff.cpp). Each test is skipped
// where ImageMagick is not installed.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "core/globals.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

bool Shell(const std::string& cmd) { return std::system(cmd.c_str()) == 0; }

// Standard output and error of a command, and whether it succeeded.
std::string Capture(const std::string& cmd, bool& ok) {
  std::string text;
  FILE* p = popen((cmd + " 2>&1").c_str(), "r");
  if (!p) {
    ok = false;
    return text;
  }
  std::array<char, 4096> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) text.append(buf.data(), n);
  ok = pclose(p) == 0;
  return text;
}

// ImageMagick's converter; a program of the same name earlier on the path
// may be something else, so the packaged one is asked for first.
const std::string& Convert() {
  static const std::string path =
      Shell("/usr/bin/convert -version 2>/dev/null | grep -q '^Version: ImageMagick'")
          ? "/usr/bin/convert"
          : "convert";
  return path;
}

bool HaveMagick() {
  static const bool have =
      Shell(Convert() + " -version 2>/dev/null | grep -q '^Version: ImageMagick' && "
                        "command -v identify >/dev/null 2>&1");
  return have;
}

bool HasWarning(const std::string& text) {
  std::string lower = text;
  for (char& c : lower) c = char(std::tolower(static_cast<unsigned char>(c)));
  return lower.find("warning") != std::string::npos || lower.find("error") != std::string::npos;
}

class InteropTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    host.lenient = false;
  }
  std::string Path(const std::string& name) { return host.root + "/" + name; }

  // W x H samples, top row first; every value differs so that a flip shows.
  static constexpr long kW = 9, kH = 5;
  static uint16_t Value(long x, long y, int c, int bits) {
    const uint32_t v = uint32_t(x * 5 + y * 45 + c * 3 + 1);  // at most 227
    return uint16_t(bits == 16 ? v * 251 : v);
  }
  // A PGM (bits 8 or 16) or PPM with those values.
  void WritePnm(const std::string& path, int bits, bool colour) {
    std::string s = std::string(colour ? "P6" : "P5") + "\n" + std::to_string(kW) + " " +
                    std::to_string(kH) + "\n" + (bits == 16 ? "65535" : "255") + "\n";
    for (long y = 0; y < kH; ++y)
      for (long x = 0; x < kW; ++x)
        for (int c = 0; c < (colour ? 3 : 1); ++c) {
          const uint16_t v = Value(x, y, c, bits);
          if (bits == 16) s += char(v >> 8);
          s += char(v & 0xFF);
        }
    test::WriteFile(path, s);
  }
  void ExpectValues(const Form_Camera& image, int bits, bool colour) {
    ASSERT_EQ(image.ImageWidth(), kW);
    ASSERT_EQ(image.ImageHeight(), kH);
    ASSERT_EQ(image.HasColors(), colour);
    const int channels = colour ? 3 : 1;
    for (long y = 0; y < kH; ++y)
      for (long x = 0; x < kW; ++x)
        for (int c = 0; c < channels; ++c)
          ASSERT_EQ(image.ImagePtr()[(y * kW + x) * channels + c], Value(x, y, c, bits))
              << x << "," << y << "," << c;
  }

  test::ScriptedHost host;
};

TEST_F(InteropTest, TiffFromImageMagickLoadsUpright) {
  if (!HaveMagick()) GTEST_SKIP() << "ImageMagick is not installed";
  struct Case {
    const char* name;
    int bits;
    bool colour;
    const char* options;
  };
  for (const Case c : {Case{"g8", 8, false, "-type Grayscale -depth 8"},
                       Case{"g16", 16, false, "-type Grayscale -depth 16"},
                       Case{"rgb", 8, true, "-type TrueColor -depth 8"},
                       Case{"strips", 8, false,
                            "-type Grayscale -depth 8 -define tiff:rows-per-strip=1"}}) {
    SCOPED_TRACE(c.name);
    const std::string pnm = Path(std::string(c.name) + (c.colour ? ".ppm" : ".pgm"));
    const std::string tif = Path(std::string(c.name) + ".tif");
    WritePnm(pnm, c.bits, c.colour);
    ASSERT_TRUE(Shell(Convert() + " " + pnm + " " + c.options + " -compress none -endian LSB " + tif));
    Form_Camera image;
    ASSERT_TRUE(ImageOpenDo(image, tif));
    ExpectValues(image, c.bits, c.colour);
  }
}

TEST_F(InteropTest, BmpFromImageMagickLoadsUpright) {
  if (!HaveMagick()) GTEST_SKIP() << "ImageMagick is not installed";
  WritePnm(Path("g.pgm"), 8, false);
  WritePnm(Path("c.ppm"), 8, true);
  ASSERT_TRUE(Shell(Convert() + " " + Path("g.pgm") + " -type Palette BMP3:" + Path("g.bmp")));
  ASSERT_TRUE(Shell(Convert() + " " + Path("c.ppm") + " -type TrueColor BMP3:" + Path("c.bmp")));
  ASSERT_TRUE(Shell(Convert() + " " + Path("c.ppm") + " -type TrueColor " + Path("c5.bmp")));
  for (auto [name, colour] : {std::pair{"g.bmp", false}, {"c.bmp", true}, {"c5.bmp", true}}) {
    Form_Camera image;
    ASSERT_TRUE(ImageOpenDo(image, Path(name)));
    ExpectValues(image, 8, colour);
  }
}

TEST_F(InteropTest, FilesWrittenHerePassIdentifyAndOpenUpright) {
  if (!HaveMagick()) GTEST_SKIP() << "ImageMagick is not installed";
  Form_Camera grey, colour;
  std::vector<uint16_t> g(size_t(kW * kH)), c(size_t(kW * kH * 3));
  for (long y = 0; y < kH; ++y)
    for (long x = 0; x < kW; ++x) {
      g[size_t(y * kW + x)] = Value(x, y, 0, 8);
      for (int k = 0; k < 3; ++k) c[size_t((y * kW + x) * 3 + k)] = Value(x, y, k, 8);
    }
  grey.CreateImage(kW, kH, 8, g.data());
  grey.ImgDescription = "grey test";
  colour.SetHasColors(true);
  colour.CreateImage(kW, kH, 8, c.data());
  struct Case {
    Form_Camera* image;
    int filter;
    const char* name;
  };
  for (const Case k : {Case{&grey, 1, "g.tif"}, Case{&colour, 1, "c.tif"}, Case{&grey, 6, "g.t16"},
                       Case{&grey, 2, "g.bmp"}, Case{&colour, 2, "c.bmp"}, Case{&grey, 3, "g.jpg"},
                       Case{&colour, 3, "c.jpg"}}) {
    SCOPED_TRACE(k.name);
    const std::string path = Path(k.name);
    ASSERT_TRUE(ImageSaveDo(*k.image, path, k.filter));
    bool ok = false;
    const std::string fmt = k.filter == 6 ? "TIFF:" : "";
    const std::string id = Capture("identify " + fmt + path, ok);
    EXPECT_TRUE(ok) << id;
    EXPECT_FALSE(HasWarning(id)) << id;
    if (k.filter == 3) continue;  // JPEG's loss makes a pixel test loose
    // The top-left pixel of the file, as ImageMagick reads it.
    const std::string px = Capture(Convert() + " " + fmt + path +
                                       " -format '%[fx:int(255*p{0,0}.r+0.5)] "
                                       "%[fx:int(255*p{8,4}.r+0.5)]' info:",
                                   ok);
    ASSERT_TRUE(ok) << px;
    std::istringstream in(px);
    int first = -1, last = -1;
    in >> first >> last;
    if (k.filter == 6) {
      // 16-bit samples of 8-bit values: the top-left sample is tiny, the
      // bottom-right one larger; upright means the same order.
      EXPECT_LE(first, last);
    } else {
      EXPECT_EQ(first, Value(0, 0, 0, 8)) << px;
      EXPECT_EQ(last, Value(8, 4, 0, 8)) << px;
    }
  }
}

}  // namespace
}  // namespace sv
