#include "image/image_files_io.h"

#include <cmath>
#include <cstdio>

#include "image/kernel/sv_kernel.h"

namespace sv::image_io {

void Message(const std::string& text, const std::string& title) {
  if (HasHost()) host().MsgBox(text, MsgButtons::OK, MsgIcon::Exclamation, title);
}

// Rows per step of the big reads and writes: about 1 MB, at least one line.
uint64_t RowsPerStep(uint64_t lineBytes) {
  return std::max<uint64_t>(1, (uint64_t(1) << 20) / std::max<uint64_t>(1, lineBytes));
}

bool SizeOk(uint64_t width, uint64_t height, uint64_t bytesPerPixel) {
  return width > 0 && height > 0 && width <= uint64_t(kMaxSide) && height <= uint64_t(kMaxSide) &&
         width * height * bytesPerPixel <= kMaxPixelBytes;
}

// The smallest depth from 8 to 16 bits that holds every sample, from the
// bits used by any of them.
long FittedBits(uint16_t any) {
  long bits = 8;
  while (bits < 16 && any >= (1u << bits)) ++bits;
  return bits;
}

// Gives the image its new shape; false when the memory is not there.
bool Shape(Form_Camera& image, long width, long height, bool colour) {
  image.SetHasColors(colour);
  image.SizeImage(width, height);
  return image.ImagePtr() != nullptr && image.HasDisplayBuffer();
}

// The last step of every reader: depth, limits, the display copy.
void Finish(Form_Camera& image, long bits) {
  image.LUTmin = 0.0f;
  image.LUTmax = 1.0f;
  if (bits != image.ImageBitsPerPixel()) {
    image.SetImageBitsPerPixel(bits);  // forces the table and the display copy
  } else {
    // The same depth: the table is built again only when the limits moved.
    const long builds = image.LutBuilds();
    image.SetLUT();
    if (image.LutBuilds() == builds) image.Update8BitImage();
  }
  image.View().CommentChanged(image);
}

void GreyRamp(RGBQuad* colors, bool falling) {
  for (int i = 0; i < 256; ++i) {
    const uint8_t v = uint8_t(falling ? 255 - i : i);
    colors[i] = RGBQuad{v, v, v, 0};
  }
}

std::string FileName(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string Hex(uint32_t v) {
  char b[16];
  std::snprintf(b, sizeof b, "%X", v);
  return b;
}


// The samples of a mono image, or the grey of a colour one, top line first.
std::vector<uint16_t> MonoSamples(const Form_Camera& image) {
  const size_t pixels = size_t(image.ImageWidth()) * size_t(image.ImageHeight());
  const uint16_t* p = image.ImagePtr();
  if (!image.HasColors()) return std::vector<uint16_t>(p, p + pixels);
  std::vector<uint16_t> grey(pixels);
  for (size_t i = 0; i < pixels; ++i) grey[i] = uint16_t(GreyOf(p[3 * i], p[3 * i + 1], p[3 * i + 2]));
  return grey;
}

// The 8-bit picture of the 8-bit filters, top line first, unpadded: grey
// bytes, or R, G, B. An image of 8 bits or fewer gives its samples; a deeper
// one what the display shows.
std::vector<uint8_t> Bytes8(const Form_Camera& image) {
  const size_t w = size_t(image.ImageWidth()), h = size_t(image.ImageHeight());
  const size_t channels = image.HasColors() ? 3 : 1;
  std::vector<uint8_t> out(w * h * channels);
  const long bits = image.ImageBitsPerPixel();
  if (bits <= 8) {
    const uint16_t* p = image.ImagePtr();
    const int shift = int(8 - bits);
    for (size_t i = 0; i < out.size(); ++i) out[i] = uint8_t(std::min<uint32_t>(255, p[i] << shift));
    return out;
  }
  const uint8_t* dib = image.ImagePtr8();
  const size_t stride = size_t(image.ImageByteWidth());
  for (size_t y = 0; y < h; ++y) {
    const uint8_t* line = dib + (h - 1 - y) * stride;  // the bitmap runs bottom-up
    uint8_t* o = out.data() + y * w * channels;
    if (channels == 1) {
      std::memcpy(o, line, w);
    } else {
      for (size_t x = 0; x < w; ++x) {
        o[3 * x] = line[3 * x + 2];
        o[3 * x + 1] = line[3 * x + 1];
        o[3 * x + 2] = line[3 * x];
      }
    }
  }
  return out;
}

bool Writable(const Form_Camera& image) {
  return image.ImagePtr() && image.HasDisplayBuffer() && image.ImageWidth() > 0 &&
         image.ImageHeight() > 0;
}

// Writes a block of lines with progress; false on a write error.
bool WriteLines(OutFile& out, const void* data, uint64_t lineBytes, uint64_t lines,
                const std::string& path) {
  Progress progress("Saving " + FileName(path));
  const bool was = G().LoadOK;
  G().LoadOK = true;  // a save is not stopped by the read's flag
  const uint64_t step = RowsPerStep(lineBytes);
  const auto* p = static_cast<const uint8_t*>(data);
  for (uint64_t y = 0; y < lines && out.ok(); y += step) {
    const uint64_t n = std::min(step, lines - y);
    out.Write(p + y * lineBytes, size_t(n * lineBytes));
    progress.Step(y + n, lines);
  }
  G().LoadOK = was;
  return out.ok();
}

}  // namespace sv::image_io
