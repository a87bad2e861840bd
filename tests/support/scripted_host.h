// A host for tests: records every message, status text and input box, and
// answers from a queue. A message that nobody scripted fails the test.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/host.h"

namespace sv::test {

struct RecordedMessage {
  std::string text, title;
  MsgIcon icon;
  MsgButtons buttons;
  MsgResult answer;
};

class MemoryStore : public UserStore {
 public:
  std::string GetSetting(const std::string& app, const std::string& section,
                         const std::string& key, const std::string& def) override;
  void SaveSetting(const std::string& app, const std::string& section, const std::string& key,
                   const std::string& value) override;
  std::map<std::string, std::string> values;  // "app|section|key" in lower case
};

class ScriptedHost : public Host {
 public:
  // Sets itself as the process host; restores "no host" when destroyed.
  ScriptedHost();
  ~ScriptedHost() override;

  // Scripting.
  void Answer(MsgResult r) { answers.push_back(r); }
  void AnswerInput(std::optional<std::string> s) { inputs.push_back(std::move(s)); }
  // The path the next file dialog gives, and the filter picked in it (0: the
  // dialog's own).
  void AnswerFile(std::string path, int filterIndex = 0) {
    files.push_back(std::move(path));
    fileFilters.push_back(filterIndex);
  }
  // When set, unscripted message boxes answer with the first button instead of failing.
  bool lenient = false;

  // Records.
  std::vector<RecordedMessage> messages;
  std::vector<std::string> status;       // every status-line text, in order
  std::vector<std::string> inputPrompts;
  std::vector<FileDialog> fileDialogs;
  int doEvents = 0, beeps = 0;
  bool busy = false;
  std::string clipboard;

  // Fakes of the machine.
  uint32_t clock = 0;        // advanced by `tick` on each TimeGetTime
  uint32_t tick = 0;
  std::string userName = "tester";
  std::string tempPath, programFolder, exeName = "sv4200", configFolder, homeFolder;
  int64_t freeDisk = int64_t(1) << 40;
  ScreenSize screen{1920, 1080};
  MemoryStore store;

  // A fresh folder below the system temp folder, removed with the host; the
  // folder fields above all point into it.
  std::string root;

  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override;
  std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                      const std::string& def) override;
  FileDialogResult OpenFileDialog(const FileDialog& dlg) override;
  FileDialogResult SaveFileDialog(const FileDialog& dlg) override;
  void ShowStatus(const std::string& text, int progress) override;
  void DoEvents() override { ++doEvents; }
  void Beep() override { ++beeps; }
  void SetBusy(bool b) override { busy = b; }
  std::string ClipboardText() override { return clipboard; }
  void SetClipboardText(const std::string& t) override { clipboard = t; }
  uint32_t TimeGetTime() override { return clock += tick; }
  std::string UserName() override { return userName; }
  std::string TempPath() override { return tempPath; }
  std::string ProgramFolder() override { return programFolder; }
  std::string ExeName() override { return exeName; }
  std::string ConfigFolder() override { return configFolder; }
  std::string HomeFolder() override { return homeFolder; }
  UserStore& Store() override { return store; }
  int64_t FreeDiskSpace(const std::string&) override { return freeDisk; }
  ScreenSize Screen() override { return screen; }

  // Simulated waits: each WaitForEvents moves `clock` on by its period
  // (without sleeping), counts itself in `waits`, runs `onWait`, then every
  // scripted action whose time the clock has reached, in time order.
  void WaitForEvents(int maxMs) override;
  int waits = 0;
  std::function<void()> onWait;
  // Runs `action` in the first wait that brings the clock to `time` or past
  // it (across the 32-bit wrap, for times less than 2^31 ms ahead).
  void At(uint32_t time, std::function<void()> action);
  // The same, `ms` after the present clock.
  void After(uint32_t ms, std::function<void()> action) { At(clock + ms, std::move(action)); }
  size_t PendingActions() const { return script.size(); }

  // Timers run only when the test says: every running timer ticks once.
  void FireTimers() { Timers().Fire(); }
  size_t RunningTimers() { return Timers().Count(); }

  // The texts of all recorded messages.
  std::vector<std::string> MessageTexts() const;
  std::string LastStatus() const { return status.empty() ? std::string() : status.back(); }

 private:
  std::deque<MsgResult> answers;
  std::deque<std::optional<std::string>> inputs;
  std::deque<std::string> files;
  std::deque<int> fileFilters;
  struct Scripted {
    uint32_t time;
    std::function<void()> action;
  };
  std::vector<Scripted> script;  // in the order given
};

// Reads a whole file ("" when missing) and writes one.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);

}  // namespace sv::test
