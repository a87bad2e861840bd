// Any bytes as an ini file: parsing, reading, writing and the text round trip
// must neither crash nor lose what was written.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/ini_profile.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_ini_profile: %s\n", what);
    std::abort();
  }
}

bool Has(const std::string& s, const char* chars) { return s.find_first_of(chars) != std::string::npos; }

bool Plain(const std::string& s) {
  return !Has(s, "\r\n") && (s.empty() || (s.front() != ' ' && s.front() != '\t' &&
                                           s.back() != ' ' && s.back() != '\t'));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  const std::string section = in.ConsumeRandomLengthString(40);
  const std::string key = in.ConsumeRandomLengthString(40);
  const std::string value = in.ConsumeRandomLengthString(300);
  const std::string text = in.ConsumeRemainingBytesAsString();

  sv::Profile p = sv::Profile::Parse(text);
  for (const auto& s : p.Sections())
    for (const auto& k : p.Keys(s)) {
      Check(p.Get(s, k).has_value(), "a listed key cannot be read");
      Check(p.GetString(s, k, "").size() <= sv::kProfileValueMax, "value longer than 255");
      (void)p.GetInt(s, k, 0);
    }
  (void)sv::ProfileTextToInt(text);

  // The text of a parsed file parses to itself.
  const std::string t1 = p.Text();
  Check(sv::Profile::Parse(t1).Text() == t1, "text round trip");

  p.Set(section, key, value);
  const std::string t2 = p.Text();
  const sv::Profile back = sv::Profile::Parse(t2);
  Check(back.Text() == t2, "text round trip after a write");

  // A well-formed name and value read back as written.
  const bool quoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                      value.back() == value.front();
  const bool keyOk = Plain(key) && !key.empty() && !Has(key, "=") && key.front() != ';' &&
                     key.front() != '[';
  if (Plain(section) && keyOk && Plain(value) && !quoted) {
    Check(p.Get(section, key) == value, "written value not read back");
    Check(back.Get(section, key) == value, "written value lost in the text");
  }
  return 0;
}
