// The filter and image arithmetic dialogs in the workbench on the offscreen
// platform: a filter edited and applied from Image > Filter, then undone from
// the Edit menu; two images combined into a new image from Image > Image
// Math (2 Images).
#include <QTimer>

#include <functional>

#include "app/filter_dialogs.h"
#include "app/image_math_dialogs.h"
#include "image/filter_library.h"
#include "workbench_fixture.h"

using namespace sv;
using namespace sv::test_app;

class TestFilterDialogs : public WorkbenchFixture {
  Q_OBJECT

  // Runs `step` on the modal dialog named `name` once it is up.
  static void WhenShown(const QString& name, std::function<void(QDialog*)> step) {
    QTimer::singleShot(0, [name, step] {
      if (auto* d = qobject_cast<QDialog*>(QApplication::activeModalWidget());
          d && d->objectName() == name) {
        step(d);
        return;
      }
      for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<QDialog*>(w); d && d->objectName() == name && d->isVisible()) {
          step(d);
          return;
        }
      QFAIL(qPrintable(name + " did not come up"));
    });
  }

  Form_Camera* Picture(const std::string& title, long w, long h, long bits,
                       std::vector<uint16_t> samples) {
    main_->Click("mnuNewImage");
    Form_Camera* image = ActiveImage();
    if (!image) return nullptr;
    image->CreateImage(w, h, bits, samples.data());
    image->SetTitle(title);
    return image;
  }

 private slots:
  void initTestCase() { SetUpOnce(); }
  void init() {
    SetUpWorkbench();
    host_->programFolder = host_->root;
    app::InstallFilterDialogs(*main_, window_.get());
    app::InstallImageMathDialogs(*main_, window_.get());
  }
  void cleanup() {
    app::RemoveFilterDialogs();
    app::RemoveImageMathDialogs();
    TearDownWorkbench();
  }

  // New filter "Up" through the editor, applied, then Edit > Undo Filter.
  void editApplyAndUndoAFilter() {
    std::vector<uint16_t> samples(25, 0);
    samples[12] = 80;
    Form_Camera* image = Picture("Dot", 5, 5, 8, samples);
    QVERIFY(image);
    main_->PrepareAllMenus();
    QAction* filter = window_->MenuAction("mnuFilter");
    QVERIFY(filter && filter->isEnabled());

    bool edited = false, applied = false;
    WhenShown("Form_Filter", [&](QDialog* d) {
      auto* list = d->findChild<QListWidget*>("List_Filter");
      QCOMPARE(list->count(), 1);
      QCOMPARE(list->item(0)->text(), QString("Sample Blur"));
      WhenShown("Form_EditFilter", [&](QDialog* e) {
        QCOMPARE(e->windowTitle(), QString("Filter"));
        e->findChild<QLineEdit*>("Text_name")->setText("Up");
        // The pixel below moves up: row 4 (below the centre), column 3.
        e->findChild<QLineEdit*>("Text_c(31)")->setText("1");
        auto* bias = e->findChild<QLineEdit*>("Text_Bias");
        bias->clear();
        QTest::keyClicks(bias, "64");
        QCOMPARE(e->findChild<QLabel*>("Label_biasRel")->text(), QString("25 %"));
        QCOMPARE(e->findChild<QLabel*>("Label_Dynamik")->text(), QString("256"));
        QTest::mouseClick(e->findChild<QPushButton*>("Command_OK"), Qt::LeftButton);
        edited = true;
      });
      QTest::mouseClick(d->findChild<QPushButton*>("Command_New"), Qt::LeftButton);
      QCOMPARE(list->count(), 2);
      QCOMPARE(list->currentItem()->text(), QString("Up"));
      QTest::mouseClick(d->findChild<QPushButton*>("Command_Apply"), Qt::LeftButton);
      applied = true;
    });
    filter->trigger();
    QVERIFY(edited);
    QVERIFY(applied);
    // Row 1 now holds the bright pixel of row 2, everything else the bias.
    QCOMPARE(int(image->ImagePtr()[7]), 80 + 64);
    QCOMPARE(int(image->ImagePtr()[12]), 64);
    std::vector<FilterRecord> saved;
    QCOMPARE(ReadFilterLibraryFile(host_->root + "/SV4200.FLT", saved), 0);
    QCOMPARE(saved.size(), size_t(2));

    main_->PrepareAllMenus();
    QAction* undo = window_->MenuAction("mnuUndo");
    QVERIFY(undo && undo->isEnabled());
    QCOMPARE(undo->text(), QString("&Undo Filter"));
    undo->trigger();
    QCOMPARE(int(image->ImagePtr()[12]), 80);
    QCOMPARE(int(image->ImagePtr()[7]), 0);
  }

  // Two images of other sizes and depths added into a new image.
  void imageMathIntoANewImage() {
    Form_Camera* a = Picture("A", 4, 2, 8, {1, 2, 3, 4, 5, 6, 7, 8});
    Form_Camera* b = Picture("B", 2, 1, 12, {160, 160});
    QVERIFY(a && b);
    main_->SetActiveChild(a->Handle());
    main_->PrepareAllMenus();
    QAction* math = window_->MenuAction("mnuImageMath2");
    QVERIFY(math && math->isEnabled());
    bool done = false;
    WhenShown("Form_ImageMath2", [&](QDialog* d) {
      QCOMPARE(d->findChild<QComboBox*>("Combo_InputImage1")->currentText(), QString("A"));
      QCOMPARE(d->findChild<QComboBox*>("Combo_InputImage2")->currentText(), QString("B"));
      QCOMPARE(d->findChild<QLabel*>("Label_Fade")->text(), QString("50 %"));
      QCOMPARE(d->findChild<QLabel*>("Label_OutputSize")->text(), QString("Output Size: 4 x 2"));
      QVERIFY(d->findChild<QLabel*>("Label_Info")->text().contains("2 x 1, 12bpp"));
      // Swapped twice: back as it was.
      auto* swap = d->findChild<QPushButton*>("Command_Swap");
      QTest::mouseClick(swap, Qt::LeftButton);
      QCOMPARE(d->findChild<QComboBox*>("Combo_InputImage1")->currentText(), QString("B"));
      QTest::mouseClick(swap, Qt::LeftButton);
      QTest::mouseClick(d->findChild<QRadioButton*>("Option_Operation(1)"), Qt::LeftButton);
      QVERIFY(!d->findChild<QScrollBar*>("HScroll_Fade")->isEnabled());
      d->findChild<QCheckBox*>("Check_CreateNewImage")->setChecked(true);
      QTest::mouseClick(d->findChild<QPushButton*>("Command_OK"), Qt::LeftButton);
      done = true;
    });
    math->trigger();
    QVERIFY(done);
    Form_Camera* made = ActiveImage();
    QVERIFY(made && made != a && made != b);
    QCOMPARE(QString::fromStdString(made->Title()), QString("Add(\"A\", \"B\")"));
    QCOMPARE(made->ImageWidth(), 4L);
    QCOMPARE(int(made->ImagePtr()[0]), 11);
    QCOMPARE(int(made->ImagePtr()[7]), 18);
    QCOMPARE(int(a->ImagePtr()[0]), 1);
    QVERIFY(window_->ImageWindowFor(made->Handle()));
  }

  // A constant out of range keeps the one-image dialog open after a message.
  void imageMathConstantOutOfRange() {
    Form_Camera* a = Picture("A", 2, 1, 8, {10, 20});
    QVERIFY(a);
    main_->PrepareAllMenus();
    host_->queue.push_back(MsgResult::OK);
    bool done = false;
    WhenShown("Form_ImageMath1", [&](QDialog* d) {
      auto* constant = d->findChild<QLineEdit*>("Text_Constant");
      QVERIFY(constant->isVisibleTo(d));
      QVERIFY(!d->findChild<QLineEdit*>("Text_Red")->isVisibleTo(d));
      constant->setText("300");
      QTest::mouseClick(d->findChild<QPushButton*>("Command_OK"), Qt::LeftButton);
      QVERIFY(d->isVisible());
      constant->setText("5");
      QTest::mouseClick(d->findChild<QPushButton*>("Command_OK"), Qt::LeftButton);
      done = true;
    });
    window_->MenuAction("mnuImageMath1")->trigger();
    QVERIFY(done);
    QCOMPARE(host_->messages.back().text,
             std::string("Enter an integer number in the range of 0 to 255"));
    QCOMPARE(int(a->ImagePtr()[0]), 15);
    QCOMPARE(QString::fromStdString(a->UndoName()), QString("Image Math"));
  }
};

QTEST_MAIN(TestFilterDialogs)
#include "test_filter_dialogs.moc"
