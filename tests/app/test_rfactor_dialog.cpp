// R-Factor on a sheet on the offscreen platform: the dialog from the
// worksheet's command, the columns picked by kind, a refused smoothing
// that keeps the dialog open, and the report in the result window.

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <cmath>

#include "app/rfactor_dialog.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "worksheet/worksheet_documents.h"
#include <QCheckBox>
#include "fit/form_rfactor.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

using namespace sv;

class TestRFactorDialog : public QObject {
  Q_OBJECT
 private slots:
  void rFactorOnASheet();
  void menuComparesTwoSheets();
};

void TestRFactorDialog::rFactorOnASheet() {
  test::ScriptedHost host;
  host.Answer(MsgResult::OK);  // the "Invalid Parameter" box
  Form_Worksheet sheet;
  sheet.Cols(4);
  sheet.Rows(6);
  sheet.Record(1).Label = "Energy";
  sheet.Record(2).Label = "I.total_a";
  sheet.Record(3).Label = "I.total_b";
  const float e[5] = {0, 1, 2, 3, 4}, a[5] = {1, 2, 4, 3, 2}, b[5] = {2, 2, 3, 3, 1};
  for (long r = 1; r <= 5; ++r) {
    sheet.TextMatrix(r, 1, Cell(e[r - 1]));
    sheet.TextMatrix(r, 2, Cell(a[r - 1]));
    sheet.TextMatrix(r, 3, Cell(b[r - 1]));
  }
  QWidget parent;
  app::InstallRFactorDialog(&parent, [] { return std::vector<const Form_Worksheet*>{}; });
  RegisterRFactor();
  bool sawRefusal = false;
  QTimer::singleShot(0, [&] {
    auto* dialog = dynamic_cast<app::RFactorDialog*>(QApplication::activeModalWidget());
    QVERIFY(dialog);
    auto* mode = dialog->findChild<QComboBox*>("Combo_SelMode");
    mode->setCurrentIndex(0);
    emit mode->activated(0);
    QCOMPARE(dialog->findChild<QListWidget*>("List_Columns")->selectedItems().size(), 2);
    auto* smooth = dialog->findChild<QLineEdit*>("Text_Smooth");
    smooth->setText("100");
    dialog->findChild<QPushButton*>("Command_Calculate")->click();
    sawRefusal = dialog->isVisible() && host.messages.size() == 1;
    smooth->setText("");
    dialog->findChild<QPushButton*>("Command_Calculate")->click();
  });
  MathRFactor(sheet);
  QVERIFY(sawRefusal);
  auto* result = parent.findChild<QPlainTextEdit*>("Text_Result");
  QVERIFY(result);
  QCOMPARE(result->toPlainText(),
           QString("R.Pendry Factor\nVoi = 4eV\nThreshold = 1%\nSmooth = (none)\n\n"
                   "I.total_a & I.total_b:\tR.Pendry = 0.450\n"));
  app::RemoveRFactorDialog();
}

// Two open sheets: the R-factor command (mnuRFactor) on the first, compared beam by beam with
// the second over a shift range.
void TestRFactorDialog::menuComparesTwoSheets() {
  test::ScriptedHost host;
  ResetGlobals();
  MDIForm_Main main;
  SetMainForm(&main);
  RegisterWorksheetDocuments(main);
  RegisterRFactor();
  QWidget parent;
  app::InstallRFactorDialog(&parent, [&main] { return app::OpenSheets(main); });
  Form_Worksheet* sheets[2] = {};
  for (int k = 0; k < 2; ++k) {
    sheets[k] = dynamic_cast<Form_Worksheet*>(main.CreateWorksheet());
    QVERIFY(sheets[k]);
    main.ShowChild(sheets[k]->Handle());
    Form_Worksheet& s = *sheets[k];
    s.Cols(3);
    s.Rows(41);
    s.Record(1).Label = "Energy";
    s.Record(2).Label = "I.total_00";
    for (long r = 1; r <= 40; ++r) {
      const float e = float(r), x = e + (k == 1 ? 2.0f : 0.0f);  // the second's features 2 eV lower
      s.TextMatrix(r, 1, Cell(e));
      s.TextMatrix(r, 2, Cell(1.0f + std::exp(-(x - 20) * (x - 20) / 8.0f)));
    }
  }
  QTimer::singleShot(0, [&] {
    auto* dialog = dynamic_cast<app::RFactorDialog*>(QApplication::activeModalWidget());
    QVERIFY(dialog);
    QCOMPARE(dialog->findChild<QComboBox*>("Combo_Sheet")->count(), 1);
    dialog->findChild<QListWidget*>("List_Columns")->item(1)->setSelected(true);
    dialog->findChild<QCheckBox*>("Check_CompareSheet")->setChecked(true);
    dialog->findChild<QLineEdit*>("Text_ShiftFrom")->setText("-3");
    dialog->findChild<QLineEdit*>("Text_ShiftTo")->setText("3");
    dialog->findChild<QLineEdit*>("Text_ShiftStep")->setText("1");
    dialog->findChild<QPushButton*>("Command_Calculate")->click();
  });
  main.SetActiveChild(sheets[0]->Handle());
  main.PrepareAllMenus();
  main.Click("mnuRFactor");
  auto* result = parent.findChild<QPlainTextEdit*>("Text_Result");
  QVERIFY(result);
  QVERIFY2(result->toPlainText().endsWith("overall:\tR.Pendry = 0.000\tshift = 2.00 eV\n"),
           qPrintable(result->toPlainText()));
  app::RemoveRFactorDialog();
  SetMainForm(nullptr);
}

QTEST_MAIN(TestRFactorDialog)
#include "test_rfactor_dialog.moc"
