#include "app/image_window.h"

#include <algorithm>

#include <QCloseEvent>
#include <QGridLayout>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTimer>
#include <QWheelEvent>

#include "analysis/form_line_setup.h"
#include "analysis/form_window_setup.h"
#include "app/qt_overlay_painter.h"
#include "app/toolbar_icons.h"
#include "core/globals.h"

namespace sv::app {

namespace {

// What a document is left with once its window has gone.
CameraView g_noView;

const QColor kBackground(96, 96, 96);

// Largest zoom index: 1:16.
constexpr long kLastZoomIndex = 30;

}  // namespace

// --- Rendering -----------------------------------------------------------------

void RenderImage(QPainter& p, const Form_Camera& form, QList<QRgb>& colours) {
  const uint8_t* bits = form.ImagePtr8();
  const long width = form.ImageWidth();
  const long height = form.ImageHeight();
  const long bytesPerLine = form.ImageByteWidth();
  if (!bits || width <= 0 || height <= 0) return;
  const bool colour = form.HasColors();
  // A header changed without a new size: nothing sensible to show.
  if (bytesPerLine < (colour ? 3 * width : width)) return;
  if (colour != (form.Header.bmiHeader.biBitCount == 24)) return;

  // The bitmap is wrapped, not copied: the display path allocates no pixels.
  QImage image(const_cast<uchar*>(bits), static_cast<int>(width), static_cast<int>(height),
               static_cast<qsizetype>(bytesPerLine),
               colour ? QImage::Format_BGR888 : QImage::Format_Indexed8);
  if (!colour) {
    if (colours.size() != 256) colours.resize(256);
    for (int i = 0; i < 256; ++i) {
      const RGBQuad& q = form.Header.bmiColors[i];
      const QRgb c = qRgb(q.rgbRed, q.rgbGreen, q.rgbBlue);
      if (colours[i] != c) colours[i] = c;
    }
    image.setColorTable(colours);
  }

  p.save();
  p.setRenderHint(QPainter::SmoothPixmapTransform, false);
  p.setRenderHint(QPainter::Antialiasing, false);
  QTransform zoom;
  zoom.translate(static_cast<qreal>(form.ZoomOffsetX()), static_cast<qreal>(form.ZoomOffsetY()));
  zoom.scale(form.ZoomFactor(), form.ZoomFactor());
  p.setWorldTransform(zoom, true);
  {
    // Bottom-up lines: the first line in memory is the lowest on screen.
    p.save();
    p.translate(0, static_cast<qreal>(height));
    p.scale(1, -1);
    p.drawImage(QPointF(0, 0), image);
    p.restore();
  }
  QtOverlayPainter overlay(p);
  form.Overlay.Draw(overlay);
  p.restore();
}

// --- Picture box -------------------------------------------------------------------

PictureWidget::PictureWidget(ImageWindow& owner) : QWidget(&owner), owner_(owner) {
  setMouseTracking(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setCursor(Qt::CrossCursor);
  setMinimumSize(16, 16);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void PictureWidget::paintEvent(QPaintEvent*) {
  QPainter p(this);
  owner_.PaintPicture(p);
}

void PictureWidget::resizeEvent(QResizeEvent*) { owner_.PictureResized(); }

void PictureWidget::mouseMoveEvent(QMouseEvent* e) {
  const QPoint pos = e->position().toPoint();
  owner_.MouseMoved(pos.x(), pos.y());
}

void PictureWidget::mousePressEvent(QMouseEvent* e) {
  if (e->button() != Qt::LeftButton) return;
  const QPoint pos = e->position().toPoint();
  owner_.MousePressed(pos.x(), pos.y());
}

void PictureWidget::mouseReleaseEvent(QMouseEvent* e) {
  if (e->button() != Qt::LeftButton) return;
  const QPoint pos = e->position().toPoint();
  owner_.MouseReleased(pos.x(), pos.y());
}

void PictureWidget::wheelEvent(QWheelEvent* e) {
  if (!(e->modifiers() & Qt::ControlModifier)) {
    e->ignore();
    return;
  }
  const int steps = e->angleDelta().y() / 120;
  if (steps != 0) owner_.WheelZoom(steps);
  e->accept();
}

// --- Image window ----------------------------------------------------------------

ImageWindow::ImageWindow(Form_Camera& form, QWidget* parent)
    : QWidget(parent), form_(&form) {
  setWindowIcon(DocumentIcon(DocumentKind::Image));
  picture_ = new PictureWidget(*this);
  hbar_ = new QScrollBar(Qt::Horizontal, this);
  vbar_ = new QScrollBar(Qt::Vertical, this);
  comment_ = new QPlainTextEdit(this);
  comment_->setObjectName("Text_Comment");
  comment_->setPlaceholderText("Comment");
  comment_->setFixedHeight(CommentHeight());
  hbar_->hide();
  vbar_->hide();

  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(0);
  grid->addWidget(picture_, 0, 0);
  grid->addWidget(vbar_, 0, 1);
  grid->addWidget(hbar_, 1, 0);
  grid->addWidget(comment_, 2, 0, 1, 2);

  connect(hbar_, &QScrollBar::valueChanged, this, [this] { ScrollMoved(); });
  connect(vbar_, &QScrollBar::valueChanged, this, [this] { ScrollMoved(); });
  connect(comment_, &QPlainTextEdit::textChanged, this, [this] {
    if (syncing_ || !form_) return;
    form_->ImgDescription = comment_->toPlainText().toStdString();
  });

  CommentChanged(form);
  RefreshComment();
  setWindowTitle(QString::fromStdString(form.Caption()));
}

ImageWindow::~ImageWindow() { Detach(); }

void ImageWindow::Detach() {
  if (form_) form_->SetView(&g_noView);
  form_ = nullptr;
}

int ImageWindow::CommentHeight() const {
  return comment_->fontMetrics().lineSpacing() * 3 + 10;
}

void ImageWindow::RefreshComment() {
  const bool show = G().ViewImageComment != 0;
  if (comment_->isVisibleTo(this) != show) comment_->setVisible(show);
}

void ImageWindow::SetMaxClientSize(int width, int height) {
  if (!form_) return;
  form_->MaxClientWidth = std::max(16, width);
  form_->MaxClientHeight = std::max(16, height - (G().ViewImageComment ? CommentHeight() : 0));
}

QSize ImageWindow::FrameSize() const {
  if (!sub_) return QSize(0, 0);
  return sub_->sizeHint() - sizeHint();
}

QSize ImageWindow::sizeHint() const {
  QSize client = wanted_;
  if (!client.isValid() && form_) {
    client = QSize(static_cast<int>(form_->ImageWidth() * form_->ZoomFactor()),
                   static_cast<int>(form_->ImageHeight() * form_->ZoomFactor()));
  }
  if (!client.isValid() || client.isEmpty()) client = QSize(384, 288);
  if (form_ && form_->VScrollVisible) client.rwidth() += vbar_->sizeHint().width();
  if (form_ && form_->HScrollVisible) client.rheight() += hbar_->sizeHint().height();
  if (G().ViewImageComment) client.rheight() += CommentHeight();
  return client;
}

void ImageWindow::PaintPicture(QPainter& p) {
  p.fillRect(picture_->rect(), kBackground);
  if (form_) RenderImage(p, *form_, colours_);
}

void ImageWindow::PictureResized() {
  if (!form_) return;
  form_->ClientWidth = picture_->width();
  form_->ClientHeight = picture_->height();
  form_->Updatescrollbars();
  SyncScrollBars();
  picture_->update();
}

namespace {

// The image pixel under a picture point, held inside the image.
bool ToolPoint(const Form_Camera& form, int x, int y, long& ix, long& iy) {
  const bool inside = form.ScreenToImage(x, y, ix, iy);
  ix = std::clamp(ix, 0L, std::max(0L, form.ImageWidth() - 1));
  iy = std::clamp(iy, 0L, std::max(0L, form.ImageHeight() - 1));
  return inside;
}

bool ForWindowTool(const Form_Camera* form) {
  return form && form->mode() == kWindowSetupMode && WindowSetupForm().ImageForm == form;
}

bool ForLineTool(const Form_Camera* form) {
  return form && form->mode() == kLineSetupMode && LineSetupForm().ImageForm == form;
}

}  // namespace

void ImageWindow::MouseMoved(int x, int y) {
  if (!form_) return;
  form_->PointScan(x, y);
  if (ForWindowTool(form_)) {
    long ix = 0, iy = 0;
    const bool inside = ToolPoint(*form_, x, y, ix, iy);
    if (inside || toolDrag_) WindowSetupForm().Picture_MouseMove(ix, iy, toolDrag_);
  } else if (ForLineTool(form_)) {
    long ix = 0, iy = 0;
    const bool inside = ToolPoint(*form_, x, y, ix, iy);
    if (inside || toolDrag_) LineSetupForm().Picture_MouseMove(ix, iy, toolDrag_);
  }
}

void ImageWindow::MousePressed(int x, int y) {
  const bool lines = ForLineTool(form_);
  if (!ForWindowTool(form_) && !lines) return;
  long ix = 0, iy = 0;
  if (!ToolPoint(*form_, x, y, ix, iy)) return;
  toolDrag_ = true;
  if (lines)
    LineSetupForm().Picture_MouseDown(ix, iy);
  else
    WindowSetupForm().Picture_MouseDown(ix, iy);
}

void ImageWindow::MouseReleased(int x, int y) {
  if (!toolDrag_) return;
  toolDrag_ = false;
  long ix = 0, iy = 0;
  if (ForLineTool(form_)) {
    ToolPoint(*form_, x, y, ix, iy);
    LineSetupForm().Picture_MouseUp(ix, iy);
    return;
  }
  if (!ForWindowTool(form_)) return;
  ToolPoint(*form_, x, y, ix, iy);
  WindowSetupForm().Picture_MouseUp(ix, iy);
}

void ImageWindow::WheelZoom(int steps) {
  if (!form_) return;
  const long index = std::clamp(form_->ZoomIndex - steps, 0L, kLastZoomIndex);
  if (index != form_->ZoomIndex) form_->SetZoom(index);
}

void ImageWindow::SyncScrollBars() {
  if (!form_) return;
  syncing_ = true;
  hbar_->setRange(0, static_cast<int>(std::max(0L, form_->HScrollMax)));
  hbar_->setPageStep(std::max(1, form_->ClientWidth));
  hbar_->setSingleStep(std::max(1, static_cast<int>(form_->ZoomFactor() * 8)));
  hbar_->setValue(static_cast<int>(-form_->ZoomOffsetX()));
  vbar_->setRange(0, static_cast<int>(std::max(0L, form_->VScrollMax)));
  vbar_->setPageStep(std::max(1, form_->ClientHeight));
  vbar_->setSingleStep(std::max(1, static_cast<int>(form_->ZoomFactor() * 8)));
  vbar_->setValue(static_cast<int>(-form_->ZoomOffsetY()));
  if (hbar_->isVisibleTo(this) != form_->HScrollVisible) hbar_->setVisible(form_->HScrollVisible);
  if (vbar_->isVisibleTo(this) != form_->VScrollVisible) vbar_->setVisible(form_->VScrollVisible);
  syncing_ = false;
}

void ImageWindow::ScrollMoved() {
  if (syncing_ || !form_) return;
  form_->SetZoomOffsets(-hbar_->value(), -vbar_->value());
  picture_->update();
}

// --- CameraView ------------------------------------------------------------------

void ImageWindow::Present(const Form_Camera&) { picture_->update(); }

void ImageWindow::CaptionChanged(const Form_Camera& form) {
  const QString caption = QString::fromStdString(form.Caption());
  setWindowTitle(caption);
  if (sub_) sub_->setWindowTitle(caption);
}

void ImageWindow::ScrollBarsChanged(const Form_Camera&) {
  RefreshComment();
  SyncScrollBars();
  picture_->update();
  // The document may have assumed a picture size the window could not give
  // (the main window is too small, or scroll bars took their share): once
  // the layout has settled, the real size goes back to it.
  if (!form_ || reconcilePending_ || !isVisible()) return;
  if (form_->ClientWidth == picture_->width() && form_->ClientHeight == picture_->height()) return;
  reconcilePending_ = true;
  QTimer::singleShot(0, this, [this] {
    reconcilePending_ = false;
    if (!form_ || !isVisible()) return;
    if (form_->ClientWidth != picture_->width() || form_->ClientHeight != picture_->height())
      PictureResized();
  });
}

void ImageWindow::ResizeTo(const Form_Camera&, int clientWidth, int clientHeight) {
  wanted_ = QSize(std::max(16, clientWidth), std::max(16, clientHeight));
  updateGeometry();
  if (!sub_ || sub_->isMaximized() || sub_->isMinimized()) return;
  QSize outer = sub_->sizeHint();
  if (QWidget* area = sub_->parentWidget()) outer = outer.boundedTo(area->size());
  sub_->resize(outer);
}

bool ImageWindow::Maximised() const { return sub_ && sub_->isMaximized(); }

void ImageWindow::CommentChanged(const Form_Camera& form) {
  const QString text = QString::fromStdString(form.ImgDescription);
  if (comment_->toPlainText() == text) return;
  syncing_ = true;
  comment_->setPlainText(text);
  syncing_ = false;
}

void ImageWindow::Close(const Form_Camera&) { Detach(); }

// --- Subwindow ---------------------------------------------------------------------

ChildSubWindow::ChildSubWindow(long handle, QWidget* parent)
    : QMdiSubWindow(parent), handle_(handle) {
  setAttribute(Qt::WA_DeleteOnClose, false);
}

void ChildSubWindow::closeEvent(QCloseEvent* e) {
  if (removing_) {
    QMdiSubWindow::closeEvent(e);
    return;
  }
  // The document decides; when it agrees, the main window removes us.
  e->ignore();
  if (onClose) onClose(handle_);
}

}  // namespace sv::app
