#include "app/experiment_dialog.h"

namespace sv::app {

void InstallExperimentDialog(MDIForm_Main&, QWidget*) {}

}  // namespace sv::app
