#include "app/soft_trigger_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QVBoxLayout>

#include "app/form_binding.h"
#include "core/mdi_main.h"
#include "experiment/form_experiment.h"

namespace sv::app {

SoftTriggerDialog::SoftTriggerDialog(QWidget* parent) : QDialog(parent) {
  Form_SoftTrigger& form = Presenter();
  setObjectName("Form_SoftTrigger");
  setWindowTitle(Q(form.Caption));
  setModal(true);

  shutter_ = new QCheckBox("&Close the shutter automatically", this);
  shutter_->setObjectName("Check_Shutter");
  cycles_ = new QLineEdit(this);
  cycles_->setObjectName("Text_Cycles");
  cycles_->setMaximumWidth(80);
  range_ = new QLineEdit(this);
  range_->setObjectName("Text_MinTimeRange");
  range_->setMaximumWidth(80);

  auto* hysterese = new QGroupBox("Hysteresis", this);
  slider_ = new QSlider(Qt::Horizontal, hysterese);
  slider_->setObjectName("Slider_Hysterese");
  slider_->setRange(0, kHystereseSliderMax);
  slider_->setMinimumWidth(220);
  min_ = new QLabel(hysterese);
  min_->setObjectName("Label_min");
  max_ = new QLabel(hysterese);
  max_->setObjectName("Label_Max");
  value_ = new QLabel(hysterese);
  value_->setObjectName("Label_Hysterese");
  value_->setAlignment(Qt::AlignCenter);
  auto* hBox = new QGridLayout(hysterese);
  hBox->addWidget(min_, 0, 0);
  hBox->addWidget(slider_, 0, 1);
  hBox->addWidget(max_, 0, 2);
  hBox->addWidget(value_, 1, 1);

  auto* sources = new QGroupBox("Extremum", this);
  auto* sBox = new QVBoxLayout(sources);
  for (int i = 0; i < 2; ++i) {
    source_[i] = new QRadioButton(Q(Form_SoftTrigger::kTriggerSourceCaptions[size_t(i)]), sources);
    source_[i]->setObjectName(QString("Option_TriggerSource_%1").arg(i));
    sBox->addWidget(source_[i]);
  }

  openLevel_ = new QCheckBox("Output &HIGH opens the shutter", this);
  openLevel_->setObjectName("Check_OpenLevel");
  pin_ = new QLabel(this);
  pin_->setObjectName("Label_Pin");
  pin_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  pin_->setMinimumWidth(160);
  pin_->setAlignment(Qt::AlignCenter);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  ok_ = buttons->button(QDialogButtonBox::Ok);
  ok_->setObjectName("Command_OK");
  cancel_ = buttons->button(QDialogButtonBox::Cancel);
  cancel_->setObjectName("Command_Cancel");
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* grid = new QGridLayout;
  grid->addWidget(shutter_, 0, 0, 1, 2);
  grid->addWidget(new QLabel("Extrema before the shutter closes:", this), 1, 0);
  grid->addWidget(cycles_, 1, 1);
  grid->addWidget(new QLabel("Shortest time range of a fit (s):", this), 2, 0);
  grid->addWidget(range_, 2, 1);
  auto* pinRow = new QHBoxLayout;
  pinRow->addWidget(openLevel_);
  pinRow->addStretch(1);
  pinRow->addWidget(new QLabel("Shutter:", this));
  pinRow->addWidget(pin_);
  auto* box = new QVBoxLayout(this);
  box->addLayout(grid);
  box->addWidget(hysterese);
  box->addWidget(sources);
  box->addLayout(pinRow);
  box->addWidget(buttons);

  connect(shutter_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    Presenter().Check_Shutter = on;
    Presenter().Check_Shutter_Click();
  });
  connect(slider_, &QSlider::valueChanged, this, [this](int v) {
    if (loading_) return;
    Presenter().Slider_Hysterese = v;
    Presenter().Slider_Hysterese_Change();
  });
  for (int i = 0; i < 2; ++i)
    connect(source_[i], &QRadioButton::toggled, this, [this, i](bool on) {
      if (!loading_ && on) Presenter().Option_TriggerSource_Click(i);
    });
  connect(openLevel_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    Presenter().Check_OpenLevel = on;
    Presenter().Check_OpenLevel_Click();
  });
  connect(cycles_, &QLineEdit::textEdited, this,
          [this](const QString& t) { Presenter().Text_Cycles = t.toStdString(); });
  connect(range_, &QLineEdit::textEdited, this,
          [this](const QString& t) { Presenter().Text_MinTimeRange = t.toStdString(); });
  form.SetView(this);
}

SoftTriggerDialog::~SoftTriggerDialog() {
  Form_SoftTrigger& form = Presenter();
  if (form.Visible()) form.Unload();
  form.SetView(nullptr);
}

void SoftTriggerDialog::LoadControls() {
  const Form_SoftTrigger& form = Presenter();
  loading_ = true;
  shutter_->setChecked(form.Check_Shutter);
  SetText(cycles_, form.Text_Cycles);
  SetText(range_, form.Text_MinTimeRange);
  if (slider_->value() != form.Slider_Hysterese) slider_->setValue(form.Slider_Hysterese);
  min_->setText(Q(form.Label_min));
  max_->setText(Q(form.Label_Max));
  value_->setText(Q(form.Label_Hysterese));
  for (int i = 0; i < 2; ++i) source_[i]->setChecked(form.Option_TriggerSource[size_t(i)]);
  openLevel_->setChecked(form.Check_OpenLevel);
  pin_->setText(form.Label_Shutter == "N/A" ? QString("N/A")
                                            : Q(form.Label_Shutter) + " (" + Q(form.Label_Level) + ")");
  loading_ = false;
}

void SoftTriggerDialog::Open() {
  if (!isVisible()) Presenter().Load();
  show();
  raise();
  activateWindow();
}

int SoftTriggerDialog::Run() {
  if (!isVisible()) Presenter().Load();
  return exec();
}

void SoftTriggerDialog::accept() {
  Form_SoftTrigger& form = Presenter();
  form.Text_Cycles = cycles_->text().toStdString();
  form.Text_MinTimeRange = range_->text().toStdString();
  if (form.Command_OK()) QDialog::accept();
}

void SoftTriggerDialog::reject() {
  if (Presenter().Visible()) Presenter().Command_Cancel();
  QDialog::reject();
}

SoftTriggerDialog* InstallSoftTriggerDialog(MDIForm_Main& main, QWidget* window) {
  auto* dialog = new SoftTriggerDialog(window);
  QPointer<SoftTriggerDialog> guarded(dialog);
  main.SetCommand("mnuShutterControl", [guarded](int) {
    if (guarded) guarded->Open();
  });
  // From the experiment: the caller reads the record again once it is closed.
  OpenSoftTriggerHook() = [guarded] {
    if (guarded && !guarded->isVisible()) guarded->Run();
  };
  ShutterDialogHook() = OpenSoftTriggerHook();
  return dialog;
}

}  // namespace sv::app
