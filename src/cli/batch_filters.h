// svbatch filters [FILE.FLT] [--save OUT.FLT]: the filter library listed, and
// written again through the filter dialog's save.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

int FiltersCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
std::string FiltersUsage();

}  // namespace sv::cli
