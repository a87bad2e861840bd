// The Line Setup dialog and the profile window. Both bind to their presenters
// (Form_LineSetup, Form_LineScanPlot) through their Views: the presenters
// decide every value and state, the windows show them and pass the user's
// actions on.
#pragma once

#include <QDialog>
#include <QWidget>
#include <functional>

#include "analysis/form_line_scan_plot.h"
#include "analysis/form_line_setup.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTabBar;

namespace sv::app {

// The profile as polylines in the window's colours, the range at the left,
// "Max = " at the top and "Overload" in red when the profile reaches the
// top level.
class LineProfileWindow : public QWidget, public ProfileDisplay::View {
  Q_OBJECT
 public:
  explicit LineProfileWindow(ProfileDisplay& display, QWidget* parent = nullptr);
  ~LineProfileWindow() override;
  void Changed(const ProfileDisplay&) override;
  ProfileDisplay& Display() { return display_; }
  QCheckBox* CheckAuto() const { return auto_; }
  // The picture area the polylines are drawn in, widget pixels.
  QRect PlotArea() const;

 protected:
  void paintEvent(QPaintEvent*) override;
  void closeEvent(QCloseEvent*) override;

 private:
  void KeepPlace();  // the window's place into the settings
  ProfileDisplay& display_;
  QCheckBox* auto_;
  bool loading_ = false;
};

class LineSetupDialog : public QDialog, public Form_LineSetup::View {
  Q_OBJECT
 public:
  explicit LineSetupDialog(QWidget* parent = nullptr);
  ~LineSetupDialog() override;

  QTabBar* Tabs() const { return tabs_; }
  QLineEdit* TextX1() const { return x1_; }
  QLineEdit* TextY1() const { return y1_; }
  QLineEdit* TextX2() const { return x2_; }
  QLineEdit* TextY2() const { return y2_; }
  QComboBox* ComboMode() const { return mode_; }
  QComboBox* ComboAveraging() const { return averaging_; }
  QComboBox* ComboLineWidth() const { return width_; }
  QCheckBox* CheckLock() const { return lock_; }
  QCheckBox* CheckAutoScale() const { return autoScale_; }
  QCheckBox* CheckEnabled() const { return enabled_; }
  QPushButton* ScanButton() const { return scan_; }
  QPushButton* ScanTButton() const { return scanT_; }
  QPushButton* SheetButton() const { return sheet_; }
  QLabel* LengthLabel() const { return length_; }

  // Where Color asks for the colour; the colour dialog by default.
  std::function<bool(int32_t initial, int32_t& chosen)> chooseColour;

  void LoadControls();
  void Changed(const Form_LineSetup&) override;

 protected:
  bool eventFilter(QObject* watched, QEvent* e) override;
  void keyPressEvent(QKeyEvent* e) override;
  void reject() override;

 private:
  bool FormKey(QKeyEvent* e);
  void FieldEdited(int which);
  void ChooseColour();

  QTabBar* tabs_;
  QLineEdit *x1_, *y1_, *x2_, *y2_;
  QComboBox *mode_, *averaging_, *width_;
  QCheckBox *lock_, *autoScale_, *enabled_;
  QPushButton *scan_, *scanT_, *grab_, *sheet_, *delete_, *color_, *calibration_, *close_;
  QLabel *length_, *angle_, *status_;
  bool loading_ = false;
};

struct LineTools {
  LineSetupDialog* setup = nullptr;
  LineProfileWindow* profile = nullptr;
};
// The tools of the last InstallLineTools (for tests).
LineTools& InstalledLineTools();

}  // namespace sv::app
