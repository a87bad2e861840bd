// Lookup tables kept as two-column sheet files: the first column is the index
// into the table, the second the value at it.
#pragma once

#include <string>
#include <vector>

namespace sv {

struct SheetTable {
  std::string Name;            // the label of the second column, right-trimmed
  long Count = 0;              // the data rows
  std::vector<float> Values;   // Count entries; an index no row names keeps 0
};

// Reads filename (".sht" added to a name without "."); 0 for success, 11001
// for a file that is no sheet, 11007 for one that is not a table.
long LoadTable(const std::string& filename, SheetTable& table);

}  // namespace sv
