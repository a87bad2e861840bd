// What the measuring loop tells those who watch it: each completed row once
// it is in the sheet and the journal, and the end of the run. The command
// line prints from here; the workbench's dialog follows the form itself.
#pragma once

#include <functional>
#include <string>

namespace sv {

struct RunRow {
  long row = 0;           // 1-based sheet row
  double seconds = 0;     // the row's time
  bool ie = false;        // I(E): `energy` holds the row's energy
  double energy = 0;
};
struct RunEnd {
  int stopCode = 0;
  long rows = 0;
  bool saved = false;
  std::string sheetPath;  // where the sheet was saved, or was to go
};

std::function<void(const RunRow&)>& RunRowHook();
std::function<void(const RunEnd&)>& RunEndHook();

}  // namespace sv
