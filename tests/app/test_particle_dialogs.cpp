// Binarize and the particle window on the offscreen platform: Image >
// Binarize... through its dialog (a bad threshold keeps it open), then
// Image > Particles...: detect, analyze, step, count inside, remove small
// ones, with the pictures drawn.

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>

#include "analysis/form_particle.h"
#include "app/particle_dialogs.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "support/scripted_host.h"

using namespace sv;

class TestParticleDialogs : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<test::ScriptedHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  Form_Camera* image_ = nullptr;

  // Runs `step` on the modal Binarize dialog once it is up.
  static void WhenBinarizeShown(std::function<void(QDialog*)> step) {
    QTimer::singleShot(0, [step] {
      for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<QDialog*>(w); d && d->objectName() == "Form_Binarize" && d->isVisible()) {
          step(d);
          if (d->isVisible()) d->reject();  // a failed step must not hang the test
          return;
        }
      QFAIL("the Binarize dialog did not come up");
    });
  }

  static void Type(QLineEdit* e, const QString& text) {
    e->selectAll();
    QTest::keyClicks(e, text);
  }

  QPushButton* Button(const char* name) {
    QPushButton* b = app::ParticleDialog()->Button(name);
    if (!b) qFatal("no button %s", name);
    return b;
  }

 private slots:
  void init() {
    ResetGlobals();
    host_ = std::make_unique<test::ScriptedHost>();
    main_ = std::make_unique<MDIForm_Main>();
    SetMainForm(main_.get());
    RegisterImageDocuments(*main_);
    main_->Load();
    app::InstallParticleDialogs(*main_, nullptr);
    // 40 x 30, 8 bits: a block of 90 (8 x 6 at (3, 3)) and one of 40 (4 x 4
    // at (20, 10)) on 10; only a threshold below 40 keeps both.
    std::vector<uint16_t> px(40 * 30, 10);
    for (int y = 3; y < 9; ++y)
      for (int x = 3; x < 11; ++x) px[size_t(y * 40 + x)] = 90;
    for (int y = 10; y < 14; ++y)
      for (int x = 20; x < 24; ++x) px[size_t(y * 40 + x)] = 40;
    image_ = NewImage(*main_);
    image_->CreateImage(40, 30, 8, px.data());
    image_->SetTitle("Spots");
    main_->ShowChild(image_->Handle());
  }

  void cleanup() {
    app::RemoveParticleDialogs();
    ParticleForm().Bind(nullptr);
    SetMainForm(nullptr);
    main_.reset();
    host_.reset();
  }

  void binarizeThroughTheDialog() {
    main_->PrepareAllMenus();
    QVERIFY(main_->FindMenu("mnuBinarize")->enabled);
    bool checked = false;
    WhenBinarizeShown([this, &checked](QDialog* d) {
      auto* text = d->findChild<QLineEdit*>("Text_Threshold");
      auto* scroll = d->findChild<QScrollBar*>("HScroll_Threshold");
      QVERIFY(text && scroll);
      QCOMPARE(text->text(), QString("128"));
      QCOMPARE(d->findChild<QLabel*>("Label_Range")->text(), QString("(0 - 255)"));
      Type(text, "999");
      QCOMPARE(scroll->value(), 99);  // "999" is invalid: the bar stays at "99"
      host_->Answer(MsgResult::OK);
      d->findChild<QPushButton*>("Command_OK")->click();
      QVERIFY(d->isVisible());
      QCOMPARE(host_->messages.back().text, std::string("Enter an integer number in the range of 0 to 255"));
      Type(text, "30");
      QCOMPARE(scroll->value(), 30);
      scroll->setValue(31);
      QCOMPARE(text->text(), QString("31"));
      Type(text, "30");
      checked = true;
      d->findChild<QPushButton*>("Command_OK")->click();
    });
    main_->Click("mnuBinarize");
    QVERIFY(checked);
    QCOMPARE(image_->UndoName(), std::string("Binarize"));
    QCOMPARE(int(image_->ImagePtr()[10 * 40 + 20]), 255);
    QCOMPARE(int(image_->ImagePtr()[3 * 40 + 3]), 255);
    QCOMPARE(int(image_->ImagePtr()[0]), 0);
  }

  void detectStepAnalyzeAndCountInside() {
    BinarizeDo(*image_, 30);
    main_->PrepareAllMenus();
    QVERIFY(main_->FindMenu("mnuParticles")->enabled);
    main_->Click("mnuParticles");
    app::ParticleWindow* w = app::ParticleDialog();
    QVERIFY(w && w->isVisible());
    QCOMPARE(w->windowTitle(), QString("Spots - 40 x 30 Pixel"));
    QVERIFY(!Button("Command_Analyze")->isEnabled());

    Button("Command_Detect")->click();
    // Each block gives nested rings: 8 x 6, 6 x 4, 4 x 2; 4 x 4, 2 x 2.
    QCOMPARE(ParticleForm().Count(), 5L);
    QVERIFY(image_->HasParticle);
    QVERIFY(image_->Overlay.ItemCount() > 0);
    QCOMPARE(host_->status.back(), std::string("5 Particles"));
    QCOMPARE(w->ParticleText()->text(), QString("1"));

    Button("Command_Analyze")->click();
    QCOMPARE(w->Info()->text(), QString::fromUtf8("Area = 38 Pixel² (23 Pixel)"));
    QVERIFY(!w->CutOutPicture()->pixmap().isNull());
    QCOMPARE(w->CutOutPicture()->pixmap().width() % 8, 0);  // whole pixels of the 8 wide box
    QVERIFY(!w->ResultPicture()->grab().isNull());

    Button("Command_Next")->click();
    QCOMPARE(w->ParticleText()->text(), QString("2"));
    QCOMPARE(w->Info()->text(), QString::fromUtf8("Area = 19 Pixel² (15 Pixel)"));
    Button("Command_Back")->click();
    QCOMPARE(w->ParticleText()->text(), QString("1"));
    Button("Command_Inside")->click();
    QCOMPARE(w->Info()->text(), QString("2 Particles are inside of Particle #1"));

    Type(w->ParticleText(), "9");
    host_->Answer(MsgResult::OK);
    Button("Command_Analyze")->click();
    QCOMPARE(host_->messages.back().text, std::string("Invalid Particle Number"));

    Type(w->MinSizeText(), "20");
    Button("Command_Remove")->click();
    QCOMPARE(w->Info()->text(), QString("3 partciles removed."));
    QCOMPARE(ParticleForm().Count(), 2L);

    // Closing keeps the particles; the menu brings them back on that image.
    w->close();
    main_->Click("mnuParticles");
    QCOMPARE(ParticleForm().Count(), 2L);
  }
};

QTEST_MAIN(TestParticleDialogs)
#include "test_particle_dialogs.moc"
