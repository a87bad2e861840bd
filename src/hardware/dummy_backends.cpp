#include "hardware/dummy_backends.h"

#include <cmath>

#include "core/host.h"

namespace sv {

// --- Class_AD_Dummy ---------------------------------------------------------------

long Class_AD_Dummy::AD_channel_name(long channel, std::string& name) {
  if (channel < 0 || channel >= kChannels) return -1;
  name = "AD_" + std::to_string(channel + 1);
  return 0;
}

long Class_AD_Dummy::AD_channels(long& count) {
  count = kChannels;
  return 0;
}

long Class_AD_Dummy::AD_dll_date(std::string& date) {
  date = kDummyDllDate;
  return 0;
}

long Class_AD_Dummy::AD_get(long channel, long& raw) {
  if (channel < 0 || channel >= kChannels) return -1;
  const uint32_t phaseCount = host().TimeGetTime() & 2047u;
  // Readings within one millisecond give the same value: the last is kept.
  if (phaseCount != lastPhase_ || gain_ != lastGain_ || offset_ != lastOffset_) {
    const double phase = double(phaseCount) / 2047.0;
    // The constant is 3.1415, not pi: the dummy's curve is defined so.
    const double volts = std::sin(2.0 * phase * 3.1415) * 10.0;
    lastRaw_ = std::lrint((volts + double(offset_)) / double(gain_));
    lastPhase_ = phaseCount;
    lastGain_ = gain_;
    lastOffset_ = offset_;
  }
  raw = lastRaw_;
  return 0;
}

long Class_AD_Dummy::AD_get_voltage(long channel, float& volts) {
  if (channel < 0 || channel >= kChannels) return -1;
  const long count = averaging_ < 1 ? 1 : averaging_;
  float sum = 0;
  for (long i = 0; i < count; ++i) {
    long raw = 0;
    const long r = AD_get(channel, raw);
    if (r != 0) return r;
    sum += gain_ * float(raw) - offset_;
  }
  volts = sum / float(count);
  return 0;
}

long Class_AD_Dummy::AD_has_diff_input(bool& has) {
  has = false;
  return 0;
}

long Class_AD_Dummy::AD_init(long /*base*/, bool& answers) {
  answers = true;
  return 0;
}

long Class_AD_Dummy::AD_load(const std::string& /*name*/, bool& loaded) {
  gain_ = 20.0f / 65535.0f;
  offset_ = gain_ * 65535.0f / 2.0f;
  averaging_ = 1;
  loaded = true;
  return 0;
}

long Class_AD_Dummy::AD_input_mode(long mode) { return mode == 0 ? 0 : -1; }

long Class_AD_Dummy::AD_interface_name(std::string& name) {
  name = "Dummy A/D";
  return 0;
}

long Class_AD_Dummy::AD_Range(long index, float& low, float& high) {
  if (index != 0) return -1;
  low = -10;
  high = 10;
  return 0;
}

long Class_AD_Dummy::AD_Ranges(long& count) {
  count = 1;
  return 0;
}

long Class_AD_Dummy::AD_set_range(long index) { return index == 0 ? 0 : -1; }

long Class_AD_Dummy::AD_set_averaging(long count) {
  averaging_ = count < 1 ? 1 : count;
  return 0;
}

long Class_AD_Dummy::AD_winrt_device(long& driver) {
  driver = 0;
  return 0;
}

// --- Class_DA_Dummy ---------------------------------------------------------------

long Class_DA_Dummy::DA_channel_name(long channel, std::string& name) {
  name = "DA_" + std::to_string(channel + 1);
  return 0;
}

long Class_DA_Dummy::DA_channels(long& count) {
  count = kChannels;
  return 0;
}

long Class_DA_Dummy::DA_dll_date(std::string& date) {
  date = kDummyDllDate;
  return 0;
}

long Class_DA_Dummy::DA_set(long, long) { return 0; }
long Class_DA_Dummy::DA_set_voltage(long, float) { return 0; }

long Class_DA_Dummy::DA_init(long, bool& answers) {
  answers = true;
  return 0;
}

long Class_DA_Dummy::DA_interface_name(std::string& name) {
  name = "Dummy D/A";
  return 0;
}

long Class_DA_Dummy::DA_load(const std::string&, bool& loaded) {
  loaded = true;
  return 0;
}

long Class_DA_Dummy::DA_Range(long, float& low, float& high) {
  low = -10;
  high = 10;
  return 0;
}

long Class_DA_Dummy::DA_Ranges(long& count) {
  count = 1;
  return 0;
}

long Class_DA_Dummy::DA_set_range(long) { return 0; }

long Class_DA_Dummy::DA_winrt_device(long& driver) {
  driver = 0;
  return 0;
}

// --- Class_IO_Dummy ---------------------------------------------------------------

long Class_IO_Dummy::IO_dll_date(std::string& date) {
  date = kDummyDllDate;
  return 0;
}

long Class_IO_Dummy::IO_init(long, bool& answers) {
  answers = true;
  return 0;
}

long Class_IO_Dummy::IO_interface_name(std::string& name) {
  name = "Dummy I/O";
  return 0;
}

long Class_IO_Dummy::IO_pins_in(long& count) {
  count = kPins;
  return 0;
}

long Class_IO_Dummy::IO_pins_out(long& count) {
  count = kPins;
  return 0;
}

long Class_IO_Dummy::IO_winrt_device(long& driver) {
  driver = 0;
  return 0;
}

long Class_IO_Dummy::IO_load(const std::string&, bool& loaded) {
  loaded = true;
  return 0;
}

long Class_IO_Dummy::IO_pin(long pin, bool& level) {
  level = pin >= 0 && pin < kPins && (state_ >> pin) & 1u;
  return 0;
}

long Class_IO_Dummy::IO_pin(long pin, bool level) {
  if (pin < 0 || pin >= kPins) return 0;
  if (level)
    state_ |= 1u << pin;
  else
    state_ &= ~(1u << pin);
  return 0;
}

long Class_IO_Dummy::IO_PinOutStatus(long pin, bool& level) { return IO_pin_get(pin, level); }

}  // namespace sv
