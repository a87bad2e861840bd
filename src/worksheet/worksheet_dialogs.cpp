#include "worksheet/worksheet_dialogs.h"

namespace sv {

WorksheetDialogs& Dialogs() {
  static WorksheetDialogs dialogs;
  return dialogs;
}

bool ShowDialog(Form_SetWorksheetX& form) {
  return Dialogs().setWorksheetX ? Dialogs().setWorksheetX(form) : false;
}

bool ShowDialog(Form_ColumnRename& form) {
  return Dialogs().columnRename ? Dialogs().columnRename(form) : false;
}

bool ShowDialog(Form_ColumnMove& form) {
  return Dialogs().columnMove ? Dialogs().columnMove(form) : false;
}

bool ShowDialog(Form_SetAs& form) { return Dialogs().setAs ? Dialogs().setAs(form) : false; }

bool ShowDialog(Form_GotoColumn& form) {
  return Dialogs().gotoColumn ? Dialogs().gotoColumn(form) : false;
}

bool ShowDialog(Form_GotoRow& form) {
  return Dialogs().gotoRow ? Dialogs().gotoRow(form) : false;
}

const std::vector<std::pair<std::string, long>>& Form_SetAs::Roles() {
  // 3 is a role without a tag: the column takes part in nothing.
  static const std::vector<std::pair<std::string, long>> roles = {
      {"X", 0}, {"Y", 1}, {"Z", 2}, {"L (labels)", 4}, {"None", 3}};
  return roles;
}

}  // namespace sv
