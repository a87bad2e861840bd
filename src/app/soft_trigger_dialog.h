// The shutter dialog, bound to Form_SoftTrigger and mnuShutterControl.
#pragma once

#include <QDialog>

#include "experiment/form_soft_trigger.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QSlider;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class SoftTriggerDialog : public QDialog, public Form_SoftTrigger::View {
  Q_OBJECT
 public:
  explicit SoftTriggerDialog(QWidget* parent = nullptr);
  ~SoftTriggerDialog() override;
  Form_SoftTrigger& Presenter() { return SoftTriggerForm(); }

  // Loads the record and shows the dialog; Run waits until it is closed.
  void Open();
  int Run();
  void LoadControls();
  void Changed(const Form_SoftTrigger&) override { LoadControls(); }

  QCheckBox* ShutterCheck() const { return shutter_; }
  QLineEdit* CyclesField() const { return cycles_; }
  QLineEdit* TimeRangeField() const { return range_; }
  QSlider* HystereseSlider() const { return slider_; }
  QRadioButton* SourceOption(int index) const { return source_[index]; }
  QCheckBox* OpenLevelCheck() const { return openLevel_; }
  QLabel* PinLabel() const { return pin_; }
  QPushButton* OKButton() const { return ok_; }
  QPushButton* CancelButton() const { return cancel_; }

  void accept() override;
  void reject() override;

 private:
  QCheckBox* shutter_;
  QLineEdit* cycles_;
  QLineEdit* range_;
  QSlider* slider_;
  QLabel* min_;
  QLabel* max_;
  QLabel* value_;
  QRadioButton* source_[2];
  QCheckBox* openLevel_;
  QLabel* pin_;
  QPushButton* ok_;
  QPushButton* cancel_;
  bool loading_ = false;
};

// Once per main window: mnuShutterControl opens the dialog, and so does the
// experiment's shutter label (waiting until it is closed).
SoftTriggerDialog* InstallSoftTriggerDialog(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
