#include "app/egun_dialog.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMoveEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

#include "core/globals.h"

namespace sv::app {

namespace {

QString Q(const std::string& s) { return QString::fromStdString(s); }

QLabel* Value(QWidget* parent, const char* name) {
  auto* l = new QLabel(parent);
  l->setObjectName(name);
  l->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  l->setMinimumWidth(110);
  return l;
}

}  // namespace

EGunDialog::EGunDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_eGun");
  setWindowTitle("e-Gun");
  setModal(false);
  setWindowFlag(Qt::Tool, true);

  scroll_ = new QScrollBar(Qt::Horizontal, this);
  scroll_->setObjectName("HScroll_Energy");
  scroll_->setMinimumWidth(260);
  min_ = new QLabel(this);
  min_->setObjectName("Label_minEnergy");
  max_ = new QLabel(this);
  max_->setObjectName("Label_maxEnergy");
  energy_ = new QLineEdit(this);
  energy_->setObjectName("Text_Energy");
  energy_->setMaximumWidth(100);
  unit_ = new QLabel("eV", this);
  set_ = new QPushButton("&Set", this);
  set_->setObjectName("Command_Set");
  set_->setDefault(true);
  delay_ = new QLineEdit(this);
  delay_->setObjectName("Text_Delay");
  delay_->setMaximumWidth(70);
  on_ = new QCheckBox("&On", this);
  on_->setObjectName("Check_On");
  auto* mode = new QGroupBox("Value in", this);
  mode->setObjectName("Option_Mode");
  modeEnergy_ = new QRadioButton("&Energy (eV)", mode);
  modeVoltage_ = new QRadioButton("D/A &voltage (V)", mode);
  auto* modeBox = new QHBoxLayout(mode);
  modeBox->addWidget(modeEnergy_);
  modeBox->addWidget(modeVoltage_);
  voltage_ = Value(this, "Label_Voltage");
  dac_ = Value(this, "Label_DAC");
  dacNb_ = Value(this, "Label_DACNb");
  lambda_ = Value(this, "Label_Lambda");

  auto* scrollRow = new QHBoxLayout;
  scrollRow->addWidget(min_);
  scrollRow->addWidget(scroll_, 1);
  scrollRow->addWidget(max_);
  auto* valueRow = new QHBoxLayout;
  valueRow->addWidget(energy_);
  valueRow->addWidget(unit_);
  valueRow->addWidget(set_);
  valueRow->addStretch(1);
  valueRow->addWidget(on_);
  auto* grid = new QGridLayout;
  grid->addWidget(new QLabel("Voltage:", this), 0, 0);
  grid->addWidget(voltage_, 0, 1);
  grid->addWidget(new QLabel("D/A channel:", this), 0, 2);
  grid->addWidget(dacNb_, 0, 3);
  grid->addWidget(new QLabel("Wavelength:", this), 1, 0);
  grid->addWidget(lambda_, 1, 1);
  grid->addWidget(new QLabel("D/A code:", this), 1, 2);
  grid->addWidget(dac_, 1, 3);
  grid->addWidget(new QLabel("Delay (ms):", this), 2, 0);
  grid->addWidget(delay_, 2, 1);
  auto* box = new QVBoxLayout(this);
  box->addLayout(scrollRow);
  box->addLayout(valueRow);
  box->addWidget(mode);
  box->addLayout(grid);
  box->setSizeConstraint(QLayout::SetFixedSize);

  auto take = [this] {
    EGunForm().Text_Energy = energy_->text().toStdString();
    EGunForm().Text_Delay = delay_->text().toStdString();
  };
  connect(set_, &QPushButton::clicked, this, [take] {
    take();
    EGunForm().Command_Set();
  });
  connect(energy_, &QLineEdit::returnPressed, this, [take] {
    take();
    EGunForm().MySetEnergy();
  });
  connect(scroll_, &QScrollBar::valueChanged, this, [this](int v) {
    if (loading_) return;
    EGunForm().Text_Delay = delay_->text().toStdString();
    EGunForm().HScroll_Energy = v;
    EGunForm().HScroll_Energy_Change();
  });
  connect(on_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    EGunForm().Check_On = on;
    EGunForm().Check_On_Click();
  });
  connect(modeVoltage_, &QRadioButton::toggled, this, [this](bool on) {
    if (loading_) return;
    EGunForm().Option_Mode = on ? kEGunModeVoltage : kEGunModeEnergy;
    EGunForm().Option_Mode_Click();
  });
  EGunForm().SetView(this);
}

EGunDialog::~EGunDialog() { EGunForm().SetView(nullptr); }

void EGunDialog::Open() {
  EGunForm().Load();
  adjustSize();
  // The kept place, brought back onto the screen.
  QRect screen(0, 0, 1920, 1080);
  if (QScreen* s = QGuiApplication::primaryScreen()) screen = s->availableGeometry();
  const int x = std::clamp(G().eGunLeft, screen.left(), std::max(screen.left(), screen.right() - width()));
  const int y = std::clamp(G().eGunTop, screen.top(), std::max(screen.top(), screen.bottom() - height()));
  move(x, y);
  show();
  raise();
  activateWindow();
}

void EGunDialog::LoadControls() {
  const Form_eGun& f = EGunForm();
  loading_ = true;
  scroll_->setRange(f.HScroll_Min, f.HScroll_Max);
  const bool volts = f.Option_Mode == kEGunModeVoltage;
  scroll_->setSingleStep(1);
  scroll_->setPageStep(volts ? 100 : 10);
  scroll_->setValue(f.HScroll_Energy);
  min_->setText(Q(f.Label_minEnergy));
  max_->setText(Q(f.Label_maxEnergy));
  if (energy_->text() != Q(f.Text_Energy)) energy_->setText(Q(f.Text_Energy));
  unit_->setText(volts ? "V" : "eV");
  if (delay_->text() != Q(f.Text_Delay)) delay_->setText(Q(f.Text_Delay));
  on_->setChecked(f.Check_On);
  (volts ? modeVoltage_ : modeEnergy_)->setChecked(true);
  voltage_->setText(Q(f.Label_Voltage));
  dac_->setText(Q(f.Label_DAC));
  dacNb_->setText(Q(f.Label_DACNb));
  lambda_->setText(Q(f.Label_Lambda));
  loading_ = false;
}

void EGunDialog::reject() {
  EGunForm().Unload();
  QDialog::reject();
}

void EGunDialog::moveEvent(QMoveEvent* e) {
  QDialog::moveEvent(e);
  if (isVisible()) EGunForm().Moved(x(), y());
}

}  // namespace sv::app
