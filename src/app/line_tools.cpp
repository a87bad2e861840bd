#include "app/line_tools.h"

#include "app/line_setup_dialog.h"
#include "core/globals.h"

namespace sv::app {

void InstallLineTools(MDIForm_Main& main, QWidget* window) {
  LineTools& tools = InstalledLineTools();
  tools.profile = new LineProfileWindow(LineScanPlotForm(), window);
  tools.setup = new LineSetupDialog(window);
  RegisterLineCommands(main);
}

}  // namespace sv::app
