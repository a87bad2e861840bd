// The experiment dialog on the offscreen platform: opened from the menu, an
// I(E) definition with one window accepted into the run's columns.

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <memory>

#include "analysis/scan_windows.h"
#include "app/app_environment.h"
#include "app/experiment_dialog.h"
#include "app/main_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "experiment/form_experiment.h"
#include "hardware/hardware.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/queue_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"
#include "dialog_steps.h"
#include "menu_press.h"

using namespace sv;
using sv::test::QueueHost;

class TestExperimentDialog : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;

  void Press(const char* name) { sv::test::PressMenu(*main_, *window_, name); }
  QDialog* Dialog() { return window_->findChild<QDialog*>("Form_Experiment"); }
  template <typename T>
  T* Child(const char* name) {
    return sv::test::DialogChild<T>(*window_, "Form_Experiment", name);
  }

 private slots:
  void init() {
    ResetGlobals();
    ResetHardware();
    ResetWindowGlobals();
    ResetExperimentSettings();
    host_ = std::make_unique<QueueHost>();
    sv::test::BuildMainWindow(main_, window_, {});
    app::InstallExperimentDialog(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
  }

  void cleanup() {
    window_.reset();
    ResetHardware();
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    SetMainForm(nullptr);
    main_.reset();
    host_.reset();
  }

  void acceptsAnIEDefinitionWithAWindow() {
    ScanWindow& w = WG().ScanWindows[1];
    w.X1 = 40;
    w.Y1 = 30;
    w.W = 20;
    w.H = 16;
    w.Plot = 2;
    Press("mnuExperiment");
    QDialog* dialog = Dialog();
    QVERIFY(dialog && dialog->isVisible());
    QCOMPARE(dialog->windowTitle(), QString("I(E)-Experiment"));
    QVERIFY(!Child<QCheckBox>("Check_Window(0)")->isEnabled());  // no window 1

    QTest::mouseClick(Child<QRadioButton>("Option_Experiment(1)"), Qt::LeftButton);
    QLineEdit* start = Child<QLineEdit>("Text_EStart");
    start->selectAll();
    QTest::keyClicks(start, "4");  // below the limit: refused on leaving
    QVERIFY(Child<QPushButton>("Command_Accept")->isEnabled());
    QVERIFY(!Child<QPushButton>("Command_Start(0)")->isEnabled());
    const int beeps = host_->beeps;
    emit start->editingFinished();
    QCOMPARE(host_->beeps, beeps + 1);
    QCOMPARE(start->text(), QString("20"));
    start->selectAll();
    QTest::keyClicks(start, "40");
    emit start->editingFinished();
    QCOMPARE(host_->beeps, beeps + 1);

    QTest::mouseClick(Child<QCheckBox>("Check_Window(1)"), Qt::LeftButton);
    QTest::mouseClick(Child<QCheckBox>("Check_SaveXY"), Qt::LeftButton);
    QTest::mouseClick(Child<QPushButton>("Command_Accept"), Qt::LeftButton);

    QVERIFY(host_->unscripted.empty());
    QCOMPARE(ES().EStart, 40.0f);
    QCOMPARE(ES().SelectedWindows, std::vector<int16_t>{1});
    Form_Worksheet* sheet = ExperimentForm().Worksheet();
    QVERIFY(sheet);
    QStringList columns;
    for (long c = 1; c < sheet->Cols(); ++c) columns << QString::fromStdString(sheet->ColName(c));
    QCOMPARE(columns, QStringList({"energy (eV)", "time (s)", "I.max_2", "I.total_2", "I.back_2",
                                   "X.max_2", "Y.max_2"}));
    Form_Plot* plot = ExperimentForm().IntensityPlot();
    QVERIFY(plot);
    QCOMPARE(plot->Curves(), 1L);
    QCOMPARE(plot->CurveRecords()[0].YCol, 4);
    QVERIFY(!Child<QPushButton>("Command_Accept")->isEnabled());
    QVERIFY(Child<QPushButton>("Command_Start(0)")->isEnabled());
    QCOMPARE(Child<QLabel>("Label_WScans")->text(), QString("1 window(s)"));

    // Closing stops the timers and keeps the sheet window's place.
    ExperimentWindowPlaces().Sheet = ExperimentWindowPlace();
    const bool sheetWindow = main_->SheetList.size() > 0;
    dialog->reject();
    QVERIFY(!ExperimentForm().Visible());
    QCOMPARE(host_->RunningTimers(), size_t(0));
    QVERIFY(sheetWindow);
    QVERIFY(ExperimentWindowPlaces().Sheet.Width > 0);
  }
};

QTEST_MAIN(TestExperimentDialog)
#include "test_experiment_dialog.moc"
