// Any bytes as the ".txt" of a film import: either labels and rows of
// numbers that agree, at most 32 columns, or a reason.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "video/film_import.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  sv::ImportColumns columns;
  std::string error;
  const bool ok = sv::ParseImportColumns(text, columns, error);
  if (ok != error.empty()) std::abort();
  if (!ok) return 0;
  if (columns.labels.size() > 32) std::abort();
  for (const auto& row : columns.rows) {
    if (row.size() != columns.labels.size()) std::abort();
    for (float v : row)
      if (!std::isfinite(v)) std::abort();
  }
  float e = 0;
  (void)sv::ParseStartEnergy(std::string(text.substr(0, 64)), e);
  (void)sv::ParseStepEnergy(std::string(text.substr(0, 64)), e);
  return 0;
}
