// Any bytes as a ".lut" intensity table: a read either fails and leaves the
// table in force as it was, or gives a table whose entries the file holds;
// the lookups on it stay inside it.
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "analysis/calibration_settings.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_lut: %s\n", what);
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = "/tmp/sv_fuzz_lut_" + std::to_string(getpid()) + ".lut";
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  if (size) std::fwrite(data, 1, size, f);
  std::fclose(f);

  sv::IntensityTable table;
  sv::MakeLinearTable(table, 8);
  table.Enabled = 1;
  const long code = sv::LoadCalibrationTable(path, table);
  std::remove(path.c_str());
  if (code != 0) {
    Check(table.Count == 256 && table.Values.size() == 256, "failed read changed the table");
    Check(table.Name == "linear" && table.FileName.empty() && table.Enabled == 1,
          "failed read changed the table");
    return 0;
  }
  Check(table.Count >= 0 && size_t(table.Count) == table.Values.size(), "count");
  // Each entry is a row of 8 bytes in the file.
  Check(uint64_t(table.Count) * 8 <= size, "more entries than the file holds");
  Check(table.FileName == path && table.Enabled == 1, "file name or switch");
  const float probes[] = {-1e30f, -1.0f, 0.0f, 0.5f, 1.0f, 255.0f, 4095.0f, 1e30f, NAN, INFINITY};
  for (float x : probes) {
    (void)sv::TableValue(table, x);
    for (long levels : {256L, 4096L, 65536L, long(table.Count)})
      (void)sv::CalIntensity(table, levels, x);
  }
  return 0;
}
