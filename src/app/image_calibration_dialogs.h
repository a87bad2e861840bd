// The length calibration and intensity calibration dialogs, on the Setup
// menu and on the window and line tools' Calibration buttons.
#pragma once

#include <QDialog>

#include "analysis/form_calibration_length.h"
#include "analysis/form_zcalibration.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class LengthCalibrationDialog : public QDialog {
  Q_OBJECT
 public:
  LengthCalibrationDialog(Form_CalibrationLength& form, QWidget* parent = nullptr);
  void accept() override;

 private:
  void Take();
  void LoadControls();
  Form_CalibrationLength& form_;
  QCheckBox* enabled_;
  QLineEdit *pixels_, *length_, *unit_, *ratio_;
};

class ZCalibrationDialog : public QDialog, public Form_ZCalibration::View {
  Q_OBJECT
 public:
  ZCalibrationDialog(Form_ZCalibration& form, QWidget* parent = nullptr);
  ~ZCalibrationDialog() override;
  void Changed(const Form_ZCalibration&) override { LoadControls(); }
  void accept() override;

 private:
  void LoadControls();
  Form_ZCalibration& form_;
  QCheckBox* enabled_;
  QLabel *file_, *name_, *count_;
  QPushButton *new_, *open_, *sheet_;
};

// The Setup menu's two entries and the dialogs behind them and behind the
// tools' buttons; once per main window.
void InstallCalibrationDialogs(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
