// The window of one image document: the picture at its zoom with the
// overlay, the two scroll bars and the comment box below.
#pragma once

#include <QList>
#include <QMdiSubWindow>
#include <QRgb>
#include <QWidget>
#include <functional>

#include "image/form_camera.h"

class QPlainTextEdit;
class QScrollBar;
class QPainter;

namespace sv::app {

class ImageWindow;

// The picture box: paints the display bitmap and passes the mouse on.
class PictureWidget : public QWidget {
  Q_OBJECT
 public:
  explicit PictureWidget(ImageWindow& owner);

 protected:
  void paintEvent(QPaintEvent*) override;
  void resizeEvent(QResizeEvent*) override;
  void mouseMoveEvent(QMouseEvent*) override;
  void mousePressEvent(QMouseEvent*) override;
  void mouseReleaseEvent(QMouseEvent*) override;
  void wheelEvent(QWheelEvent*) override;

 private:
  ImageWindow& owner_;
};

// Renders the display bitmap of an image with its overlay at the image's
// zoom and offsets. `colours` caches the palette between calls.
void RenderImage(QPainter& painter, const Form_Camera& form, QList<QRgb>& colours);

class ImageWindow : public QWidget, public CameraView {
  Q_OBJECT
 public:
  explicit ImageWindow(Form_Camera& form, QWidget* parent = nullptr);
  ~ImageWindow() override;

  // The document, or nullptr once it has gone.
  Form_Camera* Form() const { return form_; }
  // The document goes: no further calls reach it.
  void Detach();
  void SetSubWindow(QMdiSubWindow* sub) { sub_ = sub; }
  QMdiSubWindow* SubWindow() const { return sub_; }

  PictureWidget* Picture() const { return picture_; }
  QScrollBar* HorizontalBar() const { return hbar_; }
  QScrollBar* VerticalBar() const { return vbar_; }
  QPlainTextEdit* Comment() const { return comment_; }

  // Shows or hides the comment box as the option says.
  void RefreshComment();
  // The largest picture area the main window leaves.
  void SetMaxClientSize(int width, int height);
  // Size of the subwindow frame around this widget.
  QSize FrameSize() const;
  QSize sizeHint() const override;

  // CameraView.
  void Present(const Form_Camera&) override;
  void CaptionChanged(const Form_Camera&) override;
  void ScrollBarsChanged(const Form_Camera&) override;
  void ResizeTo(const Form_Camera&, int clientWidth, int clientHeight) override;
  bool Maximised() const override;
  void CommentChanged(const Form_Camera&) override;
  void Close(const Form_Camera&) override;

  // From the picture box.
  void PaintPicture(QPainter& painter);
  void PictureResized();
  void MouseMoved(int x, int y);
  // The left button on the picture; while the image belongs to the window
  // tool, the mouse goes to it.
  void MousePressed(int x, int y);
  void MouseReleased(int x, int y);
  void WheelZoom(int steps);

 private:
  void SyncScrollBars();
  void ScrollMoved();
  int CommentHeight() const;

  Form_Camera* form_;
  QMdiSubWindow* sub_ = nullptr;
  PictureWidget* picture_;
  QScrollBar* hbar_;
  QScrollBar* vbar_;
  QPlainTextEdit* comment_;
  QList<QRgb> colours_;
  QSize wanted_;  // picture area asked for by the last ResizeTo
  bool syncing_ = false;
  bool toolDrag_ = false;  // the window tool has the left button
  bool reconcilePending_ = false;
};

// A subwindow whose close box asks the document first.
class ChildSubWindow : public QMdiSubWindow {
  Q_OBJECT
 public:
  explicit ChildSubWindow(long handle, QWidget* parent = nullptr);
  long Handle() const { return handle_; }
  // Called from the close box; true when the document agreed and is gone.
  std::function<bool(long handle)> onClose;
  // The document has gone; the window closes without asking.
  void SetRemoving() { removing_ = true; }
  bool Removing() const { return removing_; }

 protected:
  void closeEvent(QCloseEvent*) override;

 private:
  long handle_;
  bool removing_ = false;
};

}  // namespace sv::app
