// The sheet's small dialogs as presenters: the fields their controls show.
// The window layer registers how each is shown; without that a dialog ends
// as cancelled.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace sv {

// Initial value and increment of the index column.
struct Form_SetWorksheetX {
  std::string Text_Initial = "1";
  std::string Text_Increment = "1";
};

// Name, label and protection of a column, and the option to number the
// columns from this one to the last.
struct Form_ColumnRename {
  std::string Text_Name;
  std::string Text_Label;
  bool Check_Protected = false;
  bool Check_Numbering = false;
};

// Where the selected column goes: a position 1 .. MaxPosition.
struct Form_ColumnMove {
  std::string ColumnName;     // the column being moved
  std::string Text_Position;  // its position now, to begin with
  long MaxPosition = 1;
};

// The role of the selected columns, as a role value (`Typ`).
struct Form_SetAs {
  long Typ = 1;
  // The choices in the order shown: caption and role value.
  static const std::vector<std::pair<std::string, long>>& Roles();
};

// A column by name or by number.
struct Form_GotoColumn {
  std::string Text_Column;
  long MaxColumn = 1;
};

// A row by number, 1 .. MaxRow.
struct Form_GotoRow {
  std::string Text_Row;
  long MaxRow = 1;
};

// How the dialogs are shown: each returns true for OK.
struct WorksheetDialogs {
  std::function<bool(Form_SetWorksheetX&)> setWorksheetX;
  std::function<bool(Form_ColumnRename&)> columnRename;
  std::function<bool(Form_ColumnMove&)> columnMove;
  std::function<bool(Form_SetAs&)> setAs;
  std::function<bool(Form_GotoColumn&)> gotoColumn;
  std::function<bool(Form_GotoRow&)> gotoRow;
};
WorksheetDialogs& Dialogs();
// Runs the dialog through the registered function; false (cancelled) without one.
bool ShowDialog(Form_SetWorksheetX& form);
bool ShowDialog(Form_ColumnRename& form);
bool ShowDialog(Form_ColumnMove& form);
bool ShowDialog(Form_SetAs& form);
bool ShowDialog(Form_GotoColumn& form);
bool ShowDialog(Form_GotoRow& form);

}  // namespace sv
