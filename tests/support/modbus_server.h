// A Modbus TCP device for tests: a libmodbus server in its own thread on
// 127.0.0.1, on a port of the system's choice.
#pragma once

#include <modbus/modbus.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace sv::test {

// A listening socket on 127.0.0.1 with a port of the system's choice.
inline int ListenLoopback(int& port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  addr.sin_port = 0;
  socklen_t len = sizeof addr;
  if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || listen(fd, 4) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
    close(fd);
    return -1;
  }
  port = ntohs(addr.sin_port);
  return fd;
}

// A port on which nobody listens.
inline int DeadPort() {
  int port = 0;
  close(ListenLoopback(port));
  return port;
}

// The device: 64 of each table, one connection at a time. It can stop
// answering (it still reads the requests) and drop the connection after a
// number of answers.
class ModbusTestServer {
 public:
  ModbusTestServer() {
    map_ = modbus_mapping_new(64, 64, 64, 64);
    listen_ = ListenLoopback(port_);
    thread_ = std::thread([this] { Run(); });
  }
  ~ModbusTestServer() {
    Stop();
    modbus_mapping_free(map_);
  }
  int Port() const { return port_; }
  int Connections() const { return connections_; }
  int Answers() const { return answers_; }
  void SetSilent(bool silent) { silent_ = silent; }
  void DropAfter(int answers) { dropAfter_ = answers; }
  // Runs after every answer, under the lock.
  void SetAfterAnswer(std::function<void(modbus_mapping_t&)> f) {
    std::lock_guard<std::mutex> lock(mutex_);
    after_ = std::move(f);
  }
  template <class F>
  void With(F f) {
    std::lock_guard<std::mutex> lock(mutex_);
    f(*map_);
  }
  void SetInput(int address, bool level) {
    With([&](modbus_mapping_t& m) { m.tab_input_bits[address] = level ? 1 : 0; });
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
      ++connections_;
      modbus_t* ctx = modbus_new_tcp("127.0.0.1", port_);
      modbus_set_socket(ctx, fd);
      Serve(ctx, fd);
      modbus_close(ctx);
      modbus_free(ctx);
    }
  }
  void Serve(modbus_t* ctx, int fd) {
    uint8_t query[MODBUS_TCP_MAX_ADU_LENGTH];
    while (!stop_) {
      if (!Readable(fd)) continue;
      if (silent_) {
        if (recv(fd, query, sizeof query, 0) <= 0) return;
        continue;
      }
      const int n = modbus_receive(ctx, query);
      if (n < 0) return;
      if (n == 0) continue;
      std::lock_guard<std::mutex> lock(mutex_);
      const bool last = ++answers_ == dropAfter_;  // counted before the client sees it
      modbus_reply(ctx, query, n, map_);
      if (after_) after_(*map_);
      if (last) return;
    }
  }

  modbus_mapping_t* map_ = nullptr;
  int listen_ = -1, port_ = 0;
  std::thread thread_;
  std::mutex mutex_;
  std::function<void(modbus_mapping_t&)> after_;
  std::atomic<bool> stop_{false}, silent_{false};
  std::atomic<int> connections_{0}, answers_{0}, dropAfter_{-1};
};

}  // namespace sv::test
