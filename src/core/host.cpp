#include "core/host.h"

#include <cstdio>
#include <cstdlib>

namespace sv {

namespace {
Host* g_host = nullptr;
}

Host& host() {
  if (!g_host) {
    std::fputs("sv4200: no host set\n", stderr);
    std::abort();
  }
  return *g_host;
}

int TimerList::Start(int intervalMs, std::function<void()> tick) {
  const int id = next_++;
  timers_[id] = Entry{intervalMs, std::move(tick), 0, false};
  return id;
}

void TimerList::Stop(int id) { timers_.erase(id); }

int TimerList::Interval(int id) const {
  auto it = timers_.find(id);
  return it == timers_.end() ? 0 : it->second.intervalMs;
}

void TimerList::Fire() {
  std::vector<int> ids;
  for (const auto& [id, entry] : timers_) ids.push_back(id);
  for (int id : ids) {
    auto it = timers_.find(id);
    if (it == timers_.end()) continue;
    auto tick = it->second.tick;  // the tick may stop its own timer
    if (tick) tick();
  }
}

int TimerList::FireDue(uint32_t now) {
  std::vector<int> ids;
  for (auto& [id, entry] : timers_) {
    if (!entry.armed) {
      entry.due = now + static_cast<uint32_t>(entry.intervalMs < 0 ? 0 : entry.intervalMs);
      entry.armed = true;
    }
    if (static_cast<int32_t>(now - entry.due) >= 0) ids.push_back(id);
  }
  for (int id : ids) {
    auto it = timers_.find(id);
    if (it == timers_.end()) continue;
    it->second.due = now + static_cast<uint32_t>(it->second.intervalMs < 0 ? 0 : it->second.intervalMs);
    auto tick = it->second.tick;  // the tick may stop its own timer
    if (tick) tick();
  }
  int next = -1;
  for (const auto& [id, entry] : timers_) {
    if (!entry.armed) return 0;  // started by a tick just now
    int32_t left = static_cast<int32_t>(entry.due - now);
    if (left < 0) left = 0;
    if (next < 0 || left < next) next = left;
  }
  return next;
}

void SetHost(Host* h) { g_host = h; }
bool HasHost() { return g_host != nullptr; }

void ShowStatus(const std::string& text, int progress) {
  if (g_host) g_host->ShowStatus(text, progress);
}

const char* ToString(MsgIcon icon) {
  switch (icon) {
    case MsgIcon::None: return "none";
    case MsgIcon::Critical: return "critical";
    case MsgIcon::Question: return "question";
    case MsgIcon::Exclamation: return "exclamation";
    case MsgIcon::Information: return "information";
  }
  return "?";
}

const char* ToString(MsgButtons buttons) {
  switch (buttons) {
    case MsgButtons::OK: return "OK";
    case MsgButtons::OKCancel: return "OK Cancel";
    case MsgButtons::AbortRetryIgnore: return "Abort Retry Ignore";
    case MsgButtons::YesNoCancel: return "Yes No Cancel";
    case MsgButtons::YesNo: return "Yes No";
    case MsgButtons::RetryCancel: return "Retry Cancel";
  }
  return "?";
}

const char* ToString(MsgResult result) {
  switch (result) {
    case MsgResult::OK: return "OK";
    case MsgResult::Cancel: return "Cancel";
    case MsgResult::Abort: return "Abort";
    case MsgResult::Retry: return "Retry";
    case MsgResult::Ignore: return "Ignore";
    case MsgResult::Yes: return "Yes";
    case MsgResult::No: return "No";
  }
  return "?";
}

}  // namespace sv
