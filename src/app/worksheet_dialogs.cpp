#include "app/worksheet_dialogs.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/plot_dialog_windows.h"

namespace sv::app {

namespace {

QString Q(const std::string& s) { return QString::fromStdString(s); }
std::string S(const QString& s) { return s.toStdString(); }

QLineEdit* NamedLine(const char* name, QWidget* parent) {
  auto* e = new QLineEdit(parent);
  e->setObjectName(name);
  return e;
}

QCheckBox* NamedBox(const char* name, const QString& caption, QWidget* parent) {
  auto* b = new QCheckBox(caption, parent);
  b->setObjectName(name);
  return b;
}

QPushButton* NamedButton(QDialogButtonBox* box, const char* name, const QString& caption,
                         QDialogButtonBox::ButtonRole role) {
  QPushButton* b = box->addButton(caption, role);
  b->setObjectName(name);
  return b;
}

}  // namespace

// --- Import options ---------------------------------------------------------------------

ImportOptionsWindow::ImportOptionsWindow(Form_ImportOptions& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_ImportOptions");
  setWindowTitle("Import Options");
  setModal(true);

  auto* structureBox = new QGroupBox("File structure", this);
  auto* structureGroup = new QButtonGroup(this);
  structure_[0] = new QRadioButton("&Delimited", structureBox);
  structure_[1] = new QRadioButton("&Fixed width", structureBox);
  delimiter_ = new QComboBox(structureBox);
  delimiter_->setObjectName("Combo_Delimiter");
  for (const std::string& name : Form_ImportOptions::DelimiterNames()) delimiter_->addItem(Q(name));
  delimiterText_ = NamedLine("Text_Delimiter", structureBox);
  delimiterText_->setMaxLength(1);
  delimiterText_->setMaximumWidth(fontMetrics().horizontalAdvance("MM") * 2);
  colWidth_ = NamedLine("Text_ColWidth", structureBox);
  colWidth_->setMaximumWidth(fontMetrics().horizontalAdvance("0") * 8);
  auto* structureGrid = new QGridLayout(structureBox);
  for (int i = 0; i < 2; ++i) {
    structure_[i]->setObjectName(QString("Option_FileStructure%1").arg(i));
    structureGroup->addButton(structure_[i], i);
  }
  structureGrid->addWidget(structure_[0], 0, 0);
  structureGrid->addWidget(delimiter_, 0, 1);
  structureGrid->addWidget(delimiterText_, 0, 2);
  structureGrid->addWidget(structure_[1], 1, 0);
  structureGrid->addWidget(new QLabel("Column width:", structureBox), 1, 1);
  structureGrid->addWidget(colWidth_, 1, 2);

  auto* linesBox = new QGroupBox("Lines and columns", this);
  header_ = NamedBox("Check_Header", "Skip &header lines:", linesBox);
  headerLines_ = NamedLine("Text_HeaderLines", linesBox);
  unknownColumns_ = NamedBox("Check_UnknownColumns", "Take all columns of the first &line", linesBox);
  columns_ = NamedLine("Text_Columns", linesBox);
  renameColumns_ = NamedBox("Check_RenameColumns", "Rename &columns", linesBox);
  renameWorksheet_ = NamedBox("Check_RenameWorksheet", "Rename &worksheet", linesBox);
  auto* linesGrid = new QGridLayout(linesBox);
  linesGrid->addWidget(header_, 0, 0);
  linesGrid->addWidget(headerLines_, 0, 1);
  linesGrid->addWidget(unknownColumns_, 1, 0);
  auto* columnsRow = new QHBoxLayout;
  columnsRow->addWidget(new QLabel("Columns:", linesBox));
  columnsRow->addWidget(columns_);
  linesGrid->addLayout(columnsRow, 1, 1);
  linesGrid->addWidget(renameColumns_, 2, 0);
  linesGrid->addWidget(renameWorksheet_, 2, 1);

  auto* asBox = new QGroupBox("Import as", this);
  auto* asGroup = new QButtonGroup(this);
  const char* asCaptions[3] = {"&Replace the worksheet", "New c&olumns", "New ro&ws"};
  auto* asRow = new QHBoxLayout(asBox);
  for (int i = 0; i < 3; ++i) {
    importAs_[i] = new QRadioButton(asCaptions[i], asBox);
    importAs_[i]->setObjectName(QString("Option_ImportAs%1").arg(i));
    asGroup->addButton(importAs_[i], i);
    asRow->addWidget(importAs_[i]);
  }

  auto* previewBox = new QGroupBox("Preview", this);
  previewButton_ = new QPushButton("&Preview...", previewBox);
  previewButton_->setObjectName("Command_Preview");
  previewMode_ = NamedBox("Check_PreviewMode", "Show &control characters", previewBox);
  preview_ = new QPlainTextEdit(previewBox);
  preview_->setObjectName("Text_Preview");
  preview_->setReadOnly(true);
  preview_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  preview_->setMinimumHeight(fontMetrics().lineSpacing() * 8);
  auto* previewLayout = new QVBoxLayout(previewBox);
  auto* previewRow = new QHBoxLayout;
  previewRow->addWidget(previewButton_);
  previewRow->addWidget(previewMode_);
  previewRow->addStretch(1);
  previewLayout->addLayout(previewRow);
  previewLayout->addWidget(preview_, 1);

  auto* buttons = new QDialogButtonBox(this);
  ok_ = NamedButton(buttons, "Command_OK", "OK", QDialogButtonBox::AcceptRole);
  ok_->setDefault(true);
  cancel_ = NamedButton(buttons, "Command_Cancel", "Cancel", QDialogButtonBox::RejectRole);
  import_ = NamedButton(buttons, "Command_Import", "Import", QDialogButtonBox::ActionRole);

  auto* box = new QVBoxLayout(this);
  box->addWidget(structureBox);
  box->addWidget(linesBox);
  box->addWidget(asBox);
  box->addWidget(previewBox, 1);
  box->addWidget(buttons);

  // Every control writes its presenter field at once; the dependent fields follow.
  connect(structureGroup, &QButtonGroup::idClicked, this, [this](int id) {
    if (loading_) return;
    form_.Option_FileStructure = id;
    UpdateEnabled();
  });
  connect(delimiter_, &QComboBox::currentIndexChanged, this, [this](int index) {
    if (loading_) return;
    form_.Combo_Delimiter = index;
    UpdateEnabled();
  });
  connect(delimiterText_, &QLineEdit::textChanged, this, [this](const QString& t) {
    if (!loading_) form_.Text_Delimiter = S(t);
  });
  connect(colWidth_, &QLineEdit::textChanged, this, [this](const QString& t) {
    if (!loading_) form_.Text_ColWidth = S(t);
  });
  connect(header_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    form_.Check_Header = on;
    UpdateEnabled();
  });
  connect(headerLines_, &QLineEdit::textChanged, this, [this](const QString& t) {
    if (!loading_) form_.Text_HeaderLines = S(t);
  });
  connect(asGroup, &QButtonGroup::idClicked, this, [this](int id) {
    if (!loading_) form_.Option_ImportAs = id;
  });
  connect(unknownColumns_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    form_.Check_UnknownColumns = on;
    UpdateEnabled();
  });
  connect(columns_, &QLineEdit::textChanged, this, [this](const QString& t) {
    if (!loading_) form_.Text_Columns = S(t);
  });
  connect(renameColumns_, &QCheckBox::toggled, this, [this](bool on) {
    if (!loading_) form_.Check_RenameColumns = on;
  });
  connect(renameWorksheet_, &QCheckBox::toggled, this, [this](bool on) {
    if (!loading_) form_.Check_RenameWorksheet = on;
  });
  connect(previewMode_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    form_.Check_PreviewMode = on;
    form_.Check_PreviewMode_Click();
    ShowPreview();
  });
  connect(previewButton_, &QPushButton::clicked, this, [this] {
    form_.Command_Preview();
    ShowPreview();
  });
  connect(ok_, &QPushButton::clicked, this, [this] {
    StoreControls();
    form_.Command_OK();
    accept();
  });
  connect(import_, &QPushButton::clicked, this, [this] {
    StoreControls();
    form_.Command_Import();
    accept();
  });
  connect(cancel_, &QPushButton::clicked, this, &ImportOptionsWindow::reject);

  LoadControls();
}

void ImportOptionsWindow::LoadControls() {
  loading_ = true;
  structure_[form_.Option_FileStructure == 1 ? 1 : 0]->setChecked(true);
  delimiter_->setCurrentIndex(form_.Combo_Delimiter);
  delimiterText_->setText(Q(form_.Text_Delimiter));
  colWidth_->setText(Q(form_.Text_ColWidth));
  header_->setChecked(form_.Check_Header);
  headerLines_->setText(Q(form_.Text_HeaderLines));
  importAs_[std::clamp(form_.Option_ImportAs, 0, 2)]->setChecked(true);
  unknownColumns_->setChecked(form_.Check_UnknownColumns);
  columns_->setText(Q(form_.Text_Columns));
  renameColumns_->setChecked(form_.Check_RenameColumns);
  renameWorksheet_->setChecked(form_.Check_RenameWorksheet);
  previewMode_->setChecked(form_.Check_PreviewMode);
  loading_ = false;
  ShowPreview();
  UpdateEnabled();
}

void ImportOptionsWindow::StoreControls() {
  form_.Option_FileStructure = structure_[1]->isChecked() ? 1 : 0;
  form_.Combo_Delimiter = delimiter_->currentIndex();
  form_.Text_Delimiter = S(delimiterText_->text());
  form_.Text_ColWidth = S(colWidth_->text());
  form_.Check_Header = header_->isChecked();
  form_.Text_HeaderLines = S(headerLines_->text());
  for (int i = 0; i < 3; ++i)
    if (importAs_[i]->isChecked()) form_.Option_ImportAs = i;
  form_.Check_UnknownColumns = unknownColumns_->isChecked();
  form_.Text_Columns = S(columns_->text());
  form_.Check_RenameColumns = renameColumns_->isChecked();
  form_.Check_RenameWorksheet = renameWorksheet_->isChecked();
}

void ImportOptionsWindow::UpdateEnabled() {
  delimiterText_->setEnabled(form_.Text_DelimiterEnabled());
  colWidth_->setEnabled(form_.Text_ColWidthEnabled());
  columns_->setEnabled(form_.Text_ColumnsEnabled());
  headerLines_->setEnabled(form_.Check_Header);
}

void ImportOptionsWindow::ShowPreview() {
  // The bytes of the file are characters of the system's code page.
  const std::string& text = form_.Text_Preview;
  preview_->setPlainText(QString::fromLatin1(text.data(), qsizetype(text.size())));
}

void ImportOptionsWindow::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

// --- Column rename -------------------------------------------------------------------------

ColumnRenameWindow::ColumnRenameWindow(Form_ColumnRename& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_ColumnRename");
  setWindowTitle("Rename Column");
  setModal(true);
  name_ = NamedLine("Text_Name", this);
  name_->setText(Q(form.Text_Name));
  label_ = NamedLine("Text_Label", this);
  label_->setText(Q(form.Text_Label));
  protected_ = NamedBox("Check_Protected", "Write &protected", this);
  protected_->setChecked(form.Check_Protected);
  numbering_ = NamedBox("Check_Numbering", "&Number the columns from here to the last", this);
  numbering_->setChecked(form.Check_Numbering);

  auto* fields = new QFormLayout;
  fields->addRow("&Name:", name_);
  fields->addRow("&Label:", label_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &ColumnRenameWindow::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &ColumnRenameWindow::reject);
  auto* box = new QVBoxLayout(this);
  box->addLayout(fields);
  box->addWidget(protected_);
  box->addWidget(numbering_);
  box->addWidget(buttons);
  name_->selectAll();
}

void ColumnRenameWindow::accept() {
  form_.Text_Name = S(name_->text());
  form_.Text_Label = S(label_->text());
  form_.Check_Protected = protected_->isChecked();
  form_.Check_Numbering = numbering_->isChecked();
  QDialog::accept();
}

// --- Index column -----------------------------------------------------------------------------

SetWorksheetXWindow::SetWorksheetXWindow(Form_SetWorksheetX& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_SetWorksheetX");
  setWindowTitle("Set Worksheet X");
  setModal(true);
  initial_ = NamedLine("Text_Initial", this);
  initial_->setText(Q(form.Text_Initial));
  increment_ = NamedLine("Text_Increment", this);
  increment_->setText(Q(form.Text_Increment));
  auto* fields = new QFormLayout;
  fields->addRow("&Initial:", initial_);
  fields->addRow("In&crement:", increment_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &SetWorksheetXWindow::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &SetWorksheetXWindow::reject);
  auto* box = new QVBoxLayout(this);
  box->addLayout(fields);
  box->addWidget(buttons);
}

void SetWorksheetXWindow::accept() {
  form_.Text_Initial = S(initial_->text());
  form_.Text_Increment = S(increment_->text());
  QDialog::accept();
}

// --- Move, Set as, Go to ------------------------------------------------------------------

namespace {

// The OK and Cancel row of the small dialogs, wired to accept and reject.
QDialogButtonBox* OkCancel(QDialog* d) {
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, d);
  QObject::connect(buttons, &QDialogButtonBox::accepted, d, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, d, &QDialog::reject);
  return buttons;
}

}  // namespace

ColumnMoveWindow::ColumnMoveWindow(Form_ColumnMove& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_ColumnMove");
  setWindowTitle("Move Column");
  setModal(true);
  position_ = NamedLine("Text_Position", this);
  position_->setText(Q(form.Text_Position));
  position_->selectAll();
  auto* box = new QVBoxLayout(this);
  box->addWidget(new QLabel(QString("Move column %1 to position (1 to %2):")
                                .arg(Q(form.ColumnName))
                                .arg(form.MaxPosition),
                            this));
  box->addWidget(position_);
  box->addWidget(OkCancel(this));
}

void ColumnMoveWindow::accept() {
  form_.Text_Position = S(position_->text());
  QDialog::accept();
}

SetAsWindow::SetAsWindow(Form_SetAs& form, QWidget* parent) : QDialog(parent), form_(form) {
  setObjectName("Form_SetAs");
  setWindowTitle("Set Column as");
  setModal(true);
  auto* group = new QGroupBox("Role of the selected columns", this);
  auto* options = new QVBoxLayout(group);
  roles_ = new QButtonGroup(this);
  const auto& roles = Form_SetAs::Roles();
  for (int i = 0; i < int(roles.size()); ++i) {
    auto* option = new QRadioButton(Q(roles[size_t(i)].first), group);
    option->setObjectName(QString("Option_Typ%1").arg(i));
    option->setChecked(roles[size_t(i)].second == form.Typ);
    roles_->addButton(option, i);
    options->addWidget(option);
  }
  auto* box = new QVBoxLayout(this);
  box->addWidget(group);
  box->addWidget(OkCancel(this));
}

QRadioButton* SetAsWindow::RoleOption(int index) const {
  return qobject_cast<QRadioButton*>(roles_->button(index));
}

void SetAsWindow::accept() {
  const int i = roles_->checkedId();
  const auto& roles = Form_SetAs::Roles();
  if (i >= 0 && i < int(roles.size())) form_.Typ = roles[size_t(i)].second;
  QDialog::accept();
}

GotoColumnWindow::GotoColumnWindow(Form_GotoColumn& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_GotoColumn");
  setWindowTitle("Go to Column");
  setModal(true);
  column_ = NamedLine("Text_Column", this);
  column_->setText(Q(form.Text_Column));
  column_->selectAll();
  auto* box = new QVBoxLayout(this);
  box->addWidget(
      new QLabel(QString("Column name or number (1 to %1):").arg(form.MaxColumn), this));
  box->addWidget(column_);
  box->addWidget(OkCancel(this));
}

void GotoColumnWindow::accept() {
  form_.Text_Column = S(column_->text());
  QDialog::accept();
}

GotoRowWindow::GotoRowWindow(Form_GotoRow& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_GotoRow");
  setWindowTitle("Go to Row");
  setModal(true);
  row_ = NamedLine("Text_Row", this);
  row_->setText(Q(form.Text_Row));
  row_->selectAll();
  auto* box = new QVBoxLayout(this);
  box->addWidget(new QLabel(QString("Row number (1 to %1):").arg(form.MaxRow), this));
  box->addWidget(row_);
  box->addWidget(OkCancel(this));
}

void GotoRowWindow::accept() {
  form_.Text_Row = S(row_->text());
  QDialog::accept();
}

// --- Installation ------------------------------------------------------------------------------

void InstallDocumentDialogs(QWidget* parent) {
  QPointer<QWidget> owner(parent);
  Dialogs().setWorksheetX = [owner](Form_SetWorksheetX& form) {
    SetWorksheetXWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  Dialogs().columnRename = [owner](Form_ColumnRename& form) {
    ColumnRenameWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  Dialogs().columnMove = [owner](Form_ColumnMove& form) {
    ColumnMoveWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  Dialogs().setAs = [owner](Form_SetAs& form) {
    SetAsWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  Dialogs().gotoColumn = [owner](Form_GotoColumn& form) {
    GotoColumnWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  Dialogs().gotoRow = [owner](Form_GotoRow& form) {
    GotoRowWindow w(form, owner);
    return w.exec() == QDialog::Accepted;
  };
  ImportOptionsDialog() = [owner](Form_ImportOptions& form) {
    ImportOptionsWindow w(form, owner);
    w.exec();
  };
  InstallPlotDialogs(parent);
}

void RemoveDocumentDialogs() {
  Dialogs().setWorksheetX = nullptr;
  Dialogs().columnRename = nullptr;
  Dialogs().columnMove = nullptr;
  Dialogs().setAs = nullptr;
  Dialogs().gotoColumn = nullptr;
  Dialogs().gotoRow = nullptr;
  ImportOptionsDialog() = nullptr;
  RemovePlotDialogs();
}

}  // namespace sv::app
