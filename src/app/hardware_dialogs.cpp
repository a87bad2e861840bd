#include "app/hardware_dialogs.h"

#include <QPointer>
#include <QTimer>

#include "app/device_setup_dialog.h"
#include "app/egun_dialog.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "hardware/form_egun.h"

namespace sv::app {

namespace {

template <class Dialog>
void Opens(MDIForm_Main& main, const char* command, Dialog* dialog) {
  QPointer<Dialog> guarded(dialog);
  main.SetCommand(command, [guarded](int) {
    if (!guarded) return;
    guarded->show();
    guarded->raise();
    guarded->activateWindow();
  });
}

}  // namespace

HardwareDialogs InstallHardwareDialogs(MDIForm_Main& main, QWidget* window) {
  RegisterEGunSettings();
  HardwareDialogs d;
  d.ad = new ADSetupDialog(window);
  d.da = new DASetupDialog(window);
  d.io = new IOSetupDialog(window);
  d.egun = new EGunDialog(window);
  Opens(main, "mnuADSetup", d.ad);
  Opens(main, "mnuDASetup", d.da);
  Opens(main, "mnuIOSetup", d.io);
  QPointer<EGunDialog> egun(d.egun);
  main.SetCommand("mnuGunParameter", [egun](int) {
    if (egun) egun->Open();
  });
  // The settings are read after this; the e-gun comes back once they are.
  QTimer::singleShot(0, d.egun, [egun] {
    if (egun && G().eGunVisible && !egun->isVisible()) egun->Open();
  });
  return d;
}

}  // namespace sv::app
