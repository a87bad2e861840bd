#include "cli/batch_script.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "cli/batch_args.h"
#include "cli/batch_host.h"
#include "script/script_compiler.h"

namespace sv::cli {

std::string ScriptUsage() {
  return "  script-check FILE.scr\n"
         "              compiles the script only: \"N lines\" and status 0, or at\n"
         "              the first error the message and FILE.scr:N: message, 1\n";
}

std::string ScriptLocator(const std::string& file, int line, const std::string& message) {
  return file + ":" + std::to_string(line) + ": " + message;
}

int ScriptCheckCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 2) return BadArgs(err, "script-check takes one FILE.scr");
  const std::string& file = args[1];
  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  std::error_code ec;
  std::ifstream in;
  if (!std::filesystem::is_directory(file, ec)) in.open(file, std::ios::binary);
  std::string text;
  if (in) text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (!in.is_open() || !in || in.bad()) {
    host().MsgBox("Error loading " + file, MsgButtons::OK, MsgIcon::Exclamation, "Open Script");
    return 1;
  }
  ScriptCompiler compiler;
  int result = 0;
  compiler.Compile(text, result);
  if (!result) {
    out << ScriptLocator(file, compiler.ErrorLine, compiler.ErrorMessage) << "\n";
    return 1;
  }
  out << compiler.LineCount << " lines\n";
  return 0;
}

}  // namespace sv::cli
