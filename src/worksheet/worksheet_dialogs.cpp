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

}  // namespace sv
