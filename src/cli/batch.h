// The commands of svbatch, callable without a process of their own.
#pragma once

#include <functional>
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

namespace sv {
class Form_Camera;
}

namespace sv::cli {

// How `grab` writes its frame: the image, the path and the save filter (0:
// from the path's extension). The image files' save command unless replaced.
std::function<bool(Form_Camera&, const std::string& path, int filter)>& GrabWriter();

}  // namespace sv::cli
