// The calibration dialogs on the offscreen platform: a new table shown as a
// sheet, the length dialog, and a window report with its calibrated lines.
#include <QTimer>

#include "analysis/calibration_settings.h"
#include "app/image_calibration_dialogs.h"
#include "workbench_fixture.h"

using namespace sv;
using namespace sv::test_app;

class TestCalibrationDialogs : public WorkbenchFixture {
  Q_OBJECT

  // Runs `step` on the modal dialog of type D once it shows.
  template <typename D>
  static void OnModal(std::function<void(D*)> step) {
    QTimer::singleShot(0, [step = std::move(step)] {
      auto* d = dynamic_cast<D*>(QApplication::activeModalWidget());
      QVERIFY(d);
      step(d);
    });
  }
  void Reset() {
    LengthCal() = LengthCalibration();
    ZCal() = IntensityTable();
    ZCalibrationForm().Table = IntensityTable();
    CalibrationDialogHooks() = CalibrationDialogs();
  }

 private slots:
  void initTestCase() { SetUpOnce(); }
  void init() {
    Reset();
    SetUpWorkbench();
    RegisterWorksheetDocuments(*main_);
    app::InstallCalibrationDialogs(*main_, window_.get());
    main_->PrepareAllMenus();
  }
  void cleanup() {
    TearDownWorkbench();
    Reset();
  }

  void twelveBitNewTableOpensAsASheet() {
    QAction* entry = window_->MenuAction("mnuZCalibration");
    QVERIFY(entry);
    bool seen = false;
    OnModal<app::ZCalibrationDialog>([&](app::ZCalibrationDialog* d) {
      QVERIFY(!d->findChild<QPushButton*>("Command_SHT")->isEnabled());
      host_->AnswerInput("12");
      d->findChild<QPushButton*>("Command_New")->click();
      QCOMPARE(host_->inputPrompts.back(),
               std::string("Dynamic range of new LUT?\r(8, 9, 10, ... or 16 Bit) "));
      QCOMPARE(d->findChild<QLabel*>("Label_Count")->text(), QString("4096"));
      QCOMPARE(d->findChild<QLabel*>("Label_Name")->text(), QString("linear"));
      seen = true;
      d->findChild<QPushButton*>("Command_SHT")->click();
    });
    entry->trigger();
    QVERIFY(seen);
    auto* sheet = dynamic_cast<Form_Worksheet*>(main_->ActiveChild());
    QVERIFY(sheet);
    QCOMPARE(sheet->Rows() - 1, 4096L);
    QCOMPARE(sheet->TextMatrix(4096, 2).Number(), 4095.0);
    QCOMPARE(sheet->DefaultExt, std::string("lut"));
    QVERIFY(window_->WorksheetWindowFor(sheet->Handle()));
    // The sheet came instead of OK: the table in force is as it was.
    QCOMPARE(ZCal().Count, 0);
  }

  void lengthDialogFromTheSetupMenu() {
    OnModal<app::LengthCalibrationDialog>([](app::LengthCalibrationDialog* d) {
      QCOMPARE(d->findChild<QLineEdit*>("Text_VGAPixel")->text(), QString("100"));
      d->findChild<QCheckBox*>("Check_LCalibration")->setChecked(true);
      d->findChild<QLineEdit*>("Text_UserLength")->setText("25");
      d->findChild<QLineEdit*>("Text_Unit")->setText("nm");
      d->findChild<QPushButton*>("Command_OK")->click();
    });
    window_->MenuAction("mnuLengthCalibration")->trigger();
    QCOMPARE(LengthCal().Enabled, 1);
    QCOMPARE(LengthCal().CalFactor, 0.25f);
    QCOMPARE(LengthCal().CalUnit, std::string("nm"));
  }

  void windowReportShowsCalibratedLines() {
    const app::WindowTools tools = StartWindowTool();
    QVERIFY(tools.setup);
    Form_Camera* live = PreviewImage();
    const long levels = live->ImageDynamik();
    ZCal().Count = int32_t(levels);
    for (long i = 0; i < levels; ++i) ZCal().Values.push_back(float(2 * i));
    ZCal().Name = "e/s";
    test::DragOnPicture(*window_, live, 100, 80, 160, 130);
    // The tool's Calibration button: the table switched on there.
    QVERIFY(tools.setup->CalibrationButton()->isEnabled());
    OnModal<app::ZCalibrationDialog>([](app::ZCalibrationDialog* d) {
      QCOMPARE(d->findChild<QLabel*>("Label_Name")->text(), QString("e/s"));
      d->findChild<QCheckBox*>("Check_Enabled")->setChecked(true);
      d->findChild<QPushButton*>("Command_OK")->click();
    });
    tools.setup->CalibrationButton()->click();
    QCOMPARE(ZCal().Enabled, 1);
    host_->FireTimers();
    QTest::keyClick(tools.setup, Qt::Key_F5);
    const QString report = tools.result->Text()->toPlainText();
    const double back = WG().Result.I.back;
    QVERIFY2(report.contains(QString("I.back = %1 e/s").arg(2 * back, 0, 'f', 1)),
             qPrintable(report));
    QVERIFY2(report.contains("(I.max-I.back = "), qPrintable(report));
  }
};

QTEST_MAIN(TestCalibrationDialogs)
#include "test_calibration_dialogs.moc"
