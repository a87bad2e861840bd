#include "core/ini_profile.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <sstream>

#include "core/host.h"
#include "core/platform/platform.h"

namespace sv {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string Trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && IsBlank(s[b])) ++b;
  while (e > b && IsBlank(s[e - 1])) --e;
  return s.substr(b, e - b);
}

bool SameName(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

// A line that starts with ";" is a comment, even when it holds "=".
bool IsComment(const std::string& line) {
  for (char c : line) {
    if (IsBlank(c)) continue;
    return c == ';';
  }
  return false;
}

// "[name]": the name runs from the first "[" to the last "]" of the line, blanks
// around it trimmed. Anything behind that "]" is ignored.
bool SectionName(const std::string& line, std::string* name) {
  size_t b = 0;
  while (b < line.size() && IsBlank(line[b])) ++b;
  if (b >= line.size() || line[b] != '[') return false;
  size_t e = line.rfind(']');
  if (e == std::string::npos || e <= b) return false;
  if (name) *name = Trim(line.substr(b + 1, e - b - 1));
  return true;
}

// "key = value": the key is the trimmed text before the first "=".
bool KeyOf(const std::string& line, std::string* key) {
  if (IsComment(line)) return false;
  size_t eq = line.find('=');
  if (eq == std::string::npos) return false;
  if (key) *key = Trim(line.substr(0, eq));
  return true;
}

// The trimmed value; one pair of matching quotes around it is taken off, as
// the Windows reader does.
std::string ValueOf(const std::string& line) {
  std::string v = Trim(line.substr(line.find('=') + 1));
  if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front())
    v = v.substr(1, v.size() - 2);
  return v;
}

std::string Cut(const std::string& s) {
  return s.size() > kProfileValueMax ? s.substr(0, kProfileValueMax) : s;
}

// Line breaks inside a written key or value would break the file apart.
std::string OneLine(std::string s) {
  std::replace(s.begin(), s.end(), '\r', ' ');
  std::replace(s.begin(), s.end(), '\n', ' ');
  return s;
}

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 99;
}

}  // namespace

// The reading rule:
//   - blanks and tabs in front are skipped;
//   - one "+" or "-" may follow;
//   - "0x" or "0X" switches to hexadecimal digits, otherwise decimal digits;
//   - digits are taken up to the first character that is not one ("12abc" is 12);
//   - no digits at all give 0 ("abc", "-", "0x" and "0xg" are 0);
//   - the number is gathered in 32 unsigned bits, wrapping on overflow, then
//     negated for "-" and taken as a signed 32-bit value, as the Windows reader
//     returns it ("4294967295" is -1, "2147483648" is -2147483648).
int ProfileTextToInt(const std::string& text) {
  size_t i = 0;
  while (i < text.size() && IsBlank(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
    negative = text[i] == '-';
    ++i;
  }
  uint32_t base = 10;
  if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) {
    base = 16;
    i += 2;
  }
  uint32_t value = 0;
  for (; i < text.size(); ++i) {
    int d = DigitValue(text[i]);
    if (d >= static_cast<int>(base)) break;
    value = value * base + static_cast<uint32_t>(d);
  }
  if (negative) value = 0u - value;
  return static_cast<int>(value);
}

Profile Profile::Load(const std::string& path) {
  std::ifstream f(platform::NativePath(path), std::ios::binary);
  if (!f) return Profile();
  std::stringstream ss;
  ss << f.rdbuf();
  return Parse(ss.str());
}

Profile Profile::Parse(const std::string& text) {
  Profile p;
  size_t nl = text.find('\n');
  if (nl != std::string::npos) p.eol_ = (nl > 0 && text[nl - 1] == '\r') ? "\r\n" : "\n";
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    while (!line.empty() && line.back() == '\r') line.pop_back();
    p.lines_.push_back(std::move(line));
    start = end + 1;
  }
  return p;
}

Profile::Range Profile::NextSection(size_t from, const std::string& section) const {
  const std::string wanted = Trim(section);
  std::string name;
  for (size_t i = from; i < lines_.size(); ++i) {
    if (!SectionName(lines_[i], &name) || !SameName(name, wanted)) continue;
    size_t end = i + 1;
    while (end < lines_.size() && !SectionName(lines_[end], nullptr)) ++end;
    return {i, end};
  }
  return {lines_.size(), lines_.size()};
}

std::optional<size_t> Profile::FindKey(const std::string& section, const std::string& key) const {
  std::string k;
  for (Range r = NextSection(0, section); r.header < lines_.size(); r = NextSection(r.end, section))
    for (size_t i = r.header + 1; i < r.end; ++i)
      if (KeyOf(lines_[i], &k) && SameName(k, key)) return i;
  return std::nullopt;
}

std::optional<std::string> Profile::Get(const std::string& section,
                                        const std::string& key) const {
  auto i = FindKey(section, Trim(key));
  if (!i) return std::nullopt;
  return ValueOf(lines_[*i]);
}

std::string Profile::GetString(const std::string& section, const std::string& key,
                               const std::string& def) const {
  return Cut(Get(section, key).value_or(def));
}

// A key that is missing, or present with nothing behind "=", gives the default.
int Profile::GetInt(const std::string& section, const std::string& key, int def) const {
  auto v = Get(section, key);
  if (!v || v->empty()) return def;
  return ProfileTextToInt(Cut(*v));
}

std::optional<float> Profile::GetSingle(const std::string& section, const std::string& key) const {
  std::optional<std::string> value = Get(section, key);
  if (!value) return std::nullopt;
  std::string text = *value;
  std::replace(text.begin(), text.end(), ',', '.');
  const size_t b = text.find_first_not_of(" \t");
  if (b == std::string::npos) return std::nullopt;
  const char* first = text.data() + b;
  if (*first == '+') ++first;
  float v = 0;
  auto [ptr, ec] = std::from_chars(first, text.data() + text.size(), v);
  if (ec != std::errc() || !std::isfinite(v)) return std::nullopt;
  return v;
}

void Profile::Set(const std::string& section, const std::string& key, const std::string& value) {
  const std::string sec = Trim(OneLine(section));
  const std::string k = Trim(OneLine(key));
  const std::string v = OneLine(value);
  if (auto i = FindKey(sec, k)) {
    std::string old;
    KeyOf(lines_[*i], &old);
    lines_[*i] = old + "=" + v;  // the key keeps the spelling of the file
    return;
  }
  Range r = NextSection(0, sec);
  if (r.header < lines_.size()) {
    size_t at = r.end;
    while (at > r.header + 1 && Trim(lines_[at - 1]).empty()) --at;
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(at), k + "=" + v);
    return;
  }
  if (!lines_.empty() && !Trim(lines_.back()).empty()) lines_.push_back("");
  lines_.push_back("[" + sec + "]");
  lines_.push_back(k + "=" + v);
}

void Profile::SetInt(const std::string& section, const std::string& key, long value) {
  Set(section, key, std::to_string(value));
}

void Profile::RemoveKey(const std::string& section, const std::string& key) {
  while (auto i = FindKey(section, Trim(key)))
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(*i));
}

void Profile::RemoveSection(const std::string& section) {
  for (Range r = NextSection(0, section); r.header < lines_.size(); r = NextSection(0, section))
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(r.header),
                 lines_.begin() + static_cast<std::ptrdiff_t>(r.end));
}

std::vector<std::string> Profile::Sections() const {
  std::vector<std::string> out;
  std::string name;
  for (const auto& line : lines_) {
    if (!SectionName(line, &name)) continue;
    bool seen = std::any_of(out.begin(), out.end(),
                            [&](const std::string& s) { return SameName(s, name); });
    if (!seen) out.push_back(name);
  }
  return out;
}

std::vector<std::string> Profile::Keys(const std::string& section) const {
  std::vector<std::string> out;
  std::string k;
  for (Range r = NextSection(0, section); r.header < lines_.size(); r = NextSection(r.end, section))
    for (size_t i = r.header + 1; i < r.end; ++i) {
      if (!KeyOf(lines_[i], &k)) continue;
      bool seen = std::any_of(out.begin(), out.end(),
                              [&](const std::string& s) { return SameName(s, k); });
      if (!seen) out.push_back(k);
    }
  return out;
}

std::string Profile::Text() const {
  std::string out;
  for (const auto& line : lines_) {
    out += line;
    out += eol_;
  }
  return out;
}

bool Profile::Save(const std::string& path) const {
  std::ofstream f(platform::NativePath(path), std::ios::binary | std::ios::trunc);
  if (!f) return false;
  f << Text();
  f.flush();
  return static_cast<bool>(f);
}

std::string ResolveProfilePath(const std::string& file) {
  if (file.find('/') != std::string::npos || file.find('\\') != std::string::npos)
    return platform::NativePath(file);
  std::string folder = HasHost() ? host().ConfigFolder() : platform::ConfigFolder();
  return platform::JoinPath(folder, file);
}

namespace {
// A bare name lands in the config folder, which may not exist yet.
void MakeFolderFor(const std::string& file, const std::string& resolved) {
  if (file.find('/') == std::string::npos && file.find('\\') == std::string::npos) {
    size_t slash = resolved.rfind('/');
    if (slash != std::string::npos && slash > 0)
      platform::CreateFolderChain(resolved.substr(0, slash));
  }
}
}  // namespace

int GetPrivateProfileInt(const std::string& section, const std::string& key, int def,
                         const std::string& file) {
  return Profile::Load(ResolveProfilePath(file)).GetInt(section, key, def);
}

std::string GetPrivateProfileString(const std::string& section, const std::string& key,
                                    const std::string& def, const std::string& file) {
  return Profile::Load(ResolveProfilePath(file)).GetString(section, key, def);
}

bool WritePrivateProfileString(const std::string& section, const std::string& key,
                               const std::string& value, const std::string& file) {
  std::string path = ResolveProfilePath(file);
  MakeFolderFor(file, path);
  Profile p = Profile::Load(path);
  p.Set(section, key, value);
  return p.Save(path);
}

bool SaveProfileTo(const Profile& profile, const std::string& file) {
  std::string path = ResolveProfilePath(file);
  MakeFolderFor(file, path);
  return profile.Save(path);
}

}  // namespace sv
