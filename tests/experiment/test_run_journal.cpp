// The run's journal: numbers that read back exactly, the file the writer
// leaves (also when killed mid-line or when the disk fills), what the reader
// keeps and refuses, the lock of a running journal, and the sheet rebuilt.
#include "experiment/run_journal.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cfloat>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {
namespace {

constexpr double kGap = std::numeric_limits<double>::quiet_NaN();

JournalHeader Header(const std::string& sheetPath) {
  JournalHeader h;
  h.experimentType = 1;
  h.sheetPath = sheetPath;
  h.columns = {{"energy (eV)", "", 0}, {"time (s)", "", 1}, {"I.max_1", "tab\there", 1},
               {"ADC \\1", "line\nbreak\r", 4}};
  h.plots = {{0, "energy (eV)", "intensity (a.u.)"}};
  h.curves = {{0, 1, 3, "I.max_1", 0x0000FF}};
  return h;
}

class RunJournalTest : public ::testing::Test {
 protected:
  std::string Sheet(const std::string& name) const { return host.root + "/" + name; }
  test::ScriptedHost host;
};

TEST(ShortestFloatText, ReadsBackToTheSameSingleAndIsShortest) {
  EXPECT_EQ(ShortestFloatText(20.0f), "20");
  EXPECT_EQ(ShortestFloatText(0.1f), "0.1");
  EXPECT_EQ(ShortestFloatText(-2.5f), "-2.5");
  EXPECT_EQ(ShortestFloatText(1e-5f), "1e-05");
  EXPECT_EQ(ShortestFloatText(16777216.0f), "16777216");
  // Every kind of single: normal, subnormal, the ends, negative zero; a
  // stride through the bit patterns reaches all exponents.
  for (uint64_t bits = 0; bits < 0x100000000ull; bits += 0x10001ull * 13) {
    float f;
    const uint32_t b = static_cast<uint32_t>(bits);
    std::memcpy(&f, &b, sizeof f);
    if (!std::isfinite(f)) continue;
    const std::string text = ShortestFloatText(f);
    const float back = std::strtof(text.c_str(), nullptr);
    ASSERT_EQ(std::memcmp(&back, &f, sizeof f), 0) << text;
    // One digit fewer no longer reads back (the text is the shortest).
    if (text.find('e') == std::string::npos && text.find('.') != std::string::npos &&
        text.size() > 3) {
      const std::string shorter = text.substr(0, text.size() - 1);
      EXPECT_NE(std::strtof(shorter.c_str(), nullptr), f) << text;
    }
  }
  for (float f : {FLT_MIN, FLT_MAX, FLT_TRUE_MIN, -FLT_MAX, -0.0f}) {
    const float back = std::strtof(ShortestFloatText(f).c_str(), nullptr);
    EXPECT_EQ(std::memcmp(&back, &f, sizeof f), 0);
  }
}

TEST_F(RunJournalTest, WrittenRowsAndHeaderReadBackExactly) {
  const std::string sheet = Sheet("run.sht");
  RunJournal j;
  std::string error;
  ASSERT_TRUE(j.Open(sheet, Header(sheet), error)) << error;
  EXPECT_EQ(j.Path(), sheet + ".jnl");
  EXPECT_TRUE(j.IsOpen());
  ASSERT_TRUE(j.Append(1, {20, 0.1, 1234.5678, -0.0}));
  // A gap, a value no single holds, too few values: gaps all.
  ASSERT_TRUE(j.Append(2, {21, kGap, std::numeric_limits<double>::infinity()}));
  // More values than columns: the extra is not written.
  ASSERT_TRUE(j.Append(3, {22, 0.3, 1e-30, 3.4e38, 99}));
  EXPECT_EQ(j.Rows(), 3);
  j.End(10007, 3);
  EXPECT_FALSE(j.IsOpen());

  const std::string text = test::ReadFile(sheet + ".jnl");
  EXPECT_NE(text.find("\n1\t20\t0.1\t1234.5677\t-0\n2\t21\t\t\t\n3\t22\t0.3\t1e-30\t3.4e+38\n"
                      "#end\t10007\t3\n"),
            std::string::npos)
      << text;

  const auto back = ReadJournal(sheet + ".jnl", error);
  ASSERT_TRUE(back) << error;
  const JournalHeader want = Header(sheet);
  EXPECT_EQ(back->header.experimentType, 1);
  EXPECT_EQ(back->header.sheetPath, sheet);
  ASSERT_EQ(back->header.columns.size(), 4u);
  for (size_t c = 0; c < 4; ++c) {
    EXPECT_EQ(back->header.columns[c].name, want.columns[c].name);
    EXPECT_EQ(back->header.columns[c].label, want.columns[c].label);
    EXPECT_EQ(back->header.columns[c].typ, want.columns[c].typ);
  }
  ASSERT_EQ(back->header.curves.size(), 1u);
  EXPECT_EQ(back->header.curves[0].ycol, 3);
  EXPECT_EQ(back->header.curves[0].color, 0x0000FF);
  ASSERT_EQ(back->header.plots.size(), 1u);
  EXPECT_EQ(back->header.plots[0].yLabel, "intensity (a.u.)");
  ASSERT_EQ(back->rows.size(), 3u);
  EXPECT_EQ(back->rows[0].second[2], double(1234.5678f));
  EXPECT_TRUE(std::signbit(back->rows[0].second[3]));
  EXPECT_TRUE(std::isnan(back->rows[1].second[1]));
  EXPECT_TRUE(std::isnan(back->rows[1].second[2]));
  EXPECT_EQ(back->rows[2].second[3], double(3.4e38f));
  EXPECT_TRUE(back->ended);
  EXPECT_EQ(back->stopCode, 10007);
  EXPECT_EQ(back->endRows, 3);
  EXPECT_FALSE(back->tornLine);
  EXPECT_EQ(back->badLines, 0);
  EXPECT_EQ(JournalReadNotes(*back), "");

  j.Remove();
  EXPECT_FALSE(std::filesystem::exists(sheet + ".jnl"));
}

TEST_F(RunJournalTest, ALockedJournalIsNeitherTakenNorEmptiedByASecondRun) {
  const std::string sheet = Sheet("run.sht");
  std::string error;
  auto first = std::make_unique<RunJournal>();
  ASSERT_TRUE(first->Open(sheet, Header(sheet), error));
  ASSERT_TRUE(first->Append(1, {20, 1, 2, 3}));
  EXPECT_TRUE(JournalLocked(first->Path()));

  RunJournal second;
  EXPECT_FALSE(second.Open(sheet, Header(sheet), error));
  EXPECT_NE(error.find("in use by another run"), std::string::npos) << error;
  EXPECT_FALSE(second.IsOpen());
  EXPECT_FALSE(second.Append(2, {21}));
  auto kept = ReadJournal(sheet + ".jnl", error);
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept->rows.size(), 1u);

  // Closed without an end (as a crash leaves it): unlocked, kept.
  first.reset();
  EXPECT_FALSE(JournalLocked(sheet + ".jnl"));
  kept = ReadJournal(sheet + ".jnl", error);
  ASSERT_TRUE(kept);
  EXPECT_FALSE(kept->ended);
  EXPECT_FALSE(JournalLocked(Sheet("none.jnl")));
}

TEST_F(RunJournalTest, OpenTellsWhyItCannotCreate) {
  RunJournal j;
  std::string error;
  EXPECT_FALSE(j.Open(host.root + "/no/such/folder/run.sht", Header("x"), error));
  EXPECT_NE(error.find("Cannot create the journal " + host.root + "/no/such/folder/run.sht.jnl"),
            std::string::npos)
      << error;
}

// A full disk: the file size limit cuts a row line in its middle. The torn
// part is taken off again, so that the journal stays whole lines.
TEST_F(RunJournalTest, AWriteThatFailsLeavesNoPartOfItsLine) {
  const std::string sheet = Sheet("full.sht");
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    RunJournal j;
    std::string error;
    if (!j.Open(sheet, Header(sheet), error)) ::_exit(10);
    const rlim_t limit = static_cast<rlim_t>(std::filesystem::file_size(j.Path()) + 30);
    rlimit rl{limit, limit};
    if (::setrlimit(RLIMIT_FSIZE, &rl) != 0) ::_exit(11);
    if (!j.Append(1, {20, 1.5, 2.5, 3.5})) ::_exit(12);  // 17 bytes fit
    if (j.Append(2, {21, 1.25, 2.25, 3.25})) ::_exit(13);  // torn at the limit
    if (j.Error().find("Cannot write the journal") != 0) ::_exit(14);
    if (j.Append(3, {22, 1, 2, 3}) && j.Append(4, {23, 1, 2, 3})) ::_exit(15);
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  ASSERT_EQ(WEXITSTATUS(status), 0);
  std::string error;
  const auto back = ReadJournal(sheet + ".jnl", error);
  ASSERT_TRUE(back) << error;
  EXPECT_FALSE(back->tornLine);
  EXPECT_EQ(back->badLines, 0);
  ASSERT_GE(back->rows.size(), 1u);
  EXPECT_EQ(back->rows[0].first, 1);
  EXPECT_EQ(back->rows.back().second[0], 20 + back->rows.back().first - 1);
}

TEST(ParseJournal, KeepsCompleteRowsAndTellsWhatItDropped) {
  const std::string head = JournalHeaderText(Header("/data/run.sht"));
  std::string error;

  // Killed in the middle of a row: the torn line goes, and it is told.
  auto j = ParseJournal(head + "1\t20\t0\t5\t\n2\t21\t0.5\t6\t1\n3\t22\t1", error);
  ASSERT_TRUE(j) << error;
  EXPECT_EQ(j->rows.size(), 2u);
  EXPECT_TRUE(j->tornLine);
  EXPECT_FALSE(j->ended);
  EXPECT_EQ(JournalReadNotes(*j), "the last line was incomplete and was dropped");

  // Lines that are no row of this journal are skipped and counted; lines
  // with CR LF and blank lines read; unknown header lines are left alone.
  j = ParseJournal(head +
                       "1\t20\t0\t5\t\r\n"
                       "\n"
                       "#later\tfield\n"
                       "2\t21\t0.5\n"             // too few values
                       "3\t22\t0.5\tx\t1\n"       // no number
                       "0\t22\t0.5\t1\t1\n"       // no row 0
                       "65520\t22\t0.5\t1\t1\n"   // beyond the sheet
                       "4\t23\tinf\t1\t1\n"       // no finite single
                       "5\t24\t1e39\t1\t1\n"      // beyond a single
                       "6\t25\t+1\t1\t1\n"        // no sign the writer writes
                       "#curve\t9\t1\t2\t0\tbad\n"
                       "7\t26\t1\t2\t3\n"
                       "#end\t-1\t7\n",
                   error);
  ASSERT_TRUE(j) << error;
  ASSERT_EQ(j->rows.size(), 2u);
  EXPECT_EQ(j->rows[0].first, 1);
  EXPECT_EQ(j->rows[1].first, 7);
  EXPECT_EQ(j->badLines, 8);
  EXPECT_EQ(j->firstBadLine, "line 13: 2 values for 4 columns");
  EXPECT_EQ(j->header.curves.size(), 1u);
  EXPECT_TRUE(j->ended);
  EXPECT_EQ(j->stopCode, -1);
  EXPECT_EQ(JournalReadNotes(*j),
            "8 lines were not readable and skipped (line 13: 2 values for 4 columns)");
}

TEST(ParseJournal, RefusesWhatIsNoJournal) {
  const std::string head = JournalHeaderText(Header("/data/run.sht"));
  struct Case {
    const char* name;
    std::string text;
    const char* error;
  } cases[] = {
      {"empty", "", "an empty file"},
      {"a sheet", "\x01\x02SHT\n", "no run journal"},
      {"magic alone", "#SV4200 run journal\n", "no run journal"},
      {"torn first line", "#SV4200 run jour", "no run journal"},
      {"later version", "#SV4200 run journal\t2\n#type\t1\n",
       "a run journal of version 2, which is not known"},
      {"no columns", "#SV4200 run journal\t1\n#type\t0\n1\t2\n", "a journal without columns"},
      {"columns out of order", "#SV4200 run journal\t1\n#column\t2\t1\ta\t\n",
       "line 2: column 2 out of order"},
      {"bad escape", "#SV4200 run journal\t1\n#column\t1\t1\ta\\x\t\n", "line 2: bad column"},
      {"column after rows", head + "1\t1\t2\t3\t4\n#column\t5\t1\te\t\n",
       "line 11: a column after the rows"},
  };
  for (const Case& c : cases) {
    std::string error;
    EXPECT_FALSE(ParseJournal(c.text, error)) << c.name;
    EXPECT_EQ(error, c.error) << c.name;
  }
  std::string error;
  test::ScriptedHost host;
  EXPECT_FALSE(ReadJournal(host.root + "/missing.jnl", error));
  EXPECT_EQ(error.find("Cannot open " + host.root + "/missing.jnl"), 0u) << error;
  EXPECT_FALSE(ReadJournal(host.root, error));
  EXPECT_EQ(error, host.root + " is no file");
}

class RebuildTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    RegisterPlotDocuments(main);
  }
  void TearDown() override {
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
  }
  test::ScriptedHost host;
  MDIForm_Main main;
};

TEST_F(RebuildTest, TheSheetOfARunGoesToItsJournalAndComesBack) {
  // A run's sheet: energy as X, two windows' values, an A/D channel; an
  // intensity plot with two curves and an A/D plot.
  Form_Worksheet run;
  run.Cols(5);
  const char* names[] = {"", "energy (eV)", "time (s)", "I.max_1", "U1"};
  for (long c = 1; c < 5; ++c) {
    run.ColName(c, names[c]);
    run.Col(c);
    run.ColTyp(c == 1 ? kTypX : kTypY);
  }
  run.Col(3);
  run.ColLabel("counts");
  SheetPlot* made[2] = {nullptr, nullptr};
  ASSERT_TRUE(run.NewPlot(made[0]));
  ASSERT_TRUE(run.NewPlot(made[1]));
  auto* iplot = dynamic_cast<Form_Plot*>(made[0]);
  auto* adplot = dynamic_cast<Form_Plot*>(made[1]);
  run.Col(3);
  iplot->AddCurve();
  iplot->CurveXCol(1);
  iplot->CurveColor(0xFF);
  run.Col(2);
  iplot->AddCurve();
  iplot->CurveXCol(1);
  iplot->XLabelText("energy (eV)");
  iplot->YLabelText("intensity (a.u.)");
  run.Col(4);
  adplot->AddCurve();
  adplot->CurveXCol(1);
  adplot->YLabelText("voltage (V)");

  const JournalHeader h = MakeJournalHeader(run, 1, "/data/run.sht", {iplot, adplot});
  std::string text = JournalHeaderText(h);
  for (long r = 1; r <= 3; ++r)
    text += JournalRowText(r, {20.0 + r, 0.1 * r, r == 2 ? kGap : 100.0 * r, -0.5 * r});
  text += JournalRowText(2, {22, 0.2, 222, -1});  // the row again: the last wins
  std::string error;
  const auto j = ParseJournal(text, error);
  ASSERT_TRUE(j) << error;

  Form_Worksheet sheet(&main);
  ASSERT_TRUE(RebuildSheet(*j, sheet));
  EXPECT_EQ(sheet.Cols(), 5);
  EXPECT_EQ(sheet.Rows(), 4);
  for (long c = 1; c < 5; ++c) EXPECT_EQ(sheet.ColName(c), names[c]);
  EXPECT_EQ(sheet.Record(1).Typ, kTypX);
  EXPECT_EQ(sheet.Record(4).Typ, kTypY);
  EXPECT_EQ(sheet.Record(3).Label, "counts");
  EXPECT_EQ(sheet.CellAt(3, 3).Number(), 300);
  EXPECT_EQ(sheet.CellAt(2, 3).Number(), 222);
  EXPECT_EQ(sheet.CellAt(1, 2).Value(), double(0.1f));
  EXPECT_TRUE(sheet.Changed());

  ASSERT_EQ(sheet.Plots(), 2);
  auto* back = dynamic_cast<Form_Plot*>(sheet.FindPlot(sheet.PlotWindowHwnd(0)));
  ASSERT_NE(back, nullptr);
  ASSERT_EQ(back->Curves(), 2);
  EXPECT_EQ(back->CurveRecords()[0].YCol, 3);
  EXPECT_EQ(back->CurveRecords()[0].XCol, 1);
  EXPECT_EQ(back->CurveRecords()[0].Color, 0xFF);
  EXPECT_EQ(back->CurveRecords()[0].Legend, iplot->CurveRecords()[0].Legend);
  EXPECT_EQ(back->YLabelText(), "intensity (a.u.)");
  // Scaled to its data.
  EXPECT_LE(back->XAxis.From, 21);
  EXPECT_GE(back->XAxis.To, 23);
  auto* ad = dynamic_cast<Form_Plot*>(sheet.FindPlot(sheet.PlotWindowHwnd(1)));
  ASSERT_NE(ad, nullptr);
  EXPECT_EQ(ad->YLabelText(), "voltage (V)");
}

TEST_F(RebuildTest, WithoutAPlotLibraryTheDataComeAloneAndTooManyRowsAreRefused) {
  SetPlotFactory(nullptr);
  std::string error;
  std::string text = JournalHeaderText(Header("s")) + JournalRowText(5, {1, 2, 3, 4});
  auto j = ParseJournal(text, error);
  ASSERT_TRUE(j);
  Form_Worksheet sheet;
  ASSERT_TRUE(RebuildSheet(*j, sheet));
  EXPECT_EQ(sheet.Rows(), 6);  // rows 1 to 4 stay empty
  EXPECT_TRUE(sheet.CellAt(4, 1).IsNull());
  EXPECT_EQ(sheet.CellAt(5, 4).Number(), 4);
  EXPECT_EQ(sheet.Plots(), 0);

  JournalContents huge = *j;
  huge.rows = {{kMaxSheetRows, {1, 2, 3, 4}}};
  Form_Worksheet other;
  EXPECT_FALSE(RebuildSheet(huge, other));
}

}  // namespace
}  // namespace sv
