// svbatch run: an experiment run of the settings' definition on the
// configured devices, with its journal; svbatch recover: the sheet of a
// journal that a run left behind.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string RunUsage();
int RunCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int RecoverCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
