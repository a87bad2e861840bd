#include <gtest/gtest.h>
#include <stdlib.h>

#include <QImage>
#include <QString>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "batch_fixture.h"
#include "cli/batch.h"
#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

class PlotExportTest : public BatchFixture {
 protected:
  std::string Path(const std::string& name) const { return root + "/" + name; }
  // A sheet of a spectrum with two plots: "Plot1" titled "First" and
  // "Spectrum" titled "Second". Returns the file's size.
  long WriteSheet(const std::string& name, int plots = 2) {
    MDIForm_Main main;
    RegisterPlotDocuments(main);
    Form_Worksheet s;
    s.Cols(3);
    s.Rows(41);
    for (long r = 1; r <= 40; ++r) {
      s.TextMatrix(r, 1, Cell(float(r)));
      s.TextMatrix(r, 2, Cell(float((r - 20) * (r - 20))));
    }
    for (int i = 0; i < plots; ++i) {
      SheetPlot* p = nullptr;
      EXPECT_TRUE(s.NewPlot(p));
      auto* plot = dynamic_cast<Form_Plot*>(p);
      if (!plot) break;
      plot->TitleText(i == 0 ? "First" : "Second");
      if (i == 1) plot->SetPlotName("Spectrum");
      s.Col(2);
      plot->AddCurve();
      plot->CurveXCol(1);
    }
    EXPECT_EQ(s.SaveWorksheet(Path(name)), 0);
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    return long(fs::file_size(Path(name)));
  }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(root)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  QSize ImageSize(const std::string& name) const {
    return QImage(QString::fromStdString(Path(name))).size();
  }
};

TEST_F(PlotExportTest, WritesThePlotAskedForByNumberOrName) {
  WriteSheet("s.sht");
  ASSERT_EQ(Run({"plot-export", Path("s.sht"), Path("a.png"), "--width", "320", "--height",
                 "200"}),
            0)
      << err.str();
  EXPECT_EQ(out.str(), Path("a.png") + ": " + std::to_string(fs::file_size(Path("a.png"))) +
                           " bytes\n");
  EXPECT_EQ(ImageSize("a.png"), QSize(320, 200));

  // The SVG keeps the titles as text: which plot was drawn shows.
  ASSERT_EQ(Run({"plot-export", Path("s.sht"), Path("one.svg")}), 0) << err.str();
  ASSERT_EQ(Run({"plot-export", Path("s.sht"), Path("two.svg"), "--plot", "2"}), 0) << err.str();
  ASSERT_EQ(Run({"plot-export", Path("s.sht"), Path("name.svg"), "--plot", "Spectrum"}), 0)
      << err.str();
  ASSERT_EQ(Run({"plot-export", Path("s.sht"), Path("lower.svg"), "--plot", "spectrum"}), 0)
      << err.str();
  const std::string one = test::ReadFile(Path("one.svg")), two = test::ReadFile(Path("two.svg"));
  EXPECT_NE(one.find(">First<"), std::string::npos);
  EXPECT_EQ(one.find(">Second<"), std::string::npos);
  EXPECT_NE(two.find(">Second<"), std::string::npos);
  EXPECT_EQ(test::ReadFile(Path("name.svg")), two);
  EXPECT_EQ(test::ReadFile(Path("lower.svg")), two);
  EXPECT_EQ(Files(), (std::vector<std::string>{"a.png", "home", "lower.svg", "name.svg", "one.svg",
                                               "s.sht", "two.svg"}));
}

TEST_F(PlotExportTest, ThePrinterPageAtTheResolution) {
  WriteSheet("s.sht", 1);
  ASSERT_EQ(Run({"plot-export", Path("s.sht"), Path("a.png")}), 0) << err.str();
  EXPECT_EQ(ImageSize("a.png"), QSize(1754, 1240));  // A4 in landscape at 150 per inch
  ASSERT_EQ(Run({"plot-export", Path("s.sht"), Path("b.png"), "--dpi", "50"}), 0) << err.str();
  EXPECT_EQ(ImageSize("b.png"), QSize(585, 413));
  ASSERT_EQ(Run({"plot-export", Path("s.sht"), Path("c.PDF"), "--dpi", "72"}), 0) << err.str();
  EXPECT_EQ(test::ReadFile(Path("c.PDF")).rfind("%PDF", 0), 0u);
}

TEST_F(PlotExportTest, OffscreenWhateverTheEnvironmentSays) {
  WriteSheet("s.sht", 1);
  const char* was = std::getenv("QT_QPA_PLATFORM");
  const std::string saved = was ? was : "";
  setenv("QT_QPA_PLATFORM", "xcb", 1);
  unsetenv("DISPLAY");
  const int code = Run({"plot-export", Path("s.sht"), Path("a.png"), "--dpi", "20"});
  EXPECT_STREQ(std::getenv("QT_QPA_PLATFORM"), "xcb");
  if (was) setenv("QT_QPA_PLATFORM", saved.c_str(), 1);
  else unsetenv("QT_QPA_PLATFORM");
  EXPECT_EQ(code, 0) << err.str();
  EXPECT_TRUE(fs::exists(Path("a.png")));
}

TEST_F(PlotExportTest, BadCommandLines) {
  WriteSheet("s.sht", 1);
  const std::string s = Path("s.sht"), png = Path("a.png");
  const std::vector<std::vector<std::string>> bad = {
      {"plot-export", s},
      {"plot-export", s, png, Path("b.png")},
      {"plot-export", s, Path("a.gif")},
      {"plot-export", s, Path("a")},
      {"plot-export", s, png, "--colour", "red"},
      {"plot-export", s, png, "--width", "100"},
      {"plot-export", s, png, "--height", "100"},
      {"plot-export", s, png, "--width", "100", "--height", "100", "--dpi", "96"},
      {"plot-export", s, png, "--width", "0", "--height", "100"},
      {"plot-export", s, png, "--width", "100", "--height", "-4"},
      {"plot-export", s, png, "--width", "1e3", "--height", "100"},
      {"plot-export", s, png, "--width", "99999", "--height", "100"},
      {"plot-export", s, png, "--dpi", "0"},
      {"plot-export", s, png, "--dpi", "ninety"},
      {"plot-export", s, png, "--dpi"},
      {"plot-export", s, png, "--plot"},
      {"plot-export", s, png, "--plot", "0"},
  };
  for (const auto& args : bad) {
    std::string line;
    for (const auto& a : args) line += a + " ";
    EXPECT_EQ(Run(args), 2) << line;
    EXPECT_NE(err.str().find("svbatch: "), std::string::npos) << line;
  }
  EXPECT_EQ(Files(), (std::vector<std::string>{"home", "s.sht"}));
  ASSERT_EQ(Run({"help"}), 0);
  EXPECT_NE(out.str().find("plot-export SHEET.sht OUT.png|OUT.svg|OUT.pdf"), std::string::npos);
}

TEST_F(PlotExportTest, FailuresLeaveNoFile) {
  WriteSheet("s.sht");
  EXPECT_EQ(Run({"plot-export", Path("none.sht"), Path("a.png")}), 1);
  EXPECT_NE(err.str().find("Open Worksheet"), std::string::npos) << err.str();
  EXPECT_EQ(Run({"plot-export", Path("s.sht"), Path("a.png"), "--plot", "3"}), 1);
  EXPECT_NE(err.str().find("no plot 3"), std::string::npos) << err.str();
  EXPECT_EQ(Run({"plot-export", Path("s.sht"), Path("a.png"), "--plot", "Nope"}), 1);
  // A folder that is not there, a target that is a folder.
  EXPECT_EQ(Run({"plot-export", Path("s.sht"), Path("gone/a.png")}), 1);
  EXPECT_NE(err.str().find(Path("gone/a.png")), std::string::npos) << err.str();
  fs::create_directories(Path("taken.svg/x"));
  EXPECT_EQ(Run({"plot-export", Path("s.sht"), Path("taken.svg")}), 1);
  EXPECT_FALSE(err.str().empty());
  EXPECT_EQ(Files(), (std::vector<std::string>{"home", "s.sht", "taken.svg"}));
}

TEST_F(PlotExportTest, ABrokenPlotBlock) {
  const long bare = WriteSheet("bare.sht", 0);
  const long full = WriteSheet("s.sht", 1);
  ASSERT_GT(full, bare + 20);
  // The plot block ends inside the layer record.
  fs::resize_file(Path("s.sht"), uintmax_t(bare + 12));
  EXPECT_EQ(Run({"plot-export", Path("s.sht"), Path("a.png")}), 1);
  EXPECT_NE(err.str().find("Open Worksheet"), std::string::npos) << err.str();
  EXPECT_FALSE(fs::exists(Path("a.png")));
}

}  // namespace
}  // namespace sv::cli
