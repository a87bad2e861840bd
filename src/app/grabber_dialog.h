// The grabber setup dialog (Setup -> Grabber): the drivers this machine
// knows, bound to the Form_GrabberInterface presenter. OK changes the grabber
// while the workbench runs.
#pragma once

#include <QDialog>

#include "acquisition/form_grabber_interface.h"

class QCheckBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class GrabberDialog : public QDialog {
  Q_OBJECT
 public:
  explicit GrabberDialog(MDIForm_Main& main, QWidget* parent = nullptr);

  Form_GrabberInterface& Presenter() { return form_; }
  QListWidget* DriverList() const { return list_; }
  QCheckBox* ColorBox() const { return colour_; }
  QLabel* InfoLabel() const { return info_; }
  QPushButton* OKButton() const { return ok_; }
  QPushButton* CancelButton() const { return cancel_; }
  // "Camera Setup...": enabled while the chosen row is a driver with a
  // camera setup of its own (the GenICam driver).
  QPushButton* CameraSetupButton() const { return cameraSetup_; }

  // Reloads the controls from the presenter.
  void LoadControls();

  void accept() override;
  void reject() override;

 signals:
  // "Camera Setup..." was pressed.
  void CameraSetupRequested();

 protected:
  void showEvent(QShowEvent*) override;
  void hideEvent(QHideEvent*) override;

 private:
  Form_GrabberInterface form_;
  QListWidget* list_;
  QCheckBox* colour_;
  QLabel* info_;
  QPushButton* ok_;
  QPushButton* cancel_;
  QPushButton* cameraSetup_;
  bool loading_ = false;
};

// Makes the dialog a child of `parent` and the command of mnuGrabberSetup,
// which opens it. Returns the dialog.
GrabberDialog* InstallGrabberDialog(MDIForm_Main& main, QWidget* parent);

}  // namespace sv::app
