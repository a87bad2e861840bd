// The EXT. TRIGGER line on a Modbus TCP I/O: a libmodbus server in its own
// thread on 127.0.0.1 holds the discrete inputs; the test's script raises
// the line or takes the device away at simulated times.
#include <gtest/gtest.h>
#include <modbus/modbus.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "core/globals.h"
#include "experiment/experiment_settings.h"
#include "experiment/trigger.h"
#include "hardware/hardware.h"
#include "hardware/modbus_backend.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

int ListenLoopback(int& port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof addr;
  if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || listen(fd, 4) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
    close(fd);
    return -1;
  }
  port = ntohs(addr.sin_port);
  return fd;
}

// The device: 64 of each table, one connection at a time, until stopped.
class Server {
 public:
  Server() {
    map_ = modbus_mapping_new(64, 64, 64, 64);
    listen_ = ListenLoopback(port_);
    thread_ = std::thread([this] { Run(); });
  }
  ~Server() {
    Stop();
    modbus_mapping_free(map_);
  }
  int Port() const { return port_; }
  void SetInput(int address, bool level) {
    std::lock_guard<std::mutex> lock(mutex_);
    map_->tab_input_bits[address] = level ? 1 : 0;
  }
  void Stop() {
    if (!thread_.joinable()) return;
    stop_ = true;
    thread_.join();
    close(listen_);
  }

 private:
  static bool Readable(int fd) {
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, 20) > 0;
  }
  void Run() {
    while (!stop_) {
      if (!Readable(listen_)) continue;
      const int fd = accept(listen_, nullptr, nullptr);
      if (fd < 0) continue;
      modbus_t* ctx = modbus_new_tcp("127.0.0.1", port_);
      modbus_set_socket(ctx, fd);
      uint8_t query[MODBUS_TCP_MAX_ADU_LENGTH];
      while (!stop_) {
        if (!Readable(fd)) continue;
        const int n = modbus_receive(ctx, query);
        if (n < 0) break;
        if (n == 0) continue;
        std::lock_guard<std::mutex> lock(mutex_);
        modbus_reply(ctx, query, n, map_);
      }
      modbus_close(ctx);
      modbus_free(ctx);
    }
  }

  modbus_mapping_t* map_ = nullptr;
  int listen_ = -1, port_ = 0;
  std::thread thread_;
  std::mutex mutex_;
  std::atomic<bool> stop_{false};
};

class TriggerModbusTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetHardware();
    ResetExperimentSettings();
    ModbusConfig c;
    c.Host = "127.0.0.1";
    c.Port = server.Port();
    c.TimeoutMs = 500;
    c.Channels = 8;
    auto io = std::make_unique<ModbusIO>(c);
    bool answers = false;
    ASSERT_EQ(io->IO_init(0, answers), 0) << io->LastError();
    ASSERT_TRUE(answers);
    HW().IO = std::move(io);
    G().IOOK = -1;
    ES().TriggerMode = kTriggerAtStart;
  }
  void TearDown() override {
    ResetHardware();
    ResetGlobals();
    ResetExperimentSettings();
  }
  Server server;
  test::ScriptedHost h;
};

TEST_F(TriggerModbusTest, TheRaisedInputTriggers) {
  const int pin = HW().ExtTriggerPin;
  ES().TriggerSource = kTriggerLowHigh;
  h.After(30, [&] { server.SetInput(pin, true); });
  EXPECT_EQ(WaitTrigger(true), WaitEnd::Done);
  EXPECT_EQ(h.clock, 30u);
  EXPECT_EQ(h.status, (std::vector<std::string>{"Trigger: Waiting for HIGH level...", ""}));
  EXPECT_TRUE(h.messages.empty());
}

TEST_F(TriggerModbusTest, ADeviceThatGoesAwayIsToldOnceAndTheStopEndsTheWait) {
  ES().TriggerSource = kTriggerHigh;
  h.Answer(MsgResult::OK);
  h.After(30, [&] { server.Stop(); });
  h.After(300, [] { StopCode() = 10007; });
  EXPECT_EQ(WaitTrigger(true), WaitEnd::Stopped);
  EXPECT_EQ(h.clock, 300u);
  ASSERT_EQ(h.messages.size(), 1u);
  EXPECT_EQ(h.messages[0].title, "GetExtTrigger-Function");
  EXPECT_NE(h.messages[0].text.find("(pin # 5)"), std::string::npos) << h.messages[0].text;
  EXPECT_TRUE(HW().ExtTriggerIgnored);
}

}  // namespace
}  // namespace sv
