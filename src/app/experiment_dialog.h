// The experiment dialog, bound to Form_Experiment and mnuExperiment.
#pragma once

class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

// Once per main window.
void InstallExperimentDialog(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
