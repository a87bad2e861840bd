// svbatch particles: the particle analysis of one image.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string ParticlesUsage();
int ParticlesCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
