#include "experiment/run_journal.h"

namespace sv {

RunJournal::~RunJournal() = default;

std::string RunJournal::PathFor(const std::string& sheetPath) { return sheetPath + ".jnl"; }

}  // namespace sv
