// Windows bitmaps: palette files of 1, 4 and 8 bits (8-bit run-length coded
// too) and 24-bit colour in, 8-bit grey and 24-bit colour out.
#include "image/image_files.h"


#include "image/image_files_io.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

using namespace image_io;

namespace {
// Run-length coded 8-bit lines, bottom-up, into one index a pixel. Runs past
// the end of a line or of the picture are cut; a file that ends early leaves
// the rest 0. False only for a file that is not run-length data at all.
bool DecodeRle8(const std::vector<uint8_t>& in, uint64_t width, uint64_t height,
                std::vector<uint8_t>& out) {
  out.assign(size_t(width * height), 0);
  uint64_t x = 0, y = 0;  // y counts file lines, from the bottom
  size_t i = 0;
  auto put = [&](uint8_t v) {
    if (x < width && y < height) out[size_t(y * width + x)] = v;
    ++x;
  };
  while (i + 1 < in.size() && y < height) {
    const uint8_t count = in[i], value = in[i + 1];
    i += 2;
    if (count > 0) {
      for (int k = 0; k < count; ++k) put(value);
    } else if (value == 0) {
      x = 0;
      ++y;
    } else if (value == 1) {
      break;
    } else if (value == 2) {
      if (i + 1 >= in.size()) break;
      x += in[i];
      y += in[i + 1];
      i += 2;
    } else {
      for (int k = 0; k < value && i < in.size(); ++k) put(in[i++]);
      if (value & 1) ++i;  // literal runs keep to whole words
    }
  }
  return true;
}
}  // namespace

bool LoadBMP(Form_Camera& image, const std::string& path) {
  G().LoadOK = true;
  auto fail = [] { return G().LoadOK = false; };
  InFile in;
  if (!in.Open(path)) return fail();
  uint8_t h[54];
  if (!in.ReadAt(0, h, 54) || h[0] != 'B' || h[1] != 'M') return fail();
  const uint32_t offBits = Long(h + 10), infoSize = Long(h + 14);
  const int32_t w = int32_t(Long(h + 18)), hh = int32_t(Long(h + 22));
  const uint16_t planes = Word(h + 26), bitCount = Word(h + 28);
  const uint32_t compression = Long(h + 30), clrUsed = Long(h + 46);
  const long xPels = long(int32_t(Long(h + 38))), yPels = long(int32_t(Long(h + 42)));
  // Uncompressed, or 8-bit run-length coding as some tools write palette files.
  const bool rle8 = compression == 1 && bitCount == 8;
  if (infoSize < 40 || infoSize > 4096 || planes != 1 || (compression != 0 && !rle8))
    return fail();
  // Palette files of 1, 4 or 8 bits a pixel (other tools write the small
  // ones for images of few colours), or 24-bit colour.
  if (bitCount != 1 && bitCount != 4 && bitCount != 8 && bitCount != 24) return fail();
  if (w <= 0 || hh == 0 || hh == INT32_MIN) return fail();
  const bool topDown = hh < 0;
  const uint64_t width = uint64_t(w), height = uint64_t(topDown ? -int64_t(hh) : hh);
  const bool colour = bitCount == 24;
  if (!SizeOk(width, height, colour ? 6 : 2)) return fail();
  const uint64_t stride = ((width * bitCount + 31) / 32) * 4;
  if (!rle8 && !in.Fits(offBits, stride * height)) return fail();
  if (rle8 && (topDown || offBits > in.Size())) return fail();

  // The palette of an 8-bit file: a grey one gives the samples their grey.
  RGBQuad palette[256];
  bool grey = true;
  if (!colour) {
    const uint32_t most = 1u << bitCount;
    const uint32_t entries = clrUsed == 0 || clrUsed > most ? most : clrUsed;
    std::vector<uint8_t> raw(size_t(entries) * 4);
    if (!in.ReadAt(14 + uint64_t(infoSize), raw.data(), raw.size())) return fail();
    for (uint32_t i = 0; i < 256; ++i) {
      const uint32_t j = std::min(i, entries - 1);
      palette[i] = RGBQuad{raw[j * 4], raw[j * 4 + 1], raw[j * 4 + 2], 0};
      if (palette[i].rgbBlue != palette[i].rgbGreen || palette[i].rgbGreen != palette[i].rgbRed)
        grey = false;
    }
  }
  const bool asColour = colour || !grey;
  if (!Shape(image, long(width), long(height), asColour)) return fail();
  uint16_t* dest = image.ImagePtr();
  // Wide enough for the packed file line and for its indices one a byte.
  std::vector<uint8_t> line(static_cast<size_t>(std::max(stride, width)));
  std::vector<uint8_t> wide(bitCount < 8 ? static_cast<size_t>(width) : 0);
  std::vector<uint8_t> indices;
  if (rle8) {
    std::vector<uint8_t> packed(size_t(in.Size() - offBits));
    if (!in.ReadAt(offBits, packed.data(), packed.size()) ||
        !DecodeRle8(packed, width, height, indices))
      return fail();
  }
  Progress progress("Loading " + FileName(path));
  for (uint64_t y = 0; y < height; ++y) {
    // Bottom-up unless the height is negative.
    const uint64_t fileLine = topDown ? y : height - 1 - y;
    if (rle8)
      std::copy_n(indices.begin() + ptrdiff_t(fileLine * width), size_t(width), line.begin());
    else if (!in.ReadAt(offBits + fileLine * stride, line.data(), stride))
      return fail();
    if (bitCount < 8) {
      if (!SV_convert_n_to_8(size_t(width), {line.data(), size_t(stride)}, wide, bitCount))
        return fail();
      std::copy(wide.begin(), wide.end(), line.begin());
    }
    uint16_t* out = dest + y * width * (asColour ? 3 : 1);
    if (colour) {
      SV_RGB_convert_inverse_8_to_16(size_t(width), {line.data(), size_t(width * 3)},
                                     {out, size_t(width * 3)});
    } else if (asColour) {
      for (uint64_t x = 0; x < width; ++x) {
        const RGBQuad& c = palette[line[x]];
        out[3 * x] = c.rgbRed;
        out[3 * x + 1] = c.rgbGreen;
        out[3 * x + 2] = c.rgbBlue;
      }
    } else {
      for (uint64_t x = 0; x < width; ++x) out[x] = palette[line[x]].rgbRed;
    }
    if (!progress.Step(y + 1, height)) return false;
  }
  image.Header.bmiHeader.biXPelsPerMeter = int32_t(xPels);
  image.Header.bmiHeader.biYPelsPerMeter = int32_t(yPels);
  image.ImgDescription.clear();
  Finish(image, 8);
  return G().LoadOK;
}

bool SaveBMP(Form_Camera& image, const std::string& path) {
  if (!Writable(image)) return false;
  const bool colour = image.HasColors();
  const uint32_t w = uint32_t(image.ImageWidth()), h = uint32_t(image.ImageHeight());
  const uint32_t channels = colour ? 3 : 1;
  const uint32_t stride = DisplayByteWidth(long(w), colour);
  const uint32_t paletteBytes = colour ? 0 : 1024;
  const uint32_t offBits = 14 + 40 + paletteBytes;
  const uint32_t imageBytes = stride * h;
  std::string d = "BM";
  PutLong(d, offBits + imageBytes);
  PutLong(d, 0);
  PutLong(d, offBits);
  PutLong(d, 40);
  PutLong(d, w);
  PutLong(d, h);
  PutWord(d, 1);
  PutWord(d, colour ? 24 : 8);
  PutLong(d, 0);
  PutLong(d, imageBytes);
  PutLong(d, uint32_t(image.ImageXPelsPerMeter()));
  PutLong(d, uint32_t(image.ImageYPelsPerMeter()));
  PutLong(d, colour ? 0 : 256);
  PutLong(d, 0);
  for (uint32_t i = 0; i < paletteBytes / 4; ++i) {
    d += char(i);
    d += char(i);
    d += char(i);
    d += '\0';
  }
  // The lines bottom-up, B, G, R, padded to four bytes.
  const std::vector<uint8_t> top = Bytes8(image);
  std::vector<uint8_t> dib(size_t(imageBytes), 0);
  for (uint32_t y = 0; y < h; ++y) {
    const uint8_t* s = top.data() + size_t(y) * w * channels;
    uint8_t* o = dib.data() + size_t(h - 1 - y) * stride;
    if (colour)
      for (uint32_t x = 0; x < w; ++x) {
        o[3 * x] = s[3 * x + 2];
        o[3 * x + 1] = s[3 * x + 1];
        o[3 * x + 2] = s[3 * x];
      }
    else
      std::memcpy(o, s, w);
  }
  OutFile out;
  if (!out.Create(path)) return false;
  out.Write(d);
  WriteLines(out, dib.data(), stride, h, path);
  return out.Close();
}

}  // namespace sv
