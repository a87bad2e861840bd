#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "analysis/scan_windows.h"
#include "batch_fixture.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "video/class_sv2vid.h"
#include "video/form_soft_vtr.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {
namespace {

constexpr long kW = 64, kH = 48, kBits = 12, kFrames = 7;

class BatchFilmScanTest : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    par = root + "/w.par";
    // Two windows away from the first line, where the numbers sit; a third
    // is not selected.
    test::WriteFile(par,
                    "[Window1]\r\nX1=4\r\nY1=6\r\nW=10\r\nH=8\r\nSelect=1\r\n"
                    "[Window2]\r\nX1=30\r\nY1=20\r\nW=16\r\nH=12\r\nSelect=1\r\n"
                    "[Window3]\r\nX1=40\r\nY1=30\r\nW=4\r\nH=4\r\nSelect=0\r\n");
  }
  // A film of kFrames frames; with `energy` frame f is at 100 - 10 f eV.
  // Each frame has a bright spot that wanders.
  std::string Film(bool energy) {
    const std::string path = root + (energy ? "/ie.vid" : "/it.vid");
    Class_SV2VID film;
    std::string p = path;
    long w = kW, h = kH, b = kBits;
    float rate = 10;
    EXPECT_TRUE(film.FileOpen(p, kFilmOpenCreateWrite, &w, &h, &b, &rate, false));
    if (energy) {
      EXPECT_TRUE(film.NumericData({"energy (eV)", "time (s)"}));
    }
    std::vector<uint16_t> frame(size_t(kW * kH));
    for (long f = 0; f < kFrames; ++f) {
      for (long y = 0; y < kH; ++y)
        for (long x = 0; x < kW; ++x) {
          const long dx = x - (6 + 5 * f), dy = y - (10 + 3 * f);
          frame[size_t(y * kW + x)] =
              uint16_t(100 + (x * 7 + y * 3 + f) % 50 + (dx * dx + dy * dy < 9 ? 3000 : 0));
        }
      if (energy) {
        const std::vector<float> cells{float(f), 100.0f - 10.0f * float(f), 0.25f * float(f)};
        EXPECT_TRUE(SV_code(Samples8(reinterpret_cast<uint8_t*>(frame.data()), frame.size() * 2),
                            cells));
      }
      EXPECT_TRUE(film.WriteFrame(uint32_t(f), frame.data()));
    }
    EXPECT_TRUE(film.FileClose());
    return path;
  }
  struct Sheet {
    long rows = -1, cols = 0;
    std::vector<std::vector<double>> cells;  // [row][col], data columns from 1
  };
  static Sheet ReadSheet(const std::string& path) {
    test::ScriptedHost host;
    MDIForm_Main main;
    RegisterPlotDocuments(main);
    struct Unregister {
      ~Unregister() {
        SetPlotFactory(nullptr);
        SetAddPlotHandler(nullptr);
      }
    } unregister;
    Form_Worksheet sheet;
    Sheet s;
    if (sheet.OpenWorksheet(path) != 0) return s;
    s.rows = sheet.Rows() - 1;
    s.cols = sheet.Cols() - 1;
    for (long r = 0; r < s.rows; ++r) {
      std::vector<double> row;
      for (long c = 0; c <= s.cols; ++c) row.push_back(sheet.CellAt(r + 1, c).Number());
      s.cells.push_back(row);
    }
    return s;
  }
  // The window numbers of each frame, one frame at a time through the player.
  std::vector<std::vector<float>> FrameByFrame(const std::string& film,
                                               const std::vector<long>& frames) {
    test::ScriptedHost host;
    ResetWindowGlobals();
    EXPECT_TRUE(WindowsLoad(par));
    Form_SoftVTR player;
    EXPECT_TRUE(player.OpenVideo(film));
    std::vector<std::vector<float>> rows;
    for (long f : frames) {
      EXPECT_TRUE(player.GotoFrame(f));
      const Form_Camera& image = *player.Image();
      std::vector<float> row;
      for (int i : {0, 1}) {
        AnalysisResult r;
        const size_t n = size_t(kW * kH);
        EXPECT_TRUE(WindowRectAnalysis(WG().ScanWindows[size_t(i)], FrameSize{kW, kH},
                                       ConstSamples16(image.ImagePtr(), n), (1L << kBits) - 1,
                                       false, r));
        row.insert(row.end(), {r.I.max, r.I.total, r.I.back});
      }
      rows.push_back(row);
    }
    player.CloseVideo();
    ResetWindowGlobals();
    return rows;
  }
  void ExpectRows(const Sheet& s, const std::vector<std::vector<float>>& expected, long first,
                  bool ie) {
    ASSERT_EQ(s.rows, long(expected.size()));
    const long base = ie ? 3 : 2;  // energy, time, then three numbers a window
    ASSERT_EQ(s.cols, base - 1 + 6);
    for (size_t r = 0; r < expected.size(); ++r) {
      const long f = first + long(r);
      if (ie) {
        EXPECT_FLOAT_EQ(float(s.cells[r][1]), 100.0f - 10.0f * float(f)) << r;
        EXPECT_FLOAT_EQ(float(s.cells[r][2]), 0.25f * float(f)) << r;
      } else {
        EXPECT_FLOAT_EQ(float(s.cells[r][1]), 0.5f * float(f)) << r;
      }
      for (size_t c = 0; c < 6; ++c)
        EXPECT_FLOAT_EQ(float(s.cells[r][size_t(base) + c]), expected[r][c]) << r << "," << c;
    }
  }
  std::string par;
};

TEST_F(BatchFilmScanTest, AnEnergyFilmGivesTheRowsOfItsFramesOneByOne) {
  const std::string film = Film(true), sheet = root + "/out/ie.sht";
  std::filesystem::create_directories(root + "/out");
  ASSERT_EQ(Run({"film-scan", film, "--par", par, "--out", sheet}), 0) << err.str();
  EXPECT_EQ(out.str(), sheet + ": 7 rows\n");
  ExpectRows(ReadSheet(sheet), FrameByFrame(film, {0, 1, 2, 3, 4, 5, 6}), 0, true);
  // Nothing else is left beside the sheet (no journal, no run sheet).
  long files = 0;
  for (const auto& e : std::filesystem::directory_iterator(root + "/out")) files += e.exists();
  EXPECT_EQ(files, 1);
}

TEST_F(BatchFilmScanTest, AnEnergyRangeCountsEitherWayRound) {
  const std::string film = Film(true);
  const auto expected = FrameByFrame(film, {2, 3, 4});
  for (auto [e0, e1] : {std::pair{"80", "60"}, std::pair{"60", "80"}}) {
    const std::string sheet = root + "/r" + e0 + ".sht";
    ASSERT_EQ(Run({"film-scan", film, "--par", par, "--out", sheet, "--energy-range", e0, e1}), 0)
        << err.str();
    EXPECT_EQ(out.str(), sheet + ": 3 rows\n");
    ExpectRows(ReadSheet(sheet), expected, 2, true);
  }
}

TEST_F(BatchFilmScanTest, AFilmWithoutEnergyIsAnItRunOverAllFrames) {
  const std::string film = Film(false), sheet = root + "/it.sht";
  ASSERT_EQ(Run({"film-scan", film, "--par", par, "--out", sheet}), 0) << err.str();
  EXPECT_EQ(out.str(), sheet + ": 7 rows\n");
  ExpectRows(ReadSheet(sheet), FrameByFrame(film, {0, 1, 2, 3, 4, 5, 6}), 0, false);
}

TEST_F(BatchFilmScanTest, BadCommandLinesAndMissingFiles) {
  for (std::vector<std::string> args :
       {std::vector<std::string>{"film-scan"}, {"film-scan", "a.vid"},
        {"film-scan", "a.vid", "--par", "w.par"}, {"film-scan", "a.vid", "b.vid"},
        {"film-scan", "a.vid", "--par"}, {"film-scan", "a.vid", "--energy-range", "1"},
        {"film-scan", "a.vid", "--energy-range", "1", "x"}, {"film-scan", "--bogus"}}) {
    EXPECT_EQ(Run(args), 2) << args.back();
    EXPECT_NE(err.str().find("usage: svbatch"), std::string::npos);
  }
  EXPECT_EQ(Run({"film-scan", root + "/none.vid", "--par", par, "--out", root + "/o.sht"}), 1);
  EXPECT_EQ(err.str(), "svbatch: no film " + root + "/none.vid\n");
  const std::string film = Film(false);
  test::WriteFile(root + "/none.par", "[Window1]\r\nX1=4\r\nY1=6\r\nW=10\r\nH=8\r\nSelect=0\r\n");
  EXPECT_EQ(Run({"film-scan", film, "--par", root + "/none.par", "--out", root + "/o.sht"}), 1);
  EXPECT_NE(err.str().find("selects no window"), std::string::npos) << err.str();
  test::WriteFile(root + "/bad.vid", "not a film at all");
  EXPECT_EQ(Run({"film-scan", root + "/bad.vid", "--par", par, "--out", root + "/o.sht"}), 1);
  EXPECT_NE(err.str().find("cannot open the film"), std::string::npos) << err.str();
  EXPECT_EQ(Run({"help"}), 0);
  EXPECT_NE(out.str().find("  film-scan FILE --par WINDOWS.par --out SHEET.sht"),
            std::string::npos);
}

}  // namespace
}  // namespace sv::cli
