// libtiff itself reads the TIFF files written here without a warning, upright,
// and the files it writes (one or many strips) load here with their pixels.
// Built where libtiff's development files are installed.
#ifdef SV_HAVE_LIBTIFF

#include <tiffio.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "core/globals.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

std::vector<std::string>& Complaints() {
  static std::vector<std::string> v;
  return v;
}

void Complain(const char* module, const char* fmt, va_list ap) {
  char text[512];
  std::vsnprintf(text, sizeof text, fmt, ap);
  Complaints().push_back(std::string(module ? module : "") + ": " + text);
}

class LibtiffTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    Complaints().clear();
    oldWarning_ = TIFFSetWarningHandler(Complain);
    oldError_ = TIFFSetErrorHandler(Complain);
  }
  void TearDown() override {
    TIFFSetWarningHandler(oldWarning_);
    TIFFSetErrorHandler(oldError_);
  }
  std::string Path(const std::string& name) { return host.root + "/" + name; }

  test::ScriptedHost host;
  TIFFErrorHandler oldWarning_ = nullptr, oldError_ = nullptr;
};

TEST_F(LibtiffTest, WrittenFilesReadCleanAndUpright) {
  struct Case {
    bool colour;
    int filter;
  };
  for (const Case c : {Case{false, 1}, Case{true, 1}, Case{false, 6}, Case{true, 6}}) {
    SCOPED_TRACE(c.filter * 10 + c.colour);
    const long w = 7, h = 4;
    const int channels = c.colour ? 3 : 1;
    std::vector<uint16_t> src(size_t(w * h * channels));
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t(c.filter == 6 ? i * 997 : i * 3);
    Form_Camera out;
    out.SetHasColors(c.colour);
    out.CreateImage(w, h, c.filter == 6 ? 16 : 8, src.data());
    out.ImgDescription = "written here";
    out.Header.bmiHeader.biXPelsPerMeter = 3780;
    out.Header.bmiHeader.biYPelsPerMeter = 3780;
    const std::string path = Path("w.tif");
    ASSERT_TRUE(ImageSaveDo(out, path, c.filter));

    TIFF* t = TIFFOpen(path.c_str(), "r");
    ASSERT_NE(t, nullptr);
    uint32_t tw = 0, th = 0;
    uint16_t bits = 0, spp = 0;
    float xres = 0;
    char* desc = nullptr;
    TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &tw);
    TIFFGetField(t, TIFFTAG_IMAGELENGTH, &th);
    TIFFGetField(t, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(t, TIFFTAG_SAMPLESPERPIXEL, &spp);
    TIFFGetField(t, TIFFTAG_XRESOLUTION, &xres);
    ASSERT_TRUE(TIFFGetField(t, TIFFTAG_IMAGEDESCRIPTION, &desc));
    EXPECT_EQ(std::string(desc), "written here");
    EXPECT_EQ(tw, uint32_t(w));
    EXPECT_EQ(th, uint32_t(h));
    EXPECT_EQ(bits, c.filter == 6 ? 16 : 8);
    EXPECT_EQ(spp, channels);
    EXPECT_NEAR(xres, 96.012, 0.01);
    std::vector<uint8_t> line(size_t(TIFFScanlineSize(t)));
    for (uint32_t y = 0; y < th; ++y) {
      ASSERT_EQ(TIFFReadScanline(t, line.data(), y), 1);
      for (long x = 0; x < w * channels; ++x) {
        const uint16_t expect = src[size_t(y * w * channels + x)];
        const uint16_t got = c.filter == 6 ? uint16_t(line[2 * x] | line[2 * x + 1] << 8) : line[x];
        ASSERT_EQ(got, expect) << x << "," << y;
      }
    }
    TIFFClose(t);
    EXPECT_TRUE(Complaints().empty()) << Complaints().front();
  }
}

TEST_F(LibtiffTest, FilesWrittenByLibtiffLoadWithTheirPixels) {
  struct Case {
    int bits, spp, rowsPerStrip;
  };
  for (const Case c : {Case{8, 1, 0}, Case{16, 1, 1}, Case{8, 3, 2}, Case{16, 3, 3}}) {
    SCOPED_TRACE(c.bits * 100 + c.spp * 10 + c.rowsPerStrip);
    const uint32_t w = 11, h = 6;
    const std::string path = Path("l.tif");
    TIFF* t = TIFFOpen(path.c_str(), "wl");
    ASSERT_NE(t, nullptr);
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, w);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, h);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, uint16_t(c.bits));
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, uint16_t(c.spp));
    TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, c.spp == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, uint32_t(c.rowsPerStrip ? c.rowsPerStrip : h));
    TIFFSetField(t, TIFFTAG_SOFTWARE, "a tool of its own");
    const size_t n = size_t(w) * c.spp;
    std::vector<uint16_t> expect(size_t(w) * h * c.spp);
    for (uint32_t y = 0; y < h; ++y) {
      std::vector<uint8_t> line(n * (c.bits / 8));
      for (size_t i = 0; i < n; ++i) {
        const uint16_t v = uint16_t(c.bits == 16 ? (y * n + i) * 613 : (y * n + i) * 5 % 256);
        expect[y * n + i] = v;
        if (c.bits == 16) {
          line[2 * i] = uint8_t(v & 0xFF);
          line[2 * i + 1] = uint8_t(v >> 8);
        } else {
          line[i] = uint8_t(v);
        }
      }
      ASSERT_EQ(TIFFWriteScanline(t, line.data(), y), 1);
    }
    TIFFClose(t);
    Form_Camera in;
    ASSERT_TRUE(ImageOpenDo(in, path));
    EXPECT_EQ(in.ImageWidth(), long(w));
    EXPECT_EQ(in.ImageHeight(), long(h));
    EXPECT_EQ(in.HasColors(), c.spp == 3);
    EXPECT_EQ(in.ImageBitsPerPixel(), c.bits);
    EXPECT_EQ(std::vector<uint16_t>(in.ImagePtr(), in.ImagePtr() + expect.size()), expect);
  }
}

}  // namespace
}  // namespace sv

#endif  // SV_HAVE_LIBTIFF
