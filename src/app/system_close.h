// Closing by the system: SIGTERM, SIGHUP, SIGINT and the end of the desktop
// session run the exit sequence without its question, so that the settings
// are written and documents with changes are kept for the next start.
#pragma once

#include <QObject>

class QSocketNotifier;
class QWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

// The signals reach the one thread through a pipe: the handler only writes
// a byte into it, and a socket notifier turns that into an event. Requests
// that come before Started() wait for it, so that start-up is never cut.
class SystemClose : public QObject {
 public:
  SystemClose(MDIForm_Main& main, QWidget* window);
  ~SystemClose() override;  // the signals get their default handling back
  SystemClose(const SystemClose&) = delete;
  SystemClose& operator=(const SystemClose&) = delete;

  // The event loop runs: a request that came during start-up goes on now.
  void Started();
  // Runs the exit sequence for the system, then ends the event loop. A long
  // run is stopped first and an open box is closed; each comes back here.
  void Request();
  bool Requested() const { return requested_; }

 private:
  void ReadSignals();

  MDIForm_Main& main_;
  QWidget* window_;
  QSocketNotifier* notifier_ = nullptr;
  int fds_[2] = {-1, -1};
  bool started_ = false;
  bool requested_ = false;
  int retries_ = 0;
};

// How images and worksheets are written to the recovery folder.
void InstallRecoveryWriters();

}  // namespace sv::app
