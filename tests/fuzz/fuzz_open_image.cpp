// Any bytes through the whole open: detection, then the reader it picks.
#include "fuzz_image_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return svfuzz::Run(data, size, [](sv::Form_Camera& image, const std::string& path) {
    const bool ok = sv::ImageOpenDo(image, path);
    svfuzz::Check(ok || image.ImagePtr() == nullptr, "a failed open left pixels");
    return ok;
  });
}
