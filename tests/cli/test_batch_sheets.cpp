#include <gtest/gtest.h>

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

class BatchSheetsTest : public BatchFixture {
 protected:
  std::string Path(const std::string& name) const { return root + "/" + name; }
};

TEST_F(BatchSheetsTest, ImportInfoExport) {
  test::WriteFile(Path("in.txt"), "# run 4\r\nE;I\r\n10.5;100\r\n11.5;\r\n");
  ASSERT_EQ(Run({"sheet-import", Path("in.txt"), Path("s.sht"), "--delimiter", ";",
                 "--header-lines", "1"}),
            0)
      << err.str();
  EXPECT_EQ(out.str(), Path("s.sht") + ": 2 rows, 2 columns\n");

  ASSERT_EQ(Run({"sheet-info", Path("s.sht")}), 0) << err.str();
  EXPECT_EQ(out.str(), "file: " + Path("s.sht") +
                           "\nrows: 2\ncolumns: 2\ncolumn 1: A [X] E\ncolumn 2: B [Y] I\n"
                           "plots: 0\n");

  ASSERT_EQ(Run({"sheet-export", Path("s.sht"), Path("out.dat"), "--all"}), 0) << err.str();
  EXPECT_EQ(test::ReadFile(Path("out.dat")), "E\tI\r\n10.5\t100\r\n11.5\t\r\n");
}

TEST_F(BatchSheetsTest, ImportAddsColumnsToAnExistingSheet) {
  test::WriteFile(Path("a.txt"), "1\t2\r\n3\t4\r\n");
  test::WriteFile(Path("b.txt"), "5\r\n6\r\n");
  ASSERT_EQ(Run({"sheet-import", Path("a.txt"), Path("s.sht")}), 0) << err.str();
  ASSERT_EQ(Run({"sheet-import", Path("b.txt"), Path("s.sht"), "--as", "columns"}), 0)
      << err.str();
  EXPECT_EQ(out.str(), Path("s.sht") + ": 2 rows, 3 columns\n");
  ASSERT_EQ(Run({"sheet-export", Path("s.sht"), Path("out.dat")}), 0) << err.str();
  EXPECT_EQ(test::ReadFile(Path("out.dat")), "A\tB\tC1\r\n1\t2\t5\r\n3\t4\t6\r\n");
}

TEST_F(BatchSheetsTest, InfoListsThePlots) {
  {
    MDIForm_Main main;
    RegisterPlotDocuments(main);
    Form_Worksheet s;
    s.Cols(3);
    s.Rows(3);
    SheetPlot* p = nullptr;
    ASSERT_TRUE(s.NewPlot(p));
    auto* plot = dynamic_cast<Form_Plot*>(p);
    ASSERT_NE(plot, nullptr);
    plot->TitleText("Ag(111)");
    plot->SetXRange(0, 10);
    plot->SetYRange(0, 100);
    s.Col(2);
    plot->AddCurve();
    plot->CurveXCol(1);
    ASSERT_EQ(s.SaveWorksheet(Path("p.sht")), 0);
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
  }
  ASSERT_EQ(Run({"sheet-info", Path("p.sht")}), 0) << err.str();
  for (const char* line : {"plots: 1\n", "plot 1: Ag(111)\n", "  x axis: 0 to 10", "  y axis: 0 to 100",
                           "  curve 1: x 1, y 2"})
    EXPECT_NE(out.str().find(line), std::string::npos) << line << "\n" << out.str();
}

TEST_F(BatchSheetsTest, ConvertMos) {
  test::WriteFile(Path("m.mos"), "2 mm/s\r\nx\r\n       10       20       30\r\n");
  ASSERT_EQ(Run({"sheet-convert", Path("m.mos"), Path("m.sht")}), 0) << err.str();
  EXPECT_EQ(out.str(), Path("m.sht") + ": 3 rows, 3 columns\n");
  ASSERT_EQ(Run({"sheet-info", Path("m.sht")}), 0) << err.str();
  EXPECT_NE(out.str().find("column 1: A [X]\n"), std::string::npos) << out.str();
}

// The files physicists bring: a tab file under a header line, a comma file
// with decimal points, a ".MOS" spectrum. Each comes back with its numbers.
TEST_F(BatchSheetsTest, ConvertsTheUsualTextFiles) {
  struct Case {
    const char* file;
    const char* text;
    std::vector<std::string> options;
    const char* exported;
  };
  const Case cases[] = {
      {"tab.dat", "E (eV)\tI\r\n20\t369.5\r\n25\t362.25\r\n", {}, "E (eV)\tI\r\n20\t369.5\r\n25\t362.25\r\n"},
      {"comma.csv", "10.5,100.25\n11.5,99.75\n", {"--delimiter", ","}, "A\tB\r\n10.5\t100.25\r\n11.5\t99.75\r\n"},
  };
  for (const Case& c : cases) {
    test::WriteFile(Path(c.file), c.text);
    std::vector<std::string> args = {"sheet-import", Path(c.file), Path("t.sht")};
    args.insert(args.end(), c.options.begin(), c.options.end());
    ASSERT_EQ(Run(args), 0) << c.file << err.str();
    ASSERT_EQ(Run({"sheet-export", Path("t.sht"), Path("t.dat"), "--all"}), 0) << err.str();
    EXPECT_EQ(test::ReadFile(Path("t.dat")), c.exported) << c.file;
  }

  // v = (row / (Rows / 2) - 1) * vmax with Rows = 5, so the velocity runs
  // from about -vmax to about +vmax; column 3 is Imax - I.
  test::WriteFile(Path("s.mos"), "4 mm/s\r\nrun 7\r\n       10       30       20       40\r\n");
  ASSERT_EQ(Run({"sheet-convert", Path("s.mos"), Path("s.sht")}), 0) << err.str();
  ASSERT_EQ(Run({"sheet-export", Path("s.sht"), Path("s.dat"), "--all"}), 0) << err.str();
  EXPECT_EQ(test::ReadFile(Path("s.dat")),
            "A\tB\tC1\r\n-2.4\t10\t30\r\n-0.8\t30\t10\r\n0.8\t20\t20\r\n2.4\t40\t0\r\n");
}

TEST_F(BatchSheetsTest, BadFilesAndOptions) {
  test::WriteFile(Path("bad.sht"), "not a sheet");
  EXPECT_EQ(Run({"sheet-info", Path("bad.sht")}), 1);
  EXPECT_NE(err.str().find("Open Worksheet: " + Path("bad.sht")), std::string::npos) << err.str();
  EXPECT_EQ(Run({"sheet-import", "a", "b", "--as", "diagonal"}), 2);
  EXPECT_EQ(Run({"sheet-import", "a", "b", "--delimiter", "ab"}), 2);
  EXPECT_EQ(Run({"sheet-export", "a"}), 2);
}

}  // namespace
}  // namespace sv::cli
