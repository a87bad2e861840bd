#include "app/main_window.h"

#include <algorithm>
#include <functional>

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeySequence>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

#include "app/image_window.h"
#include "app/lut_dialog.h"
#include "app/plot_window.h"
#include "app/qt_host.h"
#include "app/toolbar_icons.h"
#include "app/worksheet_window.h"
#include "core/globals.h"
#include "image/form_camera.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"

namespace sv::app {

namespace {

// What the main window's presenter is left with once this window has gone.
MainView g_noMainView;

QString Q(const std::string& s) { return QString::fromStdString(s); }

// The shape of a menu tree: names, indexes, separators and nesting. Captions
// and states are synced in place; a new shape rebuilds the menu.
void Signature(const MenuEntry& e, std::string& out) {
  out += e.name;
  out += '#';
  out += std::to_string(e.index);
  if (e.IsSeparator()) out += '-';
  if (!e.children.empty()) {
    out += '(';
    for (const auto& c : e.children) Signature(c, out);
    out += ')';
  }
  out += ';';
}

std::string Signature(const MenuEntry& e) {
  std::string s;
  Signature(e, s);
  return s;
}

void ApplyEntry(QAction* a, const MenuEntry& e) {
  if (e.IsSeparator()) {
    if (a->isVisible() != e.visible) a->setVisible(e.visible);
    return;
  }
  const QString caption = Q(e.caption);
  if (a->text() != caption) a->setText(caption);
  const bool parent = !e.children.empty();
  // The presenter folds `built` into `enabled` when it prepares a menu; an
  // entry routed to the document in front counts as built without a command.
  const bool enabled = e.enabled;
  if (a->isEnabled() != enabled) a->setEnabled(enabled);
  if (!parent) {
    // Only a checked entry carries a check mark, as the menus always had.
    if (a->isCheckable() != e.checked) a->setCheckable(e.checked);
    if (a->isChecked() != e.checked) a->setChecked(e.checked);
  }
  if (a->isVisible() != e.visible) a->setVisible(e.visible);
}

}  // namespace

MainWindow::MainWindow(MDIForm_Main& main, QtHost* host) : main_(main), host_(host) {
  setObjectName("MDIForm_Main");
  // Dialogs without an icon of their own take the application's.
  if (QApplication::windowIcon().isNull() ||
      QApplication::windowIcon().availableSizes().isEmpty())
    QApplication::setWindowIcon(AppIcon());
  setWindowIcon(AppIcon());
  setWindowTitle(Q(G().AppTitle));
  mdi_ = new QMdiArea(this);
  mdi_->setObjectName("MdiArea");
  mdi_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  mdi_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  mdi_->setBackground(QColor(128, 128, 128));
  mdi_->installEventFilter(this);
  setCentralWidget(mdi_);
  connect(mdi_, &QMdiArea::subWindowActivated, this,
          [this](QMdiSubWindow* sub) { SubWindowActivated(sub); });

  lut_ = new LutDialog(this);

  BuildStatusBar();
  main_.SetView(this);
  BuildMenuBar();
  BuildToolbars();
  SyncToolbars();

  if (host_) {
    host_->SetDialogParent(this);
    host_->SetStatusSink(
        [this](const std::string& text, int progress) { ShowStatusText(text, progress); });
  }
}

MainWindow::~MainWindow() {
  // The children go after this part of us: nothing of theirs may call back.
  disconnect(mdi_, nullptr, this, nullptr);
  mdi_->removeEventFilter(this);
  if (host_) {
    host_->SetStatusSink(nullptr);
    host_->SetDialogParent(nullptr);
  }
  lut_->Bind(nullptr);
  for (auto& [handle, c] : children_) {
    if (c.image) c.image->Detach();
    if (c.sheet) c.sheet->Detach();
    if (c.plot) c.plot->Detach();
  }
  if (main_.View() == this) main_.SetView(&g_noMainView);
}

// --- Access ----------------------------------------------------------------------

ImageWindow* MainWindow::ImageWindowFor(long handle) const {
  auto it = children_.find(handle);
  return it == children_.end() ? nullptr : it->second.image;
}

WorksheetWindow* MainWindow::WorksheetWindowFor(long handle) const {
  auto it = children_.find(handle);
  return it == children_.end() ? nullptr : it->second.sheet;
}

PlotWindow* MainWindow::PlotWindowFor(long handle) const {
  auto it = children_.find(handle);
  return it == children_.end() ? nullptr : it->second.plot;
}

QMdiSubWindow* MainWindow::SubWindowFor(long handle) const {
  auto it = children_.find(handle);
  return it == children_.end() ? nullptr : it->second.sub;
}

QAction* MainWindow::MenuAction(const std::string& name, int index) const {
  const MenuEntry& bar = main_.MenuBar();
  for (size_t t = 0; t < tops_.size() && t < bar.children.size(); ++t) {
    const MenuEntry& top = bar.children[t];
    if (top.name == name && top.index == index) return tops_[t].menu->menuAction();
    size_t i = 0;
    QAction* found = nullptr;
    std::function<void(const MenuEntry&)> walk = [&](const MenuEntry& e) {
      for (const auto& c : e.children) {
        if (found || i >= tops_[t].actions.size()) return;
        QAction* a = tops_[t].actions[i++];
        if (c.name == name && c.index == index) {
          found = a;
          return;
        }
        if (!c.children.empty()) walk(c);
      }
    };
    walk(top);
    if (found) return found;
  }
  return nullptr;
}

QMenu* MainWindow::TopMenu(const std::string& name) const {
  for (const auto& t : tops_)
    if (t.name == name) return t.menu;
  return nullptr;
}

QToolBar* MainWindow::ToolbarWidget(const std::string& name) const {
  for (QToolBar* t : toolbars_)
    if (t->objectName() == Q(name)) return t;
  return nullptr;
}

QAction* MainWindow::ToolbarAction(const std::string& key) const {
  auto it = toolbarActions_.find(key);
  return it == toolbarActions_.end() ? nullptr : it->second;
}

QLabel* MainWindow::PanelLabel(const std::string& panel) const {
  auto it = panels_.find(panel);
  return it == panels_.end() ? nullptr : it->second;
}

// --- Menus -------------------------------------------------------------------------

void MainWindow::ClearMenu(QMenu* menu) {
  // The menu may be in the middle of one of its own signals: nothing is
  // deleted at once.
  for (QAction* a : menu->actions()) {
    menu->removeAction(a);
    if (QMenu* sub = a->menu()) sub->deleteLater();
    if (a->parent() == menu) a->deleteLater();
  }
}

void MainWindow::FillMenu(QMenu* menu, const MenuEntry& entry, std::vector<QAction*>& actions) {
  for (const MenuEntry& c : entry.children) {
    if (c.IsSeparator()) {
      actions.push_back(menu->addSeparator());
      continue;
    }
    if (!c.children.empty()) {
      QMenu* sub = new QMenu(Q(c.caption), menu);
      sub->setObjectName(Q(c.name));
      actions.push_back(menu->addMenu(sub));
      FillMenu(sub, c, actions);
      continue;
    }
    QAction* a = new QAction(Q(c.caption), menu);
    a->setObjectName(Q(c.name));
    if (!c.shortcut.empty()) a->setShortcut(QKeySequence(Q(c.shortcut)));
    const std::string name = c.name;
    const int index = c.index;
    connect(a, &QAction::triggered, this, [this, name, index] {
      main_.Click(name, index);
      SyncMenus();
    });
    menu->addAction(a);
    actions.push_back(a);
  }
}

void MainWindow::BuildMenuBar() {
  QMenuBar* bar = menuBar();
  for (auto& t : tops_) {
    bar->removeAction(t.menu->menuAction());
    t.menu->deleteLater();
  }
  tops_.clear();
  menuSignature_.clear();
  for (const MenuEntry& top : main_.MenuBar().children) {
    TopMenuBinding b;
    b.name = top.name;
    b.menu = new QMenu(Q(top.caption), this);
    b.menu->setObjectName(Q(top.name));
    const std::string name = top.name;
    connect(b.menu, &QMenu::aboutToShow, this, [this, name] { TopMenuOpening(name); });
    FillMenu(b.menu, top, b.actions);
    b.signature = Signature(top);
    bar->addMenu(b.menu);
    tops_.push_back(std::move(b));
    menuSignature_ += top.name + ";";
  }
}

void MainWindow::SyncTopMenu(TopMenuBinding& b, const MenuEntry& top) {
  QAction* self = b.menu->menuAction();
  const QString caption = Q(top.caption);
  if (self->text() != caption) self->setText(caption);
  if (self->isEnabled() != top.enabled) self->setEnabled(top.enabled);
  if (self->isVisible() != top.visible) self->setVisible(top.visible);
  size_t i = 0;
  std::function<void(const MenuEntry&)> walk = [&](const MenuEntry& e) {
    for (const auto& c : e.children) {
      if (i >= b.actions.size()) return;
      ApplyEntry(b.actions[i++], c);
      if (!c.children.empty()) walk(c);
    }
  };
  walk(top);
}

void MainWindow::SyncMenus() {
  if (syncingMenus_) return;
  syncingMenus_ = true;
  const MenuEntry& bar = main_.MenuBar();
  std::string tops;
  for (const auto& t : bar.children) tops += t.name + ";";
  if (tops != menuSignature_) BuildMenuBar();
  for (size_t t = 0; t < tops_.size() && t < bar.children.size(); ++t) {
    TopMenuBinding& b = tops_[t];
    const MenuEntry& top = bar.children[t];
    std::string sig = Signature(top);
    if (sig != b.signature) {
      ClearMenu(b.menu);
      if (b.name == "mnuWindow") windowListActions_.clear();
      b.actions.clear();
      FillMenu(b.menu, top, b.actions);
      b.signature = std::move(sig);
    }
    SyncTopMenu(b, top);
  }
  for (auto& [handle, c] : children_)
    if (c.image) c.image->RefreshComment();
  syncingMenus_ = false;
}

void MainWindow::TopMenuOpening(const std::string& name) {
  main_.PrepareMenu(name);
  SyncMenus();
  if (name == "mnuWindow")
    if (QMenu* m = TopMenu(name)) FillWindowList(m);
}

// The Window menu ends with the list of open windows.
void MainWindow::FillWindowList(QMenu* menu) {
  for (QAction* a : windowListActions_) {
    menu->removeAction(a);
    a->deleteLater();
  }
  windowListActions_.clear();
  QMdiSubWindow* active = mdi_->activeSubWindow();
  int n = 0;
  for (QMdiSubWindow* sub : mdi_->subWindowList()) {
    if (sub->isHidden()) continue;
    if (n == 0) windowListActions_.push_back(menu->addSeparator());
    ++n;
    QString text = sub->windowTitle();
    text.replace("&", "&&");
    QAction* a = new QAction((n < 10 ? QString("&%1 ").arg(n) : QString("%1 ").arg(n)) + text, menu);
    // Only the window in front carries a mark.
    a->setCheckable(sub == active);
    a->setChecked(sub == active);
    QPointer<QMdiSubWindow> target(sub);
    connect(a, &QAction::triggered, this, [this, target] {
      if (target) mdi_->setActiveSubWindow(target);
    });
    menu->addAction(a);
    windowListActions_.push_back(a);
  }
}

void MainWindow::MenusChanged() { SyncMenus(); }

// --- Toolbars ----------------------------------------------------------------------

void MainWindow::BuildToolbars() {
  for (QToolBar* t : toolbars_) {
    if (toolBarBreak(t)) removeToolBarBreak(t);
    removeToolBar(t);
    t->deleteLater();
  }
  toolbars_.clear();
  toolbarActions_.clear();
  toolbarSignature_.clear();
  for (const Toolbar& t : main_.Toolbars()) {
    QString title = Q(t.name);
    if (title.startsWith("Toolbar_")) title = title.mid(8);
    auto* bar = new QToolBar(title, this);
    bar->setObjectName(Q(t.name));
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->setIconSize(QSize(24, 24));
    bar->setToolButtonStyle(Qt::ToolButtonIconOnly);
    // Two rows: the document and grabber keys above, the tools below.
    if (t.name == "Toolbar_Scan") addToolBarBreak(Qt::TopToolBarArea);
    addToolBar(Qt::TopToolBarArea, bar);
    for (const ToolbarButton& b : t.buttons) {
      QAction* a = bar->addAction(ToolbarText(b));
      a->setObjectName(Q(b.key));
      a->setIcon(ToolbarIcon(b));
      a->setToolTip(ToolbarTip(b, main_));
      // A key without a drawing shows its caption; a button the presenter
      // captions (a video input) shows the caption beside the drawing.
      if (auto* button = qobject_cast<QToolButton*>(bar->widgetForAction(a))) {
        button->setObjectName(Q(b.key));
        if (a->icon().isNull())
          button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        else if (!b.caption.empty())
          button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
      }
      const std::string key = b.key;
      connect(a, &QAction::triggered, this, [this, key] {
        main_.ToolbarClick(key);
        SyncMenus();
        SyncToolbars();
      });
      toolbarActions_[b.key] = a;
      toolbarSignature_ += b.key + ",";
    }
    toolbars_.push_back(bar);
    toolbarSignature_ += t.name + ";";
  }
}

void MainWindow::SyncToolbars() {
  std::string sig;
  for (const Toolbar& t : main_.Toolbars()) {
    for (const ToolbarButton& b : t.buttons) sig += b.key + ",";
    sig += t.name + ";";
  }
  if (sig != toolbarSignature_) BuildToolbars();
  const auto& bars = main_.Toolbars();
  for (size_t i = 0; i < bars.size() && i < toolbars_.size(); ++i) {
    const Toolbar& t = bars[i];
    QToolBar* bar = toolbars_[i];
    if (bar->isEnabled() != t.enabled) bar->setEnabled(t.enabled);
    const bool visible = t.visible && showToolbars_;
    if (bar->isHidden() == visible) bar->setVisible(visible);
    // By place in its own bar: a key may sit on two bars ("Print").
    const QList<QAction*> actions = bar->actions();
    for (size_t j = 0; j < t.buttons.size() && j < size_t(actions.size()); ++j) {
      const ToolbarButton& b = t.buttons[j];
      QAction* a = actions[qsizetype(j)];
      const bool enabled = b.enabled && b.built;
      if (a->isEnabled() != enabled) a->setEnabled(enabled);
      const QString text = ToolbarText(b);
      if (a->text() != text) a->setText(text);
      const QString tip = ToolbarTip(b, main_);
      if (a->toolTip() != tip) a->setToolTip(tip);
      if (a->isCheckable() != b.checked) a->setCheckable(b.checked);
      if (a->isChecked() != b.checked) a->setChecked(b.checked);
    }
  }
}

void MainWindow::ToolbarsChanged() { SyncToolbars(); }

void MainWindow::ToolbarVisible(bool visible) {
  showToolbars_ = visible;
  SyncToolbars();
}

// --- Status bar --------------------------------------------------------------------

void MainWindow::BuildStatusBar() {
  QStatusBar* sb = statusBar();
  sb->setSizeGripEnabled(true);
  const int digit = sb->fontMetrics().horizontalAdvance('0');
  auto make = [&](const char* name, int chars) {
    auto* l = new QLabel(sb);
    l->setObjectName(name);
    l->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    l->setMinimumWidth(digit * chars);
    l->setTextInteractionFlags(Qt::NoTextInteraction);
    panels_[name] = l;
    return l;
  };
  QLabel* status = make(kPanelStatus, 12);
  status->setMinimumWidth(0);
  status->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  sb->addWidget(status, 1);
  progress_ = new QProgressBar(sb);
  progress_->setObjectName("Progress");
  progress_->setRange(0, 100);
  progress_->setMaximumWidth(digit * 18);
  progress_->setMaximumHeight(sb->fontMetrics().height() + 4);
  progress_->hide();
  sb->addWidget(progress_);
  sb->addPermanentWidget(make(kPanelPixelColor, 20));
  sb->addPermanentWidget(make(kPanelEnergy, 10));
  sb->addPermanentWidget(make(kPanelGrabberStatus, 10));
  sb->addPermanentWidget(make(kPanelDuration, 8));
  sb->addPermanentWidget(make(kPanelFrameRate, 7));
  sb->addPermanentWidget(make(kPanelStamp, 16));
}

void MainWindow::ShowStatusText(const std::string& text, int progress) {
  if (QLabel* l = PanelLabel(kPanelStatus)) l->setText(Q(text));
  if (text.empty() || progress < 0) {
    progress_->hide();
  } else {
    progress_->setValue(std::clamp(progress, 0, 100));
    progress_->show();
  }
}

void MainWindow::StatusPanel(const std::string& panel, const std::string& text) {
  if (QLabel* l = PanelLabel(panel)) l->setText(Q(text));
  if (panel == kPanelStatus && text.empty()) progress_->hide();
}

void MainWindow::StatusbarVisible(bool visible) { statusBar()->setVisible(visible); }

// --- The window itself ---------------------------------------------------------------

void MainWindow::SetWindowRect(int state, int left, int top, int width, int height) {
  windowState_ = state;
  // The bare minimum of the settings means nothing was remembered.
  if (width > 400 || height > 300)
    normalRect_ = QRect(left, top, width, height);
  else
    normalRect_ = QRect();
  if (isVisible()) ShowMain();
}

void MainWindow::ShowMain() {
  SyncMenus();
  SyncToolbars();
  if (normalRect_.isValid()) {
    resize(normalRect_.size());
    move(normalRect_.topLeft());
  } else if (QScreen* screen = QGuiApplication::primaryScreen()) {
    const QRect avail = screen->availableGeometry();
    const QSize size(std::max(800, avail.width() * 4 / 5), std::max(600, avail.height() * 4 / 5));
    const QSize fit = size.boundedTo(avail.size());
    resize(fit);
    move(avail.center() - QPoint(fit.width() / 2, fit.height() / 2));
  }
  if (windowState_ == 2)
    showMaximized();
  else
    showNormal();
  UpdateMaxClientSizes();
}

// Where the window is goes into the settings that the exit writes, whichever
// way the exit comes.
void MainWindow::StoreWindowRect() {
  if (!isVisible()) return;
  Globals& g = G();
  g.MainState = isMinimized() ? 1 : isMaximized() ? 2 : 0;
  if (g.MainState != 0) return;  // the normal rectangle stays as it was
  const QRect frame = frameGeometry();
  g.MainLeft = frame.left();
  g.MainTop = frame.top();
  g.MainWidth = width();
  g.MainHeight = height();
}

void MainWindow::moveEvent(QMoveEvent* e) {
  QMainWindow::moveEvent(e);
  StoreWindowRect();
}

void MainWindow::resizeEvent(QResizeEvent* e) {
  QMainWindow::resizeEvent(e);
  StoreWindowRect();
}

void MainWindow::changeEvent(QEvent* e) {
  QMainWindow::changeEvent(e);
  if (e->type() == QEvent::WindowStateChange) StoreWindowRect();
}

void MainWindow::closeEvent(QCloseEvent* e) {
  StoreWindowRect();
  if (main_.Closed() || main_.QueryUnload()) {
    lut_->Bind(nullptr);
    lut_->hide();
    e->accept();
  } else {
    e->ignore();
  }
}

void MainWindow::CloseMain() {
  // The presenter has agreed already; the close box no longer asks.
  QTimer::singleShot(0, this, [this] { close(); });
}

bool MainWindow::eventFilter(QObject* watched, QEvent* e) {
  if (watched == mdi_ && e->type() == QEvent::Resize) UpdateMaxClientSizes();
  return QMainWindow::eventFilter(watched, e);
}

// --- Child windows -------------------------------------------------------------------

void MainWindow::ChildAdded(ChildDocument& doc) {
  addingChild_ = true;
  const long handle = doc.Handle();
  auto* sub = new ChildSubWindow(handle);
  sub->setObjectName(QString("Child%1").arg(handle));
  sub->onClose = [this](long h) { return main_.CloseChild(h); };
  ChildBinding binding;
  binding.sub = sub;
  if (auto* form = dynamic_cast<Form_Camera*>(&doc)) {
    auto* w = new ImageWindow(*form);
    w->SetSubWindow(sub);
    sub->setWidget(w);
    form->SetView(w);
    binding.image = w;
  } else if (auto* sheet = dynamic_cast<Form_Worksheet*>(&doc)) {
    auto* w = new WorksheetWindow(*sheet);
    w->SetSubWindow(sub);
    sub->setWidget(w);
    binding.sheet = w;
  } else if (auto* plot = dynamic_cast<Form_Plot*>(&doc)) {
    auto* w = new PlotWindow(*plot);
    w->SetSubWindow(sub);
    sub->setWidget(w);
    binding.plot = w;
  } else {
    // A document without a window of its own yet shows its name.
    auto* l = new QLabel(Q(doc.Caption()));
    l->setAlignment(Qt::AlignCenter);
    l->setMinimumSize(240, 120);
    sub->setWidget(l);
  }
  sub->setWindowTitle(Q(doc.Caption()));
  sub->setWindowIcon(sub->widget()->windowIcon());
  // Created hidden: the presenter shows it when it is ready.
  sub->hide();
  mdi_->addSubWindow(sub);
  sub->hide();
  children_[handle] = binding;
  UpdateMaxClientSizes();
  addingChild_ = false;
}

void MainWindow::ChildRemoved(long handle) {
  auto it = children_.find(handle);
  if (it == children_.end()) return;
  ChildBinding c = it->second;
  children_.erase(it);
  if (c.image) {
    if (lut_->Bound() == c.image->Form()) lut_->Bind(nullptr);
    c.image->Detach();
  }
  if (c.sheet) c.sheet->Detach();
  if (c.plot) c.plot->Detach();
  c.sub->SetRemoving();
  c.sub->hide();
  c.sub->deleteLater();
}

void MainWindow::ShowChild(long handle) {
  auto it = children_.find(handle);
  if (it == children_.end()) return;
  ChildSubWindow* sub = it->second.sub;
  if (ImageWindow* w = it->second.image) {
    if (Form_Camera* f = w->Form()) w->CaptionChanged(*f);
    sub->resize(sub->sizeHint().boundedTo(mdi_->viewport()->size()));
  }
  const bool first = !sub->isVisible();
  PlotWindow* plot = it->second.plot;
  if (first && (it->second.sheet || plot)) {
    // A sheet or plot shown for the first time takes the size it asks for,
    // or a plot the place its file gave it.
    if (!plot || !plot->PlaceBeforeShow())
      sub->resize(sub->sizeHint().boundedTo(mdi_->viewport()->size()));
  }
  sub->show();
  if (first && plot) plot->StateAfterShow();
  mdi_->setActiveSubWindow(sub);
  sub->widget()->setFocus();
  SyncMenus();
}

void MainWindow::SubWindowActivated(QMdiSubWindow* sub) {
  // Nothing active only means the main window lost the focus.
  if (!sub || addingChild_ || sub->isHidden()) return;
  auto* child = qobject_cast<ChildSubWindow*>(sub);
  if (!child || child->Removing()) return;
  main_.SetActiveChild(child->Handle());
  if (lut_->isVisible()) {
    ImageWindow* w = ImageWindowFor(child->Handle());
    lut_->Bind(w ? w->Form() : nullptr);
  }
  SyncMenus();
  SyncToolbars();
}

void MainWindow::UpdateMaxClientSizes() {
  const QSize area = mdi_->viewport()->size();
  for (auto& [handle, c] : children_) {
    if (!c.image) continue;
    const QSize frame = c.image->FrameSize();
    c.image->SetMaxClientSize(area.width() - frame.width(), area.height() - frame.height());
  }
}

void MainWindow::TileLinear(bool horizontally) {
  std::vector<QMdiSubWindow*> windows;
  for (QMdiSubWindow* s : mdi_->subWindowList())
    if (!s->isHidden() && !s->isMinimized()) windows.push_back(s);
  if (windows.empty()) return;
  const QRect area = mdi_->viewport()->rect();
  const int n = static_cast<int>(windows.size());
  for (int i = 0; i < n; ++i) {
    QMdiSubWindow* s = windows[i];
    if (s->isMaximized()) s->showNormal();
    if (horizontally) {
      const int h = area.height() / n;
      s->setGeometry(0, i * h, area.width(), i == n - 1 ? area.height() - i * h : h);
    } else {
      const int w = area.width() / n;
      s->setGeometry(i * w, 0, i == n - 1 ? area.width() - i * w : w, area.height());
    }
  }
}

void MainWindow::Arrange(int how) {
  switch (how) {
    case 0: mdi_->cascadeSubWindows(); break;
    case 1: TileLinear(true); break;   // one above the other
    case 2: TileLinear(false); break;  // side by side
    default: break;                    // minimised windows line up by themselves
  }
}

void MainWindow::ShowLutForm(ChildDocument& doc) {
  lut_->Bind(dynamic_cast<Form_Camera*>(&doc));
  lut_->show();
  lut_->raise();
  lut_->activateWindow();
}

}  // namespace sv::app
