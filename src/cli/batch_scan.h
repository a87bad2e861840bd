// svbatch scan: the window report of a parameter file's windows on a stored
// image.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch scan IMAGE --par FILE.par [--window N] [--energy EV]: every valid
// window of the file (or window N, 1 to 8) evaluated on the image, each
// printed as "Window n" and its report.
int ScanCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// The lines this command adds to the usage text.
std::string ScanUsage();

}  // namespace sv::cli
