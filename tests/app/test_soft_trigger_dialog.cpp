// The shutter dialog on the offscreen platform: opened from the menu and from
// the experiment, its checks of the fields, Cancel, and the pin label on the
// dummy I/O.

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTest>
#include <QTimer>
#include <cstring>
#include <memory>

#include "app/app_environment.h"
#include "app/main_window.h"
#include "app/soft_trigger_dialog.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "experiment/form_experiment.h"
#include "experiment/form_soft_trigger.h"
#include "experiment/shutter.h"
#include "hardware/hardware.h"
#include "support/queue_host.h"
#include "menu_press.h"

using namespace sv;
using sv::test::QueueHost;

class TestSoftTriggerDialog : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;
  app::SoftTriggerDialog* dialog_ = nullptr;

  void Press(const char* name) { sv::test::PressMenu(*main_, *window_, name); }

  void OpenFromMenu() {
    std::string io = "DummyIO";
    QVERIFY(IOStart(io));
    G().IOName = io;
    Press("mnuShutterControl");
    QVERIFY(dialog_->isVisible());
  }

 private slots:
  void init() {
    ResetGlobals();
    ResetHardware();
    host_ = std::make_unique<QueueHost>();
    main_ = std::make_unique<MDIForm_Main>();
    SetMainForm(main_.get());
    app::InstallKernelEnvironment();
    InstallHardwareEnvironment();
    InstallShutter();
    RegisterHardwareMenus(*main_);
    window_ = std::make_unique<app::MainWindow>(*main_);
    dialog_ = app::InstallSoftTriggerDialog(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
  }

  void cleanup() {
    window_.reset();
    dialog_ = nullptr;
    OpenSoftTriggerHook() = nullptr;
    ShutterDialogHook() = nullptr;
    ExitSteps() = HardwareExitSteps();
    ResetHardware();
    SetMainForm(nullptr);
    main_.reset();
    host_.reset();
  }

  void menuOpensTheDialogWithTheRecord() {
    ShutterControlRecord& sc = HW().ShutterControl;
    sc.ShutterEnabled = 1;
    sc.Cycles = 4;
    sc.MinTimeRange = 2.5f;
    sc.TriggerSource = 1;
    OpenFromMenu();
    QVERIFY(dialog_->ShutterCheck()->isChecked());
    QCOMPARE(dialog_->CyclesField()->text(), QString("4"));
    QCOMPARE(dialog_->TimeRangeField()->text(), QString("2.5"));
    QVERIFY(dialog_->SourceOption(0)->isChecked());
    QCOMPARE(dialog_->SourceOption(0)->text(), QString("Trigger on M&inimum of Intensity"));
    QCOMPARE(dialog_->SourceOption(1)->text(), QString("Trigger on M&aximum of Intensity"));
    QCOMPARE(dialog_->HystereseSlider()->maximum(), 255);
    // Closed at the I/O's start: low opens, so the pin is high.
    QCOMPARE(dialog_->PinLabel()->text(), QString("CLOSED (HIGH)"));
    QTest::mouseClick(dialog_->OKButton(), Qt::LeftButton);
    QVERIFY(!dialog_->isVisible());
    QCOMPARE(host_->RunningTimers(), size_t(0));
    QVERIFY(host_->unscripted.empty());
  }

  void invalidFieldsKeepTheDialog() {
    OpenFromMenu();
    for (const char* cycles : {"0", "", "x"}) {
      dialog_->CyclesField()->setText(cycles);
      QTest::mouseClick(dialog_->OKButton(), Qt::LeftButton);
      QVERIFY(dialog_->isVisible());
    }
    QCOMPARE(host_->unscripted, (std::vector<std::string>(3, "Invalid Parameter")));
    QCOMPARE(HW().ShutterControl.Cycles, 1);
    dialog_->CyclesField()->setText("3");
    dialog_->TimeRangeField()->setText("0,5");
    QTest::mouseClick(dialog_->OKButton(), Qt::LeftButton);
    QVERIFY(!dialog_->isVisible());
    QCOMPARE(HW().ShutterControl.Cycles, 3);
    QCOMPARE(HW().ShutterControl.MinTimeRange, 0.5f);
  }

  void cancelPutsTheRecordBack() {
    HW().ShutterControl.ShutterWindow = 5;
    const ShutterControlRecord before = HW().ShutterControl;
    OpenFromMenu();
    dialog_->ShutterCheck()->setChecked(true);
    dialog_->OpenLevelCheck()->setChecked(true);
    dialog_->SourceOption(0)->setChecked(true);
    dialog_->HystereseSlider()->setValue(200);
    QCOMPARE(HW().ShutterControl.ShutterEnabled, 1);
    QCOMPARE(HW().ShutterControl.OpenLevel, 1);
    QCOMPARE(HW().ShutterControl.TriggerSource, 1);
    QVERIFY(HW().ShutterControl.Hysterese > 0.7f);
    QTest::mouseClick(dialog_->CancelButton(), Qt::LeftButton);
    QVERIFY(!dialog_->isVisible());
    QVERIFY(std::memcmp(&HW().ShutterControl, &before, sizeof before) == 0);
  }

  void thePinLabelFollowsTheShutter() {
    OpenFromMenu();
    ShutterOpen();
    host_->FireTimers();
    QCOMPARE(dialog_->PinLabel()->text(), QString("OPEN (LOW)"));
    dialog_->OpenLevelCheck()->setChecked(true);
    ShutterOpen();
    host_->FireTimers();
    QCOMPARE(dialog_->PinLabel()->text(), QString("OPEN (HIGH)"));
    ShutterClose();
    host_->FireTimers();
    QCOMPARE(dialog_->PinLabel()->text(), QString("CLOSED (LOW)"));
    dialog_->reject();
  }

  void theExperimentOpensItAndWaits() {
    QVERIFY(bool(OpenSoftTriggerHook()));
    QVERIFY(bool(ShutterDialogHook()));
    bool seen = false;
    QTimer::singleShot(0, dialog_, [&] {
      seen = dialog_->isVisible();
      dialog_->ShutterCheck()->setChecked(true);
      QTest::mouseClick(dialog_->OKButton(), Qt::LeftButton);
    });
    ShutterDialogHook()();
    QVERIFY(seen);
    QVERIFY(!dialog_->isVisible());
    QCOMPARE(HW().ShutterControl.ShutterEnabled, 1);
  }
};

QTEST_MAIN(TestSoftTriggerDialog)
#include "test_soft_trigger_dialog.moc"
