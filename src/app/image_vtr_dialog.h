// The image recorder's dialog, bound to Form_ImageVTR and mnuImageVTR.
#pragma once

class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

// Once per main window.
void InstallImageVTRDialog(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
