// Any bytes as a sheet file, with the plot library there to read plot blocks.
#include "core/mdi_main.h"
#include "fuzz_sheet_file.h"
#include "plot/plot_documents.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static sv::MDIForm_Main* main = [] {
    auto* m = new sv::MDIForm_Main;
    sv::RegisterPlotDocuments(*m);
    return m;
  }();
  (void)main;
  return svfuzz::Run(data, size, ".sht", [](sv::Form_Worksheet& sheet, const std::string& path) {
    const long result = sheet.OpenWorksheet(path);
    svfuzz::Check(result != 0 || !sheet.Changed(), "a loaded sheet counts as changed");
  });
}
