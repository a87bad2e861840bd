#include "app/line_setup_dialog.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QColorDialog>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QTabBar>
#include <QVBoxLayout>

#include "app/form_binding.h"
#include "app/qt_overlay_painter.h"
#include "analysis/window_tools.h"

namespace sv::app {

namespace {

Form_LineSetup::View g_noSetupView;
ProfileDisplay::View g_noProfileView;

constexpr int kMargin = 6;

}  // namespace

// --- The profile window -----------------------------------------------------------------

LineProfileWindow::LineProfileWindow(ProfileDisplay& display, QWidget* parent)
    : QWidget(parent, Qt::Tool), display_(display) {
  setObjectName("Form_LineScanPlot");
  setWindowTitle(Q(display.Caption));
  setMinimumSize(240, 160);
  resize(420, 260);
  auto_ = new QCheckBox("&Auto", this);
  auto_->setObjectName("Check_Auto");
  auto_->move(kMargin, kMargin);
  connect(auto_, &QCheckBox::toggled, this, [this](bool on) {
    if (loading_) return;
    LG().PlotAuto = on ? 1 : 0;  // kept for the next profiles and in the settings
    display_.Check_Auto_Click(on);
  });
  display_.SetView(this);
}

LineProfileWindow::~LineProfileWindow() { display_.SetView(&g_noProfileView); }

QRect LineProfileWindow::PlotArea() const {
  const int left = fontMetrics().horizontalAdvance("000000") + 2 * kMargin;
  const int top = auto_->geometry().bottom() + kMargin;
  const int bottom = fontMetrics().height() + kMargin;
  return QRect(left, top, std::max(10, width() - left - kMargin),
               std::max(10, height() - top - bottom));
}

void LineProfileWindow::Changed(const ProfileDisplay& d) {
  loading_ = true;
  auto_->setChecked(d.Auto);
  loading_ = false;
  setWindowTitle(Q(d.Caption));
  if (d.Visible() && !isVisible()) {
    // Where it was last time; the first time at the right of the workbench.
    const LineGlobals& g = LG();
    if (g.PlotWidth > 0 && g.PlotHeight > 0) {
      setGeometry(g.PlotLeft, g.PlotTop, g.PlotWidth, g.PlotHeight);
    } else if (QWidget* p = parentWidget()) {
      const QRect r = p->frameGeometry();
      move(std::max(r.left(), r.right() - width() - 20), r.top() + 80);
    }
    show();
    raise();
  } else if (!d.Visible() && isVisible()) {
    KeepPlace();
    hide();
  }
  update();
}

void LineProfileWindow::KeepPlace() {
  LineGlobals& g = LG();
  g.PlotLeft = x();
  g.PlotTop = y();
  g.PlotWidth = width();
  g.PlotHeight = height();
}

void LineProfileWindow::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), Qt::white);
  const QRect area = PlotArea();
  p.setPen(QPen(Qt::gray, 1));
  p.drawRect(area.adjusted(0, 0, -1, -1));
  const ProfileDisplay& d = display_;
  // The range at the left edge, the points along the bottom.
  p.setPen(Qt::black);
  const int fh = fontMetrics().height();
  p.drawText(QRect(0, area.top() - fh / 2, area.left() - kMargin, fh),
             Qt::AlignRight | Qt::AlignVCenter, Q(ShortNumber(d.RangeMax)));
  p.drawText(QRect(0, area.bottom() - fh / 2, area.left() - kMargin, fh),
             Qt::AlignRight | Qt::AlignVCenter, Q(ShortNumber(d.RangeMin)));
  p.drawText(QRect(area.left(), area.bottom() + 2, area.width(), fh), Qt::AlignRight,
             QString::number(d.Points()) + " points");
  p.setRenderHint(QPainter::Antialiasing, true);
  for (size_t c = 0; c < d.Curves.size(); ++c) {
    const auto points = d.Polyline(c, area.width(), area.height());
    if (points.empty()) continue;
    QPainterPath path;
    path.moveTo(area.left() + points[0][0], area.top() + points[0][1]);
    for (size_t i = 1; i < points.size(); ++i)
      path.lineTo(area.left() + points[i][0], area.top() + points[i][1]);
    p.setPen(QPen(ColourFromBGR(d.Curves[c].Color), 1.5));
    p.drawPath(path);
    if (points.size() == 1) p.drawEllipse(QPointF(area.left() + points[0][0], area.top() + points[0][1]), 2, 2);
  }
  p.setRenderHint(QPainter::Antialiasing, false);
  if (const auto* line = dynamic_cast<const Form_LineScanPlot*>(&d)) {
    int x = auto_->geometry().right() + 2 * kMargin;
    p.setPen(Qt::black);
    if (!line->Label_Max.empty()) {
      p.drawText(QPoint(x, kMargin + fh - 3), Q(line->Label_Max));
      x += fontMetrics().horizontalAdvance(Q(line->Label_Max)) + 2 * kMargin;
    }
    if (!line->Label_Overload.empty()) {
      p.setPen(Qt::red);
      p.drawText(QPoint(x, kMargin + fh - 3), Q(line->Label_Overload));
    }
  }
}

void LineProfileWindow::closeEvent(QCloseEvent* e) {
  KeepPlace();
  display_.Hide();
  e->accept();
}

// --- The Line Setup dialog ----------------------------------------------------------------

LineSetupDialog::LineSetupDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_LineSetup");
  setWindowTitle("Line Setup");
  setModal(false);

  tabs_ = new QTabBar(this);
  tabs_->setObjectName("TabStrip");
  for (int n = 1; n <= kLineCount; ++n) tabs_->addTab(QString("&%1").arg(n));
  tabs_->setExpanding(false);

  auto field = [this](const char* name) {
    auto* e = new QLineEdit(this);
    e->setObjectName(name);
    e->setMaximumWidth(70);
    e->installEventFilter(this);
    return e;
  };
  x1_ = field("Text_x1");
  y1_ = field("Text_Y1");
  x2_ = field("Text_x2");
  y2_ = field("Text_Y2");

  mode_ = new QComboBox(this);
  mode_->setObjectName("Combo_Mode");
  for (int m = 0; m <= kWindowCount; ++m) mode_->addItem(Q(LineModeName(m)));
  averaging_ = new QComboBox(this);
  averaging_->setObjectName("Combo_Averaging");
  for (int i = 0; i <= 13; ++i) averaging_->addItem(QString::number(1 << i));
  averaging_->setEditable(true);
  averaging_->lineEdit()->setReadOnly(true);
  averaging_->setInsertPolicy(QComboBox::NoInsert);
  width_ = new QComboBox(this);
  width_->setObjectName("Combo_LineWidth");
  for (int t : kLineThicknesses) width_->addItem(QString::number(t));

  lock_ = new QCheckBox("Loc&k", this);
  lock_->setObjectName("Check_Lock");
  autoScale_ = new QCheckBox("A&uto Scan", this);
  autoScale_->setObjectName("Check_AutoScale");
  enabled_ = new QCheckBox("Use in &experiments", this);
  enabled_->setObjectName("Check_Enabled");

  auto button = [this](const QString& caption, const char* name) {
    return CommandButton(this, caption, name);
  };
  scan_ = button("&Scan", "Command_Scan");
  scanT_ = button("Profile(&t)", "Command_ScanT");
  grab_ = button("&Grab", "Command_Grab");
  sheet_ = button("&Worksheet", "Command_SHT");
  delete_ = button("&Delete", "Command_Delete");
  color_ = button("C&olor...", "Command_Color");
  calibration_ = button("Cali&bration...", "Command_Calibration");
  close_ = button("&Close", "Command_Close");
  length_ = new QLabel(this);
  length_->setObjectName("Label_Length");
  angle_ = new QLabel(this);
  angle_->setObjectName("Label_Angle");
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
  };
  label("X&1:", x1_, 0, 0);
  label("Y1:", y1_, 0, 2);
  label("X&2:", x2_, 1, 0);
  label("Y2:", y2_, 1, 2);
  label("A&veraging:", averaging_, 2, 0);
  label("&Width:", width_, 2, 2);
  label("&Mode:", mode_, 3, 0);
  grid->addWidget(mode_, 3, 1, 1, 3);
  grid->addWidget(length_, 4, 0, 1, 2);
  grid->addWidget(angle_, 4, 2, 1, 2);

  auto* checks = new QHBoxLayout;
  checks->addWidget(lock_);
  checks->addWidget(autoScale_);
  checks->addWidget(enabled_);

  auto* buttons = new QGridLayout;
  buttons->addWidget(scan_, 0, 0);
  buttons->addWidget(scanT_, 0, 1);
  buttons->addWidget(grab_, 0, 2);
  buttons->addWidget(sheet_, 0, 3);
  buttons->addWidget(delete_, 1, 0);
  buttons->addWidget(color_, 1, 1);
  buttons->addWidget(calibration_, 1, 2);
  buttons->addWidget(close_, 1, 3);

  auto* box = new QVBoxLayout(this);
  box->addWidget(tabs_);
  box->addLayout(grid);
  box->addLayout(checks);
  box->addLayout(buttons);
  box->addWidget(status_);
  box->setSizeConstraint(QLayout::SetFixedSize);

  connect(tabs_, &QTabBar::currentChanged, this, [this](int i) {
    if (loading_ || i < 0) return;
    LineSetupForm().TabStrip_Click(i);
  });
  connect(x1_, &QLineEdit::textEdited, this, [this] { FieldEdited(0); });
  connect(y1_, &QLineEdit::textEdited, this, [this] { FieldEdited(1); });
  connect(x2_, &QLineEdit::textEdited, this, [this] { FieldEdited(2); });
  connect(y2_, &QLineEdit::textEdited, this, [this] { FieldEdited(3); });
  auto combo = [this](QComboBox* c, int Form_LineSetup::*value, void (Form_LineSetup::*click)()) {
    connect(c, &QComboBox::activated, this, [this, value, click](int i) {
      if (loading_) return;
      Form_LineSetup& f = LineSetupForm();
      f.*value = i;
      (f.*click)();
      LoadControls();
    });
  };
  combo(mode_, &Form_LineSetup::Combo_Mode, &Form_LineSetup::Combo_Mode_Click);
  combo(averaging_, &Form_LineSetup::Combo_Averaging, &Form_LineSetup::Combo_Averaging_Click);
  combo(width_, &Form_LineSetup::Combo_LineWidth, &Form_LineSetup::Combo_LineWidth_Click);
  auto check = [this](QCheckBox* b, bool Form_LineSetup::*value, void (Form_LineSetup::*click)()) {
    connect(b, &QCheckBox::toggled, this, [this, value, click](bool on) {
      if (loading_) return;
      Form_LineSetup& f = LineSetupForm();
      f.*value = on;
      (f.*click)();
      LoadControls();
    });
  };
  check(lock_, &Form_LineSetup::Check_Lock, &Form_LineSetup::Check_Lock_Click);
  check(autoScale_, &Form_LineSetup::Check_AutoScale, &Form_LineSetup::Check_AutoScale_Click);
  check(enabled_, &Form_LineSetup::Check_Enabled, &Form_LineSetup::Check_Enabled_Click);
  auto command = [this](QPushButton* b, void (Form_LineSetup::*cmd)()) {
    connect(b, &QPushButton::clicked, this, [this, cmd] {
      (LineSetupForm().*cmd)();
      LoadControls();
    });
  };
  command(scan_, &Form_LineSetup::Command_Scan);
  command(scanT_, &Form_LineSetup::Command_ScanT);
  command(grab_, &Form_LineSetup::Command_Grab);
  command(sheet_, &Form_LineSetup::Command_SHT);
  command(delete_, &Form_LineSetup::Command_Delete);
  command(calibration_, &Form_LineSetup::Command_Calibration);
  command(close_, &Form_LineSetup::Command_Close);
  connect(color_, &QPushButton::clicked, this, [this] { ChooseColour(); });
  // Holding the scan button keeps a running scan going.
  connect(scan_, &QPushButton::pressed, this, [] { LineSetupForm().ScanHeld = true; });
  connect(scan_, &QPushButton::released, this, [] { LineSetupForm().ScanHeld = false; });

  for (QWidget* w : std::initializer_list<QWidget*>{tabs_, mode_, averaging_, width_, lock_,
                                                    autoScale_, enabled_, scan_, scanT_, grab_,
                                                    sheet_, delete_, color_, calibration_, close_})
    w->installEventFilter(this);

  LineSetupForm().SetView(this);
  LoadControls();
}

LineSetupDialog::~LineSetupDialog() { LineSetupForm().SetView(&g_noSetupView); }

void LineSetupDialog::LoadControls() {
  const Form_LineSetup& f = LineSetupForm();
  loading_ = true;
  if (tabs_->currentIndex() != f.Tab && f.Tab >= 0 && f.Tab < kLineCount)
    tabs_->setCurrentIndex(f.Tab);
  SetText(x1_, f.Text_x1);
  SetText(y1_, f.Text_Y1);
  SetText(x2_, f.Text_x2);
  SetText(y2_, f.Text_Y2);
  if (mode_->currentIndex() != f.Combo_Mode) mode_->setCurrentIndex(f.Combo_Mode);
  if (averaging_->currentIndex() != f.Combo_Averaging) averaging_->setCurrentIndex(f.Combo_Averaging);
  if (averaging_->currentText() != Q(f.Combo_AveragingText))
    averaging_->setEditText(Q(f.Combo_AveragingText));
  if (width_->currentIndex() != f.Combo_LineWidth) width_->setCurrentIndex(f.Combo_LineWidth);
  lock_->setChecked(f.Check_Lock);
  autoScale_->setChecked(f.Check_AutoScale);
  enabled_->setChecked(f.Check_Enabled);
  scan_->setText(Q(f.Command_ScanCaption));
  scanT_->setText(Q(f.Command_ScanTCaption));
  length_->setText(Q(f.Label_Length));
  angle_->setText(Q(f.Label_Angle));
  status_->setText(Q(f.Label_Status));
  Apply(x1_, f.Ctl_Text_x1);
  Apply(y1_, f.Ctl_Text_Y1);
  Apply(x2_, f.Ctl_Text_x2);
  Apply(y2_, f.Ctl_Text_Y2);
  Apply(averaging_, f.Ctl_Combo_Averaging);
  Apply(scan_, f.Ctl_Command_Scan);
  Apply(scanT_, f.Ctl_Command_ScanT);
  Apply(grab_, f.Ctl_Command_Grab);
  Apply(sheet_, f.Ctl_Command_SHT);
  Apply(delete_, f.Ctl_Command_Delete);
  Apply(calibration_, f.Ctl_Command_Calibration);
  loading_ = false;
}

void LineSetupDialog::Changed(const Form_LineSetup& f) {
  LoadControls();
  if (f.Visible() && !isVisible()) {
    show();
    raise();
    activateWindow();
  } else if (!f.Visible() && isVisible()) {
    hide();
  }
}

void LineSetupDialog::FieldEdited(int which) {
  if (loading_) return;
  Form_LineSetup& f = LineSetupForm();
  switch (which) {
    case 0: f.Text_x1 = x1_->text().toStdString(); f.Text_x1_Change(); break;
    case 1: f.Text_Y1 = y1_->text().toStdString(); f.Text_Y1_Change(); break;
    case 2: f.Text_x2 = x2_->text().toStdString(); f.Text_x2_Change(); break;
    default: f.Text_Y2 = y2_->text().toStdString(); f.Text_Y2_Change(); break;
  }
}

void LineSetupDialog::ChooseColour() {
  const Form_LineSetup& f = LineSetupForm();
  const int32_t initial = LG().ScanLines[size_t(std::clamp(f.Tab, 0, kLineCount - 1))].Color;
  int32_t chosen = initial;
  bool ok = false;
  if (chooseColour) {
    ok = chooseColour(initial, chosen);
  } else {
    const QColor c = QColorDialog::getColor(ColourFromBGR(initial), this, "Color");
    ok = c.isValid();
    if (ok) chosen = c.red() | (c.green() << 8) | (c.blue() << 16);
  }
  if (ok) LineSetupForm().Command_Color(chosen);
}

bool LineSetupDialog::FormKey(QKeyEvent* e) {
  const int code = KeyCode(e->key());
  if (code == 0) return false;
  const int shift = ShiftState(e->modifiers());
  if (code != Form_LineSetup::kKeyF5 && shift == 0) return false;
  return LineSetupForm().Form_KeyDown(code, shift);
}

bool LineSetupDialog::eventFilter(QObject* watched, QEvent* e) {
  if (e->type() == QEvent::KeyPress && FormKey(static_cast<QKeyEvent*>(e))) return true;
  return QDialog::eventFilter(watched, e);
}

void LineSetupDialog::keyPressEvent(QKeyEvent* e) {
  if (FormKey(e)) return;
  QDialog::keyPressEvent(e);
}

void LineSetupDialog::reject() {
  LineSetupForm().Command_Close();
  if (isVisible()) hide();
}

LineTools& InstalledLineTools() {
  static LineTools tools;
  return tools;
}

}  // namespace sv::app
