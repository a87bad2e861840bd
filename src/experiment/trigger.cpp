#include "experiment/trigger.h"

#include <sys/stat.h>
#include <unistd.h>

#include <iterator>

#include "core/host.h"
#include "experiment/experiment_settings.h"
#include "hardware/dde.h"
#include "hardware/hardware.h"

namespace sv {

namespace {

constexpr const char* kModeTexts[] = {"(disabled)", "Trigger Start of Sweep",
                                      "Trigger every Step of Sweep"};
constexpr const char* kSourceTexts[] = {"EXT. TRIGGER: low",        "EXT. TRIGGER: high",
                                        "EXT. TRIGGER: low -> high", "EXT. TRIGGER: high -> low",
                                        "Manual Control",           "DDE Trigger",
                                        "File Trigger"};
constexpr const char* kNotAvailable = "N/A";

bool OnTheLine(int source) { return source >= kTriggerLow && source <= kTriggerHighLow; }

// Until the EXT. TRIGGER line shows `high`. A level that is already there
// passes without a word.
WaitEnd WaitLevel(bool high) {
  if (GetExtTrigger() == high) return WaitEnd::Done;
  ShowStatus(high ? "Trigger: Waiting for HIGH level..." : "Trigger: Waiting for LOW level...");
  const WaitEnd end = WaitUntil([high] { return GetExtTrigger() == high; });
  ShowStatus("");
  return end;
}

// The first level, then (unless stopped) the second.
WaitEnd WaitEdge(bool fromHigh) {
  const WaitEnd first = WaitLevel(fromHigh);
  if (first != WaitEnd::Done || StopCode() != 0) return WaitEnd::Stopped;
  return WaitLevel(!fromHigh);
}

WaitEnd WaitManual() {
  const MsgResult r = host().MsgBox("Press 'OK' to trigger the experiment.", MsgButtons::OKCancel,
                                    MsgIcon::None, "Manual Trigger");
  if (r != MsgResult::Cancel) return WaitEnd::Done;
  StopCode() = -1;
  return WaitEnd::Stopped;
}

// The counter of the link against the trigger count; the count is negated
// once it fired, so that the same value cannot fire again.
WaitEnd WaitLinkCount() {
  Form_DDE& f = DDEForm();
  ShowStatus("Trigger: Waiting for DDE Trigger...");
  const WaitEnd end = WaitUntil([&f] { return f.DDECounter == f.DDETriggerCount; });
  if (end == WaitEnd::Done) f.DDETriggerCount = -f.DDETriggerCount;
  ShowStatus("");
  return end;
}

WaitEnd WaitFile() {
  ShowStatus("Trigger: Waiting for File Trigger...");
  const WaitEnd end = WaitUntil(FileTrigger);
  ShowStatus("");
  return end;
}

}  // namespace

std::string TriggerModeText(int mode) {
  if (mode < 0 || mode >= int(std::size(kModeTexts))) return {};
  return kModeTexts[mode];
}

std::vector<std::string> TriggerModeTexts() {
  return std::vector<std::string>(std::begin(kModeTexts), std::end(kModeTexts));
}

std::string TriggerSourceText(int source) {
  if (source < 0 || source >= kTriggerSourceCount) return {};
  if (OnTheLine(source) && !IOReady()) return kNotAvailable;
  return kSourceTexts[source];
}

std::vector<std::string> TriggerSourceTexts() {
  std::vector<std::string> list;
  for (int s = 0; s < kTriggerSourceCount; ++s) list.push_back(TriggerSourceText(s));
  return list;
}

std::string TriggerFilePath() {
  std::string path = host().TempPath();
  if (!path.empty() && path.back() != '/') path += '/';
  path += kTriggerFileName;
  return path;
}

bool FileTrigger() {
  // A look first: a wait mostly finds nothing, and a stat is cheaper than
  // a failing delete. A file that cannot be deleted gives no trigger.
  const std::string path = TriggerFilePath();
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return false;
  return ::unlink(path.c_str()) == 0;
}

WaitEnd WaitTrigger(bool atStart) {
  const ExperimentSettings& es = ES();
  if (es.TriggerMode == kTriggerDisabled) return WaitEnd::Done;
  if (es.TriggerMode == kTriggerAtStart && !atStart) return WaitEnd::Done;
  if (es.TriggerMode == kTriggerEveryStep && atStart) return WaitEnd::Done;
  const int source = es.TriggerSource;
  if (OnTheLine(source) && !IOReady()) return WaitEnd::Done;  // "N/A"
  switch (source) {
    case kTriggerLow: return WaitLevel(false);
    case kTriggerHigh: return WaitLevel(true);
    case kTriggerLowHigh: return WaitEdge(false);
    case kTriggerHighLow: return WaitEdge(true);
    case kTriggerManual: return WaitManual();
    case kTriggerLink: return WaitLinkCount();
    case kTriggerFile: return WaitFile();
    default: return WaitEnd::Done;  // outside the list
  }
}

}  // namespace sv
