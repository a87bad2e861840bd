// Where the workbench's Windows habits meet Linux: path separators, folders,
// the user's name, the per-user store as an ini file.
#pragma once

#include <cstdint>
#include <string>

#include "core/host.h"

namespace sv::platform {

// "\" becomes "/"; everything else is left alone.
std::string NativePath(const std::string& path);
// Joins a folder and a name with exactly one "/".
std::string JoinPath(const std::string& folder, const std::string& name);

bool FileExists(const std::string& path);
bool FolderExists(const std::string& path);
// Creates the chain level by level; false when the last level is still missing.
bool CreateFolderChain(const std::string& path);

std::string ExecutableFolder();  // folder of /proc/self/exe
std::string ExecutableName();    // its file name without extension
std::string LoginName();         // "" when none can be read
std::string TempFolder();        // $TMPDIR or /tmp, with a trailing "/"
std::string ConfigFolder();      // $XDG_CONFIG_HOME/sv4200, or ~/.config/sv4200
std::string HomeFolder();        // $HOME, or the password entry's home
int64_t FreeDiskSpace(const std::string& path);
uint32_t MonotonicMilliseconds();

// The per-user store as an ini file per application key, kept in ConfigFolder().
class IniUserStore : public UserStore {
 public:
  explicit IniUserStore(std::string folder);
  std::string GetSetting(const std::string& app, const std::string& section,
                         const std::string& key, const std::string& def) override;
  void SaveSetting(const std::string& app, const std::string& section, const std::string& key,
                   const std::string& value) override;
  bool Holds(const std::string& app) override;  // its file exists
  std::string FileFor(const std::string& app) const;

 private:
  std::string folder_;
};

}  // namespace sv::platform
