// The LUT dialog: palette type, display limits and inversion of the image in
// front, bound to the Form_LUT presenter. Non-modal; it follows the active
// image while it is open.
#pragma once

#include <QDialog>

#include "image/form_lut.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;

namespace sv::app {

class LutDialog : public QDialog {
  Q_OBJECT
 public:
  explicit LutDialog(QWidget* parent = nullptr);
  ~LutDialog() override;

  // The image whose table the dialog shows; nullptr for none.
  void Bind(Form_Camera* image);
  Form_Camera* Bound() const { return lut_.Image(); }
  Form_LUT& Presenter() { return lut_; }

  QComboBox* TypeBox() const { return type_; }
  QLineEdit* MinText() const { return minText_; }
  QLineEdit* MaxText() const { return maxText_; }
  QSlider* MinSlider() const { return minSlider_; }
  QSlider* MaxSlider() const { return maxSlider_; }
  QCheckBox* InverseBox() const { return inverse_; }
  QPushButton* ApplyButton() const { return apply_; }

  // Reloads the controls from the presenter.
  void LoadControls();

 protected:
  void showEvent(QShowEvent*) override;
  void hideEvent(QHideEvent*) override;

 private:
  void TextEdited();
  void SliderMoved();

  Form_LUT lut_;
  QLabel* imageName_;
  QComboBox* type_;
  QLineEdit* minText_;
  QLineEdit* maxText_;
  QSlider* minSlider_;
  QSlider* maxSlider_;
  QCheckBox* inverse_;
  QPushButton* apply_;
  bool loading_ = false;
  bool placed_ = false;
};

}  // namespace sv::app
