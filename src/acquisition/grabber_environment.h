// Where the grabber meets the rest of the workbench: start-up and exit steps,
// the steps after a selection (toolbar states, the live picture's image, the
// source buttons), and the commands of the grabber menu that exist so far.
#pragma once

#include <string>

namespace sv {

class Form_Camera;
class MDIForm_Main;

// The image that shows the live picture; nullptr when there is none. Without
// a main window given, the process's own.
Form_Camera* PreviewImage(MDIForm_Main* main = nullptr);

// Start-up: the selection, then the steps after it; a driver that does not
// come up is unloaded again. Returns GrabberOK.
bool StartGrabber(const std::string& name);
// A driver change at run time: close, unload, select the new one, the steps
// after it. Open images stay as they are.
bool ChangeGrabber(const std::string& name);
// The steps after a successful selection.
void AfterGrabberSelection(MDIForm_Main& main);
// What follows GrabberOK: the grabber menu and toolbar, the source controls,
// the caption of the setup entry.
void RefreshGrabberControls(MDIForm_Main& main);
// Toolbar_Sources and the source menu: one entry per input, the present one
// pressed. The toolbar is added to the main window when it is missing.
void RebuildSourceControls(MDIForm_Main& main);
// "&Grabber: " + display name + "..." on mnuGrabberSetup.
void ShowGrabberSetupCaption(MDIForm_Main& main);
// The caption of source button `input` of `inputs`.
std::string SourceCaption(long input, long inputs, const std::string& inputName);
// The zoom index (as Form_Camera counts them) of the largest zoom at which an
// image fits the rectangle; 1:1 when the rectangle is empty.
long ZoomIndexToFit(long imageWidth, long imageHeight, long rectWidth, long rectHeight);

// Start-up's grabber steps (init, overlay, the name in its failure message)
// and the grabber's settings pair. May be called more than once.
void InstallGrabberEnvironment();
// The grabber's commands, menu rules and exit step on a main window; once per
// main window.
void RegisterGrabberCommands(MDIForm_Main& main);

}  // namespace sv
