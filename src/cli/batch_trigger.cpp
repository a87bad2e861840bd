#include "cli/batch_trigger.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "cli/batch.h"
#include "cli/batch_host.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/settings.h"
#include "experiment/experiment_settings.h"
#include "experiment/trigger.h"
#include "hardware/dde.h"
#include "hardware/hardware.h"
#include "image/kernel/numbers.h"

namespace sv::cli {

namespace {

// The stop word of a wait that ran out of time; Ctrl-C sets the user's stop.
constexpr int16_t kStopTimeOut = -2;

int BadCommandLine(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

// "low", "high", "low-high", "high-low", "manual", "link", "file", or 0..6.
bool ParseSource(std::string text, int& source) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  static const char* const kNames[] = {"low", "high", "low-high", "high-low",
                                       "manual", "link", "file"};
  for (int s = 0; s < kTriggerSourceCount; ++s)
    if (text == kNames[s]) {
      source = s;
      return true;
    }
  if (text.size() == 1 && text[0] >= '0' && text[0] < '0' + kTriggerSourceCount) {
    source = text[0] - '0';
    return true;
  }
  return false;
}

// The batch host of the wait: Ctrl-C and the time limit set the stop word;
// the manual box asks on the terminal (a line, or "cancel"; end of input
// cancels).
class TriggerHost : public BatchHost {
 public:
  explicit TriggerHost(std::ostream& err) : BatchHost(err, true), err_(err) {
    SetStopAction([] {
      if (StopCode() == 0) StopCode() = kErrExperimentCanceled;
    });
  }
  void SetLimit(long ms) {
    limited_ = ms > 0;
    deadline_ = SV_AddTime(TimeGetTime(), static_cast<int32_t>(ms));
  }
  // While waiting, the status line goes to the error stream: it says what
  // is awaited. The start's own texts do not.
  void ShowStatus(const std::string& text, int progress) override {
    if (waiting) BatchHost::ShowStatus(text, progress);
  }
  bool waiting = false;
  // The time limit ended the wait (the manual box then sets its own stop).
  bool TimedOut() const { return timedOut_; }
  void WaitForEvents(int maxMs) override {
    if (limited_) maxMs = std::clamp(SV_SubTime(deadline_, TimeGetTime()), 0, maxMs);
    BatchHost::WaitForEvents(maxMs);
    CheckLimit();
  }
  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override {
    if (buttons != MsgButtons::OKCancel) return BatchHost::MsgBox(text, buttons, icon, title);
    err_ << title << ": " << text << " [Enter: OK, \"cancel\": Cancel]" << std::endl;
    return AskLine();
  }

 private:
  void CheckLimit() {
    if (limited_ && StopCode() == 0 && SV_SubTime(TimeGetTime(), deadline_) >= 0) {
      StopCode() = kStopTimeOut;
      timedOut_ = true;
    }
  }
  // Waits for a line on the standard input without blocking the stop and
  // the time limit.
  MsgResult AskLine() {
    std::string line;
    for (;;) {
      DoEvents();
      CheckLimit();
      if (StopCode() != 0) return MsgResult::Cancel;
      pollfd p{STDIN_FILENO, POLLIN, 0};
      if (::poll(&p, 1, kMaxWaitPollMs) <= 0) continue;
      char c = 0;
      if (::read(STDIN_FILENO, &c, 1) != 1) return MsgResult::Cancel;  // end of input
      if (c == '\n') break;
      line += c;
    }
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
    return line == "cancel" ? MsgResult::Cancel : MsgResult::OK;
  }

  std::ostream& err_;
  bool limited_ = false, timedOut_ = false;
  uint32_t deadline_ = 0;
};

}  // namespace

std::string TriggerUsage() {
  return "  trigger-wait --source NAME [--timeout MS] [--ini FILE]\n"
         "              waits for the trigger of a run's start as a run does; NAME is\n"
         "              low, high, low-high, high-low (the EXT. TRIGGER line of the\n"
         "              configured I/O), manual (asks on the terminal), link (the\n"
         "              count of the application link, the A/D \"Link\"), file\n"
         "              (\"~Trigger.tmp\" in the temporary folder, deleted when seen)\n"
         "              or 0 to 6; prints \"triggered: \" the source's text and the\n"
         "              ms it took; \"time-out\" after MS, \"stopped\" on Ctrl-C: exit 1\n";
}

int TriggerWaitCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string ini;
  long timeout = 0;
  int source = -1;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a != "--source" && a != "--timeout" && a != "--ini")
      return BadCommandLine(err, "unknown option " + a);
    if (i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
    const std::string& v = args[++i];
    if (a == "--source") {
      if (!ParseSource(v, source))
        return BadCommandLine(err, "--source takes low, high, low-high, high-low, manual, link, "
                                   "file or 0 to 6");
    } else if (a == "--timeout") {
      char* end = nullptr;
      timeout = std::strtol(v.c_str(), &end, 10);
      if (v.empty() || *end != '\0' || timeout < 1 || timeout > INT32_MAX)
        return BadCommandLine(err, "--timeout takes a number of milliseconds from 1");
    } else {
      ini = v;
    }
  }
  if (source < 0) return BadCommandLine(err, "trigger-wait needs --source NAME");

  TriggerHost h(err);
  HostScope scope(&h);
  ClearStopRequest();
  InstallStopHandler();
  ResetGlobals();
  ResetHardware();
  ResetExperimentSettings();
  DDE_Reset();
  Globals& g = G();
  g.UserIniName = h.UserName();
  g.IniFile = ini.empty() ? FormIniFile(h.ProgramFolder(), g.UserIniName) : ini;
  InstallHardwareEnvironment();
  ReadSettings(nullptr);

  // The devices the source needs, as configured.
  if (source <= kTriggerHighLow && !g.IOName.empty()) {
    std::string name = g.IOName;
    IOStart(name);
  }
  if (source == kTriggerLink) {
    std::string name = g.ADName;
    if (!name.empty()) ADStart(name);
    if (!DDEForm().ADLink.IsOpen()) {
      err << "svbatch: the DDE trigger needs the application link: the A/D \"" << kLinkLoadName
          << "\" with its \"Server\" in section \"ADC: Link\"\n";
      const std::string why = LastStartError(DeviceKind::AD);
      if (!why.empty()) err << "svbatch: " << why << "\n";
      ADStop();
      ResetHardware();
      return 1;
    }
  }

  ES().TriggerMode = kTriggerAtStart;
  ES().TriggerSource = source;
  StopCode() = 0;
  h.SetLimit(timeout);
  h.waiting = true;
  const uint32_t start = h.TimeGetTime();
  // The local link sends no value when an item is advised (a DDE hot link
  // does), so the count is compared once the peer has sent one.
  WaitEnd end = WaitEnd::Done;
  if (source == kTriggerLink)
    end = WaitUntil([] { return !DDEForm().Text_AD_TrigCount.empty(); });
  if (end == WaitEnd::Done) end = WaitTrigger(true);
  const int32_t took = SV_SubTime(h.TimeGetTime(), start);
  h.waiting = false;
  const std::string text = TriggerSourceText(source);

  IOStop();
  ADStop();
  DDE_Reset();
  ResetHardware();
  ClearStopRequest();
  if (end == WaitEnd::Done) {
    out << "triggered: " << text << " (" << took << " ms)\n";
    return 0;
  }
  out << (h.TimedOut() ? "time-out" : "stopped") << "\n";
  return 1;
}

}  // namespace sv::cli
