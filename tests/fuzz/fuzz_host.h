// What the fuzz targets that need a host share: a failure check that names
// the target, text helpers, and a headless host with its folders in /tmp
// that records every message.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "core/host.h"

namespace svfuzz {

// Stops the run with the target's name and what went wrong.
inline void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, what);
    std::abort();
  }
}

inline bool StartsWith(const std::string& s, const std::string& head) {
  return s.compare(0, head.size(), head) == 0;
}

inline bool EndsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// Folders below /tmp/<stem>_<pid>; messages are recorded and answered No when
// they ask Yes or No (a changed document is not saved), OK otherwise. The
// clock moves `tick` milliseconds at each reading.
class FuzzHost : public sv::Host {
 public:
  explicit FuzzHost(const std::string& stem, uint32_t tick = 7)
      : folder("/tmp/" + stem + "_" + std::to_string(getpid())), tick(tick) {
    std::filesystem::create_directories(folder + "/config");
  }
  sv::MsgResult MsgBox(const std::string& text, sv::MsgButtons buttons, sv::MsgIcon,
                       const std::string& title) override {
    messages.push_back(text);
    titles.push_back(title);
    return buttons == sv::MsgButtons::YesNoCancel || buttons == sv::MsgButtons::YesNo
               ? sv::MsgResult::No
               : sv::MsgResult::OK;
  }
  std::optional<std::string> InputBox(const std::string&, const std::string&,
                                      const std::string&) override {
    return std::nullopt;
  }
  sv::FileDialogResult OpenFileDialog(const sv::FileDialog&) override { return {}; }
  sv::FileDialogResult SaveFileDialog(const sv::FileDialog&) override { return {}; }
  void ShowStatus(const std::string&, int) override {}
  void DoEvents() override {}
  void Beep() override {}
  void SetBusy(bool) override {}
  std::string ClipboardText() override { return {}; }
  void SetClipboardText(const std::string&) override {}
  uint32_t TimeGetTime() override { return clock += tick; }
  std::string UserName() override { return "fuzz"; }
  std::string TempPath() override { return folder + "/"; }
  std::string ProgramFolder() override { return folder; }
  std::string ExeName() override { return "sv4200"; }
  std::string ConfigFolder() override { return folder + "/config"; }
  std::string HomeFolder() override { return folder; }
  sv::UserStore& Store() override { std::abort(); }
  int64_t FreeDiskSpace(const std::string&) override { return -1; }
  sv::ScreenSize Screen() override { return {}; }

  // Forgets the messages of the previous input.
  void Clear() {
    messages.clear();
    titles.clear();
  }

  std::string folder;
  uint32_t clock = 0;
  uint32_t tick;
  std::vector<std::string> messages, titles;
};

}  // namespace svfuzz
