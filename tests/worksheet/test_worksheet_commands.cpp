// The Column menu's move, role and go-to commands, reads that leave the
// window alone, and the Edit toolbar with a sheet in front.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_dialogs.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

// A window that counts what it is asked to redraw and notes where the
// current cell was shown.
struct CountingView : WorksheetView {
  long cells = 0;
  long shownRow = -1, shownCol = -1;
  void DrawCel(const Form_Worksheet&, long, long) override { ++cells; }
  void ShowCurrentCell(const Form_Worksheet& s) override {
    shownRow = s.Row();
    shownCol = s.Col();
  }
};

class SheetCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    sheet.SetView(&view);
    sheet.Cols(4);  // A, B, C1
    sheet.Rows(6);
    for (long c = 1; c < 4; ++c)
      for (long r = 1; r < 6; ++r) sheet.TextMatrix(r, c, Cell(double(c * 10 + r)));
  }
  void TearDown() override {
    sheet.SetView(nullptr);
    Dialogs() = WorksheetDialogs();
  }
  void SelectColumn(long col) { sheet.SetSelection(0, col, 5, col); }

  test::ScriptedHost host;
  CountingView view;
  Form_Worksheet sheet;
};

TEST_F(SheetCommandTest, MoveTakesTheSelectedColumnToThePositionAsked) {
  SelectColumn(1);
  std::vector<std::string> answers = {"0", "3"};  // out of range, then right
  size_t asked = 0;
  Dialogs().columnMove = [&](Form_ColumnMove& f) {
    EXPECT_EQ(f.ColumnName, "A");
    EXPECT_EQ(f.Text_Position, "1");
    EXPECT_EQ(f.MaxPosition, 3);
    f.Text_Position = answers[asked++];
    return true;
  };
  ASSERT_TRUE(sheet.Offers("ColumnMove"));
  sheet.Invoke("ColumnMove");
  EXPECT_EQ(host.beeps, 1);
  EXPECT_EQ(sheet.ColName(1), "A");
  sheet.Invoke("ColumnMove");
  EXPECT_EQ(sheet.ColName(3), "A");
  EXPECT_EQ(sheet.CellAt(2, 3).Number(), 12.0);
  EXPECT_EQ(sheet.ColName(1), "B");
  EXPECT_EQ(sheet.SelStartCol(), 3) << "the selection goes with the column";
  EXPECT_EQ(sheet.Col(), 3);
}

TEST_F(SheetCommandTest, SetAsGivesTheSelectedColumnsTheRoleChosen) {
  // Each choice of the dialog and the tag it shows; 3 shows none.
  const std::vector<std::pair<long, std::string>> table = {
      {0, "B[X]"}, {1, "B[Y]"}, {2, "B[Z]"}, {4, "B[L]"}, {3, "B"}};
  ASSERT_EQ(Form_SetAs::Roles().size(), table.size());
  sheet.SetSelection(0, 2, 5, 3);
  for (const auto& [typ, header] : table) {
    Dialogs().setAs = [typ = typ](Form_SetAs& f) {
      f.Typ = typ;
      return true;
    };
    sheet.Invoke("SetAs");
    EXPECT_EQ(sheet.CellAt(0, 2).Text(), header);
    EXPECT_EQ(sheet.Record(3).Typ, typ);
    EXPECT_EQ(sheet.Record(1).Typ, kTypX) << "outside the selection";
  }
  Dialogs().setAs = [](Form_SetAs& f) {
    f.Typ = 7;
    return true;
  };
  sheet.Invoke("SetAs");
  EXPECT_EQ(host.beeps, 1);
  EXPECT_EQ(sheet.Record(2).Typ, 3);
}

TEST_F(SheetCommandTest, GotoColumnByNameOrNumber) {
  // Answer -> column made current; 0 for a bad answer.
  const std::vector<std::pair<std::string, long>> table = {
      {"c1", 3}, {"2", 2}, {" 1 ", 1}, {"4", 0}, {"1.5", 0}, {"Q", 0}};
  long beeps = 0;
  for (const auto& [answer, col] : table) {
    sheet.Col(2);
    view.shownCol = -1;
    Dialogs().gotoColumn = [answer = answer](Form_GotoColumn& f) {
      EXPECT_EQ(f.Text_Column, "B");
      EXPECT_EQ(f.MaxColumn, 3);
      f.Text_Column = answer;
      return true;
    };
    sheet.Invoke("GotoColumn");
    if (col == 0) {
      EXPECT_EQ(host.beeps, ++beeps) << answer;
      EXPECT_EQ(view.shownCol, -1) << answer;
    } else {
      EXPECT_EQ(sheet.Col(), col) << answer;
      EXPECT_EQ(view.shownCol, col) << answer;
      EXPECT_GE(view.shownRow, 1);
    }
  }
}

TEST_F(SheetCommandTest, GotoRowWithinTheSheet) {
  // Answer -> row made current; 0 for a bad answer (the sheet never grows).
  const std::vector<std::pair<std::string, long>> table = {
      {"5", 5}, {"1", 1}, {"6", 0}, {"0", 0}, {"x", 0}};
  for (const auto& [answer, row] : table) {
    sheet.Row(3);
    view.shownRow = -1;
    Dialogs().gotoRow = [answer = answer](Form_GotoRow& f) {
      EXPECT_EQ(f.Text_Row, "3");
      EXPECT_EQ(f.MaxRow, 5);
      f.Text_Row = answer;
      return true;
    };
    sheet.Invoke("GotoZeile");
    EXPECT_EQ(sheet.Row(), row ? row : 3) << answer;
    EXPECT_EQ(view.shownRow, row ? row : -1) << answer;
    EXPECT_EQ(sheet.Rows(), 6);
  }
}

TEST_F(SheetCommandTest, ExportReadsCellsWithoutRedraws) {
  ASSERT_TRUE(sheet.Redraw());
  view.cells = 0;
  ASSERT_EQ(sheet.Export(host.root + "/out.dat"), 0);
  EXPECT_EQ(view.cells, 0);
  EXPECT_EQ(sheet.CellAt(-1, 0).Kind(), CellKind::Null);
  EXPECT_EQ(sheet.CellAt(6, 1).Kind(), CellKind::Null);
}

// The Edit menu's entries and the toolbar keys for them follow the document
// in front.
TEST(SheetToolbar, CutCopyPasteFollowASheetInFront) {
  test::ScriptedHost host;
  ResetGlobals();
  MDIForm_Main main;
  RegisterWorksheetDocuments(main);
  main.Load();
  main.UpdateToolbarState();
  for (const char* key : {"Cut", "Copy", "Paste"})
    EXPECT_FALSE(main.FindButton(key)->enabled) << key;
  main.Click("mnuNewWorksheet");
  ASSERT_NE(main.ActiveChild(), nullptr);
  for (const char* key : {"Cut", "Copy", "Paste"}) {
    const ToolbarButton* b = main.FindButton(key);
    EXPECT_TRUE(b->enabled && b->built) << key;
  }
  for (const char* entry : {"mnuMove", "mnuSetAs", "mnuGotoCol", "mnuGotoRow"})
    EXPECT_TRUE(main.FindMenu(entry)->enabled) << entry;
  host.Answer(MsgResult::No);
  ASSERT_TRUE(main.CloseChild(main.ActiveChild()->Handle()));
  for (const char* key : {"Cut", "Copy", "Paste"})
    EXPECT_FALSE(main.FindButton(key)->enabled) << key;
}

}  // namespace
}  // namespace sv
