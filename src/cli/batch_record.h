// svbatch record: the image recorder on the configured grabber and D/A.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

int RecordCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
std::string RecordUsage();

}  // namespace sv::cli
