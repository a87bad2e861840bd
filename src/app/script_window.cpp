#include "app/script_window.h"

#include <QAction>
#include <QBrush>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QKeySequence>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMoveEvent>
#include <QPlainTextEdit>
#include <QStackedWidget>
#include <QTextBlock>
#include <QVBoxLayout>

#include "app/form_binding.h"
#include "core/mdi_main.h"
#include "script/script_runtime.h"

namespace sv::app {

namespace {

ScriptWindow* g_scriptWindow = nullptr;

// The editor's text (LF line ends) as the form keeps it, and back.
QString ToEditor(const std::string& text) {
  QString t = Q(text);
  t.replace("\r\n", "\n");
  return t;
}

}  // namespace

ScriptWindow::ScriptWindow(Form_Script& form, QWidget* parent)
    : QWidget(parent, Qt::Window), form_(form) {
  setObjectName("Form_Script");
  menuBar_ = new QMenuBar(this);
  stack_ = new QStackedWidget(this);
  editor_ = new QPlainTextEdit(this);
  editor_->setObjectName("Text_Script");
  editor_->setLineWrapMode(QPlainTextEdit::NoWrap);
  editor_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  listing_ = new QListWidget(this);
  listing_->setObjectName("Picture_Script");
  listing_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  stack_->addWidget(editor_);
  stack_->addWidget(listing_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setMenuBar(menuBar_);
  layout->addWidget(stack_);
  resize(520, 420);
  BuildMenus();

  connect(editor_, &QPlainTextEdit::textChanged, this, [this] {
    if (loading_) return;
    form_.SetEditorText(editor_->toPlainText().toStdString());
  });
  // Out of a run, a double click on the listing takes the user back to the
  // editor, on the line clicked.
  connect(listing_, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* item) {
    if (form_.Caption.find(" [run]") != std::string::npos) return;
    const int line = listing_->row(item);
    form_.ShowEditor();
    CaretToLine(line);
  });
  form_.SetView(this);
  EditorChanged();
  ListingChanged();
  StateChanged();
}

ScriptWindow::~ScriptWindow() {
  form_.SetView(nullptr);
  if (g_scriptWindow == this) g_scriptWindow = nullptr;
}

void ScriptWindow::BuildMenus() {
  for (const MenuEntry& top : form_.MenuBar.children) {
    QMenu* menu = menuBar_->addMenu(Q(top.caption));
    menu->setObjectName(Q(top.name));
    actions_.emplace_back(top.name, menu->menuAction());
    for (const MenuEntry& e : top.children) {
      QAction* a = menu->addAction(Q(e.caption));
      a->setObjectName(Q(e.name));
      if (!e.shortcut.empty()) a->setShortcut(QKeySequence(Q(e.shortcut)));
      a->setShortcutContext(Qt::WindowShortcut);
      const std::string name = e.name;
      connect(a, &QAction::triggered, this, [this, name] { form_.Click(name); });
      actions_.emplace_back(e.name, a);
    }
  }
}

QAction* ScriptWindow::Action(const std::string& name) const {
  for (const auto& [n, a] : actions_)
    if (n == name) return a;
  return nullptr;
}

int ScriptWindow::CaretLine() const { return editor_->textCursor().blockNumber(); }

void ScriptWindow::EditorChanged() {
  const QString text = ToEditor(form_.Text_Script);
  if (editor_->toPlainText() == text) return;
  loading_ = true;
  editor_->setPlainText(text);
  loading_ = false;
}

void ScriptWindow::ListingChanged() {
  const auto& lines = form_.Picture_Script;
  // Lines are only ever added or all cleared.
  if (listing_->count() > static_cast<int>(lines.size())) listing_->clear();
  for (size_t i = static_cast<size_t>(listing_->count()); i < lines.size(); ++i)
    listing_->addItem(Q(std::string(lines[i])));
  for (int i = 0; i < listing_->count(); ++i) {
    QListWidgetItem* item = listing_->item(i);
    const bool marked = i == form_.MarkedLine;
    item->setBackground(marked ? QBrush(QColor(255, 200, 200)) : QBrush());
  }
  if (form_.MarkedLine >= 0 && form_.MarkedLine < listing_->count()) {
    listing_->setCurrentRow(form_.MarkedLine);
    listing_->scrollToItem(listing_->item(form_.MarkedLine));
  }
}

void ScriptWindow::StateChanged() {
  setWindowTitle(Q(form_.Caption));
  for (const auto& [name, action] : actions_) {
    const MenuEntry* e = form_.FindMenu(name);
    if (!e) continue;
    action->setEnabled(e->enabled);
    if (e->caption != "-") action->setText(Q(e->caption));
  }
  stack_->setCurrentWidget(form_.Picture_Script_Visible ? static_cast<QWidget*>(listing_)
                                                        : static_cast<QWidget*>(editor_));
  if (form_.Text_Script_Visible) EditorChanged();
}

void ScriptWindow::ShowForm() {
  move(form_.Left / 15, form_.Top / 15);
  show();
  raise();
  activateWindow();
}

void ScriptWindow::HideForm() { hide(); }

void ScriptWindow::CaretToLine(int line) {
  EditorChanged();
  QTextBlock block = editor_->document()->findBlockByNumber(line < 0 ? 0 : line);
  if (!block.isValid()) block = editor_->document()->lastBlock();
  QTextCursor cursor(block);
  editor_->setTextCursor(cursor);
  editor_->ensureCursorVisible();
  editor_->setFocus();
}

void ScriptWindow::moveEvent(QMoveEvent* event) {
  QWidget::moveEvent(event);
  if (isVisible()) form_.Moved(pos().x() * 15, pos().y() * 15);
}

void ScriptWindow::closeEvent(QCloseEvent* event) {
  form_.Unload();
  event->accept();
}

void InstallScriptWindow(MDIForm_Main& main, QWidget* window) {
  RegisterScriptForm(main);
  WorkbenchScriptRunTime();
  ScriptShowHook() = [window](Form_Script& form) {
    if (!g_scriptWindow) g_scriptWindow = new ScriptWindow(form, window);
  };
}

ScriptWindow* ScriptDialog() { return g_scriptWindow; }

}  // namespace sv::app
