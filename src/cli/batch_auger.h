// svbatch: an Auger scan of a ramp file on the Dummy D/A and the simulated
// spectrometer ("AD_Simulator").
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

std::string AugerUsage();
int AugerCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
