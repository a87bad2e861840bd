#include "cli/batch_host.h"

#include <poll.h>

#include <algorithm>
#include <csignal>

#include "core/platform/platform.h"

namespace sv::cli {

namespace {
volatile std::sig_atomic_t g_stop = 0;

extern "C" void OnInterrupt(int) { g_stop = 1; }
}  // namespace

void InstallStopHandler() {
  struct sigaction sa {};
  sa.sa_handler = OnInterrupt;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_RESTART;
  sigaction(SIGINT, &sa, nullptr);
}

bool StopRequested() { return g_stop != 0; }
void RequestStop() { g_stop = 1; }

extern "C" void OnTerminateSignal(int) { RequestStop(); }

TerminateScope::TerminateScope() {
  struct sigaction sa {};
  sa.sa_handler = OnTerminateSignal;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_RESTART;
  sigaction(SIGTERM, &sa, &previous_);
}

TerminateScope::~TerminateScope() { sigaction(SIGTERM, &previous_, nullptr); }
void ClearStopRequest() { g_stop = 0; }

MsgResult DefaultAnswer(MsgButtons buttons) {
  switch (buttons) {
    case MsgButtons::OK:
    case MsgButtons::OKCancel: return MsgResult::OK;
    case MsgButtons::YesNo:
    case MsgButtons::YesNoCancel: return MsgResult::Yes;
    case MsgButtons::AbortRetryIgnore: return MsgResult::Abort;
    case MsgButtons::RetryCancel: return MsgResult::Retry;
  }
  return MsgResult::OK;
}

BatchHost::BatchHost(std::ostream& err, bool verbose)
    : err_(err),
      verbose_(verbose),
      store_(std::make_unique<platform::IniUserStore>(platform::ConfigFolder())) {}

BatchHost::~BatchHost() = default;

MsgResult BatchHost::MsgBox(const std::string& text, MsgButtons buttons, MsgIcon,
                            const std::string& title) {
  err_ << title << ": " << text << "\n";
  return DefaultAnswer(buttons);
}

std::optional<std::string> BatchHost::InputBox(const std::string& prompt, const std::string& title,
                                               const std::string& def) {
  err_ << title << ": " << prompt << " [" << def << "]\n";
  return def;
}

FileDialogResult BatchHost::OpenFileDialog(const FileDialog& dlg) { return {"", dlg.filterIndex}; }
FileDialogResult BatchHost::SaveFileDialog(const FileDialog& dlg) { return {"", dlg.filterIndex}; }

void BatchHost::ShowStatus(const std::string& text, int progress) {
  if (!verbose_ || text.empty()) return;
  err_ << text;
  if (progress >= 0) err_ << " (" << progress << "%)";
  err_ << "\n";
}

void BatchHost::DoEvents() {
  if (stopAction_ && StopRequested()) stopAction_();
}

void BatchHost::WaitForEvents(int maxMs) {
  int sleepMs = std::clamp(maxMs, 0, kMaxWaitPollMs);
  const int due = Timers().FireDue(TimeGetTime());
  if (due >= 0) sleepMs = std::min(sleepMs, due);
  // A signal (Ctrl-C) ends the sleep early.
  if (sleepMs > 0 && !StopRequested()) ::poll(nullptr, 0, sleepMs);
  Timers().FireDue(TimeGetTime());
  DoEvents();
}

uint32_t BatchHost::TimeGetTime() { return platform::MonotonicMilliseconds(); }
std::string BatchHost::UserName() { return platform::LoginName(); }
std::string BatchHost::TempPath() { return platform::TempFolder(); }
std::string BatchHost::ProgramFolder() { return platform::ExecutableFolder(); }
// The workbench's own name, so that the batch tool shares its per-user store,
// hardware ini file and log with the workbench installed beside it.
std::string BatchHost::ExeName() { return "sv4200"; }
std::string BatchHost::ConfigFolder() { return platform::ConfigFolder(); }
std::string BatchHost::HomeFolder() { return platform::HomeFolder(); }
UserStore& BatchHost::Store() { return *store_; }
int64_t BatchHost::FreeDiskSpace(const std::string& path) { return platform::FreeDiskSpace(path); }

}  // namespace sv::cli
