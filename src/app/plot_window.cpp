#include "app/plot_window.h"

#include <algorithm>

#include <QMdiArea>
#include <QPainter>

namespace sv::app {

namespace {

// What a plot is left with once its window has gone.
PlotView g_noPlotView;

const QColor kDesk(128, 128, 128);
constexpr int kMargin = 8;
// Millimetres in a typographic point.
constexpr double kMmPerPoint = 25.4 / 72.0;

QColor ColorOf(uint32_t bgr) {
  return QColor(int(bgr & 0xFF), int((bgr >> 8) & 0xFF), int((bgr >> 16) & 0xFF));
}

}  // namespace

PlotWindow::PlotWindow(Form_Plot& plot, QWidget* parent) : QWidget(parent), plot_(&plot) {
  setObjectName("Form_Plot");
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(120, 90);
  plot.SetView(this);
  setWindowTitle(QString::fromStdString(plot.Caption()));
}

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

void PlotWindow::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), kDesk);
  const QRect page = PageRect();
  if (!plot_ || page.isEmpty()) return;
  const PlotLayerRecord& l = plot_->Layer;
  p.fillRect(page, ColorOf(uint32_t(l.PageColor)));
  p.setPen(QPen(Qt::black, 1));
  p.drawRect(page.adjusted(0, 0, -1, -1));

  const QRect layer = LayerRect();
  if (!(l.BackColor & 0x80000000u)) p.fillRect(layer, ColorOf(l.BackColor));
  p.setPen(QPen(ColorOf(uint32_t(l.FrameColor)), 1));
  p.drawRect(layer);

  if (!l.Title.Text.empty()) {
    const PlotPage pageMm = CurrentPlotPage();
    QFont font(QString::fromStdString(l.Title.FontName));
    font.setBold(l.Title.Bold != 0);
    font.setItalic(l.Title.Italic != 0);
    const double pixels = l.Title.FontSize * kMmPerPoint * page.height() / pageMm.heightMm;
    font.setPixelSize(std::max(6, int(pixels + 0.5)));
    p.setFont(font);
    const QRect band(page.x(), page.y(), page.width(), std::max(0, layer.top() - page.y()));
    p.drawText(band, Qt::AlignHCenter | Qt::AlignVCenter, QString::fromStdString(l.Title.Text));
  }
}

void PlotWindow::Redraw() {
  ++draws_;
  update();
}

// --- PlotView ----------------------------------------------------------------------

void PlotWindow::Plot(Form_Plot&) { Redraw(); }
void PlotWindow::ClearPlot(Form_Plot&) { Redraw(); }

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
