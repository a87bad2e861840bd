// A Modbus TCP A/D reading: AD_get_voltage of one int16 channel beside the
// same exchange done by hand on a plain socket (the 12-byte request written,
// the 11-byte answer read). Both talk to one responder thread on 127.0.0.1
// that answers every read-input-register request with a canned answer.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hardware/modbus_backend.h"
#include "harness.h"

namespace {

constexpr size_t kRequestBytes = 12;  // MBAP header, function 4, address, count
constexpr size_t kAnswerBytes = 11;   // MBAP header, function 4, byte count, one register

void NoDelay(int fd) {
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool ReadAll(int fd, uint8_t* to, size_t n) {
  while (n > 0) {
    const ssize_t got = recv(fd, to, n, 0);
    if (got <= 0) return false;
    to += got;
    n -= size_t(got);
  }
  return true;
}

bool WriteAll(int fd, const uint8_t* from, size_t n) {
  while (n > 0) {
    const ssize_t put = send(fd, from, n, MSG_NOSIGNAL);
    if (put <= 0) return false;
    from += put;
    n -= size_t(put);
  }
  return true;
}

// Answers read-input-register requests of any number of connections with the
// register value 1234, echoing the transaction number.
class Responder {
 public:
  Responder() {
    listen_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (bind(listen_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
        listen(listen_, 4) != 0 ||
        getsockname(listen_, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
      std::fprintf(stderr, "modbus bench: no loopback socket\n");
      return;
    }
    port_ = ntohs(addr.sin_port);
    // The responder keeps to the processor the benchmark runs on: a wake-up
    // across processors costs more than the exchange itself and comes and
    // goes with the scheduler's mood, which would swamp the comparison.
    const int cpu = sched_getcpu();
    thread_ = std::thread([this, cpu] {
      if (cpu >= 0) {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(cpu, &set);
        pthread_setaffinity_np(pthread_self(), sizeof set, &set);
      }
      Run();
    });
  }
  ~Responder() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    for (int fd : clients_) close(fd);
    close(listen_);
  }
  int Port() const { return port_; }

 private:
  void Run() {
    while (!stop_) {
      std::vector<pollfd> fds{{listen_, POLLIN, 0}};
      for (int fd : clients_) fds.push_back({fd, POLLIN, 0});
      if (poll(fds.data(), fds.size(), 50) <= 0) continue;
      if (fds[0].revents & POLLIN) {
        const int fd = accept(listen_, nullptr, nullptr);
        if (fd >= 0) {
          NoDelay(fd);
          clients_.push_back(fd);
        }
      }
      for (size_t i = 1; i < fds.size(); ++i) {
        if (!fds[i].revents) continue;
        uint8_t req[kRequestBytes];
        uint8_t answer[kAnswerBytes] = {0, 0, 0, 0, 0, 5, 1, 4, 2, 0x04, 0xD2};
        bool ok = ReadAll(fds[i].fd, req, sizeof req);
        if (ok) {
          answer[0] = req[0];
          answer[1] = req[1];
          answer[6] = req[6];
          ok = WriteAll(fds[i].fd, answer, sizeof answer);
        }
        if (!ok) {
          close(fds[i].fd);
          std::erase(clients_, fds[i].fd);
        }
      }
    }
  }

  int listen_ = -1, port_ = 0;
  std::vector<int> clients_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

Responder& TheResponder() {
  static Responder responder;
  return responder;
}

sv::ModbusAD& Device() {
  static std::unique_ptr<sv::ModbusAD> ad = [] {
    sv::ModbusConfig c;
    c.Host = "127.0.0.1";
    c.Port = TheResponder().Port();
    c.Channels = 1;
    c.Scale = {10.0 / 32768};
    auto d = std::make_unique<sv::ModbusAD>(c);
    bool answers = false;
    if (d->AD_init(0, answers) != 0)
      std::fprintf(stderr, "modbus bench: %s\n", d->LastError().c_str());
    return d;
  }();
  return *ad;
}

// A plain connected socket to the responder.
int RawSocket() {
  static int fd = [] {
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(uint16_t(TheResponder().Port()));
    if (connect(s, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0)
      std::fprintf(stderr, "modbus bench: raw socket does not connect\n");
    NoDelay(s);
    return s;
  }();
  return fd;
}

}  // namespace

SVBENCH_ROWS(ModbusRows) {
  const std::string device = "Modbus AD_get_voltage";
  const std::string raw = "Modbus raw socket exchange";
  svbench::Kernel(device, kRequestBytes, [] {
    float volts = 0;
    if (Device().AD_get_voltage(0, volts) != 0)
      std::fprintf(stderr, "%s\n", Device().LastError().c_str());
    svbench::Use(&volts);
  });
  svbench::Kernel(raw, kRequestBytes, [] {
    static uint16_t transaction = 0;
    ++transaction;
    uint8_t req[kRequestBytes] = {
        uint8_t(transaction >> 8), uint8_t(transaction), 0, 0, 0, 6, 1, 4, 0, 0, 0, 1};
    uint8_t answer[kAnswerBytes];
    const int fd = RawSocket();
    if (!WriteAll(fd, req, sizeof req) || !ReadAll(fd, answer, sizeof answer))
      std::fprintf(stderr, "modbus bench: raw exchange failed\n");
    svbench::Use(answer);
  });
  svbench::TargetAgainst(device, raw, 2.0);
}
