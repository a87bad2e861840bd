#include "app/resize_dialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/form_binding.h"

namespace sv::app {

ResizeImageDialog::ResizeImageDialog(Form_Resize& form, QWidget* parent) : QDialog(parent), form_(form) {
  setObjectName("Form_Resize");
  setWindowTitle("Resize");
  setModal(true);

  auto* group = new QButtonGroup(this);
  auto* sizeBox = new QGroupBox("Size", this);
  auto* grid = new QGridLayout(sizeBox);
  for (int i = 0; i < Form_Resize::kSizeCount; ++i) {
    auto* option = new QRadioButton(Q(Form_Resize::SizeCaption(i)), sizeBox);
    option->setObjectName(Indexed("Option_Size", i));
    group->addButton(option);
    grid->addWidget(option, i / 2, i % 2);
    sizes_[size_t(i)] = option;
  }
  custom_ = new QRadioButton("&Custom size", sizeBox);
  custom_->setObjectName("Option_CustomSize");
  group->addButton(custom_);
  grid->addWidget(custom_, (Form_Resize::kSizeCount + 1) / 2, 0, 1, 2);

  width_ = new QLineEdit(this);
  width_->setObjectName("Text_w");
  height_ = new QLineEdit(this);
  height_->setObjectName("Text_h");
  ratio_ = new QCheckBox("&Keep proportion", this);
  ratio_->setObjectName("Check_Ratio");
  ratioText_ = new QLineEdit(this);
  ratioText_->setObjectName("Text_ratio");
  source_ = new QLabel(this);
  source_->setObjectName("Label_Source");
  source_->setText(QString("Image: %1 x %2").arg(form_.SourceWidth()).arg(form_.SourceHeight()));

  ok_ = new QPushButton("OK", this);
  ok_->setObjectName("Command_OK");
  ok_->setDefault(true);
  cancel_ = CommandButton(this, "Cancel", "Command_Cancel");

  auto* fields = new QFormLayout;
  fields->addRow("&Width:", width_);
  fields->addRow("&Height:", height_);
  fields->addRow(ratio_, ratioText_);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(ok_);
  buttons->addWidget(cancel_);
  auto* box = new QVBoxLayout(this);
  box->addWidget(source_);
  box->addWidget(sizeBox);
  box->addLayout(fields);
  box->addLayout(buttons);

  LoadFields();
  for (int i = 0; i < Form_Resize::kSizeCount; ++i)
    connect(sizes_[size_t(i)], &QRadioButton::clicked, this, [this, i] {
      form_.Option_Size_Click(i);
      LoadFields();
    });
  connect(custom_, &QRadioButton::clicked, this, [this] {
    form_.Option_CustomSize_Click();
    LoadFields();
  });
  connect(width_, &QLineEdit::textEdited, this, [this](const QString& t) {
    form_.Text_w = t.toStdString();
    form_.Text_w_Change();
    LoadFields();
  });
  connect(height_, &QLineEdit::textEdited, this, [this](const QString& t) {
    form_.Text_h = t.toStdString();
    form_.Text_h_Change();
    LoadFields();
  });
  connect(ratioText_, &QLineEdit::textEdited, this, [this](const QString& t) {
    form_.Text_ratio = t.toStdString();
    form_.Text_ratio_Change();
    LoadFields();
  });
  connect(ratio_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    form_.Check_Ratio = on;
    form_.Check_Ratio_Click();
    LoadFields();
  });
  connect(ok_, &QPushButton::clicked, this, &ResizeImageDialog::accept);
  connect(cancel_, &QPushButton::clicked, this, &ResizeImageDialog::reject);
}

void ResizeImageDialog::LoadFields() {
  loading_ = true;
  for (int i = 0; i < Form_Resize::kSizeCount; ++i)
    SetChecked(sizes_[size_t(i)], form_.Option_Size == i);
  SetChecked(custom_, form_.Option_CustomSize);
  SetText(width_, form_.Text_w);
  SetText(height_, form_.Text_h);
  SetChecked(ratio_, form_.Check_Ratio);
  SetText(ratioText_, form_.Text_ratio);
  ratioText_->setEnabled(form_.Check_Ratio);
  loading_ = false;
}

void ResizeImageDialog::accept() {
  form_.Text_w = width_->text().toStdString();
  form_.Text_h = height_->text().toStdString();
  if (form_.Command_OK()) QDialog::accept();
}

void InstallResizeDialog(QWidget* parent) {
  QPointer<QWidget> owner(parent);
  sv::ResizeDialog() = [owner](Form_Resize& form) {
    app::ResizeImageDialog dialog(form, owner);
    return dialog.exec() == QDialog::Accepted;
  };
}

void RemoveResizeDialog() { sv::ResizeDialog() = nullptr; }

}  // namespace sv::app
