// svbatch: the trigger commands.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string TriggerUsage();
int TriggerWaitCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
