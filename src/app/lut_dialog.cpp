#include "app/lut_dialog.h"

#include <algorithm>

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QVBoxLayout>

#include "core/globals.h"
#include "image/form_camera.h"

namespace sv::app {

namespace {

QString Q(const std::string& s) { return QString::fromStdString(s); }

// Tool-form positions are kept in twips.
constexpr int kTwipsPerPixel = 15;

QSlider* MakeSlider(QWidget* parent) {
  auto* s = new QSlider(Qt::Horizontal, parent);
  s->setRange(0, Form_LUT::kSliderMax);
  s->setPageStep(Form_LUT::kSliderMax / 20);
  s->setMinimumWidth(200);
  return s;
}

}  // namespace

LutDialog::LutDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_LUT");
  setWindowTitle(Form_LUT::kTitle);
  setModal(false);

  imageName_ = new QLabel(this);
  type_ = new QComboBox(this);
  type_->setObjectName("Combo_LUTtype");
  for (const std::string& name : Form_LUT::LutTypeNames()) type_->addItem(Q(name));
  minText_ = new QLineEdit(this);
  minText_->setObjectName("Text_Min");
  maxText_ = new QLineEdit(this);
  maxText_->setObjectName("Text_Max");
  for (QLineEdit* e : {minText_, maxText_}) e->setMaximumWidth(80);
  minSlider_ = MakeSlider(this);
  minSlider_->setObjectName("Slider_Min");
  maxSlider_ = MakeSlider(this);
  maxSlider_->setObjectName("Slider_Max");
  inverse_ = new QCheckBox("&Inverse", this);
  inverse_->setObjectName("Check_Inverse");

  auto* grid = new QGridLayout;
  auto* typeLabel = new QLabel("&Type:", this);
  typeLabel->setBuddy(type_);
  grid->addWidget(typeLabel, 0, 0);
  grid->addWidget(type_, 0, 1, 1, 3);
  auto* minLabel = new QLabel("M&in:", this);
  minLabel->setBuddy(minText_);
  grid->addWidget(minLabel, 1, 0);
  grid->addWidget(minSlider_, 1, 1);
  grid->addWidget(minText_, 1, 2);
  grid->addWidget(new QLabel("%", this), 1, 3);
  auto* maxLabel = new QLabel("M&ax:", this);
  maxLabel->setBuddy(maxText_);
  grid->addWidget(maxLabel, 2, 0);
  grid->addWidget(maxSlider_, 2, 1);
  grid->addWidget(maxText_, 2, 2);
  grid->addWidget(new QLabel("%", this), 2, 3);
  grid->addWidget(inverse_, 3, 1, 1, 3);

  auto* buttons = new QDialogButtonBox(this);
  apply_ = buttons->addButton("&Apply", QDialogButtonBox::ApplyRole);
  apply_->setObjectName("Command_Apply");
  QPushButton* close = buttons->addButton(QDialogButtonBox::Close);
  close->setAutoDefault(false);
  apply_->setDefault(true);

  auto* box = new QVBoxLayout(this);
  box->addWidget(imageName_);
  box->addLayout(grid);
  box->addWidget(buttons);

  connect(type_, &QComboBox::currentIndexChanged, this, [this](int i) {
    if (loading_ || i < 0) return;
    lut_.Combo_LUTtype = i;
    lut_.Change();
  });
  connect(minText_, &QLineEdit::textEdited, this, [this] { TextEdited(); });
  connect(maxText_, &QLineEdit::textEdited, this, [this] { TextEdited(); });
  connect(minSlider_, &QSlider::valueChanged, this, [this] { SliderMoved(); });
  connect(maxSlider_, &QSlider::valueChanged, this, [this] { SliderMoved(); });
  connect(inverse_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    lut_.Check_Inverse = on;
    lut_.Change();
  });
  connect(apply_, &QPushButton::clicked, this, [this] {
    lut_.Text_Min = minText_->text().toStdString();
    lut_.Text_Max = maxText_->text().toStdString();
    if (lut_.Command_Apply()) lut_.Refresh();
    LoadControls();
  });
  connect(close, &QPushButton::clicked, this, &QDialog::hide);

  LoadControls();
}

LutDialog::~LutDialog() { lut_.Bind(nullptr); }

void LutDialog::Bind(Form_Camera* image) {
  if (image == lut_.Image()) {
    lut_.Refresh();
  } else {
    lut_.Bind(image);
  }
  LoadControls();
}

void LutDialog::LoadControls() {
  loading_ = true;
  const bool bound = lut_.Image() != nullptr;
  imageName_->setText(bound ? Q(lut_.Image()->Title()) : QString("No image"));
  for (QWidget* w : std::initializer_list<QWidget*>{type_, minText_, maxText_, minSlider_,
                                                    maxSlider_, inverse_, apply_})
    w->setEnabled(bound);
  type_->setCurrentIndex(lut_.Combo_LUTtype);
  minText_->setText(Q(lut_.Text_Min));
  maxText_->setText(Q(lut_.Text_Max));
  minSlider_->setValue(lut_.Slider_Min);
  maxSlider_->setValue(lut_.Slider_Max);
  inverse_->setChecked(lut_.Check_Inverse);
  loading_ = false;
}

// Typing changes the picture as soon as the limits are valid; the sliders
// follow the text.
void LutDialog::TextEdited() {
  if (loading_) return;
  lut_.Text_Min = minText_->text().toStdString();
  lut_.Text_Max = maxText_->text().toStdString();
  if (!lut_.Change()) return;
  loading_ = true;
  float f = 0.0f;
  if (Form_LUT::ParsePercent(lut_.Text_Min, f))
    minSlider_->setValue(static_cast<int>(f * Form_LUT::kSliderMax + 0.5f));
  if (Form_LUT::ParsePercent(lut_.Text_Max, f))
    maxSlider_->setValue(static_cast<int>(f * Form_LUT::kSliderMax + 0.5f));
  loading_ = false;
}

void LutDialog::SliderMoved() {
  if (loading_) return;
  lut_.Slider_Min = minSlider_->value();
  lut_.Slider_Max = maxSlider_->value();
  lut_.Slider_Change();
  loading_ = true;
  minText_->setText(Q(lut_.Text_Min));
  maxText_->setText(Q(lut_.Text_Max));
  loading_ = false;
}

void LutDialog::showEvent(QShowEvent* e) {
  lut_.Visible = true;
  if (!placed_) {
    // The remembered place is in twips; the dialog slides back inside the
    // screen, so the default (the screen's right edge) puts it at the right.
    placed_ = true;
    const Globals& g = G();
    QPoint at(g.LutLeft / kTwipsPerPixel, g.LutTop / kTwipsPerPixel);
    if (QScreen* screen = QGuiApplication::primaryScreen()) {
      const QRect avail = screen->availableGeometry();
      const QSize size = sizeHint().expandedTo(minimumSizeHint());
      at.setX(std::clamp(at.x(), avail.left(), std::max(avail.left(), avail.right() - size.width())));
      at.setY(std::clamp(at.y(), avail.top(), std::max(avail.top(), avail.bottom() - size.height())));
    }
    move(at);
  }
  lut_.Refresh();
  LoadControls();
  QDialog::showEvent(e);
}

void LutDialog::hideEvent(QHideEvent* e) {
  lut_.Visible = false;
  Globals& g = G();
  g.LutLeft = pos().x() * kTwipsPerPixel;
  g.LutTop = pos().y() * kTwipsPerPixel;
  QDialog::hideEvent(e);
}

}  // namespace sv::app
