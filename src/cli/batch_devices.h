// svbatch: the devices commands.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string DevicesUsage();
int DevicesCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int AdReadCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int DaSetCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
