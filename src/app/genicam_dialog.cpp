#include "app/genicam_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "app/grabber_dialog.h"
#include "core/globals.h"
#include "core/mdi_main.h"

namespace sv::app {

namespace {

QString Q(const std::string& s) { return QString::fromStdString(s); }
std::string S(const QString& s) { return s.toStdString(); }

QLineEdit* Field(const char* name, QWidget* parent) {
  auto* edit = new QLineEdit(parent);
  edit->setObjectName(name);
  edit->setMaximumWidth(110);
  return edit;
}

}  // namespace

GenICamDialog::GenICamDialog(MDIForm_Main& main, QWidget* parent)
    : QDialog(parent), main_(main) {
  setObjectName("Form_GenICamSetup");
  setWindowTitle(Form_GenICamSetup::kTitle);
  setModal(true);

  camera_ = new QComboBox(this);
  camera_->setObjectName("Combo_Camera");
  camera_->setMinimumWidth(260);
  exposure_ = Field("Text_Exposure", this);
  gain_ = Field("Text_Gain", this);
  frameRate_ = Field("Text_FrameRate", this);
  pixelFormat_ = new QComboBox(this);
  pixelFormat_->setObjectName("Combo_PixelFormat");
  x_ = Field("Text_X", this);
  y_ = Field("Text_Y", this);
  width_ = Field("Text_Width", this);
  height_ = Field("Text_Height", this);
  // The presenter checks the values as svbatch does (GenICamCheck).
  width_->setToolTip("Pixels; 0 runs to the sensor's right edge");
  height_->setToolTip("Pixels; 0 runs to the sensor's bottom edge");
  bounds_ = new QLabel(this);
  bounds_->setObjectName("Label_Bounds");
  bounds_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  bounds_->setTextInteractionFlags(Qt::TextSelectableByMouse);

  auto* buttons = new QDialogButtonBox(this);
  ok_ = buttons->addButton(QDialogButtonBox::Ok);
  ok_->setObjectName("Command_OK");
  cancel_ = buttons->addButton(QDialogButtonBox::Cancel);
  cancel_->setObjectName("Command_Cancel");
  apply_ = buttons->addButton(QDialogButtonBox::Apply);
  apply_->setObjectName("Command_Apply");

  auto* exposureForm = new QFormLayout;
  exposureForm->addRow("&Camera:", camera_);
  exposureForm->addRow("&Exposure time (\xC2\xB5s):", exposure_);
  exposureForm->addRow("&Gain (dB):", gain_);
  exposureForm->addRow("&Frame rate (Hz):", frameRate_);
  exposureForm->addRow("&Pixel format:", pixelFormat_);

  auto* region = new QGroupBox("Region", this);
  auto* grid = new QGridLayout(region);
  auto pair = [&](int row, int col, const char* caption, QLineEdit* edit) {
    auto* label = new QLabel(caption, region);
    label->setBuddy(edit);
    grid->addWidget(label, row, col);
    grid->addWidget(edit, row, col + 1);
  };
  pair(0, 0, "&X:", x_);
  pair(0, 2, "&Y:", y_);
  pair(1, 0, "&Width:", width_);
  pair(1, 2, "&Height:", height_);

  auto* box = new QVBoxLayout(this);
  box->addLayout(exposureForm);
  box->addWidget(region);
  box->addWidget(bounds_);
  box->addWidget(buttons);

  connect(camera_, &QComboBox::activated, this, [this](int index) {
    if (loading_) return;
    form_.Combo_Camera_Click(index);
    LoadControls();
  });
  connect(ok_, &QPushButton::clicked, this, &GenICamDialog::accept);
  connect(cancel_, &QPushButton::clicked, this, &GenICamDialog::reject);
  connect(apply_, &QPushButton::clicked, this, [this] { Apply(); });
}

void GenICamDialog::LoadControls() {
  loading_ = true;
  camera_->clear();
  for (const std::string& caption : form_.Combo_Camera) camera_->addItem(Q(caption));
  camera_->setCurrentIndex(form_.CameraIndex);
  exposure_->setText(Q(form_.Text_Exposure));
  gain_->setText(Q(form_.Text_Gain));
  frameRate_->setText(Q(form_.Text_FrameRate));
  pixelFormat_->clear();
  for (const std::string& format : form_.Combo_PixelFormat) pixelFormat_->addItem(Q(format));
  pixelFormat_->setCurrentIndex(form_.PixelFormatIndex);
  x_->setText(Q(form_.Text_X));
  y_->setText(Q(form_.Text_Y));
  width_->setText(Q(form_.Text_Width));
  height_->setText(Q(form_.Text_Height));
  bounds_->setText(Q(form_.Label_Bounds));
  // A camera that did not open leaves nothing to set.
  const bool camera = form_.HasBounds();
  const GenICamBounds& b = form_.Bounds();
  exposure_->setEnabled(camera && b.HasExposure);
  gain_->setEnabled(camera && b.HasGain);
  frameRate_->setEnabled(camera && b.HasFrameRate);
  for (QWidget* w : {static_cast<QWidget*>(pixelFormat_), static_cast<QWidget*>(x_),
                     static_cast<QWidget*>(y_), static_cast<QWidget*>(width_),
                     static_cast<QWidget*>(height_)})
    w->setEnabled(camera);
  ok_->setEnabled(camera);
  apply_->setEnabled(camera);
  loading_ = false;
}

void GenICamDialog::StoreControls() {
  form_.CameraIndex = camera_->currentIndex();
  form_.Text_Exposure = S(exposure_->text());
  form_.Text_Gain = S(gain_->text());
  form_.Text_FrameRate = S(frameRate_->text());
  form_.PixelFormatIndex = pixelFormat_->currentIndex();
  form_.Text_X = S(x_->text());
  form_.Text_Y = S(y_->text());
  form_.Text_Width = S(width_->text());
  form_.Text_Height = S(height_->text());
}

// The camera in use may now send frames of another depth: the display range
// follows it as after a selection. The live picture takes the new size with
// its next frame.
void GenICamDialog::AfterApply() {
  if (G().GrabberOK && GB().GrabberDriver == kDriverGenICam) {
    GB().GrabberBits = std::clamp(GrabberBitsPerPixel(), 1L, 16L);
    GB().GrabberDynamik = 1L << GB().GrabberBits;
  }
  main_.UpdateToolbarState();
}

bool GenICamDialog::Apply() {
  StoreControls();
  const bool ok = form_.Command_Apply();
  if (ok) AfterApply();
  return ok;
}

void GenICamDialog::accept() {
  StoreControls();
  if (!form_.Command_OK()) return;  // the presenter told why; the dialog stays
  AfterApply();
  QDialog::accept();
}

void GenICamDialog::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

void GenICamDialog::showEvent(QShowEvent* e) {
  form_.Form_Load();
  form_.Visible = true;
  LoadControls();
  // The camera's ranges may take more lines than the dialog was sized for.
  adjustSize();
  QDialog::showEvent(e);
}

void GenICamDialog::hideEvent(QHideEvent* e) {
  form_.Visible = false;
  QDialog::hideEvent(e);
}

GenICamDialog* InstallGenICamDialog(MDIForm_Main& main, QWidget* parent) {
  auto* dialog = new GenICamDialog(main, parent);
  GrabberDialog* grabber = parent ? parent->findChild<GrabberDialog*>() : nullptr;
  if (grabber) {
    QPointer<GenICamDialog> guarded(dialog);
    QObject::connect(grabber, &GrabberDialog::CameraSetupRequested, dialog, [guarded] {
      if (!guarded) return;
      guarded->show();
      guarded->raise();
      guarded->activateWindow();
    });
  }
  return dialog;
}

}  // namespace sv::app
