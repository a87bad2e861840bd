// Journals left behind in the worksheet folder: which are offered, where
// the rebuilt sheet goes, and that a journal goes only once its sheet is on
// disk.
#include "experiment/run_recovery.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "experiment/run_journal.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

namespace fs = std::filesystem;

class RunRecoveryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    folder = host.root + "/sheets/";
    fs::create_directories(folder);
    G().SheetsPath = folder;
    RegisterWorksheetDocuments(main);
    RegisterPlotDocuments(main);
  }
  void TearDown() override {
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
  }
  // A journal of `rows` rows as a killed run leaves it: no end, and the
  // last line torn when asked.
  std::string Journal(const std::string& sheetName, long rows, bool torn) {
    JournalHeader h;
    h.sheetPath = "/elsewhere/" + sheetName;
    h.columns = {{"energy (eV)", "", 0}, {"time (s)", "", 1}, {"I.max_1", "", 1}};
    h.curves = {{0, 1, 3, "I.max_1", 255}};
    std::string text = JournalHeaderText(h);
    for (long r = 1; r <= rows; ++r) text += JournalRowText(r, {19.0 + r, 0.5 * r, 10.0 * r});
    if (torn) text += "99\t1";
    const std::string path = folder + sheetName + ".jnl";
    test::WriteFile(path, text);
    return path;
  }
  test::ScriptedHost host;
  MDIForm_Main main;
  std::string folder;
};

TEST_F(RunRecoveryTest, OnlyUnlockedJournalsAreFoundAndSheetsDoNotOverwriteFiles) {
  const std::string a = Journal("a.sht", 1, false);
  test::WriteFile(folder + "notes.txt", "x");
  RunJournal running;
  std::string error;
  JournalHeader h;
  h.columns = {{"time (s)", "", 1}};
  ASSERT_TRUE(running.Open(folder + "b.sht", h, error)) << error;
  EXPECT_EQ(UnlockedJournals(folder), std::vector<std::string>{a});
  EXPECT_TRUE(UnlockedJournals(host.root + "/none").empty());
  EXPECT_TRUE(UnlockedJournals("").empty());

  EXPECT_EQ(RecoveredSheetPath(a), folder + "a.sht");
  test::WriteFile(folder + "a.sht", "kept");
  EXPECT_EQ(RecoveredSheetPath(a), folder + "a_recovered.sht");
  test::WriteFile(folder + "a_recovered.sht", "kept");
  EXPECT_EQ(RecoveredSheetPath(a), folder + "a_recovered2.sht");
}

TEST_F(RunRecoveryTest, YesWritesTheSheetThenDropsTheJournalNoKeepsIt) {
  const std::string first = Journal("I(E)-Experiment_26-11-24-10-00-00.sht", 3, true);
  const std::string second = Journal("I(t)-Experiment_26-11-24-11-00-00.sht", 1, false);
  test::WriteFile(folder + "empty.sht.jnl", "");
  test::WriteFile(folder + "other.jnl", "not a journal\n");
  host.Answer(MsgResult::Yes);
  host.Answer(MsgResult::No);
  OfferRunRecovery(main);

  ASSERT_EQ(host.messages.size(), 2u);
  const test::RecordedMessage& q = host.messages[0];
  EXPECT_EQ(q.title, "Recover Experiment");
  EXPECT_EQ(q.buttons, MsgButtons::YesNo);
  EXPECT_NE(q.text.find("The experiment sheet I(E)-Experiment_26-11-24-10-00-00.sht was not saved"),
            std::string::npos)
      << q.text;
  EXPECT_NE(q.text.find("holds 3 rows."), std::string::npos) << q.text;
  EXPECT_NE(q.text.find("the last line was incomplete and was dropped"), std::string::npos);
  EXPECT_NE(host.messages[1].text.find("holds 1 row."), std::string::npos);

  // Yes: the sheet beside, the journal gone, the sheet on show.
  const std::string sheetPath = folder + "I(E)-Experiment_26-11-24-10-00-00.sht";
  EXPECT_FALSE(fs::exists(first));
  ASSERT_TRUE(fs::exists(sheetPath));
  auto* shown = dynamic_cast<Form_Worksheet*>(main.ActiveChild());
  ASSERT_NE(shown, nullptr);
  EXPECT_EQ(shown->Rows(), 4);
  EXPECT_FALSE(shown->Changed());
  EXPECT_EQ(shown->Plots(), 1);
  Form_Worksheet reread;
  ASSERT_EQ(reread.OpenWorksheet(sheetPath), 0);
  EXPECT_EQ(reread.Rows(), 4);
  EXPECT_EQ(reread.CellAt(3, 3).Number(), 30);

  // No: kept for later. The empty journal went; the stranger stays unasked.
  EXPECT_TRUE(fs::exists(second));
  EXPECT_FALSE(fs::exists(folder + "empty.sht.jnl"));
  EXPECT_TRUE(fs::exists(folder + "other.jnl"));
}

}  // namespace
}  // namespace sv
