#include "cli/batch_session.h"

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "core/globals.h"
#include "core/settings.h"
#include "image/image_files.h"
#include "worksheet/worksheet_documents.h"

namespace sv::cli {

BatchMainWindow::GlobalsReset::GlobalsReset() { ResetGlobals(); }

BatchMainWindow::BatchMainWindow() : previous_(MainForm()) {
  SetMainForm(&main);
  RegisterImageDocuments(main);
  RegisterWorksheetDocuments(main);
}

BatchMainWindow::~BatchMainWindow() { SetMainForm(previous_); }

GrabberMainWindow::GrabberMainWindow() {
  SetMainForm(&main);
  RegisterImageDocuments(main);
  LV().SaveBackground = nullptr;
}

GrabberMainWindow::~GrabberMainWindow() {
  GrabberClose();
  GrabberUnload();
  ResetLiveGlobals();
  SetMainForm(nullptr);
}

int OpenBatchImage(MDIForm_Main& main, const std::string& path, std::ostream& err,
                   Form_Camera*& image) {
  image = NewImage(main);
  if (!image) {
    err << "svbatch: cannot make an image\n";
    return 2;
  }
  if (!ImageOpenDo(*image, path) || !image->ImagePtr()) {
    err << "svbatch: cannot read " << path << "\n";
    return 1;
  }
  main.ShowChild(image->Handle());
  return 0;
}

void ReadBatchSettings(Host& host) {
  ResetGlobals();
  ResetGrabberGlobals();
  ResetLiveGlobals();
  Globals& g = G();
  g.UserIniName = host.UserName();
  g.IniFile = FormIniFile(host.ProgramFolder(), g.UserIniName);
  InstallGrabberEnvironment();
  ReadSettings(nullptr);
}

}  // namespace sv::cli
