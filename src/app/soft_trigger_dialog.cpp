#include "app/soft_trigger_dialog.h"

namespace sv::app {

void InstallSoftTriggerDialog(MDIForm_Main&, QWidget*) {}

}  // namespace sv::app
