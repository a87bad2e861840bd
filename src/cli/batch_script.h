// svbatch's script commands.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch script-check FILE.scr: compiles only. At the first error the
// compile message goes to the error stream, "FILE.scr:N: message" to the
// output (N the 1-based line), and the status is 1; else "N lines" and 0.
int ScriptCheckCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
std::string ScriptUsage();

// "FILE:N: message", the line that points an editor at a script's error.
std::string ScriptLocator(const std::string& file, int line, const std::string& message);

}  // namespace sv::cli
