#include "core/platform/platform.h"

#include <pwd.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "core/ini_profile.h"

namespace fs = std::filesystem;

namespace sv::platform {

std::string NativePath(const std::string& path) {
  std::string p = path;
  std::replace(p.begin(), p.end(), '\\', '/');
  return p;
}

std::string JoinPath(const std::string& folder, const std::string& name) {
  if (folder.empty()) return name;
  if (folder.back() == '/') return folder + name;
  return folder + "/" + name;
}

bool FileExists(const std::string& path) {
  std::error_code ec;
  return fs::is_regular_file(NativePath(path), ec);
}

bool FolderExists(const std::string& path) {
  std::error_code ec;
  return fs::is_directory(NativePath(path), ec);
}

bool CreateFolderChain(const std::string& path) {
  std::error_code ec;
  fs::path p(NativePath(path));
  fs::path acc;
  for (const auto& part : p) {
    acc /= part;
    if (acc.empty() || fs::is_directory(acc, ec)) continue;
    fs::create_directory(acc, ec);  // a level that fails stays absent
  }
  return fs::is_directory(p, ec);
}

std::string ExecutableFolder() {
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (ec) return fs::current_path(ec).string();
  return exe.parent_path().string();
}

std::string ExecutableName() {
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (ec) return "sv4200";
  return exe.stem().string();
}

std::string LoginName() {
  if (const struct passwd* pw = getpwuid(geteuid()); pw && pw->pw_name) return pw->pw_name;
  if (const char* u = std::getenv("USER"); u && *u) return u;
  return "";
}

std::string TempFolder() {
  const char* t = std::getenv("TMPDIR");
  std::string p = (t && *t) ? t : "/tmp";
  if (p.back() != '/') p += '/';
  return p;
}

std::string HomeFolder() {
  if (const char* h = std::getenv("HOME"); h && *h) return h;
  if (const struct passwd* pw = getpwuid(geteuid()); pw && pw->pw_dir) return pw->pw_dir;
  return "/tmp";
}

std::string ConfigFolder() {
  const char* x = std::getenv("XDG_CONFIG_HOME");
  std::string base = (x && *x) ? std::string(x) : HomeFolder() + "/.config";
  return base + "/sv4200";
}

int64_t FreeDiskSpace(const std::string& path) {
  struct statvfs st {};
  if (statvfs(NativePath(path).c_str(), &st) != 0) return -1;
  return static_cast<int64_t>(st.f_bavail) * static_cast<int64_t>(st.f_frsize);
}

uint32_t MonotonicMilliseconds() {
  using namespace std::chrono;
  return static_cast<uint32_t>(
      duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

IniUserStore::IniUserStore(std::string folder) : folder_(std::move(folder)) {}

std::string IniUserStore::FileFor(const std::string& app) const {
  return JoinPath(folder_, "user-" + app + ".ini");
}

bool IniUserStore::Holds(const std::string& app) { return FileExists(FileFor(app)); }

std::string IniUserStore::GetSetting(const std::string& app, const std::string& section,
                                     const std::string& key, const std::string& def) {
  return Profile::Load(FileFor(app)).GetString(section, key, def);
}

void IniUserStore::SaveSetting(const std::string& app, const std::string& section,
                               const std::string& key, const std::string& value) {
  CreateFolderChain(folder_);
  std::string file = FileFor(app);
  Profile p = Profile::Load(file);
  p.Set(section, key, value);
  p.Save(file);
}

}  // namespace sv::platform
