// The film editing commands of svbatch: frames out of a film and a film
// out of images.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch film-export FILE OUTDIR [--from N --to M] [--filter N] [--log]:
// frames as image files; FILE OUT.vid|OUT.avi [--from N --to M] [--codec
// lossless|view]: the range as a new film.
int FilmExportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// svbatch film-import IN... OUT.vid [--energy-from-name | --energy START STEP].
int FilmImportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
std::string FilmEditUsage();

}  // namespace sv::cli
