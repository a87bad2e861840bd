// The shutter dialog, bound to Form_SoftTrigger and mnuShutterControl.
#pragma once

class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

// Once per main window.
void InstallSoftTriggerDialog(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
