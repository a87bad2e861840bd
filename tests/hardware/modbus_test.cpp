// The Modbus TCP back-ends against a libmodbus server that runs in its own
// thread on 127.0.0.1, on a port the system picks.
#include <gtest/gtest.h>
#include <modbus.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <mutex>
#include <thread>

#include "core/globals.h"
#include "core/ini_profile.h"
#include "hardware/modbus_backend.h"
#include "support/modbus_server.h"

namespace sv {
namespace {

using test::DeadPort;
using test::ListenLoopback;
using Server = test::ModbusTestServer;

ModbusConfig Config(int port, ModbusFormat format = ModbusFormat::Int16) {
  ModbusConfig c;
  c.Host = "127.0.0.1";
  c.Port = port;
  c.TimeoutMs = 200;
  c.Format = format;
  c.Channels = 2;
  return c;
}

// IO_pin is overloaded on bool& and bool: a bool variable matches both.
long ReadPin(IOBackend& io, long pin, bool& level) {
  long (IOBackend::*read)(long, bool&) = &IOBackend::IO_pin;
  return (io.*read)(pin, level);
}
long WritePin(IOBackend& io, long pin, bool level) { return io.IO_pin(pin, bool(level)); }

template <class Backend>
::testing::AssertionResult Initialised(Backend& b, long (Backend::*init)(long, bool&)) {
  bool answers = false;
  const long rc = (b.*init)(0, answers);
  if (rc == 0 && answers) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "init " << rc << ": " << b.LastError();
}

TEST(ModbusTest, ReadsRegistersInEveryFormat) {
  struct Row {
    ModbusFormat format;
    uint16_t regs[2];  // channel 2's registers
    double scale, offset;
    long raw;
    float volts;
  } rows[] = {
      {ModbusFormat::Int16, {0xFFF6, 0}, 0.5, 1.0, -10, -4.0f},
      {ModbusFormat::UInt16, {0xFFF6, 0}, 0.001, -10.0, 65526, 55.526f},
      {ModbusFormat::Float32, {0x4049, 0x0FDB}, 2.0, 0.5, 3, float(3.14159274 * 2 + 0.5)},
      {ModbusFormat::Float32, {0x4020, 0x0000}, 1.0, 0.0, 2, 2.5f},    // 2.5: ties to even
      {ModbusFormat::Float32, {0xC060, 0x0000}, 1.0, 0.0, -4, -3.5f},  // -3.5
  };
  Server server;
  for (const Row& r : rows) {
    SCOPED_TRACE(ModbusFormatName(r.format) + std::string(" ") + std::to_string(r.raw));
    const int n = ModbusRegisters(r.format);
    server.With([&](modbus_mapping_t& m) {
      for (int i = 0; i < 64; ++i) m.tab_input_registers[i] = 0x1234;
      m.tab_input_registers[10 + n] = r.regs[0];
      if (n == 2) m.tab_input_registers[10 + n + 1] = r.regs[1];
    });
    ModbusConfig c = Config(server.Port(), r.format);
    c.Address = 10;
    c.Scale = {3.0, r.scale};
    c.Offset = {7.0, r.offset};
    ModbusAD ad(c);
    ASSERT_TRUE(Initialised<ModbusAD>(ad, &ModbusAD::AD_init));
    long raw = 0;
    float volts = 0;
    ASSERT_EQ(ad.AD_get(1, raw), 0) << ad.LastError();
    EXPECT_EQ(raw, r.raw);
    ASSERT_EQ(ad.AD_get_voltage(1, volts), 0) << ad.LastError();
    EXPECT_FLOAT_EQ(volts, r.volts);
  }
}

TEST(ModbusTest, WritesVoltsInvertedRoundedAndClamped) {
  struct Row {
    ModbusFormat format;
    double scale, offset;
    float volts;
    uint16_t regs[2];  // channel 2's registers afterwards
  } rows[] = {
      {ModbusFormat::Int16, 0.5, 1.0, 2.25f, {2, 0}},       // 2.5 -> 2
      {ModbusFormat::Int16, 0.5, 1.0, 2.75f, {4, 0}},       // 3.5 -> 4
      {ModbusFormat::Int16, 0.5, 1.0, 0.25f, {0xFFFE, 0}},  // -1.5 -> -2
      {ModbusFormat::Int16, 0.001, 0.0, -10.0f, {0xD8F0, 0}},
      {ModbusFormat::Int16, 0.001, 0.0, 100.0f, {0x7FFF, 0}},
      {ModbusFormat::Int16, 0.001, 0.0, -100.0f, {0x8000, 0}},
      {ModbusFormat::UInt16, 0.001, 0.0, -1.0f, {0, 0}},
      {ModbusFormat::UInt16, 0.001, 0.0, 1000.0f, {0xFFFF, 0}},
      {ModbusFormat::UInt16, -0.01, 5.0, 4.0f, {100, 0}},
      {ModbusFormat::Float32, 2.0, 0.5, 6.5f, {0x4040, 0x0000}},  // 3.0
  };
  Server server;
  for (const Row& r : rows) {
    SCOPED_TRACE(ModbusFormatName(r.format) + std::string(" ") + std::to_string(r.volts));
    const int n = ModbusRegisters(r.format);
    server.With([](modbus_mapping_t& m) {
      for (int i = 0; i < 64; ++i) m.tab_registers[i] = 0xAAAA;
    });
    ModbusConfig c = Config(server.Port(), r.format);
    c.Address = 20;
    c.Scale = {1.0, r.scale};
    c.Offset = {0.0, r.offset};
    ModbusDA da(c);
    ASSERT_TRUE(Initialised<ModbusDA>(da, &ModbusDA::DA_init));
    ASSERT_EQ(da.DA_set_voltage(1, r.volts), 0) << da.LastError();
    server.With([&](modbus_mapping_t& m) {
      EXPECT_EQ(m.tab_registers[20 + n - 1], 0xAAAA);  // channel 1 untouched
      EXPECT_EQ(m.tab_registers[20 + n], r.regs[0]);
      if (n == 2) {
        EXPECT_EQ(m.tab_registers[20 + n + 1], r.regs[1]);
      }
    });
  }
}

TEST(ModbusTest, RawWritesAndBadArguments) {
  Server server;
  ModbusConfig c = Config(server.Port());
  c.Scale = {0.0, 1.0};
  {
    ModbusDA da(c);
    ASSERT_TRUE(Initialised<ModbusDA>(da, &ModbusDA::DA_init));
    EXPECT_EQ(da.DA_set(1, -2), 0);
    EXPECT_EQ(da.DA_set(1, 40000), kModbusBadArgument);  // out of int16: nothing written
    EXPECT_NE(da.LastError().find("40000"), std::string::npos);
    EXPECT_EQ(da.DA_set(2, 1), kModbusBadArgument);
    EXPECT_EQ(da.DA_set(-1, 1), kModbusBadArgument);
    EXPECT_EQ(da.DA_set_voltage(0, 1.0f), kModbusNotReady);  // Scale1 0
    EXPECT_NE(da.LastError().find("\"Scale1\""), std::string::npos);
    EXPECT_EQ(da.DA_set_voltage(1, std::numeric_limits<float>::quiet_NaN()), kModbusBadArgument);
    server.With([](modbus_mapping_t& m) { EXPECT_EQ(m.tab_registers[1], 0xFFFE); });
  }  // the server takes one connection at a time

  ModbusConfig u = Config(server.Port(), ModbusFormat::UInt16);
  ModbusDA unsignedDa(u);
  ASSERT_TRUE(Initialised<ModbusDA>(unsignedDa, &ModbusDA::DA_init));
  EXPECT_EQ(unsignedDa.DA_set(0, -1), kModbusBadArgument);
  EXPECT_EQ(unsignedDa.DA_set(0, 65535), 0);
  server.With([](modbus_mapping_t& m) { EXPECT_EQ(m.tab_registers[0], 0xFFFF); });
}

TEST(ModbusTest, PinsReadInputsAndWriteCoils) {
  Server server;
  server.With([](modbus_mapping_t& m) { m.tab_input_bits[3 + 2] = 1; });
  ModbusConfig c = Config(server.Port());
  c.Address = 3;
  c.CoilAddress = 7;
  c.Channels = 4;
  ModbusIO io(c);
  ASSERT_TRUE(Initialised<ModbusIO>(io, &ModbusIO::IO_init));
  long in = 0, out = 0;
  io.IO_pins_in(in);
  io.IO_pins_out(out);
  EXPECT_EQ(in, 4);
  EXPECT_EQ(out, 4);

  bool level = false;
  ASSERT_EQ(ReadPin(io, 2, level), 0) << io.LastError();
  EXPECT_TRUE(level);
  ASSERT_EQ(ReadPin(io, 1, level), 0);
  EXPECT_FALSE(level);

  ASSERT_EQ(WritePin(io, 3, true), 0) << io.LastError();
  server.With([](modbus_mapping_t& m) {
    EXPECT_EQ(m.tab_bits[10], 1);
    EXPECT_EQ(m.tab_bits[9], 0);
  });
  ASSERT_EQ(io.IO_PinOutStatus(3, level), 0);
  EXPECT_TRUE(level);
  ASSERT_EQ(io.IO_PinOutStatus(2, level), 0);
  EXPECT_FALSE(level);
  ASSERT_EQ(WritePin(io, 3, false), 0);
  ASSERT_EQ(io.IO_PinOutStatus(3, level), 0);
  EXPECT_FALSE(level);

  for (long pin : {-1L, 4L}) {
    EXPECT_EQ(ReadPin(io, pin, level), kModbusBadArgument);
    EXPECT_EQ(WritePin(io, pin, true), kModbusBadArgument);
    EXPECT_EQ(io.IO_PinOutStatus(pin, level), kModbusBadArgument);
  }
}

TEST(ModbusTest, AveragingTakesThatManyReadings) {
  Server server;
  server.With([](modbus_mapping_t& m) { m.tab_input_registers[0] = 10; });
  ModbusConfig c = Config(server.Port());
  c.Scale = {0.5};
  ModbusAD ad(c);
  ASSERT_TRUE(Initialised<ModbusAD>(ad, &ModbusAD::AD_init));  // reads 10
  // Every answer moves the reading on by one.
  server.SetAfterAnswer([](modbus_mapping_t& m) { ++m.tab_input_registers[0]; });
  float volts = 0;
  ad.AD_set_averaging(4);  // 10, 11, 12, 13
  ASSERT_EQ(ad.AD_get_voltage(0, volts), 0);
  EXPECT_FLOAT_EQ(volts, 11.5f * 0.5f);
  ad.AD_set_averaging(0);  // taken as 1: 14
  ASSERT_EQ(ad.AD_get_voltage(0, volts), 0);
  EXPECT_FLOAT_EQ(volts, 7.0f);
  EXPECT_EQ(server.Answers(), 1 + 4 + 1);
}

TEST(ModbusTest, DescribesItself) {
  Server server;
  ModbusConfig c = Config(server.Port());
  c.Scale = {10.0 / 32768};
  ModbusAD ad(c);
  bool loaded = false;
  EXPECT_EQ(ad.AD_load("modbustcp", loaded), 0);
  EXPECT_TRUE(loaded);
  EXPECT_NE(ad.AD_load("DummyAD", loaded), 0);
  EXPECT_FALSE(loaded);
  ASSERT_TRUE(Initialised<ModbusAD>(ad, &ModbusAD::AD_init));
  std::string text;
  ad.AD_interface_name(text);
  EXPECT_EQ(text, "Modbus TCP 127.0.0.1:" + std::to_string(server.Port()));
  ad.AD_dll_date(text);
  EXPECT_EQ(text.rfind("libmodbus 3.", 0), 0u) << text;
  ASSERT_EQ(ad.AD_channel_name(1, text), 0);
  EXPECT_EQ(text, "CH2");
  EXPECT_NE(ad.AD_channel_name(2, text), 0);
  bool diff = true;
  ad.AD_has_diff_input(diff);
  EXPECT_FALSE(diff);
  EXPECT_NE(ad.AD_input_mode(1), 0);
  long count = 0, driver = -1;
  ad.AD_Ranges(count);
  ad.AD_winrt_device(driver);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(driver, 0);
  EXPECT_NE(ad.AD_set_range(1), 0);
}

TEST(ModbusTest, OneRangeFromFormatAndScale) {
  struct Row {
    ModbusFormat format;
    double scale, offset;
    float low, high;
  } rows[] = {
      {ModbusFormat::Int16, 10.0 / 32768, 0.0, -10.0f, float(32767 * 10.0 / 32768)},
      {ModbusFormat::UInt16, -0.001, 5.0, float(5 - 65.535), 5.0f},
      {ModbusFormat::Float32, 3.0, 1.0, -10.0f, 10.0f},
  };
  for (const Row& r : rows) {
    ModbusConfig c = Config(1, r.format);
    c.Scale = {r.scale};
    c.Offset = {r.offset};
    float low = 0, high = 0;
    ModbusAD ad(c);
    ASSERT_EQ(ad.AD_Range(0, low, high), 0);
    EXPECT_FLOAT_EQ(low, r.low);
    EXPECT_FLOAT_EQ(high, r.high);
    ModbusDA da(c);
    ASSERT_EQ(da.DA_Range(0, low, high), 0);
    EXPECT_FLOAT_EQ(low, r.low);
    EXPECT_NE(da.DA_Range(1, low, high), 0);
  }
}

TEST(ModbusTest, ReadsItsSections) {
  const Profile p = Profile::Parse(
      "[Modbus A/D]\r\nHost=10.0.0.5\r\nPort=1502\r\nUnit=3\r\nTimeoutMs=250\r\n"
      "Address=100\r\nChannels=3\r\nFormat=FLOAT32\r\nScale2=0,5\r\nOffset3=-1.25\r\n"
      "[Modbus I/O]\r\nHost=plc\r\nAddress=16\r\nCoilAddress=32\r\nPins=12\r\n"
      "[Modbus D/A]\r\nHost=plc\r\nFormat=int32\r\n");
  const ModbusConfig ad = ReadModbusConfig(p, DeviceKind::AD);
  EXPECT_EQ(ad.Host, "10.0.0.5");
  EXPECT_EQ(ad.Port, 1502);
  EXPECT_EQ(ad.Unit, 3);
  EXPECT_EQ(ad.TimeoutMs, 250);
  EXPECT_EQ(ad.Address, 100);
  EXPECT_EQ(ad.Channels, 3);
  EXPECT_EQ(ad.Format, ModbusFormat::Float32);
  EXPECT_EQ(ad.ScaleOf(0), 1.0);
  EXPECT_EQ(ad.ScaleOf(1), 0.5);
  EXPECT_EQ(ad.OffsetOf(2), -1.25);
  EXPECT_EQ(ModbusConfigProblem(ad, DeviceKind::AD), "");

  const ModbusConfig io = ReadModbusConfig(p, DeviceKind::IO);
  EXPECT_EQ(io.Port, 502);
  EXPECT_EQ(io.Unit, 1);
  EXPECT_EQ(io.TimeoutMs, 1000);
  EXPECT_EQ(io.Address, 16);
  EXPECT_EQ(io.CoilAddress, 32);
  EXPECT_EQ(io.Channels, 12);

  const ModbusConfig da = ReadModbusConfig(p, DeviceKind::DA);
  EXPECT_EQ(da.Channels, 8);
  EXPECT_NE(ModbusConfigProblem(da, DeviceKind::DA).find("\"Format\" int32"), std::string::npos);
  EXPECT_NE(ModbusConfigProblem(ReadModbusConfig(Profile(), DeviceKind::AD), DeviceKind::AD)
                .find("\"Host\""),
            std::string::npos);
}

TEST(ModbusTest, FactoryReadsTheApplicationIniAtLoad) {
  Server server;
  server.With([](modbus_mapping_t& m) { m.tab_input_registers[5] = 40; });
  const std::string path = (std::filesystem::temp_directory_path() /
                            ("modbus_test_" + std::to_string(getpid()) + ".ini"))
                               .string();
  std::ofstream(path) << "[Modbus A/D]\nHost=127.0.0.1\nPort=" << server.Port()
                      << "\nTimeoutMs=200\nAddress=4\nChannels=2\nScale2=0.25\n";
  const std::string saved = G().IniFile;
  G().IniFile = path;
  auto ad = MakeModbusAD();
  bool loaded = false, answers = false;
  ASSERT_EQ(ad->AD_load(kModbusLoadName, loaded), 0);
  G().IniFile = saved;
  std::filesystem::remove(path);
  ASSERT_EQ(ad->AD_init(0, answers), 0) << ad->LastError();
  float volts = 0;
  ASSERT_EQ(ad->AD_get_voltage(1, volts), 0);
  EXPECT_FLOAT_EQ(volts, 10.0f);
  EXPECT_NE(MakeModbusDA(), nullptr);
  EXPECT_NE(MakeModbusIO(), nullptr);
}

TEST(ModbusTest, InitFailsClearly) {
  Server server;
  struct Row {
    const char* name;
    ModbusConfig config;
    long code;
    std::string says;
  };
  ModbusConfig noHost = Config(server.Port()), badFormat = Config(server.Port()),
               dead = Config(DeadPort()), outside = Config(server.Port());
  noHost.Host = "";
  badFormat.FormatText = "int32";
  outside.Address = 63;  // channel 2 beyond the device's 64 registers
  outside.Channels = 1;
  outside.Format = ModbusFormat::Float32;
  const Row rows[] = {
      {"no host", noHost, kModbusNotReady, "\"Host\""},
      {"bad format", badFormat, kModbusNotReady, "\"Format\""},
      {"nobody listens", dead, kModbusLinkError, std::strerror(ECONNREFUSED)},
      {"no such register", outside, kModbusRefused, modbus_strerror(EMBXILADD)},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.name);
    ModbusAD ad(r.config);
    bool answers = true;
    EXPECT_EQ(ad.AD_init(0, answers), r.code);
    EXPECT_FALSE(answers);
    EXPECT_NE(ad.LastError().find(r.says), std::string::npos) << ad.LastError();
    EXPECT_NE(ad.LastError().find("Modbus A/D at " + r.config.Host + ":"), std::string::npos);
    long raw = 0;
    EXPECT_NE(ad.AD_get(0, raw), 0);
  }
}

TEST(ModbusTest, ExceptionAnswerKeepsTheLink) {
  Server server;
  ModbusConfig c = Config(server.Port());
  c.Address = 63;  // channel 2 lies beyond the device's registers
  ModbusAD ad(c);
  ASSERT_TRUE(Initialised<ModbusAD>(ad, &ModbusAD::AD_init));
  long raw = 0;
  EXPECT_EQ(ad.AD_get(1, raw), kModbusRefused);
  EXPECT_NE(ad.LastError().find("input register 64"), std::string::npos) << ad.LastError();
  EXPECT_EQ(ad.AD_get(0, raw), 0);
  EXPECT_EQ(server.Connections(), 1);
}

TEST(ModbusTest, TimeOutIsBoundedAndTheNextCallReconnects) {
  Server server;
  server.With([](modbus_mapping_t& m) { m.tab_input_registers[0] = 77; });
  ModbusAD ad(Config(server.Port()));
  ASSERT_TRUE(Initialised<ModbusAD>(ad, &ModbusAD::AD_init));
  server.SetSilent(true);
  long raw = 0;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ad.AD_get(0, raw), kModbusLinkError);
  // Not a speed figure: a guard against a wait that ignores TimeoutMs.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  const std::string peer = "127.0.0.1:" + std::to_string(server.Port());
  EXPECT_NE(ad.LastError().find(peer), std::string::npos) << ad.LastError();
  EXPECT_NE(ad.LastError().find(modbus_strerror(ETIMEDOUT)), std::string::npos) << ad.LastError();

  server.SetSilent(false);
  ASSERT_EQ(ad.AD_get(0, raw), 0) << ad.LastError();
  EXPECT_EQ(raw, 77);
  EXPECT_EQ(server.Connections(), 2);
}

TEST(ModbusTest, DroppedLinkIsReportedAndMadeAgainOnce) {
  Server server;
  server.DropAfter(1);  // the answer to the init's reading, then the link goes
  ModbusIO io(Config(server.Port()));
  ASSERT_TRUE(Initialised<ModbusIO>(io, &ModbusIO::IO_init));
  bool level = true;
  const std::string peer = "127.0.0.1:" + std::to_string(server.Port());
  EXPECT_EQ(ReadPin(io, 0, level), kModbusLinkError);
  EXPECT_NE(io.LastError().find(peer), std::string::npos) << io.LastError();
  EXPECT_NE(io.LastError().find("reading discrete input 0 failed"), std::string::npos);
  ASSERT_EQ(ReadPin(io, 0, level), 0) << io.LastError();  // one new connection
  EXPECT_FALSE(level);
  EXPECT_EQ(server.Connections(), 2);

  // The device goes away altogether: each call tries once and says why.
  server.Stop();
  EXPECT_EQ(WritePin(io, 1, true), kModbusLinkError);
  EXPECT_EQ(WritePin(io, 1, true), kModbusLinkError);
  EXPECT_NE(io.LastError().find("cannot connect: " + std::string(std::strerror(ECONNREFUSED))),
            std::string::npos)
      << io.LastError();
  EXPECT_NE(io.LastError().find(peer), std::string::npos);
}

}  // namespace
}  // namespace sv
