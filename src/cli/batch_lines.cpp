#include "cli/batch_lines.h"

namespace sv::cli {

std::string LinesUsage() { return {}; }
int LinesCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) { err << "svbatch: not built yet\n"; return 1; }

}  // namespace sv::cli
