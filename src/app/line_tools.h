// The line tools: the Line Setup dialog and the profile window.
#pragma once

class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

// Binds the line setup and the profile window to their presenters and to
// mnuLineSetup; once per main window.
void InstallLineTools(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
