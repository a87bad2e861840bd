// The column arithmetic's dialogs bound to their presenters: the sort
// dialog and the simple-math dialog. InstallColumnDialogs also registers the
// column operations on the sheets, fills the Functions menu and gives the
// column arithmetic the intensity calibration and the plots.
#pragma once

#include <QDialog>

#include "worksheet/form_simple_math.h"
#include "worksheet/form_sort.h"

class QComboBox;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class SortWindow : public QDialog {
  Q_OBJECT
 public:
  explicit SortWindow(Form_Sort& form, QWidget* parent = nullptr);
  QComboBox* SortBox() const { return sort_; }
  QComboBox* SelectionBox() const { return selection_; }
  void accept() override;

 private:
  Form_Sort& form_;
  QComboBox* sort_;
  QComboBox* selection_;
};

class SimpleMathWindow : public QDialog {
  Q_OBJECT
 public:
  explicit SimpleMathWindow(Form_SimpleMath& form, QWidget* parent = nullptr);
  QLineEdit* YText() const { return y_; }
  QLineEdit* Y1Text() const { return y1_; }
  QLineEdit* Y2Text() const { return y2_; }
  QComboBox* OperatorBox() const { return operator_; }
  QListWidget* ColumnsList() const { return columns_; }
  QPushButton* SetYButton() const { return setY_; }
  QPushButton* SetY1Button() const { return setY1_; }
  QPushButton* SetY2Button() const { return setY2_; }
  void accept() override;

 private:
  // The fields to the presenter and back around a command.
  void Store();
  void Load();

  Form_SimpleMath& form_;
  QLineEdit* y_;
  QLineEdit* y1_;
  QLineEdit* y2_;
  QComboBox* operator_;
  QListWidget* columns_;
  QPushButton* setY_;
  QPushButton* setY1_;
  QPushButton* setY2_;
};

// The dialogs are shown modally over `parent` from now on; the column
// operations are registered and `main`'s Functions menu filled.
void InstallColumnDialogs(MDIForm_Main& main, QWidget* parent);
void RemoveColumnDialogs();

}  // namespace sv::app
