// JPEG files through the kernel's JPEG functions.
#include "image/image_files.h"

#include <cmath>

#include "image/kernel/jpeg.h"

#include "image/image_files_io.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

using namespace image_io;

bool LoadJPG(Form_Camera& image, const std::string& path) {
  G().LoadOK = true;
  JpegPicture picture;
  if (!SV_LoadJPG(path, picture, nullptr, size_t(kMaxPixelBytes / 2)) ||
      !SizeOk(uint64_t(picture.width), uint64_t(picture.height), 6)) {
    Message("Error loading" + path, "Open Image");
    return G().LoadOK = false;
  }
  const bool colour = picture.channels == 3;
  if (!Shape(image, picture.width, picture.height, colour)) return G().LoadOK = false;
  const size_t samples = size_t(picture.width) * size_t(picture.height) * (colour ? 3 : 1);
  SV_convert_8_to_16(picture.pixels.data(), image.ImagePtr(), samples);
  if (!colour) GreyRamp(image.Header.bmiColors, false);
  image.Header.bmiHeader.biXPelsPerMeter = int32_t(std::lrint(picture.xDensity / 0.0254));
  image.Header.bmiHeader.biYPelsPerMeter = int32_t(std::lrint(picture.yDensity / 0.0254));
  image.ImgDescription.clear();
  Finish(image, 8);
  return G().LoadOK;
}

bool SaveJPG(Form_Camera& image, const std::string& path) {
  if (!Writable(image)) return false;
  const std::vector<uint8_t> top = Bytes8(image);
  return image.HasColors()
             ? SV_RGB_SaveJPG(path, image.ImageWidth(), image.ImageHeight(), top.data(), 90)
             : SV_SaveJPG(path, image.ImageWidth(), image.ImageHeight(), top.data(), 90);
}

}  // namespace sv
