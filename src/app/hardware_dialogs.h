// The dialogs of the measurement devices and the energy calibration.
#pragma once

class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class ADSetupDialog;
class DASetupDialog;
class IOSetupDialog;
class EGunDialog;

struct HardwareDialogs {
  ADSetupDialog* ad = nullptr;
  DASetupDialog* da = nullptr;
  IOSetupDialog* io = nullptr;
  EGunDialog* egun = nullptr;
};

// Binds the device, calibration and e-gun dialogs to their presenters and
// their menu entries (mnuADSetup, mnuDASetup, mnuIOSetup, mnuGunParameter);
// once per main window. The e-gun opens by itself once the event loop runs
// when it was open at the last exit.
HardwareDialogs InstallHardwareDialogs(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
