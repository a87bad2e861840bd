// The GenICam camera's setup dialog: the camera, exposure time, gain, frame
// rate, pixel format and region, bound to the Form_GenICamSetup presenter.
// It opens from the "Camera Setup..." button of the grabber dialog, which is
// enabled while the GenICam driver is the row chosen there.
#pragma once

#include <QDialog>

#include "acquisition/genicam.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class GenICamDialog : public QDialog {
  Q_OBJECT
 public:
  explicit GenICamDialog(MDIForm_Main& main, QWidget* parent = nullptr);

  Form_GenICamSetup& Presenter() { return form_; }
  QComboBox* CameraBox() const { return camera_; }
  QLineEdit* ExposureText() const { return exposure_; }
  QLineEdit* GainText() const { return gain_; }
  QLineEdit* FrameRateText() const { return frameRate_; }
  QComboBox* PixelFormatBox() const { return pixelFormat_; }
  QLineEdit* XText() const { return x_; }
  QLineEdit* YText() const { return y_; }
  QLineEdit* WidthText() const { return width_; }
  QLineEdit* HeightText() const { return height_; }
  QLabel* BoundsLabel() const { return bounds_; }
  QPushButton* OKButton() const { return ok_; }
  QPushButton* CancelButton() const { return cancel_; }
  QPushButton* ApplyButton() const { return apply_; }

  // Reloads the controls from the presenter.
  void LoadControls();
  // Hands the fields to the presenter and applies them; true when the
  // camera took them.
  bool Apply();

  void accept() override;
  void reject() override;

 protected:
  void showEvent(QShowEvent*) override;
  void hideEvent(QHideEvent*) override;

 private:
  void StoreControls();
  void AfterApply();

  MDIForm_Main& main_;
  Form_GenICamSetup form_;
  QComboBox* camera_;
  QLineEdit* exposure_;
  QLineEdit* gain_;
  QLineEdit* frameRate_;
  QComboBox* pixelFormat_;
  QLineEdit* x_;
  QLineEdit* y_;
  QLineEdit* width_;
  QLineEdit* height_;
  QLabel* bounds_;
  QPushButton* ok_;
  QPushButton* cancel_;
  QPushButton* apply_;
  bool loading_ = false;
};

// Makes the dialog a child of `parent` and hangs it on the "Camera Setup..."
// button of the grabber dialog installed on the same window. Returns the
// dialog.
GenICamDialog* InstallGenICamDialog(MDIForm_Main& main, QWidget* parent);

}  // namespace sv::app
