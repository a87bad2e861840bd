// The film player's window, bound to Form_SoftVTR: the slider over the
// frames, the transport, the tag bar, the status word, the position and the
// frame's numbers, and the player's menus. The frame itself shows in an
// ordinary image window. Also the film's dialogs: the export of frames
// (Form_VTR_Export) and the film's data (Form_VTR_Data).
#pragma once

class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

// Once per main window: mnuFilm, mnuOpenFilm, films from File/Open and the
// last files, the export dialog and the import's name dialog.
void InstallFilmPlayer(MDIForm_Main& main, QWidget* window);
// Takes the film dialogs out again (before the main window goes).
void RemoveFilmPlayer();

}  // namespace sv::app
