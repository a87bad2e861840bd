// The image arithmetic dialogs, bound to Form_ImageMath1 (one image and a
// constant) and Form_ImageMath2 (two images); "mnuImageMath1" and
// "mnuImageMath2" open them.
#pragma once

#include <QDialog>
#include <vector>

#include "image/form_image_math.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QScrollBar;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class ImageMath1Window : public QDialog {
  Q_OBJECT
 public:
  ImageMath1Window(Form_ImageMath1& form, QWidget* parent = nullptr);
  QComboBox* InputBox() const { return input_; }
  QRadioButton* Operation(int i) const { return ops_[size_t(i)]; }
  QLineEdit* ConstantField() const { return constant_; }
  QLineEdit* ColourField(int i) const { return rgb_[i]; }
  QCheckBox* ClipBox() const { return clip_; }
  QCheckBox* NewImageBox() const { return newImage_; }
  QPushButton* OKButton() const { return ok_; }

 private:
  void LoadControls();
  Form_ImageMath1& form_;
  QComboBox* input_;
  std::vector<QRadioButton*> ops_;
  QLineEdit* constant_;
  QLineEdit* rgb_[3];
  QLabel* constantLabel_;
  QLabel* rgbLabels_[3];
  QCheckBox *clip_, *newImage_;
  QPushButton* ok_;
};

class ImageMath2Window : public QDialog {
  Q_OBJECT
 public:
  ImageMath2Window(Form_ImageMath2& form, QWidget* parent = nullptr);
  QComboBox* InputBox1() const { return input1_; }
  QComboBox* InputBox2() const { return input2_; }
  QRadioButton* Operation(int i) const { return ops_[size_t(i)]; }
  QLineEdit* DivisorField() const { return divisor_; }
  QLineEdit* BiasField() const { return bias_; }
  QScrollBar* FadeBar() const { return fade_; }
  QLabel* FadeLabel() const { return fadeLabel_; }
  QLabel* InfoLabel() const { return info_; }
  QLabel* OutputSizeLabel() const { return output_; }
  QCheckBox* ClipBox() const { return clip_; }
  QCheckBox* NewImageBox() const { return newImage_; }
  QPushButton* SwapButton() const { return swap_; }
  QPushButton* OKButton() const { return ok_; }

 private:
  void LoadControls();
  Form_ImageMath2& form_;
  QComboBox *input1_, *input2_;
  std::vector<QRadioButton*> ops_;
  QLineEdit *divisor_, *bias_;
  QScrollBar* fade_;
  QLabel *fadeLabel_, *info_, *output_;
  QCheckBox *clip_, *newImage_;
  QPushButton *swap_, *ok_;
  bool loading_ = false;
};

// Registers the two commands and shows the dialogs over `parent`.
void InstallImageMathDialogs(MDIForm_Main& main, QWidget* parent);
void RemoveImageMathDialogs();

}  // namespace sv::app
