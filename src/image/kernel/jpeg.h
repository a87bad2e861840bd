// JPEG files through libjpeg-turbo: 8-bit grey and 8-bit colour, read and
// written whole. Lines run from the top, with no padding; colour is three
// bytes a pixel in the order R, G, B.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sv {

struct JpegPicture {
  long width = 0;
  long height = 0;
  int channels = 0;  // 1 grey, 3 colour
  std::vector<uint8_t> pixels;
  int xDensity = 0, yDensity = 0;  // dots per inch when the file says so, else 0
};

// Reads a JPEG file; grey files stay grey, every other colour space comes as
// R, G, B. A picture whose pixels would take more than `maxBytes` is refused
// before anything is allocated. False on any fault, with the library's reason
// in `error`; a file that ends early or warns is a fault too.
bool SV_LoadJPG(const std::string& path, JpegPicture& picture, std::string* error = nullptr,
                size_t maxBytes = size_t(1) << 30);
// The same, always as R, G, B.
bool SV_RGB_LoadJPG(const std::string& path, JpegPicture& picture, std::string* error = nullptr,
                    size_t maxBytes = size_t(1) << 30);

// Writes width x height grey bytes (or R, G, B triples) at a quality of 1 to
// 100. False when the file cannot be written.
bool SV_SaveJPG(const std::string& path, long width, long height, const uint8_t* grey,
                int quality = 90, std::string* error = nullptr);
bool SV_RGB_SaveJPG(const std::string& path, long width, long height, const uint8_t* rgb,
                    int quality = 90, std::string* error = nullptr);

}  // namespace sv
