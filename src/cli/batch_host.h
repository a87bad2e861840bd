// The host of the command line: messages go to the error stream and take the
// default button, dialogs are cancelled, status lines are shown only when asked.
#pragma once

#include <csignal>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "core/host.h"

namespace sv::cli {

class BatchHost : public Host {
 public:
  // `err` takes the messages (and the status lines with `verbose`).
  explicit BatchHost(std::ostream& err, bool verbose = false);
  ~BatchHost() override;

  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override;
  std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                      const std::string& def) override;
  FileDialogResult OpenFileDialog(const FileDialog& dlg) override;
  FileDialogResult SaveFileDialog(const FileDialog& dlg) override;
  void ShowStatus(const std::string& text, int progress) override;
  void DoEvents() override;
  // Sleeps until a timer of the host is due, a signal comes, or `maxMs` pass;
  // runs the due timers and, after Ctrl-C, the stop action.
  void WaitForEvents(int maxMs) override;
  // What Ctrl-C does to a running wait (typically: set its stop word). Runs
  // at each yield while the request stands.
  void SetStopAction(std::function<void()> action) { stopAction_ = std::move(action); }
  void Beep() override {}
  void SetBusy(bool) override {}
  std::string ClipboardText() override { return clipboard_; }
  void SetClipboardText(const std::string& text) override { clipboard_ = text; }
  uint32_t TimeGetTime() override;
  std::string UserName() override;
  std::string TempPath() override;
  std::string ProgramFolder() override;
  std::string ExeName() override;
  std::string ConfigFolder() override;
  std::string HomeFolder() override;
  UserStore& Store() override;
  int64_t FreeDiskSpace(const std::string& path) override;
  ScreenSize Screen() override { return ScreenSize{}; }

 private:
  std::ostream& err_;
  bool verbose_;
  std::string clipboard_;
  std::unique_ptr<UserStore> store_;
  std::function<void()> stopAction_;
};

// The default button of each set: OK, Yes, or the first one.
MsgResult DefaultAnswer(MsgButtons buttons);

// Ctrl-C asks a running loop to stop; the loops read this flag as their stop
// command at their break points.
void InstallStopHandler();
bool StopRequested();
void RequestStop();
void ClearStopRequest();

// Makes a host the process host for the length of one command.
class HostScope {
 public:
  explicit HostScope(Host* h) : previous_(HasHost() ? &host() : nullptr) { SetHost(h); }
  ~HostScope() { SetHost(previous_); }
  HostScope(const HostScope&) = delete;
  HostScope& operator=(const HostScope&) = delete;

 private:
  Host* previous_;
};

// SIGTERM asks for the stop as Ctrl-C does, for the life of the scope (a
// run or a recording).
class TerminateScope {
 public:
  TerminateScope();
  ~TerminateScope();
  TerminateScope(const TerminateScope&) = delete;
  TerminateScope& operator=(const TerminateScope&) = delete;

 private:
  struct sigaction previous_ {};
};

}  // namespace sv::cli
