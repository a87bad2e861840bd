// Any bytes through LoadTIF: no crash, no hang, no huge allocation.
#include "fuzz_image_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return svfuzz::Run(data, size, [](sv::Form_Camera& image, const std::string& path) {
    return sv::LoadTIF(image, path);
  });
}
