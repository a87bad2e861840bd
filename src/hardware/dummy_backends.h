// The dummy interfaces, chosen by name ("DummyAD", "DummyDA", "DummyIO"):
// an A/D whose channels all read one sine wave of the millisecond counter, a
// D/A that takes anything, and an I/O whose eight pins read what was written.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hardware/devices.h"

namespace sv {

// The version text of the three dummies.
inline constexpr const char* kDummyDllDate = "Oct. 04, 2003 (R)";

// Eight channels "AD_1" .. "AD_8" (channel 0 is "AD_1"), one range -10..+10 V.
class Class_AD_Dummy : public ADBackend {
 public:
  static constexpr long kChannels = 8;
  long AD_channel_name(long channel, std::string& name) override;
  long AD_channels(long& count) override;
  long AD_dll_date(std::string& date) override;
  // The millisecond counter's phase: (counter AND 2047) / 2047; the volts are
  // sin(2 * phase * 3.1415) * 10, the raw value round((volts + offset) / gain).
  long AD_get(long channel, long& raw) override;
  long AD_get_voltage(long channel, float& volts) override;
  long AD_has_diff_input(bool& has) override;
  long AD_init(long base, bool& answers) override;
  long AD_load(const std::string& name, bool& loaded) override;
  long AD_input_mode(long mode) override;
  long AD_interface_name(std::string& name) override;
  long AD_Range(long index, float& low, float& high) override;
  long AD_Ranges(long& count) override;
  long AD_set_range(long index) override;
  long AD_set_averaging(long count) override;
  long AD_winrt_device(long& driver) override;

  float Gain() const { return gain_; }
  float Offset() const { return offset_; }
  long Averaging() const { return averaging_; }

 private:
  float gain_ = 20.0f / 65535.0f;
  float offset_ = 10.0f;
  long averaging_ = 1;
  // The last reading, by the counter's phase it was made at.
  uint32_t lastPhase_ = UINT32_MAX;
  float lastGain_ = 0, lastOffset_ = 0;
  long lastRaw_ = 0;
};

// Two channels "DA_1", "DA_2", one range -10..+10 V; every write succeeds.
class Class_DA_Dummy : public DABackend {
 public:
  static constexpr long kChannels = 2;
  long DA_channel_name(long channel, std::string& name) override;
  long DA_channels(long& count) override;
  long DA_dll_date(std::string& date) override;
  long DA_set(long channel, long raw) override;
  long DA_set_voltage(long channel, float volts) override;
  long DA_init(long base, bool& answers) override;
  long DA_interface_name(std::string& name) override;
  long DA_load(const std::string& name, bool& loaded) override;
  long DA_Range(long index, float& low, float& high) override;
  long DA_Ranges(long& count) override;
  long DA_set_range(long index) override;
  long DA_winrt_device(long& driver) override;
};

// Eight pins in and eight out sharing one 32-bit state word: pins 0 to 7 read
// back what was last written; any other pin reads false and ignores writes.
class Class_IO_Dummy : public IOBackend {
 public:
  static constexpr long kPins = 8;
  long IO_dll_date(std::string& date) override;
  long IO_init(long base, bool& answers) override;
  long IO_interface_name(std::string& name) override;
  long IO_pins_in(long& count) override;
  long IO_pins_out(long& count) override;
  long IO_winrt_device(long& driver) override;
  long IO_load(const std::string& name, bool& loaded) override;
  long IO_pin(long pin, bool& level) override;
  long IO_pin(long pin, bool level) override;
  long IO_PinOutStatus(long pin, bool& level) override;
  // Without effect.
  long IO_close() { return 0; }
  long IO_unload() { return 0; }
  long IO_OUTP(long /*port*/, long /*value*/) { return 0; }

  uint32_t State() const { return state_; }

 private:
  uint32_t state_ = 0;
};

}  // namespace sv
