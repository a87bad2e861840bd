// The shared body of the image readers' fuzz targets: the bytes become a file,
// the reader runs on an image that holds a picture already, and whatever the
// outcome the image must be consistent afterwards.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/globals.h"
#include "image/form_camera.h"
#include "image/image_files.h"

namespace svfuzz {

inline void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz image reader: %s\n", what);
    std::abort();
  }
}

inline const std::string& TempPath() {
  static const std::string path = "/tmp/sv_fuzz_image_" + std::to_string(getpid());
  return path;
}

template <class Reader>
int Run(const uint8_t* data, size_t size, Reader read) {
  const std::string& path = TempPath();
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  if (size) std::fwrite(data, 1, size, f);
  std::fclose(f);

  sv::Form_Camera image;
  std::vector<uint16_t> start(4 * 3, 5);
  image.CreateImage(4, 3, 8, start.data());
  const bool ok = read(image, path);
  Check(ok == sv::G().LoadOK, "result and flag disagree");
  if (ok) {
    const long w = image.ImageWidth(), h = image.ImageHeight();
    Check(w > 0 && h > 0, "an empty picture was accepted");
    Check(image.ImagePtr() != nullptr && image.ImagePtr8() != nullptr, "no buffers");
    Check(image.ImageBytes() == w * h * (image.HasColors() ? 6 : 2), "size and buffer disagree");
    Check(image.ImageBitsPerPixel() >= 1 && image.ImageBitsPerPixel() <= 16, "depth");
    // Every sample can be read.
    uint32_t sum = 0;
    const uint16_t* p = image.ImagePtr();
    for (long i = 0; i < image.ImageBytes() / 2; ++i) sum += p[i];
    (void)sum;
  }
  return 0;
}

}  // namespace svfuzz
