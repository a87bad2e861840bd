#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "film_edit_fixture.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "video/film_export.h"
#include "video/film_import.h"
#include "video/form_vtr_export.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::WriteFile;

TEST(ImportNames, CycleNumbersEnergiesAndTheOrder) {
  long c = 0;
  EXPECT_TRUE(CycleNumberOf("/x/run_2_17.tif", c));
  EXPECT_EQ(c, 17);
  EXPECT_FALSE(CycleNumberOf("/x/run_a.tif", c));
  EXPECT_FALSE(CycleNumberOf("/x_3/run.tif", c));  // the folder's "_" does not count

  std::vector<std::string> names{"/f/s_10.tif", "/f/b.tif", "/f/s_2.tif", "/f/a.tif", "/f/t_2.tif"};
  EXPECT_EQ(SortImportNames(names), 2);
  EXPECT_EQ(names, (std::vector<std::string>{"/f/s_2.tif", "/f/t_2.tif", "/f/s_10.tif", "/f/a.tif",
                                             "/f/b.tif"}));

  double e = 0;
  EXPECT_TRUE(EnergyFromName("/d/leed_123.5eV.tif", e));
  EXPECT_EQ(e, 123.5);
  EXPECT_TRUE(EnergyFromName("/d/bias_-20.tif", e));
  EXPECT_EQ(e, -20);
  EXPECT_TRUE(EnergyFromName("/d/img-5.tif", e));  // a hyphen after a letter is no sign
  EXPECT_EQ(e, 5);
  EXPECT_TRUE(EnergyFromName("/d/s2_E80.tif", e));
  EXPECT_EQ(e, 80);
  EXPECT_FALSE(EnergyFromName("/d/9/scan.tif", e));
}

TEST(ImportNames, ColumnsAndEnergyAnswers) {
  ImportColumns cols;
  std::string error;
  ASSERT_TRUE(ParseImportColumns("U (V)\tI (nA)\r\n1,5\t2\n\n3\t-4e1\n", cols, error)) << error;
  EXPECT_EQ(cols.labels, (std::vector<std::string>{"U (V)", "I (nA)"}));
  EXPECT_EQ(cols.rows, (std::vector<std::vector<float>>{{1.5f, 2}, {3, -40}}));
  ASSERT_TRUE(ParseImportColumns("1, 2, 3\n4 5 6\n", cols, error)) << error;
  EXPECT_EQ(cols.labels, (std::vector<std::string>{"Column 1", "Column 2", "Column 3"}));
  EXPECT_FALSE(ParseImportColumns("1 2\n3\n", cols, error));
  EXPECT_EQ(error, "Line 2: 1 numbers for 2 columns");
  EXPECT_FALSE(ParseImportColumns("1 2\nx y\n", cols, error));
  EXPECT_EQ(error, "Line 2: not a line of numbers");

  float v = -1;
  EXPECT_TRUE(ParseStartEnergy("0", v));
  EXPECT_EQ(v, 0);
  EXPECT_TRUE(ParseStartEnergy(" 5 ", v));
  EXPECT_TRUE(ParseStartEnergy("1000", v));
  EXPECT_TRUE(ParseStartEnergy("12,5", v));
  EXPECT_EQ(v, 12.5f);
  EXPECT_FALSE(ParseStartEnergy("4.9", v));
  EXPECT_FALSE(ParseStartEnergy("1000.5", v));
  EXPECT_FALSE(ParseStartEnergy("ten", v));
  EXPECT_FALSE(ParseStepEnergy("0", v));
  EXPECT_TRUE(ParseStepEnergy("-0.5", v));
  EXPECT_EQ(v, -0.5f);
}

class FilmImportTest : public test::FilmEditFixture {
 protected:
  // An image whose samples tell `seed`, written as a 16-bit TIFF (`top`
  // above 255) or an 8-bit one.
  std::vector<uint16_t> Samples(int seed, long w = 32, long h = 8, uint16_t top = 4095) {
    std::vector<uint16_t> s(size_t(w * h));
    for (size_t i = 0; i < s.size(); ++i) s[i] = uint16_t((seed * 131 + i * 17) % 4000);
    s[0] = top;
    return s;
  }
  std::string Image(const std::string& name, int seed, long w = 32, long h = 8, uint16_t top = 4095) {
    Form_Camera image(nullptr);
    std::vector<uint16_t> s = Samples(seed, w, h, top);
    image.CreateImage(w, h, top > 255 ? 12 : 8, s.data());
    const std::string path = Path(name);
    fs::create_directories(fs::path(path).parent_path());
    EXPECT_TRUE(SaveTIF(image, path, top > 255 ? 6 : 1));
    return path;
  }
  // The samples of frame i.
  std::vector<uint16_t> FrameSamples(const std::string& film, long i) {
    std::unique_ptr<VideoFile> f = OpenFilmToRead(film);
    std::vector<uint8_t> frame(f->FrameSize());
    uint32_t got = 0;
    EXPECT_TRUE(f->ReadFrame(uint32_t(i), frame.data(), got));
    const FramePixels p = PixelsOf(*f);
    std::vector<uint16_t> s(p.Samples());
    FrameToSamples(p, frame.data(), s.data());
    return s;
  }
  // Samples behind the cells (the first `cells` * 16 samples of 16-bit frames).
  static std::vector<uint16_t> Behind(std::vector<uint16_t> s, size_t cells) {
    s.erase(s.begin(), s.begin() + long(cells * 16));
    return s;
  }
};

TEST_F(FilmImportTest, AFolderInCycleOrderWithEnergiesAndNumbers) {
  Image("stack/s_10.tif", 10);
  Image("stack/s_2.tif", 2);
  Image("stack/s_1.tif", 1);
  WriteFile(Path("stack/notes.txt"), "not an image");
  std::vector<ImportFrame> frames;
  std::string error;
  ASSERT_TRUE(ExpandImportSources({Path("stack")}, frames, error)) << error;
  ASSERT_EQ(frames.size(), 3u);
  ImportOptions o;
  o.startEnergy = 50;
  o.stepEnergy = -2;
  const ImportResult r = ImportFilm(frames, Path("f.vid"), o);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(std::tuple(r.frames, r.width, r.height, r.bits), std::tuple(3L, 32L, 8L, 16L));
  EXPECT_EQ(Labels(Path("f.vid")), (std::vector<std::string>{"energy (eV)", "Cycle", "time (s)"}));
  const int seeds[] = {1, 2, 10};
  for (long i = 0; i < 3; ++i)
    EXPECT_EQ(Behind(FrameSamples(Path("f.vid"), i), 4), Behind(Samples(seeds[i]), 4)) << i;
  std::unique_ptr<VideoFile> f = OpenFilmToRead(Path("f.vid"));
  std::vector<uint8_t> frame(f->FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(f->ReadFrame(2, frame.data(), got));
  EXPECT_EQ(std::tuple(f->ColData(0), f->ColData(1), f->ColData(2)), std::tuple(46.0f, 2.0f, 1.0f));
  EXPECT_EQ(host.LastStatus(), "");
  bool sawStatus = false;
  for (const std::string& s : host.status) sawStatus |= s == "Import s_10.tif...(46 eV)";
  EXPECT_TRUE(sawStatus);
}

TEST_F(FilmImportTest, EnergiesFromNamesAndANameWithoutOne) {
  const std::string a = Image("leed_123.5eV.tif", 1);
  const std::string b = Image("leed_80eV.tif", 2);
  ImportOptions o;
  o.energyFromNames = true;
  ImportResult r = ImportFilm({{a}, {b}}, Path("e.vid"), o);
  ASSERT_TRUE(r.ok) << r.error;
  std::unique_ptr<VideoFile> f = OpenFilmToRead(Path("e.vid"));
  std::vector<uint8_t> frame(f->FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(f->ReadFrame(0, frame.data(), got));
  EXPECT_EQ(f->ColData(0), 123.5f);
  ASSERT_TRUE(f->ReadFrame(1, frame.data(), got));
  EXPECT_EQ(f->ColData(0), 80.0f);

  const std::string c = Image("leed.tif", 3);
  r = ImportFilm({{a}, {c}}, Path("bad.vid"), o);
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error, "No energy in the file name leed.tif");
  EXPECT_FALSE(fs::exists(Path("bad.vid")));  // stopped before the film was begun
}

TEST_F(FilmImportTest, AnImageOfOtherAttributesStopsWithTheComparisonKeepingTheFramesBefore) {
  const std::string a = Image("a_1.tif", 1);
  const std::string b = Image("a_2.tif", 2, 32, 8, 200);  // 8 bits
  const ImportResult r = ImportFilm({{a}, {b}}, Path("m.vid"), ImportOptions{});
  EXPECT_FALSE(r.ok);
  EXPECT_EQ(r.error.rfind("Current image attributes does not match with attributes of first image:\r\n\r\n"
                          "1st image:\t32 x 8 Pixel, 16 bit\r\ncurrent image:\t32 x 8 Pixel, 8 bit",
                          0),
            0u)
      << r.error;
  EXPECT_EQ(r.frames, 1);
  EXPECT_EQ(Frames(Path("m.vid")).size(), 1u);
}

TEST_F(FilmImportTest, ColumnsFromTheTextFileAndGapsBeyondIt) {
  const std::string a = Image("a.tif", 1), b = Image("b.tif", 2);
  ImportOptions o;
  std::string error;
  ASSERT_TRUE(ParseImportColumns("T (K)\n300\n", o.columns, error));
  ASSERT_TRUE(ImportFilm({{a}, {b}}, Path("t.vid"), o).ok);
  std::unique_ptr<VideoFile> f = OpenFilmToRead(Path("t.vid"));
  EXPECT_EQ(f->ColLabel(0), "T (K)");
  std::vector<uint8_t> frame(f->FrameSize());
  uint32_t got = 0;
  ASSERT_TRUE(f->ReadFrame(0, frame.data(), got));
  EXPECT_EQ(f->ColData(0), 300.0f);
  ASSERT_TRUE(f->ReadFrame(1, frame.data(), got));
  EXPECT_TRUE(SV_IsNAVN(f->ColData(0)));
}

TEST_F(FilmImportTest, AMultiPageTiffGivesAFrameAPage) {
  if (std::system("command -v tiffcp >/dev/null 2>&1") != 0) GTEST_SKIP() << "no tiffcp";
  const std::string a = Image("p1.tif", 1), b = Image("p2.tif", 2), c = Image("p3.tif", 3);
  const std::string multi = Path("multi.tif");
  ASSERT_EQ(std::system(("tiffcp -c lzw " + a + " " + b + " " + c + " " + multi).c_str()), 0);
  std::vector<ImportFrame> frames;
  std::string error;
  ASSERT_TRUE(ExpandImportSources({multi, a}, frames, error)) << error;
  ASSERT_EQ(frames.size(), 4u);
  EXPECT_EQ(frames[2].page, 2);
  EXPECT_EQ(frames[3].page, -1);
  ASSERT_TRUE(ImportFilm(frames, Path("m.vid"), ImportOptions{}).ok);
  const int seeds[] = {1, 2, 3, 1};
  for (long i = 0; i < 4; ++i)
    EXPECT_EQ(Behind(FrameSamples(Path("m.vid"), i), 3), Behind(Samples(seeds[i]), 3)) << i;
  // Energies from names need a file a frame.
  ImportOptions o;
  o.energyFromNames = true;
  EXPECT_EQ(ImportFilm(frames, Path("n.vid"), o).error,
            "multi.tif holds several pages: its name gives no energy for each");
  EXPECT_FALSE(ExpandImportSources({Path("none.tif")}, frames, error));
  EXPECT_EQ(error, "File \"" + Path("none.tif") + "\" not found");
}

TEST_F(FilmImportTest, ExportWritesNumberedImagesAndTheLogThatImportReadsBack) {
  const std::string film = Film("run.vid", 4, {"energy (eV)"}, 16, 4, 12);
  std::unique_ptr<VideoFile> f = OpenFilmToRead(film);
  ExportRequest req;
  req.frames = {1, 3};
  req.folder = Path("out/deep");
  req.base = "run";
  req.imageFilter = 6;
  req.logPath = Path("out/deep/run.txt");
  const ExportResult r = ExportFilmFrames(*f, req);
  ASSERT_TRUE(r.ok) << r.error;
  EXPECT_EQ(r.written, 2);
  EXPECT_EQ(ReadFile(Path("out/deep/run.txt")), "[1]\t100\r\n[3]\t300\r\n");
  ASSERT_TRUE(fs::exists(Path("out/deep/run_000003.t16")));
  EXPECT_FALSE(fs::exists(Path("out/deep/run_000000.t16")));
  // Back into a film: the pixels behind the cells are the film's.
  const ImportResult back = ImportFilm({{Path("out/deep/run_000001.t16")}, {Path("out/deep/run_000003.t16")}},
                                       Path("back.vid"), ImportOptions{});
  ASSERT_TRUE(back.ok) << back.error;
  EXPECT_EQ(Behind(FrameSamples(Path("back.vid"), 1), 3), Behind(FrameSamples(film, 3), 3));
  EXPECT_EQ(ExportFrameName("/o", "b", 12, 1), "/o/b_000012.tif");
  EXPECT_EQ(ExportImageFilter(8), 9);
  EXPECT_EQ(ExportFilterExtension(8), ".r16");
}

TEST_F(FilmImportTest, TheSheetOfAFilmHoldsFrameNumbersAndColumns) {
  const std::string film = Film("run.vid", 3, {"energy (eV)", "time (s)"});
  std::unique_ptr<VideoFile> f = OpenFilmToRead(film);
  Form_Worksheet sheet(nullptr);
  ASSERT_TRUE(FillFilmWorksheet(*f, sheet));
  EXPECT_EQ(sheet.Cols(), 4);
  EXPECT_EQ(sheet.Rows(), 4);
  EXPECT_EQ(sheet.ColName(1), "Frame #");
  EXPECT_EQ(sheet.Record(1).Typ, kTypX);
  EXPECT_EQ(sheet.ColName(3), "time (s)");
  double v = 0;
  ASSERT_TRUE(sheet.NumberAt(3, 1, v));
  EXPECT_EQ(v, 2);
  ASSERT_TRUE(sheet.NumberAt(3, 3, v));
  EXPECT_EQ(v, 201);
}

TEST_F(FilmImportTest, TheExportDialogChecksItsFields) {
  Form_VTR_Export form(10, 7, 3, "/films/run.vid");
  EXPECT_EQ(form.Text_From, "3");
  EXPECT_EQ(form.Text_Log, "/films/run.txt");
  form.Option_Selection = Form_VTR_Export::kSelection;
  ASSERT_TRUE(form.Command_OK());
  EXPECT_EQ(form.Frames, (std::vector<long>{3, 4, 5, 6, 7}));
  EXPECT_EQ(form.Base, "run");
  form.Option_Selection = Form_VTR_Export::kRange;
  form.Text_From = "8";
  form.Text_To = "10";
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.Command_OK());
  EXPECT_EQ(host.messages.back().text, "To: frame 8 ... 9 expected.");
  Form_VTR_Export none(10, -1, -1, "/films/run.vid");
  none.Option_Selection = Form_VTR_Export::kSelection;
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(none.Command_OK());
  none.Option_Selection = Form_VTR_Export::kAll;
  none.Option_Filename = 1;
  none.Text_Filename = "frame";
  ASSERT_TRUE(none.Command_OK());
  EXPECT_EQ(none.Frames.size(), 10u);
  EXPECT_EQ(none.Base, "frame");
}

}  // namespace
}  // namespace sv
