// The peak fit from the worksheet's Data menu on the offscreen platform: a
// sheet with two Lorentzian peaks on a slope, auto input, the fit stepped by
// the host's timer through the status window, the report, the ".fit" column
// and the "Peak Fit" plot; cancelling or closing the status window mid-fit.

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QTreeWidget>
#include <cmath>
#include <functional>
#include <memory>

#include "app/app_environment.h"
#include "app/fit_dialogs.h"
#include "app/main_window.h"
#include "app/plot_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "fit/form_fit.h"
#include "dialog_steps.h"
#include "menu_press.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/queue_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;
using sv::test::QueueHost;

namespace {

constexpr long kPoints = 121;

// Y = 50 + 0.5 x + L(40, 1000, 10) + L(80, 600, 12), x = 0 .. 120.
double Data(double x) {
  auto lorentz = [x](double xc, double h, double w) {
    const double d = 2.0 * (x - xc);
    return h * w * w / (d * d + w * w);
  };
  return 50.0 + 0.5 * x + lorentz(40.0, 1000.0, 10.0) + lorentz(80.0, 600.0, 12.0);
}

// What one pass through the status window saw, tick by tick.
struct Run {
  QStringList iterations, calls, sos, status;
  QString parameters, data;
  QStringList fitAtPeak;  // the ".fit" cell at the first peak after each tick
  int ticks = 0;
};

}  // namespace

class TestPeakFit : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;
  Form_Worksheet* sheet_ = nullptr;

  template <typename T = QWidget>
  T* Visible(const char* name) {
    for (T* w : window_->findChildren<T*>(name))
      if (w->isVisible()) return w;
    return nullptr;
  }
  template <typename T>
  T* In(QWidget* parent, const char* name) {
    return parent ? parent->findChild<T*>(name) : nullptr;
  }

  void SetUp() {
    ResetGlobals();
    host_ = std::make_unique<QueueHost>();
    host_->tick = 1;
    main_ = std::make_unique<MDIForm_Main>();
    SetMainForm(main_.get());
    RegisterWorksheetDocuments(*main_);
    RegisterPlotDocuments(*main_);
    RegisterPeakFit();
    app::InstallKernelEnvironment();
    window_ = std::make_unique<app::MainWindow>(*main_);
    app::InstallFitDialogs(window_.get());
    QVERIFY(sv::Main(*main_, ""));
    main_->PrepareAllMenus();
    main_->Click("mnuNewWorksheet");
    sheet_ = dynamic_cast<Form_Worksheet*>(main_->ActiveChild());
    QVERIFY(sheet_);
    sheet_->Redraw(false);
    sheet_->Rows(kPoints + 1);
    for (long r = 1; r <= kPoints; ++r) {
      const double x = double(r - 1);
      sheet_->TextMatrix(r, 1, Cell(float(x)));
      sheet_->TextMatrix(r, 2, Cell(float(Data(x))));
    }
    sheet_->Redraw(true);
    sheet_->SetSelection(0, 2, sheet_->Rows() - 1, 2);
  }

  // The status window's run: `stopAfter` ticks, then `stop` (none: to the end).
  void StepStatus(Run& run, int stopAfter, std::function<void(QDialog*)> stop) {
    QDialog* status = Visible<QDialog>("Form_FitStatus");
    QVERIFY(status);
    const long fitCol = 3;
    for (int i = 0; i < 500 && status->isVisible(); ++i) {
      if (stop && run.ticks == stopAfter) {
        stop(status);
        break;
      }
      host_->FireTimers();
      ++run.ticks;
      run.iterations << In<QLabel>(status, "Label_Iterations")->text();
      run.calls << In<QLabel>(status, "Label_Calls")->text();
      run.sos << In<QLabel>(status, "Label_SOS")->text();
      run.status << In<QLabel>(status, "Label_Status")->text();
      run.parameters = In<QLabel>(status, "Label_Parameters")->text();
      run.data = In<QLabel>(status, "Label_Data")->text();
      run.fitAtPeak << QString::number(sheet_->TextMatrix(41, fitCol).Number());
    }
    QVERIFY(!status->isVisible());
  }

  // Peak Fit from the Data menu; `inside` runs while the fit dialog is up.
  void PeakFit(std::function<void(QDialog*)> inside) {
    bool ran = false;
    QTimer::singleShot(0, window_.get(), [&] {
      QDialog* fit = Visible<QDialog>("Form_Fit");
      QVERIFY(fit);
      ran = true;
      inside(fit);
      In<QPushButton>(fit, "Command_Close")->click();
    });
    sv::test::PressMenu(*main_, *window_, "mnuPeakFit");
    QVERIFY(ran);
    QVERIFY(!Visible<QDialog>("Form_Fit"));
  }

  // Calculate, with the status window stepped by `run`.
  void Calculate(QDialog* fit, Run& run, int stopAfter = -1,
                 std::function<void(QDialog*)> stop = nullptr) {
    QTimer::singleShot(0, window_.get(), [&, stopAfter, stop] { StepStatus(run, stopAfter, stop); });
    In<QPushButton>(fit, "Command_Calculate")->click();
  }

 private slots:
  void cleanup() {
    app::RemoveFitDialogs();
    window_.reset();
    Environment() = StartupEnvironment();
    ClearSettingsSections();
    sv::test::DropMainForm(main_, host_);
  }

  void autoInputThenFit() {
    SetUp();
    if (QTest::currentTestFailed()) return;
    Run run;
    QStringList listBefore, listAfter;
    QString report, result;
    PeakFit([&](QDialog* fit) {
      // Auto input found both peaks: background, then Xc, H, W, Peak each.
      auto* list = In<QTreeWidget>(fit, "List_Parameter");
      QCOMPARE(list->topLevelItemCount(), 3 + 2 * 4);
      QCOMPARE(list->topLevelItem(3)->text(0), QString("1Xc"));
      for (int i = 0; i < list->topLevelItemCount(); ++i) listBefore << list->topLevelItem(i)->text(1);
      // A line of the list goes to the editing controls.
      list->setCurrentItem(list->topLevelItem(4));
      QCOMPARE(In<QLabel>(fit, "Label_ini")->text(), QString("1H"));
      Calculate(fit, run);
      for (int i = 0; i < list->topLevelItemCount(); ++i) listAfter << list->topLevelItem(i)->text(1);
      report = In<QTextEdit>(fit, "RichTextBox1")->toPlainText();
      result = In<QLabel>(fit, "Label_Result")->text();
      // The report in Arial 10 with its tab stops.
      QTextEdit* box = In<QTextEdit>(fit, "RichTextBox1");
      QCOMPARE(box->document()->defaultFont().family(), QString("Arial"));
      QCOMPARE(box->document()->defaultFont().pointSize(), 10);
      QVERIFY(!box->document()->defaultTextOption().tabs().isEmpty());
      QCOMPARE(box->document()->defaultTextOption().tabs().front().position,
               qreal(app::kReportFirstTabPx));
    });
    if (QTest::currentTestFailed()) return;

    // The labels follow each tick: the calls grow with every iteration,
    // each number with its caption.
    QVERIFY2(run.ticks >= 4, qPrintable(QString::number(run.ticks)));
    for (int i = 1; i + 1 < run.ticks; ++i)
      QVERIFY2(run.calls[i] != run.calls[i - 1], qPrintable(run.calls.join(" | ")));
    QVERIFY(run.iterations.back().endsWith(": Iterations"));
    QCOMPARE(run.parameters, QString("8: Parameters"));
    QCOMPARE(run.data, QString("%1: Data points").arg(kPoints));
    QCOMPARE(run.status.front(), QString("Fitting ... "));
    QVERIFY(run.status.back().startsWith("Fit converged"));
    // The plot was redrawn along the way: the fit column moved.
    QVERIFY(run.fitAtPeak.removeDuplicates() < run.ticks - 1);
    QVERIFY(result.endsWith(" s"));
    QVERIFY(!result.startsWith("Fit Error"));
    QVERIFY(listBefore != listAfter);

    // The report: date, formula, status, the head, the parameters.
    const QStringList lines = report.split('\n');
    QVERIFY2(lines.size() > 12, qPrintable(report));
    QVERIFY(lines[0].startsWith("Date \t"));
    QCOMPARE(lines[1], QString("Y = Y0 + m * X + L(1Xc, 1H, 1W) + L(2Xc, 2H, 2W)"));
    QVERIFY(lines[2].startsWith("Fit converged"));
    QCOMPARE(lines[3], QString("Parameter\tInput\tResult\t+/-Error\t% Error"));
    QVERIFY(report.contains("Correlation table (%):"));

    // The ".fit" column right after Y holds the model, close to the data.
    QCOMPARE(QString::fromStdString(sheet_->ColName(3)),
             QString::fromStdString(sheet_->ColName(2) + ".fit"));
    double worst = 0;
    for (long r = 1; r <= kPoints; ++r)
      worst = std::max(worst, std::fabs(sheet_->TextMatrix(r, 3).Number() - Data(double(r - 1))));
    QVERIFY2(worst < 0.5, qPrintable(QString::number(worst)));

    // The "Peak Fit" plot: data and fit, the fit's colour on its picture.
    Form_Plot* plot = nullptr;
    for (long i = 0; i < sheet_->Plots(); ++i)
      if (auto* p = dynamic_cast<Form_Plot*>(sheet_->FindPlot(sheet_->PlotWindowHwnd(i))))
        if (p->TitleText() == "Peak Fit") plot = p;
    QVERIFY(plot);
    QCOMPARE(plot->Curves(), 2L);
    plot->Curve(1);
    QCOMPARE(plot->CurveCol(), 3L);
    // The picture shows ink along the fit (the data lie under it) and the
    // fit's colour in the legend.
    const long c = plot->CurveColor();
    const QRgb fitColour = qRgb(int(c & 0xFF), int((c >> 8) & 0xFF), int((c >> 16) & 0xFF));
    app::PlotWindow* pw = window_->PlotWindowFor(plot->Handle());
    QVERIFY(pw);
    QVERIFY(pw->isVisible());
    const QImage picture = pw->PictureImage().convertToFormat(QImage::Format_RGB32);
    for (long r : {1L, 31L, 41L, 61L, 81L, 121L}) {
      const int x = int(std::lround(plot->ScreenX(double(r - 1))));
      const int y = int(std::lround(plot->ScreenY(sheet_->TextMatrix(r, 3).Number())));
      bool ink = false;
      for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -2; dx <= 2; ++dx)
          if (picture.valid(x + dx, y + dy) && QColor(picture.pixel(x + dx, y + dy)) != Qt::white)
            ink = true;
      QVERIFY2(ink, qPrintable(QString("row %1").arg(r)));
    }
    int ink = 0;
    for (int y = 0; y < picture.height(); ++y)
      for (int x = 0; x < picture.width(); ++x) ink += picture.pixel(x, y) == fitColour;
    QVERIFY(ink > 0);
  }

  // The setup from the fit dialog: OK stores and writes "PEAKFIT.INI" and
  // the next auto input follows it; Cancel changes nothing.
  void setupFromTheFitDialog() {
    SetUp();
    if (QTest::currentTestFailed()) return;
    const std::string ini = host_->configFolder + "/PEAKFIT.INI";
    QString shapeLine, fixedLine, tiedLine;
    bool widthDisabled = false, defaultsShown = false;
    auto setup = [&](bool ok) {
      QTimer::singleShot(0, window_.get(), [&, ok] {
        QDialog* d = Visible<QDialog>("Form_FitSetup");
        QVERIFY(d);
        auto* maxFun = In<QLineEdit>(d, "Text_MaxFun");
        maxFun->setText("7");
        In<QPushButton>(d, "Command_Default")->click();
        defaultsShown = maxFun->text() == "100";
        maxFun->setText("60");
        In<QCheckBox>(d, "Check_PeakWidth")->click();
        widthDisabled = !In<QLineEdit>(d, "Text_PeakWidth")->isEnabled();
        In<QRadioButton>(d, "Option_Shape(2)")->click();
        In<QPushButton>(d, ok ? "Command_OK" : "Command_Cancel")->click();
      });
    };
    PeakFit([&](QDialog* fit) {
      setup(false);
      In<QPushButton>(fit, "Command_Setup")->click();
      QCOMPARE(FitG().Settings.PeakShape, 1);
      QVERIFY(!QFile::exists(QString::fromStdString(ini)));
      setup(true);
      In<QPushButton>(fit, "Command_Setup")->click();
      In<QPushButton>(fit, "Command_AutoInput")->click();
      auto* list = In<QTreeWidget>(fit, "List_Parameter");
      shapeLine = list->topLevelItem(6)->text(1);
      // Editing: 1W typed with a decimal comma and fixed, then 2W tied to 1W.
      list->setCurrentItem(list->topLevelItem(5));
      auto* ini = In<QLineEdit>(fit, "Text_ini");
      ini->selectAll();
      QTest::keyClicks(ini, "12,5");
      In<QComboBox>(fit, "Combo_fsw")->setCurrentIndex(0);
      In<QPushButton>(fit, "Command_Accept")->click();
      fixedLine = list->topLevelItem(5)->text(1);
      list->setCurrentItem(list->topLevelItem(9));
      QCOMPARE(In<QLabel>(fit, "Label_ini")->text(), QString("2W"));
      auto* fsw = In<QComboBox>(fit, "Combo_fsw");
      fsw->setCurrentIndex(fsw->findText("= 1W"));
      QVERIFY(fsw->currentIndex() >= 2);
      In<QPushButton>(fit, "Command_Accept")->click();
      tiedLine = list->topLevelItem(9)->text(1);
    });
    if (QTest::currentTestFailed()) return;
    QVERIFY(defaultsShown);
    QVERIFY(widthDisabled);
    const FitSettings& s = FitG().Settings;
    QCOMPARE(s.PeakShape, 2);
    QCOMPARE(s.MaxFun, 60);
    QVERIFY(s.PeakWidth < 0);
    QVERIFY2(shapeLine.startsWith("Gaussian"), qPrintable(shapeLine));
    QVERIFY2(fixedLine.startsWith("12.5") && fixedLine.endsWith("= const"), qPrintable(fixedLine));
    QCOMPARE(tiedLine, QString("= 1W"));
    QFile file(QString::fromStdString(ini));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromLatin1(file.readAll());
    QVERIFY(text.contains("PeakShape=2"));
    QVERIFY(text.contains("MaxFun=60"));
  }

  // Cancel and the window's close button both stop the fit mid-way.
  void stopMidFit() {
    for (const char* way : {"cancel", "close"}) {
      SetUp();
      if (QTest::currentTestFailed()) return;
      Run run;
      QString report, result, statusLabel;
      const bool byCancel = std::string(way) == "cancel";
      PeakFit([&](QDialog* fit) {
        Calculate(fit, run, 2, [&](QDialog* status) {
          if (byCancel)
            In<QPushButton>(status, "Command_Cancel")->click();
          else
            status->close();
          statusLabel = In<QLabel>(status, "Label_Status")->text();
        });
        report = In<QTextEdit>(fit, "RichTextBox1")->toPlainText();
        result = In<QLabel>(fit, "Label_Result")->text();
      });
      if (QTest::currentTestFailed()) return;
      QCOMPARE(run.ticks, 2);
      QCOMPARE(result, QString("Fit Error: Fit canceld by user"));
      QCOMPARE(statusLabel, QString("Fit canceld by user"));
      QCOMPARE(report.split('\n').value(2), QString("Fit canceld by user"));
      // The sheet keeps its data; the fit column holds the model as it ended.
      for (long r = 1; r <= kPoints; ++r)
        QCOMPARE(sheet_->TextMatrix(r, 2).Number(), double(float(Data(double(r - 1)))));
      QVERIFY(host_->Timers().Count() == 0);
      cleanup();
    }
  }
};

QTEST_MAIN(TestPeakFit)
#include "test_peak_fit.moc"
