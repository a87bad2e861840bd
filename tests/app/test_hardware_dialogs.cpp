// The device dialogs on the offscreen platform: the A/D setup's live
// readings of the dummy A/D, and the e-gun moving the dummy grabber's
// simulated spots.

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <cstdlib>
#include <deque>
#include <memory>
#include <vector>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "app/app_environment.h"
#include "app/device_setup_dialog.h"
#include "app/egun_dialog.h"
#include "app/hardware_dialogs.h"
#include "app/main_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "support/queue_host.h"
#include "support/scripted_host.h"
#include "menu_press.h"

using namespace sv;
using sv::test::QueueHost;

class TestHardwareDialogs : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;
  app::HardwareDialogs dialogs_;

  // Presses a menu entry the way the user does.
  void Press(const char* name) { sv::test::PressMenu(*main_, *window_, name); }

  // One frame of the dummy grabber.
  std::vector<uint16_t> Frame() {
    std::vector<uint16_t> frame(size_t(kDummyWidth) * size_t(kDummyHeight));
    if (GrabberReadImage(frame) != 0) frame.clear();
    return frame;
  }

  static double Difference(const std::vector<uint16_t>& a, const std::vector<uint16_t>& b) {
    double sum = 0;
    for (size_t i = 0; i < a.size() && i < b.size(); ++i) sum += std::abs(int(a[i]) - int(b[i]));
    return sum;
  }

 private slots:
  void init() {
    ResetGlobals();
    ResetHardware();
    host_ = std::make_unique<QueueHost>();
    main_ = std::make_unique<MDIForm_Main>();
    SetMainForm(main_.get());
    app::InstallKernelEnvironment();
    InstallHardwareEnvironment();
    window_ = std::make_unique<app::MainWindow>(*main_);
    dialogs_ = app::InstallHardwareDialogs(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
  }

  void cleanup() {
    dialogs_ = {};
    window_.reset();
    GrabberClose();
    GrabberUnload();
    ResetHardware();
    SetMainForm(nullptr);
    main_.reset();
    host_.reset();
  }

  void adSetupShowsTheDummyReadings() {
    std::string name = "DummyAD";
    QVERIFY(ADStart(name));
    G().ADName = name;
    // The dummy's wave runs on the millisecond clock.
    host_->tick = 137;
    Press("mnuADSetup");
    QVERIFY(dialogs_.ad->isVisible());
    QCOMPARE(dialogs_.ad->NameCombo()->currentText(), QString("Dummy A/D"));
    QLabel* reading = dialogs_.ad->VoltageLabel(0);
    QVERIFY(reading->isVisibleTo(dialogs_.ad));
    QStringList seen;
    for (int i = 0; i < 4; ++i) {
      host_->FireTimers();
      seen << reading->text();
      QVERIFY2(reading->text().endsWith(" V"), qPrintable(reading->text()));
    }
    seen.removeDuplicates();
    QVERIFY2(seen.size() > 1, qPrintable(seen.join(", ")));
    // Closed, the readings stop.
    dialogs_.ad->reject();
    QCOMPARE(host_->RunningTimers(), size_t(0));
    QVERIFY(host_->unscripted.empty());
  }

  void eGunMovesTheSimulatedSpots() {
    std::string da = "DummyDA";
    QVERIFY(DAStart(da));
    G().DAName = da;
    InstallGrabberEnvironment();
    QVERIFY(GrabberSelect("DummyGrb"));
    Press("mnuGunParameter");
    app::EGunDialog* egun = dialogs_.egun;
    QVERIFY(egun->isVisible());

    auto setEnergy = [&](const char* eV) {
      egun->EnergyField()->setText(eV);
      QTest::mouseClick(egun->SetButton(), Qt::LeftButton);
    };
    setEnergy("60");
    const auto low = Frame();
    const auto lowAgain = Frame();
    setEnergy("150");
    QCOMPARE(G().ElectronEnergy, 150.0f);
    QCOMPARE(egun->VoltageLabel()->text(), QString("1.500 V"));
    const auto high = Frame();
    QVERIFY(!low.empty() && !high.empty());
    // Noise alone against spots that moved.
    const double noise = Difference(low, lowAgain);
    const double moved = Difference(low, high);
    QVERIFY2(moved > 2 * noise + 1, qPrintable(QString("%1 vs %2").arg(moved).arg(noise)));
    QVERIFY(host_->unscripted.empty());
  }
};

QTEST_MAIN(TestHardwareDialogs)
#include "test_hardware_dialogs.moc"
