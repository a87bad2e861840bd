// The plot commands of svbatch.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch plot-export SHEET.sht OUT.png|OUT.svg|OUT.pdf [--plot N|NAME]
//   [--width PX --height PX | --dpi N]: a plot stored in a sheet file drawn
// into a file, with no display. 0 done, 1 the sheet, the plot or the file
// failed, 2 a bad command line.
int PlotExportCommand(const std::vector<std::string>& args, std::ostream& out,
                      std::ostream& err);
// The lines these commands add to the usage text.
std::string PlotUsage();

}  // namespace sv::cli
