// The one port through which the workbench reaches its platform: dialogs,
// the status line, the event pump, clocks, folders and the per-user store.
// The Qt workbench, the test suite and svbatch each provide one.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sv {

// The longest a wait sleeps between two looks at what it waits for.
inline constexpr int kMaxWaitPollMs = 10;

enum class MsgIcon { None, Critical, Question, Exclamation, Information };
enum class MsgButtons { OK, OKCancel, AbortRetryIgnore, YesNoCancel, YesNo, RetryCancel };
// Numbered as the Windows message box numbers them.
enum class MsgResult { OK = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

const char* ToString(MsgIcon icon);
const char* ToString(MsgButtons buttons);
const char* ToString(MsgResult result);

struct FileDialog {
  std::string title;
  std::string filter;       // "Images (*.tif;*.bmp)|*.tif;*.bmp|All (*.*)|*.*"
  int filterIndex = 1;      // 1-based, as the dialogs remember it
  std::string folder;       // start folder
  std::string fileName;     // proposed name
};

struct FileDialogResult {
  std::string path;         // "" when cancelled
  int filterIndex = 1;
};

struct ScreenSize {
  int width = 1920;         // pixels
  int height = 1080;
};

// The per-user key-value store ("the registry"): application, section, key.
class UserStore {
 public:
  virtual ~UserStore() = default;
  virtual std::string GetSetting(const std::string& app, const std::string& section,
                                 const std::string& key, const std::string& def) = 0;
  virtual void SaveSetting(const std::string& app, const std::string& section,
                           const std::string& key, const std::string& value) = 0;
  // True when the store keeps anything for `app`; a store that cannot tell
  // says true, so that no start takes it for a first one.
  virtual bool Holds(const std::string& app) {
    (void)app;
    return true;
  }
};

// Event-loop timers kept as a plain list: a host without a loop of its own
// keeps them here and runs them when its owner says so.
class TimerList {
 public:
  int Start(int intervalMs, std::function<void()> tick);
  void Stop(int id);
  // Runs every timer once, in the order they were started. A tick may start
  // or stop timers; one stopped during the round does not run.
  void Fire();
  // Runs each timer whose interval has passed by `now` (the host clock), once,
  // however many ticks fell due: a timer is first due one interval after the
  // first call that sees it. Returns the ms until the next is due, -1 with
  // no timers.
  int FireDue(uint32_t now);
  bool Running(int id) const { return timers_.count(id) > 0; }
  int Interval(int id) const;
  size_t Count() const { return timers_.size(); }

 private:
  struct Entry {
    int intervalMs;
    std::function<void()> tick;
    uint32_t due = 0;
    bool armed = false;  // `due` is set
  };
  std::map<int, Entry> timers_;
  int next_ = 1;
};

class Host {
 public:
  virtual ~Host() = default;

  // Modal message; returns the button pressed. The title is the operation's name.
  virtual MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                           const std::string& title) = 0;
  // Returns nothing when cancelled.
  virtual std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                              const std::string& def) = 0;
  virtual FileDialogResult OpenFileDialog(const FileDialog& dlg) = 0;
  virtual FileDialogResult SaveFileDialog(const FileDialog& dlg) = 0;

  // Status line; progress in percent, or -1 for none. A text of "" hides the progress.
  virtual void ShowStatus(const std::string& text, int progress) = 0;
  // Lets pending events run; long loops call it at their named points.
  virtual void DoEvents() = 0;
  // A wait's yield: lets events run and sleeps until one comes or `maxMs`
  // (a poll period, at most kMaxWaitPollMs) has passed, whichever is first;
  // never spins. The default only lets pending events run.
  virtual void WaitForEvents(int maxMs) {
    (void)maxMs;
    DoEvents();
  }
  virtual void Beep() = 0;
  virtual void SetBusy(bool busy) = 0;
  virtual std::string ClipboardText() = 0;
  virtual void SetClipboardText(const std::string& text) = 0;

  // Millisecond clock; wraps at 32 bits like the one it replaces.
  virtual uint32_t TimeGetTime() = 0;
  virtual std::string UserName() = 0;
  virtual std::string TempPath() = 0;       // with a trailing "/"
  virtual std::string ProgramFolder() = 0;  // without a trailing "/"
  virtual std::string ExeName() = 0;        // the program's name without folder or extension
  virtual std::string ConfigFolder() = 0;   // where the per-user files live, without trailing "/"
  virtual std::string HomeFolder() = 0;     // root of the default data folders
  virtual UserStore& Store() = 0;
  virtual int64_t FreeDiskSpace(const std::string& path) = 0;  // bytes, -1 when unknown
  virtual ScreenSize Screen() = 0;

  // Event-loop timers: `tick` runs every `intervalMs` milliseconds from the
  // event loop until stopped. Returns an id above 0. Ticks that fall due
  // while one runs are coalesced. The default keeps them in a list that the
  // host's owner may run (Timers().Fire()) or ignore.
  virtual int StartTimer(int intervalMs, std::function<void()> tick) {
    return timers_.Start(intervalMs, std::move(tick));
  }
  virtual void StopTimer(int id) { timers_.Stop(id); }
  TimerList& Timers() { return timers_; }

 private:
  TimerList timers_;
};

// The process-wide host. Set once at start (and by each test).
Host& host();
void SetHost(Host* h);
bool HasHost();

// Writes the status line through the host.
void ShowStatus(const std::string& text, int progress = -1);

}  // namespace sv
