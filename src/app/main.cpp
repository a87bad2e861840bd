// sv4200: the workbench. Start-up runs the steps of Main on the main window,
// then the event loop runs until the window agrees to close.

#include <QApplication>
#include <QPixmap>
#include <QTimer>
#include <string>
#include <vector>

#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "app/app_environment.h"
#include "app/grabber_dialog.h"
#include "app/live_views.h"
#include "app/main_window.h"
#include "app/qt_host.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "image/form_camera.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("SV4200");
  QApplication::setOrganizationName("SV4200");

  // "--screenshot FILE": start, make a new image, save the main window as a
  // picture and leave without the exit sequence. For the documentation.
  QString screenshot;
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--screenshot" && i + 1 < argc) {
      screenshot = QString::fromLocal8Bit(argv[++i]);
      continue;
    }
    args.push_back(a);
  }

  sv::app::QtHost host;
  sv::SetHost(&host);
  int exitCode = 0;
  {
    sv::MDIForm_Main main;
    sv::SetMainForm(&main);
    sv::RegisterImageDocuments(main);
    sv::app::InstallKernelEnvironment();
    sv::InstallGrabberEnvironment();
    sv::RegisterGrabberCommands(main);
    sv::InstallLiveEnvironment();
    sv::RegisterLiveCommands(main);
    sv::app::MainWindow window(main, &host);
    sv::app::InstallGrabberDialog(main, &window);
    sv::app::InstallLiveViews(main, &window);

    if (!sv::Main(main, sv::JoinArguments(args))) {
      exitCode = 1;
    } else {
      if (!screenshot.isEmpty()) {
        QTimer::singleShot(0, &window, [&] {
          // With a grabber up the live picture runs; otherwise a new image.
          main.Click(sv::G().GrabberOK ? "mnuPreview" : "mnuNewImage");
          // Let the layouts settle before the picture is taken.
          QTimer::singleShot(sv::G().GrabberOK ? 1500 : 400, &window, [&] {
            const bool saved = window.grab().save(screenshot);
            app.exit(saved ? 0 : 1);
          });
        });
      }
      exitCode = app.exec();
      sv::UnloadMain(main);
    }
    sv::SetMainForm(nullptr);
  }
  sv::SetHost(nullptr);
  return exitCode;
}
