// Any bytes as a filter library file: the reading refuses it and keeps the
// library held, or gives records that write back as the bytes they came
// from and that the filter routines take without harm.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/error_table.h"
#include "image/filter_library.h"
#include "image/kernel/filter.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_filter_library: %s\n", what);
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<sv::FilterRecord> held{sv::SampleBlur()};
  std::vector<sv::FilterRecord> filters = held;
  const int code = sv::DecodeFilterLibrary(data, size, filters);
  if (code != 0) {
    Check(code == sv::kErrUnknownFormat, "a refusal other than an unknown format");
    Check(filters.size() == 1 && std::memcmp(&filters[0], &held[0], sizeof held[0]) == 0,
          "a refused file changed the library held");
    return 0;
  }
  const size_t used = sv::kFilterHeaderBytes + filters.size() * sv::kFilterRecordBytes;
  Check(used <= size, "more records than bytes");
  const std::vector<uint8_t> again = sv::EncodeFilterLibrary(filters);
  Check(again.size() == used && std::memcmp(again.data(), data, used) == 0,
        "a library does not write back to its bytes");

  // A 9 x 9 frame from the bytes, filtered by the first few records.
  std::vector<uint16_t> frame(81), out(81), rgb(243), rgbOut(243);
  for (size_t i = 0; i < frame.size(); ++i) frame[i] = uint16_t(data[i % size] * 257u);
  for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = uint16_t(data[(i * 7) % size] * 131u);
  const sv::FrameSize fs{9, 9};
  for (size_t k = 0; k < filters.size() && k < 4; ++k) {
    const sv::FilterRecord& f = filters[k];
    (void)sv::FilterName(f);
    const int n = sv::FilterKernelSize(f);
    Check(n == 3 || n == 5 || n == 7, "a kernel size beside 3, 5, 7");
    const bool grey = n == 7   ? sv::SV_filter_7x7(fs, frame, out, f, 12)
                      : n == 5 ? sv::SV_filter_5x5(fs, frame, out, f, 12)
                               : sv::SV_filter_3x3(fs, frame, out, f, 12);
    const bool colour = n == 7   ? sv::SV_RGB_filter_7x7(fs, rgb, rgbOut, f, 16)
                        : n == 5 ? sv::SV_RGB_filter_5x5(fs, rgb, rgbOut, f, 16)
                                 : sv::SV_RGB_filter_3x3(fs, rgb, rgbOut, f, 16);
    Check(grey == (f.Factor != 0) && colour == (f.Factor != 0), "a factor refused or taken wrongly");
    if (grey)
      for (uint16_t v : out) Check(v <= 4095, "a sample beyond the depth");
  }
  return 0;
}
