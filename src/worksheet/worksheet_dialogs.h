// The sheet's small dialogs as presenters: the fields their controls show.
// The window layer registers how each is shown; without that a dialog ends
// as cancelled.
#pragma once

#include <functional>
#include <string>

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

// How the dialogs are shown: each returns true for OK.
struct WorksheetDialogs {
  std::function<bool(Form_SetWorksheetX&)> setWorksheetX;
  std::function<bool(Form_ColumnRename&)> columnRename;
};
WorksheetDialogs& Dialogs();
// Runs the dialog through the registered function; false (cancelled) without one.
bool ShowDialog(Form_SetWorksheetX& form);
bool ShowDialog(Form_ColumnRename& form);

}  // namespace sv
