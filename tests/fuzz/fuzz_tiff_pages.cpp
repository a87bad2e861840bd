// Any bytes as a TIFF of several pages: each of the first pages reads or
// fails with a reason, and a page read has a picture of its size.
#include <cstdint>
#include <cstdlib>

#include "core/globals.h"
#include "image/form_camera.h"
#include "image/tiff_foreign.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  sv::ResetGlobals();
  for (long page = 0; page < 4; ++page) {
    sv::Form_Camera image(nullptr);
    sv::ForeignTiffRead read;
    if (sv::LoadForeignTIFPageBytes(image, data, size, page, read, uint64_t(1) << 24)) {
      if (!image.ImagePtr() || image.ImageWidth() <= 0 || image.ImageHeight() <= 0) std::abort();
    } else if (read.error.empty()) {
      std::abort();
    }
  }
  return 0;
}
