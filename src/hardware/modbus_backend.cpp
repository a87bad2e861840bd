// Modbus TCP devices: A/D channels in input registers, D/A channels in
// holding registers, I/O pins as discrete inputs and coils.
#include "hardware/modbus_backend.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace sv {

namespace {

bool IsModbusName(const std::string& name) {
  std::string upper = name, wanted = kModbusLoadName;
  for (char& c : upper) c = char(std::toupper(static_cast<unsigned char>(c)));
  for (char& c : wanted) c = char(std::toupper(static_cast<unsigned char>(c)));
  return upper == wanted;
}

long Load(ModbusLink& link, bool fixed, DeviceKind kind, const std::string& name, bool& loaded) {
  loaded = IsModbusName(name);
  if (!loaded) return link.Fail(kModbusBadArgument, "\"" + name + "\" is not a Modbus TCP device");
  if (!fixed) link.SetConfig(ReadModbusConfig(kind));
  return 0;
}

long Init(ModbusLink& link, DeviceKind kind, bool& answers) {
  const long rc = link.Open(kind);
  answers = rc == 0;
  return rc;
}

long ChannelName(const ModbusLink& link, long channel, std::string& name) {
  if (channel < 0 || channel >= link.Config().Channels) return kModbusBadArgument;
  name = "CH" + std::to_string(channel + 1);
  return 0;
}

// The one range: what the format holds through channel 1's line; ±10 V for
// floats, whose own range means nothing in volts.
long Range(const ModbusConfig& c, long index, float& low, float& high) {
  if (index != 0) return kModbusBadArgument;
  if (c.Format == ModbusFormat::Float32) {
    low = -10.0f;
    high = 10.0f;
    return 0;
  }
  double a = 0, b = 0;
  ModbusFormatLimits(c.Format, a, b);
  a = a * c.ScaleOf(0) + c.OffsetOf(0);
  b = b * c.ScaleOf(0) + c.OffsetOf(0);
  low = float(std::min(a, b));
  high = float(std::max(a, b));
  return 0;
}

std::string InterfaceName(const ModbusLink& link) { return "Modbus TCP " + link.Peer(); }

}  // namespace

// ---------------------------------------------------------------- A/D

ModbusAD::ModbusAD() : link_(kModbusADSection) {}

ModbusAD::ModbusAD(const ModbusConfig& config) : link_(kModbusADSection), fixed_(true) {
  link_.SetConfig(config);
}

long ModbusAD::AD_channel_name(long channel, std::string& name) {
  return ChannelName(link_, channel, name);
}

long ModbusAD::AD_channels(long& count) {
  count = link_.Config().Channels;
  return 0;
}

long ModbusAD::AD_dll_date(std::string& date) {
  date = ModbusLibraryVersion();
  return 0;
}

long ModbusAD::Read(long channel, double& value) {
  const ModbusConfig& c = link_.Config();
  if (channel < 0 || channel >= c.Channels)
    return link_.Fail(kModbusBadArgument, "there is no channel " + std::to_string(channel + 1));
  const int n = ModbusRegisters(c.Format);
  uint16_t regs[2] = {0, 0};
  if (long rc = link_.ReadInputRegisters(c.Address + int(channel) * n, n, regs)) return rc;
  value = ModbusDecode(c.Format, regs);
  return 0;
}

long ModbusAD::AD_get(long channel, long& raw) {
  double value = 0;
  if (long rc = Read(channel, value)) return rc;
  if (std::isnan(value))
    return link_.Fail(kModbusRefused, "channel " + std::to_string(channel + 1) + " reads NaN");
  constexpr double kMax = double(std::numeric_limits<int32_t>::max());
  raw = long(RoundHalfEven(std::clamp(value, -kMax - 1, kMax)));
  return 0;
}

long ModbusAD::AD_get_voltage(long channel, float& volts) {
  double sum = 0;
  for (long i = 0; i < averaging_; ++i) {
    double value = 0;
    if (long rc = Read(channel, value)) return rc;
    sum += value;
  }
  const ModbusConfig& c = link_.Config();
  volts = float(sum / double(averaging_) * c.ScaleOf(channel) + c.OffsetOf(channel));
  return 0;
}

long ModbusAD::AD_has_diff_input(bool& has) {
  has = false;
  return 0;
}

long ModbusAD::AD_init(long, bool& answers) {
  if (long rc = Init(link_, DeviceKind::AD, answers)) return rc;
  // The device must answer for channel 1 as configured.
  double value;
  if (long rc = Read(0, value)) {
    answers = false;
    return rc;
  }
  return 0;
}

long ModbusAD::AD_load(const std::string& name, bool& loaded) {
  return Load(link_, fixed_, DeviceKind::AD, name, loaded);
}

long ModbusAD::AD_input_mode(long mode) { return mode == 0 ? 0 : kModbusBadArgument; }

long ModbusAD::AD_interface_name(std::string& name) {
  name = InterfaceName(link_);
  return 0;
}

long ModbusAD::AD_Range(long index, float& low, float& high) {
  return Range(link_.Config(), index, low, high);
}

long ModbusAD::AD_Ranges(long& count) {
  count = 1;
  return 0;
}

long ModbusAD::AD_set_range(long index) { return index == 0 ? 0 : kModbusBadArgument; }

long ModbusAD::AD_set_averaging(long count) {
  averaging_ = std::max(1L, count);
  return 0;
}

long ModbusAD::AD_winrt_device(long& driver) {
  driver = 0;
  return 0;
}

// ---------------------------------------------------------------- D/A

ModbusDA::ModbusDA() : link_(kModbusDASection) {}

ModbusDA::ModbusDA(const ModbusConfig& config) : link_(kModbusDASection), fixed_(true) {
  link_.SetConfig(config);
}

long ModbusDA::DA_channel_name(long channel, std::string& name) {
  return ChannelName(link_, channel, name);
}

long ModbusDA::DA_channels(long& count) {
  count = link_.Config().Channels;
  return 0;
}

long ModbusDA::DA_dll_date(std::string& date) {
  date = ModbusLibraryVersion();
  return 0;
}

long ModbusDA::Write(long channel, double value) {
  const ModbusConfig& c = link_.Config();
  const int n = ModbusRegisters(c.Format);
  uint16_t regs[2] = {0, 0};
  if (!ModbusEncode(c.Format, value, regs))
    return link_.Fail(kModbusBadArgument,
                      "channel " + std::to_string(channel + 1) + ": the value is not a number");
  return link_.WriteRegisters(c.Address + int(channel) * n, n, regs);
}

long ModbusDA::DA_set(long channel, long raw) {
  const ModbusConfig& c = link_.Config();
  if (channel < 0 || channel >= c.Channels)
    return link_.Fail(kModbusBadArgument, "there is no channel " + std::to_string(channel + 1));
  double low = 0, high = 0;
  ModbusFormatLimits(c.Format, low, high);
  if (double(raw) < low || double(raw) > high)
    return link_.Fail(kModbusBadArgument, "the value " + std::to_string(raw) + " is out of " +
                                              ModbusFormatName(c.Format) + " range");
  return Write(channel, double(raw));
}

long ModbusDA::DA_set_voltage(long channel, float volts) {
  const ModbusConfig& c = link_.Config();
  if (channel < 0 || channel >= c.Channels)
    return link_.Fail(kModbusBadArgument, "there is no channel " + std::to_string(channel + 1));
  const double scale = c.ScaleOf(channel);
  if (scale == 0)
    return link_.Fail(kModbusNotReady, "\"Scale" + std::to_string(channel + 1) + "\" is 0");
  if (!std::isfinite(volts)) return link_.Fail(kModbusBadArgument, "the voltage is not a number");
  return Write(channel, (double(volts) - c.OffsetOf(channel)) / scale);
}

long ModbusDA::DA_init(long, bool& answers) {
  if (long rc = Init(link_, DeviceKind::DA, answers)) return rc;
  // The device must answer for channel 1 as configured.
  const ModbusConfig& c = link_.Config();
  uint16_t regs[2];
  if (long rc = link_.ReadHoldingRegisters(c.Address, ModbusRegisters(c.Format), regs)) {
    answers = false;
    return rc;
  }
  return 0;
}

long ModbusDA::DA_interface_name(std::string& name) {
  name = InterfaceName(link_);
  return 0;
}

long ModbusDA::DA_load(const std::string& name, bool& loaded) {
  return Load(link_, fixed_, DeviceKind::DA, name, loaded);
}

long ModbusDA::DA_Range(long index, float& low, float& high) {
  return Range(link_.Config(), index, low, high);
}

long ModbusDA::DA_Ranges(long& count) {
  count = 1;
  return 0;
}

long ModbusDA::DA_set_range(long index) { return index == 0 ? 0 : kModbusBadArgument; }

long ModbusDA::DA_winrt_device(long& driver) {
  driver = 0;
  return 0;
}

// ---------------------------------------------------------------- I/O

ModbusIO::ModbusIO() : link_(kModbusIOSection) {}

ModbusIO::ModbusIO(const ModbusConfig& config) : link_(kModbusIOSection), fixed_(true) {
  link_.SetConfig(config);
}

long ModbusIO::IO_dll_date(std::string& date) {
  date = ModbusLibraryVersion();
  return 0;
}

long ModbusIO::IO_init(long, bool& answers) {
  if (long rc = Init(link_, DeviceKind::IO, answers)) return rc;
  // The device must answer for pin 0 as configured.
  uint8_t bit;
  if (long rc = link_.ReadDiscreteInputs(link_.Config().Address, 1, &bit)) {
    answers = false;
    return rc;
  }
  return 0;
}

long ModbusIO::IO_interface_name(std::string& name) {
  name = InterfaceName(link_);
  return 0;
}

long ModbusIO::IO_pins_in(long& count) {
  count = link_.Config().Channels;
  return 0;
}

long ModbusIO::IO_pins_out(long& count) {
  count = link_.Config().Channels;
  return 0;
}

long ModbusIO::IO_winrt_device(long& driver) {
  driver = 0;
  return 0;
}

long ModbusIO::IO_load(const std::string& name, bool& loaded) {
  return Load(link_, fixed_, DeviceKind::IO, name, loaded);
}

long ModbusIO::CheckPin(long pin) {
  if (pin >= 0 && pin < link_.Config().Channels) return 0;
  return link_.Fail(kModbusBadArgument, "there is no pin " + std::to_string(pin));
}

long ModbusIO::IO_pin(long pin, bool& level) {
  if (long rc = CheckPin(pin)) return rc;
  uint8_t bit = 0;
  if (long rc = link_.ReadDiscreteInputs(link_.Config().Address + int(pin), 1, &bit)) return rc;
  level = bit != 0;
  return 0;
}

long ModbusIO::IO_pin(long pin, bool level) {
  if (long rc = CheckPin(pin)) return rc;
  return link_.WriteCoil(link_.Config().CoilAddress + int(pin), level);
}

long ModbusIO::IO_PinOutStatus(long pin, bool& level) {
  if (long rc = CheckPin(pin)) return rc;
  uint8_t bit = 0;
  if (long rc = link_.ReadCoils(link_.Config().CoilAddress + int(pin), 1, &bit)) return rc;
  level = bit != 0;
  return 0;
}

// ---------------------------------------------------------------- factories

std::unique_ptr<ADBackend> MakeModbusAD() { return std::make_unique<ModbusAD>(); }
std::unique_ptr<DABackend> MakeModbusDA() { return std::make_unique<ModbusDA>(); }
std::unique_ptr<IOBackend> MakeModbusIO() { return std::make_unique<ModbusIO>(); }

}  // namespace sv
