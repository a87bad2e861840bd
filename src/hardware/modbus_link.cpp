#include "hardware/modbus_link.h"

#include <arpa/inet.h>
#include <modbus.h>

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>

#include "core/globals.h"
#include "core/ini_profile.h"

namespace sv {

namespace {

// A decimal number of the ini file, a decimal comma taken as a point.
double ParseNumber(std::string text, double def) {
  std::replace(text.begin(), text.end(), ',', '.');
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return def;
  const char* begin = text.data() + first;
  const char* end = text.data() + text.size();
  if (*begin == '+') ++begin;
  double value = 0;
  const auto [ptr, ec] = std::from_chars(begin, end, value);
  if (ec != std::errc() || ptr == begin || !std::isfinite(value)) return def;
  return value;
}

std::string Lower(std::string text) {
  for (char& c : text) c = char(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Trim(const std::string& text) {
  const auto a = text.find_first_not_of(" \t");
  if (a == std::string::npos) return {};
  const auto b = text.find_last_not_of(" \t");
  return text.substr(a, b - a + 1);
}

}  // namespace

double ModbusConfig::ScaleOf(long channel) const {
  return channel >= 0 && size_t(channel) < Scale.size() ? Scale[size_t(channel)] : 1.0;
}

double ModbusConfig::OffsetOf(long channel) const {
  return channel >= 0 && size_t(channel) < Offset.size() ? Offset[size_t(channel)] : 0.0;
}

const char* ModbusSection(DeviceKind kind) {
  switch (kind) {
    case DeviceKind::AD:
      return kModbusADSection;
    case DeviceKind::DA:
      return kModbusDASection;
    case DeviceKind::IO:
      return kModbusIOSection;
  }
  return kModbusADSection;
}

bool ParseModbusFormat(const std::string& text, ModbusFormat& format) {
  const std::string t = Lower(Trim(text));
  if (t == "int16")
    format = ModbusFormat::Int16;
  else if (t == "uint16")
    format = ModbusFormat::UInt16;
  else if (t == "float32")
    format = ModbusFormat::Float32;
  else
    return false;
  return true;
}

const char* ModbusFormatName(ModbusFormat format) {
  switch (format) {
    case ModbusFormat::Int16:
      return "int16";
    case ModbusFormat::UInt16:
      return "uint16";
    case ModbusFormat::Float32:
      return "float32";
  }
  return "int16";
}

ModbusConfig ReadModbusConfig(const Profile& profile, DeviceKind kind) {
  const std::string section = ModbusSection(kind);
  ModbusConfig c;
  c.Host = Trim(profile.GetString(section, "Host", ""));
  c.Port = profile.GetInt(section, "Port", c.Port);
  c.Unit = profile.GetInt(section, "Unit", c.Unit);
  c.TimeoutMs = profile.GetInt(section, "TimeoutMs", c.TimeoutMs);
  c.Address = profile.GetInt(section, "Address", c.Address);
  c.CoilAddress = profile.GetInt(section, "CoilAddress", c.CoilAddress);
  c.Channels = profile.GetInt(section, kind == DeviceKind::IO ? "Pins" : "Channels", c.Channels);
  const std::string format = profile.GetString(section, "Format", "int16");
  if (!Trim(format).empty() && !ParseModbusFormat(format, c.Format)) c.FormatText = format;
  if (kind != DeviceKind::IO) {
    // Only the channels that exist; the count is checked when connecting.
    const int n = std::clamp(c.Channels, 0, 256);
    for (int ch = 1; ch <= n; ++ch) {
      const std::string number = std::to_string(ch);
      c.Scale.push_back(ParseNumber(profile.GetString(section, "Scale" + number, ""), 1.0));
      c.Offset.push_back(ParseNumber(profile.GetString(section, "Offset" + number, ""), 0.0));
    }
  }
  return c;
}

ModbusConfig ReadModbusConfig(DeviceKind kind) {
  return ReadModbusConfig(Profile::Load(ResolveProfilePath(G().IniFile)), kind);
}

int ModbusRegisters(ModbusFormat format) { return format == ModbusFormat::Float32 ? 2 : 1; }

double ModbusDecode(ModbusFormat format, const uint16_t* regs) {
  switch (format) {
    case ModbusFormat::Int16:
      return double(int16_t(regs[0]));
    case ModbusFormat::UInt16:
      return double(regs[0]);
    case ModbusFormat::Float32: {
      const uint32_t bits = (uint32_t(regs[0]) << 16) | regs[1];
      float f;
      std::memcpy(&f, &bits, sizeof f);
      return double(f);
    }
  }
  return 0;
}

void ModbusFormatLimits(ModbusFormat format, double& low, double& high) {
  switch (format) {
    case ModbusFormat::Int16:
      low = -32768;
      high = 32767;
      return;
    case ModbusFormat::UInt16:
      low = 0;
      high = 65535;
      return;
    case ModbusFormat::Float32:
      low = -double(FLT_MAX);
      high = double(FLT_MAX);
      return;
  }
}

double RoundHalfEven(double value) {
  const double r = std::round(value);  // ties away from zero
  if (std::fabs(value - std::trunc(value)) == 0.5) return 2.0 * std::round(value / 2.0);
  return r;
}

bool ModbusEncode(ModbusFormat format, double value, uint16_t* regs) {
  if (std::isnan(value)) return false;
  double low = 0, high = 0;
  ModbusFormatLimits(format, low, high);
  value = std::clamp(value, low, high);
  switch (format) {
    case ModbusFormat::Int16:
      regs[0] = uint16_t(int16_t(RoundHalfEven(value)));
      return true;
    case ModbusFormat::UInt16:
      regs[0] = uint16_t(RoundHalfEven(value));
      return true;
    case ModbusFormat::Float32: {
      const float f = float(value);
      uint32_t bits;
      std::memcpy(&bits, &f, sizeof bits);
      regs[0] = uint16_t(bits >> 16);
      regs[1] = uint16_t(bits & 0xFFFF);
      return true;
    }
  }
  return false;
}

std::string ModbusConfigProblem(const ModbusConfig& c, DeviceKind kind) {
  const std::string section = std::string("the section \"") + ModbusSection(kind) + "\"";
  if (c.Host.empty()) return "no \"Host\" in " + section;
  if (c.Port < 1 || c.Port > 65535) return "\"Port\" " + std::to_string(c.Port) + " is not a port";
  if (c.Unit < 0 || (c.Unit > 247 && c.Unit != MODBUS_TCP_SLAVE))
    return "\"Unit\" " + std::to_string(c.Unit) + " is not a unit number (0 to 247, or 255)";
  if (c.TimeoutMs < 1) return "\"TimeoutMs\" must be at least 1";
  if (!c.FormatText.empty())
    return "\"Format\" " + c.FormatText + " is none of int16, uint16, float32";
  const char* countKey = kind == DeviceKind::IO ? "\"Pins\"" : "\"Channels\"";
  if (c.Channels < 1 || c.Channels > 256) return std::string(countKey) + " must be 1 to 256";
  const int span = kind == DeviceKind::IO ? c.Channels : c.Channels * ModbusRegisters(c.Format);
  if (c.Address < 0 || c.Address + span - 1 > 65535)
    return "\"Address\" " + std::to_string(c.Address) + " leaves no room for the channels";
  if (kind == DeviceKind::IO && (c.CoilAddress < 0 || c.CoilAddress + c.Channels - 1 > 65535))
    return "\"CoilAddress\" " + std::to_string(c.CoilAddress) + " leaves no room for the pins";
  return {};
}

std::string ModbusLibraryVersion() {
  return "libmodbus " + std::to_string(libmodbus_version_major) + "." +
         std::to_string(libmodbus_version_minor) + "." + std::to_string(libmodbus_version_micro);
}

ModbusLink::~ModbusLink() { Close(); }

std::string ModbusLink::Peer() const { return config_.Host + ":" + std::to_string(config_.Port); }

long ModbusLink::Fail(long code, const std::string& text) {
  error_ = what_ + " at " + Peer() + ": " + text;
  return code;
}

void ModbusLink::Close() {
  if (!ctx_) return;
  modbus_close(ctx_);
  modbus_free(ctx_);
  ctx_ = nullptr;
}

long ModbusLink::Open(DeviceKind kind) {
  Close();
  opened_ = false;
  if (const std::string problem = ModbusConfigProblem(config_, kind); !problem.empty())
    return Fail(kModbusNotReady, problem);
  const long rc = Connect();
  opened_ = rc == 0;
  return rc;
}

long ModbusLink::Connect() {
  Close();
  // A dotted address goes straight to the socket; a host name is looked up
  // by the system's resolver first.
  in_addr numeric{};
  modbus_t* ctx =
      inet_pton(AF_INET, config_.Host.c_str(), &numeric) == 1
          ? modbus_new_tcp(config_.Host.c_str(), config_.Port)
          : modbus_new_tcp_pi(config_.Host.c_str(), std::to_string(config_.Port).c_str());
  if (!ctx) return Fail(kModbusNotReady, std::string("cannot connect: ") + modbus_strerror(errno));
  if (modbus_set_slave(ctx, config_.Unit) == -1) {
    const int err = errno;
    modbus_free(ctx);
    return Fail(kModbusNotReady,
                "unit " + std::to_string(config_.Unit) + ": " + modbus_strerror(err));
  }
  const uint32_t ms = uint32_t(config_.TimeoutMs);
  modbus_set_response_timeout(ctx, ms / 1000, (ms % 1000) * 1000);
  modbus_set_byte_timeout(ctx, ms / 1000, (ms % 1000) * 1000);
  modbus_set_error_recovery(ctx, MODBUS_ERROR_RECOVERY_NONE);
  errno = 0;
  if (modbus_connect(ctx) == -1) {
    const int err = errno;
    modbus_free(ctx);
    return Fail(kModbusLinkError, std::string("cannot connect: ") + modbus_strerror(err));
  }
  ctx_ = ctx;
  return 0;
}

template <class Request>
long ModbusLink::Run(const std::string& action, Request request) {
  if (!ctx_) {
    if (!opened_) return Fail(kModbusNotReady, action + ": the device is not initialised");
    if (long rc = Connect()) return rc;
  }
  errno = 0;
  if (request(ctx_) != -1) return 0;
  const int err = errno;
  if (err >= EMBXILFUN && err <= EMBXGTAR)
    return Fail(kModbusRefused, "the device refused " + action + ": " + modbus_strerror(err));
  // The answer may still come, or the link is gone: start afresh next time.
  Close();
  return Fail(kModbusLinkError, action + " failed: " + modbus_strerror(err));
}

long ModbusLink::ReadInputRegisters(int address, int count, uint16_t* dest) {
  return Run("reading input register " + std::to_string(address),
             [&](modbus_t* ctx) { return modbus_read_input_registers(ctx, address, count, dest); });
}

long ModbusLink::ReadHoldingRegisters(int address, int count, uint16_t* dest) {
  return Run("reading holding register " + std::to_string(address),
             [&](modbus_t* ctx) { return modbus_read_registers(ctx, address, count, dest); });
}

long ModbusLink::WriteRegisters(int address, int count, const uint16_t* values) {
  return Run("writing holding register " + std::to_string(address), [&](modbus_t* ctx) {
    return count == 1 ? modbus_write_register(ctx, address, values[0])
                      : modbus_write_registers(ctx, address, count, values);
  });
}

long ModbusLink::ReadDiscreteInputs(int address, int count, uint8_t* dest) {
  return Run("reading discrete input " + std::to_string(address),
             [&](modbus_t* ctx) { return modbus_read_input_bits(ctx, address, count, dest); });
}

long ModbusLink::ReadCoils(int address, int count, uint8_t* dest) {
  return Run("reading coil " + std::to_string(address),
             [&](modbus_t* ctx) { return modbus_read_bits(ctx, address, count, dest); });
}

long ModbusLink::WriteCoil(int address, bool level) {
  return Run("writing coil " + std::to_string(address),
             [&](modbus_t* ctx) { return modbus_write_bit(ctx, address, level ? 1 : 0); });
}

}  // namespace sv
