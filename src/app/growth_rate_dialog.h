// The growth-rate window bound to its presenter: curve, range, analysis,
// threshold, the results, the material list, and the working sheet shown in
// the window or hidden.
#pragma once

#include <QDialog>
#include <QPointer>

#include "fit/form_growth_rate.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QTableWidget;
class QVBoxLayout;

namespace sv::app {

class PlotWindow;

class GrowthRateDialog : public QDialog {
  Q_OBJECT
 public:
  explicit GrowthRateDialog(Form_GrowthRate& form, QWidget* parent = nullptr);

  // Every control shown anew from the presenter.
  void LoadControls();
  QTableWidget* SheetTable() const { return table_; }
  // The picture of the last analysis ("Min/Max Analysis", "FFT Analysis"),
  // nullptr before the first.
  PlotWindow* ResultPlot() const;

 private:
  void Store();
  void Calculate();
  void ShowSheet();

  Form_GrowthRate& form_;
  QComboBox *curve_, *material_;
  QLineEdit *t1_, *t2_, *delta_, *xto_, *rate_, *tau_, *thickness_;
  QRadioButton *minmax_, *fft_;
  QCheckBox *fit_, *autoScale_, *yAutoScale_;
  QLabel *unit_, *growth_, *status_;
  QPushButton* showSht_;
  QTableWidget* table_;
  QVBoxLayout* layout_;
  QPointer<PlotWindow> plot_;
};

// Sets the window the "MathGrowthRate" operation shows, and registers it.
void InstallGrowthRateDialog(QWidget* parent);

}  // namespace sv::app
