#include "app/plot_window.h"

#include <algorithm>
#include <cmath>

#include <QLabel>
#include <QMdiArea>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QRegion>
#include <QVBoxLayout>

#include "app/toolbar_icons.h"
#include "paint/qt_surface.h"

namespace sv::app {

namespace {

const QColor kDesk(128, 128, 128);
constexpr int kMargin = 8;

// The mouse buttons as the plot's tools number them: 1 left, 2 right, 4 middle.
int ButtonCode(Qt::MouseButtons buttons) {
  int code = 0;
  if (buttons & Qt::LeftButton) code |= 1;
  if (buttons & Qt::RightButton) code |= 2;
  if (buttons & Qt::MiddleButton) code |= 4;
  return code;
}

QString Text(const std::string& s) { return QString::fromStdString(s); }

}  // namespace

PlotWindow::PlotWindow(Form_Plot& plot, QWidget* parent) : QWidget(parent), plot_(&plot) {
  setObjectName("Form_Plot");
  setWindowIcon(DocumentIcon(DocumentKind::Plot));
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(120, 90);

  info_ = new QLabel(this);
  info_->setObjectName("Label_Info");
  info_->setAutoFillBackground(true);
  info_->setMargin(2);
  info_->setFrameStyle(QFrame::Box | QFrame::Plain);
  QPalette pal = info_->palette();
  pal.setColor(QPalette::Window, QColor(255, 255, 225));
  pal.setColor(QPalette::WindowText, Qt::black);
  info_->setPalette(pal);
  info_->move(2, 2);
  info_->hide();

  plot.SetView(this);
  setWindowTitle(QString::fromStdString(plot.Caption()));
  setCursor(ToolCursor(plot.Tool()));
}

// The result window is a child and goes with the window.
PlotWindow::~PlotWindow() { Detach(); }

void PlotWindow::Detach() {
  if (plot_) plot_->SetView(nullptr);
  plot_ = nullptr;
}

QSize PlotWindow::sizeHint() const {
  const PlotPage page = CurrentPlotPage();
  const double aspect = page.heightMm > 0 ? page.widthMm / page.heightMm : 297.0 / 210.0;
  const int width = 480;
  return QSize(width, int(width / aspect) + 2 * kMargin);
}

QRect PlotWindow::PageRect() const {
  // The page keeps the aspect of the printer page; the smaller fit wins.
  const PlotPage page = CurrentPlotPage();
  const QRect area = rect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
  if (area.width() <= 0 || area.height() <= 0 || page.widthMm <= 0 || page.heightMm <= 0)
    return QRect();
  long w = area.width(), h = area.height();
  FitToPage(w, h, page);
  if (w <= 0 || h <= 0) return QRect();
  return QRect(area.x() + (area.width() - int(w)) / 2, area.y() + (area.height() - int(h)) / 2,
               int(w), int(h));
}

QRect PlotWindow::LayerRect() const {
  const QRect page = PageRect();
  if (!plot_ || page.isEmpty()) return QRect();
  const PlotLayerRecord& l = plot_->Layer;
  // Top is the distance of the layer's lower edge from the page's bottom.
  const double left = page.x() + page.width() * double(l.Left);
  const double bottom = page.y() + page.height() * (1.0 - double(l.Top));
  const double width = page.width() * double(l.Width);
  const double height = page.height() * double(l.Height);
  return QRectF(left, bottom - height, width, height).toRect();
}

Qt::CursorShape PlotWindow::ToolCursor(long tool) {
  switch (tool) {
    case 2:  // Zoom
    case 3:  // Screen Reader
    case 4:  // Data Reader
      return Qt::CrossCursor;
    case 5:  // Marker: it moves sideways
      return Qt::SizeHorCursor;
    case 6:  // Peak Integrate: points along a curve
      return Qt::PointingHandCursor;
    default:
      return Qt::ArrowCursor;
  }
}

// --- Picture1 ----------------------------------------------------------------------

void PlotWindow::MakePicture(QSize size) {
  surface_.reset();
  painter_.reset();
  picture_ = QImage(size, QImage::Format_RGB32);
  picture_.fill(Qt::white);
  painter_ = std::make_unique<QPainter>(&picture_);
  surface_ = std::make_unique<paint::QtSurface>(*painter_, QSizeF(size), true, true);
}

bool PlotWindow::PictureStale() const {
  const QRect page = PageRect();
  return !page.isEmpty() && picture_.size() != page.size();
}

DrawSurface* PlotWindow::Picture() {
  // A picture of the wrong size serves until the next painting draws it anew.
  if (!surface_) {
    const QRect page = PageRect();
    if (page.isEmpty()) return nullptr;
    MakePicture(page.size());
  }
  return surface_.get();
}

QImage PlotWindow::PictureImage() const {
  // A deep copy: the painter goes on writing into the picture's own pixels.
  return picture_.copy();
}

void PlotWindow::RefreshPicture() {
  if (!plot_ || refreshing_ || !PictureStale()) return;
  refreshing_ = true;
  MakePicture(PageRect().size());
  plot_->ClearPlot();
  plot_->Plot();
  refreshing_ = false;
}

void PlotWindow::ShowPicture() {
  ++fullShows_;
  if (!refreshing_) update(PageRect());
}

void PlotWindow::ShowPicture(const DrawRect& changed) {
  ++partShows_;
  if (refreshing_) return;
  const QRect page = PageRect();
  // Whole pixels around the change, with one more for the smoothing.
  const int left = int(std::floor(changed.left)) - 1, top = int(std::floor(changed.top)) - 1;
  const int right = int(std::ceil(changed.right)) + 1, bottom = int(std::ceil(changed.bottom)) + 1;
  update(QRect(page.x() + left, page.y() + top, right - left, bottom - top).intersected(page));
}

void PlotWindow::paintEvent(QPaintEvent* e) {
  RefreshPicture();
  QPainter p(this);
  const QRect page = PageRect();
  p.setClipRegion(e->region());
  if (page.isEmpty()) {
    p.fillRect(rect(), kDesk);
    return;
  }
  // The desk around the page, and the page's edge just outside it.
  p.setClipRegion(e->region().subtracted(QRegion(page)));
  p.fillRect(rect(), kDesk);
  p.setPen(QPen(Qt::black, 1));
  p.drawRect(page.adjusted(-1, -1, 0, 0));
  p.setClipRegion(e->region().intersected(QRegion(page)));
  if (picture_.isNull())
    p.fillRect(page, Qt::white);
  else if (picture_.size() == page.size())
    p.drawImage(page.topLeft(), picture_);
  else
    p.drawImage(page, picture_);
}

// --- The mouse ---------------------------------------------------------------------

QPointF PlotWindow::ToPicture(const QPointF& widget) const {
  return widget - QPointF(PageRect().topLeft());
}

void PlotWindow::mousePressEvent(QMouseEvent* e) {
  const QRect page = PageRect();
  if (!plot_ || !page.contains(e->position().toPoint())) return;
  RefreshPicture();
  pressed_ = true;
  const QPointF at = ToPicture(e->position());
  plot_->MouseDown(ButtonCode(e->button()), at.x(), at.y());
}

void PlotWindow::mouseMoveEvent(QMouseEvent* e) {
  if (!plot_ || !pressed_) return;
  const QPointF at = ToPicture(e->position());
  plot_->MouseMove(ButtonCode(e->buttons()), at.x(), at.y());
}

void PlotWindow::mouseReleaseEvent(QMouseEvent* e) {
  if (!plot_ || !pressed_) return;
  if (e->buttons() == Qt::NoButton) pressed_ = false;
  const QPointF at = ToPicture(e->position());
  plot_->MouseUp(ButtonCode(e->button()), at.x(), at.y());
}

void PlotWindow::mouseDoubleClickEvent(QMouseEvent* e) {
  if (!plot_ || e->button() != Qt::LeftButton || !PageRect().contains(e->position().toPoint()))
    return;
  const QPointF at = ToPicture(e->position());
  plot_->DoubleClick(at.x(), at.y());
}

// --- Label_Info, the pointer and the text window ------------------------------------

void PlotWindow::SetInfo(const std::string& text, bool visible) {
  info_->setText(Text(text));
  info_->adjustSize();
  info_->setVisible(visible);
  if (visible) info_->raise();
}

void PlotWindow::ToolChanged(long tool) {
  // The pressed toolbar button is the core's: it follows by itself.
  setCursor(ToolCursor(tool));
}

void PlotWindow::ShowResult(const std::string& title, const std::string& text) {
  if (!result_) {
    auto* w = new QWidget(this, Qt::Window | Qt::Tool);
    w->setObjectName("Form_Result");
    w->setAttribute(Qt::WA_DeleteOnClose, false);
    auto* layout = new QVBoxLayout(w);
    layout->setContentsMargins(0, 0, 0, 0);
    resultText_ = new QPlainTextEdit(w);
    resultText_->setObjectName("Text_Result");
    resultText_->setReadOnly(true);
    resultText_->setLineWrapMode(QPlainTextEdit::NoWrap);
    resultText_->setFont(QFont("Arial", 10));
    layout->addWidget(resultText_);
    w->resize(420, 200);
    result_ = w;
  }
  QString body = Text(text);
  body.replace("\r\n", "\n");
  body.replace('\r', '\n');
  result_->setWindowTitle(Text(title));
  resultText_->setPlainText(body);
  result_->show();
  result_->raise();
}

// --- PlotView ----------------------------------------------------------------------

void PlotWindow::Plot(Form_Plot&) { ++draws_; }
void PlotWindow::ClearPlot(Form_Plot&) { ++draws_; }

void PlotWindow::CaptionChanged(Form_Plot& plot) {
  const QString caption = QString::fromStdString(plot.Caption());
  setWindowTitle(caption);
  if (sub_) sub_->setWindowTitle(caption);
}

void PlotWindow::ReadPlacement(PlotWindowRecord& window) {
  if (!sub_) return;
  window.WindowState = int16_t(sub_->isMinimized() ? 1 : sub_->isMaximized() ? 2 : 0);
  const QRect g = sub_->geometry();
  window.WindowLeft = g.x();
  window.WindowTop = g.y();
  window.WindowWidth = g.width();
  window.WindowHeight = g.height();
}

void PlotWindow::SetWindowState(int state) {
  if (!sub_) return;
  if (!sub_->isVisible()) {
    pendingState_ = state;
    return;
  }
  if (state == 1) sub_->showMinimized();
  else if (state == 2) sub_->showMaximized();
}

bool PlotWindow::PlaceBeforeShow() {
  if (!sub_ || !pendingRect_.isValid()) return false;
  sub_->setGeometry(pendingRect_);
  pendingRect_ = QRect();
  return true;
}

void PlotWindow::StateAfterShow() {
  const int state = pendingState_;
  pendingState_ = 0;
  if (state != 0) SetWindowState(state);
}

void PlotWindow::MoveWindow(int left, int top, int width, int height) {
  if (!sub_ || width <= 0 || height <= 0) return;
  // A window that would lie wholly outside the area comes back into it.
  QRect wanted(left, top, width, height);
  if (QMdiArea* area = sub_->mdiArea()) {
    const QRect room = area->viewport()->rect();
    wanted.setSize(wanted.size().boundedTo(room.size()));
    if (!room.intersects(wanted)) wanted.moveTopLeft(QPoint(0, 0));
  }
  if (sub_->isVisible())
    sub_->setGeometry(wanted);
  else
    pendingRect_ = wanted;
}

void PlotWindow::Close(Form_Plot&) { Detach(); }

}  // namespace sv::app
