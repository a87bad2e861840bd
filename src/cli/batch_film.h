// The film-file commands of svbatch.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch film-info FILE [--frames]: the film's type, header and columns,
// the complete frames when the size disagrees with the header; --frames
// adds the cycle and the numbers of every frame. Reads only.
int FilmInfoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// svbatch film-repair FILE: the header's count becomes the number of
// complete frames, an incomplete last frame is cut off.
int FilmRepairCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// The lines these commands add to the usage text.
std::string FilmUsage();

}  // namespace sv::cli
