#include "app/image_math_dialogs.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include "app/form_binding.h"

namespace sv::app {

namespace {

// The operations as a column of option buttons.
QGroupBox* OperationBox(QWidget* parent, const std::vector<std::string>& captions, int current,
                        std::vector<QRadioButton*>& buttons, QButtonGroup*& group) {
  auto* box = new QGroupBox("Operation", parent);
  auto* column = new QGridLayout(box);
  group = new QButtonGroup(box);
  for (size_t i = 0; i < captions.size(); ++i) {
    auto* b = new QRadioButton(Q(captions[i]), box);
    b->setObjectName(Indexed("Option_Operation", int(i)));
    group->addButton(b, int(i));
    column->addWidget(b, int(i % 6), int(i / 6));
    buttons.push_back(b);
  }
  if (current >= 0 && current < int(buttons.size())) buttons[size_t(current)]->setChecked(true);
  return box;
}

QPushButton* OkCancel(QDialog* d, QBoxLayout* into) {
  auto* ok = CommandButton(d, "OK", "Command_OK");
  ok->setDefault(true);
  auto* cancel = CommandButton(d, "Cancel", "Command_Cancel");
  into->addStretch();
  into->addWidget(ok);
  into->addWidget(cancel);
  QObject::connect(cancel, &QPushButton::clicked, d, &QDialog::reject);
  return ok;
}

}  // namespace

// --- One image and a constant ---------------------------------------------------------------

ImageMath1Window::ImageMath1Window(Form_ImageMath1& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_ImageMath1");
  setWindowTitle(kImageMathTitle);
  setModal(true);
  input_ = new QComboBox(this);
  input_->setObjectName("Combo_InputImage");
  QButtonGroup* group = nullptr;
  QGroupBox* ops = OperationBox(this, ImageMath1Captions(), form_.Option_Operation, ops_, group);
  constant_ = new QLineEdit(Q(form_.Text_Constant), this);
  constant_->setObjectName("Text_Constant");
  constantLabel_ = new QLabel("C&onstant:", this);
  constantLabel_->setBuddy(constant_);
  const char* names[3] = {"Text_Red", "Text_Green", "Text_Blue"};
  const char* captions[3] = {"&Red:", "&Green:", "&Blue:"};
  const std::string* texts[3] = {&form_.Text_Red, &form_.Text_Green, &form_.Text_Blue};
  auto* values = new QGridLayout;
  values->addWidget(constantLabel_, 0, 0);
  values->addWidget(constant_, 0, 1);
  for (int i = 0; i < 3; ++i) {
    rgb_[i] = new QLineEdit(Q(*texts[i]), this);
    rgb_[i]->setObjectName(names[i]);
    rgbLabels_[i] = new QLabel(captions[i], this);
    rgbLabels_[i]->setBuddy(rgb_[i]);
    values->addWidget(rgbLabels_[i], i + 1, 0);
    values->addWidget(rgb_[i], i + 1, 1);
  }
  clip_ = new QCheckBox("&Clip Intensity values", this);
  clip_->setObjectName("Check_Clip");
  newImage_ = new QCheckBox("Create &New Image", this);
  newImage_->setObjectName("Check_CreateNewImage");

  auto* top = new QHBoxLayout;
  auto* inputLabel = new QLabel("&Image:", this);
  inputLabel->setBuddy(input_);
  top->addWidget(inputLabel);
  top->addWidget(input_, 1);
  auto* buttons = new QHBoxLayout;
  ok_ = OkCancel(this, buttons);
  auto* box = new QVBoxLayout(this);
  box->addLayout(top);
  box->addWidget(ops);
  box->addLayout(values);
  box->addWidget(clip_);
  box->addWidget(newImage_);
  box->addLayout(buttons);

  connect(input_, &QComboBox::activated, this, [this](int i) {
    form_.InputIndex = i;
    form_.Combo_InputImage_Click();
    LoadControls();
  });
  connect(group, &QButtonGroup::idClicked, this, [this](int id) { form_.Option_Operation = id; });
  connect(ok_, &QPushButton::clicked, this, [this] {
    form_.Text_Constant = constant_->text().toStdString();
    form_.Text_Red = rgb_[0]->text().toStdString();
    form_.Text_Green = rgb_[1]->text().toStdString();
    form_.Text_Blue = rgb_[2]->text().toStdString();
    form_.Check_Clip = clip_->isChecked();
    form_.Check_CreateNewImage = newImage_->isChecked();
    if (form_.Command_OK()) accept();
  });
  LoadControls();
}

void ImageMath1Window::LoadControls() {
  Fill(input_, form_.Combo_InputImage, form_.InputIndex);
  constant_->setVisible(form_.ConstantVisible);
  constantLabel_->setVisible(form_.ConstantVisible);
  for (int i = 0; i < 3; ++i) {
    rgb_[i]->setVisible(form_.ColourVisible);
    rgbLabels_[i]->setVisible(form_.ColourVisible);
  }
  SetChecked(clip_, form_.Check_Clip);
  SetChecked(newImage_, form_.Check_CreateNewImage);
}

// --- Two images -----------------------------------------------------------------------------

ImageMath2Window::ImageMath2Window(Form_ImageMath2& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_ImageMath2");
  setWindowTitle(kImageMathTitle);
  setModal(true);
  input1_ = new QComboBox(this);
  input1_->setObjectName("Combo_InputImage1");
  input2_ = new QComboBox(this);
  input2_->setObjectName("Combo_InputImage2");
  swap_ = CommandButton(this, "S&wap", "Command_Swap");
  info_ = new QLabel(this);
  info_->setObjectName("Label_Info");
  output_ = new QLabel(this);
  output_->setObjectName("Label_OutputSize");
  QButtonGroup* group = nullptr;
  QGroupBox* ops = OperationBox(this, ImageMath2Captions(), form_.Option_Operation, ops_, group);
  fade_ = new QScrollBar(Qt::Horizontal, this);
  fade_->setObjectName("HScroll_Fade");
  fade_->setRange(0, 100);
  fade_->setMinimumWidth(120);
  fadeLabel_ = new QLabel(this);
  fadeLabel_->setObjectName("Label_Fade");
  divisor_ = new QLineEdit(Q(form_.Text_Divisor), this);
  divisor_->setObjectName("Text_Divisor");
  bias_ = new QLineEdit(Q(form_.Text_Bias), this);
  bias_->setObjectName("Text_Bias");
  clip_ = new QCheckBox("&Clip Intensity values", this);
  clip_->setObjectName("Check_Clip");
  newImage_ = new QCheckBox("Create &New Image", this);
  newImage_->setObjectName("Check_CreateNewImage");

  auto* sources = new QGridLayout;
  auto* l1 = new QLabel("Image &1:", this);
  l1->setBuddy(input1_);
  auto* l2 = new QLabel("Image &2:", this);
  l2->setBuddy(input2_);
  sources->addWidget(l1, 0, 0);
  sources->addWidget(input1_, 0, 1);
  sources->addWidget(swap_, 0, 2, 2, 1);
  sources->addWidget(l2, 1, 0);
  sources->addWidget(input2_, 1, 1);
  auto* fadeRow = new QHBoxLayout;
  fadeRow->addWidget(fade_, 1);
  fadeRow->addWidget(fadeLabel_);
  auto* values = new QGridLayout;
  auto* dl = new QLabel("D&ivisor:", this);
  dl->setBuddy(divisor_);
  auto* bl = new QLabel("&Bias:", this);
  bl->setBuddy(bias_);
  values->addWidget(dl, 0, 0);
  values->addWidget(divisor_, 0, 1);
  values->addWidget(bl, 1, 0);
  values->addWidget(bias_, 1, 1);
  auto* buttons = new QHBoxLayout;
  ok_ = OkCancel(this, buttons);
  auto* box = new QVBoxLayout(this);
  box->addLayout(sources);
  box->addWidget(info_);
  box->addWidget(ops);
  box->addLayout(fadeRow);
  box->addLayout(values);
  box->addWidget(output_);
  box->addWidget(clip_);
  box->addWidget(newImage_);
  box->addLayout(buttons);

  connect(input1_, &QComboBox::activated, this, [this](int i) {
    form_.Input1 = i;
    form_.Combo_Click();
    LoadControls();
  });
  connect(input2_, &QComboBox::activated, this, [this](int i) {
    form_.Input2 = i;
    form_.Combo_Click();
    LoadControls();
  });
  connect(swap_, &QPushButton::clicked, this, [this] {
    form_.Command_Swap();
    LoadControls();
  });
  connect(group, &QButtonGroup::idClicked, this, [this](int id) {
    form_.Option_Operation = id;
    fade_->setEnabled(form_.FadeEnabled());
  });
  connect(fade_, &QScrollBar::valueChanged, this, [this](int v) {
    if (loading_) return;
    form_.HScroll_Fade = v;
    form_.HScroll_Fade_Change();
    fadeLabel_->setText(Q(form_.Label_Fade));
  });
  connect(ok_, &QPushButton::clicked, this, [this] {
    form_.Text_Divisor = divisor_->text().toStdString();
    form_.Text_Bias = bias_->text().toStdString();
    form_.Check_Clip = clip_->isChecked();
    form_.Check_CreateNewImage = newImage_->isChecked();
    if (form_.Command_OK()) accept();
  });
  LoadControls();
}

void ImageMath2Window::LoadControls() {
  loading_ = true;
  Fill(input1_, form_.Combo_InputImage1, form_.Input1);
  Fill(input2_, form_.Combo_InputImage2, form_.Input2);
  fade_->setValue(form_.HScroll_Fade);
  fade_->setEnabled(form_.FadeEnabled());
  fadeLabel_->setText(Q(form_.Label_Fade));
  info_->setText(Q(form_.Label_Info));
  output_->setText(Q(form_.Label_OutputSize));
  SetChecked(clip_, form_.Check_Clip);
  SetChecked(newImage_, form_.Check_CreateNewImage);
  loading_ = false;
}

// --- Wiring ----------------------------------------------------------------------------------

void InstallImageMathDialogs(MDIForm_Main& main, QWidget* parent) {
  RegisterImageMathCommands(main);
  QPointer<QWidget> owner(parent);
  ImageMath1Dialog() = [owner](Form_ImageMath1& form) {
    ImageMath1Window w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  ImageMath2Dialog() = [owner](Form_ImageMath2& form) {
    ImageMath2Window w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
}

void RemoveImageMathDialogs() {
  ImageMath1Dialog() = nullptr;
  ImageMath2Dialog() = nullptr;
}

}  // namespace sv::app
