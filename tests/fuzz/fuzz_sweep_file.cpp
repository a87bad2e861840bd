// Any bytes as a sweep file: the reading ends with a list or with a message
// that names the place of the bad value, and what was read reads again the
// same.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "experiment/sweep_file.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_sweep_file: %s\n", what);
    std::abort();
  }
}

bool EndsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte picks the setup: times or energies.
  const int type = data[0] & 1;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  std::vector<std::string> list;
  std::string message;
  const bool ok = sv::ReadSweepText(text, type, list, message);

  Check(ok == message.empty(), "a message exactly when the file is refused");
  if (!ok) {
    const std::string place =
        (type == 0 ? "Time[" : "Energy[") + std::to_string(list.size()) + "] = ";
    Check(message.compare(0, place.size(), place) == 0, "the message names the bad value's place");
    Check(EndsWith(message, " is not a number") || EndsWith(message, " is out of range"),
          "the message says what is wrong");
  }

  // The values kept are in range and read again as the same list.
  std::string again;
  for (const std::string& v : list) again += v + "\r\n";
  std::vector<std::string> second;
  std::string secondMessage;
  Check(sv::ReadSweepText(again, type, second, secondMessage), "a kept value is refused");
  Check(second == list, "a kept value changes when read again");
  return 0;
}
