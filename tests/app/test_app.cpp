// The workbench window on the offscreen platform: menus and toolbars bound to
// the presenter, an image that paints pixel for pixel, the zoom, the close
// box of a child and the exit question.

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

using namespace sv;
using sv::test::QueueHost;

namespace {

QColor PaletteColour(const Form_Camera& f, int index) {
  const RGBQuad& q = f.Header.bmiColors[index];
  return QColor(q.rgbRed, q.rgbGreen, q.rgbBlue);
}

// The colour the display bitmap holds for image pixel (x, y), counted from the top.
QColor BitmapColour(const Form_Camera& f, long x, long y) {
  const uint8_t* line = f.ImagePtr8() + (f.ImageHeight() - 1 - y) * f.ImageByteWidth();
  return PaletteColour(f, line[x]);
}

int VisibleChildren(QMdiArea* mdi) {
  int n = 0;
  for (QMdiSubWindow* s : mdi->subWindowList())
    if (!s->isHidden()) ++n;
  return n;
}

}  // namespace

class TestWorkbench : public QObject {
  Q_OBJECT

 private:
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

 private slots:
  // Only Aravis's in-process fake camera is ever looked for.
  void initTestCase() {
    qputenv("SV_GENICAM_FAKE", "1");
    SetGenICamFakeOnly(true);
  }

  void init() {
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

  void cleanup() {
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

  void kernelPassesItsSelfCheck() { QCOMPARE(QString::fromStdString(app::KernelSelfCheck()), ""); }

  void filtersTakeQtForm() {
    const QStringList f =
        app::QtFilters("Images (*.tif;*.bmp)|*.tif;*.bmp|Worksheet|*.sht|All Files (*.*)|*.*");
    QCOMPARE(f, QStringList({"Images (*.tif *.bmp)", "Worksheet (*.sht)", "All Files (*)"}));
    QCOMPARE(app::QtFilters(""), QStringList());
  }

  void menusAndToolbarsFollowThePresenter() {
    // The zoom entries exist once the load step has run.
    QVERIFY(window_->MenuAction("mnuViewLarger", 4));
    QCOMPARE(window_->MenuAction("mnuViewLarger", 4)->text(), QString("&4:1"));
    QCOMPARE(window_->MenuAction("mnuViewSmaller", 12)->text(), QString("1:12"));
    QCOMPARE(window_->MenuAction("mnuNewImage")->shortcut(), QKeySequence("Ctrl+N"));

    // A state change in the model reaches the action when its menu opens.
    QMenu* view = window_->TopMenu("mnuView");
    QVERIFY(view);
    emit view->aboutToShow();
    QCOMPARE(window_->MenuAction("mnuShowToolbar")->isChecked(), G().ShowToolbar != 0);
    QVERIFY(!window_->MenuAction("mnuZoom1x")->isEnabled());  // no image yet

    // Hiding the toolbars through the menu.
    QToolBar* file = window_->ToolbarWidget("Toolbar_File");
    QVERIFY(file && !file->isHidden());
    window_->MenuAction("mnuShowToolbar")->trigger();
    QVERIFY(file->isHidden());
    QVERIFY(!window_->MenuAction("mnuShowToolbar")->isChecked());
    window_->MenuAction("mnuShowToolbar")->trigger();
    QVERIFY(!file->isHidden());

    // A whole toolbar closed by the model is disabled as one.
    main_->MenuEnabled(false);
    QVERIFY(!file->isEnabled());
    QVERIFY(!window_->TopMenu("mnuFile")->menuAction()->isEnabled());
    main_->MenuEnabled(true);
    QVERIFY(file->isEnabled());

    // The status panels.
    main_->SetPanel(kPanelEnergy, "12.0 eV");
    QCOMPARE(window_->PanelLabel(kPanelEnergy)->text(), QString("12.0 eV"));
    window_->ShowStatusText("Reading", 40);
    QVERIFY(!window_->Progress()->isHidden());
    QCOMPARE(window_->Progress()->value(), 40);
    window_->ShowStatusText("", 40);
    QVERIFY(window_->Progress()->isHidden());
  }

  void newImagePaintsTheBitmap() {
    QCOMPARE(VisibleChildren(window_->MdiArea()), 0);
    window_->ToolbarAction("NewImage")->trigger();
    QCOMPARE(VisibleChildren(window_->MdiArea()), 1);
    Form_Camera* f = ActiveImage();
    QVERIFY(f);
    QVERIFY(f->ImagePtr8());
    QCOMPARE(window_->SubWindowFor(f->Handle())->windowTitle(),
             QString::fromStdString(f->Caption()));
    QCOMPARE(f->ZoomFactor(), 1.0f);

    const QImage shot = GrabPicture();
    QSet<QRgb> colours;
    for (int y = 0; y < shot.height(); y += 3)
      for (int x = 0; x < shot.width(); x += 3) colours.insert(shot.pixel(x, y));
    QVERIFY2(colours.size() > 8, "the picture is (nearly) one colour");

    // At 1:1 every screen pixel is the bitmap's pixel, top line first.
    const long w = std::min<long>(f->ImageWidth(), shot.width()) - f->ZoomOffsetX();
    const long h = std::min<long>(f->ImageHeight(), shot.height()) - f->ZoomOffsetY();
    for (long y = 0; y < h; y += 7)
      for (long x = 0; x < w; x += 11)
        QCOMPARE(shot.pixelColor(int(x), int(y)), BitmapColour(*f, x, y));

    // The routed entries open for the image in front.
    emit window_->TopMenu("mnuFile")->aboutToShow();
    QVERIFY(window_->MenuAction("mnuClose")->isEnabled());
    QVERIFY(!window_->MenuAction("mnuNewWorksheet")->isEnabled());  // not built

    // The menu of windows lists it.
    QMenu* windows = window_->TopMenu("mnuWindow");
    emit windows->aboutToShow();
    bool listed = false;
    for (QAction* a : windows->actions())
      if (a->text().endsWith(QString::fromStdString(f->Caption()))) listed = a->isChecked();
    QVERIFY(listed);
  }

  void zoomIsPixelExact() {
    main_->Click("mnuNewImage");
    Form_Camera* f = ActiveImage();
    QVERIFY(f);
    app::ImageWindow* w = ActiveWindow();

    window_->MenuAction("mnuViewLarger", 4)->trigger();
    QCOMPARE(f->ZoomFactor(), 4.0f);
    QVERIFY(w->HorizontalBar()->isVisibleTo(w));
    QVERIFY(w->VerticalBar()->isVisibleTo(w));

    // Scrolling moves the picture.
    w->HorizontalBar()->setValue(w->HorizontalBar()->maximum() / 2);
    w->VerticalBar()->setValue(w->VerticalBar()->maximum() / 3);
    QCOMPARE(f->ZoomOffsetX(), -long(w->HorizontalBar()->value()));
    QCOMPARE(f->ZoomOffsetY(), -long(w->VerticalBar()->value()));

    // Each image pixel is a 4 x 4 block of its own colour, no smoothing.
    const QImage shot = GrabPicture();
    QVERIFY(!shot.isNull());
    for (int sy = 0; sy < shot.height(); sy += 5)
      for (int sx = 0; sx < shot.width(); sx += 5) {
        const long ix = (sx - f->ZoomOffsetX()) / 4;
        const long iy = (sy - f->ZoomOffsetY()) / 4;
        if (ix >= f->ImageWidth() || iy >= f->ImageHeight()) continue;
        QCOMPARE(shot.pixelColor(sx, sy), BitmapColour(*f, ix, iy));
      }

    main_->Click("mnuViewSmaller", 3);
    QCOMPARE(f->ZoomFactor(), 1.0f / 3.0f);
    main_->Click("mnuZoom1x");
    QCOMPARE(f->ZoomFactor(), 1.0f);
    QVERIFY(!w->HorizontalBar()->isVisibleTo(w) || f->ImageWidth() > f->ClientWidth);
  }

  void mouseReadsThePixelAndTheWheelZooms() {
    main_->Click("mnuNewImage");
    Form_Camera* f = ActiveImage();
    app::ImageWindow* w = ActiveWindow();
    QVERIFY(f && w);
    const QPoint at(10, 5);
    QMouseEvent move(QEvent::MouseMove, QPointF(at), QPointF(w->Picture()->mapToGlobal(at)),
                     Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(w->Picture(), &move);
    const long x = at.x() - f->ZoomOffsetX(), y = at.y() - f->ZoomOffsetY();
    QCOMPARE(window_->PanelLabel(kPanelPixelColor)->text(),
             QString("%1, %2: %3").arg(x).arg(y).arg(f->ImagePtr()[y * f->ImageWidth() + x]));

    // Ctrl and the wheel step through the zoom list; the wheel alone does not.
    auto wheel = [&](Qt::KeyboardModifiers mods) {
      QWheelEvent e(QPointF(20, 20), QPointF(w->Picture()->mapToGlobal(QPoint(20, 20))),
                    QPoint(), QPoint(0, 120), Qt::NoButton, mods, Qt::NoScrollPhase, false);
      QCoreApplication::sendEvent(w->Picture(), &e);
    };
    wheel(Qt::NoModifier);
    QCOMPARE(f->ZoomFactor(), 1.0f);
    wheel(Qt::ControlModifier);
    QCOMPARE(f->ZoomFactor(), 2.0f);
  }

  void commentFollowsTheOption() {
    G().ViewImageComment = -1;
    main_->Click("mnuNewImage");
    Form_Camera* f = ActiveImage();
    app::ImageWindow* w = ActiveWindow();
    QVERIFY(f && w);
    QVERIFY(w->Comment()->isVisibleTo(w));
    QTest::keyClicks(w->Comment(), "Cu(100) 55 eV");
    QCOMPARE(QString::fromStdString(f->ImgDescription), QString("Cu(100) 55 eV"));
    const int pictureHeight = w->Picture()->height();
    window_->MenuAction("mnuShowImageComment")->trigger();
    QVERIFY(!w->Comment()->isVisibleTo(w));
    QCoreApplication::processEvents();
    QVERIFY(w->Picture()->height() > pictureHeight);
    QCOMPARE(f->ClientHeight, w->Picture()->height());
  }

  void lutDialogFollowsTheImageInFront() {
    main_->Click("mnuNewImage");
    Form_Camera* first = ActiveImage();
    QVERIFY(first);
    window_->ToolbarAction("LUT")->trigger();
    app::LutDialog* lut = window_->Lut();
    QVERIFY(lut->isVisible());
    QCOMPARE(lut->Bound(), first);

    lut->TypeBox()->setCurrentIndex(2);  // green
    QCOMPARE(first->LUTtype(), 2);
    QCOMPARE(first->Header.bmiColors[200].rgbRed, first->Header.bmiColors[200].rgbBlue);
    QVERIFY(first->Header.bmiColors[200].rgbGreen > first->Header.bmiColors[200].rgbRed);

    lut->MaxText()->selectAll();
    QTest::keyClicks(lut->MaxText(), "50");
    QCOMPARE(first->LUTmax, 0.5f);
    QCOMPARE(lut->MaxSlider()->value(), 500);
    lut->MinSlider()->setValue(100);
    QCOMPARE(first->LUTmin, 0.1f);
    QCOMPARE(lut->MinText()->text(), QString("10"));

    // A wrong number is reported by Apply and changes nothing; the text stays
    // for the user to mend.
    lut->MaxText()->setText("half");
    host_->queue.push_back(MsgResult::OK);
    lut->ApplyButton()->click();
    QCOMPARE(host_->messages.back().title, std::string("LUT"));
    QCOMPARE(first->LUTmax, 0.5f);
    QCOMPARE(lut->MaxText()->text(), QString("half"));

    // Another image in front takes the dialog over; closing it lets go.
    main_->Click("mnuNewImage");
    Form_Camera* second = ActiveImage();
    QVERIFY(second && second != first);
    QCOMPARE(lut->Bound(), second);
    QCOMPARE(lut->MaxText()->text(), QString("100"));
    window_->SubWindowFor(second->Handle())->close();
    QCOMPARE(lut->Bound(), static_cast<Form_Camera*>(nullptr));
    QVERIFY(!lut->ApplyButton()->isEnabled());
  }

  void overlayIsDrawnOnTheZoomedPicture() {
    main_->Click("mnuNewImage");
    Form_Camera* f = ActiveImage();
    QVERIFY(f);
    main_->Click("mnuViewLarger", 3);
    f->SetZoomOffsets(0, 0);
    f->Overlay.Clear();
    f->Overlay.AddLine(2, 5, 20, 5, 0x0000FF, 1);  // red, across line 5
    f->Overlay.AddRect(30, 30, 40, 40, 0x00FF00, 1);
    f->DrawCameraImage();
    const QImage shot = GrabPicture();
    // Line 5 covers screen lines 15 to 17 from x = 6 to x = 62.
    for (int sy = 15; sy <= 17; ++sy)
      for (int sx = 6; sx < 63; sx += 4) QCOMPARE(shot.pixelColor(sx, sy), QColor(255, 0, 0));
    QVERIFY(shot.pixelColor(30, 14) != QColor(255, 0, 0));
    // The frame's left edge is image column 30: screen 90 to 92.
    QCOMPARE(shot.pixelColor(91, 105), QColor(0, 255, 0));
  }

  void closeBoxAsksTheDocument() {
    main_->Click("mnuNewImage");
    Form_Camera* f = ActiveImage();
    QVERIFY(f);
    const long handle = f->Handle();
    QMdiSubWindow* sub = window_->SubWindowFor(handle);
    const long before = main_->ImageCount;
    if (f->Changed()) host_->queue.push_back(MsgResult::No);
    sub->close();
    QCOMPARE(main_->ImageCount, before - 1);
    QVERIFY(!window_->SubWindowFor(handle));
    QCOMPARE(VisibleChildren(window_->MdiArea()), 0);
  }

  void exitAsksAndCancelKeepsEverything() {
    G().ShowExitDialog = 1;
    main_->Click("mnuNewImage");
    QCOMPARE(VisibleChildren(window_->MdiArea()), 1);

    host_->queue.push_back(MsgResult::Cancel);
    QVERIFY(!window_->close());
    QVERIFY(window_->isVisible());
    QVERIFY(!main_->Closed());
    QCOMPARE(VisibleChildren(window_->MdiArea()), 1);
    QCOMPARE(QString::fromStdString(host_->messages.back().text),
             QString("You are exiting Your SV4200 session."));
    QCOMPARE(QString::fromStdString(host_->messages.back().title), QString("Exit"));
    QCOMPARE(host_->messages.back().buttons, MsgButtons::OKCancel);

    host_->queue.push_back(MsgResult::OK);
    QVERIFY(window_->close());
    QVERIFY(!window_->isVisible());
    QVERIFY(main_->Closed());
    QCOMPARE(main_->ImageCount, 0L);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(VisibleChildren(window_->MdiArea()), 0);
  }

  void exitFromTheMenuClosesTheWindow() {
    G().ShowExitDialog = 1;
    host_->queue.push_back(MsgResult::OK);
    window_->MenuAction("mnuExit")->trigger();
    QTRY_VERIFY(!window_->isVisible());
    QCOMPARE(host_->messages.size(), size_t(1));
  }

  void settingsSurviveARestart() {
    main_->Click("mnuShowToolbar");
    main_->Click("mnuShowImageComment");
    main_->UpdateLastFiles("/data/run7.tif");
    QCOMPARE(G().ShowToolbar, 0);
    G().ShowExitDialog = 1;
    host_->queue.push_back(MsgResult::OK);
    QVERIFY(window_->close());

    // A second start in the same places.
    window_.reset();
    main_.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ResetGlobals();
    main_ = std::make_unique<MDIForm_Main>();
    SetMainForm(main_.get());
    RegisterImageDocuments(*main_);
    window_ = std::make_unique<app::MainWindow>(*main_);
    QVERIFY(sv::Main(*main_, ""));
    QCOMPARE(G().ShowToolbar, 0);
    QCOMPARE(G().ViewImageComment, 0);
    QVERIFY(!main_->FindMenu("mnuShowToolbar")->checked);
    QCOMPARE(QString::fromStdString(main_->GetLastFile(0)), QString("/data/run7.tif"));
    for (QToolBar* bar : window_->findChildren<QToolBar*>()) QVERIFY(!bar->isVisible());
  }

  // Setup -> Grabber: the dialog lists the drivers, OK changes to the dummy,
  // and the live picture and its source button appear.
  void grabberSetupChangesToTheDummy() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    app::GrabberDialog* dialog = app::InstallGrabberDialog(*main_, window_.get());
    main_->PrepareMenu("mnuSetup");
    QAction* setup = window_->MenuAction("mnuGrabberSetup");
    QVERIFY(setup);
    QVERIFY(setup->isEnabled());
    QVERIFY(!window_->ToolbarAction("Source0"));
    setup->trigger();
    QVERIFY(dialog->isVisible());
    QCOMPARE(dialog->windowTitle(), QString("Grabber Interface"));
    QCOMPARE(dialog->InfoLabel()->text(), QString("No grabber"));

    const auto found = dialog->DriverList()->findItems("Dummy Grabber", Qt::MatchExactly);
    QCOMPARE(found.size(), 1);
    dialog->DriverList()->setCurrentItem(found.front());
    QVERIFY(dialog->ColorBox()->isEnabled());
    QVERIFY(!dialog->ColorBox()->isChecked());
    QTest::mouseClick(dialog->OKButton(), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QVERIFY(G().GrabberOK);
    QCOMPARE(QString::fromStdString(G().GrabberName), QString("DummyGrb"));

    Form_Camera* preview = PreviewImage();
    QVERIFY(preview);
    QMdiSubWindow* sub = window_->SubWindowFor(preview->Handle());
    QVERIFY(sub && sub->isVisible());
    QCOMPARE(sub->windowTitle(), QString("Camera Image"));
    QCOMPARE(ActiveImage(), preview);

    QToolBar* sources = window_->ToolbarWidget("Toolbar_Sources");
    QVERIFY(sources && sources->isVisible());
    QAction* source = window_->ToolbarAction("Source0");
    QVERIFY(source);
    QCOMPARE(source->text(), QString("Video Source"));
    QVERIFY(source->isEnabled());
    QVERIFY(source->isChecked());
    main_->PrepareMenu("mnuSetup");
    QCOMPARE(window_->MenuAction("mnuGrabberSetup")->text(),
             QString("&Grabber: Dummy Grabber..."));
    QCOMPARE(window_->MenuAction("mnuSource", 0)->text(), QString("Video Source"));
  }

  // Drivers that cannot come up here are listed greyed; Cancel changes nothing.
  void grabberSetupGreysTheClosedDrivers() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    app::GrabberDialog* dialog = app::InstallGrabberDialog(*main_, window_.get());
    main_->PrepareMenu("mnuSetup");
    main_->Click("mnuGrabberSetup");
    QVERIFY(dialog->isVisible());
    const auto closed = dialog->DriverList()->findItems("Video 1000 S/W (not available)",
                                                        Qt::MatchExactly);
    QCOMPARE(closed.size(), 1);
    QVERIFY(!(closed.front()->flags() & Qt::ItemIsEnabled));
    QCOMPARE(dialog->DriverList()->currentRow(), 0);
    QVERIFY(!dialog->ColorBox()->isEnabled());
    QTest::mouseClick(dialog->CancelButton(), Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
    QVERIFY(!G().GrabberOK);
    QVERIFY(!PreviewImage());
    QVERIFY(host_->messages.empty());
  }

  // Grabber toolbar on the dummy: Preview runs on the timers and shows its
  // frame rate, Grab and Average take their frames.
  void previewRunsOnTimersAndShowsTheFrameRate() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    RegisterLiveCommands(*main_);
    QVERIFY(StartGrabber("DummyGrb"));
    main_->PrepareAllMenus();
    QAction* preview = window_->ToolbarAction("Preview");
    QVERIFY(preview && preview->isEnabled());
    preview->trigger();
    QVERIFY(PreviewRunning());
    const uint32_t frames = GB().DummyFrames;
    for (int i = 0; i < 3; ++i) host_->FireTimers();
    QCOMPARE(GB().DummyFrames, frames + 3);
    QLabel* rate = window_->PanelLabel(kPanelFrameRate);
    QVERIFY(rate);
    QVERIFY(rate->text().endsWith(" Hz"));
    QCOMPARE(rate->text(), QString("25.0 Hz"));
    QVERIFY(window_->ToolbarAction("Preview")->isChecked());
    window_->ToolbarAction("Preview")->trigger();
    QVERIFY(!PreviewRunning());

    window_->ToolbarAction("Grab")->trigger();
    QCOMPARE(GB().DummyFrames, frames + 4);
    host_->AnswerInput(std::string("4"));
    window_->ToolbarAction("Average")->trigger();
    QCOMPARE(GB().DummyFrames, frames + 8);
    QCOMPARE(QString::fromStdString(PreviewImage()->UndoName()), QString("Average 4x"));
  }

  // The countdown window follows a timed grab; the full-screen window shows
  // the live picture and goes on a key.
  void timerGrabAndFullScreenWindows() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    RegisterLiveCommands(*main_);
    QVERIFY(StartGrabber("DummyGrb"));
    main_->PrepareAllMenus();
    app::TimerGrabDialog countdown(window_.get());
    app::FullScreenWidget full;
    host_->AnswerInput(std::string("3"));
    window_->ToolbarAction("TimerGrab")->trigger();
    QVERIFY(countdown.isVisible());
    QCOMPARE(countdown.TimeLabel()->text(), QString("3"));
    const uint32_t frames = GB().DummyFrames;
    host_->clock += 3000;
    host_->FireTimers();
    QVERIFY(!countdown.isVisible());
    QCOMPARE(GB().DummyFrames, frames + 1);

    main_->SetActiveChild(PreviewImage()->Handle());
    main_->Click("mnuFullScreen");
    QVERIFY(full.isVisible());
    QCOMPARE(full.Presents(), 1);
    main_->Click("mnuGrab");
    QCOMPARE(full.Presents(), 2);
    QTest::keyClick(&full, Qt::Key_Escape);
    QVERIFY(!full.isVisible());
  }

  // View -> Background Image shows the hidden background and hides it again.
  void backgroundImageShowsAndHides() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    RegisterLiveCommands(*main_);
    app::InstallLiveViews(*main_, window_.get());
    QVERIFY(StartGrabber("DummyGrb"));
    main_->PrepareAllMenus();
    window_->ToolbarAction("Grab")->trigger();
    main_->Click("mnuDefineBackground");
    Form_Camera* bg = BackgroundImage();
    QVERIFY(bg);
    main_->PrepareAllMenus();
    main_->Click("mnuShowBackgroundImage");
    QMdiSubWindow* sub = window_->SubWindowFor(bg->Handle());
    QVERIFY(sub && sub->isVisible());
    main_->Click("mnuShowBackgroundImage");
    QVERIFY(!sub->isVisible());
    QVERIFY(!bg->Visible());
  }

  // File -> Save As in each format, and File -> Open again: the 8-bit formats
  // paint the same picture, the 16-bit ones give back the samples.
  void saveAsEachFormatAndOpenAgain() {
    main_->Click("mnuNewImage");
    Form_Camera* original = ActiveImage();
    QVERIFY(original);
    const QImage picture = GrabPicture();
    const std::vector<uint16_t> samples(
        original->ImagePtr(),
        original->ImagePtr() + original->ImageWidth() * original->ImageHeight());
    struct Format {
      int filter;
      const char* ext;
      bool wide;
    };
    for (const Format& f : {Format{1, ".tif", false}, Format{2, ".bmp", false},
                            Format{3, ".jpg", false}, Format{4, ".img", false},
                            Format{6, ".t16", true}, Format{7, ".b16", true},
                            Format{8, ".i16", true}}) {
      const std::string path = host_->root + "/saved" + f.ext;
      window_->SubWindowFor(original->Handle())->setFocus();
      main_->SetActiveChild(original->Handle());
      emit window_->TopMenu("mnuFile")->aboutToShow();
      host_->AnswerFile(path, f.filter);
      window_->MenuAction("mnuSaveAs")->trigger();
      QVERIFY2(QFileInfo::exists(QString::fromStdString(path)), path.c_str());

      emit window_->TopMenu("mnuFile")->aboutToShow();
      host_->AnswerFile(path);
      window_->MenuAction("mnuOpenImage")->trigger();
      Form_Camera* opened = ActiveImage();
      QVERIFY2(opened && opened != original, path.c_str());
      QCOMPARE(opened->ImageWidth(), original->ImageWidth());
      QCOMPARE(opened->ImageHeight(), original->ImageHeight());
      if (f.wide) {
        QVERIFY2(std::equal(samples.begin(), samples.end(), opened->ImagePtr()), path.c_str());
        continue;
      }
      // The 8-bit files hold what the display showed: exactly, but for JPEG.
      const long w = original->ImageWidth(), h = original->ImageHeight();
      long worst = 0;
      for (long y = 0; y < h; ++y) {
        const uint8_t* shown = original->ImagePtr8() + (h - 1 - y) * original->ImageByteWidth();
        for (long x = 0; x < w; ++x)
          worst = std::max<long>(worst, std::abs(long(opened->ImagePtr()[y * w + x]) - shown[x]));
      }
      QVERIFY2(worst <= (f.filter == 3 ? 24 : 0), path.c_str());
      // And the picture on the screen is the file's, upright.
      const QImage again = GrabPicture();
      for (int y = 0; y < std::min<int>(again.height(), int(h)); y += 9)
        for (int x = 0; x < std::min<int>(again.width(), int(w)); x += 9)
          QCOMPARE(again.pixelColor(x, y), BitmapColour(*opened, x, y));
      main_->CloseChild(opened->Handle());
    }
    QVERIFY(host_->messages.empty());
  }

  // The Qt host's timers run on the event loop until stopped.
  void qtHostTimersTickUntilStopped() {
    app::QtHost qt;
    int ticks = 0;
    int id = 0;
    id = qt.StartTimer(1, [&] {
      if (++ticks == 3) qt.StopTimer(id);
    });
    QTRY_COMPARE(ticks, 3);
    QTest::qWait(20);
    QCOMPARE(ticks, 3);
  }

  // --- Worksheets and plots ---------------------------------------------------------

  // A full sheet opens in the grid, which reads only what it shows, and
  // scrolls to its last row and column.
  void fullSheetScrollsToTheLastRow() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QVERIFY(w && w->isVisible());
    sheet->Redraw(false);
    sheet->Cols(101);
    sheet->Rows(kMaxSheetRows);
    sheet->TextMatrix(kMaxSheetRows - 1, 100, Cell(42.5f));
    sheet->Redraw(true);
    app::SheetTableModel* model = w->TableModel();
    QCOMPARE(model->rowCount(), int(kMaxSheetRows - 1));
    QCOMPARE(model->columnCount(), 100);

    const QModelIndex last = model->index(int(kMaxSheetRows - 2), 99);
    w->Grid()->scrollTo(last);
    QCoreApplication::processEvents();
    QCOMPARE(sheet->BottomRow(), kMaxSheetRows - 1);
    QCOMPARE(sheet->RightCol(), 100L);
    QVERIFY(sheet->IsRowVisible(kMaxSheetRows - 1));
    QVERIFY(!sheet->IsRowVisible(1));
    QVERIFY(w->Grid()->visualRect(last).intersects(w->Grid()->viewport()->rect()));
    QCOMPARE(model->data(last, Qt::DisplayRole).toString(), QString("42.5"));
    QCOMPARE(model->headerData(int(kMaxSheetRows - 2), Qt::Vertical, Qt::DisplayRole).toString(),
             QString::number(kMaxSheetRows - 1));
    QCOMPARE(model->headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(),
             QString::fromStdString(sheet->TextMatrix(0, 1).Text()));
    QVERIFY(!w->Grid()->viewport()->grab().isNull());

    // The sheet shrinks behind the grid's back: nothing outside it is read.
    sheet->Redraw(false);
    sheet->Rows(3);
    QCOMPARE(model->data(last, Qt::DisplayRole).toString(), QString());
    sheet->Redraw(true);
    QCOMPARE(model->rowCount(), 2);
  }

  // Headers pick whole columns and rows through the sheet's setters; a
  // shift-click picks a cell range; the current cell follows.
  void headersPickWholeColumnsAndRows() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QHeaderView* across = w->Grid()->horizontalHeader();
    QHeaderView* down = w->Grid()->verticalHeader();
    const long lastRow = sheet->Rows() - 1, lastCol = sheet->Cols() - 1;

    QTest::mouseClick(across->viewport(), Qt::LeftButton, {}, SectionPoint(across, 1));
    QCOMPARE(sheet->SelStartRow(), 0L);
    QCOMPARE(sheet->SelEndRow(), lastRow);
    QCOMPARE(sheet->SelStartCol(), 2L);
    QCOMPARE(sheet->SelEndCol(), 2L);
    QCOMPARE(sheet->Col(), 2L);
    QVERIFY(w->Grid()->selectionModel()->isColumnSelected(1, QModelIndex()));
    QTest::mouseClick(across->viewport(), Qt::LeftButton, Qt::ShiftModifier, SectionPoint(across, 0));
    QCOMPARE(sheet->SelStartCol(), 1L);
    QCOMPARE(sheet->SelEndCol(), 2L);
    QCOMPARE(sheet->SelStartRow(), 0L);

    QTest::mouseClick(down->viewport(), Qt::LeftButton, {}, SectionPoint(down, 4));
    QCOMPARE(sheet->SelStartCol(), 0L);
    QCOMPARE(sheet->SelEndCol(), lastCol);
    QCOMPARE(sheet->SelStartRow(), 5L);
    QCOMPARE(sheet->SelEndRow(), 5L);
    QCOMPARE(sheet->Row(), 5L);

    QWidget* cells = w->Grid()->viewport();
    auto cellPoint = [&](int row, int col) {
      return w->Grid()->visualRect(w->TableModel()->index(row, col)).center();
    };
    QTest::mouseClick(cells, Qt::LeftButton, {}, cellPoint(1, 0));
    QTest::mouseClick(cells, Qt::LeftButton, Qt::ShiftModifier, cellPoint(3, 1));
    QCOMPARE(sheet->SelStartRow(), 2L);
    QCOMPARE(sheet->SelEndRow(), 4L);
    QCOMPARE(sheet->SelStartCol(), 1L);
    QCOMPARE(sheet->SelEndCol(), 2L);
    QCOMPARE(sheet->Row(), 4L);
    QCOMPARE(sheet->Col(), 2L);

    // A selection the sheet sets itself shows in the grid.
    sheet->SetSelection(-1, -1, -1, -1);
    sheet->DrawWorksheet();
    QVERIFY(!w->Grid()->selectionModel()->hasSelection());
  }

  // Typing into a cell goes through the sheet's text setter; the caption
  // shows the change, and the routed menu commands reach the sheet.
  void editingACellReachesTheSheet() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QMdiSubWindow* sub = window_->SubWindowFor(sheet->Handle());
    sheet->Saved();
    QVERIFY(!sub->windowTitle().endsWith(" *"));

    const QModelIndex cell = w->TableModel()->index(2, 1);
    w->Grid()->setCurrentIndex(cell);
    w->Grid()->edit(cell);
    auto* editor = w->Grid()->viewport()->findChild<QLineEdit*>();
    QVERIFY(editor);
    QTest::keyClicks(editor, "3.25");
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents();  // the editor commits from the event loop
    QCOMPARE(QString::fromStdString(sheet->TextMatrix(3, 2).Text()), QString("3.25"));
    QCOMPARE(sheet->Row(), 3L);
    QCOMPARE(sheet->Col(), 2L);
    QVERIFY(sheet->Changed());
    QCOMPARE(sub->windowTitle(), QString::fromStdString(sheet->Caption()));
    QVERIFY(sub->windowTitle().endsWith(" *"));

    // Edit -> Copy and Clear of the one cell, through the menus.
    main_->PrepareMenu("mnuEdit");
    window_->MenuAction("mnuCopy")->trigger();
    QCOMPARE(QString::fromStdString(host_->clipboard), QString("3.25\r\n"));
    window_->MenuAction("mnuClear")->trigger();
    QVERIFY(sheet->TextMatrix(3, 2).IsNull());
    QCOMPARE(w->TableModel()->data(cell, Qt::DisplayRole).toString(), QString());

    // A protected column takes no typing.
    sheet->Col(2);
    sheet->Protected(true);
    QVERIFY(!(w->TableModel()->flags(cell) & Qt::ItemIsEditable));
  }

  // Column -> Rename and Set Worksheet X open their dialogs on the sheet in
  // front; what is typed there shows in the grid's headers.
  void renameAndIndexDialogsReachTheSheet() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QHeaderView* across = w->Grid()->horizontalHeader();
    QTest::mouseClick(across->viewport(), Qt::LeftButton, {}, SectionPoint(across, 1));
    QString shownName;
    Dialogs().columnRename = [&](Form_ColumnRename& f) {
      app::ColumnRenameWindow d(f);
      shownName = d.NameText()->text();
      d.NameText()->setText("Ipeak");
      d.LabelText()->setText("I (counts)");
      d.accept();
      return d.result() == QDialog::Accepted;
    };
    Dialogs().setWorksheetX = [](Form_SetWorksheetX& f) {
      app::SetWorksheetXWindow d(f);
      d.InitialText()->setText("10");
      d.IncrementText()->setText("0.5");
      d.accept();
      return true;
    };
    main_->PrepareMenu("mnuColumn");
    window_->MenuAction("mnuRename")->trigger();
    window_->MenuAction("mnuSetWorksheetX")->trigger();
    Dialogs() = WorksheetDialogs{};
    QCOMPARE(shownName, QString("B"));
    app::SheetTableModel* model = w->TableModel();
    QCOMPARE(model->headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(),
             QString("Ipeak[Y]|I (counts)"));
    QCOMPARE(model->headerData(2, Qt::Vertical, Qt::DisplayRole).toString(), QString("11"));
  }

  // Column -> Move takes the selected column to the position typed in its
  // dialog; the Edit toolbar's keys work for the sheet in front.
  void moveColumnThroughTheMenu() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    for (const char* key : {"Cut", "Copy", "Paste"})
      QVERIFY2(window_->ToolbarAction(key)->isEnabled(), key);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    sheet->TextMatrix(1, 1, Cell(5.0));
    QHeaderView* across = w->Grid()->horizontalHeader();
    QTest::mouseClick(across->viewport(), Qt::LeftButton, {}, SectionPoint(across, 0));
    QString shown;
    Dialogs().columnMove = [&](Form_ColumnMove& f) {
      app::ColumnMoveWindow d(f);
      shown = d.PositionText()->text();
      d.PositionText()->setText("2");
      d.accept();
      return d.result() == QDialog::Accepted;
    };
    main_->PrepareMenu("mnuColumn");
    QVERIFY(window_->MenuAction("mnuMove")->isEnabled());
    window_->MenuAction("mnuMove")->trigger();
    Dialogs() = WorksheetDialogs{};
    QCOMPARE(shown, QString("1"));
    app::SheetTableModel* model = w->TableModel();
    QCOMPARE(model->headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), QString("B[Y]"));
    QCOMPARE(model->headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), QString("A[X]"));
    QCOMPARE(model->data(model->index(0, 1), Qt::DisplayRole).toString(), QString("5"));
  }

  // The import options show the file's first bytes, as they are or as
  // tokens, and enable the fields that depend on others.
  void importOptionsShowPreviewTokens() {
    const std::string path = host_->root + "/scan.dat";
    {
      std::ofstream out(path, std::ios::binary);
      out << "E\tI\r\n1.5,2" << '\x01' << '\xE9' << "\r\n";
    }
    Form_ImportOptions form;
    form.Load(ImportSettings{});
    app::ImportOptionsWindow w(form);
    host_->AnswerFile(path);
    w.PreviewButton()->click();
    QCOMPARE(w.PreviewText()->toPlainText(),
             QString::fromLatin1("E\tI\n1.5,2\x01\xE9\n").remove('\r'));
    w.PreviewModeBox()->setChecked(true);
    QCOMPARE(w.PreviewText()->toPlainText(), QString("E[TAB]I[CR][LF]1.5,2[01][233][CR][LF]"));

    QVERIFY(!w.DelimiterText()->isEnabled());
    w.DelimiterBox()->setCurrentIndex(Form_ImportOptions::kOther);
    QVERIFY(w.DelimiterText()->isEnabled());
    QVERIFY(!w.ColWidthText()->isEnabled());
    w.StructureOption(1)->click();
    QVERIFY(w.ColWidthText()->isEnabled());
    QCOMPARE(form.Option_FileStructure, 1);
    w.ImportButton()->click();
    QCOMPARE(QString::fromStdString(form.Tag), QString("Import"));
    QCOMPARE(form.ImportFilename, path);
  }

  // The plot dialogs write what their controls hold back to their presenters
  // and end with the tag of the button pressed.
  void plotDialogsEndWithTheirTags() {
    Form_Layer layer;
    layer.Text_l = "14.5";
    layer.Text_t = "13.5";
    layer.Text_w = "76.3";
    layer.Text_h = "74";
    app::LayerWindow lw(layer);
    lw.UnitBox()->setCurrentIndex(2);  // mm
    QVERIFY(std::abs(lw.LeftText()->text().toDouble() - 0.145 * layer.PageWidthMm) < 1e-3);
    lw.accept();
    QCOMPARE(QString::fromStdString(layer.Tag), QString("OK"));
    QCOMPARE(FieldValue(layer.Text_l), 14.5);  // back in % of the page

    Form_Axis axis;
    axis.Load(1, PlotAxisRecord{});
    app::AxisWindow aw(axis);
    QVERIFY(aw.TypBox(1)->isChecked() && aw.TypBox(3)->isChecked() && aw.TypBox(5)->isChecked());
    QVERIFY(!aw.TypBox(2)->isChecked());
    QCOMPARE(aw.AxisButton()->text(), QString("&Y-Axis"));
    aw.TypBox(9)->setChecked(true);
    aw.AxisButton()->click();
    QCOMPARE(QString::fromStdString(axis.Tag), QString("AXIS"));
    QCOMPARE(axis.Flags(0), 42 | AxisFlag::MajorGrid);

    Form_PlotDetails details;
    details.Load(PlotCurveRecord::Default(0), "DATA1.SHT", "B", "I (counts)");
    app::PlotDetailsWindow dw(details);
    dw.ShapeBox()->setCurrentIndex(4);
    dw.RemoveButton()->click();
    QCOMPARE(QString::fromStdString(details.Tag), QString("Remove"));
    QCOMPARE(details.Edited().Shape, 4);

    Form_GridSetup grid;
    grid.Load(PlotAxisRecord{});
    app::GridSetupWindow gw(grid);
    gw.MajorStyleBox()->setCurrentIndex(2);
    gw.ApplyToAllBox()->setChecked(true);
    gw.accept();
    QCOMPARE(QString::fromStdString(grid.Tag), QString("OK"));
    QCOMPARE(grid.Combo_MajorGridStyle, 2);
    QVERIFY(grid.Check_ApplyToAll);
  }

  // Plot -> New Plot on a sheet: the column dialog moves columns between its
  // lists, and the new plot gets a window with the page and its caption.
  void newPlotOfASheetGetsAWindow() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QHeaderView* across = w->Grid()->horizontalHeader();
    QTest::mouseClick(across->viewport(), Qt::LeftButton, {}, SectionPoint(across, 1));

    struct ClickThrough : PlotDialogs {
      QStringList x, y;
      void ShowNewPlot(Form_NewPlot& f) override {
        app::NewPlotWindow d(f);
        for (int i = 0; i < d.XList()->count(); ++i) x << d.XList()->item(i)->text();
        for (int i = 0; i < d.YList()->count(); ++i) y << d.YList()->item(i)->text();
        // Y back to the columns and in again.
        d.ResetYButton()->click();
        if (d.YList()->count() != 0) return;
        d.ColumnsList()->item(d.ColumnsList()->count() - 1)->setSelected(true);
        d.SetYButton()->click();
        d.OKButton()->click();
      }
    } dialogs;
    SetPlotDialogs(&dialogs);
    main_->PrepareMenu("mnuGraph");
    window_->MenuAction("mnuNewPlot")->trigger();
    SetPlotDialogs(nullptr);
    QCOMPARE(dialogs.x.size(), 1);
    QVERIFY(dialogs.x.front().startsWith("A"));
    QCOMPARE(dialogs.y.size(), 1);
    QVERIFY(dialogs.y.front().startsWith("B"));

    QCOMPARE(sheet->Plots(), 1L);
    const long handle = sheet->PlotWindowHwnd(0);
    app::PlotWindow* pw = window_->PlotWindowFor(handle);
    QVERIFY(pw && pw->isVisible());
    auto* plot = dynamic_cast<Form_Plot*>(main_->Child(handle));
    QVERIFY(plot);
    QCOMPARE(plot->Curves(), 1L);
    QCOMPARE(plot->CurveRecord(0).YCol, 2);
    QCOMPARE(window_->SubWindowFor(handle)->windowTitle(), QString::fromStdString(plot->Caption()));
    QVERIFY(window_->SubWindowFor(handle)->windowTitle().endsWith("(Plot1)"));

    // A page at the aspect of the printer page, white, with the layer's frame.
    const QRect page = pw->PageRect();
    QVERIFY(!page.isEmpty());
    QVERIFY(std::abs(double(page.width()) / page.height() - 297.0 / 210.0) < 0.02);
    const QImage shot = pw->grab().toImage();
    QCOMPARE(shot.pixelColor(page.left() + 2, page.center().y()), QColor(Qt::white));
    const QRect layer = pw->LayerRect();
    QCOMPARE(shot.pixelColor(layer.left(), layer.center().y()), QColor(Qt::black));

    // The window's place goes into the sheet file and comes back with it.
    const QRect place(30, 40, 420, 320);
    window_->SubWindowFor(handle)->setGeometry(place);
    const std::string path = host_->root + "/run7.sht";
    QCOMPARE(sheet->SaveWorksheet(path), 0L);
    QVERIFY(window_->SubWindowFor(handle)->windowTitle().startsWith("RUN7.SHT"));
    host_->AnswerFile(path, 1);
    main_->Click("mnuOpenWorksheet");
    auto* opened = dynamic_cast<Form_Worksheet*>(main_->ActiveChild());
    QVERIFY(opened && opened != sheet);
    QCOMPARE(opened->Plots(), 1L);
    QMdiSubWindow* reopened = window_->SubWindowFor(opened->PlotWindowHwnd(0));
    QVERIFY(reopened && reopened->isVisible());
    QCOMPARE(reopened->geometry(), place);

    // The caption follows the sheet's name; closing the window takes the
    // plot off the sheet.
    sheet->Filename("/data/RUN8.SHT");
    QVERIFY(window_->SubWindowFor(handle)->windowTitle().startsWith("RUN8.SHT"));
    window_->SubWindowFor(handle)->close();
    QVERIFY(!window_->PlotWindowFor(handle));
    QCOMPARE(sheet->Plots(), 0L);

    // At the exit the plot windows go with their sheets.
    SheetPlot* second = nullptr;
    QVERIFY(sheet->NewPlot(second));
    const long secondHandle = second->Handle();
    main_->ShowChild(secondHandle);
    QVERIFY(window_->PlotWindowFor(secondHandle));
    const long sheetHandle = sheet->Handle();
    G().ShowExitDialog = 0;
    QVERIFY(window_->close());
    QVERIFY(!window_->PlotWindowFor(secondHandle));
    QVERIFY(!window_->WorksheetWindowFor(sheetHandle));
  }

  // Window Setup on the live picture: a window drawn with the mouse, scanned
  // with F5, the report in its window and the cross on the spot.
  void windowDrawnOnTheLivePictureAndScanned() {
    const app::WindowTools tools = StartWindowTool();
    QVERIFY(tools.setup && PreviewRunning());
    Form_Camera* live = PreviewImage();
    QVERIFY(tools.setup->isVisible());
    QCOMPARE(live->mode(), kWindowSetupMode);
    QCOMPARE(tools.setup->Tabs()->count(), kWindowCount);
    QCOMPARE(tools.setup->Tabs()->tabText(7), QString("&8"));
    QCOMPARE(tools.setup->ComboAveraging()->itemText(13), QString("8192"));
    QCOMPARE(tools.setup->ComboMode()->count(), 5);
    QVERIFY(!tools.setup->ComboShape()->isVisibleTo(tools.setup));
    QVERIFY(!tools.setup->CalibrationButton()->isEnabled());

    // The (1,0) spot at 100 eV, with room around it.
    G().ElectronEnergy = 100.0f;
    const SpotPlace spot = SpotPosition(1, 0, 100.0, {kDummyWidth, kDummyHeight});
    const long x1 = long(spot.x) - 20, y1 = long(spot.y) - 15;
    test::DragOnPicture(*window_, live, x1, y1, x1 + 40, y1 + 30);
    const int n = WG().CurrentWindow;
    QVERIFY(n >= 0);
    const ScanWindow& w = WG().ScanWindows[size_t(n)];
    QCOMPARE(w.X1, int32_t(x1));
    QCOMPARE(w.Y1, int32_t(y1));
    QVERIFY(std::abs(w.W - 40) <= 1 && std::abs(w.H - 30) <= 1);
    QCOMPARE(tools.setup->TextL()->text(), QString::number(x1));
    QCOMPARE(tools.setup->TextW()->text(), QString::number(w.W));
    QVERIFY(tools.setup->ScanButton()->isEnabled());
    bool framed = false;  // the window's frame in its colour
    for (const OverlayItem& i : live->Overlay.Items())
      framed = framed || (i.type == 2 && i.x1 == x1 && i.y1 == y1 && i.colour == w.RGBColor);
    QVERIFY(framed);

    // "+" in the width field widens by one; Shift+Left narrows again.
    const int32_t drawn = w.W;
    QTest::keyClick(tools.setup->TextW(), '+');
    const int32_t wide = w.W;
    QCOMPARE(wide, drawn + 1);
    QCOMPARE(tools.setup->TextW()->text(), QString::number(wide));
    QTest::keyClick(tools.setup->TextW(), Qt::Key_Left, Qt::ShiftModifier);
    QCOMPARE(w.W, wide - 1);

    host_->FireTimers();  // a new frame
    QTest::keyClick(tools.setup, Qt::Key_F5);
    QVERIFY(tools.result->isVisible());
    const QString report = tools.result->Text()->toPlainText();
    QVERIFY2(report.startsWith("Parameter:\nX1 = "), qPrintable(report));
    QVERIFY(report.contains(QString("I.max = ")));
    QCOMPARE(QString::fromStdString(WindowScanResultForm().Text_Result).count("\r\n"),
             report.count("\n"));
    const long xm = WG().Result.X.max, ym = WG().Result.Y.max;
    QVERIFY(std::abs(xm - long(std::lround(spot.x))) <= 2);
    QVERIFY(std::abs(ym - long(std::lround(spot.y))) <= 2);
    // The cross: 11 pixels each way through the maximum in the window's colour.
    QVERIFY(LinesThrough(*live, xm - 5, ym, w.RGBColor) >= 1);
    QVERIFY(LinesThrough(*live, xm, ym + 5, w.RGBColor) >= 1);

    QTest::mouseClick(tools.setup->CloseButton(), Qt::LeftButton);
    QVERIFY(!tools.setup->isVisible());
    QCOMPARE(live->mode(), 0L);
  }

  // Repeat mode: points added at two energies, the fitted line drawn with
  // its energy labels.
  void repeatModeDrawsTheFittedLine() {
    float energy = 100.0f;
    Hooks().EnergyKnown = [] { return true; };
    Hooks().Energy = [&energy] { return energy; };
    const app::WindowTools tools = StartWindowTool();
    QVERIFY(tools.setup);
    Form_Camera* live = PreviewImage();
    const FrameSize size{kDummyWidth, kDummyHeight};
    const SpotPlace at100 = SpotPosition(1, 0, 100.0, size);
    const SpotPlace at150 = SpotPosition(1, 0, 150.0, size);
    // Wide enough for the spot at both energies.
    const long x1 = long(at150.x) - 20, y1 = long(at100.y) - 15;
    test::DragOnPicture(*window_, live, x1, y1, long(at100.x) + 20, y1 + 30);

    QComboBox* mode = tools.setup->ComboMode();
    mode->setCurrentIndex(kModeRepeat);
    emit mode->activated(kModeRepeat);
    QVERIFY(tools.setup->AddSumButton()->isVisibleTo(tools.setup));
    QVERIFY(!tools.setup->TextThreshold()->isVisibleTo(tools.setup));

    auto scanAndAdd = [&](float e) {
      energy = e;
      G().ElectronEnergy = e;
      host_->FireTimers();
      QTest::keyClick(tools.setup, Qt::Key_F5);
      QVERIFY(tools.setup->AddSumButton()->isEnabled());
      host_->queue.push_back(MsgResult::OK);
      QTest::mouseClick(tools.setup->AddSumButton(), Qt::LeftButton);
      QCOMPARE(QString::fromStdString(host_->messages.back().title), QString("Repeat Mode"));
    };
    scanAndAdd(100.0f);
    QVERIFY(QString::fromStdString(host_->messages.back().text)
                .endsWith(" at Energy = 100 eV is added as data #1"));
    QVERIFY(tools.setup->ClearSumButton()->isEnabled());
    scanAndAdd(150.0f);
    QVERIFY(QString::fromStdString(host_->messages.back().text).endsWith("#2"));

    // The line runs from the spot at 100 eV to the spot at 150 eV.
    const app::WindowSetupDialog::Line& line = tools.setup->RepeatLineShown();
    QVERIFY(line.shown);
    QVERIFY(std::abs(line.x1 - long(std::lround(at100.x))) <= 2);
    QVERIFY(std::abs(line.x2 - long(std::lround(at150.x))) <= 2);
    QCOMPARE(QString::fromStdString(line.label1), QString("100 eV"));
    QCOMPARE(QString::fromStdString(line.label2), QString("150 eV"));
    int labels = 0;
    for (const OverlayItem& i : live->Overlay.Items())
      if (i.type == 5 && QString::fromStdString(i.text).endsWith(" eV")) ++labels;
    QCOMPARE(labels, 2);
    // The line's far end is where a further Add would put the peak.
    QCOMPARE(long(WG().Result.X.max), line.x2);

    QTest::mouseClick(tools.setup->CloseButton(), Qt::LeftButton);
  }

  // Move Window nudges the evaluated rectangle by 1 and by 8 and, with Set
  // start, the home too; the parameter files go through the Scan menu.
  void moveWindowAndParameterFiles() {
    const app::WindowTools tools = app::InstallWindowTools(*main_, window_.get());
    main_->Click("mnuNewImage");
    Form_Camera* f = ActiveImage();
    QVERIFY(f);
    ScanWindow& w = WG().ScanWindows[1];
    w.X1 = 100, w.Y1 = 50, w.W = 20, w.H = 10;
    WG().CurrentWindow = 1;

    MoveWindowForm().Load(f);
    QVERIFY(tools.move->isVisible());
    QVERIFY(!tools.move->Option(0)->isEnabled());
    QVERIFY(tools.move->Option(1)->isChecked());
    QTest::mouseClick(tools.move->RightButton(), Qt::LeftButton);
    QCOMPARE(w.CurX1, 101);
    tools.move->FastBox()->click();
    QTest::mouseClick(tools.move->DownButton(), Qt::LeftButton);
    QCOMPARE(w.CurY1, 58);
    QCOMPARE(w.X1, 100);
    tools.move->SetStartBox()->click();
    QCOMPARE(w.X1, 101);
    QCOMPARE(w.Y1, 58);
    QTest::mouseClick(tools.move->CloseButton(), Qt::LeftButton);
    QVERIFY(!tools.move->isVisible());

    const std::string path = host_->root + "/spots.par";
    main_->PrepareMenu("mnuScan");
    host_->AnswerFile(path);
    window_->MenuAction("mnuSaveWindowPar")->trigger();
    ResetWindowGlobals();
    host_->AnswerFile(path);
    window_->MenuAction("mnuLoadWindowPar")->trigger();
    QCOMPARE(WG().ScanWindows[1].X1, 101);
    QCOMPARE(WG().ScanWindows[1].Y1, 58);
    QCOMPARE(QString::fromStdString(host_->fileDialogs.front().title), QString("Save Parameter"));
    QCOMPARE(QString::fromStdString(host_->fileDialogs.back().title), QString("Load Parameter"));
  }

  // The fake GenICam camera chosen in the grabber dialog runs the live
  // picture at its own size, grabs, averages and is scanned in a window.
  void genicamCameraPreviewsGrabsAveragesAndScans() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    RegisterLiveCommands(*main_);
    app::GrabberDialog* dialog = app::InstallGrabberDialog(*main_, window_.get());
    const app::WindowTools tools = app::InstallWindowTools(*main_, window_.get());
    main_->PrepareMenu("mnuSetup");
    main_->Click("mnuGrabberSetup");
    const auto found =
        dialog->DriverList()->findItems(kGenICamDisplayName, Qt::MatchExactly);
    QCOMPARE(found.size(), 1);
    QVERIFY(!dialog->CameraSetupButton()->isEnabled());
    dialog->DriverList()->setCurrentItem(found.front());
    QVERIFY(dialog->CameraSetupButton()->isEnabled());
    QTest::mouseClick(dialog->OKButton(), Qt::LeftButton);
    QVERIFY2(G().GrabberOK, GenICamLastError().c_str());
    QCOMPARE(QString::fromStdString(G().GrabberName), QString(kGenICamStem));
    Form_Camera* live = PreviewImage();
    QVERIFY(live);
    const long width = GrabberWidth(), height = GrabberHeight();
    QVERIFY(width > 0 && height > 0);
    QCOMPARE(live->ImageWidth(), width);
    QCOMPARE(live->ImageHeight(), height);

    main_->PrepareAllMenus();
    window_->ToolbarAction("Preview")->trigger();
    QVERIFY(PreviewRunning());
    const uint64_t before = GenICamStatistics().Delivered;
    for (int i = 0; i < 3; ++i) host_->FireTimers();
    QCOMPARE(GenICamStatistics().Delivered, before + 3);
    QCOMPARE(QString::fromStdString(live->StatusLine), QString(""));
    QCOMPARE(live->ImageWidth(), width);
    // The camera's ramp, not the dummy's screen.
    const uint16_t* p = live->ImagePtr();
    QVERIFY(p[1] != p[0] || p[size_t(width)] != p[0]);
    main_->SetActiveChild(live->Handle());
    QVERIFY(GrabPicture().save("/tmp/g7_genicam_live.png"));
    window_->grab().save("/tmp/g7_genicam_workbench.png");
    window_->ToolbarAction("Preview")->trigger();
    QVERIFY(!PreviewRunning());

    window_->ToolbarAction("Grab")->trigger();
    QCOMPARE(GenICamStatistics().Delivered, before + 4);
    host_->AnswerInput(std::string("4"));
    window_->ToolbarAction("Average")->trigger();
    QCOMPARE(GenICamStatistics().Delivered, before + 8);
    QCOMPARE(QString::fromStdString(live->UndoName()), QString("Average 4x"));

    // A window drawn on the running picture and scanned with F5.
    window_->ToolbarAction("Preview")->trigger();
    host_->FireTimers();
    main_->SetActiveChild(live->Handle());
    main_->PrepareMenu("mnuScan");
    window_->MenuAction("mnuWindowSetup")->trigger();
    QVERIFY(tools.setup->isVisible());
    test::DragOnPicture(*window_, live, width / 4, height / 4, width / 4 + 40, height / 4 + 30);
    QVERIFY(WG().CurrentWindow >= 0);
    host_->FireTimers();
    QTest::keyClick(tools.setup, Qt::Key_F5);
    QVERIFY(tools.result->isVisible());
    const QString report = tools.result->Text()->toPlainText();
    QVERIFY2(report.startsWith("Parameter:\nX1 = "), qPrintable(report));
    QVERIFY(report.contains(QString("I.max = ")));
    QTest::mouseClick(tools.setup->CloseButton(), Qt::LeftButton);
  }

  // Camera Setup from the grabber dialog: a region off the sensor is refused
  // with its message; Mono16 and a smaller region come with the next frames.
  void genicamSetupChangesFormatAndRegion() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    RegisterLiveCommands(*main_);
    app::GrabberDialog* grabber = app::InstallGrabberDialog(*main_, window_.get());
    app::GenICamDialog* setup = app::InstallGenICamDialog(*main_, window_.get());
    QVERIFY2(StartGrabber(kGenICamStem), GenICamLastError().c_str());
    main_->PrepareAllMenus();
    window_->ToolbarAction("Preview")->trigger();
    host_->FireTimers();
    Form_Camera* live = PreviewImage();
    QCOMPARE(live->ImageBitsPerPixel(), 8L);

    main_->Click("mnuGrabberSetup");
    QVERIFY(grabber->CameraSetupButton()->isEnabled());
    QTest::mouseClick(grabber->CameraSetupButton(), Qt::LeftButton);
    QVERIFY(setup->isVisible());
    QCOMPARE(setup->windowTitle(), QString("GenICam Camera Setup"));
    QCOMPARE(setup->CameraBox()->count(), 1);
    QVERIFY(setup->CameraBox()->currentText().endsWith(")"));
    QVERIFY(setup->OKButton()->isEnabled());
    const int mono16 = setup->PixelFormatBox()->findText("Mono16");
    QVERIFY(mono16 >= 0);
    setup->PixelFormatBox()->setCurrentIndex(mono16);
    setup->XText()->setText("64");
    setup->YText()->setText("32");
    setup->WidthText()->setText("320");
    setup->HeightText()->setText("99999");
    host_->queue.push_back(MsgResult::OK);
    QTest::mouseClick(setup->OKButton(), Qt::LeftButton);
    QVERIFY(setup->isVisible());
    QCOMPARE(QString::fromStdString(host_->messages.back().title),
             QString("GenICam Camera Setup"));
    QVERIFY(QString::fromStdString(host_->messages.back().text).startsWith("The region's height"));
    setup->HeightText()->setText("240");
    setup->grab().save("/tmp/g7_genicam_setup.png");
    QTest::mouseClick(setup->OKButton(), Qt::LeftButton);
    QVERIFY(!setup->isVisible());
    QCOMPARE(QString::fromStdString(GenICamConfig().PixelFormat), QString("Mono16"));
    QCOMPARE(GB().GrabberBits, 16L);
    QTest::mouseClick(grabber->CancelButton(), Qt::LeftButton);

    const uint64_t before = GenICamStatistics().Delivered;
    for (int i = 0; i < 2; ++i) host_->FireTimers();
    QCOMPARE(GenICamStatistics().Delivered, before + 2);
    QVERIFY(PreviewRunning());
    QCOMPARE(live->ImageWidth(), 320L);
    QCOMPARE(live->ImageHeight(), 240L);
    QCOMPARE(live->ImageBitsPerPixel(), 16L);
    QCOMPARE(QString::fromStdString(live->StatusLine), QString(""));
  }
};

QTEST_MAIN(TestWorkbench)
#include "test_app.moc"
