// Any bytes as a ".MOS" file.
#include "fuzz_sheet_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return svfuzz::Run(data, size, ".mos", [](sv::Form_Worksheet& sheet, const std::string& path) {
    if (sheet.OpenMOS(path) == 0) svfuzz::Check(sheet.Cols() == 4, "a .MOS sheet has 3 columns");
  });
}
