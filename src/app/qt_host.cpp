#include "app/qt_host.h"

#include <algorithm>
#include <iostream>

#include <QApplication>
#include <QClipboard>
#include <QCursor>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QGuiApplication>
#include <QInputDialog>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>

#include "core/globals.h"

namespace sv::app {

namespace {

QString Q(const std::string& s) { return QString::fromStdString(s); }

QMessageBox::StandardButtons ButtonsFor(MsgButtons b) {
  switch (b) {
    case MsgButtons::OK: return QMessageBox::Ok;
    case MsgButtons::OKCancel: return QMessageBox::Ok | QMessageBox::Cancel;
    case MsgButtons::AbortRetryIgnore:
      return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
    case MsgButtons::YesNoCancel: return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case MsgButtons::YesNo: return QMessageBox::Yes | QMessageBox::No;
    case MsgButtons::RetryCancel: return QMessageBox::Retry | QMessageBox::Cancel;
  }
  return QMessageBox::Ok;
}

QMessageBox::Icon IconFor(MsgIcon i) {
  switch (i) {
    case MsgIcon::None: return QMessageBox::NoIcon;
    case MsgIcon::Critical: return QMessageBox::Critical;
    case MsgIcon::Question: return QMessageBox::Question;
    case MsgIcon::Exclamation: return QMessageBox::Warning;
    case MsgIcon::Information: return QMessageBox::Information;
  }
  return QMessageBox::NoIcon;
}

// The button a closed box (Escape, close box) counts as.
MsgResult EscapeResult(MsgButtons b) {
  switch (b) {
    case MsgButtons::OK: return MsgResult::OK;
    case MsgButtons::YesNo: return MsgResult::No;
    case MsgButtons::AbortRetryIgnore: return MsgResult::Abort;
    default: return MsgResult::Cancel;
  }
}

MsgResult ResultFor(int pressed, MsgButtons buttons) {
  switch (pressed) {
    case QMessageBox::Ok: return MsgResult::OK;
    case QMessageBox::Cancel: return MsgResult::Cancel;
    case QMessageBox::Abort: return MsgResult::Abort;
    case QMessageBox::Retry: return MsgResult::Retry;
    case QMessageBox::Ignore: return MsgResult::Ignore;
    case QMessageBox::Yes: return MsgResult::Yes;
    case QMessageBox::No: return MsgResult::No;
    default: return EscapeResult(buttons);
  }
}

}  // namespace

QStringList QtFilters(const std::string& filter) {
  QStringList out;
  const QStringList parts = Q(filter).split('|');
  for (qsizetype i = 0; i < parts.size(); i += 2) {
    QString label = parts[i].trimmed();
    const QString patterns = i + 1 < parts.size() ? parts[i + 1].trimmed() : QString();
    if (label.isEmpty() && patterns.isEmpty()) continue;
    // The label may name its patterns already; Qt reads them from the last
    // bracket, so the label keeps only its words.
    if (label.endsWith(')')) {
      const qsizetype open = label.lastIndexOf('(');
      if (open > 0) label = label.left(open).trimmed();
    }
    QStringList list;
    for (QString p : patterns.split(';', Qt::SkipEmptyParts)) {
      p = p.trimmed();
      if (p == "*.*") p = "*";  // a file without a dot is a file too
      if (!p.isEmpty() && !list.contains(p)) list << p;
    }
    if (list.isEmpty()) list << "*";
    if (label.isEmpty()) label = list.join(' ');
    out << label + " (" + list.join(' ') + ")";
  }
  return out;
}

QtHost::QtHost() = default;
QtHost::~QtHost() {
  for (auto& [id, timer] : qtimers_) delete timer;
  if (busy_) QGuiApplication::restoreOverrideCursor();
}

MsgResult QtHost::MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                         const std::string& title) {
  if (unattended_) {
    std::cerr << (title.empty() ? G().AppTitle : title) << ": " << text << "\n";
    return EscapeResult(buttons);
  }
  QMessageBox box(IconFor(icon), Q(title.empty() ? G().AppTitle : title), Q(text),
                  ButtonsFor(buttons), dialogParent_);
  // A busy pointer must not hide the question.
  if (busy_) QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
  const int pressed = box.exec();
  if (busy_) QGuiApplication::restoreOverrideCursor();
  return ResultFor(pressed, buttons);
}

std::optional<std::string> QtHost::InputBox(const std::string& prompt, const std::string& title,
                                            const std::string& def) {
  if (unattended_) return std::nullopt;
  bool ok = false;
  const QString s = QInputDialog::getText(dialogParent_, Q(title.empty() ? G().AppTitle : title),
                                          Q(prompt), QLineEdit::Normal, Q(def), &ok);
  if (!ok) return std::nullopt;
  return s.toStdString();
}

FileDialogResult QtHost::RunFileDialog(const FileDialog& dlg, bool save) {
  if (unattended_) return FileDialogResult{"", dlg.filterIndex};
  const QStringList filters = QtFilters(dlg.filter);
  QString start = Q(platform::NativePath(dlg.folder));
  if (!dlg.fileName.empty()) {
    const std::string name = platform::NativePath(dlg.fileName);
    start = name.find('/') != std::string::npos || dlg.folder.empty()
                ? Q(name)
                : Q(platform::JoinPath(platform::NativePath(dlg.folder), name));
  }
  QString selected;
  if (dlg.filterIndex >= 1 && dlg.filterIndex <= filters.size())
    selected = filters[dlg.filterIndex - 1];
  const QString joined = filters.join(";;");
  const QString caption = Q(dlg.title);
  const QString path =
      save ? QFileDialog::getSaveFileName(dialogParent_, caption, start, joined, &selected)
           : QFileDialog::getOpenFileName(dialogParent_, caption, start, joined, &selected);
  FileDialogResult r;
  r.filterIndex = dlg.filterIndex;
  if (path.isEmpty()) return r;
  r.path = QDir::toNativeSeparators(path).toStdString();
  const qsizetype i = filters.indexOf(selected);
  if (i >= 0) r.filterIndex = static_cast<int>(i) + 1;
  return r;
}

FileDialogResult QtHost::OpenFileDialog(const FileDialog& dlg) { return RunFileDialog(dlg, false); }
FileDialogResult QtHost::SaveFileDialog(const FileDialog& dlg) { return RunFileDialog(dlg, true); }

void QtHost::ShowStatus(const std::string& text, int progress) {
  if (statusSink_) statusSink_(text, progress);
}

void QtHost::DoEvents() { QCoreApplication::processEvents(); }

void QtHost::WaitForEvents(int maxMs) {
  maxMs = std::clamp(maxMs, 0, kMaxWaitPollMs);
  if (maxMs == 0 || !QCoreApplication::instance()) {
    DoEvents();
    return;
  }
  // The single-shot timer wakes the loop when nothing else comes first.
  QTimer wake;
  wake.setSingleShot(true);
  wake.start(maxMs);
  QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}
void QtHost::Beep() { QApplication::beep(); }

void QtHost::SetBusy(bool busy) {
  if (busy == busy_) return;
  busy_ = busy;
  if (busy)
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
  else
    QGuiApplication::restoreOverrideCursor();
}

std::string QtHost::ClipboardText() {
  QClipboard* c = QGuiApplication::clipboard();
  return c ? c->text().toStdString() : std::string();
}

void QtHost::SetClipboardText(const std::string& text) {
  if (QClipboard* c = QGuiApplication::clipboard()) c->setText(Q(text));
}

int QtHost::StartTimer(int intervalMs, std::function<void()> tick) {
  auto* timer = new QTimer();
  timer->setInterval(std::max(0, intervalMs));
  const int id = nextTimer_++;
  QObject::connect(timer, &QTimer::timeout, [tick = std::move(tick)] {
    if (tick) tick();
  });
  qtimers_[id] = timer;
  timer->start();
  return id;
}

void QtHost::StopTimer(int id) {
  auto it = qtimers_.find(id);
  if (it == qtimers_.end()) return;
  it->second->stop();
  it->second->deleteLater();  // the tick that stops its own timer is still running
  qtimers_.erase(it);
}

uint32_t QtHost::TimeGetTime() { return platform::MonotonicMilliseconds(); }
std::string QtHost::UserName() { return platform::LoginName(); }
std::string QtHost::TempPath() { return platform::TempFolder(); }
std::string QtHost::ProgramFolder() { return platform::ExecutableFolder(); }
std::string QtHost::ExeName() { return platform::ExecutableName(); }
std::string QtHost::ConfigFolder() { return platform::ConfigFolder(); }
std::string QtHost::HomeFolder() { return platform::HomeFolder(); }

UserStore& QtHost::Store() {
  if (!store_) store_ = std::make_unique<platform::IniUserStore>(platform::ConfigFolder());
  return *store_;
}

int64_t QtHost::FreeDiskSpace(const std::string& path) { return platform::FreeDiskSpace(path); }

ScreenSize QtHost::Screen() {
  ScreenSize s;
  if (QScreen* screen = QGuiApplication::primaryScreen()) {
    const QRect r = screen->availableGeometry();
    if (r.width() > 0 && r.height() > 0) {
      s.width = r.width();
      s.height = r.height();
    }
  }
  return s;
}

}  // namespace sv::app
