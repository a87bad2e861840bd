// A scripted host for the Qt tests: message boxes answer from its own queue,
// or with OK (Cancel where there is more than one button) when the queue is
// empty; those unscripted texts are noted so that a test can check them.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "support/scripted_host.h"

namespace sv::test {

class QueueHost : public ScriptedHost {
 public:
  std::deque<MsgResult> queue;
  std::vector<std::string> unscripted;
  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override {
    MsgResult r = buttons == MsgButtons::OK ? MsgResult::OK : MsgResult::Cancel;
    if (!queue.empty()) {
      r = queue.front();
      queue.pop_front();
    } else {
      unscripted.push_back(text);
    }
    messages.push_back({text, title, icon, buttons, r});
    return r;
  }
};

}  // namespace sv::test
