#include "app/column_dialogs.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/form_binding.h"
#include "image/calibration.h"
#include "plot/column_math_plot.h"
#include "worksheet/column_math.h"

namespace sv::app {

namespace {

QDialogButtonBox* OkCancel(QDialog* dialog) {
  auto* buttons = new QDialogButtonBox(dialog);
  QPushButton* ok = buttons->addButton("OK", QDialogButtonBox::AcceptRole);
  ok->setObjectName("Command_OK");
  ok->setDefault(true);
  buttons->addButton("Cancel", QDialogButtonBox::RejectRole)->setObjectName("Command_Cancel");
  QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  return buttons;
}

QComboBox* Combo(const char* name, const std::vector<std::string>& items, int current,
                 QWidget* parent) {
  auto* c = new QComboBox(parent);
  c->setObjectName(name);
  Fill(c, items, current);
  return c;
}

QLineEdit* Line(const char* name, const std::string& text, QWidget* parent) {
  auto* e = new QLineEdit(Q(text), parent);
  e->setObjectName(name);
  return e;
}

}  // namespace

// --- Sort ---------------------------------------------------------------------------------

SortWindow::SortWindow(Form_Sort& form, QWidget* parent) : QDialog(parent), form_(form) {
  setObjectName("Form_Sort");
  setWindowTitle("Sort");
  setModal(true);
  sort_ = Combo("Combo_Sort", Form_Sort::SortItems(), form.Combo_Sort, this);
  selection_ = Combo("Combo_Selection", Form_Sort::SelectionItems(), form.Combo_Selection, this);
  auto* grid = new QGridLayout;
  grid->addWidget(new QLabel("&Order:", this), 0, 0);
  grid->addWidget(sort_, 0, 1);
  grid->addWidget(new QLabel("&Move:", this), 1, 0);
  grid->addWidget(selection_, 1, 1);
  auto* box = new QVBoxLayout(this);
  box->addLayout(grid);
  box->addWidget(OkCancel(this));
}

void SortWindow::accept() {
  form_.Combo_Sort = sort_->currentIndex() < 0 ? 0 : sort_->currentIndex();
  form_.Combo_Selection = selection_->currentIndex() < 0 ? 0 : selection_->currentIndex();
  QDialog::accept();
}

// --- Simple math --------------------------------------------------------------------------

SimpleMathWindow::SimpleMathWindow(Form_SimpleMath& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_SimpleMath");
  setWindowTitle("Simple Math");
  setModal(true);
  y_ = Line("Text_Y", form.Text_Y, this);
  y1_ = Line("Text_Y1", form.Text_Y1, this);
  y2_ = Line("Text_Y2", form.Text_Y2, this);
  operator_ = Combo("Combo_Operator", Form_SimpleMath::Operators(), form.Combo_Operator, this);
  columns_ = new QListWidget(this);
  columns_->setObjectName("List_Columns");
  for (const std::string& name : form.List_Columns) columns_->addItem(Q(name));
  columns_->setCurrentRow(form.List_ColumnsIndex);
  setY_ = CommandButton(this, "Y <", "Command_SetY");
  setY1_ = CommandButton(this, "Y1 <", "Command_SetY1");
  setY2_ = CommandButton(this, "Y2 <", "Command_SetY2");

  auto* grid = new QGridLayout;
  grid->addWidget(new QLabel("&Y =", this), 0, 0);
  grid->addWidget(y_, 0, 1, 1, 3);
  grid->addWidget(y1_, 1, 1);
  grid->addWidget(operator_, 1, 2);
  grid->addWidget(y2_, 1, 3);
  auto* commands = new QVBoxLayout;
  commands->addWidget(setY_);
  commands->addWidget(setY1_);
  commands->addWidget(setY2_);
  commands->addStretch(1);
  auto* lower = new QGridLayout;
  lower->addWidget(new QLabel("&Columns:", this), 0, 0);
  lower->addWidget(columns_, 1, 0);
  lower->addLayout(commands, 1, 1);
  auto* box = new QVBoxLayout(this);
  box->addLayout(grid);
  box->addLayout(lower, 1);
  box->addWidget(OkCancel(this));

  auto command = [this](void (Form_SimpleMath::*cmd)()) {
    return [this, cmd] {
      Store();
      (form_.*cmd)();
      Load();
    };
  };
  connect(setY_, &QPushButton::clicked, this, command(&Form_SimpleMath::Command_SetY));
  connect(setY1_, &QPushButton::clicked, this, command(&Form_SimpleMath::Command_SetY1));
  connect(setY2_, &QPushButton::clicked, this, command(&Form_SimpleMath::Command_SetY2));
  // A double click takes the column as the first operand.
  connect(columns_, &QListWidget::itemDoubleClicked, this,
          command(&Form_SimpleMath::Command_SetY1));
}

void SimpleMathWindow::Store() {
  form_.Text_Y = y_->text().toStdString();
  form_.Text_Y1 = y1_->text().toStdString();
  form_.Text_Y2 = y2_->text().toStdString();
  form_.Combo_Operator = operator_->currentIndex() < 0 ? 0 : operator_->currentIndex();
  form_.List_ColumnsIndex = columns_->currentRow();
}

void SimpleMathWindow::Load() {
  SetText(y_, form_.Text_Y);
  SetText(y1_, form_.Text_Y1);
  SetText(y2_, form_.Text_Y2);
  Fill(operator_, Form_SimpleMath::Operators(), form_.Combo_Operator);
}

void SimpleMathWindow::accept() {
  Store();
  QDialog::accept();
}

// --- Installation -------------------------------------------------------------------------

void InstallColumnDialogs(MDIForm_Main& main, QWidget* parent) {
  RegisterColumnMath(&main);
  InstallColumnMathPlots();
  // Function 11 goes through the intensity table; without one it leaves x.
  ColumnHooks().calIntensity = [](float x) { return ZCal().Count > 0 ? TableValue(x) : x; };
  QPointer<QWidget> owner(parent);
  ColumnMathDialogs().sort = [owner](Form_Sort& form) {
    SortWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  ColumnMathDialogs().simpleMath = [owner](Form_SimpleMath& form) {
    SimpleMathWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
}

void RemoveColumnDialogs() {
  ColumnMathDialogs() = ColumnDialogs();
  ColumnHooks() = ColumnMathHooks();
}

}  // namespace sv::app
