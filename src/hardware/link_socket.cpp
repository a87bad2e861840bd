#include "hardware/link_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "core/host.h"

namespace sv {

namespace {

constexpr size_t kMaxPendingOut = 4 * 1024 * 1024;

int64_t NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::string Errno(int e) { return std::strerror(e); }

bool FillAddress(const std::string& path, sockaddr_un& addr) {
  std::memset(&addr, 0, sizeof addr);
  addr.sun_family = AF_UNIX;
  if (path.size() >= sizeof addr.sun_path) return false;
  std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
  return true;
}

// Connects without blocking longer than `waitMs`; returns the socket or -1
// with errno set.
int ConnectTo(const std::string& path, int waitMs) {
  sockaddr_un addr;
  if (!FillAddress(path, addr)) {
    errno = ENAMETOOLONG;
    return -1;
  }
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return -1;
  if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) return fd;
  if (errno == EAGAIN || errno == EINPROGRESS) {
    pollfd p{fd, POLLOUT, 0};
    int soErr = ETIMEDOUT;
    if (::poll(&p, 1, waitMs) > 0) {
      socklen_t len = sizeof soErr;
      if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &soErr, &len) != 0) soErr = errno;
    }
    if (soErr == 0) return fd;
    errno = soErr;
  }
  const int e = errno;
  ::close(fd);
  errno = e;
  return -1;
}

bool MakeFolder(const std::string& folder) {
  // Each level in turn; the last one is private to the user.
  for (size_t i = 1; i <= folder.size(); ++i) {
    if (i < folder.size() && folder[i] != '/') continue;
    const std::string level = folder.substr(0, i);
    if (::mkdir(level.c_str(), i + 1 >= folder.size() ? 0700 : 0755) != 0 && errno != EEXIST)
      return false;
  }
  struct stat st {};
  return ::stat(folder.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

std::string LinkService(const std::string& topic) { return topic.substr(0, topic.find('|')); }

std::string LinkSocketFolder() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  std::string base = (runtime && *runtime) ? runtime : (HasHost() ? host().TempPath() : "/tmp/");
  if (base.empty() || base.back() != '/') base += '/';
  return base + "sv4200/";
}

bool LinkSocketPath(const std::string& service, std::string& path, std::string& error) {
  if (service.empty()) {
    error = "no service name";
    return false;
  }
  std::string name = service;
  for (char& c : name)
    if (c == '/' || c == '\0') c = '_';
  if (name == "." || name == "..") name = "_" + name;
  path = LinkSocketFolder() + name + ".sock";
  sockaddr_un addr;
  if (!FillAddress(path, addr)) {
    error = "socket path too long: " + path;
    return false;
  }
  return true;
}

// --- LinkClient -------------------------------------------------------------

LinkClient::~LinkClient() { Close(); }

bool LinkClient::Open(const std::string& topic, std::string& error) {
  Close();
  topic_ = topic;
  std::string path;
  if (!LinkSocketPath(LinkService(topic), path, error)) return false;
  fd_ = ConnectTo(path, TimeoutMs);
  if (fd_ < 0) {
    error = "no application serves \"" + topic + "\" (" + path + ": " + Errno(errno) + ")";
    return false;
  }
  reader_ = LinkLineReader();
  updates_.clear();
  LinkMessage answer;
  if (!Ask({LinkVerb::Connect, topic, ""}, answer, error)) {
    Fail();  // a refused topic leaves no half-open link
    return false;
  }
  return true;
}

void LinkClient::Close() {
  if (fd_ < 0) return;
  std::string ignored;
  Send(FormatLinkMessage({LinkVerb::Close, "", ""}) + "\n", ignored);
  Fail();
}

void LinkClient::Fail() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

bool LinkClient::Send(const std::string& line, std::string& error) {
  const int64_t deadline = NowMs() + TimeoutMs;
  size_t done = 0;
  while (done < line.size()) {
    const ssize_t n = ::send(fd_, line.data() + done, line.size() - done, MSG_NOSIGNAL);
    if (n > 0) {
      done += static_cast<size_t>(n);
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      const int64_t left = deadline - NowMs();
      pollfd p{fd_, POLLOUT, 0};
      if (left > 0 && ::poll(&p, 1, static_cast<int>(left)) >= 0) continue;
      error = "the application takes no data (" + std::to_string(TimeoutMs) + " ms)";
      Fail();
      return false;
    }
    error = "the link broke (" + Errno(errno) + ")";
    Fail();
    return false;
  }
  return true;
}

bool LinkClient::Receive(int waitMs, std::string& error) {
  pollfd p{fd_, POLLIN, 0};
  const int ready = ::poll(&p, 1, waitMs);
  if (ready < 0) return errno == EINTR;
  if (ready == 0) return true;
  char buf[16384];
  for (int round = 0; round < 64; ++round) {
    const ssize_t n = ::recv(fd_, buf, sizeof buf, MSG_DONTWAIT);
    if (n > 0) {
      reader_.Feed(buf, static_cast<size_t>(n));
      if (static_cast<size_t>(n) < sizeof buf) return true;
      continue;
    }
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) return true;
    error = n == 0 ? "the application closed the link" : "the link broke (" + Errno(errno) + ")";
    return false;
  }
  return true;
}

bool LinkClient::Ask(const LinkMessage& question, LinkMessage& answer, std::string& error) {
  if (fd_ < 0) {
    error = "the link is not open";
    return false;
  }
  if (!Send(FormatLinkMessage(question) + "\n", error)) return false;
  const int64_t deadline = NowMs() + TimeoutMs;
  std::string line;
  for (;;) {
    LinkLineReader::Result r;
    while ((r = reader_.Next(line)) != LinkLineReader::Result::None) {
      if (r != LinkLineReader::Result::Line) continue;
      LinkMessage m;
      std::string why;
      if (!ParseLinkMessage(line, m, why)) continue;  // not ours to answer
      if (m.verb == LinkVerb::Update) {
        updates_.emplace_back(std::move(m.item), std::move(m.value));
      } else if (m.verb == LinkVerb::Error) {
        error = m.value.empty() ? "refused" : m.value;
        return false;
      } else if (m.verb == LinkVerb::Ok || m.verb == LinkVerb::Value) {
        answer = std::move(m);
        return true;
      }
    }
    const int64_t left = deadline - NowMs();
    if (left <= 0) {
      error = "no answer within " + std::to_string(TimeoutMs) + " ms";
      Fail();  // a late answer must not be taken for the next one
      return false;
    }
    if (!Receive(static_cast<int>(left), error)) {
      Fail();
      return false;
    }
  }
}

bool LinkClient::Request(const std::string& item, std::string& value, std::string& error) {
  LinkMessage answer;
  if (!Ask({LinkVerb::Request, item, ""}, answer, error)) return false;
  if (answer.verb != LinkVerb::Value) {
    error = "no value for " + item;
    return false;
  }
  value = answer.value;
  return true;
}

bool LinkClient::Poke(const std::string& item, const std::string& value, std::string& error) {
  LinkMessage answer;
  return Ask({LinkVerb::Poke, item, value}, answer, error);
}

bool LinkClient::Advise(const std::string& item, std::string& error) {
  LinkMessage answer;
  return Ask({LinkVerb::Advise, item, ""}, answer, error);
}

int LinkClient::Poll() {
  if (fd_ >= 0) {
    std::string error;
    const bool alive = Receive(0, error);
    std::string line;
    LinkLineReader::Result r;
    while ((r = reader_.Next(line)) != LinkLineReader::Result::None) {
      LinkMessage m;
      std::string why;
      if (r == LinkLineReader::Result::Line && ParseLinkMessage(line, m, why) &&
          m.verb == LinkVerb::Update)
        updates_.emplace_back(std::move(m.item), std::move(m.value));
    }
    if (!alive) Fail();
  }
  auto pending = std::move(updates_);
  updates_.clear();
  int count = 0;
  for (auto& [item, value] : pending) {
    if (OnUpdate) OnUpdate(item, value);
    ++count;
  }
  return count;
}

// --- LinkServer -------------------------------------------------------------

LinkServer::~LinkServer() { Close(); }

bool LinkServer::Listen(const std::string& service, std::string& error) {
  Close();
  std::string path;
  if (!LinkSocketPath(service, path, error)) return false;
  const std::string folder = LinkSocketFolder();
  if (!MakeFolder(folder.substr(0, folder.size() - 1))) {
    error = "cannot make the folder " + folder + " (" + Errno(errno) + ")";
    return false;
  }
  struct stat st {};
  if (::lstat(path.c_str(), &st) == 0) {
    const int probe = ConnectTo(path, 200);
    if (probe >= 0) {
      ::close(probe);
      error = "another program serves " + service + " (" + path + ")";
      return false;
    }
    if (!S_ISSOCK(st.st_mode)) {
      error = path + " is in the way";
      return false;
    }
    ::unlink(path.c_str());  // left by a server that died
  }
  sockaddr_un addr;
  FillAddress(path, addr);
  listen_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (listen_ < 0 || ::bind(listen_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
      ::listen(listen_, 16) != 0) {
    error = "cannot listen on " + path + " (" + Errno(errno) + ")";
    if (listen_ >= 0) ::close(listen_);
    listen_ = -1;
    return false;
  }
  path_ = path;
  return true;
}

void LinkServer::Close() {
  for (auto& c : clients_) ::close(c->fd);
  clients_.clear();
  if (listen_ >= 0) {
    ::close(listen_);
    ::unlink(path_.c_str());
  }
  listen_ = -1;
}

void LinkServer::Queue(Client& c, const LinkMessage& m) {
  c.out += FormatLinkMessage(m);
  c.out += '\n';
}

void LinkServer::Flush(Client& c) {
  while (!c.out.empty() && c.fd >= 0) {
    const ssize_t n = ::send(c.fd, c.out.data(), c.out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) {
      c.out.erase(0, static_cast<size_t>(n));
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      if (c.out.size() > kMaxPendingOut) {  // a client that reads nothing
        c.closing = true;
        c.out.clear();
      }
      return;
    } else {
      c.closing = true;
      c.out.clear();
      return;
    }
  }
}

void LinkServer::Handle(Client& c, const std::string& line) {
  LinkMessage m;
  std::string error;
  if (!ParseLinkMessage(line, m, error)) {
    Queue(c, {LinkVerb::Error, "", error});
    return;
  }
  const bool needsTopic = m.verb == LinkVerb::Request || m.verb == LinkVerb::Poke ||
                          m.verb == LinkVerb::Advise || m.verb == LinkVerb::Unadvise;
  if (needsTopic && !c.connected) {
    Queue(c, {LinkVerb::Error, "", "not connected"});
    return;
  }
  bool ok = true;
  std::string value;
  switch (m.verb) {
    case LinkVerb::Connect:
      ok = !OnConnect || OnConnect(m.item, error);
      if (ok) c.connected = true;
      break;
    case LinkVerb::Request:
      ok = OnRequest && OnRequest(m.item, value, error);
      if (!OnRequest) error = "no item " + m.item;
      if (ok) {
        Queue(c, {LinkVerb::Value, m.item, value});
        return;
      }
      break;
    case LinkVerb::Poke:
      ok = OnPoke && OnPoke(m.item, m.value, error);
      if (!OnPoke) error = "no item " + m.item;
      break;
    case LinkVerb::Advise:
      ok = !OnAdvise || OnAdvise(m.item, error);
      if (ok) c.advised.insert(m.item);
      break;
    case LinkVerb::Unadvise: c.advised.erase(m.item); break;
    case LinkVerb::Close: c.closing = true; break;
    default:
      ok = false;
      error = "not a request";
  }
  if (ok) Queue(c, {LinkVerb::Ok, "", ""});
  else Queue(c, {LinkVerb::Error, "", error.empty() ? "refused" : error});
}

void LinkServer::Poll(int waitMs) {
  if (listen_ < 0) return;
  std::vector<pollfd> fds;
  fds.push_back({listen_, POLLIN, 0});
  for (auto& c : clients_)
    fds.push_back({c->fd, static_cast<short>(POLLIN | (c->out.empty() ? 0 : POLLOUT)), 0});
  if (::poll(fds.data(), fds.size(), waitMs) <= 0) return;

  for (size_t i = 1; i < fds.size(); ++i) {
    Client& c = *clients_[i - 1];
    if (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) {
      char buf[16384];
      for (int round = 0; round < 16; ++round) {
        const ssize_t n = ::recv(c.fd, buf, sizeof buf, MSG_DONTWAIT);
        if (n > 0) {
          c.reader.Feed(buf, static_cast<size_t>(n));
          continue;
        }
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) break;
        c.closing = true;  // the client went away
        break;
      }
      std::string line;
      LinkLineReader::Result r;
      while ((r = c.reader.Next(line)) != LinkLineReader::Result::None) {
        if (r == LinkLineReader::Result::TooLong) Queue(c, {LinkVerb::Error, "", "line too long"});
        else Handle(c, line);
      }
    }
    Flush(c);
  }
  for (size_t i = 0; i < clients_.size();) {
    if (clients_[i]->closing) {
      ::close(clients_[i]->fd);
      clients_.erase(clients_.begin() + static_cast<long>(i));
    } else {
      ++i;
    }
  }
  if (fds[0].revents & POLLIN) {
    for (;;) {
      const int fd = ::accept4(listen_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
      if (fd < 0) break;
      auto c = std::make_unique<Client>();
      c->fd = fd;
      clients_.push_back(std::move(c));
    }
  }
}

void LinkServer::Publish(const std::string& item, const std::string& value) {
  for (auto& c : clients_) {
    if (!c->advised.count(item)) continue;
    Queue(*c, {LinkVerb::Update, item, value});
    Flush(*c);
  }
}

}  // namespace sv
