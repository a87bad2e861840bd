#include "app/window_setup_dialog.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QVBoxLayout>

#include "app/form_binding.h"
#include "app/move_window_dialog.h"
#include "app/qt_overlay_painter.h"
#include "app/window_result_window.h"
#include "core/mdi_main.h"

namespace sv::app {

namespace {

// What the presenter is left with once the dialog has gone.
Form_WindowSetup::View g_noSetupView;

QColor ColourOf(int32_t bgr) { return ColourFromBGR(bgr); }

int32_t BGROf(const QColor& c) { return c.red() | (c.green() << 8) | (c.blue() << 16); }

}  // namespace

WindowSetupDialog::WindowSetupDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_WindowSetup");
  setWindowTitle("Window Setup");
  setModal(false);

  tabs_ = new QTabBar(this);
  tabs_->setObjectName("TabStrip");
  for (int n = 1; n <= kWindowCount; ++n) tabs_->addTab(QString("&%1").arg(n));
  tabs_->setExpanding(false);
  tabs_->setFocusPolicy(Qt::TabFocus);

  auto field = [this](const char* name) {
    auto* e = new QLineEdit(this);
    e->setObjectName(name);
    e->setMaximumWidth(80);
    e->installEventFilter(this);
    return e;
  };
  textL_ = field("Text_l");
  textT_ = field("Text_t");
  textW_ = field("Text_w");
  textH_ = field("Text_h");
  textThreshold_ = field("Text_Threshold");

  comboAveraging_ = new QComboBox(this);
  comboAveraging_->setObjectName("Combo_Averaging");
  for (int i = 0; i <= 13; ++i) comboAveraging_->addItem(QString::number(1 << i));
  // A stored value that is no power of two shows as text in the field.
  comboAveraging_->setEditable(true);
  comboAveraging_->lineEdit()->setReadOnly(true);
  comboAveraging_->setInsertPolicy(QComboBox::NoInsert);
  comboMode_ = new QComboBox(this);
  comboMode_->setObjectName("Combo_Mode");
  for (const char* name : kWindowModeNames) comboMode_->addItem(name);
  comboShape_ = new QComboBox(this);
  comboShape_->setObjectName("Combo_Shape");
  for (const char* name : kWindowShapeNames) comboShape_->addItem(name);

  checkAutoScan_ = new QCheckBox("A&uto Scan", this);
  checkAutoScan_->setObjectName("Check_AutoScan");
  checkDynamicSize_ = new QCheckBox("Size is energy dependent", this);
  checkDynamicSize_->setObjectName("Check_DynamicSize");
  checkLock_ = new QCheckBox("Loc&k", this);
  checkLock_->setObjectName("Check_Lock");

  auto button = [this](const QString& caption, const char* name) {
    return CommandButton(this, caption, name);
  };
  scan_ = button("&Scan", "Command_Scan");
  grab_ = button("&Grab", "Command_Grab");
  delete_ = button("&Delete", "Command_Delete");
  close_ = button("&Close", "Command_Close");
  color_ = button("C&olor...", "Command_Color");
  calibration_ = button("Cali&bration...", "Command_Calibration");
  addSum_ = button("&Add", "Command_AddSum");
  clearSum_ = button("Cl&ear", "Command_ClearSum");
  status_ = new QLabel(this);
  status_->setObjectName("Label_Status");
  status_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  status_->setMinimumHeight(status_->fontMetrics().height() + 6);

  auto* grid = new QGridLayout;
  auto label = [this, grid](const QString& text, QWidget* buddy, int row, int col) {
    auto* l = new QLabel(text, this);
    l->setBuddy(buddy);
    grid->addWidget(l, row, col);
    grid->addWidget(buddy, row, col + 1);
    return l;
  };
  label("&Left:", textL_, 0, 0);
  label("&Top:", textT_, 1, 0);
  label("&Width:", textW_, 0, 2);
  label("&Height:", textH_, 1, 2);
  label("A&veraging:", comboAveraging_, 2, 0);
  label("&Mode:", comboMode_, 3, 0);
  grid->addWidget(comboMode_, 3, 1, 1, 3);
  labelThreshold_ = label("Th&reshold:", textThreshold_, 2, 2);
  labelThreshold_->setObjectName("Label_Threshold");
  labelShape_ = label("Sha&pe:", comboShape_, 4, 0);
  grid->addWidget(comboShape_, 4, 1, 1, 3);
  grid->setColumnStretch(1, 1);
  grid->setColumnStretch(3, 1);

  auto* checks = new QVBoxLayout;
  checks->addWidget(checkAutoScan_);
  checks->addWidget(checkDynamicSize_);
  checks->addWidget(checkLock_);

  auto* repeat = new QHBoxLayout;
  repeat->addWidget(addSum_);
  repeat->addWidget(clearSum_);
  repeat->addStretch(1);

  auto* buttons = new QGridLayout;
  buttons->addWidget(scan_, 0, 0);
  buttons->addWidget(grab_, 0, 1);
  buttons->addWidget(delete_, 0, 2);
  buttons->addWidget(color_, 1, 0);
  buttons->addWidget(calibration_, 1, 1);
  buttons->addWidget(close_, 1, 2);

  auto* box = new QVBoxLayout(this);
  box->addWidget(tabs_);
  box->addLayout(grid);
  box->addLayout(checks);
  box->addLayout(repeat);
  box->addLayout(buttons);
  box->addWidget(status_);
  box->setSizeConstraint(QLayout::SetFixedSize);

  Form_WindowSetup& f = WindowSetupForm();
  connect(tabs_, &QTabBar::currentChanged, this, [this](int i) {
    if (loading_ || i < 0) return;
    WindowSetupForm().TabStrip_Click(i);
    LoadControls();
  });
  connect(textL_, &QLineEdit::textEdited, this, [this] { FieldEdited('l'); });
  connect(textT_, &QLineEdit::textEdited, this, [this] { FieldEdited('t'); });
  connect(textW_, &QLineEdit::textEdited, this, [this] { FieldEdited('w'); });
  connect(textH_, &QLineEdit::textEdited, this, [this] { FieldEdited('h'); });
  connect(textThreshold_, &QLineEdit::textEdited, this, [this](const QString& t) {
    if (!loading_) WindowSetupForm().Text_Threshold = t.toStdString();
  });
  connect(comboAveraging_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    WindowSetupForm().Combo_Averaging = i;
    WindowSetupForm().Combo_Averaging_Click();
    LoadControls();
  });
  connect(comboMode_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    WindowSetupForm().Combo_Mode = i;
    WindowSetupForm().Combo_Mode_Click();
    LoadControls();
  });
  connect(comboShape_, &QComboBox::activated, this, [this](int i) {
    if (loading_) return;
    WindowSetupForm().Combo_Shape = i;
    WindowSetupForm().Combo_Shape_Click();
    LoadControls();
  });
  auto check = [this](QCheckBox* box, bool Form_WindowSetup::*value,
                      void (Form_WindowSetup::*click)()) {
    connect(box, &QCheckBox::toggled, this, [this, value, click](bool on) {
      if (loading_) return;
      Form_WindowSetup& form = WindowSetupForm();
      form.*value = on;
      (form.*click)();
      LoadControls();
    });
  };
  check(checkAutoScan_, &Form_WindowSetup::Check_AutoScan, &Form_WindowSetup::Check_AutoScan_Click);
  check(checkDynamicSize_, &Form_WindowSetup::Check_DynamicSize,
        &Form_WindowSetup::Check_DynamicSize_Click);
  check(checkLock_, &Form_WindowSetup::Check_Lock, &Form_WindowSetup::Check_Lock_Click);
  auto command = [this](QPushButton* b, void (Form_WindowSetup::*cmd)()) {
    connect(b, &QPushButton::clicked, this, [this, cmd] {
      (WindowSetupForm().*cmd)();
      LoadControls();
    });
  };
  command(scan_, &Form_WindowSetup::Command_Scan);
  command(grab_, &Form_WindowSetup::Command_Grab);
  command(delete_, &Form_WindowSetup::Command_Delete);
  command(close_, &Form_WindowSetup::Command_Close);
  command(addSum_, &Form_WindowSetup::Command_AddSum);
  command(clearSum_, &Form_WindowSetup::Command_ClearSum);
  command(calibration_, &Form_WindowSetup::Command_Calibration);
  connect(color_, &QPushButton::clicked, this, [this] { ChooseColour(); });

  // The form sees its keys before its controls do.
  for (QWidget* w : std::initializer_list<QWidget*>{
           tabs_, comboAveraging_, comboMode_, comboShape_, checkAutoScan_, checkDynamicSize_,
           checkLock_, scan_, grab_, delete_, close_, color_, calibration_, addSum_, clearSum_})
    w->installEventFilter(this);
  comboAveraging_->lineEdit()->installEventFilter(this);

  f.SetView(this);
  LoadControls();
}

WindowSetupDialog::~WindowSetupDialog() { WindowSetupForm().SetView(&g_noSetupView); }

void WindowSetupDialog::LoadControls() {
  const Form_WindowSetup& f = WindowSetupForm();
  loading_ = true;
  if (tabs_->currentIndex() != f.Tab && f.Tab >= 0 && f.Tab < kWindowCount)
    tabs_->setCurrentIndex(f.Tab);
  SetText(textL_, f.Text_l);
  SetText(textT_, f.Text_t);
  SetText(textW_, f.Text_w);
  SetText(textH_, f.Text_h);
  SetText(textThreshold_, f.Text_Threshold);
  if (comboAveraging_->currentIndex() != f.Combo_Averaging)
    comboAveraging_->setCurrentIndex(f.Combo_Averaging);
  if (comboAveraging_->currentText() != Q(f.Combo_AveragingText))
    comboAveraging_->setEditText(Q(f.Combo_AveragingText));
  // A stored Target mode has no entry: the list shows none.
  if (comboMode_->currentIndex() != f.Combo_Mode) comboMode_->setCurrentIndex(f.Combo_Mode);
  if (comboShape_->currentIndex() != f.Combo_Shape) comboShape_->setCurrentIndex(f.Combo_Shape);
  checkAutoScan_->setChecked(f.Check_AutoScan);
  checkDynamicSize_->setChecked(f.Check_DynamicSize);
  checkLock_->setChecked(f.Check_Lock);
  status_->setText(Q(f.Label_Status));

  Apply(textL_, f.Ctl_Text_l);
  Apply(textT_, f.Ctl_Text_t);
  Apply(textW_, f.Ctl_Text_w);
  Apply(textH_, f.Ctl_Text_h);
  Apply(textThreshold_, f.Ctl_Text_Threshold);
  Apply(labelThreshold_, f.Ctl_Label_Threshold);
  Apply(checkDynamicSize_, f.Ctl_Check_DynamicSize);
  Apply(comboAveraging_, f.Ctl_Combo_Averaging);
  Apply(comboShape_, f.Ctl_Combo_Shape);
  labelShape_->setVisible(f.Ctl_Combo_Shape.Visible);
  Apply(delete_, f.Ctl_Command_Delete);
  Apply(scan_, f.Ctl_Command_Scan);
  Apply(addSum_, f.Ctl_Command_AddSum);
  Apply(clearSum_, f.Ctl_Command_ClearSum);
  loading_ = false;
}

void WindowSetupDialog::Changed(const Form_WindowSetup& f) {
  LoadControls();
  if (f.Visible() && !isVisible()) {
    show();
    raise();
    activateWindow();
  } else if (!f.Visible() && isVisible()) {
    hide();
  }
}

void WindowSetupDialog::ShowResult(const Form_WindowSetup&) {
  // The presenter has given the result form its text; it comes to the front.
  if (result_ && result_->isVisible()) result_->raise();
}

void WindowSetupDialog::RepeatLine(long x1, long y1, long x2, long y2, const std::string& label1,
                                   const std::string& label2) {
  // The presenter has put the line and its labels on the image's overlay;
  // negative ends mean there is none.
  if (x1 < 0 || y1 < 0 || x2 < 0 || y2 < 0)
    line_ = Line();
  else
    line_ = Line{true, x1, y1, x2, y2, label1, label2};
}

void WindowSetupDialog::FieldEdited(char field) {
  if (loading_) return;
  Form_WindowSetup& f = WindowSetupForm();
  switch (field) {
    case 'l':
      f.Text_l = textL_->text().toStdString();
      f.Text_l_Change();
      break;
    case 't':
      f.Text_t = textT_->text().toStdString();
      f.Text_t_Change();
      break;
    case 'w':
      f.Text_w = textW_->text().toStdString();
      f.Text_w_Change();
      break;
    case 'h':
      f.Text_h = textH_->text().toStdString();
      f.Text_h_Change();
      break;
    default: return;
  }
  LoadControls();
}

void WindowSetupDialog::ChooseColour() {
  const int cur = WG().CurrentWindow;
  if (cur < 0 || cur >= kWindowCount) return;
  const int32_t initial = WG().ScanWindows[size_t(cur)].RGBColor;
  int32_t chosen = initial;
  bool ok = false;
  if (chooseColour) {
    ok = chooseColour(initial, chosen);
  } else {
    const QColor c = QColorDialog::getColor(ColourOf(initial), this, "Color");
    ok = c.isValid();
    if (ok) chosen = BGROf(c);
  }
  if (!ok) return;
  WindowSetupForm().Command_Color(chosen);
  LoadControls();
}

// Arrows with Shift or Ctrl and F5 belong to the form, whichever control
// has the focus.
bool WindowSetupDialog::FormKey(QKeyEvent* e) {
  const int code = KeyCode(e->key());
  if (code == 0) return false;
  const int shift = ShiftState(e->modifiers());
  if (code != Form_WindowSetup::kKeyF5 && shift == 0) return false;
  // A field being typed in counts as it stands.
  if (QWidget* w = focusWidget()) {
    Form_WindowSetup& f = WindowSetupForm();
    if (w == textThreshold_) f.Text_Threshold = textThreshold_->text().toStdString();
  }
  const bool used = WindowSetupForm().Form_KeyDown(code, shift);
  if (used) LoadControls();
  return used;
}

bool WindowSetupDialog::eventFilter(QObject* watched, QEvent* e) {
  if (e->type() == QEvent::KeyPress) {
    auto* k = static_cast<QKeyEvent*>(e);
    if (FormKey(k)) return true;
    // "+" and "-" step the four place and size fields.
    const QString t = k->text();
    if (t == "+" || t == "-") {
      char field = 0;
      if (watched == textL_) field = 'l';
      if (watched == textT_) field = 't';
      if (watched == textW_) field = 'w';
      if (watched == textH_) field = 'h';
      if (field && WindowSetupForm().Text_KeyPress(field, t == "+" ? '+' : '-')) {
        LoadControls();
        return true;
      }
    }
  } else if (e->type() == QEvent::FocusOut && !loading_ && WindowSetupForm().Visible()) {
    // Not after the tool has closed: there is no image to check against.
    Form_WindowSetup& f = WindowSetupForm();
    if (watched == textW_) {
      f.Text_w = textW_->text().toStdString();
      f.Text_w_LostFocus();
      LoadControls();
    } else if (watched == textThreshold_) {
      f.Text_Threshold = textThreshold_->text().toStdString();
      f.Text_Threshold_LostFocus();
      LoadControls();
    }
  }
  return QDialog::eventFilter(watched, e);
}

void WindowSetupDialog::keyPressEvent(QKeyEvent* e) {
  if (FormKey(e)) return;
  QDialog::keyPressEvent(e);
}

void WindowSetupDialog::reject() {
  WindowSetupForm().Command_Close();
  if (isVisible()) hide();
}

WindowTools InstallWindowTools(MDIForm_Main& main, QWidget* window) {
  WindowTools tools;
  tools.result = new WindowResultWindow(window);
  tools.setup = new WindowSetupDialog(window);
  tools.setup->SetResultWindow(tools.result);
  tools.move = new MoveWindowDialog(window);
  RegisterWindowCommands(main);
  return tools;
}

}  // namespace sv::app
