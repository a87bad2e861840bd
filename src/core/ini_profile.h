// Ini files with the habits of the Windows profile functions: section and key
// names compare case-insensitively, a missing key gives the default, integers
// are read the way GetPrivateProfileInt reads them, values are cut at 255
// characters, and writing keeps every other line of the file where it was.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace sv {

// The longest value a read returns (the reader's buffer is 256 with its NUL).
inline constexpr size_t kProfileValueMax = 255;

// The integer GetPrivateProfileInt gives for a value text: optional blanks,
// an optional sign, decimal digits (or "0x" and hex digits) up to the first
// other character; no digits give 0. Overflow wraps as the 32-bit reader does.
int ProfileTextToInt(const std::string& text);

// One ini file in memory. Lines are kept as read, so that writing touches only
// the lines it changes.
class Profile {
 public:
  Profile() = default;
  // Reads the file; a missing or unreadable file gives an empty profile.
  static Profile Load(const std::string& path);
  static Profile Parse(const std::string& text);

  std::optional<std::string> Get(const std::string& section, const std::string& key) const;
  std::string GetString(const std::string& section, const std::string& key,
                        const std::string& def) const;  // cut at 255 characters
  int GetInt(const std::string& section, const std::string& key, int def) const;
  // A single: blanks before it, a decimal comma for the point, an optional "+",
  // up to the first other character; nothing when the key is missing or holds
  // no finite number.
  std::optional<float> GetSingle(const std::string& section, const std::string& key) const;

  // Sets or adds the key; a new section is appended at the end.
  void Set(const std::string& section, const std::string& key, const std::string& value);
  void SetInt(const std::string& section, const std::string& key, long value);
  void RemoveKey(const std::string& section, const std::string& key);
  void RemoveSection(const std::string& section);

  std::vector<std::string> Sections() const;
  std::vector<std::string> Keys(const std::string& section) const;

  // The file's text. Lines end as the first line of the parsed text ended,
  // CR LF for a profile that had no line break yet.
  std::string Text() const;
  // Writes the whole file; false when it cannot be written.
  bool Save(const std::string& path) const;

 private:
  struct Range {
    size_t header, end;  // the header line and one past the section's last line
  };
  Range NextSection(size_t from, const std::string& section) const;
  std::optional<size_t> FindKey(const std::string& section, const std::string& key) const;

  std::vector<std::string> lines_;
  std::string eol_ = "\r\n";
};

// The profile calls by file name, each reading (and writing) the file anew.
// A bare file name, without any folder, stands for the per-user config folder,
// as Windows puts such files in its own folder.
std::string ResolveProfilePath(const std::string& file);
int GetPrivateProfileInt(const std::string& section, const std::string& key, int def,
                         const std::string& file);
std::string GetPrivateProfileString(const std::string& section, const std::string& key,
                                    const std::string& def, const std::string& file);
bool WritePrivateProfileString(const std::string& section, const std::string& key,
                               const std::string& value, const std::string& file);
// Saves a whole profile under a file name as the calls above resolve it; the
// config folder is made when a bare name needs it.
bool SaveProfileTo(const Profile& profile, const std::string& file);

}  // namespace sv
