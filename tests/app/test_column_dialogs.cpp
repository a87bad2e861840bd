// The column arithmetic on the offscreen platform: smoothing a plotted
// column redraws its plot; the sort and simple-math dialogs bound to their
// presenters from the Data menu; the Functions menu's entries.

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <cmath>
#include <functional>
#include <memory>

#include "app/app_environment.h"
#include "app/column_dialogs.h"
#include "app/main_window.h"
#include "app/plot_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "dialog_steps.h"
#include "support/queue_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;

class TestColumnDialogs : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<test::QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;

  // Runs `step` on the dialog named `name` once it is up.
  static void WhenShown(const QString& name, std::function<void(QDialog*)> step) {
    QTimer::singleShot(0, [name, step] {
      for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<QDialog*>(w); d && d->objectName() == name && d->isVisible()) {
          step(d);
          return;
        }
      QFAIL("the dialog did not come up");
    });
  }

  // A new sheet in front with X 0 .. 9 in A and a zigzag in B.
  Form_Worksheet* ZigzagSheet() {
    main_->Click("mnuNewWorksheet");
    auto* sheet = dynamic_cast<Form_Worksheet*>(main_->ActiveChild());
    if (!sheet) return nullptr;
    sheet->Rows(11);
    for (long r = 1; r <= 10; ++r) {
      sheet->TextMatrix(r, 1, Cell(float(r - 1)));
      sheet->TextMatrix(r, 2, Cell(r % 2 ? 10.0f : 90.0f));
    }
    sheet->Col(2);
    return sheet;
  }

  void Front(Form_Worksheet* sheet) {
    main_->ShowChild(sheet->Handle());
    main_->PrepareAllMenus();
  }

 private slots:
  void init() {
    ResetGlobals();
    host_ = std::make_unique<test::QueueHost>();
    sv::test::BuildMainWindow(main_, window_, {.hardware = false});
    app::InstallPlotEnvironment(window_.get());
    app::InstallColumnDialogs(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
    main_->PrepareAllMenus();
  }

  void cleanup() {
    window_.reset();
    main_.reset();
    app::RemoveColumnDialogs();
    sv::test::DropScriptedPlotHost(host_);
  }

  void smoothingAPlottedColumnRedrawsThePlot() {
    Form_Worksheet* sheet = ZigzagSheet();
    QVERIFY(sheet);
    SheetPlot* made = nullptr;
    QVERIFY(sheet->NewPlot(made));
    auto* plot = dynamic_cast<Form_Plot*>(made);
    QVERIFY(plot);
    plot->AddCurve();
    plot->CurveXCol(1);
    plot->SetXRange(0, 10);
    plot->SetYRange(0, 100);
    main_->ShowChild(plot->Handle());
    app::PlotWindow* pw = window_->PlotWindowFor(plot->Handle());
    QVERIFY(pw);
    pw->RefreshPicture();
    sheet->UpdatePlots();  // nothing changed yet: no drawing
    const int draws = pw->Draws();
    const QImage before = pw->PictureImage();
    QVERIFY(!before.isNull());

    Front(sheet);
    QVERIFY(main_->FindMenu("mnuSmooth")->enabled);
    host_->AnswerInput("3");
    QAction* smooth = window_->MenuAction("mnuSmooth");
    QVERIFY(smooth);
    smooth->trigger();
    QCOMPARE(host_->inputPrompts.size(), size_t(1));
    QCOMPARE(host_->inputPrompts[0], std::string("Degree of smoothing:"));
    // The column changed: the plot cleared and drew again, and looks different.
    QCOMPARE(pw->Draws(), draws + 2);
    QVERIFY(sheet->CellAt(2, 2).Number() < 90.0);
    QVERIFY(pw->PictureImage() != before);
  }

  void sortDialogChoosesDirectionAndScope() {
    Form_Worksheet* sheet = ZigzagSheet();
    QVERIFY(sheet);
    sheet->SetSelection(0, 2, 10, 2);
    Front(sheet);
    QVERIFY(main_->FindMenu("mnuSort")->enabled);
    WhenShown("Form_Sort", [](QDialog* d) {
      auto* order = d->findChild<QComboBox*>("Combo_Sort");
      auto* scope = d->findChild<QComboBox*>("Combo_Selection");
      QVERIFY(order && scope);
      QCOMPARE(order->count(), 2);
      order->setCurrentIndex(1);
      scope->setCurrentIndex(1);
      d->findChild<QPushButton*>("Command_OK")->click();
    });
    window_->MenuAction("mnuSort")->trigger();
    // Descending, the key column alone: X stays in its rows.
    QCOMPARE(sheet->CellAt(1, 2).Number(), 90.0);
    QCOMPARE(sheet->CellAt(10, 2).Number(), 10.0);
    QCOMPARE(sheet->CellAt(1, 1).Number(), 0.0);
  }

  void simpleMathDialogTakesColumnsFromItsList() {
    Form_Worksheet* sheet = ZigzagSheet();
    QVERIFY(sheet);
    Front(sheet);
    WhenShown("Form_SimpleMath", [](QDialog* d) {
      auto* list = d->findChild<QListWidget*>("List_Columns");
      QVERIFY(list);
      QCOMPARE(list->count(), 2);
      list->setCurrentRow(0);
      d->findChild<QPushButton*>("Command_SetY2")->click();
      QCOMPARE(d->findChild<QLineEdit*>("Text_Y2")->text(), QString("A"));
      QCOMPARE(d->findChild<QLineEdit*>("Text_Y1")->text(), QString("B"));
      d->findChild<QLineEdit*>("Text_Y")->setText("Diff");
      d->findChild<QComboBox*>("Combo_Operator")->setCurrentIndex(1);  // "-"
      d->findChild<QPushButton*>("Command_OK")->click();
    });
    window_->MenuAction("mnuSimpleMath")->trigger();
    QCOMPARE(sheet->Cols(), 4);
    QCOMPARE(sheet->ColName(3), std::string("Diff"));
    QCOMPARE(sheet->CellAt(2, 3).Number(), 89.0);
  }

  void functionsMenuListsTheFunctions() {
    Form_Worksheet* sheet = ZigzagSheet();
    QVERIFY(sheet);
    Front(sheet);
    QAction* log = window_->MenuAction("mnuFkt", 2);
    QVERIFY(log);
    QCOMPARE(log->text(), QString("LO&G(X)"));
    QVERIFY(!window_->MenuAction("mnuFkt", 12));
    log->trigger();
    QVERIFY(std::abs(sheet->CellAt(1, 2).Number() - std::log(10.0)) < 1e-5);
  }
};

QTEST_MAIN(TestColumnDialogs)
#include "test_column_dialogs.moc"
