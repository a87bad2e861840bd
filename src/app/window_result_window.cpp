#include "app/window_result_window.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace sv::app {

namespace {

// What the presenter is left with once the window has gone.
Form_WindowScanResult::View g_noResultView;

// The report's lines end in CR LF; the text box shows plain lines.
QString Shown(const std::string& text) {
  QString s = QString::fromStdString(text);
  s.replace("\r\n", "\n");
  return s;
}

std::string Held(const QString& shown) {
  QString s = shown;
  s.replace("\n", "\r\n");
  return s.toStdString();
}

}  // namespace

WindowResultWindow::WindowResultWindow(QWidget* parent) : QDialog(parent) {
  setObjectName("Form_WindowScanResult");
  setWindowTitle("Scan Result");
  setModal(false);

  menu_ = new QMenuBar(this);
  QMenu* file = menu_->addMenu("&File");
  saveAs_ = file->addAction("Save &As...");
  saveAs_->setObjectName("mnuSaveAs");
  QMenu* edit = menu_->addMenu("&Edit");
  cut_ = edit->addAction("Cu&t");
  cut_->setObjectName("mnuCut");
  cut_->setShortcut(QKeySequence::Cut);
  copy_ = edit->addAction("&Copy");
  copy_->setObjectName("mnuCopy");
  copy_->setShortcut(QKeySequence::Copy);
  paste_ = edit->addAction("&Paste");
  paste_->setObjectName("mnuPaste");
  paste_->setShortcut(QKeySequence::Paste);
  delete_ = edit->addAction("&Delete");
  delete_->setObjectName("mnuDelete");
  delete_->setShortcut(QKeySequence::Delete);
  for (QAction* a : {cut_, copy_, paste_, delete_}) a->setShortcutContext(Qt::WidgetWithChildrenShortcut);

  text_ = new QPlainTextEdit(this);
  text_->setObjectName("Text_Result");
  text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  text_->setTabStopDistance(text_->fontMetrics().horizontalAdvance(' ') * 8);
  text_->setMinimumSize(text_->fontMetrics().horizontalAdvance('0') * 64,
                        text_->fontMetrics().lineSpacing() * 18);
  // The same four commands and Save As on the right button.
  text_->setContextMenuPolicy(Qt::CustomContextMenu);
  connect(text_, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    QMenu menu(this);
    menu.addAction(cut_);
    menu.addAction(copy_);
    menu.addAction(paste_);
    menu.addAction(delete_);
    menu.addSeparator();
    menu.addAction(saveAs_);
    menu.exec(text_->viewport()->mapToGlobal(at));
  });

  auto* box = new QVBoxLayout(this);
  box->setContentsMargins(0, 0, 0, 0);
  box->setMenuBar(menu_);
  box->addWidget(text_);

  // The commands work on the selection of the text, as a text box's menu
  // does; the presenter holds the text as it then stands.
  connect(cut_, &QAction::triggered, this, [this] { text_->cut(); });
  connect(copy_, &QAction::triggered, this, [this] { text_->copy(); });
  connect(paste_, &QAction::triggered, this, [this] { text_->paste(); });
  connect(delete_, &QAction::triggered, this, [this] { text_->textCursor().removeSelectedText(); });
  connect(saveAs_, &QAction::triggered, this, [this] {
    TextToPresenter();
    WindowScanResultForm().FileSaveAs();
  });
  connect(text_, &QPlainTextEdit::textChanged, this, [this] { TextToPresenter(); });

  WindowScanResultForm().SetView(this);
}

WindowResultWindow::~WindowResultWindow() { WindowScanResultForm().SetView(&g_noResultView); }

void WindowResultWindow::TextToPresenter() {
  if (loading_) return;
  WindowScanResultForm().Text_Result = Held(text_->toPlainText());
}

void WindowResultWindow::Changed(const Form_WindowScanResult& f) {
  const QString shown = Shown(f.Text_Result);
  if (text_->toPlainText() != shown) {
    loading_ = true;
    text_->setPlainText(shown);
    loading_ = false;
  }
  if (f.Visible() && !isVisible()) {
    show();
    raise();
  } else if (!f.Visible() && isVisible()) {
    hide();
  }
}

void WindowResultWindow::reject() {
  WindowScanResultForm().Hide();
  if (isVisible()) hide();
}

}  // namespace sv::app
