// Any bytes through the ASCII import: the first two bytes pick the options,
// the rest is the file.
#include "fuzz_sheet_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const uint8_t a = data[0], b = data[1];
  return svfuzz::Run(data + 2, size - 2, ".dat", [a, b](sv::Form_Worksheet& sheet,
                                                         const std::string& path) {
    static const int delimiters[] = {0, ',', ' ', ';'};
    sheet.Structure = a & 1;
    sheet.Delimiter = delimiters[(a >> 1) & 3];
    sheet.ImportAs = ((a >> 3) & 3) % 3;
    sheet.Header = (a >> 5) & 1;
    sheet.UnknownColumns = (a >> 6) & 1;
    sheet.RenameColumns = (a >> 7) & 1;
    sheet.HeaderLines = b & 7;
    sheet.Columns = (b >> 3) & 7;
    sheet.ColWidthText = std::to_string(int(b >> 6) * 3);
    sheet.Import(path);
  });
}
