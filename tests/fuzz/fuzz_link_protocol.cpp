// Any bytes as a stream of link messages: cutting them into lines and
// reading each line must never crash, and what is read must be written back
// to a line that reads the same.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "hardware/link_protocol.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_link_protocol: %s\n", what);
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* bytes = reinterpret_cast<const char*>(data);
  // The stream in two pieces, split where the first byte says.
  const size_t cut = size ? data[0] % (size + 1) : 0;
  sv::LinkLineReader reader;
  reader.Feed(bytes, cut);
  reader.Feed(bytes + cut, size - cut);

  std::string line;
  for (int guard = 0; guard < 100000; ++guard) {
    const auto r = reader.Next(line);
    if (r == sv::LinkLineReader::Result::None) break;
    if (r == sv::LinkLineReader::Result::TooLong) continue;
    Check(line.size() <= sv::kLinkMaxLine + 1, "line longer than the limit");
    Check(line.find('\n') == std::string::npos, "line end inside a line");

    sv::LinkMessage m;
    std::string error;
    if (!sv::ParseLinkMessage(line, m, error)) {
      Check(!error.empty(), "refused without a reason");
      continue;
    }
    const std::string again = sv::FormatLinkMessage(m);
    Check(again.find_first_of("\r\n") == std::string::npos, "written line holds a line end");
    sv::LinkMessage back;
    Check(sv::ParseLinkMessage(again, back, error), "written line not readable");
    Check(back.verb == m.verb && back.item == m.item && back.value == m.value,
          "message changed on its way back");
  }

  // Each field escapes and comes back.
  const std::string text(bytes, size);
  std::string out;
  Check(sv::LinkUnescape(sv::LinkEscape(text, false), out) && out == text, "escape round trip");
  Check(sv::LinkEscape(text, false).find_first_of(" \t\r\n") == std::string::npos,
        "escaped name holds a separator");
  (void)sv::LinkUnescape(text, out);
  return 0;
}
