// The plot window on the offscreen platform: the kept picture, points added
// during a run without a full redraw, the zoom dragged with the mouse, the
// screen reader's Label_Info, the text window of a tool and File -> Export.

#include <QAction>
#include <QCoreApplication>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <memory>

#include "app/app_environment.h"
#include "app/main_window.h"
#include "app/plot_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "plot/form_plot.h"
#include "plot/plot_dialogs.h"
#include "plot/plot_documents.h"
#include "plot/plot_ticks.h"
#include "dialog_steps.h"
#include "support/queue_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;
using sv::test::QueueHost;

namespace {

bool IsWhite(QRgb c) { return (c & 0xFFFFFF) == 0xFFFFFF; }

// The smallest rectangle holding every pixel that differs between the two.
QRect ChangedPixels(const QImage& a, const QImage& b) {
  QRect r;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x)
      if (a.pixel(x, y) != b.pixel(x, y)) r |= QRect(x, y, 1, 1);
  return r;
}

// Ink within `radius` pixels of (x, y).
bool InkNear(const QImage& image, double x, double y, int radius) {
  const int cx = int(std::lround(x)), cy = int(std::lround(y));
  for (int dy = -radius; dy <= radius; ++dy)
    for (int dx = -radius; dx <= radius; ++dx) {
      const QPoint p(cx + dx, cy + dy);
      if (image.valid(p) && !IsWhite(image.pixel(p))) return true;
    }
  return false;
}

// The number after `key` in a reader's text.
double NumberAfter(const QString& text, const QString& key) {
  const QRegularExpression re(QRegularExpression::escape(key) + R"(\s*(-?[0-9.]+))");
  const QRegularExpressionMatch m = re.match(text);
  return m.hasMatch() ? m.captured(1).toDouble() : std::nan("");
}

}  // namespace

class TestPlotWindow : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;

  Form_Worksheet* NewSheet() {
    main_->Click("mnuNewWorksheet");
    return dynamic_cast<Form_Worksheet*>(main_->ActiveChild());
  }

  // A plot of column B over column A on fixed ranges 0..10 and 0..100, drawn
  // with lines and symbols in red, shown in front and its picture current.
  Form_Plot* ShowPlot(Form_Worksheet* sheet) {
    sheet->Col(2);
    SheetPlot* made = nullptr;
    if (!sheet->NewPlot(made)) return nullptr;
    auto* plot = dynamic_cast<Form_Plot*>(made);
    if (!plot) return nullptr;
    plot->AddCurve();
    plot->CurveXCol(1);
    plot->CurveRecord(0).PlotType = 2;
    plot->CurveRecord(0).Color = 0x0000FF;
    plot->SetXRange(0, 10);
    plot->SetYRange(0, 100);
    main_->ShowChild(plot->Handle());
    app::PlotWindow* pw = Window(plot);
    if (!pw) return nullptr;
    pw->RefreshPicture();
    return plot;
  }

  // A sheet with y = x * x for x = 0 .. 10 and its plot.
  Form_Plot* ParabolaPlot() {
    Form_Worksheet* sheet = NewSheet();
    if (!sheet) return nullptr;
    sheet->Rows(1);
    sheet->Row(0);
    for (int i = 0; i <= 10; ++i) sheet->SetRowData(std::vector<double>{0, double(i), double(i * i)});
    return ShowPlot(sheet);
  }

  app::PlotWindow* Window(Form_Plot* plot) { return window_->PlotWindowFor(plot->Handle()); }

  // A mouse event at a point of the picture (device units).
  static void Mouse(app::PlotWindow* pw, QEvent::Type type, QPointF device,
                    Qt::MouseButton button, Qt::MouseButtons buttons) {
    const QPointF at = device + QPointF(pw->PageRect().topLeft());
    QMouseEvent e(type, at, QPointF(pw->mapToGlobal(at.toPoint())), button, buttons,
                  Qt::NoModifier);
    QCoreApplication::sendEvent(pw, &e);
  }
  static void Drag(app::PlotWindow* pw, QPointF from, QPointF to) {
    Mouse(pw, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    Mouse(pw, QEvent::MouseMove, (from + to) / 2, Qt::NoButton, Qt::LeftButton);
    Mouse(pw, QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
    Mouse(pw, QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
  }
  // Without a size the export draws the printer page at 150 dots per inch.
  static QSize ExpectedExportSize() {
    const PlotPage page = CurrentPlotPage();
    return QSize(int(std::lround(page.widthMm / 25.4 * 150)),
                 int(std::lround(page.heightMm / 25.4 * 150)));
  }
  static QPointF Device(Form_Plot* plot, double x, double y) {
    return QPointF(plot->ScreenX(x), plot->ScreenY(y));
  }

 private slots:
  void init() {
    ResetGlobals();
    host_ = std::make_unique<QueueHost>();
    sv::test::BuildMainWindow(main_, window_, {.hardware = false});
    app::InstallPlotEnvironment(window_.get());
    QVERIFY(sv::Main(*main_, ""));
    QVERIFY(window_->isVisible());
    main_->PrepareAllMenus();
  }

  void cleanup() {
    window_.reset();
    main_.reset();
    sv::test::DropScriptedPlotHost(host_);
  }

  // The picture is the page: drawn by the plot, shown on the desk, and drawn
  // anew at the new size when the window is resized.
  void pictureIsThePageAndFollowsTheSize() {
    Form_Plot* plot = ParabolaPlot();
    QVERIFY(plot);
    app::PlotWindow* pw = Window(plot);
    const QRect page = pw->PageRect();
    QCOMPARE(pw->PictureImage().size(), page.size());
    // The curve passes through its points.
    QVERIFY(InkNear(pw->PictureImage(), plot->ScreenX(5), plot->ScreenY(25), 2));
    QVERIFY(IsWhite(pw->PictureImage().pixel(1, 1)));
    // On the window the picture lies on the page, the desk around it.
    const QImage shot = pw->grab().toImage().convertToFormat(QImage::Format_RGB32);
    QCOMPARE(QColor(shot.pixel(page.topLeft() + QPoint(2, 2))), QColor(Qt::white));
    QCOMPARE(QColor(shot.pixel(1, page.center().y())), QColor(128, 128, 128));
    const QPoint at = page.topLeft() + Device(plot, 5, 25).toPoint();
    QCOMPARE(shot.pixel(at), pw->PictureImage().pixel(Device(plot, 5, 25).toPoint()));

    // A resize waits for the next painting, which draws once at the new size.
    const int draws = pw->Draws();
    QMdiSubWindow* sub = window_->SubWindowFor(plot->Handle());
    sub->resize(sub->width() + 120, sub->height() + 60);
    sub->resize(sub->width() + 40, sub->height() + 20);
    QCOMPARE(pw->Draws(), draws);
    pw->grab();
    QCOMPARE(pw->PictureImage().size(), pw->PageRect().size());
    QVERIFY(pw->PageRect().width() > page.width());
    QCOMPARE(pw->Draws(), draws + 2);  // ClearPlot and Plot
    QVERIFY(InkNear(pw->PictureImage(), plot->ScreenX(5), plot->ScreenY(25), 2));
    pw->grab();
    QCOMPARE(pw->Draws(), draws + 2);
  }

  // A run adds rows one by one and PlotPoint draws each new point: ink at
  // its place, nothing far from the new segment, and no full redraw.
  void plotPointDuringARunDrawsOnlyTheNewPoint() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    sheet->Rows(1);
    sheet->Row(0);
    Form_Plot* plot = ShowPlot(sheet);
    QVERIFY(plot);
    app::PlotWindow* pw = Window(plot);
    const int draws = pw->Draws(), full = pw->FullShows(), part = pw->PartShows();

    QPointF last(-1, -1);
    for (int i = 1; i <= 8; ++i) {
      const float x = float(i), y = float(10 * i + (i % 2) * 7);
      const QImage before = pw->PictureImage();
      sheet->SetRowData(std::vector<float>{0, x, y});
      plot->PlotPoint(0, x, y);
      const QImage after = pw->PictureImage();
      const QPointF p = Device(plot, x, y);
      QVERIFY2(InkNear(after, p.x(), p.y(), 2), qPrintable(QString("point %1").arg(i)));
      QVERIFY(!InkNear(before, p.x(), p.y(), 0) || i > 1);
      const QRect changed = ChangedPixels(before, after);
      QVERIFY(!changed.isEmpty());
      QRectF allowed = QRectF(p, p).adjusted(-12, -12, 12, 12);
      if (i > 1) allowed |= QRectF(last, last).adjusted(-12, -12, 12, 12);
      QVERIFY2(allowed.contains(changed),
               qPrintable(QString("point %1 changed %2,%3 %4x%5").arg(i).arg(changed.x())
                              .arg(changed.y()).arg(changed.width()).arg(changed.height())));
      QCOMPARE(pw->PartShows(), part + i);
      last = p;
    }
    // With two points there is a segment: its middle is inked.
    const QPointF mid = (Device(plot, 3, 37) + Device(plot, 4, 40)) / 2;
    QVERIFY(InkNear(pw->PictureImage(), mid.x(), mid.y(), 2));
    QCOMPARE(pw->Draws(), draws);
    QCOMPARE(pw->FullShows(), full);
  }

  // Zoom from the Tools menu: the rubber band follows the mouse, the axes
  // take the dragged rectangle, and the tool goes back to the cursor. A tiny
  // drag only beeps.
  void zoomByMouseShrinksTheRanges() {
    Form_Plot* plot = ParabolaPlot();
    QVERIFY(plot);
    app::PlotWindow* pw = Window(plot);
    main_->PrepareMenu("mnuTools");
    QAction* zoom = window_->MenuAction("mnuToolZoom");
    QVERIFY(zoom && zoom->isEnabled());
    zoom->trigger();
    QCOMPARE(plot->Tool(), 2L);
    QCOMPARE(pw->cursor().shape(), Qt::CrossCursor);
    QVERIFY(pw->InfoLabel()->isVisible());
    QCOMPARE(pw->InfoLabel()->text(), QString("Zoom"));
    QVERIFY(window_->ToolbarAction("Zoom")->isChecked());

    // Off the round values, so that the rounded ends do not hang on the last bit.
    const QPointF from = Device(plot, 2.3, 78), to = Device(plot, 5.7, 23);
    PlotAxisRecord x = plot->XAxis, y = plot->YAxis;
    x.From = float(plot->UserX(from.x()));
    x.To = float(plot->UserX(to.x()));
    y.From = float(plot->UserY(to.y()));
    y.To = float(plot->UserY(from.y()));
    ComputeTicks(x, TickFlag::All);
    ComputeTicks(y, TickFlag::All);

    const QImage clean = pw->PictureImage();
    Mouse(pw, QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
    // The plot hears the press in picture units.
    QVERIFY(std::abs(plot->ZoomRect[0] - from.x()) < 0.01);
    QVERIFY(std::abs(plot->ZoomRect[1] - from.y()) < 0.01);
    Mouse(pw, QEvent::MouseMove, to, Qt::NoButton, Qt::LeftButton);
    const QImage banded = pw->PictureImage();
    const QRect band = ChangedPixels(clean, banded);
    QVERIFY(!band.isEmpty());
    QVERIFY(std::abs(band.left() - from.x()) <= 2 && std::abs(band.right() - to.x()) <= 2);
    const int draws = pw->Draws();
    Mouse(pw, QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);

    QCOMPARE(plot->XAxis.From, x.From);
    QCOMPARE(plot->XAxis.To, x.To);
    QCOMPARE(plot->YAxis.From, y.From);
    QCOMPARE(plot->YAxis.To, y.To);
    QVERIFY(plot->XAxis.To - plot->XAxis.From < 10);
    QVERIFY(draws < pw->Draws());
    QCOMPARE(plot->Tool(), 1L);
    QCOMPARE(pw->cursor().shape(), Qt::ArrowCursor);
    QVERIFY(!pw->InfoLabel()->isVisible());
    QVERIFY(window_->ToolbarAction("Cursor")->isChecked());
    QVERIFY(!window_->ToolbarAction("Zoom")->isChecked());

    // Four units or less: a beep, the ranges stay, the cursor comes back.
    plot->SetTool(2);
    const PlotAxisRecord keptX = plot->XAxis, keptY = plot->YAxis;
    const int beeps = host_->beeps;
    const QImage zoomed = pw->PictureImage();
    const QPointF a = Device(plot, 4, 30);
    Drag(pw, a, a + QPointF(3, 4));
    QCOMPARE(host_->beeps, beeps + 1);
    QCOMPARE(plot->XAxis.From, keptX.From);
    QCOMPARE(plot->XAxis.To, keptX.To);
    QCOMPARE(plot->YAxis.From, keptY.From);
    QCOMPARE(plot->YAxis.To, keptY.To);
    QCOMPARE(plot->Tool(), 1L);
    // The band is gone from the picture.
    QVERIFY(ChangedPixels(zoomed, pw->PictureImage()).isEmpty());
  }

  // The screen reader writes the mouse's user values to Label_Info while the
  // button is down; the cursor hides the label again.
  void screenReaderFillsLabelInfo() {
    Form_Plot* plot = ParabolaPlot();
    QVERIFY(plot);
    app::PlotWindow* pw = Window(plot);
    main_->PrepareMenu("mnuTools");
    window_->MenuAction("mnuToolScreenReader")->trigger();
    QCOMPARE(plot->Tool(), 3L);
    QCOMPARE(pw->InfoLabel()->text(), QString("Screen Reader"));
    QCOMPARE(pw->cursor().shape(), Qt::CrossCursor);

    Mouse(pw, QEvent::MouseButtonPress, Device(plot, 4, 60), Qt::LeftButton, Qt::LeftButton);
    QString text = pw->InfoLabel()->text();
    QVERIFY2(text.startsWith("x=") && text.contains("; y="), qPrintable(text));
    QVERIFY(std::abs(NumberAfter(text, "x=") - 4) < 0.5);
    QVERIFY(std::abs(NumberAfter(text, "y=") - 60) < 5);
    QCOMPARE(text, QString::fromStdString(plot->LabelInfo()));
    QVERIFY(pw->InfoLabel()->isVisible());
    QCOMPARE(pw->InfoLabel()->pos(), QPoint(2, 2));

    Mouse(pw, QEvent::MouseMove, Device(plot, 7, 30), Qt::NoButton, Qt::LeftButton);
    text = pw->InfoLabel()->text();
    QVERIFY(std::abs(NumberAfter(text, "x=") - 7) < 0.5);
    QVERIFY(std::abs(NumberAfter(text, "y=") - 30) < 5);
    Mouse(pw, QEvent::MouseButtonRelease, Device(plot, 7, 30), Qt::LeftButton, Qt::NoButton);
    // Without the button the reader stays where it was.
    Mouse(pw, QEvent::MouseMove, Device(plot, 2, 90), Qt::NoButton, Qt::NoButton);
    QCOMPARE(pw->InfoLabel()->text(), text);

    main_->PrepareMenu("mnuTools");
    window_->MenuAction("mnuToolCursor")->trigger();
    QCOMPARE(plot->Tool(), 1L);
    QVERIFY(!pw->InfoLabel()->isVisible());
  }

  // Peak integration dragged along the curve: its result opens in a small
  // window of its own, in Arial 10; the next result takes the same window.
  void resultGoesToATextWindow() {
    Form_Plot* plot = ParabolaPlot();
    QVERIFY(plot);
    app::PlotWindow* pw = Window(plot);
    QVERIFY(!pw->ResultWindow());
    plot->SetTool(6);
    QCOMPARE(pw->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(pw->InfoLabel()->text().startsWith("Peak Integrate: "));
    Drag(pw, Device(plot, 3, 9), Device(plot, 7, 49));
    QVERIFY(pw->ResultWindow() && pw->ResultWindow()->isVisible());
    QVERIFY(pw->ResultText()->toPlainText().startsWith("Peak integration of"));
    QVERIFY(pw->ResultText()->toPlainText().contains("Area from zero"));

    plot->View().ShowResult("Peak Integrate", "Area from zero\t12.5\r\nHeight\t3");
    QWidget* result = pw->ResultWindow();
    QVERIFY(result->isWindow());
    QCOMPARE(result->windowTitle(), QString("Peak Integrate"));
    QCOMPARE(pw->ResultText()->toPlainText(), QString("Area from zero\t12.5\nHeight\t3"));
    QVERIFY(pw->ResultText()->isReadOnly());
    QCOMPARE(pw->ResultText()->font().family(), QString("Arial"));
    QCOMPARE(pw->ResultText()->font().pointSize(), 10);
    // The next result takes the same window.
    plot->View().ShowResult("Peak Integrate", "Height\t4");
    QVERIFY(result->isVisible());
    QCOMPARE(pw->ResultWindow(), result);
    QCOMPARE(pw->ResultText()->toPlainText(), QString("Height\t4"));
    // Text beyond ASCII comes through.
    plot->View().SetInfo("\xC3\x85 scan", true);
    QCOMPARE(pw->InfoLabel()->text(), QString::fromUtf8("\xC3\x85 scan"));
  }

  // A double-click near a curve opens the details of that curve.
  void doubleClickOpensTheCurveDetails() {
    Form_Plot* plot = ParabolaPlot();
    QVERIFY(plot);
    app::PlotWindow* pw = Window(plot);
    struct Details : PlotDialogs {
      int shown = 0;
      void ShowPlotDetails(Form_PlotDetails&) override { ++shown; }
    } dialogs;
    SetPlotDialogs(&dialogs);
    Mouse(pw, QEvent::MouseButtonDblClick, Device(plot, 6, 36), Qt::LeftButton, Qt::LeftButton);
    // Off the page nothing happens.
    const QPointF off(-4, -4);
    Mouse(pw, QEvent::MouseButtonDblClick, off, Qt::LeftButton, Qt::LeftButton);
    SetPlotDialogs(nullptr);
    QCOMPARE(dialogs.shown, 1);
  }

  // File -> Export with a PNG name: the file is the plot's picture.
  void exportFromTheMenuWritesAPng() {
    Form_Plot* plot = ParabolaPlot();
    QVERIFY(plot);
    const std::string path = host_->root + "/parabola.png";
    host_->AnswerFile(path);
    main_->PrepareMenu("mnuFile");
    QAction* exp = window_->MenuAction("mnuExport");
    QVERIFY(exp && exp->isEnabled());
    exp->trigger();
    QVERIFY(QFileInfo::exists(QString::fromStdString(path)));
    QImage png(QString::fromStdString(path), "PNG");
    QVERIFY(!png.isNull());
    const QSize expected = ExpectedExportSize();
    QVERIFY2(std::abs(png.width() - expected.width()) <= 1 &&
                 std::abs(png.height() - expected.height()) <= 1,
             qPrintable(QString("%1x%2").arg(png.width()).arg(png.height())));
    // Some ink, and white paper at a corner.
    QVERIFY(IsWhite(png.pixel(1, 1)));
  }
};

QTEST_MAIN(TestPlotWindow)
#include "test_plot_window.moc"
