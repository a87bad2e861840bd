#include "app/app_environment.h"

#include <array>
#include <cstdint>
#include <vector>

#include "app/plot_printer.h"
#include "core/startup.h"
#include "image/kernel/sv_kernel.h"
#include "paint/plot_export.h"
#include "plot/form_plot.h"

namespace sv::app {

std::string KernelSelfCheck() {
  std::vector<uint8_t> table(65536, 0xAA);
  SV_set_lut(0.0f, 1.0f, 256, 65536, table.data(), false);
  if (table[0] != 0 || table[256] != 255 || table[65535] != 255)
    return "the look-up table has wrong limits";

  const std::array<uint16_t, 4> source = {0, 64, 128, 255};
  // Four bytes of bitmap and four guard bytes behind them.
  std::array<uint8_t, 8> bitmap;
  bitmap.fill(0xA5);
  SV_display(4, 1, source.data(), bitmap.data(), table.data());
  for (size_t i = 0; i < source.size(); ++i)
    if (bitmap[i] != table[source[i]]) return "the display bitmap does not follow the table";
  if (!(bitmap[0] == 0 && bitmap[0] < bitmap[1] && bitmap[1] < bitmap[2] &&
        bitmap[2] < bitmap[3] && bitmap[3] >= 250))
    return "the display bitmap is not a rising ramp";
  for (size_t i = 4; i < bitmap.size(); ++i)
    if (bitmap[i] != 0xA5) return "the display wrote past its bitmap";

  SV_set_lut(0.0f, 1.0f, 256, 65536, table.data(), true);
  SV_display(4, 1, source.data(), bitmap.data(), table.data());
  if (bitmap[0] != 255 || bitmap[3] > 5) return "the inverse table is not inverted";
  return "";
}

void InstallKernelEnvironment() {
  StartupEnvironment& env = Environment();
  env.kernelVersion = [](std::string&) -> std::optional<std::array<uint8_t, 3>> {
    const KernelVersion v = SV_version();
    return std::array<uint8_t, 3>{v.major, v.minor, v.patch};
  };
  env.kernelLoad = [] { return KernelSelfCheck().empty(); };
}

void InstallPlotEnvironment(QWidget* parent) {
  paint::InstallPlotExport();
  InstallPlotPrinter(parent);
}

void RemovePlotEnvironment() {
  RemovePlotPrinter();
  PlotExportSource() = nullptr;
}

}  // namespace sv::app
