// The page setup of File -> Print, bound to Form_PageSetup: the scale, the
// layer's rectangle on the page, full page and centring; OK prints, Preview
// shows the page first.
#pragma once

#include <QDialog>

#include "plot/plot_print.h"

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace sv::app {

class PageSetupWindow : public QDialog {
  Q_OBJECT
 public:
  explicit PageSetupWindow(Form_PageSetup& form, QWidget* parent = nullptr);

  QLineEdit* ScaleText() const { return scale_; }
  QLineEdit* LeftText() const { return l_; }
  QLineEdit* TopText() const { return t_; }
  QLineEdit* WidthText() const { return w_; }
  QLineEdit* HeightText() const { return h_; }
  QCheckBox* FullPageBox() const { return fullPage_; }
  QCheckBox* CenterBox() const { return center_; }
  QPushButton* OKButton() const { return ok_; }
  QPushButton* PreviewButton() const { return preview_; }
  QPushButton* CancelButton() const { return cancel_; }

  void reject() override;

 private:
  void LoadValues();
  void StoreValues();
  void ShowEnabled();
  // The controls to the presenter, then the command; the dialog ends only
  // when the command took the values.
  void End(void (Form_PageSetup::*command)());

  Form_PageSetup& form_;
  QLineEdit* scale_;
  QLineEdit* l_;
  QLineEdit* t_;
  QLineEdit* w_;
  QLineEdit* h_;
  QCheckBox* fullPage_;
  QCheckBox* center_;
  QPushButton* ok_;
  QPushButton* preview_;
  QPushButton* cancel_;
};

}  // namespace sv::app
