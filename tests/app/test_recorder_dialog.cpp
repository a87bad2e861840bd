// The image recorder from its dialog on the offscreen platform, with the
// dummy grabber: an I(E) sweep into a film, the record count and the film's
// size in the dialog, a second run appended after its question, and the film
// read back frame by frame with its numbers.

#include <QButtonGroup>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/scan_windows.h"
#include "app/app_environment.h"
#include "app/image_vtr_dialog.h"
#include "app/main_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "experiment/experiment_settings.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "worksheet/sheet_plot.h"
#include "dialog_steps.h"
#include "menu_press.h"
#include "plot/plot_documents.h"
#include "support/queue_host.h"
#include "video/form_image_vtr.h"
#include "video/video_file.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;
using sv::test::QueueHost;

class TestRecorderDialog : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;
  QTemporaryDir dir_;

  QDialog* Dialog() { return window_->findChild<QDialog*>("Form_ImageVTR"); }
  template <typename T>
  T* Child(const char* name) {
    return sv::test::DialogChild<T>(*window_, "Form_ImageVTR", name);
  }
  void Type(const char* field, const QString& text) {
    QLineEdit* e = Child<QLineEdit>(field);
    sv::test::TypeInto(e, text, field);
    if (e) emit e->editingFinished();
  }
  QString Film() const { return dir_.filePath("sweep.vid"); }

  void SetUp() {
    ResetGlobals();
    ResetHardware();
    ResetWindowGlobals();
    ResetExperimentSettings();
    host_ = std::make_unique<QueueHost>();
    host_->tick = 1;
    sv::test::BuildMainWindow(main_, window_, {.images = true});
    app::InstallImageVTRDialog(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
    sv::test::StartDummyGrabber(*main_);
    if (QTest::currentTestFailed()) return;
    main_->PrepareAllMenus();
  }

  // An I(E) sweep from 50 to 60 eV in steps of 2: six records.
  void DefineSweep() {
    sv::test::PressMenu(*main_, *window_, "mnuImageVTR");
    QVERIFY(Dialog() && Dialog()->isVisible());
    QRadioButton* ie = Child<QRadioButton>("Option_Experiment(1)");
    QTest::mouseClick(ie, Qt::LeftButton, {}, QPoint(6, ie->height() / 2));
    QVERIFY(ie->isChecked());
    Type("Text_EStart", "50");
    Type("Text_EStop", "60");
    Type("Text_EStep", "2");
    Type("Text_File", Film());
    QTest::mouseClick(Child<QPushButton>("Command_Accept"), Qt::LeftButton);
    QVERIFY(Child<QPushButton>("Command_Start")->isEnabled());
  }

 private slots:
  void cleanup() {
    if (ImageVTRForm().Visible()) ImageVTRForm().Unload();
    GrabberClose();
    GrabberUnload();
    sv::test::DropGrabberWorkbench(window_, main_, host_);
  }

  void sweepRecordsThenAppends() {
    QVERIFY(dir_.isValid());
    SetUp();
    if (QTest::currentTestFailed()) return;
    DefineSweep();
    if (QTest::currentTestFailed()) return;
    QTest::mouseClick(Child<QPushButton>("Command_Start"), Qt::LeftButton);
    QVERIFY(!ImageVTRForm().Running());
    QCOMPARE(Child<QLineEdit>("Text_Records")->text(), QString("6 Records"));
    QVERIFY(Child<QPushButton>("Command_Start")->isEnabled());
    QVERIFY(!Child<QPushButton>("Command_Stop")->isEnabled());

    // The same format again: appended once the question says Yes.
    host_->queue.push_back(MsgResult::Yes);
    QTest::mouseClick(Child<QPushButton>("Command_Start"), Qt::LeftButton);
    QVERIFY(!host_->messages.empty());
    QCOMPARE(QString::fromStdString(host_->messages.back().text),
             QString("Append Video to existing Video File?"));
    QVERIFY(host_->unscripted.empty());
    QCOMPARE(ImageVTRForm().Label_FilmFrames, std::string(" (12 frames)"));

    std::unique_ptr<VideoFile> film = NewVideoFile(false);
    std::string name = Film().toStdString();
    QVERIFY(film->FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false));
    QCOMPARE(film->Samples(), 12L);
    QCOMPARE(film->Width(), long(kDummyWidth));
    QCOMPARE(film->ColLabel(0), std::string("energy (eV)"));
    std::vector<uint8_t> frame(film->FrameSize());
    uint32_t got = 0;
    // Frames 0 and 6 begin their sweeps at 50 eV; frame 11 ends one at 60.
    for (auto [index, energy] : {std::pair{0u, 50.0f}, {6u, 50.0f}, {11u, 60.0f}}) {
      QVERIFY(film->ReadFrame(index, frame.data(), got));
      QCOMPARE(got, film->FrameSize());
      QCOMPARE(film->ColData(0), energy);
    }
    film->FileClose();
  }
};

QTEST_MAIN(TestRecorderDialog)
#include "test_recorder_dialog.moc"
