#include "hardware/dde.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

#include "core/host.h"
#include "hardware/handshake.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

constexpr const char* kOpenPrefix = "DDE_AD_open: ";

void TakeUpdate(const std::string& item, const std::string& value) {
  Form_DDE& f = DDEForm();
  double number = 0;
  if (item == kItemADCounter) {
    f.Text_AD_get_stress_counter = value;
    if (DDEParseNumber(value, number)) f.DDECounter = RoundEven(number);
    if (f.OnCounterUpdate) f.OnCounterUpdate();
  } else if (item == kItemADTrigger) {
    // Only a change arms the trigger: a peer that sends the same count again
    // must not re-arm one that has already fired.
    if (value == f.Text_AD_TrigCount) return;
    f.Text_AD_TrigCount = value;
    if (DDEParseNumber(value, number)) f.DDETriggerCount = RoundEven(number);
  } else if (item == kItemADCmd) {
    f.Text_AD_cmd = value;
  } else if (item == kItemADVoltage) {
    f.Text_AD_get_voltage = value;
  }
}

void StartPolling() {
  Form_DDE& f = DDEForm();
  if (f.PollTimer == 0 && HasHost()) f.PollTimer = host().StartTimer(kDDEPollIntervalMs, DDE_Poll);
}

void StopPollingWhenIdle() {
  Form_DDE& f = DDEForm();
  if (f.PollTimer != 0 && !f.ADLink.IsOpen() && !f.DALink.IsOpen() && HasHost()) {
    host().StopTimer(f.PollTimer);
    f.PollTimer = 0;
  }
}

}  // namespace

Form_DDE& DDEForm() {
  static Form_DDE form;
  return form;
}

std::string DDEControlTopic(const std::string& interfaceName) { return interfaceName + "|Control"; }

bool DDEParseNumber(const std::string& text, double& value) {
  size_t a = text.find_first_not_of(" \t\r\n");
  if (a == std::string::npos) return false;
  size_t b = text.find_last_not_of(" \t\r\n");
  std::string s = text.substr(a, b - a + 1);
  for (char& c : s)
    if (c == ',') c = '.';
  char* end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  if (end != s.c_str() + s.size() || !std::isfinite(v)) return false;
  value = v;
  return true;
}

std::string DDEFormatNumber(float value) {
  char buf[32];
  auto r = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, r.ptr);
}

bool DDE_AD_open(const std::string& interfaceName, int timeoutMs, std::string& error) {
  Form_DDE& f = DDEForm();
  f.ADName = interfaceName;
  f.ADLink.TimeoutMs = timeoutMs;
  f.ADLink.OnUpdate = TakeUpdate;
  std::string why;
  if (!f.ADLink.Open(DDEControlTopic(interfaceName), why)) {
    error = kOpenPrefix + why;
    return false;
  }
  // A peer without a counter, a command or a trigger refuses their advise:
  // the link serves the voltage all the same.
  for (const char* item : {kItemADCounter, kItemADCmd, kItemADTrigger}) {
    f.ADLink.Advise(item, why);
    if (!f.ADLink.IsOpen()) {
      error = kOpenPrefix + why;
      return false;
    }
  }
  StartPolling();
  return true;
}

bool DDE_DA_open(const std::string& interfaceName, int timeoutMs, std::string& error) {
  Form_DDE& f = DDEForm();
  f.DAName = interfaceName;
  f.DALink.TimeoutMs = timeoutMs;
  f.DALink.OnUpdate = TakeUpdate;
  std::string why;
  if (!f.DALink.Open(DDEControlTopic(interfaceName), why)) {
    error = kOpenPrefix + why;
    return false;
  }
  StartPolling();
  return true;
}

void DDE_AD_close() {
  DDEForm().ADLink.Close();
  DDEForm().ADName.clear();
  StopPollingWhenIdle();
}

void DDE_DA_close() {
  DDEForm().DALink.Close();
  DDEForm().DAName.clear();
  StopPollingWhenIdle();
}

void DDE_Reset() {
  DDE_AD_close();
  DDE_DA_close();
  Form_DDE& f = DDEForm();
  f.Text_AD_get_voltage.clear();
  f.Text_AD_get_stress_counter.clear();
  f.Text_AD_cmd.clear();
  f.Text_AD_TrigCount.clear();
  f.Text_DA_set_voltage.clear();
  f.DDECounter = 0;
  f.DDETriggerCount = 0;
  f.OnCounterUpdate = nullptr;
}

bool DDE_AD_get_voltage(float& volts, std::string& error) {
  Form_DDE& f = DDEForm();
  f.ADLink.Poll();  // finds a peer that went away since the last call
  if (!f.ADLink.IsOpen()) {
    if (f.ADName.empty()) {
      error = "DDE_AD_get_voltage: the link is not open";
      return false;
    }
    if (!DDE_AD_open(f.ADName, f.ADLink.TimeoutMs, error)) return false;
  }
  std::string text, why;
  if (!f.ADLink.Request(kItemADVoltage, text, why)) {
    error = "DDE_AD_get_voltage: " + why;
    return false;
  }
  f.Text_AD_get_voltage = text;
  double v = 0;
  if (!DDEParseNumber(text, v)) {
    error = "DDE_AD_get_voltage: not a number: \"" + text + "\"";
    return false;
  }
  volts = static_cast<float>(v);
  return true;
}

bool DDE_DA_set_voltage(float volts, std::string& error) {
  Form_DDE& f = DDEForm();
  f.DALink.Poll();
  if (!f.DALink.IsOpen()) {
    if (f.DAName.empty()) {
      error = "DDE_DA_set_voltage: the link is not open";
      return false;
    }
    if (!DDE_DA_open(f.DAName, f.DALink.TimeoutMs, error)) return false;
  }
  f.Text_DA_set_voltage = DDEFormatNumber(volts);
  std::string why;
  if (!f.DALink.Poke(kItemDAVoltage, f.Text_DA_set_voltage, why)) {
    error = "DDE_DA_set_voltage: " + why;
    return false;
  }
  return true;
}

void DDE_Poll() {
  DDEForm().ADLink.Poll();
  DDEForm().DALink.Poll();
}

// --- The spreadsheet --------------------------------------------------------

std::string SheetLinkItem(long row, long columns) {
  const std::string r = std::to_string(row + 1);
  return "Z" + r + "S1:Z" + r + "S" + std::to_string(columns);
}

bool DDESheetLink::Open(const std::string& sheet, const std::vector<std::string>& labels,
                        int timeoutMs, std::string& error) {
  link_.TimeoutMs = timeoutMs;
  if (!link_.Open("Excel|" + (sheet.empty() ? std::string("Tabelle1") : sheet), error))
    return false;
  item_ = SheetLinkItem(0, static_cast<long>(labels.size()));
  return link_.Poke(item_, JoinTabs(labels), error);
}

bool DDESheetLink::Row(long row, long columns, const std::string& rowText, std::string& error) {
  item_ = SheetLinkItem(row, columns);
  return link_.Poke(item_, rowText, error);
}

void DDESheetLink::Close() { link_.Close(); }

}  // namespace sv
