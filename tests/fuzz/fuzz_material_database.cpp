// Any bytes as "Material.dtb": a database read must keep "(User)" first, a
// chosen index inside the list, no empty names, and read back the same after
// being written.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fit/material_database.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_material_database: %s\n", what);
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto db = sv::ParseDatabase(text);
  if (!db) return 0;
  Check(!db->Entries.empty() && db->Entries[0].Name == "(User)", "(User) first");
  Check(db->Index >= 0 && db->Index < int(db->Entries.size()), "index");
  for (size_t i = 1; i < db->Entries.size(); ++i) {
    Check(!db->Entries[i].Name.empty(), "empty name");
    Check(std::isfinite(db->Entries[i].Thickness), "thickness");
  }
  const auto back = sv::ParseDatabase(sv::DatabaseText(*db));
  Check(back.has_value(), "written file refused");
  Check(back->Entries.size() == db->Entries.size(), "entry count");
  Check(back->Index == db->Index, "index read back");
  return 0;
}
