// The workbench with scan windows on the live picture (drawing, Repeat
// mode, moving, parameter files) and with a GenICam camera.
#include "workbench_fixture.h"

using namespace sv;
using namespace sv::test_app;

class TestWorkbenchWindows : public WorkbenchFixture {
  Q_OBJECT

 private slots:
  void initTestCase() { SetUpOnce(); }
  void init() { SetUpWorkbench(); }
  void cleanup() { TearDownWorkbench(); }

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
    QVERIFY(tools.setup->CalibrationButton()->isEnabled());

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
    QVERIFY(!GrabPicture().isNull());
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

QTEST_MAIN(TestWorkbenchWindows)
#include "test_app_windows.moc"
