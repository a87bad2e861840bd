// The R-factor dialog bound to its presenter, and the result window that
// shows the report.
#pragma once

#include <QDialog>

#include "fit/form_rfactor.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QRadioButton;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class RFactorDialog : public QDialog {
 public:
  RFactorDialog(Form_RFactor& form, QWidget* parent = nullptr);
  void accept() override;

 private:
  void Load();
  void Store();
  Form_RFactor& form_;
  QRadioButton *pendry_, *r2_;
  QComboBox *ecolumn_, *selMode_, *sheet_;
  QListWidget* columns_;
  QLineEdit *voi_, *threshold_, *smooth_, *from_, *to_, *step_;
  QCheckBox *smoothOn_, *compare_;
  QLabel* count_;
};

// Installs the dialog and the result window behind MathRFactor; the other
// sheets come from `sheets`.
void InstallRFactorDialog(QWidget* parent,
                          std::function<std::vector<const Form_Worksheet*>()> sheets);
void RemoveRFactorDialog();
// The worksheets open in the main window.
std::vector<const Form_Worksheet*> OpenSheets(const MDIForm_Main& main);

}  // namespace sv::app
