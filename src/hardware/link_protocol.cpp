#include "hardware/link_protocol.h"

#include <array>
#include <cctype>

namespace sv {

namespace {

struct VerbName {
  LinkVerb verb;
  const char* name;
  int fields;  // 0: none, 1: one name (or text), 2: name and value
};

constexpr std::array<VerbName, 10> kVerbs{{
    {LinkVerb::Connect, "CONNECT", 1},
    {LinkVerb::Request, "REQUEST", 1},
    {LinkVerb::Poke, "POKE", 2},
    {LinkVerb::Advise, "ADVISE", 1},
    {LinkVerb::Unadvise, "UNADVISE", 1},
    {LinkVerb::Close, "CLOSE", 0},
    {LinkVerb::Ok, "OK", 1},
    {LinkVerb::Error, "ERROR", 1},
    {LinkVerb::Value, "VALUE", 2},
    {LinkVerb::Update, "UPDATE", 2},
}};

bool SameWord(std::string_view a, const char* b) {
  size_t i = 0;
  for (; i < a.size() && b[i]; ++i)
    if (std::toupper(static_cast<unsigned char>(a[i])) != b[i]) return false;
  return i == a.size() && b[i] == '\0';
}

int Hex(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The text fields of OK and ERROR, which may be empty and carry no item.
bool IsText(LinkVerb verb) { return verb == LinkVerb::Ok || verb == LinkVerb::Error; }

}  // namespace

const char* LinkVerbName(LinkVerb verb) {
  for (const auto& v : kVerbs)
    if (v.verb == verb) return v.name;
  return "?";
}

std::string LinkEscape(std::string_view text, bool last) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    switch (c) {
      case '\\': out += "\\\\"; break;
      case '\t': out += "\\t"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case ' ':
        if (last) out += ' ';
        else out += "\\s";
        break;
      default:
        if (c < 0x20 || c == 0x7F) {
          out += "\\x";
          out += kDigits[c >> 4];
          out += kDigits[c & 15];
        } else {
          out += ch;
        }
    }
  }
  return out;
}

bool LinkUnescape(std::string_view text, std::string& out) {
  out.clear();
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out += text[i];
      continue;
    }
    if (++i >= text.size()) return false;
    switch (text[i]) {
      case '\\': out += '\\'; break;
      case 's': out += ' '; break;
      case 't': out += '\t'; break;
      case 'n': out += '\n'; break;
      case 'r': out += '\r'; break;
      case 'x': {
        if (i + 2 >= text.size()) return false;
        const int hi = Hex(text[i + 1]), lo = Hex(text[i + 2]);
        if (hi < 0 || lo < 0) return false;
        out += static_cast<char>(hi * 16 + lo);
        i += 2;
        break;
      }
      default: return false;
    }
  }
  return true;
}

std::string FormatLinkMessage(const LinkMessage& message) {
  int fields = 0;
  for (const auto& v : kVerbs)
    if (v.verb == message.verb) fields = v.fields;
  std::string line = LinkVerbName(message.verb);
  if (IsText(message.verb)) {
    if (!message.value.empty()) line += ' ' + LinkEscape(message.value, true);
  } else if (fields == 1) {
    line += ' ' + LinkEscape(message.item, true);
  } else if (fields == 2) {
    line += ' ' + LinkEscape(message.item, false) + ' ' + LinkEscape(message.value, true);
  }
  return line;
}

bool ParseLinkMessage(std::string_view line, LinkMessage& message, std::string& error) {
  message = LinkMessage{};
  if (!line.empty() && line.back() == '\n') line.remove_suffix(1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  if (line.size() > kLinkMaxLine) {
    error = "line too long";
    return false;
  }
  const size_t space = line.find(' ');
  const std::string_view word = line.substr(0, space);
  const std::string_view rest =
      space == std::string_view::npos ? std::string_view() : line.substr(space + 1);
  const VerbName* verb = nullptr;
  for (const auto& v : kVerbs)
    if (SameWord(word, v.name)) verb = &v;
  if (!verb) {
    error = word.empty() ? "empty line" : "unknown verb";
    return false;
  }
  message.verb = verb->verb;
  if (verb->fields == 0) return true;  // anything after CLOSE is ignored
  if (IsText(verb->verb)) {
    if (!LinkUnescape(rest, message.value)) {
      error = "bad escape";
      return false;
    }
    return true;
  }
  std::string_view name = rest, value;
  if (verb->fields == 2) {
    const size_t cut = rest.find(' ');
    name = rest.substr(0, cut);
    if (cut != std::string_view::npos) value = rest.substr(cut + 1);
  }
  if (name.empty()) {
    error = verb->verb == LinkVerb::Connect ? "no topic" : "no item";
    return false;
  }
  if (!LinkUnescape(name, message.item) || !LinkUnescape(value, message.value)) {
    error = "bad escape";
    return false;
  }
  return true;
}

void LinkLineReader::Feed(const char* data, size_t size) {
  if (start_ > 0 && start_ == buffer_.size()) {
    buffer_.clear();
    start_ = 0;
  }
  buffer_.append(data, size);
}

LinkLineReader::Result LinkLineReader::Next(std::string& line) {
  for (;;) {
    const size_t lf = buffer_.find('\n', start_);
    if (skipping_) {
      if (lf == std::string::npos) {
        buffer_.clear();
        start_ = 0;
        break;
      }
      start_ = lf + 1;
      skipping_ = false;
      continue;
    }
    if (lf == std::string::npos) {
      if (buffer_.size() - start_ > kLinkMaxLine + 1) {  // room for a CR
        buffer_.clear();
        start_ = 0;
        skipping_ = true;
        reportTooLong_ = true;
      }
      break;
    }
    if (lf - start_ > kLinkMaxLine + 1) {
      start_ = lf + 1;
      return Result::TooLong;
    }
    line.assign(buffer_, start_, lf - start_);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    start_ = lf + 1;
    if (start_ > 4096 && start_ * 2 > buffer_.size()) {
      buffer_.erase(0, start_);
      start_ = 0;
    }
    return Result::Line;
  }
  if (reportTooLong_) {
    reportTooLong_ = false;
    return Result::TooLong;
  }
  return Result::None;
}

}  // namespace sv
