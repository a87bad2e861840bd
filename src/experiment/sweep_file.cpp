#include "experiment/sweep_file.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "core/host.h"

namespace sv {

namespace {

constexpr size_t kShownTokenMax = 40;  // characters of a bad token in its message

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// A plain decimal number: an optional sign, digits with an optional point
// (at least one digit), an optional exponent.
bool IsDecimalNumber(std::string_view s) {
  size_t i = 0;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
  size_t digits = 0;
  while (i < s.size() && IsDigit(s[i])) ++i, ++digits;
  if (i < s.size() && s[i] == '.') {
    ++i;
    while (i < s.size() && IsDigit(s[i])) ++i, ++digits;
  }
  if (digits == 0) return false;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    size_t exp = 0;
    while (i < s.size() && IsDigit(s[i])) ++i, ++exp;
    if (exp == 0) return false;
  }
  return i == s.size();
}

// A token as a message shows it: printable characters only, cut when long.
std::string ShownToken(std::string_view token) {
  std::string out;
  for (char c : token.substr(0, kShownTokenMax))
    out += (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) ? '?' : c;
  if (token.size() > kShownTokenMax) out += "...";
  return out;
}

std::string BaseName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string& LastSweepFolder() {
  static std::string folder;
  return folder;
}

}  // namespace

std::string SweepValueText(double value) {
  if (!std::isfinite(value) || value == 0) return "0";
  char buf[400];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed);
  if (ec != std::errc()) return "0";
  return std::string(buf, ptr);
}

bool ReadSweepText(std::string_view text, int type, std::vector<std::string>& list,
                   std::string& message) {
  const bool times = type == 0;
  const char* name = times ? "Time[" : "Energy[";
  const char* unit = times ? " s" : " eV";
  const double lo = times ? kSweepTimeMin : kSweepEnergyMin;
  const double hi = times ? kSweepTimeMax : kSweepEnergyMax;
  // A file written by a Windows editor may begin with a byte order mark.
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);

  long index = 0;
  size_t pos = 0;
  while (pos < text.size()) {
    size_t end = text.find_first_of(",\r\n", pos);
    if (end == std::string_view::npos) end = text.size();
    std::string_view token = text.substr(pos, end - pos);
    pos = end + 1;
    while (!token.empty() && IsBlank(token.front())) token.remove_prefix(1);
    while (!token.empty() && IsBlank(token.back())) token.remove_suffix(1);
    if (token.empty()) continue;

    const std::string place = name + std::to_string(index) + "] = ";
    if (!IsDecimalNumber(token)) {
      message = place + ShownToken(token) + " is not a number";
      return false;
    }
    std::string_view digits = token;
    if (digits.front() == '+') digits.remove_prefix(1);
    double value = 0;
    const auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    // A number beyond what a double holds (either way) is out of range.
    if (ec != std::errc() || !std::isfinite(value)) {
      message = place + ShownToken(token) + unit + " is out of range";
      return false;
    }
    if (value < lo || value > hi) {
      message = place + SweepValueText(value) + unit + " is out of range";
      return false;
    }
    list.push_back(SweepValueText(value));
    ++index;
  }
  return true;
}

std::string SweepFilePath(const std::string& name) {
  if (name.empty() || name.find_first_of("/\\") != std::string::npos) return name;
  std::error_code ec;
  std::string folder = std::filesystem::current_path(ec).string();
  if (ec || folder.empty()) return name;
  if (folder.back() != '/' && folder.back() != '\\') folder += '/';
  return folder + name;
}

bool OpenSweepFileDo(const std::string& name, int type, std::vector<std::string>& list,
                     std::string& message) {
  const std::string path = SweepFilePath(name);
  std::error_code ec;
  std::ifstream in;
  if (!std::filesystem::is_directory(path, ec)) in.open(path, std::ios::binary);
  if (!in.is_open()) {
    message = "Cannot open " + path;
    return false;
  }
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) {
    message = "Cannot read " + path;
    return false;
  }
  return ReadSweepText(text, type, list, message);
}

bool OpenSweepFile(const std::string& name, int type, std::vector<std::string>& list,
                   std::string& path, std::string& shortName) {
  list.clear();
  std::string message;
  const bool ok = !name.empty() && OpenSweepFileDo(name, type, list, message);
  if (ok) {
    path = SweepFilePath(name);
    shortName = BaseName(path);
    LastSweepFolder() = FolderOf(path);
    return true;
  }
  if (!message.empty())
    host().MsgBox(message, MsgButtons::OK, MsgIcon::Exclamation, kSweepFileTitle);
  list.clear();
  path.clear();
  shortName.clear();
  return false;
}

bool SweepFileOpen(int type, std::vector<std::string>& list, std::string& path,
                   std::string& shortName) {
  FileDialog dlg;
  dlg.title = kSweepFileTitle;
  dlg.filter = kSweepFileFilter;
  dlg.folder = path.empty() ? LastSweepFolder() : FolderOf(path);
  dlg.fileName = BaseName(path);
  const FileDialogResult r = host().OpenFileDialog(dlg);
  if (r.path.empty()) return false;
  return OpenSweepFile(r.path, type, list, path, shortName);
}

}  // namespace sv
