// Lookup tables kept as two-column sheet files: the first column is the index
// into the table, the second the value at it.
#pragma once

#include <string>
#include <vector>

namespace sv {

struct SheetTable {
  std::string Title;           // the label of the second column
  std::vector<float> Values;   // one for each data row
};

// Reads filename (".sht" added to a name without "."); 0 for success, 11001
// for a file that is no sheet, 11007 for one that is not a table.
long LoadTable(const std::string& filename, SheetTable& table);

}  // namespace sv
