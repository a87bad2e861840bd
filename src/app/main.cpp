// sv4200: the workbench. Start-up runs the steps of Main on the main window,
// then the event loop runs until the window agrees to close.

#include <QApplication>
#include <cmath>
#include <memory>
#include <QPixmap>
#include <QTimer>
#include <string>
#include <vector>

#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/energy_hooks.h"
#include "analysis/image_convert.h"
#include "app/app_environment.h"
#include "app/column_dialogs.h"
#include "app/compress_dialog.h"
#include "app/resize_dialog.h"
#include "app/experiment_dialog.h"
#include "app/film_player_window.h"
#include "app/filter_dialogs.h"
#include "app/fit_dialogs.h"
#include "app/rfactor_dialog.h"
#include "app/auger_dialog.h"
#include "app/image_vtr_dialog.h"
#include "app/genicam_dialog.h"
#include "app/grabber_dialog.h"
#include "app/growth_rate_dialog.h"
#include "app/hardware_dialogs.h"
#include "app/line_tools.h"
#include "app/image_calibration_dialogs.h"
#include "app/image_math_dialogs.h"
#include "app/live_views.h"
#include "app/main_window.h"
#include "app/particle_dialogs.h"
#include "app/qt_host.h"
#include "app/screenshot_scenes.h"
#include "app/script_window.h"
#include "app/soft_trigger_dialog.h"
#include "app/system_close.h"
#include "app/window_setup_dialog.h"
#include "app/worksheet_dialogs.h"
#include "core/document_recovery.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "experiment/run_recovery.h"
#include "experiment/shutter.h"
#include "fit/form_fit.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("SV4200");
  QApplication::setOrganizationName("SV4200");

  // "--screenshot FILE [--scene NAME]": start, set a scene up, save its
  // picture and leave without the exit sequence. For the documentation.
  // "--sheet" is the scene "sheet".
  QString screenshot;
  std::string scene = "image";
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--screenshot" && i + 1 < argc) {
      screenshot = QString::fromLocal8Bit(argv[++i]);
      continue;
    }
    if (a == "--sheet") {
      scene = "sheet";
      continue;
    }
    if (a == "--scene" && i + 1 < argc && sv::app::IsScreenshotScene(argv[i + 1])) {
      scene = argv[++i];
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
    sv::RegisterWorksheetDocuments(main);
    sv::RegisterImageConvert();
    sv::RegisterPlotDocuments(main);
    sv::RegisterPeakFit();
    sv::RegisterRFactor();
    sv::app::InstallKernelEnvironment();
    sv::InstallGrabberEnvironment();
    sv::RegisterGrabberCommands(main);
    sv::InstallLiveEnvironment();
    sv::RegisterLiveCommands(main);
    sv::InstallHardwareEnvironment();
    sv::InstallShutter();
    sv::RegisterHardwareMenus(main);
    sv::InstallEnergyHooks();
    sv::app::MainWindow window(main, &host);
    sv::app::InstallGrabberDialog(main, &window);
    sv::app::InstallGenICamDialog(main, &window);
    sv::app::InstallLiveViews(main, &window);
    sv::app::InstallDocumentDialogs(&window);
    sv::app::InstallColumnDialogs(main, &window);
    sv::app::InstallPlotEnvironment(&window);
    sv::app::InstallWindowTools(main, &window);
    sv::app::InstallHardwareDialogs(main, &window);
    sv::app::InstallLineTools(main, &window);
    sv::app::InstallCalibrationDialogs(main, &window);
    sv::app::InstallExperimentDialog(main, &window);
    sv::app::InstallSoftTriggerDialog(main, &window);
    sv::app::InstallCompressDialog(&window);
    sv::app::InstallResizeDialog(&window);
    sv::app::InstallFilterDialogs(main, &window);
    sv::app::InstallImageMathDialogs(main, &window);
    sv::app::InstallImageVTRDialog(main, &window);
    sv::app::InstallAugerDialog(main, &window);
    sv::app::InstallFilmPlayer(main, &window);
    sv::app::InstallFitDialogs(&window);
    sv::app::InstallRFactorDialog(&window, [&main] { return sv::app::OpenSheets(main); });
    sv::app::InstallGrowthRateDialog(&window);
    sv::app::InstallParticleDialogs(main, &window);
    sv::app::InstallScriptWindow(main, &window);
    sv::app::InstallRecoveryWriters();
    // From here a signal to end waits for the event loop, then closes as
    // the exit does, without its question. A screenshot leaves without it.
    std::unique_ptr<sv::app::SystemClose> systemClose;
    if (screenshot.isEmpty()) systemClose = std::make_unique<sv::app::SystemClose>(main, &window);

    if (!sv::Main(main, sv::JoinArguments(args))) {
      exitCode = 1;
    } else {
      if (systemClose) {
        QTimer::singleShot(0, &window, [&systemClose] { systemClose->Started(); });
        // Sheets of runs that ended unsaved, documents the system closed.
        QTimer::singleShot(0, &window, [&main, &systemClose] {
          if (systemClose->Requested()) return;
          sv::OfferRunRecovery(main);
          sv::OfferDocumentRecovery(main);
        });
      }
      if (!screenshot.isEmpty()) {
        QTimer::singleShot(0, &window, [&] {
          sv::app::TakeScreenshot(main, window, scene, screenshot,
                                  [&app](bool saved) { app.exit(saved ? 0 : 1); });
        });
      }
      exitCode = app.exec();
      sv::UnloadMain(main);
    }
    sv::ClearRecoveryWriters();
    sv::app::RemoveDocumentDialogs();
    sv::app::RemoveCompressDialog();
    sv::app::RemoveFilmPlayer();
    sv::SetMainForm(nullptr);
  }
  sv::SetHost(nullptr);
  return exitCode;
}
