// Any bytes through the libtiff reader, read from memory: no crash, no hang,
// no output from libtiff, and a consistent image whatever the outcome.
#include "fuzz_image_file.h"
#include "image/tiff_foreign.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  sv::Form_Camera image;
  std::vector<uint16_t> start(4 * 3, 5);
  image.CreateImage(4, 3, 8, start.data());
  sv::ForeignTiffRead read;
  // Pictures up to 16 MB keep a run fast; larger ones are refused by size.
  const bool ok = sv::LoadForeignTIFBytes(image, data, size, read, uint64_t(16) << 20);
  svfuzz::Check(ok == sv::G().LoadOK, "result and flag disagree");
  svfuzz::Check(ok || !read.error.empty(), "a failure without a reason");
  if (ok) {
    const long w = image.ImageWidth(), h = image.ImageHeight();
    svfuzz::Check(w > 0 && h > 0, "an empty picture was accepted");
    svfuzz::Check(image.ImagePtr() != nullptr && image.ImagePtr8() != nullptr, "no buffers");
    svfuzz::Check(image.ImageBytes() == w * h * (image.HasColors() ? 6 : 2),
                  "size and buffer disagree");
    svfuzz::Check(image.ImageBitsPerPixel() >= 8 && image.ImageBitsPerPixel() <= 16, "depth");
    uint32_t sum = 0;
    const uint16_t* p = image.ImagePtr();
    for (long i = 0; i < image.ImageBytes() / 2; ++i) sum += p[i];
    (void)sum;
  }
  return 0;
}
