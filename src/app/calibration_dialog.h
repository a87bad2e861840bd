// The D/A calibration dialog (the line between D/A volts and energy, drawn
// in Picture_Cal) and the two-value limits dialog, each bound to its
// presenter. Both run modal from the D/A setup.
#pragma once

#include <QDialog>
#include <QWidget>
#include <array>

#include "hardware/form_calibration.h"

class QLabel;
class QLineEdit;
class QRadioButton;

namespace sv::app {

// Draws the calibration line: energy across, volts up, with the label.
class CalibrationPicture : public QWidget {
  Q_OBJECT
 public:
  explicit CalibrationPicture(QWidget* parent = nullptr);
  void SetLine(const Form_DACalibration::Picture& line);
  const Form_DACalibration::Picture& Line() const { return line_; }
  QSize sizeHint() const override { return {360, 200}; }

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  Form_DACalibration::Picture line_;
};

class DACalibrationDialog : public QDialog, public Form_DACalibration::View {
  Q_OBJECT
 public:
  DACalibrationDialog(Form_DACalibration& form, QWidget* parent = nullptr);
  ~DACalibrationDialog() override;
  void LoadControls();
  void Changed(const Form_DACalibration&) override { LoadControls(); }
  CalibrationPicture* Picture() const { return picture_; }

  void accept() override;
  void reject() override;

 private:
  // The fields' texts into the presenter.
  void Take();
  Form_DACalibration& form_;
  QLineEdit* offset_;
  QLineEdit* gain_;
  std::array<QLineEdit*, 2> energy_{};
  std::array<QLineEdit*, 2> voltage_{};
  QRadioButton* voltageFixed_;
  QRadioButton* energyFixed_;
  CalibrationPicture* picture_;
  bool loading_ = false;
};

class DefineLimitsDialog : public QDialog {
  Q_OBJECT
 public:
  DefineLimitsDialog(Form_DefineLimits& form, QWidget* parent = nullptr);
  void accept() override;
  void reject() override;

 private:
  Form_DefineLimits& form_;
  QLineEdit* min_;
  QLineEdit* max_;
};

}  // namespace sv::app
