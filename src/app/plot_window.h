// The window of one plot: the page at the aspect of the printer page, the
// layer's frame on it and the title. Curves, axes and legend are drawn by a
// later part of the workbench.
#pragma once

#include <QMdiSubWindow>
#include <QWidget>

#include "plot/form_plot.h"

namespace sv::app {

class PlotWindow : public QWidget, public PlotView {
  Q_OBJECT
 public:
  explicit PlotWindow(Form_Plot& plot, QWidget* parent = nullptr);
  ~PlotWindow() override;

  // The plot, or nullptr once it has gone.
  Form_Plot* Plot() const { return plot_; }
  void Detach();
  void SetSubWindow(QMdiSubWindow* sub) { sub_ = sub; }
  QMdiSubWindow* SubWindow() const { return sub_; }
  QSize sizeHint() const override;

  // The page and the layer frame in widget pixels, as last painted.
  QRect PageRect() const;
  QRect LayerRect() const;
  // Times the picture was asked to be drawn.
  int Draws() const { return draws_; }
  // A place and state read from a file wait for the window's first showing:
  // the place before it (true when there was one), the state after.
  bool PlaceBeforeShow();
  void StateAfterShow();

  // PlotView.
  void Plot(Form_Plot&) override;
  void ClearPlot(Form_Plot&) override;
  void CaptionChanged(Form_Plot&) override;
  void ReadPlacement(PlotWindowRecord& window) override;
  void SetWindowState(int state) override;
  void MoveWindow(int left, int top, int width, int height) override;
  void Close(Form_Plot&) override;

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  void Redraw();

  Form_Plot* plot_;
  QMdiSubWindow* sub_ = nullptr;
  int draws_ = 0;
  QRect pendingRect_;
  int pendingState_ = 0;
};

}  // namespace sv::app
