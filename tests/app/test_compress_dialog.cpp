// The AVI codec chooser on the offscreen platform: shown by a film that is
// created without options, its codec switch, the field checks, Cancel.

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>

#include "app/compress_dialog.h"
#include "support/queue_host.h"
#include "video/class_sv2avi.h"
#include "video/compress_options.h"

using namespace sv;
using sv::test::QueueHost;

class TestCompressDialog : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<QWidget> window_;

  // Runs `act` on the chooser once it is up.
  void WhenShown(std::function<void(app::CompressDialog&)> act) {
    QTimer::singleShot(0, [act] {
      for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<app::CompressDialog*>(w); d && d->isVisible()) return act(*d);
      QFAIL("no chooser shown");
    });
  }

  bool CreateFilm(const char* name) {
    Class_SV2AVI film;
    std::string path = host_->root + "/" + name;
    long w = 32, h = 16, b = 8;
    float rate = 25;
    const bool ok = film.FileOpen(path, kFilmOpenCreateWrite, &w, &h, &b, &rate, true);
    return ok && film.FileClose();
  }

 private slots:
  void init() {
    host_ = std::make_unique<QueueHost>();
    window_ = std::make_unique<QWidget>();
    ClearCompressOptions();
    app::InstallCompressDialog(window_.get());
  }
  void cleanup() {
    app::RemoveCompressDialog();
    ClearCompressOptions();
    window_.reset();
    host_.reset();
  }

  // The viewing codec picked in the list brings its defaults; OK saves the choice.
  void choosesTheViewCodec() {
    WhenShown([](app::CompressDialog& d) {
      QCOMPARE(d.CodecList()->currentIndex(), 0);
      QCOMPARE(d.KeyFramesField()->text(), QString("1"));
      d.CodecList()->setCurrentIndex(1);
      emit d.CodecList()->activated(1);
      QCOMPARE(d.KeyFramesField()->text(), QString("15"));
      QCOMPARE(d.QualityField()->text(), QString("75"));
      d.QualityField()->setText("60");
      QTest::mouseClick(d.OKButton(), Qt::LeftButton);
    });
    QVERIFY(CreateFilm("view.avi"));
    const auto saved = ReadCompressOptions();
    QVERIFY(saved.has_value());
    QCOMPARE(saved->handler, kCodecView);
    QCOMPARE(saved->quality, 6000u);
  }

  // A bad field keeps the dialog open after a message; Cancel fails the open.
  void badFieldThenCancel() {
    WhenShown([this](app::CompressDialog& d) {
      d.KeyFramesField()->setText("many");
      QTest::mouseClick(d.OKButton(), Qt::LeftButton);
      QVERIFY(d.isVisible());
      QCOMPARE(host_->messages.size(), size_t(1));
      QCOMPARE(host_->messages[0].title, std::string("Video Compression"));
      QTest::mouseClick(d.CancelButton(), Qt::LeftButton);
    });
    QVERIFY(!CreateFilm("cancelled.avi"));
    QVERIFY(!ReadCompressOptions().has_value());
  }
};

QTEST_MAIN(TestCompressDialog)
#include "test_compress_dialog.moc"
