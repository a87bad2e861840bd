#include "core/error_log.h"

#include <spawn.h>
#include <sys/wait.h>

#include <ctime>
#include <filesystem>
#include <fstream>

#include "core/host.h"
#include "core/platform/platform.h"

extern char** environ;

namespace sv {

namespace {

std::string Now(const char* format) {
  std::time_t now = std::time(nullptr);
  std::tm tm{};
  localtime_r(&now, &tm);
  char buf[64];
  std::strftime(buf, sizeof buf, format, &tm);
  return buf;
}

// The length of the file as it is now; -1 when it cannot be measured.
int32_t FileLength(const std::string& path) {
  std::error_code ec;
  auto n = std::filesystem::file_size(path, ec);
  return ec ? -1 : static_cast<int32_t>(n);
}

}  // namespace

Class_ErrorLog::Class_ErrorLog(std::string filename) : filename_(std::move(filename)) {
  MaxSize_ = 4096;
  Enabled_ = Clear();  // a log that cannot be written stays off
}

Class_ErrorLog::~Class_ErrorLog() {
  if (Size_ >= MaxSize_) {
    Enabled_ = true;
    AddItem("...");
  }
  Enabled_ = true;
  AddItem("End");
}

std::string Class_ErrorLog::DefaultFilename() {
  return platform::JoinPath(host().ProgramFolder(), host().ExeName() + ".log");
}

bool Class_ErrorLog::AddItem(const std::string& text) {
  if (!Enabled_) return true;
  try {
    std::ofstream f(platform::NativePath(filename_), std::ios::binary | std::ios::app);
    if (!f) return false;
    f << Now("%H:%M:%S") << ' ' << std::string(2 * static_cast<size_t>(Indent_), ' ') << text
      << '\n';
    f.close();
    if (!f) return false;
    Size_ = FileLength(platform::NativePath(filename_));
    // The log stops at its limit; it neither wraps nor rotates.
    if (Size_ >= MaxSize_) Enabled_ = false;
    return true;
  } catch (...) {
    return false;
  }
}

bool Class_ErrorLog::Clear() {
  try {
    std::ofstream f(platform::NativePath(filename_), std::ios::binary | std::ios::trunc);
    if (!f) return false;
    f << Now("%Y-%m-%d") << " SV4200 Log File\n";
    f.close();
    if (!f) return false;
    Size_ = FileLength(platform::NativePath(filename_));
    return true;
  } catch (...) {
    return false;
  }
}

void Class_ErrorLog::IncSpace() { ++Indent_; }

void Class_ErrorLog::DecSpace() {
  if (Indent_ > 0) --Indent_;
}

// The viewer runs on by itself: a shell starts it in the background and ends
// at once, so nothing waits for the viewer and no child is left behind.
void Class_ErrorLog::Show() {
  std::string file = platform::NativePath(filename_);
  const char* argv[] = {"/bin/sh", "-c", "xdg-open \"$1\" >/dev/null 2>&1 &", "sh", file.c_str(),
                        nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char* const*>(argv), environ) != 0)
    return;
  int status = 0;
  waitpid(pid, &status, 0);
}

}  // namespace sv
