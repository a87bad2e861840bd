#include "app/hardware_dialogs.h"

namespace sv::app {

void InstallHardwareDialogs(MDIForm_Main&, QWidget*) {}

}  // namespace sv::app
