// The Auger dialog on the offscreen platform: a ramp of one sweep typed in,
// two iterations run on the Dummy D/A and AD_Simulator, the spectrum in the
// sheet and its plot growing point by point, the buttons during and after.

#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <fstream>
#include <memory>

#include "app/app_environment.h"
#include "app/auger_dialog.h"
#include "app/main_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "experiment/form_auger.h"
#include "hardware/aes_simulator.h"
#include "hardware/hardware.h"
#include "dialog_steps.h"
#include "menu_press.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "support/queue_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

using namespace sv;
using sv::test::QueueHost;

class TestAugerDialog : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<QueueHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  std::unique_ptr<app::MainWindow> window_;
  QTemporaryDir dir_;

  QDialog* Dialog() { return window_->findChild<QDialog*>("Form_Auger"); }
  template <typename T>
  T* Child(const char* name) {
    return sv::test::DialogChild<T>(*window_, "Form_Auger", name);
  }
  void Type(const char* field, const QString& text) {
    sv::test::TypeInto(Child<QLineEdit>(field), text, field);
  }
  void Click(const char* name) {
    sv::test::ClickButton(Child<QPushButton>(name), name);
  }

  void SetUp() {
    ResetGlobals();
    ResetHardware();
    host_ = std::make_unique<QueueHost>();
    host_->tick = 1;
    sv::test::BuildMainWindow(main_, window_, {});
    app::InstallAugerDialog(*main_, window_.get());
    QVERIFY(sv::Main(*main_, ""));
    // A spectrum rising by 1 mV per eV from 0 to 2000 eV.
    const std::string spectrum = dir_.filePath("spectrum.txt").toStdString();
    {
      std::ofstream out(spectrum);
      for (int e = 0; e <= 2000; e += 10) out << e << "," << e * 0.001 << "\n";
    }
    AESSpectrumFile() = spectrum;
    G().MinEnergyAUGER = 5;
    G().MaxEnergyAUGER = 1000;
    std::string da = "DummyDA", ad = "AD_Simulator";
    QVERIFY(DAStart(da));
    QVERIFY(ADStart(ad));
    main_->PrepareAllMenus();
  }

 private slots:
  void cleanup() {
    window_.reset();
    ResetHardware();
    AESSpectrumFile().clear();
    Environment() = StartupEnvironment();
    ClearSettingsSections();
    sv::test::DropMainForm(main_, host_);
  }

  void twoIterationsGrowThePlot() {
    QVERIFY(dir_.isValid());
    SetUp();
    if (QTest::currentTestFailed()) return;
    sv::test::PressMenu(*main_, *window_, "mnuAuger");
    QVERIFY(Dialog() && Dialog()->isVisible());
    QCOMPARE(Dialog()->windowTitle(), QString("Auger - [(default)]"));

    // 100 .. 140 eV by 10: five points, two passes.
    Type("Text_Start", "100");
    Type("Text_Stop", "140");
    Type("Text_Step", "10");
    Type("Text_IntTime", "0.003");
    Click("Command_New");
    QCOMPARE(Child<QListWidget>("List_Sweep")->count(), 1);
    Type("Text_Iterations", "2");
    Click("Command_Accept");
    QVERIFY(Child<QLabel>("Label_Status")->text().startsWith("Total Scan Time = "));
    QVERIFY(!Child<QPushButton>("Command_Continue")->isEnabled());

    // While the scan runs the plot takes the first pass point by point, the
    // ramp and the checks are closed, and Stop and Abort are open.
    Form_Auger& f = AugerForm();
    std::vector<size_t> points;
    bool runningStates = true;
    auto view = f.OnChanged;
    f.OnChanged = [&] {
      view();
      if (!f.Running()) return;
      runningStates = runningStates && Child<QPushButton>("Command_Stop")->isEnabled() &&
                      !Child<QPushButton>("Command_Start")->isEnabled() &&
                      !Child<QCheckBox>("Check_ReverseScaling")->isEnabled();
      if (Form_Plot* plot = f.Plot(); plot && f.Scan() && f.Scan()->Iteration() == 0)
        points.push_back(static_cast<size_t>(f.Scan()->Row()));
    };
    Click("Command_Start");
    f.OnChanged = view;
    QVERIFY(runningStates);
    QVERIFY(!points.empty());
    QVERIFY(points.back() > points.front());  // grew during the first pass
    QVERIFY(!f.Running());
    QVERIFY(Child<QPushButton>("Command_Start")->isEnabled());
    QVERIFY(!Child<QPushButton>("Command_Abort")->isEnabled());
    QVERIFY(Child<QCheckBox>("Check_ReverseScaling")->isEnabled());
    QCOMPARE(f.Scan()->Iteration(), 2);
    QVERIFY(Child<QLabel>("Label_Status")->text().endsWith(" s"));

    // The sheet holds the spectrum averaged over both passes; the plot its curve.
    Form_Worksheet* sheet = f.Worksheet();
    QVERIFY(sheet);
    QVERIFY(main_->Child(sheet->Handle()) == sheet);
    for (long row = 1; row <= 5; ++row) {
      double x = 0, y = 0;
      QVERIFY(sheet->NumberAt(row, 1, x));
      QVERIFY(sheet->NumberAt(row, 2, y));
      QCOMPARE(x, 90.0 + 10 * row);
      QVERIFY(std::abs(y - 0.001 * (90 + 10 * row + 10)) < 1e-4);  // the next tabulated row
    }
    Form_Plot* plot = f.Plot();
    QVERIFY(plot);
    QCOMPARE(plot->XLabelText(), std::string("energy (eV)"));
    QCOMPARE(plot->YLabelText(), std::string("AES (V/eV)"));
    QVERIFY(host_->unscripted.empty());
  }
};

QTEST_MAIN(TestAugerDialog)
#include "test_auger_dialog.moc"
