#include "app/grabber_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "acquisition/camera_driver.h"
#include "core/mdi_main.h"

namespace sv::app {

namespace {
QString Q(const std::string& s) { return QString::fromStdString(s); }

bool HasCameraSetup(const Form_GrabberInterface& form) {
  return form.ListIndex >= 0 && size_t(form.ListIndex) < form.Drivers.size() &&
         form.Drivers[size_t(form.ListIndex)].number == kDriverGenICam;
}
}  // namespace

GrabberDialog::GrabberDialog(MDIForm_Main& main, QWidget* parent)
    : QDialog(parent), form_(&main) {
  setObjectName("Form_GrabberInterface");
  setWindowTitle(Form_GrabberInterface::kTitle);
  setModal(true);

  list_ = new QListWidget(this);
  list_->setObjectName("List_Drivers");
  list_->setMinimumWidth(280);
  colour_ = new QCheckBox("&Colour frames", this);
  colour_->setObjectName("Check_Color");
  info_ = new QLabel(this);
  info_->setObjectName("Label_Info");
  info_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  info_->setTextInteractionFlags(Qt::TextSelectableByMouse);

  auto* buttons = new QDialogButtonBox(this);
  ok_ = buttons->addButton(QDialogButtonBox::Ok);
  ok_->setObjectName("Command_OK");
  cancel_ = buttons->addButton(QDialogButtonBox::Cancel);
  cancel_->setObjectName("Command_Cancel");
  cameraSetup_ = buttons->addButton("Camera &Setup...", QDialogButtonBox::ActionRole);
  cameraSetup_->setObjectName("Command_CameraSetup");
  cameraSetup_->setEnabled(false);

  auto* driversLabel = new QLabel("&Drivers:", this);
  driversLabel->setBuddy(list_);
  auto* box = new QVBoxLayout(this);
  box->addWidget(driversLabel);
  box->addWidget(list_, 1);
  box->addWidget(colour_);
  box->addWidget(new QLabel("In use:", this));
  box->addWidget(info_);
  box->addWidget(buttons);

  connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (loading_) return;
    form_.List_Drivers_Click(row);
    ok_->setEnabled(form_.Command_OKEnabled);
    colour_->setEnabled(form_.Check_ColorEnabled);
    cameraSetup_->setEnabled(HasCameraSetup(form_));
  });
  connect(cameraSetup_, &QPushButton::clicked, this, [this] { emit CameraSetupRequested(); });
  connect(list_, &QListWidget::itemDoubleClicked, this, [this] { accept(); });
  connect(colour_, &QCheckBox::toggled, this, [this](bool on) {
    if (!loading_) form_.Check_Color = on;
  });
  connect(buttons, &QDialogButtonBox::accepted, this, &GrabberDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &GrabberDialog::reject);
}

void GrabberDialog::LoadControls() {
  loading_ = true;
  list_->clear();
  for (size_t i = 0; i < form_.List_Drivers.size(); ++i) {
    auto* item = new QListWidgetItem(Q(form_.List_Drivers[i]), list_);
    // A driver that cannot come up here is shown, greyed.
    if (!form_.Drivers[i].available) item->setFlags(item->flags() & ~Qt::ItemIsEnabled);
  }
  list_->setCurrentRow(form_.ListIndex);
  colour_->setChecked(form_.Check_Color);
  colour_->setEnabled(form_.Check_ColorEnabled);
  info_->setText(Q(form_.Label_Info));
  ok_->setEnabled(form_.Command_OKEnabled);
  cameraSetup_->setEnabled(HasCameraSetup(form_));
  loading_ = false;
}

void GrabberDialog::accept() {
  form_.Check_Color = colour_->isChecked();
  form_.Command_OK();
  QDialog::accept();
}

void GrabberDialog::reject() {
  form_.Command_Cancel();
  QDialog::reject();
}

void GrabberDialog::showEvent(QShowEvent* e) {
  form_.Form_Load();
  form_.Visible = true;
  LoadControls();
  QDialog::showEvent(e);
}

void GrabberDialog::hideEvent(QHideEvent* e) {
  form_.Visible = false;
  QDialog::hideEvent(e);
}

GrabberDialog* InstallGrabberDialog(MDIForm_Main& main, QWidget* parent) {
  auto* dialog = new GrabberDialog(main, parent);
  QPointer<GrabberDialog> guarded(dialog);
  main.SetCommand("mnuGrabberSetup", [guarded](int) {
    if (!guarded) return;
    GrabberDialog* dialog = guarded.data();
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
  });
  return dialog;
}

}  // namespace sv::app
