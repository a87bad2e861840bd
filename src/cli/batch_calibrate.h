// svbatch calibrate: the two calibrations as the workbench reads them at
// start, and their lookups on given values and vectors.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch calibrate [--ini FILE] [--lut FILE.lut] [--bits N] [--value X]...
// [--vector DX DY]...
int CalibrateCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
std::string CalibrateUsage();

// Reads FILE.lut into the process-wide table and switches it on; false, with
// "Open LUT: " and the error on `err`, when it cannot be read (the table in
// force stays).
bool LoadLutArg(const std::string& path, std::ostream& err);

}  // namespace sv::cli
