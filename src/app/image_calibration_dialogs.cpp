#include "app/image_calibration_dialogs.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "analysis/calibration_settings.h"
#include "app/form_binding.h"

namespace sv::app {

namespace {

QLineEdit* Field(QWidget* parent, const char* name) {
  auto* e = new QLineEdit(parent);
  e->setObjectName(name);
  e->setMaximumWidth(140);
  return e;
}

}  // namespace

// --- Form_CalibrationLength -------------------------------------------------------

LengthCalibrationDialog::LengthCalibrationDialog(Form_CalibrationLength& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_CalibrationLength");
  setWindowTitle("Length Calibration");
  setModal(true);
  enabled_ = new QCheckBox("&Calibrated lengths", this);
  enabled_->setObjectName("Check_LCalibration");
  pixels_ = Field(this, "Text_VGAPixel");
  length_ = Field(this, "Text_UserLength");
  unit_ = Field(this, "Text_Unit");
  ratio_ = Field(this, "Text_ratio");
  auto* grid = new QFormLayout;
  grid->addRow(enabled_);
  grid->addRow("&Distance (Pixel):", pixels_);
  grid->addRow("&Length:", length_);
  grid->addRow("&Unit:", unit_);
  grid->addRow("Pixel &ratio (height / width):", ratio_);
  auto* box = new QVBoxLayout(this);
  box->addLayout(grid);
  box->addWidget(OkCancelRow(this));
  LoadControls();
}

void LengthCalibrationDialog::Take() {
  form_.Check_LCalibration = enabled_->isChecked();
  form_.Text_VGAPixel = pixels_->text().toStdString();
  form_.Text_UserLength = length_->text().toStdString();
  form_.Text_Unit = unit_->text().toStdString();
  form_.Text_ratio = ratio_->text().toStdString();
}

void LengthCalibrationDialog::LoadControls() {
  SetChecked(enabled_, form_.Check_LCalibration);
  SetText(pixels_, form_.Text_VGAPixel);
  SetText(length_, form_.Text_UserLength);
  SetText(unit_, form_.Text_Unit);
  SetText(ratio_, form_.Text_ratio);
}

void LengthCalibrationDialog::accept() {
  Take();
  const bool done = form_.Command_OK();
  LoadControls();  // the unit may have fallen back
  if (done) QDialog::accept();
}

// --- Form_ZCalibration ------------------------------------------------------------

ZCalibrationDialog::ZCalibrationDialog(Form_ZCalibration& form, QWidget* parent)
    : QDialog(parent), form_(form) {
  setObjectName("Form_ZCalibration");
  setWindowTitle("Intensity Calibration");
  setModal(true);
  enabled_ = new QCheckBox("&Enabled", this);
  enabled_->setObjectName("Check_Enabled");
  file_ = new QLabel(this);
  file_->setObjectName("Label_File");
  file_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  name_ = new QLabel(this);
  name_->setObjectName("Label_Name");
  count_ = new QLabel(this);
  count_->setObjectName("Label_Count");
  new_ = CommandButton(this, "&New...", "Command_New");
  open_ = CommandButton(this, "&Open...", "Command_Open");
  sheet_ = CommandButton(this, "&Worksheet", "Command_SHT");
  auto* grid = new QFormLayout;
  grid->addRow(enabled_);
  grid->addRow("File:", file_);
  grid->addRow("Name:", name_);
  grid->addRow("Entries:", count_);
  auto* row = new QHBoxLayout;
  row->addWidget(new_);
  row->addWidget(open_);
  row->addWidget(sheet_);
  row->addStretch(1);
  auto* box = new QVBoxLayout(this);
  box->addLayout(grid);
  box->addLayout(row);
  box->addWidget(OkCancelRow(this));

  connect(enabled_, &QCheckBox::toggled, this, [this](bool on) { form_.Check_Enabled = on; });
  connect(new_, &QPushButton::clicked, this, [this] { form_.Command_New(); });
  connect(open_, &QPushButton::clicked, this, [this] { form_.Command_Open(); });
  // The table is edited on the sheet and comes back through Open once saved;
  // the dialog gives way to it without changing the table in force.
  connect(sheet_, &QPushButton::clicked, this, [this] {
    if (form_.Command_SHT()) reject();
  });
  form_.SetView(this);
  LoadControls();
}

ZCalibrationDialog::~ZCalibrationDialog() { form_.SetView(nullptr); }

void ZCalibrationDialog::LoadControls() {
  SetChecked(enabled_, form_.Check_Enabled);
  file_->setText(form_.Label_File().empty() ? QString("(none)") : Q(form_.Label_File()));
  name_->setText(Q(form_.Label_Name()));
  count_->setText(Q(form_.Label_Count()));
  sheet_->setEnabled(form_.Table.Count > 0);
}

void ZCalibrationDialog::accept() {
  form_.Check_Enabled = enabled_->isChecked();
  form_.Command_OK();
  QDialog::accept();
}

// --- Wiring -----------------------------------------------------------------------

void InstallCalibrationDialogs(MDIForm_Main& main, QWidget* window) {
  RegisterCalibrationCommands(main);
  QPointer<QWidget> parent(window);
  CalibrationDialogHooks().length = [parent] {
    LengthCalibrationDialog d(CalibrationLengthForm(), parent);
    d.exec();
  };
  CalibrationDialogHooks().intensity = [parent] {
    ZCalibrationDialog d(ZCalibrationForm(), parent);
    d.exec();
  };
}

}  // namespace sv::app
