// The line tools on the offscreen platform: a line drawn with the mouse on
// the live picture of the dummy grabber is scanned, plotted in the profile
// window and written into a worksheet.

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTabBar>
#include <QTest>
#include <deque>
#include <memory>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/form_line_scan_plot.h"
#include "analysis/form_line_setup.h"
#include "app/app_environment.h"
#include "app/image_window.h"
#include "app/line_setup_dialog.h"
#include "app/line_tools.h"
#include "app/main_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "image/form_camera.h"
#include "plot/plot_documents.h"
#include "dialog_steps.h"
#include "picture_mouse.h"
#include "support/queue_host.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;
using sv::test::QueueHost;

class TestLineTools : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;

 private slots:
  void init() {
    ResetGlobals();
    ResetLineGlobals();
    host_ = std::make_unique<QueueHost>();
    sv::test::BuildMainWindow(main_, window_, {.images = true, .hardware = false});
    app::InstallLineTools(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
  }

  void cleanup() {
    if (LineSetupForm().Visible()) LineSetupForm().Unload();
    LineScanPlotForm().Hide();
    LineScanPlotForm().Curves.clear();
    GrabberClose();
    GrabberUnload();
    window_.reset();
    main_.reset();
    app::InstalledLineTools() = app::LineTools();
    Environment() = StartupEnvironment();
    ClearSettingsSections();
    ResetGrabberGlobals();
    ResetLiveGlobals();
    ResetLineGlobals();
    SetMainForm(nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    host_.reset();
  }

  void lineDrawnOnTheLivePictureIsScannedPlottedAndSheeted() {
    InstallGrabberEnvironment();
    RegisterGrabberCommands(*main_);
    RegisterLiveCommands(*main_);
    QVERIFY(StartGrabber("DummyGrb"));
    main_->PrepareAllMenus();
    window_->ToolbarAction("Preview")->trigger();
    for (int i = 0; i < 2; ++i) host_->FireTimers();
    Form_Camera* live = PreviewImage();
    QVERIFY(live);
    main_->SetActiveChild(live->Handle());
    main_->PrepareMenu("mnuScan");
    QAction* menu = window_->MenuAction("mnuLineSetup");
    QVERIFY(menu);
    menu->trigger();
    app::LineTools& tools = app::InstalledLineTools();
    QVERIFY(tools.setup && tools.setup->isVisible());
    QCOMPARE(live->mode(), kLineSetupMode);
    QCOMPARE(tools.setup->Tabs()->count(), kLineCount);

    // A line across the middle of the picture, drawn with the mouse.
    const long y = live->ImageHeight() / 2;
    test::DragOnPicture(*window_, live, 20, y, 220, y + 40);
    const ScanLine& l = LG().ScanLines[size_t(LineSetupForm().Tab)];
    QVERIFY(l.X1 == 20 && l.Y1 == y && l.X2 == 220 && l.Y2 == y + 40);
    QCOMPARE(tools.setup->TextX2()->text(), QString("220"));
    QVERIFY(tools.setup->LengthLabel()->text().startsWith("Length = 20"));
    bool drawn = false;  // the line on the overlay in its colour
    for (const OverlayItem& i : live->Overlay.Items())
      drawn = drawn || (i.type == 1 && i.x1 == 20 && i.y1 == y && i.colour == l.Color);
    QVERIFY(drawn);

    // One scan: the profile window shows 201 points.
    QVERIFY(tools.setup->ScanButton()->isEnabled());
    QTest::mouseClick(tools.setup->ScanButton(), Qt::LeftButton);
    QCOMPARE(tools.setup->ScanButton()->text(), QString("&Scan"));
    QVERIFY(tools.profile->isVisible());
    QCOMPARE(tools.profile->Display().Points(), 201L);
    const QImage shot = tools.profile->grab().toImage();
    QVERIFY(!shot.isNull());

    // And into a worksheet.
    QVERIFY(tools.setup->SheetButton()->isEnabled());
    QTest::mouseClick(tools.setup->SheetButton(), Qt::LeftButton);
    Form_Worksheet* sheet = nullptr;
    QCOMPARE(main_->SheetList.size(), size_t(1));
    sheet = dynamic_cast<Form_Worksheet*>(main_->Child(main_->SheetList.front()));
    QVERIFY(sheet);
    QCOMPARE(sheet->Cols(), 3L);
    QCOMPARE(QString::fromStdString(sheet->ColName(1)), QString("location"));
    QCOMPARE(QString::fromStdString(sheet->ColName(2)), QString("intensity (a.u.)"));
    QCOMPARE(sheet->Rows(), 202L);
    QCOMPARE(sheet->Plots(), 1L);
    QVERIFY2(host_->unscripted.empty(),
             host_->unscripted.empty() ? "" : host_->unscripted.front().c_str());
  }
};

QTEST_MAIN(TestLineTools)
#include "test_line_tools.moc"
