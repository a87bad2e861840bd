// Any bytes as "FrameList.txt" for a film of up to 65535 frames (the first
// two bytes): either an order of frames that all exist, or a reason.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "video/film_edit.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const long frames = long(data[0] | data[1] << 8);
  const std::string_view text(reinterpret_cast<const char*>(data + 2), size - 2);
  std::vector<long> order;
  std::string error;
  const bool ok = sv::ParseFrameList(text, frames, order, error);
  if (ok != error.empty()) std::abort();
  if (ok && order.empty()) std::abort();
  for (long f : order)
    if (ok && (f < 0 || f >= frames)) std::abort();
  return 0;
}
