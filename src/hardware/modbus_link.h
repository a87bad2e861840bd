// A Modbus TCP device: its configuration (one ini section per device kind),
// the coding of values in registers, and the connection that runs the
// requests, each bounded by the configured time-out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hardware/devices.h"

struct _modbus;  // libmodbus's context (modbus_t)

namespace sv {

class Profile;

// The ini sections of the three kinds.
inline constexpr const char* kModbusADSection = "Modbus A/D";
inline constexpr const char* kModbusDASection = "Modbus D/A";
inline constexpr const char* kModbusIOSection = "Modbus I/O";

// Return codes of the Modbus back-ends (0 is success).
inline constexpr long kModbusBadArgument = -1;  // channel, pin, range or value out of bounds
inline constexpr long kModbusNotReady = -2;     // not initialised, or the configuration is wrong
inline constexpr long kModbusLinkError = -3;    // time-out, dropped link, no connection
inline constexpr long kModbusRefused = -4;      // the device answered with an exception

enum class ModbusFormat { Int16, UInt16, Float32 };

struct ModbusConfig {
  std::string Host;
  int Port = 502;
  int Unit = 1;
  int TimeoutMs = 1000;
  int Address = 0;      // first input register (A/D), holding register (D/A), discrete input (I/O)
  int CoilAddress = 0;  // first coil (I/O outputs)
  int Channels = 8;     // channels (A/D, D/A) or pins (I/O)
  ModbusFormat Format = ModbusFormat::Int16;
  std::string FormatText;  // as read when it names no format, else ""
  // Per channel from 1 (element 0 is channel 1); missing entries are 1 and 0.
  std::vector<double> Scale, Offset;

  double ScaleOf(long channel) const;   // channel from 0
  double OffsetOf(long channel) const;  // channel from 0
};

// The section of `kind` from a profile; missing keys give their defaults.
ModbusConfig ReadModbusConfig(const Profile& profile, DeviceKind kind);
// The section of `kind` from the application ini file.
ModbusConfig ReadModbusConfig(DeviceKind kind);
const char* ModbusSection(DeviceKind kind);
// "int16", "uint16", "float32" (any case); false for other texts.
bool ParseModbusFormat(const std::string& text, ModbusFormat& format);
const char* ModbusFormatName(ModbusFormat format);

// Registers a value takes: 1, or 2 for float32.
int ModbusRegisters(ModbusFormat format);
// The value of the registers at `regs` (float32 high word first).
double ModbusDecode(ModbusFormat format, const uint16_t* regs);
// The registers of `value`, rounded to nearest (ties to even) and clamped to
// the format's range for the integer formats. false for a value that is not
// a number.
bool ModbusEncode(ModbusFormat format, double value, uint16_t* regs);
// The lowest and highest value the format holds.
void ModbusFormatLimits(ModbusFormat format, double& low, double& high);
// Nearest integer, ties to even.
double RoundHalfEven(double value);

// The connection of one device. Every request is bounded by TimeoutMs (the
// response and the byte time-out of the library). A request that fails on
// the link (time-out, reset, garbled answer) closes the connection; the next
// request makes one new connection first. An exception answer of the device
// leaves the connection as it is.
class ModbusLink {
 public:
  explicit ModbusLink(std::string what) : what_(std::move(what)) {}
  ~ModbusLink();
  ModbusLink(const ModbusLink&) = delete;
  ModbusLink& operator=(const ModbusLink&) = delete;

  const ModbusConfig& Config() const { return config_; }
  void SetConfig(const ModbusConfig& config) { config_ = config; }

  // Checks the configuration of `kind` and connects: 0, or the code of the
  // failure with LastError() set.
  long Open(DeviceKind kind);
  void Close();
  bool Connected() const { return ctx_ != nullptr; }

  long ReadInputRegisters(int address, int count, uint16_t* dest);
  long ReadHoldingRegisters(int address, int count, uint16_t* dest);
  long WriteRegisters(int address, int count, const uint16_t* values);
  long ReadDiscreteInputs(int address, int count, uint8_t* dest);
  long ReadCoils(int address, int count, uint8_t* dest);
  long WriteCoil(int address, bool level);

  // Sets LastError() and returns `code`.
  long Fail(long code, const std::string& text);
  const std::string& LastError() const { return error_; }
  // "host:port".
  std::string Peer() const;

 private:
  long Connect();
  template <class Request>
  long Run(const std::string& action, Request request);

  std::string what_;  // "Modbus A/D" and so on, the head of every message
  ModbusConfig config_;
  _modbus* ctx_ = nullptr;
  bool opened_ = false;  // Open succeeded once: a dropped link may be made again
  std::string error_;
};

// What is wrong with a configuration for `kind`, "" when nothing is.
std::string ModbusConfigProblem(const ModbusConfig& config, DeviceKind kind);

// The version of the Modbus library, "libmodbus 3.1.6".
std::string ModbusLibraryVersion();

}  // namespace sv
