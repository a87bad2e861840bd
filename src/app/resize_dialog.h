// The Resize dialog of the image menu, bound to Form_Resize through its
// dialog hook.
#pragma once

#include <QDialog>
#include <array>

#include "image/form_resize.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace sv::app {

class ResizeImageDialog : public QDialog {
  Q_OBJECT
 public:
  explicit ResizeImageDialog(Form_Resize& form, QWidget* parent = nullptr);

  QRadioButton* SizeOption(int index) const { return sizes_[size_t(index)]; }
  QRadioButton* CustomOption() const { return custom_; }
  QLineEdit* WidthField() const { return width_; }
  QLineEdit* HeightField() const { return height_; }
  QCheckBox* RatioBox() const { return ratio_; }
  QLineEdit* RatioField() const { return ratioText_; }
  QPushButton* OKButton() const { return ok_; }
  QPushButton* CancelButton() const { return cancel_; }

  void accept() override;

 private:
  void LoadFields();

  Form_Resize& form_;
  std::array<QRadioButton*, Form_Resize::kSizeCount> sizes_{};
  QRadioButton* custom_;
  QLineEdit* width_;
  QLineEdit* height_;
  QCheckBox* ratio_;
  QLineEdit* ratioText_;
  QLabel* source_;
  QPushButton* ok_;
  QPushButton* cancel_;
  bool loading_ = false;
};

// The dialog is shown modally over `parent` from now on; Remove returns the
// hook to its headless default (cancelled).
void InstallResizeDialog(QWidget* parent);
void RemoveResizeDialog();

}  // namespace sv::app
