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

#include "app/rfactor_dialog.h"
#include "fit/form_rfactor.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

using namespace sv;

class TestRFactorDialog : public QObject {
  Q_OBJECT
 private slots:
  void rFactorOnASheet();
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

QTEST_MAIN(TestRFactorDialog)
#include "test_rfactor_dialog.moc"
