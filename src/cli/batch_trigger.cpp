#include "cli/batch_trigger.h"

namespace sv::cli {

std::string TriggerUsage() { return {}; }
int TriggerWaitCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) {
  err << "svbatch: not built yet\n";
  return 1;
}

}  // namespace sv::cli
