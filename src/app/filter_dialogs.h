// The filter dialog and the filter editor, bound to Form_Filter and
// Form_EditFilter; "mnuFilter" opens them on the active image.
#pragma once

#include <QDialog>

#include "image/form_filter.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class FilterWindow : public QDialog {
  Q_OBJECT
 public:
  FilterWindow(Form_Filter& form, QWidget* parent = nullptr);
  QListWidget* List() const { return list_; }
  QPushButton* ApplyButton() const { return apply_; }
  QPushButton* NewButton() const { return new_; }
  QPushButton* EditButton() const { return edit_; }
  QPushButton* DeleteButton() const { return delete_; }
  QPushButton* CancelButton() const { return cancel_; }
  void LoadControls();

 private:
  Form_Filter& form_;
  QListWidget* list_;
  QPushButton *apply_, *new_, *edit_, *delete_, *cancel_;
};

class EditFilterWindow : public QDialog {
  Q_OBJECT
 public:
  EditFilterWindow(Form_EditFilter& form, QWidget* parent = nullptr);
  QLineEdit* NameField() const { return name_; }
  QLineEdit* Coefficient(int i) const { return c_[i]; }
  QLineEdit* FactorField() const { return factor_; }
  QLineEdit* BiasField() const { return bias_; }
  QLabel* BiasRelLabel() const { return biasRel_; }
  QPushButton* OKButton() const { return ok_; }

 private:
  void Take();
  Form_EditFilter& form_;
  QLineEdit* name_;
  QLineEdit* c_[49];
  QLineEdit *factor_, *bias_;
  QLabel *biasRel_, *dynamik_;
  QPushButton* ok_;
};

// Registers "mnuFilter" and shows the dialogs over `parent`.
void InstallFilterDialogs(MDIForm_Main& main, QWidget* parent);
void RemoveFilterDialogs();

}  // namespace sv::app
