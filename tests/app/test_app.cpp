// The workbench window on the offscreen platform: menus and toolbars bound to
// the presenter, an image that paints pixel for pixel, the zoom, the close
// box of a child and the exit question.
#include "workbench_fixture.h"

using namespace sv;
using namespace sv::test_app;

class TestWorkbench : public WorkbenchFixture {
  Q_OBJECT

 private slots:
  void initTestCase() { SetUpOnce(); }
  void init() { SetUpWorkbench(); }
  void cleanup() { TearDownWorkbench(); }

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
};

QTEST_MAIN(TestWorkbench)
#include "test_app.moc"
