#include "app/filter_dialogs.h"

#include <QApplication>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/form_binding.h"

namespace sv::app {

// --- The library -----------------------------------------------------------------------------

FilterWindow::FilterWindow(Form_Filter& form, QWidget* parent) : QDialog(parent), form_(form) {
  setObjectName("Form_Filter");
  setWindowTitle(Form_Filter::kTitle);
  setModal(true);
  list_ = new QListWidget(this);
  list_->setObjectName("List_Filter");
  list_->setMinimumWidth(220);
  apply_ = CommandButton(this, "&Apply", "Command_Apply");
  apply_->setDefault(true);
  new_ = CommandButton(this, "&New...", "Command_New");
  edit_ = CommandButton(this, "&Edit...", "Command_Edit");
  delete_ = CommandButton(this, "&Delete", "Command_Delete");
  cancel_ = CommandButton(this, "Cancel", "Command_Cancel");

  auto* buttons = new QVBoxLayout;
  for (QPushButton* b : {apply_, new_, edit_, delete_}) buttons->addWidget(b);
  buttons->addStretch();
  buttons->addWidget(cancel_);
  auto* box = new QHBoxLayout(this);
  box->addWidget(list_);
  box->addLayout(buttons);

  connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (row >= 0) form_.ListIndex = row;
  });
  connect(list_, &QListWidget::itemDoubleClicked, this, [this] { apply_->click(); });
  connect(apply_, &QPushButton::clicked, this, [this] {
    if (form_.Command_Apply()) accept();
  });
  connect(new_, &QPushButton::clicked, this, [this] {
    form_.Command_New();
    LoadControls();
  });
  connect(edit_, &QPushButton::clicked, this, [this] {
    form_.Command_Edit();
    LoadControls();
  });
  connect(delete_, &QPushButton::clicked, this, [this] {
    form_.Command_Delete();
    LoadControls();
  });
  connect(cancel_, &QPushButton::clicked, this, [this] {
    form_.Command_Cancel();
    reject();
  });
  LoadControls();
}

void FilterWindow::LoadControls() {
  QStringList names;
  for (const std::string& n : form_.List_Filter) names << Q(n);
  const int index = form_.ListIndex;
  list_->blockSignals(true);
  list_->clear();
  list_->addItems(names);
  list_->setCurrentRow(index);
  list_->blockSignals(false);
  const bool chosen = index >= 0 && index < form_.Count();
  apply_->setEnabled(chosen && form_.ImageForm != nullptr);
  edit_->setEnabled(chosen);
  delete_->setEnabled(chosen);
}

// --- The editor ------------------------------------------------------------------------------

EditFilterWindow::EditFilterWindow(Form_EditFilter& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_EditFilter");
  setWindowTitle(Form_EditFilter::kTitle);
  setModal(true);
  name_ = new QLineEdit(Q(form_.Text_name), this);
  name_->setObjectName("Text_name");
  name_->setMaxLength(24);
  auto* grid = new QGridLayout;
  for (int i = 0; i < 49; ++i) {
    c_[i] = new QLineEdit(Q(form_.Text_c[size_t(i)]), this);
    c_[i]->setObjectName(Indexed("Text_c", i));
    c_[i]->setMaximumWidth(48);
    c_[i]->setAlignment(Qt::AlignRight);
    grid->addWidget(c_[i], i / 7, i % 7);
  }
  factor_ = new QLineEdit(Q(form_.Text_factor), this);
  factor_->setObjectName("Text_factor");
  bias_ = new QLineEdit(Q(form_.Text_Bias), this);
  bias_->setObjectName("Text_Bias");
  biasRel_ = new QLabel(Q(form_.Label_biasRel), this);
  biasRel_->setObjectName("Label_biasRel");
  dynamik_ = new QLabel(Q(form_.Label_Dynamik), this);
  dynamik_->setObjectName("Label_Dynamik");

  auto* fields = new QGridLayout;
  auto* nameLabel = new QLabel("&Name:", this);
  nameLabel->setBuddy(name_);
  fields->addWidget(nameLabel, 0, 0);
  fields->addWidget(name_, 0, 1, 1, 3);
  auto* factorLabel = new QLabel("Division &factor:", this);
  factorLabel->setBuddy(factor_);
  fields->addWidget(factorLabel, 1, 0);
  fields->addWidget(factor_, 1, 1);
  auto* biasLabel = new QLabel("&Bias:", this);
  biasLabel->setBuddy(bias_);
  fields->addWidget(biasLabel, 2, 0);
  fields->addWidget(bias_, 2, 1);
  fields->addWidget(biasRel_, 2, 2);
  fields->addWidget(new QLabel("of", this), 2, 3);
  fields->addWidget(dynamik_, 2, 4);

  ok_ = CommandButton(this, "OK", "Command_OK");
  ok_->setDefault(true);
  QPushButton* cancel = CommandButton(this, "Cancel", "Command_Cancel");
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(ok_);
  buttons->addWidget(cancel);

  auto* box = new QVBoxLayout(this);
  box->addLayout(fields);
  box->addLayout(grid);
  box->addLayout(buttons);

  connect(bias_, &QLineEdit::textEdited, this, [this] {
    form_.Text_Bias = bias_->text().toStdString();
    form_.Text_Bias_Change();
    biasRel_->setText(Q(form_.Label_biasRel));
  });
  connect(ok_, &QPushButton::clicked, this, [this] {
    Take();
    if (form_.Command_OK()) accept();
  });
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

void EditFilterWindow::Take() {
  form_.Text_name = name_->text().toStdString();
  for (int i = 0; i < 49; ++i) form_.Text_c[size_t(i)] = c_[i]->text().toStdString();
  form_.Text_factor = factor_->text().toStdString();
  form_.Text_Bias = bias_->text().toStdString();
}

// --- Wiring ----------------------------------------------------------------------------------

void InstallFilterDialogs(MDIForm_Main& main, QWidget* parent) {
  RegisterFilterCommand(main);
  QPointer<QWidget> owner(parent);
  FilterDialog() = [owner](Form_Filter& form) {
    FilterWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  EditFilterDialog() = [owner](Form_EditFilter& form) {
    // Over the filter dialog when it is up.
    QWidget* over = QApplication::activeModalWidget();
    EditFilterWindow w(form, over ? over : owner.data());
    return w.exec() == QDialog::Accepted;
  };
}

void RemoveFilterDialogs() {
  FilterDialog() = nullptr;
  EditFilterDialog() = nullptr;
}

}  // namespace sv::app
