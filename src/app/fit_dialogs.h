// The peak fit's windows bound to their presenters: the fit dialog (the
// parameter list, the editing controls, the commands and the report), the
// fit setup and the status window that runs while the fit does.
#pragma once

#include <QDialog>

#include "fit/form_fit.h"
#include "fit/form_fit_setup.h"
#include "fit/form_fit_status.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTextEdit;
class QTreeWidget;

namespace sv::app {

// The report box: Arial 10, a tab stop every kReportTabPx pixels after a
// first one at kReportFirstTabPx, so that names, inputs, results and errors
// stand in columns.
inline constexpr int kReportFirstTabPx = 130;
inline constexpr int kReportTabPx = 90;

class FitDialog : public QDialog {
  Q_OBJECT
 public:
  explicit FitDialog(Form_Fit& form, QWidget* parent = nullptr);

  // Every control shown anew from the presenter.
  void LoadControls();

  QComboBox* LinesBox() const { return lines_; }
  QTreeWidget* ParameterList() const { return list_; }
  QLineEdit* IniText() const { return ini_; }
  QLabel* IniLabel() const { return iniLabel_; }
  QComboBox* ShapeBox() const { return shape_; }
  QComboBox* BehaviourBox() const { return fsw_; }
  QTextEdit* Report() const { return report_; }
  // The elapsed time or "Fit Error: ..." of the last run.
  QLabel* RunLabel() const { return run_; }

 private:
  void ShowReport();
  void StoreEditing();

  Form_Fit& form_;
  QComboBox* lines_;
  QTreeWidget* list_;
  QLineEdit* ini_;
  QLabel* iniLabel_;
  QComboBox* shape_;
  QComboBox* fsw_;
  QTextEdit* report_;
  QLabel* run_;
  bool loading_ = false;
};

class FitSetupDialog : public QDialog {
  Q_OBJECT
 public:
  explicit FitSetupDialog(Form_FitSetup& form, QWidget* parent = nullptr);
  void LoadControls();
  void accept() override;

  QLineEdit* Field(const char* name) const;
  QCheckBox* PeakWidthBox() const { return peakWidth_; }
  QCheckBox* BeepBox() const { return beep_; }
  // 1 "keep", 2 "SQRT".
  QRadioButton* WeightOption(int value) const { return weight_[value - 1]; }
  // 0 none, 1 Lorenzian, 2 Gaussian.
  QRadioButton* ShapeOption(int value) const { return shape_[value]; }

 private:
  void StoreControls();

  Form_FitSetup& form_;
  QLineEdit* dmax_;
  QLineEdit* sosSlope_;
  QLineEdit* diffStep_;
  QLineEdit* minSos_;
  QLineEdit* maxDmpg_;
  QLineEdit* maxFun_;
  QLineEdit* minIntensity_;
  QLineEdit* contrast_;
  QLineEdit* width_;
  QCheckBox* peakWidth_;
  QCheckBox* beep_;
  QRadioButton* weight_[2];
  QRadioButton* shape_[3];
};

// Modal while the fit runs; the presenter's timer steps the fit and the
// labels follow each step. Cancel or closing the window stops the fit; the
// window closes itself when the fit has ended.
class FitStatusDialog : public QDialog {
  Q_OBJECT
 public:
  explicit FitStatusDialog(Form_FitStatus& form, QWidget* parent = nullptr);
  ~FitStatusDialog() override;
  void LoadLabels();
  void reject() override;

  QPushButton* CancelButton() const { return cancel_; }

 private:
  void Ended();

  Form_FitStatus& form_;
  QLabel* labels_[7];
  QPushButton* cancel_;
};

// The fit windows are shown modally over `parent` from now on; Remove
// returns them to their headless defaults.
void InstallFitDialogs(QWidget* parent);
void RemoveFitDialogs();

}  // namespace sv::app
