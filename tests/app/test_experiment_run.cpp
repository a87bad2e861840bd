// A measuring run from the experiment dialog on the offscreen platform, with
// the dummy grabber: Start, the time and rate fields and the sheet growing,
// Stop pressed while the run waits, the controls back; Step adds one row; a
// Stop click during a dwell reaches the run through the Qt event pump.

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTest>
#include <memory>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/scan_windows.h"
#include "app/app_environment.h"
#include "app/experiment_dialog.h"
#include "app/main_window.h"
#include "app/plot_window.h"
#include "app/qt_host.h"
#include "app/worksheet_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "experiment/experiment_settings.h"
#include "experiment/form_experiment.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/queue_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"
#include "dialog_steps.h"
#include "menu_press.h"

using namespace sv;
using sv::test::QueueHost;

namespace {

// The scripted host whose yields are the workbench's own: DoEvents and
// WaitForEvents go through QtHost's event pump. Its clock stands still, so a
// wait on time ends only by Stop; `onFirstWait` runs before the first wait.
class PumpHost : public QueueHost {
 public:
  std::function<void()> onFirstWait;
  int pumped = 0;
  void DoEvents() override {
    ++doEvents;
    qt.DoEvents();
  }
  void WaitForEvents(int maxMs) override {
    if (pumped++ == 0 && onFirstWait) onFirstWait();
    // A Stop that never arrives would leave the run waiting for ever.
    if (pumped > 5000) ExperimentForm().Command_Stop();
    qt.WaitForEvents(maxMs);
  }
  app::QtHost qt;
};

// A click as the window system gives it: queued, for the event pump.
void PostClick(QWidget* w) {
  const QPointF at = QRectF(w->rect()).center();
  const QPointF global = w->mapToGlobal(at);
  QCoreApplication::postEvent(w, new QMouseEvent(QEvent::MouseButtonPress, at, global,
                                                 Qt::LeftButton, Qt::LeftButton, Qt::NoModifier));
  QCoreApplication::postEvent(w, new QMouseEvent(QEvent::MouseButtonRelease, at, global,
                                                 Qt::LeftButton, Qt::NoButton, Qt::NoModifier));
}

const char* const kCanceled = "Experiment canceled by user";

}  // namespace

class TestExperimentRun : public QObject {
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
  QString Text(const char* name) { return Child<QLineEdit>(name)->text(); }
  bool Enabled(const char* name) { return Child<QWidget>(name)->isEnabled(); }

  void Type(const char* field, const char* text) {
    QLineEdit* e = Child<QLineEdit>(field);
    e->selectAll();
    QTest::keyClicks(e, text);
    emit e->editingFinished();
  }

  void SetUp(std::unique_ptr<QueueHost> host) {
    ResetGlobals();
    ResetHardware();
    ResetWindowGlobals();
    ResetExperimentSettings();
    host_ = std::move(host);
    sv::test::BuildMainWindow(main_, window_, {.images = true});
    app::InstallExperimentDialog(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
    sv::test::StartDummyGrabber(*main_);
    if (QTest::currentTestFailed()) return;
    main_->PrepareAllMenus();
    window_->ToolbarAction("Preview")->trigger();
    for (int i = 0; i < 2; ++i) host_->FireTimers();
    QVERIFY(PreviewImage());
  }

  // An I(t) run of window 1 on the dummy picture, plotted by I.max, with a
  // step every `step` seconds, a dwell of `dwell` seconds and no end.
  void DefineRun(const char* step, const char* dwell, bool followSheet = false) {
    ScanWindow& w = WG().ScanWindows[0];
    w.X1 = 40;
    w.Y1 = 30;
    w.W = 20;
    w.H = 16;
    w.Plot = 1;
    Press("mnuExperiment");
    QVERIFY(Dialog() && Dialog()->isVisible());
    // A radio button takes clicks on its circle and caption only.
    QRadioButton* it = Child<QRadioButton>("Option_Experiment(0)");
    QTest::mouseClick(it, Qt::LeftButton, {}, QPoint(6, it->height() / 2));
    QVERIFY(it->isChecked());
    Type("Text_tStart", "0");
    Type("Text_tStop", "0");
    Type("Text_tStep", step);
    Type("Text_DwellTime", dwell);
    if (!Child<QCheckBox>("Check_Window(0)")->isChecked())
      QTest::mouseClick(Child<QCheckBox>("Check_Window(0)"), Qt::LeftButton);
    if (Child<QCheckBox>("Check_UpdateWorksheet")->isChecked() != followSheet)
      QTest::mouseClick(Child<QCheckBox>("Check_UpdateWorksheet"), Qt::LeftButton);
    QTest::mouseClick(Child<QPushButton>("Command_Accept"), Qt::LeftButton);
    QCOMPARE(ES().SelectedWindows, std::vector<int16_t>{0});
    QVERIFY(Child<QPushButton>("Command_Start(0)")->isEnabled());
  }

  long SheetRows() {
    Form_Worksheet* sheet = ExperimentForm().Worksheet();
    return sheet ? sheet->Rows() - 1 : -1;
  }
  int GridRows() {
    Form_Worksheet* sheet = ExperimentForm().Worksheet();
    app::WorksheetWindow* w = sheet ? window_->WorksheetWindowFor(sheet->Handle()) : nullptr;
    return w ? w->TableModel()->rowCount() : -1;
  }
  app::PlotWindow* IntensityPlotWindow() {
    Form_Plot* plot = ExperimentForm().IntensityPlot();
    return plot ? window_->PlotWindowFor(plot->Handle()) : nullptr;
  }

  // The controls of an idle definition, with rows to go on from.
  void CheckIdleControls() {
    QVERIFY(!ExperimentForm().Running());
    QVERIFY(!Enabled("Command_Stop"));
    QVERIFY(Enabled("Text_tStop"));
    QVERIFY(Enabled("Command_Close"));
    QVERIFY(Enabled("Command_Move"));
    QVERIFY(Enabled("Command_WindowSetup"));
    QVERIFY(Enabled("Command_New"));
    QVERIFY(Child<QCheckBox>("Check_Window(0)")->isEnabled());
    QVERIFY(!Child<QCheckBox>("Check_Window(1)")->isEnabled());  // no window 2
    QVERIFY(Child<QCheckBox>("Check_SaveXY")->isEnabled());
    QCOMPARE(window_->windowTitle(), QString::fromStdString(G().AppTitle));
    for (const char* label : {"Label_tStart", "Label_tStep", "Label_dwellTime"})
      QVERIFY2(!Child<QLabel>(label)->property("marked").toBool(), label);
  }

 private slots:
  void cleanup() {
    if (ExperimentForm().Visible()) ExperimentForm().Unload();
    GrabberClose();
    GrabberUnload();
    sv::test::DropGrabberWorkbench(window_, main_, host_);
  }

  void startRunsUntilStopAndTheControlsComeBack() {
    SetUp(std::make_unique<QueueHost>());
    if (QTest::currentTestFailed()) return;
    DefineRun("0.5", "0", true);
    if (QTest::currentTestFailed()) return;
    QPushButton* stop = Child<QPushButton>("Command_Stop");
    QVERIFY(!stop->isEnabled());
    // The run's sheet and plot are in sight once defined.
    QVERIFY(ExperimentForm().Worksheet() && ExperimentForm().IntensityPlot());
    for (long handle : {ExperimentForm().Worksheet()->Handle(), ExperimentForm().IntensityPlot()->Handle()})
      QVERIFY(window_->SubWindowFor(handle) && window_->SubWindowFor(handle)->isVisible());

    // The run: the time and rate fields once a second, the sheet, its grid
    // and the plot with every row; Stop after eight rows, in a step wait.
    QStringList times, rates;
    long rowsAtStop = -1;
    int showsAt4 = -1, showsAt8 = -1, gridAt4 = -1, gridAt8 = -1;
    QString runningTitle;
    QStringList notDisabled;
    bool stuck = false, running = false, stepMarked = false, closed = false, stopEnabled = false;
    host_->onWait = [&] {
      // A Stop that does not reach the run would leave it going for ever.
      if (host_->waits > 5000 && !stuck) {
        stuck = true;
        ExperimentForm().Command_Stop();
      }
      if (!times.contains(Text("Text_Time"))) times << Text("Text_Time");
      if (!rates.contains(Text("Text_Rate"))) rates << Text("Text_Rate");
      app::PlotWindow* pw = IntensityPlotWindow();
      const int shows = pw ? pw->PartShows() + pw->Draws() : -1;
      if (showsAt4 < 0 && SheetRows() == 4) {
        showsAt4 = shows;
        gridAt4 = GridRows();
      }
      if (rowsAtStop >= 0 || SheetRows() < 8) return;
      rowsAtStop = SheetRows();
      showsAt8 = shows;
      gridAt8 = GridRows();
      runningTitle = window_->windowTitle();
      running = ExperimentForm().Running();
      stepMarked = Child<QLabel>("Label_tStep")->property("marked").toBool();
      for (const char* off : {"Command_Start(0)", "Command_Start(1)", "Command_Start(2)",
                              "Command_New", "Command_Cancel", "Text_tStop", "Command_Close",
                              "Command_Move", "Command_WindowSetup", "Check_Window(0)",
                              "Check_SaveXY", "Combo_TriggerMode", "Frame_AD"})
        if (Enabled(off)) notDisabled << off;
      // Closing the dialog does not end a run.
      Dialog()->reject();
      closed = !Dialog()->isVisible() || !ExperimentForm().Visible();
      stopEnabled = stop->isEnabled();
      QTest::mouseClick(stop, Qt::LeftButton);
    };
    QTest::mouseClick(Child<QPushButton>("Command_Start(0)"), Qt::LeftButton);
    host_->onWait = nullptr;
    QVERIFY(rowsAtStop >= 0);
    QVERIFY2(!stuck, "the Stop click did not reach the run");
    QVERIFY(running && stopEnabled);
    QVERIFY(stepMarked);
    QVERIFY2(notDisabled.isEmpty(), qPrintable(notDisabled.join(", ")));
    QVERIFY(!closed);
    QCOMPARE(runningTitle, QString::fromStdString(G().AppTitle + " - Experiment running"));
    QCOMPARE(gridAt4, 4);
    QCOMPARE(gridAt8, 8);
    QVERIFY(showsAt4 > 0 && showsAt8 > showsAt4);

    // Four seconds of steps: "0 s" at the start, whole seconds after it; the
    // rate with the rows counted.
    QVERIFY2(times.size() >= 3, qPrintable(times.join(" | ")));
    QCOMPARE(times.front(), QString("0 s"));
    QRegularExpression second("^\\d+ s$"), rate("^(-|\\d+\\.\\d) Hz \\(\\d+\\)$");
    for (const QString& t : times) QVERIFY2(second.match(t).hasMatch(), qPrintable(t));
    for (const QString& r : rates) QVERIFY2(rate.match(r).hasMatch(), qPrintable(r));
    QVERIFY2(rates.size() >= 3, qPrintable(rates.join(" | ")));

    // Stop in a wait: the row measured after it is the last, then the message.
    QCOMPARE(SheetRows(), rowsAtStop + 1);
    QCOMPARE(GridRows(), int(SheetRows()));
    QCOMPARE(host_->MessageTexts(), std::vector<std::string>{kCanceled});
    CheckIdleControls();

    // "Continue" stands where "Start" was and goes on with the rows.
    QPushButton* goOn = Child<QPushButton>("Command_Start(1)");
    QVERIFY(goOn->isVisible() && goOn->isEnabled());
    QVERIFY(!Child<QPushButton>("Command_Start(0)")->isVisible());
    QVERIFY(Enabled("Command_Start(2)"));
    const long rowsBefore = SheetRows();
    host_->onWait = [&] {
      if (SheetRows() >= rowsBefore + 2 && stop->isEnabled()) QTest::mouseClick(stop, Qt::LeftButton);
    };
    QTest::mouseClick(goOn, Qt::LeftButton);
    host_->onWait = nullptr;
    QCOMPARE(SheetRows(), rowsBefore + 3);
    Form_Worksheet* sheet = ExperimentForm().Worksheet();
    const long timeCol = 1;  // "time (s)"
    QCOMPARE(QString::fromStdString(sheet->ColName(timeCol)), QString("time (s)"));
    QVERIFY(sheet->TextMatrix(rowsBefore + 1, timeCol).Number() >
            sheet->TextMatrix(rowsBefore, timeCol).Number());
    CheckIdleControls();
  }

  void stepAddsOneRow() {
    SetUp(std::make_unique<QueueHost>());
    if (QTest::currentTestFailed()) return;
    DefineRun("0", "0");
    if (QTest::currentTestFailed()) return;
    QPushButton* step = Child<QPushButton>("Command_Start(2)");
    QVERIFY(step->isEnabled());
    QTest::mouseClick(step, Qt::LeftButton);
    QCOMPARE(SheetRows(), 1L);
    QCOMPARE(GridRows(), 1);
    CheckIdleControls();
    QVERIFY(step->isEnabled());
    QTest::mouseClick(step, Qt::LeftButton);
    QCOMPARE(SheetRows(), 2L);
    QCOMPARE(GridRows(), 2);
    QVERIFY2(host_->messages.empty(), host_->messages.empty() ? "" : host_->messages[0].text.c_str());
  }

  void stopClickDuringADwellReachesTheRun() {
    auto pump = std::make_unique<PumpHost>();
    PumpHost* host = pump.get();
    SetUp(std::move(pump));
    if (QTest::currentTestFailed()) return;
    DefineRun("0", "3600");
    if (QTest::currentTestFailed()) return;
    QPushButton* stop = Child<QPushButton>("Command_Stop");
    bool marked = false, enabled = false;
    host->onFirstWait = [&] {
      marked = Child<QLabel>("Label_dwellTime")->property("marked").toBool();
      enabled = stop->isEnabled();
      PostClick(stop);
    };
    QTest::mouseClick(Child<QPushButton>("Command_Start(0)"), Qt::LeftButton);
    QVERIFY(marked);
    QVERIFY(enabled);
    QVERIFY2(host->pumped < 5000, "the Stop click did not reach the run");
    // The dwell ended at once; the row after it was measured, then the message.
    QCOMPARE(SheetRows(), 1L);
    QCOMPARE(host->MessageTexts(), std::vector<std::string>{kCanceled});
    CheckIdleControls();
  }
};

QTEST_MAIN(TestExperimentRun)
#include "test_experiment_run.moc"
