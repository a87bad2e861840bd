// The Window Setup dialog: one tab per scan window, the single scan, the
// peak line of Repeat mode. It binds to the Form_WindowSetup presenter
// through its View; the presenter decides every value and state, the dialog
// only shows them and passes the user's actions on.
#pragma once

#include <QDialog>
#include <functional>
#include <string>

#include "analysis/form_window_setup.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTabBar;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class MainWindow;
class MoveWindowDialog;
class WindowResultWindow;

class WindowSetupDialog : public QDialog, public Form_WindowSetup::View {
  Q_OBJECT
 public:
  explicit WindowSetupDialog(QWidget* parent = nullptr);
  ~WindowSetupDialog() override;

  Form_WindowSetup& Presenter() { return WindowSetupForm(); }

  QTabBar* Tabs() const { return tabs_; }
  QLineEdit* TextL() const { return textL_; }
  QLineEdit* TextT() const { return textT_; }
  QLineEdit* TextW() const { return textW_; }
  QLineEdit* TextH() const { return textH_; }
  QLineEdit* TextThreshold() const { return textThreshold_; }
  QLabel* LabelThreshold() const { return labelThreshold_; }
  QComboBox* ComboAveraging() const { return comboAveraging_; }
  QComboBox* ComboMode() const { return comboMode_; }
  QComboBox* ComboShape() const { return comboShape_; }
  QCheckBox* CheckAutoScan() const { return checkAutoScan_; }
  QCheckBox* CheckDynamicSize() const { return checkDynamicSize_; }
  QCheckBox* CheckLock() const { return checkLock_; }
  QPushButton* ScanButton() const { return scan_; }
  QPushButton* GrabButton() const { return grab_; }
  QPushButton* DeleteButton() const { return delete_; }
  QPushButton* CloseButton() const { return close_; }
  QPushButton* ColorButton() const { return color_; }
  QPushButton* CalibrationButton() const { return calibration_; }
  QPushButton* AddSumButton() const { return addSum_; }
  QPushButton* ClearSumButton() const { return clearSum_; }
  QLabel* StatusLabel() const { return status_; }

  // Where Color asks for the colour; the colour dialog by default. Returns
  // false when the user cancelled. Colours are 0xBBGGRR.
  std::function<bool(int32_t initial, int32_t& chosen)> chooseColour;

  // The line of Repeat mode as last drawn (image pixels), for the painter
  // and for tests; `shown` false when there is none.
  struct Line {
    bool shown = false;
    long x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    std::string label1, label2;
  };
  const Line& RepeatLineShown() const { return line_; }

  // Reloads every control from the presenter.
  void LoadControls();

  // Form_WindowSetup::View.
  void Changed(const Form_WindowSetup&) override;
  void ShowResult(const Form_WindowSetup&) override;
  void RepeatLine(long x1, long y1, long x2, long y2, const std::string& label1,
                  const std::string& label2) override;

  void SetResultWindow(WindowResultWindow* w) { result_ = w; }

 protected:
  bool eventFilter(QObject* watched, QEvent* e) override;
  void keyPressEvent(QKeyEvent* e) override;
  void reject() override;

 private:
  bool FormKey(QKeyEvent* e);
  void FieldEdited(char field);
  void ChooseColour();

  QTabBar* tabs_;
  QLineEdit* textL_;
  QLineEdit* textT_;
  QLineEdit* textW_;
  QLineEdit* textH_;
  QLineEdit* textThreshold_;
  QLabel* labelThreshold_;
  QComboBox* comboAveraging_;
  QComboBox* comboMode_;
  QLabel* labelShape_;
  QComboBox* comboShape_;
  QCheckBox* checkAutoScan_;
  QCheckBox* checkDynamicSize_;
  QCheckBox* checkLock_;
  QPushButton* scan_;
  QPushButton* grab_;
  QPushButton* delete_;
  QPushButton* close_;
  QPushButton* color_;
  QPushButton* calibration_;
  QPushButton* addSum_;
  QPushButton* clearSum_;
  QLabel* status_;
  WindowResultWindow* result_ = nullptr;
  Line line_;
  bool loading_ = false;
};

// The three tool windows, made children of `window` and bound to their
// presenters; the window commands go onto `main`'s menus.
struct WindowTools {
  WindowSetupDialog* setup = nullptr;
  MoveWindowDialog* move = nullptr;
  WindowResultWindow* result = nullptr;
};
WindowTools InstallWindowTools(MDIForm_Main& main, QWidget* window);

}  // namespace sv::app
