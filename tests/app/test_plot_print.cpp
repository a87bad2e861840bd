// Printing a plot through Qt's printer on the offscreen platform: a page
// into a PDF file, the printer's paper as the plot page, the preview, and
// the page setup dialog bound to its presenter.

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLineEdit>
#include <QPageLayout>
#include <QPageSize>
#include <QPrinter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <memory>

#include "app/page_setup_dialog.h"
#include "app/plot_dialog_windows.h"
#include "app/plot_printer.h"
#include "plot/form_plot.h"
#include "plot/plot_print.h"
#include "support/queue_host.h"
#include "worksheet/form_worksheet.h"

using namespace sv;
using sv::test::QueueHost;

class TestPlotPrint : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<QWidget> parent_;
  std::unique_ptr<Form_Worksheet> sheet_;
  std::unique_ptr<Form_Plot> plot_;
  QTemporaryDir dir_;

  // Runs `step` on the modal dialog once it shows.
  static void OnModal(std::function<void(QWidget*)> step) {
    QTimer::singleShot(0, [step = std::move(step)] {
      QWidget* w = QApplication::activeModalWidget();
      QVERIFY(w);
      step(w);
    });
  }

 private slots:
  void init() {
    CurrentPageSetup() = PageSetup{};
    host_ = std::make_unique<QueueHost>();
    parent_ = std::make_unique<QWidget>();
    app::InstallPlotPrinter(parent_.get());
    sheet_ = std::make_unique<Form_Worksheet>();
    sheet_->Cols(3);
    sheet_->Rows(41);
    for (long r = 1; r <= 40; ++r) {
      sheet_->TextMatrix(r, 1, Cell(float(r)));
      sheet_->TextMatrix(r, 2, Cell(float(r * r)));
    }
    plot_ = std::make_unique<Form_Plot>();
    plot_->SetWorksheet(sheet_.get());
    plot_->SetPlotName("Plot1");
    plot_->TitleText("Growth");
    sheet_->Col(2);
    plot_->AddCurve();
    plot_->CurveRecord(0).XCol = 1;
    plot_->SetPlotType(2);
  }

  void cleanup() {
    plot_.reset();
    sheet_.reset();
    app::RemovePlotDialogs();
    parent_.reset();  // takes the printer with it
    QVERIFY(!app::InstalledPlotPrinter());
    QVERIFY(!Printer());
    host_.reset();
    CurrentPageSetup() = PageSetup{};
  }

  void printsAPageIntoAPdfFile() {
    const QString path = dir_.filePath("plot.pdf");
    app::InstalledPlotPrinter()->PrintToFile(path);
    host_->queue.push_back(MsgResult::OK);
    plot_->PrintDo();
    QCOMPARE(host_->messages.size(), size_t(1));
    QCOMPARE(QString::fromStdString(host_->messages[0].text),
             "Print  Plot1\nTo  PDF file\nAt  " + path + "  ?");
    QCOMPARE(host_->status.front(), std::string("printing Layer..."));
    QFile f(path);
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray pdf = f.readAll();
    QVERIFY(pdf.startsWith("%PDF"));
    QVERIFY2(pdf.size() > 1000 && pdf.size() < 20'000'000, QByteArray::number(pdf.size()));
    // One page, in landscape like the plot page.
    QCOMPARE(pdf.count("/Type /Page\n") + pdf.count("/Type /Page "), qsizetype(1));
    const QRegularExpressionMatch box =
        QRegularExpression(R"(/MediaBox \[0 0 ([0-9.]+) ([0-9.]+)\])").match(QString::fromLatin1(pdf));
    QVERIFY(box.hasMatch());
    QVERIFY(box.captured(1).toDouble() > box.captured(2).toDouble());
    const PlotPage page = CurrentPlotPage();
    QVERIFY(page.widthMm > page.heightMm);
  }

  void aPageThatCannotStartIsReported() {
    app::InstalledPlotPrinter()->PrintToFile(dir_.filePath("no/such/folder/plot.pdf"));
    host_->queue.push_back(MsgResult::OK);
    plot_->PrintDo();
    QCOMPARE(host_->messages.size(), size_t(2));
    QCOMPARE(host_->messages[1].text, std::string("The printer PDF file could not start a page."));
    QVERIFY(host_->status.empty());
  }

  void withoutAPrinterTheUserIsToldToChooseOne() {
    if (!QPrinterInfo::availablePrinters().isEmpty()) QSKIP("this machine has a printer");
    plot_->PrintDo();
    QCOMPARE(host_->messages.size(), size_t(1));
    QVERIFY(host_->messages[0].text.rfind("No printer is installed.", 0) == 0);
  }

  void thePrintersPaperIsThePlotPage() {
    QPrinter& p = app::InstalledPlotPrinter()->Device();
    p.setPageSize(QPageSize(QPageSize::A4));
    p.setPageOrientation(QPageLayout::Landscape);
    QCOMPARE(qRound(CurrentPlotPage().widthMm), 297);
    QCOMPARE(qRound(CurrentPlotPage().heightMm), 210);
    p.setPageOrientation(QPageLayout::Portrait);
    QCOMPARE(qRound(CurrentPlotPage().widthMm), 210);
    QCOMPARE(qRound(CurrentPlotPage().heightMm), 297);
    // A file keeps the paper and its orientation.
    app::InstalledPlotPrinter()->PrintToFile(dir_.filePath("portrait.pdf"));
    QCOMPARE(qRound(CurrentPlotPage().widthMm), 210);
    app::RemovePlotPrinter();
    QCOMPARE(CurrentPlotPage().widthMm, 297.0);  // the default page again
  }

  void thePreviewPaintsThePrintedPage() {
    int painted = 0;
    double width = 0, height = 0;
    OnModal([](QWidget* w) { w->close(); });
    app::InstalledPlotPrinter()->Preview([&](DrawSurface& dev) {
      ++painted;
      width = dev.PageWidth();
      height = dev.PageHeight();
    });
    QVERIFY(painted >= 1);
    QVERIFY(width > height && height > 0);
  }

  void thePageSetupDialogBindsToItsPresenter() {
    Form_PageSetup form;
    form.Load(PageSetup{});
    app::PageSetupWindow w(form);
    w.show();
    QCOMPARE(w.ScaleText()->text(), QString("100"));
    QCOMPARE(w.WidthText()->text(), QString("76.3"));
    QVERIFY(w.FullPageBox()->isChecked());
    QVERIFY(!w.LeftText()->isEnabled());
    w.FullPageBox()->setChecked(false);
    QVERIFY(w.LeftText()->isEnabled());

    // A scale out of range: the message, and the dialog stays.
    w.ScaleText()->setText("1000");
    QTest::mouseClick(w.OKButton(), Qt::LeftButton);
    QVERIFY(w.isVisible());
    QCOMPARE(host_->unscripted.size(), size_t(1));
    QCOMPARE(form.Tag, std::string());

    w.ScaleText()->setText("80");
    w.LeftText()->setText("5");
    w.CenterBox()->setChecked(true);
    QTest::mouseClick(w.PreviewButton(), Qt::LeftButton);
    QVERIFY(!w.isVisible());
    QCOMPARE(w.result(), int(QDialog::Accepted));
    QCOMPARE(form.Tag, std::string("Preview"));
    PageSetup s;
    QVERIFY(form.Read(s));
    QCOMPARE(s.scale, 80.0);
    QCOMPARE(s.left, 5.0);
    QVERIFY(!s.useFullPage && s.centerOnPage);

    w.show();
    QTest::mouseClick(w.CancelButton(), Qt::LeftButton);
    QCOMPARE(form.Tag, std::string());
  }

  void fileAndPrintRunsTheDialogThenPrints() {
    app::InstallPlotDialogs(parent_.get());
    const QString path = dir_.filePath("setup.pdf");
    app::InstalledPlotPrinter()->PrintToFile(path);
    OnModal([](QWidget* w) {
      auto* setup = qobject_cast<app::PageSetupWindow*>(w);
      QVERIFY(setup);
      setup->ScaleText()->setText("50");
      QTest::mouseClick(setup->OKButton(), Qt::LeftButton);
    });
    host_->queue.push_back(MsgResult::OK);
    plot_->PrintSetup();
    QCOMPARE(CurrentPageSetup().scale, 50.0);
    QCOMPARE(host_->messages.size(), size_t(1));
    QVERIFY(QFile::exists(path));
  }
};

QTEST_MAIN(TestPlotPrint)
#include "test_plot_print.moc"
