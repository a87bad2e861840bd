// The dialogs of the measurement devices and the energy calibration.
#pragma once

class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

// Binds the device, calibration and e-gun dialogs to their presenters and
// their menu entries; once per main window.
void InstallHardwareDialogs(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
