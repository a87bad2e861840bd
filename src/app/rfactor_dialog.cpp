#include "app/rfactor_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "core/mdi_main.h"
#include "worksheet/form_worksheet.h"

namespace sv::app {

RFactorDialog::RFactorDialog(Form_RFactor& form, QWidget* parent) : QDialog(parent), form_(form) {
  setWindowTitle("R-Factor");
  auto* layout = new QVBoxLayout(this);
  pendry_ = new QRadioButton("R.&Pendry", this);
  pendry_->setObjectName("Option_Factor0");
  r2_ = new QRadioButton("R\xC2\xB2", this);
  r2_->setObjectName("Option_Factor1");
  layout->addWidget(pendry_);
  layout->addWidget(r2_);
  auto* grid = new QFormLayout;
  ecolumn_ = new QComboBox(this);
  ecolumn_->setObjectName("Combo_EColumn");
  grid->addRow("Energy:", ecolumn_);
  selMode_ = new QComboBox(this);
  selMode_->setObjectName("Combo_SelMode");
  grid->addRow("Select:", selMode_);
  voi_ = new QLineEdit(this);
  voi_->setObjectName("Text_Voi");
  grid->addRow("Voi (eV):", voi_);
  threshold_ = new QLineEdit(this);
  threshold_->setObjectName("Text_Threshold");
  grid->addRow("Threshold (%):", threshold_);
  smoothOn_ = new QCheckBox("Smooth", this);
  smoothOn_->setObjectName("Check_Smooth");
  smooth_ = new QLineEdit(this);
  smooth_->setObjectName("Text_Smooth");
  grid->addRow(smoothOn_, smooth_);
  compare_ = new QCheckBox("Compare with sheet", this);
  compare_->setObjectName("Check_CompareSheet");
  sheet_ = new QComboBox(this);
  sheet_->setObjectName("Combo_Sheet");
  grid->addRow(compare_, sheet_);
  from_ = new QLineEdit(this);
  from_->setObjectName("Text_ShiftFrom");
  to_ = new QLineEdit(this);
  to_->setObjectName("Text_ShiftTo");
  step_ = new QLineEdit(this);
  step_->setObjectName("Text_ShiftStep");
  grid->addRow("Shift from (eV):", from_);
  grid->addRow("Shift to (eV):", to_);
  grid->addRow("Shift step (eV):", step_);
  layout->addLayout(grid);
  columns_ = new QListWidget(this);
  columns_->setObjectName("List_Columns");
  columns_->setSelectionMode(QAbstractItemView::MultiSelection);
  layout->addWidget(columns_);
  count_ = new QLabel(this);
  count_->setObjectName("Label_IColumns");
  layout->addWidget(count_);
  auto* buttons = new QDialogButtonBox(this);
  auto* calc = buttons->addButton("&Calculate", QDialogButtonBox::AcceptRole);
  calc->setObjectName("Command_Calculate");
  buttons->addButton(QDialogButtonBox::Cancel);
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  Load();
  connect(pendry_, &QRadioButton::toggled, this, [this](bool on) { ecolumn_->setVisible(on); });
  connect(selMode_, &QComboBox::activated, this, [this](int index) {
    form_.SelMode(index);
    Load();
  });
  connect(columns_, &QListWidget::itemSelectionChanged, this, [this] {
    for (int k = 0; k < columns_->count(); ++k) form_.SelectColumn(k + 1, columns_->item(k)->isSelected());
    count_->setText(QString::fromStdString(form_.Label_IColumns));
  });
}

void RFactorDialog::Load() {
  const QSignalBlocker b1(columns_), b2(selMode_);
  pendry_->setChecked(form_.Option_Factor == 0);
  r2_->setChecked(form_.Option_Factor == 1);
  ecolumn_->clear();
  for (const auto& s : form_.Combo_EColumn) ecolumn_->addItem(QString::fromStdString(s));
  ecolumn_->setCurrentIndex(form_.EColumn - 1);
  ecolumn_->setVisible(form_.Option_Factor == 0);
  if (selMode_->count() == 0)
    for (const auto& s : form_.Combo_SelMode) selMode_->addItem(QString::fromStdString(s));
  columns_->clear();
  for (size_t k = 0; k < form_.List_Columns.size(); ++k) {
    columns_->addItem(QString::fromStdString(form_.List_Columns[k]));
    columns_->item(int(k))->setSelected(form_.Selected[k]);
  }
  voi_->setText(QString::fromStdString(form_.Text_Voi));
  threshold_->setText(QString::fromStdString(form_.Text_Threshold));
  smoothOn_->setChecked(form_.Check_Smooth);
  smooth_->setText(QString::fromStdString(form_.Text_Smooth));
  compare_->setChecked(form_.Check_CompareSheet);
  compare_->setEnabled(!form_.Combo_Sheet.empty());
  sheet_->clear();
  for (const auto& s : form_.Combo_Sheet) sheet_->addItem(QString::fromStdString(s));
  from_->setText(QString::fromStdString(form_.Text_ShiftFrom));
  to_->setText(QString::fromStdString(form_.Text_ShiftTo));
  step_->setText(QString::fromStdString(form_.Text_ShiftStep));
  count_->setText(QString::fromStdString(form_.Label_IColumns));
}

void RFactorDialog::Store() {
  form_.Option_Factor = r2_->isChecked() ? 1 : 0;
  form_.EColumn = ecolumn_->currentIndex() < 0 ? -1 : ecolumn_->currentIndex() + 1;
  form_.Text_Voi = voi_->text().toStdString();
  form_.Text_Threshold = threshold_->text().toStdString();
  form_.Check_Smooth = smoothOn_->isChecked();
  form_.Text_Smooth = smooth_->text().toStdString();
  form_.Check_CompareSheet = compare_->isChecked();
  form_.Sheet = sheet_->currentIndex();
  form_.Text_ShiftFrom = from_->text().toStdString();
  form_.Text_ShiftTo = to_->text().toStdString();
  form_.Text_ShiftStep = step_->text().toStdString();
}

void RFactorDialog::accept() {
  Store();
  if (!form_.Command_Calculate()) {
    if (auto* w = findChild<QWidget*>(QString::fromStdString(form_.FocusedControl))) w->setFocus();
    return;  // the dialog stays open
  }
  QDialog::accept();
}

void InstallRFactorDialog(QWidget* parent,
                          std::function<std::vector<const Form_Worksheet*>()> sheets) {
  RFactorWindows& w = RFactorHooks();
  w.otherSheets = std::move(sheets);
  w.showDialog = [parent](Form_RFactor& form) {
    RFactorDialog dialog(form, parent);
    return dialog.exec() == QDialog::Accepted;
  };
  w.showResult = [parent](const std::string& text) {
    auto* window = new QDialog(parent);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setObjectName("RFactorResult");
    window->setWindowTitle("R-Factor");
    auto* layout = new QVBoxLayout(window);
    auto* box = new QPlainTextEdit(window);
    box->setObjectName("Text_Result");
    box->setReadOnly(true);
    box->setPlainText(QString::fromStdString(text));
    layout->addWidget(box);
    window->resize(420, 300);
    window->show();
  };
}

void RemoveRFactorDialog() { RFactorHooks() = RFactorWindows(); }

std::vector<const Form_Worksheet*> OpenSheets(const MDIForm_Main& main) {
  std::vector<const Form_Worksheet*> out;
  for (ChildDocument* d : main.Documents())
    if (auto* sheet = dynamic_cast<const Form_Worksheet*>(d)) out.push_back(sheet);
  return out;
}

}  // namespace sv::app
