#include "app/move_window_dialog.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace sv::app {

namespace {

// What the presenter is left with once the dialog has gone.
Form_MoveWindow::View g_noMoveView;

}  // namespace

MoveWindowDialog::MoveWindowDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_MoveWindow");
  setWindowTitle("Move Window");
  setModal(false);

  auto* frames = new QGroupBox("Window", this);
  auto* frameRow = new QHBoxLayout(frames);
  for (int n = 0; n < kWindowCount; ++n) {
    auto* o = new QRadioButton(QString("&%1").arg(n + 1), frames);
    o->setObjectName(QString("Option_Frame%1").arg(n));
    frameRow->addWidget(o);
    options_[size_t(n)] = o;
    connect(o, &QRadioButton::toggled, this, [this, n](bool on) {
      if (loading_ || !on) return;
      MoveWindowForm().Option_Frame_Click(n);
      LoadControls();
    });
  }

  fast_ = new QCheckBox("&Fast", this);
  fast_->setObjectName("Check_Fast");
  setStart_ = new QCheckBox("Set &start", this);
  setStart_->setObjectName("Check_SetStart");
  auto button = [this](const QString& caption, const char* name) {
    auto* b = new QPushButton(caption, this);
    b->setObjectName(name);
    b->setAutoDefault(false);
    b->setAutoRepeat(true);
    return b;
  };
  up_ = button(QString::fromUtf8("\u2191"), "Command_Up");
  down_ = button(QString::fromUtf8("\u2193"), "Command_Down");
  left_ = button(QString::fromUtf8("\u2190"), "Command_Left");
  right_ = button(QString::fromUtf8("\u2192"), "Command_Right");
  close_ = button("&Close", "Command_Close");
  close_->setAutoRepeat(false);
  up_->setToolTip("Up");
  down_->setToolTip("Down");
  left_->setToolTip("Left");
  right_->setToolTip("Right");

  auto* arrows = new QGridLayout;
  arrows->addWidget(up_, 0, 1);
  arrows->addWidget(left_, 1, 0);
  arrows->addWidget(right_, 1, 2);
  arrows->addWidget(down_, 2, 1);
  auto* side = new QVBoxLayout;
  side->addWidget(fast_);
  side->addWidget(setStart_);
  side->addStretch(1);
  side->addWidget(close_);
  auto* row = new QHBoxLayout;
  row->addLayout(arrows);
  row->addSpacing(12);
  row->addLayout(side);
  auto* box = new QVBoxLayout(this);
  box->addWidget(frames);
  box->addLayout(row);
  box->setSizeConstraint(QLayout::SetFixedSize);

  connect(fast_, &QCheckBox::toggled, this, [this](bool on) {
    if (!loading_) MoveWindowForm().Check_Fast = on;
  });
  connect(setStart_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    MoveWindowForm().Check_SetStart = on;
    MoveWindowForm().Check_SetStart_Click();
    LoadControls();
  });
  auto command = [this](QPushButton* b, void (Form_MoveWindow::*cmd)()) {
    connect(b, &QPushButton::clicked, this, [this, cmd] {
      (MoveWindowForm().*cmd)();
      LoadControls();
    });
  };
  command(up_, &Form_MoveWindow::Command_Up);
  command(down_, &Form_MoveWindow::Command_Down);
  command(left_, &Form_MoveWindow::Command_Left);
  command(right_, &Form_MoveWindow::Command_Right);
  command(close_, &Form_MoveWindow::Command_Close);

  MoveWindowForm().SetView(this);
  LoadControls();
}

MoveWindowDialog::~MoveWindowDialog() { MoveWindowForm().SetView(&g_noMoveView); }

void MoveWindowDialog::LoadControls() {
  const Form_MoveWindow& f = MoveWindowForm();
  loading_ = true;
  for (int n = 0; n < kWindowCount; ++n) {
    QRadioButton* o = options_[size_t(n)];
    const Form_WindowSetup::Control& c = f.Ctl_Option_Frame[size_t(n)];
    if (o->isEnabled() != c.Enabled) o->setEnabled(c.Enabled);
    if (o->isVisibleTo(this) != c.Visible) o->setVisible(c.Visible);
    if (o->isChecked() != (f.Option_Frame == n)) o->setChecked(f.Option_Frame == n);
  }
  fast_->setChecked(f.Check_Fast);
  setStart_->setChecked(f.Check_SetStart);
  loading_ = false;
}

void MoveWindowDialog::Changed(const Form_MoveWindow& f) {
  LoadControls();
  if (f.Visible() && !isVisible()) {
    show();
    raise();
  } else if (!f.Visible() && isVisible()) {
    hide();
  }
}

void MoveWindowDialog::reject() {
  MoveWindowForm().Command_Close();
  if (isVisible()) hide();
}

}  // namespace sv::app
