#include "app/device_setup_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QShowEvent>
#include <QVBoxLayout>
#include <vector>

#include "app/calibration_dialog.h"
#include "app/form_binding.h"

namespace sv::app {

namespace {

// An empty list leaves nothing to choose: the box closes.
void FillOrClose(QComboBox* combo, const std::vector<std::string>& items, int current) {
  Fill(combo, items, items.empty() ? -1 : current);
  combo->setEnabled(!items.empty());
}

QComboBox* Combo(QWidget* parent, const char* name) {
  auto* c = new QComboBox(parent);
  c->setObjectName(name);
  c->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  return c;
}

}  // namespace

// --- A/D -------------------------------------------------------------------------

ADSetupDialog::ADSetupDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_ADSetup");
  setWindowTitle(kADSetupTitle);
  setModal(true);
  name_ = Combo(this, "Combo_Name");
  range_ = Combo(this, "Combo_Range");
  averaging_ = new QLineEdit(this);
  averaging_->setObjectName("Text_Averaging");
  averaging_->setMaximumWidth(80);
  inputMode_ = new QGroupBox("Input mode", this);
  inputMode_->setObjectName("Option_Input_mode");
  singleEnded_ = new QRadioButton("&Single-ended", inputMode_);
  differential_ = new QRadioButton("Di&fferential", inputMode_);
  auto* modeBox = new QHBoxLayout(inputMode_);
  modeBox->addWidget(singleEnded_);
  modeBox->addWidget(differential_);

  auto* channels = new QGroupBox("Channels", this);
  auto* grid = new QGridLayout(channels);
  grid->addWidget(new QLabel("Name", channels), 0, 1);
  grid->addWidget(new QLabel("Reading", channels), 0, 2);
  for (int c = 0; c < kADChannelMax; ++c) {
    channel_[c] = new QLabel(QString("CH%1").arg(c + 1), channels);
    label_[c] = new QLineEdit(channels);
    label_[c]->setObjectName(QString("Text_Label_%1").arg(c));
    voltage_[c] = new QLabel(channels);
    voltage_[c]->setObjectName(QString("Label_Voltage_%1").arg(c));
    voltage_[c]->setMinimumWidth(90);
    voltage_[c]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    voltage_[c]->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    grid->addWidget(channel_[c], c + 1, 0);
    grid->addWidget(label_[c], c + 1, 1);
    grid->addWidget(voltage_[c], c + 1, 2);
    connect(label_[c], &QLineEdit::textEdited, this, [c](const QString& t) {
      ADSetupForm().Text_Label[size_t(c)] = t.toStdString();
    });
  }
  auto* display = new QGroupBox("Display", this);
  display->setObjectName("Option_Display");
  showVolts_ = new QRadioButton("&Volts", display);
  showRaw_ = new QRadioButton("&Raw code", display);
  auto* displayBox = new QHBoxLayout(display);
  displayBox->addWidget(showVolts_);
  displayBox->addWidget(showRaw_);

  calibrationOn_ = new QCheckBox("&Use calibration", this);
  calibrationOn_->setObjectName("Check_Calibration");
  calibration_ = CommandButton(this, "&Calibration...", "Command_Calibration");
  calibrationValues_ = new QLabel(this);
  calibrationValues_->setObjectName("Label_Calibration");
  detector_ = new QCheckBox("Auger &detector signal on channel:", this);
  detector_->setObjectName("Check_DetectorSignal");
  augerChannel_ = Combo(this, "Combo_AugerADChannel");
  auto* test = CommandButton(this, "&Test...", "Command_Test");

  auto* form = new QFormLayout;
  form->addRow("&Interface:", name_);
  form->addRow("&Range:", range_);
  form->addRow("&Averaging:", averaging_);
  auto* cal = new QHBoxLayout;
  cal->addWidget(calibrationOn_);
  cal->addWidget(calibration_);
  cal->addWidget(calibrationValues_, 1);
  auto* auger = new QHBoxLayout;
  auger->addWidget(detector_);
  auger->addWidget(augerChannel_);
  auger->addStretch(1);
  auto* bottom = new QHBoxLayout;
  bottom->addWidget(test);
  bottom->addStretch(1);
  bottom->addWidget(OkCancelRow(this));

  auto* box = new QVBoxLayout(this);
  box->addLayout(form);
  box->addWidget(inputMode_);
  box->addWidget(channels);
  box->addWidget(display);
  box->addLayout(cal);
  box->addLayout(auger);
  box->addLayout(bottom);

  connect(name_, &QComboBox::activated, this, [](int i) { ADSetupForm().Combo_Name = i; });
  connect(range_, &QComboBox::activated, this, [](int i) { ADSetupForm().Combo_Range = i; });
  connect(averaging_, &QLineEdit::textEdited, this,
          [](const QString& t) { ADSetupForm().Text_Averaging = t.toStdString(); });
  connect(differential_, &QRadioButton::toggled, this, [this](bool on) {
    if (!loading_) ADSetupForm().Option_Input_mode = on ? 1 : 0;
  });
  connect(showRaw_, &QRadioButton::toggled, this, [this](bool on) {
    if (loading_) return;
    ADSetupForm().Option_Display = on ? 1 : 0;
    ADSetupForm().Timer_Tick();
  });
  connect(calibrationOn_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    ADSetupForm().Check_Calibration = on;
    ADSetupForm().Timer_Tick();
  });
  connect(detector_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    ADSetupForm().Check_DetectorSignal = on;
    ADSetupForm().Check_DetectorSignal_Click();
  });
  connect(augerChannel_, &QComboBox::activated, this,
          [](int i) { ADSetupForm().Combo_AugerADChannel = i; });
  connect(calibration_, &QPushButton::clicked, this, [] { ADSetupForm().Command_Calibration(); });
  connect(test, &QPushButton::clicked, this, [] { ADSetupForm().Command_Test(); });
  ADSetupForm().SetView(this);
}

ADSetupDialog::~ADSetupDialog() {
  ADSetupForm().Unload();
  ADSetupForm().SetView(nullptr);
}

void ADSetupDialog::showEvent(QShowEvent* e) {
  QDialog::showEvent(e);
  if (!ADSetupForm().Visible()) ADSetupForm().Load();
}

void ADSetupDialog::LoadControls() {
  const Form_ADSetup& f = ADSetupForm();
  loading_ = true;
  FillOrClose(name_, f.Combo_NameList, f.Combo_Name);
  FillOrClose(range_, f.Combo_RangeList, f.Combo_Range);
  SetText(averaging_, f.Text_Averaging);
  inputMode_->setVisible(f.Ctl_Option_Input_mode.Visible);
  (f.Option_Input_mode == 1 ? differential_ : singleEnded_)->setChecked(true);
  for (int c = 0; c < kADChannelMax; ++c) {
    const bool shown = c < f.ChannelCount;
    channel_[c]->setVisible(shown);
    label_[c]->setVisible(shown);
    voltage_[c]->setVisible(shown);
    SetText(label_[c], f.Text_Label[size_t(c)]);
  }
  (f.Option_Display == 1 ? showRaw_ : showVolts_)->setChecked(true);
  calibrationOn_->setChecked(f.Check_Calibration);
  calibrationValues_->setText(Q(f.Label_Calibration));
  detector_->setChecked(f.Check_DetectorSignal);
  FillOrClose(augerChannel_, f.Combo_AugerADChannelList, f.Combo_AugerADChannel);
  augerChannel_->setEnabled(f.Ctl_Combo_AugerADChannel.Enabled);
  loading_ = false;
  Readings(f);
}

void ADSetupDialog::Readings(const Form_ADSetup& f) {
  for (int c = 0; c < kADChannelMax; ++c) voltage_[c]->setText(Q(f.Label_Voltage[size_t(c)]));
}

void ADSetupDialog::ShowTest(Form_TestAD& test) {
  QDialog d(this);
  d.setObjectName("Form_TestAD");
  d.setWindowTitle(Q(test.Caption));
  auto* channel = Combo(&d, "Combo_Channel");
  FillOrClose(channel, test.Combo_ChannelList, test.Combo_Channel);
  auto* raw = new QLabel(&d);
  raw->setObjectName("Label_Raw");
  auto* volts = new QLabel(&d);
  volts->setObjectName("Label_Voltage");
  auto* status = new QLabel(Q(test.Label_Status), &d);
  status->setObjectName("Label_Status");
  auto* read = CommandButton(&d, "&Read", "Command_Read");
  auto* close = new QDialogButtonBox(QDialogButtonBox::Close, &d);
  connect(close, &QDialogButtonBox::rejected, &d, &QDialog::reject);
  connect(read, &QPushButton::clicked, &d, [&] {
    test.Combo_Channel = channel->currentIndex();
    test.Command_Read();
    raw->setText(Q(test.Label_Raw));
    volts->setText(Q(test.Label_Voltage));
    status->setText(Q(test.Label_Status));
  });
  auto* form = new QFormLayout(&d);
  form->addRow("&Channel:", channel);
  form->addRow("Raw:", raw);
  form->addRow("Voltage:", volts);
  form->addRow(read, status);
  form->addRow(close);
  d.exec();
}

void ADSetupDialog::accept() {
  if (ADSetupForm().Command_OK()) QDialog::accept();
}

void ADSetupDialog::reject() {
  ADSetupForm().Command_Cancel();
  QDialog::reject();
}

// --- D/A -------------------------------------------------------------------------

DASetupDialog::DASetupDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_DASetup");
  setWindowTitle(kDASetupTitle);
  setModal(true);
  name_ = Combo(this, "Combo_Name");
  range_ = Combo(this, "Combo_Range");
  channelLEED_ = Combo(this, "Combo_ChannelLEED");
  channelAUGER_ = Combo(this, "Combo_ChannelAUGER");
  rangeLEED_ = new QLabel(this);
  rangeLEED_->setObjectName("Label_EnergyRangeLEED");
  rangeAUGER_ = new QLabel(this);
  rangeAUGER_->setObjectName("Label_EnergyRangeAUGER");

  auto line = [this](const QString& title, QComboBox* channel, QLabel* range, const char* cal,
                     const char* edit) {
    auto* group = new QGroupBox(title, this);
    auto* grid = new QGridLayout(group);
    grid->addWidget(new QLabel("Channel:", group), 0, 0);
    grid->addWidget(channel, 0, 1);
    grid->addWidget(new QLabel("Energy range:", group), 1, 0);
    grid->addWidget(range, 1, 1, 1, 3);
    auto* calButton = CommandButton(group, "&Calibration...", cal);
    auto* editButton = CommandButton(group, "&Limits...", edit);
    grid->addWidget(calButton, 0, 2);
    grid->addWidget(editButton, 0, 3);
    grid->setColumnStretch(1, 1);
    return std::pair{group, std::pair{calButton, editButton}};
  };
  auto [leed, leedButtons] =
      line("LEED / RHEED energy", channelLEED_, rangeLEED_, "Command_CalLEED", "Command_EditLEED");
  auto [auger, augerButtons] =
      line("Auger mesh energy", channelAUGER_, rangeAUGER_, "Command_CalAUGER", "Command_EditAUGER");
  auto* test = CommandButton(this, "&Test...", "Command_Test");

  auto* form = new QFormLayout;
  form->addRow("&Interface:", name_);
  form->addRow("&Range:", range_);
  auto* bottom = new QHBoxLayout;
  bottom->addWidget(test);
  bottom->addStretch(1);
  bottom->addWidget(OkCancelRow(this));
  auto* box = new QVBoxLayout(this);
  box->addLayout(form);
  box->addWidget(leed);
  box->addWidget(auger);
  box->addLayout(bottom);

  connect(name_, &QComboBox::activated, this, [](int i) { DASetupForm().Combo_Name = i; });
  connect(range_, &QComboBox::activated, this, [](int i) { DASetupForm().Combo_Range = i; });
  connect(channelLEED_, &QComboBox::activated, this,
          [](int i) { DASetupForm().Combo_ChannelLEED = i; });
  connect(channelAUGER_, &QComboBox::activated, this,
          [](int i) { DASetupForm().Combo_ChannelAUGER = i; });
  connect(leedButtons.first, &QPushButton::clicked, this, [] { DASetupForm().Command_CalLEED(); });
  connect(leedButtons.second, &QPushButton::clicked, this, [] { DASetupForm().Command_EditLEED(); });
  connect(augerButtons.first, &QPushButton::clicked, this, [] { DASetupForm().Command_CalAUGER(); });
  connect(augerButtons.second, &QPushButton::clicked, this,
          [] { DASetupForm().Command_EditAUGER(); });
  connect(test, &QPushButton::clicked, this, [] { DASetupForm().Command_Test(); });
  DASetupForm().SetView(this);
}

DASetupDialog::~DASetupDialog() { DASetupForm().SetView(nullptr); }

void DASetupDialog::showEvent(QShowEvent* e) {
  QDialog::showEvent(e);
  if (!e->spontaneous()) DASetupForm().Load();
}

void DASetupDialog::LoadControls() {
  const Form_DASetup& f = DASetupForm();
  loading_ = true;
  FillOrClose(name_, f.Combo_NameList, f.Combo_Name);
  FillOrClose(range_, f.Combo_RangeList, f.Combo_Range);
  FillOrClose(channelLEED_, f.Combo_ChannelList, f.Combo_ChannelLEED);
  FillOrClose(channelAUGER_, f.Combo_ChannelList, f.Combo_ChannelAUGER);
  rangeLEED_->setText(Q(f.Label_EnergyRangeLEED));
  rangeAUGER_->setText(Q(f.Label_EnergyRangeAUGER));
  loading_ = false;
}

void DASetupDialog::ShowCalibration(Form_DACalibration& form) {
  DACalibrationDialog d(form, this);
  d.exec();
}

void DASetupDialog::ShowLimits(Form_DefineLimits& form) {
  DefineLimitsDialog d(form, this);
  d.exec();
}

void DASetupDialog::ShowTest(Form_TestDA& test) {
  QDialog d(this);
  d.setObjectName("Form_TestDA");
  d.setWindowTitle(Q(test.Caption));
  auto* channel = Combo(&d, "Combo_Channel");
  FillOrClose(channel, test.Combo_ChannelList, test.Combo_Channel);
  auto* volts = new QLineEdit(Q(test.Text_Voltage), &d);
  volts->setObjectName("Text_Voltage");
  auto* raw = new QLineEdit(Q(test.Text_Raw), &d);
  raw->setObjectName("Text_Raw");
  auto* setVolts = CommandButton(&d, "Set &Voltage", "Command_SetVoltage");
  auto* setRaw = CommandButton(&d, "Set &Raw", "Command_SetRaw");
  auto* status = new QLabel(Q(test.Label_Status), &d);
  status->setObjectName("Label_Status");
  auto* close = new QDialogButtonBox(QDialogButtonBox::Close, &d);
  connect(close, &QDialogButtonBox::rejected, &d, &QDialog::reject);
  auto take = [&] {
    test.Combo_Channel = channel->currentIndex();
    test.Text_Voltage = volts->text().toStdString();
    test.Text_Raw = raw->text().toStdString();
  };
  connect(setVolts, &QPushButton::clicked, &d, [&] {
    take();
    test.Command_SetVoltage();
    status->setText(Q(test.Label_Status));
  });
  connect(setRaw, &QPushButton::clicked, &d, [&] {
    take();
    test.Command_SetRaw();
    status->setText(Q(test.Label_Status));
  });
  auto* grid = new QGridLayout(&d);
  grid->addWidget(new QLabel("&Channel:", &d), 0, 0);
  grid->addWidget(channel, 0, 1);
  grid->addWidget(new QLabel("Voltage (V):", &d), 1, 0);
  grid->addWidget(volts, 1, 1);
  grid->addWidget(setVolts, 1, 2);
  grid->addWidget(new QLabel("Raw code:", &d), 2, 0);
  grid->addWidget(raw, 2, 1);
  grid->addWidget(setRaw, 2, 2);
  grid->addWidget(status, 3, 0, 1, 3);
  grid->addWidget(close, 4, 0, 1, 3);
  d.exec();
}

void DASetupDialog::accept() {
  if (DASetupForm().Command_OK()) QDialog::accept();
}

// --- I/O -------------------------------------------------------------------------

IOSetupDialog::IOSetupDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_IOSetup");
  setWindowTitle(kIOSetupTitle);
  setModal(true);
  name_ = Combo(this, "Combo_Name");
  auto* test = CommandButton(this, "&Test...", "Command_Test");
  auto* form = new QFormLayout;
  form->addRow("&Interface:", name_);
  auto* bottom = new QHBoxLayout;
  bottom->addWidget(test);
  bottom->addStretch(1);
  bottom->addWidget(OkCancelRow(this));
  auto* box = new QVBoxLayout(this);
  box->addLayout(form);
  box->addLayout(bottom);
  connect(name_, &QComboBox::activated, this, [](int i) { IOSetupForm().Combo_Name = i; });
  connect(test, &QPushButton::clicked, this, [] { IOSetupForm().Command_Test(); });
  IOSetupForm().SetView(this);
}

IOSetupDialog::~IOSetupDialog() { IOSetupForm().SetView(nullptr); }

void IOSetupDialog::showEvent(QShowEvent* e) {
  QDialog::showEvent(e);
  if (!e->spontaneous()) IOSetupForm().Load();
}

void IOSetupDialog::LoadControls() {
  loading_ = true;
  FillOrClose(name_, IOSetupForm().Combo_NameList, IOSetupForm().Combo_Name);
  loading_ = false;
}

void IOSetupDialog::ShowTest(Form_IO_Test& test) {
  QDialog d(this);
  d.setObjectName("Form_IO_Test");
  d.setWindowTitle(Q(test.Caption));
  auto* grid = new QGridLayout(&d);
  grid->addWidget(new QLabel("Outputs:", &d), 0, 0);
  auto* status = new QLabel(&d);
  status->setObjectName("Label_Status");
  for (long p = 0; p < test.PinsOut; ++p) {
    auto* check = new QCheckBox(QString::number(p), &d);
    check->setObjectName(QString("Check_Out_%1").arg(p));
    check->setChecked(test.Check_Out[size_t(p)]);
    grid->addWidget(check, 1 + int(p / 8), 1 + int(p % 8));
    connect(check, &QCheckBox::toggled, &d, [&test, p, status](bool on) {
      test.Check_Out[size_t(p)] = on;
      test.Check_Out_Click(int(p));
      status->setText(Q(test.Label_Status));
    });
  }
  const int inRow = 2 + int(test.PinsOut / 8);
  grid->addWidget(new QLabel("Inputs:", &d), inRow, 0);
  std::vector<QLabel*> inputs;
  for (long p = 0; p < test.PinsIn; ++p) {
    auto* l = new QLabel(&d);
    l->setObjectName(QString("Label_In_%1").arg(p));
    l->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    l->setAlignment(Qt::AlignCenter);
    grid->addWidget(l, inRow + 1 + int(p / 8), 1 + int(p % 8));
    inputs.push_back(l);
  }
  auto* read = CommandButton(&d, "&Read", "Command_Read");
  auto show = [&] {
    for (size_t p = 0; p < inputs.size(); ++p)
      inputs[p]->setText(QString::number(p) + ": " + Q(test.Label_In[p]));
    status->setText(Q(test.Label_Status));
  };
  connect(read, &QPushButton::clicked, &d, [&] {
    test.Command_Read();
    show();
  });
  show();
  const int last = inRow + 2 + int(test.PinsIn / 8);
  grid->addWidget(read, last, 0);
  grid->addWidget(status, last, 1, 1, 8);
  auto* close = new QDialogButtonBox(QDialogButtonBox::Close, &d);
  connect(close, &QDialogButtonBox::rejected, &d, &QDialog::reject);
  grid->addWidget(close, last + 1, 0, 1, 9);
  d.exec();
}

void IOSetupDialog::accept() {
  if (IOSetupForm().Command_OK()) QDialog::accept();
}

}  // namespace sv::app
