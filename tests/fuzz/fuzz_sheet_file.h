// The shared body of the sheet readers' fuzz targets: the bytes become a
// file, the reader runs on a sheet that holds cells already, and whatever the
// outcome the sheet must keep its shape and every cell must read.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/globals.h"
#include "worksheet/form_worksheet.h"

namespace svfuzz {

inline void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz sheet reader: %s\n", what);
    std::abort();
  }
}

inline std::string TempPath(const char* ext) {
  return "/tmp/sv_fuzz_sheet_" + std::to_string(getpid()) + ext;
}

template <class Reader>
int Run(const uint8_t* data, size_t size, const char* ext, Reader read) {
  const std::string path = TempPath(ext);
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  if (size) std::fwrite(data, 1, size, f);
  std::fclose(f);

  sv::ResetGlobals();
  sv::Form_Worksheet sheet;
  sheet.Cols(3);
  sheet.Rows(3);
  sheet.TextMatrix(1, 1, sv::Cell(1.5f));
  sheet.TextMatrix(2, 2, sv::Cell("text"));
  read(sheet, path);
  Check(sheet.Rows() >= 1 && sheet.Rows() <= sv::kMaxSheetRows, "rows out of range");
  Check(sheet.Cols() >= 1, "no column 0");
  size_t chars = 0;
  for (long r = 0; r < sheet.Rows(); ++r)
    for (long c = 0; c < sheet.Cols(); ++c) chars += sheet.TextMatrix(r, c).Text().size();
  for (long c = 0; c < sheet.Cols(); ++c) chars += sheet.Record(c).Label.size();
  (void)chars;
  std::remove(path.c_str());
  return 0;
}

}  // namespace svfuzz
