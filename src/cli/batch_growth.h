// svbatch: the growth rate of an oscillating intensity column.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string GrowthUsage();
int GrowthCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
