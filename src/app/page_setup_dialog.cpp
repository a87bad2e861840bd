#include "app/page_setup_dialog.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/form_binding.h"

namespace sv::app {

namespace {

std::string S(const QString& s) { return s.toStdString(); }

QLineEdit* NamedLine(const char* name, QWidget* parent) {
  auto* e = new QLineEdit(parent);
  e->setObjectName(name);
  e->setMaximumWidth(90);
  return e;
}

}  // namespace

PageSetupWindow::PageSetupWindow(Form_PageSetup& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_PageSetup");
  setWindowTitle(Q(form.Caption));
  setModal(true);

  scale_ = NamedLine("Text_Scale", this);
  fullPage_ = new QCheckBox("Use &full page", this);
  fullPage_->setObjectName("Check_UseFullPage");
  center_ = new QCheckBox("&Center on page", this);
  center_->setObjectName("Check_CenterOnPage");

  auto* place = new QGroupBox("Layer (% of Page)", this);
  l_ = NamedLine("Text_l", place);
  t_ = NamedLine("Text_t", place);
  w_ = NamedLine("Text_w", place);
  h_ = NamedLine("Text_h", place);
  auto* rect = new QFormLayout(place);
  rect->addRow("&Left:", l_);
  rect->addRow("&Top:", t_);
  rect->addRow("&Width:", w_);
  rect->addRow("&Height:", h_);

  auto* scaleRow = new QFormLayout;
  scaleRow->addRow("&Scale (%):", scale_);

  ok_ = CommandButton(this, "OK", "Command_OK");
  ok_->setDefault(true);
  preview_ = CommandButton(this, "Pre&view", "Command_Preview");
  cancel_ = CommandButton(this, "Cancel", "Command_Cancel");
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(ok_);
  buttons->addWidget(preview_);
  buttons->addWidget(cancel_);

  auto* box = new QVBoxLayout(this);
  box->addLayout(scaleRow);
  box->addWidget(fullPage_);
  box->addWidget(center_);
  box->addWidget(place);
  box->addLayout(buttons);

  connect(fullPage_, &QCheckBox::toggled, this, [this](bool on) {
    form_.Check_UseFullPage = on;
    ShowEnabled();
  });
  connect(ok_, &QPushButton::clicked, this, [this] { End(&Form_PageSetup::Command_OK); });
  connect(preview_, &QPushButton::clicked, this,
          [this] { End(&Form_PageSetup::Command_Preview); });
  connect(cancel_, &QPushButton::clicked, this, &PageSetupWindow::reject);
  LoadValues();
}

void PageSetupWindow::LoadValues() {
  scale_->setText(Q(form_.Text_Scale));
  l_->setText(Q(form_.Text_l));
  t_->setText(Q(form_.Text_t));
  w_->setText(Q(form_.Text_w));
  h_->setText(Q(form_.Text_h));
  fullPage_->setChecked(form_.Check_UseFullPage);
  center_->setChecked(form_.Check_CenterOnPage);
  ShowEnabled();
}

void PageSetupWindow::StoreValues() {
  form_.Text_Scale = S(scale_->text());
  form_.Text_l = S(l_->text());
  form_.Text_t = S(t_->text());
  form_.Text_w = S(w_->text());
  form_.Text_h = S(h_->text());
  form_.Check_UseFullPage = fullPage_->isChecked();
  form_.Check_CenterOnPage = center_->isChecked();
}

void PageSetupWindow::ShowEnabled() {
  const bool on = form_.RectangleEnabled();
  for (QLineEdit* e : {l_, t_, w_, h_}) e->setEnabled(on);
}

void PageSetupWindow::End(void (Form_PageSetup::*command)()) {
  StoreValues();
  (form_.*command)();
  if (!form_.Tag.empty()) QDialog::accept();
}

void PageSetupWindow::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

}  // namespace sv::app
