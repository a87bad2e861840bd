// The image-file commands of svbatch.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch image-info FILE: detected type, size, depth, colour, comment,
// resolution and the reader that took it, one "key: value" a line.
int ImageInfo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// svbatch image-convert IN OUT [--filter N]: N from 1 to 12, by default the
// filter of OUT's extension.
int ImageConvert(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
// The lines these commands add to the usage text.
std::string ImageUsage();

}  // namespace sv::cli
