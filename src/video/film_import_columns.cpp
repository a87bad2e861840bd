// The import's numbers: the ".txt" columns and the energy answers; plain
// text, no images.
#include <algorithm>
#include <charconv>
#include <cmath>

#include "video/film_import.h"
#include "video/video_file.h"

namespace sv {

namespace {

bool ParseFloat(std::string_view s, float& v) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return false;
  std::string t(s);
  std::replace(t.begin(), t.end(), ',', '.');
  const auto r = std::from_chars(t.data(), t.data() + t.size(), v);
  return r.ec == std::errc() && r.ptr == t.data() + t.size() && std::isfinite(v);
}

}  // namespace

bool ParseImportColumns(std::string_view text, ImportColumns& columns, std::string& error) {
  columns = ImportColumns{};
  error.clear();
  long number = 0;
  size_t count = 0;
  while (!text.empty()) {
    const size_t nl = text.find('\n');
    std::string_view line = text.substr(0, nl);
    text = nl == std::string_view::npos ? std::string_view() : text.substr(nl + 1);
    ++number;
    std::vector<std::string_view> fields;
    // Tabs or ";" part the fields; else ","; else blanks. A comma inside a
    // field is a decimal comma.
    const char* seps = line.find_first_of("\t;") != std::string_view::npos ? "\t;"
                       : line.find(',') != std::string_view::npos       ? ","
                                                                        : " ";
    size_t i = 0;
    while (i <= line.size()) {
      size_t j = line.find_first_of(seps, i);
      if (j == std::string_view::npos) j = line.size();
      std::string_view f = line.substr(i, j - i);
      while (!f.empty() && (f.front() == ' ' || f.front() == '\r')) f.remove_prefix(1);
      while (!f.empty() && (f.back() == ' ' || f.back() == '\r')) f.remove_suffix(1);
      if (!f.empty()) fields.push_back(f);
      i = j + 1;
    }
    if (fields.empty()) continue;
    if (fields.size() > size_t(kFilmMaxCols)) {
      error = "Line " + std::to_string(number) + ": more than 32 columns";
      return false;
    }
    std::vector<float> values;
    bool numbers = true;
    for (std::string_view f : fields) {
      float v = 0;
      if (!ParseFloat(f, v)) {
        numbers = false;
        break;
      }
      values.push_back(v);
    }
    if (!numbers) {
      if (count == 0 && columns.labels.empty()) {
        // Labels are parted by tabs, ";" or "," only: blanks belong to them.
        const char* labelSeps = std::string_view(seps) == " " ? "" : seps;
        size_t k = 0;
        while (k <= line.size()) {
          size_t j = *labelSeps ? line.find_first_of(labelSeps, k) : std::string_view::npos;
          if (j == std::string_view::npos) j = line.size();
          std::string_view f = line.substr(k, j - k);
          while (!f.empty() && (f.front() == ' ' || f.front() == '\r')) f.remove_prefix(1);
          while (!f.empty() && (f.back() == ' ' || f.back() == '\r')) f.remove_suffix(1);
          columns.labels.emplace_back(f);
          k = j + 1;
        }
        if (columns.labels.size() > size_t(kFilmMaxCols)) {
          error = "Line " + std::to_string(number) + ": more than 32 columns";
          return false;
        }
        continue;
      }
      error = "Line " + std::to_string(number) + ": not a line of numbers";
      return false;
    }
    if (count == 0 && columns.labels.empty()) {
      for (size_t c = 0; c < values.size(); ++c) columns.labels.push_back("Column " + std::to_string(c + 1));
    }
    if (values.size() != columns.labels.size()) {
      error = "Line " + std::to_string(number) + ": " + std::to_string(values.size()) +
              " numbers for " + std::to_string(columns.labels.size()) + " columns";
      return false;
    }
    columns.rows.push_back(std::move(values));
    ++count;
  }
  return true;
}

bool ParseStartEnergy(const std::string& text, float& energy) {
  float v = 0;
  if (!ParseFloat(text, v)) return false;
  if (v != 0 && (v < kImportMinEnergy || v > kImportMaxEnergy)) return false;
  energy = v;
  return true;
}

bool ParseStepEnergy(const std::string& text, float& step) {
  float v = 0;
  if (!ParseFloat(text, v) || v == 0) return false;
  step = v;
  return true;
}

}  // namespace sv
