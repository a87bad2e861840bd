#include "image/image_files.h"

#include <filesystem>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/jpeg.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

uint16_t Word(const std::string& s, size_t at) {
  return uint16_t(uint8_t(s[at]) | (uint8_t(s[at + 1]) << 8));
}
uint32_t Long(const std::string& s, size_t at) { return Word(s, at) | uint32_t(Word(s, at + 2)) << 16; }

class ImageFilesTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetGlobals(); }

  std::string Path(const std::string& name) { return host.root + "/" + name; }

  // A mono picture whose samples are a pattern of `bits` bits, top-left first.
  void Mono(Form_Camera& image, long w, long h, long bits) {
    std::vector<uint16_t> src(size_t(w * h));
    const uint32_t mask = (1u << bits) - 1;
    for (long y = 0; y < h; ++y)
      for (long x = 0; x < w; ++x) src[size_t(y * w + x)] = uint16_t((x * 37 + y * 101 + x * y) & mask);
    src.back() = uint16_t(mask);  // the top level is used
    image.CreateImage(w, h, bits, src.data());
  }
  void Colour(Form_Camera& image, long w, long h) {
    image.SetHasColors(true);
    std::vector<uint16_t> src(size_t(w * h * 3));
    for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t((i * 53 + i / 7) & 255);
    image.CreateImage(w, h, 8, src.data());
  }
  // A small 8-bit TIFF whose directory entry of `tag` went through `patch`.
  template <typename Patch>
  std::string PatchedTiff(Form_Camera& out, const std::string& name, uint16_t tag, Patch patch) {
    Mono(out, 4, 4, 8);
    EXPECT_TRUE(ImageSaveDo(out, Path(name), 1));
    std::string f = test::ReadFile(Path(name));
    for (size_t e = 10; e < 10 + 12 * size_t(Word(f, 8)); e += 12)
      if (Word(f, e) == tag) patch(&f[e]);
    test::WriteFile(Path(name), f);
    return Path(name);
  }
  static std::vector<uint16_t> Samples(const Form_Camera& image) {
    const size_t n = size_t(image.ImageWidth() * image.ImageHeight() * (image.HasColors() ? 3 : 1));
    return std::vector<uint16_t>(image.ImagePtr(), image.ImagePtr() + n);
  }

  test::ScriptedHost host;
};

// --- Round trips ---------------------------------------------------------------

TEST_F(ImageFilesTest, RoundTripsKeepPixelsSizeDepthAndComment) {
  struct Case {
    int filter;
    long bits;
    bool colour;
    const char* comment;
  };
  // TIFF carries its depth as 16; B16 and ITEX get the depth their samples
  // need. The width is no multiple of four.
  const char* leed = "LEED Cu(100) 112 eV";
  for (const Case c : {Case{6, 16, false, leed}, Case{7, 12, false, leed}, Case{7, 16, false, ""},
                       Case{8, 14, false, leed}, Case{1, 8, false, "grey"}, Case{2, 8, false, ""},
                       Case{4, 8, false, ""}, Case{1, 8, true, ""}, Case{2, 8, true, ""},
                       Case{6, 16, true, ""}}) {
    SCOPED_TRACE(c.filter * 10 + c.colour);
    Form_Camera out;
    if (!c.colour) {
      Mono(out, 37, 23, c.bits);
    } else if (c.bits == 16) {
      out.SetHasColors(true);
      std::vector<uint16_t> src(37 * 23 * 3);
      for (size_t i = 0; i < src.size(); ++i) src[i] = uint16_t(i * 1021);
      out.CreateImage(37, 23, 16, src.data());
    } else {
      Colour(out, 37, 23);
    }
    out.ImgDescription = c.comment;
    out.Header.bmiHeader.biXPelsPerMeter = 3780;
    out.Header.bmiHeader.biYPelsPerMeter = 11811;
    const std::string path = Path("a" + std::to_string(c.colour) + ImageFilterExtension(c.filter));
    ASSERT_TRUE(ImageSaveDo(out, path, c.filter));
    EXPECT_EQ(std::pair(out.Filename, out.FileFilter), std::pair(path, c.filter));

    Form_Camera in;
    ASSERT_TRUE(ImageOpenDo(in, path));
    EXPECT_TRUE(G().LoadOK);
    EXPECT_EQ(in.HasColors(), c.colour);
    EXPECT_EQ(std::tuple(in.ImageWidth(), in.ImageHeight()), std::tuple(37, 23));
    if (!c.colour) {
      EXPECT_EQ(in.ImageBitsPerPixel(), c.bits);
    }
    EXPECT_EQ(Samples(in), Samples(out));
    EXPECT_EQ(in.ImgDescription, out.ImgDescription);
    EXPECT_EQ(in.Filename, path);
    EXPECT_FALSE(in.Changed());
    if (c.filter == 6) {
      EXPECT_EQ(std::pair(in.ImageXPelsPerMeter(), in.ImageYPelsPerMeter()), std::pair(3780L, 11811L));
    }
  }
}

TEST_F(ImageFilesTest, JpegKeepsSizeAndPixelsWithinItsLoss) {
  for (bool colour : {false, true}) {
    SCOPED_TRACE(colour);
    Form_Camera out;
    out.SetHasColors(colour);
    std::vector<uint16_t> src(32 * 16 * (colour ? 3 : 1));
    for (size_t i = 0; i < src.size(); ++i)
      src[i] = uint16_t(!colour ? (i % 32) * 8 : i % 3 == 0 ? 200 : i % 3 == 1 ? 90 : 30);
    out.CreateImage(32, 16, 8, src.data());
    const std::string path = Path(colour ? "e.jpg" : "f.jpg");
    ASSERT_TRUE(ImageSaveDo(out, path, 3));
    EXPECT_EQ(GetImageFileType(path), 3);
    Form_Camera in;
    ASSERT_TRUE(ImageOpenDo(in, path));
    EXPECT_EQ(in.HasColors(), colour);
    EXPECT_EQ(std::tuple(in.ImageWidth(), in.ImageHeight()), std::tuple(32, 16));
    const auto a = Samples(in), b = Samples(out);
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) ASSERT_NEAR(a[i], b[i], 12) << i;
  }
}

// --- Bytes on disk ---------------------------------------------------------------

TEST_F(ImageFilesTest, SixteenBitTiffDirectoryIsAscendingWithBitsSixteenOfLengthOne) {
  Form_Camera out;
  Mono(out, 10, 3, 16);
  out.ImgDescription = "abc";
  const std::string path = Path("h.t16");
  ASSERT_TRUE(ImageSaveDo(out, path, 6));
  const std::string f = test::ReadFile(path);
  ASSERT_GE(f.size(), 8u);
  EXPECT_EQ(f.substr(0, 2), "II");
  EXPECT_EQ(Word(f, 2), 42);
  EXPECT_EQ(Long(f, 4), 8u);
  const uint16_t n = Word(f, 8);
  EXPECT_EQ(n, 15);
  const uint16_t expected[] = {254, 256, 257, 258, 259, 262, 270, 273,
                               277, 278, 279, 282, 283, 284, 296};
  uint32_t pixels = 0, commentAt = 0;
  for (uint16_t i = 0; i < n; ++i) {
    const size_t e = 10 + 12 * size_t(i);
    EXPECT_EQ(Word(f, e), expected[i]);
    if (Word(f, e) == 258) {
      EXPECT_EQ(Word(f, e + 2), 3);
      EXPECT_EQ(Long(f, e + 4), 1u);
      EXPECT_EQ(Long(f, e + 8), 16u);
    }
    if (Word(f, e) == 270) {
      EXPECT_EQ(Long(f, e + 4), 4u);
      commentAt = Long(f, e + 8);
    }
    if (Word(f, e) == 273) pixels = Long(f, e + 8);
    if (Word(f, e) == 279) {
      EXPECT_EQ(Long(f, e + 8), 10u * 3u * 2u);
    }
  }
  EXPECT_EQ(Long(f, 10 + 12 * n), 0u);  // no next directory
  EXPECT_EQ(f.substr(commentAt, 4), std::string("abc\0", 4));
  EXPECT_EQ(f.size(), pixels + 10u * 3u * 2u);
  EXPECT_EQ(Word(f, pixels + 2), out.ImagePtr()[1]);
}

TEST_F(ImageFilesTest, FitsHasItsCardsAndAFixedTailOf1920Bytes) {
  for (long w : {3L, 64L}) {
    Form_Camera out;
    Mono(out, w, 2, 16);
    const std::string path = Path("i" + std::to_string(w) + ".fts");
    ASSERT_TRUE(ImageSaveDo(out, path, 10));
    const std::string f = test::ReadFile(path);
    ASSERT_EQ(f.size(), 2880u + size_t(w) * 2 * 2 + 1920u);
    EXPECT_EQ(f.substr(0, 80), "SIMPLE  =                    T" + std::string(50, ' '));
    EXPECT_EQ(f.substr(80, 30), "BITPIX  =                   16");
    EXPECT_EQ(f.substr(160, 30), "NAXIS   =                    2");
    EXPECT_EQ(f.substr(240, 30), "NAXIS1  = " + std::string(20 - std::to_string(w).size(), ' ') +
                                     std::to_string(w));
    EXPECT_EQ(f.substr(400, 8), "ORIGIN  ");
    EXPECT_EQ(f.substr(640, 3), "END");
    EXPECT_EQ(f.substr(720, 2160), std::string(2160, '\0'));
    // Big-endian samples.
    EXPECT_EQ(uint8_t(f[2880 + 2]), out.ImagePtr()[1] >> 8);
    EXPECT_EQ(uint8_t(f[2880 + 3]), out.ImagePtr()[1] & 0xFF);
    EXPECT_EQ(f.substr(f.size() - 1920), std::string(1920, '\0'));
  }
}

TEST_F(ImageFilesTest, B16HeaderAndCommentCutAtZeroLineFeedAndReturn) {
  Form_Camera out;
  Mono(out, 4, 2, 16);
  out.ImgDescription = "note";
  ASSERT_TRUE(ImageSaveDo(out, Path("j.b16"), 7));
  const std::string f = test::ReadFile(Path("j.b16"));
  EXPECT_EQ(f.substr(0, 4), "PCO-");
  EXPECT_EQ(std::tuple(Long(f, 4), Long(f, 8), Long(f, 12), Long(f, 16)),
            std::tuple(f.size(), 24u, 4u, 2u));
  EXPECT_EQ(f.substr(20, 4), "note");

  for (char cut : {'\0', '\n', '\r'}) {
    std::string g = f;
    g[22] = cut;  // "no" <cut> "e"
    test::WriteFile(Path("k.b16"), g);
    Form_Camera in;
    ASSERT_TRUE(ImageOpenDo(in, Path("k.b16")));
    EXPECT_EQ(in.ImgDescription, "no");
    EXPECT_EQ(Samples(in), Samples(out));
  }
}

TEST_F(ImageFilesTest, ItexHeaderIs64BytesWithTheCommentBehind) {
  Form_Camera out;
  Mono(out, 5, 3, 8);
  out.ImgDescription = "xy";
  ASSERT_TRUE(ImageSaveDo(out, Path("l.img"), 4));
  const std::string f = test::ReadFile(Path("l.img"));
  ASSERT_EQ(f.size(), 64u + 2u + 15u);
  EXPECT_EQ(f.substr(0, 2), "IM");
  EXPECT_EQ(std::tuple(Word(f, 2), Word(f, 4), Word(f, 6)), std::tuple(2, 5, 3));
  EXPECT_EQ(f.substr(8, 56), std::string(56, '\0'));
  EXPECT_EQ(f.substr(64, 2), "xy");
}

TEST_F(ImageFilesTest, RawAndAsciiFormsStartWithTheTopRow) {
  Form_Camera out;
  std::vector<uint16_t> src = {1, 2, 3, 40000, 5, 6};  // 3 x 2
  out.CreateImage(3, 2, 16, src.data());
  ASSERT_TRUE(ImageSaveDo(out, Path("m.dat"), 11));
  EXPECT_EQ(test::ReadFile(Path("m.dat")), "1\t2\t3\r\n40000\t5\t6\r\n");
  ASSERT_TRUE(ImageSaveDo(out, Path("n.dat"), 12));
  EXPECT_EQ(test::ReadFile(Path("n.dat")),
            "0\t0\t1\r\n1\t0\t2\r\n2\t0\t3\r\n0\t1\t40000\r\n1\t1\t5\r\n2\t1\t6\r\n");
  ASSERT_TRUE(ImageSaveDo(out, Path("o.r16"), 9));
  const std::string r = test::ReadFile(Path("o.r16"));
  ASSERT_EQ(r.size(), 12u);
  EXPECT_EQ(Word(r, 6), 40000);
  // Through an 8-bit filter the deep image keeps what the display shows.
  src = {0, 65535, 0, 65535, 32768, 0};  // 2 x 3
  out.CreateImage(2, 3, 16, src.data());
  ASSERT_TRUE(ImageSaveDo(out, Path("g.raw"), 5));
  const std::string raw = test::ReadFile(Path("g.raw"));
  ASSERT_EQ(raw.size(), 6u);
  EXPECT_EQ(std::tuple(uint8_t(raw[0]), uint8_t(raw[1]), uint8_t(raw[4]), uint8_t(raw[5])),
            std::tuple(0, 255, 128, 0));
}

TEST_F(ImageFilesTest, BmpIsBottomUpWithPaddedLines) {
  Form_Camera out;
  std::vector<uint16_t> src = {10, 20, 30, 40, 50, 60};  // 3 x 2
  out.CreateImage(3, 2, 8, src.data());
  ASSERT_TRUE(ImageSaveDo(out, Path("p.bmp"), 2));
  const std::string f = test::ReadFile(Path("p.bmp"));
  const uint32_t off = Long(f, 10);
  EXPECT_EQ(off, 14u + 40u + 1024u);
  EXPECT_EQ(Long(f, 2), f.size());
  ASSERT_EQ(f.size(), off + 8u);
  EXPECT_EQ(uint8_t(f[off]), 40);  // the bottom line comes first
  EXPECT_EQ(uint8_t(f[off + 4]), 10);
}

TEST_F(ImageFilesTest, FilterTableAndDialogTexts) {
  EXPECT_EQ(ImageFilterText(1), "TIFF - 8 Bit");
  EXPECT_EQ(ImageFilterText(12), "ASCII: X(), Y(), Z()");
  EXPECT_EQ(ImageFilterText(0), "(unknown)");
  EXPECT_EQ(ImageFilterText(13), "(unknown)");
  EXPECT_EQ(ImageFilterExtension(10), ".fts");
  EXPECT_EQ(ImageFilterForPath("/x/y.T16"), 6);
  EXPECT_EQ(ImageFilterForPath("/x.y/z"), 0);
  EXPECT_EQ(ImageOpenDialogFilter().rfind("Picture Files (.tif;.bmp;.jpg;.img;.t16;.b16)|", 0), 0u);
}

// --- Detection and hostile files ----------------------------------------------------

TEST_F(ImageFilesTest, DetectionByContentNotByName) {
  // Big-endian TIFF is not known: it goes to the JPEG reader.
  for (auto [name, content, type] :
       {std::tuple{"a.jpg", std::string("II*\0", 4), 1}, {"b.tif", std::string("BMxx"), 2},
        {"c.tif", std::string("PCO-"), 7}, {"d.tif", std::string("IM"), 4},
        {"e.tif", std::string("MM\0*", 4), 3}}) {
    test::WriteFile(Path(name), content);
    EXPECT_EQ(GetImageFileType(Path(name)), type) << name;
  }
  EXPECT_EQ(GetImageFileType(Path("missing.tif")), 0);
}

TEST_F(ImageFilesTest, BigEndianTiffFailsAsJpegAndLeavesTheImageClosed) {
  test::WriteFile(Path("mm.tif"), std::string("MM\0*\0\0\0\x08", 8) + std::string(100, '\0'));
  host.Answer(MsgResult::OK);
  Form_Camera in;
  Mono(in, 4, 4, 8);
  EXPECT_FALSE(ImageOpenDo(in, Path("mm.tif")));
  EXPECT_FALSE(G().LoadOK);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Error loading" + Path("mm.tif"));
  EXPECT_EQ(host.messages[0].title, "Open Image");
  EXPECT_EQ(in.ImagePtr(), nullptr);
  EXPECT_EQ(in.Filename, "");
}

TEST_F(ImageFilesTest, TruncatedFilesOfEveryReaderAreRefused) {
  Form_Camera out;
  Mono(out, 20, 10, 16);
  out.ImgDescription = "comment";
  for (int filter : {1, 2, 3, 4, 6, 7, 8}) {
    SCOPED_TRACE(filter);
    const std::string path = Path("t" + ImageFilterExtension(filter));
    ASSERT_TRUE(ImageSaveDo(out, path, filter));
    const std::string whole = test::ReadFile(path);
    for (size_t keep : {size_t(0), size_t(3), size_t(30), whole.size() / 2, whole.size() - 1}) {
      test::WriteFile(path, whole.substr(0, keep));
      if (GetImageFileType(path) == 3) host.Answer(MsgResult::OK);
      Form_Camera other, in;
      Mono(other, 3, 3, 8);
      Mono(in, 6, 6, 8);
      EXPECT_FALSE(ImageOpenDo(in, path)) << keep;
      EXPECT_FALSE(G().LoadOK);
      EXPECT_EQ(in.ImagePtr(), nullptr);
      EXPECT_EQ(other.ImageWidth(), 3);  // no other image is touched
      ASSERT_NE(other.ImagePtr(), nullptr);
    }
  }
}

TEST_F(ImageFilesTest, AbsurdSizesAreRefusedBeforeAllocation) {
  std::string b16 = "PCO-";
  for (uint32_t v : {0u, 20u, 0x10000u, 0x10000u}) {
    b16 += char(v & 0xFF);
    b16 += char((v >> 8) & 0xFF);
    b16 += char((v >> 16) & 0xFF);
    b16 += char(v >> 24);
  }
  test::WriteFile(Path("big.b16"), b16 + std::string(64, '\0'));
  Form_Camera in;
  EXPECT_FALSE(LoadB16(in, Path("big.b16")));
  EXPECT_FALSE(G().LoadOK);
  EXPECT_EQ(in.ImageBytes(), 0);
}

TEST_F(ImageFilesTest, CompressedTiffIsRefusedWithItsMessage) {
  Form_Camera out, in;
  const std::string path = PatchedTiff(out, "z.tif", 259, [](char* e) { e[8] = 5; });  // LZW
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(ImageOpenDo(in, path));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Compressed files are not supported.");
  EXPECT_EQ(host.messages[0].title, "Open Image");
}

TEST_F(ImageFilesTest, UnknownTiffTagsGoToTheStatusLineAndTheLoadGoesOn) {
  // ResolutionUnit becomes tag 999 with a value of 0xBEEF.
  Form_Camera out, in;
  const std::string path = PatchedTiff(out, "u.tif", 296, [](char* e) {
    e[0] = char(999 & 0xFF), e[1] = char(999 >> 8), e[8] = char(0xEF), e[9] = char(0xBE);
  });
  ASSERT_TRUE(ImageOpenDo(in, path));
  EXPECT_EQ(Samples(in), Samples(out));
  EXPECT_NE(std::find(host.status.begin(), host.status.end(),
                      "Unknown Tag: ID = 999, Type = 3, Length = 1, Value = 0xBEEF"),
            host.status.end());
}

TEST_F(ImageFilesTest, TheOldT16QuestionComesOnlyWithItsSwitchAndYesSwapsTheBytes) {
  Form_Camera out;
  std::vector<uint16_t> src = {0x1234, 0x00FF};
  out.CreateImage(2, 1, 16, src.data());
  ASSERT_TRUE(ImageSaveDo(out, Path("old.t16"), 6));
  Form_Camera in;
  ASSERT_TRUE(ImageOpenDo(in, Path("old.t16")));  // no switch, no question
  EXPECT_TRUE(host.messages.empty());

  G().CommandLine = "picture.t16 /T16 ";
  for (MsgResult answer : {MsgResult::No, MsgResult::Yes}) {
    host.Answer(answer);
    ASSERT_TRUE(ImageOpenDo(in, Path("old.t16")));
    EXPECT_EQ(host.messages.back().title, "Open T16 Files");
    EXPECT_EQ(host.messages.back().buttons, MsgButtons::YesNo);
    EXPECT_EQ(host.messages.back().text.rfind("Activate Bug Fix in old T16-Files?\r\n\r\n", 0), 0u);
    EXPECT_EQ(in.ImagePtr()[0], answer == MsgResult::Yes ? 0x3412 : 0x1234);
  }
  // An 8-bit file is not asked about.
  const size_t asked = host.messages.size();
  Form_Camera bytes;
  std::vector<uint16_t> small = {1, 2};
  bytes.CreateImage(2, 1, 8, small.data());
  ASSERT_TRUE(ImageSaveDo(bytes, Path("b8.tif"), 1));
  ASSERT_TRUE(ImageOpenDo(in, Path("b8.tif")));
  EXPECT_EQ(host.messages.size(), asked);
}

// A stop during the load ends it with the flag down.
struct StoppingHost : test::ScriptedHost {
  void DoEvents() override {
    ++doEvents;
    G().LoadOK = false;
  }
};

TEST(ImageFilesCancel, AStopEndsTheLoadAndClosesTheImage) {
  ResetGlobals();
  StoppingHost host;
  host.tick = 300;  // every look at the clock is past the next progress step
  Form_Camera out;
  std::vector<uint16_t> src(size_t(600 * 600), 7);
  out.CreateImage(600, 600, 16, src.data());
  const std::string path = host.root + "/big.b16";
  ASSERT_TRUE(ImageSaveDo(out, path, 7));
  Form_Camera in;
  EXPECT_FALSE(ImageOpenDo(in, path));
  EXPECT_GE(host.doEvents, 1);
  EXPECT_FALSE(G().LoadOK);
  EXPECT_EQ(in.ImagePtr(), nullptr);
  EXPECT_FALSE(host.status.empty());
}

TEST_F(ImageFilesTest, AWriteErrorNamesThePath) {
  Form_Camera out;
  Mono(out, 4, 4, 8);
  const std::string path = Path("no/such/folder/x.tif");
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(ImageSaveDo(out, path, 1));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Error writing " + path);
  EXPECT_EQ(host.messages[0].title, "Save Image");
  EXPECT_EQ(out.Filename, "");

  // A full disk: the file opens, the pixels do not go in.
  if (std::filesystem::exists("/dev/full")) {
    Mono(out, 600, 600, 16);
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(ImageSaveDo(out, "/dev/full", 6));
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_EQ(host.messages[1].text, "Error writing /dev/full");
  }
}

// --- Commands ------------------------------------------------------------------

class ImageFilesMainTest : public ImageFilesTest {
 protected:
  void SetUp() override {
    ImageFilesTest::SetUp();
    SetMainForm(&main);
    main.Load();
    RegisterImageDocuments(main);
  }
  void TearDown() override { SetMainForm(nullptr); }
  MDIForm_Main main;
};

TEST_F(ImageFilesMainTest, SaveAsRemembersTheFilterAndSaveReusesIt) {
  auto* image = NewImage(main);
  ASSERT_NE(image, nullptr);
  Mono(*image, 8, 8, 12);
  main.ShowChild(image->Handle());
  image->SetChanged(true);
  G().ImagesFilterIndex = 7;
  host.AnswerFile(Path("saved"));
  main.Click("mnuSaveAs");
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  EXPECT_EQ(host.fileDialogs[0].filterIndex, 7);
  EXPECT_EQ(image->Filename, Path("saved.b16"));
  EXPECT_EQ(GetImageFileType(Path("saved.b16")), 7);
  EXPECT_FALSE(image->Changed());
  EXPECT_EQ(main.LastFiles[0], Path("saved.b16"));
  EXPECT_EQ(G().ImagesFilterIndex, 7);

  image->ImagePtr()[0] = 99;
  image->SetChanged(true);
  main.Click("mnuSave");  // no dialog this time
  EXPECT_EQ(host.fileDialogs.size(), 1u);
  Form_Camera back;
  ASSERT_TRUE(ImageOpenDo(back, Path("saved.b16")));
  EXPECT_EQ(back.ImagePtr()[0], 99);
}

TEST_F(ImageFilesMainTest, OpenImageAndOpenDocumentLoadTheFile) {
  Form_Camera out;
  Mono(out, 6, 5, 16);
  ASSERT_TRUE(ImageSaveDo(out, Path("q.t16"), 6));
  host.AnswerFile(Path("q.t16"));
  main.Click("mnuOpenImage");
  auto* image = dynamic_cast<Form_Camera*>(main.ActiveChild());
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->ImageWidth(), 6);
  EXPECT_EQ(image->FileFilter, 6);
  EXPECT_EQ(host.fileDialogs[0].title, "Open Image");

  EXPECT_TRUE(main.OpenDocument(Path("q.t16")));
  EXPECT_EQ(main.ImageCount, 2);
  EXPECT_EQ(main.LastFiles[0], Path("q.t16"));
}

TEST_F(ImageFilesMainTest, AFailedOpenIsToldOnceAndLeavesNoImage) {
  test::WriteFile(Path("bad.b16"), "PCO-");
  test::WriteFile(Path("bad.jpg"), "not a picture");
  for (const std::string name : {"bad.b16", "bad.jpg"}) {
    SCOPED_TRACE(name);
    host.messages.clear();
    host.AnswerFile(Path(name));
    host.Answer(MsgResult::OK);
    main.Click("mnuOpenImage");
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0].text, "Error loading" + Path(name));
    EXPECT_EQ(host.messages[0].title, "Open Image");
    EXPECT_EQ(main.ImageCount, 0);
  }
}

}  // namespace
}  // namespace sv
