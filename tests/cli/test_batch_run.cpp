// svbatch run and recover: runs of the settings' definition on the dummy
// devices (I(E) over a sweep file, I(t) by steps), what they print and where
// the sheet goes; a run killed outright and its journal recovered; Ctrl-C
// and SIGTERM as the stop button. The runs in a child take real time; no
// test checks how long anything took.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <regex>

#include "batch_child.h"
#include "batch_fixture.h"
#include "core/mdi_main.h"
#include "experiment/run_journal.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {
namespace {

namespace fs = std::filesystem;

using Child = test::BatchChild;

class BatchRunTest : public BatchFixture {
 protected:
  void SetUp() override {
    BatchFixture::SetUp();
    sheets = root + "/sheets/";
    ini = root + "/run.ini";
    // One window on the dummy camera; I(t) steps every 100 ms without end.
    WriteIni("");
    swp = root + "/e.swp";
    test::WriteFile(swp, "20\r\n25,30.5\r\n35\r\n");
  }
  void WriteIni(const std::string& more) {
    test::WriteFile(ini,
                    "[HARDWARE]\r\nGrabber=DummyGrb\r\nA/D-Converter=DummyAD\r\n"
                    "D/A-Converter=DummyDA\r\nI/O-Converter=DummyIO\r\n"
                    "[Pathes]\r\nSheets=" + sheets + "\r\n"
                    "[Window1]\r\nX1=10\r\nY1=10\r\nW=20\r\nH=20\r\nSelect=1\r\nPlot=1\r\n"
                    "[I(T) I(E)]\r\nt-Stop=0\r\nt-Step=0.1\r\n" + more);
  }
  // The files of the worksheet folder with that extension.
  std::vector<std::string> Files(const std::string& ext) const {
    std::vector<std::string> found;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(sheets, ec))
      if (e.path().extension() == ext) found.push_back(e.path().string());
    return found;
  }
  std::vector<std::string> OutLines() const {
    std::vector<std::string> lines;
    std::istringstream in(out.str());
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
  static long SheetRows(const std::string& path, long* cols = nullptr, long row = 0,
                        long col = 0, double* value = nullptr) {
    test::ScriptedHost host;
    MDIForm_Main main;
    RegisterPlotDocuments(main);  // the plots in the file read
    struct Unregister {
      ~Unregister() {
        SetPlotFactory(nullptr);
        SetAddPlotHandler(nullptr);
      }
    } unregister;
    Form_Worksheet sheet;
    if (sheet.OpenWorksheet(path) != 0) return -1;
    if (cols) *cols = sheet.Cols() - 1;
    if (value) *value = sheet.CellAt(row, col).Number();
    return sheet.Rows() - 1;
  }
  std::string sheets, ini, swp;
};

TEST_F(BatchRunTest, BadCommandLinesAndFilesThatAreNotThere) {
  for (std::vector<std::string> args :
       {std::vector<std::string>{"run", "--type", "ix"}, {"run", "--max-steps", "0"},
        {"run", "--max-steps", "2x"}, {"run", "a.swp", "b.swp"}, {"run", "--bogus"},
        {"run", "--out"}, {"recover"}, {"recover", "a.jnl"}, {"recover", "a", "b", "c"}}) {
    EXPECT_EQ(Run(args), 2) << args.back();
    EXPECT_NE(err.str().find("usage: svbatch"), std::string::npos);
  }
  EXPECT_EQ(Run({"run", "--ini", root + "/none.ini"}), 1);
  EXPECT_EQ(err.str(), "svbatch: no ini file " + root + "/none.ini\n");
  EXPECT_EQ(Run({"run", root + "/none.swp", "--ini", ini}), 1);
  EXPECT_EQ(Run({"help"}), 0);
  EXPECT_NE(out.str().find("  run [FILE.swp] [--out SHEET.sht]"), std::string::npos);
  EXPECT_NE(out.str().find("  recover JOURNAL OUT.sht"), std::string::npos);
}

TEST_F(BatchRunTest, SweepRunGoesThroughTheListFromItsFirstEnergy) {
  const std::string sheet = root + "/ie.sht";
  ASSERT_EQ(Run({"run", swp, "--out", sheet, "--ini", ini}), 0) << err.str();
  // Rows in a sweep come at the speed of grabbing: the first is printed.
  const auto lines = OutLines();
  ASSERT_GE(lines.size(), 3u) << out.str();
  EXPECT_EQ(lines[0], "row 1, time 0 s, energy 20 eV");
  EXPECT_EQ(lines[lines.size() - 2], "4 Records saved to " + sheet);
  EXPECT_EQ(lines.back(), "StopCode 0");
  long cols = 0;
  double energy = 0;
  EXPECT_EQ(SheetRows(sheet, &cols, 3, 1, &energy), 4);
  EXPECT_EQ(cols, 5);  // energy, time, three of the window
  EXPECT_FLOAT_EQ(energy, 30.5f);
  // Nothing is left in the worksheet folder: no sheet of the run's own name,
  // no journal.
  EXPECT_TRUE(Files(".sht").empty());
  EXPECT_TRUE(Files(".jnl").empty());

  // The same with a limit: two rows, no stop code.
  ASSERT_EQ(Run({"run", swp, "--out", sheet, "--ini", ini, "--max-steps", "2"}), 0) << err.str();
  EXPECT_EQ(OutLines().back(), "StopCode 0");
  EXPECT_EQ(SheetRows(sheet), 2);
}

TEST_F(BatchRunTest, TimeRunByStepsIsSavedUnderItsOwnName) {
  ASSERT_EQ(Run({"run", "--ini", ini, "--max-steps", "3", "--save-xy"}), 0) << err.str();
  const auto saved = Files(".sht");
  ASSERT_EQ(saved.size(), 1u);
  EXPECT_TRUE(std::regex_match(fs::path(saved[0]).filename().string(),
                               std::regex(R"(I\(t\)-Experiment_(\d\d-){5}\d\d\.sht)")))
      << saved[0];
  const auto lines = OutLines();
  ASSERT_GE(lines.size(), 3u);
  // The first row comes one step in; a busy machine may wake the wait late.
  std::smatch first;
  ASSERT_TRUE(std::regex_match(lines[0], first, std::regex(R"(row 1, time ([0-9.]+) s)"))) << lines[0];
  EXPECT_GE(std::stod(first[1]), 0.1);
  EXPECT_LT(std::stod(first[1]), 0.3);
  EXPECT_EQ(lines[lines.size() - 2], "3 Records saved to " + saved[0]);
  long cols = 0;
  EXPECT_EQ(SheetRows(saved[0], &cols), 3);
  EXPECT_EQ(cols, 6);  // time, three of the window, X.max and Y.max
  EXPECT_TRUE(Files(".jnl").empty());
}

TEST_F(BatchRunTest, ARunThatCannotStartWritesNoSheet) {
  test::WriteFile(ini, "[HARDWARE]\r\nGrabber=DummyGrb\r\n[Pathes]\r\nSheets=" + sheets + "\r\n");
  EXPECT_EQ(Run({"run", "--ini", ini, "--out", root + "/x.sht"}), 1);
  EXPECT_NE(err.str().find("Nothing to scan for."), std::string::npos) << err.str();
  EXPECT_EQ(out.str(), "");
  EXPECT_FALSE(fs::exists(root + "/x.sht"));

  // A sweep file out of range is refused before anything runs.
  WriteIni("");
  test::WriteFile(swp, "20\n2000\n");
  EXPECT_EQ(Run({"run", swp, "--ini", ini}), 1);
  EXPECT_NE(err.str().find("Energy[1] = 2000 eV is out of range"), std::string::npos);
  EXPECT_TRUE(Files(".sht").empty());
}

TEST_F(BatchRunTest, RecoverWritesEveryCompleteRowAndRefusesOtherFiles) {
  JournalHeader h;
  h.experimentType = 0;
  h.columns = {{"time (s)", "", 0}, {"I.max_1", "", 1}};
  std::string text = JournalHeaderText(h);
  for (long r = 1; r <= 5; ++r) text += JournalRowText(r, {0.1 * r, 100.0 + r});
  const std::string journal = root + "/run.sht.jnl";
  test::WriteFile(journal, text + "6\t0.6\t10");
  const std::string sheet = root + "/back.sht";
  ASSERT_EQ(Run({"recover", journal, sheet}), 0) << err.str();
  EXPECT_EQ(out.str(), "5 rows recovered to " + sheet + "\n");
  EXPECT_NE(err.str().find("the last line was incomplete and was dropped"), std::string::npos);
  double v = 0;
  EXPECT_EQ(SheetRows(sheet, nullptr, 5, 2, &v), 5);
  EXPECT_EQ(v, 105);
  EXPECT_TRUE(fs::exists(journal));  // kept

  const std::string other = root + "/other.sht";
  EXPECT_EQ(Run({"recover", ini, other}), 1);
  EXPECT_EQ(err.str(), "svbatch: " + ini + ": no run journal\n");
  EXPECT_FALSE(fs::exists(other));
  EXPECT_EQ(Run({"recover", root + "/none.jnl", other}), 1);
  EXPECT_FALSE(fs::exists(other));
}

// The row number of a "row N, time ..." line; -1 for any other line.
long PrintedRow(const std::string& line) {
  std::smatch m;
  if (!std::regex_match(line, m, std::regex(R"(row (\d+), time [0-9.e+-]+ s)"))) return -1;
  return std::stol(m[1]);
}

TEST_F(BatchRunTest, AKilledRunLosesNoPrintedRow) {
  Child child({"run", "--ini", ini});
  long last = 0;
  for (int printed = 0; printed < 3; ++printed) {
    const std::string line = child.OutLine();
    last = PrintedRow(line);
    ASSERT_GT(last, 0) << line;
  }
  ::kill(child.Pid(), SIGKILL);
  EXPECT_EQ(child.Wait(), 128 + SIGKILL);

  const auto journals = Files(".jnl");
  ASSERT_EQ(journals.size(), 1u);
  std::string error;
  const auto j = ReadJournal(journals[0], error);
  ASSERT_TRUE(j) << error;
  EXPECT_FALSE(j->ended);
  ASSERT_GE(long(j->rows.size()), last);
  for (size_t i = 0; i < j->rows.size(); ++i) EXPECT_EQ(j->rows[i].first, long(i + 1));

  const std::string sheet = root + "/recovered.sht";
  ASSERT_EQ(Run({"recover", journals[0], sheet}), 0) << err.str();
  EXPECT_EQ(out.str(), std::to_string(j->rows.size()) + " rows recovered to " + sheet + "\n");
  double time = 0;
  EXPECT_EQ(SheetRows(sheet, nullptr, last, 1, &time), long(j->rows.size()));
  EXPECT_FLOAT_EQ(float(time), float(j->rows[size_t(last - 1)].second[0]));
}

TEST_F(BatchRunTest, CtrlCAndSigtermStopTheRunWhichIsSaved) {
  for (int signal : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(signal);
    Child child({"run", "--ini", ini});
    ASSERT_GT(PrintedRow(child.OutLine()), 0);
    ::kill(child.Pid(), signal);
    std::string line, saved;
    while (!(line = child.OutLine()).empty() && line.rfind("StopCode", 0) != 0)
      if (line.find(" Records saved to ") != std::string::npos) saved = line;
    EXPECT_EQ(line, "StopCode 10007 Experiment canceled by user");
    EXPECT_EQ(child.Wait(), 0);
    std::smatch m;
    ASSERT_TRUE(std::regex_match(saved, m, std::regex(R"((\d+) Records saved to (.*))"))) << saved;
    EXPECT_EQ(SheetRows(m[2]), std::stol(m[1]));
    EXPECT_TRUE(Files(".jnl").empty());
    for (const auto& f : Files(".sht")) fs::remove(f);
  }
}

}  // namespace
}  // namespace sv::cli
