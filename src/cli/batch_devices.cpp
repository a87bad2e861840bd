#include "cli/batch_devices.h"

namespace sv::cli {

std::string DevicesUsage() { return {}; }
int DevicesCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) { err << "svbatch: not built yet\n"; return 1; }
int AdReadCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) { err << "svbatch: not built yet\n"; return 1; }
int DaSetCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) { err << "svbatch: not built yet\n"; return 1; }

}  // namespace sv::cli
