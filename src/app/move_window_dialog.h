// The Move Window dialog: nudges the evaluated rectangle of one scan window
// by 1 or 8 pixels, bound to the Form_MoveWindow presenter.
#pragma once

#include <QDialog>
#include <array>

#include "analysis/form_window_setup.h"

class QCheckBox;
class QPushButton;
class QRadioButton;

namespace sv::app {

class MoveWindowDialog : public QDialog, public Form_MoveWindow::View {
  Q_OBJECT
 public:
  explicit MoveWindowDialog(QWidget* parent = nullptr);
  ~MoveWindowDialog() override;

  QRadioButton* Option(int n) const { return options_[size_t(n)]; }
  QCheckBox* FastBox() const { return fast_; }
  QCheckBox* SetStartBox() const { return setStart_; }
  QPushButton* UpButton() const { return up_; }
  QPushButton* DownButton() const { return down_; }
  QPushButton* LeftButton() const { return left_; }
  QPushButton* RightButton() const { return right_; }
  QPushButton* CloseButton() const { return close_; }

  // Reloads the controls from the presenter.
  void LoadControls();
  void Changed(const Form_MoveWindow&) override;

 protected:
  void reject() override;

 private:
  std::array<QRadioButton*, kWindowCount> options_{};
  QCheckBox* fast_;
  QCheckBox* setStart_;
  QPushButton* up_;
  QPushButton* down_;
  QPushButton* left_;
  QPushButton* right_;
  QPushButton* close_;
  bool loading_ = false;
};

}  // namespace sv::app
