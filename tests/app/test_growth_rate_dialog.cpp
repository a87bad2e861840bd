// The growth-rate window from a plot on the offscreen platform: the plot's
// "MathGrowthRate", pressed as Data > Growth Rate, brings it up on the plot's curve; Calculate fills the
// results, "Show &SHT" shows the working sheet in the window and turns into
// "Hide &SHT"; a refused threshold sends the focus to its field.

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <cmath>
#include <filesystem>
#include <functional>
#include <memory>

#include "app/growth_rate_dialog.h"
#include "app/plot_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;

class TestGrowthRateDialog : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<test::ScriptedHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  Form_Worksheet* sheet_ = nullptr;
  Form_Plot* plot_ = nullptr;
  std::filesystem::path dir_;

  // Runs `step` on the growth-rate window once it is up.
  static void WhenShown(std::function<void(QDialog*)> step) {
    QTimer::singleShot(0, [step] {
      for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<QDialog*>(w); d && d->objectName() == "Form_GrowthRate" && d->isVisible()) {
          step(d);
          return;
        }
      QFAIL("the growth-rate window did not come up");
    });
  }

  // Data > Growth Rate with the plot in front.
  void PressGrowthRate() {
    main_->PrepareAllMenus();
    QVERIFY(main_->FindMenu("mnuGrowthRate")->enabled);
    main_->Click("mnuGrowthRate");
  }

 private slots:
  void init() {
    ResetGlobals();
    host_ = std::make_unique<test::ScriptedHost>();
    dir_ = std::filesystem::temp_directory_path() / "sv_growth_dialog";
    std::filesystem::create_directories(dir_);
    host_->configFolder = dir_.string();
    host_->programFolder = dir_.string();
    main_ = std::make_unique<MDIForm_Main>();
    SetMainForm(main_.get());
    RegisterWorksheetDocuments(*main_);
    RegisterPlotDocuments(*main_);
    // 300 samples 0.1 s apart, one oscillation each 3 s.
    sheet_ = dynamic_cast<Form_Worksheet*>(main_->CreateWorksheet());
    QVERIFY(sheet_);
    main_->ShowChild(sheet_->Handle());
    sheet_->Cols(3);
    sheet_->Rows(301);
    for (long r = 1; r <= 300; ++r) {
      const double t = 0.1 * double(r - 1);
      sheet_->TextMatrix(r, 1, Cell(float(t)));
      sheet_->TextMatrix(r, 2, Cell(float(200 + 20 * std::sin(2 * M_PI * t / 3))));
    }
    sheet_->Col(2);
    SheetPlot* made = nullptr;
    QVERIFY(sheet_->NewPlot(made));
    plot_ = dynamic_cast<Form_Plot*>(made);
    QVERIFY(plot_);
    plot_->AddCurve();
    plot_->CurveXCol(1);
    main_->ShowChild(plot_->Handle());
    main_->SetActiveChild(plot_->Handle());
    app::InstallGrowthRateDialog(nullptr);
  }
  void cleanup() {
    GrowthWindows() = GrowthRateWindows();
    Form_Plot::RegisterOperation("MathGrowthRate", nullptr);
    SetMainForm(nullptr);
    main_.reset();
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    host_.reset();
    std::filesystem::remove_all(dir_);
  }

  void calculateAndShowSheet() {
    QString rate, caption, hidden;
    int tableRows = -1;
    bool tableShown = false;
    QString plotTitle;
    int inked = 0;
    WhenShown([&](QDialog* d) {
      auto* curve = d->findChild<QComboBox*>("Combo_Curve");
      QCOMPARE(curve->count(), 1);
      QCOMPARE(d->findChild<QLineEdit*>("Text_t2")->text(), QString("29.9"));
      d->findChild<QLineEdit*>("Text_Delta")->setText("10");
      QTest::mouseClick(d->findChild<QPushButton*>("Command_Calculate"), Qt::LeftButton);
      rate = d->findChild<QLineEdit*>("Text_GrowthRate")->text();
      auto* dialog = qobject_cast<app::GrowthRateDialog*>(d);
      QVERIFY(dialog && dialog->ResultPlot() && dialog->ResultPlot()->Plot());
      plotTitle = QString::fromStdString(dialog->ResultPlot()->Plot()->TitleText());
      // The curve and its extremes are drawn: dark pixels on the page.
      const QImage picture = dialog->ResultPlot()->PictureImage();
      for (int y = 0; y < picture.height(); y += 2)
        for (int x = 0; x < picture.width(); x += 2)
          if (qGray(picture.pixel(x, y)) < 128) ++inked;
      auto* show = d->findChild<QPushButton*>("Command_ShowSht");
      hidden = show->text();
      QTest::mouseClick(show, Qt::LeftButton);
      caption = show->text();
      auto* table = d->findChild<QTableWidget*>("Sheet");
      tableShown = table->isVisible();
      tableRows = table->rowCount();
      d->accept();
    });
    PressGrowthRate();
    QVERIFY2(rate.startsWith("0.333"), qPrintable(rate));
    QCOMPARE(plotTitle, QString("Min/Max Analysis"));
    QVERIFY2(inked > 100, qPrintable(QString::number(inked)));
    QCOMPARE(hidden, QString("Show &SHT"));
    QCOMPARE(caption, QString("Hide &SHT"));
    QVERIFY(tableShown);
    QCOMPARE(tableRows, 301);  // n + 1 rows
    QVERIFY(host_->messages.empty());
  }

  void refusedThresholdTakesFocus() {
    host_->Answer(MsgResult::OK);
    QString focused, rate;
    WhenShown([&](QDialog* d) {
      d->findChild<QLineEdit*>("Text_Delta")->setText("-1");
      QTest::mouseClick(d->findChild<QPushButton*>("Command_Calculate"), Qt::LeftButton);
      focused = d->focusWidget() ? d->focusWidget()->objectName() : QString();
      rate = d->findChild<QLineEdit*>("Text_GrowthRate")->text();
      d->accept();
    });
    PressGrowthRate();
    QCOMPARE(focused, QString("Text_Delta"));
    QVERIFY(rate.isEmpty());
    QCOMPARE(host_->messages.size(), size_t(1));
    QCOMPARE(QString::fromStdString(host_->messages[0].text),
             QString("Invalid value of Ampl. Threshold.\n(0 < Ampl. Threshold)"));
  }
};

QTEST_MAIN(TestGrowthRateDialog)
#include "test_growth_rate_dialog.moc"
