#include "app/line_tools.h"

namespace sv::app {

void InstallLineTools(MDIForm_Main&, QWidget*) {}

}  // namespace sv::app
