// The workbench the Qt tests of the main window share: the main window over
// its presenter on a scripted host, made afresh for every test, and the
// helpers that look at its pictures and windows.
#pragma once

#include <QAction>
#include <QCheckBox>
#include <QHeaderView>
#include <QComboBox>
#include <QListWidget>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QWheelEvent>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QProgressBar>
#include <QScrollBar>
#include <QSet>
#include <QStatusBar>
#include <QTest>
#include <QToolBar>
#include <deque>
#include <fstream>
#include <memory>

#include "acquisition/genicam.h"
#include "acquisition/grabber.h"
#include "analysis/form_window_setup.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "app/app_environment.h"
#include "app/genicam_dialog.h"
#include "app/grabber_dialog.h"
#include "app/live_views.h"
#include "app/image_window.h"
#include "app/lut_dialog.h"
#include "app/main_window.h"
#include "app/plot_dialog_windows.h"
#include "app/plot_window.h"
#include "app/qt_host.h"
#include "app/move_window_dialog.h"
#include "app/window_result_window.h"
#include "app/window_setup_dialog.h"
#include "app/worksheet_dialogs.h"
#include "app/worksheet_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "image/form_camera.h"
#include "image/kernel/test_image.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "picture_mouse.h"
#include "support/queue_host.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"


namespace sv::test_app {
using namespace sv;
using sv::test::QueueHost;
}  // namespace sv::test_app


namespace sv::test_app {

inline QColor PaletteColour(const Form_Camera& f, int index) {
  const RGBQuad& q = f.Header.bmiColors[index];
  return QColor(q.rgbRed, q.rgbGreen, q.rgbBlue);
}

// The colour the display bitmap holds for image pixel (x, y), counted from the top.
inline QColor BitmapColour(const Form_Camera& f, long x, long y) {
  const uint8_t* line = f.ImagePtr8() + (f.ImageHeight() - 1 - y) * f.ImageByteWidth();
  return PaletteColour(f, line[x]);
}

inline int VisibleChildren(QMdiArea* mdi) {
  int n = 0;
  for (QMdiSubWindow* s : mdi->subWindowList())
    if (!s->isHidden()) ++n;
  return n;
}

}  // namespace sv::test_app

namespace sv::test_app {

class WorkbenchFixture : public QObject {
 protected:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;

  Form_Camera* ActiveImage() { return dynamic_cast<Form_Camera*>(main_->ActiveChild()); }
  app::ImageWindow* ActiveWindow() {
    Form_Camera* f = ActiveImage();
    return f ? window_->ImageWindowFor(f->Handle()) : nullptr;
  }
  // A new worksheet through the menu, with the plots beside it.
  Form_Worksheet* NewSheet() {
    RegisterWorksheetDocuments(*main_);
    RegisterPlotDocuments(*main_);
    main_->PrepareAllMenus();
    main_->Click("mnuNewWorksheet");
    return dynamic_cast<Form_Worksheet*>(main_->ActiveChild());
  }

  // The middle of a header section, in the header's viewport.
  static QPoint SectionPoint(QHeaderView* h, int section) {
    const int along = h->sectionViewportPosition(section) + h->sectionSize(section) / 2;
    return h->orientation() == Qt::Horizontal ? QPoint(along, h->height() / 2)
                                              : QPoint(h->width() / 2, along);
  }

  QImage GrabPicture() {
    app::ImageWindow* w = ActiveWindow();
    return w ? w->Picture()->grab().toImage().convertToFormat(QImage::Format_RGB32) : QImage();
  }

  // The live picture of the dummy under the window tool: the grabber up,
  // Preview running, the picture in front, Window Setup from its menu.
  app::WindowTools StartWindowTool() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    RegisterLiveCommands(*main_);
    const app::WindowTools tools = app::InstallWindowTools(*main_, window_.get());
    if (!StartGrabber("DummyGrb")) return {};
    main_->PrepareAllMenus();
    window_->ToolbarAction("Preview")->trigger();
    for (int i = 0; i < 2; ++i) host_->FireTimers();
    main_->SetActiveChild(PreviewImage()->Handle());
    main_->PrepareMenu("mnuScan");
    if (QAction* setup = window_->MenuAction("mnuWindowSetup")) setup->trigger();
    return tools;
  }

  // Overlay lines of one colour that pass through (x, y).
  static int LinesThrough(const Form_Camera& f, long x, long y, long colour) {
    int n = 0;
    for (const OverlayItem& i : f.Overlay.Items())
      if (i.type == 1 && i.colour == colour && std::min(i.x1, i.x2) <= x &&
          x <= std::max(i.x1, i.x2) && std::min(i.y1, i.y2) <= y && y <= std::max(i.y1, i.y2))
        ++n;
    return n;
  }

  // Only Aravis's in-process fake camera is ever looked for.
  static void SetUpOnce() {
    qputenv("SV_GENICAM_FAKE", "1");
    SetGenICamFakeOnly(true);
  }

  void SetUpWorkbench() {
    ResetGlobals();
    host_ = std::make_unique<QueueHost>();
    main_ = std::make_unique<MDIForm_Main>();
    SetMainForm(main_.get());
    RegisterImageDocuments(*main_);
    app::InstallKernelEnvironment();
    window_ = std::make_unique<app::MainWindow>(*main_);
    QVERIFY(sv::Main(*main_, ""));
    QVERIFY(window_->isVisible());
  }

  void TearDownWorkbench() {
    // The window tool lets go of its image and keeps nothing for the next test.
    if (WindowSetupForm().Visible()) WindowSetupForm().Unload();
    WindowScanResultForm().Hide();
    Hooks() = AnalysisHooks();
    ResetWindowGlobals();
    // A camera let go before the next test.
    GrabberClose();
    GrabberUnload();
    GenICamConfig() = GenICamSettings();
    window_.reset();
    main_.reset();
    // The grabber's plug-ins go with the window they were made for.
    Environment() = StartupEnvironment();
    ClearSettingsSections();
    ResetGrabberGlobals();
    ResetLiveGlobals();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const std::vector<std::string> unscripted = host_->unscripted;
    host_.reset();
    QVERIFY2(unscripted.empty(), unscripted.empty() ? "" : unscripted.front().c_str());
  }

};

}  // namespace sv::test_app
