// Any bytes as "Selection.txt" for a film of up to 255 frames (the first
// byte): the marks stay inside the film, the count is the frames newly
// marked, and a second reading marks nothing new.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "video/film_edit.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const size_t frames = data[0];
  const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
  std::vector<int32_t> mask(frames, 0);
  const long marked = sv::ParseSelectionList(text, mask);
  long count = 0;
  for (int32_t m : mask) {
    if (m != 0 && m != sv::kDeleteFrame) std::abort();
    count += m == sv::kDeleteFrame;
  }
  if (marked != count || marked < 0 || size_t(marked) > frames) std::abort();
  if (sv::ParseSelectionList(text, mask) != 0) std::abort();
  return 0;
}
