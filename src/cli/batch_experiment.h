// svbatch: the experiment commands.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string ExperimentUsage();
int SwpInfoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int SwpCheckCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
