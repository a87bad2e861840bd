#include "app/system_close.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <QApplication>
#include <QDialog>
#include <QGuiApplication>
#include <QSessionManager>
#include <QSocketNotifier>
#include <QTimer>
#include <QWidget>
#include <cerrno>
#include <filesystem>

#include "app/qt_host.h"
#include "core/document_recovery.h"
#include "core/error_table.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "experiment/experiment_settings.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "worksheet/form_worksheet.h"

namespace sv::app {

namespace {

constexpr int kSignals[] = {SIGTERM, SIGHUP, SIGINT};
// How often an open box or a long run may put the close off before it goes
// on regardless; each retry waits one pass of the event loop or 50 ms.
constexpr int kMaxRetries = 200;

// The write end of the pipe, for the handler only.
volatile sig_atomic_t g_signalFd = -1;

extern "C" void OnSignal(int signo) {
  const int saved = errno;
  const int fd = g_signalFd;
  if (fd >= 0) {
    const char byte = static_cast<char>(signo);
    ssize_t ignored = ::write(fd, &byte, 1);
    (void)ignored;
  }
  errno = saved;
}

}  // namespace

SystemClose::SystemClose(MDIForm_Main& main, QWidget* window) : main_(main), window_(window) {
  if (::pipe2(fds_, O_CLOEXEC | O_NONBLOCK) == 0) {
    g_signalFd = fds_[1];
    notifier_ = new QSocketNotifier(fds_[0], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] { ReadSignals(); });
    struct sigaction sa {};
    sa.sa_handler = OnSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    for (int s : kSignals) ::sigaction(s, &sa, nullptr);
  }
  // The desktop session ends: no one is there to answer a question.
  if (auto* gui = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
    connect(gui, &QGuiApplication::commitDataRequest, this, [this](QSessionManager& manager) {
      manager.setRestartHint(QSessionManager::RestartNever);
      if (started_ && !main_.Closed() && !main_.Exiting()) main_.UnloadBySystem();
      Request();
    });
    // Whatever else ends the loop, the sequence has run before the windows go.
    connect(gui, &QCoreApplication::aboutToQuit, this, [this] {
      if (started_ && !main_.Closed() && !main_.Exiting()) main_.UnloadBySystem();
    });
  }
}

SystemClose::~SystemClose() {
  struct sigaction sa {};
  sa.sa_handler = SIG_DFL;
  sigemptyset(&sa.sa_mask);
  for (int s : kSignals) ::sigaction(s, &sa, nullptr);
  g_signalFd = -1;
  delete notifier_;
  notifier_ = nullptr;
  for (int fd : fds_)
    if (fd >= 0) ::close(fd);
}

void SystemClose::ReadSignals() {
  char buf[64];
  bool any = false;
  while (::read(fds_[0], buf, sizeof buf) > 0) any = true;
  if (any) Request();
}

void SystemClose::Started() {
  started_ = true;
  if (requested_) Request();
}

void SystemClose::Request() {
  requested_ = true;
  const bool again = retries_ < kMaxRetries;
  // An open box, the exit question and those of the start among them, is
  // closed unanswered: nobody is there to answer it.
  if (QWidget* modal = QApplication::activeModalWidget(); modal && again && !main_.Closed()) {
    if (auto* dialog = qobject_cast<QDialog*>(modal))
      dialog->reject();
    else
      modal->close();
    ++retries_;
    QTimer::singleShot(0, this, [this] { Request(); });
    return;
  }
  if (!started_) return;  // Started() comes back here
  if (!main_.Closed()) {
    // A long run ends at its next check, with its sheet saved.
    if (main_.MenusClosed() && again) {
      StopCode() = int16_t(kErrExperimentCanceled);
      ++retries_;
      QTimer::singleShot(50, this, [this] { Request(); });
      return;
    }
    auto* qtHost = HasHost() ? dynamic_cast<QtHost*>(&host()) : nullptr;
    if (qtHost) qtHost->SetUnattended(true);
    if (!main_.UnloadBySystem()) {
      if (qtHost) qtHost->SetUnattended(false);
      if (++retries_ > kMaxRetries * 2) {
        QCoreApplication::exit(0);  // the other sequence never ended: go all the same
        return;
      }
      QTimer::singleShot(50, this, [this] { Request(); });
      return;
    }
  }
  if (window_) window_->close();  // agrees at once: the session is closed
  QCoreApplication::quit();
}

void InstallRecoveryWriters() {
  // Images keep their 16 bits in a TIFF under their title or file name.
  SetRecoveryWriter(
      DocKind::Image,
      {[](ChildDocument& doc) {
         auto* image = dynamic_cast<Form_Camera*>(&doc);
         std::string name = image && image->HasFilename()
                                ? std::filesystem::path(image->Filename).stem().string()
                                : (image ? image->Title() : doc.Caption());
         return name + ImageFilterExtension(6);
       },
       [](ChildDocument& doc, const std::string& path) {
         auto* image = dynamic_cast<Form_Camera*>(&doc);
         return image && (SaveTIF(*image, path, 6) || SaveTIF(*image, path, 1));
       }});
  // Worksheets with their plots, as their own file holds them.
  SetRecoveryWriter(
      DocKind::Worksheet,
      {[](ChildDocument& doc) {
         auto* sheet = dynamic_cast<Form_Worksheet*>(&doc);
         std::string name = sheet && !sheet->Filename().empty()
                                ? std::filesystem::path(sheet->Filename()).filename().string()
                                : doc.Caption();
         if (std::filesystem::path(name).extension() != ".sht") name += ".sht";
         return name;
       },
       [](ChildDocument& doc, const std::string& path) {
         auto* sheet = dynamic_cast<Form_Worksheet*>(&doc);
         // Silent: the sheet keeps its own name, this copy is no save of the user's.
         return sheet && sheet->SaveWorksheet(path, true) == 0;
       }});
}

}  // namespace sv::app
