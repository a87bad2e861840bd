// svbatch: R-factors between the columns of one sheet or of two sheets.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string RFactorUsage();
int RFactorCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
