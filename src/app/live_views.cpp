#include "app/live_views.h"

#include <algorithm>

#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QMdiSubWindow>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/main_window.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"

namespace sv::app {

TimerGrabDialog::TimerGrabDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle(kTimerGrabTitle);
  auto* layout = new QVBoxLayout(this);
  label_ = new QLabel(this);
  label_->setAlignment(Qt::AlignCenter);
  QFont big = label_->font();
  big.setPointSize(big.pointSize() * 3);
  label_->setFont(big);
  cancel_ = new QPushButton("Cancel", this);
  layout->addWidget(label_);
  layout->addWidget(cancel_);
  connect(cancel_, &QPushButton::clicked, this, [] { TimerGrabForm().Cancel(); });
  TimerGrabForm().SetView(this);
}

TimerGrabDialog::~TimerGrabDialog() {
  if (TimerGrabForm().Visible()) TimerGrabForm().Cancel();
  TimerGrabForm().SetView(nullptr);
}

void TimerGrabDialog::Changed(const Form_TimerGrab& form) {
  label_->setText(QString::fromStdString(form.Label_Time));
  if (form.Visible() && !isVisible()) show();
  if (!form.Visible() && isVisible()) hide();
}

void TimerGrabDialog::reject() { TimerGrabForm().Cancel(); }

FullScreenWidget::FullScreenWidget() : QWidget(nullptr) {
  setWindowTitle("Full Screen");
  setAttribute(Qt::WA_OpaquePaintEvent);
  FullScreenForm().SetView(this);
}

FullScreenWidget::~FullScreenWidget() { FullScreenForm().SetView(nullptr); }

void FullScreenWidget::Present(const Form_Camera& image) {
  image_ = &image;
  ++presents_;
  update();
}

void FullScreenWidget::Shown(bool on) {
  if (on) {
    showFullScreen();
  } else {
    image_ = nullptr;
    hide();
  }
}

void FullScreenWidget::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), Qt::black);
  if (!image_) return;
  const Form_Camera& form = *image_;
  const uint8_t* bits = form.ImagePtr8();
  const long width = form.ImageWidth(), height = form.ImageHeight();
  const bool colour = form.HasColors();
  if (!bits || width <= 0 || height <= 0 ||
      form.ImageByteWidth() < (colour ? 3 * width : width))
    return;
  QImage picture(const_cast<uchar*>(bits), int(width), int(height),
                 qsizetype(form.ImageByteWidth()),
                 colour ? QImage::Format_BGR888 : QImage::Format_Indexed8);
  if (!colour) {
    if (colours_.size() != 256) colours_.resize(256);
    for (int i = 0; i < 256; ++i) {
      const RGBQuad& q = form.Header.bmiColors[i];
      colours_[i] = qRgb(q.rgbRed, q.rgbGreen, q.rgbBlue);
    }
    picture.setColorTable(colours_);
  }
  // The whole picture, as large as the screen allows, in its proportions;
  // bottom-up lines, as in the image windows.
  const double f = std::min(double(this->width()) / double(width),
                            double(this->height()) / double(height));
  const QRectF target((this->width() - width * f) / 2, (this->height() - height * f) / 2,
                      width * f, height * f);
  p.save();
  p.translate(target.left(), target.bottom());
  p.scale(f, -f);
  p.drawImage(QPointF(0, 0), picture);
  p.restore();
}

void FullScreenWidget::keyPressEvent(QKeyEvent*) { FullScreenForm().Hide(); }
void FullScreenWidget::mousePressEvent(QMouseEvent*) { FullScreenForm().Hide(); }

void InstallLiveViews(MDIForm_Main& main, MainWindow* window) {
  // Owned by the main window, or deleted with it; each unbinds itself when
  // it goes.
  new TimerGrabDialog(window);
  auto* full = new FullScreenWidget();
  QObject::connect(window, &QObject::destroyed, full, [full] { delete full; });
  QPointer<MainWindow> guarded(window);
  main.SetCommand("mnuShowBackgroundImage", [guarded](int) {
    mnuShowBackgroundImage_Click();
    Form_Camera* bg = BackgroundImage();
    if (!guarded || !bg) return;
    if (QMdiSubWindow* sub = guarded->SubWindowFor(bg->Handle()))
      if (sub->isVisible() != bg->Visible()) sub->setVisible(bg->Visible());
  });
}

}  // namespace sv::app
