// The commands of svbatch, callable without a process of their own.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// Runs one command line (without the program name). Output goes to `out`,
// messages and usage errors to `err`. Returns the exit code: 0 done, 1 failed,
// 2 bad command line.
int RunBatch(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

std::string Usage();

}  // namespace sv::cli
