// svbatch film-scan: a run of the experiment's loop with a film as the
// camera, over the windows a ".par" file selects.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

struct FilmScanOptions {
  std::string film, par, out;
  bool rangeGiven = false;
  float eStart = 0, eStop = 0;
};

// The run itself: I(E) when the film has an "energy (eV)" column (over
// eStart..eStop, by default the film's lowest to highest energy), else
// I(t) over the whole film. The sheet goes to options.out; `rows` gets the
// number of rows. 0, or 1 with the reason on `err`.
int FilmScan(const FilmScanOptions& options, long& rows, std::ostream& err);

int FilmScanCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
std::string FilmScanUsage();

}  // namespace sv::cli
