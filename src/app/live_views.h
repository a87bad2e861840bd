// The windows of the live modes: the countdown of a timed grab and the
// full-screen picture.
#pragma once

#include <QDialog>
#include <QList>
#include <QRgb>
#include <QWidget>

#include "acquisition/live.h"

class QLabel;
class QPushButton;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class MainWindow;

class TimerGrabDialog : public QDialog, public Form_TimerGrab::View {
 public:
  explicit TimerGrabDialog(QWidget* parent);
  ~TimerGrabDialog() override;
  void Changed(const Form_TimerGrab& form) override;
  QLabel* TimeLabel() const { return label_; }
  QPushButton* CancelButton() const { return cancel_; }

 protected:
  void reject() override;

 private:
  QLabel* label_;
  QPushButton* cancel_;
};

class FullScreenWidget : public QWidget, public Form_FullScreen::View {
 public:
  FullScreenWidget();
  ~FullScreenWidget() override;
  void Present(const Form_Camera& image) override;
  void Shown(bool on) override;
  int Presents() const { return presents_; }

 protected:
  void paintEvent(QPaintEvent*) override;
  void keyPressEvent(QKeyEvent*) override;
  void mousePressEvent(QMouseEvent*) override;

 private:
  const Form_Camera* image_ = nullptr;
  QList<QRgb> colours_;
  int presents_ = 0;
};

// Binds both windows to their presenters, and lets View -> Background Image
// hide the background's window again.
void InstallLiveViews(MDIForm_Main& main, MainWindow* window);

}  // namespace sv::app
