// What the commands that work on a main window of their own share: the
// window and its documents, an image read into it, and the settings read as
// the workbench reads them at start.
#pragma once

#include <ostream>
#include <string>

#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"

namespace sv::cli {

// The globals reset, then a main window that is the main form while it lives
// (the previous one again after), with image and worksheet documents.
class BatchMainWindow {
 public:
  BatchMainWindow();
  ~BatchMainWindow();
  BatchMainWindow(const BatchMainWindow&) = delete;
  BatchMainWindow& operator=(const BatchMainWindow&) = delete;

 private:
  // The globals are reset before the window is made.
  struct GlobalsReset {
    GlobalsReset();
  } reset_;

 public:
  MDIForm_Main main;

 private:
  MDIForm_Main* previous_;
};

// A main window for the commands that run the grabber: the main form while it
// lives, with image documents and no background saving; when it goes, the
// grabber is closed and unloaded, the live modes reset and the main form
// cleared.
class GrabberMainWindow {
 public:
  GrabberMainWindow();
  ~GrabberMainWindow();
  GrabberMainWindow(const GrabberMainWindow&) = delete;
  GrabberMainWindow& operator=(const GrabberMainWindow&) = delete;

  MDIForm_Main main;
};

// PATH read into a new image window of `main`, which is then shown: 0 with
// `image` set; 2 after "cannot make an image", 1 after "cannot read PATH".
int OpenBatchImage(MDIForm_Main& main, const std::string& path, std::ostream& err,
                   Form_Camera*& image);

// The globals reset (the grabber's and the live modes' too), the user's ini
// file named after the host's user and read, the grabber's sections with it.
void ReadBatchSettings(Host& host);

}  // namespace sv::cli
