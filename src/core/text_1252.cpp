#include "core/text_1252.h"

#include <cstdint>

namespace sv {

namespace {

// 0x80..0x9F; the rest of the code page is Latin-1.
constexpr char16_t kHigh[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,   // 80..87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,   // 88..8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,   // 90..97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};  // 98..9F

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out += char(cp);
  } else if (cp < 0x800) {
    out += char(0xC0 | (cp >> 6));
    out += char(0x80 | (cp & 0x3F));
  } else {
    out += char(0xE0 | (cp >> 12));
    out += char(0x80 | ((cp >> 6) & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  }
}

// The byte of a code point, or '?' when the code page has none.
char ByteOf(uint32_t cp) {
  if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return char(cp);
  for (int i = 0; i < 32; ++i)
    if (kHigh[i] == cp) return char(0x80 + i);
  return '?';
}

}  // namespace

std::string Utf8FromWindows1252(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (char ch : bytes) {
    const auto b = static_cast<unsigned char>(ch);
    AppendUtf8(out, b >= 0x80 && b <= 0x9F ? kHigh[b - 0x80] : b);
  }
  return out;
}

std::string Windows1252FromUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    const auto b = static_cast<unsigned char>(text[i]);
    int extra = b < 0x80 ? 0 : (b & 0xE0) == 0xC0 ? 1 : (b & 0xF0) == 0xE0 ? 2
                : (b & 0xF8) == 0xF0 ? 3 : -1;
    if (extra < 0 || i + size_t(extra) >= text.size() + (extra == 0 ? 1 : 0)) {
      out += '?';
      ++i;
      continue;
    }
    uint32_t cp = extra == 0 ? b : b & (0x3F >> extra);
    bool ok = true;
    for (int k = 1; k <= extra; ++k) {
      const auto c = static_cast<unsigned char>(text[i + size_t(k)]);
      if ((c & 0xC0) != 0x80) {
        ok = false;
        break;
      }
      cp = (cp << 6) | (c & 0x3F);
    }
    if (!ok) {
      out += '?';
      ++i;
      continue;
    }
    out += ByteOf(cp);
    i += size_t(extra) + 1;
  }
  return out;
}

}  // namespace sv
