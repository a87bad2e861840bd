// svbatch: the links commands.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string LinksUsage();
int HandshakeSendCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int LinkServeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
