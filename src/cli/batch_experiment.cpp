#include "cli/batch_experiment.h"

namespace sv::cli {

std::string ExperimentUsage() { return {}; }
int SwpInfoCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) {
  err << "svbatch: not built yet\n";
  return 1;
}
int SwpCheckCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) {
  err << "svbatch: not built yet\n";
  return 1;
}

}  // namespace sv::cli
