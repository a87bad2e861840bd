// The application link as an A/D and D/A device: another program on this
// machine serves "<Server>|Control" and answers the voltage item, or takes
// the voltage that is poked. Sections "ADC: Link" and "DAC: Link" of the
// application ini file name the server ("Server") and bound every wait
// ("TimeoutMs", 2000); both are read when the interface is brought up.
#include <cmath>
#include <string>

#include "core/globals.h"
#include "core/ini_profile.h"
#include "hardware/dde.h"
#include "hardware/devices.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

constexpr const char* kShownAs = "Application link";
constexpr const char* kVersion = "Nov. 2026 (link)";
constexpr const char* kChannelName = "Link";
constexpr float kLow = -10.0f, kHigh = 10.0f;
constexpr int kDefaultTimeoutMs = 2000;
constexpr long kFailed = 1;

struct LinkSettings {
  std::string server;
  int timeoutMs = kDefaultTimeoutMs;
};

LinkSettings ReadLinkSettings(const std::string& section) {
  LinkSettings s;
  s.server = GetPrivateProfileString(section, "Server", "", G().IniFile);
  s.timeoutMs = GetPrivateProfileInt(section, "TimeoutMs", kDefaultTimeoutMs, G().IniFile);
  if (s.timeoutMs <= 0 || s.timeoutMs > 600000) s.timeoutMs = kDefaultTimeoutMs;
  return s;
}

std::string NoServer(const std::string& section) {
  return "DDE_AD_open: no server named (key \"Server\" of section \"" + section + "\")";
}

long RawFromVolts(float volts) {
  const double raw = (static_cast<double>(volts) - kLow) / (kHigh - kLow) * 65535.0;
  return RoundEven(std::fmin(65535.0, std::fmax(0.0, raw)));
}

float VoltsFromRaw(long raw) {
  return static_cast<float>(kLow + (kHigh - kLow) * static_cast<double>(raw) / 65535.0);
}

class LinkAD : public ADBackend {
 public:
  ~LinkAD() override {
    if (open_) DDE_AD_close();
  }
  long AD_channel_name(long, std::string& name) override {
    name = kChannelName;
    return 0;
  }
  long AD_channels(long& count) override {
    count = 1;
    return 0;
  }
  long AD_dll_date(std::string& date) override {
    date = kVersion;
    return 0;
  }
  long AD_get(long channel, long& raw) override {
    float volts = 0;
    const long r = AD_get_voltage(channel, volts);
    if (r == 0) raw = RawFromVolts(volts);
    return r;
  }
  long AD_get_voltage(long, float& volts) override {
    double sum = 0;
    for (long i = 0; i < averaging_; ++i) {
      float v = 0;
      if (!DDE_AD_get_voltage(v, error_)) return kFailed;
      sum += v;
    }
    volts = static_cast<float>(sum / static_cast<double>(averaging_));
    error_.clear();
    return 0;
  }
  long AD_has_diff_input(bool& has) override {
    has = false;
    return 0;
  }
  long AD_init(long, bool& answers) override {
    const LinkSettings s = ReadLinkSettings("ADC: Link");
    if (s.server.empty()) {
      error_ = NoServer("ADC: Link");
      answers = false;
      return kFailed;
    }
    open_ = DDE_AD_open(s.server, s.timeoutMs, error_);
    answers = open_;
    if (open_) error_.clear();
    return open_ ? 0 : kFailed;
  }
  long AD_load(const std::string&, bool& loaded) override {
    loaded = true;
    return 0;
  }
  long AD_input_mode(long mode) override { return mode == 0 ? 0 : kFailed; }
  long AD_interface_name(std::string& name) override {
    name = kShownAs;
    return 0;
  }
  long AD_Range(long index, float& low, float& high) override {
    if (index != 0) return kFailed;
    low = kLow;
    high = kHigh;
    return 0;
  }
  long AD_Ranges(long& count) override {
    count = 1;
    return 0;
  }
  long AD_set_range(long index) override { return index == 0 ? 0 : kFailed; }
  long AD_set_averaging(long count) override {
    averaging_ = count < 1 ? 1 : count;
    return 0;
  }
  long AD_winrt_device(long& driver) override {
    driver = 0;
    return 0;
  }
  std::string LastError() const override { return error_; }

 private:
  bool open_ = false;
  long averaging_ = 1;
  std::string error_;
};

class LinkDA : public DABackend {
 public:
  ~LinkDA() override {
    if (open_) DDE_DA_close();
  }
  long DA_channel_name(long, std::string& name) override {
    name = kChannelName;
    return 0;
  }
  long DA_channels(long& count) override {
    count = 1;
    return 0;
  }
  long DA_dll_date(std::string& date) override {
    date = kVersion;
    return 0;
  }
  long DA_set(long channel, long raw) override { return DA_set_voltage(channel, VoltsFromRaw(raw)); }
  long DA_set_voltage(long, float volts) override {
    if (!DDE_DA_set_voltage(volts, error_)) return kFailed;
    error_.clear();
    return 0;
  }
  long DA_init(long, bool& answers) override {
    const LinkSettings s = ReadLinkSettings("DAC: Link");
    if (s.server.empty()) {
      error_ = NoServer("DAC: Link");
      answers = false;
      return kFailed;
    }
    open_ = DDE_DA_open(s.server, s.timeoutMs, error_);
    answers = open_;
    if (open_) error_.clear();
    return open_ ? 0 : kFailed;
  }
  long DA_interface_name(std::string& name) override {
    name = kShownAs;
    return 0;
  }
  long DA_load(const std::string&, bool& loaded) override {
    loaded = true;
    return 0;
  }
  long DA_Range(long index, float& low, float& high) override {
    if (index != 0) return kFailed;
    low = kLow;
    high = kHigh;
    return 0;
  }
  long DA_Ranges(long& count) override {
    count = 1;
    return 0;
  }
  long DA_set_range(long index) override { return index == 0 ? 0 : kFailed; }
  long DA_winrt_device(long& driver) override {
    driver = 0;
    return 0;
  }
  std::string LastError() const override { return error_; }

 private:
  bool open_ = false;
  std::string error_;
};

}  // namespace

std::unique_ptr<ADBackend> MakeLinkAD() { return std::make_unique<LinkAD>(); }
std::unique_ptr<DABackend> MakeLinkDA() { return std::make_unique<LinkDA>(); }

}  // namespace sv
