// The faces of the toolbar buttons and windows: the drawn icons (SVG files in
// the program's resources, inked from the palette when painted), the human
// caption of each toolbar key, and its tool tip with the shortcut of the menu
// entry the key stands for.
#pragma once

#include <QIcon>
#include <QString>

#include "core/mdi_main.h"

namespace sv::app {

// An icon drawn from the resource file `name` (":/icons/<name>.svg"). Lines
// drawn in "currentColor" take the palette's button text, so the icon reads
// on light and dark themes alike; disabled, the whole icon takes the
// palette's disabled text. Null when the file does not exist.
QIcon PaletteIcon(const QString& name);

// The workbench's own icon: a diffraction pattern on a phosphor screen.
QIcon AppIcon();

enum class DocumentKind { Image, Worksheet, Plot, Film };
// The icon a document window of each kind carries in its title bar.
QIcon DocumentIcon(DocumentKind kind);

// What a toolbar key looks like: "TimerGrab" is "Timer grab", stands for
// mnuTimerGrab and is drawn from timer-grab.svg. Buttons made at run time
// (the source buttons) are found through the menu entry they stand for.
struct ButtonFace {
  const char* key;      // "" for buttons found by their menu entry
  const char* caption;  // "Timer grab"
  const char* menu;     // "mnuTimerGrab"
  const char* icon;     // "timer-grab"
};
// nullptr when the button has no face.
const ButtonFace* FaceOf(const ToolbarButton& button);

// The icon of a button; null when its key has none.
QIcon ToolbarIcon(const ToolbarButton& button);
// The text of a button's action: the caption the presenter gives it, else the
// human caption of its key, else the key.
QString ToolbarText(const ToolbarButton& button);
// "Timer grab", "Undo: Binarize (Ctrl+Z)": the human caption, or the tip the
// presenter set for this moment, followed by the shortcut of the matching
// menu entry in brackets when that entry has one.
QString ToolbarTip(const ToolbarButton& button, MDIForm_Main& main);

}  // namespace sv::app
