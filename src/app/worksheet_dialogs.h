// The worksheet's dialogs bound to their presenters: the ASCII import
// options with the file preview, the column rename and the index column's
// initial value and increment.
#pragma once

#include <QDialog>

#include "worksheet/import_options.h"
#include "worksheet/worksheet_dialogs.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;

namespace sv::app {

class ImportOptionsWindow : public QDialog {
  Q_OBJECT
 public:
  explicit ImportOptionsWindow(Form_ImportOptions& form, QWidget* parent = nullptr);

  Form_ImportOptions& Form() { return form_; }
  // The controls shown anew from the presenter.
  void LoadControls();

  QRadioButton* StructureOption(int index) const { return structure_[index]; }
  QComboBox* DelimiterBox() const { return delimiter_; }
  QLineEdit* DelimiterText() const { return delimiterText_; }
  QLineEdit* ColWidthText() const { return colWidth_; }
  QCheckBox* HeaderBox() const { return header_; }
  QLineEdit* HeaderLinesText() const { return headerLines_; }
  QRadioButton* ImportAsOption(int index) const { return importAs_[index]; }
  QCheckBox* UnknownColumnsBox() const { return unknownColumns_; }
  QLineEdit* ColumnsText() const { return columns_; }
  QCheckBox* RenameColumnsBox() const { return renameColumns_; }
  QCheckBox* RenameWorksheetBox() const { return renameWorksheet_; }
  QCheckBox* PreviewModeBox() const { return previewMode_; }
  QPlainTextEdit* PreviewText() const { return preview_; }
  QPushButton* PreviewButton() const { return previewButton_; }
  QPushButton* OKButton() const { return ok_; }
  QPushButton* CancelButton() const { return cancel_; }
  QPushButton* ImportButton() const { return import_; }

  void reject() override;

 private:
  void UpdateEnabled();
  void ShowPreview();
  // Every control's value to the presenter.
  void StoreControls();

  Form_ImportOptions& form_;
  QRadioButton* structure_[2];
  QComboBox* delimiter_;
  QLineEdit* delimiterText_;
  QLineEdit* colWidth_;
  QCheckBox* header_;
  QLineEdit* headerLines_;
  QRadioButton* importAs_[3];
  QCheckBox* unknownColumns_;
  QLineEdit* columns_;
  QCheckBox* renameColumns_;
  QCheckBox* renameWorksheet_;
  QCheckBox* previewMode_;
  QPlainTextEdit* preview_;
  QPushButton* previewButton_;
  QPushButton* ok_;
  QPushButton* cancel_;
  QPushButton* import_;
  bool loading_ = false;
};

class ColumnRenameWindow : public QDialog {
  Q_OBJECT
 public:
  explicit ColumnRenameWindow(Form_ColumnRename& form, QWidget* parent = nullptr);
  QLineEdit* NameText() const { return name_; }
  QLineEdit* LabelText() const { return label_; }
  QCheckBox* ProtectedBox() const { return protected_; }
  QCheckBox* NumberingBox() const { return numbering_; }
  void accept() override;

 private:
  Form_ColumnRename& form_;
  QLineEdit* name_;
  QLineEdit* label_;
  QCheckBox* protected_;
  QCheckBox* numbering_;
};

class SetWorksheetXWindow : public QDialog {
  Q_OBJECT
 public:
  explicit SetWorksheetXWindow(Form_SetWorksheetX& form, QWidget* parent = nullptr);
  QLineEdit* InitialText() const { return initial_; }
  QLineEdit* IncrementText() const { return increment_; }
  void accept() override;

 private:
  Form_SetWorksheetX& form_;
  QLineEdit* initial_;
  QLineEdit* increment_;
};

// Where the selected column goes.
class ColumnMoveWindow : public QDialog {
  Q_OBJECT
 public:
  explicit ColumnMoveWindow(Form_ColumnMove& form, QWidget* parent = nullptr);
  QLineEdit* PositionText() const { return position_; }
  void accept() override;

 private:
  Form_ColumnMove& form_;
  QLineEdit* position_;
};

// The role of the selected columns, one option per role.
class SetAsWindow : public QDialog {
  Q_OBJECT
 public:
  explicit SetAsWindow(Form_SetAs& form, QWidget* parent = nullptr);
  // The option of Form_SetAs::Roles()[index].
  QRadioButton* RoleOption(int index) const;
  void accept() override;

 private:
  Form_SetAs& form_;
  QButtonGroup* roles_;
};

// A column by name or number, or a row by number.
class GotoColumnWindow : public QDialog {
  Q_OBJECT
 public:
  explicit GotoColumnWindow(Form_GotoColumn& form, QWidget* parent = nullptr);
  QLineEdit* ColumnText() const { return column_; }
  void accept() override;

 private:
  Form_GotoColumn& form_;
  QLineEdit* column_;
};

class GotoRowWindow : public QDialog {
  Q_OBJECT
 public:
  explicit GotoRowWindow(Form_GotoRow& form, QWidget* parent = nullptr);
  QLineEdit* RowText() const { return row_; }
  void accept() override;

 private:
  Form_GotoRow& form_;
  QLineEdit* row_;
};

// The sheet's and the plots' dialogs are shown modally over `parent` from
// now on. RemoveDocumentDialogs returns them to their headless defaults.
void InstallDocumentDialogs(QWidget* parent);
void RemoveDocumentDialogs();

}  // namespace sv::app
