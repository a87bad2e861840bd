// svbatch run in a forked child of the test program (the same code as the
// svbatch binary), its standard streams on pipes.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "cli/batch.h"

namespace sv::test {

// svbatch in a child process with its three standard streams on pipes.
class BatchChild {
 public:
  explicit BatchChild(std::vector<std::string> args) {
    int in[2], out[2], err[2];
    if (::pipe(in) != 0 || ::pipe(out) != 0 || ::pipe(err) != 0) return;
    std::cout.flush();
    std::cerr.flush();
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(in[0], STDIN_FILENO);
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(err[1], STDERR_FILENO);
      for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) ::close(fd);
      const int code = cli::RunBatch(args, std::cout, std::cerr);
      std::cout.flush();
      std::cerr.flush();
      ::_exit(code);
    }
    ::close(in[0]);
    ::close(out[1]);
    ::close(err[1]);
    in_ = in[1];
    out_ = out[0];
    err_ = err[0];
  }
  ~BatchChild() {
    if (pid_ > 0 && !exited_) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
    for (int fd : {in_, out_, err_})
      if (fd >= 0) ::close(fd);
  }
  pid_t Pid() const { return pid_; }
  void Write(const std::string& text) {
    if (::write(in_, text.data(), text.size()) < 0) ADD_FAILURE() << "write to the child failed";
  }
  void CloseInput() {
    ::close(in_);
    in_ = -1;
  }
  // The next line of standard output or error, "" when none comes in 10 s.
  std::string OutLine() { return Line(out_, outBuf_); }
  std::string ErrLine() { return Line(err_, errBuf_); }
  // The exit code, or -1 when the child does not end within 10 s.
  int Wait() {
    for (int i = 0; i < 2000; ++i) {
      int status = 0;
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
        exited_ = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return -1;
  }

 private:
  static std::string Line(int fd, std::string& buffer) {
    for (;;) {
      const size_t lf = buffer.find('\n');
      if (lf != std::string::npos) {
        std::string line = buffer.substr(0, lf);
        buffer.erase(0, lf + 1);
        return line;
      }
      pollfd p{fd, POLLIN, 0};
      if (::poll(&p, 1, 10000) <= 0) return "";
      char buf[4096];
      const ssize_t n = ::read(fd, buf, sizeof buf);
      if (n <= 0) return "";
      buffer.append(buf, static_cast<size_t>(n));
    }
  }
  pid_t pid_ = -1;
  int in_ = -1, out_ = -1, err_ = -1;
  bool exited_ = false;
  std::string outBuf_, errBuf_;
};

}  // namespace sv::test
