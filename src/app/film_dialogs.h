// The film player's dialogs: the export of frames, bound to Form_VTR_Export
// (modal, OK checks the fields through the presenter), the film's data,
// bound to Form_VTR_Data, and the import's choice of several images.
#pragma once

class QWidget;

namespace sv::app {

// Puts the export dialog and the import's name dialog in (once per main
// window); RemoveFilmDialogs takes them out again.
void InstallFilmDialogs(QWidget* window);
void RemoveFilmDialogs();
// Shows the data of the player's open film (nothing without one).
void ShowFilmData();

}  // namespace sv::app
