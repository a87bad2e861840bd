// svbatch column: the column arithmetic of the Data menu on a sheet file.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch column SHEET.sht --op NAME [--col N] [args] --out OUT.sht
int ColumnCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// The lines this command adds to the usage text.
std::string ColumnUsage();

}  // namespace sv::cli
