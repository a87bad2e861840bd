// svbatch: the experiment commands.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace sv {
class Host;
}

namespace sv::cli {

// Fresh hardware, window, line and experiment state with the settings of
// the ini file (the user's when none is given) read into it; `install` puts
// in the start-up steps the command needs before the settings are read.
void ReadExperimentSetup(Host& host, const std::string& ini, const std::function<void()>& install);

std::string ExperimentUsage();
int SwpInfoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int SwpCheckCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace sv::cli
