// Any bytes as an AVI film read from memory: the open either fails or gives
// a film of sane size, and reading a few frames (in and out of order) stays
// inside the frame buffer and never hangs.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "video/class_sv2avi.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_open_avi: %s\n", what);
    std::abort();
  }
}

// Inputs past this size only slow the container probing down.
constexpr size_t kMaxInput = 256 * 1024;
// Frames larger than this are opened but not read.
constexpr uint32_t kMaxReadBytes = 8u << 20;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMaxInput) return 0;
  sv::Class_SV2AVI film;
  if (!film.OpenFromMemory(data, size)) {
    Check(!film.IsOpen() && film.Samples() == 0, "a failed open left the film open");
    return 0;
  }
  const long w = film.Width(), h = film.Height(), frames = film.Samples();
  Check(w > 0 && h > 0 && frames > 0, "an empty film was accepted");
  const uint32_t perPixel = film.HasColors() ? 3 : film.BitsPerPixel() > 8 ? 2 : 1;
  Check(film.FrameSize() == uint32_t(w * h) * perPixel, "frame size");
  if (film.FrameSize() <= kMaxReadBytes) {
    std::vector<uint8_t> buffer(film.FrameSize());
    const uint32_t last = uint32_t(frames - 1);
    for (uint32_t index : {0u, last, 1u, last / 2}) {
      if (index >= uint32_t(frames)) continue;
      uint32_t got = 1;
      if (film.ReadFrame(index, buffer.data(), got))
        Check(got == film.FrameSize(), "bytes read");
      else
        Check(got == 0, "a failed read gave bytes");
    }
  }
  Check(film.FileClose(), "close");
  return 0;
}
