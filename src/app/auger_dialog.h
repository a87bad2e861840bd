// The Auger dialog, bound to Form_Auger and mnuAuger.
#pragma once

class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

// Once per main window.
void InstallAugerDialog(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
