#include "app/calibration_dialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/form_binding.h"

namespace sv::app {

namespace {

QLineEdit* Field(QWidget* parent, const QString& name) {
  auto* e = new QLineEdit(parent);
  e->setObjectName(name);
  e->setMaximumWidth(120);
  return e;
}

}  // namespace

// --- Picture_Cal ------------------------------------------------------------------

CalibrationPicture::CalibrationPicture(QWidget* parent) : QWidget(parent) {
  setObjectName("Picture_Cal");
  setMinimumSize(300, 160);
  setAutoFillBackground(false);
}

void CalibrationPicture::SetLine(const Form_DACalibration::Picture& line) {
  line_ = line;
  update();
}

void CalibrationPicture::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  p.fillRect(rect(), Qt::white);
  const QFontMetrics fm = p.fontMetrics();
  const int left = fm.horizontalAdvance("-00.000 V") + 8;
  const int right = 16;
  const int top = fm.height() + 8;
  const int bottom = fm.height() + 8;
  const QRect plot(left, top, std::max(10, width() - left - right),
                   std::max(10, height() - top - bottom));

  const double e1 = line_.e1, e2 = line_.e2 > line_.e1 ? line_.e2 : line_.e1 + 1;
  double vLo = std::min({0.0, line_.v1, line_.v2});
  double vHi = std::max({0.0, line_.v1, line_.v2});
  if (vHi - vLo < 1e-9) vHi = vLo + 1;
  auto at = [&](double e, double v) {
    return QPointF(plot.left() + (e - e1) / (e2 - e1) * plot.width(),
                   plot.bottom() - (v - vLo) / (vHi - vLo) * plot.height());
  };

  p.setPen(QPen(Qt::gray, 1));
  p.drawRect(plot);
  if (vLo < 0 && vHi > 0) p.drawLine(at(e1, 0), at(e2, 0));
  p.setPen(Qt::black);
  p.drawText(QRect(0, plot.top() - fm.height() / 2, left - 4, fm.height()),
             Qt::AlignRight | Qt::AlignVCenter, QString::number(vHi, 'f', 3) + " V");
  p.drawText(QRect(0, plot.bottom() - fm.height() / 2, left - 4, fm.height()),
             Qt::AlignRight | Qt::AlignVCenter, QString::number(vLo, 'f', 3) + " V");
  p.drawText(QRect(plot.left(), plot.bottom() + 4, plot.width(), fm.height()),
             Qt::AlignLeft | Qt::AlignTop, QString::number(e1, 'f', 0) + " eV");
  p.drawText(QRect(plot.left(), plot.bottom() + 4, plot.width(), fm.height()),
             Qt::AlignRight | Qt::AlignTop, QString::number(e2, 'f', 0) + " eV");
  p.drawText(QRect(0, 2, width(), fm.height()), Qt::AlignLeft | Qt::AlignTop, Q(line_.label));

  p.setPen(QPen(QColor(0, 0, 192), 2));
  p.setClipRect(plot.adjusted(-1, -1, 1, 1));
  p.drawLine(at(line_.e1, line_.v1), at(line_.e2, line_.v2));
}

// --- Form_DACalibration -----------------------------------------------------------

DACalibrationDialog::DACalibrationDialog(Form_DACalibration& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_DACalibration");
  setWindowTitle(Q(form.Caption));
  setModal(true);
  offset_ = Field(this, "Text_Offset");
  gain_ = Field(this, "Text_Gain");
  for (int i = 0; i < 2; ++i) {
    energy_[i] = Field(this, QString("Text_Energy_%1").arg(i));
    voltage_[i] = Field(this, QString("Text_Voltage_%1").arg(i));
  }
  auto* fixed = new QGroupBox("When the line changes, keep", this);
  fixed->setObjectName("Option_Voltage");
  voltageFixed_ = new QRadioButton("the &voltages", fixed);
  energyFixed_ = new QRadioButton("the &energies", fixed);
  auto* fixedBox = new QHBoxLayout(fixed);
  fixedBox->addWidget(voltageFixed_);
  fixedBox->addWidget(energyFixed_);
  picture_ = new CalibrationPicture(this);

  auto button = [this](const QString& caption, const char* name) {
    return CommandButton(this, caption, name);
  };
  auto* acceptButton = button("&Accept", "Command_Accept");
  auto* defaultButton = button("&Default", "Command_Default");
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->button(QDialogButtonBox::Ok)->setObjectName("Command_OK");
  buttons->button(QDialogButtonBox::Cancel)->setObjectName("Command_Cancel");
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* grid = new QGridLayout;
  grid->addWidget(new QLabel("Gain (V/eV):", this), 0, 0);
  grid->addWidget(gain_, 0, 1);
  grid->addWidget(new QLabel("Offset (V):", this), 0, 2);
  grid->addWidget(offset_, 0, 3);
  grid->addWidget(new QLabel("Test point", this), 1, 0);
  grid->addWidget(new QLabel("Energy (eV)", this), 1, 1);
  grid->addWidget(new QLabel("Voltage (V)", this), 1, 3);
  for (int i = 0; i < 2; ++i) {
    grid->addWidget(new QLabel(QString::number(i + 1), this), 2 + i, 0);
    grid->addWidget(energy_[i], 2 + i, 1);
    grid->addWidget(new QLabel("<->", this), 2 + i, 2, Qt::AlignCenter);
    grid->addWidget(voltage_[i], 2 + i, 3);
  }
  auto* row = new QHBoxLayout;
  row->addWidget(acceptButton);
  row->addWidget(defaultButton);
  row->addStretch(1);
  row->addWidget(buttons);
  auto* box = new QVBoxLayout(this);
  box->addLayout(grid);
  box->addWidget(fixed);
  box->addWidget(picture_, 1);
  box->addLayout(row);

  for (int i = 0; i < 2; ++i) {
    connect(energy_[i], &QLineEdit::textEdited, this, [this, i](const QString& t) {
      form_.Text_Energy[size_t(i)] = t.toStdString();
      form_.Text_Energy_Change(i);
    });
    connect(voltage_[i], &QLineEdit::textEdited, this, [this, i](const QString& t) {
      form_.Text_Voltage[size_t(i)] = t.toStdString();
      form_.Text_Voltage_Change(i);
    });
  }
  connect(voltageFixed_, &QRadioButton::toggled, this, [this](bool on) {
    if (!loading_) form_.Option_Voltage = on;
  });
  connect(acceptButton, &QPushButton::clicked, this, [this] {
    Take();
    form_.Command_Accept();
  });
  connect(defaultButton, &QPushButton::clicked, this, [this] { form_.Command_Default(); });
  form_.SetView(this);
  LoadControls();
}

DACalibrationDialog::~DACalibrationDialog() { form_.SetView(nullptr); }

void DACalibrationDialog::Take() {
  form_.Text_Offset = offset_->text().toStdString();
  form_.Text_Gain = gain_->text().toStdString();
  for (int i = 0; i < 2; ++i) {
    form_.Text_Energy[size_t(i)] = energy_[i]->text().toStdString();
    form_.Text_Voltage[size_t(i)] = voltage_[i]->text().toStdString();
  }
}

void DACalibrationDialog::LoadControls() {
  loading_ = true;
  setWindowTitle(Q(form_.Caption));
  SetText(offset_, form_.Text_Offset);
  SetText(gain_, form_.Text_Gain);
  for (int i = 0; i < 2; ++i) {
    SetText(energy_[i], form_.Text_Energy[size_t(i)]);
    SetText(voltage_[i], form_.Text_Voltage[size_t(i)]);
  }
  (form_.Option_Voltage ? voltageFixed_ : energyFixed_)->setChecked(true);
  picture_->SetLine(form_.Picture_Cal);
  loading_ = false;
}

void DACalibrationDialog::accept() {
  Take();
  if (form_.Command_OK()) QDialog::accept();
}

void DACalibrationDialog::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

// --- Form_DefineLimits ------------------------------------------------------------

DefineLimitsDialog::DefineLimitsDialog(Form_DefineLimits& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_DefineLimits");
  setWindowTitle(Q(form.Caption));
  setModal(true);
  min_ = Field(this, "Text_Min");
  max_ = Field(this, "Text_Max");
  min_->setText(Q(form.Text_Min));
  max_->setText(Q(form.Text_Max));
  auto* grid = new QGridLayout;
  grid->addWidget(new QLabel(Q(form.MinCaption), this), 0, 0);
  grid->addWidget(min_, 0, 1);
  grid->addWidget(new QLabel(Q(form.MinUnit), this), 0, 2);
  grid->addWidget(new QLabel(Q(form.MaxCaption), this), 1, 0);
  grid->addWidget(max_, 1, 1);
  grid->addWidget(new QLabel(Q(form.MaxUnit), this), 1, 2);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->button(QDialogButtonBox::Ok)->setObjectName("Command_OK");
  buttons->button(QDialogButtonBox::Cancel)->setObjectName("Command_Cancel");
  auto* defaults = buttons->addButton("&Default", QDialogButtonBox::ResetRole);
  defaults->setObjectName("Command_Default");
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(defaults, &QPushButton::clicked, this, [this] {
    form_.Command_Default();
    min_->setText(Q(form_.Text_Min));
    max_->setText(Q(form_.Text_Max));
  });
  auto* box = new QVBoxLayout(this);
  box->addLayout(grid);
  box->addWidget(buttons);
}

void DefineLimitsDialog::accept() {
  form_.Text_Min = min_->text().toStdString();
  form_.Text_Max = max_->text().toStdString();
  if (form_.Command_OK()) QDialog::accept();
}

void DefineLimitsDialog::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

}  // namespace sv::app
