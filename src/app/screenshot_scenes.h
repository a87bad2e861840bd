// Pictures of the workbench for the documentation: a scene is set up on the
// running workbench, left to settle and saved as a PNG.
#pragma once

#include <QString>

#include <functional>
#include <string>

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class MainWindow;

// The scenes: "live" (the live picture of the simulated screen with scan
// windows on its spots and the window setup beside it), "sheet" (an I(E)
// sheet and its plot), "grabber" (the grabber dialog), "image" (a new
// image, or the live picture when a grabber is up), "recorder" (the image
// recorder after a short sweep), "player" (the film player on a film of
// the simulated screen, a range of frames tagged), "fit" (a peak fit of a
// line scan: the fit dialog with its report beside the plot).
bool IsScreenshotScene(const std::string& scene);

// A film of the simulated screen for the player: `frames` frames of 12 bits
// at the dummy camera's size, an I(E) sweep from `eStart` in steps of
// `eStep` eV, half a second apart, with the columns "energy (eV)" and
// "time (s)" in every frame. False when the file cannot be written.
bool WriteSimulatedFilm(const std::string& path, int frames, double eStart, double eStep);

// Sets the scene up, waits for it to settle and saves the picture to
// `file`; `done` gets whether the picture was written.
void TakeScreenshot(MDIForm_Main& main, MainWindow& window, const std::string& scene,
                    const QString& file, std::function<void(bool)> done);

}  // namespace sv::app
