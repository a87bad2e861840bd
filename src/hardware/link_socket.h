// The local application link over Unix sockets: a service (the part of a
// topic before "|") listens on $XDG_RUNTIME_DIR/sv4200/<service>.sock, or in
// "sv4200/" below the temp folder when that variable is not set. Clients
// connect with a topic and request, poke and advise items (link_protocol.h).
//
// Everything runs in the caller's thread: a client waits for an answer at
// most its time-out, and both sides read pushed messages only when polled.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "hardware/link_protocol.h"

namespace sv {

// "Excel|Tabelle1" -> "Excel"; a topic without "|" is its own service.
std::string LinkService(const std::string& topic);
// The folder of the sockets, with a trailing "/".
std::string LinkSocketFolder();
// The socket of a service; false with a reason for a name that cannot be one
// (empty, or too long for a socket address). A "/" in the name becomes "_".
bool LinkSocketPath(const std::string& service, std::string& path, std::string& error);

class LinkClient {
 public:
  LinkClient() = default;
  ~LinkClient();
  LinkClient(const LinkClient&) = delete;
  LinkClient& operator=(const LinkClient&) = delete;

  // Connects to the topic's service and names the topic.
  bool Open(const std::string& topic, std::string& error);
  void Close();  // says CLOSE when still connected
  bool IsOpen() const { return fd_ >= 0; }
  const std::string& Topic() const { return topic_; }

  bool Request(const std::string& item, std::string& value, std::string& error);
  bool Poke(const std::string& item, const std::string& value, std::string& error);
  bool Advise(const std::string& item, std::string& error);

  // Reads what has arrived without waiting and hands every pushed update to
  // OnUpdate. A peer that went away closes the link. Returns the number of
  // updates handed on.
  int Poll();
  std::function<void(const std::string& item, const std::string& value)> OnUpdate;

  // How long an answer may take.
  int TimeoutMs = 2000;

 private:
  bool Ask(const LinkMessage& question, LinkMessage& answer, std::string& error);
  bool Send(const std::string& line, std::string& error);
  // Reads whatever is there, waiting at most `waitMs`; false when the peer
  // closed or failed.
  bool Receive(int waitMs, std::string& error);
  void Fail();

  int fd_ = -1;
  std::string topic_;
  LinkLineReader reader_;
  std::deque<std::pair<std::string, std::string>> updates_;
};

class LinkServer {
 public:
  LinkServer() = default;
  ~LinkServer();
  LinkServer(const LinkServer&) = delete;
  LinkServer& operator=(const LinkServer&) = delete;

  // Listens on the service's socket. A socket left by a dead server is
  // removed; one that answers makes this fail.
  bool Listen(const std::string& service, std::string& error);
  // Stops listening, drops the clients and removes the socket.
  void Close();
  bool Listening() const { return listen_ >= 0; }
  const std::string& SocketPath() const { return path_; }

  // Accepts, reads and answers for at most `waitMs` (0: only what is there).
  void Poll(int waitMs);
  // Pushes a value to every client that advised the item.
  void Publish(const std::string& item, const std::string& value);
  size_t Clients() const { return clients_.size(); }

  // The answers; each gives false with an error text to refuse. Unset ones
  // refuse every request and poke and accept every topic and advise.
  std::function<bool(const std::string& topic, std::string& error)> OnConnect;
  std::function<bool(const std::string& item, std::string& value, std::string& error)> OnRequest;
  std::function<bool(const std::string& item, const std::string& value, std::string& error)>
      OnPoke;
  std::function<bool(const std::string& item, std::string& error)> OnAdvise;

 private:
  struct Client {
    int fd = -1;
    bool connected = false;
    LinkLineReader reader;
    std::string out;
    std::set<std::string> advised;
    bool closing = false;
  };
  void Handle(Client& c, const std::string& line);
  void Queue(Client& c, const LinkMessage& m);
  void Flush(Client& c);

  int listen_ = -1;
  std::string path_;
  std::vector<std::unique_ptr<Client>> clients_;
};

}  // namespace sv
