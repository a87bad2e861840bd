#include "app/particle_dialogs.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include "app/form_binding.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "paint/qt_surface.h"

namespace sv::app {

namespace {

ParticleWindow* g_particleWindow = nullptr;

// The display picture of the image's pixels left..right, top..bottom.
QImage CutOutOf(const Form_Camera& image, long left, long top, long right, long bottom) {
  const uint8_t* bits = image.ImagePtr8();
  const long width = image.ImageWidth(), height = image.ImageHeight();
  const bool colour = image.HasColors();
  if (!bits || width <= 0 || height <= 0 || left < 0 || top < 0 || right >= width ||
      bottom >= height || image.ImageByteWidth() < (colour ? 3 * width : width))
    return {};
  QImage whole(bits, int(width), int(height), qsizetype(image.ImageByteWidth()),
               colour ? QImage::Format_BGR888 : QImage::Format_Indexed8);
  if (!colour) {
    QList<QRgb> colours(256);
    for (int i = 0; i < 256; ++i) {
      const RGBQuad& q = image.Header.bmiColors[i];
      colours[i] = qRgb(q.rgbRed, q.rgbGreen, q.rgbBlue);
    }
    whole.setColorTable(colours);
  }
  // The bitmap's first line is the image's lowest.
  const int w = int(right - left + 1), h = int(bottom - top + 1);
  return whole.copy(int(left), int(height - 1 - bottom), w, h).mirrored(false, true);
}

}  // namespace

// --- Binarize -----------------------------------------------------------------------

BinarizeWindow::BinarizeWindow(Form_Binarize& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_Binarize");
  setWindowTitle(Form_Binarize::kTitle);
  setModal(true);
  auto* caption = new QLabel("&Threshold:", this);
  text_ = new QLineEdit(this);
  text_->setObjectName("Text_Threshold");
  text_->setMaximumWidth(80);
  caption->setBuddy(text_);
  scroll_ = new QScrollBar(Qt::Horizontal, this);
  scroll_->setObjectName("HScroll_Threshold");
  scroll_->setMinimumWidth(220);
  range_ = new QLabel(this);
  range_->setObjectName("Label_Range");
  newImage_ = new QCheckBox("Create &New Image", this);
  newImage_->setObjectName("Check_NewImage");
  ok_ = new QPushButton("OK", this);
  ok_->setObjectName("Command_OK");
  ok_->setDefault(true);
  auto* cancel = new QPushButton("Cancel", this);
  cancel->setObjectName("Command_Cancel");

  auto* row = new QHBoxLayout;
  row->addWidget(caption);
  row->addWidget(text_);
  row->addWidget(range_);
  row->addStretch(1);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(ok_);
  buttons->addWidget(cancel);
  auto* box = new QVBoxLayout(this);
  box->addLayout(row);
  box->addWidget(scroll_);
  box->addWidget(newImage_);
  box->addLayout(buttons);

  connect(text_, &QLineEdit::textEdited, this, [this](const QString& t) {
    form_.Text_Threshold = t.toStdString();
    form_.Text_Threshold_Change();
    Load();
  });
  connect(scroll_, &QScrollBar::valueChanged, this, [this](int v) {
    if (loading_) return;
    form_.HScroll_Threshold = v;
    form_.HScroll_Threshold_Change();
    Load();
  });
  connect(newImage_, &QCheckBox::toggled, this, [this](bool on) {
    if (!loading_) form_.Check_NewImage = on;
  });
  connect(ok_, &QPushButton::clicked, this, &BinarizeWindow::accept);
  connect(cancel, &QPushButton::clicked, this, &BinarizeWindow::reject);
  Load();
}

void BinarizeWindow::Load() {
  loading_ = true;
  SetText(text_, form_.Text_Threshold);
  scroll_->setRange(int(form_.HScroll_Min), int(form_.HScroll_Max));
  scroll_->setPageStep(std::max(1, int(form_.HScroll_Max / 16)));
  if (scroll_->value() != int(form_.HScroll_Threshold)) scroll_->setValue(int(form_.HScroll_Threshold));
  range_->setText(Q(form_.Label_Range));
  SetChecked(newImage_, form_.Check_NewImage);
  loading_ = false;
}

void BinarizeWindow::accept() {
  form_.Text_Threshold = text_->text().toStdString();
  form_.Check_NewImage = newImage_->isChecked();
  if (!form_.Command_OK()) {
    text_->setFocus();
    text_->selectAll();
    return;  // the dialog stays
  }
  QDialog::accept();
}

// --- The particle window ------------------------------------------------------------

ParticleResultPicture::ParticleResultPicture(QWidget* parent) : QWidget(parent) {
  setObjectName("Picture_Result");
  setMinimumSize(120, 120);
}

void ParticleResultPicture::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), Qt::white);
  paint::QtSurface surface(p, QSizeF(width(), height()), true);
  ParticleForm().DrawResult(surface, width(), height());
}

ParticleWindow::ParticleWindow(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_Particle");
  setWindowTitle(Form_Particle::kTitle);
  setModal(false);

  particle_ = new QLineEdit(this);
  particle_->setObjectName("Text_Particle");
  particle_->setMaximumWidth(70);
  minSize_ = new QLineEdit(this);
  minSize_->setObjectName("Text_MinSize");
  minSize_->setMaximumWidth(70);
  info_ = new QLabel(this);
  info_->setObjectName("Label_Info");
  info_->setMinimumWidth(260);
  cutOut_ = new QLabel(this);
  cutOut_->setObjectName("Picture_Particle");
  cutOut_->setFixedSize(180, 180);
  cutOut_->setAlignment(Qt::AlignCenter);
  cutOut_->setFrameShape(QFrame::Box);
  result_ = new ParticleResultPicture(this);
  result_->setFixedSize(180, 180);

  auto button = [this](const QString& caption, const char* name, auto command) {
    QPushButton* b = CommandButton(this, caption, name);
    connect(b, &QPushButton::clicked, this, [this, command] {
      Form_Particle& form = ParticleForm();
      form.Text_Particle = particle_->text().toStdString();
      form.Text_MinSize = minSize_->text().toStdString();
      command(form);
      LoadControls();
    });
    return b;
  };
  QPushButton* detect = button("&Detect", "Command_Detect", [](Form_Particle& x) { x.Command_Detect(); });
  QPushButton* remove = button("&Remove", "Command_Remove", [](Form_Particle& x) { x.Command_Remove(); });
  QPushButton* back = button("<", "Command_Back", [](Form_Particle& x) { x.Command_Back(); });
  QPushButton* next = button(">", "Command_Next", [](Form_Particle& x) { x.Command_Next(); });
  QPushButton* analyze = button("&Analyze", "Command_Analyze", [](Form_Particle& x) { x.Command_Analyze(); });
  QPushButton* inside = button("&Inside", "Command_Inside", [](Form_Particle& x) { x.Command_Inside(); });
  QPushButton* save = button("&Save", "Command_Save", [](Form_Particle& x) { x.Command_Save(); });
  QPushButton* sheet = button("&Worksheet", "Command_Worksheet", [](Form_Particle& x) { x.Worksheet(); });

  auto* top = new QHBoxLayout;
  top->addWidget(detect);
  top->addSpacing(12);
  top->addWidget(new QLabel("Min. size:", this));
  top->addWidget(minSize_);
  top->addWidget(remove);
  top->addStretch(1);
  auto* step = new QHBoxLayout;
  step->addWidget(new QLabel("Particle #", this));
  step->addWidget(back);
  step->addWidget(particle_);
  step->addWidget(next);
  step->addWidget(analyze);
  step->addWidget(inside);
  step->addStretch(1);
  auto* pictures = new QHBoxLayout;
  pictures->addWidget(cutOut_);
  pictures->addWidget(result_);
  auto* bottom = new QHBoxLayout;
  bottom->addWidget(info_, 1);
  bottom->addWidget(save);
  bottom->addWidget(sheet);
  auto* box = new QVBoxLayout(this);
  box->addLayout(top);
  box->addLayout(step);
  box->addLayout(pictures);
  box->addLayout(bottom);

  connect(particle_, &QLineEdit::returnPressed, analyze, &QPushButton::click);
  ParticleForm().SetView(this);
  g_particleWindow = this;
  LoadControls();
}

ParticleWindow::~ParticleWindow() {
  if (g_particleWindow == this) g_particleWindow = nullptr;
  ParticleForm().SetView(nullptr);
}

QPushButton* ParticleWindow::Button(const char* name) const {
  return findChild<QPushButton*>(name);
}

void ParticleWindow::ShowFor(Form_Camera& image) {
  Form_Particle& f = ParticleForm();
  if (f.Image() != &image) f.Bind(&image);
  LoadControls();
  show();
  raise();
  activateWindow();
}

void ParticleWindow::LoadControls() {
  if (loading_) return;
  loading_ = true;
  const Form_Particle& f = ParticleForm();
  setWindowTitle(Q(f.Caption.empty() ? std::string(Form_Particle::kTitle) : f.Caption));
  SetText(particle_, f.Text_Particle);
  SetText(minSize_, f.Text_MinSize);
  info_->setText(Q(f.Label_Info));
  const bool any = f.Count() > 0;
  for (const char* name : {"Command_Back", "Command_Next", "Command_Analyze", "Command_Inside",
                           "Command_Save", "Command_Remove", "Command_Worksheet"})
    if (QPushButton* b = Button(name)) b->setEnabled(any);
  if (QPushButton* b = Button("Command_Detect")) b->setEnabled(f.Image() != nullptr);
  UpdateCutOut();
  result_->update();
  loading_ = false;
}

void ParticleWindow::UpdateCutOut() {
  const Form_Particle& f = ParticleForm();
  long l = 0, t = 0, r = 0, b = 0;
  const Form_Camera* image = f.Image();
  QImage cut;
  if (image && f.CutOut(l, t, r, b)) cut = CutOutOf(*image, l, t, r, b);
  if (cut.isNull()) {
    cutOut_->setPixmap(QPixmap());
    return;
  }
  // Whole pixels, as large as the picture allows.
  const int scale = std::max(1, std::min(cutOut_->width() / cut.width(), cutOut_->height() / cut.height()));
  QImage big = cut.width() * scale <= cutOut_->width() && cut.height() * scale <= cutOut_->height()
                   ? cut.scaled(cut.width() * scale, cut.height() * scale)
                   : cut.scaled(cutOut_->size(), Qt::KeepAspectRatio);
  cutOut_->setPixmap(QPixmap::fromImage(big));
}

// --- Installation -------------------------------------------------------------------

ParticleWindow* ParticleDialog() { return g_particleWindow; }

void InstallParticleDialogs(MDIForm_Main& main, QWidget* window) {
  BinarizeDialog() = [window](Form_Binarize& form) {
    BinarizeWindow dialog(form, window);
    return dialog.exec() == QDialog::Accepted;
  };
  MDIForm_Main* m = &main;
  auto active = [m]() { return dynamic_cast<Form_Camera*>(m->ActiveChild()); };
  main.SetEnabledRule("mnuParticles", [active] { return active() != nullptr; });
  main.SetCommand("mnuParticles", [active, window](int) {
    Form_Camera* image = active();
    if (!image) return;
    ParticleWindow* w = g_particleWindow ? g_particleWindow : new ParticleWindow(window);
    w->ShowFor(*image);
  });
}

void RemoveParticleDialogs() {
  BinarizeDialog() = nullptr;
  delete g_particleWindow;
  g_particleWindow = nullptr;
}

}  // namespace sv::app
