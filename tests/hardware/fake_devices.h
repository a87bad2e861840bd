// Fake back-ends for the device tests: each records what it was told and
// answers as scripted; they go into the back-end choice through
// TestBackends(), and a fixture puts everything back.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/globals.h"
#include "core/settings.h"
#include "hardware/devices.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"
#include "support/scripted_host.h"

namespace sv::test {

struct FakeScript {
  long driver = 0;         // *_winrt_device
  bool answers = true;     // *_init
  bool loads = true;       // *_load
  long readCode = 0;       // AD_get_voltage / IO_pin read
  float volts = 0;         // AD_get_voltage
  std::vector<std::pair<long, float>> written;  // DA_set_voltage calls
  std::vector<std::string> calls;
  bool destroyed = false;
};

class FakeAD : public ADBackend {
 public:
  explicit FakeAD(FakeScript& s) : s_(s) {}
  ~FakeAD() override { s_.destroyed = true; }
  long AD_channel_name(long c, std::string& n) override { n = "F" + std::to_string(c); return 0; }
  long AD_channels(long& n) override { n = 4; return 0; }
  long AD_dll_date(std::string& d) override { d = "today"; return 0; }
  long AD_get(long, long& r) override { r = 1; return s_.readCode; }
  long AD_get_voltage(long, float& v) override { v = s_.volts; return s_.readCode; }
  long AD_has_diff_input(bool& h) override { h = false; return 0; }
  long AD_init(long b, bool& a) override { s_.calls.push_back("init " + std::to_string(b)); a = s_.answers; return 0; }
  long AD_load(const std::string& n, bool& l) override { s_.calls.push_back("load " + n); l = s_.loads; return 0; }
  long AD_input_mode(long) override { return 0; }
  long AD_interface_name(std::string& n) override { n = "Fake A/D"; return 0; }
  long AD_Range(long, float& lo, float& hi) override { lo = -5; hi = 5; return 0; }
  long AD_Ranges(long& n) override { n = 2; return 0; }
  long AD_set_range(long i) override { s_.calls.push_back("range " + std::to_string(i)); return 0; }
  long AD_set_averaging(long n) override { s_.calls.push_back("averaging " + std::to_string(n)); return 0; }
  long AD_winrt_device(long& d) override { d = s_.driver; return 0; }

 private:
  FakeScript& s_;
};

class FakeDA : public DABackend {
 public:
  explicit FakeDA(FakeScript& s) : s_(s) {}
  ~FakeDA() override { s_.destroyed = true; }
  long DA_channel_name(long c, std::string& n) override { n = "F" + std::to_string(c); return 0; }
  long DA_channels(long& n) override { n = 2; return 0; }
  long DA_dll_date(std::string& d) override { d = "today"; return 0; }
  long DA_set(long, long) override { return 0; }
  long DA_set_voltage(long c, float v) override { s_.written.emplace_back(c, v); return s_.readCode; }
  long DA_init(long, bool& a) override { a = s_.answers; return 0; }
  long DA_interface_name(std::string& n) override { n = "Fake D/A"; return 0; }
  long DA_load(const std::string&, bool& l) override { l = s_.loads; return 0; }
  long DA_Range(long, float& lo, float& hi) override { lo = -10; hi = 10; return 0; }
  long DA_Ranges(long& n) override { n = 1; return 0; }
  long DA_set_range(long) override { return 0; }
  long DA_winrt_device(long& d) override { d = s_.driver; return 0; }

 private:
  FakeScript& s_;
};

class FakeIO : public IOBackend {
 public:
  explicit FakeIO(FakeScript& s) : s_(s) {}
  ~FakeIO() override { s_.destroyed = true; }
  long IO_dll_date(std::string& d) override { d = "today"; return 0; }
  long IO_init(long, bool& a) override { a = s_.answers; return 0; }
  long IO_interface_name(std::string& n) override { n = "Fake I/O"; return 0; }
  long IO_pins_in(long& n) override { n = 8; return 0; }
  long IO_pins_out(long& n) override { n = 8; return 0; }
  long IO_winrt_device(long& d) override { d = s_.driver; return 0; }
  long IO_load(const std::string&, bool& l) override { l = s_.loads; return 0; }
  long IO_pin(long pin, bool& level) override {
    s_.calls.push_back("read " + std::to_string(pin));
    level = true;
    return s_.readCode;
  }
  long IO_pin(long pin, bool level) override {
    s_.calls.push_back("write " + std::to_string(pin) + (level ? " high" : " low"));
    return 0;
  }
  long IO_PinOutStatus(long, bool& level) override { level = false; return 0; }

 private:
  FakeScript& s_;
};

// A scripted host, fresh globals and hardware, no fake in the choice.
class HardwareTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetHardware();
    ClearSettingsSections();
    TestBackends() = BackendOverrides();
  }
  void TearDown() override {
    ResetHardware();
    TestBackends() = BackendOverrides();
    SupportLibraryProbe() = saved_probe_;
    ClearSettingsSections();
    ResetGlobals();
  }
  // The fakes of this test go into the choice for every name.
  void UseFakes() {
    TestBackends().ad = [this](const std::string&) { return std::make_unique<FakeAD>(ad); };
    TestBackends().da = [this](const std::string&) { return std::make_unique<FakeDA>(da); };
    TestBackends().io = [this](const std::string&) { return std::make_unique<FakeIO>(io); };
  }
  bool Start(DeviceKind kind, std::string name) {
    switch (kind) {
      case DeviceKind::AD: return ADStart(name);
      case DeviceKind::DA: return DAStart(name);
      case DeviceKind::IO: return IOStart(name);
    }
    return false;
  }

  ScriptedHost host;
  FakeScript ad, da, io;

 private:
  std::function<bool(const std::string&)> saved_probe_ = SupportLibraryProbe();
};

}  // namespace sv::test
