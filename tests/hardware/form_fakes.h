// Devices for the dialog tests: an A/D that answers from a queue of
// voltages, a D/A that notes what it was sent, and the host that notes the
// titles and defaults of its input boxes.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/globals.h"
#include "hardware/hardware.h"
#include "support/scripted_host.h"

namespace sv::dialog_test {

class DialogAD : public ADBackend {
 public:
  std::deque<float> volts;  // next readings; the last one repeats
  long channels = 8;
  std::vector<long> read;   // channels read, in order
  long AD_channel_name(long c, std::string& n) override { n = "AD_" + std::to_string(c + 1); return 0; }
  long AD_channels(long& n) override { n = channels; return 0; }
  long AD_dll_date(std::string& d) override { d = "test"; return 0; }
  long AD_get(long, long& raw) override { raw = 1234; return 0; }
  long AD_get_voltage(long c, float& v) override {
    read.push_back(c);
    v = volts.empty() ? 0.0f : volts.front();
    if (volts.size() > 1) volts.pop_front();
    return 0;
  }
  long AD_has_diff_input(bool& h) override { h = false; return 0; }
  long AD_init(long, bool& a) override { a = true; return 0; }
  long AD_load(const std::string&, bool& l) override { l = true; return 0; }
  long AD_input_mode(long) override { return 0; }
  long AD_interface_name(std::string& n) override { n = "Fake A/D"; return 0; }
  long AD_Range(long, float& lo, float& hi) override { lo = -10; hi = 10; return 0; }
  long AD_Ranges(long& n) override { n = 1; return 0; }
  long AD_set_range(long) override { return 0; }
  long AD_set_averaging(long) override { return 0; }
  long AD_winrt_device(long& d) override { d = 0; return 0; }
};

class DialogDA : public DABackend {
 public:
  float low = -10, high = 10;
  std::vector<std::pair<long, float>> sent;
  long DA_channel_name(long c, std::string& n) override { n = "DA_" + std::to_string(c + 1); return 0; }
  long DA_channels(long& n) override { n = 2; return 0; }
  long DA_dll_date(std::string& d) override { d = "test"; return 0; }
  long DA_set(long, long) override { return 0; }
  long DA_set_voltage(long c, float v) override { sent.emplace_back(c, v); return 0; }
  long DA_init(long, bool& a) override { a = true; return 0; }
  long DA_interface_name(std::string& n) override { n = "Fake D/A"; return 0; }
  long DA_load(const std::string&, bool& l) override { l = true; return 0; }
  long DA_Range(long, float& lo, float& hi) override { lo = low; hi = high; return 0; }
  long DA_Ranges(long& n) override { n = 1; return 0; }
  long DA_set_range(long) override { return 0; }
  long DA_winrt_device(long& d) override { d = 0; return 0; }
};

struct InputAsked {
  std::string prompt, title, def;
};

class DialogHost : public test::ScriptedHost {
 public:
  std::vector<InputAsked> asked;
  std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                      const std::string& def) override {
    asked.push_back({prompt, title, def});
    return test::ScriptedHost::InputBox(prompt, title, def);
  }
};

// A clean process state with the fakes in their slots.
inline void FreshDevices(DialogAD** ad = nullptr, DialogDA** da = nullptr) {
  ResetGlobals();
  ResetHardware();
  auto a = std::make_unique<DialogAD>();
  auto d = std::make_unique<DialogDA>();
  if (ad) *ad = a.get();
  if (da) *da = d.get();
  HW().AD = std::move(a);
  HW().DA = std::move(d);
  HW().ADChannelCount = 8;
  HW().DAChannelCount = 2;
  G().ADOK = G().DAOK = 1;
}

}  // namespace sv::dialog_test
