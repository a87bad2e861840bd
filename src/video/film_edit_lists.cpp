// The selection and frame lists of the film editor; plain text, no film.
#include <algorithm>
#include <charconv>
#include <fstream>

#include "video/film_edit.h"

namespace sv {

namespace {

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
  return s;
}

// A whole decimal integer, blanks around allowed.
bool ParseInt(std::string_view s, int64_t& v) {
  s = Trim(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return false;
  const auto r = std::from_chars(s.data(), s.data() + s.size(), v);
  return r.ec == std::errc() && r.ptr == s.data() + s.size();
}

// The lines of a text without their comments, each with its line number.
template <typename F>
void ForEachLine(std::string_view text, F&& f) {
  long number = 0;
  while (!text.empty() || number == 0) {
    const size_t nl = text.find('\n');
    std::string_view line = text.substr(0, nl);
    text = nl == std::string_view::npos ? std::string_view() : text.substr(nl + 1);
    ++number;
    const size_t semi = line.find(';');
    if (semi != std::string_view::npos) line = line.substr(0, semi);
    line = Trim(line);
    if (!line.empty()) f(line, number);
    if (nl == std::string_view::npos) break;
  }
}

}  // namespace

// --- The lists ---------------------------------------------------------------

long ParseSelectionList(std::string_view text, std::vector<int32_t>& mask) {
  const int64_t frames = int64_t(mask.size());
  long marked = 0;
  ForEachLine(text, [&](std::string_view line, long) {
    int64_t part[3] = {0, 0, 1};
    int parts = 0;
    while (parts < 3) {
      const size_t comma = line.find(',');
      if (!ParseInt(line.substr(0, comma), part[parts])) return;
      ++parts;
      if (comma == std::string_view::npos) break;
      line = line.substr(comma + 1);
      if (parts == 3) return;  // a fourth number
    }
    const int64_t first = part[0];
    const int64_t last = parts >= 2 ? part[1] : first;
    int64_t step = parts == 3 ? part[2] : 1;
    if (step == 0) step = 1;
    // Only the frames of the film are visited, however wide the range.
    int64_t lo = std::min(first, last), hi = std::max(first, last);
    if ((step > 0 && first > last) || (step < 0 && first < last)) return;  // an empty range
    lo = std::max<int64_t>(lo, 0);
    hi = std::min<int64_t>(hi, frames - 1);
    if (lo > hi) return;
    const int64_t s = step > 0 ? step : -step;
    // The frames lie on first + k * step.
    int64_t k0 = 0;
    if (step > 0 && first < lo) k0 = (lo - first + s - 1) / s;
    if (step < 0 && first > hi) k0 = (first - hi + s - 1) / s;
    for (int64_t f = first + k0 * step; f >= lo && f <= hi; f += step) {
      if (mask[size_t(f)] != kDeleteFrame) ++marked;
      mask[size_t(f)] = kDeleteFrame;
    }
  });
  return marked;
}

bool ParseFrameList(std::string_view text, long frames, std::vector<long>& order,
                    std::string& error) {
  order.clear();
  error.clear();
  ForEachLine(text, [&](std::string_view line, long number) {
    if (!error.empty()) return;
    int64_t v = 0;
    if (!ParseInt(line, v))
      error = "Line " + std::to_string(number) + ": \"" + std::string(line) + "\" is no frame number";
    else if (v < 0 || v >= frames)
      error = "Line " + std::to_string(number) + ": frame " + std::to_string(v) +
              " does not exist (0 ... " + std::to_string(frames - 1) + ")";
    else
      order.push_back(long(v));
  });
  if (error.empty() && order.empty()) error = "The list holds no frame";
  return error.empty();
}

bool ReadSmallTextFile(const std::string& path, std::string& text, size_t limit) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  text.clear();
  char chunk[65536];
  while (in && text.size() < limit) {
    in.read(chunk, sizeof chunk);
    text.append(chunk, size_t(in.gcount()));
  }
  if (text.size() > limit) text.resize(limit);
  return !in.bad();
}

}  // namespace sv
