// The e-gun control (e-Gun -> Parameter): a tool window bound to Form_eGun
// that sets the LEED / RHEED energy by scroll bar or typed value.
#pragma once

#include <QDialog>

#include "hardware/form_egun.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QScrollBar;

namespace sv::app {

class EGunDialog : public QDialog, public Form_eGun::View {
  Q_OBJECT
 public:
  explicit EGunDialog(QWidget* parent = nullptr);
  ~EGunDialog() override;
  Form_eGun& Presenter() { return EGunForm(); }

  // Shows the window at its kept place and loads the present energy.
  void Open();
  void LoadControls();
  void Changed(const Form_eGun&) override { LoadControls(); }

  QLineEdit* EnergyField() const { return energy_; }
  QPushButton* SetButton() const { return set_; }
  QScrollBar* EnergyScroll() const { return scroll_; }
  QLabel* VoltageLabel() const { return voltage_; }

  void reject() override;

 protected:
  void moveEvent(QMoveEvent* e) override;

 private:
  QScrollBar* scroll_;
  QLabel* min_;
  QLabel* max_;
  QLineEdit* energy_;
  QLabel* unit_;
  QPushButton* set_;
  QLineEdit* delay_;
  QCheckBox* on_;
  QRadioButton* modeEnergy_;
  QRadioButton* modeVoltage_;
  QLabel* voltage_;
  QLabel* dac_;
  QLabel* dacNb_;
  QLabel* lambda_;
  bool loading_ = false;
};

}  // namespace sv::app
