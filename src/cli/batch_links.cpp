#include "cli/batch_links.h"

namespace sv::cli {

std::string LinksUsage() { return {}; }
int HandshakeSendCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) { err << "svbatch: not built yet\n"; return 1; }
int LinkServeCommand(const std::vector<std::string>&, std::ostream&, std::ostream& err) { err << "svbatch: not built yet\n"; return 1; }

}  // namespace sv::cli
