// The image menu on the offscreen platform: entries by image kind, an
// operation and its undo through the menus, the Resize dialog.

#include <QAction>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <functional>

#include "app/resize_dialog.h"
#include "image/form_resize.h"
#include "menu_press.h"
#include "workbench_fixture.h"

using namespace sv;
using namespace sv::test_app;

class TestImageOps : public WorkbenchFixture {
  Q_OBJECT

  // Runs `act` on the Resize dialog once it is up.
  void WhenShown(std::function<void(app::ResizeImageDialog&)> act) {
    QTimer::singleShot(0, [act] {
      for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<app::ResizeImageDialog*>(w); d && d->isVisible())
          return act(*d);
      QFAIL("no Resize dialog shown");
    });
  }

  QAction* Entry(const char* name, int index = -1) {
    main_->PrepareAllMenus();
    return window_->MenuAction(name, index);
  }

 private slots:
  void initTestCase() { SetUpOnce(); }
  void init() {
    SetUpWorkbench();
    app::InstallResizeDialog(window_.get());
    main_->Click("mnuNewImage");
    QVERIFY(ActiveImage());
  }
  void cleanup() {
    app::RemoveResizeDialog();
    TearDownWorkbench();
  }

  // Grey images offer the grey operations, colour images the colour ones.
  void entriesFollowTheImageKind() {
    QVERIFY(!ActiveImage()->HasColors());
    QVERIFY(Entry("mnuDilatation", 1)->isEnabled());
    QVERIFY(Entry("mnuColorsTrueColor")->isEnabled());
    QVERIFY(!Entry("mnuColorsGreyScale")->isEnabled());
    QVERIFY(!Entry("mnuColorsSplitToRGB")->isEnabled());
    test::PressMenu(*main_, *window_, "mnuColorsTrueColor");
    QVERIFY(ActiveImage()->HasColors());
    QVERIFY(!Entry("mnuDilatation", 1)->isEnabled());
    QVERIFY(!Entry("mnuEdge")->isEnabled());
    QVERIFY(Entry("mnuColorsGreyScale")->isEnabled());
    QVERIFY(Entry("mnuDynamik", 12)->isEnabled());
    QCOMPARE(Entry("mnuUndo")->text(), QString("&Undo True Color"));
  }

  // A turn through its menu entry, and back through Undo: the window follows.
  void rotateAndUndoThroughTheMenus() {
    Form_Camera* image = ActiveImage();
    const long w = image->ImageWidth(), h = image->ImageHeight();
    QAction* left = Entry("mnuRotate", 1);
    QVERIFY(left && left->isEnabled());
    left->trigger();
    QCOMPARE(image->ImageWidth(), h);
    QCOMPARE(image->ImageHeight(), w);
    QVERIFY(image->Changed());
    QVERIFY(window_->ImageWindowFor(image->Handle())->windowTitle().startsWith("*"));
    test::PressMenu(*main_, *window_, "mnuUndo");
    QCOMPARE(image->ImageWidth(), w);
    QCOMPARE(image->ImageHeight(), h);
    QVERIFY(!Entry("mnuUndo")->isEnabled());
  }

  // The picture shows the result at once: the black corner turns white.
  void negativeRedrawsThePicture() {
    const QImage before = GrabPicture();
    QVERIFY(!before.isNull());
    test::PressMenu(*main_, *window_, "mnuNegativeImage");
    const QImage after = GrabPicture();
    QCOMPARE(QString::fromStdString(ActiveImage()->UndoName()), QString("Negative Image"));
    QVERIFY(after.pixelColor(1, 1).lightness() > before.pixelColor(1, 1).lightness() + 200);
  }

  // Duplicate opens a copy in front.
  void duplicateOpensACopy() {
    const std::string title = ActiveImage()->Title();
    test::PressMenu(*main_, *window_, "mnuDuplicate");
    QCOMPARE(QString::fromStdString(ActiveImage()->Title()),
             QString::fromStdString("Copy of " + title));
  }

  // The Resize dialog: the height follows the width, a bad size keeps the
  // dialog open after its message, OK resizes with undo.
  void resizeDialogKeepsTheProportion() {
    Form_Camera* image = ActiveImage();
    const long w = image->ImageWidth(), h = image->ImageHeight();
    bool checked = false;
    WhenShown([&](app::ResizeImageDialog& d) {
      QCOMPARE(d.WidthField()->text(), QString::number(w));
      QVERIFY(d.RatioBox()->isChecked());
      d.WidthField()->clear();
      QTest::keyClicks(d.WidthField(), QString::number(w / 2));
      QCOMPARE(d.HeightField()->text(), QString::number(h / 2));
      d.SizeOption(0)->click();
      QCOMPARE(d.WidthField()->text(), QString("320"));
      QVERIFY(!d.CustomOption()->isChecked());
      d.CustomOption()->click();
      d.RatioBox()->setChecked(false);
      d.HeightField()->setText("0");
      QTest::mouseClick(d.OKButton(), Qt::LeftButton);
      QVERIFY(d.isVisible());
      d.HeightField()->setText("100");
      QTest::mouseClick(d.OKButton(), Qt::LeftButton);
      checked = true;
    });
    test::PressMenu(*main_, *window_, "mnuResize");
    QVERIFY(checked);
    QCOMPARE(image->ImageWidth(), 320L);
    QCOMPARE(image->ImageHeight(), 100L);
    QCOMPARE(QString::fromStdString(image->UndoName()), QString("Resize"));
    QCOMPARE(host_->messages.size(), size_t(1));
    QCOMPARE(QString::fromStdString(host_->messages[0].text),
             QString("Enter an integer number in the range of 1 to 16384"));
    host_->unscripted.clear();
  }

  // Cancel leaves the image as it was.
  void resizeCancelled() {
    Form_Camera* image = ActiveImage();
    const long w = image->ImageWidth();
    WhenShown([](app::ResizeImageDialog& d) { QTest::mouseClick(d.CancelButton(), Qt::LeftButton); });
    test::PressMenu(*main_, *window_, "mnuResize");
    QCOMPARE(image->ImageWidth(), w);
    QCOMPARE(QString::fromStdString(image->UndoName()), QString(""));
  }
};

QTEST_MAIN(TestImageOps)
#include "test_image_ops.moc"
