// svbatch: the peak fit of a worksheet column.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string FitUsage();
int FitCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
