// The setup dialogs of the devices (Setup -> A/D..., D/A..., I/O...) and
// their hand tests. Each binds to its presenter through its View: the
// presenter decides every value, the dialog shows them and passes the user's
// actions on.
#pragma once

#include <QDialog>
#include <array>

#include "hardware/form_device_setup.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QGroupBox;

namespace sv::app {

class ADSetupDialog : public QDialog, public Form_ADSetup::View {
  Q_OBJECT
 public:
  explicit ADSetupDialog(QWidget* parent = nullptr);
  ~ADSetupDialog() override;
  Form_ADSetup& Presenter() { return ADSetupForm(); }

  QLabel* VoltageLabel(int channel) const { return voltage_[size_t(channel)]; }
  QComboBox* NameCombo() const { return name_; }
  void LoadControls();

  void Changed(const Form_ADSetup&) override { LoadControls(); }
  void Readings(const Form_ADSetup&) override;
  void ShowTest(Form_TestAD& test) override;

  void accept() override;
  void reject() override;

 protected:
  void showEvent(QShowEvent* e) override;

 private:
  QComboBox* name_;
  QComboBox* range_;
  QLineEdit* averaging_;
  QGroupBox* inputMode_;
  QRadioButton* singleEnded_;
  QRadioButton* differential_;
  std::array<QLabel*, kADChannelMax> channel_{};
  std::array<QLineEdit*, kADChannelMax> label_{};
  std::array<QLabel*, kADChannelMax> voltage_{};
  QCheckBox* calibrationOn_;
  QPushButton* calibration_;
  QLabel* calibrationValues_;
  QCheckBox* detector_;
  QComboBox* augerChannel_;
  QRadioButton* showVolts_;
  QRadioButton* showRaw_;
  bool loading_ = false;
};

class DASetupDialog : public QDialog, public Form_DASetup::View {
  Q_OBJECT
 public:
  explicit DASetupDialog(QWidget* parent = nullptr);
  ~DASetupDialog() override;
  Form_DASetup& Presenter() { return DASetupForm(); }
  void LoadControls();

  void Changed(const Form_DASetup&) override { LoadControls(); }
  void ShowCalibration(Form_DACalibration& form) override;
  void ShowLimits(Form_DefineLimits& form) override;
  void ShowTest(Form_TestDA& test) override;

  void accept() override;

 protected:
  void showEvent(QShowEvent* e) override;

 private:
  QComboBox* name_;
  QComboBox* range_;
  QComboBox* channelLEED_;
  QComboBox* channelAUGER_;
  QLabel* rangeLEED_;
  QLabel* rangeAUGER_;
  bool loading_ = false;
};

class IOSetupDialog : public QDialog, public Form_IOSetup::View {
  Q_OBJECT
 public:
  explicit IOSetupDialog(QWidget* parent = nullptr);
  ~IOSetupDialog() override;
  Form_IOSetup& Presenter() { return IOSetupForm(); }
  void LoadControls();

  void Changed(const Form_IOSetup&) override { LoadControls(); }
  void ShowTest(Form_IO_Test& test) override;
  void accept() override;

 protected:
  void showEvent(QShowEvent* e) override;

 private:
  QComboBox* name_;
  bool loading_ = false;
};

}  // namespace sv::app
