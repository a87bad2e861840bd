// The window of one plot. The plot draws on a kept picture (Picture1): an
// image the size of the page, which keeps the printer page's aspect. The
// window shows the picture on the grey desk, hands the mouse on the page to
// the plot's tools, and shows Label_Info and the tools' text results.
#pragma once

#include <memory>

#include <QImage>
#include <QMdiSubWindow>
#include <QPointer>
#include <QWidget>

#include "plot/form_plot.h"

class QLabel;
class QPainter;
class QPlainTextEdit;

namespace sv::paint {
class QtSurface;
}

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

  // The page and the layer frame in widget pixels for the present size.
  QRect PageRect() const;
  QRect LayerRect() const;
  // Times the plot told of a whole drawing or a clearing.
  int Draws() const { return draws_; }
  // Times the whole page, and a part of it, was asked to be shown again.
  int FullShows() const { return fullShows_; }
  int PartShows() const { return partShows_; }
  // A copy of the picture as it stands (the plot's device units are its
  // pixels); null before the first drawing.
  QImage PictureImage() const;
  // Picture1 is drawn anew at the page's present size when it does not
  // match it; the next painting does this by itself.
  void RefreshPicture();
  QLabel* InfoLabel() const { return info_; }
  // The text window of the last tool result, nullptr before the first.
  QWidget* ResultWindow() const { return result_; }
  QPlainTextEdit* ResultText() const { return resultText_; }
  // The mouse pointer over the picture for a tool code.
  static Qt::CursorShape ToolCursor(long tool);

  // A place and state read from a file wait for the window's first showing:
  // the place before it (true when there was one), the state after.
  bool PlaceBeforeShow();
  void StateAfterShow();

  // PlotView.
  DrawSurface* Picture() override;
  void ShowPicture() override;
  void ShowPicture(const DrawRect& changed) override;
  void Plot(Form_Plot&) override;
  void ClearPlot(Form_Plot&) override;
  void CaptionChanged(Form_Plot&) override;
  void SetInfo(const std::string& text, bool visible) override;
  void ToolChanged(long tool) override;
  void ShowResult(const std::string& title, const std::string& text) override;
  void ReadPlacement(PlotWindowRecord& window) override;
  void SetWindowState(int state) override;
  void MoveWindow(int left, int top, int width, int height) override;
  void Close(Form_Plot&) override;

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent* e) override;
  void mouseMoveEvent(QMouseEvent* e) override;
  void mouseReleaseEvent(QMouseEvent* e) override;
  void mouseDoubleClickEvent(QMouseEvent* e) override;

 private:
  // A new, blank picture of `size`; the painter and surface go over it.
  void MakePicture(QSize size);
  bool PictureStale() const;
  // The mouse position in the picture's device units.
  QPointF ToPicture(const QPointF& widget) const;

  Form_Plot* plot_;
  QMdiSubWindow* sub_ = nullptr;
  // Picture1. The painter and surface stay on the image while it lives.
  QImage picture_;
  std::unique_ptr<QPainter> painter_;
  std::unique_ptr<paint::QtSurface> surface_;
  QLabel* info_ = nullptr;
  QPointer<QWidget> result_;
  QPlainTextEdit* resultText_ = nullptr;
  int draws_ = 0;
  int fullShows_ = 0;
  int partShows_ = 0;
  bool refreshing_ = false;  // the picture is being drawn anew for a paint
  bool pressed_ = false;     // a button went down on the page
  QRect pendingRect_;
  int pendingState_ = 0;
};

}  // namespace sv::app
